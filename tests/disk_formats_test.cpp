#include "DataPacketFormater.h"
#include "DataPacketToDisk.h"
#include "RecordingWriter.h"
#include "SamplePackets.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <regex>

using namespace Tervik;
using namespace SamplePackets;

namespace {

const DataPacketFormater formater(13);

std::string as_text(const Bytes& bytes) {
    return std::string(bytes.begin(), bytes.end());
}
Bytes as_bytes(const std::string& text) {
    return Bytes(text.begin(), text.end());
}

DiskRecord to_disk(DataType type, const Bytes& packet) {
    bool matrix_started = false;
    return DataPacketToDisk::convert(type, packet, matrix_started);
}

// The row without its leading time stamp.
std::string row_fields(const DiskRecord& record) {
    const std::string text = as_text(record.bytes);
    return text.substr(text.find(';'));
}

Bytes from_disk_silently(DataType type, const Bytes& disk, std::string& output) {
    testing::internal::CaptureStdout();
    const Bytes packet = formater.from_disk(type, disk);
    output = testing::internal::GetCapturedStdout();
    return packet;
}

// Sets the time zone of the process for one test, then goes back to the machine's own.
struct TimeZone {
    explicit TimeZone(const char* zone) {
        setenv("TZ", zone, 1);
        tzset();
    }
    ~TimeZone() {
        unsetenv("TZ");
        tzset();
    }
};

DataPacketToDisk::TimePoint at_ms(int64_t ms) {
    return DataPacketToDisk::TimePoint(std::chrono::milliseconds(ms));
}

} // namespace

// The round trip of every type is tested through the recorder, which stands on these conversions.
TEST(DiskRoundTrip, TextKeepsSixSignificantDigitsAndCutsStringsAtSemicolons) {
    const DiskRecord presence =
        to_disk(PresenceSingleDataType, presence_single_packet(16777217, 1, 1.2345678f, 7, 2));
    EXPECT_EQ(";16777217;1;1.23457;7;2\n", row_fields(presence));
    EXPECT_EQ(presence_single_packet(16777216, 1, 1.23457f, 7, 2),
              formater.from_disk(PresenceSingleDataType, presence.bytes));
    const DiskRecord hello = to_disk(StringDataType, string_packet(1, 2, "hello"));
    EXPECT_EQ(";1;2;hello\n", row_fields(hello));
    const DiskRecord cut = to_disk(StringDataType, string_packet(1, 2, "hello;world"));
    EXPECT_EQ(string_packet(1, 2, "hello"), formater.from_disk(StringDataType, cut.bytes));

    // The binary forms keep what follows the head, whatever it holds.
    const Bytes float_data = data(0x12, 3, 4, floats({1.0f}));
    EXPECT_EQ(Bytes(float_data.begin() + 2, float_data.end()), to_disk(FloatDataType, float_data).bytes);
    const Bytes baseband = baseband_packet(12, 9, {1.0f}, {2.0f});
    EXPECT_EQ(Bytes(baseband.begin() + 5, baseband.end()), to_disk(BasebandApDataType, baseband).bytes);
    EXPECT_EQ(baseband_packet(13, 9, {1.0f}, {2.0f}),
              formater.from_disk(BasebandApDataType, to_disk(BasebandApDataType, baseband).bytes));
}

