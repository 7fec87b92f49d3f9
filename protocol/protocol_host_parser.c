#include "protocol_host_parser.h"

#include <string.h>

/* Codes handed to the error callback and returned. */
enum {
    CODE_WRONG_LENGTH = 2,
    CODE_WRONG_CLASS = 3,
    CODE_EMPTY_PACKET = 5,
    CODE_UNKNOWN_CLASS = 2,
    RESULT_UNKNOWN_CLASS = 4
};

/* A pulse-Doppler id with bit 1 cleared names the form: the noise maps (18, 19) share the layouts of the
 * pulse-Doppler rows (16, 17). */
#define PULSEDOPPLER_ID_FORM_MASK (~(uint32_t)2u)

#define NOTIFY(parser, entry, value, user_data)                                                              \
    do {                                                                                                     \
        if ((parser)->entry)                                                                                 \
            (parser)->entry((value), (user_data));                                                           \
    } while (0)

/* ---- Reading fields without leaving the packet
 * --------------------------------------------------------------- */

static int fits(uint32_t length, uint64_t end) {
    return end <= length;
}

/* An array of no bytes fits anywhere: a list with zero counts is accepted however short its packet is. */
static int array_fits(uint32_t length, uint64_t offset, uint64_t bytes) {
    return bytes == 0 || fits(length, offset + bytes);
}

static uint8_t read_u8(const uint8_t* data, uint32_t length, uint64_t offset) {
    return fits(length, offset + 1) ? data[offset] : 0;
}

/* Little-endian whatever the host, and without alignment; a field past the end reads 0. */
static uint32_t read_u32(const uint8_t* data, uint32_t length, uint64_t offset) {
    if (!fits(length, offset + 4))
        return 0;
    return (uint32_t)data[offset] | (uint32_t)data[offset + 1] << 8 | (uint32_t)data[offset + 2] << 16 |
           (uint32_t)data[offset + 3] << 24;
}

static float read_float(const uint8_t* data, uint32_t length, uint64_t offset) {
    uint32_t bits = read_u32(data, length, offset);
    float value;
    memcpy(&value, &bits, sizeof value);
    return value;
}

/* A pointer into the packet, at most one past its end. */
static const uint8_t* bytes_at(const uint8_t* data, uint32_t length, uint64_t offset) {
    return data + (offset < length ? offset : length);
}

static const float* floats_at(const uint8_t* data, uint32_t length, uint64_t offset) {
    return (const float*)(const void*)bytes_at(data, length, offset);
}

static int is_app_packet(const uint8_t* data, uint32_t length, uint32_t id) {
    return data[0] == KMS_SPR_APPDATA && fits(length, 5) && read_u32(data, length, 1) == id;
}

static int report(const HostParser* parser, uint32_t code, int result, void* user_data) {
    NOTIFY(parser, error, code, user_data);
    return result;
}

static int report_empty(const HostParser* parser, void* user_data) {
    return report(parser, CODE_EMPTY_PACKET, CODE_EMPTY_PACKET, user_data);
}

/* ---- The table's defaults ---------------------------------------------------------------------------------
 */

#define DEFINE_DEFAULT(name, type)                                                                           \
    void name(type value, void* user_data) {                                                                 \
        (void)value;                                                                                         \
        (void)user_data;                                                                                     \
    }

DEFINE_DEFAULT(default_pong_callback, uint32_t)
DEFINE_DEFAULT(default_error_callback, uint32_t)
DEFINE_DEFAULT(default_ack_callback, Ack)
DEFINE_DEFAULT(default_datafloat_callback, FloatData_)
DEFINE_DEFAULT(default_reply_callback, Reply)
DEFINE_DEFAULT(default_respiration_callback, RespirationData)
DEFINE_DEFAULT(default_sleep_callback, SleepData)
DEFINE_DEFAULT(default_baseband_ap_callback, BasebandApData)
DEFINE_DEFAULT(default_baseband_iq_callback, BasebandIqData)
DEFINE_DEFAULT(default_presence_single, PresenceSingleData)
DEFINE_DEFAULT(default_presence_movinglist, PresenceMovingListData)
DEFINE_DEFAULT(default_system_status, SystemStatus)
DEFINE_DEFAULT(default_respiration_movinglist, RespirationMovingListData)
DEFINE_DEFAULT(default_respiration_detectionlist, RespirationDetectionListData)

