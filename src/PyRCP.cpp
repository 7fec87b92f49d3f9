#include "PyRCP.h"

#include "FacadePrivate.h"

namespace Tervik {

PyRCP::PyRCP(LockedRadarInterfacePtr& radar_interface) : d_ptr(new FacadePrivate(radar_interface)) {}

PyRCP::~PyRCP() = default;

LockedRadarInterfacePtr& PyRCP::guard() {
    return d_ptr->radar_interface;
}

void PyRCP::set_baudrate(uint32_t rate) {
    guard()->set_baudrate(rate);
}

int PyRCP::get_system_info(unsigned char info_code, std::string* value) {
    return guard()->get_system_info(info_code, value);
}

uint32_t PyRCP::ping() {
    return guard()->ping();
}

void PyRCP::module_reset() {
    guard()->module_reset();
}

void PyRCP::g7driver_set_fps(float fps) {
    guard()->g7driver_set_fps(fps);
}

float PyRCP::g7driver_get_fps() {
    return guard()->g7driver_get_fps();
}

void PyRCP::g7driver_set_enable(uint8_t enable) {
    guard()->g7driver_set_enable(enable);
}

void PyRCP::g7driver_init() {
    guard()->g7driver_init();
}

void PyRCP::g7driver_set_iterations(uint32_t iterations) {
    guard()->g7driver_set_iterations(iterations);
}

void PyRCP::g7driver_set_pulses_per_step(uint32_t pulses_per_step) {
    guard()->g7driver_set_pulsesperstep(pulses_per_step);
}

void PyRCP::g7driver_set_dac_step(uint8_t dac_step) {
    guard()->g7driver_set_dac_step(dac_step);
}

void PyRCP::g7driver_set_dac_min(uint32_t dac_min) {
    guard()->g7driver_set_dac_min(dac_min);
}

void PyRCP::g7driver_set_dac_max(uint32_t dac_max) {
    guard()->g7driver_set_dac_max(dac_max);
}

void PyRCP::g7driver_set_tx_power(uint8_t power) {
    guard()->g7driver_set_tx_power(power);
}

void PyRCP::g7driver_set_downconversion(uint8_t enable) {
    guard()->g7driver_set_downconversion(enable);
}

void PyRCP::g7driver_set_frame_area(float start, float end) {
    guard()->g7driver_set_frame_area(start, end);
}

FrameArea PyRCP::g7driver_get_frame_area() {
    return guard()->g7driver_get_frame_area();
}

void PyRCP::g7driver_set_frame_area_offset(float offset) {
    guard()->g7driver_set_frame_area_offset(offset);
}

float PyRCP::g7driver_get_frame_area_offset() {
    return guard()->g7driver_get_frame_area_offset();
}

void PyRCP::g7driver_set_tx_center_frequency(uint8_t frequency) {
    guard()->g7driver_set_tx_center_frequency(frequency);
}

void PyRCP::g7driver_set_spi_register(uint8_t address, uint8_t value) {
    guard()->g7driver_set_spi_register(address, value);
}

uint8_t PyRCP::g7driver_get_spi_register(uint8_t address) {
    return guard()->g7driver_get_spi_register(address);
}

void PyRCP::g7driver_write_to_spi_register(uint8_t address, const Bytes& values) {
    guard()->g7driver_write_to_spi_register(address, values);
}

Bytes PyRCP::g7driver_read_from_spi_register(uint8_t address, uint32_t length) {
    return guard()->g7driver_read_from_spi_register(address, length);
}

void PyRCP::g7driver_set_pif_register(uint8_t address, uint8_t value) {
    guard()->g7driver_set_pif_register(address, value);
}

uint8_t PyRCP::g7driver_get_pif_register(uint8_t address) {
    return guard()->g7driver_get_pif_register(address);
}

void PyRCP::g7driver_set_xif_register(uint8_t address, uint8_t value) {
    guard()->g7driver_set_xif_register(address, value);
}

uint8_t PyRCP::g7driver_get_xif_register(uint8_t address) {
    return guard()->g7driver_get_xif_register(address);
}

void PyRCP::g7driver_set_prf_div(uint8_t prf_div) {
    guard()->g7driver_set_prf_div(prf_div);
}

uint8_t PyRCP::g7driver_get_prf_div() {
    return guard()->g7driver_get_prf_div();
}

void PyRCP::set_iopin_control(uint32_t pin_id, uint32_t pin_setup, uint32_t pin_feature) {
    guard()->set_iopin_control(pin_id, pin_setup, pin_feature);
}

void PyRCP::set_iopin_value(uint32_t pin_id, uint32_t pin_value) {
    guard()->set_iopin_value(pin_id, pin_value);
}

uint32_t PyRCP::get_iopin_value(uint32_t pin_id) {
    return guard()->get_iopin_value(pin_id);
}

int PyRCP::peek_message_data_float() {
    return guard()->peek_message_data_float();
}

DataFloat PyRCP::read_message_data_float() {
    return guard()->read_message_data_float();
}

int PyRCP::peek_message_data_string() {
    return guard()->peek_message_data_string();
}

int PyRCP::read_message_data_string(uint32_t* content_id, uint32_t* info, std::string* data) {
    return guard()->read_message_data_string(content_id, info, data);
}

int PyRCP::peek_message_data_byte() {
    return guard()->peek_message_data_byte();
}

int PyRCP::read_message_data_byte(uint32_t* content_id, uint32_t* info, Bytes* data) {
    return guard()->read_message_data_byte(content_id, info, data);
}

int PyRCP::peek_message_system() {
    return guard()->peek_message_system();
}

uint32_t PyRCP::read_message_system() {
    return guard()->read_message_system();
}

std::vector<int32_t> PyRCP::search_for_file_by_type(uint32_t type) {
    return guard()->search_for_file_by_type(type);
}

Files PyRCP::find_all_files() {
    return guard()->find_all_files();
}

void PyRCP::create_file(uint32_t type, uint32_t identifier, uint32_t length) {
    guard()->create_file(type, identifier, length);
}

void PyRCP::open_file(uint32_t type, uint32_t identifier) {
    guard()->open_file(type, identifier);
}

void PyRCP::set_file_data(uint32_t type, uint32_t identifier, uint32_t offset, const Bytes& data) {
    guard()->set_file_data(type, identifier, offset, data);
}

void PyRCP::close_file(uint32_t type, uint32_t identifier, bool commit) {
    guard()->close_file(type, identifier, commit);
}

uint32_t PyRCP::get_file_length(uint32_t type, uint32_t identifier) {
    return guard()->get_file_length(type, identifier);
}

void PyRCP::delete_file(uint32_t type, uint32_t identifier) {
    guard()->delete_file(type, identifier);
}

Bytes PyRCP::get_file_data(uint32_t type, uint32_t identifier, uint32_t offset, uint32_t length) {
    return guard()->get_file_data(type, identifier, offset, length);
}

void PyRCP::format_filesystem(uint32_t key) {
    guard()->format_filesystem(key);
}

void PyRCP::set_file(uint32_t type, uint32_t identifier, const Bytes& data) {
    guard()->set_file(type, identifier, data);
}

Bytes PyRCP::get_file(uint32_t type, uint32_t identifier) {
    return guard()->get_file(type, identifier);
}

} // namespace Tervik
