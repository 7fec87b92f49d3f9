// The meta file on a real file system: the exact bytes of its entries, opening every header version, reading
// records with and without filters, seeking, and refusing files whose bytes contradict their own layout.
#include "ByteHelpers.h"
#include "CloseFileMetaEntry.h"
#include "FileMapMetaEntry.h"
#include "RecordingMetaFile.h"
#include "RecordingWriter.h"
#include "WriteFileMetaEntry.h"

#include <gtest/gtest.h>

using namespace Tervik;

namespace {

const std::string SessionId = "5b0c3f6e-meta";

Bytes record_bytes(int number, size_t size = 10) {
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

struct Record {
    int result;
    Bytes data;
    uint32_t data_type;
    int64_t epoch;
};

Record next_record(RecordingMetaFile& meta, size_t size = 4096) {
    Record record{0, Bytes(size), 0, 0};
    record.result = meta.read_record(record.data.data(), size, &record.data_type, &record.epoch);
    record.data.resize(record.result > 0 ? size_t(record.result) : 0);
    return record;
}

std::string open_output(RecordingMetaFile** meta, const std::string& path) {
    testing::internal::CaptureStdout();
    *meta = new RecordingMetaFile(path);
    return testing::internal::GetCapturedStdout();
}

class MetaFileTest : public testing::Test {
protected:
    // Sleep records 0..count-1 every 10 ms; every fifth a respiration record in between.
    std::string write_mixed(int count, uint32_t version = 13) {
        RecordingWriter writer(scratch.path(), SessionId, version);
        for (int i = 0; i < count; ++i) {
            writer.write(SleepDataType, record_bytes(i), uint32_t(10 * i));
            if (i % 5 == 4) {
                writer.write(RespirationDataType, record_bytes(100 + i, 7), uint32_t(10 * i + 5));
            }
        }
        return writer.finish(uint32_t(10 * count));
    }

    ScratchDirectory scratch;
};

TEST(MetaEntryTest, EntriesHaveTheirExactBytes) {
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

TEST(MetaEntryTest, DataTypeBitsDecideValidity) {
    EXPECT_TRUE(WriteFileMetaEntry(0, SleepDataType, 1, 0, 1, 0).is_valid());
    EXPECT_TRUE(WriteFileMetaEntry(0, ~uint32_t(SleepDataType), 1, 0, 1, 0).is_valid());
    EXPECT_FALSE(WriteFileMetaEntry(0, 3, 1, 0, 1, 0).is_valid());
    EXPECT_FALSE(WriteFileMetaEntry(0, 0, 1, 0, 1, 0).is_valid());
    EXPECT_TRUE(CloseFileMetaEntry(0, ByteDataType, 0, 0, 0).is_valid());
    EXPECT_FALSE(CloseFileMetaEntry(0, ~uint32_t(ByteDataType), 0, 0, 0).is_valid());
}

TEST_F(MetaFileTest, OpensEveryHeaderVersion) {
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
        const Record record = next_record(meta);
        EXPECT_EQ(record_bytes(1, 300), record.data);
        EXPECT_EQ(45, record.epoch);
    }
}

TEST_F(MetaFileTest, RefusesFilesThatContradictTheirLayout) {
    const std::string path = write_mixed(20);
    const long size = file_size(path);
    const Bytes original = [&] {
        Bytes bytes(size);
        FILE* file = fopen(path.c_str(), "rb");
        EXPECT_EQ(size_t(size), fread(bytes.data(), 1, bytes.size(), file));
        fclose(file);
        return bytes;
    }();
    const long first_entry = 85 + 4 + long(SessionId.size()) + 1;
    const long file_map_offset = first_entry + 26 * 33; // 20 + 4 records, 2 close entries
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
        RecordingMetaFile* meta = nullptr;
        const std::string output = open_output(&meta, path);
        EXPECT_FALSE(meta->is_open());
        EXPECT_NE(std::string::npos, output.find("failed to open meta file: " + path)) << output;
        delete meta;
        patch_file(path, 0, original);
    }
    RecordingMetaFile repaired(path);
    EXPECT_TRUE(repaired.is_open());
}

TEST_F(MetaFileTest, RefusesUnfinishedEmptyAndOldFiles) {
    RecordingWriter unfinished(scratch.path(), SessionId);
    unfinished.write(SleepDataType, record_bytes(1), 0);
    RecordingMetaFile* meta = nullptr;
    EXPECT_NE(std::string::npos, open_output(&meta, unfinished.abandon()).find(": invalid format"));
    EXPECT_FALSE(meta->is_open());
    delete meta;

    RecordingWriter empty(scratch.make_directory("empty"), SessionId);
    EXPECT_NE(std::string::npos, open_output(&meta, empty.finish(0)).find(": invalid format"));
    delete meta;

    const std::string path = write_mixed(3);
    patch_file(path, 4, {10, 0, 0, 0});
    EXPECT_NE(std::string::npos,
              open_output(&meta, path).find("minimum supported version: 1.1, current version: 1"));
    EXPECT_FALSE(meta->is_open());
    delete meta;

    EXPECT_NE(std::string::npos,
              open_output(&meta, scratch.path() + "/missing.dat").find("failed to open meta file"));
    delete meta;
}

TEST_F(MetaFileTest, ReadsAllRecordsInOrderWhateverTheChunking) {
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
            const Record record = next_record(meta);
            ASSERT_EQ(record_bytes(i, 1 + i % 50), record.data) << i;
            EXPECT_EQ(1500000000000 + i, record.epoch);
            EXPECT_EQ(uint32_t(ByteDataType), record.data_type);
        }
        EXPECT_TRUE(meta.at_end());
        EXPECT_EQ(-1, next_record(meta).result);
    }
}

