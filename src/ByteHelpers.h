// Integers and floats to and from the bytes of a recording's files. Every integer in those files is
// little-endian, every float an IEEE 754 single with its bytes in the same order, whatever the host.
#ifndef DEVICEBRIDGE_BYTEHELPERS_H
#define DEVICEBRIDGE_BYTEHELPERS_H

#include "Bytes.h"

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <type_traits>

namespace byte_helpers_detail {

template <typename Word, typename T> void append_little_endian(Bytes& bytes, T value) {
    static_assert(sizeof(T) == sizeof(Word) && std::is_trivially_copyable<T>::value,
                  "value of the wrong size");
    Word word;
    std::memcpy(&word, &value, sizeof(word));
    for (size_t i = 0; i < sizeof(word); ++i) {
        bytes.push_back(static_cast<unsigned char>(word >> (8 * i)));
    }
}

} // namespace byte_helpers_detail

// Appends the 4 bytes of an unsigned int or a float.
template <typename T> void append_32bits(Bytes& bytes, T value) {
    byte_helpers_detail::append_little_endian<uint32_t>(bytes, value);
}

// Appends the 8 bytes of a long long (or any other 64-bit integer).
template <typename T> void append_64bits(Bytes& bytes, T value) {
    byte_helpers_detail::append_little_endian<uint64_t>(bytes, value);
}

// Read exactly 8, 1 and 4 bytes with fread. A short read throws std::runtime_error with the text
// "failed to read bytes via stream operator: operator>>"; the value is then left as it was.
FILE& operator>>(FILE& file, long long& value);
FILE& operator>>(FILE& file, unsigned char& value);
FILE& operator>>(FILE& file, unsigned int& value);

#endif
