// What a bridge hands out to its user: one of each facade and a recorder, all on the bridge's guard.
//
// Both bridge twins keep one of these behind their connection stack, the native one with the status facades,
// the Python one with the Py twins; Transport and NotSupported serve both. The hand-outs are made in the
// order of the members below and released in reverse, each inside a trace line of its own, so that the log
// shows the recorder storing its last packets before the facades go and, after them, the link.
#ifndef DEVICEBRIDGE_BRIDGEHANDOUTS_H
#define DEVICEBRIDGE_BRIDGEHANDOUTS_H

#include "Logger.h"
#include "NotSupported.h"
#include "RadarInterface.h"
#include "Trace.h"
#include "Transport.h"
#include "UniqueLocked.h"

#include <memory>
#include <new>

namespace Tervik {

template <typename G5N310Type, typename RCPType, typename G7N420Type, typename G7N310Type,
          typename RecorderType>
class BridgeHandOuts {
public:
    // A hand-out that throws (PyG7N420 talks to the module) releases those made before it.
    explicit BridgeHandOuts(LockedRadarInterfacePtr& radar_interface)
        : logger(radar_interface.get()->get_logger()),
          g5n310(make<G5N310Type>(radar_interface, "create g5n310")),
          rcp(make<RCPType>(radar_interface, "create rcp")),
          g7n420(make<G7N420Type>(radar_interface, "create g7n420")),
          g7n310(make<G7N310Type>(radar_interface, "create g7n310")),
          data_recorder(make<RecorderType>(radar_interface, "create data_recorder")),
          transport(make<Transport>(radar_interface, "create transport")),
          not_supported(make<NotSupported>(radar_interface, "create not_supported")) {}

    ~BridgeHandOuts() {
        release(not_supported, "release not_supported");
        release(transport, "release transport");
        release(data_recorder, "release data_recorder");
        release(g7n310, "release g7n310");
        release(g7n420, "release g7n420");
        release(rcp, "release rcp");
        release(g5n310, "release g5n310");
    }

    BridgeHandOuts(const BridgeHandOuts&) = delete;
    BridgeHandOuts& operator=(const BridgeHandOuts&) = delete;

private:
    static const unsigned int trace_level = 3;

    template <typename T>
    std::unique_ptr<T> make(LockedRadarInterfacePtr& radar_interface, const char* name) {
        Trace trace(logger, trace_level, name);
        return std::unique_ptr<T>(new T(radar_interface));
    }

    template <typename T> void release(std::unique_ptr<T>& hand_out, const char* name) noexcept {
        Trace trace(logger, trace_level, name, std::nothrow);
        hand_out.reset();
    }

    Logger& logger;

public:
    std::unique_ptr<G5N310Type> g5n310;
    std::unique_ptr<RCPType> rcp;
    std::unique_ptr<G7N420Type> g7n420;
    std::unique_ptr<G7N310Type> g7n310;
    std::unique_ptr<RecorderType> data_recorder;
    std::unique_ptr<Transport> transport;
    std::unique_ptr<NotSupported> not_supported;
};

} // namespace Tervik

#endif