void init_host_parser(HostParser* parser) {
    parser->pong = default_pong_callback;
    parser->error = default_error_callback;
    parser->ack = default_ack_callback;
    parser->datafloat = default_datafloat_callback;
    parser->reply = default_reply_callback;
    parser->respiration = default_respiration_callback;
    parser->sleep = default_sleep_callback;
    parser->baseband_ap = default_baseband_ap_callback;
    parser->baseband_iq = default_baseband_iq_callback;
    parser->presence_single = default_presence_single;
    parser->presence_movinglist = default_presence_movinglist;
    parser->system_status = default_system_status;
    parser->respiration_movinglist = default_respiration_movinglist;
    parser->respiration_detectionlist = default_respiration_detectionlist;
}

/* ---- Replies to commands
 * ----------------------------------------------------------------------------------- */

int parse_error(const HostParser* parser, const uint8_t* data, uint32_t length, void* user_data) {
    uint32_t code;
    if (length == 0)
        return report_empty(parser, user_data);
    if (data[0] != KMS_SPR_ERROR)
        NOTIFY(parser, error, HOST_PARSER_MALFORMED, user_data);
    code = read_u32(data, length, 1);
    return report(parser, code, (int)code, user_data);
}

int parse_ack(const HostParser* parser, const uint8_t* data, uint32_t length, void* user_data) {
    Ack ack = {0};
    if (length == 0)
        return report_empty(parser, user_data);
    if (data[0] != KMS_SPR_ACK)
        return parse_error(parser, data, length, user_data);
    NOTIFY(parser, ack, ack, user_data);
    return 0;
}

int parse_pong(const HostParser* parser, const uint8_t* data, uint32_t length, void* user_data) {
    if (length == 0)
        return report_empty(parser, user_data);
    if (data[0] != KMS_SPR_PONG)
        return parse_error(parser, data, length, user_data);
    if (length < 5)
        return report(parser, HOST_PARSER_MALFORMED, 1, user_data);
    NOTIFY(parser, pong, read_u32(data, length, 1), user_data);
    return 0;
}

int parse_system_status(const HostParser* parser, const uint8_t* data, uint32_t length, void* user_data) {
    SystemStatus status;
    if (length == 0)
        return report_empty(parser, user_data);
    if (data[0] != KMS_SPR_SYSTEM)
        return parse_error(parser, data, length, user_data);
    status.status = read_u32(data, length, 1);
    NOTIFY(parser, system_status, status, user_data);
    return 0;
}

int parse_reply(const HostParser* parser, const uint8_t* data, uint32_t length, void* user_data) {
    Reply reply;
    uint32_t present;
    if (length == 0)
        return report_empty(parser, user_data);
    if (data[0] != KMS_SPR_REPLY)
        return parse_error(parser, data, length, user_data);
    reply.data_type = read_u8(data, length, 1);
    reply.content_id = read_u32(data, length, 2);
    reply.info = read_u32(data, length, 6);
    reply.length = length > 10 ? read_u32(data, length, 10) : 0;
    /* The length field is clamped to the bytes that follow the header, so that the record never points past
     * the packet; the byte behind the data reads 0 when the packet ends first. */
    present = length > 14 ? length - 14 : 0;
    if (reply.length > present)
        reply.length = present;
    reply.data = bytes_at(data, length, 14);
    reply.last_byte = read_u8(data, length, 14 + (uint64_t)reply.length);
    NOTIFY(parser, reply, reply, user_data);
    return 0;
}

