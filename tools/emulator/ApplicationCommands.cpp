// The application family: profiles, sensor modes, detection zone, sensitivity, parameter files, LED,
// outputs, baseband, noise map and IO pins.
#include "CommandArguments.h"
#include "ModuleFirmware.h"
#include "ModulePackets.h"
#include "protocol_identifiers.h"

namespace {

using Replies = ModuleFirmware::Replies;

// The application ids of the "set int" command.
const uint32_t app_baseband = 16;
const uint32_t app_resp_output = 17;
// A few pins, numbered from 0.
const uint32_t iopin_count = 8;

Bytes prefix_with_id(uint8_t code, uint8_t sub_code, uint32_t id) {
    Bytes prefix{code, sub_code};
    emulator_packets::put_u32(prefix, id);
    return prefix;
}

Replies load_profile(FirmwareState& state, const Bytes& command) {
    const uint32_t profile = CommandArguments(command, 1).u32();
    if (!ModuleFirmware::known_profile(profile))
        return refused(KMS_SPRE_APP_INVALID);
    state.settings.profile_id = profile;
    // A loaded profile waits for run.
    state.settings.sensor_mode = KMS_SM_IDLE;
    return acked();
}

Replies get_profileid(FirmwareState& state, const Bytes&) {
    return answered(emulator_packets::reply_words(0, {state.settings.profile_id}));
}

Replies set_sensor_mode(FirmwareState& state, const Bytes& command) {
    const uint8_t mode = CommandArguments(command, 1).u8();
    switch (mode) {
    case KMS_SM_STOP:
        state.settings.profile_id = 0;
        break;
    case KMS_SM_RUN:
    case KMS_SM_NORMAL:
    case KMS_SM_IDLE:
    case KMS_SM_MANUAL:
    case KMS_SM_REG:
        break;
    default:
        return refused(KMS_SPRE_COMMAND_FAILED);
    }
    state.settings.sensor_mode = mode;
    return acked();
}

Replies set_sensitivity(FirmwareState& state, const Bytes& command) {
    const uint32_t sensitivity = CommandArguments(command, 6).u32();
    if (sensitivity > 9)
        return refused(KMS_SPRE_COMMAND_FAILED);
    state.settings.sensitivity = sensitivity;
    return acked();
}

bool within_limits(float start, float end) {
    // Half a step of slack: the host's floats need not be the module's exactly.
    const float slack = detection_zone_limits[2] / 2;
    return start >= detection_zone_limits[0] - slack && end <= detection_zone_limits[1] + slack &&
           start < end;
}

Replies set_detection_zone(FirmwareState& state, const Bytes& command) {
    CommandArguments arguments(command, 6);
    const float start = arguments.f32(), end = arguments.f32();
    if (!within_limits(start, end))
        return refused(KMS_SPRE_COMMAND_FAILED);
    state.settings.zone_start = start;
    state.settings.zone_end = end;
    return acked();
}

Replies get_detection_zone(FirmwareState& state, const Bytes&) {
    const ModuleSettings& settings = state.settings;
    return answered(
        emulator_packets::reply_floats(KMS_ID_DETECTION_ZONE, 0, {settings.zone_start, settings.zone_end}));
}

Replies get_detection_zone_limits(FirmwareState&, const Bytes&) {
    const std::vector<float> limits(detection_zone_limits, detection_zone_limits + 3);
    return answered(emulator_packets::reply_floats(KMS_ID_DETECTION_ZONE_LIMITS, 0, limits));
}

// Name and data come with their lengths, each counting a terminating 0 byte.
Replies set_parameter_file(FirmwareState& state, const Bytes& command) {
    CommandArguments arguments(command, 6);
    const uint32_t name_length = arguments.u32(), data_length = arguments.u32();
    const std::string name = arguments.text(name_length);
    const std::string data = arguments.text(data_length);
    if (name.empty())
        return refused(KMS_SPRE_COMMAND_FAILED);
    state.parameter_files[name] = data;
    return acked();
}

Replies get_parameter_file(FirmwareState& state, const Bytes& command) {
    CommandArguments arguments(command, 6);
    const uint32_t name_length = arguments.u32();
    auto found = state.parameter_files.find(arguments.text(name_length));
    if (found == state.parameter_files.end())
        return refused(KMS_SPRE_COMMAND_FAILED);
    const Bytes text(found->second.begin(), found->second.end());
    return answered(emulator_packets::reply(KMS_SPRD_STRING, KMS_ID_PROFILE_PARAMETERFILE, 0, text));
}

Replies set_led_control(FirmwareState& state, const Bytes& command) {
    CommandArguments arguments(command, 1);
    const uint8_t mode = arguments.u8(), intensity = arguments.u8();
    if (mode > KMID_LED_MODE_FULL || intensity > 100)
        return refused(KMS_SPRE_COMMAND_FAILED);
    state.settings.led_mode = mode;
    state.settings.led_intensity = intensity;
    return acked();
}

// Baseband (KMS_SACR_OUTPUTBASEBAND), pulse-Doppler (KMS_SACR_OUTPUT_PULSE_DOPPLER) and noise map
// (ID_NOISEMAP) take the output selectors; other features are only remembered.
Replies set_output_control(FirmwareState& state, const Bytes& command) {
    CommandArguments arguments(command, 2);
    const uint32_t feature = arguments.u32(), control = arguments.u32();
    ModuleSettings& settings = state.settings;
    if (feature == KMS_SACR_OUTPUTBASEBAND)
        settings.baseband_output = control;
    else if (feature == KMS_SACR_OUTPUT_PULSE_DOPPLER)
        settings.pulsedoppler_output = control;
    else if (feature == ID_NOISEMAP)
        settings.noisemap_output = control;
    else
        settings.other_outputs[feature] = control;
    return acked();
}

Replies set_noisemap_control(FirmwareState& state, const Bytes& command) {
    const uint32_t bits = CommandArguments(command, 2).u32();
    if (bits >
        (KMID_NOISEMAP_CONTROL_ENABLE | KMID_NOISEMAP_CONTROL_ADAPTIVE | KMID_NOISEMAP_CONTROL_INIT_ON_RESET))
        return refused(KMS_SPRE_COMMAND_FAILED);
    state.settings.noisemap_control = bits;
    return acked();
}

Replies get_noisemap_control(FirmwareState& state, const Bytes&) {
    return answered(emulator_packets::reply_words(0, {state.settings.noisemap_control}));
}

Replies set_iopin_control(FirmwareState& state, const Bytes& command) {
    CommandArguments arguments(command, 2);
    const uint32_t pin = arguments.u32(), setup = arguments.u32(), feature = arguments.u32();
    if (pin >= iopin_count || feature > KMID_IOPIN_FEATURE_LAST)
        return refused(KMS_SPRE_COMMAND_FAILED);
    std::array<uint32_t, 3>& entry = state.settings.iopins[pin];
    entry[0] = setup;
    entry[1] = feature;
    return acked();
}

Replies set_iopin_value(FirmwareState& state, const Bytes& command) {
    CommandArguments arguments(command, 2);
    const uint32_t pin = arguments.u32(), value = arguments.u32();
    if (pin >= iopin_count)
        return refused(KMS_SPRE_COMMAND_FAILED);
    state.settings.iopins[pin][2] = value;
    return acked();
}

Replies get_iopin_value(FirmwareState& state, const Bytes& command) {
    const uint32_t pin = CommandArguments(command, 2).u32();
    if (pin >= iopin_count)
        return refused(KMS_SPRE_COMMAND_FAILED);
    return answered(emulator_packets::reply_words(0, {state.settings.iopins[pin][2]}));
}

Replies just_ack(FirmwareState&, const Bytes&) {
    return acked();
}

} // namespace

