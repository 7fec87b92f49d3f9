// The module's end of a link: what the emulator reads commands from and writes packets to. A link has at most
// one connected peer at a time; the emulator polls its descriptors, and never blocks on them.
#ifndef DEVICEBRIDGE_TOOLS_EMULATORLINK_H
#define DEVICEBRIDGE_TOOLS_EMULATORLINK_H

#include <cstddef>
#include <string>
#include <sys/types.h>

class EmulatorLink {
public:
    virtual ~EmulatorLink() = default;

    // What a host needs to reach the module, as one line: "device: /dev/pts/5" or "tcp: 127.0.0.1:4444".
    virtual std::string address_line() const = 0;

    // The descriptor of the connected peer, non-blocking, or -1 when there is none.
    virtual int connection_fd() const = 0;
    // The descriptor on which a new peer announces itself, or -1 when the link takes no new peers.
    virtual int listen_fd() const = 0;
    // Takes in a waiting peer; true if one is now connected.
    virtual bool accept_peer() = 0;
    // Ends the connection with the peer, as a module that is unplugged or a bridge that drops its client.
    virtual void close_connection() = 0;

    // Like read(2) and write(2) on the connection; never raise a signal.
    virtual ssize_t read(unsigned char* buffer, size_t length) = 0;
    virtual ssize_t write(const unsigned char* buffer, size_t length) = 0;
};

#endif
