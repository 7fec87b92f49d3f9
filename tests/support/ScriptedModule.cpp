#include "ScriptedModule.h"

#include <cstring>

namespace module_packets {

Bytes u32(uint32_t value) {
    return {uint8_t(value), uint8_t(value >> 8), uint8_t(value >> 16), uint8_t(value >> 24)};
}

Bytes f32(float value) {
    uint32_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return u32(bits);
}

Bytes join(std::initializer_list<Bytes> parts) {
    Bytes out;
    for (const Bytes& part : parts)
        out.insert(out.end(), part.begin(), part.end());
    return out;
}

Bytes floats(const std::vector<float>& values) {
    Bytes out;
    for (float value : values)
        out = join({out, f32(value)});
    return out;
}

Bytes ack() {
    return {0x10};
}

Bytes error(uint32_t code) {
    return join({{0x20}, u32(code)});
}

Bytes reply(uint8_t data_type, uint32_t content_id, const Bytes& data) {
    return join({{0x11, data_type}, u32(content_id), u32(0), u32(uint32_t(data.size())), data, {0x00}});
}

Bytes data_message(uint8_t data_type, uint32_t content_id, uint32_t info, const Bytes& data) {
    return join({{0xA0, data_type}, u32(content_id), u32(info), u32(uint32_t(data.size())), data});
}

Bytes app(uint32_t id, const Bytes& body) {
    return join({{0x50}, u32(id), body});
}

} // namespace module_packets
