// The single object through which every request to one module passes.
//
// Every module command exists twice: a throwing method (TervikException for a refusal by the module, a plain
// std::runtime_error for a time-out or an unparsable reply) and a status form that returns 0, the module's
// error code or 1. Status forms of setters end in `_no_throw`; status forms of getters mostly keep the name
// and add out-pointers, which stay untouched unless the status is 0.
//
// The object has no lock of its own: all access goes through LockedRadarInterfacePtr.
#ifndef DEVICEBRIDGE_RADARINTERFACE_H
#define DEVICEBRIDGE_RADARINTERFACE_H

#include "Bytes.h"
#include "G5.h"
#include "MessageRecords.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

class AbstractFactory;
class AbstractIo;
class AbstractRadarCommunicator;
class Commands;
class Logger;
class Parser;

namespace Tervik {

class CommandFailure;
class ReplyContent;

class RadarInterface : public G5 {
public:
    typedef std::function<bool(Bytes)> Callback;

    // ---- life cycle ---------------------------------------------------------------------------------------

    // With a non-empty name the link is opened at once (std::runtime_error "unable to open file: " + name
    // when refused); with an empty one the object waits for open().
    RadarInterface(AbstractIo& io, const std::string& device_name, AbstractFactory& factory, Logger& logger);
    ~RadarInterface() override;
    RadarInterface(const RadarInterface&) = delete;
    RadarInterface& operator=(const RadarInterface&) = delete;

    // Drops the old link with all its subscriptions, builds a new one and recreates the default queues. 0 on
    // success, else the transport's code.
    int open(const std::string& device_name);
    // open() with a refusal thrown as TervikException(code, "method failed").
    int open_throw(const std::string& device_name);
    // After close every command sees an empty reply and every queue is empty; open() builds all anew.
    int close();
    // Resets the module, then reconnects (three tries, 3 s apart) and subscribes everything again. Only the
    // module's refusal of the reset stops it early: a module that the link no longer reaches (unplugged and
    // back, its TCP peer restarted) is reconnected all the same.
    void reset();
    int reset_no_throw();

    void set_default_timeout(unsigned int seconds);
    int set_log_level(int level);
    std::string git_sha();
    std::string build_date();
    void log(unsigned int level, const std::string& text);
    // The logger of this connection, for objects built on it (a recorder) that log on threads of their own.
    Logger& get_logger() const { return logger; }

    // ---- transport-level primitives -----------------------------------------------------------------------

    // Sends the bytes as they stand, no frame around them, no reply awaited. Returns 0.
    int send_command(const Bytes& payload);
    // Frames the payload and returns the first packet that starts with the comparator (any of them).
    Bytes send_command_single(const Bytes& payload, const Bytes& comparator);
    Bytes send_command_multi(const Bytes& payload, const std::vector<Bytes>& comparators);
    int subscribe(const std::string& name, const Bytes& comparator);
    int subscribe(const std::string& name, const Bytes& comparator, Callback callback);
    void unsubscribe(const std::string& name) override;
    unsigned int get_number_of_packets(const std::string& name) override;
    // Blocks until a packet is queued under the name; an empty Bytes at once for an unknown name.
    Bytes get_packet(const std::string& name);
    void clear(const std::string& name) override;

    // ---- chip driver --------------------------------------------------------------------------------------

    void g7driver_init();
    void g7driver_set_fps(float fps);
    void g7driver_set_iterations(uint32_t iterations);
    void g7driver_set_pulsesperstep(uint32_t pulses_per_step);
    void g7driver_set_downconversion(uint8_t enable);
    void g7driver_set_frame_area(float start, float end);
    void g7driver_set_frame_area_offset(float offset);
    void g7driver_set_dac_step(uint8_t dac_step);
    void g7driver_set_dac_min(uint32_t dac_min);
    void g7driver_set_dac_max(uint32_t dac_max);
    void g7driver_set_enable(uint8_t enable);
    void g7driver_set_tx_center_frequency(uint8_t frequency);
    void g7driver_set_tx_power(uint8_t power);
    void g7driver_set_prf_div(uint8_t prf_div);
    void g7driver_set_spi_register(uint8_t address, uint8_t value);
    void g7driver_write_to_spi_register(uint8_t address, const Bytes& values);
    void g7driver_set_pif_register(uint8_t address, uint8_t value);
    void g7driver_set_xif_register(uint8_t address, uint8_t value);

