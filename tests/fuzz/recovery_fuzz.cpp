// Damaged crashed recordings into recover_recording: each run lays out a recording as a killed recorder
// leaves it (a meta file in state 0 with a closed and two open data files, the journal, ".writing" names),
// with the entries, the journal and the length of a data file as the input says, then recovers it twice and
// reads what the first recovery made. Whatever the files hold, recovery must not crash, must make a meta file
// that the reader reads without tripping an assertion, and must have nothing left to do the second time.
#include "ByteHelpers.h"
#include "DataReader.h"
#include "RecordingRecovery.h"
#include "RecordingWriter.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>

using namespace Tervik;

namespace {

const char* const meta_name = "tervik_recording_meta.writing";
const char* const journal_name = "tervik_recording_meta_tmp.writing";

// Each file of the crashed recording by its name, and where the entries begin in the meta file.
struct Pristine {
    std::map<std::string, Bytes> files;
    size_t first_entry_offset;
};

void write_file(const std::string& path, const Bytes& bytes) {
    std::ofstream file(path, std::ios::binary);
    file.write(reinterpret_cast<const char*>(bytes.data()), std::streamsize(bytes.size()));
}

std::string writing_name(const std::string& final_name) {
    return final_name.substr(0, final_name.rfind('.')) + ".writing";
}

Pristine make_pristine() {
    ScratchDirectory scratch;
    RecordingWriter writer(scratch.path(), "fuzz-session");
    writer.write_user_header(SleepDataType, {'h', 'e', 'a', 'd'}, 0);
    for (int i = 0; i < 9; ++i) {
        writer.write(SleepDataType, Bytes(8 + i, static_cast<unsigned char>(i)), uint32_t(10 * i));
        if (i % 3 == 0)
            writer.write(FloatDataType, Bytes(20, static_cast<unsigned char>(i)), uint32_t(10 * i + 1));
        if (i == 4)
            writer.split(SleepDataType, uint32_t(10 * i));
    }
    Pristine pristine;
    pristine.files[meta_name] = file_bytes(writer.abandon());
    pristine.first_entry_offset = 85 + 4 + std::string("fuzz-session").size() + 1;
    Bytes journal;
    uint32_t index = 0;
    for (const std::string& path : writer.data_files()) {
        const std::string name = std::filesystem::path(path).filename().string();
        // The first sleep file was closed before the crash and has its final name; the others don't.
        pristine.files[index == 0 ? name : writing_name(name)] = file_bytes(path);
        append_32bits(journal, index++);
        AbstractMetaEntry::string_to_bytes(writing_name(name), &journal);
    }
    pristine.files[journal_name] = journal;
    return pristine;
}

// data[0]: bits 0-1 the data file to cut (3: none), bit 2 no journal; data[1]: how much of it stays, in
// 255ths; data[2..3]: how many of the following bytes replace the meta file's entries (0: the pristine ones
// stay); the bytes after those, if any, replace the journal.
void lay_out(const std::string& directory, const Pristine& pristine, const uint8_t* data, size_t size) {
    const size_t entries = std::min(size - 4, size_t(data[2]) << 8 | data[3]);
    int data_file = 0;
    for (const auto& entry : pristine.files) {
        Bytes bytes = entry.second;
        if (entry.first == meta_name && entries > 0) {
            bytes.resize(pristine.first_entry_offset);
            bytes.insert(bytes.end(), data + 4, data + 4 + entries);
        } else if (entry.first == journal_name) {
            if (data[0] & 4)
                continue;
            if (4 + entries < size)
                bytes.assign(data + 4 + entries, data + size);
        } else if (entry.first != meta_name && data_file++ == (data[0] & 3)) {
            bytes.resize(bytes.size() * data[1] / 255);
        }
        write_file(directory + "/" + entry.first, bytes);
    }
}

void read_everything(const std::string& meta) {
    DataReader reader;
    if (reader.open(meta) != 0)
        return;
    for (int i = 0; i < 200 && !reader.at_end(); ++i) {
        if (!reader.read_record().is_valid)
            break;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const bool quiet = [] {
        // The reader explains every refusal on standard output; thousands of runs a second don't need it.
        return freopen("/dev/null", "w", stdout) != nullptr;
    }();
    (void)quiet;
    static const Pristine pristine = make_pristine();
    static ScratchDirectory scratch;
    if (size < 4)
        return 0;
    const std::string directory = scratch.path() + "/run";
    std::filesystem::remove_all(directory);
    std::filesystem::create_directory(directory);
    lay_out(directory, pristine, data, size);
    recover_recording(directory, true);
    const RecoveryReport report = recover_recording(directory);
    for (const std::string& meta : report.recovered_meta_files)
        read_everything(meta);
    if (!recover_recording(directory).actions.empty())
        __builtin_trap();
    return 0;
}
