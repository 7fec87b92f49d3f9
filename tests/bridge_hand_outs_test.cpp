// What the bridges hand out, on the module emulator and on a recording: how the facades report a refusal
// and a time-out, that one call holds the connection's lock for its whole length, that they outlive close
// and open, and in which order a bridge makes and releases them.
#include "DataPlayer.h"
#include "DeviceBridge.h"
#include "PyDataPlayer.h"
#include "PythonDeviceBridge.h"
#include "RadarTestLink.h"
#include "RecordingWriter.h"
#include "SamplePackets.h"
#include "TervikException.h"
#include "UniqueLocked.h"
#include "protocol_identifiers.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>

#include <atomic>
#include <filesystem>
#include <future>
#include <thread>

using Tervik::DeviceBridge;
using Tervik::PythonDeviceBridge;

namespace {

using std::chrono::milliseconds;

Tervik::AbstractLoggerIo* kept_lines(std::shared_ptr<LogJournal> journal = std::make_shared<LogJournal>()) {
    return new JournalOutput(std::move(journal));
}

// The default logger of the Python twin writes its debug file into the current directory.
struct WorkingDirectory {
    explicit WorkingDirectory(const std::string& path) : previous(std::filesystem::current_path()) {
        std::filesystem::current_path(path);
    }
    ~WorkingDirectory() { std::filesystem::current_path(previous); }
    std::filesystem::path previous;
};

// A native and a Python bridge on one module each.
struct Bridges {
    explicit Bridges(ModuleEmulator::Transport transport = ModuleEmulator::Transport::pty)
        : native_module(transport), python_module(transport), here(scratch.path()),
          native(transport == ModuleEmulator::Transport::pty
                     ? new DeviceBridge(native_module.device_path(), 0, kept_lines())
                     : new DeviceBridge(inet_addr("127.0.0.1"), htons(native_module.tcp_port()), 0,
                                        kept_lines())),
          python(transport == ModuleEmulator::Transport::pty
                     ? new PythonDeviceBridge(python_module.device_path(), 0)
                     : new PythonDeviceBridge(inet_addr("127.0.0.1"), htons(python_module.tcp_port()), 0)) {
        EXPECT_TRUE(native_module.wait_for_connections(1, std::chrono::seconds(10)));
        EXPECT_TRUE(python_module.wait_for_connections(1, std::chrono::seconds(10)));
    }
    void answer_both(const Bytes& prefix, const Bytes& reply) {
        for (ModuleEmulator* module : {&native_module, &python_module})
            module->set_handler(prefix, [reply](const Bytes&) { return std::vector<Bytes>{reply}; });
    }
    void silence_both() {
        for (ModuleEmulator* module : {&native_module, &python_module})
            module->set_silent(true);
        native->set_default_timeout(0);
        python->set_default_timeout(0);
    }

