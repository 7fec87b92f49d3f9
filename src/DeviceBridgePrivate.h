// What a DeviceBridge holds: the connection stack first, then (built after it and released before it) what
// the bridge hands out to its user.
#ifndef DEVICEBRIDGE_DEVICEBRIDGEPRIVATE_H
#define DEVICEBRIDGE_DEVICEBRIDGEPRIVATE_H

#include "BridgeHandOuts.h"
#include "BridgeStack.h"
#include "DataRecorder.h"
#include "G5N310.h"
#include "G7N310.h"
#include "G7N420.h"
#include "RCP.h"

#include <memory>
#include <string>

namespace Tervik {

class DeviceBridgePrivate {
public:
    DeviceBridgePrivate(std::unique_ptr<AbstractFactory> factory, std::unique_ptr<Logger> logger,
                        const std::string& device_name);
    ~DeviceBridgePrivate();

    BridgeStack stack;
    BridgeHandOuts<G5N310, RCP, G7N420, G7N310, DataRecorder> hand_outs;
};

} // namespace Tervik

#endif
