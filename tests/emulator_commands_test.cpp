// The module emulator's command families, driven through the real host stack: a RadarInterface on the
// emulator's pseudo-terminal (and a few cases over loopback TCP) asks, the emulator answers as a module.
#include "ConcreteFactory.h"
#include "ModuleEmulator.h"
#include "ModuleFirmware.h"
#include "ModulePackets.h"
#include "RadarInterface.h"
#include "TcpIpFactory.h"
#include "TervikException.h"
#include "UartIo.h"
#include "link_log_capture.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <atomic>
#include <chrono>
#include <functional>
#include <memory>

using namespace std::chrono;
using link_test::eventually;
using Tervik::TervikException;

namespace {

class EmulatorCommands : public ::testing::Test {
protected:
    void SetUp() override { connect(ModuleEmulator::Transport::pty); }
    void TearDown() override { connect_nothing(); }
    void connect(ModuleEmulator::Transport transport) {
        connect_nothing();
        emulator.reset(new ModuleEmulator(transport));
        // Fast streams keep the tests short.
        emulator->firmware().set_stream_rates(100.0, 100.0);
        const bool tcp = transport == ModuleEmulator::Transport::tcp;
        factory.reset(tcp ? static_cast<AbstractFactory*>(
                                new TcpIpFactory(inet_addr("127.0.0.1"), htons(emulator->tcp_port())))
                          : new ConcreteFactory);
        io.reset(new UartIo(log.logger(), *factory));
        radar.reset(new Tervik::RadarInterface(*io, tcp ? "tcp://127.0.0.1" : emulator->device_path(),
                                               *factory, log.logger()));
        ASSERT_TRUE(emulator->wait_for_connections(1, seconds(10)));
    }
    void connect_nothing() {
        radar.reset();
        io.reset();
        emulator.reset();
    }

