// DataReader throughput against plain fread of the same data file, seeks on a recording of a million entries,
// and opening a chain of a hundred meta files. Recordings are written to a temporary directory at start.
#include "ByteHelpers.h"
#include "CloseFileMetaEntry.h"
#include "DataReader.h"
#include "DataTypes.h"
#include "FileMapMetaEntry.h"
#include "WriteFileMetaEntry.h"

#include "bench_scratch.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <sys/stat.h>

using namespace Tervik;

namespace {

const char* const SessionId = "bench-session";
const char* const MetaName = "tervik_recording_meta.dat";

TemporaryDirectory& scratch() {
    static TemporaryDirectory directory;
    return directory;
}

void append(Bytes& bytes, const Bytes& more) {
    bytes.insert(bytes.end(), more.begin(), more.end());
}

Bytes meta_header(uint32_t duration, int64_t bytes_recorded, int64_t file_map_offset,
                  uint32_t max_record_size) {
    Bytes header;
    append_32bits(header, 0xA0B1C2D3u);
    append_32bits(header, 13u);
    append_64bits(header, 1600000000000LL);
    header.push_back(1);
    append_32bits(header, duration);
    append_64bits(header, (long long)bytes_recorded);
    append_64bits(header, (long long)file_map_offset);
    append_32bits(header, unsigned(ByteDataType));
    append_64bits(header, -1LL);
    append_32bits(header, max_record_size);
    append_32bits(header, 0u);
    while (header.size() < 85) {
        append_32bits(header, 0xCDCDCDCDu);
    }
    AbstractMetaEntry::string_to_bytes(SessionId, &header);
    return header;
}

void write_file(const std::string& path, const Bytes& bytes) {
    FILE* file = fopen(path.c_str(), "wb");
    if (!file || fwrite(bytes.data(), 1, bytes.size(), file) != bytes.size()) {
        throw std::runtime_error("cannot write " + path);
    }
    fclose(file);
}

// One meta file over one data file of `count` records of `record_size` bytes, 10 ms apart give or take.
std::string write_recording(const std::string& directory, uint32_t record_size, int64_t count) {
    mkdir(directory.c_str(), 0777);
    const std::string data_name = "tervik_databyte_0.dat";
    Bytes entries;
    entries.reserve(size_t(count + 1) * AbstractMetaEntry::EntrySize);
    int64_t total = 0;
    uint32_t epoch = 0;
    for (int64_t i = 0; i < count; ++i) {
        epoch = uint32_t(10 * i + i % 3);
        total += record_size;
        append(entries,
               WriteFileMetaEntry(epoch, ByteDataType, record_size, total - record_size, total, 0).to_raw());
    }
    append(entries, CloseFileMetaEntry(epoch, ByteDataType, total, total, 0).to_raw());
    const uint32_t duration = epoch + 5;
    const int64_t file_map_offset = int64_t(meta_header(0, 0, 0, 0).size() + entries.size());
    Bytes meta = meta_header(duration, total, file_map_offset, record_size);
    append(meta, entries);
    append(meta, FileMapMetaEntry(duration, {data_name}).to_raw());
    write_file(directory + "/" + MetaName, meta);
    write_file(directory + "/" + data_name, Bytes(size_t(total), 0x5A));
    return directory + "/" + MetaName;
}

// Recordings are written once for all benchmarks that use them.
const std::string& recording(uint32_t record_size, int64_t count) {
    static std::map<std::pair<uint32_t, int64_t>, std::string> written;
    auto& path = written[std::make_pair(record_size, count)];
    if (path.empty()) {
        path =
            write_recording(scratch().path + "/r" + std::to_string(record_size) + "_" + std::to_string(count),
                            record_size, count);
    }
    return path;
}

int64_t records_for(uint32_t record_size) {
    return (32 << 20) / record_size;
}

void BM_DataReaderReadRecord(benchmark::State& state) {
    const uint32_t record_size = uint32_t(state.range(0));
    DataReader reader;
    reader.open(recording(record_size, records_for(record_size)));
    Bytes buffer(record_size);
    uint32_t count = 0;
    for (auto _ : state) {
        reader.seek_byte(0);
        while (reader.read_record(buffer.data(), record_size, &count, nullptr, nullptr, nullptr) == 0) {
            benchmark::DoNotOptimize(buffer.data());
        }
    }
    state.SetBytesProcessed(state.iterations() * reader.get_size());
}
BENCHMARK(BM_DataReaderReadRecord)->Arg(100)->Arg(4096)->Unit(benchmark::kMillisecond);

void BM_FreadSameDataFile(benchmark::State& state) {
    const uint32_t record_size = uint32_t(state.range(0));
    const std::string meta = recording(record_size, records_for(record_size));
    const std::string data = meta.substr(0, meta.rfind('/')) + "/tervik_databyte_0.dat";
    Bytes buffer(record_size);
    int64_t total = 0;
    for (auto _ : state) {
        FILE* file = fopen(data.c_str(), "rb");
        while (fread(buffer.data(), 1, record_size, file) == record_size) {
            benchmark::DoNotOptimize(buffer.data());
            total += record_size;
        }
        fclose(file);
    }
    state.SetBytesProcessed(total);
}
BENCHMARK(BM_FreadSameDataFile)->Arg(100)->Arg(4096)->Unit(benchmark::kMillisecond);

const int64_t MillionEntries = 1000000;

// Positions spread over the recording by a fixed pseudo-random walk, the same in every run.
template <typename Seek> void seek_benchmark(benchmark::State& state, Seek seek) {
    DataReader reader;
    reader.open(recording(8, MillionEntries));
    uint64_t random = 88172645463325252ull;
    for (auto _ : state) {
        random ^= random << 13;
        random ^= random >> 7;
        random ^= random << 17;
        if (seek(reader, random) != 0) {
            state.SkipWithError("seek failed");
            break;
        }
    }
}

void BM_SeekMsMillionEntries(benchmark::State& state) {
    seek_benchmark(state, [](DataReader& reader, uint64_t random) {
        return reader.seek_ms(int64_t(random % uint64_t(reader.get_duration())));
    });
}
BENCHMARK(BM_SeekMsMillionEntries)->Repetitions(5)->ReportAggregatesOnly(true)->Unit(benchmark::kMicrosecond);

void BM_SeekByteMillionEntries(benchmark::State& state) {
    seek_benchmark(state, [](DataReader& reader, uint64_t random) {
        return reader.seek_byte(int64_t(random % uint64_t(reader.get_size())));
    });
}
BENCHMARK(BM_SeekByteMillionEntries)
    ->Repetitions(5)
    ->ReportAggregatesOnly(true)
    ->Unit(benchmark::kMicrosecond);

// A session split over a hundred sub-directories, each linked to the next as the recorder links them.
std::string write_chain_of_hundred() {
    const std::string session = scratch().path + "/chain";
    mkdir(session.c_str(), 0777);
    for (int part = 0; part < 100; ++part) {
        const std::string meta = write_recording(session + "/part_" + std::to_string(part), 64, 100);
        if (part < 99) {
            Bytes link;
            AbstractMetaEntry::string_to_bytes("../part_" + std::to_string(part + 1) + "/" + MetaName, &link);
            FILE* file = fopen(meta.c_str(), "r+b");
            fseek(file, 0, SEEK_END);
            const long end = ftell(file);
            fwrite(link.data(), 1, link.size(), file);
            Bytes offset;
            append_64bits(offset, (long long)end);
            fseek(file, 41, SEEK_SET);
            fwrite(offset.data(), 1, offset.size(), file);
            fclose(file);
        }
    }
    return session + "/part_0/" + MetaName;
}

void BM_OpenChainOfHundred(benchmark::State& state) {
    static const std::string first = write_chain_of_hundred();
    for (auto _ : state) {
        DataReader reader;
        if (reader.open(first) != 0) {
            state.SkipWithError("open failed");
            break;
        }
        benchmark::DoNotOptimize(reader.get_duration());
    }
}
BENCHMARK(BM_OpenChainOfHundred)->Unit(benchmark::kMillisecond);

} // namespace
