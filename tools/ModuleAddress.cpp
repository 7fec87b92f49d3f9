#include "ModuleAddress.h"

#include <arpa/inet.h>
#include <netdb.h>

#include <cstdlib>
#include <cstring>
#include <stdexcept>

namespace {

const char* const tcp_scheme = "tcp://";

} // namespace

ModuleAddress ModuleAddress::parse(const std::string& text) {
    ModuleAddress address;
    address.text = text;
    const size_t scheme_size = std::strlen(tcp_scheme);
    if (text.compare(0, scheme_size, tcp_scheme) != 0) {
        if (text.empty())
            throw std::invalid_argument("no device given");
        return address;
    }
    const std::string endpoint = text.substr(scheme_size);
    const size_t colon = endpoint.rfind(':');
    const std::string host = colon == std::string::npos ? "" : endpoint.substr(0, colon);
    const std::string port = colon == std::string::npos ? "" : endpoint.substr(colon + 1);
    char* end = nullptr;
    const unsigned long number = std::strtoul(port.c_str(), &end, 10);
    if (host.empty() || port.empty() || *end != '\0' || port[0] == '-' || number == 0 || number > 65535)
        throw std::invalid_argument("not an address of the form tcp://HOST:PORT: " + text);
    addrinfo hints{};
    hints.ai_family = AF_INET;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    const int status = getaddrinfo(host.c_str(), nullptr, &hints, &found);
    if (status != 0 || found == nullptr)
        throw std::invalid_argument("cannot resolve " + host + ": " + gai_strerror(status));
    address.ip = reinterpret_cast<sockaddr_in*>(found->ai_addr)->sin_addr.s_addr;
    freeaddrinfo(found);
    address.tcp = true;
    address.port = htons(static_cast<uint16_t>(number));
    return address;
}

std::unique_ptr<Tervik::DeviceBridge> ModuleAddress::connect(int log_level,
                                                             Tervik::AbstractLoggerIo* logger_io) const {
    if (tcp)
        return std::unique_ptr<Tervik::DeviceBridge>(
            new Tervik::DeviceBridge(ip, port, log_level, logger_io));
    return std::unique_ptr<Tervik::DeviceBridge>(new Tervik::DeviceBridge(text, log_level, logger_io));
}
