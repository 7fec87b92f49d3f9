// What a facade holds: the connection's guard, nothing else. Every facade method is one call through the
// guard, `guard->method(...)`, whose temporary holds the connection's recursive mutex from before the call
// until the call has returned or thrown; the facades add no locking of their own.
#ifndef DEVICEBRIDGE_FACADEPRIVATE_H
#define DEVICEBRIDGE_FACADEPRIVATE_H

#include "LockedRadarInterfacePtr.h"
#include "RadarInterface.h"
#include "UniqueLocked.h"

namespace Tervik {

struct FacadePrivate {
    explicit FacadePrivate(LockedRadarInterfacePtr& radar_interface) : radar_interface(radar_interface) {}

    LockedRadarInterfacePtr& radar_interface;
};

} // namespace Tervik

#endif
