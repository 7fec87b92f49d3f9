// The radar chip's family: the chip driver's settings and registers, the older direct access to pins and
// registers, the older generation's variables, frame capture and timing measurement.
#include "CommandArguments.h"
#include "ModuleFirmware.h"
#include "ModulePackets.h"
#include "protocol_identifiers.h"

#include <algorithm>
#include <cmath>

namespace {

using Replies = ModuleFirmware::Replies;
using emulator_packets::reply;

// The second bytes of the older modules' direct commands, which have no names in the identifier catalogue.
enum DirectCommand : uint8_t {
    direct_pin_mode = 0x21,
    direct_set_fps = 0x24,
    direct_spi_read = 0x32,
    direct_spi_write = 0x33,
    direct_pin_direction = 0x34,
    direct_pin_value_set = 0x35,
    direct_pin_value_get = 0x36,
    direct_pin_enable = 0x37,
    direct_pin_disable = 0x38
};

// The distance one sample of a frame stands for, in metres.
const float bin_length = 0.0514f;

Bytes driver_prefix(uint8_t action, uint32_t item) {
    Bytes prefix{KMS_SPC_G7DRIVER, action};
    emulator_packets::put_u32(prefix, item);
    return prefix;
}

// An empty reply of the direct commands, whose content id is the command's second byte.
Replies done(const Bytes& command, const Bytes& data = Bytes()) {
    return answered(reply(KMS_SPRD_NONE, command.at(1), 0, data));
}

Bytes word(uint32_t value) {
    Bytes data;
    emulator_packets::put_u32(data, value);
    return data;
}

// ---- Chip driver

Replies driver_init(FirmwareState& state, const Bytes&) {
    const ModuleSettings fresh;
    state.settings.fps = fresh.fps;
    state.settings.frame_start = fresh.frame_start;
    state.settings.frame_end = fresh.frame_end;
    state.settings.frame_offset = fresh.frame_offset;
    return acked();
}

// Settings the emulator doesn't act on are kept as they came.
Replies driver_set(FirmwareState& state, const Bytes& command) {
    CommandArguments arguments(command, 2);
    const uint32_t item = arguments.u32();
    ModuleSettings& settings = state.settings;
    switch (item) {
    case KMS_SPCXI_FPS:
        settings.fps = arguments.f32();
        break;
    case KMS_SPCXI_FRAMEAREA: {
        const float start = arguments.f32(), end = arguments.f32();
        if (!(start < end))
            return refused(KMS_SPRE_COMMAND_FAILED);
        settings.frame_start = start;
        settings.frame_end = end;
        break;
    }
    case KMS_SPCXI_FRAMEAREAOFFSET:
        settings.frame_offset = arguments.f32();
        break;
    case KMS_SPCXI_PRFDIV:
        settings.prf_div = arguments.u8();
        break;
    case KMS_SPCXI_SPIREGISTER:
    case KMS_SPCXI_PIFREGISTER:
    case KMS_SPCXI_XIFREGISTER: {
        std::array<uint8_t, 256>& registers = item == KMS_SPCXI_SPIREGISTER   ? settings.spi
                                              : item == KMS_SPCXI_PIFREGISTER ? settings.pif
                                                                              : settings.xif;
        const uint8_t address = arguments.u8();
        registers[address] = arguments.u8();
        break;
    }
    default:
        settings.chip_items[item] = arguments.rest();
    }
    return acked();
}

Replies driver_get_fps(FirmwareState& state, const Bytes&) {
    return answered(emulator_packets::reply_floats(KMS_SPCXI_FPS, 0, {state.settings.fps}));
}

Replies driver_get_frame_area(FirmwareState& state, const Bytes&) {
    const ModuleSettings& settings = state.settings;
    return answered(
        emulator_packets::reply_floats(KMS_SPCXI_FRAMEAREA, 0, {settings.frame_start, settings.frame_end}));
}

Replies driver_get_frame_area_offset(FirmwareState& state, const Bytes&) {
    return answered(
        emulator_packets::reply_floats(KMS_SPCXI_FRAMEAREAOFFSET, 0, {state.settings.frame_offset}));
}

Replies driver_get_register(uint32_t item, const std::array<uint8_t, 256>& registers, const Bytes& command) {
    const uint8_t address = CommandArguments(command, 6).u8();
    return answered(reply(KMS_SPRD_BYTE, item, 0, Bytes{registers[address]}));
}

Replies driver_get_prf_div(FirmwareState& state, const Bytes&) {
    return answered(reply(KMS_SPRD_BYTE, KMS_SPCXI_PRFDIV, 0, Bytes{state.settings.prf_div}));
}

// Consecutive registers from the address on; writes and reads that run past the last register stop there.
Replies driver_write_spi(FirmwareState& state, const Bytes& command) {
    CommandArguments arguments(command, 6);
    size_t address = arguments.u8();
    for (uint8_t value : arguments.rest())
        if (address < state.settings.spi.size())
            state.settings.spi[address++] = value;
    return acked();
}

Replies driver_read_spi(FirmwareState& state, const Bytes& command) {
    CommandArguments arguments(command, 6);
    const size_t address = arguments.u8();
    const size_t count = std::min<size_t>(arguments.u32(), state.settings.spi.size() - address);
    const Bytes values(state.settings.spi.begin() + address, state.settings.spi.begin() + address + count);
    return answered(reply(KMS_SPRD_BYTE, KMS_SPCXI_SPIREGISTER, 0, values));
}

// ---- Direct access of the older modules

Replies pin_value_set(FirmwareState& state, const Bytes& command) {
    CommandArguments arguments(command, 2);
    const uint8_t pin = arguments.u8();
    state.settings.iopins[pin][2] = arguments.u8();
    return done(command);
}

Replies pin_value_get(FirmwareState& state, const Bytes& command) {
    const uint8_t pin = CommandArguments(command, 2).u8();
    return answered(reply(KMS_SPRD_INT, command[1], 0, word(state.settings.iopins[pin][2])));
}

Replies pin_setting(FirmwareState&, const Bytes& command) {
    CommandArguments(command, 2).u8();
    return done(command);
}

Replies spi_read(FirmwareState& state, const Bytes& command) {
    const uint8_t address = CommandArguments(command, 2).u8() & 0x7F;
    return answered(reply(KMS_SPRD_INT, command[1], 0, word(state.settings.spi[address])));
}

// The address comes with its top bit set, the chip's mark of a write.
Replies spi_write(FirmwareState& state, const Bytes& command) {
    CommandArguments arguments(command, 2);
    const uint8_t address = arguments.u8() & 0x7F;
    state.settings.spi[address] = arguments.u8();
    return done(command);
}

Replies set_direct_fps(FirmwareState& state, const Bytes& command) {
    state.settings.fps = static_cast<float>(CommandArguments(command, 2).u32());
    return done(command);
}

Replies timing_measurement(FirmwareState&, const Bytes& command) {
    return done(command, word(0));
}

// ---- Older generation variables; setters answer with a status word, 0 for success.

Replies g5_set_int(std::map<uint32_t, uint32_t>& variables, const Bytes& command) {
    CommandArguments arguments(command, 2);
    const uint32_t id = arguments.u32();
    variables[id] = arguments.u32();
    return done(command, word(0));
}

Replies g5_set_float(FirmwareState& state, const Bytes& command) {
    CommandArguments arguments(command, 2);
    const uint32_t id = arguments.u32();
    state.settings.g5_floats[id] = arguments.f32();
    return done(command, word(0));
}

Replies g5_get_int(const std::map<uint32_t, uint32_t>& variables, const Bytes& command) {
    auto found = variables.find(CommandArguments(command, 2).u32());
    return answered(reply(KMS_SPRD_INT, command[1], 0, word(found == variables.end() ? 0 : found->second)));
}

Replies g5_get_float(FirmwareState& state, const Bytes& command) {
    auto found = state.settings.g5_floats.find(CommandArguments(command, 2).u32());
    const float value = found == state.settings.g5_floats.end() ? 0.0f : found->second;
    return answered(emulator_packets::reply_floats(command[1], 0, {value}));
}

// The system configuration takes its float as an int as well.
Replies sys_config_set(FirmwareState& state, const Bytes& command) {
    CommandArguments arguments(command, 2);
    const uint32_t id = arguments.u32();
    const uint32_t raw = arguments.u32();
    state.settings.sys_config[id] = command[1] == KMS_SDC_SYSCFG_SETFLOAT
                                        ? static_cast<int32_t>(emulator_packets::get_float(command, 6))
                                        : static_cast<int32_t>(raw);
    if (id == KMS_SSCR_FPS)
        state.settings.fps = static_cast<float>(state.settings.sys_config[id]);
    return acked();
}

// One normalized frame over the frame area: an echo at 1.5 metres on a little noise. The info field carries
// the frame counter.
Replies capture_frame(FirmwareState& state, const Bytes& command) {
    const ModuleSettings& settings = state.settings;
    const float span = std::max(0.0f, settings.frame_end - settings.frame_start);
    const size_t samples = std::min<size_t>(4096, static_cast<size_t>(span / bin_length) + 1);
    std::vector<float> frame(samples);
    for (size_t i = 0; i < samples; ++i) {
        const double distance = settings.frame_start + i * bin_length - 1.5;
        frame[i] = static_cast<float>(0.01 * std::sin(i * 1.3) + std::exp(-distance * distance * 50.0));
    }
    return answered(emulator_packets::reply_floats(command[1], state.settings.normalized_frames++, frame));
}

} // namespace

