#include "DataPacketFormater.h"
#include "DataPacketToDisk.h"
#include "SamplePackets.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <regex>
#include <sstream>
#include <unistd.h>

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

// Sets the time zone of the process for one test.
class TimeZone {
public:
    explicit TimeZone(const char* zone) {
        const char* old = std::getenv("TZ");
        had_zone_ = old != nullptr;
        old_zone_ = old ? old : "";
        setenv("TZ", zone, 1);
        tzset();
    }
    ~TimeZone() {
        if (had_zone_) {
            setenv("TZ", old_zone_.c_str(), 1);
        } else {
            unsetenv("TZ");
        }
        tzset();
    }

private:
    bool had_zone_;
    std::string old_zone_;
};

DataPacketToDisk::TimePoint at_ms(int64_t ms) {
    return DataPacketToDisk::TimePoint(std::chrono::milliseconds(ms));
}

} // namespace

TEST(DiskRoundTrip, EveryPlayableTypeComesBackAsTheModuleSentIt) {
    for (DataType type : data_types_in_mask(DataPacketFormater::supported_data_types())) {
        for (uint32_t counter : {1u, 7u, 1000u}) {
            const DiskRecord record = to_disk(type, sample_packet(type, counter));
            ASSERT_TRUE(record.accepted) << data_type_to_string(type);
            EXPECT_TRUE(record.message.empty());
            std::string output;
            EXPECT_EQ(played_back_sample_packet(type, counter),
                      from_disk_silently(type, record.bytes, output))
                << data_type_to_string(type) << " from " << as_text(record.bytes);
            EXPECT_EQ("", output);
        }
    }
}

TEST(DiskRoundTrip, TextKeepsSixSignificantDigitsAndCutsStringsAtSemicolons) {
    const DiskRecord presence =
        to_disk(PresenceSingleDataType, presence_single_packet(16777217, 1, 1.2345678f, 7, 2));
    EXPECT_EQ(";16777217;1;1.23457;7;2\n", row_fields(presence));
    EXPECT_EQ(presence_single_packet(16777216, 1, 1.23457f, 7, 2),
              formater.from_disk(PresenceSingleDataType, presence.bytes));

    const DiskRecord hello = to_disk(StringDataType, string_packet(1, 2, "hello"));
    EXPECT_EQ(";1;2;hello\n", row_fields(hello));
    EXPECT_EQ(string_packet(1, 2, "hello"), formater.from_disk(StringDataType, hello.bytes));
    const DiskRecord cut = to_disk(StringDataType, string_packet(1, 2, "hello;world"));
    EXPECT_EQ(string_packet(1, 2, "hello"), formater.from_disk(StringDataType, cut.bytes));

    // The binary forms keep what follows the head, whatever it holds.
    const Bytes floats = float_data_packet(3, 4, {1.0f});
    EXPECT_EQ(Bytes(floats.begin() + 2, floats.end()), to_disk(FloatDataType, floats).bytes);
    const Bytes baseband = baseband_packet(12, 9, {1.0f}, {2.0f});
    EXPECT_EQ(Bytes(baseband.begin() + 5, baseband.end()), to_disk(BasebandApDataType, baseband).bytes);
    EXPECT_EQ(baseband_packet(13, 9, {1.0f}, {2.0f}),
              formater.from_disk(BasebandApDataType, to_disk(BasebandApDataType, baseband).bytes));
}

TEST(TextRows, FieldsFollowThePacketWithListsInBrackets) {
    EXPECT_EQ(";5;1;14.5;1.25;80;0.5;0.75\n",
              row_fields(to_disk(SleepDataType, sleep_packet(5, 1, 14.5f, 1.25f, 80, 0.5f, 0.75f))));
    EXPECT_EQ(";2;12;1.5;0.125;3\n",
              row_fields(to_disk(RespirationDataType, respiration_packet(9, 2, 12, 1.5f, 0.125f, 3))));
    EXPECT_EQ(";4;1;3;0;[0.5,1e-07,-2];[1.5,2.5,1e+06];[];[];[]\n",
              row_fields(to_disk(
                  PresenceMovingListDataType,
                  presence_movinglist_packet(4, 1, {0.5f, 1e-7f, -2}, {1.5f, 2.5f, 1e6f}, {}, {}, {}))));
    EXPECT_EQ(";8;1;[0.5];[-1]\n", row_fields(to_disk(RespirationMovingListDataType,
                                                      respiration_movinglist_packet(8, {0.5f}, {-1}))));
    EXPECT_EQ(";8;1;[1];[2];[-3]\n",
              row_fields(to_disk(RespirationDetectionListDataType,
                                 respiration_detectionlist_packet(8, {1}, {2}, {-3}))));

    // An empty list reads back as no values, with the count as stored.
    const Bytes empty = presence_movinglist_packet(4, 1, {}, {}, {}, {}, {});
    const Bytes padded = PacketBuilder().raw(empty).u32(0).u32(0).u32(0).u32(0).u32(0).bytes();
    EXPECT_EQ(empty, formater.from_disk(PresenceMovingListDataType,
                                        to_disk(PresenceMovingListDataType, padded).bytes));
}