    // The code of the TervikException that the call throws, or -1.
    static int module_code(const std::function<void()>& call) {
        try {
            call();
        } catch (const TervikException& e) {
            return e.code;
        }
        return -1;
    }
    link_test::LogCapture log{0};
    // Counted by handlers on the dispatcher's thread, so it outlives the interface.
    std::atomic<int> seen{0};
    std::unique_ptr<ModuleEmulator> emulator;
    std::unique_ptr<AbstractFactory> factory;
    std::unique_ptr<UartIo> io;
    std::unique_ptr<Tervik::RadarInterface> radar;
};

TEST_F(EmulatorCommands, SystemInformationStrings) {
    EXPECT_EQ(radar->ping(), KMS_DEF_PONGVAL_READY);
    EXPECT_EQ(radar->get_system_info(KMID_SSIC_FIRMWAREID), "G7N420");
    EXPECT_EQ(radar->get_system_info(KMID_SSIC_VERSION), "1.0.0.3");
    EXPECT_EQ(radar->get_system_info(KMID_SSIC_VERSIONLIST), "G7N420:1.0.0.3;RCP:2.3.4.5");
    emulator->firmware().set_system_info(KMID_SSIC_SERIALNUMBER, "SN-42");
    std::string text;
    EXPECT_EQ(radar->get_system_info(KMID_SSIC_SERIALNUMBER, &text), 0);
    EXPECT_EQ(text, "SN-42");
    // An unknown code is refused; the host reads the refusal as an unparsable reply.
    EXPECT_EQ(radar->get_system_info(99, &text), -1);
    EXPECT_THROW(radar->get_system_info(99), std::runtime_error);
}

TEST_F(EmulatorCommands, PresenceProfileStreamsWhileRunningAndStopsOnIdle) {
    EXPECT_EQ(radar->get_profileid(), 0u);
    radar->load_profile(KMS_ID_APP_PRESENCE_2);
    EXPECT_EQ(radar->get_profileid(), static_cast<uint32_t>(KMS_ID_APP_PRESENCE_2));
    // Loaded, but not yet running.
    EXPECT_FALSE(emulator->streaming(ModuleEmulator::StreamKind::presence_single));
    radar->set_sensor_mode_run();
    ASSERT_TRUE(eventually([&] { return radar->peek_message_presence_single() >= 3; }));
    ASSERT_TRUE(eventually([&] { return radar->peek_message_presence_movinglist() >= 1; }));
    const Tervik::PresenceSingleData first = radar->read_message_presence_single();
    const Tervik::PresenceSingleData second = radar->read_message_presence_single();
    EXPECT_EQ(second.frame_counter, first.frame_counter + 1);
    EXPECT_EQ(first.presence_state, static_cast<uint32_t>(KMS_VAL_PRESENCE_PRESENCESTATE_PRESENCE));
    EXPECT_GE(first.distance, 1.0f);
    EXPECT_LE(first.distance, 3.0f);
    EXPECT_NEAR(second.distance, first.distance, 0.1f);
    const Tervik::PresenceMovingListData list = radar->read_message_presence_movinglist();
    EXPECT_EQ(list.movement_slow_items.size(), 4u);
    EXPECT_EQ(list.detection_velocity_items.size(), 2u);
    radar->set_sensor_mode_idle();
    EXPECT_FALSE(emulator->streaming(ModuleEmulator::StreamKind::presence_single));
    radar->set_sensor_mode_run();
    EXPECT_TRUE(emulator->streaming(ModuleEmulator::StreamKind::presence_single));
    // Stop also forgets the profile: run alone brings nothing back.
    radar->set_sensor_mode(KMS_SM_STOP);
    EXPECT_EQ(radar->get_profileid(), 0u);
    radar->set_sensor_mode_run();
    EXPECT_FALSE(emulator->streaming(ModuleEmulator::StreamKind::presence_single));
}

TEST_F(EmulatorCommands, RespirationAndSleepProfilesSendTheirReadings) {
    radar->load_respiration_profile();
    radar->set_sensor_mode_run();
    ASSERT_TRUE(eventually([&] { return radar->peek_message_respiration_legacy() >= 1; }));
    ASSERT_TRUE(eventually([&] { return radar->peek_message_respiration_detectionlist() >= 1; }));
    EXPECT_EQ(radar->read_message_respiration_legacy().respiration_rate, 15u);
    const Tervik::RespirationDetectionListData detections = radar->read_message_respiration_detectionlist();
    EXPECT_EQ(detections.detection_distance_items.size(), 1u);
    radar->load_sleep_profile();
    radar->set_sensor_mode_run();
    EXPECT_FALSE(emulator->streaming(ModuleEmulator::StreamKind::respiration_legacy));
    ASSERT_TRUE(eventually([&] { return radar->peek_message_respiration_sleep() >= 1; }));
    EXPECT_NEAR(radar->read_message_respiration_sleep().respiration_rate, 15.0f, 1.0f);
}

TEST_F(EmulatorCommands, RefusalsReachTheHostWithTheModulesCode) {
    EXPECT_EQ(module_code([&] { radar->load_profile(0x12345678); }), KMS_SPRE_APP_INVALID);
    EXPECT_EQ(radar->load_profile_no_throw(0x12345678), KMS_SPRE_APP_INVALID);
    EXPECT_EQ(module_code([&] { radar->set_sensitivity(10); }), KMS_SPRE_COMMAND_FAILED);
    EXPECT_EQ(module_code([&] { radar->set_led_control(7, 0); }), 1);
    EXPECT_EQ(radar->set_baudrate_no_throw(12345), KMS_SPRE_COMMAND_FAILED);
    EXPECT_EQ(module_code([&] { radar->start_bootloader(0x1234); }), KMS_SPRE_COMMAND_FAILED);
    EXPECT_EQ(radar->set_output_control_no_throw(KMS_SACR_OUTPUTSTATUS, 1), 0);
    EXPECT_EQ(radar->set_iopin_control_no_throw(99, KMID_IOPIN_SETUP_OUTPUT, KMID_IOPIN_FEATURE_DEFAULT),
              KMS_SPRE_COMMAND_FAILED);
    // Last: from here on the module runs its bootloader.
    EXPECT_EQ(radar->start_bootloader_no_throw(KMS_DEF_ENTER_BOOTLOADER_KEY_2), 0);
}

TEST_F(EmulatorCommands, SettingsReadBackAsSet) {
    const Tervik::DetectionZoneLimits limits = radar->get_detection_zone_limits();
    EXPECT_FLOAT_EQ(limits.start, 0.4f);
    EXPECT_FLOAT_EQ(limits.step, 0.1f);
    radar->set_detection_zone(1.0f, 2.5f);
    const Tervik::DetectionZone zone = radar->get_detection_zone();
    EXPECT_FLOAT_EQ(zone.start, 1.0f);
    EXPECT_FLOAT_EQ(zone.end, 2.5f);
    EXPECT_EQ(module_code([&] { radar->set_detection_zone(0.0f, 20.0f); }), KMS_SPRE_COMMAND_FAILED);
    EXPECT_EQ(module_code([&] { radar->set_detection_zone(3.0f, 2.0f); }), KMS_SPRE_COMMAND_FAILED);
    EXPECT_FLOAT_EQ(radar->get_detection_zone().end, 2.5f);
    radar->set_noisemap_control(KMID_NOISEMAP_CONTROL_ENABLE | KMID_NOISEMAP_CONTROL_INIT_ON_RESET);
    EXPECT_EQ(radar->get_noisemap_control(), 5u);
    radar->set_iopin_control(2, KMID_IOPIN_SETUP_OUTPUT, KMID_IOPIN_FEATURE_PASSIVE);
    radar->set_iopin_value(2, 1);
    EXPECT_EQ(radar->get_iopin_value(2), 1u);
    EXPECT_EQ(radar->get_iopin_value(3), 0u);
    radar->set_baudrate(KMID_BAUDRATE_921600);
    EXPECT_EQ(emulator->firmware().state().baudrate, 921600u);
    radar->set_parameter_file("presence.par", "sensitivity=5\nzone=1.0,2.5");
    EXPECT_EQ(radar->get_parameter_file("presence.par"), "sensitivity=5\nzone=1.0,2.5");
    std::string text;
    EXPECT_NE(radar->get_parameter_file("missing.par", &text), 0);
    Bytes result;
    EXPECT_EQ(radar->system_run_test(KMS_SSTC_TEST_EXTFLASH, &result), 0);
    EXPECT_EQ(result, Bytes{KMS_SSTC_SUCCESS});
    EXPECT_EQ(radar->system_run_test(KMS_SSTC_TEST_PMIC), 0);
}

TEST_F(EmulatorCommands, OutputsStreamFramesOfTheConfiguredBinCount) {
    emulator->set_stream_bins(37);
    radar->enable_baseband_iq();
    ASSERT_TRUE(eventually([&] { return radar->peek_message_baseband_iq() >= 1; }));
    const Tervik::BasebandIqData iq = radar->read_message_baseband_iq();
    EXPECT_EQ(iq.num_bins, 37u);
    EXPECT_EQ(iq.i_data.size(), 37u);
    EXPECT_EQ(iq.q_data.size(), 37u);
    radar->disable_baseband_iq();
    EXPECT_FALSE(emulator->streaming(ModuleEmulator::StreamKind::baseband_iq));
    radar->enable_baseband_ap();
    radar->set_output_control(KMS_SACR_OUTPUT_PULSE_DOPPLER, KMS_PULSEDOPPLER_AS_FLOAT);
    radar->set_output_control(ID_NOISEMAP, KMS_PULSEDOPPLER_AS_BYTE);
    ASSERT_TRUE(eventually([&] { return radar->peek_message_baseband_ap() >= 1; }));
    ASSERT_TRUE(eventually([&] { return radar->peek_message_pulsedoppler_float() >= 1; }));
    ASSERT_TRUE(eventually([&] { return radar->peek_message_noisemap_byte() >= 1; }));
    EXPECT_EQ(radar->read_message_baseband_ap().phase.size(), 37u);
    const Tervik::PulseDopplerFloatData doppler = radar->read_message_pulsedoppler_float();
    EXPECT_EQ(doppler.frequency_count, 37u);
    EXPECT_EQ(doppler.data.size(), 37u);
    EXPECT_EQ(radar->read_message_noisemap_byte().data.size(), 37u);

    // Idle halts the outputs as well; run brings back those still enabled.
    radar->set_sensor_mode_idle();
    EXPECT_FALSE(emulator->streaming(ModuleEmulator::StreamKind::pulsedoppler_float));
    radar->set_sensor_mode_run();
    EXPECT_TRUE(emulator->streaming(ModuleEmulator::StreamKind::noisemap_byte));
}

TEST_F(EmulatorCommands, ChipDriverAndOlderGenerationKeepWhatIsWritten) {
    radar->g7driver_init();
    radar->g7driver_set_fps(40.0f);
    EXPECT_FLOAT_EQ(radar->g7driver_get_fps(), 40.0f);
    radar->g7driver_set_frame_area(0.5f, 2.0f);
    EXPECT_FLOAT_EQ(radar->g7driver_get_frame_area().end, 2.0f);
    radar->g7driver_set_frame_area_offset(0.3f);
    EXPECT_FLOAT_EQ(radar->g7driver_get_frame_area_offset(), 0.3f);
    radar->g7driver_write_to_spi_register(0xFE, {1, 2, 3});
    EXPECT_EQ(radar->g7driver_read_from_spi_register(0xFD, 8), (Bytes{0, 1, 2}));
    radar->g7driver_set_pif_register(7, 0x5A);
    EXPECT_EQ(radar->g7driver_get_pif_register(7), 0x5A);
    EXPECT_EQ(radar->g7driver_get_xif_register(7), 0);
    radar->write_g7_spi(0x12, 5);
    EXPECT_EQ(radar->read_g7_spi(0x12), 5);
    EXPECT_EQ(radar->g7driver_get_spi_register(0x12), 5);
    EXPECT_EQ(radar->set_g7_io_pin_value(3, 1), 0);
    EXPECT_EQ(radar->get_g7_io_pin_value(3), 1);
    EXPECT_EQ(radar->set_G5_int(4, 77), 0);
    EXPECT_EQ(radar->get_g5_int(4), 77u);
    EXPECT_EQ(radar->set_G5_float(4, 2.5f), 0);
    EXPECT_FLOAT_EQ(radar->get_g5_float(4), 2.5f);
    EXPECT_EQ(radar->set_G5_register(9, 0xABCD), 0);
    EXPECT_EQ(radar->get_g5_register(9), 0xABCDu);
    EXPECT_EQ(radar->run_timing_measurement(), 0);

    // 0.5 to 2.0 metres at about 5 cm a sample.
    const Tervik::RawNormalizedData first = radar->capture_single_normalized_frame();
    const Tervik::RawNormalizedData second = radar->capture_single_normalized_frame();
    EXPECT_EQ(first.data.size(), 30u);
    EXPECT_EQ(second.frame_counter, first.frame_counter + 1);
}

TEST_F(EmulatorCommands, FilesGoInAndOutInChunks) {
    for (size_t size : {size_t(0), size_t(2000), size_t(2001)}) {
        Bytes data(size);
        for (size_t i = 0; i < size; ++i)
            data[i] = static_cast<uint8_t>(i * 7);
        radar->set_file(3, static_cast<uint32_t>(size), data);
        EXPECT_EQ(radar->get_file(3, static_cast<uint32_t>(size)), data) << size;
    }
    radar->set_file(9, 1, {1});
    const Tervik::Files files = radar->find_all_files();
    EXPECT_EQ(files.file_type_items, (std::vector<int32_t>{3, 3, 3, 9}));
    EXPECT_EQ(files.file_identifier_items, (std::vector<int32_t>{0, 2000, 2001, 1}));
    EXPECT_EQ(radar->search_for_file_by_type(3), (std::vector<int32_t>{0, 2000, 2001}));

    // Changes without commit are dropped; reading past the end is refused.
    radar->open_file(9, 1);
    radar->set_file_data(9, 1, 0, {2});
    radar->close_file(9, 1, false);
    EXPECT_EQ(radar->get_file(9, 1), Bytes{1});
    EXPECT_THROW(radar->set_file_data(9, 1, 0, {2}), std::runtime_error);
    EXPECT_THROW(radar->get_file_data(9, 1, 2, 1), std::runtime_error);
    EXPECT_THROW(radar->create_file(1, 1, 0xFFFFFFFF), std::runtime_error);
    radar->delete_file(9, 1);
    EXPECT_NE(radar->open_file_no_throw(9, 1), 0);
    radar->format_filesystem(0);
    EXPECT_TRUE(radar->find_all_files().file_type_items.empty());
}

TEST_F(EmulatorCommands, DataMessagesReachTheirQueues) {
    emulator->send(ModuleEmulator::WireForm::frame, emulator_packets::data_string(7, 8, "hello"));
    emulator->send(ModuleEmulator::WireForm::frame, emulator_packets::data_byte(1, 2, {9, 8, 7}));
    emulator->send(ModuleEmulator::WireForm::frame, emulator_packets::data_float(3, 4, {1.5f, -2.0f}));
    ASSERT_TRUE(eventually([&] { return radar->peek_message_data_float() >= 1; }));
    ASSERT_TRUE(eventually([&] { return radar->peek_message_data_string() >= 1; }));
    uint32_t content = 0, info = 0;
    std::string text;
    EXPECT_EQ(radar->read_message_data_string(&content, &info, &text), 0);
    EXPECT_EQ(text, "hello");
    EXPECT_EQ(info, 8u);
    Bytes bytes;
    EXPECT_EQ(radar->read_message_data_byte(&content, &info, &bytes), 0);
    EXPECT_EQ(bytes, (Bytes{9, 8, 7}));
    const Tervik::DataFloat floats = radar->read_message_data_float();
    EXPECT_EQ(floats.data, (std::vector<float>{1.5f, -2.0f}));
}

// A module reset drops the profile and the streams; the host reconnects after 3 s as a new TCP client, and
// its callback subscription lives on. (Over a pseudo-terminal the interface's own tests reset the emulator.)
TEST_F(EmulatorCommands, ModuleResetOverTcpDropsStateAndTakesTheNewClientSlow) {
    connect(ModuleEmulator::Transport::tcp);
    radar->subscribe("watcher", {KMS_SPR_APPDATA}, [&](Bytes) { return ++seen, true; });
    radar->set_detection_zone(1.0f, 2.0f);
    ASSERT_TRUE(emulator->firmware().run_profile(KMS_ID_APP_PRESENCE));
    ASSERT_TRUE(eventually([&] { return seen >= 1; }));
    radar->reset();
    EXPECT_TRUE(emulator->wait_for_connections(2, seconds(10)));
    EXPECT_EQ(emulator->firmware().state().resets, 1u);
    EXPECT_EQ(radar->get_profileid(), 0u);
    EXPECT_FLOAT_EQ(radar->get_detection_zone().start, 0.5f);
    EXPECT_EQ(radar->get_system_info(KMID_SSIC_FIRMWAREID), "G7N420");
    radar->load_profile(KMS_ID_APP_PRESENCE);
    radar->set_sensor_mode_run();
    const int before = seen;
    EXPECT_TRUE(eventually([&] { return seen >= before + 2; }));
    connect_nothing();
}

} // namespace
