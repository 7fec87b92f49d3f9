// A read-only stream buffer over the bytes of a vector, so that a packet header can be read as a stream.
#ifndef DEVICEBRIDGE_BYTESBUFFER_H
#define DEVICEBRIDGE_BYTESBUFFER_H

#include "Bytes.h"

#include <streambuf>

namespace Tervik {

class BytesBuffer : public std::streambuf {
public:
    // The bytes must outlive the buffer; nothing is copied.
    explicit BytesBuffer(const Bytes& bytes);
};

} // namespace Tervik

#endif
