// The whole link from the wire to a waiting caller: round trips, named queues and handler subscriptions
// against the module emulator over a real pseudo-terminal and loopback TCP.
#include "ActiveThread.h"
#include "ConcreteFactory.h"
#include "ModuleEmulator.h"
#include "ModulePackets.h"
#include "PacketDispatcher.h"
#include "PacketParserCallback.h"
#include "RadarCommunicator.h"
#include "TcpIpFactory.h"
#include "UartIo.h"
#include "link_log_capture.h"
#include "link_peer.h"

#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <random>

using namespace link_test;
using namespace std::chrono;
using Transport = ModuleEmulator::Transport;
using Form = ModuleEmulator::WireForm;

namespace {

const Bytes pong_comparator{0x01};
const Bytes ready_pong = emulator_packets::pong(KMS_DEF_PONGVAL_READY);

// One open link to the emulator, serial or TCP, and the communicator on it.
class Link {
public:
    explicit Link(Transport transport, int log_level = -1) : log(log_level), emulator(transport) {
        const bool tcp = transport == Transport::tcp;
        factory.reset(tcp ? static_cast<AbstractFactory*>(
                                new TcpIpFactory(htonl(INADDR_LOOPBACK), htons(emulator.tcp_port())))
                          : new ConcreteFactory());
        io.reset(new UartIo(log.logger(), *factory));
        communicator.reset(new RadarCommunicator(*io, *factory, log.logger()));
        opened = communicator->open(tcp ? "tcp://127.0.0.1" : emulator.device_path()) == 0 &&
                 emulator.wait_for_connections(1, seconds(10));
    }
    ~Link() {
        communicator.reset();
        io.reset();
    }
    Bytes ping(unsigned int timeout = 5) {
        return communicator->send(timeout, frame(ping_payload()), pong_comparator);
    }

    // Whether a packet sent behind everything sent so far passes the dispatcher within the time: it handles
    // packets one at a time in their order, so all before it have passed as well.
    bool marker_passes(int milliseconds = 10000) {
        const Bytes marker{0x50, 0xEE, static_cast<unsigned char>(++markers)};
        // Shared with the handler, which an unsubscribe removes only later, on the dispatcher's thread.
        auto seen = std::make_shared<std::atomic<bool>>(false);
        communicator->subscribe(
            "marker", [seen](Bytes) { return *seen = true; }, marker);
        emulator.send(Form::frame, marker);
        const bool passed = eventually([&] { return seen->load(); }, milliseconds);
        communicator->unsubscribe("marker");
        return passed;
    }

    LogCapture log;
    ModuleEmulator emulator;
    std::unique_ptr<AbstractFactory> factory;
    std::unique_ptr<UartIo> io;
    std::unique_ptr<RadarCommunicator> communicator;
    bool opened = false;
    int markers = 0;
};

} // namespace

class OverBothLinks : public ::testing::TestWithParam<Transport> {};

// The late reply still finds the round trip's stale subscription: no "no handler" line, and it never reaches
// the next caller, whose own reply tells the two apart by its value.
TEST_P(OverBothLinks, LateReplyTimesOutAndIsLostQuietly) {
    Link link(GetParam());
    ASSERT_TRUE(link.opened);
    EXPECT_EQ(ready_pong, link.ping());
    link.emulator.set_pong_value(KMS_DEF_PONGVAL_NOTREADY);
    link.emulator.set_reply_delay(milliseconds(1500));
    const auto start = steady_clock::now();
    EXPECT_EQ("Timeout waiting for response\n", failure_of([&] { link.ping(1); }));
    EXPECT_GE(steady_clock::now() - start, milliseconds(900));
    EXPECT_TRUE(link.log.contains("Timeout waiting for response"));
    ASSERT_TRUE(link.emulator.wait_until_sent(seconds(10)));
    ASSERT_TRUE(link.marker_passes());
    EXPECT_FALSE(link.log.contains("we did not find a handler"));
    link.emulator.clear_faults();
    link.emulator.set_pong_value(KMS_DEF_PONGVAL_READY);
    EXPECT_EQ(ready_pong, link.ping());
}

// The damaged frame is sent unasked just before the ping's reply: only it is lost.
TEST_P(OverBothLinks, DamagedFrameCostsOnlyThatFrame) {
    Link link(GetParam());
    ASSERT_TRUE(link.opened);
    link.emulator.corrupt_next_frames(1);
    link.emulator.send(Form::frame, emulator_packets::pong(KMS_DEF_PONGVAL_NOTREADY));
    EXPECT_EQ(ready_pong, link.ping());
    EXPECT_TRUE(link.log.wait_for("Error parsing incoming data: CRC error"));
}

