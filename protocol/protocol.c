#include "protocol.h"

#include <string.h>

/* One byte per thread, so that the writing functions need no context argument and frames built on different
 * threads keep apart. */
PROTOCOL_THREAD_LOCAL unsigned char crc_ = 0;

#define FAST_PACKET_HEADER 5u     /* "Q" and the 32-bit length */
#define NOESCAPE_PACKET_HEADER 5u /* the 32-bit length and one unused byte */
#define LENGTH_FIELD 4u
#define SYNC_BYTE 0x7Cu

/* ======================================== reading ======================================================= */

unsigned int getInstanceSize(void) {
    return (unsigned int)sizeof(ApplicationProtocol);
}

ApplicationProtocol* createApplicationProtocol(PacketCallback_t on_packet, ErrorCallback_t on_error,
                                               void* user_data, void* instance_memory, uint8_t* buffer,
                                               uint32_t buffer_size) {
    ApplicationProtocol* instance = (ApplicationProtocol*)instance_memory;
    instance->buffer = buffer;
    instance->buffer_size = buffer_size;
    instance->count = 0;
    instance->on_packet = on_packet;
    instance->on_error = on_error;
    instance->fast_mode = 0;
    instance->noescape_mode = 0;
    instance->user_data = user_data;
    instance->escape_pending = 0;
    return instance;
}

ApplicationProtocol* destroyProtocol(ApplicationProtocol* instance) {
    return instance;
}

static uint32_t read_le32(const uint8_t* bytes) {
    return (uint32_t)bytes[0] | ((uint32_t)bytes[1] << 8) | ((uint32_t)bytes[2] << 16) |
           ((uint32_t)bytes[3] << 24);
}

/* A zero-sized buffer has no first byte to clear. */
static void clear_first_byte(ApplicationProtocol* p) {
    if (p->buffer_size > 0) {
        p->buffer[0] = 0;
    }
}

static void full_reset(ApplicationProtocol* p) {
    p->fast_mode = 0;
    p->count = 0;
    clear_first_byte(p);
    p->noescape_mode = 0;
}

static void report_error(ApplicationProtocol* p, unsigned int code) {
    if (p->on_error) {
        p->on_error(p->user_data, code);
    }
}

static void deliver(ApplicationProtocol* p, const uint8_t* data, uint32_t length, int* delivered) {
    if (p->on_packet) {
        p->on_packet(p->user_data, data, length);
    }
    ++*delivered;
}

static void clear_after_overflow(ApplicationProtocol* p) {
    report_error(p, PROTOCOL_ERROR_BUFFER_FULL);
    p->count = 0;
    p->escape_pending = 0;
    p->fast_mode = 0;
    p->noescape_mode = 0;
}

/* Stores as many bytes as fit in the buffer and the chunk, but never past `wanted` stored bytes, so that the
 * length checks see exactly the counts they would see byte by byte. Returns the number stored. */
static uint32_t store_run(ApplicationProtocol* p, const uint8_t* data, uint32_t available, uint32_t wanted) {
    uint32_t n = p->buffer_size - p->count;
    if (available < n) {
        n = available;
    }
    if (wanted > p->count && wanted - p->count < n) {
        n = wanted - p->count;
    }
    memcpy(p->buffer + p->count, data, n);
    p->count += n;
    return n;
}

/* Fast packet: "Q", L, the body, one trailing byte; L + 6 stored in all, L + 5 delivered. The sum wraps in 32
 * bits, so L = 0xFFFFFFFF completes at 5 stored bytes and delivers 4: still within what is stored. Until the
 * length field is complete, bytes go in one at a time. */
static uint32_t collect_fast(ApplicationProtocol* p, const uint8_t* data, uint32_t available,
                             int* delivered) {
    uint32_t target = p->count < FAST_PACKET_HEADER ? p->count + 1 : read_le32(p->buffer + 1) + 6u;
    uint32_t n = store_run(p, data, available, target);
    if (p->count >= FAST_PACKET_HEADER && p->count == read_le32(p->buffer + 1) + 6u) {
        deliver(p, p->buffer, p->count - 1, delivered);
        p->fast_mode = 0;
        p->count = 0;
    }
    return n;
}

/* No-escape packet: L, one unused byte, the body; L + 5 stored, the L body bytes delivered. Only
 * L = 0xFFFFFFFF can make the wrapped sum match (at 4 stored bytes); it claims more than any buffer can hold,
 * and delivering it would hand out a length far past the stored bytes, so it is treated as the overflow it
 * really is: *overflow is set and nothing is delivered. */
