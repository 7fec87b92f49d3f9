// presence_demo: who is in front of the sensor, for a few seconds.
//
//   presence_demo DEVICE SECONDS
//
// Opens the presence module on DEVICE (a serial device such as /dev/ttyACM0), prints what module it is,
// loads and starts the presence profile, prints one line per presence reading for SECONDS seconds, and stops
// the module again. Exits with 0 on success, 1 when the module fails, 2 for wrong arguments.
#include "DeviceBridge.h"
#include "RadarInterface.h"
#include "TervikException.h"
#include "UniqueLocked.h"
#include "protocol_identifiers.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <stdexcept>
#include <string>
#include <thread>

namespace {

typedef std::chrono::steady_clock Clock;

// Errors only: the library's own log lines would drown the table.
const int log_level = 0;

// Runs the presence profile for its own lifetime: however the scope is left, the module stops again.
class RunningProfile {
public:
    RunningProfile(Tervik::LockedRadarInterfacePtr& radar, uint32_t profile_id) : radar(radar) {
        radar->load_profile(profile_id);
        radar->set_sensor_mode(KMID_SM_RUN);
    }
    ~RunningProfile() {
        if (radar->set_sensor_mode_no_throw(KMID_SM_STOP) != 0)
            std::cerr << "presence_demo: the module did not stop\n";
    }

private:
    Tervik::LockedRadarInterfacePtr& radar;
};

void print_module(Tervik::LockedRadarInterfacePtr& radar) {
    std::cout << "firmware id:      " << radar->get_firmware_id() << "\n"
              << "firmware version: " << radar->get_firmware_version() << "\n"
              << "serial number:    " << radar->get_serial_number() << "\n\n";
}

const char* presence_state_name(uint32_t state) {
    switch (state) {
    case KMS_VAL_PRESENCE_PRESENCESTATE_NO_PRESENCE:
        return "no presence";
    case KMS_VAL_PRESENCE_PRESENCESTATE_PRESENCE:
        return "presence";
    case KMS_VAL_PRESENCE_PRESENCESTATE_INITIALIZING:
        return "initializing";
    default:
        return "unknown";
    }
}

// Reading a message blocks, holding the connection's lock, until one arrives; waiting for the count first
// keeps the program's own deadline when the module goes quiet.
bool wait_for_reading(Tervik::LockedRadarInterfacePtr& radar, Clock::time_point deadline) {
    while (radar->peek_message_presence_single() == 0) {
        if (Clock::now() >= deadline)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return true;
}

void print_readings(Tervik::LockedRadarInterfacePtr& radar, unsigned int seconds) {
    std::printf("%8s  %-12s  %10s  %9s  %14s\n", "frame", "presence", "distance", "direction",
                "signal quality");
    const Clock::time_point deadline = Clock::now() + std::chrono::seconds(seconds);
    unsigned int readings = 0;
    while (wait_for_reading(radar, deadline)) {
        const Tervik::PresenceSingleData reading = radar->read_message_presence_single();
        std::printf("%8u  %-12s  %8.2f m  %9u  %14u\n", static_cast<unsigned>(reading.frame_counter),
                    presence_state_name(reading.presence_state), static_cast<double>(reading.distance),
                    static_cast<unsigned>(reading.direction), static_cast<unsigned>(reading.signal_quality));
        ++readings;
    }
    std::printf("\n%u readings in %u s\n", readings, seconds);
}

int run(const std::string& device, unsigned int seconds) {
    Tervik::DeviceBridge bridge(device, log_level);
    Tervik::LockedRadarInterfacePtr& radar = bridge.get_radar_interface();
    if (radar->ping() != KMS_DEF_PONGVAL_READY) {
        std::cerr << "presence_demo: the module on " << device << " is not ready\n";
        return 1;
    }
    print_module(radar);
    RunningProfile presence(radar, KMS_ID_APP_PRESENCE_2);
    print_readings(radar, seconds);
    return 0;
} // the profile stops first, then the bridge closes the link

// The link's own errors end in a newline, the module's refusals don't.
std::string without_newline(std::string text) {
    while (!text.empty() && text.back() == '\n')
        text.pop_back();
    return text;
}

bool parse_seconds(const char* text, unsigned int* seconds) {
    char* end = nullptr;
    const unsigned long value = std::strtoul(text, &end, 10);
    if (end == text || *end != '\0' || text[0] == '-' || value == 0 || value > 3600)
        return false;
    *seconds = static_cast<unsigned int>(value);
    return true;
}

} // namespace

int main(int argc, char** argv) {
    unsigned int seconds = 0;
    if (argc != 3 || !parse_seconds(argv[2], &seconds)) {
        std::cerr << "usage: presence_demo DEVICE SECONDS   (SECONDS from 1 to 3600)\n";
        return 2;
    }
    try {
        return run(argv[1], seconds);
    } catch (const Tervik::TervikException& refusal) {
        std::cerr << "presence_demo: " << without_newline(refusal.what()) << " (code " << refusal.code
                  << ")\n";
    } catch (const std::runtime_error& failure) {
        std::cerr << "presence_demo: " << without_newline(failure.what()) << "\n";
    }
    return 1;
}
