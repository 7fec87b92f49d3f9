// How many modules one process drives and records at once. Each module is a module emulator on a
// pseudo-terminal of its own, streaming presence and baseband I/Q of 1000 bins at 17 Hz each into a bridge of
// its own, whose DataRecorder writes both to disk, for 30 seconds. The argument is the number of modules.
//
// Counters, all taken over the streaming window:
// - sent: packets the emulators put on their lines; recorded: records read back from the recordings;
//   lost: sent - recorded (the goal is 0); dropped: packets that the emulators made but could not send, since
//   the host read so slowly that their transmit backlog overflowed (gaps in the recorded frame counters: a
//   loss too); shortfall: packets that 17 Hz would have given but the emulators did not send, dropped ones
//   included (the rest were never made: an emulator thread that falls a second behind starts afresh);
//   drain_s: how long after the streams stopped the last module's link had passed everything on, which is the
//   backlog the host carried at the end.
// - cpu_pct: CPU time per module in percent of one core, for the whole process, for the library's threads
//   alone (reader, dispatcher, writer, recorder) and for the emulators' threads alone.
// - threads and fds: per module, the library's share and the emulator's share.
// - rss_kb: resident memory per module at the end of the window, against the process before any module; its
//   emu_ share is what the emulators alone took before the bridges were built. Most of it is the bridge's own
//   queue of baseband packets, which nobody reads here: it keeps the newest 1000, about 8 MB at 1000 bins.
//   Memory freed by one run stays with the process, so run one argument per process (--benchmark_filter=/64/)
//   for these figures.
// The emulators share the process and its cores with the library, so the library's own share is the figure
// that a program driving real modules would see.
#include "AbstractLoggerIo.h"
#include "DataReader.h"
#include "DataRecorder.h"
#include "DeviceBridge.h"
#include "ModuleEmulator.h"
#include "RadarInterface.h"
#include "UniqueLocked.h"

#include "bench_scratch.h"

#include <benchmark/benchmark.h>

#include <dirent.h>
#include <glob.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace Tervik;