static uint32_t collect_noescape(ApplicationProtocol* p, const uint8_t* data, uint32_t available,
                                 int* delivered, int* overflow) {
    uint32_t target = p->count < LENGTH_FIELD ? p->count + 1 : read_le32(p->buffer) + NOESCAPE_PACKET_HEADER;
    uint32_t n = store_run(p, data, available, target);
    if (p->count < LENGTH_FIELD || p->count != read_le32(p->buffer) + NOESCAPE_PACKET_HEADER) {
        return n;
    }
    if (p->count < NOESCAPE_PACKET_HEADER) {
        *overflow = 1;
        return n;
    }
    deliver(p, p->buffer + NOESCAPE_PACKET_HEADER, p->count - NOESCAPE_PACKET_HEADER, delivered);
    full_reset(p);
    return n;
}

/* Four sync bytes switch to a no-escape packet wherever they stand, unless the stored packet begins with an
 * escaped 7D. The stored bytes are dropped without a report. */
static void sync_test(ApplicationProtocol* p) {
    const uint8_t* tail;
    if (p->buffer[0] == KMS_FLAG_START || p->count < 4) {
        return;
    }
    tail = p->buffer + p->count - 4;
    if (tail[0] == SYNC_BYTE && tail[1] == SYNC_BYTE && tail[2] == SYNC_BYTE && tail[3] == SYNC_BYTE) {
        p->fast_mode = 0;
        p->count = 0;
        clear_first_byte(p);
        p->noescape_mode = 1;
    }
}

static void store_frame_byte(ApplicationProtocol* p, uint8_t byte) {
    p->buffer[p->count++] = byte;
    if (byte == SYNC_BYTE) {
        sync_test(p);
    }
}

static void end_of_frame(ApplicationProtocol* p, int* delivered) {
    uint8_t checksum = KMS_FLAG_START;
    uint32_t length;
    uint32_t i;
    if (p->count == 0) {
        report_error(p, PROTOCOL_ERROR_EMPTY_FRAME);
        return;
    }
    length = p->count - 1;
    for (i = 0; i < length; ++i) {
        checksum ^= p->buffer[i];
    }
    if (checksum == p->buffer[length]) {
        deliver(p, p->buffer, length, delivered);
    } else {
        report_error(p, PROTOCOL_ERROR_CHECKSUM);
    }
    full_reset(p);
}

static void start_of_frame(ApplicationProtocol* p) {
    if (p->count != 0) {
        report_error(p, PROTOCOL_ERROR_MISSING_END);
    }
    full_reset(p);
}

/* One byte outside fast and no-escape mode. */
static void frame_byte(ApplicationProtocol* p, uint8_t byte, int* delivered) {
    if (p->escape_pending) {
        p->escape_pending = 0;
        store_frame_byte(p, byte);
        return;
    }
    switch (byte) {
    case KMS_FLAG_ESC:
        p->escape_pending = 1;
        break;
    case KMS_FLAG_START:
        start_of_frame(p);
        break;
    case KMS_FLAG_END:
        end_of_frame(p, delivered);
        break;
    default:
        if (byte == DEPRECATED_KMS_SPR_APPDATA_FAST && p->count == 0) {
            p->fast_mode = 1;
        }
        store_frame_byte(p, byte);
        break;
    }
}

/* Ordinary payload bytes of an escaped frame: no flag, no sync byte, no "Q" at the head, no pending escape.
 * They take the bulk of the time, so they are stored in a tight loop. Returns the number stored. */
static uint32_t plain_run(ApplicationProtocol* p, const uint8_t* data, uint32_t available) {
    uint32_t room = p->buffer_size - p->count;
    uint32_t limit = available < room ? available : room;
    uint8_t* out = p->buffer + p->count;
    uint32_t n = 0;
    if (p->escape_pending || p->count == 0) {
        return 0;
    }
    while (n < limit && (uint8_t)(data[n] - SYNC_BYTE) > 3u) {
        out[n] = data[n];
        ++n;
    }
    p->count += n;
    return n;
}

/* Consumes at least one byte of the chunk, after the buffer-full test. Returns the bytes consumed, or 0
 * when the packet being collected can never fit. */
static uint32_t step(ApplicationProtocol* p, const uint8_t* data, uint32_t available, int* delivered) {
    uint32_t n;
    int overflow = 0;
    if (p->fast_mode) {
        return collect_fast(p, data, available, delivered);
    }
    if (p->noescape_mode == 1) {
        n = collect_noescape(p, data, available, delivered, &overflow);
        return overflow ? 0 : n;
    }
    n = plain_run(p, data, available);
    if (n > 0) {
        return n;
    }
    frame_byte(p, data[0], delivered);
    return 1;
}

