// Every command as it goes on the wire: frames byte for byte where the bytes are known by heart, and the
// payload of each method, read back through the frame parser so that escaping and checksum are checked too.
#include "Commands.h"
#include "protocol.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace {

// A payload built field by field, little-endian.
struct Payload {
    Bytes bytes;
    Payload& u8(unsigned char value) {
        bytes.push_back(value);
        return *this;
    }
    Payload& u32(uint32_t value) {
        for (int shift = 0; shift < 32; shift += 8)
            bytes.push_back(static_cast<unsigned char>(value >> shift));
        return *this;
    }
    Payload& f32(float value) {
        uint32_t bits;
        std::memcpy(&bits, &value, sizeof bits);
        return u32(bits);
    }
    Payload& raw(const std::string& text) {
        bytes.insert(bytes.end(), text.begin(), text.end());
        return *this;
    }
};

Payload ids(unsigned char first, unsigned char second) {
    return Payload().u8(first).u8(second);
}
Payload g7(unsigned char action, uint32_t item) {
    return ids(0x50, action).u32(item);
}

// Reads one frame back; a frame that is not exactly one valid packet yields "invalid".
Bytes payload_of(const Bytes& frame) {
    struct Result {
        Bytes payload;
        int errors = 0;
    } result;
    unsigned char buffer[512];
    ApplicationProtocol instance;
    createApplicationProtocol(
        [](void* user_data, const unsigned char* data, unsigned int length) {
            static_cast<Result*>(user_data)->payload.assign(data, data + length);
        },
        [](void* user_data, unsigned int) { ++static_cast<Result*>(user_data)->errors; }, &result, &instance,
        buffer, sizeof buffer);
    const int packets = parseData(&instance, frame.data(), static_cast<uint32_t>(frame.size()));
    if (packets != 1 || result.errors != 0 || frame.front() != 0x7D || frame.back() != 0x7E)
        return {0xDE, 0xAD};
    return result.payload;
}

void append_to(unsigned char byte, void* user_data) {
    static_cast<Bytes*>(user_data)->push_back(byte);
}

Commands commands;

TEST(CommandFrames, WorkedExamplesByteForByte) {
    EXPECT_EQ((Bytes{0x7D, 0x01, 0xAE, 0xEA, 0xAA, 0xEE, 0x7C, 0x7E}), commands.create_ping());
    EXPECT_EQ((Bytes{0x7D, 0x22, 0x5F, 0x7E}), commands.create_module_reset());
    EXPECT_EQ((Bytes{0x7D, 0xB0, 0x7F, 0x7E, 0xB3, 0x7E}), commands.create_set_debug_level(0x7E));
    EXPECT_EQ((Bytes{0x7D, 0x7F, 0x7D, 0x7E}), commands.create_command({}));
}

TEST(CommandFrames, SensorModeTakesItsParameterOnlyInNormalAndRegisterMode) {
    EXPECT_EQ((Bytes{0x20, 0x10, 0x07}), payload_of(commands.create_set_sensor_mode(KMS_SM_NORMAL, 7)));
    EXPECT_EQ((Bytes{0x20, 0x50, 0x07}), payload_of(commands.create_set_sensor_mode(KMS_SM_REG, 7)));
    EXPECT_EQ((Bytes{0x20, 0x11}), payload_of(commands.create_set_sensor_mode(KMS_SM_IDLE, 7)));
    EXPECT_EQ((Bytes{0x20, 0x01}), payload_of(commands.create_set_sensor_mode(KMS_SM_RUN, 7)));
}

TEST(CommandFrames, BasebandFlagIsTheCountOfValues) {
    EXPECT_EQ(ids(0x90, 0x71).u32(16).u32(1).u32(2).bytes,
              payload_of(commands.create_enable_baseband(2, true)));
    EXPECT_EQ(ids(0x90, 0x71).u32(16).u32(0).bytes, payload_of(commands.create_enable_baseband(2, false)));
    EXPECT_EQ(ids(0x90, 0x71).u32(17).u32(1).u32(1).bytes, payload_of(commands.create_enable_resp_ouput()));
    EXPECT_EQ(ids(0x90, 0x71).u32(17).u32(1).u32(0).bytes, payload_of(commands.create_disable_resp_ouput()));
}

TEST(CommandFrames, PageNumberIsBigEndianFollowedByAZeroByte) {
    const Bytes page = commands.create_write_page(0x0102, {0xAA, 0x7D});
    EXPECT_EQ((Bytes{0x7D, 0xC0, 0x10, 0x01, 0x02, 0x00}), Bytes(page.begin(), page.begin() + 6));
    EXPECT_EQ((Bytes{0xC0, 0x10, 0x01, 0x02, 0x00, 0xAA, 0x7D}), payload_of(page));
}

TEST(CommandFrames, StringsAreSentWithTheirTerminatorCounted) {
    EXPECT_EQ(ids(0x10, 0x10).u32(KMS_ID_PROFILE_PARAMETERFILE).u32(3).u32(1).raw("ab").u8(0).u8(0).bytes,
              payload_of(commands.create_set_parameter_file("ab", "")));
    EXPECT_EQ(ids(0x10, 0x11).u32(KMS_ID_PROFILE_PARAMETERFILE).u32(4).raw("x=1").u8(0).bytes,
              payload_of(commands.create_get_parameter_file("x=1")));
}