namespace {

using Clock = std::chrono::steady_clock;

const double rate_hz = 17.0;
const uint32_t bins = 1000;
const std::chrono::seconds window(30);
const DataTypes recorded_types = PresenceSingleDataType | BasebandIqDataType;
const uint32_t parameter_file_type = 58579340;

// Error lines only; the first few go to standard error, so that a failing run says why.
class ErrorLines : public AbstractLoggerIo {
public:
    void log(const std::string& line) override {
        if (++count <= 5)
            std::fprintf(stderr, "%s\n", line.c_str());
    }
    static std::atomic<int> count;
};
std::atomic<int> ErrorLines::count{0};

std::vector<std::string> entries(const std::string& directory) {
    std::vector<std::string> names;
    if (DIR* dir = opendir(directory.c_str())) {
        while (dirent* entry = readdir(dir))
            if (entry->d_name[0] != '.')
                names.push_back(entry->d_name);
        closedir(dir);
    }
    return names;
}

// CPU seconds of the process's threads so far, by thread name.
std::map<std::string, double> cpu_by_thread_name() {
    std::map<std::string, double> seconds;
    const double tick = static_cast<double>(sysconf(_SC_CLK_TCK));
    for (const std::string& task : entries("/proc/self/task")) {
        std::ifstream stat("/proc/self/task/" + task + "/stat");
        std::string line;
        if (!std::getline(stat, line))
            continue;
        // pid (comm) state ... : the name may hold spaces, so the fields are counted after its closing paren.
        const size_t open = line.find('('), close = line.rfind(')');
        std::istringstream rest(line.substr(close + 2));
        std::string field;
        unsigned long long user = 0, system = 0;
        for (int index = 3; index <= 15 && rest >> field; ++index) {
            if (index == 14)
                user = std::stoull(field);
            if (index == 15)
                system = std::stoull(field);
        }
        seconds[line.substr(open + 1, close - open - 1)] += static_cast<double>(user + system) / tick;
    }
    return seconds;
}

double total(const std::map<std::string, double>& seconds) {
    double sum = 0;
    for (const auto& entry : seconds)
        sum += entry.second;
    return sum;
}

// CPU seconds of the whole process so far. Exact, where a thread's own figures are sampled at clock ticks and
// come out short for threads that run in short bursts: those only split this total.
double process_cpu_seconds() {
    rusage usage;
    getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval& time) { return double(time.tv_sec) + double(time.tv_usec) / 1e6; };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

double resident_kb() {
    std::ifstream status("/proc/self/status");
    std::string key;
    double value = 0;
    while (status >> key) {
        if (key == "VmRSS:") {
            status >> value;
            return value;
        }
        status.ignore(1 << 16, '\n');
    }
    return 0;
}

double open_descriptors() {
    return static_cast<double>(entries("/proc/self/fd").size());
}
double threads() {
    return static_cast<double>(entries("/proc/self/task").size());
}

// Every module brings a pseudo-terminal's two ends, a wake-up descriptor and its open data and meta files.
void raise_descriptor_limit() {
    rlimit limit;
    if (getrlimit(RLIMIT_NOFILE, &limit) == 0 && limit.rlim_cur < limit.rlim_max) {
        limit.rlim_cur = limit.rlim_max;
        setrlimit(RLIMIT_NOFILE, &limit);
    }
}

// A text data file begins with a record that names its columns.
bool is_header_line(const Bytes& record) {
    static const std::string start = "TimeStamp;";
    return record.size() >= start.size() && std::equal(start.begin(), start.end(), record.begin());
}

// The frame counter of a data record: the first field of a baseband record, the second column of a text row.
long counter_of(const DataRecord& record) {
    if (record.data_type == BasebandIqDataType && record.data.size() >= 4)
        return long(record.data[0]) | long(record.data[1]) << 8 | long(record.data[2]) << 16 |
               long(record.data[3]) << 24;
    const std::string row(record.data.begin(), record.data.end());
    return std::strtol(row.c_str() + row.find(';') + 1, nullptr, 10);
}

struct Readback {
    long records = 0;
    long gaps = 0; // counters missing between recorded ones: packets the module dropped unsent
};

// The data records of one recording, by reading it back.
Readback read_back(const std::string& directory) {
    Readback result;
    std::map<uint32_t, long> last_counter;
    glob_t found;
    if (glob((directory + "/tervik_recording_*/tervik_recording_meta.dat").c_str(), 0, nullptr, &found) ==
        0) {
        for (size_t i = 0; i < found.gl_pathc; ++i) {
            DataReader reader;
            if (reader.open(found.gl_pathv[i]) != 0)
                continue;
            for (DataRecord record = reader.read_record(); record.is_valid; record = reader.read_record()) {
                if (record.is_user_header || is_header_line(record.data))
                    continue;
                ++result.records;
                const long counter = counter_of(record);
                if (last_counter.count(record.data_type) && counter > last_counter[record.data_type] + 1)
                    result.gaps += counter - last_counter[record.data_type] - 1;
                last_counter[record.data_type] = counter;
            }
        }
    }
    globfree(&found);
    return result;
}

struct Module {
    explicit Module(const std::string& directory) : directory(directory) { emulator.set_stream_bins(bins); }
    void connect() {
        bridge.reset(new DeviceBridge(emulator.device_path(), 0, new ErrorLines));
        // The final ping waits behind every packet still in the dispatcher's queue.
        bridge->set_default_timeout(60);
        // The recorder fetches the module's parameter file at the start of a session.
        bridge->get_radar_interface()->set_file(parameter_file_type, 0, Bytes(2000, 'p'));
        mkdir(directory.c_str(), 0700);
        recorder.reset(new DataRecorder(bridge->get_radar_interface()));
        if (recorder->start_recording(recorded_types, directory) != 0)
            throw std::runtime_error("start_recording failed");
    }
    void start_streams() {
        started = Clock::now();
        emulator.start_stream(StreamKind::presence_single, rate_hz);
        emulator.start_stream(StreamKind::baseband_iq, rate_hz);
    }
    void stop_streams() {
        emulator.stop_streams();
        const double seconds = std::chrono::duration<double>(Clock::now() - started).count();
        nominal = 2 * (1 + std::floor(rate_hz * seconds)); // each stream sends its first packet at once
    }
    // Once the ping's reply is through, so are the stream packets sent before it.
    void wait_for_the_link() {
        bridge->get_radar_interface()->ping();
        sent = static_cast<long>(emulator.packets_streamed());
    }
    // The recorder's destruction stores everything it was handed.
    void finish_recording() {
        recorder.reset();
        const Readback readback = read_back(directory);
        recorded = readback.records;
        dropped = readback.gaps;
    }