/* ---- Data packets
 * ------------------------------------------------------------------------------------------- */

int parse_data_float(const HostParser* parser, const uint8_t* data, uint32_t length, void* user_data) {
    FloatData_ floats;
    if (length == 0)
        return report_empty(parser, user_data);
    if (data[0] != KMS_SPR_DATA || read_u8(data, length, 1) != KMS_SPRD_FLOAT)
        return parse_error(parser, data, length, user_data);
    if (length < 14)
        return report(parser, HOST_PARSER_MALFORMED, 1, user_data);
    floats.content_id = read_u32(data, length, 2);
    floats.info = read_u32(data, length, 6);
    /* The length field at offset 10 is not trusted: the count goes by the packet. */
    floats.count = (length - 14) / 4;
    floats.data = floats_at(data, length, 14);
    NOTIFY(parser, datafloat, floats, user_data);
    return 0;
}

int parse_data(const HostParser* parser, const uint8_t* data, uint32_t length, void* user_data) {
    if (length == 0)
        return report_empty(parser, user_data);
    if (read_u8(data, length, 1) != KMS_SPRD_FLOAT)
        return 1;
    return parse_data_float(parser, data, length, user_data);
}

/* ---- Application data: status records -------------------------------------------------------------------
 */

/* The status records are accepted from 24 bytes on although they reach further; the fields past the end
 * read 0. */
static int check_status_packet(const HostParser* parser, const uint8_t* data, uint32_t length,
                               void* user_data, uint32_t id) {
    if (!fits(length, 5) || read_u32(data, length, 1) != id)
        return report(parser, CODE_WRONG_CLASS, 1, user_data);
    if (length < 24)
        return report(parser, CODE_WRONG_LENGTH, 1, user_data);
    return 0;
}

int parse_respiration_status(const HostParser* parser, const uint8_t* data, uint32_t length,
                             void* user_data) {
    RespirationData record;
    int result;
    if (length == 0)
        return report_empty(parser, user_data);
    result = check_status_packet(parser, data, length, user_data, KMS_ID_RESP_STATUS);
    if (result != 0)
        return result;
    record.frame_counter = read_u32(data, length, 5);
    record.sensor_state = read_u32(data, length, 9);
    record.respiration_rate = read_u32(data, length, 13);
    record.distance = read_float(data, length, 17);
    record.movement = read_float(data, length, 21);
    record.signal_quality = read_u32(data, length, 25);
    NOTIFY(parser, respiration, record, user_data);
    return 0;
}

int parse_sleep_status(const HostParser* parser, const uint8_t* data, uint32_t length, void* user_data) {
    SleepData record;
    int result;
    if (length == 0)
        return report_empty(parser, user_data);
    result = check_status_packet(parser, data, length, user_data, KMS_ID_SLEEP_STATUS);
    if (result != 0)
        return result;
    record.frame_counter = read_u32(data, length, 5);
    record.sensor_state = read_u32(data, length, 9);
    record.respiration_rate = read_float(data, length, 13);
    record.distance = read_float(data, length, 17);
    record.signal_quality = read_u32(data, length, 21);
    record.movement_slow = read_float(data, length, 25);
    record.movement_fast = read_float(data, length, 29);
    NOTIFY(parser, sleep, record, user_data);
    return 0;
}

int parse_presence_single(const HostParser* parser, const uint8_t* data, uint32_t length, void* user_data) {
    PresenceSingleData record;
    if (length == 0)
        return report_empty(parser, user_data);
    if (!is_app_packet(data, length, KMS_ID_PRESENCE_SINGLE))
        return report(parser, CODE_WRONG_CLASS, CODE_WRONG_CLASS, user_data);
    record.frame_counter = read_u32(data, length, 5);
    record.presence_state = read_u32(data, length, 9);
    record.distance = read_float(data, length, 13);
    record.direction = read_u8(data, length, 17);
    record.signal_quality = read_u32(data, length, 18);
    NOTIFY(parser, presence_single, record, user_data);
    return 0;
}

