// Arbitrary packets into the recorder's conversions and arbitrary records back out of the disk form: neither
// direction may read past its input, whatever a module sends or a damaged file holds.
#include "DataPacketFormater.h"
#include "DataPacketToDisk.h"

#include <cstddef>
#include <cstdint>
#include <stdexcept>

using namespace Tervik;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 1) {
        return 0;
    }
    // One bit past the last type, so that an invalid type is fuzzed too.
    const DataType type = static_cast<DataType>(1u << (data[0] % 17));
    bool matrix_started = (data[0] & 0x80) != 0;
    const Bytes bytes(data + 1, data + size);
    DataPacketToDisk::convert(type, bytes, matrix_started);
    DataPacketToDisk::radar_settings_ini(bytes);
    for (uint32_t version : {11u, 12u, 13u}) {
        try {
            DataPacketFormater(version).from_disk(type, bytes);
        } catch (const std::invalid_argument&) {
            // A text field that doesn't convert to a number is reported this way, by design.
        } catch (const std::out_of_range&) {
        }
    }
    return 0;
}
