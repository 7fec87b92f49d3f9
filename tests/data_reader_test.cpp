// Recordings on a real file system read back: the meta file's entries and header versions, its records and
// the layouts it refuses; the DataReader over one meta file or a chain across sub-directories, with filters,
// peeks and seeks; recordings that are damaged or don't belong together.
#include "ByteHelpers.h"
#include "CloseFileMetaEntry.h"
#include "DataReader.h"
#include "FileMapMetaEntry.h"
#include "RecordingMetaFile.h"
#include "RecordingWriter.h"
#include "WriteFileMetaEntry.h"

#include <gtest/gtest.h>

using namespace Tervik;

namespace {

const std::string SessionId = "c0ffee00-reader";
const int64_t Created = 1600000000000;

// `size` bytes counting up from `number`: a record that tells which it is.
Bytes record_bytes(int number, size_t size = 12) {
    Bytes bytes(size);
    for (size_t i = 0; i < size; ++i) {
        bytes[i] = static_cast<unsigned char>(number + i);
    }
    return bytes;
}

Bytes le64_bytes(long long value) {
    Bytes bytes;
    append_64bits(bytes, value);
    return bytes;
}

struct MetaRecord {
    int result;
    Bytes data;
    uint32_t data_type;
    int64_t epoch;
};

MetaRecord next_record(RecordingMetaFile& meta, size_t size = 4096) {
    MetaRecord record{0, Bytes(size), 0, 0};
    record.result = meta.read_record(record.data.data(), size, &record.data_type, &record.epoch);
    record.data.resize(record.result > 0 ? size_t(record.result) : 0);
    return record;
}

// What opening the meta file prints; empty if it opens.
std::string open_failure(const std::string& path) {
    testing::internal::CaptureStdout();
    const bool is_open = RecordingMetaFile(path).is_open();
    const std::string output = testing::internal::GetCapturedStdout();
    return is_open ? std::string() : "refused: " + output;
}

int number_of(const DataRecord& record) {
    return record.data.empty() ? -1 : record.data[0];
}

class RecordingTest : public testing::Test {
protected:
    // A session split over sub-directories, as the recorder writes it: each part has `per_part` sleep records
    // of 12 bytes, 10 ms apart, numbered on from the last part; the first part also has respiration records.
    std::string write_chain(int parts, int per_part, const std::string& session = "session") {
        std::string previous;
        for (int part = 0; part < parts; ++part) {
            const std::string sub = "part_" + std::to_string(part);
            RecordingWriter writer(scratch.make_directory(session + "/" + sub), SessionId, 13,
                                   Created + 1000 * part);
            for (int i = 0; i < per_part; ++i) {
                writer.write(SleepDataType, record_bytes(part * per_part + i), uint32_t(10 * i));
                if (part == 0 && i % 2 == 1) {
                    writer.write(RespirationDataType, record_bytes(200 + i, 5), uint32_t(10 * i + 1));
                }
            }
            const std::string path = writer.finish(uint32_t(10 * per_part));
            if (!previous.empty()) {
                RecordingWriter::link(previous, "../" + sub + "/" + RecordingWriter::MetaFilename);
            }
            previous = path;
        }
        return scratch.path() + "/" + session + "/part_0/" + RecordingWriter::MetaFilename;
    }

    // Opens with the refusals it prints kept off the test's output.
    int open_quietly(const std::string& path, int depth = -1) {
        testing::internal::CaptureStdout();
        const int result = reader.open(path, depth);
        last_output = testing::internal::GetCapturedStdout();
        return result;
    }

    // The numbers of the records up to the end, -1 for each failed read.
    std::vector<int> read_numbers() {
        std::vector<int> numbers;
        while (!reader.at_end() && numbers.size() < 1000) {
            const DataRecord record = reader.read_record();
            numbers.push_back(record.is_valid ? number_of(record) : -1);
        }
        return numbers;
    }

