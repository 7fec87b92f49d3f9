// Transports, the byte link and its factories over real pseudo-terminals and loopback sockets.
#include "ConcreteFactory.h"
#include "LinuxModuleIo.h"
#include "TcpIpFactory.h"
#include "TcpIpModuleIo.h"
#include "UartIo.h"
#include "link_log_capture.h"
#include "link_peer.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstring>

using namespace link_test;

namespace {

// Waits until the predicate holds, at most three seconds.
template <typename Predicate> bool eventually(Predicate predicate) {
    for (int waited = 0; waited < 3000 && !predicate(); waited += 2) {
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return predicate();
}

// A port on loopback where nobody listens.
in_port_t closed_port() {
    const int fd = socket(AF_INET, SOCK_STREAM, 0);
    struct sockaddr_in address;
    std::memset(&address, 0, sizeof(address));
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof(address);
    bind(fd, reinterpret_cast<sockaddr*>(&address), size);
    getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size);
    close(fd);
    return address.sin_port;
}

} // namespace

TEST(SerialTransport, MissingDeviceReportsTheSystemError) {
    LogCapture log;
    {
        LinuxModuleIo io(log.logger());
        EXPECT_EQ(-1, io.open("/nonexistent/ttyUSB9"));
    }
    const std::vector<std::string> texts = log.texts();
    const auto error = std::find_if(texts.begin(), texts.end(), [](const std::string& text) {
        return text.find(" -- Error opening file: /nonexistent/ttyUSB9\n") != std::string::npos;
    });
    ASSERT_NE(texts.end(), error);
    EXPECT_EQ(0u, error->find("open: "));
    EXPECT_NE(std::string::npos, error->find("\nsystem error: " + std::string(std::strerror(ENOENT)) + "\n"));
    EXPECT_TRUE(log.contains("LinuxModuleIo::open /nonexistent/ttyUSB9 -- begin"));
    EXPECT_TRUE(log.contains("Closing: /nonexistent/ttyUSB9"));
}

TEST(SerialTransport, BaudRatesOutsideTheMapAreRefused) {
    std::unique_ptr<Peer> peer(Peer::pseudo_terminal());
    LogCapture log;
    LinuxModuleIo io(log.logger());
    ASSERT_EQ(0, io.open(peer->device()));
    EXPECT_NO_THROW(io.set_baudrate(4000000));
    EXPECT_NO_THROW(io.set_baudrate(9600));
    try {
        io.set_baudrate(57600);
        FAIL() << "57600 was accepted";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ("illagal baudrate", error.what());
    }
    EXPECT_THROW(baudrate_map(0), std::runtime_error);
    EXPECT_EQ(static_cast<speed_t>(B921600), baudrate_map(921600));
}

TEST(SerialTransport, QuietLineReadsNothingWithinAShortPoll) {
    std::unique_ptr<Peer> peer(Peer::pseudo_terminal());
    LogCapture log;
    LinuxModuleIo io(log.logger());
    ASSERT_EQ(0, io.open(peer->device()));
    unsigned char buffer[16];
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(0, io.read(buffer, sizeof(buffer), 5000));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(1000));

    peer->write_raw(Bytes{1, 2, 3});
    int count = 0;
    for (int attempt = 0; attempt < 300 && count == 0; ++attempt) {
        count = io.read(buffer, sizeof(buffer), 0);
    }
    EXPECT_EQ(3, count);
    EXPECT_EQ(0, std::memcmp(buffer, "\x01\x02\x03", 3));
}

TEST(TcpTransport, LabelShowsThePortInHostOrder) {
    EXPECT_EQ("tcp://127.0.0.1:4444", TcpIpModuleIo::label(inet_addr("127.0.0.1"), htons(4444)));
    EXPECT_EQ("tcp://10.1.2.3:4444", TcpIpModuleIo::label(inet_addr("10.1.2.3"), 0x5C11));
}

