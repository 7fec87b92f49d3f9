// The module's side of the three wire forms. A module frames its replies itself, with a checksum of its own:
// it shares no code with the host library's frame writer, so that a fault there cannot hide on both ends of
// the link.
#ifndef DEVICEBRIDGE_TOOLS_MODULEWIRE_H
#define DEVICEBRIDGE_TOOLS_MODULEWIRE_H

#include "Bytes.h"

#include <cstdint>

namespace emulator_wire {

// The form a packet takes on the wire.
enum class WireForm {
    frame,   // escaped frame: start flag, escaped payload, checksum, end flag
    fast,    // "Q", 32-bit length, body, one trailing byte; nothing escaped
    noescape // 7C 7C 7C 7C, 32-bit length, one unused byte, body; nothing escaped
};

// An escaped frame around the payload. A payload must not begin with an unescaped 0x51 (the host would read a
// fast packet) nor hold four 0x7C bytes in a row (the host would start a no-escape packet in its middle).
Bytes frame(const Bytes& payload);

// A fast packet. The host delivers "Q", the length and the body, and ignores the trailing byte. It is sent
// behind a start flag, so that a host parser left mid-frame by a damaged stream starts afresh at its "Q".
Bytes fast_packet(const Bytes& body);

// A no-escape packet. The host delivers the body alone.
Bytes noescape_packet(const Bytes& body);

// The packet in the given wire form.
Bytes encode(WireForm form, const Bytes& payload);

// Replaces the checksum of a frame made by frame() with a wrong one, escaped where the new value needs it.
void corrupt_checksum(Bytes& frame);

} // namespace emulator_wire

#endif
