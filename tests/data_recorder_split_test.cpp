// Splitting a recording by time and over directories, the chain of meta files that results, the meta file
// announcements one step behind, and what a killed recording leaves on disk.
#include "data_recorder_fixture.h"

#include "DataRecorderPrivate.h"
#include "SamplePackets.h"

#include <atomic>
#include <chrono>
#include <csignal>
#include <ctime>
#include <poll.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using namespace Tervik;
using namespace recorder_test;

namespace {

const char* const meta_name = "/tervik_recording_meta.dat";

// A byte data packet whose record is 300 bytes, each byte the counter.
Bytes record_of_300(uint32_t counter) {
    return SamplePackets::byte_data_packet(counter, 0, Bytes(288, static_cast<unsigned char>(counter)));
}

RecordingOptions split_options(int64_t directory_bytes, int64_t file_bytes = -1) {
    RecordingOptions options;
    options.set_session_id("split");
    PreferredSplitSize directory_split;
    directory_split.set_byte_count(directory_bytes);
    options.set_directory_split_size(directory_split);
    PreferredSplitSize file_split;
    file_split.set_byte_count(file_bytes);
    options.set_file_split_size(file_split);
    return options;
}

class DirectorySplit : public RecorderTest {
protected:
    void record(uint32_t count) {
        ASSERT_EQ(0, recorder->subscribe_to_meta_file_available(
                         [this](const std::string& id, const std::string& name) {
                             EXPECT_EQ("split", id);
                             // What a reader sees at the moment of the announcement.
                             announced.push_back(name);
                             readable_at_announcement.push_back(read_all(name).size());
                         }));
        ASSERT_EQ(0, recorder->start_recording(ByteDataType, scratch.path(), split_options(1000)));
        for (uint32_t counter = 1; counter <= count; ++counter)
            recorder->process(ByteDataType, record_of_300(counter));
        finish();
    }

    std::vector<std::string> sub_directories() const {
        return find(session_directory(), "tervik_recording_");
    }

