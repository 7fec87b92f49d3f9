// Recording through process() without a module, on a real file system, every recording read back with the
// DataReader.
#include "data_recorder_fixture.h"

#include "DataPacketFormater.h"
#include "SamplePackets.h"

#include <chrono>
#include <thread>

using namespace Tervik;
using namespace recorder_test;
using SamplePackets::sample_packet;

namespace {

// A byte data packet whose record (the packet from offset 2) is `record_size` bytes.
Bytes byte_packet_with_record_size(uint32_t counter, size_t record_size) {
    return SamplePackets::byte_data_packet(counter, 0,
                                           Bytes(record_size - 12, static_cast<unsigned char>(counter)));
}

Bytes formater_packet(const DataRecord& record) {
    return DataPacketFormater(13).from_disk(record.data_type, record.data);
}

bool ends_with(const std::string& name, const std::string& suffix) {
    return name.size() >= suffix.size() &&
           name.compare(name.size() - suffix.size(), suffix.size(), suffix) == 0;
}

class Recording : public RecorderTest {};

TEST_F(Recording, EveryTypePlaysBackAsThePacketsThatWereRecorded) {
    const DataTypes playable = DataPacketFormater::supported_data_types();
    ASSERT_EQ(0, recorder->start_recording(playable, scratch.path()));
    for (uint32_t counter = 1; counter <= 3; ++counter) {
        for (DataType type : data_types_in_mask(playable))
            EXPECT_TRUE(recorder->process(type, sample_packet(type, counter)));
    }
    finish();

    const DataPacketFormater formater(13);
    std::map<uint32_t, uint32_t> next_counter;
    for (const DataRecord& record : data_records(read_all(meta_filename()))) {
        const DataType type = static_cast<DataType>(record.data_type);
        const uint32_t counter = ++next_counter[type];
        EXPECT_EQ(SamplePackets::played_back_sample_packet(type, counter),
                  formater.from_disk(type, record.data))
            << data_type_to_string(type) << " record " << counter;
    }
    for (DataType type : data_types_in_mask(playable))
        EXPECT_EQ(3u, next_counter[type]) << data_type_to_string(type);
}

TEST_F(Recording, BinaryRecordsAreThePayloadByteForByteInOrder) {
    ASSERT_EQ(0, recorder->start_recording(BasebandIqDataType, scratch.path()));
    std::vector<Bytes> packets;
    for (uint32_t counter = 0; counter < 50; ++counter) {
        packets.push_back(SamplePackets::baseband_packet(12, counter, {float(counter), 2.0f}, {-1.0f, 0.5f}));
        recorder->process(BasebandIqDataType, packets.back());
    }
    finish();

    const std::vector<DataRecord> records = read_all(meta_filename());
    ASSERT_EQ(packets.size(), records.size());
    int64_t previous_epoch = 0;
    for (size_t i = 0; i < records.size(); ++i) {
        EXPECT_EQ(Bytes(packets[i].begin() + 5, packets[i].end()), records[i].data) << "record " << i;
        EXPECT_EQ(uint32_t(BasebandIqDataType), records[i].data_type);
        EXPECT_GE(records[i].epoch, previous_epoch);
        previous_epoch = records[i].epoch;
    }
    const std::vector<std::string> data_files = find(session_directory(), "tervik_baseband_iq_");
    ASSERT_EQ(1u, data_files.size());
    EXPECT_TRUE(ends_with(data_files[0], ".dat"));
    EXPECT_TRUE(find(session_directory(), ".writing").empty());
}

TEST_F(Recording, TextRecordsHoldTheFieldsOfThePacket) {
    ASSERT_EQ(0, recorder->start_recording(PresenceSingleDataType | RespirationDataType, scratch.path()));
    recorder->process(PresenceSingleDataType,
                      SamplePackets::presence_single_packet(7, 2, 1.2345678f, 200, 90));
    recorder->process(RespirationDataType, SamplePackets::respiration_packet(99, 3, 14, 0.75f, 0.5f, 8));
    // In the initializing state a respiration packet is no record at all.
    recorder->process(RespirationDataType, SamplePackets::respiration_packet(100, 4, 0, 0.0f, 0.0f, 0));
    finish();

    const std::vector<DataRecord> records = read_all(meta_filename());
    ASSERT_EQ(4u, records.size());
    EXPECT_EQ("TimeStamp;Counter;PresenceState;Distance;Direction;SignalQuality\n", text(records[0].data));
    EXPECT_EQ("TimeStamp;State;RPM;ObjectDistance;ObjectMovement;SignalQuality\n", text(records[2].data));
    const std::vector<std::string> presence = fields(records[1].data);
    ASSERT_EQ(6u, presence.size());
    EXPECT_EQ((std::vector<std::string>{"7", "2", "1.23457", "200", "90"}),
              std::vector<std::string>(presence.begin() + 1, presence.end()));
    EXPECT_EQ(29u, presence[0].size()) << presence[0]; // 2021-03-04T05:06:07.042+02:00
    const std::vector<std::string> respiration = fields(records[3].data);
    EXPECT_EQ((std::vector<std::string>{"3", "14", "0.75", "0.5", "8"}),
              std::vector<std::string>(respiration.begin() + 1, respiration.end()));
    const std::vector<std::string> presence_files = find(session_directory(), "tervik_presence_single_");
    ASSERT_EQ(1u, presence_files.size());
    EXPECT_TRUE(ends_with(presence_files[0], ".csv"));
}

TEST_F(Recording, ByteSplitClosesAFileAfterTheRecordThatReachedTheLimit) {
    RecordingOptions options;
    PreferredSplitSize split;
    split.set_byte_count(1000);
    options.set_file_split_size(split);
    std::vector<std::string> closed;
    recorder->subscribe_to_file_available(ByteDataType,
                                          [&](DataType, const std::string& name) { closed.push_back(name); });
    ASSERT_EQ(0, recorder->start_recording(ByteDataType, scratch.path(), options));
    for (uint32_t counter = 1; counter <= 10; ++counter)
        recorder->process(ByteDataType, byte_packet_with_record_size(counter, 300));
    finish();

    ASSERT_EQ(3u, closed.size());
    EXPECT_EQ(1200u, file_bytes(closed[0]).size());
    EXPECT_EQ(1200u, file_bytes(closed[1]).size());
    EXPECT_EQ(600u, file_bytes(closed[2]).size());
    // Files opened within one second: the later ones carry the milliseconds of their close.
    EXPECT_NE(closed[0], closed[1]);
    EXPECT_NE(std::string::npos, closed[1].find("ms.dat"));
    EXPECT_EQ(3u, find(session_directory(), "tervik_databyte_").size());

    const std::vector<DataRecord> records = read_all(meta_filename());
    ASSERT_EQ(10u, records.size());
    for (uint32_t i = 0; i < 10; ++i)
        EXPECT_EQ(i + 1, records[i].data[0]);
}

TEST_F(Recording, UserHeaderIsAnEntryOfItsOwnBeforeTheHeaderLineInEveryFile) {
    RecordingOptions options;
    options.set_user_header({'u', 's', 'e', 'r', '\n'});
    PreferredSplitSize split;
    split.set_byte_count(1); // every record closes its file
    options.set_file_split_size(split);
    ASSERT_EQ(0, recorder->start_recording(PresenceSingleDataType, scratch.path(), options));
    recorder->process(PresenceSingleDataType, sample_packet(PresenceSingleDataType, 1));
    recorder->process(PresenceSingleDataType, sample_packet(PresenceSingleDataType, 2));
    finish();

    const std::vector<std::string> files = find(session_directory(), "tervik_presence_single_");
    ASSERT_EQ(2u, files.size());
    const std::string header_line = "TimeStamp;Counter;PresenceState;Distance;Direction;SignalQuality\n";
    for (const std::string& file : files)
        EXPECT_EQ(0u, file_text(file).find("user\n" + header_line)) << file;

    const std::vector<DataRecord> records = read_all(meta_filename());
    ASSERT_EQ(6u, records.size());
    for (size_t file = 0; file < 2; ++file) {
        const DataRecord* in_file = &records[3 * file];
        EXPECT_TRUE(in_file[0].is_user_header);
        EXPECT_EQ("user\n", text(in_file[0].data));
        EXPECT_EQ(uint32_t(PresenceSingleDataType), in_file[0].data_type);
        EXPECT_FALSE(in_file[1].is_user_header);
        EXPECT_EQ(header_line, text(in_file[1].data));
        EXPECT_EQ(std::to_string(file + 1), fields(in_file[2].data)[1]);
    }
}

TEST_F(Recording, TypesOfOneSessionShareItsDirectoryAndMetaFile) {
    ASSERT_EQ(0, recorder->start_recording(FloatDataType, scratch.path(), options_with_id("shared")));
    ASSERT_EQ(0, recorder->start_recording(StringDataType, scratch.path(), options_with_id("shared")));
    for (uint32_t counter = 1; counter <= 3; ++counter) {
        recorder->process(FloatDataType, sample_packet(FloatDataType, counter));
        recorder->process(StringDataType, sample_packet(StringDataType, counter));
    }
    // One type stopping leaves the session and its meta file open for the other.
    recorder->stop_recording(FloatDataType);
    recorder->process(StringDataType, sample_packet(StringDataType, 4));
    ASSERT_TRUE(log.wait_for("renaming file to: "));
    EXPECT_TRUE(exists(session_directory() + "/tervik_recording_meta.writing"));
    EXPECT_TRUE(recorder->is_recording(StringDataType));
    finish();

    EXPECT_NE(std::string::npos, session_directory().find("_shared"));
    const std::vector<DataRecord> records = data_records(read_all(meta_filename()));
    ASSERT_EQ(7u, records.size());
    const uint32_t expected_types[] = {FloatDataType, StringDataType, FloatDataType, StringDataType,
                                       FloatDataType, StringDataType, StringDataType};
    for (size_t i = 0; i < records.size(); ++i)
        EXPECT_EQ(expected_types[i], records[i].data_type) << "record " << i;
    DataReader reader;
    ASSERT_EQ(0, reader.open(meta_filename()));
    EXPECT_EQ(uint32_t(FloatDataType | StringDataType), reader.get_data_types());
    EXPECT_EQ("shared", reader.get_session_id());
}

TEST_F(Recording, StopWithoutPacketsLeavesNothingOnDisk) {
    ASSERT_EQ(0, recorder->start_recording(AllDataTypes, scratch.path()));
    EXPECT_TRUE(recorder->process(SleepDataType, Bytes())); // recording, but nothing to store
    recorder->stop_recording(AllDataTypes);
    finish();
    EXPECT_TRUE(entries(scratch.path()).empty());
}

TEST_F(Recording, APacketEveryTypeRejectsLeavesNoDataFile) {
    ASSERT_EQ(0, recorder->start_recording(PulseDopplerFloatDataType | BasebandApDataType, scratch.path()));
    // A matrix starts with range index 0; everything before it is dropped.
    recorder->process(PulseDopplerFloatDataType, SamplePackets::pulsedoppler_float_packet(16, 3, {1.0f}));
    recorder->process(BasebandApDataType, sample_packet(BasebandApDataType, 1));
    finish();

    EXPECT_TRUE(find(session_directory(), "tervik_pulsedoppler_float_").empty());
    EXPECT_EQ(1u, read_all(meta_filename()).size());
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
    ASSERT_EQ(
        0, recorder->start_recording(SleepDataType | FloatDataType, scratch.path(), options_with_id("cb")));
    recorder->process(SleepDataType, sample_packet(SleepDataType, 1));
    recorder->process(FloatDataType, sample_packet(FloatDataType, 1));
    finish();

    ASSERT_EQ(2u, files.size());
    EXPECT_EQ(SleepDataType, files[0].first);
    EXPECT_TRUE(ends_with(files[0].second, ".csv"));
    EXPECT_EQ(FloatDataType, files[1].first);
    EXPECT_TRUE(ends_with(files[1].second, ".dat"));
    ASSERT_EQ(1u, meta_files.size());
    EXPECT_EQ("cb", meta_files[0].first);
    EXPECT_EQ(meta_filename(), meta_files[0].second);
    EXPECT_FALSE(exists(session_directory() + "/tervik_recording_meta_tmp.writing"));
}

TEST_F(Recording, BasenameChangeClosesTheFileAndTheNextPacketOpensOneOfTheNewName) {
    ASSERT_EQ(0, recorder->start_recording(FloatDataType, scratch.path()));
    recorder->process(FloatDataType, sample_packet(FloatDataType, 1));
    // The basename counts when a file opens.
    ASSERT_TRUE(log.wait_for("open new file for data type:"));
    recorder->set_basename_for_data_type(FloatDataType, "renamed");
    recorder->process(FloatDataType, sample_packet(FloatDataType, 2));
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
    for (DataType type : types) {
        producers.emplace_back([this, type] {
            for (uint32_t counter = 1; counter <= 300; ++counter)
                recorder->process(type, sample_packet(type, counter));
        });
    }
    for (std::thread& producer : producers)
        producer.join();
    finish();

    for (DataType type : types) {
        const std::vector<DataRecord> records = data_records(read_all(meta_filename(), type));
        ASSERT_EQ(300u, records.size()) << data_type_to_string(type);
        for (uint32_t i = 0; i < records.size(); ++i)
            ASSERT_EQ(sample_packet(type, i + 1), formater_packet(records[i]))
                << data_type_to_string(type) << i;
    }
}

TEST_F(Recording, DataRateLimitKeepsOneRecordPerIntervalFromTheLastWrite) {
    RecordingOptions options;
    options.set_data_rate_limit(200);
    ASSERT_EQ(0, recorder->start_recording(FloatDataType, scratch.path(), options));
    const auto start = std::chrono::steady_clock::now();
    uint32_t counter = 0;
    while (std::chrono::steady_clock::now() - start < std::chrono::milliseconds(1000)) {
        recorder->process(FloatDataType, sample_packet(FloatDataType, ++counter));
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    finish();

    const std::vector<DataRecord> records = read_all(meta_filename());
    ASSERT_GE(records.size(), 3u);
    EXPECT_LE(records.size(), 6u);
    EXPECT_EQ(sample_packet(FloatDataType, 1), formater_packet(records[0]));
    for (size_t i = 1; i < records.size(); ++i)
        EXPECT_GE(records[i].epoch - records[i - 1].epoch, 200) << "record " << i;
}

} // namespace