int parseData(ApplicationProtocol* instance, const uint8_t* data, uint32_t length) {
    int delivered = 0;
    uint32_t position = 0;
    uint32_t consumed;
    if (length == 0) {
        return 0;
    }
    while (position < length) {
        /* The test precedes every byte, flags included: a buffer filled by the last byte of one chunk is
         * reported when the next byte comes. */
        if (instance->count == instance->buffer_size) {
            clear_after_overflow(instance);
            return -1;
        }
        consumed = step(instance, data + position, length - position, &delivered);
        if (consumed == 0) {
            clear_after_overflow(instance);
            return -1;
        }
        position += consumed;
    }
    return delivered;
}

/* ======================================== writing ======================================================= */

int isSpecialByte(unsigned char byte) {
    return byte == KMS_FLAG_START || byte == KMS_FLAG_END || byte == KMS_FLAG_ESC;
}

void packet_start(AppendCallback append, void* user_data) {
    crc_ = KMS_FLAG_START;
    append(KMS_FLAG_START, user_data);
}

void process_byte(unsigned char byte, AppendCallback append, void* user_data) {
    if (isSpecialByte(byte)) {
        append(KMS_FLAG_ESC, user_data);
    }
    crc_ ^= byte;
    append(byte, user_data);
}

void process_bytes(const unsigned char* bytes, uint32_t length, AppendCallback append, void* user_data) {
    uint32_t i;
    for (i = 0; i < length; ++i) {
        process_byte(bytes[i], append, user_data);
    }
}

void process_uint(uint32_t value, AppendCallback append, void* user_data) {
    int shift;
    for (shift = 0; shift < 32; shift += 8) {
        process_byte((unsigned char)(value >> shift), append, user_data);
    }
}

void process_int(int32_t value, AppendCallback append, void* user_data) {
    process_uint((uint32_t)value, append, user_data);
}

void process_ints(const int32_t* values, uint32_t count, AppendCallback append, void* user_data) {
    uint32_t i;
    for (i = 0; i < count; ++i) {
        process_int(values[i], append, user_data);
    }
}

void process_float(float value, AppendCallback append, void* user_data) {
    uint32_t bits;
    memcpy(&bits, &value, sizeof bits);
    process_uint(bits, append, user_data);
}

void process_floats(const float* values, uint32_t count, AppendCallback append, void* user_data) {
    uint32_t i;
    for (i = 0; i < count; ++i) {
        process_float(values[i], append, user_data);
    }
}

void packet_end(AppendCallback append, void* user_data) {
    if (isSpecialByte(crc_)) {
        append(KMS_FLAG_ESC, user_data);
    }
    append(crc_, user_data);
    append(KMS_FLAG_END, user_data);
}

int createCommand(const unsigned char* payload, uint32_t length, AppendCallback append, void* user_data) {
    packet_start(append, user_data);
    process_bytes(payload, length, append, user_data);
    packet_end(append, user_data);
    return 0;
}

/* ======================================== command builders ============================================== */

/* Every command is a head of one or two id bytes (chip driver commands add a 32-bit item), then a tail of
 * 32-bit words, single bytes or floats. */
#define NO_SUBCOMMAND (-1)

static void head(unsigned char command, int subcommand, AppendCallback append, void* user_data) {
    packet_start(append, user_data);
    process_byte(command, append, user_data);
    if (subcommand != NO_SUBCOMMAND) {
        process_byte((unsigned char)subcommand, append, user_data);
    }
}

static void direct_head(unsigned char subcommand, AppendCallback append, void* user_data) {
    head(KMS_SPC_DIR_COMMAND, subcommand, append, user_data);
}

static void g7_head(unsigned char action, uint32_t item, AppendCallback append, void* user_data) {
    head(KMS_SPC_G7DRIVER, action, append, user_data);
    process_uint(item, append, user_data);
}

static int finish(AppendCallback append, void* user_data) {
    packet_end(append, user_data);
    return 0;
}

static void process_words(const uint32_t* words, uint32_t count, AppendCallback append, void* user_data) {
    uint32_t i;
    for (i = 0; i < count; ++i) {
        process_uint(words[i], append, user_data);
    }
}

static int tail_words(const uint32_t* words, uint32_t count, AppendCallback append, void* user_data) {
    process_words(words, count, append, user_data);
    return finish(append, user_data);
}

static int tail_bytes(const unsigned char* bytes, uint32_t count, AppendCallback append, void* user_data) {
    process_bytes(bytes, count, append, user_data);
    return finish(append, user_data);
}

static int tail_floats(const float* values, uint32_t count, AppendCallback append, void* user_data) {
    process_floats(values, count, append, user_data);
    return finish(append, user_data);
}

static int words_command(unsigned char command, int subcommand, const uint32_t* words, uint32_t count,
                         AppendCallback append, void* user_data) {
    head(command, subcommand, append, user_data);
    return tail_words(words, count, append, user_data);
}

