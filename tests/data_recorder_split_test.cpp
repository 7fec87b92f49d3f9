// Splitting a recording by time and over directories, the chain of meta files that results, the meta file
// announcements one step behind, and what a killed recording leaves on disk.
#include "data_recorder_fixture.h"

#include "DataRecorderPrivate.h"

#include <atomic>
#include <csignal>
#include <ctime>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace Tervik;
using namespace recorder_test;

namespace {

const char* const meta_name = "/tervik_recording_meta.dat";

class DirectorySplit : public RecorderTest {
protected:
    // Records of 300 bytes into directories split at 1000 bytes: four records each.
    std::vector<std::string> record(uint32_t count) {
        EXPECT_EQ(0, recorder->subscribe_to_meta_file_available(
                         [this](const std::string& id, const std::string& name) {
                             EXPECT_EQ("split", id);
                             announced.push_back(name);
                             readable_at_announcement.push_back(read_all(name).size());
                         }));
        EXPECT_EQ(0, recorder->start_recording(ByteDataType, scratch.path(), options("split", -1, 1000)));
        for (uint32_t counter = 1; counter <= count; ++counter)
            recorder->process(ByteDataType, record_of_300(counter));
        finish();
        return find(session_directory(), "tervik_recording_");
    }

    std::vector<std::string> announced;
    std::vector<size_t> readable_at_announcement;
};

TEST_F(DirectorySplit, ChainedMetaFilesReadBackAsOneStreamAndAreAnnouncedOnceLinked) {
    const std::vector<std::string> subs = record(10);
    ASSERT_EQ(3u, subs.size());
    for (size_t i = 0; i < subs.size(); ++i)
        EXPECT_EQ("_" + std::to_string(i), subs[i].substr(subs[i].size() - 2));
    // Only the parameter file would stay in the session directory; without a module there is none.
    EXPECT_EQ(subs.size(), find(session_directory()).size());

    const std::vector<DataRecord> records = read_all(subs[0] + meta_name);
    ASSERT_EQ(10u, records.size());
    for (uint32_t i = 0; i < records.size(); ++i) {
        EXPECT_EQ(Bytes(288, static_cast<unsigned char>(i + 1)),
                  Bytes(records[i].data.begin() + 12, records[i].data.end()));
        EXPECT_GE(records[i].epoch, records[i > 0 ? i - 1 : 0].epoch);
    }
    DataReader reader;
    ASSERT_EQ(0, reader.open(subs[0] + meta_name));
    EXPECT_EQ(3000, reader.get_size());
    EXPECT_EQ("split", reader.get_session_id());
    // Opened in the middle, the chain reads on from there: records 5 to 10.
    const std::vector<DataRecord> from_middle = read_all(subs[1] + meta_name);
    ASSERT_EQ(6u, from_middle.size());
    EXPECT_EQ(5, from_middle[0].data[0]);

    // The first is announced once the second has closed and is linked to it, the last at the stop; the one
    // before the last never is.
    ASSERT_EQ(2u, announced.size());
    EXPECT_EQ(subs[0] + meta_name, announced[0]);
    EXPECT_EQ(8u, readable_at_announcement[0]);
    EXPECT_EQ(subs[2] + meta_name, announced[1]);
    EXPECT_EQ(2u, readable_at_announcement[1]);
}

TEST_F(DirectorySplit, StopRightAfterASplitAnnouncesTheLastMetaFileAndMakesNoEmptyDirectory) {
    const std::vector<std::string> subs = record(8);
    ASSERT_EQ(2u, subs.size());
    EXPECT_EQ((std::vector<std::string>{subs[0] + meta_name, subs[1] + meta_name}), announced);
    EXPECT_EQ(8u, read_all(subs[0] + meta_name).size());
}

// Packets go on every 100 ms until a second file opens: never sooner than a second after the first packet.
TEST_F(DirectorySplit, FileSplitsByDuration) {
    RecordingOptions by_duration;
    PreferredSplitSize one_second;
    one_second.set_duration(1);
    by_duration.set_file_split_size(one_second);
    ASSERT_EQ(0, recorder->start_recording(FloatDataType, scratch.path(), by_duration));
    const auto start = std::chrono::steady_clock::now();
    uint32_t sent = 0;
    while (log.count("open new file for data type:Float data") < 2 &&
           std::chrono::steady_clock::now() - start < std::chrono::seconds(10)) {
        process(FloatDataType, sent + 1, sent + 1);
        ++sent;
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    const auto elapsed = std::chrono::steady_clock::now() - start;
    finish();

    EXPECT_GE(elapsed, std::chrono::seconds(1));
    EXPECT_EQ(2u, find(session_directory(), "tervik_datafloat_").size());
    EXPECT_EQ(sent, read_all(meta_filename()).size());
}

// The test reads the clock the code reads, and takes everything again if the hour turned meanwhile.
TEST(DailySplit, AtTheHourItselfTheNextSplitIsADayAhead) {
    using std::chrono::system_clock;
    const auto local_time = [](system_clock::time_point when) {
        const std::time_t seconds = system_clock::to_time_t(when);
        std::tm local;
        localtime_r(&seconds, &local);
        return local;
    };
    std::time_t now;
    std::tm local;
    SystemTime at_this_hour, in_an_hour;
    do {
        const system_clock::time_point taken = system_clock::now();
        now = system_clock::to_time_t(taken);
        local = local_time(taken);
        at_this_hour = next_split_time(local.tm_hour);
        in_an_hour = next_split_time((local.tm_hour + 1) % 24);
    } while (local_time(system_clock::now()).tm_hour != local.tm_hour);
    const std::time_t next_seconds = system_clock::to_time_t(at_this_hour);
    const std::tm next = local_time(at_this_hour);
    EXPECT_EQ(local.tm_hour, next.tm_hour);
    EXPECT_EQ(0, next.tm_min);
    EXPECT_EQ(0, next.tm_sec);
    EXPECT_GT(next_seconds - now, 22 * 3600);
    EXPECT_LE(next_seconds - now, 24 * 3600);
    EXPECT_LE(system_clock::to_time_t(in_an_hour) - now, 3600 + 3600); // daylight saving
}

// ---- a recording killed in the middle ---------------------------------------------------------------------

// The data file of a split recording below `directory` that is still being written, if any.
std::string find_open_data_file(const std::string& directory) {
    for (const std::string& session : find(directory, "tervik_recording_")) {
        for (const std::string& sub : find(session, "tervik_recording_")) {
            for (const std::string& file : find(sub, "tervik_databyte_")) {
                if (file.find(".writing") != std::string::npos)
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
    if (recorder.start_recording(ByteDataType, directory, options("split", 600, 1000)) != 0)
        _exit(2);
    for (uint32_t counter = 1; counter <= 10; ++counter)
        recorder.process(ByteDataType, record_of_300(counter));
    if (!eventually([&] { return closed_files >= 5 && first_meta_announced; }))
        _exit(3);
    recorder.process(ByteDataType, record_of_300(11));
    const char byte = 1;
    if (!eventually([&] { return !find_open_data_file(directory).empty(); }) || write(ready, &byte, 1) != 1)
        _exit(4);
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
    char byte = 0;
    const bool got_byte = poll(&ready, 1, 30000) == 1 && read(pipe_ends[0], &byte, 1) == 1;
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    close(pipe_ends[0]);
    ASSERT_TRUE(got_byte) << "the child never reached the point of the crash";

    const std::vector<std::string> sessions = find(scratch.path(), "tervik_recording_");
    ASSERT_EQ(1u, sessions.size());
    const std::vector<std::string> subs = find(sessions[0], "tervik_recording_");
    ASSERT_EQ(3u, subs.size());
    const std::string last = subs[2];
    EXPECT_EQ(1u, find(last, ".dat").size()) << "the closed data file keeps its final name";
    EXPECT_EQ(2u, find(last, "tervik_databyte_").size());
    EXPECT_TRUE(exists(last + "/tervik_recording_meta_tmp.writing"));
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
    const std::string journal = text(file_bytes(last + "/tervik_recording_meta_tmp.writing"));
    EXPECT_NE(std::string::npos, journal.find(open_file.substr(last.size() + 1)));

    // The first two directories were closed and chained before the crash.
    const std::vector<DataRecord> records = read_all(subs[0] + meta_name);
    ASSERT_EQ(8u, records.size());
    EXPECT_EQ(8u, records.back().data[0]);
}

} // namespace
