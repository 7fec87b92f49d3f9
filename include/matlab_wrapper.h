/* Connection, commands and data of a radar module: the plain C interface for numerical environments.
 *
 * Flat functions over the library's RadarInterface, for a caller that loads the shared library and sees
 * nothing but C (MATLAB's loadlibrary, Python's ctypes, a C program). A connection is a DeviceBridge handle;
 * the commands take the G5_Type handle that dba_get_g5 makes from it, whatever the module type.
 *
 * Results. Unless a function says otherwise it returns 0 for success and non-zero for failure: the module's
 * own error code where the module refused a command, else 1 (a time-out, an unparsable reply, a lost link).
 * No C++ exception ever leaves a function. Out-pointers are written only on success, but for the counts that
 * tell a caller how big a refused buffer would have to be. Null out-pointers are skipped.
 *
 * Buffers. The library never allocates for the caller; every buffer is the caller's:
 *   text   (char* buffer, unsigned int max_length): copied with its terminator when max_length is at least
 *          the length of the text, else nothing is copied and the result is 1. The terminator is not
 *          counted, so the buffer must hold max_length + 1 bytes.
 *   bytes  (void* buffer, unsigned int max_length): 1 and nothing copied when the packet is longer than
 *          max_length, else copied.
 *   record a pointer for each field of the record, then one per array. Scalars are stored, arrays copied
 *          whole: the count the record reports (num_bins, frequency_count, detection_count, or the extra
 *          count pointer where the record has none) is the number of elements that came, and the caller's
 *          arrays must hold as many as the module can send, since nothing checks them. A link delivers at
 *          most the module's largest packet: for a baseband frame num_bins floats per array, for a
 *          pulse-Doppler row frequency_count values; DBA_MAX_RECORD_ELEMENTS bounds every array.
 *
 * Threads. One connection may be used from several threads: each call holds the connection's lock for the
 * length of the library call; results are copied out after the lock is released. A blocking read holds the
 * lock until its packet arrives. */
#ifndef DEVICEBRIDGE_MATLAB_WRAPPER_H
#define DEVICEBRIDGE_MATLAB_WRAPPER_H

#include "matlab_recording_api.h"

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct DeviceBridge DeviceBridge;
typedef struct G5_Type G5_Type;

/* The most elements an array of a record can take: a packet of the largest size a link reassembles (20000
 * bytes), holding nothing but single bytes. Arrays of this many elements are always big enough. */
#define DBA_MAX_RECORD_ELEMENTS 20000

/* ---- connection and handles -----------------------------------------------------------------------------
 * The creators open the link and return null when it can't be opened. log_level 0 logs nothing and makes
 * no file; any other level writes lines up to that level (0 errors ... 5 the most) into a debug file
 * "debug_<date>_<time>.log" in the current directory. Nothing ever goes to the console.
 * dba_create_device_bridge_tcpip: address and port in network byte order (inet_addr, htons); the third
 *   argument is ignored. dba_create_device_bridge_playback: a null player gives null.
 * dba_destroy_device_bridge: null is allowed. Destroy the G5_Type and recorder handles of a bridge first.
 * dba_get_g5 and dba_destroy_G5_interface abort the process on a null handle.
 * dba_get_data_recorder: the bridge's own recorder, which records the module's stream; the bridge stops it
 *   when it is destroyed, and dba_destroy_data_recorder releases only the handle.
 * dba_create_data_recorder: a recorder of its own, fed by dba_process, logging nowhere.
 * internal_dba_create_data_recorder: a recorder of its own on the bridge's module (null: as
 *   dba_create_data_recorder); destroy it before the bridge.
 * dba_git_sha: the library's version text, static. dba_wait: sleeps whole seconds.
 * dba_log: writes the text into the connection's log at level 0. */
DeviceBridge* dba_create_device_bridge(const char* device_name, unsigned int log_level);
DeviceBridge* dba_create_device_bridge_tcpip(uint32_t address, uint16_t port, const char* unused,
                                             unsigned int log_level);
