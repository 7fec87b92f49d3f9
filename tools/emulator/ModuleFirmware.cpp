#include "ModuleFirmware.h"

#include "ModuleEmulator.h"
#include "ModulePackets.h"
#include "protocol_identifiers.h"

#include <stdexcept>

namespace {

const StreamKind all_streams[] = {StreamKind::presence_single,
                                  StreamKind::presence_movinglist,
                                  StreamKind::respiration_legacy,
                                  StreamKind::sleep,
                                  StreamKind::respiration_movinglist,
                                  StreamKind::respiration_detectionlist,
                                  StreamKind::baseband_iq,
                                  StreamKind::baseband_ap,
                                  StreamKind::pulsedoppler_float,
                                  StreamKind::pulsedoppler_byte,
                                  StreamKind::noisemap_float,
                                  StreamKind::noisemap_byte};

bool is_profile_stream(StreamKind kind) {
    return kind < StreamKind::baseband_iq;
}

// The stream of an output selector: KMS_PULSEDOPPLER_AS_FLOAT or _AS_BYTE (the baseband selectors IQ and
// amplitude/phase have the same values); anything else is off.
void add_output(std::set<StreamKind>& streams, uint32_t selector, StreamKind as_float, StreamKind as_byte) {
    if (selector == KMS_PULSEDOPPLER_AS_FLOAT)
        streams.insert(as_float);
    else if (selector == KMS_PULSEDOPPLER_AS_BYTE)
        streams.insert(as_byte);
}

} // namespace

ModuleFirmware::Replies acked() {
    return {emulator_packets::ack()};
}

ModuleFirmware::Replies refused(uint32_t code) {
    return {emulator_packets::error(code)};
}

ModuleFirmware::Replies answered(const Bytes& reply) {
    return {reply};
}

ModuleFirmware::ModuleFirmware(ModuleEmulator& emulator) : emulator_(emulator) {
    install_system_commands(*this);
    install_application_commands(*this);
    install_chip_commands(*this);
    install_file_commands(*this);
}

void ModuleFirmware::on(const Bytes& prefix, Command command) {
    emulator_.set_handler(prefix, [this, command](const Bytes& payload) {
        std::lock_guard<std::mutex> lock(mutex_);
        Replies replies = command(state_, payload);
        apply_streams_locked();
        return replies;
    });
}

bool ModuleFirmware::known_profile(uint32_t profile_id) {
    switch (profile_id) {
    case KMS_ID_APP_PRESENCE:
    case KMS_ID_APP_PRESENCE_2:
    case KMS_ID_APP_SLEEP:
    case KMS_ID_APP_RESPIRATION_2:
    case KMS_ID_APP_RESP:
    case KMS_ID_APP_RESPIRATION_3:
    case KMS_ID_APP_RADAR:
    case KMS_ID_APP_DECIM:
        return true;
    }
    return false;
}

std::vector<StreamKind> ModuleFirmware::profile_streams(uint32_t profile_id) {
    switch (profile_id) {
    case KMS_ID_APP_PRESENCE:
    case KMS_ID_APP_PRESENCE_2:
        return {StreamKind::presence_single, StreamKind::presence_movinglist};
    case KMS_ID_APP_SLEEP:
    case KMS_ID_APP_RESPIRATION_2:
        return {StreamKind::sleep, StreamKind::respiration_movinglist, StreamKind::respiration_detectionlist};
    case KMS_ID_APP_RESP:
    case KMS_ID_APP_RESPIRATION_3:
        return {StreamKind::respiration_legacy, StreamKind::respiration_movinglist,
                StreamKind::respiration_detectionlist};
    }
    // The raw radar and decimation profiles send only what their outputs ask for.
    return {};
}

std::set<StreamKind> ModuleFirmware::wanted_streams_locked() const {
    const ModuleSettings& settings = state_.settings;
    std::set<StreamKind> wanted;
    if (settings.sensor_mode == KMS_SM_RUN)
        for (StreamKind kind : profile_streams(settings.profile_id))
            wanted.insert(kind);
    if (settings.sensor_mode == KMS_SM_RUN || settings.sensor_mode == KMS_SM_MANUAL) {
        add_output(wanted, settings.baseband_output, StreamKind::baseband_iq, StreamKind::baseband_ap);
        add_output(wanted, settings.pulsedoppler_output, StreamKind::pulsedoppler_float,
                   StreamKind::pulsedoppler_byte);
        add_output(wanted, settings.noisemap_output, StreamKind::noisemap_float, StreamKind::noisemap_byte);
    }
    return wanted;
}

void ModuleFirmware::apply_streams_locked() {
    const std::set<StreamKind> wanted = wanted_streams_locked();
    for (StreamKind kind : all_streams) {
        const bool want = wanted.count(kind) > 0, have = managed_.count(kind) > 0;
        if (want && !have)
            emulator_.start_stream(kind, is_profile_stream(kind) ? profile_hz_ : output_hz_);
        else if (!want && have)
            emulator_.stop_stream(kind);
    }
    managed_ = wanted;
}

bool ModuleFirmware::run_profile(uint32_t profile_id) {
    if (!known_profile(profile_id))
        return false;
    std::lock_guard<std::mutex> lock(mutex_);
    state_.settings.profile_id = profile_id;
    state_.settings.sensor_mode = KMS_SM_RUN;
    apply_streams_locked();
    return true;
}

void ModuleFirmware::set_stream_rates(double profile_hz, double output_hz) {
    if (!(profile_hz > 0.0) || !(output_hz > 0.0))
        throw std::invalid_argument("stream rate must be positive");
    std::lock_guard<std::mutex> lock(mutex_);
    profile_hz_ = profile_hz;
    output_hz_ = output_hz;
    // Re-times the streams that flow now.
    for (StreamKind kind : managed_)
        emulator_.start_stream(kind, is_profile_stream(kind) ? profile_hz_ : output_hz_);
}

void ModuleFirmware::set_system_info(uint8_t code, const std::string& text) {
    std::lock_guard<std::mutex> lock(mutex_);
    state_.system_info[code] = text;
}

void ModuleFirmware::restart() {
    std::lock_guard<std::mutex> lock(mutex_);
    state_.settings = ModuleSettings();
    apply_streams_locked();
}

FirmwareState ModuleFirmware::state() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return state_;
}
