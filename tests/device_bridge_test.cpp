// The device bridge on the module emulator, over a pseudo-terminal and over loopback TCP: building and
// releasing the whole stack, the logger output it owns, close and open again, and threads sharing it.
#include "DeviceBridge.h"
#include "ModuleEmulator.h"
#include "PythonDeviceBridge.h"
#include "RadarInterface.h"
#include "TervikException.h"
#include "UniqueLocked.h"
#include "protocol_identifiers.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <dirent.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <mutex>
#include <regex>
#include <string>
#include <thread>
#include <vector>

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

// What one bridge's logger wrote, readable after the bridge and its output are gone.
struct Journal {
    std::mutex mutex;
    std::vector<std::string> lines;
    std::atomic<bool> output_deleted{false};

    bool contains(const std::string& fragment) {
        std::lock_guard<std::mutex> lock(mutex);
        for (const std::string& line : lines)
            if (line.find(fragment) != std::string::npos)
                return true;
        return false;
    }
    size_t count() {
        std::lock_guard<std::mutex> lock(mutex);
        return lines.size();
    }
};

class JournalOutput : public Tervik::AbstractLoggerIo {
public:
    explicit JournalOutput(std::shared_ptr<Journal> journal) : journal(std::move(journal)) {}
    ~JournalOutput() override { journal->output_deleted = true; }
    void log(const std::string& line) override {
        std::lock_guard<std::mutex> lock(journal->mutex);
        journal->lines.push_back(line);
    }

private:
    std::shared_ptr<Journal> journal;
};

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

// The default logger output writes debug files into the current directory: such tests run in a fresh
// directory of their own, which goes with everything in it.
class ScratchDirectory : public ::testing::Test {
protected:
    void SetUp() override {
        char pattern[] = "/tmp/device_bridge_test.XXXXXX";
        ASSERT_NE(nullptr, mkdtemp(pattern));
        path = pattern;
        ASSERT_NE(nullptr, getcwd(previous, sizeof(previous)));
        ASSERT_EQ(0, chdir(path.c_str()));
    }
    void TearDown() override {
        if (path.empty())
            return;
        EXPECT_EQ(0, chdir(previous));
        for (const std::string& name : names_in(path))
            std::remove((path + "/" + name).c_str());
        rmdir(path.c_str());
    }
    std::string path;
    char previous[PATH_MAX] = {};
};

in_addr_t loopback() {
    return inet_addr("127.0.0.1");
}

std::unique_ptr<ModuleEmulator> tcp_emulator() {
    return std::unique_ptr<ModuleEmulator>(new ModuleEmulator(ModuleEmulator::Transport::tcp));
}

bool eventually(const std::function<bool()>& condition) {
    const auto deadline = std::chrono::steady_clock::now() + seconds(3);
    while (!condition()) {
        if (std::chrono::steady_clock::now() >= deadline)
            return false;
        std::this_thread::sleep_for(milliseconds(5));
    }
    return true;
}

std::string construction_error(const std::function<void()>& construct) {
    try {
        construct();
    } catch (const std::runtime_error& failure) {
        return failure.what();
    }
    return "no error";
}

// ---- building and releasing -------------------------------------------------------------------------------

