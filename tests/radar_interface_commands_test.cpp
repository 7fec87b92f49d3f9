// Commands of RadarInterface against the module emulator on a real pseudo-terminal: how each judging style
// turns a reply into a value or an error, and what the status forms make of it.
#include "EmulatedBootloader.h"
#include "RadarTestLink.h"
#include "protocol_identifiers.h"

#include <gtest/gtest.h>

using namespace module_packets;
using Tervik::RadarInterface;

namespace {

class RadarCommands : public ::testing::Test {
protected:
    RadarTestLink link;
    ModuleEmulator& module = link.module;
    RadarInterface& radar = link.radar();

    // The throwing form ends in `thrown` and the status form returns `status`. Only a TervikException is
    // logged, by the status form, with its code; a refusal never starts a reconnect.
    void expect_refused(const std::string& thrown, int status, const std::function<void()>& call,
                        const std::function<int()>& status_call) {
        SCOPED_TRACE(thrown);
        EXPECT_EQ(thrown, outcome(call));
        link.journal->clear();
        EXPECT_EQ(status, status_call());
        const bool module_error = thrown.compare(0, 13, "runtime_error") != 0;
        const std::string text = thrown.substr(thrown.find(' ') + 1);
        EXPECT_EQ(module_error, link.logged(module_error ? text + " error code: " + std::to_string(status)
                                                         : std::string("error code")));
        EXPECT_FALSE(link.logged("waiting for device to come back"));
    }
};

TEST_F(RadarCommands, RefusalsReachTheCallerByTheirJudgingStyle) {
    const int pin = 99, setup = KMID_IOPIN_SETUP_OUTPUT, feature = KMID_IOPIN_FEATURE_DEFAULT;
    expect_refused(
        "33 set_iopin_control: module reponded with KMS_SPR_ERROR", KMS_SPRE_COMMAND_FAILED,
        [&] { radar.set_iopin_control(pin, setup, feature); },
        [&] { return radar.set_iopin_control_no_throw(pin, setup, feature); });
    link.answer({0x22}, {{0x20, 0x01, 0x02, 0x03}});
    expect_refused(
        "32 module_reset: module reponded with KMS_SPR_ERROR", 32, [&] { radar.reset(); },
        [&] { return radar.reset_no_throw(); });
    expect_refused(
        std::to_string(KMS_SPRE_APP_INVALID) + " load profile failed", KMS_SPRE_APP_INVALID,
        [&] { radar.load_profile(0x12345678); }, [&] { return radar.load_profile_no_throw(0x12345678); });
    link.answer({0x90, 0x71}, {error(0x21)});
    expect_refused(
        "1 disable baseband failed", 1, [&] { radar.disable_baseband_iq(); },
        [&] { return radar.disable_baseband_iq_no_throw(); });
    float start = 0, end = 0;
    link.answer(join({{0x10, 0x11}, u32(KMS_ID_DETECTION_ZONE)}), {error(3)});
    expect_refused(
        "3 get_detection_zone failed", 3, [&] { radar.get_detection_zone(); },
        [&] { return radar.get_detection_zone(&start, &end); });

    uint32_t id = 77;
    link.answer({0x90, 0x74}, {error(0x21)});
    expect_refused(
        "runtime_error parse_reply failed in get_profileid", 1, [&] { radar.get_profileid(); },
        [&] { return radar.get_profileid(&id); });
    EXPECT_EQ(77u, id) << "a failed status form leaves its out-pointer";
    std::string text;
    expect_refused(
        "runtime_error error parsing reply in get_system_info", -1, [&] { radar.get_system_info(99); },
        [&] { return radar.get_system_info(99, &text); });
    link.answer({0x90, 0x58}, {error(1)});
    EXPECT_EQ(1, radar.get_serial_number(&text)) << "only get_system_info has -1";
    expect_refused(
        "runtime_error error receiving data in get_parameter_file", 1,
        [&] { radar.get_parameter_file("missing.par"); },
        [&] { return radar.get_parameter_file_no_throw("missing.par", text); });

    module.set_silent(true);
    radar.set_default_timeout(1);
    expect_refused(
        "runtime_error Timeout waiting for response\n", 1, [&] { radar.store_noisemap(); },
        [&] { return radar.set_iopin_value_no_throw(1, 1); });
}

TEST_F(RadarCommands, RepliesBecomeValues) {
    module.set_pong_value(0xAEEAEEAA);
    EXPECT_EQ(0xAEEAEEAAu, radar.ping());
    EXPECT_EQ("G7N420", radar.get_firmware_id());
    EXPECT_EQ("G7N420:1.0.0.3;RCP:2.3.4.5", radar.get_system_info(KMID_SSIC_VERSIONLIST));

    radar.load_respiration_profile();
    EXPECT_EQ(0x1423A2D6u, radar.get_profileid());
    radar.set_sensor_mode_idle();
    EXPECT_EQ((Bytes{0x20, 0x11}), module.received_commands().back());

    EXPECT_EQ(0, radar.set_detection_zone_no_throw(1.0f, 2.5f));
    EXPECT_FLOAT_EQ(2.5f, radar.get_detection_zone().end);
    float start = 0, end = 0, step = 0;
    EXPECT_EQ(0, radar.get_detection_zone_limits(&start, &end, &step));
    EXPECT_FLOAT_EQ(0.1f, step);

    radar.g7driver_set_fps(17.5f);
    EXPECT_FLOAT_EQ(17.5f, radar.g7driver_get_fps());
    EXPECT_EQ(0, radar.g7driver_set_frame_area_no_throw(0.5f, 2.5f));
    const Tervik::FrameArea area = radar.g7driver_get_frame_area();
    EXPECT_FLOAT_EQ(0.5f, area.start);
    EXPECT_FLOAT_EQ(2.5f, area.end);
    radar.g7driver_write_to_spi_register(0x20, {0xAB, 0xCD});
    EXPECT_EQ((Bytes{0xAB, 0xCD}), radar.g7driver_read_from_spi_register(0x20, 2));
    EXPECT_EQ(0xCD, radar.g7driver_get_spi_register(0x21));
}

TEST_F(RadarCommands, DirectChipAccessAndOlderGeneration) {
    EXPECT_EQ(0, radar.write_g7_spi(0x12, 5));
    EXPECT_EQ((Bytes{0x90, 0x33, 0x92, 0x05}), module.received_commands().back());
    EXPECT_EQ(5, radar.read_g7_spi(0x12));

    radar.set_G5_float(3, 2.25f);
    EXPECT_FLOAT_EQ(2.25f, radar.get_g5_float(3));
    link.answer({0x90, 0x11}, {reply(0x00, 0x11, u32(7))});
    EXPECT_EQ(7, radar.set_G5_int(3, 4)) << "the first word of the reply";
    link.answer({0x01}, {error(2)});
    EXPECT_EQ(1u, radar.ping()) << "an error reply to ping is no exception";
}

TEST_F(RadarCommands, StartBootloaderTriesTheSecondKeyOnlyAfterARefusal) {
    radar.start_bootloader();
    EXPECT_EQ(1u, link.commands({0x02}).size());
    link.module.bootloader().start_application();
    link.answer({0x02}, {error(1)});
    EXPECT_NE(0, radar.start_bootloader_no_throw());
    ASSERT_EQ(3u, link.commands({0x02}).size());
    EXPECT_EQ(join({{0x02}, u32(0xC4D1471B)}), link.commands({0x02}).back());
}

} // namespace