    int g7driver_init_no_throw();
    int g7driver_set_fps_no_throw(float fps);
    int g7driver_set_iterations_no_throw(uint32_t iterations);
    int g7driver_set_pulsesperstep_no_throw(uint32_t pulses_per_step);
    int g7driver_set_downconversion_no_throw(uint8_t enable);
    int g7driver_set_frame_area_no_throw(float start, float end);
    int g7driver_set_frame_area_offset_no_throw(float offset);
    int g7driver_set_dac_step_no_throw(uint8_t dac_step);
    int g7driver_set_dac_min_no_throw(uint32_t dac_min);
    int g7driver_set_dac_max_no_throw(uint32_t dac_max);
    int g7driver_set_enable_no_throw(uint8_t enable);
    int g7driver_set_tx_center_frequency_no_throw(uint8_t frequency);
    int g7driver_set_tx_power_no_throw(uint8_t power);
    int g7driver_set_prf_div_no_throw(uint8_t prf_div);
    int g7driver_set_spi_register_no_throw(uint8_t address, uint8_t value);
    int g7driver_write_to_spi_register_no_throw(uint8_t address, const Bytes& values);
    int g7driver_set_pif_register_no_throw(uint8_t address, uint8_t value);
    int g7driver_set_xif_register_no_throw(uint8_t address, uint8_t value);

    float g7driver_get_fps();
    FrameArea g7driver_get_frame_area();
    float g7driver_get_frame_area_offset();
    uint8_t g7driver_get_spi_register(uint8_t address);
    // `length` only goes into the request; the result has as many bytes as the module sent.
    Bytes g7driver_read_from_spi_register(uint8_t address, uint32_t length);
    uint8_t g7driver_get_pif_register(uint8_t address);
    uint8_t g7driver_get_xif_register(uint8_t address);
    uint8_t g7driver_get_prf_div();

    int g7driver_get_fps_no_throw(float* fps);
    int g7driver_get_frame_area_no_throw(FrameArea* frame_area);
    int g7driver_get_frame_area_offset(float* offset);
    int g7driver_get_spi_register_no_throw(uint8_t address, uint8_t* value);
    int g7driver_read_from_spi_register_no_throw(uint8_t address, Bytes* values, uint32_t length);
    int g7driver_get_pif_register(uint8_t address, uint8_t* value);
    int g7driver_get_xif_register(uint8_t address, uint8_t* value);
    int g7driver_get_prf_div(uint8_t* prf_div);

    // ---- direct chip access: older commands without error replies (a refusal shows as a time-out) ---------

    int set_g7_io_pin_value(uint8_t pin, uint8_t value);
    int set_g7_io_pin_mode(uint8_t pin, uint8_t mode);
    int set_g7_io_pin_dir(uint8_t pin, uint8_t direction);
    int set_g7_io_pin_enable(uint8_t pin);
    int set_g7_io_pin_disable(uint8_t pin);
    int get_g7_io_pin_value(uint8_t pin);
    int read_g7_spi(uint8_t address);
    int write_g7_spi(uint8_t address, uint8_t value);
    int set_g7_fps(uint32_t fps);

    // ---- system -------------------------------------------------------------------------------------------

    // The pong value (0xAAEEAEEA ready, 0xAEEAEEAA not ready), or 1 when the reply does not parse.
    uint32_t ping() override;
    int ping(unsigned int* value);
    std::string get_system_info(unsigned char info_code) override;
    // 0 with the text, or -1 when the reply does not parse; a time-out is thrown.
    int get_system_info(unsigned char info_code, std::string* result);
    // Changes the module's speed first and the host port's only after the module acknowledged.
    void set_baudrate(uint32_t rate);
    int set_baudrate_no_throw(uint32_t rate);
    void set_debug_level(unsigned char level) override;
    int set_debug_level_no_throw(unsigned char level);
    void module_reset();
    int module_reset_no_throw();
    void reset_to_factory_preset();
    int reset_to_factory_preset_no_throw();
    void start_bootloader(uint32_t key);
    // Tries the first bootloader key and, if the module refuses it, the second.
    void start_bootloader();
    int start_bootloader_no_throw(uint32_t key);
    int start_bootloader_no_throw();
    // 0 with the test's result bytes, or 1 when the reply does not parse; a time-out is thrown.
    int system_run_test(unsigned char test_code, Bytes* result);
    int system_run_test(unsigned char test_code) override;

