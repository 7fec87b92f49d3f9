// The system family: information strings, baud rate, debug level, resets and self-tests. Starting the
// bootloader is the emulated bootloader's business.
#include "CommandArguments.h"
#include "ModuleFirmware.h"
#include "ModulePackets.h"
#include "protocol_identifiers.h"

#include <algorithm>

namespace {

// Selects the system information by the KMID_SSIC_ code.
const char* const default_system_info[] = {
    "1234",                       // item number
    "X4M200",                     // order code
    "G7N420",                     // firmware id
    "1.0.0.3",                    // version
    "2020-01-01 12:00:00 emu",    // build
    "00288912;00F17B17;1423A2D6", // application ids
    "EMU0000001",                 // serial number
    "G7N420:1.0.0.3;RCP:2.3.4.5", // version list
};

const uint32_t baudrates[] = {9600,   19200,  38400,   115200,  230400,  460800, 500000,
                              576000, 921600, 1000000, 2000000, 3000000, 4000000};

ModuleFirmware::Replies system_info(FirmwareState& state, const Bytes& command) {
    const uint8_t code = CommandArguments(command, 2).u8();
    auto found = state.system_info.find(code);
    if (found == state.system_info.end())
        return refused(KMS_SPRE_COMMAND_FAILED);
    const Bytes text(found->second.begin(), found->second.end());
    return answered(emulator_packets::reply(KMS_SPRD_STRING, KMS_SDC_SYSTEM_GET_INFO, 0, text));
}

// The module acknowledges at the old speed and switches afterwards; a pseudo-terminal or socket has no speed,
// so the emulator only remembers it.
ModuleFirmware::Replies set_baudrate(FirmwareState& state, const Bytes& command) {
    const uint32_t rate = CommandArguments(command, 2).u32();
    if (std::find(std::begin(baudrates), std::end(baudrates), rate) == std::end(baudrates))
        return refused(KMS_SPRE_COMMAND_FAILED);
    state.baudrate = rate;
    return acked();
}

ModuleFirmware::Replies set_debug_level(FirmwareState& state, const Bytes& command) {
    state.settings.debug_level = CommandArguments(command, 1).u8();
    return acked();
}

// The module acknowledges, restarts with its settings dropped, and tells it is ready again.
ModuleFirmware::Replies module_reset(FirmwareState& state, const Bytes&) {
    state.settings = ModuleSettings();
    ++state.resets;
    return {emulator_packets::ack(), emulator_packets::system_status(KMS_SPRS_READY)};
}

// The application's settings go back to their defaults; the loaded profile and the mode stay.
ModuleFirmware::Replies factory_preset(FirmwareState& state, const Bytes&) {
    ModuleSettings fresh;
    fresh.profile_id = state.settings.profile_id;
    fresh.sensor_mode = state.settings.sensor_mode;
    state.settings = fresh;
    return acked();
}

// A self-test is acknowledged, and its result follows as a reply of one byte: success for the known tests.
ModuleFirmware::Replies run_test(FirmwareState&, const Bytes& command) {
    const uint8_t test = CommandArguments(command, 2).u8();
    const bool known = test >= KMS_SSTC_TEST_FIRST && test <= KMS_SSTC_TEST_LAST;
    const Bytes result{static_cast<uint8_t>(known ? KMS_SSTC_SUCCESS : KMS_SSTC_NOTIMPLEMENTED)};
    return {emulator_packets::ack(), emulator_packets::reply(KMS_SPRD_BYTE, KMS_SDC_SYSTEM_TEST, 0, result)};
}

} // namespace

void install_system_commands(ModuleFirmware& firmware) {
    for (uint8_t code = 0; code < sizeof default_system_info / sizeof *default_system_info; ++code)
        firmware.set_system_info(code, default_system_info[code]);
    firmware.on({KMS_SPC_DIR_COMMAND, KMS_SDC_SYSTEM_GET_INFO}, system_info);
    firmware.on({KMS_SPC_DIR_COMMAND, KMS_SDC_COMM_SETBAUDRATE}, set_baudrate);
    firmware.on({KMS_SPC_DEBUG_LEVEL}, set_debug_level);
    firmware.on({KMS_SPC_MOD_RESET}, module_reset);
    firmware.on({KMS_SPC_APPCOMMAND, KMS_SPCA_FACTORY_PRESET}, factory_preset);
    firmware.on({KMS_SPC_DIR_COMMAND, KMS_SDC_SYSTEM_TEST}, run_test);
}
