// The module emulator as a host meets it: bytes over a real pseudo-terminal or a loopback TCP socket,
// commands framed by the library's builders, replies cut by the library's frame parser.
#include "ModuleEmulator.h"
#include "ModulePackets.h"
#include "protocol.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <termios.h>
#include <unistd.h>
#include <utility>

using namespace std::chrono;
using Form = ModuleEmulator::WireForm;
using Transport = ModuleEmulator::Transport;

namespace {

void append(unsigned char byte, void* user_data) {
    static_cast<Bytes*>(user_data)->push_back(byte);
}

Bytes frame_of(const Bytes& payload) {
    Bytes frame;
    createCommand(payload.data(), static_cast<uint32_t>(payload.size()), append, &frame);
    return frame;
}

Bytes ping_frame() {
    Bytes frame;
    createPingCommand(append, &frame);
    return frame;
}

int open_host_end(const ModuleEmulator& emulator) {
    if (!emulator.device_path().empty()) {
        const int fd = open(emulator.device_path().c_str(), O_RDWR | O_NOCTTY);
        termios settings;
        tcgetattr(fd, &settings);
        cfmakeraw(&settings);
        tcsetattr(fd, TCSANOW, &settings);
        return fd;
    }
    const int fd = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(emulator.tcp_port());
    EXPECT_EQ(0, connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address));
    return fd;
}

// The host's end of the link: every byte read is kept raw and also cut into packets by the frame parser.
class Host {
public:
    explicit Host(const ModuleEmulator& emulator) : fd_(open_host_end(emulator)) {
        createApplicationProtocol(on_packet, on_error, this, &parser_, buffer_, sizeof buffer_);
    }
    ~Host() { close(fd_); }
    void write(const Bytes& bytes) {
        ASSERT_EQ(::write(fd_, bytes.data(), bytes.size()), (ssize_t)bytes.size());
    }
    Bytes read_raw(size_t count) {
        read_until([&] { return raw_.size() >= count; }, seconds(10));
        packets_.clear();
        return std::exchange(raw_, Bytes());
    }
    // Packets until `count` have come, the time is up or the link ends.
    std::vector<Bytes> packets(size_t count, milliseconds timeout = seconds(10)) {
        read_until([&] { return packets_.size() >= count; }, timeout);
        raw_.clear();
        return std::exchange(packets_, std::vector<Bytes>());
    }
    Bytes packet() {
        const std::vector<Bytes> got = packets(1);
        return got.empty() ? Bytes() : got.front();
    }
    std::vector<unsigned> errors;
    // The read that ended the link, its errno and the poll's events: 0 for end of file, -1 for a failure.
    ssize_t end_result = 1;
    int end_errno = 0;
    short end_events = 0;

private:
    template <typename Done> void read_until(Done done, milliseconds timeout) {
        const auto deadline = steady_clock::now() + timeout;
        while (!done() && end_result > 0) {
            const auto left = duration_cast<milliseconds>(deadline - steady_clock::now()).count();
            pollfd polled{fd_, POLLIN, 0};
            if (left <= 0 || poll(&polled, 1, static_cast<int>(left)) <= 0)
                return;
            unsigned char chunk[4096];
            const ssize_t count = ::read(fd_, chunk, sizeof chunk);
            if (count <= 0) {
                end_result = count;
                end_errno = errno;
                end_events = polled.revents;
                return;
            }
            raw_.insert(raw_.end(), chunk, chunk + count);
            parseData(&parser_, chunk, static_cast<uint32_t>(count));
        }
    }
    static void on_packet(void* user_data, const unsigned char* data, unsigned int length) {
        static_cast<Host*>(user_data)->packets_.push_back(Bytes(data, data + length));
    }
    static void on_error(void* user_data, unsigned int code) {
        static_cast<Host*>(user_data)->errors.push_back(code);
    }
    int fd_;
    unsigned char buffer_[20000];
    ApplicationProtocol parser_;
    Bytes raw_;
    std::vector<Bytes> packets_;
};

const Bytes ready_pong = emulator_packets::pong(KMS_DEF_PONGVAL_READY);