/* ---- Application data: baseband frames ------------------------------------------------------------------
 */

/* Both baseband forms share one layout; it is decoded into the I/Q record. Beyond the 32-byte minimum, a
 * packet too short for the 2 * num_bins floats it announces is refused with a length error. */
static int decode_baseband(const HostParser* parser, const uint8_t* data, uint32_t length, void* user_data,
                           uint32_t id, BasebandIqData* record) {
    if (!is_app_packet(data, length, id))
        return report(parser, CODE_WRONG_CLASS, CODE_WRONG_CLASS, user_data);
    if (length < 32)
        return report(parser, CODE_WRONG_LENGTH, CODE_WRONG_LENGTH, user_data);
    record->frame_counter = read_u32(data, length, 5);
    record->num_bins = read_u32(data, length, 9);
    record->bin_length = read_float(data, length, 13);
    record->sample_frequency = read_float(data, length, 17);
    record->carrier_frequency = read_float(data, length, 21);
    record->range_offset = read_float(data, length, 25);
    if (!array_fits(length, 29, 8 * (uint64_t)record->num_bins))
        return report(parser, CODE_WRONG_LENGTH, CODE_WRONG_LENGTH, user_data);
    record->i_data = floats_at(data, length, 29);
    record->q_data = floats_at(data, length, 29 + 4 * (uint64_t)record->num_bins);
    return 0;
}

int parse_baseband_iq(const HostParser* parser, const uint8_t* data, uint32_t length, void* user_data) {
    BasebandIqData record;
    int result;
    if (length == 0)
        return report_empty(parser, user_data);
    result = decode_baseband(parser, data, length, user_data, KMS_ID_BASEBAND_IQ, &record);
    if (result == 0)
        NOTIFY(parser, baseband_iq, record, user_data);
    return result;
}

int parse_baseband_ap(const HostParser* parser, const uint8_t* data, uint32_t length, void* user_data) {
    BasebandIqData iq;
    BasebandApData record;
    int result;
    if (length == 0)
        return report_empty(parser, user_data);
    result = decode_baseband(parser, data, length, user_data, KMS_ID_BASEBAND_AMPLITUDE_PHASE, &iq);
    if (result != 0)
        return result;
    record.frame_counter = iq.frame_counter;
    record.num_bins = iq.num_bins;
    record.bin_length = iq.bin_length;
    record.sample_frequency = iq.sample_frequency;
    record.carrier_frequency = iq.carrier_frequency;
    record.range_offset = iq.range_offset;
    record.amplitude = iq.i_data;
    record.phase = iq.q_data;
    NOTIFY(parser, baseband_ap, record, user_data);
    return 0;
}

/* ---- Application data: lists ------------------------------------------------------------------------------
 * * The lists have no length test of their own; a packet too short for the arrays its counts announce is
 * refused with a length error. */

int parse_presence_movinglist(const HostParser* parser, const uint8_t* data, uint32_t length,
                              void* user_data) {
    PresenceMovingListData record;
    uint64_t intervals, detections;
    if (length == 0)
        return report_empty(parser, user_data);
    if (!is_app_packet(data, length, KMS_ID_PRESENCE_MOVINGLIST))
        return report(parser, CODE_WRONG_CLASS, CODE_WRONG_CLASS, user_data);
    record.frame_counter = read_u32(data, length, 5);
    record.presence_state = read_u32(data, length, 9);
    record.interval_count = read_u32(data, length, 13);
    record.detection_count = read_u32(data, length, 17);
    intervals = 4 * (uint64_t)record.interval_count;
    detections = 4 * (uint64_t)record.detection_count;
    if (!array_fits(length, 21, 2 * intervals + 3 * detections))
        return report(parser, CODE_WRONG_LENGTH, CODE_WRONG_LENGTH, user_data);
    record.movement_slow_items = floats_at(data, length, 21);
    record.movement_fast_items = floats_at(data, length, 21 + intervals);
    record.detection_distance_items = floats_at(data, length, 21 + 2 * intervals);
    record.radar_cross_section_items = floats_at(data, length, 21 + 2 * intervals + detections);
    record.detection_velocity_items = floats_at(data, length, 21 + 2 * intervals + 2 * detections);
    NOTIFY(parser, presence_movinglist, record, user_data);
    return 0;
}