TEST(TextRows, FieldsFollowThePacketWithListsInBrackets) {
    const struct {
        DataType type;
        Bytes packet;
        const char* fields;
    } rows[] = {
        {SleepDataType, app(SleepId, {5, 1, 14.5f, 1.25f, 80, 0.5f, 0.75f}), ";5;1;14.5;1.25;80;0.5;0.75\n"},
        {RespirationDataType, respiration_packet(9, 2, 12, 1.5f, 0.125f, 3), ";2;12;1.5;0.125;3\n"},
        {PresenceMovingListDataType,
         app(PresenceMovingListId, {4, 1, 3, 0, 0.5f, 1e-7f, -2.0f, 1.5f, 2.5f, 1e6f}),
         ";4;1;3;0;[0.5,1e-07,-2];[1.5,2.5,1e+06];[];[];[]\n"},
        {RespirationMovingListDataType, app(RespirationMovingListId, {8, 1, 0.5f, -1.0f}),
         ";8;1;[0.5];[-1]\n"},
        {RespirationDetectionListDataType, app(RespirationDetectionListId, {8, 1, 1.0f, 2.0f, -3.0f}),
         ";8;1;[1];[2];[-3]\n"},
        // A sleep packet is taken on its id alone; the fields it lacks read as zero.
        {SleepDataType, app(SleepId, {7}), ";7;0;0;0;0;0;0\n"},
        // Counts larger than the packet keep only the values it holds.
        {PresenceMovingListDataType,
         app(PresenceMovingListId, {1, 1, 0xFFFFFFFFu, 0x40000000, 1.0f, 2.0f, 3.0f, 4.0f, 5.0f}),
         ";1;1;4294967295;1073741824;[1,2,3,4,5];[];[];[];[]\n"},
        {RespirationMovingListDataType, app(RespirationMovingListId, {1, 9, 0, 0}), ";1;9;[0,0];[]\n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.fields);
        EXPECT_EQ(row.fields, row_fields(to_disk(row.type, row.packet)));
    }
    // An empty list reads back as no values, with the count as stored.
    const Bytes empty = app(PresenceMovingListId, {4, 1, 0, 0});
    const Bytes padded = app(PresenceMovingListId, {4, 1, 0, 0, 0, 0, 0, 0, 0});
    EXPECT_EQ(empty, formater.from_disk(PresenceMovingListDataType,
                                        to_disk(PresenceMovingListDataType, padded).bytes));
}

TEST(TextRows, TimeStampShowsLocalTimeMillisecondsAndOffset) {
    const std::regex shape("\\d{4}-\\d{2}-\\d{2}T\\d{2}:\\d{2}:\\d{2}\\.\\d{3}[+-]\\d{2}:\\d{2}");
    EXPECT_TRUE(std::regex_match(DataPacketToDisk::timestamp(std::chrono::system_clock::now()), shape));
    const struct {
        const char* zone;
        int64_t ms;
        const char* expected;
    } stamps[] = {{"UTC0", 86401042, "1970-01-02T00:00:01.042+00:00"},
                  {"EST5", 86401005, "1970-01-01T19:00:01.005-05:00"},
                  {"<+0530>-5:30", 86400999, "1970-01-02T05:30:00.999+05:30"}};
    for (const auto& stamp : stamps) {
        TimeZone zone(stamp.zone);
        EXPECT_EQ(stamp.expected, DataPacketToDisk::timestamp(at_ms(stamp.ms)));
    }
    const DiskRecord row = to_disk(StringDataType, string_packet(1, 2, "x"));
    EXPECT_TRUE(std::regex_match(as_text(row.bytes), std::regex(".{29};1;2;x\n")));
}

TEST(HeaderLines, TheTypesOwnLineGivesNothingSilentlyAndADamagedOneWarns) {
    for (DataType type : data_types_in_mask(AllDataTypes)) {
        const std::string header = DataPacketToDisk::header_line(type);
        SCOPED_TRACE(header);
        if (!is_text_data_type(type) || type == PerformanceStatusType) {
            EXPECT_EQ("", header);
            continue;
        }
        std::string output;
        EXPECT_TRUE(from_disk_silently(type, as_bytes(header), output).empty());
        EXPECT_EQ("", output);
        std::string damaged = header;
        damaged[12] = 'x';
        EXPECT_TRUE(from_disk_silently(type, as_bytes(damaged), output).empty());
        const std::string kind = type == SleepDataType    ? "sleep"
                                 : type == StringDataType ? "string"
                                                          : "respiration";
        EXPECT_EQ("WARNING: invalid header for " + kind + " data: " + damaged, output);
    }
}

TEST(UnsupportedFormats, OldMetaVersionsAndPerformanceStatusAreRefused) {
    const DataPacketFormater old_recording(11);
    for (DataType type : data_types_in_mask(AllDataTypes)) {
        testing::internal::CaptureStdout();
        EXPECT_TRUE(old_recording.from_disk(type, to_disk(type, sample_packet(type)).bytes).empty());
        EXPECT_EQ("WARNING: attempting to convert unsupported disk format: " + std::to_string(type) +
                      " to packet\n",
                  testing::internal::GetCapturedStdout());
    }
    std::string output;
    EXPECT_TRUE(
        from_disk_silently(PerformanceStatusType, as_bytes("Radar performance status\n"), output).empty());
    EXPECT_EQ("WARNING: attempting to convert unsupported disk format: 16 to packet\n", output);
    // A user header's complement and a set of types are no single type.
    EXPECT_TRUE(from_disk_silently(static_cast<DataType>(~SleepDataType), as_bytes("x"), output).empty());
    EXPECT_TRUE(from_disk_silently(static_cast<DataType>(3), Bytes{1, 2}, output).empty());
    EXPECT_NE(std::string::npos, output.find("unsupported disk format: 3 to packet"));
    EXPECT_EQ(0xFFEFu, DataPacketFormater::supported_data_types());
}

TEST(AcceptanceTests, PacketsFailingTheirTypesTestAreDroppedSomeWithAReason) {
    Bytes short_presence = presence_single_packet(1, 1, 1.0f, 1, 1);
    short_presence.pop_back();
    Bytes short_string = string_packet(1, 2, "hello");
    short_string.pop_back();
    Bytes other_content = performance_status_packet(0);
    other_content[2] = 6;
    Bytes short_status = performance_status_packet(0);
    short_status.resize(100);
    const struct {
        DataType type;
        Bytes packet;
        const char* message;
    } rejected[] = {
        {BasebandIqDataType, {0x50, 12, 0, 0}, ""},
        {BasebandIqDataType, app(16, {}), ""},
        {FloatDataType, {0xA0}, ""},
        {ByteDataType, data(0x12, 1, 2, {}), ""},
        {SleepDataType, respiration_packet(1, 0, 12, 1.0f, 1.0f, 1), ""},
        {PresenceSingleDataType, short_presence, ""},
        {PresenceMovingListDataType, app(PresenceMovingListId, {1, 1, 1, 0, 1.0f, 2.0f}), ""},
        {PulseDopplerFloatDataType, pulsedoppler_float_packet(18, 0, {1.0f}), ""},
        {RespirationDataType, respiration_packet(1, 4, 12, 1.0f, 1.0f, 1), ""}, // initializing
        {RespirationDataType, app(RespirationId, {1, 0, 12, 1.0f, 1.0f, 1}, {0}),
         "invalid respiration binary, expected size: 24, actual: 25"},
        {StringDataType, short_string, "expected string message with length: 5, actual: 4"},
        {PerformanceStatusType, other_content, ""},
        {PerformanceStatusType, short_status,
         "invalid performance status binary, expected size: 92, actual: 86"},
    };
    for (size_t i = 0; i < sizeof(rejected) / sizeof(rejected[0]); ++i) {
        SCOPED_TRACE(i);
        const DiskRecord record = to_disk(rejected[i].type, rejected[i].packet);
        EXPECT_FALSE(record.accepted);
        EXPECT_EQ(rejected[i].message, record.message);
    }
    EXPECT_TRUE(to_disk(BasebandIqDataType, app(13, {})).accepted);
}

TEST(AcceptanceTests, MatricesAreRecordedFromTheirFirstRangeBlockOn) {
    bool started = false;
    const auto convert = [&started](uint32_t range_idx) {
        return DataPacketToDisk::pulsedoppler(NoiseMapByteDataType,
                                              pulsedoppler_byte_packet(19, range_idx, {1}), started);
    };
    EXPECT_FALSE(convert(2).accepted);
    EXPECT_FALSE(started);
    const DiskRecord first = convert(0);
    EXPECT_TRUE(first.accepted);
    const Bytes packet = pulsedoppler_byte_packet(19, 0, {1});
    EXPECT_EQ(Bytes(packet.begin() + 5, packet.end()), first.bytes);
    EXPECT_TRUE(started);
    EXPECT_TRUE(convert(3).accepted);
    // Another type's packet neither passes nor starts anything.
    bool other = false;
    EXPECT_FALSE(DataPacketToDisk::pulsedoppler(PulseDopplerByteDataType, packet, other).accepted);
    EXPECT_FALSE(other);
}

TEST(PerformanceStatus, AFullRecordBecomesABlockOfLines) {
    TimeZone utc("UTC0");
    const DiskRecord record =
        DataPacketToDisk::performance_status(performance_status_packet(100), at_ms(3723004));
    ASSERT_TRUE(record.accepted);
    const std::string text = as_text(record.bytes);
    EXPECT_EQ(23, std::count(text.begin(), text.end(), '\n'));
    const std::pair<long, const char*> lines[] = {{0, "Radar performance status\n"},
                                                  {1, "  |- timestamp: 01:02:03.4\n"},
                                                  {2, "  |- frame stitch: 106\n"},
                                                  {3, "  |- radar sweep: 100\n"},
                                                  {11, "  |- fps: 107\n"},
                                                  {13, "  |- period system ticks: 121\n"},
                                                  {22, "  |- mem task uart TX: 118\n"}};
    for (const auto& line : lines) {
        const size_t at = text.find(line.second);
        ASSERT_NE(std::string::npos, at) << line.second;
        EXPECT_EQ(line.first, std::count(text.begin(), text.begin() + long(at), '\n')) << line.second;
    }
    Bytes negative_ticks = performance_status_packet(0);
    std::fill(negative_ticks.begin() + 98, negative_ticks.begin() + 102, 0xFF);
    const DiskRecord negative = DataPacketToDisk::performance_status(negative_ticks);
    EXPECT_NE(std::string::npos, as_text(negative.bytes).find("period system ticks: -1\n"));
}

TEST(ShortInput, RecordsShorterThanTheirFieldsStaySafe) {
    std::string output;
    EXPECT_TRUE(
        from_disk_silently(SleepDataType, as_bytes("2021-01-01T00:00:00.000+00:00;1;2"), output).empty());
    EXPECT_TRUE(from_disk_silently(StringDataType, as_bytes("t;1;2"), output).empty());
    EXPECT_TRUE(from_disk_silently(RespirationDataType, Bytes(), output).empty());
    EXPECT_EQ("", output);
    EXPECT_TRUE(
        from_disk_silently(RespirationMovingListDataType, as_bytes("t;1;2;[1,2];1,2\n"), output).empty());
    EXPECT_EQ("WARNING: invalid string array: 1,2\n", output);
    EXPECT_EQ(Bytes({0xA0, 0x10}), formater.from_disk(ByteDataType, Bytes()));
    EXPECT_THROW(formater.from_disk(SleepDataType, as_bytes("t;one;2;3;4;5;6;7\n")), std::invalid_argument);
    // Values no 32-bit counter can hold come back as some number, not as undefined behaviour.
    EXPECT_EQ(respiration_packet(0, 0xFFFFFFFF, 0, 0.0f, 0.0f, 0),
              formater.from_disk(RespirationDataType, as_bytes("t;-1;1e30;0;0;nan\n")));
}

TEST(RadarSettings, TheBlockBecomesAnIniFileBesideBasebandData) {
    Bytes block = radar_settings_block();
    const Bytes settings = DataPacketToDisk::radar_settings_from_packet(radar_settings_packet(block));
    EXPECT_EQ(
        "[MainSection]\nGUID=27dae9d2-aea8-4321-a635-39fc0c5cef6d\n\n[ChipSettings]\nSamplingRate=23.328\n"
        "CarrierFrequency=7.29\nPulsesPerStep=300\nIterations=16\nDACStep=4\nDACMin=0\nDACMax=8191\n"
        "PGselect=2\nMClkDiv=1\nStaggeredPRFEnable=0\nSampleDelay=0.5\nDACAuto=1\nFPS=17\nFrameStitch=-1\n",
        DataPacketToDisk::radar_settings_ini(settings));

    block[992] = 13; // a selector beyond the frequency table
    EXPECT_NE(std::string::npos,
              DataPacketToDisk::radar_settings_ini(
                  DataPacketToDisk::radar_settings_from_packet(radar_settings_packet(block)))
                  .find("CarrierFrequency=0\n"));
    const Bytes shorter(settings.begin(), settings.end() - 1);
    EXPECT_EQ("", DataPacketToDisk::radar_settings_ini(shorter));
    EXPECT_EQ("", DataPacketToDisk::radar_settings_ini(Bytes(settings.begin() + 36, settings.end())));

    ScratchDirectory scratch;
    const std::string filename = scratch.path() + "/settings.ini";
    EXPECT_EQ(DataPacketToDisk::RadarSettingsWritten,
              DataPacketToDisk::write_radar_settings(settings, filename));
    EXPECT_EQ(DataPacketToDisk::radar_settings_ini(settings), as_text(file_bytes(filename)));
    EXPECT_EQ(DataPacketToDisk::RadarSettingsInvalid,
              DataPacketToDisk::write_radar_settings(shorter, filename + "2"));
    EXPECT_EQ(DataPacketToDisk::RadarSettingsFileFailed,
              DataPacketToDisk::write_radar_settings(settings, scratch.path() + "/missing/settings.ini"));
}