// Reads until the packet comes, amid whatever else arrives.
bool finds(Host& host, const Bytes& wanted) {
    const auto deadline = steady_clock::now() + seconds(10);
    while (steady_clock::now() < deadline)
        for (const Bytes& packet : host.packets(1, milliseconds(100)))
            if (packet == wanted)
                return true;
    return false;
}

bool ponged(Host& host) {
    host.write(ping_frame());
    return finds(host, ready_pong);
}

class OverEachLink : public ::testing::TestWithParam<Transport> {
protected:
    void SetUp() override { ASSERT_TRUE(emulator.wait_for_connections(1, seconds(10))); }
    ModuleEmulator emulator{GetParam()};
    Host host{emulator};
};

INSTANTIATE_TEST_SUITE_P(Links, OverEachLink, ::testing::Values(Transport::pty, Transport::tcp),
                         [](const ::testing::TestParamInfo<Transport>& info) {
                             return info.param == Transport::pty ? "pty" : "tcp";
                         });

} // namespace

// The ready pong byte by byte; what it doesn't know is "not recognized"; otherwise the handler of the
// longest matching prefix answers, and one that throws is "command failed".
TEST_P(OverEachLink, AnswersPingUnknownCommandsAndFromTheLongestMatchingHandler) {
    host.write(ping_frame());
    EXPECT_EQ(host.read_raw(8), (Bytes{0x7D, 0x01, 0xEA, 0xAE, 0xEE, 0xAA, 0x7C, 0x7E}));
    host.write(frame_of({0x33, 0x7E}));
    EXPECT_EQ(host.packet(), (Bytes{KMS_SPR_ERROR, KMS_SPRE_NOT_RECOGNIZED, 0, 0, 0}));
    host.write(frame_of({}));
    EXPECT_EQ(host.packet(), (Bytes{KMS_SPR_ERROR, KMS_SPRE_NOT_RECOGNIZED, 0, 0, 0}));
    emulator.set_pong_value(KMS_DEF_PONGVAL_NOTREADY);
    host.write(ping_frame());
    EXPECT_EQ(host.packet(), emulator_packets::pong(KMS_DEF_PONGVAL_NOTREADY));
    const std::vector<Bytes> log = emulator.received_commands();
    ASSERT_EQ(log.size(), 4u);
    EXPECT_EQ(log[0], (Bytes{0x01, 0xAE, 0xEA, 0xAA, 0xEE}));
    EXPECT_EQ(log[1], (Bytes{0x33, 0x7E}));
    EXPECT_TRUE(log[2].empty());
    EXPECT_TRUE(host.errors.empty());
    emulator.set_handler({KMS_SPC_DIR_COMMAND},
                         [](const Bytes&) { return std::vector<Bytes>{{KMS_SPR_ACK}}; });
    emulator.set_handler({KMS_SPC_DIR_COMMAND, KMS_SDC_SYSTEM_GET_INFO}, [](const Bytes& command) {
        return std::vector<Bytes>{{KMS_SPR_REPLY, command.back()}, {KMS_SPR_ACK}};
    });
    emulator.set_handler({KMS_SPC_DIR_COMMAND, KMS_SDC_GET_PROFILEID},
                         [](const Bytes&) -> std::vector<Bytes> { throw std::runtime_error("broken"); });
    host.write(frame_of({KMS_SPC_DIR_COMMAND, KMS_SDC_SYSTEM_GET_INFO, 6}));
    EXPECT_EQ(host.packets(2), (std::vector<Bytes>{{KMS_SPR_REPLY, 6}, {KMS_SPR_ACK}}));
    host.write(frame_of({KMS_SPC_DIR_COMMAND, KMS_SDC_SYSTEM_GET_VERSION}));
    EXPECT_EQ(host.packet(), (Bytes{KMS_SPR_ACK}));
    host.write(frame_of({KMS_SPC_DIR_COMMAND, KMS_SDC_GET_PROFILEID}));
    EXPECT_EQ(host.packet(), emulator_packets::error(KMS_SPRE_COMMAND_FAILED));
    host.write(frame_of({KMS_SPC_DIR_COMMAND}));
    EXPECT_EQ(host.packet(), (Bytes{KMS_SPR_ACK}));
}

