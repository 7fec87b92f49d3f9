// Recording what a module streams: the recorder on a RadarInterface over the emulator's pseudo-terminal, with
// its subscriptions, the parameter file and profile id fetched at the session's start, and the radar
// settings written beside baseband data.
#include "data_recorder_fixture.h"

#include "ConcreteFactory.h"
#include "ModuleEmulator.h"
#include "ModuleFirmware.h"
#include "RadarInterface.h"
#include "UartIo.h"
#include "UniqueLocked.h"
#include "protocol_identifiers.h"

#include <atomic>
#include <deque>

using namespace Tervik;
using namespace recorder_test;

namespace {

// A RadarInterface on the emulator, guarded as a bridge holds it; its logger is the fixture's.
class RecordingFromModule : public RecorderTest {
protected:
    RecordingFromModule()
        : io(log.logger(), factory), radar(io, emulator.device_path(), factory, log.logger()),
          guard(&radar, false) {
        emulator.firmware().set_stream_rates(100.0, 100.0);
        recorder.reset(new DataRecorder(guard));
    }

    ~RecordingFromModule() override { recorder.reset(); }

    // A subscription of the test's own, made before the recorder's: each packet is handed to both in one
    // dispatch, so what it counts once the recorder has had a packet (its subscription is queued, not made at
    // once), the recorder has been handed too, but for the one in flight.
    typedef int (RadarInterface::*Subscribe)(const std::string&, RadarInterface::Callback);
    std::atomic<int>& count_packets(Subscribe subscribe) {
        std::atomic<int>* counter = &counters.emplace_back(0);
        (radar.*subscribe)("test counter " + std::to_string(counters.size()), [counter](Bytes) {
            ++*counter;
            return true;
        });
        return *counter;
    }

    // The counters of the data records of one type, in order; each must follow the one before.
    std::vector<long> recorded_counters(DataType type) {
        std::vector<long> result;
        for (const DataRecord& record : data_records(read_all(meta_filename(), type))) {
            const long counter = counter_of(record.data);
            EXPECT_TRUE(result.empty() || result.back() + 1 == counter)
                << counter << " after " << result.back();
            result.push_back(counter);
        }
        return result;
    }

    std::deque<std::atomic<int>> counters; // outlives the radar that calls on them
    ModuleEmulator emulator;
    ConcreteFactory factory;
    UartIo io;
    RadarInterface radar;
    LockedRadarInterfacePtr guard;
};

TEST_F(RecordingFromModule, StreamIsRecordedWithTheParameterFileAndProfileOfTheModule) {
    const Bytes parameters = {'[', 'p', 'a', 'r', ']', '\n', 0, 1, 2, 0xFF};
    ASSERT_EQ(0, radar.set_file_no_throw(58579340, 0, parameters)); // the parameter file's type
    ASSERT_TRUE(emulator.firmware().run_profile(KMS_ID_APP_PRESENCE));
    const std::atomic<int>& single = count_packets(&RadarInterface::subscribe_to_presence_single);
    const std::atomic<int>& moving = count_packets(&RadarInterface::subscribe_to_presence_movinglist);
    ASSERT_EQ(0,
              recorder->start_recording(PresenceSingleDataType | PresenceMovingListDataType, scratch.path()));
    ASSERT_TRUE(log.wait_for("open new file for data type:presence single", 10000));
    ASSERT_TRUE(log.wait_for("open new file for data type:presence moving list", 10000));
    const int single_at_start = single, moving_at_start = moving;
    ASSERT_TRUE(eventually([&] { return single >= single_at_start + 7 && moving >= moving_at_start + 7; }));
    finish();

    EXPECT_EQ(parameters, file_bytes(session_directory() + "/tervik_parameter_file.par"));
    DataReader reader;
    ASSERT_EQ(0, reader.open(meta_filename()));
    EXPECT_EQ(uint32_t(KMS_ID_APP_PRESENCE), reader.get_profile_id());
    EXPECT_EQ(uint32_t(PresenceSingleDataType | PresenceMovingListDataType), reader.get_data_types());
    EXPECT_GE(recorded_counters(PresenceSingleDataType).size(), 5u);
    EXPECT_GE(recorded_counters(PresenceMovingListDataType).size(), 5u);
}

TEST_F(RecordingFromModule, PacketsAfterTheStopAreNotRecordedAndAMissingParameterFileIsNoObstacle) {
    emulator.start_stream(StreamKind::presence_single, 200.0);
    const std::atomic<int>& seen = count_packets(&RadarInterface::subscribe_to_presence_single);
    ASSERT_EQ(0, recorder->start_recording(PresenceSingleDataType, scratch.path()));
    ASSERT_TRUE(log.wait_for("open new file for data type:presence single", 10000));
    const int seen_at_start = seen;
    ASSERT_TRUE(eventually([&] { return seen >= seen_at_start + 12; }));
    recorder->stop_recording(PresenceSingleDataType);
    const int seen_at_stop = seen;
    ASSERT_TRUE(eventually([&] { return seen >= seen_at_stop + 10; }));
    // Packets after the recorder's destruction reach no recorder either.
    finish();
    const int seen_at_destruction = seen;
    ASSERT_TRUE(eventually([&] { return seen >= seen_at_destruction + 5; }));

    EXPECT_TRUE(log.contains("failed to retrieve parameter file from module"));
    EXPECT_FALSE(exists(session_directory() + "/tervik_parameter_file.par"));
    DataReader reader;
    ASSERT_EQ(0, reader.open(meta_filename()));
    EXPECT_EQ(0u, reader.get_profile_id());
    const size_t recorded = recorded_counters(PresenceSingleDataType).size();
    EXPECT_GE(recorded, 10u);
    EXPECT_LE(recorded, size_t(seen_at_stop) + 1); // one may have been on its way through the dispatch
}

TEST_F(RecordingFromModule, RadarSettingsFileStandsBesideBasebandData) {
    emulator.send(ModuleEmulator::WireForm::frame,
                  SamplePackets::radar_settings_packet(SamplePackets::radar_settings_block()));
    ASSERT_EQ(0, recorder->start_recording(BasebandIqDataType | FloatDataType, scratch.path()));
    const Bytes baseband = SamplePackets::sample_packet(BasebandIqDataType, 1);
    emulator.send(ModuleEmulator::WireForm::frame, baseband);
    emulator.send(ModuleEmulator::WireForm::frame, SamplePackets::sample_packet(FloatDataType, 1));
    // Float data comes behind the baseband packet all the way.
    ASSERT_TRUE(log.wait_for("open new file for data type:Float data", 10000));
    finish();

    const std::vector<std::string> ini = find(session_directory(), ".ini");
    ASSERT_EQ(1u, ini.size());
    EXPECT_EQ(0u, ini[0].find(session_directory() + "/tervik_baseband_iq_"));
    const std::string settings = text(file_bytes(ini[0]));
    EXPECT_EQ(0u,
              settings.find("[MainSection]\nGUID=27dae9d2-aea8-4321-a635-39fc0c5cef6d\n\n[ChipSettings]\n"))
        << settings;
    EXPECT_NE(std::string::npos, settings.find("\nCarrierFrequency=7.29\n")) << settings;
    EXPECT_NE(std::string::npos, settings.find("\nFPS=17\n")) << settings;
    const std::vector<DataRecord> records = read_all(meta_filename(), BasebandIqDataType);
    ASSERT_EQ(1u, records.size());
    EXPECT_EQ(Bytes(baseband.begin() + 5, baseband.end()), records[0].data);
}

} // namespace
