// What the recorder tests share: a recorder logging into memory over a scratch directory, and ways to look at
// what it left on disk, always through the real reader.
#ifndef DEVICEBRIDGE_TESTS_DATA_RECORDER_FIXTURE_H
#define DEVICEBRIDGE_TESTS_DATA_RECORDER_FIXTURE_H

#include "DataReader.h"
#include "DataRecorder.h"
#include "RecordingWriter.h"
#include "link_log_capture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <dirent.h>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace recorder_test {

inline bool is_directory(const std::string& path) {
    struct stat info;
    return stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

inline bool exists(const std::string& path) {
    struct stat info;
    return stat(path.c_str(), &info) == 0;
}

// Names in a directory, sorted, without "." and "..".
inline std::vector<std::string> entries(const std::string& directory) {
    std::vector<std::string> names;
    if (DIR* dir = opendir(directory.c_str())) {
        while (dirent* entry = readdir(dir)) {
            const std::string name = entry->d_name;
            if (name != "." && name != "..")
                names.push_back(name);
        }
        closedir(dir);
    }
    std::sort(names.begin(), names.end());
    return names;
}

// Paths of the entries whose names contain `fragment`.
inline std::vector<std::string> find(const std::string& directory, const std::string& fragment) {
    std::vector<std::string> paths;
    for (const std::string& name : entries(directory)) {
        if (name.find(fragment) != std::string::npos)
            paths.push_back(directory + "/" + name);
    }
    return paths;
}

inline Bytes file_bytes(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

inline std::string file_text(const std::string& path) {
    const Bytes bytes = file_bytes(path);
    return std::string(bytes.begin(), bytes.end());
}

inline std::string text(const Bytes& bytes) {
    return std::string(bytes.begin(), bytes.end());
}

// Every record of the recording behind the meta file, chain included; empty if it doesn't open.
inline std::vector<Tervik::DataRecord> read_all(const std::string& meta_filename,
                                                uint32_t filter = 0xFFFFFFFF) {
    std::vector<Tervik::DataRecord> records;
    Tervik::DataReader reader;
    if (reader.set_filter(filter) != 0 || reader.open(meta_filename) != 0)
        return records;
    while (!reader.at_end()) {
        Tervik::DataRecord record = reader.read_record();
        if (!record.is_valid)
            break;
        records.push_back(record);
    }
    return records;
}

// The records that are data, not user headers or header lines of text files.
inline std::vector<Tervik::DataRecord> data_records(const std::vector<Tervik::DataRecord>& records) {
    std::vector<Tervik::DataRecord> data;
    for (const Tervik::DataRecord& record : records) {
        const bool header_line = record.data.size() >= 9 && text(record.data).compare(0, 9, "TimeStamp") == 0;
        if (!record.is_user_header && !header_line)
            data.push_back(record);
    }
    return data;
}

// The fields of a text record, timestamp first, the line end dropped.
inline std::vector<std::string> fields(const Bytes& record) {
    std::vector<std::string> result;
    std::string line = text(record);
    if (!line.empty() && line.back() == '\n')
        line.pop_back();
    size_t start = 0;
    for (size_t end; (end = line.find(';', start)) != std::string::npos; start = end + 1)
        result.push_back(line.substr(start, end - start));
    result.push_back(line.substr(start));
    return result;
}

class RecorderTest : public ::testing::Test {
protected:
    RecorderTest() : recorder(new Tervik::DataRecorder(log.logger())) {}

    // Stops everything and waits until every file is complete.
    void finish() { recorder.reset(); }

    // The one session directory below the scratch directory.
    std::string session_directory() const {
        const std::vector<std::string> sessions = find(scratch.path(), "tervik_recording_");
        EXPECT_EQ(1u, sessions.size());
        return sessions.empty() ? std::string() : sessions.front();
    }

    std::string meta_filename() const { return session_directory() + "/tervik_recording_meta.dat"; }

    Tervik::RecordingOptions options_with_id(const std::string& session_id) const {
        Tervik::RecordingOptions options;
        options.set_session_id(session_id);
        return options;
    }

    ScratchDirectory scratch;
    link_test::LogCapture log;
    std::unique_ptr<Tervik::DataRecorder> recorder;
};

} // namespace recorder_test

#endif
