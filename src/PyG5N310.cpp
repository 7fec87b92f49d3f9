#include "PyG5N310.h"

#include "RadarInterface.h"
#include "UniqueLocked.h"

namespace Tervik {

PyG5N310::PyG5N310(LockedRadarInterfacePtr& radar_interface) : radar_interface(radar_interface) {}

void PyG5N310::set_debug_level(unsigned char level) {
    radar_interface->set_debug_level(level);
}

int PyG5N310::set_log_level(int level) {
    return radar_interface->set_log_level(level);
}

uint32_t PyG5N310::ping() {
    return radar_interface->ping();
}

std::string PyG5N310::get_item_number() {
    return radar_interface->get_item_number();
}

std::string PyG5N310::get_order_code() {
    return radar_interface->get_order_code();
}

std::string PyG5N310::get_firmware_id() {
    return radar_interface->get_firmware_id();
}

std::string PyG5N310::get_firmware_version() {
    return radar_interface->get_firmware_version();
}

std::string PyG5N310::get_serial_number() {
    return radar_interface->get_serial_number();
}

std::string PyG5N310::get_build_info() {
    return radar_interface->get_build_info();
}

std::string PyG5N310::get_app_id_list() {
    return radar_interface->get_app_id_list();
}

void PyG5N310::reset() {
    radar_interface->reset();
}

void PyG5N310::start_bootloader() {
    radar_interface->start_bootloader();
}

void PyG5N310::set_sensor_mode_run() {
    radar_interface->set_sensor_mode_run();
}

void PyG5N310::set_sensor_mode_idle() {
    radar_interface->set_sensor_mode_idle();
}

void PyG5N310::load_sleep_profile() {
    radar_interface->load_sleep_profile();
}

void PyG5N310::load_respiration_profile() {
    radar_interface->load_respiration_profile();
}

void PyG5N310::enable_baseband_ap() {
    radar_interface->enable_baseband_ap();
}

void PyG5N310::disable_baseband_ap() {
    radar_interface->disable_baseband_ap();
}

void PyG5N310::enable_baseband_iq() {
    radar_interface->enable_baseband_iq();
}

void PyG5N310::disable_baseband_iq() {
    radar_interface->disable_baseband_iq();
}

void PyG5N310::set_detection_zone(float start, float end) {
    radar_interface->set_detection_zone(start, end);
}

void PyG5N310::set_sensitivity(uint32_t value) {
    radar_interface->set_sensitivity(value);
}

void PyG5N310::set_led_control(unsigned char mode, unsigned char intensity) {
    radar_interface->set_led_control(mode, intensity);
}

void PyG5N310::disable_resp_output() {
    radar_interface->disable_resp_output();
}

void PyG5N310::enable_resp_output() {
    radar_interface->enable_resp_output();
}

int PyG5N310::subscribe_to_resp_status(const std::string& name) {
    return radar_interface->subscribe_to_resp_status(name);
}

int PyG5N310::subscribe_to_sleep_status(const std::string& name) {
    return radar_interface->subscribe_to_sleep_status(name);
}

int PyG5N310::subscribe_to_baseband_ap(const std::string& name) {
    return radar_interface->subscribe_to_baseband_ap(name);
}

int PyG5N310::subscribe_to_baseband_iq(const std::string& name) {
    return radar_interface->subscribe_to_baseband_iq(name);
}

void PyG5N310::unsubscribe(const std::string& name) {
    radar_interface->unsubscribe(name);
}

unsigned int PyG5N310::get_number_of_packets(const std::string& name) {
    return radar_interface->get_number_of_packets(name);
}

Bytes PyG5N310::get_packet(const std::string& name) {
    return radar_interface->get_packet(name);
}

RespirationData PyG5N310::get_respiration_data(const std::string& name) {
    return radar_interface->get_respiration_data(name);
}

SleepData PyG5N310::get_sleep_data(const std::string& name) {
    return radar_interface->get_sleep_data(name);
}

BasebandApData PyG5N310::get_baseband_ap_data(const std::string& name) {
    return radar_interface->get_baseband_ap_data(name);
}

BasebandIqData PyG5N310::get_baseband_iq_data(const std::string& name) {
    return radar_interface->get_baseband_iq_data(name);
}

void PyG5N310::clear(const std::string& name) {
    radar_interface->clear(name);
}

} // namespace Tervik
