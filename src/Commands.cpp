#include "Commands.h"

#include "protocol.h"

#include <cassert>

namespace {

void append(unsigned char byte, void* user_data) {
    assert(user_data);
    static_cast<Bytes*>(user_data)->push_back(byte);
}

// The one shape of every method: the builder writes its frame into a fresh Bytes through append.
template <typename Builder, typename... Args> Bytes frame(Builder builder, Args... args) {
    Bytes bytes;
    builder(args..., append, &bytes);
    return bytes;
}

uint32_t size_of(const Bytes& bytes) {
    return static_cast<uint32_t>(bytes.size());
}
uint32_t size_of(const std::string& text) {
    return static_cast<uint32_t>(text.size());
}

const int32_t baseband_output_id = 16;
const int32_t respiration_output_id = 17;

} // namespace

Bytes Commands::create_command(Bytes payload) {
    return frame(createCommand, payload.data(), size_of(payload));
}

// ---- General and module commands -------------------------------------------------------------------------

Bytes Commands::create_ping() {
    return frame(createPingCommand);
}
Bytes Commands::create_start_bootloader(unsigned int key) {
    return frame(createStartBootloaderCommand, key);
}
Bytes Commands::create_set_sensor_mode(sensor_mode_t mode, unsigned char param) {
    return frame(createSetSensorModeCommand, static_cast<unsigned char>(mode), param);
}
Bytes Commands::create_load_app(unsigned int app_id) {
    return frame(createLoadAppCommand, app_id);
}
Bytes Commands::create_load_profile(unsigned int profile_id) {
    return frame(createLoadProfileCommand, profile_id);
}
Bytes Commands::create_module_reset() {
    return frame(createModuleResetCommand);
}
Bytes Commands::create_set_led_control(unsigned char mode, unsigned char intensity) {
    return frame(createSetLedControlCommand, mode, intensity);
}
Bytes Commands::create_set_debug_level(unsigned char level) {
    return frame(createDebugLevelCommand, level);
}
Bytes Commands::create_set_output_control(unsigned int output_feature, unsigned int output_control) {
    return frame(createSetOutputControlCommand, output_feature, output_control);
}
Bytes Commands::create_set_iopin_control(unsigned int pin_id, unsigned int pin_setup,
                                         unsigned int pin_feature) {
    return frame(createSetIOPinControlCommand, pin_id, pin_setup, pin_feature);
}
Bytes Commands::create_set_iopin_value(unsigned int pin_id, unsigned int pin_value) {
    return frame(createSetIOPinValueCommand, pin_id, pin_value);
}
Bytes Commands::create_get_iopin_value(unsigned int pin_id) {
    return frame(createGetIOPinValueCommand, pin_id);
}
Bytes Commands::create_set_noisemap_control(unsigned int control) {
    return frame(createSetNoiseMapControlCommand, control);
}
Bytes Commands::create_get_noisemap_control() {
    return frame(createGetNoiseMapControlCommand);
}

// ---- Application commands --------------------------------------------------------------------------------

Bytes Commands::create_reset_to_factory_preset() {
    return frame(createResetToFactoryPreset);
}
Bytes Commands::create_store_noise_map() {
    return frame(createStoreNoiseMapCommand);
}
Bytes Commands::create_load_noise_map() {
    return frame(createLoadNoiseMapCommand);
}
Bytes Commands::create_set_detection_zone(float start, float end) {
    return frame(createSetDetectionZoneCommand, start, end);
}
Bytes Commands::create_get_detection_zone() {
    return frame(createGetDetectionZoneCommand);
}
Bytes Commands::create_get_detection_zone_limits() {
    return frame(createGetDetectionZoneLimitsCommand);
}
Bytes Commands::create_set_sensitivity(unsigned int sensitivity) {
    return frame(createSetSensitivityCommand, sensitivity);
}
Bytes Commands::create_set_parameter_file(const std::string& name, const std::string& data) {
    return frame(createSetParameterFileCommand, name.data(), size_of(name), data.data(), size_of(data));
}
Bytes Commands::create_get_parameter_file(const std::string& name) {
    return frame(createGetParameterFileCommand, name.data(), size_of(name));
}

// ---- Direct commands -------------------------------------------------------------------------------------

