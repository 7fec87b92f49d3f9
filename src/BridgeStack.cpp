#include "BridgeStack.h"

#include "ConcreteFactory.h"
#include "DefaultLoggerIo.h"
#include "PlaybackFactory.h"
#include "PlaybackModuleIo.h"
#include "RadarInterface.h"
#include "StdoutLogger.h"
#include "TcpIpFactory.h"
#include "TcpIpModuleIo.h"
#include "UartIo.h"

namespace Tervik {

namespace {
const unsigned int construction_level = 5;
}

BridgeStack::BridgeStack(std::unique_ptr<AbstractFactory> factory, std::unique_ptr<Logger> logger,
                         const std::string& device_name)
    : factory(std::move(factory)), logger(std::move(logger)), io(new UartIo(*this->logger, *this->factory)),
      device_name(device_name),
      radar_interface(new RadarInterface(*io, device_name, *this->factory, *this->logger)) {}

// Members go in reverse: the guard deletes the RadarInterface (its communicator stops the link's threads)
// before the link, the logger and the factory that those threads use.
BridgeStack::~BridgeStack() = default;

std::unique_ptr<Logger> BridgeStack::create_logger(int log_level, std::unique_ptr<AbstractLoggerIo> output) {
    if (!output)
        output.reset(new DefaultLoggerIo(true, true));
    std::unique_ptr<Logger> logger(new StdoutLogger(log_level, std::move(output)));
    logger->log(construction_level, "createing logger StdoutLogger");
    return logger;
}

std::unique_ptr<AbstractFactory> BridgeStack::create_serial_factory() {
    return std::unique_ptr<AbstractFactory>(new ConcreteFactory);
}

std::unique_ptr<AbstractFactory> BridgeStack::create_tcp_factory(in_addr_t ip, in_port_t port) {
    return std::unique_ptr<AbstractFactory>(new TcpIpFactory(ip, port));
}

std::string BridgeStack::tcp_device_name(in_addr_t ip, in_port_t port) {
    return TcpIpModuleIo::label(ip, port);
}

std::unique_ptr<AbstractFactory> BridgeStack::create_playback_factory(DataPlayer& player) {
    return std::unique_ptr<AbstractFactory>(new PlaybackFactory(player));
}

std::string BridgeStack::playback_device_name() {
    return PlaybackModuleIo::label();
}

std::string BridgeStack::git_sha() {
    return radar_interface->git_sha();
}

int BridgeStack::open(const std::string& name) {
    return radar_interface->open(name);
}

int BridgeStack::open_throw(const std::string& name) {
    return radar_interface->open_throw(name);
}

int BridgeStack::close() {
    return radar_interface->close();
}

int BridgeStack::set_log_level(int new_log_level) {
    return radar_interface->set_log_level(new_log_level);
}

void BridgeStack::set_default_timeout(unsigned int new_default_timeout) {
    radar_interface->set_default_timeout(new_default_timeout);
}

G5& BridgeStack::get_g5() {
    return *radar_interface.get();
}

} // namespace Tervik
