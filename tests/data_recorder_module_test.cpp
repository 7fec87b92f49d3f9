// Recording what a module streams: the recorder on a RadarInterface over the emulator's pseudo-terminal, with
// its subscriptions, the parameter file and profile id fetched at the session's start, and the radar
// settings written beside baseband data.
#include "data_recorder_fixture.h"

#include "ByteHelpers.h"
#include "ConcreteFactory.h"
#include "ModuleEmulator.h"
#include "ModuleFirmware.h"
#include "RadarInterface.h"
#include "SamplePackets.h"
#include "ScriptedModule.h"
#include "UartIo.h"
#include "UniqueLocked.h"
#include "protocol_identifiers.h"

#include <chrono>
#include <thread>

using namespace Tervik;
using namespace recorder_test;

namespace {

const uint32_t parameter_file_type = 58579340;

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

    // Lets the emulator stream `count` more packets.
    bool stream(unsigned long long count) {
        const unsigned long long target = emulator.packets_streamed() + count;
        for (int waited = 0; emulator.packets_streamed() < target && waited < 5000; waited += 2)
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        return emulator.packets_streamed() >= target;
    }

    // The counters of the data records of one type, in order.
    std::vector<long> counters(DataType type) {
        std::vector<long> result;
        for (const DataRecord& record : data_records(read_all(meta_filename(), type)))
            result.push_back(std::stol(fields(record.data).at(1)));
        return result;
    }

    static void expect_consecutive(const std::vector<long>& values) {
        for (size_t i = 1; i < values.size(); ++i)
            EXPECT_EQ(values[i - 1] + 1, values[i]) << "record " << i;
    }

    ModuleEmulator emulator;
    ConcreteFactory factory;
    UartIo io;
    RadarInterface radar;
    LockedRadarInterfacePtr guard;
};

TEST_F(RecordingFromModule, StreamIsRecordedWithTheParameterFileAndProfileOfTheModule) {
    const Bytes parameters = {'[', 'p', 'a', 'r', ']', '\n', 0, 1, 2, 0xFF};
    ASSERT_EQ(0, radar.set_file_no_throw(parameter_file_type, 0, parameters));
    ASSERT_TRUE(emulator.firmware().run_profile(KMS_ID_APP_PRESENCE));
    ASSERT_EQ(0,
              recorder->start_recording(PresenceSingleDataType | PresenceMovingListDataType, scratch.path()));
    ASSERT_TRUE(stream(40));
    finish();

    EXPECT_EQ(parameters, file_bytes(session_directory() + "/tervik_parameter_file.par"));
    DataReader reader;
    ASSERT_EQ(0, reader.open(meta_filename()));
    EXPECT_EQ(uint32_t(KMS_ID_APP_PRESENCE), reader.get_profile_id());
    EXPECT_EQ(uint32_t(PresenceSingleDataType | PresenceMovingListDataType), reader.get_data_types());
    const std::vector<long> single = counters(PresenceSingleDataType);
    const std::vector<long> moving = counters(PresenceMovingListDataType);
    EXPECT_GE(single.size(), 5u);
    EXPECT_GE(moving.size(), 5u);
    expect_consecutive(single);
    expect_consecutive(moving);
}

TEST_F(RecordingFromModule, AModuleWithoutParameterFileStillGetsRecorded) {
    emulator.start_stream(StreamKind::presence_single, 200.0);
    ASSERT_EQ(0, recorder->start_recording(PresenceSingleDataType, scratch.path()));
    ASSERT_TRUE(stream(20));
    recorder->stop_recording(PresenceSingleDataType);
    // Packets after the stop reach no recorder; neither do those after its destruction.
    ASSERT_TRUE(stream(10));
    finish();
    ASSERT_TRUE(stream(10));

    EXPECT_TRUE(log.contains("failed to retrieve parameter file from module"));
    EXPECT_FALSE(exists(session_directory() + "/tervik_parameter_file.par"));
    DataReader reader;
    ASSERT_EQ(0, reader.open(meta_filename()));
    EXPECT_EQ(0u, reader.get_profile_id());
    const std::vector<long> single = counters(PresenceSingleDataType);
    EXPECT_GE(single.size(), 10u);
    EXPECT_LT(single.size(), 40u);
    expect_consecutive(single);
}

// The module's radar settings block, with the values that the settings file shows.
Bytes radar_settings_block() {
    Bytes block(1072, 0);
    const auto put = [&block](size_t offset, const Bytes& value) {
        std::copy(value.begin(), value.end(), block.begin() + offset);
    };
    put(44, module_packets::f32(23.328e9f)); // SamplingRate
    put(992, module_packets::u32(1));        // PGselect
    put(1012, module_packets::u32(17));      // FPS
    put(1020 + 4, module_packets::f32(7.29e9f));
    return block;
}

TEST_F(RecordingFromModule, RadarSettingsFileStandsBesideBasebandData) {
    emulator.send(ModuleEmulator::WireForm::frame,
                  module_packets::data_message(0x50, 3, 0, radar_settings_block()));
    ASSERT_EQ(0, recorder->start_recording(BasebandIqDataType | FloatDataType, scratch.path()));
    const Bytes baseband = SamplePackets::sample_packet(BasebandIqDataType, 1);
    emulator.send(ModuleEmulator::WireForm::frame, baseband);
    emulator.send(ModuleEmulator::WireForm::frame, SamplePackets::sample_packet(FloatDataType, 1));
    // Float data comes behind the baseband packet all the way.
    ASSERT_TRUE(log.wait_for("open new file for data type:Float data"));
    finish();

    const std::vector<std::string> ini = find(session_directory(), ".ini");
    ASSERT_EQ(1u, ini.size());
    EXPECT_EQ(0u, ini[0].find(session_directory() + "/tervik_baseband_iq_"));
    const std::string settings = file_text(ini[0]);
    EXPECT_EQ(0u,
              settings.find("[MainSection]\nGUID=27dae9d2-aea8-4321-a635-39fc0c5cef6d\n\n[ChipSettings]\n"))
        << settings;
    EXPECT_NE(std::string::npos, settings.find("\nCarrierFrequency=7.29e+09\n")) << settings;
    EXPECT_NE(std::string::npos, settings.find("\nFPS=17\n")) << settings;
    const std::vector<DataRecord> records = read_all(meta_filename(), BasebandIqDataType);
    ASSERT_EQ(1u, records.size());
    EXPECT_EQ(Bytes(baseband.begin() + 5, baseband.end()), records[0].data);
}

} // namespace