    std::vector<std::string> announced;
    std::vector<size_t> readable_at_announcement;
};

TEST_F(DirectorySplit, ChainedMetaFilesReadBackAsOneStream) {
    record(10);

    const std::vector<std::string> subs = sub_directories();
    ASSERT_EQ(3u, subs.size());
    for (size_t i = 0; i < subs.size(); ++i)
        EXPECT_EQ("_" + std::to_string(i), subs[i].substr(subs[i].size() - 2));
    // Only the parameter file would stay in the session directory; without a module there is none.
    EXPECT_EQ(subs.size(), entries(session_directory()).size());

    const std::vector<DataRecord> records = read_all(subs[0] + meta_name);
    ASSERT_EQ(10u, records.size());
    for (uint32_t i = 0; i < records.size(); ++i) {
        EXPECT_EQ(Bytes(288, static_cast<unsigned char>(i + 1)),
                  Bytes(records[i].data.begin() + 12, records[i].data.end()));
        if (i > 0) {
            EXPECT_GE(records[i].epoch, records[i - 1].epoch);
        }
    }
    DataReader reader;
    ASSERT_EQ(0, reader.open(subs[0] + meta_name));
    EXPECT_EQ(3000, reader.get_size());
    EXPECT_EQ("split", reader.get_session_id());
    // Opened in the middle, the chain reads on from there: records 5 to 10.
    const std::vector<DataRecord> from_middle = read_all(subs[1] + meta_name);
    ASSERT_EQ(6u, from_middle.size());
    EXPECT_EQ(5, from_middle[0].data[0]);
}

TEST_F(DirectorySplit, MetaFilesAreAnnouncedOnceLinkedToTheirSuccessor) {
    record(10);

    const std::vector<std::string> subs = sub_directories();
    ASSERT_EQ(3u, subs.size());
    // The first is announced when the second has closed and is linked to it; the last at the stop. The
    // one before the last is never announced.
    ASSERT_EQ(2u, announced.size());
    EXPECT_EQ(subs[0] + meta_name, announced[0]);
    EXPECT_EQ(8u, readable_at_announcement[0]);
    EXPECT_EQ(subs[2] + meta_name, announced[1]);
    EXPECT_EQ(2u, readable_at_announcement[1]);
}

TEST_F(DirectorySplit, StopRightAfterASplitAnnouncesTheLastMetaFileAndMakesNoEmptyDirectory) {
    record(8);

    const std::vector<std::string> subs = sub_directories();
    ASSERT_EQ(2u, subs.size());
    ASSERT_EQ(2u, announced.size());
    EXPECT_EQ(subs[0] + meta_name, announced[0]);
    EXPECT_EQ(subs[1] + meta_name, announced[1]);
    EXPECT_EQ(8u, read_all(subs[0] + meta_name).size());
}

TEST_F(DirectorySplit, FileSplitsByDuration) {
    RecordingOptions options;
    PreferredSplitSize split;
    split.set_duration(1);
    options.set_file_split_size(split);
    ASSERT_EQ(0, recorder->start_recording(FloatDataType, scratch.path(), options));
    recorder->process(FloatDataType, SamplePackets::sample_packet(FloatDataType, 1));
    recorder->process(FloatDataType, SamplePackets::sample_packet(FloatDataType, 2));
    std::this_thread::sleep_for(std::chrono::milliseconds(1100));
    recorder->process(FloatDataType, SamplePackets::sample_packet(FloatDataType, 3));
    finish();

    const std::vector<std::string> files = find(session_directory(), "tervik_datafloat_");
    ASSERT_EQ(2u, files.size());
    EXPECT_EQ(3u, read_all(meta_filename()).size());
}

TEST(DailySplit, AtTheHourItselfTheNextSplitIsADayAhead) {
    const std::time_t now = std::time(nullptr);
    std::tm local;
    localtime_r(&now, &local);
    const SystemTime next = next_split_time(local.tm_hour);
    const std::time_t next_seconds = std::chrono::system_clock::to_time_t(next);
    std::tm next_local;
    localtime_r(&next_seconds, &next_local);
    EXPECT_EQ(local.tm_hour, next_local.tm_hour);
    EXPECT_EQ(0, next_local.tm_min);
    EXPECT_EQ(0, next_local.tm_sec);
    EXPECT_GT(next_seconds - now, 22 * 3600);
    EXPECT_LE(next_seconds - now, 24 * 3600);

    const SystemTime in_an_hour = next_split_time((local.tm_hour + 1) % 24);
    EXPECT_LE(std::chrono::system_clock::to_time_t(in_an_hour) - now, 3600 + 3600); // daylight saving
}

// ---- a recording killed in the middle ---------------------------------------------------------------------

bool ends_with(const std::string& name, const std::string& suffix) {
    return name.size() >= suffix.size() &&
           name.compare(name.size() - suffix.size(), suffix.size(), suffix) == 0;
}

// The data file of a split recording below `directory` that is still being written, if any.
std::string find_open_data_file(const std::string& directory) {
    for (const std::string& session : find(directory, "tervik_recording_")) {
        for (const std::string& sub : find(session, "tervik_recording_")) {
            for (const std::string& file : find(sub, "tervik_databyte_")) {
                if (ends_with(file, ".writing"))
                    return file;
            }
        }
    }
    return std::string();
}

// In the child: a recording that splits files every two records and directories every four, stopped in its
// third directory with one file closed and one still open. Writes a byte to `ready` once it stands there.
void record_until_killed(const std::string& directory, int ready) {
    std::atomic<int> closed_files{0};
    std::atomic<bool> first_meta_announced{false};
    DataRecorder recorder;
    recorder.subscribe_to_file_available(ByteDataType, [&](DataType, const std::string&) { ++closed_files; });
    recorder.subscribe_to_meta_file_available(
        [&](const std::string&, const std::string&) { first_meta_announced = true; });
    if (recorder.start_recording(ByteDataType, directory, split_options(1000, 600)) != 0)
        _exit(2);
    for (uint32_t counter = 1; counter <= 10; ++counter)
        recorder.process(ByteDataType, record_of_300(counter));
    while (closed_files < 5 || !first_meta_announced)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    recorder.process(ByteDataType, record_of_300(11));
    for (int waited = 0; find_open_data_file(directory).empty() && waited < 5000; ++waited)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    const char byte = 1;
    if (write(ready, &byte, 1) != 1)
        _exit(3);
    for (;;)
        pause();
}

TEST(KilledRecording, LeavesWritingFilesAnUnreadableMetaFileAndReadableEarlierParts) {
    ScratchDirectory scratch;
    int pipe_ends[2];
    ASSERT_EQ(0, pipe(pipe_ends));
    const pid_t child = fork();
    ASSERT_NE(-1, child);
    if (child == 0) {
        close(pipe_ends[0]);
        record_until_killed(scratch.path(), pipe_ends[1]);
    }
    close(pipe_ends[1]);
    pollfd ready = {pipe_ends[0], POLLIN, 0};
    const bool stood_ready = poll(&ready, 1, 10000) == 1;
    char byte = 0;
    const bool got_byte = stood_ready && read(pipe_ends[0], &byte, 1) == 1;
    kill(child, SIGKILL);
    int status = 0;
    waitpid(child, &status, 0);
    close(pipe_ends[0]);
    ASSERT_TRUE(got_byte) << "the child never reached the point of the crash";

    const std::vector<std::string> sessions = find(scratch.path(), "tervik_recording_");
    ASSERT_EQ(1u, sessions.size());
    const std::vector<std::string> subs = find(sessions[0], "tervik_recording_");
    ASSERT_EQ(3u, subs.size());
    const std::string last = subs[2];
    EXPECT_EQ(1u, find(last, ".dat").size()) << "the closed data file keeps its final name";
    const std::vector<std::string> open_files = find(last, "tervik_databyte_");
    ASSERT_EQ(2u, open_files.size());
    EXPECT_TRUE(exists(last + "/tervik_recording_meta_tmp.writing"));
    ASSERT_TRUE(exists(last + "/tervik_recording_meta.writing"));
    EXPECT_FALSE(exists(last + meta_name));
    const Bytes meta = file_bytes(last + "/tervik_recording_meta.writing");
    ASSERT_GE(meta.size(), 37u);
    EXPECT_EQ(0, meta[16]) << "state";
    EXPECT_EQ(Bytes(8, 0xFF), Bytes(meta.begin() + 29, meta.begin() + 37)) << "file map offset";
    DataReader reader;
    EXPECT_EQ(1, reader.open(last + "/tervik_recording_meta.writing"));
    // The journal names the file that was being written.
    const std::string open_file = find_open_data_file(scratch.path());
    ASSERT_FALSE(open_file.empty());
    const std::string journal = file_text(last + "/tervik_recording_meta_tmp.writing");
    EXPECT_NE(std::string::npos, journal.find(open_file.substr(last.size() + 1)));

    // The first two directories were closed and chained before the crash.
    const std::vector<DataRecord> records = read_all(subs[0] + meta_name);
    ASSERT_EQ(8u, records.size());
    EXPECT_EQ(8u, records.back().data[0]);
}

} // namespace