    std::string get_item_number();
    std::string get_order_code();
    std::string get_firmware_id();
    std::string get_firmware_version();
    std::string get_build_info();
    std::string get_app_id_list();
    std::string get_serial_number();
    int get_item_number(std::string* value);
    int get_order_code(std::string* value);
    int get_firmware_id(std::string* value);
    int get_firmware_version(std::string* value);
    int get_build_info(std::string* value);
    int get_app_id_list(std::string* value);
    int get_serial_number(std::string* value);

    // ---- application --------------------------------------------------------------------------------------

    void load_profile(uint32_t profile_id);
    void load_sleep_profile();
    void load_respiration_profile();
    int load_profile_no_throw(uint32_t profile_id);
    int load_sleep_profile_no_throw();
    int load_respiration_profile_no_throw();
    // The id of the loaded profile, 0 when none is loaded.
    uint32_t get_profileid();
    int get_profileid_no_throw(uint32_t& id);
    int get_profileid(uint32_t* id);

    void set_sensor_mode_and_submode(unsigned char mode, unsigned char submode) override;
    void set_sensor_mode(unsigned char mode) override;
    void set_sensor_mode_run();
    void set_sensor_mode_idle();
    int set_sensor_mode_and_submode_no_throw(unsigned char mode, unsigned char submode);
    int set_sensor_mode_no_throw(unsigned char mode);
    int set_sensor_mode_run_no_throw();
    int set_sensor_mode_idle_no_throw();

    void set_sensitivity(uint32_t value);
    void set_detection_zone(float start, float end);
    DetectionZone get_detection_zone();
    DetectionZoneLimits get_detection_zone_limits();
    int set_sensitivity_no_throw(uint32_t value);
    int set_detection_zone_no_throw(float start, float end);
    int get_detection_zone(float* start, float* end);
    int get_detection_zone_limits(float* start, float* end, float* step);

    void set_led_control(unsigned char mode, unsigned char intensity);
    void set_output_control(uint32_t output_feature, uint32_t output_control);
    void enable_baseband(int type, bool enable);
    void enable_baseband_ap();
    void disable_baseband_ap();
    void enable_baseband_iq();
    void disable_baseband_iq();
    void enable_resp_output();
    void disable_resp_output();
    int set_led_control_no_throw(unsigned char mode, unsigned char intensity);
    int set_output_control_no_throw(uint32_t output_feature, uint32_t output_control);
    int enable_baseband_no_throw(int type, bool enable);
    int enable_baseband_ap_no_throw();
    int disable_baseband_ap_no_throw();
    int enable_baseband_iq_no_throw();
    int disable_baseband_iq_no_throw();
    int enable_resp_output_no_throw();
    int disable_resp_output_no_throw();

    void store_noisemap();
    void load_noisemap();
    void set_noisemap_control(uint32_t bits);
    uint32_t get_noisemap_control();
    int store_noisemap_no_throw();
    int load_noisemap_no_throw();
    int set_noisemap_control_no_throw(uint32_t bits);
    int get_noisemap_control_no_throw(uint32_t* bits);

    void set_iopin_control(uint32_t pin_id, uint32_t pin_setup, uint32_t pin_feature);
    void set_iopin_value(uint32_t pin_id, uint32_t pin_value);
    uint32_t get_iopin_value(uint32_t pin_id);
    int set_iopin_control_no_throw(uint32_t pin_id, uint32_t pin_setup, uint32_t pin_feature);
    int set_iopin_value_no_throw(uint32_t pin_id, uint32_t pin_value);
    int get_iopin_value(uint32_t pin_id, uint32_t* pin_value);

    // Parameter files of the loaded profile, by name, as text.
    void set_parameter_file(const std::string& filename, const std::string& data);
    std::string get_parameter_file(const std::string& filename);
    int set_parameter_file_no_throw(const std::string& filename, const std::string& data);
    int get_parameter_file_no_throw(const std::string& filename, std::string& data);
    int get_parameter_file(const std::string& filename, std::string* data);

    // ---- older generation ---------------------------------------------------------------------------------

    int run_timing_measurement() override;
    int set_G5_float(uint32_t id, float value) override;
    int set_G5_int(uint32_t id, uint32_t value) override;
    int set_G5_register(uint32_t id, uint32_t value) override;
    float get_g5_float(uint32_t id) override;
    uint32_t get_g5_int(uint32_t id) override;
    uint32_t get_g5_register(uint32_t register_id) override;
    // The value is cut to a whole number on the way: the module takes an int here.
    int set_sys_config_float(int id, float value);
    int set_sys_config_int(int id, int value);
    int set_fps(unsigned int fps) override;
    RawNormalizedData capture_single_normalized_frame() override;

