// Recovering recordings left by a killed recorder. A child process records through the public classes and is
// killed with SIGKILL; the parent recovers what it left and reads it back with the real reader.
#include "RecordingRecovery.h"
#include "data_recorder_fixture.h"

#include <algorithm>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <iostream>
#include <map>
#include <poll.h>
#include <random>
#include <sys/wait.h>
#include <unistd.h>

using namespace Tervik;
using namespace recorder_test;
using link_test::eventually;
namespace fs = std::filesystem;

namespace {

typedef std::chrono::steady_clock::time_point Time;

const std::vector<DataType> campaign_types = {ByteDataType, FloatDataType, BasebandIqDataType,
                                              StringDataType};
const char* const meta_name = "/tervik_recording_meta.dat";

// The counter of a record of the sample packets: the first word of a binary one, the field after the time
// stamp of a text one.
long counter_of_record(const DataRecord& record) {
    if (record.data_type == StringDataType)
        return counter_of(record.data);
    uint32_t word = 0;
    for (size_t i = 0; i < 4 && i < record.data.size(); ++i)
        word |= uint32_t(record.data[i]) << (8 * i);
    return word;
}

// The counters read back from the recording, by type.
std::map<uint32_t, std::vector<long>> counters_by_type(const std::string& meta) {
    std::map<uint32_t, std::vector<long>> counters;
    for (const DataRecord& record : data_records(read_all(meta)))
        counters[record.data_type].push_back(counter_of_record(record));
    return counters;
}

// Sub-directories of a session, by their number.
std::vector<std::string> sub_directories(const std::string& session) {
    std::vector<std::string> subs = find(session, "tervik_recording_");
    subs.erase(std::remove_if(subs.begin(), subs.end(),
                              [](const std::string& path) { return !fs::is_directory(path); }),
               subs.end());
    std::sort(subs.begin(), subs.end(), [](const std::string& a, const std::string& b) {
        return std::stol(a.substr(a.rfind('_') + 1)) < std::stol(b.substr(b.rfind('_') + 1));
    });
    return subs;
}

// Every file below the directory with its size and content: what "untouched" compares.
std::map<std::string, Bytes> snapshot(const std::string& directory) {
    std::map<std::string, Bytes> files;
    for (const auto& entry : fs::recursive_directory_iterator(directory)) {
        if (entry.is_regular_file())
            files[entry.path().string()] = file_bytes(entry.path().string());
    }
    return files;
}

// Runs `record` in a child process, which signals once `ready` holds for what is on disk, and kills it then
// with SIGKILL. The parent has no threads, so that the child may start some.
template <typename Record, typename Ready> bool record_and_kill(Record record, Ready ready) {
    int ends[2];
    if (pipe(ends) != 0)
        return false;
    const pid_t child = fork();
    if (child == 0) {
        close(ends[0]);
        DataRecorder recorder;
        record(recorder);
        const char byte = 1;
        if (!eventually(ready) || write(ends[1], &byte, 1) != 1)
            _exit(3);
        for (;;)
            pause();
    }
    close(ends[1]);
    pollfd signalled = {ends[0], POLLIN, 0};
    char byte = 0;
    const bool got = poll(&signalled, 1, 30000) == 1 && read(ends[0], &byte, 1) == 1;
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    close(ends[0]);
    return got;
}

// The entries a meta file holds on disk.
long entries_on_disk(const std::string& meta, const std::string& session_id) {
    return (file_size(meta) - (85 + 4 + long(session_id.size()) + 1)) / long(AbstractMetaEntry::EntrySize);
}

// A killed recording of byte data (records of 300 bytes, files of four records, directories of two files)
// and string data; the recorder was killed once the last directory's meta file held `last_entries`.
struct KilledRecording {
    KilledRecording(uint32_t byte_records, uint32_t string_records, long last_entries,
                    int64_t file_bytes = -1, int64_t directory_bytes = -1) {
        killed = record_and_kill(
            [&](DataRecorder& recorder) {
                recorder.start_recording(ByteDataType | StringDataType, scratch.path(),
                                         options("killed", file_bytes, directory_bytes));
                for (uint32_t counter = 1; counter <= std::max(byte_records, string_records); ++counter) {
                    if (counter <= byte_records)
                        recorder.process(ByteDataType, record_of_300(counter));
                    if (counter <= string_records)
                        recorder.process(StringDataType,
                                         SamplePackets::sample_packet(StringDataType, counter));
                }
            },
            [&] {
                const std::string meta = last_directory() + "/tervik_recording_meta.writing";
                return exists(meta) && entries_on_disk(meta, "killed") == last_entries;
            });
    }
    std::string session() const {
        const std::vector<std::string> sessions = find(scratch.path(), "tervik_recording_");
        return sessions.empty() ? std::string() : sessions[0];
    }
    std::string last_directory() const {
        const std::vector<std::string> subs = sub_directories(session());
        return subs.empty() ? session() : subs.back();
    }
    std::string first_meta() const {
        const std::vector<std::string> subs = sub_directories(session());
        return (subs.empty() ? session() : subs.front()) + meta_name;
    }
    std::string file_of(const std::string& fragment) const { return find(last_directory(), fragment).at(0); }

