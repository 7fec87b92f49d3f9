// Bridges on a recording: what the recorder made of the module emulator's streams played back through the
// whole stack to subscriptions and queues, commands to a recording, and a recorder on a playing bridge.
#include "DataPlayer.h"
#include "DeviceBridge.h"
#include "PyDataPlayer.h"
#include "PythonDeviceBridge.h"
#include "UniqueLocked.h"
#include "data_recorder_fixture.h"

#include <filesystem>
#include <map>
#include <mutex>

using namespace Tervik;
using namespace recorder_test;

namespace {

const DataTypes recorded_types = BasebandIqDataType | RespirationDataType | PresenceSingleDataType;

uint32_t counter_of_packet(const Bytes& packet) {
    return packet.size() < 9 ? 0xFFFFFFFF
                             : uint32_t(packet[5] | packet[6] << 8 | packet[7] << 16 | packet[8] << 24);
}

Tervik::AbstractLoggerIo* discarded_lines() {
    return new JournalOutput(std::make_shared<LogJournal>());
}

// Packets that a subscription handed over, on the dispatcher's thread.
struct Received {
    RadarInterface::Callback callback() {
        return [this](Bytes packet) {
            std::lock_guard<std::mutex> lock(mutex);
            packets.push_back(packet);
            return true;
        };
    }
    size_t size() {
        std::lock_guard<std::mutex> lock(mutex);
        return packets.size();
    }
    std::mutex mutex;
    std::vector<Bytes> packets;
};

// What the project's recorder makes of the emulator's baseband I/Q, respiration and presence streams, made
// once; `sent` holds the baseband frames as the module sent them, by frame counter.
struct EmulatorRecording {
    EmulatorRecording() {
        Received frames; // outlives the bridge that calls it
        ModuleEmulator emulator;
        DeviceBridge live(emulator.device_path(), 0, discarded_lines());
        live.get_radar_interface()->subscribe_to_baseband_iq("sent", frames.callback());
        {
            DataRecorder recorder(live.get_radar_interface());
            EXPECT_EQ(0, recorder.start_recording(recorded_types, scratch.path()));
            for (StreamKind kind :
                 {StreamKind::baseband_iq, StreamKind::respiration_legacy, StreamKind::presence_single})
                emulator.start_stream(kind, 50.0);
            EXPECT_TRUE(eventually([&] { return frames.size() >= 15; }));
        }
        std::lock_guard<std::mutex> lock(frames.mutex);
        for (const Bytes& frame : frames.packets)
            sent[counter_of_packet(frame)] = frame;
        meta = find(scratch.path(), "tervik_recording_").at(0) + "/tervik_recording_meta.dat";
    }

    ScratchDirectory scratch;
    std::string meta;
    std::map<uint32_t, Bytes> sent;
};

const EmulatorRecording& emulator_recording() {
    static const EmulatorRecording recording;
    return recording;
}

size_t data_record_count(const std::string& meta, DataType type) {
    return data_records(read_all(meta, type)).size();
}

TEST(PlaybackBridgeTest, PlayedPacketsReachSubscriptionsAsTheModuleSentThem) {
    const EmulatorRecording& recording = emulator_recording();
    Received frames, breaths;
    DataPlayer player(recording.meta);
    DeviceBridge bridge(player, 0, discarded_lines());
    bridge.get_radar_interface()->subscribe_to_baseband_iq("frames", frames.callback());
    bridge.get_radar_interface()->subscribe_to_resp_status("breaths", breaths.callback());
    player.set_playback_rate(-1);
    player.play();

    const size_t frame_count = data_record_count(recording.meta, BasebandIqDataType);
    const size_t breath_count = data_record_count(recording.meta, RespirationDataType);
    ASSERT_GT(frame_count, 0u);
    ASSERT_GT(breath_count, 0u);
    ASSERT_TRUE(eventually([&] { return frames.size() == frame_count && breaths.size() == breath_count; }))
        << frames.size() << "/" << frame_count << " " << breaths.size() << "/" << breath_count;
    for (const Bytes& frame : frames.packets)
        EXPECT_EQ(recording.sent.at(counter_of_packet(frame)), frame);
    for (const Bytes& breath : breaths.packets)
        EXPECT_EQ(0u, counter_of_packet(breath)); // the frame counter of respiration is not recorded
}

// The default logger of the Python twin writes its debug file into the current directory.
struct WorkingDirectory {
    explicit WorkingDirectory(const std::string& path) : previous(std::filesystem::current_path()) {
        std::filesystem::current_path(path);
    }
    ~WorkingDirectory() { std::filesystem::current_path(previous); }
    std::filesystem::path previous;
};

TEST(PlaybackBridgeTest, CommandsFailAtTheWriterButAModuleResetRewindsTheRecording) {
    const SampleRecording recording({PresenceSingleDataType}, 20, 100);
    const WorkingDirectory here(recording.scratch.path());
    PyDataPlayer player(recording.meta);
    PythonDeviceBridge bridge(player, 0);
    RadarInterface& radar = static_cast<RadarInterface&>(bridge.get_g5());
    bridge.set_default_timeout(1);

    EXPECT_EQ("Failed to write all bytes to module\n", link_test::failure_of([&] { radar.ping(); }));
    // Written; then no answer comes, but for a second in which the stopped player gave nothing.
    EXPECT_EQ(1, radar.module_reset_no_throw());
    EXPECT_EQ(0, radar.peek_message_presence_single());

    player.play();
    for (uint32_t counter = 1; counter <= 3; ++counter)
        EXPECT_EQ(counter, radar.read_message_presence_single().frame_counter);
    EXPECT_EQ(1, radar.module_reset_no_throw());
    EXPECT_TRUE(eventually([&] {
        while (radar.peek_message_presence_single() > 0)
            if (radar.read_message_presence_single().frame_counter == 1)
                return true;
        return false;
    })) << "not rewound";
}

TEST(PlaybackBridgeTest, ARecorderOnAPlayingBridgeRecordsTheSameRecordsAgain) {
    const EmulatorRecording& original = emulator_recording();
    ScratchDirectory copy;
    Received played;
    DataPlayer player(original.meta);
    DeviceBridge bridge(player, 0, discarded_lines());
    LockedRadarInterfacePtr& radar = bridge.get_radar_interface();
    radar->subscribe_to_baseband_iq("frames", played.callback());
    radar->subscribe_to_resp_status("breaths", played.callback());
    radar->subscribe_to_presence_single("presence", played.callback());
    const std::vector<DataRecord> records = data_records(read_all(original.meta));
    {
        DataRecorder recorder(radar);
        ASSERT_EQ(0, recorder.start_recording(recorded_types, copy.path()));
        player.play();
        ASSERT_TRUE(eventually([&] { return played.size() == records.size(); }));
        bridge.close(); // every dispatch has reached the recorder
    }

    const std::vector<DataRecord> again =
        data_records(read_all(find(copy.path(), "tervik_recording_").at(0) + "/tervik_recording_meta.dat"));
    ASSERT_EQ(records.size(), again.size());
    for (size_t i = 0; i < records.size(); ++i) {
        EXPECT_EQ(records[i].data_type, again[i].data_type);
        // A text row begins with the time it was written.
        const bool binary = records[i].data_type == BasebandIqDataType;
        const std::string row = text(records[i].data), row_again = text(again[i].data);
        EXPECT_EQ(binary ? row : row.substr(row.find(';')),
                  binary ? row_again : row_again.substr(row_again.find(';')))
            << "record " << i;
    }
}

} // namespace