    // ---- data messages: subscriptions ---------------------------------------------------------------------

    int subscribe_to_baseband_ap(const std::string& name);
    int subscribe_to_baseband_ap(const std::string& name, Callback callback);
    int subscribe_to_baseband_ap();
    int subscribe_to_baseband_iq(const std::string& name);
    int subscribe_to_baseband_iq(const std::string& name, Callback callback);
    int subscribe_to_baseband_iq();
    int subscribe_to_pulsedoppler_float(const std::string& name);
    int subscribe_to_pulsedoppler_float(const std::string& name, Callback callback);
    int subscribe_to_pulsedoppler_float();
    int subscribe_to_pulsedoppler_byte(const std::string& name);
    int subscribe_to_pulsedoppler_byte(const std::string& name, Callback callback);
    int subscribe_to_pulsedoppler_byte();
    int subscribe_to_noisemap_float(const std::string& name);
    int subscribe_to_noisemap_float(const std::string& name, Callback callback);
    int subscribe_to_noisemap_float();
    int subscribe_to_noisemap_byte(const std::string& name);
    int subscribe_to_noisemap_byte(const std::string& name, Callback callback);
    int subscribe_to_noisemap_byte();
    int subscribe_to_presence_single();
    int subscribe_to_presence_single(const std::string& name, Callback callback);
    int subscribe_to_presence_movinglist();
    int subscribe_to_presence_movinglist(const std::string& name, Callback callback);
    int subscribe_to_respiration_movinglist();
    int subscribe_to_respiration_movinglist(const std::string& name, Callback callback);
    int subscribe_to_respiration_detectionlist();
    int subscribe_to_respiration_detectionlist(const std::string& name, Callback callback);
    int subscribe_to_resp_status(const std::string& name);
    int subscribe_to_resp_status(const std::string& name, Callback callback);
    int subscribe_to_respiration_legacy();
    int subscribe_to_sleep_status(const std::string& name);
    int subscribe_to_sleep_status(const std::string& name, Callback callback);
    int subscribe_to_respiration_sleep();
    int subscribe_to_data_float(const std::string& name);
    int subscribe_to_data_float(const std::string& name, Callback callback);
    int subscribe_to_data_string(const std::string& name);
    int subscribe_to_data_string(const std::string& name, Callback callback);
    int subscribe_to_data_byte(const std::string& name);
    int subscribe_to_data_byte(const std::string& name, Callback callback);
    int subscribe_to_performance_status(const std::string& name);
    int subscribe_to_performance_status(const std::string& name, Callback callback);
    int subscribe_to_radar_settings(const std::string& name);
    int subscribe_to_radar_settings(const std::string& name, Callback callback);
    int subscribe_to_system_status();
    // Fast packets only: no other packet starts with 51.
    int subscribe_to_g7_desim(const std::string& name);
    int subscribe_to_trace(const std::string& name);
    int subscribe_to_debug_messages(const std::string& name);
    int subscribe_to_debug_messages(const std::string& name, Callback callback);
    int subscribe_to_raw_normalized(const std::string& name) override;
    int subscribe_to_raw_normalized(const std::string& name, Callback callback) override;

    // ---- data messages: counting --------------------------------------------------------------------------

    int peek_message_data_float();
    int peek_message_data_float(const std::string& name);
    int peek_message_data_string();
    int peek_message_data_byte();
    int peek_message_system();
    int peek_message_presence_single();
    int peek_message_presence_movinglist();
    int peek_message_baseband_iq();
    int peek_message_baseband_ap();
    int peek_message_pulsedoppler_float();
    int peek_message_pulsedoppler_byte();
    int peek_message_noisemap_float();
    int peek_message_noisemap_byte();
    int peek_message_respiration_legacy();
    int peek_message_respiration_sleep();
    int peek_message_respiration_movinglist();
    int peek_message_respiration_detectionlist();

    // ---- data messages: reading (each blocks until a packet is queued) ------------------------------------