TEST(TcpTransport, RefusedConnectionReportsAddressAndSystemError) {
    LogCapture log;
    const in_port_t port = closed_port();
    TcpIpModuleIo io(htonl(INADDR_LOOPBACK), port, log.logger());
    EXPECT_EQ(-1, io.open("anything"));
    const std::string expected = " -- error connecting to addr " +
                                 TcpIpModuleIo::label(htonl(INADDR_LOOPBACK), port) +
                                 "\nsystem error: " + std::strerror(ECONNREFUSED) + "\n";
    EXPECT_TRUE(log.contains(expected));
    EXPECT_NO_THROW(io.set_baudrate(57600));
}

class ByteLink : public ::testing::TestWithParam<bool> {
protected:
    void SetUp() override {
        peer_.reset(GetParam() ? Peer::tcp() : Peer::pseudo_terminal());
        factory_.reset(GetParam()
                           ? static_cast<AbstractFactory*>(new TcpIpFactory(peer_->address(), peer_->port()))
                           : new ConcreteFactory());
    }

    std::string device() const { return GetParam() ? "tcp://peer" : peer_->device(); }

    std::unique_ptr<Peer> peer_;
    std::unique_ptr<AbstractFactory> factory_;
    LogCapture log_;
};

TEST_P(ByteLink, PacketsArriveWholeAndFramesLeave) {
    std::mutex mutex;
    std::vector<Bytes> packets;
    peer_->set_responder([](const Bytes& command) { return frame(concat(Bytes{0x10}, command)); });
    UartIo io(log_.logger(), *factory_);
    EXPECT_FALSE(io.is_ready());
    ASSERT_EQ(0, io.open(device(), [&](Bytes packet) {
        std::lock_guard<std::mutex> lock(mutex);
        packets.push_back(packet);
    }));
    EXPECT_TRUE(io.is_ready());
    io.write(frame(Bytes{0x7D, 0x02}));
    io.write(frame(Bytes{0x03}));
    ASSERT_TRUE(eventually([&] {
        std::lock_guard<std::mutex> lock(mutex);
        return packets.size() == 2;
    }));
    EXPECT_EQ((Bytes{0x10, 0x7D, 0x02}), packets[0]);
    EXPECT_EQ((Bytes{0x10, 0x03}), packets[1]);
    io.close();
    EXPECT_FALSE(io.is_ready());
    io.write(frame(Bytes{0x04}));
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_EQ(2, peer_->commands());
}

INSTANTIATE_TEST_SUITE_P(SerialAndTcp, ByteLink, ::testing::Values(false, true),
                         [](const ::testing::TestParamInfo<bool>& info) {
                             return info.param ? "Tcp" : "Serial";
                         });

TEST(ByteLinkSerial, ReopenReplacesTheWholeLink) {
    std::unique_ptr<Peer> peer(Peer::pseudo_terminal());
    LogCapture log;
    ConcreteFactory factory;
    std::atomic<int> packets{0};
    UartIo io(log.logger(), factory);
    ASSERT_EQ(0, io.open(peer->device(), [&](Bytes) { ++packets; }));
    ASSERT_EQ(0, io.open(peer->device(), [&](Bytes) { ++packets; }));
    peer->write_raw(frame(Bytes{0x42}));
    EXPECT_TRUE(eventually([&] { return packets == 1; }));
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_EQ(1, packets);
}

TEST(ByteLinkFailure, FailedOpenLeavesTheLinkNotReadyAndSilent) {
    LogCapture log;
    ConcreteFactory factory;
    UartIo io(log.logger(), factory);
    bool called = false;
    EXPECT_EQ(-1, io.open("/nonexistent/ttyACM7", [&](Bytes) { called = true; }));
    EXPECT_FALSE(io.is_ready());
    EXPECT_NO_THROW(io.write(Bytes{1, 2, 3}));
    EXPECT_NO_THROW(io.set_baudrate(115200));
    EXPECT_FALSE(called);
    EXPECT_TRUE(log.contains("creating LinuxModuleIo"));
}
