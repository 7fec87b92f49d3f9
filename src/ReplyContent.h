// What a command's reply carried, copied out of the packet so that it outlives it.
//
// Readers never go past the packet: a word or float beyond the data reads as 0, a count larger than the
// packet gives as many values as the packet holds.
#ifndef DEVICEBRIDGE_REPLYCONTENT_H
#define DEVICEBRIDGE_REPLYCONTENT_H

#include "Bytes.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

struct Reply;

namespace Tervik {

class ReplyContent {
public:
    ReplyContent() = default;
    // `reply` is the parser's record of `packet`; both must be alive during the call only.
    ReplyContent(const Reply& reply, const Bytes& packet);

    uint32_t content_id() const { return content_id_; }
    uint32_t info() const { return info_; }
    // The `length` bytes that the reply announced (as far as the packet holds them).
    const Bytes& data() const { return data_; }
    std::string text() const;
    uint8_t byte(size_t index) const;
    uint32_t word(size_t index) const;
    float real(size_t index) const;
    // All whole 32-bit words of the data.
    std::vector<int32_t> words() const;
    // `count` floats from the start of the data, as far as the rest of the packet holds them.
    std::vector<float> reals(size_t count) const;

private:
    uint32_t content_id_ = 0;
    uint32_t info_ = 0;
    Bytes data_;
    // Everything from the first data byte to the end of the packet, for readers that count in values.
    Bytes tail_;
};

} // namespace Tervik

#endif
