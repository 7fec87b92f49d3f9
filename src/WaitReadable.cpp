#include "WaitReadable.h"

#include <poll.h>

// poll rather than select: select cannot take descriptors numbered 1024 or more, and a process that holds
// many files would otherwise write past its fd_set.
int wait_readable(int fd) {
    struct pollfd entry;
    entry.fd = fd;
    entry.events = POLLIN;
    entry.revents = 0;
    return poll(&entry, 1, 10);
}
