// What the two C units share: the records behind the opaque handles that cross between them, and the rules by
// which results land in a caller's buffers.
#ifndef DEVICEBRIDGE_MATLAB_INTERFACE_H
#define DEVICEBRIDGE_MATLAB_INTERFACE_H

#include "Bytes.h"
#include "matlab_recording_api.h"

#include <cstring>
#include <string>
#include <vector>

namespace Tervik {
class DataPlayer;
class DataRecorder;
} // namespace Tervik

struct DataRecorderHandle {
    Tervik::DataRecorder* recorder;
    // A bridge's own recorder belongs to the bridge; the handle only points at it.
    bool owned;
};

struct DataPlayerHandle {
    Tervik::DataPlayer* player;
};

namespace matlab_interface {

template <typename T> void store(T* destination, const T& value) {
    if (destination)
        *destination = value;
}

// A text goes whole, with its terminator, or not at all. The length test leaves the terminator out, as
// callers of this interface have always sized their buffers one byte larger than they say.
inline int copy_text(const std::string& text, char* buffer, unsigned int max_length) {
    if (!buffer || max_length < text.size())
        return 1;
    std::memmove(buffer, text.c_str(), text.size() + 1);
    return 0;
}

inline int copy_bytes(const Bytes& bytes, void* buffer, unsigned int max_length) {
    if (bytes.size() > max_length || (!buffer && !bytes.empty()))
        return 1;
    if (!bytes.empty())
        std::memmove(buffer, bytes.data(), bytes.size());
    return 0;
}

// Arrays of a record: the caller sized them by the record's counts, which are the vector's length.
template <typename T> void copy_array(const std::vector<T>& values, T* destination) {
    if (destination && !values.empty())
        std::memmove(destination, values.data(), values.size() * sizeof(T));
}

} // namespace matlab_interface

#endif
