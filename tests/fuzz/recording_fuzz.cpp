// Damaged recordings into the meta file reader and the data reader: each run writes a small valid recording
// (two chained meta files in sub-directories, user headers, a split), then overwrites bytes of its files or
// cuts them short as the input says, and runs open, full reads, filters, peeks and seeks. Whatever the files
// hold, nothing may read outside a buffer, crash or loop for ever.
#include "DataReader.h"
#include "RecordingMetaFile.h"
#include "RecordingWriter.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

using namespace Tervik;

namespace {

struct Recording {
    std::string first_meta;
    std::vector<std::string> files;
    std::vector<Bytes> pristine;
};

Bytes read_file(const std::string& path) {
    Bytes bytes(size_t(std::max(0L, file_size(path))));
    FILE* file = fopen(path.c_str(), "rb");
    if (file) {
        bytes.resize(fread(bytes.data(), 1, bytes.size(), file));
        fclose(file);
    }
    return bytes;
}

Recording write_recording(const ScratchDirectory& scratch, const std::string& name, uint32_t version) {
    Recording recording;
    std::string previous;
    for (int part = 0; part < 2; ++part) {
        const std::string sub = "part_" + std::to_string(part);
        const std::string directory = scratch.make_directory(name + "/" + sub);
        RecordingWriter writer(directory, "fuzz-session", version, 1000 * part);
        writer.write_user_header(SleepDataType, {'h', 'e', 'a', 'd'}, 0);
        for (int i = 0; i < 12; ++i) {
            writer.write(SleepDataType, Bytes(8 + i, static_cast<unsigned char>(i)), uint32_t(10 * i));
            if (i % 3 == 0) {
                writer.write(FloatDataType, Bytes(20, static_cast<unsigned char>(i)), uint32_t(10 * i + 1));
            }
            if (i == 6) {
                writer.split(SleepDataType, uint32_t(10 * i));
            }
        }
        const std::string meta = writer.finish(120);
        if (!previous.empty()) {
            RecordingWriter::link(previous, "../" + sub + "/" + RecordingWriter::MetaFilename);
        }
        previous = meta;
        recording.files.push_back(meta);
        recording.files.push_back(directory + "/tervik_sleep_0.csv");
        recording.files.push_back(directory + "/tervik_sleep_2.csv");
        recording.files.push_back(directory + "/tervik_datafloat_1.dat");
    }
    recording.first_meta = recording.files.front();
    for (const std::string& path : recording.files) {
        recording.pristine.push_back(read_file(path));
    }
    return recording;
}

// Puts back the bytes of the last run's damage in place: truncating and rewriting files anew makes some file
// systems flush them, which would slow each run down to the disk's pace.
void restore(const Recording& recording) {
    for (size_t i = 0; i < recording.files.size(); ++i) {
        const long size = long(recording.pristine[i].size());
        if (file_size(recording.files[i]) != size) {
            truncate_file(recording.files[i], size);
        }
        patch_file(recording.files[i], 0, recording.pristine[i]);
    }
}

// One recording for each header version, written once and kept for all runs.
const Recording& recording_of_version(uint32_t version) {
    static ScratchDirectory scratch;
    static std::vector<Recording> recordings;
    while (recordings.size() < 3) {
        const std::string name = "v" + std::to_string(11 + recordings.size());
        recordings.push_back(write_recording(scratch, name, uint32_t(11 + recordings.size())));
    }
    return recordings[version - 11];
}

// Each 4 bytes of input: which file, a 16-bit offset, and the byte to write there; a file selector with its
// top bit set cuts the file to that offset instead.
void damage(const Recording& recording, const uint8_t* data, size_t size) {
    for (size_t i = 0; i + 4 <= size; i += 4) {
        const std::string& path = recording.files[(data[i] & 0x7F) % recording.files.size()];
        const long offset = long(data[i + 1]) << 8 | data[i + 2];
        const long length = file_size(path);
        if (length <= 0) {
            continue;
        }
        if (data[i] & 0x80) {
            truncate_file(path, offset % (length + 1));
        } else {
            patch_file(path, offset % length, Bytes(1, data[i + 3]));
        }
    }
}

// Reading goes on behind a damaged record, but a reader that fails again and again has nothing more to give.
void read_everything(DataReader& reader) {
    int failures = 0;
    for (int i = 0; i < 200 && failures < 3 && !reader.at_end(); ++i) {
        reader.peek_record();
        failures = reader.read_record().is_valid ? 0 : failures + 1;
    }
}

void exercise_reader(const std::string& meta, uint32_t filter, int64_t ms, int64_t byte) {
    DataReader reader;
    reader.set_filter(filter);
    if (reader.open(meta) != 0) {
        return;
    }
    read_everything(reader);
    reader.seek_ms(ms);
    read_everything(reader);
    reader.seek_byte(byte);
    read_everything(reader);
    reader.seek_ms(reader.get_duration());
    read_everything(reader);
}

void exercise_meta_file(const std::string& meta, uint32_t filter, uint32_t ms) {
    RecordingMetaFile file(meta);
    if (!file.is_open()) {
        return;
    }
    file.set_filter(filter);
    uint8_t buffer[64];
    for (int i = 0; i < 200 && !file.at_end(); ++i) {
        file.read_record(buffer, sizeof(buffer), nullptr, nullptr);
    }
    file.seek_ms(ms);
    file.seek_byte(file.header().bytes_recorded / 2);
    file.read_record(buffer, sizeof(buffer), nullptr, nullptr);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const bool quiet = [] {
        // The readers explain every refusal on standard output; thousands of runs a second don't need it.
        return freopen("/dev/null", "w", stdout) != nullptr;
    }();
    (void)quiet;
    if (size < 4) {
        return 0;
    }
    const uint32_t version = 11 + data[0] % 3;
    const uint32_t filters[] = {0xFFFFFFFF, SleepDataType, FloatDataType, StringDataType};
    const uint32_t filter = filters[data[1] % 4];
    const int64_t ms = int64_t(data[2]) * 2;
    const int64_t byte = int64_t(data[3]) * 3;
    const Recording& recording = recording_of_version(version);
    restore(recording);
    damage(recording, data + 4, size - 4);
    exercise_meta_file(recording.first_meta, filter, uint32_t(ms));
    exercise_reader(recording.first_meta, filter, ms, byte);
    return 0;
}