DeviceBridge* dba_create_device_bridge_playback(DataPlayerHandle* player, unsigned int log_level);
void dba_destroy_device_bridge(DeviceBridge* bridge);
G5_Type* dba_get_g5(DeviceBridge* bridge);
void dba_destroy_G5_interface(G5_Type* g5);
DataRecorderHandle* dba_get_data_recorder(DeviceBridge* bridge);
DataRecorderHandle* internal_dba_create_data_recorder(DeviceBridge* bridge);
DataRecorderHandle* dba_create_data_recorder(void);
void dba_destroy_data_recorder(DataRecorderHandle* recorder);
const char* dba_git_sha(void);
int dba_set_log_level(DeviceBridge* bridge, int level);
int dba_log(G5_Type* g5, const char* text);
int dba_wait(int seconds);

/* ---- system and the older module generation --------------------------------------------------------------
 * dba_ping stores the pong value (0xAAEEAEEA ready, 0xAEEAEEAA not ready).
 * dba_get_system_info: the text of an info code into a text buffer (codes as for the named getters below).
 * The G5 setters return the module's first reply word, 0 for success.
 * Raw normalized frames come with their frame counter and `*length` floats. */
int dba_ping(G5_Type* g5, unsigned int* pong);
int dba_get_system_info(G5_Type* g5, unsigned char info_code, char* buffer, unsigned int max_length);
int dba_set_G5_float(G5_Type* g5, uint32_t id, float value);
int dba_get_g5_float(G5_Type* g5, uint32_t id, float* value);
int dba_set_G5_int(G5_Type* g5, uint32_t id, uint32_t value);
int dba_get_g5_int(G5_Type* g5, uint32_t id, uint32_t* value);
int dba_set_G5_register(G5_Type* g5, uint32_t id, uint32_t value);
int dba_get_g5_register(G5_Type* g5, uint32_t register_id, uint32_t* value);
int dba_set_fps(G5_Type* g5, unsigned int fps);
int dba_run_timing_measurement(G5_Type* g5);
int dba_capture_single_normalized_frame(G5_Type* g5, uint32_t* frame_counter, float* data, uint32_t* length);
int dba_get_raw_normalized_frame(G5_Type* g5, const char* name, uint32_t* frame_counter, float* data,
                                 uint32_t* length);
int dba_subscribe_to_raw_normalized(G5_Type* g5, const char* name);
int dba_get_number_of_packets(G5_Type* g5, const char* name, unsigned int* count);
int dba_clear(G5_Type* g5, const char* name);
int dba_unsubscribe(G5_Type* g5, const char* name);

/* ---- system information texts, each into a text buffer ------------------------------------------------- */
int dba_get_item_number(G5_Type* g5, char* buffer, unsigned int max_length);
int dba_get_order_code(G5_Type* g5, char* buffer, unsigned int max_length);
int dba_get_firmware_id(G5_Type* g5, char* buffer, unsigned int max_length);
int dba_get_firmware_version(G5_Type* g5, char* buffer, unsigned int max_length);
int dba_get_build_info(G5_Type* g5, char* buffer, unsigned int max_length);
int dba_get_app_id_list(G5_Type* g5, char* buffer, unsigned int max_length);
int dba_get_serial_number(G5_Type* g5, char* buffer, unsigned int max_length);

/* ---- subscriptions: the module's packets of a kind go into a queue of that name (at most 1000 packets,
 * the oldest dropped). dba_subscribe takes every packet that begins with the `length` comparator bytes
 * (none: every packet). Presence single and moving list have fixed queues, read by dba_read_message_*. */
int dba_subscribe(G5_Type* g5, const char* name, const unsigned char* comparator, unsigned int length);
int dba_subscribe_to_g7_decim(G5_Type* g5, const char* name);
int dba_subscribe_to_data_float(G5_Type* g5, const char* name);
int dba_subscribe_to_resp_status(G5_Type* g5, const char* name);
int dba_subscribe_to_sleep_status(G5_Type* g5, const char* name);
int dba_subscribe_to_baseband_ap(G5_Type* g5, const char* name);
int dba_subscribe_to_baseband_iq(G5_Type* g5, const char* name);
int dba_subscribe_to_trace(G5_Type* g5, const char* name);
int dba_subscribe_to_data_byte(G5_Type* g5, const char* name);
int dba_subscribe_to_presence_single(G5_Type* g5);
int dba_subscribe_to_presence_movinglist(G5_Type* g5);

