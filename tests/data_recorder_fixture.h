// What the recorder tests share: a recorder logging into memory over a scratch directory, and ways to look at
// what it left on disk, always through the real reader.
#ifndef DEVICEBRIDGE_TESTS_DATA_RECORDER_FIXTURE_H
#define DEVICEBRIDGE_TESTS_DATA_RECORDER_FIXTURE_H

#include "DataReader.h"
#include "DataRecorder.h"
#include "RadarTestLink.h"
#include "RecordingWriter.h"
#include "SamplePackets.h"
#include "link_log_capture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace recorder_test {

using std::filesystem::exists;

// Paths of the entries of a directory whose names contain `fragment`, sorted; none if it can't be read.
inline std::vector<std::string> find(const std::string& directory, const std::string& fragment = "") {
    std::vector<std::string> paths;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(directory, error)) {
        if (entry.path().filename().string().find(fragment) != std::string::npos)
            paths.push_back(entry.path().string());
    }
    std::sort(paths.begin(), paths.end());
    return paths;
}

inline std::string text(const Bytes& bytes) {
    return std::string(bytes.begin(), bytes.end());
}

// A byte data packet whose record is 300 bytes, all but its head the counter.
inline Bytes record_of_300(uint32_t counter) {
    return SamplePackets::data(0x10, counter, 0, Bytes(288, static_cast<unsigned char>(counter)));
}

// Every record of the recording behind the meta file, chain included; empty if it doesn't open.
inline std::vector<Tervik::DataRecord> read_all(const std::string& meta_filename,
                                                uint32_t filter = 0xFFFFFFFF) {
    std::vector<Tervik::DataRecord> records;
    Tervik::DataReader reader;
    if (reader.set_filter(filter) != 0 || reader.open(meta_filename) != 0)
        return records;
    for (Tervik::DataRecord record; !reader.at_end() && (record = reader.read_record()).is_valid;)
        records.push_back(record);
    return records;
}

// The records that are data, not user headers or header lines of text files.
inline std::vector<Tervik::DataRecord> data_records(const std::vector<Tervik::DataRecord>& records) {
    std::vector<Tervik::DataRecord> data;
    for (const Tervik::DataRecord& record : records) {
        if (!record.is_user_header && text(record.data).compare(0, 9, "TimeStamp") != 0)
            data.push_back(record);
    }
    return data;
}

// The counter of a text record: the field after its time stamp.
inline long counter_of(const Bytes& record) {
    const std::string line = text(record);
    return std::stol(line.substr(line.find(';') + 1));
}

// Options with the session id and byte counts to split files and directories at (-1: no split).
inline Tervik::RecordingOptions options(const std::string& session_id, int64_t file_bytes = -1,
                                        int64_t directory_bytes = -1) {
    Tervik::RecordingOptions options;
    options.set_session_id(session_id);
    Tervik::PreferredSplitSize file_split, directory_split;
    file_split.set_byte_count(file_bytes);
    directory_split.set_byte_count(directory_bytes);
    options.set_file_split_size(file_split);
    options.set_directory_split_size(directory_split);
    return options;
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

    // Hands the recorder the sample packets of the type with these counters.
    void process(Tervik::DataType type, uint32_t first, uint32_t last) {
        for (uint32_t counter = first; counter <= last; ++counter)
            recorder->process(type, SamplePackets::sample_packet(type, counter));
    }

    ScratchDirectory scratch;
    link_test::LogCapture log;
    std::unique_ptr<Tervik::DataRecorder> recorder;
};

} // namespace recorder_test

#endif
