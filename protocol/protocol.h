/* The frame codec of the module link and the builders of every command the host sends.
 *
 * Writing: a frame is written one byte at a time through an append callback, by packet_start, any number of
 * process_* calls and packet_end, in that order, on one thread. The running checksum of the frame being
 * written, crc_, is a byte of the calling thread, so that threads may build frames at the same time, for one
 * module each, without disturbing one another.
 *
 * Reading: parseData is a resumable state machine over a buffer owned by the caller. It accepts the escaped
 * frame, the fast packet ("Q" + 32-bit length) and the no-escape packet (after 7C 7C 7C 7C), in chunks of any
 * size, and calls on_packet for each packet found or on_error with one of the PROTOCOL_ERROR_ codes. The
 * pointer handed to on_packet points into the buffer and is valid only until the callback returns.
 *
 * Builders: each create... function writes one complete frame and returns 0. Their last two arguments are
 * always the append callback and its user data.
 *
 * Plain C99; allocates nothing. */
#ifndef PROTOCOL_H
#define PROTOCOL_H

#include "protocol_identifiers.h"

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Types ----------------------------------------------------------------------------------------------
 */

typedef void (*AppendCallback)(unsigned char byte, void* user_data);
typedef void (*PacketCallback_t)(void* user_data, const unsigned char* data, unsigned int length);
typedef void (*ErrorCallback_t)(void* user_data, unsigned int error_code);

/* Codes handed to on_error. */
enum protocol_error_en {
    PROTOCOL_ERROR_CHECKSUM = 1,    /* end flag with a wrong checksum: frame dropped */
    PROTOCOL_ERROR_MISSING_END = 2, /* start flag while bytes were pending: they are dropped */
    PROTOCOL_ERROR_EMPTY_FRAME = 3, /* end flag with nothing stored: ignored */
    PROTOCOL_ERROR_BUFFER_FULL = 4  /* packet larger than the buffer: parser cleared, rest of chunk dropped */
};

/* The parser instance. It lives in memory of its owner and is set up by createApplicationProtocol only. */
typedef struct ApplicationProtocol {
    uint8_t* buffer;
    uint32_t buffer_size;
    uint32_t count; /* bytes stored in buffer since the last reset */
    PacketCallback_t on_packet;
    ErrorCallback_t on_error;
    uint8_t fast_mode;
    uint32_t noescape_mode;
    void* user_data;
    uint8_t escape_pending;
} ApplicationProtocol;

/* The storage class of crc_: C11's keyword, else the one that gcc and clang give C99 and C++ alike, else
 * C++11's. A compiler with none of them gets one byte for the whole process, and frames must then be built on
 * one thread at a time. */
#if defined(__STDC_VERSION__) && __STDC_VERSION__ >= 201112L
#define PROTOCOL_THREAD_LOCAL _Thread_local
#elif defined(__GNUC__)
#define PROTOCOL_THREAD_LOCAL __thread
#elif defined(__cplusplus) && __cplusplus >= 201103L
#define PROTOCOL_THREAD_LOCAL thread_local
#else
#define PROTOCOL_THREAD_LOCAL
#endif

/* The running checksum of the frame the calling thread is writing. */
extern PROTOCOL_THREAD_LOCAL unsigned char crc_;

/* ---- Reading --------------------------------------------------------------------------------------------
 */

unsigned int getInstanceSize(void);
ApplicationProtocol* createApplicationProtocol(PacketCallback_t on_packet, ErrorCallback_t on_error,
                                               void* user_data, void* instance_memory, uint8_t* buffer,
                                               uint32_t buffer_size);
ApplicationProtocol* destroyProtocol(ApplicationProtocol* instance);

/* Feeds one chunk. Returns the number of packets delivered during this call, or -1 after
 * PROTOCOL_ERROR_BUFFER_FULL (the rest of the chunk is then dropped). */
int parseData(ApplicationProtocol* instance, const uint8_t* data, uint32_t length);

/* ---- Writing --------------------------------------------------------------------------------------------
 */

int isSpecialByte(unsigned char byte);
void packet_start(AppendCallback append, void* user_data);
void process_byte(unsigned char byte, AppendCallback append, void* user_data);
void process_bytes(const unsigned char* bytes, uint32_t length, AppendCallback append, void* user_data);
void process_int(int32_t value, AppendCallback append, void* user_data);
void process_uint(uint32_t value, AppendCallback append, void* user_data);
void process_ints(const int32_t* values, uint32_t count, AppendCallback append, void* user_data);
void process_float(float value, AppendCallback append, void* user_data);
void process_floats(const float* values, uint32_t count, AppendCallback append, void* user_data);
void packet_end(AppendCallback append, void* user_data);

