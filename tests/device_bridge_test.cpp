// The device bridge on the module emulator, over a pseudo-terminal and over loopback TCP: building and
// releasing the whole stack, the logger output it owns, close and open again, and threads sharing it.
#include "DeviceBridge.h"
#include "ProcessCpu.h"
#include "PythonDeviceBridge.h"
#include "RadarTestLink.h"
#include "ScratchDirectory.h"
#include "TervikException.h"
#include "UniqueLocked.h"
#include "protocol_identifiers.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <dirent.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>
#include <regex>
#include <thread>

using namespace module_packets;

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

Tervik::AbstractLoggerIo* kept_lines(std::shared_ptr<LogJournal> journal = std::make_shared<LogJournal>()) {
    return new JournalOutput(std::move(journal));
}

std::vector<std::string> names_in(const std::string& directory) {
    std::vector<std::string> names;
    if (DIR* dir = opendir(directory.c_str())) {
        while (dirent* entry = readdir(dir))
            if (entry->d_name[0] != '.')
                names.push_back(entry->d_name);
        closedir(dir);
    }
    return names;
}

in_addr_t loopback() {
    return inet_addr("127.0.0.1");
}

// ---- building and releasing -------------------------------------------------------------------------------

TEST(DeviceBridge, SerialBridgeServesCommandsAndOwnsTheLoggerOutput) {
    ModuleEmulator emulator;
    auto journal = std::make_shared<LogJournal>();
    {
        Tervik::DeviceBridge bridge(emulator.device_path(), 5, kept_lines(journal));
        EXPECT_EQ(KMS_DEF_PONGVAL_READY, bridge.get_g5().ping());
        EXPECT_EQ(KMS_DEF_PONGVAL_READY, bridge.get_radar_interface()->ping());
        EXPECT_TRUE(std::regex_match(bridge.git_sha(), std::regex("[0-9a-f]{12}"))) << bridge.git_sha();
        EXPECT_TRUE(journal->contains("createing logger StdoutLogger"));
        EXPECT_TRUE(journal->contains("ping -- begin"));

        EXPECT_EQ(0, bridge.set_log_level(0));
        const size_t before = journal->count();
        EXPECT_EQ(KMS_DEF_PONGVAL_READY, bridge.get_g5().ping());
        EXPECT_EQ(before, journal->count()) << "traces pass a level of 0";
        EXPECT_FALSE(journal->output_deleted);
    }
    EXPECT_TRUE(journal->output_deleted);
}

TEST(DeviceBridge, EmptyNameBuildsEverythingAndOpensNothing) {
    ModuleEmulator emulator;
    Tervik::DeviceBridge bridge("", 0, kept_lines());
    bridge.set_default_timeout(0);
    unsigned int pong = 0;
    EXPECT_EQ(1, bridge.get_radar_interface()->ping(&pong)) << "nothing is there to answer";
    EXPECT_EQ(0, bridge.get_radar_interface()->peek_message_data_float());
    EXPECT_TRUE(emulator.received_commands().empty());

    ASSERT_EQ(0, bridge.open(emulator.device_path()));
    bridge.set_default_timeout(2);
    EXPECT_EQ(0, bridge.get_radar_interface()->ping(&pong));
    EXPECT_EQ(KMS_DEF_PONGVAL_READY, pong);
}

TEST(DeviceBridge, DeviceNameIsNeverTakenForAnAddress) {
    auto journal = std::make_shared<LogJournal>();
    EXPECT_EQ("runtime_error unable to open file: tcp://10.0.0.1:3000",
              outcome([&] { Tervik::DeviceBridge bridge("tcp://10.0.0.1:3000", 0, kept_lines(journal)); }));
    EXPECT_TRUE(journal->contains("Error opening file: tcp://10.0.0.1:3000"));
    EXPECT_TRUE(journal->output_deleted);
}

