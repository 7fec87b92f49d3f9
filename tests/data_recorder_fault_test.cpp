// Recording onto a disk that fills up, or into a session directory that is removed under the recorder. A
// child process records through the public classes (a file size limit is its alone); the parent reads back
// what is left.
#include "data_recorder_fixture.h"

#include <atomic>
#include <csignal>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace Tervik;
using namespace recorder_test;
using link_test::eventually;

namespace {

// Runs body in a child process; true if it returned true. The caller has no threads of its own, so that the
// child may start some, also under the thread sanitizer.
template <typename Body> bool in_child(Body body) {
    const pid_t child = fork();
    if (child == 0)
        _exit(body() ? 0 : 1);
    int status = 0;
    return child > 0 && waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

// Records byte data into files of four records and counts the files it closes.
struct ChildRecorder {
    ChildRecorder(const std::string& directory, const std::string& session_id) : recorder(log.logger()) {
        recorder.subscribe_to_file_available(ByteDataType,
                                             [this](DataType, const std::string&) { ++closed; });
        started = recorder.start_recording(ByteDataType, directory, options(session_id, 1200)) == 0;
    }
    void feed(uint32_t first, uint32_t last) {
        for (uint32_t counter = first; counter <= last; ++counter)
            recorder.process(ByteDataType, record_of_300(counter));
    }
    bool wait_for_closed_files(int count) {
        return started && eventually([&] { return closed == count; });
    }
    link_test::LogCapture log;
    std::atomic<int> closed{0};
    DataRecorder recorder;
    bool started = false;
};

std::vector<int> counters(const std::string& session_directory) {
    std::vector<int> numbers;
    for (const DataRecord& record : read_all(session_directory + "/tervik_recording_meta.dat"))
        numbers.push_back(record.data[0]);
    return numbers;
}

std::vector<int> numbers_from(std::vector<std::pair<int, int>> ranges) {
    std::vector<int> numbers;
    for (const std::pair<int, int>& range : ranges) {
        for (int number = range.first; number <= range.second; ++number)
            numbers.push_back(number);
    }
    return numbers;
}

TEST(RecordingFault, FullDiskLosesWhatItCannotHoldAndRecordingGoesOnWhenSpaceIsBack) {
    ScratchDirectory scratch;
    ASSERT_TRUE(in_child([&] {
        signal(SIGXFSZ, SIG_IGN);
        ChildRecorder child(scratch.path(), "full");
        child.feed(1, 8);
        if (!child.wait_for_closed_files(2))
            return false;
        // Full just short of the meta file's end: the next data file holds one record and part of another,
        // the meta file takes nothing more.
        const std::string meta = find(find(scratch.path(), "tervik_recording_")[0], "meta.writing")[0];
        rlimit space;
        getrlimit(RLIMIT_FSIZE, &space);
        const rlimit full = {rlim_t(file_size(meta) - 1), space.rlim_max};
        setrlimit(RLIMIT_FSIZE, &full);
        // 9 to 12 go to a file that closes short; 13 to 16 find the meta file refused and are dropped.
        child.feed(9, 16);
        if (!eventually([&] { return child.log.count("WARNING: failed to start recording of meta") == 4; }))
            return false;
        setrlimit(RLIMIT_FSIZE, &space);
        child.feed(17, 24);
        return child.wait_for_closed_files(5) && child.log.count("failed to write file: ") == 2;
    }));
    const std::string session = find(scratch.path(), "tervik_recording_")[0];
    EXPECT_EQ(numbers_from({{1, 9}, {17, 24}}), counters(session));
    EXPECT_TRUE(find(session, ".writing").empty());
}

TEST(RecordingFault, RemovedSessionDirectoryIsMadeAnewForTheRecordsThatFollow) {
    ScratchDirectory scratch;
    ASSERT_TRUE(in_child([&] {
        ChildRecorder child(scratch.path(), "gone");
        child.feed(1, 8);
        if (!child.wait_for_closed_files(2))
            return false;
        std::filesystem::remove_all(find(scratch.path(), "tervik_recording_")[0]);
        child.feed(9, 16);
        return child.wait_for_closed_files(4) && child.log.contains("session directory vanished");
    }));
    EXPECT_EQ(numbers_from({{9, 16}}), counters(find(scratch.path(), "tervik_recording_")[0]));
}

} // namespace