// Baseband: count 0 switches it off (the host then sends no value), else the first value is the output type.
ModuleFirmware::Replies app_set_int(FirmwareState& state, const Bytes& command) {
    CommandArguments arguments(command, 2);
    const uint32_t id = arguments.u32(), count = arguments.u32();
    const uint32_t value = count > 0 ? arguments.u32() : 0;
    if (id == app_baseband)
        state.settings.baseband_output = value;
    else if (id == app_resp_output && count > 0)
        state.settings.resp_output = value;
    else
        return refused(KMS_SPRE_NOT_RECOGNIZED);
    return acked();
}

void install_application_commands(ModuleFirmware& firmware) {
    firmware.on({KMS_SPC_MOD_LOADAPP}, load_profile);
    firmware.on({KMS_SPC_DIR_COMMAND, KMS_SDC_GET_PROFILEID}, get_profileid);
    firmware.on({KMS_SPC_MOD_SETMODE}, set_sensor_mode);
    firmware.on(prefix_with_id(KMS_SPC_APPCOMMAND, KMS_SPCA_SET, KMS_ID_SENSITIVITY), set_sensitivity);
    firmware.on(prefix_with_id(KMS_SPC_APPCOMMAND, KMS_SPCA_SET, KMS_ID_DETECTION_ZONE), set_detection_zone);
    firmware.on(prefix_with_id(KMS_SPC_APPCOMMAND, KMS_SPCA_GET, KMS_ID_DETECTION_ZONE), get_detection_zone);
    firmware.on(prefix_with_id(KMS_SPC_APPCOMMAND, KMS_SPCA_GET, KMS_ID_DETECTION_ZONE_LIMITS),
                get_detection_zone_limits);
    firmware.on(prefix_with_id(KMS_SPC_APPCOMMAND, KMS_SPCA_SET, KMS_ID_PROFILE_PARAMETERFILE),
                set_parameter_file);
    firmware.on(prefix_with_id(KMS_SPC_APPCOMMAND, KMS_SPCA_GET, KMS_ID_PROFILE_PARAMETERFILE),
                get_parameter_file);
    firmware.on({KMS_SPC_MOD_SETLEDCONTROL}, set_led_control);
    firmware.on({KMS_SPC_OUTPUT, KMS_SPCO_SETCONTROL}, set_output_control);
    firmware.on({KMS_SPC_APPCOMMAND, KMS_SPCA_STORE_NOISEMAP}, just_ack);
    firmware.on({KMS_SPC_APPCOMMAND, KMS_SPCA_LOAD_NOISEMAP}, just_ack);
    firmware.on({KMS_SPC_MOD_NOISEMAP, KMS_SPCN_SETCONTROL}, set_noisemap_control);
    firmware.on({KMS_SPC_MOD_NOISEMAP, KMS_SPCN_GETCONTROL}, get_noisemap_control);
    firmware.on({KMS_SPC_IOPIN, KMS_SPCIOP_SETCONTROL}, set_iopin_control);
    firmware.on({KMS_SPC_IOPIN, KMS_SPCIOP_SETVALUE}, set_iopin_value);
    firmware.on({KMS_SPC_IOPIN, KMS_SPCIOP_GETVALUE}, get_iopin_value);
}
