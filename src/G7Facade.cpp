#include "G7Facade.h"

#include "FacadePrivate.h"

namespace Tervik {

G7Facade::G7Facade(LockedRadarInterfacePtr& radar_interface) : d_ptr(new FacadePrivate(radar_interface)) {}

G7Facade::~G7Facade() = default;

LockedRadarInterfacePtr& G7Facade::guard() {
    return d_ptr->radar_interface;
}

int G7Facade::set_baudrate(uint32_t rate) {
    return guard()->set_baudrate_no_throw(rate);
}

int G7Facade::get_system_info(unsigned char info_code, std::string* value) {
    return guard()->get_system_info(info_code, value);
}

int G7Facade::ping(uint32_t* value) {
    return guard()->ping(value);
}

int G7Facade::set_debug_level(unsigned char level) {
    return guard()->set_debug_level_no_throw(level);
}

int G7Facade::reset() {
    return guard()->reset_no_throw();
}

int G7Facade::module_reset() {
    return guard()->module_reset_no_throw();
}

int G7Facade::reset_to_factory_preset() {
    return guard()->reset_to_factory_preset_no_throw();
}

int G7Facade::start_bootloader() {
    return guard()->start_bootloader_no_throw();
}

int G7Facade::system_run_test(unsigned char test_code, Bytes* result) {
    return guard()->system_run_test(test_code, result);
}

int G7Facade::load_profile(uint32_t profile_id) {
    return guard()->load_profile_no_throw(profile_id);
}

int G7Facade::set_sensor_mode(unsigned char mode, unsigned char /*param*/) {
    return guard()->set_sensor_mode_and_submode_no_throw(mode, 0);
}

int G7Facade::set_sensitivity(uint32_t value) {
    return guard()->set_sensitivity_no_throw(value);
}

int G7Facade::set_detection_zone(float start, float end) {
    return guard()->set_detection_zone_no_throw(start, end);
}

int G7Facade::get_detection_zone(float* start, float* end) {
    return guard()->get_detection_zone(start, end);
}

int G7Facade::get_detection_zone_limits(float* start, float* end, float* step) {
    return guard()->get_detection_zone_limits(start, end, step);
}

int G7Facade::set_led_control(unsigned char mode, unsigned char intensity) {
    return guard()->set_led_control_no_throw(mode, intensity);
}

int G7Facade::set_output_control(uint32_t output_feature, uint32_t output_control) {
    return guard()->set_output_control_no_throw(output_feature, output_control);
}

int G7Facade::get_profileid(uint32_t* id) {
    return guard()->get_profileid(id);
}

int G7Facade::load_noisemap() {
    return guard()->load_noisemap_no_throw();
}

int G7Facade::store_noisemap() {
    return guard()->store_noisemap_no_throw();
}

int G7Facade::set_noisemap_control(uint32_t bits) {
    return guard()->set_noisemap_control_no_throw(bits);
}

int G7Facade::get_noisemap_control(uint32_t* bits) {
    return guard()->get_noisemap_control_no_throw(bits);
}

int G7Facade::get_parameter_file(const std::string& filename, std::string* data) {
    return guard()->get_parameter_file(filename, data);
}

int G7Facade::set_parameter_file(const std::string* filename, const std::string* data) {
    if (!filename || !data)
        return 1;
    return guard()->set_parameter_file_no_throw(*filename, *data);
}

int G7Facade::peek_message_baseband_ap() {
    return guard()->peek_message_baseband_ap();
}

int G7Facade::read_message_baseband_ap(BasebandApData* value) {
    return guard()->read_message_baseband_ap(value);
}

int G7Facade::peek_message_baseband_iq() {
    return guard()->peek_message_baseband_iq();
}

int G7Facade::read_message_baseband_iq(BasebandIqData* value) {
    return guard()->read_message_baseband_iq(value);
}

int G7Facade::peek_message_pulsedoppler_float() {
    return guard()->peek_message_pulsedoppler_float();
}

int G7Facade::read_message_pulsedoppler_float(PulseDopplerFloatData* value) {
    return guard()->read_message_pulsedoppler_float(value);
}

int G7Facade::peek_message_pulsedoppler_byte() {
    return guard()->peek_message_pulsedoppler_byte();
}

int G7Facade::read_message_pulsedoppler_byte(PulseDopplerByteData* value) {
    return guard()->read_message_pulsedoppler_byte(value);
}

int G7Facade::peek_message_noisemap_float() {
    return guard()->peek_message_noisemap_float();
}

int G7Facade::read_message_noisemap_float(PulseDopplerFloatData* value) {
    return guard()->read_message_noisemap_float(value);
}

int G7Facade::peek_message_noisemap_byte() {
    return guard()->peek_message_noisemap_byte();
}

int G7Facade::read_message_noisemap_byte(PulseDopplerByteData* value) {
    return guard()->read_message_noisemap_byte(value);
}

} // namespace Tervik
