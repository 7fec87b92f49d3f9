// Recording through process() without a module, on a real file system, every recording read back with the
// DataReader.
#include "data_recorder_fixture.h"

#include "DataPacketFormater.h"

#include <regex>

using namespace Tervik;
using namespace recorder_test;
using SamplePackets::sample_packet;

namespace {

Bytes played_back(const DataRecord& record) {
    return DataPacketFormater(13).from_disk(record.data_type, record.data);
}

class Recording : public RecorderTest {};

// Binary records come back byte for byte, text records field by field within six significant digits, after
// their header lines.
TEST_F(Recording, EveryTypePlaysBackAsThePacketsThatWereRecorded) {
    const DataTypes playable = DataPacketFormater::supported_data_types();
    ASSERT_EQ(0, recorder->start_recording(playable, scratch.path()));
    for (uint32_t counter = 1; counter <= 3; ++counter) {
        for (DataType type : data_types_in_mask(playable))
            EXPECT_TRUE(recorder->process(type, sample_packet(type, counter)));
    }
    finish();

    std::map<uint32_t, uint32_t> next_counter;
    for (const DataRecord& record : data_records(read_all(meta_filename()))) {
        const DataType type = static_cast<DataType>(record.data_type);
        const uint32_t counter = ++next_counter[type];
        Bytes expected = sample_packet(type, counter);
        if (type == RespirationDataType)
            std::fill(expected.begin() + 5, expected.begin() + 9, 0); // no frame counter on disk
        EXPECT_EQ(expected, played_back(record)) << data_type_to_string(type) << " record " << counter;
    }
    for (DataType type : data_types_in_mask(playable))
        EXPECT_EQ(3u, next_counter[type]) << data_type_to_string(type);
    EXPECT_TRUE(find(session_directory(), ".writing").empty());
}

TEST_F(Recording, ByteSplitClosesAFileAfterTheRecordThatReachedTheLimit) {
    std::vector<std::string> closed;
    recorder->subscribe_to_file_available(ByteDataType,
                                          [&](DataType, const std::string& name) { closed.push_back(name); });
    ASSERT_EQ(0, recorder->start_recording(ByteDataType, scratch.path(), options("bytes", 1000)));
    for (uint32_t counter = 1; counter <= 10; ++counter)
        recorder->process(ByteDataType, record_of_300(counter));
    finish();

    ASSERT_EQ(3u, closed.size());
    EXPECT_EQ(1200u, file_bytes(closed[0]).size());
    EXPECT_EQ(1200u, file_bytes(closed[1]).size());
    EXPECT_EQ(600u, file_bytes(closed[2]).size());
    // Files opened within one second: the later ones carry the milliseconds of their close.
    EXPECT_NE(std::string::npos, closed[1].find("ms.dat"));
    EXPECT_EQ(3u, find(session_directory(), "tervik_databyte_").size());
    const std::vector<DataRecord> records = read_all(meta_filename());
    ASSERT_EQ(10u, records.size());
    for (uint32_t i = 0; i < 10; ++i)
        EXPECT_EQ(i + 1, records[i].data[0]);
}

TEST_F(Recording, UserHeaderIsAnEntryOfItsOwnBeforeTheHeaderLineInEveryFile) {
    RecordingOptions split_each = options("header", 1); // every record closes its file
    split_each.set_user_header({'u', 's', 'e', 'r', '\n'});
    ASSERT_EQ(0, recorder->start_recording(PresenceSingleDataType, scratch.path(), split_each));
    process(PresenceSingleDataType, 1, 2);
    finish();

    const std::string header_line = "TimeStamp;Counter;PresenceState;Distance;Direction;SignalQuality\n";
    const std::vector<std::string> files = find(session_directory(), "tervik_presence_single_");
    ASSERT_EQ(2u, files.size());
    for (const std::string& file : files)
        EXPECT_EQ(0u, text(file_bytes(file)).find("user\n" + header_line)) << file;
    const std::vector<DataRecord> records = read_all(meta_filename());
    ASSERT_EQ(6u, records.size());
    for (size_t file = 0; file < 2; ++file) {
        const DataRecord* in_file = &records[3 * file];
        EXPECT_TRUE(in_file[0].is_user_header);
        EXPECT_EQ("user\n", text(in_file[0].data));
        EXPECT_EQ(uint32_t(PresenceSingleDataType), in_file[0].data_type);
        EXPECT_FALSE(in_file[1].is_user_header);
        EXPECT_EQ(header_line, text(in_file[1].data));
        EXPECT_EQ(long(file + 1), counter_of(in_file[2].data));
    }
}

TEST_F(Recording, TypesOfOneSessionShareItsDirectoryAndMetaFile) {
    ASSERT_EQ(0, recorder->start_recording(FloatDataType, scratch.path(), options("shared")));
    ASSERT_EQ(0, recorder->start_recording(StringDataType, scratch.path(), options("shared")));
    for (uint32_t counter = 1; counter <= 3; ++counter) {
        process(FloatDataType, counter, counter);
        process(StringDataType, counter, counter);
    }
    // One type stopping leaves the session and its meta file open for the other.
    recorder->stop_recording(FloatDataType);
    process(StringDataType, 4, 4);
    ASSERT_TRUE(log.wait_for("renaming file to: ", 10000));
    EXPECT_TRUE(exists(session_directory() + "/tervik_recording_meta.writing"));
    EXPECT_TRUE(recorder->is_recording(StringDataType));
    finish();

    EXPECT_NE(std::string::npos, session_directory().find("_shared"));
    const std::vector<DataRecord> records = data_records(read_all(meta_filename()));
    std::vector<uint32_t> types;
    for (const DataRecord& record : records)
        types.push_back(record.data_type);
    EXPECT_EQ((std::vector<uint32_t>{FloatDataType, StringDataType, FloatDataType, StringDataType,
                                     FloatDataType, StringDataType, StringDataType}),
              types);
    DataReader reader;
    ASSERT_EQ(0, reader.open(meta_filename()));
    EXPECT_EQ(uint32_t(FloatDataType | StringDataType), reader.get_data_types());
    EXPECT_EQ("shared", reader.get_session_id());
}

TEST_F(Recording, NothingToStoreLeavesNoFileBehind) {
    ASSERT_EQ(0, recorder->start_recording(AllDataTypes, scratch.path()));
    EXPECT_TRUE(recorder->process(SleepDataType, Bytes())); // recording, but nothing to store
    recorder->stop_recording(AllDataTypes);
    finish();
    EXPECT_TRUE(find(scratch.path()).empty());

    // A matrix starts with range index 0; a packet before it is dropped and opens no data file.
    recorder.reset(new DataRecorder(log.logger()));
    ASSERT_EQ(0, recorder->start_recording(PulseDopplerFloatDataType | BasebandApDataType, scratch.path()));
    recorder->process(PulseDopplerFloatDataType, SamplePackets::pulsedoppler_float_packet(16, 3, {1.0f}));
    process(BasebandApDataType, 1, 1);
    finish();
    EXPECT_TRUE(find(session_directory(), "tervik_pulsedoppler_float_").empty());
    EXPECT_EQ(1u, read_all(meta_filename()).size());
}

// A packet without payload is a record of no bytes, with its entry and its time; it counts for the data rate
// limit, so that the packet right behind it is dropped.
TEST_F(Recording, PacketWithoutPayloadIsARecordOfNoBytes) {
    const std::vector<std::pair<DataType, Bytes>> empty_packets = {{BasebandIqDataType, {0x50, 12, 0, 0, 0}},
                                                                   {FloatDataType, {0xA0, 0x12}},
                                                                   {ByteDataType, {0xA0, 0x10}}};
    RecordingOptions limited = options("empty");
    limited.set_data_rate_limit(60000);
    for (const auto& packet : empty_packets) {
        ASSERT_EQ(0, recorder->start_recording(packet.first, scratch.path(), limited));
        recorder->process(packet.first, packet.second);
        process(packet.first, 1, 1);
    }
    finish();

    const std::vector<DataRecord> records = read_all(meta_filename());
    ASSERT_EQ(3u, records.size());
    for (size_t i = 0; i < records.size(); ++i) {
        EXPECT_EQ(uint32_t(empty_packets[i].first), records[i].data_type);
        EXPECT_TRUE(records[i].data.empty());
    }
}

// Stopped and started again under one session id within the second, the second run gets a directory of its
// own with the milliseconds of its making, and both runs read back whole.
TEST_F(Recording, RestartUnderTheSameSessionIdGetsADirectoryOfItsOwn) {
    for (uint32_t run = 0; run < 2; ++run) {
        ASSERT_EQ(0, recorder->start_recording(FloatDataType, scratch.path(), options("again")));
        process(FloatDataType, 3 * run + 1, 3 * run + 3);
        recorder->stop_recording(FloatDataType);
    }
    finish();

    const std::vector<std::string> sessions = find(scratch.path(), "tervik_recording_");
    ASSERT_EQ(2u, sessions.size());
    if (sessions[1].compare(0, sessions[0].size(), sessions[0]) == 0) {
        EXPECT_TRUE(std::regex_match(sessions[1].substr(sessions[0].size()), std::regex("_[0-9]{3}ms")));
    }
    for (uint32_t run = 0; run < 2; ++run) {
        const std::vector<DataRecord> records = read_all(sessions[run] + "/tervik_recording_meta.dat");
        ASSERT_EQ(3u, records.size()) << sessions[run];
        for (uint32_t i = 0; i < 3; ++i)
            EXPECT_EQ(sample_packet(FloatDataType, 3 * run + i + 1), played_back(records[i]));
    }
}

TEST_F(Recording, FileCallbackGetsEachFinalNameAndMetaCallbackTheClosedMetaFile) {
    std::vector<std::pair<DataType, std::string>> files;
    std::vector<std::pair<std::string, std::string>> meta_files;
    ASSERT_EQ(0, recorder->subscribe_to_file_available(SleepDataType | FloatDataType,
                                                       [&](DataType type, const std::string& name) {
                                                           EXPECT_TRUE(exists(name)) << name;
                                                           files.emplace_back(type, name);
                                                       }));
    ASSERT_EQ(0,
              recorder->subscribe_to_meta_file_available([&](const std::string& id, const std::string& name) {
                  EXPECT_TRUE(exists(name)) << name;
                  meta_files.emplace_back(id, name);
              }));
    ASSERT_EQ(0, recorder->start_recording(SleepDataType | FloatDataType, scratch.path(), options("cb")));
    process(SleepDataType, 1, 1);
    process(FloatDataType, 1, 1);
    finish();

    ASSERT_EQ(2u, files.size());
    EXPECT_EQ(SleepDataType, files[0].first);
    EXPECT_EQ(".csv", files[0].second.substr(files[0].second.size() - 4));
    EXPECT_EQ(FloatDataType, files[1].first);
    EXPECT_EQ(".dat", files[1].second.substr(files[1].second.size() - 4));
    ASSERT_EQ(1u, meta_files.size());
    EXPECT_EQ("cb", meta_files[0].first);
    EXPECT_EQ(meta_filename(), meta_files[0].second);
    EXPECT_FALSE(exists(session_directory() + "/tervik_recording_meta_tmp.writing"));
}

TEST_F(Recording, BasenameChangeClosesTheFileAndTheNextPacketOpensOneOfTheNewName) {
    ASSERT_EQ(0, recorder->start_recording(FloatDataType, scratch.path()));
    process(FloatDataType, 1, 1);
    // The basename counts when a file opens.
    ASSERT_TRUE(log.wait_for("open new file for data type:", 10000));
    recorder->set_basename_for_data_type(FloatDataType, "renamed");
    process(FloatDataType, 2, 2);
    finish();

    EXPECT_EQ(1u, find(session_directory(), "tervik_datafloat_").size());
    EXPECT_EQ(1u, find(session_directory(), "renamed_").size());
    EXPECT_EQ(2u, read_all(meta_filename()).size());
}

TEST_F(Recording, PacketsFromSeveralThreadsAllLandInTheirOrder) {
    const DataType types[] = {FloatDataType, ByteDataType, BasebandIqDataType, PresenceSingleDataType};
    ASSERT_EQ(0, recorder->start_recording(FloatDataType | ByteDataType | BasebandIqDataType |
                                               PresenceSingleDataType,
                                           scratch.path()));
    std::vector<std::thread> producers;
    for (DataType type : types)
        producers.emplace_back([this, type] { process(type, 1, 300); });
    for (std::thread& producer : producers)
        producer.join();
    finish();

    for (DataType type : types) {
        const std::vector<DataRecord> records = data_records(read_all(meta_filename(), type));
        ASSERT_EQ(300u, records.size()) << data_type_to_string(type);
        for (uint32_t i = 0; i < records.size(); ++i)
            ASSERT_EQ(sample_packet(type, i + 1), played_back(records[i])) << data_type_to_string(type) << i;
    }
}

// The limit counts from the last write; the bounds on the count are wide, for a busy machine.
TEST_F(Recording, DataRateLimitKeepsOneRecordPerIntervalFromTheLastWrite) {
    RecordingOptions limited;
    limited.set_data_rate_limit(200);
    ASSERT_EQ(0, recorder->start_recording(FloatDataType, scratch.path(), limited));
    const auto start = std::chrono::steady_clock::now();
    for (uint32_t counter = 1; std::chrono::steady_clock::now() - start < std::chrono::seconds(1);
         ++counter) {
        process(FloatDataType, counter, counter);
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    finish();

    const std::vector<DataRecord> records = read_all(meta_filename());
    ASSERT_GE(records.size(), 2u);
    EXPECT_LE(records.size(), 10u);
    EXPECT_EQ(sample_packet(FloatDataType, 1), played_back(records[0]));
    for (size_t i = 1; i < records.size(); ++i)
        EXPECT_GE(records[i].epoch - records[i - 1].epoch, 200) << "record " << i;
}

} // namespace
