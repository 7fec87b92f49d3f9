#include "PythonDeviceBridge.h"

#include "AbstractFactory.h"
#include "BridgeHandOuts.h"
#include "BridgeStack.h"
#include "Logger.h"

namespace Tervik {

// The delegations are braced, which fixes the order of their arguments: the factory is made before the
// logger, and a throw in between releases the factory again.
PythonDeviceBridge::PythonDeviceBridge(int log_level)
    : PythonDeviceBridge{BridgeStack::create_serial_factory(), BridgeStack::create_logger(log_level, nullptr),
                         std::string()} {}

PythonDeviceBridge::PythonDeviceBridge(const std::string& device_name, int log_level)
    : PythonDeviceBridge{BridgeStack::create_serial_factory(), BridgeStack::create_logger(log_level, nullptr),
                         device_name} {}

PythonDeviceBridge::PythonDeviceBridge(in_addr_t ip, in_port_t port, int log_level)
    : PythonDeviceBridge{BridgeStack::create_tcp_factory(ip, port),
                         BridgeStack::create_logger(log_level, nullptr),
                         BridgeStack::tcp_device_name(ip, port)} {}

PythonDeviceBridge::PythonDeviceBridge(PyDataPlayer& player, int log_level)
    : PythonDeviceBridge{BridgeStack::create_playback_factory(player.player),
                         BridgeStack::create_logger(log_level, nullptr),
                         BridgeStack::playback_device_name()} {}

PythonDeviceBridge::PythonDeviceBridge(std::unique_ptr<AbstractFactory> factory,
                                       std::unique_ptr<Logger> logger, const std::string& device_name)
    : stack(new BridgeStack(std::move(factory), std::move(logger), device_name)),
      hand_outs(new HandOuts(stack->guard())) {}

PythonDeviceBridge::~PythonDeviceBridge() = default;

std::string PythonDeviceBridge::git_sha() {
    return stack->git_sha();
}

int PythonDeviceBridge::open(std::string device_name) {
    return stack->open_throw(device_name);
}

int PythonDeviceBridge::close() {
    return stack->close();
}

int PythonDeviceBridge::set_log_level(int new_log_level) {
    return stack->set_log_level(new_log_level);
}

void PythonDeviceBridge::set_default_timeout(unsigned int new_default_timeout) {
    stack->set_default_timeout(new_default_timeout);
}

G5& PythonDeviceBridge::get_g5() {
    return stack->get_g5();
}

PyDataRecorder& PythonDeviceBridge::get_data_recorder() {
    return *hand_outs->data_recorder;
}

PyG5N310& PythonDeviceBridge::get_g5n310() {
    return *hand_outs->g5n310;
}

Transport& PythonDeviceBridge::get_transport() {
    return *hand_outs->transport;
}

PyRCP& PythonDeviceBridge::get_rcp() {
    return *hand_outs->rcp;
}

PyG7N420& PythonDeviceBridge::get_g7n420() {
    return *hand_outs->g7n420;
}

PyG7N310& PythonDeviceBridge::get_g7n310() {
    return *hand_outs->g7n310;
}

NotSupported& PythonDeviceBridge::get_not_supported() {
    return *hand_outs->not_supported;
}

} // namespace Tervik
