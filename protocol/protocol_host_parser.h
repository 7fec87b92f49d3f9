/* Host packet parser: turns a packet that the frame codec delivered into a typed record.
 *
 * Every parse_* function takes a table of callbacks (HostParser), the packet's bytes and length, and a user
 * data pointer that is handed back to the callbacks. A function reports a decoded record through the matching
 * value callback and a failure through the error callback, and also returns an integer code (0 on success).
 * The codes passed to the error callback: 5 empty packet, 3 wrong packet class or id, 2 wrong length,
 * 0xDEADBEEF a malformed packet of the right class; an error packet passes on the module's own code.
 *
 * Nothing is copied and nothing allocated: the array fields of a record point into the packet, which must
 * outlive the record. Those pointers sit at odd offsets of the packet, so they are generally not aligned for
 * float: copy through memcpy, never index them as float arrays.
 *
 * Whatever a count or length field claims, no function reads outside the packet: fields that lie past the end
 * of a short packet read as 0, and each function says below how it treats counts larger than the packet. */
#ifndef PROTOCOL_HOST_PARSER_H
#define PROTOCOL_HOST_PARSER_H

#include "protocol_identifiers.h"

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The code passed to the error callback for a packet of the right class with a broken body. */
#define HOST_PARSER_MALFORMED 0xDEADBEEF

/* ---- Records
 * ------------------------------------------------------------------------------------------------ */

typedef struct Ack {
    uint8_t value; /* always 0 */
} Ack;

typedef struct SystemStatus {
    uint32_t status; /* KMS_SPRS_* */
} SystemStatus;

/* A KMS_SPR_DATA packet of floats. */
typedef struct FloatData_ {
    uint32_t content_id;
    uint32_t info;
    uint32_t count; /* number of floats, taken from the packet's size */
    const float* data;
} FloatData_;

typedef struct Reply {
    uint8_t data_type; /* KMS_SPRD_* */
    uint32_t content_id;
    uint32_t info;
    uint32_t length; /* bytes at data */
    const uint8_t* data;
    uint8_t last_byte; /* the byte behind the data */
} Reply;

typedef struct RespirationData {
    uint32_t frame_counter;
    uint32_t sensor_state;
    uint32_t respiration_rate;
    float distance;
    float movement;
    uint32_t signal_quality;
} RespirationData;

typedef struct SleepData {
    uint32_t frame_counter;
    uint32_t sensor_state;
    float respiration_rate;
    float distance;
    uint32_t signal_quality;
    float movement_slow;
    float movement_fast;
} SleepData;

typedef struct BasebandApData {
    uint32_t frame_counter;
    uint32_t num_bins;
    float bin_length;
    float sample_frequency;
    float carrier_frequency;
    float range_offset;
    const float* amplitude; /* num_bins floats */
    const float* phase;     /* num_bins floats */
} BasebandApData;

typedef struct BasebandIqData {
    uint32_t frame_counter;
    uint32_t num_bins;
    float bin_length;
    float sample_frequency;
    float carrier_frequency;
    float range_offset;
    const float* i_data; /* num_bins floats */
    const float* q_data; /* num_bins floats */
} BasebandIqData;

typedef struct PresenceSingleData {
    uint32_t frame_counter;
    uint32_t presence_state; /* KMS_VAL_PRESENCE_PRESENCESTATE_* */
    float distance;
    uint8_t direction;
    uint32_t signal_quality;
} PresenceSingleData;

typedef struct PresenceMovingListData {
    uint32_t frame_counter;
    uint32_t presence_state;
    uint32_t interval_count;               /* floats in each movement list */
    uint32_t detection_count;              /* floats in each detection list */
    const float* movement_slow_items;      /* interval_count floats */
    const float* movement_fast_items;      /* interval_count floats */
    const float* detection_distance_items; /* detection_count floats */
    const float* radar_cross_section_items;
    const float* detection_velocity_items;
} PresenceMovingListData;

typedef struct RespirationMovingListData {
    uint32_t counter;
    uint32_t interval_count;
    const float* movement_slow_items; /* interval_count floats */
    const float* movement_fast_items; /* interval_count floats */
} RespirationMovingListData;

typedef struct RespirationDetectionListData {
    uint32_t counter;
    uint32_t detection_count;
    const float* detection_distance_items; /* detection_count floats */
    const float* detection_radar_cross_section_items;
    const float* detection_velocity_items;
} RespirationDetectionListData;

/* Pulse-Doppler and noise map rows: one range bin's frequency_count values per packet. */
typedef struct PulseDopplerFloatData {
    uint32_t frame_counter;
    uint32_t matrix_counter;
    uint32_t range_idx;
    uint32_t range_bins;
    uint32_t frequency_count;
    uint32_t pulsedoppler_instance;
    float fps;
    float fps_decimated;
    float frequency_start;
    float frequency_step;
    float range;
    const float* data; /* frequency_count floats */
} PulseDopplerFloatData;

typedef struct PulseDopplerByteData {
    uint32_t frame_counter;
    uint32_t matrix_counter;
    uint32_t range_idx;
    uint32_t range_bins;
    uint32_t frequency_count;
    uint32_t pulsedoppler_instance;
    float fps;
    float fps_decimated;
    float frequency_start;
    float frequency_step;
    float range;
    float byte_step_start;
    float byte_step_size;
    const uint8_t* data; /* frequency_count bytes */
} PulseDopplerByteData;

/* ---- The table of callbacks ------------------------------------------------------------------------------
 */