/* Frames a ready-made payload. */
int createCommand(const unsigned char* payload, uint32_t length, AppendCallback append, void* user_data);

/* ---- General and module commands ------------------------------------------------------------------------
 */

int createPingCommand(AppendCallback append, void* user_data);
int createStartBootloaderCommand(uint32_t key, AppendCallback append, void* user_data);
/* The parameter is sent only for KMS_SM_NORMAL and KMS_SM_REG (mode with bit 6 cleared equal to 0x10). */
int createSetSensorModeCommand(unsigned char mode, unsigned char param, AppendCallback append,
                               void* user_data);
int createLoadAppCommand(uint32_t app_id, AppendCallback append, void* user_data);
int createLoadProfileCommand(uint32_t profile_id, AppendCallback append, void* user_data);
int createModuleResetCommand(AppendCallback append, void* user_data);
int createSetLedControlCommand(unsigned char mode, unsigned char intensity, AppendCallback append,
                               void* user_data);
int createDebugLevelCommand(unsigned char level, AppendCallback append, void* user_data);
int createSetOutputControlCommand(uint32_t output_feature, uint32_t output_control, AppendCallback append,
                                  void* user_data);
int createSetIOPinControlCommand(uint32_t pin_id, uint32_t pin_setup, uint32_t pin_feature,
                                 AppendCallback append, void* user_data);
int createSetIOPinValueCommand(uint32_t pin_id, uint32_t pin_value, AppendCallback append, void* user_data);
int createGetIOPinValueCommand(uint32_t pin_id, AppendCallback append, void* user_data);
int createSetNoiseMapControlCommand(uint32_t control, AppendCallback append, void* user_data);
int createGetNoiseMapControlCommand(AppendCallback append, void* user_data);

/* ---- Application commands -------------------------------------------------------------------------------
 */

int createAppCommand(unsigned char id, const unsigned char* data, uint32_t length, AppendCallback append,
                     void* user_data);
int createResetToFactoryPreset(AppendCallback append, void* user_data);
int createStoreNoiseMapCommand(AppendCallback append, void* user_data);
int createLoadNoiseMapCommand(AppendCallback append, void* user_data);
int createSetDetectionZoneCommand(float start, float end, AppendCallback append, void* user_data);
int createGetDetectionZoneCommand(AppendCallback append, void* user_data);
int createGetDetectionZoneLimitsCommand(AppendCallback append, void* user_data);
int createSetSensitivityCommand(uint32_t sensitivity, AppendCallback append, void* user_data);
/* Strings are given as pointer and length; each is sent with a terminating 0 byte, counted in its length. */
int createSetParameterFileCommand(const char* name, uint32_t name_length, const char* data,
                                  uint32_t data_length, AppendCallback append, void* user_data);
int createGetParameterFileCommand(const char* name, uint32_t name_length, AppendCallback append,
                                  void* user_data);

/* ---- Direct commands ------------------------------------------------------------------------------------
 */

int createSetBaudRate(uint32_t rate, AppendCallback append, void* user_data);
int createSetBaudRateCommand(int32_t rate, AppendCallback append, void* user_data);
int createSystemRunTest(unsigned char id, AppendCallback append, void* user_data);
int createConfigSetIntCommand(int32_t id, int32_t value, AppendCallback append, void* user_data);
int createConfigSetFloatCommand(int32_t id, float value, AppendCallback append, void* user_data);
int createGetSystemInfoCommand(unsigned char info_code, AppendCallback append, void* user_data);
int createSystemGetInfoCommand(unsigned char info_code, AppendCallback append, void* user_data);
int createSystemGetVersionCommand(AppendCallback append, void* user_data);
int createGetProfileIdCommand(AppendCallback append, void* user_data);
int createGetIntCommand(int32_t id, AppendCallback append, void* user_data);
int createSetIntCommand(int32_t id, int32_t value, AppendCallback append, void* user_data);
int createGetFloatCommand(int32_t id, AppendCallback append, void* user_data);
int createSetFloatCommand(int32_t id, float value, AppendCallback append, void* user_data);
int createGetRegisterCommand(int32_t reg, AppendCallback append, void* user_data);
int createSetRegisterCommand(int32_t reg, int32_t value, AppendCallback append, void* user_data);
int createGetFrame(AppendCallback append, void* user_data);
int createRunTimingMeasurementCommand(AppendCallback append, void* user_data);
/* 90 71, id, count, then count values. */
int createAppSetIntCommand(int32_t id, const int32_t* values, uint32_t count, AppendCallback append,
                           void* user_data);

