#include "ByteHelpers.h"
#include "DataTypes.h"
#include "RecordingOptions.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <regex>
#include <set>
#include <stdexcept>

using namespace Tervik;

TEST(DataTypeNames, EveryTypeHasItsOwnNamesAndAFileForm) {
    std::set<std::string> texts, basenames, subscriptions = {radar_settings_subscription_name()};
    for (uint32_t bit = 1; bit <= 0x8000; bit <<= 1) {
        const DataType type = static_cast<DataType>(bit);
        texts.insert(data_type_to_string(type));
        basenames.insert(default_basename_for_data_type(type));
        subscriptions.insert(subscription_name_for_data_type(type));
        EXPECT_EQ(0u, default_basename_for_data_type(type).find("tervik_")) << type;
        EXPECT_EQ(36u, subscription_name_for_data_type(type).size()) << type;
        EXPECT_EQ(is_text_data_type(type), file_extension_for_data_type(type) != "dat") << type;
    }
    EXPECT_EQ(16u, texts.size());
    EXPECT_EQ(16u, basenames.size());
    EXPECT_EQ(17u, subscriptions.size());
    EXPECT_EQ(0u, texts.count("<unknown data type>"));

    EXPECT_EQ("Baseband amplitude phase data", data_type_to_string(BasebandApDataType));
    EXPECT_EQ("respiration detection list", data_type_to_string(RespirationDetectionListDataType));
    for (uint32_t unknown : {uint32_t(InvalidDataType), 3u, uint32_t(AllDataTypes)}) {
        EXPECT_EQ("<unknown data type>", data_type_to_string(static_cast<DataType>(unknown)));
    }
    EXPECT_EQ("txt", file_extension_for_data_type(PerformanceStatusType));
    EXPECT_EQ("", file_extension_for_data_type(static_cast<DataType>(3)));
    EXPECT_EQ("", default_basename_for_data_type(InvalidDataType));
}

TEST(DataTypeSets, MasksAreWalkedWithTheLastTwoTypesSwapped) {
    const std::vector<DataType> all = data_types_in_mask(AllDataTypes);
    ASSERT_EQ(16u, all.size());
    EXPECT_EQ(BasebandApDataType, all.front());
    EXPECT_EQ(RespirationMovingListDataType, all[14]);
    EXPECT_EQ(RespirationDetectionListDataType, all[15]);
    EXPECT_EQ((std::vector<DataType>{SleepDataType, ByteDataType}),
              data_types_in_mask(SleepDataType | ByteDataType | 0x40000));
    EXPECT_TRUE(data_types_in_mask(InvalidDataType).empty());
}

TEST(PreferredSplitSize, OnlyTheLastSetterCountsAndHoursAreClampedWithAWarning) {
    PreferredSplitSize size;
    EXPECT_EQ(PreferredSplitSize::InvalidType, size.get_type());
    size.set_byte_count(1000);
    EXPECT_EQ(PreferredSplitSize::ByteCountType, size.get_type());
    testing::internal::CaptureStdout();
    size.set_fixed_daily_hour(24);
    EXPECT_EQ("WARNING: set_fixed_daily_hour: invalid hour: 23: must be in range [0-23]; clamping value\n",
              testing::internal::GetCapturedStdout());
    EXPECT_EQ(PreferredSplitSize::FixedDailyHour, size.get_type());
    EXPECT_EQ(23, size.get_fixed_daily_hour());
    EXPECT_EQ(-1, size.get_byte_count());
    size.set_fixed_daily_hour(0);
    EXPECT_EQ(0, size.get_fixed_daily_hour());
    size.set_duration(0);
    EXPECT_EQ(PreferredSplitSize::InvalidType, size.get_type());
    EXPECT_EQ(-1, size.get_fixed_daily_hour());
    size.set_duration(60);
    EXPECT_EQ(60, size.get_duration());
    testing::internal::CaptureStdout();
    size.set_fixed_daily_hour(-1);
    EXPECT_EQ("", testing::internal::GetCapturedStdout());
    EXPECT_EQ(PreferredSplitSize::InvalidType, size.get_type());
    EXPECT_EQ(-1, size.get_duration());
}

// Both classes hide their state behind a private object: a shallow copy would tie copies together.
TEST(RecordingOptions, CopiesAreIndependentAndMovedFromObjectsStayUsable) {
    PreferredSplitSize split;
    split.set_duration(5);
    RecordingOptions options;
    options.set_file_split_size(split);
    options.set_data_rate_limit(250);
    options.set_user_header(Bytes{1, 2, 3});
    const PreferredSplitSize split_copy(split);
    RecordingOptions copy;
    copy = options;
    split.set_byte_count(7);
    options.set_file_split_size(split);
    options.set_session_id("changed");
    options.set_user_header(Bytes{});
    EXPECT_EQ(5, split_copy.get_duration());
    EXPECT_NE("changed", copy.get_session_id());
    EXPECT_EQ(5, copy.get_file_split_size().get_duration());
    EXPECT_EQ(250, copy.get_data_rate_limit());
    EXPECT_EQ((Bytes{1, 2, 3}), copy.get_user_header());

    RecordingOptions moved(std::move(copy));
    EXPECT_EQ(250, moved.get_data_rate_limit());
    copy.set_session_id("reused");
    EXPECT_EQ("reused", copy.get_session_id());
}

TEST(RecordingOptions, DefaultsNameAFreshSession) {
    RecordingOptions first;
    const std::string id = first.get_session_id();
    EXPECT_NE(id, RecordingOptions().get_session_id());
    EXPECT_TRUE(
        std::regex_match(id, std::regex("[0-9a-f]{8}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{12}")))
        << id;
    EXPECT_EQ(-1, first.get_data_rate_limit());
    EXPECT_TRUE(first.get_user_header().empty());
    EXPECT_EQ(PreferredSplitSize::InvalidType, first.get_file_split_size().get_type());
    EXPECT_EQ(PreferredSplitSize::InvalidType, first.get_directory_split_size().get_type());
}

// The meta file reader stands on these operators; what only this test sees is the end of the file.
TEST(ByteHelpers, ValuesAreLittleEndianInBothDirections) {
    Bytes bytes;
    append_32bits(bytes, 0x01020304u);
    append_32bits(bytes, 1.0f);
    append_64bits(bytes, -2LL);
    EXPECT_EQ((Bytes{4, 3, 2, 1, 0, 0, 0x80, 0x3F, 0xFE, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}), bytes);

    FILE* file = std::tmpfile();
    ASSERT_NE(nullptr, file);
    ASSERT_EQ(bytes.size(), std::fwrite(bytes.data(), 1, bytes.size(), file));
    std::rewind(file);
    unsigned int word = 0, float_bits = 0;
    long long wide = 0;
    *file >> word >> float_bits >> wide;
    EXPECT_EQ(0x01020304u, word);
    EXPECT_EQ(0x3F800000u, float_bits);
    EXPECT_EQ(-2, wide);
    try {
        *file >> word;
        ADD_FAILURE() << "a read past the end must throw";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ("failed to read bytes via stream operator: operator>>", error.what());
    }
    std::fclose(file);
}
