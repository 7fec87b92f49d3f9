#include "RCP.h"

#include "FacadePrivate.h"

namespace Tervik {

namespace {

// The file commands hand their results to a reference; a plain getter takes an out-pointer, which may be
// null and stays untouched unless the status is 0, as with every other getter.
template <typename T, typename Call> int into(T* out, Call call) {
    T value;
    const int status = call(value);
    if (status == 0 && out)
        *out = std::move(value);
    return status;
}

} // namespace

RCP::RCP(LockedRadarInterfacePtr& radar_interface) : d_ptr(new FacadePrivate(radar_interface)) {}

RCP::~RCP() = default;

LockedRadarInterfacePtr& RCP::guard() {
    return d_ptr->radar_interface;
}

int RCP::set_baudrate(uint32_t rate) {
    return guard()->set_baudrate_no_throw(rate);
}

int RCP::get_system_info(unsigned char info_code, std::string* value) {
    return guard()->get_system_info(info_code, value);
}

int RCP::ping(uint32_t* value) {
    return guard()->ping(value);
}

int RCP::module_reset() {
    return guard()->module_reset_no_throw();
}

int RCP::g7driver_set_fps(float fps) {
    return guard()->g7driver_set_fps_no_throw(fps);
}

int RCP::g7driver_get_fps(float* fps) {
    return guard()->g7driver_get_fps_no_throw(fps);
}

int RCP::g7driver_set_enable(uint8_t enable) {
    return guard()->g7driver_set_enable_no_throw(enable);
}

int RCP::g7driver_init() {
    return guard()->g7driver_init_no_throw();
}

int RCP::g7driver_set_iterations(uint32_t iterations) {
    return guard()->g7driver_set_iterations_no_throw(iterations);
}

int RCP::g7driver_set_pulses_per_step(uint32_t pulses_per_step) {
    return guard()->g7driver_set_pulsesperstep_no_throw(pulses_per_step);
}

int RCP::g7driver_set_dac_step(uint8_t dac_step) {
    return guard()->g7driver_set_dac_step_no_throw(dac_step);
}

int RCP::g7driver_set_dac_min(uint32_t dac_min) {
    return guard()->g7driver_set_dac_min_no_throw(dac_min);
}

int RCP::g7driver_set_dac_max(uint32_t dac_max) {
    return guard()->g7driver_set_dac_max_no_throw(dac_max);
}

int RCP::g7driver_set_tx_power(uint8_t power) {
    return guard()->g7driver_set_tx_power_no_throw(power);
}

int RCP::g7driver_set_downconversion(uint8_t enable) {
    return guard()->g7driver_set_downconversion_no_throw(enable);
}

int RCP::g7driver_set_frame_area(float start, float end) {
    return guard()->g7driver_set_frame_area_no_throw(start, end);
}

int RCP::g7driver_get_frame_area(FrameArea* frame_area) {
    return guard()->g7driver_get_frame_area_no_throw(frame_area);
}

int RCP::g7driver_set_frame_area_offset(float offset) {
    return guard()->g7driver_set_frame_area_offset_no_throw(offset);
}

int RCP::g7driver_get_frame_area_offset(float* offset) {
    return guard()->g7driver_get_frame_area_offset(offset);
}

int RCP::g7driver_set_tx_center_frequency(uint8_t frequency) {
    return guard()->g7driver_set_tx_center_frequency_no_throw(frequency);
}

int RCP::g7driver_set_spi_register(uint8_t address, uint8_t value) {
    return guard()->g7driver_set_spi_register_no_throw(address, value);
}

int RCP::g7driver_get_spi_register(uint8_t address, uint8_t* value) {
    return guard()->g7driver_get_spi_register_no_throw(address, value);
}

int RCP::g7driver_write_to_spi_register(uint8_t address, const Bytes& values) {
    return guard()->g7driver_write_to_spi_register_no_throw(address, values);
}

int RCP::g7driver_read_from_spi_register(uint8_t address, Bytes* values, uint32_t length) {
    return guard()->g7driver_read_from_spi_register_no_throw(address, values, length);
}

int RCP::g7driver_set_pif_register(uint8_t address, uint8_t value) {
    return guard()->g7driver_set_pif_register_no_throw(address, value);
}

int RCP::g7driver_get_pif_register(uint8_t address, uint8_t* value) {
    return guard()->g7driver_get_pif_register(address, value);
}

int RCP::g7driver_set_xif_register(uint8_t address, uint8_t value) {
    return guard()->g7driver_set_xif_register_no_throw(address, value);
}

int RCP::g7driver_get_xif_register(uint8_t address, uint8_t* value) {
    return guard()->g7driver_get_xif_register(address, value);
}

int RCP::g7driver_set_prf_div(uint8_t prf_div) {
    return guard()->g7driver_set_prf_div_no_throw(prf_div);
}

int RCP::g7driver_get_prf_div(uint8_t* prf_div) {
    return guard()->g7driver_get_prf_div(prf_div);
}

int RCP::set_iopin_control(uint32_t pin_id, uint32_t pin_setup, uint32_t pin_feature) {
    return guard()->set_iopin_control_no_throw(pin_id, pin_setup, pin_feature);
}

int RCP::set_iopin_value(uint32_t pin_id, uint32_t pin_value) {
    return guard()->set_iopin_value_no_throw(pin_id, pin_value);
}

int RCP::get_iopin_value(uint32_t pin_id, uint32_t* pin_value) {
    return guard()->get_iopin_value(pin_id, pin_value);
}

int RCP::peek_message_data_float() {
    return guard()->peek_message_data_float();
}

int RCP::read_message_data_float(DataFloat* value) {
    return guard()->read_message_data_float(value);
}

int RCP::peek_message_data_string() {
    return guard()->peek_message_data_string();
}

int RCP::read_message_data_string(uint32_t* content_id, uint32_t* info, std::string* data) {
    return guard()->read_message_data_string(content_id, info, data);
}

int RCP::peek_message_data_byte() {
    return guard()->peek_message_data_byte();
}

int RCP::read_message_data_byte(uint32_t* content_id, uint32_t* info, Bytes* data) {
    return guard()->read_message_data_byte(content_id, info, data);
}

int RCP::peek_message_system() {
    return guard()->peek_message_system();
}

int RCP::read_message_system(uint32_t* status) {
    return guard()->read_message_system_no_throw(status);
}

int RCP::search_for_file_by_type(uint32_t type, std::vector<int32_t>* identifiers) {
    return into(identifiers, [&](std::vector<int32_t>& result) {
        return guard()->search_for_file_by_type_no_throw(type, result);
    });
}

int RCP::find_all_files(Files* files) {
    return into(files, [&](Files& result) { return guard()->find_all_files_no_throw(result); });
}

int RCP::create_file(uint32_t type, uint32_t identifier, uint32_t length) {
    return guard()->create_file_no_throw(type, identifier, length);
}

int RCP::open_file(uint32_t type, uint32_t identifier) {
    return guard()->open_file_no_throw(type, identifier);
}

int RCP::set_file_data(uint32_t type, uint32_t identifier, uint32_t offset, const Bytes& data) {
    return guard()->set_file_data_no_throw(type, identifier, offset, data);
}

int RCP::close_file(uint32_t type, uint32_t identifier, bool commit) {
    return guard()->close_file_no_throw(type, identifier, commit);
}

int RCP::get_file_length(uint32_t type, uint32_t identifier, uint32_t* length) {
    return into(length, [&](uint32_t& result) {
        return guard()->get_file_length_no_throw(type, identifier, result);
    });
}

int RCP::delete_file(uint32_t type, uint32_t identifier) {
    return guard()->delete_file_no_throw(type, identifier);
}

int RCP::get_file_data(uint32_t type, uint32_t identifier, uint32_t offset, uint32_t length, Bytes* data) {
    return into(data, [&](Bytes& result) {
        return guard()->get_file_data_no_throw(type, identifier, offset, length, result);
    });
}

int RCP::format_filesystem(uint32_t key) {
    return guard()->format_filesystem_no_throw(key);
}

int RCP::set_file(uint32_t type, uint32_t identifier, const Bytes& data) {
    return guard()->set_file_no_throw(type, identifier, data);
}

int RCP::get_file(uint32_t type, uint32_t identifier, Bytes* data) {
    return into(data, [&](Bytes& result) { return guard()->get_file_no_throw(type, identifier, result); });
}

} // namespace Tervik
