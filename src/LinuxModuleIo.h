// The serial transport: a character device driven as a raw 8N1 line without flow control.
#ifndef DEVICEBRIDGE_LINUXMODULEIO_H
#define DEVICEBRIDGE_LINUXMODULEIO_H

#include "ModuleIo.h"
#include "PolledDescriptor.h"

#include <string>
#include <termios.h>

class Logger;

// Bits per second to the termios speed constant. The set is closed on purpose (57600 is left out although the
// system knows it); any other rate throws std::runtime_error("illagal baudrate").
speed_t baudrate_map(unsigned int bits_per_second);

class LinuxModuleIo : public ModuleIo {
public:
    explicit LinuxModuleIo(Logger& logger);
    ~LinuxModuleIo() override;
    LinuxModuleIo(const LinuxModuleIo&) = delete;
    LinuxModuleIo& operator=(const LinuxModuleIo&) = delete;

    // Opens with O_RDWR alone and sets the line to 115200 bits per second, whatever it was before.
    int open(const std::string& device_name) override;
    // Throws "illagal baudrate" for a rate outside the map, before anything is changed.
    void set_baudrate(unsigned int bits_per_second) override;
    int write(const unsigned char* buffer, unsigned int length) override;
    // Waits at most 10 milliseconds for data; the timeout argument is not used. A line that has hung up (the
    // module unplugged) reads as nothing after the full 10 milliseconds; its loss is logged once.
    int read(unsigned char* buffer, unsigned int length, unsigned int timeout) override;

private:
    int fd_ = -1;
    // The single source of the port's settings: never read back from the device.
    struct termios settings_;
    std::string device_name_;
    Logger& logger_;
    PolledDescriptor reads_;
};

#endif