// An output that starts failing later (a debug file that cannot be reopened at rotation) reaches the threads
// and destructors of the whole link: it costs the calls that log, and never the process.
TEST(DeviceBridge, OutputThatStartsThrowingCostsOnlyTheCallsThatLog) {
    ModuleEmulator emulator;
    auto journal = std::make_shared<LogJournal>();
    {
        Tervik::DeviceBridge bridge(emulator.device_path(), -1, kept_lines(journal));
        emulator.start_stream(ModuleEmulator::StreamKind::presence_single, 200);
        journal->refusing = true;
        unsigned int pong = 0;
        EXPECT_EQ(1, bridge.get_radar_interface()->ping(&pong));
        EXPECT_TRUE(eventually([&] { return journal->refused > 50; })) << "the reader and dispatcher log on";
        journal->refusing = false;
        EXPECT_EQ(0, bridge.get_radar_interface()->ping(&pong)) << "the link outlived the failures";
        journal->refusing = true;
    }
    EXPECT_TRUE(journal->output_deleted);
}

TEST(DeviceBridge, DestroyedWhileStreamingLeavesNoThreadOrDescriptor) {
    ModuleEmulator emulator;
    const size_t threads = names_in("/proc/self/task").size();
    const size_t descriptors = names_in("/proc/self/fd").size();
    {
        Tervik::DeviceBridge bridge(emulator.device_path(), 0, kept_lines());
        EXPECT_EQ(threads + 5, names_in("/proc/self/task").size())
            << "reader, dispatcher and writer, and the recorder's with its flush timer";
        emulator.start_stream(ModuleEmulator::StreamKind::presence_single, 500);
        ASSERT_TRUE(
            eventually([&] { return bridge.get_radar_interface()->peek_message_presence_single() > 5; }));
    }
    // A joined thread can linger in /proc for a moment after its join returns.
    EXPECT_TRUE(eventually([&] { return names_in("/proc/self/task").size() == threads; }));
    EXPECT_EQ(descriptors, names_in("/proc/self/fd").size());
}

TEST(DeviceBridge, CloseEndsTheSubscriptionsAndOpenMakesTheDefaultQueuesAnew) {
    ModuleEmulator emulator;
    Tervik::DeviceBridge bridge(emulator.device_path(), 0, kept_lines());
    Tervik::LockedRadarInterfacePtr& radar = bridge.get_radar_interface();
    std::atomic<int> seen_by_callback{0};
    radar->subscribe("mine", Bytes{0x50}, [&](Bytes) { return ++seen_by_callback, true; });

    EXPECT_EQ(0, bridge.close());
    EXPECT_EQ(1u, radar->ping()) << "an empty reply is no pong";
    EXPECT_EQ(0, bridge.close()) << "closing twice is harmless";
    ASSERT_EQ(0, bridge.open(emulator.device_path()));
    EXPECT_EQ(KMS_DEF_PONGVAL_READY, radar->ping());
    emulator.start_stream(ModuleEmulator::StreamKind::presence_single, 200);
    ASSERT_TRUE(eventually([&] { return radar->peek_message_presence_single() > 2; }));
    EXPECT_EQ(0, seen_by_callback) << "the user's own subscription ended with close";
}

// ---- a module that goes away and comes back ---------------------------------------------------------------

struct Comeback {
    const char* name;
    ModuleEmulator::Transport transport;
    bool by_reset;
};

class VanishedModule : public ::testing::TestWithParam<Comeback> {};

