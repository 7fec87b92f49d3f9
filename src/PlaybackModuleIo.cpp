#include "PlaybackModuleIo.h"

#include "DataPlayerPrivate.h"
#include "Trace.h"
#include "protocol_identifiers.h"

#include <chrono>

PlaybackModuleIo::PlaybackModuleIo(Logger& logger, Tervik::DataPlayer& player)
    : logger_(logger), player_(player) {
    Trace trace(logger_, 3, "PlaybackModuleIo");
}

std::string PlaybackModuleIo::label() {
    return "__playback__";
}

int PlaybackModuleIo::open(const std::string&) {
    return Tervik::DataPlayerPrivate::of(player_).ensure_open();
}

void PlaybackModuleIo::set_baudrate(unsigned int) {}

int PlaybackModuleIo::write(const unsigned char* data, unsigned int size) {
    if (size >= 3 && data[0] == KMS_FLAG_START && data[1] == KMS_SPC_MOD_RESET) {
        Tervik::DataPlayerPrivate::of(player_).rewind();
        return int(size);
    }
    return 0;
}

int PlaybackModuleIo::read(unsigned char* buffer, unsigned int max_size, unsigned int timeout) {
    Tervik::DataPlayerPrivate& player = Tervik::DataPlayerPrivate::of(player_);
    player.wait_until_due(std::chrono::milliseconds(timeout), interrupted_);
    uint32_t count = 0;
    player.read_packet(buffer, max_size, &count);
    return int(count);
}

void PlaybackModuleIo::interrupt() {
    interrupted_ = true;
    Tervik::DataPlayerPrivate::of(player_).wake();
}
