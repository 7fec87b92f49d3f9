#include "InputByteStream.h"

namespace Tervik {

InputByteStream::InputByteStream(const Bytes& bytes)
    : BytesBuffer(bytes), std::istream(static_cast<BytesBuffer*>(this)) {}

uint8_t InputByteStream::read_u8() {
    int value = get();
    return value == std::istream::traits_type::eof() ? 0 : uint8_t(value);
}

uint32_t InputByteStream::read_u32() {
    uint32_t value = 0;
    for (int i = 0; i < 4; ++i)
        value |= uint32_t(read_u8()) << (8 * i);
    return value;
}

} // namespace Tervik
