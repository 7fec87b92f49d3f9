// Recording throughput through DataRecorder::process to disk, next to a plain buffered write of the same
// record bytes, for baseband I/Q records of 1 KB (binary) and presence single records (text); and how long
// stop_recording takes to complete the files behind a backlog of 100000 queued records.
//
// One iteration of the throughput benchmarks is a whole recording: start, a batch of packets, and the
// recorder's destruction, which returns once every record is on disk and every file is closed.
#include "DataPacketToDisk.h"
#include "DataRecorder.h"
#include "Logger.h"

#include "bench_scratch.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

using namespace Tervik;

namespace {

const int batch = 20000;
const int backlog = 100000;
const uint32_t baseband_bins = 125; // 24 + 8 * 125 = 1024 bytes a record

// Errors only, and none are expected.
class QuietLogger : public Logger {
public:
    void set_log_level(int) override {}
    void error(const std::string& text) override { std::fprintf(stderr, "%s\n", text.c_str()); }
    void log(unsigned int, const std::string&) override {}
    void print_bytes(unsigned int, const Bytes&) override {}
};

void append_u32(Bytes& bytes, uint32_t value) {
    for (int i = 0; i < 4; ++i)
        bytes.push_back(static_cast<unsigned char>(value >> (8 * i)));
}

void append_f32(Bytes& bytes, float value) {
    uint32_t word;
    static_assert(sizeof(word) == sizeof(value), "float of 32 bits");
    std::memcpy(&word, &value, sizeof(word));
    append_u32(bytes, word);
}

Bytes baseband_iq_packet(uint32_t frame_counter) {
    Bytes packet = {0x50};
    append_u32(packet, 12);
    append_u32(packet, frame_counter);
    append_u32(packet, baseband_bins);
    for (float value : {0.0514f, 23.328e9f, 7.29e9f, 0.2f})
        append_f32(packet, value);
    for (uint32_t i = 0; i < 2 * baseband_bins; ++i)
        append_f32(packet, 0.001f * float(i + frame_counter));
    return packet;
}

Bytes presence_single_packet(uint32_t counter) {
    Bytes packet = {0x50};
    append_u32(packet, 0x723BFA1E);
    append_u32(packet, counter);
    append_u32(packet, 2);
    append_f32(packet, 1.25f + 0.01f * float(counter % 100));
    packet.push_back(200);
    append_u32(packet, 90);
    return packet;
}

std::vector<Bytes> packets(Bytes (*make)(uint32_t), int count) {
    std::vector<Bytes> result;
    for (int i = 0; i < count; ++i)
        result.push_back(make(static_cast<uint32_t>(i)));
    return result;
}

// The bytes that a recording of these packets puts into its data file.
std::vector<Bytes> records(DataType type, const std::vector<Bytes>& input) {
    std::vector<Bytes> result;
    bool matrix_started = false;
    for (const Bytes& packet : input)
        result.push_back(DataPacketToDisk::convert(type, packet, matrix_started).bytes);
    return result;
}

int64_t total_size(const std::vector<Bytes>& items) {
    int64_t size = 0;
    for (const Bytes& item : items)
        size += static_cast<int64_t>(item.size());
    return size;
}

void record_through_process(benchmark::State& state, DataType type, Bytes (*make)(uint32_t)) {
    const std::vector<Bytes> input = packets(make, batch);
    const int64_t record_bytes = total_size(records(type, input));
    QuietLogger logger;
    for (auto _ : state) {
        state.PauseTiming();
        std::unique_ptr<TemporaryDirectory> directory(new TemporaryDirectory);
        state.ResumeTiming();
        {
            DataRecorder recorder(logger);
            recorder.start_recording(type, directory->path);
            for (const Bytes& packet : input)
                recorder.process(type, packet);
        }
        state.PauseTiming();
        directory.reset();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * batch);
    state.SetBytesProcessed(state.iterations() * record_bytes);
}

void plain_buffered_write(benchmark::State& state, DataType type, Bytes (*make)(uint32_t)) {
    const std::vector<Bytes> data = records(type, packets(make, batch));
    for (auto _ : state) {
        state.PauseTiming();
        std::unique_ptr<TemporaryDirectory> directory(new TemporaryDirectory);
        state.ResumeTiming();
        FILE* file = std::fopen((directory->path + "/plain.dat").c_str(), "wb");
        for (const Bytes& record : data)
            std::fwrite(record.data(), 1, record.size(), file);
        std::fclose(file);
        state.PauseTiming();
        directory.reset();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * batch);
    state.SetBytesProcessed(state.iterations() * total_size(data));
}

void BM_Recorder_BasebandIq1K(benchmark::State& state) {
    record_through_process(state, BasebandIqDataType, baseband_iq_packet);
}
void BM_PlainWrite_BasebandIq1K(benchmark::State& state) {
    plain_buffered_write(state, BasebandIqDataType, baseband_iq_packet);
}
void BM_Recorder_PresenceSingleText(benchmark::State& state) {
    record_through_process(state, PresenceSingleDataType, presence_single_packet);
}
void BM_PlainWrite_PresenceSingleText(benchmark::State& state) {
    plain_buffered_write(state, PresenceSingleDataType, presence_single_packet);
}

// A gate that holds the recorder's thread inside a file callback while the backlog is queued.
class Gate {
public:
    void wait() {
        std::unique_lock<std::mutex> lock(mutex);
        held = true;
        changed.notify_all();
        changed.wait(lock, [this] { return open; });
    }
    void wait_until_held() {
        std::unique_lock<std::mutex> lock(mutex);
        changed.wait(lock, [this] { return held; });
    }
    void release() {
        std::lock_guard<std::mutex> lock(mutex);
        open = true;
        changed.notify_all();
    }

private:
    std::mutex mutex;
    std::condition_variable changed;
    bool held = false;
    bool open = false;
};

// From stop_recording to complete files, with 100000 baseband records queued behind a stalled thread.
void BM_Recorder_StopWithBacklogOf100000(benchmark::State& state) {
    const Bytes packet = baseband_iq_packet(1);
    QuietLogger logger;
    for (auto _ : state) {
        state.PauseTiming();
        std::unique_ptr<TemporaryDirectory> directory(new TemporaryDirectory);
        std::unique_ptr<DataRecorder> recorder(new DataRecorder(logger));
        Gate gate;
        recorder->subscribe_to_file_available(BasebandIqDataType,
                                              [&gate](DataType, const std::string&) { gate.wait(); });
        recorder->start_recording(BasebandIqDataType, directory->path);
        recorder->process(BasebandIqDataType, packet);
        // A new basename closes the file: the thread stops in the callback until the gate opens.
        recorder->set_basename_for_data_type(BasebandIqDataType, "backlog");
        gate.wait_until_held();
        for (int i = 0; i < backlog; ++i)
            recorder->process(BasebandIqDataType, packet);
        state.ResumeTiming();
        gate.release();
        recorder->stop_recording(BasebandIqDataType);
        recorder.reset();
        state.PauseTiming();
        directory.reset();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * backlog);
}

} // namespace

BENCHMARK(BM_Recorder_BasebandIq1K)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_PlainWrite_BasebandIq1K)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Recorder_PresenceSingleText)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_PlainWrite_PresenceSingleText)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Recorder_StopWithBacklogOf100000)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);
