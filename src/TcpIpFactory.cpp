#include "TcpIpFactory.h"

#include "TcpIpModuleIo.h"

TcpIpFactory::TcpIpFactory(in_addr_t address, in_port_t port) : address_(address), port_(port) {}

ModuleIo* TcpIpFactory::createModuleIo(Logger& logger) {
    return new TcpIpModuleIo(address_, port_, logger);
}