/* A null entry is skipped, so a table that leaves an entry unset loses that record but never crashes. */
typedef struct HostParser {
    void (*pong)(uint32_t value, void* user_data);
    void (*error)(uint32_t code, void* user_data);
    void (*ack)(Ack value, void* user_data);
    void (*datafloat)(FloatData_ value, void* user_data);
    void (*reply)(Reply value, void* user_data);
    void (*respiration)(RespirationData value, void* user_data);
    void (*sleep)(SleepData value, void* user_data);
    void (*baseband_ap)(BasebandApData value, void* user_data);
    void (*baseband_iq)(BasebandIqData value, void* user_data);
    void (*presence_single)(PresenceSingleData value, void* user_data);
    void (*presence_movinglist)(PresenceMovingListData value, void* user_data);
    void (*system_status)(SystemStatus value, void* user_data);
    void (*respiration_movinglist)(RespirationMovingListData value, void* user_data);
    void (*respiration_detectionlist)(RespirationDetectionListData value, void* user_data);
    void (*pulsedoppler_float)(PulseDopplerFloatData value, void* user_data);
    void (*pulsedoppler_byte)(PulseDopplerByteData value, void* user_data);
} HostParser;

/* Fills the first 14 entries with the do-nothing defaults below. The two pulsedoppler entries are left as
 * they are: whoever fills the table sets them. */
void init_host_parser(HostParser* parser);

void default_pong_callback(uint32_t value, void* user_data);
void default_error_callback(uint32_t code, void* user_data);
void default_ack_callback(Ack value, void* user_data);
void default_datafloat_callback(FloatData_ value, void* user_data);
void default_reply_callback(Reply value, void* user_data);
void default_respiration_callback(RespirationData value, void* user_data);
void default_sleep_callback(SleepData value, void* user_data);
void default_baseband_ap_callback(BasebandApData value, void* user_data);
void default_baseband_iq_callback(BasebandIqData value, void* user_data);
void default_presence_single(PresenceSingleData value, void* user_data);
void default_presence_movinglist(PresenceMovingListData value, void* user_data);
void default_system_status(SystemStatus value, void* user_data);
void default_respiration_movinglist(RespirationMovingListData value, void* user_data);
void default_respiration_detectionlist(RespirationDetectionListData value, void* user_data);

/* ---- Parsing
 * ------------------------------------------------------------------------------------------------ * Every
 * function first turns an empty packet into error 5, return 5. */

/* Top level, by the first byte: error, ack, pong, data (0xA0) and application data (0x50). Any other class,
 * replies and system packets among them, gives error 2 and returns 4. */
int parse(const HostParser* parser, const uint8_t* data, uint32_t length, void* user_data);

/* Reports the module's code through the error callback and returns it. A packet that is no error packet is
 * reported twice: HOST_PARSER_MALFORMED first, then its word at offset 1. */
int parse_error(const HostParser* parser, const uint8_t* data, uint32_t length, void* user_data);

/* These four read any other packet class as an error packet (parse_error), which is how a command's caller
 * learns of an error reply. */
int parse_ack(const HostParser* parser, const uint8_t* data, uint32_t length, void* user_data);
int parse_pong(const HostParser* parser, const uint8_t* data, uint32_t length, void* user_data);
int parse_system_status(const HostParser* parser, const uint8_t* data, uint32_t length, void* user_data);
int parse_data_float(const HostParser* parser, const uint8_t* data, uint32_t length, void* user_data);

/* Trusts the length field for packets that hold it; a length field larger than the packet is clamped to the
 * bytes present after the header, and a missing byte behind the data reads 0. */
int parse_reply(const HostParser* parser, const uint8_t* data, uint32_t length, void* user_data);

/* A data packet of floats goes to parse_data_float; other data types return 1 without a callback. */
int parse_data(const HostParser* parser, const uint8_t* data, uint32_t length, void* user_data);

/* Selects on the id at offset 1: respiration, sleep, both baseband forms and both presence forms. Any other
 * id returns 0 without a callback. */
int parse_appdata(const HostParser* parser, const uint8_t* data, uint32_t length, void* user_data);

int parse_respiration_status(const HostParser* parser, const uint8_t* data, uint32_t length, void* user_data);
int parse_sleep_status(const HostParser* parser, const uint8_t* data, uint32_t length, void* user_data);

/* The functions below carry arrays whose sizes come from count fields. A packet too short for the arrays its
 * counts announce is refused with error 2, return 2, rather than handing out pointers past its end. */
int parse_baseband_ap(const HostParser* parser, const uint8_t* data, uint32_t length, void* user_data);
int parse_baseband_iq(const HostParser* parser, const uint8_t* data, uint32_t length, void* user_data);
int parse_presence_single(const HostParser* parser, const uint8_t* data, uint32_t length, void* user_data);
int parse_presence_movinglist(const HostParser* parser, const uint8_t* data, uint32_t length,
                              void* user_data);
int parse_respiration_movinglist(const HostParser* parser, const uint8_t* data, uint32_t length,
                                 void* user_data);
int parse_respiration_detectionlist(const HostParser* parser, const uint8_t* data, uint32_t length,
                                    void* user_data);

/* Float form for KMS_ID_PULSEDOPPLER_FLOAT and KMS_ID_NOISEMAP_FLOAT, byte form for the _BYTE ids. The packet
 * must be exactly as long as its frequency_count says. */
int parse_pulsedoppler_float(const HostParser* parser, const uint8_t* data, uint32_t length, void* user_data);
int parse_pulsedoppler_byte(const HostParser* parser, const uint8_t* data, uint32_t length, void* user_data);

#ifdef __cplusplus
}
#endif

#endif