/* ---- queue state: each returns the number of messages waiting in its fixed queue (0 on any failure) ---- */
int dba_peek_message_data_float(G5_Type* g5);
int dba_peek_message_presence_single(G5_Type* g5);
int dba_peek_message_presence_movinglist(G5_Type* g5);
int dba_peek_message_respiration_sleep(G5_Type* g5);
int dba_peek_message_respiration_legacy(G5_Type* g5);
int dba_peek_message_respiration_detectionlist(G5_Type* g5);
int dba_peek_message_respiration_movinglist(G5_Type* g5);
int rcp_peek_message_data_string(G5_Type* g5);
int rcp_peek_message_data_byte(G5_Type* g5);
int dba_peek_message_baseband_iq(G5_Type* g5);
int dba_peek_message_baseband_ap(G5_Type* g5);
int dba_peek_message_pulsedoppler_float(G5_Type* g5);
int dba_peek_message_pulsedoppler_byte(G5_Type* g5);
int dba_peek_message_noisemap_float(G5_Type* g5);
int dba_peek_message_noisemap_byte(G5_Type* g5);

/* ---- reading one message of a fixed queue into the caller's variables (record rule) ---------------------
 * Each blocks until a message is queued. Where the record has no count of its own, an extra count pointer
 * comes before the arrays: `length` for data float, `movement_count` (intervals) for the moving lists.
 * rcp_read_message_data_string fills a text buffer; rcp_read_message_data_byte a bytes buffer, with the
 * count in *length also when the buffer is too small. */
int dba_read_message_data_float(G5_Type* g5, uint32_t* content_id, uint32_t* info, uint32_t* length,
                                float* data);
int dba_read_message_presence_single(G5_Type* g5, uint32_t* frame_counter, uint32_t* presence_state,
                                     float* distance, uint8_t* direction, uint32_t* signal_quality);
int dba_read_message_presence_movinglist(G5_Type* g5, uint32_t* frame_counter, uint32_t* presence_state,
                                         uint32_t* movement_count, uint32_t* detection_count,
                                         float* movement_slow_items, float* movement_fast_items,
                                         float* detection_distance_items, float* radar_cross_section_items,
                                         float* detection_velocity_items);
int dba_read_message_respiration_sleep(G5_Type* g5, uint32_t* frame_counter, uint32_t* sensor_state,
                                       float* respiration_rate, float* distance, uint32_t* signal_quality,
                                       float* movement_slow, float* movement_fast);
int dba_read_message_respiration_legacy(G5_Type* g5, uint32_t* frame_counter, uint32_t* sensor_state,
                                        uint32_t* respiration_rate, float* distance, float* movement,
                                        uint32_t* signal_quality);
int dba_read_message_respiration_detectionlist(G5_Type* g5, uint32_t* counter, uint32_t* detection_count,
                                               float* detection_distance_items,
                                               float* detection_radar_cross_section_items,
                                               float* detection_velocity_items);
int dba_read_message_respiration_movinglist(G5_Type* g5, uint32_t* counter, uint32_t* movement_count,
                                            float* movement_slow_items, float* movement_fast_items);
int rcp_read_message_data_string(G5_Type* g5, uint32_t* content_id, uint32_t* info, char* buffer,
                                 unsigned int max_length);
int rcp_read_message_data_byte(G5_Type* g5, uint32_t* content_id, uint32_t* info, void* buffer,
                               unsigned int max_length, unsigned int* length);
int dba_read_message_baseband_iq(G5_Type* g5, uint32_t* frame_counter, uint32_t* num_bins, float* bin_length,
                                 float* sample_frequency, float* carrier_frequency, float* range_offset,
                                 float* i_data, float* q_data);
int dba_read_message_baseband_ap(G5_Type* g5, uint32_t* frame_counter, uint32_t* num_bins, float* bin_length,
                                 float* sample_frequency, float* carrier_frequency, float* range_offset,
                                 float* amplitude, float* phase);