TEST_P(OverBothLinks, NoiseFromThePeerIsSurvivedAndTheNextFrameRead) {
    Link link(GetParam(), 0);
    ASSERT_TRUE(link.opened);
    std::mt19937 random(GetParam() == Transport::tcp ? 7 : 11);
    Bytes noise(200000);
    for (unsigned char& byte : noise) {
        byte = static_cast<unsigned char>(random());
    }
    link.emulator.send_raw(noise);
    // A fast or no-escape header in the noise may claim up to 4 GiB: only a full buffer ends such a packet,
    // and the rest of the chunk that fills it is dropped, so a frame is read only a little later.
    link.emulator.send_raw(Bytes(20001, 0x00));
    EXPECT_TRUE(eventually([&] { return link.marker_passes(100); }));
    EXPECT_EQ(ready_pong, link.ping());
}

// A peer that closes, here in the middle of a frame, reads as a quiet line on both transports: the link goes
// on polling, and only the commands show the loss, failing at the writer or running into the time-out.
TEST_P(OverBothLinks, PeerGoneMidFrameKeepsTheLinkPollingAndCommandsFail) {
    Link link(GetParam());
    ASSERT_TRUE(link.opened);
    EXPECT_EQ(ready_pong, link.ping());
    const Bytes reply = frame(ready_pong);
    link.emulator.send_raw(Bytes(reply.begin(), reply.begin() + 3));
    link.emulator.close_connection();
    // The reader meets the closed line at its next poll of 10 ms, again and again: a reader that gave up on
    // it would have done so well within this.
    std::this_thread::sleep_for(milliseconds(300));
    for (unsigned int timeout : {1, 0}) {
        const std::string failure = failure_of([&] { link.ping(timeout); });
        EXPECT_TRUE(failure == "Timeout waiting for response\n" ||
                    failure == "Failed to write all bytes to module\n")
            << failure;
    }
    EXPECT_TRUE(link.io->is_ready());
    EXPECT_FALSE(link.log.contains("Reader is bailing out"));
}

INSTANTIATE_TEST_SUITE_P(SerialAndTcp, OverBothLinks, ::testing::Values(Transport::pty, Transport::tcp),
                         [](const ::testing::TestParamInfo<Transport>& info) {
                             return info.param == Transport::tcp ? "Tcp" : "Serial";
                         });

// "zz-watch" runs after "data" for each packet, so the last counter it saw is already queued.
TEST(Queues, TheThousandAndFirstPacketDropsTheOldest) {
    Link link(Transport::pty);
    ASSERT_TRUE(link.opened);
    std::atomic<uint32_t> last{0};
    link.communicator->subscribe("data", Bytes{0x50});
    link.communicator->subscribe(
        "zz-watch", [&](Bytes packet) { return last = counter_of(packet), true; }, Bytes{0x50});
    Bytes stream;
    for (uint32_t counter = 1; counter <= 1001; ++counter) {
        const Bytes one = frame(data_payload(counter));
        stream.insert(stream.end(), one.begin(), one.end());
    }
    link.emulator.send_raw(stream);
    ASSERT_TRUE(eventually([&] { return last == 1001; }));
    EXPECT_EQ(1000u, link.communicator->get_number_of_packets("data"));
    EXPECT_EQ(2u, counter_of(link.communicator->get_packet("data")));
    link.communicator->clear("data");
    EXPECT_EQ(0u, link.communicator->get_number_of_packets("data"));

    // A second subscription under the name starts an empty queue.
    link.emulator.send(Form::frame, data_payload(5000));
    ASSERT_TRUE(eventually([&] { return last == 5000; }));
    link.communicator->subscribe("data", Bytes{0x50});
    EXPECT_EQ(0u, link.communicator->get_number_of_packets("data"));
    EXPECT_EQ(0u, link.communicator->get_number_of_packets("none"));
    EXPECT_EQ(Bytes(), link.communicator->get_packet("none"));
    EXPECT_NO_THROW(link.communicator->clear("none"));
    EXPECT_NO_THROW(link.communicator->unsubscribe("none"));
}

