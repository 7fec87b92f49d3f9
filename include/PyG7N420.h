// The presence module for the Python binding: who is there, how far away and how much they move.
//
// Everything the newer sensing modules share comes from PyG7Facade (results by value, failures as
// exceptions, the lock for each call); this class adds reset and the two presence data queues. It has no
// respiration methods, though the connection below subscribes to those packets too.
#ifndef DEVICEBRIDGE_PYG7N420_H
#define DEVICEBRIDGE_PYG7N420_H

#include "PyG7Facade.h"

namespace Tervik {

class PyG7N420 : public PyG7Facade {
public:
    /// Normally got from PythonDeviceBridge::get_g7n420(). Subscribes to the two presence queues once more,
    /// which empties them; a connection that is not open yet makes them anew at open(). The guard must
    /// outlive the facade.
    explicit PyG7N420(LockedRadarInterfacePtr& radar_interface);
    ~PyG7N420();

    /// Restarts the module and reconnects to it (up to three tries, 3 s apart), subscribing again to
    /// everything that was subscribed; returns 0. Holds the connection for all of that time.
    int reset();

    /// Counts the presence packets waiting.
    int peek_message_presence_single();
    /// Takes the oldest presence packet (state, distance, direction); waits for one while none is there.
    PresenceSingleData read_message_presence_single();
    /// Counts the presence moving-list packets waiting.
    int peek_message_presence_movinglist();
    /// Takes the oldest presence moving-list packet (movement per interval, detections); waits for one while
    /// none is there.
    PresenceMovingListData read_message_presence_movinglist();
};

} // namespace Tervik

#endif