// The module goes while the bridge streams: for 3 s the process stays near idle (the fault spins a whole core
// on the dead line), the loss is logged once, and commands fail by the link's own texts. A new module (a new
// pseudo-terminal given to open, or the same TCP port) brings streaming back through close() and open(), or
// through reset, which also keeps the user's own queue.
TEST_P(VanishedModule, SlowCostsNoCoreAndTheBridgeRecovers) {
    const Comeback comeback = GetParam();
    const bool tcp = comeback.transport == ModuleEmulator::Transport::tcp;
    std::unique_ptr<ModuleEmulator> module(new ModuleEmulator(comeback.transport));
    const uint16_t port = module->tcp_port();
    const std::string tcp_name = "tcp://127.0.0.1:" + std::to_string(port);
    auto journal = std::make_shared<LogJournal>();
    std::unique_ptr<Tervik::DeviceBridge> bridge(
        tcp ? new Tervik::DeviceBridge(loopback(), htons(port), 0, kept_lines(journal))
            : new Tervik::DeviceBridge(module->device_path(), 0, kept_lines(journal)));
    Tervik::LockedRadarInterfacePtr& radar = bridge->get_radar_interface();
    radar->subscribe("mine", {KMS_SPR_APPDATA});
    module->start_stream(ModuleEmulator::StreamKind::presence_single, 100);
    ASSERT_TRUE(eventually([&] { return radar->peek_message_presence_single() > 0; }));

    const std::string lost = "connection to module lost: " + (tcp ? tcp_name : module->device_path());
    module.reset();
    ASSERT_TRUE(eventually([&] { return journal->contains(lost); }));
    const size_t lines = journal->count();
    EXPECT_LT(cpu_share_over(seconds(3)), 0.2);
    EXPECT_EQ(lines, journal->count()) << "the loss is logged once, not on every pass";
    bridge->set_default_timeout(1);
    const std::string failure = outcome([&] { radar->get_firmware_id(); });
    EXPECT_TRUE(failure == "runtime_error Timeout waiting for response\n" ||
                failure == "runtime_error Failed to write all bytes to module\n")
        << failure;

    module.reset(new ModuleEmulator(comeback.transport, port));
    if (comeback.by_reset) {
        radar->reset();
    } else {
        EXPECT_EQ(0, bridge->close());
        ASSERT_EQ(0, bridge->open(tcp ? tcp_name : module->device_path()));
    }
    module->start_stream(ModuleEmulator::StreamKind::presence_single, 100);
    EXPECT_TRUE(eventually([&] { return radar->peek_message_presence_single() > 0; }));
    EXPECT_EQ("G7N420", radar->get_firmware_id());
    if (comeback.by_reset)
        EXPECT_TRUE(eventually([&] { return radar->get_number_of_packets("mine") > 0; }));
    else
        EXPECT_EQ(0u, radar->get_number_of_packets("mine")) << "close ends the user's own subscriptions";
}

INSTANTIATE_TEST_SUITE_P(SerialAndTcp, VanishedModule,
                         ::testing::Values(Comeback{"SerialCloseOpen", ModuleEmulator::Transport::pty, false},
                                           Comeback{"TcpCloseOpen", ModuleEmulator::Transport::tcp, false},
                                           Comeback{"TcpReset", ModuleEmulator::Transport::tcp, true}),
                         [](const ::testing::TestParamInfo<Comeback>& info) { return info.param.name; });

// ---- threads ----------------------------------------------------------------------------------------------

// Two kinds of command, so that a reply taken by the wrong caller shows as a wrong value.
TEST(DeviceBridge, ThreadsSharingTheBridgeAreServedOneCommandAtATime) {
    ModuleEmulator emulator;
    Tervik::DeviceBridge bridge(emulator.device_path(), 0, kept_lines());
    Tervik::LockedRadarInterfacePtr& radar = bridge.get_radar_interface();
    radar->load_respiration_profile();
    std::atomic<int> answered{0};
    std::thread pinger([&] {
        for (int i = 0; i < 40; ++i)
            answered += radar->ping() == KMS_DEF_PONGVAL_READY;
    });
    std::thread asker([&] {
        for (uint32_t i = 0, id = 0; i < 40; ++i, id = 0)
            answered += radar->get_profileid(&id) == 0 && id == 0x1423A2D6;
    });
    pinger.join();
    asker.join();
    EXPECT_EQ(80, answered) << "without the lock the two threads take each other's replies";
}

