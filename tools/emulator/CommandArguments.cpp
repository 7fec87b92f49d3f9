#include "CommandArguments.h"

#include "ModulePackets.h"

#include <algorithm>
#include <stdexcept>

void CommandArguments::need(size_t count) const {
    if (count > remaining())
        throw std::out_of_range("command too short");
}

uint8_t CommandArguments::u8() {
    need(1);
    return command_[offset_++];
}

uint32_t CommandArguments::u32() {
    need(4);
    const uint32_t value = emulator_packets::get_u32(command_, offset_);
    offset_ += 4;
    return value;
}

float CommandArguments::f32() {
    need(4);
    const float value = emulator_packets::get_float(command_, offset_);
    offset_ += 4;
    return value;
}

Bytes CommandArguments::bytes(size_t count) {
    need(count);
    Bytes taken(command_.begin() + offset_, command_.begin() + offset_ + count);
    offset_ += count;
    return taken;
}

std::string CommandArguments::text(size_t count) {
    const Bytes taken = bytes(count);
    return std::string(taken.begin(), std::find(taken.begin(), taken.end(), 0));
}

Bytes CommandArguments::rest() {
    return bytes(remaining());
}