int dba_read_message_pulsedoppler_float_data(G5_Type* g5, uint32_t* frame_counter, uint32_t* matrix_counter,
                                             uint32_t* range_idx, uint32_t* range_bins,
                                             uint32_t* frequency_count, uint32_t* pulsedoppler_instance,
                                             float* fps, float* fps_decimated, float* frequency_start,
                                             float* frequency_step, float* range, float* data);
int dba_read_message_pulsedoppler_byte_data(G5_Type* g5, uint32_t* frame_counter, uint32_t* matrix_counter,
                                            uint32_t* range_idx, uint32_t* range_bins,
                                            uint32_t* frequency_count, uint32_t* pulsedoppler_instance,
                                            float* byte_step_start, float* byte_step_size, float* fps,
                                            float* fps_decimated, float* frequency_start,
                                            float* frequency_step, float* range, uint8_t* data);
int dba_read_message_noisemap_float_data(G5_Type* g5, uint32_t* frame_counter, uint32_t* matrix_counter,
                                         uint32_t* range_idx, uint32_t* range_bins, uint32_t* frequency_count,
                                         uint32_t* pulsedoppler_instance, float* fps, float* fps_decimated,
                                         float* frequency_start, float* frequency_step, float* range,
                                         float* data);
int dba_read_message_noisemap_byte_data(G5_Type* g5, uint32_t* frame_counter, uint32_t* matrix_counter,
                                        uint32_t* range_idx, uint32_t* range_bins, uint32_t* frequency_count,
                                        uint32_t* pulsedoppler_instance, float* byte_step_start,
                                        float* byte_step_size, float* fps, float* fps_decimated,
                                        float* frequency_start, float* frequency_step, float* range,
                                        uint8_t* data);

/* ---- reading one message of a named subscription (record rule); each blocks until one is queued ------- */
int dba_get_respiration_data(G5_Type* g5, const char* name, uint32_t* frame_counter, uint32_t* sensor_state,
                             uint32_t* respiration_rate, float* distance, float* movement,
                             uint32_t* signal_quality);
int dba_get_sleep_data(G5_Type* g5, const char* name, uint32_t* frame_counter, uint32_t* sensor_state,
                       float* respiration_rate, float* distance, uint32_t* signal_quality,
                       float* movement_slow, float* movement_fast);
int dba_get_baseband_ap_data(G5_Type* g5, const char* name, uint32_t* frame_counter, uint32_t* num_bins,
                             float* bin_length, float* sample_frequency, float* carrier_frequency,
                             float* range_offset, float* amplitude, float* phase);
int dba_get_baseband_iq_data(G5_Type* g5, const char* name, uint32_t* frame_counter, uint32_t* num_bins,
                             float* bin_length, float* sample_frequency, float* carrier_frequency,
                             float* range_offset, float* i_data, float* q_data);

/* ---- module commands ------------------------------------------------------------------------------------
 * Mostly 0 or the module's refusal code. The g7 io pin and spi functions speak to the radar chip directly
 * with commands that have no error reply: a refusal shows as a time-out (1).
 * dba_get_g7_decim_frame: one fast packet of a named subscription as samples; 1 for more than max_length.
 * dba_enter_bootloader: the module leaves its application; the link then speaks to its bootloader.
 * dba_send_command: `length` bytes as they stand, no frame, no reply awaited.
 * dba_send_command_single: frames the bytes and copies the first reply that begins with the comparator
 *   into a bytes buffer. dba_get_packet: the next packet of a named subscription into a bytes buffer,
 *   waiting for one. dba_get_trace: the next text of a trace subscription into a text buffer.
 * dba_set_default_timeout: seconds that every later command waits for its reply (2 by default). */
