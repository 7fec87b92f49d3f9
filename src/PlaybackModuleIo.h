// The transport of a playback: a recording stands in for the module. Each read hands out one whole packet of
// the player when it is due, so that no framing is needed above; a write is refused, but for a module reset,
// which rewinds the recording.
#ifndef DEVICEBRIDGE_PLAYBACKMODULEIO_H
#define DEVICEBRIDGE_PLAYBACKMODULEIO_H

#include "ModuleIo.h"

#include <atomic>
#include <string>

class Logger;

namespace Tervik {
class DataPlayer;
}

class PlaybackModuleIo : public ModuleIo {
public:
    // The player must outlive the transport.
    PlaybackModuleIo(Logger& logger, Tervik::DataPlayer& player);

    // The device name under which the layers above know a playback: "__playback__".
    static std::string label();

    // The name is ignored. 0 when the player's recording is open or opens again, otherwise 1.
    int open(const std::string& ignored) override;
    // A recording has no line speed: does nothing.
    void set_baudrate(unsigned int bits_per_second) override;
    // A framed module reset rewinds the recording and counts as written; anything else writes nothing (0), so
    // that commands fail as on a line that takes no bytes.
    int write(const unsigned char* data, unsigned int size) override;
    // Waits, at most `timeout` milliseconds, until the player's next packet is due or the player is changed,
    // then gives that one packet, or 0 bytes. Never negative: the link stays up whatever the recording does.
    int read(unsigned char* buffer, unsigned int max_size, unsigned int timeout) override;
    void interrupt() override;

private:
    Logger& logger_;
    Tervik::DataPlayer& player_;
    std::atomic<bool> interrupted_{false};
};

#endif
