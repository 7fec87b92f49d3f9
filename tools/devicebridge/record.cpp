// devicebridge record: a module's data to disk until Ctrl-C or a duration, with the library's recorder.
//
// Ctrl-C and SIGTERM are taken by the main thread alone (the link's and the recorder's threads are started
// with them blocked), so that an interrupt never cuts a system call of the library short: the main thread
// notices it, sets the module idle, and lets the recorder close every file before the program ends.
#include "DataRecorder.h"
#include "RadarInterface.h"
#include "RecordDecoder.h"
#include "Tool.h"
#include "UniqueLocked.h"

#include "protocol_identifiers.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <iostream>
#include <map>
#include <memory>
#include <mutex>

namespace tool {

namespace {

typedef std::chrono::steady_clock Clock;

const char* const progress_subscription = "devicebridge record progress";

struct Options {
    std::string address, directory, profile, types, session_id;
    double duration = 0.0;
    int64_t split_bytes = 0;
    int split_seconds = 0;
    int log_level = -1;
};

// What has arrived so far, as the module sent it; the recorder stores the same packets.
class Tally {
public:
    void packet(const Bytes& packet, Tervik::DataTypes recorded) {
        const Tervik::DataType type = type_of_packet(packet);
        if ((type & recorded) == 0)
            return;
        std::lock_guard<std::mutex> lock(mutex_);
        Count& count = counts_[type];
        ++count.records;
        count.bytes += packet.size();
    }
    void file_closed() {
        std::lock_guard<std::mutex> lock(mutex_);
        ++files_;
    }
    void meta_file(const std::string& name) {
        std::lock_guard<std::mutex> lock(mutex_);
        meta_files_.push_back(name);
    }
    std::vector<std::string> meta_files() const {
        std::lock_guard<std::mutex> lock(mutex_);
        return meta_files_;
    }
    std::string line(double seconds) const {
        std::lock_guard<std::mutex> lock(mutex_);
        uint64_t records = 0;
        std::string text;
        char part[160];
        for (const auto& each : counts_) {
            records += each.second.records;
            std::snprintf(part, sizeof part, "  %s %llu (%.1f kB)", type_name(each.first).c_str(),
                          static_cast<unsigned long long>(each.second.records), each.second.bytes / 1000.0);
            text += part;
        }
        std::snprintf(part, sizeof part, "%.1f s%s  files closed %u  %.1f records/s", seconds, text.c_str(),
                      files_, seconds > 0.0 ? records / seconds : 0.0);
        return part;
    }

private:
    struct Count {
        uint64_t records = 0, bytes = 0;
    };
    mutable std::mutex mutex_;
    std::map<Tervik::DataType, Count> counts_;
    unsigned files_ = 0;
    std::vector<std::string> meta_files_;
};

void check_directory(const std::string& directory) {
    struct stat status;
    if (stat(directory.c_str(), &status) != 0)
        throw Failure("directory " + directory + " can't be used: " + std::strerror(errno));
    if (!S_ISDIR(status.st_mode))
        throw Failure(directory + " is not a directory");
    if (access(directory.c_str(), W_OK | X_OK) != 0)
        throw Failure("directory " + directory + " is not writable: " + std::strerror(errno));
}

// The output switch of each binary type that a module sends only when asked to.
void enable_outputs(Tervik::LockedRadarInterfacePtr& radar, Tervik::DataTypes types) {
    using namespace Tervik;
    if ((types & BasebandIqDataType) && (types & BasebandApDataType))
        throw Failure("baseband_iq and baseband_ap can't be recorded at once: a module sends one of them");
    if ((types & PulseDopplerFloatDataType) && (types & PulseDopplerByteDataType))
        throw Failure("pulsedoppler_float and pulsedoppler_byte can't be recorded at once");
    if ((types & NoiseMapFloatDataType) && (types & NoiseMapByteDataType))
        throw Failure("noisemap_float and noisemap_byte can't be recorded at once");
    const struct {
        DataTypes type;
        uint32_t feature, control;
    } outputs[] = {
        {BasebandIqDataType, KMS_SACR_OUTPUTBASEBAND, KMS_SACR_ID_BASEBAND_OUTPUT_IQ},
        {BasebandApDataType, KMS_SACR_OUTPUTBASEBAND, KMS_SACR_ID_BASEBAND_OUTPUT_AMPLITUDE_PHASE},
        {PulseDopplerFloatDataType, KMS_SACR_OUTPUT_PULSE_DOPPLER, KMS_PULSEDOPPLER_AS_FLOAT},
        {PulseDopplerByteDataType, KMS_SACR_OUTPUT_PULSE_DOPPLER, KMS_PULSEDOPPLER_AS_BYTE},
        {NoiseMapFloatDataType, ID_NOISEMAP, KMS_PULSEDOPPLER_AS_FLOAT},
        {NoiseMapByteDataType, ID_NOISEMAP, KMS_PULSEDOPPLER_AS_BYTE},
    };
    for (const auto& output : outputs)
        if (types & output.type)
            radar->set_output_control(output.feature, output.control);
}

Tervik::RecordingOptions recording_options(const Options& options) {
    Tervik::RecordingOptions recording;
    if (!options.session_id.empty())
        recording.set_session_id(options.session_id);
    Tervik::PreferredSplitSize split;
    if (options.split_bytes > 0)
        split.set_byte_count(options.split_bytes);
    else if (options.split_seconds > 0)
        split.set_duration(options.split_seconds);
    recording.set_file_split_size(split);
    return recording;
}

// Shows progress on standard error until an interrupt or the duration; the seconds it took.
double wait_for_the_end(const Options& options, const Tally& tally, StopSignals& stop_signals,
                        bool* interrupted) {
    const bool terminal = isatty(STDERR_FILENO) != 0;
    const Clock::time_point start = Clock::now();
    const Clock::duration every = terminal ? std::chrono::milliseconds(200) : std::chrono::seconds(5);
    Clock::time_point next_line = start + every;
    for (;;) {
        if (stop_signals.wait(100)) {
            *interrupted = true;
            break;
        }
        const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
        if (options.duration > 0.0 && seconds >= options.duration)
            break;
        if (Clock::now() >= next_line) {
            std::cerr << (terminal ? "\r\033[K" : "") << tally.line(seconds) << (terminal ? "" : "\n")
                      << std::flush;
            next_line += every;
        }
    }
    std::cerr << (terminal ? "\r\033[K" : "") << std::flush;
    return std::chrono::duration<double>(Clock::now() - start).count();
}

int run(const Options& options) {
    const uint32_t profile = profile_by_name(options.profile);
    if (options.types.empty())
        throw Failure("--types names no data type");
    const Tervik::DataTypes types = types_by_list(options.types);
    check_directory(options.directory);

    StopSignals stop_signals;

    std::unique_ptr<Tervik::DeviceBridge> bridge = open_module(options.address, options.log_level);
    Tervik::LockedRadarInterfacePtr& radar = bridge->get_radar_interface();
    try {
        radar->ping();
    } catch (const std::exception& failure) {
        throw Failure("no module answers at " + options.address + ": " + one_line(failure.what()));
    }
    try {
        radar->load_profile(profile);
        enable_outputs(radar, types);
    } catch (const Failure&) {
        throw;
    } catch (const std::exception& failure) {
        throw Failure("the module refused the " + options.profile + " profile: " + one_line(failure.what()));
    }

    Tally tally;
    double seconds = 0.0;
    bool interrupted = false;
    radar->subscribe(progress_subscription, Bytes(), [&tally, types](Bytes packet) {
        tally.packet(packet, types);
        return true;
    });
    {
        Tervik::DataRecorder recorder(radar);
        recorder.subscribe_to_file_available(
            types, [&tally](Tervik::DataType, const std::string&) { tally.file_closed(); });
        recorder.subscribe_to_meta_file_available(
            [&tally](const std::string&, const std::string& name) { tally.meta_file(name); });
        if (recorder.start_recording(types, options.directory, recording_options(options)) != 0)
            throw Failure("the recorder refused to start in " + options.directory);
        try {
            radar->set_sensor_mode_run();
        } catch (const std::exception& failure) {
            throw Failure("the module refused to run: " + one_line(failure.what()));
        }
        seconds = wait_for_the_end(options, tally, stop_signals, &interrupted);
        try {
            radar->set_sensor_mode_idle();
        } catch (const std::exception& failure) {
            std::cerr << "devicebridge record: the module did not go idle: " << one_line(failure.what())
                      << "\n";
        }
        recorder.stop_recording(types);
    } // the recorder has stored every packet and closed every file
    radar->unsubscribe(progress_subscription);
    std::cerr << tally.line(seconds) << (interrupted ? "  (interrupted)" : "") << "\n";
    const std::vector<std::string> meta_files = tally.meta_files();
    if (meta_files.empty())
        throw Failure("no data of the chosen types arrived from the module: nothing was recorded");
    std::cout << meta_files.front() << std::endl;
    return 0;
}

} // namespace

Runner setup_record(CLI::App& subcommand) {
    auto options = std::make_shared<Options>();
    subcommand.add_option("DEVICE", options->address, "serial device, or tcp://HOST:PORT")->required();
    subcommand
        .add_option("DIR", options->directory, "existing directory that receives the session directory")
        ->required();
    subcommand.add_option("--profile", options->profile, "presence, respiration or sleep")->required();
    subcommand.add_option("--types", options->types, "comma separated data types to record")->required();
    subcommand.add_option("--duration", options->duration, "stop after this many seconds (default: Ctrl-C)")
        ->check(CLI::PositiveNumber);
    auto bytes =
        subcommand.add_option("--split-bytes", options->split_bytes, "start a new data file after N bytes")
            ->check(CLI::PositiveNumber);
    subcommand.add_option("--split-seconds", options->split_seconds, "start a new data file after S seconds")
        ->check(CLI::PositiveNumber)
        ->excludes(bytes);
    subcommand.add_option("--session-id", options->session_id, "the session's id (default: a new UUID)");
    add_log_level_option(subcommand, options->log_level);
    subcommand.footer(
        "Loads and runs the profile, switches on the outputs of the binary types, and records the "
        "chosen types until Ctrl-C or the duration. Progress goes to standard error: one line "
        "updated in place on a terminal, a line every 5 seconds otherwise. At the end the module "
        "is set idle, every file is closed and named, and the meta file's path is printed on "
        "standard output.");
    return [options] { return run(*options); };
}

} // namespace tool
