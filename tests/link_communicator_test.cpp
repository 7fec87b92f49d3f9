// The whole link from the wire to a waiting caller: round trips, named queues and handler subscriptions over
// real pseudo-terminals and loopback TCP.
#include "ActiveThread.h"
#include "ConcreteFactory.h"
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

namespace {

const Bytes pong_comparator{0x01};

template <typename Predicate> bool eventually(Predicate predicate, int milliseconds = 3000) {
    for (int waited = 0; waited < milliseconds && !predicate(); waited += 2) {
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return predicate();
}

std::string failure_of(std::function<void()> call) {
    try {
        call();
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "";
}

// One open link to a peer, serial or TCP, and the communicator on it.
class Link {
public:
    Link(bool tcp, int log_level = -1) : log(log_level), peer(tcp ? Peer::tcp() : Peer::pseudo_terminal()) {
        factory.reset(tcp ? static_cast<AbstractFactory*>(new TcpIpFactory(peer->address(), peer->port()))
                          : new ConcreteFactory());
        io.reset(new UartIo(log.logger(), *factory));
        communicator.reset(new RadarCommunicator(*io, *factory, log.logger()));
        opened = communicator->open(tcp ? "tcp://127.0.0.1" : peer->device());
        peer->release_slave();
    }
    ~Link() {
        communicator.reset();
        io.reset();
    }

    Bytes ping(unsigned int timeout = 2) {
        return communicator->send(timeout, frame(ping_payload()), pong_comparator);
    }

    LogCapture log;
    std::unique_ptr<Peer> peer;
    std::unique_ptr<AbstractFactory> factory;
    std::unique_ptr<UartIo> io;
    std::unique_ptr<RadarCommunicator> communicator;
    int opened = -1;
};

Peer::Responder pong_to_ping() {
    return [](const Bytes& command) { return command == ping_payload() ? frame(pong_payload()) : Bytes(); };
}

} // namespace

class OverBothLinks : public ::testing::TestWithParam<bool> {};

TEST_P(OverBothLinks, PingIsAnsweredWithPong) {
    Link link(GetParam());
    ASSERT_EQ(0, link.opened);
    link.peer->set_responder(pong_to_ping());
    EXPECT_EQ(pong_payload(), link.ping());
    EXPECT_EQ(pong_payload(), link.ping());
    EXPECT_FALSE(link.log.contains("we did not find a handler"));
}

TEST_P(OverBothLinks, LateReplyTimesOutAndIsLostQuietly) {
    Link link(GetParam());
    ASSERT_EQ(0, link.opened);
    std::atomic<bool> answered{false};
    link.peer->set_responder([&](const Bytes&) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1300));
        answered = true;
        return frame(pong_payload());
    });
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ("Timeout waiting for response\n", failure_of([&] { link.ping(1); }));
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(900));
    EXPECT_TRUE(link.log.contains("Timeout waiting for response"));
    ASSERT_TRUE(eventually([&] { return answered.load(); }));
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    EXPECT_FALSE(link.log.contains("we did not find a handler"));
    link.peer->set_responder(pong_to_ping());
    EXPECT_EQ(pong_payload(), link.ping());
}

TEST_P(OverBothLinks, DamagedReplyCostsOnlyThatFrame) {
    Link link(GetParam());
    ASSERT_EQ(0, link.opened);
    link.peer->set_responder([](const Bytes&) {
        Bytes damaged = frame(Bytes{0x01, 0x00, 0x00, 0x00, 0x00});
        damaged[2] ^= 0x10;
        return concat(damaged, frame(pong_payload()));
    });
    EXPECT_EQ(pong_payload(), link.ping());
    EXPECT_TRUE(link.log.wait_for("Error parsing incoming data: CRC error"));
}

TEST_P(OverBothLinks, NoiseFromThePeerIsSurvivedAndTheNextFrameRead) {
    Link link(GetParam(), 0);
    ASSERT_EQ(0, link.opened);
    std::mt19937 random(GetParam() ? 7 : 11);
    Bytes noise(200000);
    for (unsigned char& byte : noise) {
        byte = static_cast<unsigned char>(random());
    }
    std::atomic<bool> recovered{false};
    const Bytes marker{0x50, 0xEE, 0xEE, 0xEE};
    link.communicator->subscribe(
        "marker", [&](Bytes packet) { return recovered = packet == marker, true; }, marker);
    link.peer->write_raw(noise);
    // A fast or no-escape header in the noise may claim up to 4 GiB: only a full buffer ends such a packet,
    // and the rest of the chunk that fills it is dropped, so the next frame comes a little later.
    link.peer->write_raw(Bytes(20001, 0x00));
    for (int attempt = 0; attempt < 20 && !recovered; ++attempt) {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        link.peer->write_raw(frame(marker));
    }
    ASSERT_TRUE(eventually([&] { return recovered.load(); }));
    link.peer->set_responder(pong_to_ping());
    EXPECT_EQ(pong_payload(), link.ping());
}

