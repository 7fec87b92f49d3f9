// presence_demo: who is in front of the sensor, for a few seconds.
//
//   presence_demo DEVICE SECONDS
//
// Opens the presence module on DEVICE (a serial device such as /dev/ttyACM0), prints what module it is,
// loads and starts the presence profile, prints one line per presence reading for SECONDS seconds, and stops
// the module again. Exits with 0 on success, 1 when the module fails, 2 for wrong arguments.
#include "DeviceBridge.h"
#include "presence_example.h"

#include <cstdio>

using namespace presence_example;

namespace {

// Errors only: the library's own log lines would drown the table.
const int log_level = 0;

void print_module(Tervik::LockedRadarInterfacePtr& radar) {
    std::cout << "firmware id:      " << radar->get_firmware_id() << "\n"
              << "firmware version: " << radar->get_firmware_version() << "\n"
              << "serial number:    " << radar->get_serial_number() << "\n\n";
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

} // namespace

int main(int argc, char** argv) {
    return main_with_device_and_seconds(argc, argv, "presence_demo", run);
}
