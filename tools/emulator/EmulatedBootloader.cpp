#include "EmulatedBootloader.h"

#include "CommandArguments.h"
#include "ModuleEmulator.h"
#include "ModuleFirmware.h"
#include "ModulePackets.h"
#include "protocol_identifiers.h"

#include <algorithm>
#include <stdexcept>

namespace {

const uint8_t reply_key = 0xE0;
const char* const bootloader_name = "devicebridge module emulator bootloader 1.0";
const uint32_t page_addresses = 1u << 16;
const uint8_t erased = 0xFF;

Bytes accepted(uint8_t sub_command) {
    return Bytes{reply_key, sub_command};
}

} // namespace

EmulatedBootloader::EmulatedBootloader(ModuleEmulator& emulator, ModuleFirmware& firmware)
    : emulator_(emulator), firmware_(firmware), flash_(default_flash_size, erased) {}

EmulatedBootloader::Replies EmulatedBootloader::start_bootloader(const Bytes& command) {
    const uint32_t key = CommandArguments(command, 1).u32();
    if (key != KMS_DEF_ENTER_BOOTLOADER_KEY && key != KMS_DEF_ENTER_BOOTLOADER_KEY_2)
        return refused(KMS_SPRE_COMMAND_FAILED);
    // The acknowledgement is made before the switch, and leaves as the application's last word.
    enter();
    return acked();
}

EmulatedBootloader::Replies EmulatedBootloader::answer(const Bytes& command) {
    if (command.empty() || command[0] != KMS_SPC_BOOTLOADER)
        return {};
    std::lock_guard<std::mutex> lock(mutex_);
    try {
        switch (CommandArguments(command, 1).u8()) {
        case KMS_SPCB_GET_DEVICE_INFO: {
            Bytes reply{reply_key};
            const std::string text = description_locked();
            reply.insert(reply.end(), text.begin(), text.end());
            return {reply};
        }
        case KMS_SPCB_WRITE_PAGE:
            return write_page_locked(command);
        case KMS_SPCB_START_APP:
            return start_application_locked();
        }
    } catch (const std::out_of_range&) {
        return refused(KMS_SPRE_COMMAND_FAILED);
    }
    return refused(KMS_SPRE_NOT_RECOGNIZED);
}

// C0 10, the page address high byte first, one 0 byte, the page.
EmulatedBootloader::Replies EmulatedBootloader::write_page_locked(const Bytes& command) {
    CommandArguments arguments(command, 2);
    const uint32_t high = arguments.u8();
    const uint32_t page = high << 8 | arguments.u8();
    arguments.u8();
    const Bytes data = arguments.rest();
    const size_t start = static_cast<size_t>(page) * page_size_;
    if (data.size() != page_size_ || start + page_size_ > flash_.size())
        return refused(KMS_SPRE_COMMAND_FAILED);
    if (erase_pending_)
        erase_locked();
    std::copy(data.begin(), data.end(), flash_.begin() + static_cast<std::ptrdiff_t>(start));
    written_end_ = std::max(written_end_, start + page_size_);
    updated_ = true;
    return {accepted(KMS_SPCB_WRITE_PAGE)};
}

EmulatedBootloader::Replies EmulatedBootloader::start_application_locked() {
    active_ = false;
    firmware_.restart();
    if (updated_)
        firmware_.set_system_info(KMID_SSIC_VERSION,
                                  version_of(Bytes(flash_.begin(), flash_.begin() + written_end_)));
    return {accepted(KMS_SPCB_START_APP)};
}

bool EmulatedBootloader::active() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return active_;
}

void EmulatedBootloader::enter() {
    std::lock_guard<std::mutex> lock(mutex_);
    active_ = true;
    erase_pending_ = true;
    // A module in its bootloader sends nothing by itself.
    firmware_.restart();
    emulator_.stop_streams();
}

void EmulatedBootloader::start_application() {
    std::lock_guard<std::mutex> lock(mutex_);
    start_application_locked();
}

void EmulatedBootloader::set_geometry(uint32_t page_size, uint32_t flash_size) {
    if (page_size == 0 || flash_size == 0 || flash_size % page_size != 0 ||
        flash_size / page_size > page_addresses)
        throw std::invalid_argument("flash of " + std::to_string(flash_size) + " bytes in pages of " +
                                    std::to_string(page_size) +
                                    ": not a whole number of at most 65536 pages");
    std::lock_guard<std::mutex> lock(mutex_);
    page_size_ = page_size;
    flash_.assign(flash_size, erased);
    written_end_ = 0;
    updated_ = false;
}

void EmulatedBootloader::erase_locked() {
    std::fill(flash_.begin(), flash_.end(), erased);
    written_end_ = 0;
    erase_pending_ = false;
}

uint32_t EmulatedBootloader::page_size() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return page_size_;
}

uint32_t EmulatedBootloader::flash_size() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return static_cast<uint32_t>(flash_.size());
}

std::string EmulatedBootloader::description() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return description_locked();
}

std::string EmulatedBootloader::description_locked() const {
    return std::string(bootloader_name) + "; page size " + std::to_string(page_size_) + "; flash size " +
           std::to_string(flash_.size());
}

Bytes EmulatedBootloader::image() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return Bytes(flash_.begin(), flash_.begin() + static_cast<std::ptrdiff_t>(written_end_));
}

std::string EmulatedBootloader::version_of(const Bytes& image) {
    uint32_t hash = 2166136261u;
    for (uint8_t byte : image)
        hash = (hash ^ byte) * 16777619u;
    return "2.0." + std::to_string(hash >> 16) + "." + std::to_string(hash & 0xFFFF);
}
