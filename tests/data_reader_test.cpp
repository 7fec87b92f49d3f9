// DataReader over recordings on a real file system: one meta file or a chain across sub-directories, filters,
// peeking, seeking, and recordings that are damaged or don't belong together.
#include "ByteHelpers.h"
#include "DataReader.h"
#include "RecordingWriter.h"

#include <gtest/gtest.h>

using namespace Tervik;

namespace {

const std::string SessionId = "c0ffee00-reader";
const int64_t Created = 1600000000000;

Bytes record_bytes(int number, size_t size = 12) {
    Bytes bytes(size);
    for (size_t i = 0; i < size; ++i) {
        bytes[i] = static_cast<unsigned char>(number + i);
    }
    return bytes;
}

int number_of(const DataRecord& record) {
    return record.data.empty() ? -1 : record.data[0];
}

class DataReaderTest : public testing::Test {
protected:
    // A session split over three sub-directories, as the recorder writes it: each part has `per_part` sleep
    // records, 10 ms apart, numbered on from the last part; the first part also has the respiration records.
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

    std::vector<int> read_all(DataReader& reader) {
        std::vector<int> numbers;
        while (!reader.at_end() && numbers.size() < 1000) {
            const DataRecord record = reader.read_record();
            numbers.push_back(record.is_valid ? number_of(record) : -1);
        }
        return numbers;
    }

    ScratchDirectory scratch;
    DataReader reader;
};

TEST_F(DataReaderTest, OpenPublishesTheRecordingAndCloseForgetsIt) {
    RecordingWriter writer(scratch.path(), SessionId, 13, Created);
    writer.set_profile_id(9);
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
    EXPECT_EQ(uint32_t(ByteDataType | StringDataType), reader.get_data_types());
    EXPECT_EQ(700u, reader.get_max_record_size());
    EXPECT_EQ(13u, reader.get_meta_version());
    EXPECT_EQ(9u, reader.get_profile_id());
    EXPECT_EQ(SessionId, reader.get_session_id());
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

TEST_F(DataReaderTest, ChainOfThreeWithDepthTwoEndsAfterTheSecond) {
    const std::string path = write_chain(3, 4);
    ASSERT_EQ(0, reader.open(path, 2));
    EXPECT_EQ(80, reader.get_duration());
    EXPECT_EQ(8 * 12 + 2 * 5, reader.get_size());
    EXPECT_EQ(std::vector<int>({0, 1, 201, 2, 3, 203, 4, 5, 6, 7}), read_all(reader));
    EXPECT_TRUE(reader.at_end());

    reader.close();
    ASSERT_EQ(0, reader.open(path));
    EXPECT_EQ(120, reader.get_duration());
    const std::vector<int> numbers = read_all(reader);
    EXPECT_EQ(14u, numbers.size());
    EXPECT_EQ(11, numbers.back());
}

TEST_F(DataReaderTest, RecordsCarryTheirTimeTypeAndUserHeaderMark) {
    RecordingWriter writer(scratch.path(), SessionId, 12, Created);
    writer.write_user_header(PresenceSingleDataType, {'u', 's', 'e', 'r'}, 0);
    writer.write(PresenceSingleDataType, record_bytes(3), 17);
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

TEST_F(DataReaderTest, PeekTwiceThenReadGiveOneRecordAlsoAcrossMetaFiles) {
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

TEST_F(DataReaderTest, FiltersAreCheckedAndEndRightAfterTheLastMatch) {
    ASSERT_EQ(0, reader.open(write_chain(3, 4)));
    EXPECT_EQ(1, reader.set_filter(0));
    EXPECT_EQ(1, reader.set_filter(65536));
    EXPECT_EQ(0xFFFFFFFFu, reader.get_filter());

    // Respiration records lie only in the first of three meta files.
    ASSERT_EQ(0, reader.set_filter(RespirationDataType));
    EXPECT_EQ(std::vector<int>({201, 203}), read_all(reader));
    EXPECT_TRUE(reader.at_end());

    ASSERT_EQ(0, reader.set_filter(ByteDataType));
    EXPECT_TRUE(reader.at_end());
    EXPECT_FALSE(reader.read_record().is_valid);
    ASSERT_EQ(0, reader.set_filter(0xFFFFFFFF));
    EXPECT_FALSE(reader.at_end());
}

TEST_F(DataReaderTest, SeeksAcrossTheChain) {
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

TEST_F(DataReaderTest, RefusesChainsThatDontBelongTogether) {
    const std::string path = write_chain(2, 2, "linked");
    RecordingWriter stranger(scratch.make_directory("linked/part_1"), "another-session");
    stranger.write(SleepDataType, record_bytes(1), 0);
    stranger.finish(10);
    testing::internal::CaptureStdout();
    EXPECT_EQ(1, reader.open(path));
    EXPECT_NE(std::string::npos, testing::internal::GetCapturedStdout().find(": invalid session id"));
    EXPECT_FALSE(reader.is_open());
    EXPECT_EQ(0, reader.open(path, 1));
    reader.close();

    // A link that leads back to the file itself would never end.
    const std::string looped = write_chain(1, 2, "looped");
    RecordingWriter::link(looped, RecordingWriter::MetaFilename);
    testing::internal::CaptureStdout();
    EXPECT_EQ(1, reader.open(looped));
    testing::internal::GetCapturedStdout();

    const std::string broken = write_chain(2, 2, "broken");
    std::remove((scratch.path() + "/broken/part_1/" + RecordingWriter::MetaFilename).c_str());
    testing::internal::CaptureStdout();
    EXPECT_EQ(1, reader.open(broken));
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(0, reader.open(broken, 1));
}

TEST_F(DataReaderTest, DamagedRecordingsEndInErrorsNotCrashes) {
    RecordingWriter writer(scratch.path(), SessionId);
    for (int i = 0; i < 5; ++i) {
        writer.write(FloatDataType, record_bytes(i, 100), uint32_t(i));
    }
    const std::string path = writer.finish(5);
    // A max record size far beyond any data file is cut to the largest one before a buffer is sized by it.
    Bytes huge;
    append_32bits(huge, 0xFFFFFFF0u);
    patch_file(path, 49, huge);
    truncate_file(scratch.path() + "/tervik_datafloat_0.dat", 250);

    testing::internal::CaptureStdout();
    ASSERT_EQ(0, reader.open(path));
    EXPECT_EQ(250u, reader.get_max_record_size());
    const std::vector<int> numbers = read_all(reader);
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(std::vector<int>({0, 1, -1, -1, -1}), numbers);
}

} // namespace
