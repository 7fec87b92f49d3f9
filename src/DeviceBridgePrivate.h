// What a DeviceBridge holds: the connection stack first, then (built after it and released before it) what
// the bridge hands out to its user.
#ifndef DEVICEBRIDGE_DEVICEBRIDGEPRIVATE_H
#define DEVICEBRIDGE_DEVICEBRIDGEPRIVATE_H

#include "BridgeStack.h"

#include <memory>
#include <string>

namespace Tervik {

class DeviceBridgePrivate {
public:
    DeviceBridgePrivate(std::unique_ptr<AbstractFactory> factory, std::unique_ptr<Logger> logger,
                        const std::string& device_name);
    ~DeviceBridgePrivate();

    BridgeStack stack;
};

} // namespace Tervik

#endif
