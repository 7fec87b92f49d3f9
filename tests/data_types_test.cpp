#include "ByteHelpers.h"
#include "DataTypes.h"
#include "RecordingOptions.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <set>
#include <stdexcept>

using namespace Tervik;

namespace {

const std::vector<DataType> all_sixteen = {BasebandApDataType,
                                           BasebandIqDataType,
                                           SleepDataType,
                                           RespirationDataType,
                                           PerformanceStatusType,
                                           StringDataType,
                                           PulseDopplerFloatDataType,
                                           PulseDopplerByteDataType,
                                           NoiseMapFloatDataType,
                                           NoiseMapByteDataType,
                                           FloatDataType,
                                           ByteDataType,
                                           PresenceSingleDataType,
                                           PresenceMovingListDataType,
                                           RespirationDetectionListDataType,
                                           RespirationMovingListDataType};

} // namespace

TEST(DataTypeNames, TextNamesKeepTheirCapitalisationAndUnknownValuesHaveOne) {
    EXPECT_EQ("Baseband amplitude phase data", data_type_to_string(BasebandApDataType));
    EXPECT_EQ("Performance status", data_type_to_string(PerformanceStatusType));
    EXPECT_EQ("presence single", data_type_to_string(PresenceSingleDataType));
    EXPECT_EQ("respiration detection list", data_type_to_string(RespirationDetectionListDataType));
    EXPECT_EQ("<unknown data type>", data_type_to_string(InvalidDataType));
    EXPECT_EQ("<unknown data type>", data_type_to_string(static_cast<DataType>(3)));
    EXPECT_EQ("<unknown data type>", data_type_to_string(AllDataTypes));
}

TEST(DataTypeNames, EveryTypeHasItsOwnNamesAndAFileForm) {
    std::set<std::string> texts, basenames, subscriptions;
    for (DataType type : all_sixteen) {
        texts.insert(data_type_to_string(type));
        basenames.insert(default_basename_for_data_type(type));
        subscriptions.insert(subscription_name_for_data_type(type));
        EXPECT_EQ(0u, default_basename_for_data_type(type).find("tervik_")) << type;
        EXPECT_EQ(36u, subscription_name_for_data_type(type).size()) << type;
        const std::string extension = file_extension_for_data_type(type);
        EXPECT_EQ(is_text_data_type(type) ? extension != "dat" : extension == "dat", true) << type;
    }
    subscriptions.insert(radar_settings_subscription_name());
    EXPECT_EQ(16u, texts.size());
    EXPECT_EQ(16u, basenames.size());
    EXPECT_EQ(17u, subscriptions.size());
    EXPECT_EQ("tervik_respiration_detectionlist",
              default_basename_for_data_type(RespirationDetectionListDataType));
    EXPECT_EQ("txt", file_extension_for_data_type(PerformanceStatusType));
    EXPECT_EQ("csv", file_extension_for_data_type(StringDataType));
    EXPECT_EQ("dat", file_extension_for_data_type(NoiseMapByteDataType));
    EXPECT_EQ("", file_extension_for_data_type(static_cast<DataType>(3)));
    EXPECT_EQ("", default_basename_for_data_type(InvalidDataType));
}

