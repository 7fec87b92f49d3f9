// The firmware of an emulated module: everything that a module knows and keeps (its settings, the loaded
// profile and sensor mode, its registers and variables, its file system and parameter files) and the
// handlers of its command families, registered with the emulator's command table.
//
// The data streams follow the state after every command: the loaded profile's streams (presence, respiration
// or sleep readings) flow while the sensor mode is run; the outputs (baseband, pulse-Doppler, noise map)
// flow while they are enabled and the sensor mode is run or manual. A module starts in run mode with no
// profile; loading a profile leaves it idle until the host sets run; stop also forgets the profile.
//
// A module reset drops every setting and stops the streams; the file system, parameter files and system
// information survive it. The link stays as it is: the host closes and reopens its port (a pseudo-terminal
// stays in place, a TCP client is followed by the next).
//
// Thread-safe: a handler runs on the emulator's thread under the firmware's mutex; the public operations take
// the same mutex. The firmware calls into the emulator while holding it, never the other way round.
#ifndef DEVICEBRIDGE_TOOLS_MODULEFIRMWARE_H
#define DEVICEBRIDGE_TOOLS_MODULEFIRMWARE_H

#include "Bytes.h"
#include "ModuleFileSystem.h"
#include "SensorStreams.h"

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <vector>

class ModuleEmulator;

// What a module reset drops.
struct ModuleSettings {
    // Application.
    uint32_t profile_id = 0;
    uint8_t sensor_mode = 0x01; // KMS_SM_RUN
    uint32_t sensitivity = 5;
    float zone_start = 0.5f;
    float zone_end = 4.0f;
    uint8_t led_mode = 0x02; // KMID_LED_MODE_FULL
    uint8_t led_intensity = 100;
    uint32_t baseband_output = 0;     // KMS_SACR_ID_BASEBAND_OUTPUT_*
    uint32_t pulsedoppler_output = 0; // KMS_PULSEDOPPLER_*
    uint32_t noisemap_output = 0;     // KMS_PULSEDOPPLER_*
    std::map<uint32_t, uint32_t> other_outputs;
    uint32_t resp_output = 1;
    uint32_t noisemap_control = 0x03;                   // enabled, adaptive
    std::map<uint32_t, std::array<uint32_t, 3>> iopins; // setup, feature, value
    uint8_t debug_level = 0;

    // Radar chip driver.
    float fps = 17.0f;
    float frame_start = 0.4f;
    float frame_end = 5.0f;
    float frame_offset = 0.18f;
    uint8_t prf_div = 16;
    std::map<uint32_t, Bytes> chip_items; // the other driver settings, as sent
    std::array<uint8_t, 256> spi{};
    std::array<uint8_t, 256> pif{};
    std::array<uint8_t, 256> xif{};
    uint32_t normalized_frames = 0;

    // Older generation variables.
    std::map<uint32_t, uint32_t> g5_ints;
    std::map<uint32_t, uint32_t> g5_registers;
    std::map<uint32_t, float> g5_floats;
    std::map<uint32_t, int32_t> sys_config;
};

// What the handlers of the command families work on.
struct FirmwareState {
    ModuleSettings settings;
    ModuleFileSystem files;
    std::map<std::string, std::string> parameter_files;
    std::map<uint8_t, std::string> system_info;
    uint32_t baudrate = 115200;
    unsigned resets = 0;
};

class ModuleFirmware {
public:
    typedef std::vector<Bytes> Replies;
    // A handler of a command family: the state, the command's payload; returns the replies.
    typedef std::function<Replies(FirmwareState& state, const Bytes& command)> Command;

    // Registers the handlers of every command family with the emulator.
    explicit ModuleFirmware(ModuleEmulator& emulator);
    ModuleFirmware(const ModuleFirmware&) = delete;
    ModuleFirmware& operator=(const ModuleFirmware&) = delete;

    // Registers a handler; after it ran, the streams are brought in line with the state.
    void on(const Bytes& prefix, Command command);

    // ---- For users and tests: presetting and watching the module
    // Loads a profile and sets run, as a host would; false for a profile the module doesn't know.
    bool run_profile(uint32_t profile_id);
    // The rates of the profile's streams (5 per second unless set) and of the outputs (20 unless set).
    void set_stream_rates(double profile_hz, double output_hz);
    void set_system_info(uint8_t code, const std::string& text);
    // The application starts afresh, as after leaving the bootloader: settings dropped, streams stopped; the
    // file system, parameter files and system information stay.
    void restart();
    // Everything the firmware holds, copied under its lock.
    FirmwareState state() const;

    // The profiles that a module knows, and the streams that a profile's application sends.
    static bool known_profile(uint32_t profile_id);
    static std::vector<StreamKind> profile_streams(uint32_t profile_id);

private:
    void apply_streams_locked();
    std::set<StreamKind> wanted_streams_locked() const;

    ModuleEmulator& emulator_;
    mutable std::mutex mutex_;
    FirmwareState state_;
    std::set<StreamKind> managed_;
    double profile_hz_ = 5.0;
    double output_hz_ = 20.0;
};

// The command families, each in its own unit.
void install_system_commands(ModuleFirmware& firmware);
void install_application_commands(ModuleFirmware& firmware);
void install_chip_commands(ModuleFirmware& firmware);
void install_file_commands(ModuleFirmware& firmware);

// The application's "set int" command (90 71 id count values), which shares its two bytes with the file
// family's "get file data" and is told apart from it there.
ModuleFirmware::Replies app_set_int(FirmwareState& state, const Bytes& command);

// The range in which a detection zone may lie, and its step.
const float detection_zone_limits[3] = {0.4f, 9.4f, 0.1f};

// Short forms of the usual answers.
ModuleFirmware::Replies acked();
ModuleFirmware::Replies refused(uint32_t code);
ModuleFirmware::Replies answered(const Bytes& reply);

#endif