Bytes Commands::create_set_baudrate(unsigned int rate) {
    return frame(createSetBaudRate, rate);
}
Bytes Commands::create_system_run_test(unsigned char id) {
    return frame(createSystemRunTest, id);
}
Bytes Commands::create_config_run_test(unsigned char id) {
    return frame(createSystemRunTest, id);
}
Bytes Commands::create_config_set_int(int id, int value) {
    return frame(createConfigSetIntCommand, id, value);
}
Bytes Commands::create_config_set_float(int id, int value) {
    return frame(createConfigSetFloatCommand, id, static_cast<float>(value));
}
Bytes Commands::create_get_system_info(unsigned char info_code) {
    return frame(createGetSystemInfoCommand, info_code);
}
Bytes Commands::create_get_profileid() {
    return frame(createGetProfileIdCommand);
}
Bytes Commands::create_get_int(unsigned int id) {
    return frame(createGetIntCommand, id);
}
Bytes Commands::create_set_int(unsigned int id, unsigned int value) {
    return frame(createSetIntCommand, id, value);
}
Bytes Commands::create_get_float(unsigned int id) {
    return frame(createGetFloatCommand, id);
}
Bytes Commands::create_set_float(unsigned int id, float value) {
    return frame(createSetFloatCommand, id, value);
}
Bytes Commands::create_get_register(unsigned int reg) {
    return frame(createGetRegisterCommand, reg);
}
Bytes Commands::create_set_register(unsigned int reg, unsigned int value) {
    return frame(createSetRegisterCommand, reg, value);
}
Bytes Commands::create_get_frame() {
    return frame(createGetFrame);
}
Bytes Commands::create_run_timing_measurement() {
    return frame(createRunTimingMeasurementCommand);
}
// The flag doubles as the count of values, so that the disabled form carries none.
Bytes Commands::create_enable_baseband(int type, bool enable) {
    const int32_t value = type;
    return frame(createAppSetIntCommand, baseband_output_id, &value, static_cast<uint32_t>(enable));
}
Bytes Commands::create_enable_resp_ouput() {
    const int32_t on = 1;
    return frame(createAppSetIntCommand, respiration_output_id, &on, 1u);
}
Bytes Commands::create_disable_resp_ouput() {
    const int32_t off = 0;
    return frame(createAppSetIntCommand, respiration_output_id, &off, 1u);
}

// ---- File commands ---------------------------------------------------------------------------------------

Bytes Commands::create_search_for_file_type(unsigned int file_type) {
    return frame(createSearchForFileTypeCommand, file_type);
}
Bytes Commands::create_find_all_files() {
    return frame(createFindAllFilesCommand);
}
Bytes Commands::create_create_file_command(unsigned int file_type, unsigned int identifier,
                                           unsigned int length) {
    return frame(createNewFileCommand, file_type, identifier, length);
}
Bytes Commands::create_open_file_command(unsigned int file_type, unsigned int identifier) {
    return frame(createOpenFileCommand, file_type, identifier);
}
Bytes Commands::create_set_file_data(unsigned int file_type, unsigned int identifier, unsigned int offset,
                                     const Bytes& data) {
    return frame(createSetFileDataCommand, file_type, identifier, offset, data.data(), size_of(data));
}
Bytes Commands::create_close_file(unsigned int file_type, unsigned int identifier, unsigned int commit) {
    return frame(createCloseFileCommand, file_type, identifier, commit);
}
Bytes Commands::create_get_file_length(unsigned int file_type, unsigned int identifier) {
    return frame(createGetFileLengthCommand, file_type, identifier);
}
Bytes Commands::create_delete_file(unsigned int file_type, unsigned int identifier) {
    return frame(createDeleteFileCommand, file_type, identifier);
}
Bytes Commands::create_get_file_data(unsigned int file_type, unsigned int identifier, unsigned int offset,
                                     unsigned int length) {
    return frame(createGetFileDataCommand, file_type, identifier, offset, length);
}
Bytes Commands::create_format_filesystem(unsigned int key) {
    return frame(createFormatFilesystemCommand, key);
}

// ---- Bootloader commands ---------------------------------------------------------------------------------