TEST(DataTypeSets, ValidityOfMasksAndSingleTypes) {
    EXPECT_TRUE(is_valid_data_types(InvalidDataType));
    EXPECT_TRUE(is_valid_data_types(0xFFFF));
    EXPECT_TRUE(is_valid_data_types(AllDataTypes));
    EXPECT_FALSE(is_valid_data_types(0x10000));
    EXPECT_FALSE(is_valid_data_types(0x80000001));
    EXPECT_FALSE(is_valid_data_types(0xFFFFFFFE));

    for (DataType type : all_sixteen) {
        EXPECT_TRUE(is_single_data_type(type)) << type;
    }
    EXPECT_FALSE(is_single_data_type(0));
    EXPECT_FALSE(is_single_data_type(3));
    EXPECT_FALSE(is_single_data_type(0x10000));
    EXPECT_FALSE(is_single_data_type(AllDataTypes));
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

TEST(PreferredSplitSize, OnlyTheLastSetterCounts) {
    PreferredSplitSize size;
    EXPECT_EQ(PreferredSplitSize::InvalidType, size.get_type());
    EXPECT_EQ(-1, size.get_duration());
    EXPECT_EQ(-1, size.get_byte_count());
    EXPECT_EQ(-1, size.get_fixed_daily_hour());

    size.set_byte_count(1000);
    EXPECT_EQ(PreferredSplitSize::ByteCountType, size.get_type());
    EXPECT_EQ(1000, size.get_byte_count());

    size.set_duration(0);
    EXPECT_EQ(PreferredSplitSize::InvalidType, size.get_type());
    EXPECT_EQ(-1, size.get_byte_count());

    size.set_duration(60);
    EXPECT_EQ(PreferredSplitSize::DurationType, size.get_type());
    EXPECT_EQ(60, size.get_duration());

    size.set_byte_count(0);
    EXPECT_EQ(PreferredSplitSize::InvalidType, size.get_type());
    EXPECT_EQ(-1, size.get_duration());
}

TEST(PreferredSplitSize, DailyHourIsClampedWithAWarningOrRejectedSilently) {
    PreferredSplitSize size;
    testing::internal::CaptureStdout();
    size.set_fixed_daily_hour(24);
    EXPECT_EQ("WARNING: set_fixed_daily_hour: invalid hour: 23: must be in range [0-23]; clamping value\n",
              testing::internal::GetCapturedStdout());
    EXPECT_EQ(PreferredSplitSize::FixedDailyHour, size.get_type());
    EXPECT_EQ(23, size.get_fixed_daily_hour());

    testing::internal::CaptureStdout();
    size.set_fixed_daily_hour(23);
    size.set_fixed_daily_hour(0);
    EXPECT_EQ(0, size.get_fixed_daily_hour());
    size.set_fixed_daily_hour(-1);
    EXPECT_EQ("", testing::internal::GetCapturedStdout());
    EXPECT_EQ(PreferredSplitSize::InvalidType, size.get_type());
    EXPECT_EQ(-1, size.get_fixed_daily_hour());
}

TEST(PreferredSplitSize, CopiesAreIndependent) {
    PreferredSplitSize original;
    original.set_duration(5);
    PreferredSplitSize copy(original);
    original.set_byte_count(7);
    EXPECT_EQ(PreferredSplitSize::DurationType, copy.get_type());
    EXPECT_EQ(5, copy.get_duration());

    PreferredSplitSize moved(std::move(copy));
    EXPECT_EQ(5, moved.get_duration());
    moved = original;
    EXPECT_EQ(7, moved.get_byte_count());
    copy.set_fixed_daily_hour(3); // a moved-from object stays usable
    EXPECT_EQ(3, copy.get_fixed_daily_hour());
}

TEST(RecordingOptions, DefaultsNameAFreshSession) {
    RecordingOptions first;
    RecordingOptions second;
    const std::string id = first.get_session_id();
    EXPECT_NE(id, second.get_session_id());
    ASSERT_EQ(36u, id.size());
    for (size_t i = 0; i < id.size(); ++i) {
        if (i == 8 || i == 13 || i == 18 || i == 23) {
            EXPECT_EQ('-', id[i]);
        } else {
            EXPECT_TRUE(isdigit(id[i]) || (id[i] >= 'a' && id[i] <= 'f')) << id;
        }
    }
    EXPECT_EQ(-1, first.get_data_rate_limit());
    EXPECT_TRUE(first.get_user_header().empty());
    EXPECT_EQ(PreferredSplitSize::InvalidType, first.get_file_split_size().get_type());
    EXPECT_EQ(PreferredSplitSize::InvalidType, first.get_directory_split_size().get_type());
}

TEST(RecordingOptions, CopiesKeepTheSessionAndEveryField) {
    RecordingOptions options;
    PreferredSplitSize bytes;
    bytes.set_byte_count(4096);
    PreferredSplitSize hour;
    hour.set_fixed_daily_hour(6);
    options.set_file_split_size(bytes);
    options.set_directory_split_size(hour);
    options.set_data_rate_limit(250);
    options.set_user_header(Bytes{1, 2, 3});

    RecordingOptions copy(options);
    options.set_session_id("changed");
    options.set_user_header(Bytes{});
    EXPECT_NE("changed", copy.get_session_id());
    EXPECT_EQ(4096, copy.get_file_split_size().get_byte_count());
    EXPECT_EQ(6, copy.get_directory_split_size().get_fixed_daily_hour());
    EXPECT_EQ(250, copy.get_data_rate_limit());
    EXPECT_EQ((Bytes{1, 2, 3}), copy.get_user_header());

    RecordingOptions assigned;
    assigned = copy;
    EXPECT_EQ(copy.get_session_id(), assigned.get_session_id());
    RecordingOptions moved(std::move(assigned));
    EXPECT_EQ(copy.get_session_id(), moved.get_session_id());
    assigned.set_session_id("reused"); // a moved-from object stays usable
    EXPECT_EQ("reused", assigned.get_session_id());
}

TEST(ByteHelpers, ValuesAreLittleEndianInBothDirections) {
    Bytes bytes;
    append_32bits(bytes, 0x01020304u);
    append_32bits(bytes, 1.0f);
    append_64bits(bytes, -2LL);
    bytes.push_back(0xAB);
    EXPECT_EQ((Bytes{4, 3, 2, 1, 0, 0, 0x80, 0x3F, 0xFE, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xAB}),
              bytes);

    FILE* file = std::tmpfile();
    ASSERT_NE(nullptr, file);
    ASSERT_EQ(bytes.size(), std::fwrite(bytes.data(), 1, bytes.size(), file));
    std::rewind(file);
    unsigned int word = 0, float_bits = 0;
    long long wide = 0;
    unsigned char byte = 0;
    *file >> word >> float_bits >> wide >> byte;
    EXPECT_EQ(0x01020304u, word);
    EXPECT_EQ(0x3F800000u, float_bits);
    EXPECT_EQ(-2, wide);
    EXPECT_EQ(0xAB, byte);

    try {
        *file >> byte;
        ADD_FAILURE() << "a read past the end must throw";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ("failed to read bytes via stream operator: operator>>", error.what());
    }
    std::rewind(file);
    EXPECT_THROW(*file >> word >> wide >> wide, std::runtime_error); // 17 bytes hold no 4 + 8 + 8
    std::fclose(file);
}