static int direct_words(unsigned char subcommand, const uint32_t* words, uint32_t count,
                        AppendCallback append, void* user_data) {
    return words_command(KMS_SPC_DIR_COMMAND, subcommand, words, count, append, user_data);
}

static int direct_byte(unsigned char subcommand, unsigned char value, AppendCallback append,
                       void* user_data) {
    direct_head(subcommand, append, user_data);
    return tail_bytes(&value, 1, append, user_data);
}

static int g7_bytes(unsigned char action, uint32_t item, const unsigned char* bytes, uint32_t count,
                    AppendCallback append, void* user_data) {
    g7_head(action, item, append, user_data);
    return tail_bytes(bytes, count, append, user_data);
}

static int g7_word(unsigned char action, uint32_t item, uint32_t word, AppendCallback append,
                   void* user_data) {
    g7_head(action, item, append, user_data);
    return tail_words(&word, 1, append, user_data);
}

static int g7_floats(uint32_t item, const float* values, uint32_t count, AppendCallback append,
                     void* user_data) {
    g7_head(KMS_SPCX_SET, item, append, user_data);
    return tail_floats(values, count, append, user_data);
}

/* The module reads strings up to their terminating 0 byte, which is therefore sent and counted. */
static void process_string(const char* text, uint32_t length, AppendCallback append, void* user_data) {
    process_bytes((const unsigned char*)text, length, append, user_data);
    process_byte(0, append, user_data);
}

/* ---- General and module commands ------------------------------------------------------------------------
 */

int createPingCommand(AppendCallback append, void* user_data) {
    const uint32_t ping = KMS_DEF_PINGVAL;
    return words_command(KMS_SPC_PING, NO_SUBCOMMAND, &ping, 1, append, user_data);
}

int createStartBootloaderCommand(uint32_t key, AppendCallback append, void* user_data) {
    return words_command(KMS_SPC_START_BOOTLOADER, NO_SUBCOMMAND, &key, 1, append, user_data);
}

int createSetSensorModeCommand(unsigned char mode, unsigned char param, AppendCallback append,
                               void* user_data) {
    const uint32_t takes_param = (mode & ~0x40u) == KMS_SM_NORMAL;
    head(KMS_SPC_MOD_SETMODE, mode, append, user_data);
    return tail_bytes(&param, takes_param, append, user_data);
}

int createLoadAppCommand(uint32_t app_id, AppendCallback append, void* user_data) {
    return words_command(KMS_SPC_MOD_LOADAPP, NO_SUBCOMMAND, &app_id, 1, append, user_data);
}

int createLoadProfileCommand(uint32_t profile_id, AppendCallback append, void* user_data) {
    return createLoadAppCommand(profile_id, append, user_data);
}

int createModuleResetCommand(AppendCallback append, void* user_data) {
    return words_command(KMS_SPC_MOD_RESET, NO_SUBCOMMAND, NULL, 0, append, user_data);
}

int createSetLedControlCommand(unsigned char mode, unsigned char intensity, AppendCallback append,
                               void* user_data) {
    const unsigned char values[] = {mode, intensity};
    head(KMS_SPC_MOD_SETLEDCONTROL, NO_SUBCOMMAND, append, user_data);
    return tail_bytes(values, 2, append, user_data);
}

int createDebugLevelCommand(unsigned char level, AppendCallback append, void* user_data) {
    head(KMS_SPC_DEBUG_LEVEL, NO_SUBCOMMAND, append, user_data);
    return tail_bytes(&level, 1, append, user_data);
}

int createSetOutputControlCommand(uint32_t output_feature, uint32_t output_control, AppendCallback append,
                                  void* user_data) {
    const uint32_t words[] = {output_feature, output_control};
    return words_command(KMS_SPC_OUTPUT, KMS_SPCO_SETCONTROL, words, 2, append, user_data);
}

int createSetIOPinControlCommand(uint32_t pin_id, uint32_t pin_setup, uint32_t pin_feature,
                                 AppendCallback append, void* user_data) {
    const uint32_t words[] = {pin_id, pin_setup, pin_feature};
    return words_command(KMS_SPC_IOPIN, KMS_SPCIOP_SETCONTROL, words, 3, append, user_data);
}

int createSetIOPinValueCommand(uint32_t pin_id, uint32_t pin_value, AppendCallback append, void* user_data) {
    const uint32_t words[] = {pin_id, pin_value};
    return words_command(KMS_SPC_IOPIN, KMS_SPCIOP_SETVALUE, words, 2, append, user_data);
}