TEST_F(MetaFileTest, FilterEndsRightAfterTheLastPassingRecord) {
    RecordingWriter writer(scratch.path(), SessionId);
    writer.write_user_header(RespirationDataType, {'h', 'd', 'r'}, 0);
    for (int i = 0; i < 200; ++i) {
        writer.write(i < 150 ? RespirationDataType : SleepDataType, record_bytes(i), uint32_t(i));
    }
    RecordingMetaFile meta(writer.finish(200));
    meta.set_filter(RespirationDataType);
    const Record header = next_record(meta);
    EXPECT_EQ(Bytes({'h', 'd', 'r'}), header.data);
    EXPECT_EQ(~uint32_t(RespirationDataType), header.data_type);
    for (int i = 0; i < 150; ++i) {
        ASSERT_FALSE(meta.at_end());
        ASSERT_EQ(record_bytes(i), next_record(meta).data);
    }
    EXPECT_TRUE(meta.at_end());

    meta.set_filter(PresenceSingleDataType);
    EXPECT_TRUE(meta.at_end());
    meta.set_filter(SleepDataType);
    ASSERT_TRUE(meta.seek_byte(0));
    EXPECT_EQ(record_bytes(150), next_record(meta).data);
}

TEST_F(MetaFileTest, SmallBufferLosesTheRestOfARecord) {
    RecordingMetaFile meta(write_mixed(3));
    EXPECT_EQ(0, meta.read_record(nullptr, 0, nullptr, nullptr));
    const Bytes first = record_bytes(0);
    EXPECT_EQ(Bytes(first.begin(), first.begin() + 4), next_record(meta, 4).data);
    EXPECT_EQ(record_bytes(1), next_record(meta).data);
}

TEST_F(MetaFileTest, SeeksByTimeAndByByte) {
    RecordingMetaFile meta(write_mixed(100));
    ASSERT_TRUE(meta.seek_ms(0));
    EXPECT_EQ(record_bytes(0), next_record(meta).data);

    ASSERT_TRUE(meta.seek_ms(333));
    EXPECT_EQ(record_bytes(34), next_record(meta).data);
    ASSERT_TRUE(meta.seek_ms(45));
    EXPECT_EQ(record_bytes(104, 7), next_record(meta).data);

    const int64_t position = meta.position();
    EXPECT_FALSE(meta.seek_ms(1001));
    EXPECT_EQ(position, meta.position());
    ASSERT_TRUE(meta.seek_ms(1000));
    EXPECT_TRUE(meta.at_end());

    // Sleep records are 10 bytes, and a respiration record of 7 follows every fifth one: the running totals
    // go 10, 20, 30, 40, 50, 57, 67. A byte seek lands on the first entry whose total exceeds the position.
    ASSERT_TRUE(meta.seek_byte(0));
    EXPECT_EQ(record_bytes(0), next_record(meta).data);
    ASSERT_TRUE(meta.seek_byte(57));
    EXPECT_EQ(record_bytes(5), next_record(meta).data);
    ASSERT_TRUE(meta.seek_byte(50));
    EXPECT_EQ(record_bytes(104, 7), next_record(meta).data);
    ASSERT_TRUE(meta.seek_byte(49));
    EXPECT_EQ(record_bytes(4), next_record(meta).data);
    EXPECT_FALSE(meta.seek_byte(-1));
    EXPECT_FALSE(meta.seek_byte(meta.header().bytes_recorded + 1));
    ASSERT_TRUE(meta.seek_byte(meta.header().bytes_recorded));
    EXPECT_TRUE(meta.at_end());

    meta.set_filter(RespirationDataType);
    ASSERT_TRUE(meta.seek_ms(0));
    EXPECT_EQ(record_bytes(104, 7), next_record(meta).data);
}

TEST_F(MetaFileTest, DamagedEntriesAndDataFilesEndInErrors) {
    const std::string path = write_mixed(10);
    const long first_entry = 85 + 4 + long(SessionId.size()) + 1;
    patch_file(path, first_entry + 33 + 13, {9, 0, 0, 0});     // second entry: file index 9 of 2
    patch_file(path, first_entry + 2 * 33 + 4, {7});           // third entry: type 7
    patch_file(path, first_entry + 3 * 33 + 5, {3, 0, 0, 0});  // fourth entry: two type bits
    truncate_file(scratch.path() + "/tervik_sleep_0.csv", 75); // from the eighth sleep record on
    testing::internal::CaptureStdout();
    RecordingMetaFile meta(path);
    std::vector<int> results;
    while (!meta.at_end() && results.size() < 30) {
        results.push_back(next_record(meta).result);
    }
    testing::internal::GetCapturedStdout();
    const std::vector<int> expected = {10, -1, -2, -1, 10, 7, 10, 10, -1, -1, -1, 7};
    EXPECT_EQ(expected, results);
}

TEST_F(MetaFileTest, NextNameIsResolvedAgainstTheMetaFileDirectory) {
    RecordingWriter first(scratch.make_directory("session/part_0"), SessionId);
    first.write(SleepDataType, record_bytes(1), 0);
    const std::string first_path = first.finish(10);
    RecordingWriter::link(first_path, "../part_1/tervik_recording_meta.dat");
    EXPECT_EQ(scratch.path() + "/session/part_1/tervik_recording_meta.dat",
              RecordingMetaFile(first_path).next_meta_filename());
    RecordingWriter::link(first_path, "tervik_recording_meta_2.dat");
    EXPECT_EQ(scratch.path() + "/session/part_0/tervik_recording_meta_2.dat",
              RecordingMetaFile(first_path).next_meta_filename());
}

} // namespace