TEST_P(OverEachLink, SendsEachWireFormAndFloodsAsManyPacketsAsAsked) {
    // Flag values in the bodies: escaped in a frame, carried raw in the other two forms.
    const Bytes body{0x50, 0x7D, 0x7E, 0x7F, 0x00, 0x51, 0x7C};
    emulator.send(Form::frame, body);
    emulator.send(Form::fast, body);
    emulator.send(Form::noescape, body);
    emulator.send(Form::fast, {});
    Bytes fast{0x51, 7, 0, 0, 0};
    fast.insert(fast.end(), body.begin(), body.end());
    EXPECT_EQ(host.packets(4), (std::vector<Bytes>{body, fast, body, {0x51, 0, 0, 0, 0}}));
    const Bytes packet = emulator_packets::application_packet(KMS_ID_PRESENCE_MOVINGLIST, 100);
    emulator.flood(Form::frame, packet, 3000);
    const std::vector<Bytes> got = host.packets(3000, seconds(30));
    EXPECT_TRUE(emulator.wait_until_sent(seconds(10)));
    ASSERT_EQ(got.size(), 3000u);
    EXPECT_EQ(got.back(), packet);
    EXPECT_TRUE(host.errors.empty());
}

// The rate only within wide bounds: a loaded machine may lag, but the stream never runs at twice its rate.
// Once stopped, a packet sent behind the last one marks where the stream ended.
TEST_P(OverEachLink, StreamsPresencePacketsAtRoughlyTheAskedRateUntilStopped) {
    const auto start = steady_clock::now();
    emulator.start_stream(ModuleEmulator::StreamKind::presence_single, 100.0);
    const std::vector<Bytes> got = host.packets(100000, seconds(1));
    const double elapsed = duration<double>(steady_clock::now() - start).count();
    emulator.stop_streams();
    EXPECT_GE(got.size(), 20u);
    EXPECT_LE(got.size(), 150 * elapsed + 2);
    ASSERT_FALSE(got.empty());
    EXPECT_EQ(got[0].size(), 22u);
    EXPECT_EQ(emulator_packets::get_u32(got[0], 1), KMS_ID_PRESENCE_SINGLE);
    for (size_t i = 1; i < got.size(); ++i)
        EXPECT_EQ(emulator_packets::get_u32(got[i], 5), emulator_packets::get_u32(got[i - 1], 5) + 1);
    const Bytes marker{0x52, 0xEE};
    emulator.send(Form::frame, marker);
    ASSERT_TRUE(finds(host, marker));
    // At the stream's rate, 30 packets would be due here.
    EXPECT_TRUE(host.packets(1, milliseconds(300)).empty());
}

// Both ways: exactly the next N frames sent carry a wrong checksum (still escaped where it is a flag value,
// so the frame is whole); a damaged frame from the host is answered "CRC failed" and is no command; after
// random bytes the next frame is answered.
TEST_P(OverEachLink, DamagesExactlyTheNextNFramesAndSurvivesDamagedInput) {
    emulator.corrupt_next_frames(2);
    for (uint8_t i = 0; i < 4; ++i)
        emulator.send(Form::frame, {0x50, i});
    EXPECT_EQ(host.packets(2), (std::vector<Bytes>{{0x50, 2}, {0x50, 3}}));
    EXPECT_EQ(host.errors, (std::vector<unsigned>{1, 1}));
    host.write({0x7D, 0x01, 0xAE, 0xEA, 0xAA, 0xEE, 0x00, 0x7E});
    EXPECT_EQ(host.packet(), (Bytes{KMS_SPR_ERROR, KMS_SPRE_CRC_FAILED, 0, 0, 0}));
    EXPECT_EQ(emulator.checksum_errors(), 1u);
    EXPECT_TRUE(emulator.received_commands().empty());
    Bytes noise(5000);
    uint32_t state = 12345;
    for (unsigned char& byte : noise)
        byte = static_cast<unsigned char>((state = state * 1103515245u + 12345u) >> 16);
    // Ends any fast or no-escape packet the noise may have started, so that the ping is read as a frame.
    noise.insert(noise.end(), 70000, 0x00);
    host.write(noise);
    EXPECT_TRUE(ponged(host));
}