int createGetIOPinValueCommand(uint32_t pin_id, AppendCallback append, void* user_data) {
    return words_command(KMS_SPC_IOPIN, KMS_SPCIOP_GETVALUE, &pin_id, 1, append, user_data);
}

int createSetNoiseMapControlCommand(uint32_t control, AppendCallback append, void* user_data) {
    return words_command(KMS_SPC_MOD_NOISEMAP, KMS_SPCN_SETCONTROL, &control, 1, append, user_data);
}

int createGetNoiseMapControlCommand(AppendCallback append, void* user_data) {
    return words_command(KMS_SPC_MOD_NOISEMAP, KMS_SPCN_GETCONTROL, NULL, 0, append, user_data);
}

/* ---- Application commands -------------------------------------------------------------------------------
 */

int createAppCommand(unsigned char id, const unsigned char* data, uint32_t length, AppendCallback append,
                     void* user_data) {
    head(KMS_SPC_APPCOMMAND, id, append, user_data);
    return tail_bytes(data, length, append, user_data);
}

static int app_words(unsigned char id, const uint32_t* words, uint32_t count, AppendCallback append,
                     void* user_data) {
    return words_command(KMS_SPC_APPCOMMAND, id, words, count, append, user_data);
}

int createResetToFactoryPreset(AppendCallback append, void* user_data) {
    return app_words(KMS_SPCA_FACTORY_PRESET, NULL, 0, append, user_data);
}

int createStoreNoiseMapCommand(AppendCallback append, void* user_data) {
    return app_words(KMS_SPCA_STORE_NOISEMAP, NULL, 0, append, user_data);
}

int createLoadNoiseMapCommand(AppendCallback append, void* user_data) {
    return app_words(KMS_SPCA_LOAD_NOISEMAP, NULL, 0, append, user_data);
}

int createSetDetectionZoneCommand(float start, float end, AppendCallback append, void* user_data) {
    const float zone[] = {start, end};
    head(KMS_SPC_APPCOMMAND, KMS_SPCA_SET, append, user_data);
    process_uint(KMS_ID_DETECTION_ZONE, append, user_data);
    return tail_floats(zone, 2, append, user_data);
}

int createGetDetectionZoneCommand(AppendCallback append, void* user_data) {
    const uint32_t id = KMS_ID_DETECTION_ZONE;
    return app_words(KMS_SPCA_GET, &id, 1, append, user_data);
}

int createGetDetectionZoneLimitsCommand(AppendCallback append, void* user_data) {
    const uint32_t id = KMS_ID_DETECTION_ZONE_LIMITS;
    return app_words(KMS_SPCA_GET, &id, 1, append, user_data);
}

int createSetSensitivityCommand(uint32_t sensitivity, AppendCallback append, void* user_data) {
    const uint32_t words[] = {KMS_ID_SENSITIVITY, sensitivity};
    return app_words(KMS_SPCA_SET, words, 2, append, user_data);
}

int createSetParameterFileCommand(const char* name, uint32_t name_length, const char* data,
                                  uint32_t data_length, AppendCallback append, void* user_data) {
    head(KMS_SPC_APPCOMMAND, KMS_SPCA_SET, append, user_data);
    process_uint(KMS_ID_PROFILE_PARAMETERFILE, append, user_data);
    process_uint(name_length + 1, append, user_data);
    process_uint(data_length + 1, append, user_data);
    process_string(name, name_length, append, user_data);
    process_string(data, data_length, append, user_data);
    return finish(append, user_data);
}

int createGetParameterFileCommand(const char* name, uint32_t name_length, AppendCallback append,
                                  void* user_data) {
    head(KMS_SPC_APPCOMMAND, KMS_SPCA_GET, append, user_data);
    process_uint(KMS_ID_PROFILE_PARAMETERFILE, append, user_data);
    process_uint(name_length + 1, append, user_data);
    process_string(name, name_length, append, user_data);
    return finish(append, user_data);
}

/* ---- Direct commands ------------------------------------------------------------------------------------
 */

int createSetBaudRate(uint32_t rate, AppendCallback append, void* user_data) {
    return direct_words(KMS_SDC_COMM_SETBAUDRATE, &rate, 1, append, user_data);
}

int createSetBaudRateCommand(int32_t rate, AppendCallback append, void* user_data) {
    return createSetBaudRate((uint32_t)rate, append, user_data);
}

int createSystemRunTest(unsigned char id, AppendCallback append, void* user_data) {
    return direct_byte(KMS_SDC_SYSTEM_TEST, id, append, user_data);
}

int createConfigSetIntCommand(int32_t id, int32_t value, AppendCallback append, void* user_data) {
    const uint32_t words[] = {(uint32_t)id, (uint32_t)value};
    return direct_words(KMS_SDC_SYSCFG_SETINT, words, 2, append, user_data);
}

