#include "ReplyContent.h"

#include "protocol_host_parser.h"

#include <algorithm>
#include <cstring>

namespace Tervik {

namespace {
const size_t reply_header_size = 14;

uint32_t little_endian_word(const Bytes& bytes, size_t offset) {
    uint32_t value = 0;
    for (size_t i = 0; i < 4 && offset + i < bytes.size(); ++i)
        value |= uint32_t(bytes[offset + i]) << (8 * i);
    return value;
}
} // namespace

ReplyContent::ReplyContent(const Reply& reply, const Bytes& packet)
    : content_id_(reply.content_id), info_(reply.info) {
    if (packet.size() > reply_header_size)
        tail_.assign(packet.begin() + reply_header_size, packet.end());
    data_.assign(tail_.begin(), tail_.begin() + std::min<size_t>(reply.length, tail_.size()));
}

std::string ReplyContent::text() const {
    return std::string(data_.begin(), data_.end());
}

uint8_t ReplyContent::byte(size_t index) const {
    return index < data_.size() ? data_[index] : 0;
}

uint32_t ReplyContent::word(size_t index) const {
    return little_endian_word(data_, 4 * index);
}

float ReplyContent::real(size_t index) const {
    uint32_t bits = word(index);
    float value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

std::vector<int32_t> ReplyContent::words() const {
    std::vector<int32_t> result(data_.size() / 4);
    for (size_t i = 0; i < result.size(); ++i)
        result[i] = int32_t(word(i));
    return result;
}

std::vector<float> ReplyContent::reals(size_t count) const {
    std::vector<float> result(std::min(count, tail_.size() / 4));
    for (size_t i = 0; i < result.size(); ++i) {
        uint32_t bits = little_endian_word(tail_, 4 * i);
        std::memcpy(&result[i], &bits, sizeof bits);
    }
    return result;
}

} // namespace Tervik
