#include "DeviceBridgePrivate.h"

#include "AbstractFactory.h"
#include "Logger.h"

namespace Tervik {

DeviceBridgePrivate::DeviceBridgePrivate(std::unique_ptr<AbstractFactory> factory,
                                         std::unique_ptr<Logger> logger, const std::string& device_name)
    : stack(std::move(factory), std::move(logger), device_name), hand_outs(stack.guard()) {}

DeviceBridgePrivate::~DeviceBridgePrivate() = default;

} // namespace Tervik
