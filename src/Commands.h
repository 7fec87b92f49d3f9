// Every command the host sends to a module, each returned as one complete escaped frame.
//
// A stateless wrapper over the plain builders of the protocol unit: each method collects the frame that its
// builder writes. A frame is built in one run on the calling thread, with that thread's running checksum, so
// threads may build frames at the same time.
#ifndef DEVICEBRIDGE_COMMANDS_H
#define DEVICEBRIDGE_COMMANDS_H

#include "Bytes.h"
#include "protocol_identifiers.h"

#include <string>

class Commands {
public:
    // Frames any ready-made payload.
    Bytes create_command(Bytes payload);

    // General and module commands.
    Bytes create_ping();
    Bytes create_start_bootloader(unsigned int key);
    Bytes create_set_sensor_mode(sensor_mode_t mode, unsigned char param);
    Bytes create_load_app(unsigned int app_id);
    Bytes create_load_profile(unsigned int profile_id);
    Bytes create_module_reset();
    Bytes create_set_led_control(unsigned char mode, unsigned char intensity);
    Bytes create_set_debug_level(unsigned char level);
    Bytes create_set_output_control(unsigned int output_feature, unsigned int output_control);
    Bytes create_set_iopin_control(unsigned int pin_id, unsigned int pin_setup, unsigned int pin_feature);
    Bytes create_set_iopin_value(unsigned int pin_id, unsigned int pin_value);
    Bytes create_get_iopin_value(unsigned int pin_id);
    Bytes create_set_noisemap_control(unsigned int control);
    Bytes create_get_noisemap_control();

    // Application commands.
    Bytes create_reset_to_factory_preset();
    Bytes create_store_noise_map();
    Bytes create_load_noise_map();
    Bytes create_set_detection_zone(float start, float end);
    Bytes create_get_detection_zone();
    Bytes create_get_detection_zone_limits();
    Bytes create_set_sensitivity(unsigned int sensitivity);
    Bytes create_set_parameter_file(const std::string& name, const std::string& data);
    Bytes create_get_parameter_file(const std::string& name);

    // Direct commands.
    Bytes create_set_baudrate(unsigned int rate);
    Bytes create_system_run_test(unsigned char id);
    Bytes create_config_run_test(unsigned char id);
    Bytes create_config_set_int(int id, int value);
    // The value is a whole number on purpose: it goes out as a float.
    Bytes create_config_set_float(int id, int value);
    Bytes create_get_system_info(unsigned char info_code);
    Bytes create_get_profileid();
    Bytes create_get_int(unsigned int id);
    Bytes create_set_int(unsigned int id, unsigned int value);
    Bytes create_get_float(unsigned int id);
    Bytes create_set_float(unsigned int id, float value);
    Bytes create_get_register(unsigned int reg);
    Bytes create_set_register(unsigned int reg, unsigned int value);
    Bytes create_get_frame();
    Bytes create_run_timing_measurement();
    // Disabling sends no value at all: the module takes an empty list as "off".
    Bytes create_enable_baseband(int type, bool enable);
    Bytes create_enable_resp_ouput();
    Bytes create_disable_resp_ouput();

    // File commands.
    Bytes create_search_for_file_type(unsigned int file_type);
    Bytes create_find_all_files();
    Bytes create_create_file_command(unsigned int file_type, unsigned int identifier, unsigned int length);
    Bytes create_open_file_command(unsigned int file_type, unsigned int identifier);
    Bytes create_set_file_data(unsigned int file_type, unsigned int identifier, unsigned int offset,
                               const Bytes& data);
    Bytes create_close_file(unsigned int file_type, unsigned int identifier, unsigned int commit);
    Bytes create_get_file_length(unsigned int file_type, unsigned int identifier);
    Bytes create_delete_file(unsigned int file_type, unsigned int identifier);
    Bytes create_get_file_data(unsigned int file_type, unsigned int identifier, unsigned int offset,
                               unsigned int length);
    Bytes create_format_filesystem(unsigned int key);

    // Bootloader commands.
    Bytes create_get_bootloader_info();
    Bytes create_write_page(unsigned int page, Bytes data);
    Bytes create_start_application_command();

    // Chip driver commands.
    Bytes create_g7driver_init();
    Bytes create_g7driver_set_fps(float fps);
    Bytes create_g7driver_set_iterations(unsigned int iterations);
    Bytes create_g7driver_set_pulsesperstep(unsigned int pulsesperstep);
    Bytes create_g7driver_set_downconversion(unsigned char enable);
    Bytes create_g7driver_set_frame_area(float start, float end);
    Bytes create_g7driver_set_dac_step(unsigned char dac_step);
    Bytes create_g7driver_set_dac_min(unsigned int dac_min);
    Bytes create_g7driver_set_dac_max(unsigned int dac_max);
    Bytes create_g7driver_set_frame_area_offset(float offset);
    Bytes create_g7driver_set_enable(unsigned char enable);
    Bytes create_g7driver_set_tx_center_frequency(unsigned char frequency);
    Bytes create_g7driver_set_tx_power(unsigned char power);
    Bytes create_g7driver_set_spi_register(unsigned char address, unsigned char value);
    Bytes create_g7driver_set_pif_register(unsigned char address, unsigned char value);
    Bytes create_g7driver_set_xif_register(unsigned char address, unsigned char value);
    Bytes create_g7driver_set_prf_div(unsigned char prf_div);
    Bytes create_g7driver_get_fps();
    Bytes create_g7driver_get_frame_area();
    Bytes create_g7driver_get_frame_area_offset();
    Bytes create_g7driver_get_spi_register(unsigned char address);
    Bytes create_g7driver_get_pif_register(unsigned char address);
    Bytes create_g7driver_get_xif_register(unsigned char address);
    Bytes create_g7driver_get_prf_div();
    Bytes create_g7driver_write_to_spi_register(unsigned char address, const Bytes& values);
    Bytes create_g7driver_read_from_spi_register(unsigned char address, unsigned int length);
};

#endif
