// The factory of a TCP link: everything as for a serial link, but the transport is a client socket.
#ifndef DEVICEBRIDGE_TCPIPFACTORY_H
#define DEVICEBRIDGE_TCPIPFACTORY_H

#include "ConcreteFactory.h"

#include <netinet/in.h>

class TcpIpFactory : public ConcreteFactory {
public:
    // address and port in network byte order, as inet_addr and htons give them.
    TcpIpFactory(in_addr_t address, in_port_t port);
    ModuleIo* createModuleIo(Logger& logger) override;

private:
    in_addr_t address_;
    in_port_t port_;
};

#endif
