// The byte link as the communicator sees it: open with a receive callback, write frames, close.
#ifndef DEVICEBRIDGE_ABSTRACTIO_H
#define DEVICEBRIDGE_ABSTRACTIO_H

#include "Bytes.h"

#include <functional>
#include <string>

class AbstractIo {
public:
    virtual ~AbstractIo() = default;
    virtual bool is_ready() = 0;
    // The callback receives every packet on the reader's thread. 0 on success, else the transport's code.
    virtual int open(const std::string& device_name, std::function<void(Bytes)> callback) = 0;
    virtual void close() = 0;
    virtual void write(Bytes bytes) = 0;
    virtual void set_baudrate(unsigned int bits_per_second) = 0;
};

#endif