int dba_get_g7_io_pin_value(G5_Type* g5, uint8_t pin, int* value);
int dba_set_g7_io_pin_value(G5_Type* g5, uint8_t pin, uint8_t value);
int dba_set_g7_io_pin_mode(G5_Type* g5, uint8_t pin, uint8_t mode);
int dba_set_g7_io_pin_dir(G5_Type* g5, uint8_t pin, uint8_t direction);
int dba_set_g7_io_pin_enable(G5_Type* g5, uint8_t pin);
int dba_set_g7_io_pin_disable(G5_Type* g5, uint8_t pin);
int dba_read_g7_spi(G5_Type* g5, uint8_t address, int* value);
int dba_write_g7_spi(G5_Type* g5, uint8_t address, uint8_t value);
int dba_set_g7_fps(G5_Type* g5, uint32_t fps);
int dba_get_g7_decim_frame(G5_Type* g5, const char* name, uint32_t* frame_counter, double* frame_data,
                           unsigned int max_length);
int dba_set_sensor_mode(G5_Type* g5, unsigned char mode);
int dba_set_sensor_mode_and_submode(G5_Type* g5, unsigned char mode, unsigned char submode);
int dba_set_sensor_mode_run(G5_Type* g5);
int dba_set_sensor_mode_idle(G5_Type* g5);
int dba_set_sensor_mode_manual(G5_Type* g5);
int dba_set_debug_level(G5_Type* g5, unsigned char level);
int dba_module_reset(G5_Type* g5);
int dba_reset_to_factory_preset(G5_Type* g5);
int dba_enter_bootloader(G5_Type* g5);
int dba_load_profile(G5_Type* g5, uint32_t profile_id);
int dba_load_sleep_profile(G5_Type* g5);
int dba_load_respiration_profile(G5_Type* g5);
int dba_enable_baseband(G5_Type* g5, int type, int enable);
int dba_enable_baseband_ap(G5_Type* g5);
int dba_disable_baseband_ap(G5_Type* g5);
int dba_enable_baseband_iq(G5_Type* g5);
int dba_disable_baseband_iq(G5_Type* g5);
int dba_set_detection_zone(G5_Type* g5, float start, float end);
int dba_get_detection_zone(G5_Type* g5, float* start, float* end);
int dba_get_detection_zone_limits(G5_Type* g5, float* start, float* end, float* step);
int dba_set_sensitivity(G5_Type* g5, uint32_t value);
int dba_set_led_control(G5_Type* g5, unsigned char mode, unsigned char intensity);
int dba_enable_resp_output(G5_Type* g5);
int dba_disable_resp_output(G5_Type* g5);
int dba_set_output_control(G5_Type* g5, uint32_t output_feature, uint32_t output_control);
int dba_send_command(G5_Type* g5, const unsigned char* data, unsigned int length);
int dba_send_command_single(G5_Type* g5, const unsigned char* data, unsigned int length,
                            const unsigned char* comparator, unsigned int comparator_length, void* buffer,
                            unsigned int max_length);
int dba_get_packet(G5_Type* g5, const char* name, void* buffer, unsigned int max_length);
int dba_get_trace(G5_Type* g5, const char* name, char* buffer, unsigned int max_length);
int dba_set_default_timeout(G5_Type* g5, unsigned int seconds);
int dba_store_noisemap(G5_Type* g5);
int dba_set_noisemap_control(G5_Type* g5, uint32_t bits);
int dba_get_noisemap_control(G5_Type* g5, uint32_t* bits);

/* ---- files on the module ---------------------------------------------------------------------------------
 * Files are named by a type and an identifier. Parameter files of the loaded profile go by name as text;
 * dba_get_parameter_file fills a text buffer. dba_get_file_data copies `length` bytes from `offset` into a
 * bytes buffer; dba_get_file copies the whole file and stores its size in *length. The listings store at
 * most max_count entries and their number in *count; more than max_count entries is a failure (1), with
 * *count set to the number needed. dba_close_file: commit 1 keeps what was written. */
int dba_set_parameter_file(G5_Type* g5, const char* filename, const char* data);
int dba_get_parameter_file(G5_Type* g5, const char* filename, char* buffer, unsigned int max_length);
int dba_search_for_file_by_type(G5_Type* g5, uint32_t type, int32_t* identifiers, unsigned int max_count,
                                unsigned int* count);