TEST(DeviceBridge, SerialBridgeServesCommandsAndOwnsTheLoggerOutput) {
    ModuleEmulator emulator;
    auto journal = std::make_shared<Journal>();
    {
        Tervik::DeviceBridge bridge(emulator.device_path(), 5, new JournalOutput(journal));
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
    auto journal = std::make_shared<Journal>();
    Tervik::DeviceBridge bridge("", 0, new JournalOutput(journal));
    bridge.set_default_timeout(0);
    unsigned int pong = 0;
    EXPECT_EQ(1, bridge.get_radar_interface()->ping(&pong)) << "nothing is there to answer";
    EXPECT_TRUE(emulator.received_commands().empty());

    ASSERT_EQ(0, bridge.open(emulator.device_path()));
    bridge.set_default_timeout(2);
    EXPECT_EQ(0, bridge.get_radar_interface()->ping(&pong));
    EXPECT_EQ(KMS_DEF_PONGVAL_READY, pong);
}

TEST(DeviceBridge, DeviceNameIsNeverTakenForAnAddress) {
    auto journal = std::make_shared<Journal>();
    EXPECT_EQ("unable to open file: tcp://10.0.0.1:3000", construction_error([&] {
                  Tervik::DeviceBridge bridge("tcp://10.0.0.1:3000", 0, new JournalOutput(journal));
              }));
    EXPECT_TRUE(journal->contains("Error opening file: tcp://10.0.0.1:3000"));
    EXPECT_TRUE(journal->output_deleted);
}

TEST(DeviceBridge, DestroyedWhileStreamingLeavesNoThreadOrDescriptor) {
    ModuleEmulator emulator;
    const size_t threads = names_in("/proc/self/task").size();
    const size_t descriptors = names_in("/proc/self/fd").size();
    {
        Tervik::DeviceBridge bridge(emulator.device_path(), 0,
                                    new JournalOutput(std::make_shared<Journal>()));
        EXPECT_EQ(threads + 3, names_in("/proc/self/task").size()) << "reader, dispatcher and writer";
        emulator.start_stream(ModuleEmulator::StreamKind::presence_single, 500);
        ASSERT_TRUE(
            eventually([&] { return bridge.get_radar_interface()->peek_message_presence_single() > 5; }));
    }
    EXPECT_EQ(threads, names_in("/proc/self/task").size());
    EXPECT_EQ(descriptors, names_in("/proc/self/fd").size());
    emulator.stop_streams();
}

// ---- close and open again ---------------------------------------------------------------------------------

TEST(DeviceBridge, CloseFailsEveryCommandUntilOpen) {
    ModuleEmulator emulator;
    Tervik::DeviceBridge bridge(emulator.device_path(), 0, new JournalOutput(std::make_shared<Journal>()));
    Tervik::LockedRadarInterfacePtr& radar = bridge.get_radar_interface();
    std::atomic<int> seen_by_callback{0};
    radar->subscribe("mine", Bytes{0x50}, [&](Bytes) { return ++seen_by_callback, true; });

    EXPECT_EQ(0, bridge.close());
    EXPECT_EQ(1, radar->set_sensor_mode_no_throw(KMID_SM_RUN));
    EXPECT_EQ(1u, radar->ping()) << "an empty reply is no pong";
    EXPECT_EQ(0, bridge.close()) << "closing twice is harmless";

    ASSERT_EQ(0, bridge.open(emulator.device_path()));
    EXPECT_EQ(KMS_DEF_PONGVAL_READY, radar->ping());
    emulator.start_stream(ModuleEmulator::StreamKind::presence_single, 200);
    ASSERT_TRUE(eventually([&] { return radar->peek_message_presence_single() > 2; }))
        << "open makes the default queues anew";
    EXPECT_EQ(0, seen_by_callback) << "the user's own subscription ended with close";
    emulator.stop_streams();
}

// ---- threads
// ------------------------------------------------------------------------------------------------

TEST(DeviceBridge, ThreadsSharingTheBridgeAreServedOneCommandAtATime) {
    ModuleEmulator emulator;
    Tervik::DeviceBridge bridge(emulator.device_path(), 0, new JournalOutput(std::make_shared<Journal>()));
    Tervik::LockedRadarInterfacePtr& radar = bridge.get_radar_interface();
    std::atomic<int> answered{0};
    auto pinger = [&] {
        for (int i = 0; i < 40; ++i)
            answered += radar->ping() == KMS_DEF_PONGVAL_READY;
    };
    std::thread first(pinger), second(pinger);
    first.join();
    second.join();
    EXPECT_EQ(80, answered) << "without the lock the two threads take each other's replies";
}

TEST(DeviceBridge, BridgeMethodsWaitForACommandInProgress) {
    ModuleEmulator emulator;
    Tervik::DeviceBridge bridge(emulator.device_path(), 0, new JournalOutput(std::make_shared<Journal>()));
    std::atomic<bool> pinged{false}, timeout_set{false};
    std::unique_lock<std::recursive_mutex> held(bridge.get_radar_interface().get_mutex());
    std::thread pinging([&] { pinged = bridge.get_radar_interface()->ping() == KMS_DEF_PONGVAL_READY; });
    std::thread setting([&] {
        bridge.set_default_timeout(2);
        timeout_set = true;
    });
    EXPECT_FALSE(emulator.wait_for_commands(1, milliseconds(200))) << "the ping left while the lock was held";
    EXPECT_FALSE(timeout_set);
    held.unlock();
    pinging.join();
    setting.join();
    EXPECT_TRUE(pinged);
    EXPECT_TRUE(timeout_set);
}

// ---- constructors with the default logger output ----------------------------------------------------------

class DeviceBridgeDefaultOutput : public ScratchDirectory {};

TEST_F(DeviceBridgeDefaultOutput, EveryConstructorOpensAWorkingLink) {
    ModuleEmulator emulator;
    auto tcp = tcp_emulator();
    const in_port_t port = htons(tcp->tcp_port());
    std::vector<std::function<Tervik::DeviceBridge*()>> constructors = {
        [&] { return new Tervik::DeviceBridge(emulator.device_path()); },
        [&] { return new Tervik::DeviceBridge(emulator.device_path(), 0); },
        [&] {
            return new Tervik::DeviceBridge(emulator.device_path(), 0,
                                            new JournalOutput(std::make_shared<Journal>()));
        },
        [&] { return new Tervik::DeviceBridge(loopback(), port); },
        [&] { return new Tervik::DeviceBridge(loopback(), port, 0); },
        [&] {
            return new Tervik::DeviceBridge(loopback(), port, 0,
                                            new JournalOutput(std::make_shared<Journal>()));
        },
    };
    for (size_t i = 0; i < constructors.size(); ++i) {
        std::unique_ptr<Tervik::DeviceBridge> bridge(constructors[i]());
        EXPECT_EQ(KMS_DEF_PONGVAL_READY, bridge->get_radar_interface()->ping()) << "constructor " << i;
    }
}

TEST_F(DeviceBridgeDefaultOutput, DefaultOutputWritesTheDebugFile) {
    ModuleEmulator emulator;
    { Tervik::DeviceBridge bridge(emulator.device_path()); }
    const std::vector<std::string> names = names_in(path);
    ASSERT_EQ(1u, names.size());
    EXPECT_TRUE(std::regex_match(names[0], std::regex("debug_[0-9]{8}_[0-9]{6}\\.log"))) << names[0];
    std::ifstream file(path + "/" + names[0]);
    const std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    EXPECT_NE(std::string::npos, text.find(" : createing logger StdoutLogger"));
    EXPECT_NE(std::string::npos, text.find("~RadarInterface -- end"));
}

// ---- the Python twin
// ----------------------------------------------------------------------------------------

class PythonDeviceBridgeTest : public ScratchDirectory {};

TEST_F(PythonDeviceBridgeTest, LogLevelAloneWaitsForOpen) {
    ModuleEmulator emulator;
    Tervik::PythonDeviceBridge bridge(0);
    EXPECT_TRUE(emulator.received_commands().empty());
    EXPECT_EQ(0, bridge.open(emulator.device_path()));
    EXPECT_EQ(KMS_DEF_PONGVAL_READY, bridge.get_g5().ping());
    EXPECT_EQ(0, bridge.close());
    EXPECT_EQ(1u, bridge.get_g5().ping());
}

TEST_F(PythonDeviceBridgeTest, RefusedOpenThrowsTheTransportsCode) {
    Tervik::PythonDeviceBridge bridge(0);
    try {
        bridge.open(path + "/no_such_device");
        FAIL() << "no exception";
    } catch (const Tervik::TervikException& refusal) {
        EXPECT_STREQ("method failed", refusal.what());
        EXPECT_NE(0, refusal.code);
    }
}

TEST_F(PythonDeviceBridgeTest, DeviceAndEndpointConstructorsOpen) {
    ModuleEmulator emulator;
    auto tcp = tcp_emulator();
    Tervik::PythonDeviceBridge serial(emulator.device_path(), 0);
    Tervik::PythonDeviceBridge network(loopback(), htons(tcp->tcp_port()), 0);
    EXPECT_EQ(KMS_DEF_PONGVAL_READY, serial.get_g5().ping());
    EXPECT_EQ(KMS_DEF_PONGVAL_READY, network.get_g5().ping());
    EXPECT_EQ("unable to open file: " + path + "/missing",
              construction_error([&] { Tervik::PythonDeviceBridge bridge(path + "/missing", 0); }));
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
    auto journal = std::make_shared<Journal>();
    EXPECT_EQ("unable to open file: tcp://127.0.0.1:3000", construction_error([&] {
                  Tervik::DeviceBridge bridge(loopback(), address.sin_port, 0, new JournalOutput(journal));
              }));
    EXPECT_TRUE(journal->output_deleted) << "a failed constructor still releases the output it was given";
    EXPECT_EQ("unable to open file: tcp://127.0.0.1:3000", construction_error([&] {
                  Tervik::PythonDeviceBridge bridge(loopback(), address.sin_port, 0);
              }));
    close(blocker);
}

} // namespace