int createConfigSetFloatCommand(int32_t id, float value, AppendCallback append, void* user_data) {
    direct_head(KMS_SDC_SYSCFG_SETFLOAT, append, user_data);
    process_int(id, append, user_data);
    return tail_floats(&value, 1, append, user_data);
}

int createGetSystemInfoCommand(unsigned char info_code, AppendCallback append, void* user_data) {
    return direct_byte(KMS_SDC_SYSTEM_GET_INFO, info_code, append, user_data);
}

int createSystemGetInfoCommand(unsigned char info_code, AppendCallback append, void* user_data) {
    return createGetSystemInfoCommand(info_code, append, user_data);
}

int createSystemGetVersionCommand(AppendCallback append, void* user_data) {
    return direct_words(KMS_SDC_SYSTEM_GET_VERSION, NULL, 0, append, user_data);
}

int createGetProfileIdCommand(AppendCallback append, void* user_data) {
    return direct_words(KMS_SDC_GET_PROFILEID, NULL, 0, append, user_data);
}

int createGetIntCommand(int32_t id, AppendCallback append, void* user_data) {
    const uint32_t word = (uint32_t)id;
    return direct_words(KMS_SDC_RADLIB_GETVARINT, &word, 1, append, user_data);
}

int createSetIntCommand(int32_t id, int32_t value, AppendCallback append, void* user_data) {
    const uint32_t words[] = {(uint32_t)id, (uint32_t)value};
    return direct_words(KMS_SDC_RADLIB_SETVARINT, words, 2, append, user_data);
}

int createGetFloatCommand(int32_t id, AppendCallback append, void* user_data) {
    const uint32_t word = (uint32_t)id;
    return direct_words(KMS_SDC_RADLIB_GETVARFLOAT, &word, 1, append, user_data);
}

int createSetFloatCommand(int32_t id, float value, AppendCallback append, void* user_data) {
    direct_head(KMS_SDC_RADLIB_SETVARFLOAT, append, user_data);
    process_int(id, append, user_data);
    return tail_floats(&value, 1, append, user_data);
}

int createGetRegisterCommand(int32_t reg, AppendCallback append, void* user_data) {
    const uint32_t word = (uint32_t)reg;
    return direct_words(KMS_SDC_RADLIB_GETREGFIELD, &word, 1, append, user_data);
}

int createSetRegisterCommand(int32_t reg, int32_t value, AppendCallback append, void* user_data) {
    const uint32_t words[] = {(uint32_t)reg, (uint32_t)value};
    return direct_words(KMS_SDC_RADLIB_SETREGFIELD, words, 2, append, user_data);
}

int createGetFrame(AppendCallback append, void* user_data) {
    return direct_words(KMS_SDC_RADLIB_GETFRAMEFLOAT, NULL, 0, append, user_data);
}

int createRunTimingMeasurementCommand(AppendCallback append, void* user_data) {
    return direct_words(KMS_SDC_RADLIB_TIMINGMEASUREMENT, NULL, 0, append, user_data);
}

int createAppSetIntCommand(int32_t id, const int32_t* values, uint32_t count, AppendCallback append,
                           void* user_data) {
    direct_head(KMS_SDC_APP_SETINT, append, user_data);
    process_int(id, append, user_data);
    process_uint(count, append, user_data);
    process_ints(values, count, append, user_data);
    return finish(append, user_data);
}

/* ---- File commands --------------------------------------------------------------------------------------
 */

int createSearchForFileTypeCommand(uint32_t file_type, AppendCallback append, void* user_data) {
    return direct_words(KMS_SDC_SEARCH_FILE_TYPE, &file_type, 1, append, user_data);
}

int createFindAllFilesCommand(AppendCallback append, void* user_data) {
    return direct_words(KMS_SDC_FIND_ALL_FILES, NULL, 0, append, user_data);
}

int createNewFileCommand(uint32_t file_type, uint32_t identifier, uint32_t length, AppendCallback append,
                         void* user_data) {
    const uint32_t words[] = {file_type, identifier, length};
    return direct_words(KMS_SDC_CREATE_NEW_FILE, words, 3, append, user_data);
}

int createOpenFileCommand(uint32_t file_type, uint32_t identifier, AppendCallback append, void* user_data) {
    const uint32_t words[] = {file_type, identifier};
    return direct_words(KMS_SDC_OPEN_FILE, words, 2, append, user_data);
}

int createSetFileDataCommand(uint32_t file_type, uint32_t identifier, uint32_t offset,
                             const unsigned char* data, uint32_t length, AppendCallback append,
                             void* user_data) {
    const uint32_t words[] = {file_type, identifier, offset, length};
    direct_head(KMS_SDC_SET_FILE_DATA, append, user_data);
    process_words(words, 4, append, user_data);
    return tail_bytes(data, length, append, user_data);
}