// A comparator longer than the packet never matches it, and a packet nobody wants is logged once.
TEST(Subscriptions, EveryMatchingSubscriptionRunsInNameOrder) {
    Link link(Transport::pty);
    ASSERT_TRUE(link.opened);
    std::mutex mutex;
    std::vector<std::string> calls;
    for (const auto& entry : std::map<std::string, Bytes>{
             {"b", {0x50}}, {"a", {0x50, 0x1E}}, {"c", {0x51}}, {"d", Bytes(40, 0x50)}}) {
        const std::string name = entry.first;
        link.communicator->subscribe(
            name,
            [&, name](Bytes) {
                std::lock_guard<std::mutex> lock(mutex);
                calls.push_back(name);
                return false;
            },
            entry.second);
    }
    link.emulator.send(Form::frame, data_payload(1));
    link.emulator.send(Form::frame, data_payload(2));
    link.emulator.send(Form::frame, {0x52, 0x01});
    ASSERT_TRUE(link.log.wait_for("do_dispatch_packet, "));
    EXPECT_EQ(1, link.log.count(" -- we did not find a handler for this package"));
    {
        std::lock_guard<std::mutex> lock(mutex);
        EXPECT_EQ((std::vector<std::string>{"a", "b", "a", "b"}), calls);
    }
    const auto subscriptions = link.communicator->get_subscriptions();
    ASSERT_EQ(4u, subscriptions.size());
    EXPECT_EQ((Bytes{0x50, 0x1E}), subscriptions.at("a").first);
    EXPECT_TRUE(static_cast<bool>(subscriptions.at("b").second));
    link.communicator->unsubscribe("a");
    EXPECT_EQ(3u, link.communicator->get_subscriptions().size());
}

namespace {

// A byte link that answers every write at once, on the writer's thread, and returns only once the reply has
// passed the whole dispatcher: the reply is queued before the caller gets to its wait.
class InstantIo : public AbstractIo {
public:
    bool is_ready() override { return true; }
    int open(const std::string&, std::function<void(Bytes)> callback) override {
        callback_ = std::move(callback);
        return 0;
    }
    void close() override {}
    void set_baudrate(unsigned int) override {}
    void write(Bytes) override {
        std::unique_lock<std::mutex> lock(mutex);
        delivered = false;
        callback_(ready_pong);
        condition.wait_for(lock, seconds(10), [this] { return delivered; });
    }
    std::mutex mutex;
    std::condition_variable condition;
    bool delivered = false;

private:
    std::function<void(Bytes)> callback_;
};

} // namespace

TEST(RoundTrip, AReplyAlreadyQueuedNeedsNoWait) {
    LogCapture log;
    ConcreteFactory factory;
    InstantIo io;
    RadarCommunicator communicator(io, factory, log.logger());
    ASSERT_EQ(0, communicator.open("instant"));
    // Runs after "response" in name order, so the reply is queued when this handler sees it.
    communicator.subscribe(
        "zz-delivered",
        [&](Bytes) {
            std::lock_guard<std::mutex> lock(io.mutex);
            io.delivered = true;
            io.condition.notify_all();
            return true;
        },
        pong_comparator);
    EXPECT_EQ(ready_pong,
              communicator.send(0, frame(ping_payload()), std::vector<Bytes>{Bytes{0x20}, pong_comparator}));
}

namespace {

class PushConsumer : public PacketParserCallback {
public:
    std::atomic<uint32_t> pongs{0};
    std::atomic<uint32_t> presence_frame{0};
    void pong(uint32_t value) override { pongs = value; }
    void presence_single(const PresenceSingleData& value) override { presence_frame = value.frame_counter; }
    void ack(Ack) override {}
    void error(uint32_t) override {}
    void respiration(const RespirationData&) override {}
    void sleep(const SleepData&) override {}
    void baseband_ap(const BasebandApData&) override {}
    void baseband_iq(const BasebandIqData&) override {}
    void presence_movinglist(const PresenceMovingListData&) override {}
    void pulsedoppler_float(const PulseDopplerFloatData&) override {}
    void pulsedoppler_byte(const PulseDopplerByteData&) override {}
};

} // namespace

TEST(PushInterface, SeesPacketsButDoesNotCountAsAHandler) {
    LogCapture log;
    PushConsumer consumer, stranger;
    {
        PacketDispatcher dispatcher(new ActiveThread("dispatcher", log.logger()), log.logger());
        dispatcher.subscribe(&consumer);
        dispatcher.unsubscribe(&stranger);
        dispatcher.dispatch_packet(ready_pong);
        dispatcher.dispatch_packet(data_payload(77));
        dispatcher.unsubscribe(&consumer);
        dispatcher.dispatch_packet(data_payload(78));
    }
    EXPECT_EQ(0xAAEEAEEAu, consumer.pongs);
    EXPECT_EQ(77u, consumer.presence_frame);
    EXPECT_EQ(3, log.count(" -- we did not find a handler for this package"));
}