    BasebandIqData get_baseband_iq_data(const std::string& name);
    BasebandApData get_baseband_ap_data(const std::string& name);
    RespirationData get_respiration_data(const std::string& name);
    SleepData get_sleep_data(const std::string& name);
    PulseDopplerFloatData get_pulsedoppler_float_data(const std::string& name);
    PulseDopplerByteData get_pulsedoppler_byte_data(const std::string& name);
    PulseDopplerFloatData get_noisemap_float_data(const std::string& name);
    PulseDopplerByteData get_noisemap_byte_data(const std::string& name);
    RawNormalizedData get_raw_normalized_frame(const std::string& name) override;
    DataFloat read_message_data_float();
    uint32_t read_message_system();
    PresenceSingleData read_message_presence_single();
    PresenceMovingListData read_message_presence_movinglist();
    RespirationMovingListData read_message_respiration_movinglist();
    RespirationDetectionListData read_message_respiration_detectionlist();
    BasebandIqData read_message_baseband_iq();
    BasebandApData read_message_baseband_ap();
    RespirationData read_message_respiration_legacy();
    SleepData read_message_respiration_sleep();
    PulseDopplerFloatData read_message_pulsedoppler_float();
    PulseDopplerByteData read_message_pulsedoppler_byte();
    PulseDopplerFloatData read_message_noisemap_float();
    PulseDopplerByteData read_message_noisemap_byte();

    int get_baseband_iq_data(const std::string& name, BasebandIqData* value);
    int get_baseband_ap_data(const std::string& name, BasebandApData* value);
    int get_respiration_data(const std::string& name, RespirationData* value);
    int get_sleep_data(const std::string& name, SleepData* value);
    int get_pulsedoppler_float_data(const std::string& name, PulseDopplerFloatData* value);
    int get_pulsedoppler_byte_data(const std::string& name, PulseDopplerByteData* value);
    int get_noisemap_float_data(const std::string& name, PulseDopplerFloatData* value);
    int get_noisemap_byte_data(const std::string& name, PulseDopplerByteData* value);
    int read_message_data_float(DataFloat* value);
    int read_message_system_no_throw(uint32_t* status);
    int read_message_presence_single(PresenceSingleData* value);
    int read_message_presence_single(uint32_t* frame_counter, uint32_t* presence_state, float* distance,
                                     uint8_t* direction, uint32_t* signal_quality);
    int read_message_presence_movinglist(PresenceMovingListData* value);
    int read_message_respiration_movinglist(RespirationMovingListData* value);
    int read_message_respiration_detectionlist(RespirationDetectionListData* value);
    int read_message_baseband_iq(BasebandIqData* value);
    int read_message_baseband_ap(BasebandApData* value);
    int read_message_respiration_legacy(RespirationData* value);
    int read_message_respiration_sleep(SleepData* value);
    int read_message_pulsedoppler_float(PulseDopplerFloatData* value);
    int read_message_pulsedoppler_byte(PulseDopplerByteData* value);
    int read_message_noisemap_float(PulseDopplerFloatData* value);
    int read_message_noisemap_byte(PulseDopplerByteData* value);

    // The packets as they came, unparsed.
    Bytes get_pulsedoppler_raw_float_data(const std::string& name);
    Bytes get_pulsedoppler_raw_byte_data(const std::string& name);
    Bytes get_noisemap_raw_float_data(const std::string& name);
    Bytes get_noisemap_raw_byte_data(const std::string& name);
    Bytes read_message_pulsedoppler_raw_float();
    Bytes read_message_pulsedoppler_raw_byte();
    Bytes read_message_noisemap_raw_float();
    Bytes read_message_noisemap_raw_byte();

    // Text or bytes of a generic data message; 1 for a wrong or empty packet (which is consumed). Null
    // pointers are skipped.
    int read_message_data_string(uint32_t* content_id, uint32_t* info, std::string* data);
    int read_message_data_byte(uint32_t* content_id, uint32_t* info, Bytes* data);
    std::string get_trace(const std::string& name);
    // One fast packet as 48-bit samples; 1 for another packet type or more samples than max_length.
    int get_g7_decim_frame(const std::string& name, uint32_t* frame_counter, double* frame_data,
                           unsigned int max_length);

    // ---- module files -------------------------------------------------------------------------------------

    void create_file(uint32_t type, uint32_t identifier, uint32_t length);
    void open_file(uint32_t type, uint32_t identifier);
    void set_file_data(uint32_t type, uint32_t identifier, uint32_t offset, const Bytes& data);
    void close_file(uint32_t type, uint32_t identifier, bool commit);
    void delete_file(uint32_t type, uint32_t identifier);
    void format_filesystem(uint32_t key);
    uint32_t get_file_length(uint32_t type, uint32_t identifier);
    Bytes get_file_data(uint32_t type, uint32_t identifier, uint32_t offset, uint32_t length);
    std::vector<int32_t> search_for_file_by_type(uint32_t type);
    Files find_all_files();
    // Whole files in chunks of 2000 bytes. A failed chunk leaves the file open and uncommitted.
    void set_file(uint32_t type, uint32_t identifier, const Bytes& data);
    Bytes get_file(uint32_t type, uint32_t identifier);

