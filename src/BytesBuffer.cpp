#include "BytesBuffer.h"

namespace Tervik {

BytesBuffer::BytesBuffer(const Bytes& bytes) {
    // streambuf wants mutable pointers for its get area; this buffer never writes through them.
    char* begin = reinterpret_cast<char*>(const_cast<unsigned char*>(bytes.data()));
    setg(begin, begin, begin + bytes.size());
}

} // namespace Tervik
