#include "NotSupported.h"

#include "FacadePrivate.h"

namespace Tervik {

NotSupported::NotSupported(LockedRadarInterfacePtr& radar_interface)
    : d_ptr(new FacadePrivate(radar_interface)) {}

NotSupported::~NotSupported() = default;

LockedRadarInterfacePtr& NotSupported::guard() {
    return d_ptr->radar_interface;
}

int NotSupported::get_g7_io_pin_value(uint8_t pin) {
    return guard()->get_g7_io_pin_value(pin);
}

int NotSupported::set_g7_io_pin_value(uint8_t pin, uint8_t value) {
    return guard()->set_g7_io_pin_value(pin, value);
}

int NotSupported::set_g7_io_pin_mode(uint8_t pin, uint8_t mode) {
    return guard()->set_g7_io_pin_mode(pin, mode);
}

int NotSupported::set_g7_io_pin_dir(uint8_t pin, uint8_t direction) {
    return guard()->set_g7_io_pin_dir(pin, direction);
}

int NotSupported::set_g7_io_pin_enable(uint8_t pin) {
    return guard()->set_g7_io_pin_enable(pin);
}

int NotSupported::set_g7_io_pin_disable(uint8_t pin) {
    return guard()->set_g7_io_pin_disable(pin);
}

int NotSupported::read_g7_spi(uint8_t address) {
    return guard()->read_g7_spi(address);
}

int NotSupported::write_g7_spi(uint8_t address, uint8_t value) {
    return guard()->write_g7_spi(address, value);
}

int NotSupported::set_g7_fps(uint32_t fps) {
    return guard()->set_g7_fps(fps);
}

int NotSupported::subscribe_to_g7_desim(const std::string& name) {
    return guard()->subscribe_to_g7_desim(name);
}

int NotSupported::get_g7_decim_frame(const std::string& name, uint32_t* frame_counter, double* frame_data,
                                     unsigned int max_length) {
    return guard()->get_g7_decim_frame(name, frame_counter, frame_data, max_length);
}

int NotSupported::subscribe_to_data_float(const std::string& name) {
    return guard()->subscribe_to_data_float(name);
}

int NotSupported::subscribe_to_data_float(const std::string& name, std::function<bool(Bytes)> callback) {
    return guard()->subscribe_to_data_float(name, std::move(callback));
}

int NotSupported::peek_message_data_float(const std::string& name) {
    return guard()->peek_message_data_float(name);
}

int NotSupported::read_message_data_float(DataFloat* value) {
    return guard()->read_message_data_float(value);
}

int NotSupported::subscribe_to_data_byte(const std::string& name) {
    return guard()->subscribe_to_data_byte(name);
}

int NotSupported::subscribe_to_data_byte(const std::string& name, std::function<bool(Bytes)> callback) {
    return guard()->subscribe_to_data_byte(name, std::move(callback));
}

int NotSupported::subscribe_to_trace(const std::string& name) {
    return guard()->subscribe_to_trace(name);
}

std::string NotSupported::get_trace(const std::string& name) {
    return guard()->get_trace(name);
}

int NotSupported::peek_message_pulsedoppler_float() {
    return guard()->peek_message_pulsedoppler_float();
}

Bytes NotSupported::read_message_pulsedoppler_float() {
    return guard()->read_message_pulsedoppler_raw_float();
}

int NotSupported::peek_message_noisemap_float() {
    return guard()->peek_message_noisemap_float();
}

Bytes NotSupported::read_message_noisemap_float() {
    return guard()->read_message_noisemap_raw_float();
}

int NotSupported::peek_message_pulsedoppler_byte() {
    return guard()->peek_message_pulsedoppler_byte();
}

Bytes NotSupported::read_message_pulsedoppler_byte() {
    return guard()->read_message_pulsedoppler_raw_byte();
}

int NotSupported::peek_message_noisemap_byte() {
    return guard()->peek_message_noisemap_byte();
}

Bytes NotSupported::read_message_noisemap_byte() {
    return guard()->read_message_noisemap_raw_byte();
}

unsigned int NotSupported::get_number_of_packets(const std::string& name) {
    return guard()->get_number_of_packets(name);
}

Bytes NotSupported::get_packet(const std::string& name) {
    return guard()->get_packet(name);
}

void NotSupported::clear(const std::string& name) {
    guard()->clear(name);
}

void NotSupported::set_parameter_file(const std::string& filename, const std::string& data) {
    guard()->set_parameter_file(filename, data);
}

std::string NotSupported::get_parameter_file(const std::string& filename) {
    return guard()->get_parameter_file(filename);
}

void NotSupported::load_profile(uint32_t profile_id) {
    guard()->load_profile(profile_id);
}

} // namespace Tervik
