#include "G5N310.h"

#include "G5N310Private.h"

namespace Tervik {

G5N310::G5N310(LockedRadarInterfacePtr& radar_interface)
    : d_ptr(std::make_shared<G5N310Private>(radar_interface)) {}

G5N310::~G5N310() = default;

LockedRadarInterfacePtr& G5N310::guard() {
    return d_ptr->radar_interface;
}

int G5N310::set_debug_level(unsigned char level) {
    return guard()->set_debug_level_no_throw(level);
}

int G5N310::set_log_level(int level) {
    return guard()->set_log_level(level);
}

int G5N310::ping(uint32_t* value) {
    return guard()->ping(value);
}

int G5N310::get_item_number(std::string* value) {
    return guard()->get_item_number(value);
}

int G5N310::get_order_code(std::string* value) {
    return guard()->get_order_code(value);
}

int G5N310::get_firmware_id(std::string* value) {
    return guard()->get_firmware_id(value);
}

int G5N310::get_firmware_version(std::string* value) {
    return guard()->get_firmware_version(value);
}

int G5N310::get_serial_number(std::string* value) {
    return guard()->get_serial_number(value);
}

int G5N310::get_build_info(std::string* value) {
    return guard()->get_build_info(value);
}

int G5N310::get_app_id_list(std::string* value) {
    return guard()->get_app_id_list(value);
}

int G5N310::reset() {
    return guard()->reset_no_throw();
}

int G5N310::start_bootloader() {
    return guard()->start_bootloader_no_throw();
}

int G5N310::set_sensor_mode_run() {
    return guard()->set_sensor_mode_run_no_throw();
}

int G5N310::set_sensor_mode_idle() {
    return guard()->set_sensor_mode_idle_no_throw();
}

int G5N310::load_sleep_profile() {
    return guard()->load_sleep_profile_no_throw();
}

int G5N310::load_respiration_profile() {
    return guard()->load_respiration_profile_no_throw();
}

int G5N310::enable_baseband_ap() {
    return guard()->enable_baseband_ap_no_throw();
}

int G5N310::disable_baseband_ap() {
    return guard()->disable_baseband_ap_no_throw();
}

int G5N310::enable_baseband_iq() {
    return guard()->enable_baseband_iq_no_throw();
}

int G5N310::disable_baseband_iq() {
    return guard()->disable_baseband_iq_no_throw();
}

int G5N310::set_detection_zone(float start, float end) {
    return guard()->set_detection_zone_no_throw(start, end);
}

int G5N310::set_sensitivity(uint32_t value) {
    return guard()->set_sensitivity_no_throw(value);
}

int G5N310::set_led_control(unsigned char mode, unsigned char intensity) {
    return guard()->set_led_control_no_throw(mode, intensity);
}

int G5N310::disable_resp_output() {
    return guard()->disable_resp_output_no_throw();
}

int G5N310::enable_resp_output() {
    return guard()->enable_resp_output_no_throw();
}

int G5N310::subscribe_to_resp_status(const std::string& name) {
    return guard()->subscribe_to_resp_status(name);
}

int G5N310::subscribe_to_resp_status(const std::string& name, std::function<bool(Bytes)> callback) {
    return guard()->subscribe_to_resp_status(name, std::move(callback));
}

int G5N310::subscribe_to_sleep_status(const std::string& name) {
    return guard()->subscribe_to_sleep_status(name);
}

int G5N310::subscribe_to_sleep_status(const std::string& name, std::function<bool(Bytes)> callback) {
    return guard()->subscribe_to_sleep_status(name, std::move(callback));
}

int G5N310::subscribe_to_baseband_ap(const std::string& name) {
    return guard()->subscribe_to_baseband_ap(name);
}

int G5N310::subscribe_to_baseband_ap(const std::string& name, std::function<bool(Bytes)> callback) {
    return guard()->subscribe_to_baseband_ap(name, std::move(callback));
}

int G5N310::subscribe_to_baseband_iq(const std::string& name) {
    return guard()->subscribe_to_baseband_iq(name);
}

int G5N310::subscribe_to_baseband_iq(const std::string& name, std::function<bool(Bytes)> callback) {
    return guard()->subscribe_to_baseband_iq(name, std::move(callback));
}

unsigned int G5N310::get_number_of_packets(const std::string& name) {
    return guard()->get_number_of_packets(name);
}

int G5N310::get_respiration_data(const std::string& name, RespirationData* value) {
    return guard()->get_respiration_data(name, value);
}

int G5N310::get_sleep_data(const std::string& name, SleepData* value) {
    return guard()->get_sleep_data(name, value);
}

int G5N310::get_baseband_ap_data(const std::string& name, BasebandApData* value) {
    return guard()->get_baseband_ap_data(name, value);
}

int G5N310::get_baseband_iq_data(const std::string& name, BasebandIqData* value) {
    return guard()->get_baseband_iq_data(name, value);
}

void G5N310::clear(const std::string& name) {
    guard()->clear(name);
}

} // namespace Tervik