TEST_P(OverBothLinks, PeerVanishingMidFrameLeavesTheHostWhole) {
    Link link(GetParam());
    ASSERT_EQ(0, link.opened);
    link.peer->set_responder(pong_to_ping());
    EXPECT_EQ(pong_payload(), link.ping());
    const Bytes half = frame(pong_payload());
    link.peer->write_raw(Bytes(half.begin(), half.begin() + 3));
    link.peer->vanish();
    // Depending on how far the loss has travelled, the command fails at the writer or runs into the time-out.
    const std::string failure = failure_of([&] { link.ping(1); });
    EXPECT_TRUE(failure == "Timeout waiting for response\n" ||
                failure == "Failed to write all bytes to module\n")
        << failure;
    EXPECT_TRUE(link.io->is_ready());
    EXPECT_NE("", failure_of([&] { link.ping(1); }));
}

// A peer that closes reads as a quiet line on both transports: the link goes on polling, and only the
// commands show the loss.
TEST_P(OverBothLinks, PeerGoneKeepsTheLinkPollingAndCommandsFail) {
    Link link(GetParam());
    ASSERT_EQ(0, link.opened);
    link.peer->vanish();
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_FALSE(link.log.contains("Reader is bailing out"));
    EXPECT_NE("", failure_of([&] { link.ping(1); }));
    EXPECT_NE("", failure_of([&] { link.ping(0); }));
    EXPECT_TRUE(link.io->is_ready());
}

INSTANTIATE_TEST_SUITE_P(SerialAndTcp, OverBothLinks, ::testing::Values(false, true),
                         [](const ::testing::TestParamInfo<bool>& info) {
                             return info.param ? "Tcp" : "Serial";
                         });

TEST(OpenFailure, BadDeviceIsReportedAndTheCommunicatorStillDies) {
    LogCapture log;
    ConcreteFactory factory;
    UartIo io(log.logger(), factory);
    {
        RadarCommunicator communicator(io, factory, log.logger());
        EXPECT_EQ(-1, communicator.open("/nonexistent/ttyS99"));
        EXPECT_EQ(1, log.count("module_io::open returned error"));
        EXPECT_EQ("Timeout waiting for response\n",
                  failure_of([&] { communicator.send(0, frame(ping_payload()), pong_comparator); }));
    }
    EXPECT_FALSE(io.is_ready());
}

TEST(Queues, TheThousandAndFirstPacketDropsTheOldest) {
    Link link(false);
    ASSERT_EQ(0, link.opened);
    std::atomic<uint32_t> last{0};
    link.communicator->subscribe("data", Bytes{0x50});
    link.communicator->subscribe(
        "zz-watch", [&](Bytes packet) { return last = counter_of(packet), true; }, Bytes{0x50});
    Bytes stream;
    for (uint32_t counter = 1; counter <= 1001; ++counter) {
        stream = concat(stream, frame(data_payload(counter)));
    }
    link.peer->write_raw(stream);
    ASSERT_TRUE(eventually([&] { return last == 1001; }));
    EXPECT_EQ(1000u, link.communicator->get_number_of_packets("data"));
    EXPECT_EQ(2u, counter_of(link.communicator->get_packet("data")));
    link.communicator->clear("data");
    EXPECT_EQ(0u, link.communicator->get_number_of_packets("data"));

    // A second subscription under the name starts an empty queue.
    link.peer->write_raw(frame(data_payload(5000)));
    ASSERT_TRUE(eventually([&] { return last == 5000; }));
    link.communicator->subscribe("data", Bytes{0x50});
    EXPECT_EQ(0u, link.communicator->get_number_of_packets("data"));
}

TEST(Queues, UnknownNamesAnswerAtOnce) {
    Link link(true);
    EXPECT_EQ(0u, link.communicator->get_number_of_packets("none"));
    EXPECT_EQ(Bytes(), link.communicator->get_packet("none"));
    EXPECT_NO_THROW(link.communicator->clear("none"));
    EXPECT_NO_THROW(link.communicator->unsubscribe("none"));
}