// The lock is held across a blocking queue read, so a command and a bridge method of other threads wait until
// a packet ends the read.
TEST(DeviceBridge, CallersWaitForAQueueReadInProgress) {
    ModuleEmulator emulator;
    Tervik::DeviceBridge bridge(emulator.device_path(), 0, kept_lines());
    Tervik::LockedRadarInterfacePtr& radar = bridge.get_radar_interface();
    radar->subscribe("queue", {0xA0, 0x10});
    std::thread reader([&] { EXPECT_EQ(15u, radar->get_packet("queue").size()); });
    EXPECT_TRUE(eventually([&] {
        const bool free = radar.get_mutex().try_lock();
        if (free)
            radar.get_mutex().unlock();
        return !free;
    }));
    std::atomic<int> started{0};
    std::atomic<bool> pinged{false}, timeout_set{false};
    std::thread pinging([&] {
        ++started;
        pinged = radar->ping() == KMS_DEF_PONGVAL_READY;
    });
    std::thread setting([&] {
        ++started;
        bridge.set_default_timeout(2);
        timeout_set = true;
    });
    EXPECT_TRUE(eventually([&] { return started == 2; }));
    // Without the lock the ping leaves within milliseconds of its thread's start.
    EXPECT_FALSE(emulator.wait_for_commands(1, milliseconds(300))) << "the ping passed the lock";
    EXPECT_FALSE(timeout_set);

    emulator.send(ModuleEmulator::WireForm::frame, data_message(0x10, 0, 0, {7}));
    reader.join();
    pinging.join();
    setting.join();
    EXPECT_TRUE(pinged);
    EXPECT_TRUE(timeout_set);
}

// ---- constructors with the default logger output ----------------------------------------------------------

class DeviceBridgeDefaultOutput : public ScratchDirectory {};

TEST_F(DeviceBridgeDefaultOutput, EveryConstructorOpensAWorkingLink) {
    ModuleEmulator emulator, tcp(ModuleEmulator::Transport::tcp);
    const in_port_t port = htons(tcp.tcp_port());
    std::vector<std::function<Tervik::DeviceBridge*()>> constructors = {
        [&] { return new Tervik::DeviceBridge(emulator.device_path()); },
        [&] { return new Tervik::DeviceBridge(emulator.device_path(), 0); },
        [&] { return new Tervik::DeviceBridge(emulator.device_path(), 0, kept_lines()); },
        [&] { return new Tervik::DeviceBridge(loopback(), port); },
        [&] { return new Tervik::DeviceBridge(loopback(), port, 0); },
        [&] { return new Tervik::DeviceBridge(loopback(), port, 0, kept_lines()); },
    };
    for (unsigned i = 0; i < constructors.size(); ++i) {
        SCOPED_TRACE(i);
        std::unique_ptr<Tervik::DeviceBridge> bridge(constructors[i]());
        // A connect returns before the emulator takes the client in; a ping sent earlier would be lost.
        if (i >= 3) {
            ASSERT_TRUE(tcp.wait_for_connections(i - 2, seconds(10)));
        }
        EXPECT_EQ(KMS_DEF_PONGVAL_READY, bridge->get_radar_interface()->ping());
    }
}

TEST_F(DeviceBridgeDefaultOutput, DefaultOutputWritesTheDebugFile) {
    ModuleEmulator emulator;
    { Tervik::DeviceBridge bridge(emulator.device_path()); }
    const std::vector<std::string> names = names_in(path);
    ASSERT_EQ(1u, names.size());
    EXPECT_TRUE(std::regex_match(names[0], std::regex("debug_[0-9]{8}_[0-9]{6}\\.log"))) << names[0];
    const std::string text = text_of(names[0]);
    EXPECT_NE(std::string::npos, text.find(" : createing logger StdoutLogger"));
    EXPECT_NE(std::string::npos, text.find("~RadarInterface -- end"));
}