    std::string directory;
    ModuleEmulator emulator;
    std::unique_ptr<DeviceBridge> bridge;
    std::unique_ptr<DataRecorder> recorder;
    Clock::time_point started;
    double nominal = 0;
    long sent = 0;
    long recorded = 0;
    long dropped = 0;
};

void BM_ModulesStreamingIntoRecorders(benchmark::State& state) {
    raise_descriptor_limit();
    const int count = static_cast<int>(state.range(0));
    for (auto _ : state) {
        TemporaryDirectory scratch;
        const double rss_before = resident_kb(), fds_before = open_descriptors(), threads_before = threads();
        std::vector<std::unique_ptr<Module>> modules;
        for (int i = 0; i < count; ++i)
            modules.emplace_back(new Module(scratch.path + "/module_" + std::to_string(i)));
        const double rss_emulators = resident_kb(), fds_emulators = open_descriptors(),
                     threads_emulators = threads();
        for (auto& module : modules)
            module->connect();
        const double threads_connected = threads();

        // Modules are not in step with one another: their streams start spread over one period.
        const auto spread = std::chrono::duration<double>(1.0 / rate_hz / count);
        const auto cpu_start = cpu_by_thread_name();
        const double process_cpu_start = process_cpu_seconds();
        const auto window_start = Clock::now();
        for (auto& module : modules) {
            module->start_streams();
            std::this_thread::sleep_for(spread);
        }
        std::this_thread::sleep_until(window_start + window);
        const auto cpu_end = cpu_by_thread_name();
        const double process_cpu = process_cpu_seconds() - process_cpu_start;
        const double elapsed = std::chrono::duration<double>(Clock::now() - window_start).count();
        const double rss_end = resident_kb(), fds_end = open_descriptors();

        for (auto& module : modules)
            module->stop_streams();
        const auto stopped = Clock::now();
        for (auto& module : modules)
            module->wait_for_the_link();
        const double drain = std::chrono::duration<double>(Clock::now() - stopped).count();
        double nominal = 0;
        long sent = 0, recorded = 0, dropped = 0;
        for (auto& module : modules) {
            module->finish_recording();
            nominal += module->nominal;
            sent += module->sent;
            recorded += module->recorded;
            dropped += module->dropped;
        }

        const double sampled = total(cpu_end) - total(cpu_start);
        const double emulator_share = (cpu_end.at("emulator") - cpu_start.at("emulator")) / sampled;
        double library_share = 0;
        for (const char* name : {"reader", "dispatcher", "writer", "recorder"})
            library_share += (cpu_end.at(name) - cpu_start.at(name)) / sampled;
        const double core_seconds = elapsed * count / 100;

        state.counters["sent"] = static_cast<double>(sent);
        state.counters["recorded"] = static_cast<double>(recorded);
        state.counters["lost"] = static_cast<double>(sent - recorded);
        state.counters["dropped"] = static_cast<double>(dropped);
        state.counters["shortfall"] = nominal - static_cast<double>(sent);
        state.counters["drain_s"] = drain;
        state.counters["cpu_pct"] = process_cpu / core_seconds;
        state.counters["lib_cpu_pct"] = process_cpu * library_share / core_seconds;
        state.counters["emu_cpu_pct"] = process_cpu * emulator_share / core_seconds;
        state.counters["lib_threads"] = (threads_connected - threads_emulators) / count;
        state.counters["emu_threads"] = (threads_emulators - threads_before) / count;
        state.counters["lib_fds"] = (fds_end - fds_emulators) / count;
        state.counters["emu_fds"] = (fds_emulators - fds_before) / count;
        state.counters["rss_kb"] = (rss_end - rss_before) / count;
        state.counters["emu_rss_kb"] = (rss_emulators - rss_before) / count;
        state.counters["error_lines"] = ErrorLines::count.exchange(0);
    }
}
BENCHMARK(BM_ModulesStreamingIntoRecorders)
    ->Arg(64)
    ->Arg(128)
    ->Arg(256)
    ->Arg(384)
    ->Arg(512)
    ->Iterations(1)
    ->UseRealTime()
    ->Unit(benchmark::kSecond);

} // namespace
