// Playback through a DeviceBridge.
//
// BM_PresenceAtRecordedPace plays a 17 Hz presence recording at rate 1.0 into the bridge's queue and reports
// the processor time of the whole process as a share of one core, and how far each delivery is off the
// recorded schedule: (arrival - first arrival) - (record time - first record time), in milliseconds. The
// recording is made first, in real time, by the recorder from the module emulator's stream.
//
// BM_PlayAsFastAsPossible plays a recording of 100-byte baseband records at rate -1 through the whole stack;
// BM_ReadRecordsAlone reads the same recording with DataReader::read_record, which is the floor.
#include "AbstractLoggerIo.h"
#include "DataPlayer.h"
#include "DataReader.h"
#include "DataRecorder.h"
#include "DeviceBridge.h"
#include "ModuleEmulator.h"
#include "RadarInterface.h"
#include "UniqueLocked.h"

#include "../tests/support/ProcessCpu.h"
#include "bench_scratch.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <filesystem>
#include <mutex>
#include <thread>
#include <vector>

using namespace Tervik;

namespace {

typedef std::chrono::steady_clock Clock;

const int presence_seconds = 10;
const int baseband_records = 100000;

class DiscardedLines : public AbstractLoggerIo {
public:
    void log(const std::string&) override {}
};

std::string meta_file_below(const std::string& directory) {
    for (const auto& entry : std::filesystem::directory_iterator(directory))
        if (entry.path().filename().string().rfind("tervik_recording_", 0) == 0)
            return entry.path().string() + "/tervik_recording_meta.dat";
    throw std::runtime_error("no recording in " + directory);
}

const std::string& presence_recording() {
    static TemporaryDirectory directory;
    static std::string meta;
    if (meta.empty()) {
        ModuleEmulator emulator;
        DeviceBridge live(emulator.device_path(), 0, new DiscardedLines);
        {
            DataRecorder recorder(live.get_radar_interface());
            recorder.start_recording(PresenceSingleDataType, directory.path);
            emulator.start_stream(StreamKind::presence_single, 17.0);
            std::this_thread::sleep_for(std::chrono::seconds(presence_seconds));
        }
        meta = meta_file_below(directory.path);
    }
    return meta;
}

// A baseband I/Q packet whose record on disk, all but the 5 bytes of its head, is 100 bytes.
Bytes baseband_packet(uint32_t counter) {
    Bytes packet = {0x50, 12, 0, 0, 0};
    for (int shift = 0; shift < 32; shift += 8)
        packet.push_back(static_cast<unsigned char>(counter >> shift));
    packet.resize(105, 0x5A);
    return packet;
}

const std::string& baseband_recording() {
    static TemporaryDirectory directory;
    static std::string meta;
    if (meta.empty()) {
        {
            DataRecorder recorder;
            recorder.start_recording(BasebandIqDataType, directory.path);
            for (int i = 0; i < baseband_records; ++i)
                recorder.process(BasebandIqDataType, baseband_packet(uint32_t(i)));
        }
        meta = meta_file_below(directory.path);
    }
    return meta;
}

// Milliseconds from the start of the recording of each presence reading; the header line is not one.
std::vector<int64_t> record_times(const std::string& meta) {
    DataReader reader;
    reader.open(meta);
    std::vector<int64_t> times;
    for (DataRecord record; !reader.at_end() && (record = reader.read_record()).is_valid;) {
        if (record.data.size() >= 9 &&
            std::string(record.data.begin(), record.data.begin() + 9) == "TimeStamp")
            continue;
        times.push_back(record.epoch - reader.get_start_epoch());
    }
    return times;
}

// When each packet was handed to the bridge's subscriptions, in the same dispatch that queues it.
class Arrivals {
public:
    RadarInterface::Callback callback() {
        return [this](Bytes) {
            {
                std::lock_guard<std::mutex> lock(mutex);
                times.push_back(Clock::now());
            }
            changed.notify_all();
            return true;
        };
    }
    bool wait_for(size_t count, Clock::duration timeout) {
        std::unique_lock<std::mutex> lock(mutex);
        return changed.wait_for(lock, timeout, [&] { return times.size() >= count; });
    }
    std::vector<Clock::time_point> take() {
        std::lock_guard<std::mutex> lock(mutex);
        std::vector<Clock::time_point> result;
        result.swap(times);
        return result;
    }

private:
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<Clock::time_point> times;
};

double percentile(std::vector<double> values, double share) {
    std::sort(values.begin(), values.end());
    return values[std::min(values.size() - 1, size_t(share * double(values.size())))];
}

void BM_PresenceAtRecordedPace(benchmark::State& state) {
    const std::vector<int64_t> schedule = record_times(presence_recording());
    Arrivals arrivals; // outlives the bridge that calls it
    DataPlayer player(presence_recording());
    DeviceBridge bridge(player, 0, new DiscardedLines);
    bridge.get_radar_interface()->subscribe_to_presence_single("arrivals", arrivals.callback());
    std::vector<double> errors;
    double cpu_share = 0;
    for (auto _ : state) {
        player.stop();
        arrivals.take();
        player.play();
        cpu_share += cpu_share_over(std::chrono::milliseconds(schedule.back() - schedule.front()));
        if (!arrivals.wait_for(schedule.size(), std::chrono::seconds(30))) {
            state.SkipWithError("the recording did not play to its end");
            return;
        }
        const std::vector<Clock::time_point> times = arrivals.take();
        for (size_t i = 1; i < schedule.size(); ++i) {
            const double arrival = std::chrono::duration<double, std::milli>(times[i] - times[0]).count();
            errors.push_back(std::fabs(arrival - double(schedule[i] - schedule[0])));
        }
    }
    state.counters["packets"] = double(schedule.size());
    state.counters["cpu_%_of_one_core"] = 100.0 * cpu_share / double(state.iterations());
    state.counters["error_median_ms"] = percentile(errors, 0.5);
    state.counters["error_p99_ms"] = percentile(errors, 0.99);
    state.counters["error_max_ms"] = percentile(errors, 1.0);
}
BENCHMARK(BM_PresenceAtRecordedPace)->Iterations(2)->UseRealTime()->Unit(benchmark::kSecond);

void BM_PlayAsFastAsPossible(benchmark::State& state) {
    std::atomic<int> delivered{0};
    DataPlayer player(baseband_recording());
    player.set_playback_rate(-1);
    DeviceBridge bridge(player, 0, new DiscardedLines);
    bridge.get_radar_interface()->subscribe_to_baseband_iq("count", [&](Bytes) {
        ++delivered;
        return true;
    });
    for (auto _ : state) {
        player.stop();
        delivered = 0;
        player.play();
        while (delivered < baseband_records)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    state.SetItemsProcessed(state.iterations() * baseband_records);
}
BENCHMARK(BM_PlayAsFastAsPossible)->UseRealTime()->Unit(benchmark::kMillisecond);

void BM_ReadRecordsAlone(benchmark::State& state) {
    const std::string& meta = baseband_recording();
    int64_t records = 0;
    for (auto _ : state) {
        DataReader reader;
        reader.open(meta);
        while (!reader.at_end() && reader.read_record().is_valid)
            ++records;
    }
    state.SetItemsProcessed(records);
}
BENCHMARK(BM_ReadRecordsAlone)->UseRealTime()->Unit(benchmark::kMillisecond);

} // namespace
