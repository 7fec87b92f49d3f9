// The file family: the module's file system, command by command.
#include "CommandArguments.h"
#include "ModuleFirmware.h"
#include "ModulePackets.h"
#include "protocol_identifiers.h"

namespace {

using Replies = ModuleFirmware::Replies;

// "Get file data" is 90 71 and four words; the application's "set int" of the same two bytes is shorter.
const size_t get_file_data_size = 18;

Replies judged(bool done) {
    return done ? acked() : refused(KMS_SPRE_COMMAND_FAILED);
}

// Every file command names its file by type and identifier first.
struct FileCommand {
    explicit FileCommand(const Bytes& command)
        : arguments(command, 2), type(arguments.u32()), id(arguments.u32()) {}
    CommandArguments arguments;
    uint32_t type;
    uint32_t id;
};

Replies create_file(FirmwareState& state, const Bytes& command) {
    FileCommand file(command);
    return judged(state.files.create(file.type, file.id, file.arguments.u32()));
}

Replies open_file(FirmwareState& state, const Bytes& command) {
    FileCommand file(command);
    return judged(state.files.open(file.type, file.id));
}

Replies set_file_data(FirmwareState& state, const Bytes& command) {
    FileCommand file(command);
    const uint32_t offset = file.arguments.u32();
    const uint32_t length = file.arguments.u32();
    return judged(state.files.write(file.type, file.id, offset, file.arguments.bytes(length)));
}

Replies close_file(FirmwareState& state, const Bytes& command) {
    FileCommand file(command);
    return judged(state.files.close(file.type, file.id, file.arguments.u32() != 0));
}

Replies delete_file(FirmwareState& state, const Bytes& command) {
    FileCommand file(command);
    return judged(state.files.remove(file.type, file.id));
}

Replies format_filesystem(FirmwareState& state, const Bytes& command) {
    CommandArguments(command, 2).u32();
    state.files.format();
    return acked();
}

Replies file_length(FirmwareState& state, const Bytes& command) {
    FileCommand file(command);
    uint32_t length = 0;
    if (!state.files.length(file.type, file.id, length))
        return refused(KMS_SPRE_COMMAND_FAILED);
    return answered(emulator_packets::reply_words(0, {length}));
}

Replies file_data(FirmwareState& state, const Bytes& command) {
    FileCommand file(command);
    const uint32_t offset = file.arguments.u32();
    const uint32_t length = file.arguments.u32();
    Bytes data;
    if (!state.files.read(file.type, file.id, offset, length, data))
        return refused(KMS_SPRE_COMMAND_FAILED);
    return answered(emulator_packets::reply(KMS_SPRD_BYTE, 0, 0, data));
}

Replies file_data_or_app_set_int(FirmwareState& state, const Bytes& command) {
    return command.size() == get_file_data_size ? file_data(state, command) : app_set_int(state, command);
}

Replies search_by_type(FirmwareState& state, const Bytes& command) {
    return answered(emulator_packets::reply_words(0, state.files.search(CommandArguments(command, 2).u32())));
}

// The types of all files, then their identifiers.
Replies find_all_files(FirmwareState& state, const Bytes&) {
    std::vector<uint32_t> types, identifiers;
    state.files.list(types, identifiers);
    types.insert(types.end(), identifiers.begin(), identifiers.end());
    return answered(emulator_packets::reply_words(0, types));
}

} // namespace

void install_file_commands(ModuleFirmware& firmware) {
    firmware.on({KMS_SPC_DIR_COMMAND, KMS_SDC_CREATE_NEW_FILE}, create_file);
    firmware.on({KMS_SPC_DIR_COMMAND, KMS_SDC_OPEN_FILE}, open_file);
    firmware.on({KMS_SPC_DIR_COMMAND, KMS_SDC_SET_FILE_DATA}, set_file_data);
    firmware.on({KMS_SPC_DIR_COMMAND, KMS_SDC_CLOSE_FILE}, close_file);
    firmware.on({KMS_SPC_DIR_COMMAND, KMS_SDC_DELETE_FILE}, delete_file);
    firmware.on({KMS_SPC_DIR_COMMAND, KMS_SDC_FORMAT_FILESYSTEM}, format_filesystem);
    firmware.on({KMS_SPC_DIR_COMMAND, KMS_SDC_GET_FILE_LENGTH}, file_length);
    firmware.on({KMS_SPC_DIR_COMMAND, KMS_SDC_GET_FILE_DATA}, file_data_or_app_set_int);
    firmware.on({KMS_SPC_DIR_COMMAND, KMS_SDC_SEARCH_FILE_TYPE}, search_by_type);
    firmware.on({KMS_SPC_DIR_COMMAND, KMS_SDC_FIND_ALL_FILES}, find_all_files);
}
