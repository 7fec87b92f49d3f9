// The guard through which every call on a connection's RadarInterface passes.
//
// `guard->method(...)` locks the connection's recursive mutex for exactly that one call. The bridge owns the
// guard; facades and the recorder hold a reference to it, so the bridge must outlive them.
#ifndef DEVICEBRIDGE_LOCKEDRADARINTERFACEPTR_H
#define DEVICEBRIDGE_LOCKEDRADARINTERFACEPTR_H

#include <mutex>

namespace Tervik {

class RadarInterface;

template <typename T, typename MutexType> class UniqueLocked;

typedef UniqueLocked<RadarInterface, std::recursive_mutex> LockedRadarInterfacePtr;

} // namespace Tervik

#endif