TEST(TextRows, TimeStampShowsLocalTimeMillisecondsAndOffset) {
    const std::regex shape("\\d{4}-\\d{2}-\\d{2}T\\d{2}:\\d{2}:\\d{2}\\.\\d{3}[+-]\\d{2}:\\d{2}");
    EXPECT_TRUE(std::regex_match(DataPacketToDisk::timestamp(std::chrono::system_clock::now()), shape));
    {
        TimeZone utc("UTC0");
        EXPECT_EQ("1970-01-02T00:00:01.042+00:00", DataPacketToDisk::timestamp(at_ms(86401042)));
        const DiskRecord row = to_disk(StringDataType, string_packet(1, 2, "x"));
        EXPECT_TRUE(std::regex_match(as_text(row.bytes), std::regex(".{29};1;2;x\n")));
    }
    {
        TimeZone west("EST5");
        EXPECT_EQ("1970-01-01T19:00:01.005-05:00", DataPacketToDisk::timestamp(at_ms(86401005)));
    }
    {
        TimeZone east("<+0530>-5:30");
        EXPECT_EQ("1970-01-02T05:30:00.999+05:30", DataPacketToDisk::timestamp(at_ms(86400999)));
    }
}

TEST(HeaderLines, TheTypesOwnLineGivesNothingSilentlyAndADamagedOneWarns) {
    for (DataType type : data_types_in_mask(AllDataTypes)) {
        const std::string header = DataPacketToDisk::header_line(type);
        if (!is_text_data_type(type) || type == PerformanceStatusType) {
            EXPECT_EQ("", header);
            continue;
        }
        std::string output;
        EXPECT_TRUE(from_disk_silently(type, as_bytes(header), output).empty());
        EXPECT_EQ("", output) << header;

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

TEST(AcceptanceTests, PacketsFailingTheirTypesTestAreDropped) {
    EXPECT_FALSE(to_disk(BasebandIqDataType, Bytes{0x50, 12, 0, 0}).accepted);
    EXPECT_FALSE(to_disk(BasebandIqDataType, PacketBuilder::appdata(16).bytes()).accepted);
    EXPECT_TRUE(to_disk(BasebandIqDataType, PacketBuilder::appdata(13).bytes()).accepted);
    EXPECT_FALSE(to_disk(FloatDataType, Bytes{0xA0}).accepted);
    EXPECT_FALSE(to_disk(ByteDataType, float_data_packet(1, 2, {})).accepted);
    EXPECT_FALSE(to_disk(SleepDataType, respiration_packet(1, 0, 12, 1.0f, 1.0f, 1)).accepted);
    Bytes presence = presence_single_packet(1, 1, 1.0f, 1, 1);
    presence.pop_back();
    EXPECT_FALSE(to_disk(PresenceSingleDataType, presence).accepted);
    const Bytes short_list = presence_movinglist_packet(1, 1, {1.0f}, {2.0f}, {}, {}, {}); // 37 bytes
    EXPECT_FALSE(to_disk(PresenceMovingListDataType, short_list).accepted);
    EXPECT_FALSE(to_disk(PulseDopplerFloatDataType, pulsedoppler_float_packet(18, 0, {1.0f})).accepted);

    const DiskRecord initializing = to_disk(RespirationDataType, respiration_packet(1, 4, 12, 1.0f, 1.0f, 1));
    EXPECT_FALSE(initializing.accepted);
    EXPECT_EQ("", initializing.message);
    const DiskRecord long_respiration = to_disk(
        RespirationDataType, PacketBuilder().raw(respiration_packet(1, 0, 12, 1.0f, 1.0f, 1)).u8(0).bytes());
    EXPECT_FALSE(long_respiration.accepted);
    EXPECT_EQ("invalid respiration binary, expected size: 24, actual: 25", long_respiration.message);

    Bytes wrong_length = string_packet(1, 2, "hello");
    wrong_length.pop_back();
    const DiskRecord string = to_disk(StringDataType, wrong_length);
    EXPECT_FALSE(string.accepted);
    EXPECT_EQ("expected string message with length: 5, actual: 4", string.message);
}

TEST(AcceptanceTests, MatricesAreRecordedFromTheirFirstRangeBlockOn) {
    bool started = false;
    EXPECT_FALSE(
        DataPacketToDisk::pulsedoppler(NoiseMapByteDataType, pulsedoppler_byte_packet(19, 2, {1}), started)
            .accepted);
    EXPECT_FALSE(started);
    const Bytes first = pulsedoppler_byte_packet(19, 0, {1, 2});
    const DiskRecord record = DataPacketToDisk::pulsedoppler(NoiseMapByteDataType, first, started);
    EXPECT_TRUE(record.accepted);
    EXPECT_EQ(Bytes(first.begin() + 5, first.end()), record.bytes);
    EXPECT_TRUE(started);
    EXPECT_TRUE(
        DataPacketToDisk::pulsedoppler(NoiseMapByteDataType, pulsedoppler_byte_packet(19, 3, {1}), started)
            .accepted);
    // Another type's packet neither passes nor starts anything.
    bool other = false;
    EXPECT_FALSE(DataPacketToDisk::pulsedoppler(PulseDopplerByteDataType, first, other).accepted);
    EXPECT_FALSE(other);
}

TEST(PerformanceStatus, AFullRecordBecomesABlockOfLines) {
    TimeZone utc("UTC0");
    const DiskRecord record =
        DataPacketToDisk::performance_status(performance_status_packet(100), at_ms(3723004));
    ASSERT_TRUE(record.accepted);
    std::istringstream lines(as_text(record.bytes));
    std::string line;
    std::vector<std::string> all;
    while (std::getline(lines, line)) {
        all.push_back(line);
    }
    ASSERT_EQ(23u, all.size());
    EXPECT_EQ("Radar performance status", all[0]);
    EXPECT_EQ("  |- timestamp: 01:02:03.4", all[1]);
    EXPECT_EQ("  |- frame stitch: 106", all[2]);
    EXPECT_EQ("  |- radar sweep: 100", all[3]);
    EXPECT_EQ("  |- fps: 107", all[11]);
    EXPECT_EQ("  |- period system ticks: 121", all[13]);
    EXPECT_EQ("  |- mem task uart TX: 118", all[22]);

    Bytes negative_ticks = performance_status_packet(0);
    std::fill(negative_ticks.begin() + 98, negative_ticks.begin() + 102, 0xFF);
    const DiskRecord negative = DataPacketToDisk::performance_status(negative_ticks);
    EXPECT_NE(std::string::npos, as_text(negative.bytes).find("period system ticks: -1\n"));

    Bytes other_content = performance_status_packet(0);
    other_content[2] = 6;
    EXPECT_FALSE(to_disk(PerformanceStatusType, other_content).accepted);
    EXPECT_EQ("", to_disk(PerformanceStatusType, other_content).message);
    Bytes short_one = performance_status_packet(0);
    short_one.resize(100);
    EXPECT_EQ("invalid performance status binary, expected size: 92, actual: 86",
              to_disk(PerformanceStatusType, short_one).message);
}

TEST(ShortInput, PacketsAndRecordsShorterThanTheirFieldsStaySafe) {
    // A sleep packet is taken on its id alone; the fields it lacks read as zero.
    const DiskRecord sleep = to_disk(SleepDataType, PacketBuilder::appdata(0x2375A16C).u32(7).bytes());
    EXPECT_EQ(";7;0;0;0;0;0;0\n", row_fields(sleep));
    // Counts larger than the packet keep only the values it holds.
    const Bytes huge_counts = PacketBuilder::appdata(0x723BFA1F)
                                  .u32(1)
                                  .u32(1)
                                  .u32(0xFFFFFFFF)
                                  .u32(0x40000000)
                                  .floats({1, 2, 3, 4, 5})
                                  .bytes();
    EXPECT_EQ(";1;1;4294967295;1073741824;[1,2,3,4,5];[];[];[];[]\n",
              row_fields(to_disk(PresenceMovingListDataType, huge_counts)));
    EXPECT_EQ(";1;9;[0,0];[]\n",
              row_fields(to_disk(RespirationMovingListDataType,
                                 PacketBuilder::appdata(0x610A3B00).u32(1).u32(9).u32(0).u32(0).bytes())));

    std::string output;
    EXPECT_TRUE(
        from_disk_silently(SleepDataType, as_bytes("2021-01-01T00:00:00.000+00:00;1;2"), output).empty());
    EXPECT_TRUE(from_disk_silently(StringDataType, as_bytes("t;1;2"), output).empty());
    EXPECT_TRUE(from_disk_silently(RespirationDataType, Bytes(), output).empty());
    EXPECT_EQ("", output);
    EXPECT_TRUE(
        from_disk_silently(RespirationMovingListDataType, as_bytes("t;1;2;[1,2];1,2\n"), output).empty());
    EXPECT_EQ("WARNING: invalid string array: 1,2\n", output);
    EXPECT_EQ(PacketBuilder::data(0x10).bytes(), formater.from_disk(ByteDataType, Bytes()));
    EXPECT_THROW(formater.from_disk(SleepDataType, as_bytes("t;one;2;3;4;5;6;7\n")), std::invalid_argument);
    // Values no 32-bit counter can hold come back as some number, not as undefined behaviour.
    EXPECT_EQ(respiration_packet(0, 0xFFFFFFFF, 0, 0.0f, 0.0f, 0),
              formater.from_disk(RespirationDataType, as_bytes("t;-1;1e30;0;0;nan\n")));
}

TEST(RadarSettings, TheBlockBecomesAnIniFileBesideBasebandData) {
    Bytes block(1072, 0);
    auto put = [&block](size_t offset, const PacketBuilder& value) {
        std::copy(value.bytes().begin(), value.bytes().end(), block.begin() + offset);
    };
    put(44, PacketBuilder().f32(23.328f));
    put(972, PacketBuilder()
                 .u32(300)
                 .u32(16)
                 .u32(4)
                 .u32(0)
                 .u32(8191)
                 .u32(2)
                 .u32(1)
                 .u32(0)
                 .f32(0.5f)
                 .u32(1)
                 .u32(17)
                 .u32(0xFFFFFFFF));
    put(1020 + 8, PacketBuilder().f32(7.29f));
    const Bytes settings = DataPacketToDisk::radar_settings_from_packet(radar_settings_packet(block));
    EXPECT_EQ(
        "[MainSection]\nGUID=27dae9d2-aea8-4321-a635-39fc0c5cef6d\n\n[ChipSettings]\nSamplingRate=23.328\n"
        "CarrierFrequency=7.29\nPulsesPerStep=300\nIterations=16\nDACStep=4\nDACMin=0\nDACMax=8191\nPGselect="
        "2\n"
        "MClkDiv=1\nStaggeredPRFEnable=0\nSampleDelay=0.5\nDACAuto=1\nFPS=17\nFrameStitch=-1\n",
        DataPacketToDisk::radar_settings_ini(settings));

    put(992, PacketBuilder().u32(13)); // a selector beyond the frequency table
    EXPECT_NE(std::string::npos,
              DataPacketToDisk::radar_settings_ini(
                  DataPacketToDisk::radar_settings_from_packet(radar_settings_packet(block)))
                  .find("CarrierFrequency=0\n"));

    Bytes shorter = settings;
    shorter.pop_back();
    EXPECT_EQ("", DataPacketToDisk::radar_settings_ini(shorter));
    EXPECT_EQ("", DataPacketToDisk::radar_settings_ini(Bytes(settings.begin() + 36, settings.end())));

    char directory[] = "/tmp/disk_formats_test_XXXXXX";
    ASSERT_NE(nullptr, mkdtemp(directory));
    const std::string filename = std::string(directory) + "/settings.ini";
    EXPECT_EQ(DataPacketToDisk::RadarSettingsWritten,
              DataPacketToDisk::write_radar_settings(settings, filename));
    std::ifstream file(filename);
    std::stringstream written;
    written << file.rdbuf();
    EXPECT_EQ(DataPacketToDisk::radar_settings_ini(settings), written.str());
    EXPECT_EQ(DataPacketToDisk::RadarSettingsInvalid,
              DataPacketToDisk::write_radar_settings(shorter, filename + "2"));
    EXPECT_EQ(
        DataPacketToDisk::RadarSettingsFileFailed,
        DataPacketToDisk::write_radar_settings(settings, std::string(directory) + "/missing/settings.ini"));
    std::remove(filename.c_str());
    EXPECT_EQ(0, rmdir(directory));
}
