// playback_demo: record a module's presence readings, then play them back as if the module were there.
//
//   playback_demo DEVICE SECONDS
//
// Records SECONDS seconds of presence readings from the module on DEVICE (a serial device such as
// /dev/ttyACM0) into a temporary directory, then plays the recording back through a DeviceBridge built on a
// DataPlayer and prints each reading with the time it arrived, at the pace it was recorded. The same
// read_message_* calls serve the module and the recording. Exits with 0 on success, 1 when the module or the
// recording fails, 2 for wrong arguments.
#include "DataPlayer.h"
#include "DataRecorder.h"
#include "DeviceBridge.h"
#include "presence_example.h"

#include <cstdio>
#include <filesystem>
#include <mutex>

using namespace presence_example;

namespace {

// Errors only: the library's own log lines would drown the table.
const int log_level = 0;

// A fresh directory under /tmp, removed with the recording in it when the program leaves the scope.
class TemporaryDirectory {
public:
    TemporaryDirectory() {
        char name[] = "/tmp/playback_demo_XXXXXX";
        if (!mkdtemp(name))
            throw std::runtime_error("cannot make a temporary directory");
        path = name;
    }
    ~TemporaryDirectory() {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
    std::string path;
};

// Records the module's presence readings for `seconds`; returns the recording's first meta file (a long
// recording is split over several), which the recorder announces once it is complete on disk.
std::string record(const std::string& device, unsigned int seconds, const std::string& directory) {
    Tervik::DeviceBridge bridge(device, log_level);
    Tervik::LockedRadarInterfacePtr& radar = bridge.get_radar_interface();
    std::mutex mutex;
    std::string meta_filename;
    {
        Tervik::DataRecorder recorder(radar);
        recorder.subscribe_to_meta_file_available([&](const std::string&, const std::string& filename) {
            std::lock_guard<std::mutex> lock(mutex);
            if (meta_filename.empty())
                meta_filename = filename;
        });
        if (recorder.start_recording(Tervik::PresenceSingleDataType, directory) != 0)
            throw std::runtime_error("the recording did not start");
        RunningProfile presence(radar);
        std::printf("recording %u s of presence readings from %s\n", seconds, device.c_str());
        std::this_thread::sleep_for(std::chrono::seconds(seconds));
    } // the module stops, then the recorder completes its files
    std::lock_guard<std::mutex> lock(mutex);
    if (meta_filename.empty())
        throw std::runtime_error("nothing was recorded");
    return meta_filename;
}

void play(const std::string& meta_filename) {
    Tervik::DataPlayer player(meta_filename);
    Tervik::DeviceBridge bridge(player, log_level);
    Tervik::LockedRadarInterfacePtr& radar = bridge.get_radar_interface();
    std::printf("\nplaying %.1f s back\n\n%9s  %8s  %-12s  %10s  %14s\n",
                double(player.get_duration()) / 1000, "arrival", "frame", "presence", "distance",
                "signal quality");
    const Clock::time_point start = Clock::now();
    player.play();
    // The last reading is due at the recording's end; a second more lets it through the link.
    const Clock::time_point deadline = start + std::chrono::milliseconds(player.get_duration() + 1000);
    unsigned int readings = 0;
    while (wait_for_reading(radar, deadline)) {
        const Tervik::PresenceSingleData reading = radar->read_message_presence_single();
        const double arrival = std::chrono::duration<double>(Clock::now() - start).count();
        std::printf("%7.3f s  %8u  %-12s  %8.2f m  %14u\n", arrival,
                    static_cast<unsigned>(reading.frame_counter), presence_state_name(reading.presence_state),
                    static_cast<double>(reading.distance), static_cast<unsigned>(reading.signal_quality));
        ++readings;
    }
    std::printf("\n%u readings played back\n", readings);
} // the bridge stops reading first, then the player closes the recording

int run(const std::string& device, unsigned int seconds) {
    TemporaryDirectory directory;
    play(record(device, seconds, directory.path));
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    return main_with_device_and_seconds(argc, argv, "playback_demo", run);
}