TEST_P(OverEachLink, DropsBytesOnTheWayOut) {
    emulator.drop_next_bytes(3);
    emulator.send_raw({1, 2, 3, 4, 5});
    EXPECT_EQ(host.read_raw(2), (Bytes{4, 5}));
    emulator.drop_every_kth_byte(3);
    emulator.send_raw({1, 2, 3, 4, 5, 6, 7});
    EXPECT_EQ(host.read_raw(5), (Bytes{1, 2, 4, 5, 7}));

    // A lost byte costs the frame it was in, and no more: the error comes before the next frame.
    emulator.drop_every_kth_byte(0);
    emulator.drop_next_bytes(3);
    host.write(ping_frame());
    host.write(ping_frame());
    EXPECT_EQ(host.packets(1), (std::vector<Bytes>{ready_pong}));
    EXPECT_EQ(host.errors, (std::vector<unsigned>{1}));
}

// Silence is decided as each command comes in, and replies leave in order: a pong for the ignored ping would
// come before the answer to the next command.
TEST_P(OverEachLink, StaysSilentButLogsCommandsAndAnswersLateByTheDelay) {
    emulator.set_silent(true);
    host.write(ping_frame());
    ASSERT_TRUE(emulator.wait_for_commands(1, seconds(10)));
    emulator.clear_faults();
    host.write(frame_of({0x33}));
    EXPECT_EQ(host.packet(), emulator_packets::error(KMS_SPRE_NOT_RECOGNIZED));
    emulator.set_reply_delay(milliseconds(200));
    const auto sent = steady_clock::now();
    host.write(ping_frame());
    EXPECT_EQ(host.packet(), ready_pong);
    EXPECT_GE(steady_clock::now() - sent, milliseconds(200));
}

TEST(ModuleEmulatorPty, ClosingTheConnectionHangsUpTheDevice) {
    ModuleEmulator emulator(Transport::pty);
    Host host(emulator);
    emulator.close_connection();
    EXPECT_FALSE(emulator.connected());
    EXPECT_TRUE(host.packets(1).empty());
    EXPECT_LE(host.end_result, 0);
    EXPECT_TRUE(host.end_result == 0 || host.end_errno == EIO);
    EXPECT_TRUE(host.end_events & POLLHUP);
}

// A client dropped by the emulator reads end of file, and one that leaves by itself makes room as well: each
// next client gets the stream and answers.
TEST(ModuleEmulatorTcp, TheNextClientIsServedAfterAClosedOrDepartedOne) {
    ModuleEmulator emulator(Transport::tcp);
    EXPECT_NE(emulator.tcp_port(), 0);
    EXPECT_EQ(emulator.address_line(), "tcp: 127.0.0.1:" + std::to_string(emulator.tcp_port()));
    emulator.start_stream(ModuleEmulator::StreamKind::presence_single, 200.0);
    {
        Host dropped(emulator);
        EXPECT_TRUE(ponged(dropped));
        emulator.close_connection();
        dropped.packets(1000000, seconds(10));
        EXPECT_EQ(dropped.end_result, 0);
    }
    {
        Host leaving(emulator);
        EXPECT_FALSE(leaving.packets(3).empty());
    }
    Host next(emulator);
    EXPECT_FALSE(next.packets(3).empty());
    EXPECT_TRUE(ponged(next));
    EXPECT_EQ(emulator.connections(), 3u);
}

namespace {
size_t open_descriptors() {
    size_t count = 0;
    for (int fd = 0; fd < 4096; ++fd)
        count += fcntl(fd, F_GETFD) != -1;
    return count;
}
} // namespace

TEST(ModuleEmulatorLife, StopsItsThreadAndLeavesNoDescriptorBehind) {
    const size_t before = open_descriptors();
    for (Transport transport : {Transport::pty, Transport::tcp}) {
        ModuleEmulator emulator(transport);
        emulator.start_stream(ModuleEmulator::StreamKind::presence_single, 1000.0);
        Host host(emulator);
        EXPECT_FALSE(host.packets(1).empty());
        emulator.stop();
        emulator.stop();
    }
    EXPECT_EQ(open_descriptors(), before);
}

