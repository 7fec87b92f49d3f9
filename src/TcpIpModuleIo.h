// The TCP transport: a client socket to a module behind a network bridge.
#ifndef DEVICEBRIDGE_TCPIPMODULEIO_H
#define DEVICEBRIDGE_TCPIPMODULEIO_H

#include "ModuleIo.h"
#include "PolledDescriptor.h"

#include <netinet/in.h>
#include <string>

class Logger;

class TcpIpModuleIo : public ModuleIo {
public:
    // address and port in network byte order. The socket is made here; a failure shows at open.
    TcpIpModuleIo(in_addr_t address, in_port_t port, Logger& logger);
    ~TcpIpModuleIo() override;
    TcpIpModuleIo(const TcpIpModuleIo&) = delete;
    TcpIpModuleIo& operator=(const TcpIpModuleIo&) = delete;

    // "tcp://" + dotted address + ":" + port in host order, as the layers above name a TCP link.
    static std::string label(in_addr_t address, in_port_t port);

    // Connects to the address given at construction; the name is ignored. 0 on success, -1 on failure.
    int open(const std::string& ignored) override;
    // A socket has no line speed: does nothing.
    void set_baudrate(unsigned int bits_per_second) override;
    int write(const unsigned char* buffer, unsigned int length) override;
    // Waits at most 10 milliseconds for data. A peer that closed or reset the connection reads as nothing
    // after the full 10 milliseconds, like a quiet line; its loss is logged once.
    int read(unsigned char* buffer, unsigned int length, unsigned int timeout) override;

private:
    int fd_;
    in_addr_t address_;
    in_port_t port_;
    std::string device_name_;
    Logger& logger_;
    PolledDescriptor reads_;
};

#endif