    int create_file_no_throw(uint32_t type, uint32_t identifier, uint32_t length);
    int open_file_no_throw(uint32_t type, uint32_t identifier);
    int set_file_data_no_throw(uint32_t type, uint32_t identifier, uint32_t offset, const Bytes& data);
    int close_file_no_throw(uint32_t type, uint32_t identifier, bool commit);
    int delete_file_no_throw(uint32_t type, uint32_t identifier);
    int format_filesystem_no_throw(uint32_t key);
    int get_file_length_no_throw(uint32_t type, uint32_t identifier, uint32_t& length);
    int get_file_data_no_throw(uint32_t type, uint32_t identifier, uint32_t offset, uint32_t length,
                               Bytes& data);
    int search_for_file_by_type_no_throw(uint32_t type, std::vector<int32_t>& result);
    int find_all_files_no_throw(Files& result);
    int set_file_no_throw(uint32_t type, uint32_t identifier, const Bytes& data);
    int get_file_no_throw(uint32_t type, uint32_t identifier, Bytes& data);

private:
    template <typename Record, typename Parsed, typename ParseMethod>
    Record read_record(const std::string& queue, ParseMethod parse, const char* text, const char* method);

    void log_trace();
    bool log_module_trace(const Bytes& packet);
    void auto_subscribe();
    void replace_communicator(AbstractRadarCommunicator* communicator);
    void reset_module_if_reachable();
    template <typename Subscriptions> void reconnect(const Subscriptions& saved);

    int throw_if_error(std::function<int()> body);
    int try_and_catch(std::function<void()> body);

    // One command, from frame to judged reply; `name` is the method's bare name, which the trace shows.
    Bytes transact(const Bytes& frame, const std::vector<Bytes>& comparators);
    void command_handle_ack(const char* name, const Bytes& frame);
    void command_parse_ack(const char* name, const Bytes& frame, const CommandFailure& failure);
    void command_first_byte(const char* name, const Bytes& frame, const char* message,
                            const std::vector<Bytes>& comparators);
    ReplyContent command_reply(const char* name, const Bytes& frame, const std::vector<Bytes>& comparators,
                               const CommandFailure& failure);
    int command_g5_setter(const char* name, const Bytes& frame, const Bytes& comparator);
    int command_direct(const char* name, const Bytes& payload, const Bytes& comparator);
    // False with the parser's error code when the packet is no reply.
    bool try_parse_reply(const Bytes& packet, ReplyContent* content, uint32_t* error_code = nullptr);
    int subscribe_app(const std::string& name, uint32_t id);
    int subscribe_app(const std::string& name, uint32_t id, Callback callback);
    int peek(const std::string& name);
    Bytes take_packet(const char* trace_name, const std::string& name);

    AbstractIo& io;
    AbstractFactory& factory;
    std::string device_name;
    Logger& logger;
    std::unique_ptr<AbstractRadarCommunicator> radar_communicator;
    std::unique_ptr<Commands> commands;
    std::unique_ptr<Parser> parser;
    unsigned int default_timeout;
    const std::string baseband_ap_subscription_id;
    const std::string baseband_iq_subscription_id;
    const std::string pulsedoppler_float_subscription_id;
    const std::string noisemap_float_subscription_id;
    const std::string pulsedoppler_byte_subscription_id;
    const std::string noisemap_byte_subscription_id;
    const std::string data_float_subscription_id;
    const std::string data_string_subscription_id;
    const std::string data_byte_subscription_id;
    const std::string system_message_subscription_id;
    const std::string respiration_legacy_subscription_id;
    const std::string respiration_sleep_subscription_id;
    const std::string respiration_movinglist_subscription_id;
    const std::string respiration_detectionlist_subscription_id;
};

// Judges an acknowledgement: empty is a failure, a first byte of 20 is the module's refusal (with its code
// from bytes 1 to 4, or 32 when the reply is too short to carry one), anything else passes.
void handle_ack(const Bytes& reply, const std::string& method_name);

} // namespace Tervik

#endif