int dba_find_all_files(G5_Type* g5, int32_t* types, int32_t* identifiers, unsigned int max_count,
                       unsigned int* count);
int dba_create_file(G5_Type* g5, uint32_t type, uint32_t identifier, uint32_t length);
int dba_open_file(G5_Type* g5, uint32_t type, uint32_t identifier);
int dba_set_file_data(G5_Type* g5, uint32_t type, uint32_t identifier, uint32_t offset,
                      const unsigned char* data, unsigned int length);
int dba_close_file(G5_Type* g5, uint32_t type, uint32_t identifier, int commit);
int dba_get_file_length(G5_Type* g5, uint32_t type, uint32_t identifier, uint32_t* length);
int dba_delete_file(G5_Type* g5, uint32_t type, uint32_t identifier);
int dba_get_file_data(G5_Type* g5, uint32_t type, uint32_t identifier, uint32_t offset, uint32_t length,
                      void* buffer, unsigned int max_length);
int dba_get_profileid(G5_Type* g5, uint32_t* profile_id);
int dba_set_file(G5_Type* g5, uint32_t type, uint32_t identifier, const unsigned char* data,
                 unsigned int length);
int dba_get_file(G5_Type* g5, uint32_t type, uint32_t identifier, void* buffer, unsigned int max_length,
                 unsigned int* length);
int dba_format_filesystem(G5_Type* g5, uint32_t key);

/* ---- the radar chip's driver and the module's io pins
 * ------------------------------------------------------ Frame areas in metres; the fps as frames per second.
 */
int rcp_g7driver_init(G5_Type* g5);
int rcp_g7driver_set_fps(G5_Type* g5, float fps);
int rcp_g7driver_get_fps(G5_Type* g5, float* fps);
int rcp_g7driver_set_iterations(G5_Type* g5, uint32_t iterations);
int rcp_g7driver_set_pulsesperstep(G5_Type* g5, uint32_t pulses_per_step);
int rcp_g7driver_set_downconversion(G5_Type* g5, uint8_t enable);
int rcp_g7driver_set_frame_area(G5_Type* g5, float start, float end);
int rcp_g7driver_get_frame_area(G5_Type* g5, float* start, float* end);
int rcp_g7driver_set_frame_area_offset(G5_Type* g5, float offset);
int rcp_g7driver_get_frame_area_offset(G5_Type* g5, float* offset);
int rcp_g7driver_set_dac_step(G5_Type* g5, uint8_t dac_step);
int rcp_g7driver_set_dac_min(G5_Type* g5, uint32_t dac_min);
int rcp_g7driver_set_dac_max(G5_Type* g5, uint32_t dac_max);
int rcp_g7driver_set_enable(G5_Type* g5, uint8_t enable);
int rcp_g7driver_set_tx_center_frequency(G5_Type* g5, uint8_t frequency);
int rcp_g7driver_set_tx_power(G5_Type* g5, uint8_t power);
int rcp_g7driver_set_prf_div(G5_Type* g5, uint8_t prf_div);
int rcp_g7driver_get_prf_div(G5_Type* g5, uint8_t* prf_div);
int rcp_g7driver_set_spi_register(G5_Type* g5, uint8_t address, uint8_t value);
int rcp_g7driver_get_spi_register(G5_Type* g5, uint8_t address, uint8_t* value);
int rcp_g7driver_set_pif_register(G5_Type* g5, uint8_t address, uint8_t value);
int rcp_g7driver_get_pif_register(G5_Type* g5, uint8_t address, uint8_t* value);
int rcp_g7driver_set_xif_register(G5_Type* g5, uint8_t address, uint8_t value);
int rcp_g7driver_get_xif_register(G5_Type* g5, uint8_t address, uint8_t* value);
int rcp_set_iopin_control(G5_Type* g5, uint32_t pin_id, uint32_t pin_setup, uint32_t pin_feature);
int rcp_set_iopin_value(G5_Type* g5, uint32_t pin_id, uint32_t pin_value);
int rcp_get_iopin_value(G5_Type* g5, uint32_t pin_id, uint32_t* pin_value);

#ifdef __cplusplus
}
#endif

#endif
