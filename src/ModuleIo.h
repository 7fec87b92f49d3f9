// A byte transport that touches the operating system: a serial line, a TCP socket or a recording.
#ifndef DEVICEBRIDGE_MODULEIO_H
#define DEVICEBRIDGE_MODULEIO_H

#include <string>

class ModuleIo {
public:
    virtual ~ModuleIo() = default;
    // 0 on success, negative on failure (the error text is logged by the transport).
    virtual int open(const std::string& device_name) = 0;
    virtual void set_baudrate(unsigned int bits_per_second) = 0;
    // What the system's write returned: bytes taken, 0 when nothing went, negative on failure. Never loops.
    virtual int write(const unsigned char* buffer, unsigned int length) = 0;
    // Bytes read; 0 when nothing is there now. The reader reads again at once after a 0, so a transport does
    // its waiting inside read (a poll period, say), also once its peer has gone. Negative when the link is
    // broken for good, which ends the reader's loop.
    virtual int read(unsigned char* buffer, unsigned int length, unsigned int timeout) = 0;
    // The reader is about to stop: a read that waits returns now, and every later one without waiting. A
    // transport whose reads wait only for its short poll period has nothing to do.
    virtual void interrupt() {}
};

#endif