namespace {

Bytes with_words(Bytes head, std::initializer_list<uint32_t> words) {
    for (uint32_t word : words)
        emulator_packets::put_u32(head, word);
    return head;
}

Bytes operator+(Bytes head, const Bytes& tail) {
    head.insert(head.end(), tail.begin(), tail.end());
    return head;
}

} // namespace

// Every family reads its arguments only as far as the command goes: a command cut short anywhere is refused,
// and the next whole one is still answered. The module stays idle, so that no stream mixes in.
TEST(ModuleEmulatorFirmware, RefusesEveryTruncatedCommandAndAnswersTheNext) {
    ModuleEmulator emulator(Transport::pty);
    Host host(emulator);
    const std::vector<Bytes> commands = {
        with_words({KMS_SPC_MOD_LOADAPP}, {KMS_ID_APP_PRESENCE}),
        {KMS_SPC_MOD_SETMODE, KMS_SM_IDLE},
        {KMS_SPC_DIR_COMMAND, KMS_SDC_SYSTEM_GET_INFO, 2},
        with_words({KMS_SPC_APPCOMMAND, KMS_SPCA_SET}, {KMS_ID_DETECTION_ZONE, 0x3F800000, 0x40000000}),
        with_words({KMS_SPC_APPCOMMAND, KMS_SPCA_SET}, {KMS_ID_PROFILE_PARAMETERFILE, 2, 2, 0x00620061}),
        with_words({KMS_SPC_OUTPUT, KMS_SPCO_SETCONTROL}, {KMS_SACR_OUTPUT_PULSE_DOPPLER, 1}),
        with_words({KMS_SPC_DIR_COMMAND, KMS_SDC_APP_SETINT}, {16, 1, 1}),
        with_words({KMS_SPC_IOPIN, KMS_SPCIOP_SETCONTROL}, {1, 1, 1}),
        with_words({KMS_SPC_G7DRIVER, KMS_SPCX_SET}, {KMS_SPCXI_FRAMEAREA, 0x3F000000, 0x40000000}),
        with_words({KMS_SPC_G7DRIVER, KMS_SPCX_READ, KMS_SPCXI_SPIREGISTER, 0, 0, 0, 0xF0}, {16}),
        with_words({KMS_SPC_DIR_COMMAND, KMS_SDC_RADLIB_SETVARFLOAT}, {1, 0x3F800000}),
        {KMS_SPC_DIR_COMMAND, 0x33, 0x92, 5},
        with_words({KMS_SPC_DIR_COMMAND, KMS_SDC_CREATE_NEW_FILE}, {1, 2, 3}),
        with_words({KMS_SPC_DIR_COMMAND, KMS_SDC_SET_FILE_DATA}, {1, 2, 0, 3}) + Bytes{1, 2, 3},
        with_words({KMS_SPC_DIR_COMMAND, KMS_SDC_CLOSE_FILE}, {1, 2, 1}),
    };
    for (const Bytes& command : commands) {
        for (size_t length = 1; length < command.size(); ++length) {
            host.write(frame_of(Bytes(command.begin(), command.begin() + length)));
            const Bytes reply = host.packet();
            ASSERT_FALSE(reply.empty()) << "command " << int(command[0]) << " cut to " << length;
            EXPECT_EQ(reply[0], KMS_SPR_ERROR) << "command " << int(command[0]) << " cut to " << length;
        }
        host.write(frame_of(command));
        const Bytes reply = host.packet();
        ASSERT_FALSE(reply.empty());
        EXPECT_NE(reply[0], KMS_SPR_ERROR) << "command " << int(command[0]);
    }
    // What was written at the end came through: a file of 3 bytes, stored.
    host.write(frame_of(with_words({KMS_SPC_DIR_COMMAND, KMS_SDC_GET_FILE_DATA}, {1, 2, 0, 100})));
    EXPECT_EQ(host.packet(), emulator_packets::reply(KMS_SPRD_BYTE, 0, 0, {1, 2, 3}));
}
