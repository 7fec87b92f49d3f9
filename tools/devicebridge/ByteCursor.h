// Little-endian fields read from bytes of a file or a packet at checked offsets: a read beyond the end
// leaves ok() false and yields 0, so that damaged bytes can't make the tool read outside its buffer.
#ifndef DEVICEBRIDGE_TOOLS_DEVICEBRIDGE_BYTECURSOR_H
#define DEVICEBRIDGE_TOOLS_DEVICEBRIDGE_BYTECURSOR_H

#include "Bytes.h"

#include <cstdint>
#include <cstring>
#include <string>

namespace tool {

class ByteCursor {
public:
    explicit ByteCursor(const Bytes& bytes, size_t at = 0) : bytes_(bytes), at_(at) {}

    uint64_t unsigned_field(size_t size) {
        if (!fits(size))
            return 0;
        uint64_t value = 0;
        for (size_t i = size; i-- > 0;)
            value = (value << 8) | bytes_[at_ + i];
        at_ += size;
        return value;
    }
    uint8_t u8() { return static_cast<uint8_t>(unsigned_field(1)); }
    uint32_t u32() { return static_cast<uint32_t>(unsigned_field(4)); }
    int64_t i64() { return static_cast<int64_t>(unsigned_field(8)); }
    float f32() {
        const uint32_t bits = u32();
        float value;
        std::memcpy(&value, &bits, sizeof value);
        return value;
    }
    // A length that counts a terminating NUL, then the characters; the text ends at the first NUL.
    std::string counted_string(uint32_t max_size) {
        const uint32_t length = u32();
        if (length > max_size || !fits(length))
            return fail();
        std::string text(bytes_.begin() + static_cast<std::ptrdiff_t>(at_),
                         bytes_.begin() + static_cast<std::ptrdiff_t>(at_ + length));
        at_ += length;
        return text.substr(0, text.find('\0'));
    }
    void skip(size_t size) {
        if (fits(size))
            at_ += size;
    }
    // Whether `count` items of `size` bytes each are left, without overflow for any count.
    bool holds(uint64_t count, size_t size) const { return ok_ && count <= remaining() / size; }

    bool ok() const { return ok_; }
    size_t at() const { return at_; }
    size_t remaining() const { return at_ <= bytes_.size() ? bytes_.size() - at_ : 0; }

private:
    bool fits(size_t size) {
        if (!ok_ || remaining() < size)
            ok_ = false;
        return ok_;
    }
    std::string fail() {
        ok_ = false;
        return "";
    }

    const Bytes& bytes_;
    size_t at_;
    bool ok_ = true;
};

} // namespace tool

#endif
