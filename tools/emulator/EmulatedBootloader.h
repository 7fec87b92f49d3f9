// The bootloader of an emulated module: how users and tests try a firmware update without risking a module.
//
// The application's "start bootloader" command, with one of the two keys, is acknowledged; then the module
// runs its bootloader on the same link, as a real one does after its restart. From then on it answers the
// bootloader's commands alone, each answer beginning with 0xE0, and ignores the application's:
// - device info: 0xE0 and a description of its own, "<name>; page size <N>; flash size <M>";
// - page write: the page goes into an image in memory. A page address counts pages: page P holds the flash
//   bytes from P * page size on. An address outside the flash, a page of the wrong size or a command cut
//   short is refused with the module's error reply, which does not begin with 0xE0;
// - application start: the module returns to its application. The first page written after entering the
//   bootloader erases the whole flash, so the image is the last update's; an application started from an
//   updated image reports version_of(image) as its firmware version.
// The application starts afresh both ways, with its settings dropped and its streams stopped. The faults of
// the emulator (silence, late answers, damaged frames) apply to the bootloader's answers too.
//
// Thread-safe: the commands run on the emulator's thread, the other operations on any thread. The bootloader
// calls into the firmware and the emulator while holding its own lock, never the other way round.
#ifndef DEVICEBRIDGE_TOOLS_EMULATEDBOOTLOADER_H
#define DEVICEBRIDGE_TOOLS_EMULATEDBOOTLOADER_H

#include "Bytes.h"

#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

class ModuleEmulator;
class ModuleFirmware;

class EmulatedBootloader {
public:
    typedef std::vector<Bytes> Replies;

    static const uint32_t default_page_size = 256;
    static const uint32_t default_flash_size = 128 * 1024;

    EmulatedBootloader(ModuleEmulator& emulator, ModuleFirmware& firmware);
    EmulatedBootloader(const EmulatedBootloader&) = delete;
    EmulatedBootloader& operator=(const EmulatedBootloader&) = delete;

    // ---- Commands, on the emulator's thread
    // The application's command to start the bootloader: 02 and the key.
    Replies start_bootloader(const Bytes& command);
    // Answers one command while the bootloader runs; no answer for the application's commands.
    Replies answer(const Bytes& command);

    // ---- For users and tests
    // Whether the module runs its bootloader now.
    bool active() const;
    // Switches to the bootloader as the command does: for a module that is to start in it.
    void enter();
    // Returns to the application as the bootloader's command does.
    void start_application();
    // Page size and flash size in bytes; the flash must hold a whole number of pages, at most 65536 of them
    // (a page address has 16 bits). Erases the flash; throws std::invalid_argument for a bad geometry.
    void set_geometry(uint32_t page_size, uint32_t flash_size);
    uint32_t page_size() const;
    uint32_t flash_size() const;
    // What the info command answers, after its 0xE0.
    std::string description() const;
    // The flash from address 0 to the end of the highest page written since the last erase; unwritten pages
    // in between read 0xFF, as erased flash does. Empty when nothing was written.
    Bytes image() const;
    // The firmware version of an application started from this image: "2.0.<A>.<B>", two 16-bit halves of
    // the image's FNV-1a hash.
    static std::string version_of(const Bytes& image);

private:
    Replies write_page_locked(const Bytes& command);
    Replies start_application_locked();
    void enter_locked();
    void erase_locked();
    std::string description_locked() const;

    ModuleEmulator& emulator_;
    ModuleFirmware& firmware_;
    mutable std::mutex mutex_;
    bool active_ = false;
    bool erase_pending_ = false;
    bool updated_ = false;
    uint32_t page_size_ = default_page_size;
    Bytes flash_;
    size_t written_end_ = 0;
};

#endif