    ScratchDirectory scratch;
    DataReader reader;
    std::string last_output;
};

TEST(MetaEntry, EntriesHaveTheirExactBytes) {
    const WriteFileMetaEntry write(0x01020304, SleepDataType, 300, 0x1122334455667788LL, 1000, 7);
    const Bytes expected_write = {0x04, 0x03, 0x02, 0x01, 1,    4, 0,    0,    0,    0x2C, 0x01,
                                  0,    0,    7,    0,    0,    0, 0x88, 0x77, 0x66, 0x55, 0x44,
                                  0x33, 0x22, 0x11, 0xE8, 0x03, 0, 0,    0,    0,    0,    0};
    EXPECT_EQ(expected_write, write.to_raw());

    const CloseFileMetaEntry close(5, ByteDataType, 1200, 2000, 3);
    const Bytes raw_close = close.to_raw();
    ASSERT_EQ(AbstractMetaEntry::EntrySize, raw_close.size());
    EXPECT_EQ(2, raw_close[4]);
    EXPECT_EQ(Bytes({0, 0, 0, 0}), Bytes(raw_close.begin() + 9, raw_close.begin() + 13));

    const FileMapMetaEntry file_map(9, {"a.csv", ""});
    const Bytes expected_map = {9, 0,   0,   0,   3,   2,   0, 0, 0, 6, 0, 0,
                                0, 'a', '.', 'c', 's', 'v', 0, 1, 0, 0, 0, 0};
    EXPECT_EQ(expected_map, file_map.to_raw());
}

TEST_F(RecordingTest, OpensEveryHeaderVersion) {
    for (uint32_t version : {11u, 12u, 13u}) {
        SCOPED_TRACE(version);
        RecordingWriter writer(scratch.make_directory("v" + std::to_string(version)), SessionId, version, 42);
        writer.set_profile_id(77);
        writer.write(FloatDataType, record_bytes(1, 300), 3);
        RecordingMetaFile meta(writer.finish(500));
        ASSERT_TRUE(meta.is_open());
        EXPECT_EQ(version, meta.header().version);
        EXPECT_EQ(42, meta.header().created);
        EXPECT_EQ(1, meta.header().state);
        EXPECT_EQ(500u, meta.header().duration);
        EXPECT_EQ(300, meta.header().bytes_recorded);
        EXPECT_EQ(uint32_t(FloatDataType), meta.header().data_types);
        EXPECT_EQ(version == 11 ? 2048u : 300u, meta.header().max_record_size);
        EXPECT_EQ(version >= 13 ? 77u : 0u, meta.header().profile_id);
        EXPECT_EQ(SessionId, meta.session_id());
        EXPECT_EQ(std::vector<std::string>{"tervik_datafloat_0.dat"}, meta.file_map());
        EXPECT_EQ("", meta.next_meta_filename());
        const MetaRecord record = next_record(meta);
        EXPECT_EQ(record_bytes(1, 300), record.data);
        EXPECT_EQ(45, record.epoch);
    }
}

TEST_F(RecordingTest, RefusesFilesThatContradictTheirLayout) {
    const std::string path = write_chain(1, 20);
    const Bytes original = file_bytes(path);
    const long size = long(original.size());
    const long first_entry = 85 + 4 + long(SessionId.size()) + 1;
    const long file_map_offset = first_entry + 32 * 33; // 20 + 10 records, 2 close entries
    const struct {
        const char* what;
        long offset;
        Bytes bytes;
    } damages[] = {
        {"magic", 0, {0, 0, 0, 0}},
        {"file map off an entry boundary", 29, le64_bytes(file_map_offset - 1)},
        {"file map past the end", 29, le64_bytes(size + 33)},
        {"file map before the first entry", 29, le64_bytes(first_entry)},
        {"negative bytes recorded", 21, le64_bytes(-5)},
        {"session id longer than the file", 85, {0xFF, 0xFF, 0xFF, 0x7F}},
        {"file count larger than the file", file_map_offset + 5, {0xFF, 0xFF, 0xFF, 0x0F}},
        {"file name longer than the file", file_map_offset + 9, {0xFF, 0xFF, 0, 0}},
        {"next meta name past the end", 41, le64_bytes(size - 2)},
        {"empty session id", 85, {0, 0, 0, 0}},
    };
    for (const auto& damage : damages) {
        SCOPED_TRACE(damage.what);
        patch_file(path, damage.offset, damage.bytes);
        EXPECT_NE(std::string::npos, open_failure(path).find("failed to open meta file: " + path));
        patch_file(path, 0, original);
    }
    EXPECT_EQ("", open_failure(path));
}

TEST_F(RecordingTest, RefusesUnfinishedEmptyOldAndMissingFiles) {
    RecordingWriter unfinished(scratch.path(), SessionId);
    unfinished.write(SleepDataType, record_bytes(1), 0);
    EXPECT_NE(std::string::npos, open_failure(unfinished.abandon()).find(": invalid format"));
    RecordingWriter empty(scratch.make_directory("empty"), SessionId);
    EXPECT_NE(std::string::npos, open_failure(empty.finish(0)).find(": invalid format"));
    const std::string path = write_chain(1, 3);
    patch_file(path, 4, {10, 0, 0, 0});
    EXPECT_NE(std::string::npos,
              open_failure(path).find("minimum supported version: 1.1, current version: 1"));
    EXPECT_NE(std::string::npos,
              open_failure(scratch.path() + "/missing.dat").find("failed to open meta file"));
}

TEST_F(RecordingTest, ReadsAllRecordsInOrderWhateverTheChunking) {
    // 124 entries fill a chunk but for 4 bytes; 300 cross several chunks at uneven points.
    for (int count : {1, 124, 300}) {
        SCOPED_TRACE(count);
        RecordingWriter writer(scratch.make_directory("n" + std::to_string(count)), SessionId);
        for (int i = 0; i < count; ++i) {
            writer.write(ByteDataType, record_bytes(i, 1 + i % 50), uint32_t(i));
            if (i % 40 == 39) {
                writer.split(ByteDataType, uint32_t(i));
            }
        }
        RecordingMetaFile meta(writer.finish(uint32_t(count)));
        for (int i = 0; i < count; ++i) {
            ASSERT_FALSE(meta.at_end()) << i;
            const MetaRecord record = next_record(meta);
            ASSERT_EQ(record_bytes(i, 1 + i % 50), record.data) << i;
            EXPECT_EQ(1500000000000 + i, record.epoch);
            EXPECT_EQ(uint32_t(ByteDataType), record.data_type);
        }
        EXPECT_TRUE(meta.at_end());
        EXPECT_EQ(-1, next_record(meta).result);
    }
}

TEST_F(RecordingTest, SmallBufferLosesTheRestOfARecord) {
    RecordingMetaFile meta(write_chain(1, 3));
    EXPECT_EQ(0, meta.read_record(nullptr, 0, nullptr, nullptr));
    const Bytes first = record_bytes(0);
    EXPECT_EQ(Bytes(first.begin(), first.begin() + 4), next_record(meta, 4).data);
    EXPECT_EQ(record_bytes(1), next_record(meta).data);
}

TEST_F(RecordingTest, DamagedEntriesAndDataFilesEndInErrors) {
    const std::string path = write_chain(1, 10);
    const long first_entry = 85 + 4 + long(SessionId.size()) + 1;
    patch_file(path, first_entry + 33 + 13, {9, 0, 0, 0});    // second entry: file index 9 of 2
    patch_file(path, first_entry + 2 * 33 + 4, {7});          // third entry: type 7
    patch_file(path, first_entry + 3 * 33 + 5, {3, 0, 0, 0}); // fourth entry: two type bits
    truncate_file(scratch.path() + "/session/part_0/tervik_sleep_0.csv",
                  89); // from the eighth sleep record on
    testing::internal::CaptureStdout();
    RecordingMetaFile meta(path);
    std::vector<int> results;
    while (!meta.at_end() && results.size() < 30) {
        results.push_back(next_record(meta).result);
    }
    testing::internal::GetCapturedStdout();
    // Sleep records of 12 bytes, each odd one followed by a respiration record of 5.
    const std::vector<int> expected = {12, -1, -2, -1, 12, 5, 12, 12, 5, 12, -1, 5, -1, -1, 5};
    EXPECT_EQ(expected, results);
}

TEST_F(RecordingTest, NextNameIsResolvedAgainstTheMetaFileDirectory) {
    const std::string first = write_chain(1, 1);
    RecordingWriter::link(first, "../part_1/tervik_recording_meta.dat");
    EXPECT_EQ(scratch.path() + "/session/part_1/tervik_recording_meta.dat",
              RecordingMetaFile(first).next_meta_filename());
    RecordingWriter::link(first, "tervik_recording_meta_2.dat");
    EXPECT_EQ(scratch.path() + "/session/part_0/tervik_recording_meta_2.dat",
              RecordingMetaFile(first).next_meta_filename());
}

TEST_F(RecordingTest, OpenPublishesTheRecordingAndCloseForgetsIt) {
    RecordingWriter writer(scratch.path(), SessionId, 13, Created);
    writer.write(ByteDataType, record_bytes(1, 700), 5);
    writer.write(StringDataType, record_bytes(2, 30), 6);
    const std::string path = writer.finish(250);

    EXPECT_EQ(1, reader.open(""));
    EXPECT_EQ(1, reader.open(path, 0));
    ASSERT_EQ(0, reader.set_filter(ByteDataType));
    ASSERT_EQ(0, reader.open(path));
    EXPECT_EQ(1, reader.open(path));
    EXPECT_TRUE(reader.is_open());
    EXPECT_EQ(Created, reader.get_start_epoch());
    EXPECT_EQ(250, reader.get_duration());
    EXPECT_EQ(730, reader.get_size());
    EXPECT_EQ(13u, reader.get_meta_version());
    EXPECT_EQ(700u, reader.get_max_record_size());
    // The filter set before open holds for the files it opens.
    const DataRecord record = reader.read_record();
    EXPECT_EQ(record_bytes(1, 700), record.data);
    EXPECT_TRUE(reader.at_end());

    reader.close();
    EXPECT_FALSE(reader.is_open());
    EXPECT_EQ(-1, reader.get_start_epoch());
    EXPECT_EQ(-1, reader.get_duration());
    EXPECT_EQ(-1, reader.get_size());
    EXPECT_EQ(0u, reader.get_data_types());
    EXPECT_EQ(0u, reader.get_max_record_size());
    EXPECT_EQ(0xFFFFFFFFu, reader.get_filter());
    EXPECT_EQ("", reader.get_session_id());
    EXPECT_FALSE(reader.read_record().is_valid);

    EXPECT_EQ(1, reader.open(scratch.path() + "/missing/" + RecordingWriter::MetaFilename));
    EXPECT_FALSE(reader.is_open());
}

TEST_F(RecordingTest, ChainOfThreeWithDepthTwoEndsAfterTheSecond) {
    const std::string path = write_chain(3, 4);
    ASSERT_EQ(0, reader.open(path, 2));
    EXPECT_EQ(80, reader.get_duration());
    EXPECT_EQ(8 * 12 + 2 * 5, reader.get_size());
    EXPECT_EQ(std::vector<int>({0, 1, 201, 2, 3, 203, 4, 5, 6, 7}), read_numbers());
    EXPECT_TRUE(reader.at_end());

    reader.close();
    ASSERT_EQ(0, reader.open(path));
    EXPECT_EQ(120, reader.get_duration());
    const std::vector<int> numbers = read_numbers();
    EXPECT_EQ(14u, numbers.size());
    EXPECT_EQ(11, numbers.back());
}

TEST_F(RecordingTest, RecordsCarryTheirTimeTypeAndUserHeaderMark) {
    RecordingWriter writer(scratch.path(), SessionId, 12, Created);
    writer.write_user_header(PresenceSingleDataType, {'u', 's', 'e', 'r'}, 0);
    writer.write(PresenceSingleDataType, record_bytes(3), 17);
    writer.write(SleepDataType, record_bytes(4), 18);
    // A user header's entry carries the complement of its type, and still passes a filter on the type.
    ASSERT_EQ(0, reader.set_filter(PresenceSingleDataType));
    ASSERT_EQ(0, reader.open(writer.finish(20)));

    uint8_t buffer[64];
    uint32_t count = 99, type = 99;
    int64_t epoch = 99;
    uint8_t user_header = 99;
    EXPECT_EQ(0, reader.read_record(buffer, 0, &count, &type, &epoch, &user_header));
    EXPECT_EQ(0u, count);
    ASSERT_EQ(0, reader.read_record(buffer, sizeof(buffer), &count, &type, &epoch, &user_header));
    EXPECT_EQ(Bytes({'u', 's', 'e', 'r'}), Bytes(buffer, buffer + count));
    EXPECT_EQ(uint32_t(PresenceSingleDataType), type);
    EXPECT_EQ(1, user_header);
    EXPECT_EQ(Created, epoch);

    const DataRecord record = reader.read_record();
    EXPECT_TRUE(record.is_valid);
    EXPECT_FALSE(record.is_user_header);
    EXPECT_EQ(uint32_t(PresenceSingleDataType), record.data_type);
    EXPECT_EQ(Created + 17, record.epoch);
    EXPECT_EQ(record_bytes(3), record.get_data());
    EXPECT_TRUE(reader.at_end());
    EXPECT_EQ(1, reader.read_record(buffer, sizeof(buffer), &count, &type, &epoch, &user_header));
    EXPECT_EQ(0u, count);
}

TEST_F(RecordingTest, PeekTwiceThenReadGiveOneRecordAlsoAcrossMetaFiles) {
    ASSERT_EQ(0, reader.open(write_chain(2, 3)));
    ASSERT_EQ(0, reader.set_filter(SleepDataType));
    for (int expected = 0; expected < 6; ++expected) {
        const DataRecord first = reader.peek_record();
        const DataRecord second = reader.peek_record();
        const DataRecord read = reader.read_record();
        ASSERT_TRUE(first.is_valid && second.is_valid && read.is_valid) << expected;
        EXPECT_EQ(expected, number_of(first));
        EXPECT_EQ(first.data, second.data);
        EXPECT_EQ(first.epoch, read.epoch);
        EXPECT_EQ(first.data, read.data);
    }
    EXPECT_TRUE(reader.at_end());
    EXPECT_FALSE(reader.peek_record().is_valid);
}

TEST_F(RecordingTest, FiltersAreCheckedAndEndRightAfterTheLastMatch) {
    ASSERT_EQ(0, reader.open(write_chain(3, 4)));
    EXPECT_EQ(1, reader.set_filter(0));
    EXPECT_EQ(1, reader.set_filter(65536));
    EXPECT_EQ(0xFFFFFFFFu, reader.get_filter());

    // Respiration records lie only in the first of three meta files.
    ASSERT_EQ(0, reader.set_filter(RespirationDataType));
    EXPECT_EQ(std::vector<int>({201, 203}), read_numbers());
    EXPECT_TRUE(reader.at_end());

    ASSERT_EQ(0, reader.set_filter(ByteDataType));
    EXPECT_TRUE(reader.at_end());
    EXPECT_FALSE(reader.read_record().is_valid);
    ASSERT_EQ(0, reader.set_filter(0xFFFFFFFF));
    EXPECT_FALSE(reader.at_end());
}

TEST_F(RecordingTest, SeeksAcrossTheChain) {
    ASSERT_EQ(0, reader.open(write_chain(3, 4)));
    ASSERT_EQ(0, reader.seek_ms(0));
    EXPECT_EQ(0, number_of(reader.read_record()));
    ASSERT_EQ(0, reader.seek_ms(60));
    EXPECT_EQ(6, number_of(reader.read_record()));
    // The end of the first meta file's time is the start of the second.
    ASSERT_EQ(0, reader.seek_ms(40));
    EXPECT_EQ(4, number_of(reader.read_record()));

    EXPECT_EQ(1, reader.seek_ms(121));
    EXPECT_EQ(1, reader.seek_ms(-1));
    EXPECT_EQ(5, number_of(reader.read_record()));
    ASSERT_EQ(0, reader.seek_ms(reader.get_duration()));
    EXPECT_TRUE(reader.at_end());

    // Bytes: the first meta file holds 4 x 12 + 2 x 5 = 58.
    ASSERT_EQ(0, reader.seek_byte(0));
    EXPECT_EQ(0, number_of(reader.read_record()));
    ASSERT_EQ(0, reader.seek_byte(58 + 12));
    EXPECT_EQ(5, number_of(reader.read_record()));
    EXPECT_EQ(1, reader.seek_byte(reader.get_size() + 1));
    ASSERT_EQ(0, reader.seek_byte(reader.get_size()));
    EXPECT_TRUE(reader.at_end());
}

TEST_F(RecordingTest, RefusesChainsThatDontBelongTogether) {
    const std::string path = write_chain(2, 2, "linked");
    RecordingWriter stranger(scratch.make_directory("linked/part_1"), "another-session");
    stranger.write(SleepDataType, record_bytes(1), 0);
    stranger.finish(10);
    EXPECT_EQ(1, open_quietly(path));
    EXPECT_NE(std::string::npos, last_output.find(": invalid session id"));
    EXPECT_FALSE(reader.is_open());
    EXPECT_EQ(0, reader.open(path, 1));
    reader.close();

    // A link that leads back to the file itself would never end.
    const std::string looped = write_chain(1, 2, "looped");
    RecordingWriter::link(looped, RecordingWriter::MetaFilename);
    EXPECT_EQ(1, open_quietly(looped));

    const std::string broken = write_chain(2, 2, "broken");
    std::remove((scratch.path() + "/broken/part_1/" + RecordingWriter::MetaFilename).c_str());
    EXPECT_EQ(1, open_quietly(broken));
    EXPECT_EQ(0, reader.open(broken, 1));
}

TEST_F(RecordingTest, DamagedRecordingsEndInErrorsNotCrashes) {
    RecordingWriter writer(scratch.path(), SessionId);
    for (int i = 0; i < 5; ++i) {
        writer.write(FloatDataType, record_bytes(i, 100), uint32_t(i));
    }
    const std::string path = writer.finish(5);
    const std::string data_file = scratch.path() + "/tervik_datafloat_0.dat";
    // Sizes that no data file backs, in the header and in the third record's entry: the header's is reported
    // as it stands, and neither sizes an allocation.
    const long third_entry = 85 + 4 + long(SessionId.size() + 1) + 2 * 33;
    patch_file(path, 49, {0xF0, 0xFF, 0xFF, 0xFF});
    patch_file(path, third_entry + 9, {0xF0, 0xFF, 0xFF, 0xFF});
    truncate_file(data_file, 250);

    ASSERT_EQ(0, open_quietly(path));
    EXPECT_EQ(0xFFFFFFF0u, reader.get_max_record_size());
    testing::internal::CaptureStdout();
    const std::vector<int> numbers = read_numbers();
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(std::vector<int>({0, 1, -1, -1, -1}), numbers);

    // Opening reads the meta file alone: what its header says holds without the data files.
    reader.close();
    std::remove(data_file.c_str());
    ASSERT_EQ(0, open_quietly(path));
    EXPECT_EQ(0xFFFFFFF0u, reader.get_max_record_size());
}

} // namespace
