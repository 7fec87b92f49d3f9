// Data messages that the module emulator sends as they are given here, read back through the default queues,
// named queues and callbacks of RadarInterface.
#include "RadarTestLink.h"

#include <gtest/gtest.h>

#include <atomic>

using namespace module_packets;
using Tervik::FloatVector;

namespace {

class RadarData : public ::testing::Test {
protected:
    RadarTestLink link;
    ModuleEmulator& module = link.module;
    Tervik::RadarInterface& radar = link.radar();

    // Pushes the packet and waits until the default queue counted by `peek` holds it.
    void push(const Bytes& payload, int (Tervik::RadarInterface::*peek)()) {
        module.send(ModuleEmulator::WireForm::frame, payload);
        ASSERT_TRUE(eventually([&] { return (radar.*peek)() > 0; }));
    }
};

Bytes baseband_body(uint32_t frame, const FloatVector& first, const FloatVector& second) {
    return join({u32(frame), u32(uint32_t(first.size())), f32(0.05f), f32(23.3e9f), f32(7.3e9f), f32(0.2f),
                 floats(first), floats(second)});
}

Bytes pulsedoppler_header(uint32_t frequency_count) {
    return join({u32(9), u32(2), u32(4), u32(30), u32(frequency_count), u32(1), f32(17), f32(8.5f), f32(-1),
                 f32(0.25f), f32(2.5f)});
}

TEST_F(RadarData, BasebandRecordsCarryBothVectorsAndACallbackSeesThemToo) {
    std::atomic<int> calls{0};
    radar.subscribe_to_baseband_iq("watcher", [&](Bytes packet) {
        calls += packet.size() > 5 ? 1 : 0;
        return true;
    });
    push(app(0x0C, baseband_body(41, {1, 2, 3}, {-1, -2, -3})),
         &Tervik::RadarInterface::peek_message_baseband_iq);
    Tervik::BasebandIqData iq = radar.read_message_baseband_iq();
    EXPECT_EQ(41u, iq.frame_counter);
    EXPECT_EQ(3u, iq.num_bins);
    EXPECT_FLOAT_EQ(7.3e9f, iq.carrier_frequency);
    EXPECT_EQ((FloatVector{1, 2, 3}), iq.i_data);
    EXPECT_EQ((FloatVector{-1, -2, -3}), iq.q_data);
    EXPECT_TRUE(eventually([&] { return calls == 1; }));

    push(app(0x0D, baseband_body(42, {5}, {0.5f})), &Tervik::RadarInterface::peek_message_baseband_ap);
    Tervik::BasebandApData ap;
    ASSERT_EQ(0, radar.read_message_baseband_ap(&ap));
    EXPECT_EQ((FloatVector{5}), ap.amplitude);
    EXPECT_EQ((FloatVector{0.5f}), ap.phase);
}

TEST_F(RadarData, PresenceRecords) {
    push(app(0x723BFA1E, join({u32(7), u32(2), f32(1.5f), {3}, u32(90)})),
         &Tervik::RadarInterface::peek_message_presence_single);
    uint32_t state = 0, quality = 0;
    float distance = 0;
    uint8_t direction = 0;
    ASSERT_EQ(0, radar.read_message_presence_single(nullptr, &state, &distance, &direction, &quality));
    EXPECT_EQ(2u, state);
    EXPECT_FLOAT_EQ(1.5f, distance);
    EXPECT_EQ(3, direction);
    EXPECT_EQ(90u, quality);

    push(app(0x723BFA1F, join({u32(8), u32(1), u32(2), u32(1), floats({1, 2, 3, 4, 5, 6, 7})})),
         &Tervik::RadarInterface::peek_message_presence_movinglist);
    Tervik::PresenceMovingListData list = radar.read_message_presence_movinglist();
    EXPECT_EQ((FloatVector{1, 2}), list.movement_slow_items);
    EXPECT_EQ((FloatVector{3, 4}), list.movement_fast_items);
    EXPECT_EQ((FloatVector{5}), list.detection_distance_items);
    EXPECT_EQ((FloatVector{6}), list.radar_cross_section_items);
    EXPECT_EQ((FloatVector{7}), list.detection_velocity_items);
}

TEST_F(RadarData, RespirationAndSleepRecords) {
    push(app(0x2375FE26, join({u32(5), u32(3), u32(14), f32(0.9f), f32(0.1f), u32(80)})),
         &Tervik::RadarInterface::peek_message_respiration_legacy);
    Tervik::RespirationData respiration = radar.read_message_respiration_legacy();
    EXPECT_EQ(14u, respiration.respiration_rate);
    EXPECT_EQ(80u, respiration.signal_quality);

    push(app(0x2375A16C, join({u32(6), u32(3), f32(12.5f), f32(1.1f), u32(70), f32(0.2f), f32(0.7f)})),
         &Tervik::RadarInterface::peek_message_respiration_sleep);
    Tervik::SleepData sleep = radar.read_message_respiration_sleep();
    EXPECT_FLOAT_EQ(12.5f, sleep.respiration_rate);
    EXPECT_FLOAT_EQ(0.7f, sleep.movement_fast);

    push(app(0x610A3B00, join({u32(11), u32(2), floats({1, 2, 3, 4})})),
         &Tervik::RadarInterface::peek_message_respiration_movinglist);
    Tervik::RespirationMovingListData moving = radar.read_message_respiration_movinglist();
    EXPECT_EQ((FloatVector{3, 4}), moving.movement_fast_items);

    push(app(0x610A3B02, join({u32(12), u32(1), floats({1, 2, 3})})),
         &Tervik::RadarInterface::peek_message_respiration_detectionlist);
    Tervik::RespirationDetectionListData detections = radar.read_message_respiration_detectionlist();
    EXPECT_EQ(1u, detections.detection_count);
    EXPECT_EQ((FloatVector{3}), detections.detection_velocity_items);
}

TEST_F(RadarData, PulseDopplerAndNoisemapRows) {
    push(app(0x10, join({pulsedoppler_header(3), floats({1, 2, 3})})),
         &Tervik::RadarInterface::peek_message_pulsedoppler_float);
    Tervik::PulseDopplerFloatData row = radar.read_message_pulsedoppler_float();
    EXPECT_EQ(4u, row.range_idx);
    EXPECT_FLOAT_EQ(0.25f, row.frequency_step);
    EXPECT_EQ((FloatVector{1, 2, 3}), row.data);

    push(app(0x13, join({pulsedoppler_header(2), f32(-20), f32(0.5f), {9, 8}})),
         &Tervik::RadarInterface::peek_message_noisemap_byte);
    Tervik::PulseDopplerByteData noise = radar.read_message_noisemap_byte();
    EXPECT_FLOAT_EQ(-20, noise.byte_step_start);
    EXPECT_FLOAT_EQ(0.5f, noise.byte_step_size);
    EXPECT_EQ((Bytes{9, 8}), noise.data);
}

TEST_F(RadarData, UnparsableRowIsARuntimeErrorAndStatusOne) {
    Bytes too_long = app(0x10, join({pulsedoppler_header(1), floats({1}), {0}}));
    push(too_long, &Tervik::RadarInterface::peek_message_pulsedoppler_float);
    EXPECT_EQ("runtime_error parser error of pulse-Doppler float data get_pulsedoppler_float_data",
              outcome([&] { radar.read_message_pulsedoppler_float(); }));
    push(too_long, &Tervik::RadarInterface::peek_message_pulsedoppler_float);
    Tervik::PulseDopplerFloatData untouched;
    untouched.range_idx = 99;
    EXPECT_EQ(1, radar.read_message_pulsedoppler_float(&untouched));
    EXPECT_EQ(99u, untouched.range_idx);
}

TEST_F(RadarData, GenericDataMessagesAndSystemStatus) {
    push(data_message(0x12, 5, 6, floats({0.5f, 1.5f})), &Tervik::RadarInterface::peek_message_data_float);
    Tervik::DataFloat values = radar.read_message_data_float();
    EXPECT_EQ(6u, values.info);
    EXPECT_EQ((FloatVector{0.5f, 1.5f}), values.data);

    push(data_message(0x13, 1, 2, {'h', 'i'}), &Tervik::RadarInterface::peek_message_data_string);
    uint32_t content_id = 0, info = 0;
    std::string text;
    ASSERT_EQ(0, radar.read_message_data_string(&content_id, &info, &text));
    EXPECT_EQ(1u, content_id);
    EXPECT_EQ("hi", text);
    // The trace callback runs after the queue has the packet.
    EXPECT_TRUE(eventually([&] { return link.logged("trace: hi"); }));

    push(data_message(0x13, 1, 2, {'x'}), &Tervik::RadarInterface::peek_message_data_string);
    EXPECT_EQ(0, radar.read_message_data_string(nullptr, nullptr, nullptr));
    EXPECT_EQ(0, radar.peek_message_data_string());

    push(data_message(0x10, 3, 4, {0xFF, 0x00, 0x7E}), &Tervik::RadarInterface::peek_message_data_byte);
    Bytes bytes;
    ASSERT_EQ(0, radar.read_message_data_byte(nullptr, &info, &bytes));
    EXPECT_EQ(4u, info);
    EXPECT_EQ((Bytes{0xFF, 0x00, 0x7E}), bytes);

    push(join({{0x30}, u32(0x11)}), &Tervik::RadarInterface::peek_message_system);
    EXPECT_EQ(0x11u, radar.read_message_system());
}

// The bound counts 8 bytes a sample although a sample takes 6: 800 bytes of samples fit 100 doubles.
TEST_F(RadarData, DecimatedFrameBoundsAndOtherPackets) {
    radar.subscribe_to_g7_desim("fast");
    Bytes header(17, 0);
    header[0] = 0x2A; // frame counter 42
    Bytes samples;
    for (int i = 0; i < 133; ++i) // 798 bytes of samples, then two spare bytes: 800 in all
        samples.insert(samples.end(), {0xFE, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF});
    samples.insert(samples.end(), {0x01, 0x00});
    std::vector<double> frame(101, 1234.0);
    uint32_t counter = 0;
    auto send_fast = [&](const Bytes& body) {
        module.send(ModuleEmulator::WireForm::fast, body);
        ASSERT_TRUE(eventually([&] { return radar.get_number_of_packets("fast") == 1; }));
    };

    send_fast(join({header, samples}));
    EXPECT_EQ(0, radar.get_g7_decim_frame("fast", &counter, frame.data(), 100));
    EXPECT_EQ(42u, counter);
    EXPECT_EQ(-2.0, frame[0]);
    EXPECT_EQ(-2.0, frame[99]);
    EXPECT_EQ(1234.0, frame[100]) << "written past max_length";
    send_fast(join({header, samples, {0x00}}));
    EXPECT_EQ(1, radar.get_g7_decim_frame("fast", &counter, frame.data(), 100));

    radar.subscribe("strings", {0xA0, 0x13});
    module.send(ModuleEmulator::WireForm::frame, data_message(0x13, 0, 0, {'t'}));
    ASSERT_TRUE(eventually([&] { return radar.get_number_of_packets("strings") == 1; }));
    EXPECT_EQ(1, radar.get_g7_decim_frame("strings", nullptr, frame.data(), 1));
    EXPECT_TRUE(link.logged("packet is not fast appdata packet"));
}

} // namespace
