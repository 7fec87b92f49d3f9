// Every facade method of both bridge twins reaches the module. Two emulated modules alike run side by side:
// one is driven through a bridge's facades, the other through a bridge's RadarInterface directly, with the
// same calls in the same order, so that both go through the same states. A facade method is right when its
// module received the same commands as the other and it gave the same result.
#include "DeviceBridge.h"
#include "EmulatedBootloader.h"
#include "PythonDeviceBridge.h"
#include "RadarTestLink.h"
#include "SamplePackets.h"
#include "SensorStreams.h"
#include "UniqueLocked.h"
#include "protocol_identifiers.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>

#include <future>
#include <sstream>
#include <type_traits>

using Tervik::DeviceBridge;
using Tervik::PythonDeviceBridge;
using Tervik::RadarInterface;

namespace {

// ---- results as text, so that the results of two calls compare ----

std::string show(const std::string& text) {
    return '"' + text + '"';
}
template <typename T> typename std::enable_if<std::is_arithmetic<T>::value, std::string>::type show(T value) {
    std::ostringstream text;
    text << +value;
    return text.str();
}
template <typename T> std::string show(const std::vector<T>& values) {
    std::string text = "[";
    for (const T& value : values)
        text += show(value) + ",";
    return text + "]";
}
// Defined behind the records' overloads, which it calls.
template <typename... T> std::string fields(const T&... values);
std::string show(const Tervik::DataFloat& d) {
    return fields(d.content_id, d.info, d.data);
}
std::string show(const Tervik::RespirationData& d) {
    return fields(d.frame_counter, d.sensor_state, d.respiration_rate, d.distance, d.movement,
                  d.signal_quality);
}
std::string show(const Tervik::SleepData& d) {
    return fields(d.frame_counter, d.sensor_state, d.respiration_rate, d.distance, d.signal_quality,
                  d.movement_slow, d.movement_fast);
}
std::string show(const Tervik::BasebandApData& d) {
    return fields(d.frame_counter, d.num_bins, d.bin_length, d.range_offset, d.amplitude, d.phase);
}
std::string show(const Tervik::BasebandIqData& d) {
    return fields(d.frame_counter, d.num_bins, d.bin_length, d.range_offset, d.i_data, d.q_data);
}
std::string show(const Tervik::PresenceSingleData& d) {
    return fields(d.frame_counter, d.presence_state, d.distance, d.direction, d.signal_quality);
}
std::string show(const Tervik::PresenceMovingListData& d) {
    return fields(d.frame_counter, d.presence_state, d.movement_slow_items, d.detection_distance_items);
}
std::string show(const Tervik::RespirationMovingListData& d) {
    return fields(d.counter, d.movement_slow_items, d.movement_fast_items);
}
std::string show(const Tervik::RespirationDetectionListData& d) {
    return fields(d.counter, d.detection_count, d.detection_distance_items, d.detection_velocity_items);
}
std::string show(const Tervik::PulseDopplerFloatData& d) {
    return fields(d.frame_counter, d.range_idx, d.frequency_count, d.fps, d.data);
}
std::string show(const Tervik::PulseDopplerByteData& d) {
    return fields(d.frame_counter, d.range_idx, d.frequency_count, d.byte_step_size, d.data);
}
std::string show(const Tervik::FrameArea& d) {
    return fields(d.start, d.end);
}
std::string show(const Tervik::DetectionZone& d) {
    return fields(d.start, d.end);
}
std::string show(const Tervik::DetectionZoneLimits& d) {
    return fields(d.start, d.end, d.step);
}
std::string show(const Tervik::Files& d) {
    return fields(d.file_type_items, d.file_identifier_items);
}

template <typename... T> std::string fields(const T&... values) {
    std::string text;
    ((text += show(values) + " "), ...);
    return text;
}

// The result of the call shown, or how it failed.
template <typename Call> std::string result_of(Call call) {
    std::string shown;
    const std::string how = outcome([&] {
        if constexpr (std::is_void<decltype(call())>::value)
            call(), shown = "done";
        else
            shown = show(call());
    });
    return how == "ok" ? shown : how;
}

// ---- the table ----

template <typename Bridge> struct Row {
    std::string name;
    std::function<std::string(Bridge&)> through_facade;
    std::function<std::string(RadarInterface&)> direct;
    // The least number of commands the call sends.
    size_t commands;
    // For a row without calls: a packet that both modules send.
    Bytes packet = Bytes();
    ModuleEmulator::WireForm form = ModuleEmulator::WireForm::frame;
};

const std::string parameter_file_name = "presence.cfg";
const std::string parameter_file_text = "sensitivity=5";
const Bytes file_bytes = {1, 2, 3, 4, 5};
const Bytes ping_payload = {KMS_SPC_PING, 0xAE, 0xEA, 0xAA, 0xEE};
bool ignore_packet(Bytes) {
    return true;
}

// clang-format off
// Results through out-pointers: a plain getter shows its status and its up to three outputs.
#define STATUS(facade, call, direct_call, commands)                                                 \
    {#facade "." #call, [](DeviceBridge& b) { return show(b.get_##facade().call); },                \
     [](RadarInterface& r) { return show(r.direct_call); }, commands}
#define OUT_SENDING(commands, T, facade, call, direct_call)                                         \
    {#facade "." #call,                                                                             \
     [](DeviceBridge& b) {                                                                          \
         T out{}, out2{}, out3{};                                                                   \
         return fields(b.get_##facade().call, out, out2, out3);                                     \
     },                                                                                             \
     [](RadarInterface& r) {                                                                        \
         T out{}, out2{}, out3{};                                                                   \
         return fields(r.direct_call, out, out2, out3);                                             \
     },                                                                                             \
     commands}
#define OUT(...) OUT_SENDING(1, __VA_ARGS__)
// A queue read sends nothing.
#define READ(...) OUT_SENDING(0, __VA_ARGS__)
// A Py method: the value, or the exception.
#define VALUE(facade, call, direct_call, commands)                                                  \
    {#facade "." #call,                                                                             \
     [](PythonDeviceBridge& b) { return result_of([&] { return b.get_##facade().call; }); },        \
     [](RadarInterface& r) { return result_of([&] { return r.direct_call; }); }, commands}
#define SAME(facade, call, commands) VALUE(facade, call, call, commands)
// A Py method that keeps its out-pointer.
#define POINTER(commands, T, facade, call)                                                          \
    {#facade "." #call,                                                                             \
     [](PythonDeviceBridge& b) {                                                                    \
         T out{};                                                                                   \
         return result_of([&] { return fields(b.get_##facade().call, out); });                      \
     },                                                                                             \
     [](RadarInterface& r) {                                                                        \
         T out{};                                                                                   \
         return result_of([&] { return fields(r.call, out); });                                     \
     },                                                                                             \
     commands}
// A generic data message read into its three out-pointers.
#define DATA_MESSAGE(Bridge, T, facade, method)                                                     \
    {#facade "." #method,                                                                           \
     [](Bridge& b) {                                                                                \
         uint32_t content_id = 0, info = 0;                                                         \
         T data{};                                                                                  \
         return fields(b.get_##facade().method(&content_id, &info, &data), content_id, info, data); \
     },                                                                                             \
     [](RadarInterface& r) {                                                                        \
         uint32_t content_id = 0, info = 0;                                                         \
         T data{};                                                                                  \
         return fields(r.method(&content_id, &info, &data), content_id, info, data);                \
     },                                                                                             \
     0}
// clang-format on

const char* respiration_queue = "respiration_legacy_subscription_id";
const char* sleep_queue = "respiration_sleep_subscription_id";
const char* baseband_ap_queue = "baseband_ap_subscription_id";
const char* baseband_iq_queue = "baseband_iq_subscription_id";
const char* system_queue = "system_message_subscription_id";
const char* data_string_queue = "2588cebf-cbcb-40af-b0ad-37d7e959ae1a";
const char* data_float_queue = "d4d70752-c146-11e6-a4a6-cec0c932ce01";

// Queue reads come first, on the packets put in the queues before, since the commands after them make the
// module stream, which would change what the queues hold while the other module's do the same; resets and
// the bootloader come last, since a reset empties the queues.
const std::vector<Row<DeviceBridge>> plain_rows = {
    STATUS(g5n310, get_number_of_packets(respiration_queue), get_number_of_packets(respiration_queue), 0),
    READ(Tervik::RespirationData, g5n310, get_respiration_data(respiration_queue, &out),
         get_respiration_data(respiration_queue, &out)),
    READ(Tervik::SleepData, g5n310, get_sleep_data(sleep_queue, &out), get_sleep_data(sleep_queue, &out)),
    READ(Tervik::BasebandApData, g5n310, get_baseband_ap_data(baseband_ap_queue, &out),
         get_baseband_ap_data(baseband_ap_queue, &out)),
    READ(Tervik::BasebandIqData, g5n310, get_baseband_iq_data(baseband_iq_queue, &out),
         get_baseband_iq_data(baseband_iq_queue, &out)),
    STATUS(g5n310, get_number_of_packets(system_queue), get_number_of_packets(system_queue), 0),
    STATUS(g7n420, peek_message_baseband_ap(), peek_message_baseband_ap(), 0),
    READ(Tervik::BasebandApData, g7n420, read_message_baseband_ap(&out), read_message_baseband_ap(&out)),
    STATUS(g7n420, peek_message_baseband_iq(), peek_message_baseband_iq(), 0),
    READ(Tervik::BasebandIqData, g7n420, read_message_baseband_iq(&out), read_message_baseband_iq(&out)),
    STATUS(g7n420, peek_message_pulsedoppler_float(), peek_message_pulsedoppler_float(), 0),
    READ(Tervik::PulseDopplerFloatData, g7n420, read_message_pulsedoppler_float(&out),
         read_message_pulsedoppler_float(&out)),
    STATUS(g7n420, peek_message_pulsedoppler_byte(), peek_message_pulsedoppler_byte(), 0),
    READ(Tervik::PulseDopplerByteData, g7n420, read_message_pulsedoppler_byte(&out),
         read_message_pulsedoppler_byte(&out)),
    STATUS(g7n420, peek_message_noisemap_float(), peek_message_noisemap_float(), 0),
    READ(Tervik::PulseDopplerFloatData, g7n420, read_message_noisemap_float(&out),
         read_message_noisemap_float(&out)),
    STATUS(g7n420, peek_message_noisemap_byte(), peek_message_noisemap_byte(), 0),
    READ(Tervik::PulseDopplerByteData, g7n420, read_message_noisemap_byte(&out),
         read_message_noisemap_byte(&out)),
    STATUS(g7n420, peek_message_presence_single(), peek_message_presence_single(), 0),
    READ(Tervik::PresenceSingleData, g7n420, read_message_presence_single(&out),
         read_message_presence_single(&out)),
    STATUS(g7n420, peek_message_presence_movinglist(), peek_message_presence_movinglist(), 0),
    READ(Tervik::PresenceMovingListData, g7n420, read_message_presence_movinglist(&out),
         read_message_presence_movinglist(&out)),
    STATUS(g7n310, peek_message_respiration_legacy(), peek_message_respiration_legacy(), 0),
    READ(Tervik::RespirationData, g7n310, read_message_respiration_legacy(&out),
         read_message_respiration_legacy(&out)),
    STATUS(g7n310, peek_message_respiration_sleep(), peek_message_respiration_sleep(), 0),
    READ(Tervik::SleepData, g7n310, read_message_respiration_sleep(&out),
         read_message_respiration_sleep(&out)),
    STATUS(g7n310, peek_message_respiration_movinglist(), peek_message_respiration_movinglist(), 0),
    READ(Tervik::RespirationMovingListData, g7n310, read_message_respiration_movinglist(&out),
         read_message_respiration_movinglist(&out)),
    STATUS(g7n310, peek_message_respiration_detectionlist(), peek_message_respiration_detectionlist(), 0),
    READ(Tervik::RespirationDetectionListData, g7n310, read_message_respiration_detectionlist(&out),
         read_message_respiration_detectionlist(&out)),
    STATUS(rcp, peek_message_data_float(), peek_message_data_float(), 0),
    READ(Tervik::DataFloat, rcp, read_message_data_float(&out), read_message_data_float(&out)),
    STATUS(rcp, peek_message_data_string(), peek_message_data_string(), 0),
    DATA_MESSAGE(DeviceBridge, std::string, rcp, read_message_data_string),
    STATUS(rcp, peek_message_data_byte(), peek_message_data_byte(), 0),
    DATA_MESSAGE(DeviceBridge, Bytes, rcp, read_message_data_byte),
    STATUS(rcp, peek_message_system(), peek_message_system(), 0),
    READ(uint32_t, rcp, read_message_system(&out), read_message_system_no_throw(&out)),

    STATUS(g5n310, set_debug_level(2), set_debug_level_no_throw(2), 1),
    STATUS(g5n310, set_log_level(0), set_log_level(0), 0),
    OUT(uint32_t, g5n310, ping(&out), ping(&out)),
    OUT(std::string, g5n310, get_item_number(&out), get_item_number(&out)),
    OUT(std::string, g5n310, get_order_code(&out), get_order_code(&out)),
    OUT(std::string, g5n310, get_firmware_id(&out), get_firmware_id(&out)),
    OUT(std::string, g5n310, get_firmware_version(&out), get_firmware_version(&out)),
    OUT(std::string, g5n310, get_serial_number(&out), get_serial_number(&out)),
    OUT(std::string, g5n310, get_build_info(&out), get_build_info(&out)),
    OUT(std::string, g5n310, get_app_id_list(&out), get_app_id_list(&out)),
    STATUS(g5n310, load_sleep_profile(), load_sleep_profile_no_throw(), 1),
    STATUS(g5n310, load_respiration_profile(), load_respiration_profile_no_throw(), 1),
    STATUS(g5n310, set_sensor_mode_run(), set_sensor_mode_run_no_throw(), 1),
    STATUS(g5n310, set_sensor_mode_idle(), set_sensor_mode_idle_no_throw(), 1),
    STATUS(g5n310, enable_baseband_ap(), enable_baseband_ap_no_throw(), 1),
    STATUS(g5n310, disable_baseband_ap(), disable_baseband_ap_no_throw(), 1),
    STATUS(g5n310, enable_baseband_iq(), enable_baseband_iq_no_throw(), 1),
    STATUS(g5n310, disable_baseband_iq(), disable_baseband_iq_no_throw(), 1),
    STATUS(g5n310, set_detection_zone(0.5f, 4.5f), set_detection_zone_no_throw(0.5f, 4.5f), 1),
    STATUS(g5n310, set_sensitivity(7), set_sensitivity_no_throw(7), 1),
    STATUS(g5n310, set_led_control(1, 50), set_led_control_no_throw(1, 50), 1),
    STATUS(g5n310, enable_resp_output(), enable_resp_output_no_throw(), 1),
    STATUS(g5n310, disable_resp_output(), disable_resp_output_no_throw(), 1),
    STATUS(g5n310, subscribe_to_resp_status("r"), subscribe_to_resp_status("r"), 0),
    STATUS(g5n310, subscribe_to_resp_status("rc", ignore_packet),
           subscribe_to_resp_status("rc", ignore_packet), 0),
    STATUS(g5n310, subscribe_to_sleep_status("s"), subscribe_to_sleep_status("s"), 0),
    STATUS(g5n310, subscribe_to_sleep_status("sc", ignore_packet),
           subscribe_to_sleep_status("sc", ignore_packet), 0),
    STATUS(g5n310, subscribe_to_baseband_ap("a"), subscribe_to_baseband_ap("a"), 0),
    STATUS(g5n310, subscribe_to_baseband_ap("ac", ignore_packet),
           subscribe_to_baseband_ap("ac", ignore_packet), 0),
    STATUS(g5n310, subscribe_to_baseband_iq("i"), subscribe_to_baseband_iq("i"), 0),
    STATUS(g5n310, subscribe_to_baseband_iq("ic", ignore_packet),
           subscribe_to_baseband_iq("ic", ignore_packet), 0),
    STATUS(g7n420, set_baudrate(KMID_BAUDRATE_115200), set_baudrate_no_throw(KMID_BAUDRATE_115200), 1),
    OUT(std::string, g7n420, get_system_info(KMID_SSIC_VERSIONLIST, &out),
        get_system_info(KMID_SSIC_VERSIONLIST, &out)),
    OUT(uint32_t, g7n420, ping(&out), ping(&out)),
    STATUS(g7n420, set_debug_level(1), set_debug_level_no_throw(1), 1),
    STATUS(g7n420, module_reset(), module_reset_no_throw(), 1),
    STATUS(g7n420, reset_to_factory_preset(), reset_to_factory_preset_no_throw(), 1),
    OUT(Bytes, g7n420, system_run_test(1, &out), system_run_test(1, &out)),
    STATUS(g7n420, load_profile(KMS_ID_APP_PRESENCE_2), load_profile_no_throw(KMS_ID_APP_PRESENCE_2), 1),
    STATUS(g7n420, set_sensor_mode(KMID_SM_RUN, 9), set_sensor_mode_and_submode_no_throw(KMID_SM_RUN, 0), 1),
    STATUS(g7n420, set_sensitivity(4), set_sensitivity_no_throw(4), 1),
    STATUS(g7n420, set_detection_zone(0.4f, 3.5f), set_detection_zone_no_throw(0.4f, 3.5f), 1),
    OUT(float, g7n420, get_detection_zone(&out, &out2), get_detection_zone(&out, &out2)),
    OUT(float, g7n420, get_detection_zone_limits(&out, &out2, &out3),
        get_detection_zone_limits(&out, &out2, &out3)),
    STATUS(g7n420, set_led_control(1, 80), set_led_control_no_throw(1, 80), 1),
    STATUS(g7n420, set_output_control(0x10, KMID_OUTPUT_CONTROL_ENABLE),
           set_output_control_no_throw(0x10, KMID_OUTPUT_CONTROL_ENABLE), 1),
    OUT(uint32_t, g7n420, get_profileid(&out), get_profileid(&out)),
    STATUS(g7n420, store_noisemap(), store_noisemap_no_throw(), 1),
    STATUS(g7n420, load_noisemap(), load_noisemap_no_throw(), 1),
    STATUS(g7n420, set_noisemap_control(3), set_noisemap_control_no_throw(3), 1),
    OUT(uint32_t, g7n420, get_noisemap_control(&out), get_noisemap_control_no_throw(&out)),
    STATUS(g7n420, set_parameter_file(&parameter_file_name, &parameter_file_text),
           set_parameter_file_no_throw(parameter_file_name, parameter_file_text), 1),
    OUT(std::string, g7n420, get_parameter_file(parameter_file_name, &out),
        get_parameter_file(parameter_file_name, &out)),
    OUT(uint32_t, g7n310, ping(&out), ping(&out)),
    STATUS(rcp, set_baudrate(KMID_BAUDRATE_115200), set_baudrate_no_throw(KMID_BAUDRATE_115200), 1),
    OUT(std::string, rcp, get_system_info(KMID_SSIC_FIRMWAREID, &out),
        get_system_info(KMID_SSIC_FIRMWAREID, &out)),
    OUT(uint32_t, rcp, ping(&out), ping(&out)),
    STATUS(rcp, module_reset(), module_reset_no_throw(), 1),
    STATUS(rcp, g7driver_init(), g7driver_init_no_throw(), 1),
    STATUS(rcp, g7driver_set_fps(2.5f), g7driver_set_fps_no_throw(2.5f), 1),
    OUT(float, rcp, g7driver_get_fps(&out), g7driver_get_fps_no_throw(&out)),
    STATUS(rcp, g7driver_set_enable(1), g7driver_set_enable_no_throw(1), 1),
    STATUS(rcp, g7driver_set_iterations(16), g7driver_set_iterations_no_throw(16), 1),
    STATUS(rcp, g7driver_set_pulses_per_step(5), g7driver_set_pulsesperstep_no_throw(5), 1),
    STATUS(rcp, g7driver_set_dac_step(2), g7driver_set_dac_step_no_throw(2), 1),
    STATUS(rcp, g7driver_set_dac_min(900), g7driver_set_dac_min_no_throw(900), 1),
    STATUS(rcp, g7driver_set_dac_max(1100), g7driver_set_dac_max_no_throw(1100), 1),
    STATUS(rcp, g7driver_set_tx_power(2), g7driver_set_tx_power_no_throw(2), 1),
    STATUS(rcp, g7driver_set_downconversion(1), g7driver_set_downconversion_no_throw(1), 1),
    STATUS(rcp, g7driver_set_frame_area(0.2f, 5.0f), g7driver_set_frame_area_no_throw(0.2f, 5.0f), 1),
    {"rcp.g7driver_get_frame_area",
     [](DeviceBridge& b) {
         Tervik::FrameArea area;
         return fields(b.get_rcp().g7driver_get_frame_area(&area), area);
     },
     [](RadarInterface& r) {
         Tervik::FrameArea area;
         return fields(r.g7driver_get_frame_area_no_throw(&area), area);
     },
     1},
    STATUS(rcp, g7driver_set_frame_area_offset(0.3f), g7driver_set_frame_area_offset_no_throw(0.3f), 1),
    OUT(float, rcp, g7driver_get_frame_area_offset(&out), g7driver_get_frame_area_offset(&out)),
    STATUS(rcp, g7driver_set_tx_center_frequency(3), g7driver_set_tx_center_frequency_no_throw(3), 1),
    STATUS(rcp, g7driver_set_spi_register(0x12, 0x34), g7driver_set_spi_register_no_throw(0x12, 0x34), 1),
    OUT(uint8_t, rcp, g7driver_get_spi_register(0x12, &out), g7driver_get_spi_register_no_throw(0x12, &out)),
    STATUS(rcp, g7driver_write_to_spi_register(0x20, file_bytes),
           g7driver_write_to_spi_register_no_throw(0x20, file_bytes), 1),
    OUT(Bytes, rcp, g7driver_read_from_spi_register(0x20, &out, 5),
        g7driver_read_from_spi_register_no_throw(0x20, &out, 5)),
    STATUS(rcp, g7driver_set_pif_register(0x05, 0x06), g7driver_set_pif_register_no_throw(0x05, 0x06), 1),
    OUT(uint8_t, rcp, g7driver_get_pif_register(0x05, &out), g7driver_get_pif_register(0x05, &out)),
    STATUS(rcp, g7driver_set_xif_register(0x07, 0x08), g7driver_set_xif_register_no_throw(0x07, 0x08), 1),
    OUT(uint8_t, rcp, g7driver_get_xif_register(0x07, &out), g7driver_get_xif_register(0x07, &out)),
    STATUS(rcp, g7driver_set_prf_div(4), g7driver_set_prf_div_no_throw(4), 1),
    OUT(uint8_t, rcp, g7driver_get_prf_div(&out), g7driver_get_prf_div(&out)),
    STATUS(rcp, set_iopin_control(1, KMID_IOPIN_SETUP_OUTPUT, 0),
           set_iopin_control_no_throw(1, KMID_IOPIN_SETUP_OUTPUT, 0), 1),
    STATUS(rcp, set_iopin_value(1, 1), set_iopin_value_no_throw(1, 1), 1),
    OUT(uint32_t, rcp, get_iopin_value(1, &out), get_iopin_value(1, &out)),
    STATUS(rcp, create_file(7, 1, 5), create_file_no_throw(7, 1, 5), 1),
    STATUS(rcp, set_file_data(7, 1, 0, file_bytes), set_file_data_no_throw(7, 1, 0, file_bytes), 1),
    STATUS(rcp, close_file(7, 1, true), close_file_no_throw(7, 1, true), 1),
    STATUS(rcp, open_file(7, 1), open_file_no_throw(7, 1), 1),
    OUT(uint32_t, rcp, get_file_length(7, 1, &out), get_file_length_no_throw(7, 1, out)),
    OUT(Bytes, rcp, get_file_data(7, 1, 1, 3, &out), get_file_data_no_throw(7, 1, 1, 3, out)),
    STATUS(rcp, close_file(7, 1, false), close_file_no_throw(7, 1, false), 1),
    STATUS(rcp, set_file(7, 2, Bytes(2500, 9)), set_file_no_throw(7, 2, Bytes(2500, 9)), 4),
    OUT(Bytes, rcp, get_file(7, 2, &out), get_file_no_throw(7, 2, out)),
    OUT(std::vector<int32_t>, rcp, search_for_file_by_type(7, &out),
        search_for_file_by_type_no_throw(7, out)),
    OUT(Tervik::Files, rcp, find_all_files(&out), find_all_files_no_throw(out)),
    STATUS(rcp, delete_file(7, 2), delete_file_no_throw(7, 2), 1),
    STATUS(rcp, format_filesystem(0x5A5A), format_filesystem_no_throw(0x5A5A), 1),
    STATUS(g5n310, reset(), reset_no_throw(), 1),
    STATUS(g7n420, reset(), reset_no_throw(), 1),
    STATUS(g7n310, reset(), reset_no_throw(), 1),
    STATUS(g5n310, start_bootloader(), start_bootloader_no_throw(), 1),
    STATUS(g7n420, start_bootloader(), start_bootloader_no_throw(), 1),
    STATUS(g7n310, start_bootloader(), start_bootloader_no_throw(), 1),
};

// A fast packet: 17 header bytes with the frame counter 42 first, and three 48-bit samples of -2.
Bytes fast_packet() {
    Bytes packet(17, 0);
    packet[0] = 42;
    for (int i = 0; i < 3; ++i)
        packet.insert(packet.end(), {0xFE, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF});
    return packet;
}

const std::vector<Row<PythonDeviceBridge>> python_rows = {
    SAME(g5n310, get_number_of_packets(respiration_queue), 0),
    SAME(g5n310, get_respiration_data(respiration_queue), 0),
    SAME(g5n310, get_sleep_data(sleep_queue), 0),
    SAME(g5n310, get_baseband_ap_data(baseband_ap_queue), 0),
    SAME(g5n310, get_baseband_iq_data(baseband_iq_queue), 0),
    SAME(g5n310, get_packet(system_queue), 0),
    SAME(g7n420, peek_message_baseband_ap(), 0),
    SAME(g7n420, read_message_baseband_ap(), 0),
    SAME(g7n420, peek_message_baseband_iq(), 0),
    SAME(g7n420, read_message_baseband_iq(), 0),
    SAME(g7n420, peek_message_pulsedoppler_float(), 0),
    SAME(g7n420, read_message_pulsedoppler_float(), 0),
    SAME(g7n420, peek_message_pulsedoppler_byte(), 0),
    SAME(g7n420, read_message_pulsedoppler_byte(), 0),
    SAME(g7n420, peek_message_noisemap_float(), 0),
    SAME(g7n420, read_message_noisemap_float(), 0),
    SAME(g7n420, peek_message_noisemap_byte(), 0),
    SAME(g7n420, read_message_noisemap_byte(), 0),
    SAME(g7n420, peek_message_presence_single(), 0),
    SAME(g7n420, read_message_presence_single(), 0),
    SAME(g7n420, peek_message_presence_movinglist(), 0),
    SAME(g7n420, read_message_presence_movinglist(), 0),
    SAME(g7n310, peek_message_respiration_legacy(), 0),
    SAME(g7n310, read_message_respiration_legacy(), 0),
    SAME(g7n310, peek_message_respiration_sleep(), 0),
    SAME(g7n310, read_message_respiration_sleep(), 0),
    SAME(g7n310, peek_message_respiration_movinglist(), 0),
    SAME(g7n310, read_message_respiration_movinglist(), 0),
    SAME(g7n310, peek_message_respiration_detectionlist(), 0),
    SAME(g7n310, read_message_respiration_detectionlist(), 0),
    SAME(rcp, peek_message_data_float(), 0),
    SAME(rcp, read_message_data_float(), 0),
    SAME(rcp, peek_message_data_string(), 0),
    DATA_MESSAGE(PythonDeviceBridge, std::string, rcp, read_message_data_string),
    SAME(rcp, peek_message_data_byte(), 0),
    DATA_MESSAGE(PythonDeviceBridge, Bytes, rcp, read_message_data_byte),
    SAME(rcp, peek_message_system(), 0),
    SAME(rcp, read_message_system(), 0),
    SAME(transport, get_number_of_packets(system_queue), 0),
    SAME(transport, get_packet(system_queue), 0),
    SAME(not_supported, peek_message_data_float(data_float_queue), 0),
    POINTER(0, Tervik::DataFloat, not_supported, read_message_data_float(&out)),
    SAME(not_supported, get_trace(data_string_queue), 0),
    SAME(not_supported, peek_message_pulsedoppler_float(), 0),
    VALUE(not_supported, read_message_pulsedoppler_float(), read_message_pulsedoppler_raw_float(), 0),
    SAME(not_supported, peek_message_noisemap_float(), 0),
    VALUE(not_supported, read_message_noisemap_float(), read_message_noisemap_raw_float(), 0),
    SAME(not_supported, peek_message_pulsedoppler_byte(), 0),
    VALUE(not_supported, read_message_pulsedoppler_byte(), read_message_pulsedoppler_raw_byte(), 0),
    SAME(not_supported, peek_message_noisemap_byte(), 0),
    VALUE(not_supported, read_message_noisemap_byte(), read_message_noisemap_raw_byte(), 0),
    SAME(not_supported, get_number_of_packets(system_queue), 0),
    SAME(not_supported, get_packet(system_queue), 0),

    SAME(g5n310, set_debug_level(2), 1),
    SAME(g5n310, set_log_level(0), 0),
    SAME(g5n310, ping(), 1),
    SAME(g5n310, get_item_number(), 1),
    SAME(g5n310, get_order_code(), 1),
    SAME(g5n310, get_firmware_id(), 1),
    SAME(g5n310, get_firmware_version(), 1),
    SAME(g5n310, get_serial_number(), 1),
    SAME(g5n310, get_build_info(), 1),
    SAME(g5n310, get_app_id_list(), 1),
    SAME(g5n310, load_sleep_profile(), 1),
    SAME(g5n310, load_respiration_profile(), 1),
    SAME(g5n310, set_sensor_mode_run(), 1),
    SAME(g5n310, set_sensor_mode_idle(), 1),
    SAME(g5n310, enable_baseband_ap(), 1),
    SAME(g5n310, disable_baseband_ap(), 1),
    SAME(g5n310, enable_baseband_iq(), 1),
    SAME(g5n310, disable_baseband_iq(), 1),
    SAME(g5n310, set_detection_zone(0.5f, 4.5f), 1),
    SAME(g5n310, set_sensitivity(7), 1),
    SAME(g5n310, set_led_control(1, 50), 1),
    SAME(g5n310, enable_resp_output(), 1),
    SAME(g5n310, disable_resp_output(), 1),
    SAME(g5n310, subscribe_to_resp_status("r"), 0),
    SAME(g5n310, subscribe_to_sleep_status("s"), 0),
    SAME(g5n310, subscribe_to_baseband_ap("a"), 0),
    SAME(g5n310, subscribe_to_baseband_iq("i"), 0),
    SAME(g5n310, unsubscribe("r"), 0),
    SAME(g5n310, unsubscribe("never subscribed"), 0),
    SAME(g5n310, clear("s"), 0),
    SAME(g7n420, set_baudrate(KMID_BAUDRATE_115200), 1),
    POINTER(1, std::string, g7n420, get_system_info(KMID_SSIC_VERSIONLIST, &out)),
    SAME(g7n420, ping(), 1),
    SAME(g7n420, set_debug_level(1), 1),
    SAME(g7n420, module_reset(), 1),
    SAME(g7n420, reset_to_factory_preset(), 1),
    POINTER(1, Bytes, g7n420, system_run_test(1, &out)),
    SAME(g7n420, load_profile(KMS_ID_APP_PRESENCE_2), 1),
    VALUE(g7n420, set_sensor_mode(KMID_SM_RUN, 9), set_sensor_mode_and_submode(KMID_SM_RUN, 0), 1),
    SAME(g7n420, set_sensitivity(4), 1),
    SAME(g7n420, set_detection_zone(0.4f, 3.5f), 1),
    SAME(g7n420, get_detection_zone(), 1),
    SAME(g7n420, get_detection_zone_limits(), 1),
    SAME(g7n420, set_led_control(1, 80), 1),
    SAME(g7n420, set_output_control(0x10, KMID_OUTPUT_CONTROL_ENABLE), 1),
    SAME(g7n420, get_profileid(), 1),
    SAME(g7n420, store_noisemap(), 1),
    SAME(g7n420, load_noisemap(), 1),
    SAME(g7n420, set_noisemap_control(3), 1),
    SAME(g7n420, get_noisemap_control(), 1),
    SAME(g7n420, set_parameter_file(parameter_file_name, parameter_file_text), 1),
    SAME(g7n420, get_parameter_file(parameter_file_name), 1),
    SAME(g7n310, ping(), 1),
    SAME(rcp, set_baudrate(KMID_BAUDRATE_115200), 1),
    POINTER(1, std::string, rcp, get_system_info(KMID_SSIC_FIRMWAREID, &out)),
    SAME(rcp, ping(), 1),
    SAME(rcp, module_reset(), 1),
    SAME(rcp, g7driver_init(), 1),
    SAME(rcp, g7driver_set_fps(2.5f), 1),
    SAME(rcp, g7driver_get_fps(), 1),
    SAME(rcp, g7driver_set_enable(1), 1),
    SAME(rcp, g7driver_set_iterations(16), 1),
    VALUE(rcp, g7driver_set_pulses_per_step(5), g7driver_set_pulsesperstep(5), 1),
    SAME(rcp, g7driver_set_dac_step(2), 1),
    SAME(rcp, g7driver_set_dac_min(900), 1),
    SAME(rcp, g7driver_set_dac_max(1100), 1),
    SAME(rcp, g7driver_set_tx_power(2), 1),
    SAME(rcp, g7driver_set_downconversion(1), 1),
    SAME(rcp, g7driver_set_frame_area(0.2f, 5.0f), 1),
    SAME(rcp, g7driver_get_frame_area(), 1),
    SAME(rcp, g7driver_set_frame_area_offset(0.3f), 1),
    SAME(rcp, g7driver_get_frame_area_offset(), 1),
    SAME(rcp, g7driver_set_tx_center_frequency(3), 1),
    SAME(rcp, g7driver_set_spi_register(0x12, 0x34), 1),
    SAME(rcp, g7driver_get_spi_register(0x12), 1),
    SAME(rcp, g7driver_write_to_spi_register(0x20, file_bytes), 1),
    SAME(rcp, g7driver_read_from_spi_register(0x20, 5), 1),
    SAME(rcp, g7driver_set_pif_register(0x05, 0x06), 1),
    SAME(rcp, g7driver_get_pif_register(0x05), 1),
    SAME(rcp, g7driver_set_xif_register(0x07, 0x08), 1),
    SAME(rcp, g7driver_get_xif_register(0x07), 1),
    SAME(rcp, g7driver_set_prf_div(4), 1),
    SAME(rcp, g7driver_get_prf_div(), 1),
    SAME(rcp, set_iopin_control(1, KMID_IOPIN_SETUP_OUTPUT, 0), 1),
    SAME(rcp, set_iopin_value(1, 1), 1),
    SAME(rcp, get_iopin_value(1), 1),
    SAME(rcp, create_file(7, 1, 5), 1),
    SAME(rcp, set_file_data(7, 1, 0, file_bytes), 1),
    SAME(rcp, close_file(7, 1, true), 1),
    SAME(rcp, open_file(7, 1), 1),
    SAME(rcp, get_file_length(7, 1), 1),
    SAME(rcp, get_file_data(7, 1, 1, 3), 1),
    SAME(rcp, close_file(7, 1, false), 1),
    SAME(rcp, set_file(7, 2, Bytes(2500, 9)), 4),
    SAME(rcp, get_file(7, 2), 4),
    SAME(rcp, search_for_file_by_type(7), 1),
    SAME(rcp, find_all_files(), 1),
    SAME(rcp, delete_file(7, 2), 1),
    SAME(rcp, format_filesystem(0x5A5A), 1),
    SAME(transport, send_command(emulator_wire::frame(ping_payload)), 1),
    SAME(transport, send_command_single(ping_payload, Bytes{KMS_SPR_PONG}), 1),
    SAME(transport, send_command_multi(ping_payload, std::vector<Bytes>{{KMS_SPR_ERROR}, {KMS_SPR_PONG}}), 1),
    SAME(transport, subscribe("t", Bytes{KMS_SPR_SYSTEM}), 0),
    SAME(transport, subscribe("tc", Bytes{KMS_SPR_SYSTEM}, ignore_packet), 0),
    SAME(transport, clear("t"), 0),
    SAME(transport, unsubscribe("t"), 0),
    SAME(not_supported, set_g7_io_pin_value(1, 1), 1),
    SAME(not_supported, set_g7_io_pin_mode(1, 2), 1),
    SAME(not_supported, set_g7_io_pin_dir(1, 1), 1),
    SAME(not_supported, set_g7_io_pin_enable(1), 1),
    SAME(not_supported, set_g7_io_pin_disable(1), 1),
    SAME(not_supported, get_g7_io_pin_value(1), 1),
    SAME(not_supported, write_g7_spi(0x12, 5), 1),
    SAME(not_supported, read_g7_spi(0x12), 1),
    SAME(not_supported, set_g7_fps(17), 1),
    SAME(not_supported, subscribe_to_g7_desim("fast"), 0),
    {"send a fast packet", nullptr, nullptr, 0, fast_packet(), ModuleEmulator::WireForm::fast},
    {"not_supported.get_g7_decim_frame",
     [](PythonDeviceBridge& b) {
         uint32_t counter = 0;
         std::vector<double> frame(4, 0.5);
         return fields(b.get_not_supported().get_g7_decim_frame("fast", &counter, frame.data(), 4), counter,
                       frame);
     },
     [](RadarInterface& r) {
         uint32_t counter = 0;
         std::vector<double> frame(4, 0.5);
         return fields(r.get_g7_decim_frame("fast", &counter, frame.data(), 4), counter, frame);
     },
     0},
    SAME(not_supported, subscribe_to_data_float("f"), 0),
    SAME(not_supported, subscribe_to_data_float("fc", ignore_packet), 0),
    SAME(not_supported, subscribe_to_data_byte("b"), 0),
    SAME(not_supported, subscribe_to_data_byte("bc", ignore_packet), 0),
    SAME(not_supported, subscribe_to_trace("trace"), 0),
    SAME(not_supported, clear("f"), 0),
    SAME(not_supported, set_parameter_file(parameter_file_name, parameter_file_text), 1),
    SAME(not_supported, get_parameter_file(parameter_file_name), 1),
    SAME(not_supported, load_profile(KMS_ID_APP_RESPIRATION_2), 1),
    SAME(g5n310, reset(), 1),
    {"g7n420.reset", [](PythonDeviceBridge& b) { return result_of([&] { return b.get_g7n420().reset(); }); },
     [](RadarInterface& r) { return result_of([&] { return r.reset(), 0; }); }, 1},
    SAME(g7n310, reset(), 1),
    SAME(g5n310, start_bootloader(), 1),
    SAME(g7n420, start_bootloader(), 1),
    SAME(g7n310, start_bootloader(), 1),
};

// ---- running a table ----

in_addr_t loopback() {
    return inet_addr("127.0.0.1");
}

Tervik::AbstractLoggerIo* quiet_output() {
    return new JournalOutput(std::make_shared<LogJournal>());
}

template <typename Bridge> std::unique_ptr<Bridge> connect(ModuleEmulator& module);

template <> std::unique_ptr<DeviceBridge> connect(ModuleEmulator& module) {
    if (module.tcp_port() == 0)
        return std::unique_ptr<DeviceBridge>(new DeviceBridge(module.device_path(), 0, quiet_output()));
    std::unique_ptr<DeviceBridge> bridge(
        new DeviceBridge(loopback(), htons(module.tcp_port()), 0, quiet_output()));
    EXPECT_TRUE(module.wait_for_connections(1, std::chrono::seconds(10)));
    return bridge;
}

template <> std::unique_ptr<PythonDeviceBridge> connect(ModuleEmulator& module) {
    if (module.tcp_port() == 0)
        return std::unique_ptr<PythonDeviceBridge>(new PythonDeviceBridge(module.device_path(), 0));
    std::unique_ptr<PythonDeviceBridge> bridge(
        new PythonDeviceBridge(loopback(), htons(module.tcp_port()), 0));
    EXPECT_TRUE(module.wait_for_connections(1, std::chrono::seconds(10)));
    return bridge;
}

RadarInterface& radar_of(DeviceBridge& bridge) {
    return *bridge.get_radar_interface().get();
}

RadarInterface& radar_of(PythonDeviceBridge& bridge) {
    return static_cast<RadarInterface&>(bridge.get_g5());
}

std::vector<Bytes> commands_since(const ModuleEmulator& module, size_t first) {
    const std::vector<Bytes> all = module.received_commands();
    return std::vector<Bytes>(all.begin() + std::min(first, all.size()), all.end());
}

// Enough packets of each kind for every read of a table, so that no read waits.
std::vector<Bytes> queued_packets() {
    std::vector<Bytes> packets;
    for (int copy = 0; copy < 5; ++copy) {
        for (int kind = 0; kind <= int(StreamKind::noisemap_byte); ++kind)
            packets.push_back(sensor_stream_packet(StreamKind(kind), 10 + copy, 4));
        packets.push_back(SamplePackets::data(0x12, 1, 2, SamplePackets::floats({1.5f, -2.5f})));
        packets.push_back(SamplePackets::string_packet(3, 4, "module text"));
        packets.push_back(SamplePackets::data(0x10, 5, 6, {0xFF, 0x00, 0x7E}));
        packets.push_back({KMS_SPR_SYSTEM, KMS_SPRS_READY, 0, 0, 0});
    }
    return packets;
}

template <typename Bridge>
void run(ModuleEmulator::Transport transport, const std::vector<Row<Bridge>>& rows) {
    ModuleEmulator facade_module(transport), direct_module(transport);
    std::unique_ptr<Bridge> facade_bridge = connect<Bridge>(facade_module);
    std::unique_ptr<DeviceBridge> direct_bridge = connect<DeviceBridge>(direct_module);
    RadarInterface& facade_radar = radar_of(*facade_bridge);
    RadarInterface& direct_radar = radar_of(*direct_bridge);
    // A ping's reply comes in behind every packet sent before it, and so does its dispatch.
    auto send_both = [&](const Bytes& packet, ModuleEmulator::WireForm form) {
        facade_module.send(form, packet);
        direct_module.send(form, packet);
        ASSERT_EQ(KMS_DEF_PONGVAL_READY, facade_radar.ping());
        ASSERT_EQ(KMS_DEF_PONGVAL_READY, direct_radar.ping());
    };
    for (const Bytes& packet : queued_packets())
        send_both(packet, ModuleEmulator::WireForm::frame);

    for (const Row<Bridge>& row : rows) {
        if (!row.through_facade) {
            send_both(row.packet, row.form);
            continue;
        }
        const size_t facade_before = facade_module.received_commands().size();
        const size_t direct_before = direct_module.received_commands().size();
        std::future<std::string> direct =
            std::async(std::launch::async, [&] { return row.direct(direct_radar); });
        const std::string through_facade = row.through_facade(*facade_bridge);
        const std::string expected = direct.get();
        EXPECT_EQ(expected, through_facade) << row.name;
        EXPECT_EQ(std::string::npos, expected.find("Timeout")) << row.name;
        // A one-way command reaches the module after the call has returned.
        EXPECT_TRUE(eventually([&] {
            const std::vector<Bytes> received = commands_since(facade_module, facade_before);
            return received.size() >= row.commands &&
                   received == commands_since(direct_module, direct_before);
        })) << row.name;
        for (ModuleEmulator* module : {&facade_module, &direct_module})
            if (module->in_bootloader())
                module->bootloader().start_application();
    }
}

class FacadeCommands : public ::testing::TestWithParam<ModuleEmulator::Transport> {};

TEST_P(FacadeCommands, PlainTwinsSendWhatTheirStatusFormsSendAndGiveTheirResults) {
    run(GetParam(), plain_rows);
}

TEST_P(FacadeCommands, PyTwinsTransportAndNotSupportedSendWhatTheThrowingFormsSendAndGiveTheirResults) {
    run(GetParam(), python_rows);
}

INSTANTIATE_TEST_SUITE_P(Links, FacadeCommands,
                         ::testing::Values(ModuleEmulator::Transport::pty, ModuleEmulator::Transport::tcp),
                         [](const ::testing::TestParamInfo<ModuleEmulator::Transport>& info) {
                             return info.param == ModuleEmulator::Transport::pty ? "pty" : "tcp";
                         });

} // namespace
