#include "PyG7Facade.h"

#include "FacadePrivate.h"

namespace Tervik {

PyG7Facade::PyG7Facade(LockedRadarInterfacePtr& radar_interface)
    : d_ptr(new FacadePrivate(radar_interface)) {}

PyG7Facade::~PyG7Facade() = default;

LockedRadarInterfacePtr& PyG7Facade::guard() {
    return d_ptr->radar_interface;
}

void PyG7Facade::set_baudrate(uint32_t rate) {
    guard()->set_baudrate(rate);
}

int PyG7Facade::get_system_info(unsigned char info_code, std::string* value) {
    return guard()->get_system_info(info_code, value);
}

uint32_t PyG7Facade::ping() {
    return guard()->ping();
}

void PyG7Facade::set_debug_level(unsigned char level) {
    guard()->set_debug_level(level);
}

void PyG7Facade::module_reset() {
    guard()->module_reset();
}

void PyG7Facade::reset_to_factory_preset() {
    guard()->reset_to_factory_preset();
}

void PyG7Facade::start_bootloader() {
    guard()->start_bootloader();
}

int PyG7Facade::system_run_test(unsigned char test_code, Bytes* result) {
    return guard()->system_run_test(test_code, result);
}

void PyG7Facade::load_profile(uint32_t profile_id) {
    guard()->load_profile(profile_id);
}

void PyG7Facade::set_sensor_mode(unsigned char mode, unsigned char /*param*/) {
    guard()->set_sensor_mode_and_submode(mode, 0);
}

void PyG7Facade::set_sensitivity(uint32_t value) {
    guard()->set_sensitivity(value);
}

void PyG7Facade::set_detection_zone(float start, float end) {
    guard()->set_detection_zone(start, end);
}

DetectionZone PyG7Facade::get_detection_zone() {
    return guard()->get_detection_zone();
}

DetectionZoneLimits PyG7Facade::get_detection_zone_limits() {
    return guard()->get_detection_zone_limits();
}

void PyG7Facade::set_led_control(unsigned char mode, unsigned char intensity) {
    guard()->set_led_control(mode, intensity);
}

void PyG7Facade::set_output_control(uint32_t output_feature, uint32_t output_control) {
    guard()->set_output_control(output_feature, output_control);
}

uint32_t PyG7Facade::get_profileid() {
    return guard()->get_profileid();
}

void PyG7Facade::load_noisemap() {
    guard()->load_noisemap();
}

void PyG7Facade::store_noisemap() {
    guard()->store_noisemap();
}

void PyG7Facade::set_noisemap_control(uint32_t bits) {
    guard()->set_noisemap_control(bits);
}

uint32_t PyG7Facade::get_noisemap_control() {
    return guard()->get_noisemap_control();
}

std::string PyG7Facade::get_parameter_file(const std::string& filename) {
    return guard()->get_parameter_file(filename);
}

void PyG7Facade::set_parameter_file(const std::string& filename, const std::string& data) {
    guard()->set_parameter_file(filename, data);
}

int PyG7Facade::peek_message_baseband_ap() {
    return guard()->peek_message_baseband_ap();
}

BasebandApData PyG7Facade::read_message_baseband_ap() {
    return guard()->read_message_baseband_ap();
}

int PyG7Facade::peek_message_baseband_iq() {
    return guard()->peek_message_baseband_iq();
}

BasebandIqData PyG7Facade::read_message_baseband_iq() {
    return guard()->read_message_baseband_iq();
}

int PyG7Facade::peek_message_pulsedoppler_float() {
    return guard()->peek_message_pulsedoppler_float();
}

PulseDopplerFloatData PyG7Facade::read_message_pulsedoppler_float() {
    return guard()->read_message_pulsedoppler_float();
}

int PyG7Facade::peek_message_pulsedoppler_byte() {
    return guard()->peek_message_pulsedoppler_byte();
}

PulseDopplerByteData PyG7Facade::read_message_pulsedoppler_byte() {
    return guard()->read_message_pulsedoppler_byte();
}

int PyG7Facade::peek_message_noisemap_float() {
    return guard()->peek_message_noisemap_float();
}

PulseDopplerFloatData PyG7Facade::read_message_noisemap_float() {
    return guard()->read_message_noisemap_float();
}

int PyG7Facade::peek_message_noisemap_byte() {
    return guard()->peek_message_noisemap_byte();
}

PulseDopplerByteData PyG7Facade::read_message_noisemap_byte() {
    return guard()->read_message_noisemap_byte();
}

} // namespace Tervik
