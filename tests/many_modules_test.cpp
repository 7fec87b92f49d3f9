// Several modules driven from one process, each through a bridge of its own by a thread of its own, as a
// script that serves a room of sensors does: the commands that the threads frame at the same moment must
// reach every module intact.
#include "DeviceBridge.h"
#include "RadarTestLink.h"
#include "UniqueLocked.h"
#include "protocol.h"
#include "protocol_identifiers.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>

#include <chrono>
#include <thread>

namespace {

using std::chrono::steady_clock;

const int modules = 4;
const int commands_per_module = 3000;
// Enough round trips to meet a shared checksum many times over, short enough for a sanitizer build.
const auto time_budget = std::chrono::seconds(3);

// A module on a pseudo-terminal or on loopback TCP, and the bridge that drives it.
struct Module {
    explicit Module(ModuleEmulator::Transport transport) : emulator(transport), bridge(open_bridge()) {}

    std::unique_ptr<Tervik::DeviceBridge> open_bridge() {
        if (emulator.tcp_port() == 0)
            return std::make_unique<Tervik::DeviceBridge>(emulator.device_path(), 0,
                                                          new JournalOutput(journal));
        auto bridge = std::make_unique<Tervik::DeviceBridge>(
            inet_addr("127.0.0.1"), htons(emulator.tcp_port()), 0, new JournalOutput(journal));
        // Bytes sent before the emulator takes the connection in are lost.
        EXPECT_TRUE(emulator.wait_for_connections(1, std::chrono::seconds(10)));
        return bridge;
    }

    // A short command and a long one in turn, so that frames of both lengths overlap.
    void send_commands(steady_clock::time_point deadline) {
        const std::string parameters(600, 'p');
        Tervik::LockedRadarInterfacePtr& radar = bridge->get_radar_interface();
        for (; sent < commands_per_module && steady_clock::now() < deadline; ++sent) {
            const std::string result = outcome([&] {
                if (sent % 2)
                    radar->set_parameter_file("room.par", parameters);
                else if (radar->ping() != KMS_DEF_PONGVAL_READY)
                    throw std::runtime_error("no pong"); // an error reply
            });
            if (result != "ok" && failed++ == 0)
                first_failure = result;
        }
    }

    std::shared_ptr<LogJournal> journal = std::make_shared<LogJournal>();
    ModuleEmulator emulator;
    std::unique_ptr<Tervik::DeviceBridge> bridge;
    int sent = 0;
    int failed = 0;
    std::string first_failure;
};

TEST(ManyModules, ThreadsDrivingAModuleEachHaveEveryCommandAccepted) {
    std::vector<std::unique_ptr<Module>> room;
    for (int i = 0; i < modules; ++i)
        room.push_back(std::make_unique<Module>(i % 2 ? ModuleEmulator::Transport::tcp
                                                      : ModuleEmulator::Transport::pty));
    const auto deadline = steady_clock::now() + time_budget;
    std::vector<std::thread> drivers;
    for (auto& module : room)
        drivers.emplace_back([&module, deadline] { module->send_commands(deadline); });
    for (std::thread& driver : drivers)
        driver.join();

    for (auto& module : room) {
        SCOPED_TRACE(module->emulator.address_line());
        EXPECT_GE(module->sent, 50) << "too few commands to overlap";
        EXPECT_EQ(0, module->failed) << "of " << module->sent << ", first: " << module->first_failure;
        EXPECT_EQ(0u, module->emulator.checksum_errors());
    }
}

// The same overlap, made to happen at a chosen point: one thread's frame is built in the middle of another's.
TEST(ManyModules, FrameBuiltOnAnotherThreadMidwayLeavesTheChecksumIntact) {
    const auto collect = [](unsigned char byte, void* bytes) { static_cast<Bytes*>(bytes)->push_back(byte); };
    Bytes interrupted, other;
    packet_start(collect, &interrupted);
    process_uint(0x11223344, collect, &interrupted);
    std::thread([&] { createPingCommand(collect, &other); }).join();
    process_byte(0x55, collect, &interrupted);
    packet_end(collect, &interrupted);
    EXPECT_EQ(Bytes({0x7D, 0x44, 0x33, 0x22, 0x11, 0x55, 0x7D ^ 0x44 ^ 0x33 ^ 0x22 ^ 0x11 ^ 0x55, 0x7E}),
              interrupted);
    EXPECT_EQ(Bytes({0x7D, 0x01, 0xAE, 0xEA, 0xAA, 0xEE, 0x7C, 0x7E}), other);
}

} // namespace
