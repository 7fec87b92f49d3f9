// RadarInterface against the module emulator, over a pseudo-terminal and over TCP on the loopback address.
#include "ConcreteFactory.h"
#include "ModuleEmulator.h"
#include "RadarInterface.h"
#include "StdoutLogger.h"
#include "TcpIpFactory.h"
#include "TervikException.h"
#include "UartIo.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <chrono>
#include <memory>
#include <thread>

namespace {

class DiscardedLines : public Tervik::AbstractLoggerIo {
public:
    void log(const std::string&) override {}
};

// One interface on one emulator; the factory decides the transport.
struct EmulatedModule {
    explicit EmulatedModule(ModuleEmulator::Transport transport) : emulator(transport) {
        if (transport == ModuleEmulator::Transport::tcp)
            factory.reset(new TcpIpFactory(inet_addr("127.0.0.1"), htons(emulator.tcp_port())));
        else
            factory.reset(new ConcreteFactory);
        io.reset(new UartIo(logger, *factory));
        std::string name =
            transport == ModuleEmulator::Transport::tcp ? "tcp://127.0.0.1" : emulator.device_path();
        radar.reset(new Tervik::RadarInterface(*io, name, *factory, logger));
    }

    ModuleEmulator emulator;
    StdoutLogger logger{0, new DiscardedLines};
    std::unique_ptr<AbstractFactory> factory;
    std::unique_ptr<UartIo> io;
    std::unique_ptr<Tervik::RadarInterface> radar;
};

// Ping, and a command that the module refuses with "command failed" (0x21).
void expect_answers_and_refusals(EmulatedModule& module) {
    module.emulator.set_handler({0x50, 0x20}, [](const Bytes&) {
        return std::vector<Bytes>{{0x20, 0x21, 0x00, 0x00, 0x00}};
    });
    EXPECT_EQ(0xAAEEAEEAu, module.radar->ping());
    try {
        module.radar->g7driver_init();
        FAIL() << "no exception";
    } catch (const Tervik::TervikException& e) {
        EXPECT_EQ(0x21, e.code);
        EXPECT_STREQ("g7driver_init: module reponded with KMS_SPR_ERROR", e.what());
    }
    EXPECT_EQ(0x21, module.radar->g7driver_init_no_throw());
}

TEST(RadarOnEmulator, SerialLinkAnswersAndRefuses) {
    EmulatedModule module(ModuleEmulator::Transport::pty);
    expect_answers_and_refusals(module);
}

TEST(RadarOnEmulator, TcpLinkAnswersAndRefuses) {
    EmulatedModule module(ModuleEmulator::Transport::tcp);
    ASSERT_TRUE(module.emulator.wait_for_connections(1, std::chrono::seconds(2)));
    expect_answers_and_refusals(module);
}

TEST(RadarOnEmulator, PresenceStreamReachesItsDefaultQueue) {
    EmulatedModule module(ModuleEmulator::Transport::pty);
    module.emulator.start_stream(ModuleEmulator::StreamKind::presence_single, 200);
    auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(3);
    while (module.radar->peek_message_presence_single() < 2 && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    Tervik::PresenceSingleData first, second;
    ASSERT_EQ(0, module.radar->read_message_presence_single(&first));
    ASSERT_EQ(0, module.radar->read_message_presence_single(&second));
    EXPECT_EQ(first.frame_counter + 1, second.frame_counter);
}

} // namespace
