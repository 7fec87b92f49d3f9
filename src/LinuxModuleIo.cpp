#include "LinuxModuleIo.h"

#include "Logger.h"
#include "Trace.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <stdexcept>
#include <unistd.h>

speed_t baudrate_map(unsigned int bits_per_second) {
    switch (bits_per_second) {
    case 9600:
        return B9600;
    case 19200:
        return B19200;
    case 38400:
        return B38400;
    case 115200:
        return B115200;
    case 230400:
        return B230400;
    case 460800:
        return B460800;
    case 500000:
        return B500000;
    case 576000:
        return B576000;
    case 921600:
        return B921600;
    case 1000000:
        return B1000000;
    case 2000000:
        return B2000000;
    case 3000000:
        return B3000000;
    case 4000000:
        return B4000000;
    default:
        throw std::runtime_error("illagal baudrate");
    }
}

LinuxModuleIo::LinuxModuleIo(Logger& logger) : logger_(logger), reads_(logger, ::read) {
    std::memset(&settings_, 0, sizeof(settings_));
    settings_.c_cflag = CS8 | CREAD | CLOCAL;
    settings_.c_cc[VTIME] = 5;
    settings_.c_cc[VMIN] = 1;
}

LinuxModuleIo::~LinuxModuleIo() {
    log_quietly(logger_, 2, "Closing: ", device_name_);
    if (fd_ >= 0) {
        ::close(fd_);
    }
}

int LinuxModuleIo::open(const std::string& device_name) {
    Trace trace(logger_, 3, "LinuxModuleIo::open " + device_name);
    device_name_ = device_name;
    reads_.set_link_name(device_name);
    fd_ = ::open(device_name.c_str(), O_RDWR);
    if (fd_ < 0) {
        const int error_number = errno;
        auto line = logger_.serror();
        line << "open: " << __LINE__ << " -- Error opening file: " << device_name << "\n"
             << "system error: " << std::strerror(error_number) << "\n";
        line.flush();
        return fd_;
    }
    cfsetospeed(&settings_, B115200);
    cfsetispeed(&settings_, B115200);
    tcsetattr(fd_, TCSANOW, &settings_);
    return 0;
}

void LinuxModuleIo::set_baudrate(unsigned int bits_per_second) {
    const speed_t speed = baudrate_map(bits_per_second);
    cfsetospeed(&settings_, speed);
    cfsetispeed(&settings_, speed);
    tcsetattr(fd_, TCSANOW, &settings_);
}

int LinuxModuleIo::write(const unsigned char* buffer, unsigned int length) {
    return static_cast<int>(::write(fd_, buffer, length));
}

int LinuxModuleIo::read(unsigned char* buffer, unsigned int length, unsigned int /*timeout*/) {
    return reads_.read(fd_, buffer, length);
}
