// An input stream over a packet, with readers for its little-endian fields.
//
// Reading past the end yields 0 for the missing bytes and leaves the stream failed, so that a short packet
// never makes anyone read outside it.
#ifndef DEVICEBRIDGE_INPUTBYTESTREAM_H
#define DEVICEBRIDGE_INPUTBYTESTREAM_H

#include "BytesBuffer.h"

#include <cstdint>
#include <istream>

namespace Tervik {

class InputByteStream : private BytesBuffer, public std::istream {
public:
    explicit InputByteStream(const Bytes& bytes);

    uint8_t read_u8();
    uint32_t read_u32();
};

} // namespace Tervik

#endif
