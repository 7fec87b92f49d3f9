// Commands of RadarInterface against a scripted module on a real pseudo-terminal: what goes out, how each
// judging style turns the reply into a value or an error, and what the status forms make of it.
#include "RadarTestLink.h"
#include "TervikException.h"

#include <gtest/gtest.h>

using namespace module_packets;
using Tervik::TervikException;

namespace {

class RadarCommands : public ::testing::Test {
protected:
    RadarTestLink link;
    ScriptedModule& module = link.module;
    Tervik::RadarInterface& radar = link.radar();
};

// Runs `call` and returns the TervikException it throws (code -1 with empty text if it throws none).
template <typename Call> std::pair<int, std::string> module_error(Call call) {
    try {
        call();
    } catch (const TervikException& e) {
        return {e.code, e.what()};
    }
    return {-1, ""};
}

// The text of the std::runtime_error that `call` throws, other than a TervikException; "" if none.
template <typename Call> std::string runtime_error_text(Call call) {
    try {
        call();
    } catch (const TervikException&) {
        return "TervikException";
    } catch (const std::runtime_error& e) {
        return e.what();
    }
    return "";
}

TEST_F(RadarCommands, AcknowledgedSetterSendsItsFrameAndPassesOnAck) {
    module.answer({0x50, 0x10}, {ack()});
    radar.g7driver_set_fps(17.5f);
    EXPECT_EQ(join({{0x50, 0x10}, u32(0x10), f32(17.5f)}), module.received().back());
    EXPECT_EQ(0, radar.g7driver_set_frame_area_no_throw(0.5f, 2.5f));
}

TEST_F(RadarCommands, ErrorReplyToAcknowledgedSetterCarriesTheModuleCode) {
    module.answer({0x50, 0x10}, {error(0x21)});
    EXPECT_EQ(std::make_pair(0x21, std::string("g7driver_set_fps: module reponded with KMS_SPR_ERROR")),
              module_error([&] { radar.g7driver_set_fps(1); }));
    EXPECT_EQ(0x21, radar.g7driver_set_tx_power_no_throw(3));
    EXPECT_TRUE(link.logged("g7driver_set_tx_power: module reponded with "
                            "KMS_SPR_ERROR error code: 33"));
}

TEST_F(RadarCommands, ShortErrorReplyYieldsCode32) {
    module.answer({0x22}, {{0x20, 0x01, 0x02, 0x03}});
    EXPECT_EQ(32, radar.module_reset_no_throw());
}

TEST_F(RadarCommands, ParserJudgedCommandsUseTheirFixedTexts) {
    module.answer({0x21}, {error(0x20)});
    module.answer({0x10, 0x10}, {ack()});
    EXPECT_EQ(std::make_pair(0x20, std::string("load profile failed")),
              module_error([&] { radar.load_respiration_profile(); }));
    EXPECT_EQ(join({{0x21}, u32(0x1423A2D6)}), module.received().back());
    EXPECT_EQ(0x20, radar.load_sleep_profile_no_throw());
    EXPECT_EQ(0, radar.set_detection_zone_no_throw(0.4f, 3.0f));
    EXPECT_EQ(0, radar.set_parameter_file_no_throw("ab", ""));
}

TEST_F(RadarCommands, FirstByteCommandsFailWithCodeOne) {
    module.answer({0x20}, {ack()});
    radar.set_sensor_mode_idle();
    EXPECT_EQ((Bytes{0x20, 0x11}), module.received().back());
    module.answer({0x90, 0x71}, {error(0x21)});
    EXPECT_EQ(std::make_pair(1, std::string("disable baseband failed")),
              module_error([&] { radar.disable_baseband_iq(); }));
    EXPECT_EQ(join({{0x90, 0x71}, u32(16), u32(0)}), module.received().back());
    EXPECT_EQ(1, radar.enable_baseband_ap_no_throw());
}

TEST_F(RadarCommands, GettersConvertTheReplyData) {
    module.answer({0x90, 0x74}, {reply(0x11, 0, u32(0x1234))});
    module.answer({0x50, 0x11, 0x14}, {reply(0x12, 0x14, floats({0.5f, 4.5f}))});
    module.answer({0x50, 0x11, 0x22}, {reply(0x10, 0x22, {0xAB, 0xCD})});
    module.answer({0x50, 0x13, 0x22}, {reply(0x10, 0x22, {0xAB, 0xCD})});
    module.answer({0x10, 0x11}, {reply(0x12, 0, floats({0.4f, 9.0f, 0.1f}))});
    EXPECT_EQ(0x1234u, radar.get_profileid());
    Tervik::FrameArea area = radar.g7driver_get_frame_area();
    EXPECT_FLOAT_EQ(0.5f, area.start);
    EXPECT_FLOAT_EQ(4.5f, area.end);
    EXPECT_EQ(0xAB, radar.g7driver_get_spi_register(3));
    EXPECT_EQ((Bytes{0xAB, 0xCD}), radar.g7driver_read_from_spi_register(3, 100));
    float start = 0, end = 0, step = 0;
    EXPECT_EQ(0, radar.get_detection_zone_limits(&start, &end, &step));
    EXPECT_FLOAT_EQ(0.1f, step);
}

TEST_F(RadarCommands, ErrorReplyToGetterIsAPlainRuntimeErrorAndLeavesTheOutPointer) {
    module.answer({0x90, 0x74}, {error(0x21)});
    EXPECT_EQ("parse_reply failed in get_profileid", runtime_error_text([&] { radar.get_profileid(); }));
    uint32_t id = 77;
    EXPECT_EQ(1, radar.get_profileid(&id));
    EXPECT_EQ(77u, id);
    EXPECT_FALSE(link.logged("error code"));
}

TEST_F(RadarCommands, DetectionZoneGetterCarriesTheModuleCode) {
    module.answer({0x10, 0x11}, {error(0x03)});
    EXPECT_EQ(std::make_pair(3, std::string("get_detection_zone failed")),
              module_error([&] { radar.get_detection_zone(); }));
}

TEST_F(RadarCommands, SystemInformationStrings) {
    module.answer({0x90, 0x58, 0x02}, {reply(0x13, 0x58, Bytes{'X', '4'})});
    module.answer({0x90, 0x58, 0x07}, {reply(0x13, 0x58, Bytes{'G', '7', ':', '1'})});
    module.answer({0x90, 0x58, 0x06}, {error(1)});
    EXPECT_EQ("X4", radar.get_firmware_id());
    EXPECT_EQ("G7:1", radar.get_system_info(7));
    std::string text = "untouched";
    EXPECT_EQ(-1, radar.get_system_info(6, &text));
    EXPECT_EQ("untouched", text);
    EXPECT_EQ(1, radar.get_serial_number(&text));
}

TEST_F(RadarCommands, PingReturnsThePongAndOneForAnErrorReply) {
    module.answer({0x01}, {pong(0xAAEEAEEA)});
    EXPECT_EQ(0xAAEEAEEAu, radar.ping());
    module.answer({0x01}, {error(2)});
    EXPECT_EQ(1u, radar.ping());
}

TEST_F(RadarCommands, DirectChipAccessBuildsItsPayloadInline) {
    module.answer({0x90, 0x33}, {reply(0x00, 0x33, {})});
    module.answer({0x90, 0x32}, {reply(0x11, 0x32, {0x5A})});
    EXPECT_EQ(0, radar.write_g7_spi(0x12, 5));
    EXPECT_EQ((Bytes{0x90, 0x33, 0x92, 0x05}), module.received().back());
    EXPECT_EQ(0x5A, radar.read_g7_spi(0x12));
}

TEST_F(RadarCommands, OlderGenerationSettersReturnTheFirstReplyWord) {
    module.answer({0x90, 0x11}, {reply(0x00, 0x11, u32(7))});
    module.answer({0x90, 0x14}, {reply(0x12, 0x14, f32(2.25f))});
    EXPECT_EQ(7, radar.set_G5_int(3, 4));
    EXPECT_FLOAT_EQ(2.25f, radar.get_g5_float(3));
}

TEST_F(RadarCommands, StartBootloaderTriesTheSecondKeyOnlyAfterARefusal) {
    module.answer({0x02}, {ack()});
    radar.start_bootloader();
    EXPECT_EQ(1u, module.count_received({0x02}));
    module.answer({0x02}, {error(1)});
    EXPECT_NE(0, radar.start_bootloader_no_throw());
    EXPECT_EQ(3u, module.count_received({0x02}));
    EXPECT_EQ(join({{0x02}, u32(0xC4D1471B)}), module.received().back());
}

TEST_F(RadarCommands, TimeOutIsARuntimeErrorAndStatusOneWithoutAStatusLogLine) {
    radar.set_default_timeout(1);
    EXPECT_EQ("Timeout waiting for response\n", runtime_error_text([&] { radar.store_noisemap(); }));
    link.clear_log();
    EXPECT_EQ(1, radar.set_iopin_value_no_throw(1, 1));
    EXPECT_FALSE(link.logged("error code"));
}

TEST_F(RadarCommands, ClosedInterfaceFailsEveryCommandAtOnce) {
    radar.close();
    radar.close();
    EXPECT_EQ(std::make_pair(1, std::string("g7driver_init response from module is empty")),
              module_error([&] { radar.g7driver_init(); }));
    EXPECT_EQ(1, radar.set_noisemap_control_no_throw(1));
    EXPECT_EQ("parse_reply failed in get_noisemap_control",
              runtime_error_text([&] { radar.get_noisemap_control(); }));
    EXPECT_EQ(1u, radar.ping());
    EXPECT_TRUE(radar.get_packet("anything").empty());
    EXPECT_EQ(0, radar.peek_message_data_float());
    EXPECT_EQ(0, radar.subscribe("anything", {0xA0}));
    EXPECT_EQ("error parsing reply inget_g5_float", runtime_error_text([&] { radar.get_g5_float(1); }));
    EXPECT_TRUE(module.received().empty());
    module.answer({0x01}, {pong(0xAEEAEEAA)});
    ASSERT_EQ(0, radar.open(module.device_name()));
    EXPECT_EQ(0xAEEAEEAAu, radar.ping());
}

} // namespace
