#include "ByteHelpers.h"

#include <stdexcept>

namespace {

template <typename T> FILE& read_little_endian(FILE& file, T& value) {
    unsigned char bytes[sizeof(T)];
    if (std::fread(bytes, 1, sizeof(bytes), &file) != sizeof(bytes)) {
        throw std::runtime_error("failed to read bytes via stream operator: operator>>");
    }
    typename std::make_unsigned<T>::type word = 0;
    for (size_t i = 0; i < sizeof(bytes); ++i) {
        word |= static_cast<decltype(word)>(bytes[i]) << (8 * i);
    }
    value = static_cast<T>(word);
    return file;
}

} // namespace

FILE& operator>>(FILE& file, long long& value) {
    return read_little_endian(file, value);
}
FILE& operator>>(FILE& file, unsigned char& value) {
    return read_little_endian(file, value);
}
FILE& operator>>(FILE& file, unsigned int& value) {
    return read_little_endian(file, value);
}
