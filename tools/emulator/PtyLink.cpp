#include "PtyLink.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <pty.h>
#include <stdexcept>
#include <termios.h>
#include <unistd.h>

PtyLink::PtyLink() {
    char name[256] = {0};
    if (openpty(&master_, &slave_, name, nullptr, nullptr) != 0)
        throw std::runtime_error(std::string("openpty: ") + std::strerror(errno));
    termios settings;
    tcgetattr(slave_, &settings);
    cfmakeraw(&settings);
    tcsetattr(slave_, TCSANOW, &settings);
    fcntl(master_, F_SETFL, fcntl(master_, F_GETFL) | O_NONBLOCK);
    fcntl(master_, F_SETFD, FD_CLOEXEC);
    fcntl(slave_, F_SETFD, FD_CLOEXEC);
    device_path_ = name;
}

PtyLink::~PtyLink() {
    close_connection();
}

std::string PtyLink::address_line() const {
    return "device: " + device_path_;
}

void PtyLink::close_connection() {
    if (master_ >= 0)
        ::close(master_);
    if (slave_ >= 0)
        ::close(slave_);
    master_ = -1;
    slave_ = -1;
}

ssize_t PtyLink::read(unsigned char* buffer, size_t length) {
    return ::read(master_, buffer, length);
}

ssize_t PtyLink::write(const unsigned char* buffer, size_t length) {
    return ::write(master_, buffer, length);
}
