#include "Bootloader.h"

#include "AbstractFactory.h"
#include "BootloaderImpl.h"
#include "BridgeStack.h"
#include "DefaultLoggerIo.h"
#include "Logger.h"

namespace Tervik {

namespace {

const int default_log_level = 5;
const unsigned int default_start_timeout = 4;

// Whatever the caller hands over is owned from the first line on, so that no failure further down can leak
// it or free it twice. The initialisers are braced, which fixes their order: the factory is made before the
// logger.
BootloaderImpl* serial_bootloader(const std::string& device_name, int log_level,
                                  std::unique_ptr<AbstractLoggerIo> output) {
    return new BootloaderImpl{BridgeStack::create_serial_factory(),
                              BridgeStack::create_logger(log_level, std::move(output)), device_name};
}

BootloaderImpl* tcp_bootloader(in_addr_t ip, in_port_t port, int log_level,
                               std::unique_ptr<AbstractLoggerIo> output) {
    return new BootloaderImpl{BridgeStack::create_tcp_factory(ip, port),
                              BridgeStack::create_logger(log_level, std::move(output)),
                              BridgeStack::tcp_device_name(ip, port)};
}

std::unique_ptr<AbstractLoggerIo> default_output(bool to_stdout, bool to_file) {
    return std::unique_ptr<AbstractLoggerIo>(new DefaultLoggerIo(to_stdout, to_file));
}

std::unique_ptr<AbstractLoggerIo> given_output(AbstractLoggerIo* logger_io) {
    return std::unique_ptr<AbstractLoggerIo>(logger_io);
}

} // namespace

Bootloader::Bootloader(const std::string& device_name, bool log_to_stdout, bool log_to_file,
                       unsigned int log_level)
    : d_ptr(serial_bootloader(device_name, static_cast<int>(log_level),
                              default_output(log_to_stdout, log_to_file))) {}

Bootloader::Bootloader(const std::string& device_name, unsigned int log_level)
    : d_ptr(serial_bootloader(device_name, static_cast<int>(log_level), default_output(true, false))) {}

Bootloader::Bootloader(const std::string& device_name, unsigned int log_level, AbstractLoggerIo* logger_io)
    : d_ptr(serial_bootloader(device_name, static_cast<int>(log_level), given_output(logger_io))) {}

Bootloader::Bootloader(const std::string& device_name, ::Logger* logger) {
    std::unique_ptr<::Logger> owned(logger);
    d_ptr.reset(new BootloaderImpl{BridgeStack::create_serial_factory(), std::move(owned), device_name});
}

Bootloader::Bootloader(in_addr_t ip, in_port_t port, int log_level, AbstractLoggerIo* logger_io)
    : d_ptr(tcp_bootloader(ip, port, log_level, given_output(logger_io))) {}

Bootloader::Bootloader(in_addr_t ip, in_port_t port)
    : d_ptr(tcp_bootloader(ip, port, default_log_level, default_output(true, true))) {}

Bootloader::Bootloader(in_addr_t ip, in_port_t port, int log_level)
    : d_ptr(tcp_bootloader(ip, port, log_level, default_output(true, true))) {}

Bootloader::~Bootloader() = default;

int Bootloader::write_page(unsigned int page_address, const Bytes& page_data) {
    return d_ptr->write_page(page_address, page_data);
}

int Bootloader::start_application() {
    return start_application(default_start_timeout);
}

int Bootloader::start_application(unsigned int timeout) {
    return d_ptr->start_application(timeout);
}

std::string Bootloader::get_bootloader_info() {
    return d_ptr->get_bootloader_info();
}

} // namespace Tervik
