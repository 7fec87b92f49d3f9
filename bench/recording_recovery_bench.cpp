// How long recover_recording takes for a crashed recording of one million entries: byte data records of 16
// bytes in ten files of 100000 records, nine closed before the crash and one open, as a killed recorder
// leaves them (meta file in state 0 without a file map, journal, ".writing" names). Each iteration recovers
// the recording for real; the crashed state is laid out again between iterations, outside the measured time.
#include "ByteHelpers.h"
#include "CloseFileMetaEntry.h"
#include "DataTypes.h"
#include "RecordingRecovery.h"
#include "WriteFileMetaEntry.h"

#include "bench_scratch.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <fstream>
#include <stdexcept>
#include <string>

using namespace Tervik;

namespace {

const int files = 10;
const int records_per_file = 100000;
const uint32_t record_size = 16;
const std::string session_id = "bench-recovery";

void write_file(const std::string& path, const Bytes& bytes) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(reinterpret_cast<const char*>(bytes.data()), std::streamsize(bytes.size()));
    if (!file)
        throw std::runtime_error("cannot write " + path);
}

std::string stem(int index) {
    return "tervik_databyte_20260101_00000" + std::to_string(index);
}

// The meta file and journal as the crash left them, and the data files under their crash-time names.
void lay_out_crash(const std::string& directory) {
    Bytes meta;
    append_32bits(meta, 0xA0B1C2D3u);
    append_32bits(meta, 13u);
    append_64bits(meta, 1700000000000LL);
    meta.push_back(0);
    append_32bits(meta, 0u);
    append_64bits(meta, 0LL);
    append_64bits(meta, -1LL);
    append_32bits(meta, 0u);
    append_64bits(meta, -1LL);
    append_32bits(meta, 0u);
    append_32bits(meta, 0u);
    for (int i = 0; i < 7; ++i)
        append_32bits(meta, 0xCDCDCDCDu);
    AbstractMetaEntry::string_to_bytes(session_id, &meta);
    meta.reserve(meta.size() + size_t(files) * (records_per_file + 1) * AbstractMetaEntry::EntrySize);
    Bytes journal, data(size_t(records_per_file) * record_size, 0x5A);
    int64_t total = 0;
    uint32_t epoch = 0;
    for (int file = 0; file < files; ++file) {
        const uint32_t index = uint32_t(file);
        for (int record = 0; record < records_per_file; ++record) {
            total += record_size;
            const Bytes raw = WriteFileMetaEntry(epoch++ / 10, ByteDataType, record_size,
                                                 int64_t(record) * record_size, total, index)
                                  .to_raw();
            meta.insert(meta.end(), raw.begin(), raw.end());
        }
        const bool closed = file + 1 < files;
        if (closed) {
            const Bytes raw =
                CloseFileMetaEntry(epoch / 10, ByteDataType, int64_t(data.size()), total, index).to_raw();
            meta.insert(meta.end(), raw.begin(), raw.end());
        }
        append_32bits(journal, index);
        AbstractMetaEntry::string_to_bytes(stem(file) + ".writing", &journal);
        write_file(directory + "/" + stem(file) + (closed ? ".dat" : ".writing"), data);
    }
    write_file(directory + "/tervik_recording_meta.writing", meta);
    write_file(directory + "/tervik_recording_meta_tmp.writing", journal);
    std::remove((directory + "/tervik_recording_meta.dat").c_str());
    std::remove((directory + "/" + stem(files - 1) + ".dat").c_str());
}

void BM_Recover_MillionEntries(benchmark::State& state) {
    TemporaryDirectory scratch;
    for (auto _ : state) {
        state.PauseTiming();
        lay_out_crash(scratch.path);
        state.ResumeTiming();
        const RecoveryReport report = recover_recording(scratch.path);
        if (report.status() != 0 || report.recovered.empty() ||
            report.recovered[0].records != uint64_t(files) * records_per_file)
            state.SkipWithError(report.summary().c_str());
    }
    state.SetItemsProcessed(state.iterations() * files * records_per_file);
}
BENCHMARK(BM_Recover_MillionEntries)->Unit(benchmark::kMillisecond)->Iterations(5)->UseRealTime();

} // namespace
