// The faults a test or a user can inflict on the module's output: damaged checksums, lost bytes, silence and
// late answers. Not thread-safe: its owner guards it.
#ifndef DEVICEBRIDGE_TOOLS_FAULTINJECTOR_H
#define DEVICEBRIDGE_TOOLS_FAULTINJECTOR_H

#include "Bytes.h"

#include <chrono>
#include <cstddef>

class FaultInjector {
public:
    // The checksums of the next `count` escaped frames are wrong. Fast and no-escape packets carry no
    // checksum and don't count.
    void corrupt_next_frames(unsigned count) { frames_to_corrupt_ = count; }
    // The next `count` bytes written are lost.
    void drop_next_bytes(size_t count) { bytes_to_drop_ = count; }
    // Every k-th byte written is lost, counted from now; 0 ends it.
    void drop_every_kth_byte(unsigned k);
    // A silent module takes in commands and answers none.
    void set_silent(bool silent) { silent_ = silent; }
    // Answers to commands leave this long after the command came in.
    void set_reply_delay(std::chrono::milliseconds delay) { reply_delay_ = delay; }
    void clear() { *this = FaultInjector(); }

    bool silent() const { return silent_; }
    std::chrono::milliseconds reply_delay() const { return reply_delay_; }

    // The bytes of one packet in its wire form as they leave the module, with the faults applied.
    Bytes apply(Bytes wire, bool is_frame);

private:
    void drop_bytes(Bytes& wire);

    unsigned frames_to_corrupt_ = 0;
    size_t bytes_to_drop_ = 0;
    unsigned drop_period_ = 0;
    unsigned long long bytes_seen_ = 0;
    bool silent_ = false;
    std::chrono::milliseconds reply_delay_{0};
};

#endif
