// Writes recordings on disk the way the recorder does, for tests that need one without a module: data files,
// a meta file built from the real entry classes, splits, user headers, header versions 11, 12 and 13,
// finished or abandoned (state 0) meta files, and the link that chains one meta file to the next.
#ifndef DEVICEBRIDGE_TESTS_RECORDINGWRITER_H
#define DEVICEBRIDGE_TESTS_RECORDINGWRITER_H

#include "AbstractMetaEntry.h"
#include "Bytes.h"
#include "DataTypes.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

// A fresh directory under /tmp, removed with everything in it when the object goes.
class ScratchDirectory {
public:
    ScratchDirectory();
    ~ScratchDirectory();
    ScratchDirectory(const ScratchDirectory&) = delete;
    ScratchDirectory& operator=(const ScratchDirectory&) = delete;

    const std::string& path() const { return m_path; }
    // path() + "/" + relative, after making the directories on the way.
    std::string make_directory(const std::string& relative) const;

private:
    std::string m_path;
};

class RecordingWriter {
public:
    static const char* const MetaFilename; // "tervik_recording_meta.dat"

    // The directory must exist. created is the header's creation time in ms since 1970.
    RecordingWriter(const std::string& directory, const std::string& session_id, uint32_t version = 13,
                    int64_t created = 1500000000000);

    void set_profile_id(uint32_t profile_id) { m_profile_id = profile_id; }

    // Appends a record to the type's data file (opening one if none is open) with a WriteFile entry at
    // epoch_offset ms after creation. A user header's entry carries the complement of the type.
    void write(Tervik::DataType type, const Bytes& record, uint32_t epoch_offset);
    void write_user_header(Tervik::DataType type, const Bytes& header, uint32_t epoch_offset);
    // Closes the type's data file with a CloseFile entry; the next write opens a new file.
    void split(Tervik::DataType type, uint32_t epoch_offset);

    // Closes all data files and writes the meta file as a closed one, with its file map. Returns its path.
    std::string finish(uint32_t duration);
    // Writes the meta file as a crash leaves it: state 0, no file map, the ".writing" name. Returns its path.
    std::string abandon();

    // Chains a finished meta file to the next: appends next_name as a counted string and notes its offset.
    static void link(const std::string& meta_path, const std::string& next_name);

    // The paths of the data files, in the order of their first records.
    std::vector<std::string> data_files() const;

private:
    struct OpenDataFile {
        uint32_t filename_index;
        int64_t size;
    };
    void append_write(Tervik::DataType type, uint32_t entry_data_type, const Bytes& bytes,
                      uint32_t epoch_offset);
    void append_entry(const Tervik::AbstractMetaEntry& entry);
    Bytes header_bytes(uint8_t state, uint32_t duration, int64_t file_map_offset) const;
    std::string write_meta(const std::string& name, const Bytes& header, const Bytes& tail) const;

    std::string m_directory;
    std::string m_session_id;
    uint32_t m_version;
    int64_t m_created;
    uint32_t m_profile_id = 0;
    std::map<Tervik::DataType, OpenDataFile> m_open_files;
    std::vector<std::string> m_file_map;
    Bytes m_entries;
    int64_t m_total_bytes = 0;
    uint32_t m_data_types = 0;
    uint32_t m_max_record_size = 0;
    uint32_t m_last_epoch_offset = 0;
};

// A recording of the sample packets of some types (counters from 1), one round of the types every `gap` ms
// from `start`: each text type behind its header line, each binary one behind a user header; performance
// status records between them. `packets` is what playing it gives, in order, with the time of each.
struct SampleRecording {
    SampleRecording(const std::vector<Tervik::DataType>& types, int rounds, uint32_t gap, uint32_t start = 0,
                    const std::string& session_id = "5a3b1e00-play");

    ScratchDirectory scratch;
    std::string meta;
    std::vector<std::string> data_files;
    std::vector<Bytes> packets;
    std::vector<int64_t> times;
    uint32_t duration;
};

// Damage for tests: overwrite bytes at an offset, or cut a file to a size.
Bytes file_bytes(const std::string& path);
void patch_file(const std::string& path, long offset, const Bytes& bytes);
void truncate_file(const std::string& path, long size);
long file_size(const std::string& path);

#endif
