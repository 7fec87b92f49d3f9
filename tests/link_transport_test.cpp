// Transports, the byte link and its factories over the emulator's pseudo-terminal and loopback sockets.
#include "ConcreteFactory.h"
#include "LinuxModuleIo.h"
#include "ModuleEmulator.h"
#include "ModulePackets.h"
#include "RadarCommunicator.h"
#include "TcpIpFactory.h"
#include "TcpIpModuleIo.h"
#include "UartIo.h"
#include "link_log_capture.h"
#include "link_peer.h"

#include <gtest/gtest.h>

#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <pthread.h>
#include <thread>

using namespace link_test;
using Transport = ModuleEmulator::Transport;

namespace {

// Packets a link's callback delivered, from the reader's thread.
class Packets {
public:
    std::function<void(Bytes)> callback() {
        return [this](Bytes packet) {
            std::lock_guard<std::mutex> lock(mutex_);
            packets_.push_back(packet);
        };
    }
    std::vector<Bytes> taken() {
        std::lock_guard<std::mutex> lock(mutex_);
        return packets_;
    }
    bool wait(size_t count) {
        return eventually([&] { return taken().size() >= count; });
    }

private:
    std::mutex mutex_;
    std::vector<Bytes> packets_;
};

} // namespace

// Through the whole stack: the transport reports the system error, the link stays down and quiet, and a
// command runs into its time-out rather than hanging or crashing.
TEST(OpenFailure, MissingDeviceIsReportedAndLeavesTheLinkDown) {
    LogCapture log;
    ConcreteFactory factory;
    UartIo io(log.logger(), factory);
    {
        RadarCommunicator communicator(io, factory, log.logger());
        EXPECT_EQ(-1, communicator.open("/nonexistent/ttyUSB9"));
        EXPECT_FALSE(io.is_ready());
        EXPECT_NO_THROW(io.write(Bytes{1, 2, 3}));
        EXPECT_NO_THROW(io.set_baudrate(115200));
        EXPECT_EQ("Timeout waiting for response\n",
                  failure_of([&] { communicator.send(0, frame(ping_payload()), Bytes{0x01}); }));
    }
    EXPECT_EQ(1, log.count("module_io::open returned error"));
    EXPECT_TRUE(log.contains("creating LinuxModuleIo"));
    EXPECT_TRUE(log.contains("LinuxModuleIo::open /nonexistent/ttyUSB9 -- begin"));
    EXPECT_TRUE(log.contains(" : open: "));
    EXPECT_TRUE(log.contains(" -- Error opening file: /nonexistent/ttyUSB9\nsystem error: " +
                             std::string(std::strerror(ENOENT)) + "\n"));
    EXPECT_TRUE(log.contains("Closing: /nonexistent/ttyUSB9"));
}

TEST(SerialTransport, RefusesBaudRatesOutsideTheMapAndReadsAQuietLineBriefly) {
    ModuleEmulator emulator(Transport::pty);
    LogCapture log;
    LinuxModuleIo io(log.logger());
    ASSERT_EQ(0, io.open(emulator.device_path()));
    EXPECT_NO_THROW(io.set_baudrate(4000000));
    EXPECT_NO_THROW(io.set_baudrate(9600));
    EXPECT_EQ("illagal baudrate", failure_of([&] { io.set_baudrate(57600); }));
    EXPECT_THROW(baudrate_map(0), std::runtime_error);
    EXPECT_EQ(static_cast<speed_t>(B921600), baudrate_map(921600));

    // The time-out argument is not the poll's: a quiet line answers long before it.
    unsigned char buffer[16];
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(0, io.read(buffer, sizeof(buffer), 5000));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(4000));
    emulator.send_raw(Bytes{1, 2, 3});
    Bytes got;
    EXPECT_TRUE(eventually([&] {
        const int count = io.read(buffer, sizeof(buffer), 0);
        got.insert(got.end(), buffer, buffer + std::max(count, 0));
        return got.size() >= 3;
    }));
    EXPECT_EQ((Bytes{1, 2, 3}), got);
}

// A signal the application handles breaks into the transport's poll; the read reports a quiet line, so the
// reader's loop goes on instead of taking the link for broken.
TEST(SerialTransport, SignalDuringTheWaitReadsAsAQuietLine) {
    ModuleEmulator emulator(Transport::pty);
    LogCapture log;
    LinuxModuleIo io(log.logger());
    ASSERT_EQ(0, io.open(emulator.device_path()));
    struct sigaction action {};
    action.sa_handler = [](int) {};
    struct sigaction previous {};
    ASSERT_EQ(0, sigaction(SIGUSR1, &action, &previous));
    const pthread_t reading_thread = pthread_self();
    unsigned char buffer[16];
    for (int round = 0; round < 20; ++round) {
        std::thread interrupter([&] {
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
            pthread_kill(reading_thread, SIGUSR1);
        });
        EXPECT_EQ(0, io.read(buffer, sizeof(buffer), 0)) << "round " << round;
        interrupter.join();
    }
    sigaction(SIGUSR1, &previous, nullptr);
}