    ScratchDirectory scratch;
    bool killed = false;
};

const RecoveredRecords* recovered_of(const RecoveryReport& report, DataType type) {
    for (const RecoveredRecords& records : report.recovered) {
        if (records.data_type == type)
            return &records;
    }
    return nullptr;
}

uint64_t dropped_for(const RecoveryReport& report, const std::string& reason) {
    for (const DroppedEntries& dropped : report.dropped) {
        if (dropped.reason.find(reason) != std::string::npos)
            return dropped.entries;
    }
    return 0;
}

bool mentions(const std::vector<std::string>& lines, const std::string& fragment) {
    return std::any_of(lines.begin(), lines.end(),
                       [&](const std::string& line) { return line.find(fragment) != std::string::npos; });
}

std::vector<long> counting(long first, long last) {
    std::vector<long> numbers;
    for (long number = first; number <= last; ++number)
        numbers.push_back(number);
    return numbers;
}

TEST(RecordingRecovery, SplitRecordingIsClosedAndLinkedOnceAndADryRunChangesNothing) {
    // Ten byte records: a closed directory of eight in two files, then two records in a second directory,
    // to which the first doesn't link yet.
    KilledRecording killed(10, 0, 2, 1200, 2400);
    ASSERT_TRUE(killed.killed);
    EXPECT_EQ(counting(1, 8), counters_by_type(killed.first_meta())[ByteDataType]);

    const std::map<std::string, Bytes> before = snapshot(killed.scratch.path());
    const RecoveryReport dry = recover_recording(killed.scratch.path(), true);
    EXPECT_EQ(before, snapshot(killed.scratch.path()));
    EXPECT_TRUE(mentions(dry.actions, "would rename"));
    EXPECT_TRUE(mentions(dry.actions, "would link"));

    const RecoveryReport report = recover_recording(killed.scratch.path());
    EXPECT_EQ(0, report.status()) << report.summary();
    ASSERT_EQ(1u, report.recovered_meta_files.size());
    EXPECT_EQ(killed.last_directory() + meta_name, report.recovered_meta_files[0]);
    ASSERT_NE(nullptr, recovered_of(report, ByteDataType));
    EXPECT_EQ(2u, recovered_of(report, ByteDataType)->records);
    EXPECT_EQ(600u, recovered_of(report, ByteDataType)->bytes);
    ASSERT_EQ(report.recovered.size(), dry.recovered.size());
    EXPECT_EQ(report.recovered[0].bytes, dry.recovered[0].bytes);
    EXPECT_EQ(counting(1, 10), counters_by_type(killed.first_meta())[ByteDataType]);
    EXPECT_TRUE(find(killed.last_directory(), ".writing").empty());
    EXPECT_EQ(1u, find(killed.last_directory(), "tervik_databyte_").size());

    const std::map<std::string, Bytes> recovered = snapshot(killed.scratch.path());
    for (const std::string& target : {killed.scratch.path(), killed.first_meta()}) {
        const RecoveryReport again = recover_recording(target);
        EXPECT_TRUE(again.nothing_to_recover());
        EXPECT_NE(std::string::npos, again.summary().find("nothing to recover"));
    }
    EXPECT_EQ(recovered, snapshot(killed.scratch.path()));
}

TEST(RecordingRecovery, ClosedRecordingIsNeverTouched) {
    ScratchDirectory scratch;
    {
        DataRecorder recorder;
        recorder.start_recording(ByteDataType, scratch.path(), options("closed", 1200, 2400));
        for (uint32_t counter = 1; counter <= 10; ++counter)
            recorder.process(ByteDataType, record_of_300(counter));
    }
    const std::map<std::string, Bytes> before = snapshot(scratch.path());
    for (bool dry_run : {true, false}) {
        const RecoveryReport report = recover_recording(scratch.path(), dry_run);
        EXPECT_TRUE(report.nothing_to_recover());
        EXPECT_TRUE(report.actions.empty());
    }
    EXPECT_EQ(before, snapshot(scratch.path()));
    EXPECT_EQ(1, recover_recording(scratch.path() + "/missing").status());
}

// Damage done to a killed recording of 20 byte and 20 string records in one directory, and what recovery
// must make of it.
struct Damage {
    const char* name;
    std::function<void(const KilledRecording&)> apply;
    size_t byte_records;   // read back afterwards, a prefix
    size_t string_records; // the same
    const char* dropped;   // a reason of dropped entries, or empty
    const char* problem;   // a fragment of a problem, or empty
};

TEST(RecordingRecovery, DamagedRecordingsRecoverWhatCanBeAndReportTheRest) {
    const std::string meta = "/tervik_recording_meta.writing", journal = "/tervik_recording_meta_tmp.writing";
    const std::vector<Damage> damages = {
        {"torn entry",
         [&](const KilledRecording& k) {
             const std::string path = k.session() + meta;
             patch_file(path, file_size(path), Bytes(20, 1));
         },
         20, 20, "torn entry", ""},
        {"missing journal", [&](const KilledRecording& k) { fs::remove(k.session() + journal); }, 20, 20, "",
         "journal"},
        {"garbage journal",
         [&](const KilledRecording& k) { patch_file(k.session() + journal, 0, Bytes(64, 0xFF)); }, 20, 20, "",
         "damaged"},
        {"missing data file", [&](const KilledRecording& k) { fs::remove(k.file_of("tervik_databyte_")); }, 0,
         20, "data file missing", "not found"},
        {"truncated data file",
         [&](const KilledRecording& k) { truncate_file(k.file_of("tervik_databyte_"), 300 * 7 + 150); }, 7,
         20, "not wholly", ""},
        {"garbage entry",
         [&](const KilledRecording& k) {
             // The type byte of the entry of byte record 15, the 30th: byte 1, the header line, string 1,
             // then a byte and a string record in turn.
             patch_file(k.session() + meta, 85 + 4 + 7 + 33 * 29 + 4, Bytes(1, 0xEE));
         },
         20, 20, "corrupt", ""},
    };
    for (const Damage& damage : damages) {
        SCOPED_TRACE(damage.name);
        KilledRecording killed(20, 20, 41);
        ASSERT_TRUE(killed.killed);
        damage.apply(killed);
        const RecoveryReport report = recover_recording(killed.session());
        if (*damage.dropped) {
            EXPECT_LT(0u, dropped_for(report, damage.dropped)) << report.summary();
        }
        if (*damage.problem)
            EXPECT_TRUE(mentions(report.problems, damage.problem)) << report.summary();
        else
            EXPECT_EQ(0, report.status()) << report.summary();
        std::map<uint32_t, std::vector<long>> counters = counters_by_type(killed.session() + meta_name);
        if (std::string(damage.name) == "garbage entry") {
            // The record of the broken entry is lost and no other.
            std::vector<long> expected = counting(1, 20);
            expected.erase(expected.begin() + 14);
            EXPECT_EQ(expected, counters[ByteDataType]);
        } else {
            EXPECT_EQ(counting(1, long(damage.byte_records)), counters[ByteDataType]);
        }
        EXPECT_EQ(counting(1, long(damage.string_records)), counters[StringDataType]);
        EXPECT_TRUE(recover_recording(killed.session()).nothing_to_recover());
    }
}

// One run of the campaign: the child records four types with file and directory splits, a round of one
// packet of each type every 1 to 3 ms, and tells the parent each round it handed over; the parent kills it
// after `lifetime`.
struct CampaignRun {
    long rounds_handed = 0;
    long records_lost = 0;
    double window_ms = 0; // from the first lost round to the kill
};

CampaignRun crash_and_recover(unsigned seed) {
    std::mt19937 random(seed);
    const int lifetime_ms = std::uniform_int_distribution<int>(60, 900)(random);
    const unsigned child_seed = random();
    ScratchDirectory scratch;
    int ends[2];
    EXPECT_EQ(0, pipe(ends));
    const pid_t child = fork();
    if (child == 0) {
        close(ends[0]);
        std::mt19937 pace(child_seed);
        DataRecorder recorder;
        recorder.start_recording(ByteDataType | FloatDataType | BasebandIqDataType | StringDataType,
                                 scratch.path(), options("campaign", 2048, 12000));
        for (uint32_t round = 0;; ++round) {
            for (DataType type : campaign_types)
                recorder.process(type, SamplePackets::sample_packet(type, round));
            const int64_t handed = std::chrono::steady_clock::now().time_since_epoch().count();
            if (write(ends[1], &handed, sizeof(handed)) != sizeof(handed))
                _exit(3);
            std::this_thread::sleep_for(
                std::chrono::milliseconds(std::uniform_int_distribution<int>(1, 3)(pace)));
        }
    }
    close(ends[1]);
    std::this_thread::sleep_for(std::chrono::milliseconds(lifetime_ms));
    const Time killed_at = std::chrono::steady_clock::now();
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    std::vector<Time> handed;
    for (int64_t ticks; read(ends[0], &ticks, sizeof(ticks)) == sizeof(ticks);)
        handed.push_back(Time(Time::duration(ticks)));
    close(ends[0]);

    const RecoveryReport report = recover_recording(scratch.path());
    // A kill right after a meta file was made (at the start, or after a directory split) can leave it without
    // a complete header or entry: reported, left.
    const RecoveryReport again = recover_recording(scratch.path());
    EXPECT_TRUE(again.actions.empty() && again.recovered_meta_files.empty()) << "seed " << seed;
    for (const std::string& problem : again.problems)
        EXPECT_NE(std::string::npos, problem.find(": no complete ")) << problem;
    const std::vector<std::string> sessions = find(scratch.path(), "tervik_recording_");
    const std::vector<std::string> subs = sessions.empty() ? sessions : sub_directories(sessions[0]);
    std::map<uint32_t, std::vector<long>> counters;
    if (!subs.empty() && exists(subs[0] + meta_name))
        counters = counters_by_type(subs[0] + meta_name);
    CampaignRun run;
    run.rounds_handed = long(handed.size());
    size_t first_lost = handed.size();
    for (DataType type : campaign_types) {
        const std::vector<long>& read_back = counters[type];
        EXPECT_EQ(counting(0, long(read_back.size()) - 1), read_back) << "seed " << seed << ", type " << type;
        EXPECT_LE(read_back.size(), handed.size());
        first_lost = std::min(first_lost, read_back.size());
        run.records_lost += long(handed.size()) - long(read_back.size());
    }
    if (first_lost < handed.size()) {
        run.window_ms = std::chrono::duration<double, std::milli>(killed_at - handed[first_lost]).count();
        EXPECT_LE(run.window_ms, 500.0) << "seed " << seed << "\n" << report.summary();
    }
    return run;
}

TEST(RecordingRecovery, CrashCampaignSlow) {
    std::vector<CampaignRun> runs;
    for (unsigned seed = 1; seed <= 30; ++seed)
        runs.push_back(crash_and_recover(seed));
    std::sort(runs.begin(), runs.end(),
              [](const CampaignRun& a, const CampaignRun& b) { return a.records_lost < b.records_lost; });
    std::cout << "records lost per kill (of the four types, sorted):";
    double widest = 0;
    for (const CampaignRun& run : runs) {
        std::cout << " " << run.records_lost << "/" << run.rounds_handed * 4;
        widest = std::max(widest, run.window_ms);
    }
    std::cout << "\nmedian " << runs[runs.size() / 2].records_lost << ", widest loss window " << widest
              << " ms" << std::endl;
}

} // namespace