// The working directory is gone, which stops even root from making the debug file. Whichever line of the
// building first passes the level fails, and the constructor throws the logger's error after releasing each
// part once: the logger's own line (5), the communicator's (4), a trace (3), the git sha (1).
TEST_F(DeviceBridgeDefaultOutput, UnwritableDebugFileFailsTheConstructorAlone) {
    ASSERT_EQ(0, rmdir(path.c_str()));
    const std::string refused = "runtime_error file is not open after open";
    for (int level : {5, 4, 3, 1}) {
        SCOPED_TRACE(level);
        EXPECT_EQ(refused, outcome([&] { Tervik::DeviceBridge bridge("", level); }));
        EXPECT_EQ(refused, outcome([&] { Tervik::PythonDeviceBridge bridge(level); }));
    }
}

// ---- the Python twin --------------------------------------------------------------------------------------

class PythonDeviceBridgeTest : public ScratchDirectory {};

TEST_F(PythonDeviceBridgeTest, LogLevelAloneWaitsForOpenAndARefusedOpenThrows) {
    ModuleEmulator emulator;
    Tervik::PythonDeviceBridge bridge(0);
    EXPECT_TRUE(emulator.received_commands().empty());
    const std::string refusal = outcome([&] { bridge.open(path + "/no_such_device"); });
    EXPECT_TRUE(std::regex_match(refusal, std::regex("-?[1-9][0-9]* method failed"))) << refusal;
    EXPECT_EQ(0, bridge.open(emulator.device_path()));
    EXPECT_EQ(KMS_DEF_PONGVAL_READY, bridge.get_g5().ping());
    EXPECT_EQ(0, bridge.close());
    EXPECT_EQ(1u, bridge.get_g5().ping());
}

TEST_F(PythonDeviceBridgeTest, DeviceAndEndpointConstructorsOpen) {
    ModuleEmulator emulator, tcp(ModuleEmulator::Transport::tcp);
    Tervik::PythonDeviceBridge serial(emulator.device_path(), 0);
    Tervik::PythonDeviceBridge network(loopback(), htons(tcp.tcp_port()), 0);
    EXPECT_EQ(KMS_DEF_PONGVAL_READY, serial.get_g5().ping());
    ASSERT_TRUE(tcp.wait_for_connections(1, seconds(10)));
    EXPECT_EQ(KMS_DEF_PONGVAL_READY, network.get_g5().ping());
    EXPECT_EQ("runtime_error unable to open file: " + path + "/missing",
              outcome([&] { Tervik::PythonDeviceBridge bridge(path + "/missing", 0); }));
}

// The port arrives in network order and the name shows it in host order: bytes 0B B8 are port 3000. A bound
// socket that doesn't listen makes the endpoint refuse.
TEST_F(PythonDeviceBridgeTest, RefusedEndpointIsNamedWithItsHostOrderPort) {
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = loopback();
    const unsigned char port_bytes[2] = {0x0B, 0xB8};
    std::memcpy(&address.sin_port, port_bytes, sizeof(port_bytes));
    const int blocker = socket(AF_INET, SOCK_STREAM, 0);
    ASSERT_LE(0, blocker);
    if (bind(blocker, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0) {
        close(blocker);
        GTEST_SKIP() << "port 3000 of the loopback address is taken";
    }
    auto journal = std::make_shared<LogJournal>();
    const std::string refused = "runtime_error unable to open file: tcp://127.0.0.1:3000";
    EXPECT_EQ(refused, outcome([&] {
                  Tervik::DeviceBridge bridge(loopback(), address.sin_port, 0, kept_lines(journal));
              }));
    EXPECT_TRUE(journal->output_deleted) << "a failed constructor still releases the output it was given";
    EXPECT_EQ(refused, outcome([&] { Tervik::PythonDeviceBridge bridge(loopback(), address.sin_port, 0); }));
    close(blocker);
}

} // namespace