/* ---- File commands --------------------------------------------------------------------------------------
 */

int createSearchForFileTypeCommand(uint32_t file_type, AppendCallback append, void* user_data);
int createFindAllFilesCommand(AppendCallback append, void* user_data);
int createNewFileCommand(uint32_t file_type, uint32_t identifier, uint32_t length, AppendCallback append,
                         void* user_data);
int createOpenFileCommand(uint32_t file_type, uint32_t identifier, AppendCallback append, void* user_data);
int createSetFileDataCommand(uint32_t file_type, uint32_t identifier, uint32_t offset,
                             const unsigned char* data, uint32_t length, AppendCallback append,
                             void* user_data);
int createCloseFileCommand(uint32_t file_type, uint32_t identifier, uint32_t commit, AppendCallback append,
                           void* user_data);
int createGetFileLengthCommand(uint32_t file_type, uint32_t identifier, AppendCallback append,
                               void* user_data);
int createDeleteFileCommand(uint32_t file_type, uint32_t identifier, AppendCallback append, void* user_data);
int createGetFileDataCommand(uint32_t file_type, uint32_t identifier, uint32_t offset, uint32_t length,
                             AppendCallback append, void* user_data);
int createFormatFilesystemCommand(uint32_t key, AppendCallback append, void* user_data);

/* ---- Bootloader commands --------------------------------------------------------------------------------
 */

int createBootloaderDeviceInfoCommand(AppendCallback append, void* user_data);
/* The page number goes high byte first: the one big-endian field of the protocol. */
int createPageWriteCommand(uint32_t page, const unsigned char* data, uint32_t length, AppendCallback append,
                           void* user_data);
int createApplicationStartCommand(AppendCallback append, void* user_data);

/* ---- Chip driver commands -------------------------------------------------------------------------------
 */

int createG7DriverInitCommand(AppendCallback append, void* user_data);
int createG7DriverSetFpsCommand(float fps, AppendCallback append, void* user_data);
int createG7DriverSetIterationsCommand(int32_t iterations, AppendCallback append, void* user_data);
int createG7DriverSetPulsesPerStepCommand(int32_t pulsesperstep, AppendCallback append, void* user_data);
int createG7DriverSetDownconversionCommand(unsigned char enable, AppendCallback append, void* user_data);
int createG7DriverSetFrameAreaCommand(float start, float end, AppendCallback append, void* user_data);
int createG7DriverSetDacStepCommand(unsigned char dac_step, AppendCallback append, void* user_data);
int createG7DriverSetDacMinCommand(int32_t dac_min, AppendCallback append, void* user_data);
int createG7DriverSetDacMaxCommand(int32_t dac_max, AppendCallback append, void* user_data);
int createG7DriverSetFrameAreaOffsetCommand(float offset, AppendCallback append, void* user_data);
int createG7DriverSetEnableCommand(unsigned char enable, AppendCallback append, void* user_data);
int createG7DriverSetTxCenterFrequencyCommand(unsigned char frequency, AppendCallback append,
                                              void* user_data);
int createG7DriverSetTxPowerCommand(unsigned char power, AppendCallback append, void* user_data);
int createG7DriverSetSpiRegisterCommand(unsigned char address, unsigned char value, AppendCallback append,
                                        void* user_data);
int createG7DriverSetPifRegisterCommand(unsigned char address, unsigned char value, AppendCallback append,
                                        void* user_data);
int createG7DriverSetXifRegisterCommand(unsigned char address, unsigned char value, AppendCallback append,
                                        void* user_data);
int createG7DriverSetPrfDivCommand(unsigned char prf_div, AppendCallback append, void* user_data);
int createG7DriverGetFpsCommand(AppendCallback append, void* user_data);
int createG7DriverGetFrameAreaCommand(AppendCallback append, void* user_data);
int createG7DriverGetFrameAreaOffsetCommand(AppendCallback append, void* user_data);
int createG7DriverGetSpiRegisterCommand(unsigned char address, AppendCallback append, void* user_data);
int createG7DriverGetPifRegisterCommand(unsigned char address, AppendCallback append, void* user_data);
int createG7DriverGetXifRegisterCommand(unsigned char address, AppendCallback append, void* user_data);
int createG7DriverGetPrfDivCommand(AppendCallback append, void* user_data);
int createG7DriverWriteToSpiRegisterCommand(unsigned char address, const unsigned char* values,
                                            uint32_t length, AppendCallback append, void* user_data);
int createG7DriverReadFromSpiRegisterCommand(unsigned char address, uint32_t length, AppendCallback append,
                                             void* user_data);

#ifdef __cplusplus
}
#endif

#endif