int parse_respiration_movinglist(const HostParser* parser, const uint8_t* data, uint32_t length,
                                 void* user_data) {
    RespirationMovingListData record;
    uint64_t intervals;
    if (length == 0)
        return report_empty(parser, user_data);
    if (!is_app_packet(data, length, KMS_ID_RESPIRATION_MOVINGLIST))
        return report(parser, CODE_WRONG_CLASS, CODE_WRONG_CLASS, user_data);
    record.counter = read_u32(data, length, 5);
    record.interval_count = read_u32(data, length, 9);
    intervals = 4 * (uint64_t)record.interval_count;
    if (!array_fits(length, 13, 2 * intervals))
        return report(parser, CODE_WRONG_LENGTH, CODE_WRONG_LENGTH, user_data);
    record.movement_slow_items = floats_at(data, length, 13);
    record.movement_fast_items = floats_at(data, length, 13 + intervals);
    NOTIFY(parser, respiration_movinglist, record, user_data);
    return 0;
}

int parse_respiration_detectionlist(const HostParser* parser, const uint8_t* data, uint32_t length,
                                    void* user_data) {
    RespirationDetectionListData record;
    uint64_t detections;
    if (length == 0)
        return report_empty(parser, user_data);
    if (!is_app_packet(data, length, KMS_ID_RESPIRATION_DETECTIONLIST))
        return report(parser, CODE_WRONG_CLASS, CODE_WRONG_CLASS, user_data);
    record.counter = read_u32(data, length, 5);
    record.detection_count = read_u32(data, length, 9);
    detections = 4 * (uint64_t)record.detection_count;
    if (!array_fits(length, 13, 3 * detections))
        return report(parser, CODE_WRONG_LENGTH, CODE_WRONG_LENGTH, user_data);
    record.detection_distance_items = floats_at(data, length, 13);
    record.detection_radar_cross_section_items = floats_at(data, length, 13 + detections);
    record.detection_velocity_items = floats_at(data, length, 13 + 2 * detections);
    NOTIFY(parser, respiration_detectionlist, record, user_data);
    return 0;
}

/* ---- Application data: pulse-Doppler rows -------------------------------------------------------------- */

/* The exact-length test is done in 64 bits, so that a huge frequency_count cannot wrap into a match. */
static int check_pulsedoppler_packet(const HostParser* parser, const uint8_t* data, uint32_t length,
                                     void* user_data, uint32_t form_id, uint64_t header, uint64_t item_size) {
    if (data[0] != KMS_SPR_APPDATA || !fits(length, 5) ||
        (read_u32(data, length, 1) & PULSEDOPPLER_ID_FORM_MASK) != form_id)
        return report(parser, CODE_WRONG_CLASS, CODE_WRONG_CLASS, user_data);
    if (length < 48 || length != header + item_size * read_u32(data, length, 21))
        return report(parser, CODE_WRONG_LENGTH, CODE_WRONG_LENGTH, user_data);
    return 0;
}

/* The header common to both forms, decoded into the float record. */
static void read_pulsedoppler_header(const uint8_t* data, uint32_t length, PulseDopplerFloatData* record) {
    record->frame_counter = read_u32(data, length, 5);
    record->matrix_counter = read_u32(data, length, 9);
    record->range_idx = read_u32(data, length, 13);
    record->range_bins = read_u32(data, length, 17);
    record->frequency_count = read_u32(data, length, 21);
    record->pulsedoppler_instance = read_u32(data, length, 25);
    record->fps = read_float(data, length, 29);
    record->fps_decimated = read_float(data, length, 33);
    record->frequency_start = read_float(data, length, 37);
    record->frequency_step = read_float(data, length, 41);
    record->range = read_float(data, length, 45);
}

