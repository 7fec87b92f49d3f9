// Packets as a module sends them, assembled field by field, so that a test states every byte that the host
// must take apart. Put them on the line with the module emulator.
#ifndef DEVICEBRIDGE_TESTS_SCRIPTEDMODULE_H
#define DEVICEBRIDGE_TESTS_SCRIPTEDMODULE_H

#include "Bytes.h"

#include <cstdint>
#include <initializer_list>
#include <vector>

namespace module_packets {
Bytes u32(uint32_t value);
Bytes f32(float value);
Bytes join(std::initializer_list<Bytes> parts);
Bytes floats(const std::vector<float>& values);

Bytes ack();
Bytes error(uint32_t code);
// 11, data type, content id, info 0, length, data and the byte behind the data.
Bytes reply(uint8_t data_type, uint32_t content_id, const Bytes& data);
// A0, data type, content id, info, length, data.
Bytes data_message(uint8_t data_type, uint32_t content_id, uint32_t info, const Bytes& data);
// "P", the 32-bit id and the body.
Bytes app(uint32_t id, const Bytes& body);
} // namespace module_packets

#endif