int createCloseFileCommand(uint32_t file_type, uint32_t identifier, uint32_t commit, AppendCallback append,
                           void* user_data) {
    const uint32_t words[] = {file_type, identifier, commit};
    return direct_words(KMS_SDC_CLOSE_FILE, words, 3, append, user_data);
}

int createGetFileLengthCommand(uint32_t file_type, uint32_t identifier, AppendCallback append,
                               void* user_data) {
    const uint32_t words[] = {file_type, identifier};
    return direct_words(KMS_SDC_GET_FILE_LENGTH, words, 2, append, user_data);
}

int createDeleteFileCommand(uint32_t file_type, uint32_t identifier, AppendCallback append, void* user_data) {
    const uint32_t words[] = {file_type, identifier};
    return direct_words(KMS_SDC_DELETE_FILE, words, 2, append, user_data);
}

int createGetFileDataCommand(uint32_t file_type, uint32_t identifier, uint32_t offset, uint32_t length,
                             AppendCallback append, void* user_data) {
    const uint32_t words[] = {file_type, identifier, offset, length};
    return direct_words(KMS_SDC_GET_FILE_DATA, words, 4, append, user_data);
}

int createFormatFilesystemCommand(uint32_t key, AppendCallback append, void* user_data) {
    return direct_words(KMS_SDC_FORMAT_FILESYSTEM, &key, 1, append, user_data);
}

/* ---- Bootloader commands --------------------------------------------------------------------------------
 */

int createBootloaderDeviceInfoCommand(AppendCallback append, void* user_data) {
    return words_command(KMS_SPC_BOOTLOADER, KMS_SPCB_GET_DEVICE_INFO, NULL, 0, append, user_data);
}

int createPageWriteCommand(uint32_t page, const unsigned char* data, uint32_t length, AppendCallback append,
                           void* user_data) {
    const unsigned char page_field[] = {(unsigned char)(page >> 8), (unsigned char)page, 0};
    head(KMS_SPC_BOOTLOADER, KMS_SPCB_WRITE_PAGE, append, user_data);
    process_bytes(page_field, 3, append, user_data);
    return tail_bytes(data, length, append, user_data);
}

int createApplicationStartCommand(AppendCallback append, void* user_data) {
    return words_command(KMS_SPC_BOOTLOADER, KMS_SPCB_START_APP, NULL, 0, append, user_data);
}

/* ---- Chip driver commands -------------------------------------------------------------------------------
 */

int createG7DriverInitCommand(AppendCallback append, void* user_data) {
    return words_command(KMS_SPC_G7DRIVER, KMS_SPCX_INIT, NULL, 0, append, user_data);
}

int createG7DriverSetFpsCommand(float fps, AppendCallback append, void* user_data) {
    return g7_floats(KMS_SPCXI_FPS, &fps, 1, append, user_data);
}

int createG7DriverSetIterationsCommand(int32_t iterations, AppendCallback append, void* user_data) {
    return g7_word(KMS_SPCX_SET, KMS_SPCXI_ITERATIONS, (uint32_t)iterations, append, user_data);
}

int createG7DriverSetPulsesPerStepCommand(int32_t pulsesperstep, AppendCallback append, void* user_data) {
    return g7_word(KMS_SPCX_SET, KMS_SPCXI_PULSESPERSTEP, (uint32_t)pulsesperstep, append, user_data);
}

int createG7DriverSetDownconversionCommand(unsigned char enable, AppendCallback append, void* user_data) {
    return g7_bytes(KMS_SPCX_SET, KMS_SPCXI_DOWNCONVERSION, &enable, 1, append, user_data);
}

int createG7DriverSetFrameAreaCommand(float start, float end, AppendCallback append, void* user_data) {
    const float area[] = {start, end};
    return g7_floats(KMS_SPCXI_FRAMEAREA, area, 2, append, user_data);
}

int createG7DriverSetDacStepCommand(unsigned char dac_step, AppendCallback append, void* user_data) {
    return g7_bytes(KMS_SPCX_SET, KMS_SPCXI_DACSTEP, &dac_step, 1, append, user_data);
}

int createG7DriverSetDacMinCommand(int32_t dac_min, AppendCallback append, void* user_data) {
    return g7_word(KMS_SPCX_SET, KMS_SPCXI_DACMIN, (uint32_t)dac_min, append, user_data);
}

int createG7DriverSetDacMaxCommand(int32_t dac_max, AppendCallback append, void* user_data) {
    return g7_word(KMS_SPCX_SET, KMS_SPCXI_DACMAX, (uint32_t)dac_max, append, user_data);
}

