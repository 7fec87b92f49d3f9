#include "DeviceBridge.h"

#include "AbstractFactory.h"
#include "DeviceBridgePrivate.h"
#include "Logger.h"

namespace Tervik {

namespace {

const int default_log_level = 5;

// The caller's output is owned from the first line on, so that no failure further down can leak it. The
// initialisers are braced, which fixes their order: the factory is made before the logger.
DeviceBridgePrivate* serial_bridge(const std::string& device_name, int log_level,
                                   AbstractLoggerIo* logger_io) {
    std::unique_ptr<AbstractLoggerIo> output(logger_io);
    return new DeviceBridgePrivate{BridgeStack::create_serial_factory(),
                                   BridgeStack::create_logger(log_level, std::move(output)), device_name};
}

DeviceBridgePrivate* tcp_bridge(in_addr_t ip, in_port_t port, int log_level, AbstractLoggerIo* logger_io) {
    std::unique_ptr<AbstractLoggerIo> output(logger_io);
    return new DeviceBridgePrivate{BridgeStack::create_tcp_factory(ip, port),
                                   BridgeStack::create_logger(log_level, std::move(output)),
                                   BridgeStack::tcp_device_name(ip, port)};
}

DeviceBridgePrivate* playback_bridge(DataPlayer& player, int log_level, AbstractLoggerIo* logger_io) {
    std::unique_ptr<AbstractLoggerIo> output(logger_io);
    return new DeviceBridgePrivate{BridgeStack::create_playback_factory(player),
                                   BridgeStack::create_logger(log_level, std::move(output)),
                                   BridgeStack::playback_device_name()};
}

} // namespace

DeviceBridge::DeviceBridge(const std::string& device_name)
    : d_ptr(serial_bridge(device_name, default_log_level, nullptr)) {}

DeviceBridge::DeviceBridge(const std::string& device_name, int log_level)
    : d_ptr(serial_bridge(device_name, log_level, nullptr)) {}

DeviceBridge::DeviceBridge(const std::string& device_name, int log_level, AbstractLoggerIo* logger_io)
    : d_ptr(serial_bridge(device_name, log_level, logger_io)) {}

DeviceBridge::DeviceBridge(in_addr_t ip, in_port_t port)
    : d_ptr(tcp_bridge(ip, port, default_log_level, nullptr)) {}

DeviceBridge::DeviceBridge(in_addr_t ip, in_port_t port, int log_level)
    : d_ptr(tcp_bridge(ip, port, log_level, nullptr)) {}

DeviceBridge::DeviceBridge(in_addr_t ip, in_port_t port, int log_level, AbstractLoggerIo* logger_io)
    : d_ptr(tcp_bridge(ip, port, log_level, logger_io)) {}

DeviceBridge::DeviceBridge(DataPlayer& player) : d_ptr(playback_bridge(player, default_log_level, nullptr)) {}

DeviceBridge::DeviceBridge(DataPlayer& player, int log_level)
    : d_ptr(playback_bridge(player, log_level, nullptr)) {}

DeviceBridge::DeviceBridge(DataPlayer& player, int log_level, AbstractLoggerIo* logger_io)
    : d_ptr(playback_bridge(player, log_level, logger_io)) {}

DeviceBridge::~DeviceBridge() = default;

std::string DeviceBridge::git_sha() {
    return d_ptr->stack.git_sha();
}

int DeviceBridge::open(std::string device_name) {
    return d_ptr->stack.open(device_name);
}

int DeviceBridge::close() {
    return d_ptr->stack.close();
}

int DeviceBridge::set_log_level(int new_log_level) {
    return d_ptr->stack.set_log_level(new_log_level);
}

void DeviceBridge::set_default_timeout(unsigned int new_default_timeout) {
    d_ptr->stack.set_default_timeout(new_default_timeout);
}

LockedRadarInterfacePtr& DeviceBridge::get_radar_interface() {
    return d_ptr->stack.guard();
}

G5& DeviceBridge::get_g5() {
    return d_ptr->stack.get_g5();
}

G5N310& DeviceBridge::get_g5n310() {
    return *d_ptr->hand_outs.g5n310;
}

RCP& DeviceBridge::get_rcp() {
    return *d_ptr->hand_outs.rcp;
}

G7N420& DeviceBridge::get_g7n420() {
    return *d_ptr->hand_outs.g7n420;
}

G7N310& DeviceBridge::get_g7n310() {
    return *d_ptr->hand_outs.g7n310;
}

DataRecorder& DeviceBridge::get_data_recorder() {
    return *d_ptr->hand_outs.data_recorder;
}

Transport& DeviceBridge::get_transport() {
    return *d_ptr->hand_outs.transport;
}

NotSupported& DeviceBridge::get_not_supported() {
    return *d_ptr->hand_outs.not_supported;
}

} // namespace Tervik
