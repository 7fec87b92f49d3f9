// Opening, closing, resetting and sharing one RadarInterface, on a real pseudo-terminal.
#include "RadarTestLink.h"
#include "TervikException.h"
#include "UniqueLocked.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

using namespace module_packets;

namespace {

class RadarLifecycle : public ::testing::Test {
protected:
    RadarTestLink link;
    ScriptedModule& module = link.module;
    Tervik::RadarInterface& radar = link.radar();
};

TEST_F(RadarLifecycle, UnopenableDeviceFailsConstructionAndOpen) {
    try {
        link.make_radar("/nonexistent/tty");
        FAIL() << "no exception";
    } catch (const std::runtime_error& e) {
        EXPECT_STREQ("unable to open file: /nonexistent/tty", e.what());
    }
    try {
        radar.open_throw("/nonexistent/tty");
        FAIL() << "no exception";
    } catch (const Tervik::TervikException& e) {
        EXPECT_NE(0, e.code);
        EXPECT_STREQ("method failed", e.what());
    }
    EXPECT_EQ(0, radar.open_throw(module.device_name()));
}

TEST_F(RadarLifecycle, InterfaceWithoutNameOpensNothingUntilAsked) {
    radar.close(); // one reader per terminal
    std::unique_ptr<Tervik::RadarInterface> idle = link.make_radar("");
    EXPECT_EQ(0, idle->peek_message_data_float());
    module.answer({0x01}, {pong(0xAAEEAEEA)});
    ASSERT_EQ(0, idle->open(module.device_name()));
    EXPECT_EQ(0xAAEEAEEAu, idle->ping());
}

TEST_F(RadarLifecycle, RefusedModuleResetReachesTheCallerAtOnce) {
    module.answer({0x22}, {error(3)});
    EXPECT_EQ(3, radar.reset_no_throw());
    EXPECT_FALSE(link.logged("waiting for device to come back ..."));
}

// Slow: a reset waits three seconds for the module to come back.
TEST_F(RadarLifecycle, SlowResetReconnectsAndKeepsSubscriptions) {
    module.answer({0x22}, {ack()});
    std::atomic<int> calls{0};
    radar.subscribe("watch", {0xA0, 0x10}, [&](Bytes) {
        ++calls;
        return true;
    });
    radar.subscribe("queue", {0xA0, 0x12});
    module.send(data_message(0x12, 0, 0, floats({1})));
    ASSERT_TRUE(link.wait_until([&] { return radar.get_number_of_packets("queue") == 1; }));

    radar.reset();
    EXPECT_TRUE(link.logged("waiting for device to come back ..."));
    EXPECT_EQ(0u, radar.get_number_of_packets("queue"));
    module.send(data_message(0x12, 0, 0, floats({2})));
    module.send(data_message(0x10, 0, 0, {1}));
    EXPECT_TRUE(link.wait_until([&] { return radar.get_number_of_packets("queue") == 1 && calls == 1; }));
    EXPECT_EQ(1, radar.peek_message_data_float()) << "default queues are back too";
}

TEST_F(RadarLifecycle, GuardSerialisesCallersAcrossABlockingRead) {
    Tervik::LockedRadarInterfacePtr& guard = link.guard();
    module.answer({0x01}, {pong(0xAAEEAEEA)});
    guard->subscribe("queue", {0xA0, 0x10});

    std::thread reader([&] { EXPECT_EQ((size_t)15, guard->get_packet("queue").size()); });
    // Wait until the reader holds the lock inside its blocking read.
    while (guard.get_mutex().try_lock()) {
        guard.get_mutex().unlock();
        std::this_thread::yield();
    }
    std::atomic<uint32_t> pong{0};
    std::thread pinger([&] { pong = guard->ping(); });
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    EXPECT_EQ(0u, module.count_received({0x01})) << "a second caller got past the lock";

    module.send(data_message(0x10, 0, 0, {7}));
    reader.join();
    pinger.join();
    EXPECT_EQ(0xAAEEAEEAu, pong.load());
}

TEST_F(RadarLifecycle, TwoThreadsShareOneConnection) {
    Tervik::LockedRadarInterfacePtr& guard = link.guard();
    module.answer({0x01}, {pong(0xAAEEAEEA)});
    module.answer({0x90, 0x74}, {reply(0x11, 0, u32(5))});
    std::atomic<int> wrong{0};
    std::thread first([&] {
        for (int i = 0; i < 30; ++i)
            wrong += guard->ping() == 0xAAEEAEEA ? 0 : 1;
    });
    std::thread second([&] {
        for (int i = 0; i < 30; ++i)
            wrong += guard->get_profileid() == 5 ? 0 : 1;
    });
    first.join();
    second.join();
    EXPECT_EQ(0, wrong.load());
}

} // namespace