int createG7DriverSetFrameAreaOffsetCommand(float offset, AppendCallback append, void* user_data) {
    return g7_floats(KMS_SPCXI_FRAMEAREAOFFSET, &offset, 1, append, user_data);
}

int createG7DriverSetEnableCommand(unsigned char enable, AppendCallback append, void* user_data) {
    return g7_bytes(KMS_SPCX_SET, KMS_SPCXI_ENABLE, &enable, 1, append, user_data);
}

int createG7DriverSetTxCenterFrequencyCommand(unsigned char frequency, AppendCallback append,
                                              void* user_data) {
    return g7_bytes(KMS_SPCX_SET, KMS_SPCXI_TXCENTERFREQUENCY, &frequency, 1, append, user_data);
}

int createG7DriverSetTxPowerCommand(unsigned char power, AppendCallback append, void* user_data) {
    return g7_bytes(KMS_SPCX_SET, KMS_SPCXI_TXPOWER, &power, 1, append, user_data);
}

static int g7_set_register(uint32_t item, unsigned char address, unsigned char value, AppendCallback append,
                           void* user_data) {
    const unsigned char bytes[] = {address, value};
    return g7_bytes(KMS_SPCX_SET, item, bytes, 2, append, user_data);
}

int createG7DriverSetSpiRegisterCommand(unsigned char address, unsigned char value, AppendCallback append,
                                        void* user_data) {
    return g7_set_register(KMS_SPCXI_SPIREGISTER, address, value, append, user_data);
}

int createG7DriverSetPifRegisterCommand(unsigned char address, unsigned char value, AppendCallback append,
                                        void* user_data) {
    return g7_set_register(KMS_SPCXI_PIFREGISTER, address, value, append, user_data);
}

int createG7DriverSetXifRegisterCommand(unsigned char address, unsigned char value, AppendCallback append,
                                        void* user_data) {
    return g7_set_register(KMS_SPCXI_XIFREGISTER, address, value, append, user_data);
}

int createG7DriverSetPrfDivCommand(unsigned char prf_div, AppendCallback append, void* user_data) {
    return g7_bytes(KMS_SPCX_SET, KMS_SPCXI_PRFDIV, &prf_div, 1, append, user_data);
}

int createG7DriverGetFpsCommand(AppendCallback append, void* user_data) {
    return g7_bytes(KMS_SPCX_GET, KMS_SPCXI_FPS, NULL, 0, append, user_data);
}

int createG7DriverGetFrameAreaCommand(AppendCallback append, void* user_data) {
    return g7_bytes(KMS_SPCX_GET, KMS_SPCXI_FRAMEAREA, NULL, 0, append, user_data);
}

int createG7DriverGetFrameAreaOffsetCommand(AppendCallback append, void* user_data) {
    return g7_bytes(KMS_SPCX_GET, KMS_SPCXI_FRAMEAREAOFFSET, NULL, 0, append, user_data);
}

int createG7DriverGetSpiRegisterCommand(unsigned char address, AppendCallback append, void* user_data) {
    return g7_bytes(KMS_SPCX_GET, KMS_SPCXI_SPIREGISTER, &address, 1, append, user_data);
}

int createG7DriverGetPifRegisterCommand(unsigned char address, AppendCallback append, void* user_data) {
    return g7_bytes(KMS_SPCX_GET, KMS_SPCXI_PIFREGISTER, &address, 1, append, user_data);
}

int createG7DriverGetXifRegisterCommand(unsigned char address, AppendCallback append, void* user_data) {
    return g7_bytes(KMS_SPCX_GET, KMS_SPCXI_XIFREGISTER, &address, 1, append, user_data);
}

int createG7DriverGetPrfDivCommand(AppendCallback append, void* user_data) {
    return g7_bytes(KMS_SPCX_GET, KMS_SPCXI_PRFDIV, NULL, 0, append, user_data);
}

int createG7DriverWriteToSpiRegisterCommand(unsigned char address, const unsigned char* values,
                                            uint32_t length, AppendCallback append, void* user_data) {
    g7_head(KMS_SPCX_WRITE, KMS_SPCXI_SPIREGISTER, append, user_data);
    process_byte(address, append, user_data);
    return tail_bytes(values, length, append, user_data);
}

int createG7DriverReadFromSpiRegisterCommand(unsigned char address, uint32_t length, AppendCallback append,
                                             void* user_data) {
    g7_head(KMS_SPCX_READ, KMS_SPCXI_SPIREGISTER, append, user_data);
    process_byte(address, append, user_data);
    return tail_words(&length, 1, append, user_data);
}