// One line per method: the ids, the order of the arguments and the width of each field.
TEST(CommandFrames, EveryMethodHasItsIdsAndFieldsInOrder) {
    const Bytes data = {0x7D, 0x00, 0x7F};
    struct Case {
        const char* name;
        Bytes frame;
        Payload expected;
    };
    const std::vector<Case> cases = {
        {"start_bootloader", commands.create_start_bootloader(0xC4D1371A),
         Payload().u8(0x02).u32(0xC4D1371A)},
        {"load_app", commands.create_load_app(0x01020304), Payload().u8(0x21).u32(0x01020304)},
        {"load_profile", commands.create_load_profile(5), Payload().u8(0x21).u32(5)},
        {"led", commands.create_set_led_control(1, 2), Payload().u8(0x24).u8(1).u8(2)},
        {"output", commands.create_set_output_control(1, 2), ids(0x41, 0x10).u32(1).u32(2)},
        {"iopin_control", commands.create_set_iopin_control(1, 2, 3), ids(0x40, 0x10).u32(1).u32(2).u32(3)},
        {"iopin_value", commands.create_set_iopin_value(1, 2), ids(0x40, 0x20).u32(1).u32(2)},
        {"get_iopin", commands.create_get_iopin_value(9), ids(0x40, 0x21).u32(9)},
        {"noisemap_set", commands.create_set_noisemap_control(6), ids(0x25, 0x10).u32(6)},
        {"noisemap_get", commands.create_get_noisemap_control(), ids(0x25, 0x11)},
        {"factory", commands.create_reset_to_factory_preset(), ids(0x10, 0x12)},
        {"store_noise", commands.create_store_noise_map(), ids(0x10, 0x13)},
        {"load_noise", commands.create_load_noise_map(), ids(0x10, 0x14)},
        {"zone", commands.create_set_detection_zone(0.5f, -2.25f),
         ids(0x10, 0x10).u32(KMS_ID_DETECTION_ZONE).f32(0.5f).f32(-2.25f)},
        {"get_zone", commands.create_get_detection_zone(), ids(0x10, 0x11).u32(KMS_ID_DETECTION_ZONE)},
        {"zone_limits", commands.create_get_detection_zone_limits(),
         ids(0x10, 0x11).u32(KMS_ID_DETECTION_ZONE_LIMITS)},
        {"sensitivity", commands.create_set_sensitivity(7), ids(0x10, 0x10).u32(KMS_ID_SENSITIVITY).u32(7)},
        {"baudrate", commands.create_set_baudrate(921600), ids(0x90, 0x80).u32(921600)},
        {"system_test", commands.create_system_run_test(3), ids(0x90, 0x50).u8(3)},
        {"config_test", commands.create_config_run_test(4), ids(0x90, 0x50).u8(4)},
        {"config_int", commands.create_config_set_int(-1, 2), ids(0x90, 0x51).u32(0xFFFFFFFF).u32(2)},
        {"config_float", commands.create_config_set_float(1, 3), ids(0x90, 0x52).u32(1).f32(3.0f)},
        {"system_info", commands.create_get_system_info(2), ids(0x90, 0x58).u8(2)},
        {"profileid", commands.create_get_profileid(), ids(0x90, 0x74)},
        {"get_int", commands.create_get_int(8), ids(0x90, 0x12).u32(8)},
        {"set_int", commands.create_set_int(8, 9), ids(0x90, 0x11).u32(8).u32(9)},
        {"get_float", commands.create_get_float(8), ids(0x90, 0x14).u32(8)},
        {"set_float", commands.create_set_float(8, 1.5f), ids(0x90, 0x13).u32(8).f32(1.5f)},
        {"get_register", commands.create_get_register(0x1234), ids(0x90, 0x16).u32(0x1234)},
        {"set_register", commands.create_set_register(1, 2), ids(0x90, 0x15).u32(1).u32(2)},
        {"get_frame", commands.create_get_frame(), ids(0x90, 0x17)},
        {"timing", commands.create_run_timing_measurement(), ids(0x90, 0x20)},
        {"search", commands.create_search_for_file_type(4), ids(0x90, 0x64).u32(4)},
        {"find_all", commands.create_find_all_files(), ids(0x90, 0x65)},
        {"new_file", commands.create_create_file_command(1, 2, 3), ids(0x90, 0x66).u32(1).u32(2).u32(3)},
        {"open_file", commands.create_open_file_command(1, 2), ids(0x90, 0x72).u32(1).u32(2)},
        {"file_data", commands.create_set_file_data(1, 2, 3, data),
         ids(0x90, 0x67).u32(1).u32(2).u32(3).u32(3).u8(0x7D).u8(0x00).u8(0x7F)},
        {"close_file", commands.create_close_file(1, 2, 1), ids(0x90, 0x68).u32(1).u32(2).u32(1)},
        {"file_length", commands.create_get_file_length(1, 2), ids(0x90, 0x69).u32(1).u32(2)},
        {"delete_file", commands.create_delete_file(1, 2), ids(0x90, 0x70).u32(1).u32(2)},
        {"get_file_data", commands.create_get_file_data(1, 2, 3, 4),
         ids(0x90, 0x71).u32(1).u32(2).u32(3).u32(4)},
        {"format", commands.create_format_filesystem(0xABCD), ids(0x90, 0x73).u32(0xABCD)},
        {"boot_info", commands.create_get_bootloader_info(), ids(0xC0, 0x00)},
        {"start_app", commands.create_start_application_command(), ids(0xC0, 0x20)},
        {"g7_init", commands.create_g7driver_init(), ids(0x50, 0x20)},
        {"g7_fps", commands.create_g7driver_set_fps(17.0f), g7(0x10, 0x10).f32(17.0f)},
        {"g7_iterations", commands.create_g7driver_set_iterations(64), g7(0x10, 0x12).u32(64)},
        {"g7_pulses", commands.create_g7driver_set_pulsesperstep(5), g7(0x10, 0x11).u32(5)},
        {"g7_downconversion", commands.create_g7driver_set_downconversion(1), g7(0x10, 0x13).u8(1)},
        {"g7_area", commands.create_g7driver_set_frame_area(0.2f, 5.0f), g7(0x10, 0x14).f32(0.2f).f32(5.0f)},
        {"g7_dac_step", commands.create_g7driver_set_dac_step(2), g7(0x10, 0x15).u8(2)},
        {"g7_dac_min", commands.create_g7driver_set_dac_min(949), g7(0x10, 0x16).u32(949)},
        {"g7_dac_max", commands.create_g7driver_set_dac_max(1100), g7(0x10, 0x17).u32(1100)},
        {"g7_offset", commands.create_g7driver_set_frame_area_offset(0.18f), g7(0x10, 0x18).f32(0.18f)},
        {"g7_enable", commands.create_g7driver_set_enable(1), g7(0x10, 0x19).u8(1)},
        {"g7_tx_center", commands.create_g7driver_set_tx_center_frequency(3), g7(0x10, 0x20).u8(3)},
        {"g7_tx_power", commands.create_g7driver_set_tx_power(2), g7(0x10, 0x21).u8(2)},
        {"g7_set_spi", commands.create_g7driver_set_spi_register(0x7E, 9), g7(0x10, 0x22).u8(0x7E).u8(9)},
        {"g7_set_pif", commands.create_g7driver_set_pif_register(1, 2), g7(0x10, 0x23).u8(1).u8(2)},
        {"g7_set_xif", commands.create_g7driver_set_xif_register(1, 2), g7(0x10, 0x24).u8(1).u8(2)},
        {"g7_prf", commands.create_g7driver_set_prf_div(16), g7(0x10, 0x25).u8(16)},
        {"g7_get_fps", commands.create_g7driver_get_fps(), g7(0x11, 0x10)},
        {"g7_get_area", commands.create_g7driver_get_frame_area(), g7(0x11, 0x14)},
        {"g7_get_offset", commands.create_g7driver_get_frame_area_offset(), g7(0x11, 0x18)},
        {"g7_get_spi", commands.create_g7driver_get_spi_register(4), g7(0x11, 0x22).u8(4)},
        {"g7_get_pif", commands.create_g7driver_get_pif_register(4), g7(0x11, 0x23).u8(4)},
        {"g7_get_xif", commands.create_g7driver_get_xif_register(4), g7(0x11, 0x24).u8(4)},
        {"g7_get_prf", commands.create_g7driver_get_prf_div(), g7(0x11, 0x25)},
        {"g7_write_spi", commands.create_g7driver_write_to_spi_register(6, data),
         g7(0x12, 0x22).u8(6).u8(0x7D).u8(0x00).u8(0x7F)},
        {"g7_read_spi", commands.create_g7driver_read_from_spi_register(6, 300),
         g7(0x13, 0x22).u8(6).u32(300)},
    };
    for (const Case& each : cases)
        EXPECT_EQ(each.expected.bytes, payload_of(each.frame)) << each.name;
}

TEST(CommandFrames, BuildersWithoutAMethodMatchTheirTwins) {
    const unsigned char poll[] = {0x7E, 0x01};
    Bytes plain;
    createSetBaudRateCommand(115200, append_to, &plain);
    EXPECT_EQ(commands.create_set_baudrate(115200), plain);
    plain.clear();
    createSystemGetInfoCommand(3, append_to, &plain);
    EXPECT_EQ(commands.create_get_system_info(3), plain);
    plain.clear();
    EXPECT_EQ(0, createSystemGetVersionCommand(append_to, &plain));
    EXPECT_EQ((Bytes{0x90, 0x55}), payload_of(plain));
    plain.clear();
    EXPECT_EQ(0, createAppCommand(0x20, poll, 2, append_to, &plain));
    EXPECT_EQ((Bytes{0x10, 0x20, 0x7E, 0x01}), payload_of(plain));
}

} // namespace