    ModuleEmulator native_module, python_module;
    ScratchDirectory scratch;
    WorkingDirectory here;
    std::unique_ptr<DeviceBridge> native;
    std::unique_ptr<PythonDeviceBridge> python;
};

// ---- failures, by twin ----------------------------------------------------------------------------------

const Bytes error_42 = {KMS_SPR_ERROR, 42, 0, 0, 0};

struct Failing {
    const char* name;
    std::function<int(DeviceBridge&, float*)> plain;
    std::function<void(PythonDeviceBridge&)> python;
    const char* refused_text;
};

const std::vector<Failing> failing = {
    {"set_sensitivity", [](DeviceBridge& b, float*) { return b.get_g7n420().set_sensitivity(3); },
     [](PythonDeviceBridge& b) { b.get_g7n310().set_sensitivity(3); }, "set_sensitivity failed"},
    {"g7driver_set_fps", [](DeviceBridge& b, float*) { return b.get_rcp().g7driver_set_fps(5); },
     [](PythonDeviceBridge& b) { b.get_rcp().g7driver_set_fps(5); },
     "g7driver_set_fps: module reponded with KMS_SPR_ERROR"},
    {"load_sleep_profile", [](DeviceBridge& b, float*) { return b.get_g5n310().load_sleep_profile(); },
     [](PythonDeviceBridge& b) { b.get_g5n310().load_sleep_profile(); }, "load profile failed"},
    {"get_detection_zone",
     [](DeviceBridge& b, float* out) { return b.get_g7n420().get_detection_zone(out, out + 1); },
     [](PythonDeviceBridge& b) { b.get_g7n420().get_detection_zone(); }, "get_detection_zone failed"},
    {"g7driver_get_fps", [](DeviceBridge& b, float* out) { return b.get_rcp().g7driver_get_fps(out); },
     [](PythonDeviceBridge& b) { b.get_rcp().g7driver_get_fps(); }, nullptr},
};

TEST(FacadeFailures, ARefusalGivesTheModulesCodeOrThrowsItAndLeavesTheOutputsAlone) {
    Bridges bridges;
    for (const Failing& row : failing) {
        // The module refuses exactly the command that the call sends.
        float outputs[2] = {-7, -7};
        ASSERT_EQ(0, row.plain(*bridges.native, outputs)) << row.name;
        bridges.answer_both(bridges.native_module.received_commands().back(), error_42);
        outputs[0] = outputs[1] = -7;
        // A get reply that doesn't parse has no code of the module's: the host's 1 and a plain error.
        const bool coded = row.refused_text != nullptr;
        EXPECT_EQ(coded ? 42 : 1, row.plain(*bridges.native, outputs)) << row.name;
        EXPECT_EQ(-7, outputs[0]) << row.name;
        EXPECT_EQ(-7, outputs[1]) << row.name;
        const std::string thrown = outcome([&] { row.python(*bridges.python); });
        if (coded)
            EXPECT_EQ(std::string("42 ") + row.refused_text, thrown) << row.name;
        else
            EXPECT_EQ("runtime_error parse_reply failed in g7driver_get_fps", thrown) << row.name;
    }
}

TEST(FacadeFailures, ATimeOutGivesOneOrThrowsAPlainRuntimeErrorAndLeavesTheOutputsAlone) {
    Bridges bridges;
    bridges.silence_both();
    for (const Failing& row : failing) {
        float outputs[2] = {-7, -7};
        EXPECT_EQ(1, row.plain(*bridges.native, outputs)) << row.name;
        EXPECT_EQ(-7, outputs[0]) << row.name;
        EXPECT_EQ("runtime_error Timeout waiting for response\n",
                  outcome([&] { row.python(*bridges.python); }))
            << row.name;
    }
}

// The methods whose only form is the status form don't catch a time-out, in either twin.
TEST(FacadeFailures, StatusOnlyMethodsLetATimeOutThrough) {
    Bridges bridges;
    bridges.silence_both();
    std::string text = "untouched";
    Bytes result;
    const std::vector<std::function<void()>> calls = {
        [&] { bridges.native->get_g7n420().get_system_info(KMID_SSIC_VERSION, &text); },
        [&] { bridges.native->get_g7n310().system_run_test(1, &result); },
        [&] { bridges.native->get_rcp().get_system_info(KMID_SSIC_VERSION, &text); },
        [&] { bridges.python->get_g7n420().system_run_test(1, &result); },
        [&] { bridges.python->get_g7n310().get_system_info(KMID_SSIC_VERSION, &text); },
        [&] { bridges.python->get_rcp().get_system_info(KMID_SSIC_VERSION, &text); },
    };
    for (size_t i = 0; i < calls.size(); ++i)
        EXPECT_EQ("runtime_error Timeout waiting for response\n", outcome(calls[i])) << "call " << i;
    EXPECT_EQ("untouched", text);
    EXPECT_TRUE(result.empty());
}

// ---- the lock -------------------------------------------------------------------------------------------

// Two threads send commands, one through a facade and one through the guard; a command written into the
// middle of another would reach the module as a damaged frame, or as a command that neither sent.
TEST(FacadeLock, AFacadeAndTheRadarInterfaceNeverInterleaveFrames) {
    ModuleEmulator module;
    DeviceBridge bridge(module.device_path(), 0, kept_lines());
    const int rounds = 150;
    ASSERT_EQ(0, bridge.get_rcp().g7driver_set_frame_area(0.25f, 7.5f));
    uint32_t pong = 0;
    ASSERT_EQ(0, bridge.get_radar_interface()->ping(&pong));
    const std::vector<Bytes> alone = module.received_commands();
    ASSERT_EQ(2u, alone.size());

    std::atomic<int> failures{0};
    std::thread through_facade([&] {
        for (int i = 0; i < rounds; ++i)
            failures += bridge.get_rcp().g7driver_set_frame_area(0.25f, 7.5f) != 0;
    });
    for (int i = 0; i < rounds; ++i)
        failures += bridge.get_radar_interface()->ping(&pong) != 0;
    through_facade.join();

    EXPECT_EQ(0, failures);
    EXPECT_EQ(0u, module.checksum_errors());
    const std::vector<Bytes> received = module.received_commands();
    ASSERT_EQ(2u + 2 * rounds, received.size());
    for (const Bytes& command : received)
        EXPECT_TRUE(command == alone[0] || command == alone[1]);
}

// A read of an empty queue waits with the lock held: a command of another thread goes out only after the
// packet came and the read returned.
TEST(FacadeLock, ABlockingQueueReadHoldsTheLockForItsLength) {
    ModuleEmulator module;
    DeviceBridge bridge(module.device_path(), 0, kept_lines());
    std::atomic<int> order{0};
    int read_done = 0, ping_done = 0;
    std::future<int> reading = std::async(std::launch::async, [&] {
        Tervik::PresenceSingleData data;
        const int status = bridge.get_g7n420().read_message_presence_single(&data);
        read_done = ++order;
        return status;
    });
    std::recursive_mutex& mutex = bridge.get_radar_interface().get_mutex();
    ASSERT_TRUE(eventually([&] {
        const bool free = mutex.try_lock();
        if (free)
            mutex.unlock();
        return !free;
    })) << "the read never took the lock";

    std::future<int> pinging = std::async(std::launch::async, [&] {
        uint32_t pong = 0;
        const int status = bridge.get_rcp().ping(&pong);
        ping_done = ++order;
        return status;
    });
    EXPECT_FALSE(module.wait_for_commands(1, milliseconds(300))) << "the ping went out during the read";
    module.send(ModuleEmulator::WireForm::frame, SamplePackets::presence_single_packet(5, 1, 1.5f, 0, 90));
    EXPECT_EQ(0, reading.get());
    EXPECT_EQ(0, pinging.get());
    EXPECT_EQ(1, read_done);
    EXPECT_EQ(2, ping_done);
}

// ---- close and open -------------------------------------------------------------------------------------

class FacadeReconnect : public ::testing::TestWithParam<ModuleEmulator::Transport> {};

TEST_P(FacadeReconnect, AfterCloseAFacadeFailsAndAfterOpenTheSameFacadeWorksAgain) {
    Bridges bridges(GetParam());
    Tervik::G7N420& g7n420 = bridges.native->get_g7n420();
    Tervik::PyRCP& rcp = bridges.python->get_rcp();
    std::string firmware;
    ASSERT_EQ(0, g7n420.get_system_info(KMID_SSIC_FIRMWAREID, &firmware));
    ASSERT_EQ(KMS_DEF_PONGVAL_READY, rcp.ping());

    EXPECT_EQ(0, bridges.native->close());
    EXPECT_EQ(0, bridges.python->close());
    EXPECT_EQ(1, g7n420.store_noisemap());
    EXPECT_EQ("1 set_led_control failed",
              outcome([&] { bridges.python->get_g7n420().set_led_control(1, 1); }));
    EXPECT_EQ("1 g7driver_set_fps response from module is empty", outcome([&] { rcp.g7driver_set_fps(3); }));

    const bool tcp = GetParam() == ModuleEmulator::Transport::tcp;
    EXPECT_EQ(0, bridges.native->open(tcp ? "" : bridges.native_module.device_path()));
    EXPECT_EQ(0, bridges.python->open(tcp ? "" : bridges.python_module.device_path()));
    EXPECT_EQ(0, g7n420.store_noisemap());
    EXPECT_EQ(KMS_DEF_PONGVAL_READY, rcp.ping());
}

INSTANTIATE_TEST_SUITE_P(Links, FacadeReconnect,
                         ::testing::Values(ModuleEmulator::Transport::pty, ModuleEmulator::Transport::tcp),
                         [](const ::testing::TestParamInfo<ModuleEmulator::Transport>& info) {
                             return info.param == ModuleEmulator::Transport::pty ? "pty" : "tcp";
                         });

// ---- the order of making and releasing ------------------------------------------------------------------

size_t position_of(std::vector<std::string>& lines, const std::string& fragment) {
    for (size_t i = 0; i < lines.size(); ++i)
        if (lines[i].find(fragment) != std::string::npos)
            return i;
    ADD_FAILURE() << "no line with " << fragment;
    return lines.size();
}

TEST(BridgeHandOuts, AreMadeAfterTheConnectionAndReleasedInReverseBeforeIt) {
    ModuleEmulator module;
    auto journal = std::make_shared<LogJournal>();
    { DeviceBridge bridge(module.device_path(), 3, kept_lines(journal)); }
    std::vector<std::string> lines = journal->lines;
    const char* order[] = {"RadarInterface - base -- end",
                           "create g5n310 -- end",
                           "create rcp -- end",
                           "create g7n420 -- end",
                           "create g7n310 -- end",
                           "create data_recorder -- end",
                           "create transport -- end",
                           "create not_supported -- end",
                           "release not_supported",
                           "release transport",
                           "release data_recorder -- begin",
                           "release data_recorder -- end",
                           "release g7n310",
                           "release g7n420",
                           "release rcp",
                           "release g5n310 -- end",
                           "~RadarInterface -- begin"};
    for (size_t i = 1; i < sizeof(order) / sizeof(order[0]); ++i)
        EXPECT_LT(position_of(lines, order[i - 1]), position_of(lines, order[i])) << order[i];
}

// ---- a Python bridge that is not open, and bridges on a recording ---------------------------------------

TEST(BridgeHandOuts, APythonBridgeWithALevelOnlyHasAllHandOutsWhoseCommandsFailUntilOpen) {
    ModuleEmulator module;
    ScratchDirectory scratch;
    WorkingDirectory here(scratch.path());
    PythonDeviceBridge bridge(0);
    bridge.set_default_timeout(0);
    EXPECT_EQ("runtime_error Timeout waiting for response\n",
              outcome([&] { bridge.get_rcp().g7driver_get_fps(); }));
    EXPECT_NE("ok", outcome([&] { bridge.get_g5n310().get_firmware_id(); }));
    EXPECT_NE("ok", outcome([&] { bridge.get_g7n310().get_detection_zone(); }));
    EXPECT_NE("ok", outcome([&] { bridge.get_g7n420().set_sensitivity(1); }));
    EXPECT_NE("ok",
              outcome([&] { bridge.get_transport().send_command_single({KMS_SPC_PING}, {KMS_SPR_PONG}); }));
    EXPECT_EQ(0, bridge.get_not_supported().peek_message_data_float("nothing"));
    EXPECT_FALSE(bridge.get_data_recorder().is_recording(Tervik::PresenceSingleDataType));
    EXPECT_TRUE(module.received_commands().empty());

    ASSERT_EQ(0, bridge.open(module.device_path()));
    bridge.set_default_timeout(2);
    EXPECT_EQ("G7N420", bridge.get_g5n310().get_firmware_id());
    EXPECT_EQ(KMS_DEF_PONGVAL_READY, bridge.get_rcp().ping());
    module.send(ModuleEmulator::WireForm::frame, SamplePackets::presence_single_packet(9, 1, 1.5f, 0, 90));
    EXPECT_EQ(9u, bridge.get_g7n420().read_message_presence_single().frame_counter);
}

TEST(BridgeHandOuts, WorkOnABridgeThatPlaysARecording) {
    const SampleRecording recording({Tervik::PresenceSingleDataType}, 5, 20);
    WorkingDirectory here(recording.scratch.path());
    Tervik::DataPlayer player(recording.meta);
    Tervik::PyDataPlayer py_player(recording.meta);
    DeviceBridge native(player, 0, kept_lines());
    PythonDeviceBridge python(py_player, 0);
    player.set_playback_rate(-1);
    py_player.set_playback_rate(-1);
    player.play();
    py_player.play();

    Tervik::PresenceSingleData data;
    EXPECT_EQ(0, native.get_g7n420().read_message_presence_single(&data));
    EXPECT_EQ(1u, data.frame_counter);
    EXPECT_EQ(1u, python.get_g7n420().read_message_presence_single().frame_counter);
    uint32_t pong = 0;
    EXPECT_EQ(1, native.get_rcp().ping(&pong)) << "no module answers a recording";
    EXPECT_EQ("runtime_error Failed to write all bytes to module\n",
              outcome([&] { python.get_rcp().ping(); }));
}

} // namespace