void install_chip_commands(ModuleFirmware& firmware) {
    firmware.on({KMS_SPC_G7DRIVER, KMS_SPCX_INIT}, driver_init);
    firmware.on({KMS_SPC_G7DRIVER, KMS_SPCX_SET}, driver_set);
    firmware.on(driver_prefix(KMS_SPCX_GET, KMS_SPCXI_FPS), driver_get_fps);
    firmware.on(driver_prefix(KMS_SPCX_GET, KMS_SPCXI_FRAMEAREA), driver_get_frame_area);
    firmware.on(driver_prefix(KMS_SPCX_GET, KMS_SPCXI_FRAMEAREAOFFSET), driver_get_frame_area_offset);
    firmware.on(driver_prefix(KMS_SPCX_GET, KMS_SPCXI_SPIREGISTER),
                [](FirmwareState& state, const Bytes& command) {
                    return driver_get_register(KMS_SPCXI_SPIREGISTER, state.settings.spi, command);
                });
    firmware.on(driver_prefix(KMS_SPCX_GET, KMS_SPCXI_PIFREGISTER),
                [](FirmwareState& state, const Bytes& command) {
                    return driver_get_register(KMS_SPCXI_PIFREGISTER, state.settings.pif, command);
                });
    firmware.on(driver_prefix(KMS_SPCX_GET, KMS_SPCXI_XIFREGISTER),
                [](FirmwareState& state, const Bytes& command) {
                    return driver_get_register(KMS_SPCXI_XIFREGISTER, state.settings.xif, command);
                });
    firmware.on(driver_prefix(KMS_SPCX_GET, KMS_SPCXI_PRFDIV), driver_get_prf_div);
    firmware.on(driver_prefix(KMS_SPCX_WRITE, KMS_SPCXI_SPIREGISTER), driver_write_spi);
    firmware.on(driver_prefix(KMS_SPCX_READ, KMS_SPCXI_SPIREGISTER), driver_read_spi);

    firmware.on({KMS_SPC_DIR_COMMAND, direct_pin_value_set}, pin_value_set);
    firmware.on({KMS_SPC_DIR_COMMAND, direct_pin_value_get}, pin_value_get);
    for (uint8_t setting : {direct_pin_mode, direct_pin_direction, direct_pin_enable, direct_pin_disable})
        firmware.on({KMS_SPC_DIR_COMMAND, setting}, pin_setting);
    firmware.on({KMS_SPC_DIR_COMMAND, direct_spi_read}, spi_read);
    firmware.on({KMS_SPC_DIR_COMMAND, direct_spi_write}, spi_write);
    firmware.on({KMS_SPC_DIR_COMMAND, direct_set_fps}, set_direct_fps);
    firmware.on({KMS_SPC_DIR_COMMAND, KMS_SDC_RADLIB_TIMINGMEASUREMENT}, timing_measurement);

    firmware.on({KMS_SPC_DIR_COMMAND, KMS_SDC_RADLIB_SETVARINT},
                [](FirmwareState& state, const Bytes& command) {
                    return g5_set_int(state.settings.g5_ints, command);
                });
    firmware.on({KMS_SPC_DIR_COMMAND, KMS_SDC_RADLIB_SETREGFIELD},
                [](FirmwareState& state, const Bytes& command) {
                    return g5_set_int(state.settings.g5_registers, command);
                });
    firmware.on({KMS_SPC_DIR_COMMAND, KMS_SDC_RADLIB_GETVARINT},
                [](FirmwareState& state, const Bytes& command) {
                    return g5_get_int(state.settings.g5_ints, command);
                });
    firmware.on({KMS_SPC_DIR_COMMAND, KMS_SDC_RADLIB_GETREGFIELD},
                [](FirmwareState& state, const Bytes& command) {
                    return g5_get_int(state.settings.g5_registers, command);
                });
    firmware.on({KMS_SPC_DIR_COMMAND, KMS_SDC_RADLIB_SETVARFLOAT}, g5_set_float);
    firmware.on({KMS_SPC_DIR_COMMAND, KMS_SDC_RADLIB_GETVARFLOAT}, g5_get_float);
    firmware.on({KMS_SPC_DIR_COMMAND, KMS_SDC_SYSCFG_SETINT}, sys_config_set);
    firmware.on({KMS_SPC_DIR_COMMAND, KMS_SDC_SYSCFG_SETFLOAT}, sys_config_set);
    firmware.on({KMS_SPC_DIR_COMMAND, KMS_SDC_RADLIB_GETFRAMEFLOAT}, capture_frame);
}