TEST(Subscriptions, EveryMatchingSubscriptionRunsInNameOrder) {
    Link link(false);
    ASSERT_EQ(0, link.opened);
    std::mutex mutex;
    std::vector<std::string> calls;
    auto recorder = [&](const std::string& name) {
        return [&, name](Bytes) {
            std::lock_guard<std::mutex> lock(mutex);
            calls.push_back(name);
            return false;
        };
    };
    link.communicator->subscribe("b", recorder("b"), Bytes{0x50});
    link.communicator->subscribe("a", recorder("a"), Bytes{0x50, 0x1E});
    link.communicator->subscribe("c", recorder("c"), Bytes{0x51});
    link.peer->write_raw(frame(data_payload(1)));
    link.peer->write_raw(frame(data_payload(2)));
    ASSERT_TRUE(eventually([&] {
        std::lock_guard<std::mutex> lock(mutex);
        return calls.size() == 4;
    }));
    EXPECT_EQ((std::vector<std::string>{"a", "b", "a", "b"}), calls);

    const auto subscriptions = link.communicator->get_subscriptions();
    ASSERT_EQ(3u, subscriptions.size());
    EXPECT_EQ((Bytes{0x50, 0x1E}), subscriptions.at("a").first);
    EXPECT_TRUE(static_cast<bool>(subscriptions.at("b").second));
    link.communicator->unsubscribe("a");
    EXPECT_EQ(2u, link.communicator->get_subscriptions().size());
}

TEST(Subscriptions, APacketNobodyWantsIsLoggedOnce) {
    Link link(true);
    ASSERT_EQ(0, link.opened);
    link.communicator->subscribe(
        "long", [](Bytes) { return true; }, Bytes(40, 0x50));
    link.peer->write_raw(frame(data_payload(1)));
    EXPECT_TRUE(link.log.wait_for("do_dispatch_packet, "));
    EXPECT_EQ(1, link.log.count(" -- we did not find a handler for this package"));
}

namespace {

// A byte link that answers every write at once, on the writer's thread, and returns only once the reply has
// passed the whole dispatcher: the reply is in the queue before the caller gets to its wait.
class InstantIo : public AbstractIo {
public:
    bool is_ready() override { return true; }
    int open(const std::string&, std::function<void(Bytes)> callback) override {
        callback_ = std::move(callback);
        return 0;
    }
    void close() override {}
    void write(Bytes) override {
        std::unique_lock<std::mutex> lock(mutex);
        delivered = false;
        callback_(pong_payload());
        condition.wait_for(lock, std::chrono::seconds(3), [this] { return delivered; });
    }
    void set_baudrate(unsigned int) override {}

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
    EXPECT_EQ(pong_payload(),
              communicator.send(0, frame(ping_payload()), std::vector<Bytes>{Bytes{0x20}, pong_comparator}));
}

namespace {

class PushConsumer : public PacketParserCallback {
public:
    std::atomic<uint32_t> pongs{0};
    std::atomic<uint32_t> presence_frame{0};
    void ack(Ack) override {}
    void pong(uint32_t value) override { pongs = value; }
    void error(uint32_t) override {}
    void respiration(const RespirationData&) override {}
    void sleep(const SleepData&) override {}
    void baseband_ap(const BasebandApData&) override {}
    void baseband_iq(const BasebandIqData&) override {}
    void presence_single(const PresenceSingleData& value) override { presence_frame = value.frame_counter; }
    void presence_movinglist(const PresenceMovingListData&) override {}
    void pulsedoppler_float(const PulseDopplerFloatData&) override {}
    void pulsedoppler_byte(const PulseDopplerByteData&) override {}
};

} // namespace

TEST(PushInterface, SeesPacketsButDoesNotCountAsAHandler) {
    LogCapture log;
    PushConsumer consumer;
    PushConsumer stranger;
    {
        PacketDispatcher dispatcher(new ActiveThread("dispatcher", log.logger()), log.logger());
        dispatcher.subscribe(&consumer);
        dispatcher.unsubscribe(&stranger);
        dispatcher.dispatch_packet(pong_payload());
        dispatcher.dispatch_packet(data_payload(77));
        dispatcher.unsubscribe(&consumer);
        dispatcher.dispatch_packet(data_payload(78));
    }
    EXPECT_EQ(0xAAEEAEEAu, consumer.pongs);
    EXPECT_EQ(77u, consumer.presence_frame);
    EXPECT_EQ(3, log.count(" -- we did not find a handler for this package"));
}
