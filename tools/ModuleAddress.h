// Where a module is, as a user writes it on a command line: a serial device such as "/dev/ttyACM0", or
// "tcp://HOST:PORT" for a module behind a network bridge. The library never parses a device name to pick a
// transport; this is the one place of the tools that does, and it then calls the matching constructor.
#ifndef DEVICEBRIDGE_TOOLS_MODULEADDRESS_H
#define DEVICEBRIDGE_TOOLS_MODULEADDRESS_H

#include "AbstractLoggerIo.h"
#include "DeviceBridge.h"

#include <netinet/in.h>

#include <memory>
#include <string>

struct ModuleAddress {
    // The address as written.
    std::string text;
    bool tcp = false;
    // Network byte order, as the bridge takes them; set for a TCP address only.
    in_addr_t ip = 0;
    in_port_t port = 0;

    // A text beginning with "tcp://" must be HOST:PORT with a host that resolves (IPv4) and a port of 1 to
    // 65535; anything else is a device name. Throws std::invalid_argument with a one-line reason.
    static ModuleAddress parse(const std::string& text);

    // A bridge connected to the module; the bridge owns `logger_io` from the call on, also when it throws
    // std::runtime_error ("unable to open file: " + name).
    std::unique_ptr<Tervik::DeviceBridge> connect(int log_level, Tervik::AbstractLoggerIo* logger_io) const;
};

#endif