Bytes Commands::create_get_bootloader_info() {
    return frame(createBootloaderDeviceInfoCommand);
}
Bytes Commands::create_write_page(unsigned int page, Bytes data) {
    return frame(createPageWriteCommand, page, data.data(), size_of(data));
}
Bytes Commands::create_start_application_command() {
    return frame(createApplicationStartCommand);
}

// ---- Chip driver commands --------------------------------------------------------------------------------

Bytes Commands::create_g7driver_init() {
    return frame(createG7DriverInitCommand);
}
Bytes Commands::create_g7driver_set_fps(float fps) {
    return frame(createG7DriverSetFpsCommand, fps);
}
Bytes Commands::create_g7driver_set_iterations(unsigned int iterations) {
    return frame(createG7DriverSetIterationsCommand, iterations);
}
Bytes Commands::create_g7driver_set_pulsesperstep(unsigned int pulsesperstep) {
    return frame(createG7DriverSetPulsesPerStepCommand, pulsesperstep);
}
Bytes Commands::create_g7driver_set_downconversion(unsigned char enable) {
    return frame(createG7DriverSetDownconversionCommand, enable);
}
Bytes Commands::create_g7driver_set_frame_area(float start, float end) {
    return frame(createG7DriverSetFrameAreaCommand, start, end);
}
Bytes Commands::create_g7driver_set_dac_step(unsigned char dac_step) {
    return frame(createG7DriverSetDacStepCommand, dac_step);
}
Bytes Commands::create_g7driver_set_dac_min(unsigned int dac_min) {
    return frame(createG7DriverSetDacMinCommand, dac_min);
}
Bytes Commands::create_g7driver_set_dac_max(unsigned int dac_max) {
    return frame(createG7DriverSetDacMaxCommand, dac_max);
}
Bytes Commands::create_g7driver_set_frame_area_offset(float offset) {
    return frame(createG7DriverSetFrameAreaOffsetCommand, offset);
}
Bytes Commands::create_g7driver_set_enable(unsigned char enable) {
    return frame(createG7DriverSetEnableCommand, enable);
}
Bytes Commands::create_g7driver_set_tx_center_frequency(unsigned char frequency) {
    return frame(createG7DriverSetTxCenterFrequencyCommand, frequency);
}
Bytes Commands::create_g7driver_set_tx_power(unsigned char power) {
    return frame(createG7DriverSetTxPowerCommand, power);
}
Bytes Commands::create_g7driver_set_spi_register(unsigned char address, unsigned char value) {
    return frame(createG7DriverSetSpiRegisterCommand, address, value);
}
Bytes Commands::create_g7driver_set_pif_register(unsigned char address, unsigned char value) {
    return frame(createG7DriverSetPifRegisterCommand, address, value);
}
Bytes Commands::create_g7driver_set_xif_register(unsigned char address, unsigned char value) {
    return frame(createG7DriverSetXifRegisterCommand, address, value);
}
Bytes Commands::create_g7driver_set_prf_div(unsigned char prf_div) {
    return frame(createG7DriverSetPrfDivCommand, prf_div);
}
Bytes Commands::create_g7driver_get_fps() {
    return frame(createG7DriverGetFpsCommand);
}
Bytes Commands::create_g7driver_get_frame_area() {
    return frame(createG7DriverGetFrameAreaCommand);
}
Bytes Commands::create_g7driver_get_frame_area_offset() {
    return frame(createG7DriverGetFrameAreaOffsetCommand);
}
Bytes Commands::create_g7driver_get_spi_register(unsigned char address) {
    return frame(createG7DriverGetSpiRegisterCommand, address);
}
Bytes Commands::create_g7driver_get_pif_register(unsigned char address) {
    return frame(createG7DriverGetPifRegisterCommand, address);
}
Bytes Commands::create_g7driver_get_xif_register(unsigned char address) {
    return frame(createG7DriverGetXifRegisterCommand, address);
}
Bytes Commands::create_g7driver_get_prf_div() {
    return frame(createG7DriverGetPrfDivCommand);
}
Bytes Commands::create_g7driver_write_to_spi_register(unsigned char address, const Bytes& values) {
    return frame(createG7DriverWriteToSpiRegisterCommand, address, values.data(), size_of(values));
}
Bytes Commands::create_g7driver_read_from_spi_register(unsigned char address, unsigned int length) {
    return frame(createG7DriverReadFromSpiRegisterCommand, address, length);
}
