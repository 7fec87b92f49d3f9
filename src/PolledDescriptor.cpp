#include "PolledDescriptor.h"

#include "Logger.h"

#include <cerrno>
#include <cstring>
#include <poll.h>
#include <thread>

namespace {

typedef std::chrono::steady_clock Clock;

// The failures of a read that mean the other end is gone rather than the descriptor broken: a terminal hung
// up or a device removed, a connection reset, timed out or unreachable.
bool means_peer_gone(int error_number) {
    switch (error_number) {
    case EIO:
    case ENXIO:
    case ENODEV:
    case ECONNRESET:
    case ECONNABORTED:
    case ETIMEDOUT:
    case EPIPE:
    case ENOTCONN:
    case EHOSTUNREACH:
    case ENETUNREACH:
        return true;
    default:
        return false;
    }
}

// A signal that the application handles (a timer, a child's end) breaks into poll and read; that is no
// failure of the link, and must not end the reader's loop.
bool interrupted(int error_number) {
    return error_number == EINTR || error_number == EAGAIN || error_number == EWOULDBLOCK;
}

} // namespace

const std::chrono::milliseconds PolledDescriptor::period(10);

PolledDescriptor::PolledDescriptor(Logger& logger, SystemRead system_read)
    : logger_(logger), system_read_(system_read) {}

int PolledDescriptor::read(int fd, unsigned char* buffer, unsigned int length) {
    const Clock::time_point start = Clock::now();
    const int ready = wait_readable(fd);
    if (ready < 0 && interrupted(errno)) {
        return 0;
    }
    if (ready <= 0) {
        return ready;
    }
    const ssize_t count = system_read_(fd, buffer, length);
    if (count > 0) {
        return static_cast<int>(count);
    }
    if (count < 0 && interrupted(errno)) {
        return 0;
    }
    // A read that poll found ready and that returns nothing is the end of the stream: nobody is at the other
    // end.
    const int error_number = count < 0 ? errno : 0;
    if (count < 0 && !means_peer_gone(error_number)) {
        return static_cast<int>(count);
    }
    if (!peer_lost_) {
        peer_lost_ = true;
        report_loss(error_number);
    }
    std::this_thread::sleep_until(start + period);
    return 0;
}

// poll rather than select: select cannot take descriptors numbered 1024 or more, and a process that holds
// many files would otherwise write past its fd_set.
int PolledDescriptor::wait_readable(int fd) {
    struct pollfd entry;
    entry.fd = fd;
    entry.events = POLLIN;
    entry.revents = 0;
    return poll(&entry, 1, static_cast<int>(period.count()));
}

void PolledDescriptor::report_loss(int error_number) {
    auto line = logger_.serror();
    line << "read: " << __LINE__ << " -- connection to module lost: " << link_name_
         << " (close and open the link once the module is back)\n"
         << "system error: " << (error_number != 0 ? std::strerror(error_number) : "end of file") << "\n";
    line.flush();
}
