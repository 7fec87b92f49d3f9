// The arguments of one command, read in order from a byte offset on. A command that ends before an argument
// does throws std::out_of_range, which the emulator answers with the error reply "command failed": no read
// ever goes past the command's bytes.
#ifndef DEVICEBRIDGE_TOOLS_COMMANDARGUMENTS_H
#define DEVICEBRIDGE_TOOLS_COMMANDARGUMENTS_H

#include "Bytes.h"

#include <cstddef>
#include <cstdint>
#include <string>

class CommandArguments {
public:
    CommandArguments(const Bytes& command, size_t offset) : command_(command), offset_(offset) {}

    uint8_t u8();
    uint32_t u32();
    float f32();
    // The next `count` bytes.
    Bytes bytes(size_t count);
    // The next `count` bytes as text, up to the first 0 byte among them.
    std::string text(size_t count);
    // Everything not read yet.
    Bytes rest();
    size_t remaining() const { return command_.size() - offset_; }

private:
    void need(size_t count) const;

    const Bytes& command_;
    size_t offset_;
};

#endif
