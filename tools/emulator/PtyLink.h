// A module on a pseudo-terminal: the host opens the slave device like a serial port, the emulator serves the
// master side. The terminal is raw, so that no byte is echoed, translated or held back for a line.
#ifndef DEVICEBRIDGE_TOOLS_PTYLINK_H
#define DEVICEBRIDGE_TOOLS_PTYLINK_H

#include "EmulatorLink.h"

class PtyLink : public EmulatorLink {
public:
    // Throws std::runtime_error when no pseudo-terminal can be had.
    PtyLink();
    ~PtyLink() override;
    PtyLink(const PtyLink&) = delete;
    PtyLink& operator=(const PtyLink&) = delete;

    // The slave device that a host opens, such as "/dev/pts/5".
    const std::string& device_path() const { return device_path_; }

    std::string address_line() const override;
    int connection_fd() const override { return master_; }
    int listen_fd() const override { return -1; }
    bool accept_peer() override { return master_ >= 0; }
    // Closes the master: the host's reads fail with EIO and it sees a hang-up. A pseudo-terminal cannot be
    // reopened under the same path, so the link stays closed.
    void close_connection() override;
    ssize_t read(unsigned char* buffer, size_t length) override;
    ssize_t write(const unsigned char* buffer, size_t length) override;

private:
    int master_ = -1;
    // Held open by the emulator itself: without it the master reports a hang-up before the host first opens
    // the device, and again each time the host closes it.
    int slave_ = -1;
    std::string device_path_;
};

#endif