int parse_pulsedoppler_float(const HostParser* parser, const uint8_t* data, uint32_t length,
                             void* user_data) {
    PulseDopplerFloatData record;
    int result;
    if (length == 0)
        return report_empty(parser, user_data);
    result = check_pulsedoppler_packet(parser, data, length, user_data, KMS_ID_PULSEDOPPLER_FLOAT, 49, 4);
    if (result != 0)
        return result;
    read_pulsedoppler_header(data, length, &record);
    record.data = floats_at(data, length, 49);
    NOTIFY(parser, pulsedoppler_float, record, user_data);
    return 0;
}

int parse_pulsedoppler_byte(const HostParser* parser, const uint8_t* data, uint32_t length, void* user_data) {
    PulseDopplerFloatData header;
    PulseDopplerByteData record;
    int result;
    if (length == 0)
        return report_empty(parser, user_data);
    result = check_pulsedoppler_packet(parser, data, length, user_data, KMS_ID_PULSEDOPPLER_BYTE, 57, 1);
    if (result != 0)
        return result;
    read_pulsedoppler_header(data, length, &header);
    record.frame_counter = header.frame_counter;
    record.matrix_counter = header.matrix_counter;
    record.range_idx = header.range_idx;
    record.range_bins = header.range_bins;
    record.frequency_count = header.frequency_count;
    record.pulsedoppler_instance = header.pulsedoppler_instance;
    record.fps = header.fps;
    record.fps_decimated = header.fps_decimated;
    record.frequency_start = header.frequency_start;
    record.frequency_step = header.frequency_step;
    record.range = header.range;
    record.byte_step_start = read_float(data, length, 49);
    record.byte_step_size = read_float(data, length, 53);
    record.data = bytes_at(data, length, 57);
    NOTIFY(parser, pulsedoppler_byte, record, user_data);
    return 0;
}

/* ---- Dispatch by class ------------------------------------------------------------------------------------
 */

int parse_appdata(const HostParser* parser, const uint8_t* data, uint32_t length, void* user_data) {
    if (length == 0)
        return report_empty(parser, user_data);
    switch (read_u32(data, length, 1)) {
    case KMS_ID_RESP_STATUS:
        return parse_respiration_status(parser, data, length, user_data);
    case KMS_ID_SLEEP_STATUS:
        return parse_sleep_status(parser, data, length, user_data);
    case KMS_ID_BASEBAND_AMPLITUDE_PHASE:
        return parse_baseband_ap(parser, data, length, user_data);
    case KMS_ID_BASEBAND_IQ:
        return parse_baseband_iq(parser, data, length, user_data);
    case KMS_ID_PRESENCE_SINGLE:
        return parse_presence_single(parser, data, length, user_data);
    case KMS_ID_PRESENCE_MOVINGLIST:
        return parse_presence_movinglist(parser, data, length, user_data);
    default:
        return 0;
    }
}

int parse(const HostParser* parser, const uint8_t* data, uint32_t length, void* user_data) {
    if (length == 0)
        return report_empty(parser, user_data);
    switch (data[0]) {
    case KMS_SPR_ERROR:
        return parse_error(parser, data, length, user_data);
    case KMS_SPR_ACK:
        return parse_ack(parser, data, length, user_data);
    case KMS_SPR_PONG:
        return parse_pong(parser, data, length, user_data);
    case KMS_SPR_DATA:
        return parse_data(parser, data, length, user_data);
    case KMS_SPR_APPDATA:
        return parse_appdata(parser, data, length, user_data);
    default:
        return report(parser, CODE_UNKNOWN_CLASS, RESULT_UNKNOWN_CLASS, user_data);
    }
}