TEST(TcpTransport, LabelShowsThePortInHostOrder) {
    EXPECT_EQ("tcp://127.0.0.1:4444", TcpIpModuleIo::label(inet_addr("127.0.0.1"), htons(4444)));
    EXPECT_EQ("tcp://10.1.2.3:4444", TcpIpModuleIo::label(inet_addr("10.1.2.3"), 0x5C11));
}

// A port bound without listening refuses, and stays ours: a port merely left free could be taken by any other
// process meanwhile.
TEST(TcpTransport, RefusedConnectionReportsAddressAndSystemError) {
    LogCapture log;
    const int blocker = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    ASSERT_EQ(0, bind(blocker, reinterpret_cast<sockaddr*>(&address), length));
    ASSERT_EQ(0, getsockname(blocker, reinterpret_cast<sockaddr*>(&address), &length));
    const in_port_t port = address.sin_port;
    TcpIpModuleIo io(htonl(INADDR_LOOPBACK), port, log.logger());
    EXPECT_EQ(-1, io.open("anything"));
    EXPECT_TRUE(log.contains(" -- error connecting to addr " +
                             TcpIpModuleIo::label(htonl(INADDR_LOOPBACK), port) +
                             "\nsystem error: " + std::strerror(ECONNREFUSED) + "\n"));
    EXPECT_NO_THROW(io.set_baudrate(57600));
    close(blocker);
}

class ByteLink : public ::testing::TestWithParam<Transport> {
protected:
    bool tcp() const { return GetParam() == Transport::tcp; }
    std::string device() const { return tcp() ? "tcp://127.0.0.1" : emulator.device_path(); }
    // A TCP connect returns before the emulator takes the client in, and what it sends before is lost.
    bool taken_in(unsigned tcp_connections) const {
        return emulator.wait_for_connections(tcp() ? tcp_connections : 1, std::chrono::seconds(10));
    }
    ModuleEmulator emulator{GetParam()};
    std::unique_ptr<AbstractFactory> factory{tcp() ? static_cast<AbstractFactory*>(new TcpIpFactory(
                                                         htonl(INADDR_LOOPBACK), htons(emulator.tcp_port())))
                                                   : new ConcreteFactory()};
    LogCapture log;
    UartIo io{log.logger(), *factory};
};

// Flag bytes cross escaped both ways; a second open replaces the whole link, so the first callback hears
// nothing; after close nothing leaves, which the order of commands at the module proves.
TEST_P(ByteLink, PacketsArriveWholeFramesLeaveAndReopenReplacesTheLink) {
    Packets stale, packets, reopened;
    EXPECT_FALSE(io.is_ready());
    ASSERT_EQ(0, io.open(device(), stale.callback()));
    ASSERT_EQ(0, io.open(device(), packets.callback()));
    EXPECT_TRUE(io.is_ready());
    ASSERT_TRUE(taken_in(2));
    const Bytes flags{0x50, 0x7D, 0x7E, 0x7F};
    const Bytes command{0x33, 0x7D, 0x7E, 0x7F};
    emulator.send(ModuleEmulator::WireForm::frame, flags);
    io.write(frame(command));
    ASSERT_TRUE(packets.wait(2));
    EXPECT_EQ((std::vector<Bytes>{flags, emulator_packets::error(KMS_SPRE_NOT_RECOGNIZED)}), packets.taken());
    EXPECT_TRUE(stale.taken().empty());
    io.close();
    EXPECT_FALSE(io.is_ready());
    io.write(frame(Bytes{0x04}));
    ASSERT_EQ(0, io.open(device(), reopened.callback()));
    io.write(frame(ping_payload()));
    ASSERT_TRUE(reopened.wait(1));
    EXPECT_EQ(emulator_packets::pong(KMS_DEF_PONGVAL_READY), reopened.taken()[0]);
    EXPECT_EQ((std::vector<Bytes>{command, ping_payload()}), emulator.received_commands());
}

INSTANTIATE_TEST_SUITE_P(SerialAndTcp, ByteLink, ::testing::Values(Transport::pty, Transport::tcp),
                         [](const ::testing::TestParamInfo<Transport>& info) {
                             return info.param == Transport::tcp ? "Tcp" : "Serial";
                         });
