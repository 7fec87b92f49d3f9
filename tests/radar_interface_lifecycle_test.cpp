// Closing, opening again and resetting one RadarInterface on the module emulator.
#include "ModuleFirmware.h"
#include "RadarTestLink.h"
#include "protocol_identifiers.h"

#include <gtest/gtest.h>

#include <atomic>

using namespace module_packets;

namespace {

class RadarLifecycle : public ::testing::Test {
protected:
    RadarTestLink link;
    ModuleEmulator& module = link.module;
    Tervik::RadarInterface& radar = link.radar();
};

TEST_F(RadarLifecycle, ClosedInterfaceFailsEveryCallAtOnceUntilOpen) {
    radar.close();
    radar.close();
    EXPECT_EQ("1 g7driver_init response from module is empty", outcome([&] { radar.g7driver_init(); }));
    EXPECT_EQ(1, radar.set_noisemap_control_no_throw(1));
    EXPECT_EQ("runtime_error parse_reply failed in get_noisemap_control",
              outcome([&] { radar.get_noisemap_control(); }));
    EXPECT_EQ("runtime_error error parsing reply inget_g5_float", outcome([&] { radar.get_g5_float(1); }));
    EXPECT_EQ(1u, radar.ping());
    EXPECT_TRUE(radar.get_packet("anything").empty()) << "must not block";
    EXPECT_EQ(0, radar.peek_message_data_float());
    EXPECT_EQ(0, radar.subscribe("anything", {0xA0}));
    EXPECT_TRUE(module.received_commands().empty());

    ASSERT_EQ(0, radar.open(module.device_path()));
    EXPECT_EQ(KMS_DEF_PONGVAL_READY, radar.ping());
}

// Slow: a reset waits three seconds for the module to come back.
TEST_F(RadarLifecycle, SlowResetReconnectsAndKeepsSubscriptions) {
    std::atomic<int> calls{0};
    radar.subscribe("watch", {0xA0, 0x10}, [&](Bytes) { return ++calls, true; });
    radar.subscribe("queue", {0xA0, 0x12});
    module.send(ModuleEmulator::WireForm::frame, data_message(0x12, 0, 0, floats({1})));
    ASSERT_TRUE(eventually([&] { return radar.get_number_of_packets("queue") == 1; }));

    radar.reset();
    EXPECT_TRUE(link.logged("waiting for device to come back ..."));
    EXPECT_EQ(1u, module.firmware().state().resets);
    EXPECT_EQ(0u, radar.get_number_of_packets("queue")) << "a queue survives emptied";
    module.send(ModuleEmulator::WireForm::frame, data_message(0x12, 0, 0, floats({2})));
    module.send(ModuleEmulator::WireForm::frame, data_message(0x10, 0, 0, {1}));
    EXPECT_TRUE(eventually([&] { return radar.get_number_of_packets("queue") == 1 && calls == 1; }));
    EXPECT_EQ(1, radar.peek_message_data_float()) << "default queues are back too";
}

} // namespace
