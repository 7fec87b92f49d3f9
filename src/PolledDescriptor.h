// The read that the serial and the TCP transport share: a poll of the descriptor for at most one period, then
// the system's read, and the one place where a peer that has gone is told from a quiet line.
//
// A hung-up terminal (the module unplugged, a pseudo-terminal's master closed) and a connection that the peer
// closed or reset stay readable at once, for ever, and each read returns end of file or an error. Read again
// at once, such a descriptor would keep the reader's thread busy on a whole core. So the loss is logged once,
// and every later read waits out its period and reports nothing, as a quiet line does: the link goes on
// polling until it is closed, commands fail by their own write failure or time-out, and close() and open()
// bring a module that has come back.
#ifndef DEVICEBRIDGE_POLLEDDESCRIPTOR_H
#define DEVICEBRIDGE_POLLEDDESCRIPTOR_H

#include <chrono>
#include <string>
#include <sys/types.h>

class Logger;

class PolledDescriptor {
public:
    // read(2), or recv(2) without flags.
    typedef ssize_t (*SystemRead)(int fd, void* buffer, size_t length);

    // How long a read waits for the first byte. It bounds how long the reader's thread stays away from its
    // task queue, so that the thread can be stopped quickly.
    static const std::chrono::milliseconds period;

    PolledDescriptor(Logger& logger, SystemRead system_read);
    PolledDescriptor(const PolledDescriptor&) = delete;
    PolledDescriptor& operator=(const PolledDescriptor&) = delete;

    // The link's name in the report of its loss.
    void set_link_name(const std::string& name) { link_name_ = name; }

    // Bytes read; 0 when nothing came within the period, and after a full period when the peer has gone;
    // negative when the wait or the read failed otherwise (the descriptor itself is broken), which ends the
    // reader's loop. Runs on the reader's thread alone.
    int read(int fd, unsigned char* buffer, unsigned int length);

private:
    // Positive when the descriptor is readable or has hung up, 0 when nothing came within the period,
    // negative when the wait failed.
    static int wait_readable(int fd);
    void report_loss(int error_number);

    Logger& logger_;
    SystemRead system_read_;
    std::string link_name_;
    bool peer_lost_ = false;
};

#endif
