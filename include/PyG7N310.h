// The sleep module with the newer radar chip, for the Python binding: respiration, sleep state and movement.
//
// Everything the newer sensing modules share comes from PyG7Facade (results by value, failures as
// exceptions, the lock for each call); this class adds reset and the four respiration data queues. It has no
// presence methods, though the connection below subscribes to those packets too.
#ifndef DEVICEBRIDGE_PYG7N310_H
#define DEVICEBRIDGE_PYG7N310_H

#include "PyG7Facade.h"

namespace Tervik {

class PyG7N310 : public PyG7Facade {
public:
    /// Normally got from PythonDeviceBridge::get_g7n310(). The guard must outlive the facade.
    explicit PyG7N310(LockedRadarInterfacePtr& radar_interface);
    ~PyG7N310();

    /// Restarts the module and reconnects to it (up to three tries, 3 s apart), subscribing again to
    /// everything that was subscribed. Holds the connection for all of that time.
    void reset();

    /// Counts the respiration packets of the older form waiting.
    int peek_message_respiration_legacy();
    /// Takes the oldest respiration packet of the older form (state, rate, distance, movement); waits for
    /// one while none is there.
    RespirationData read_message_respiration_legacy();
    /// Counts the sleep packets waiting.
    int peek_message_respiration_sleep();
    /// Takes the oldest sleep packet (state, rate, distance, slow and fast movement); waits for one while
    /// none is there.
    SleepData read_message_respiration_sleep();
    /// Counts the respiration moving-list packets waiting.
    int peek_message_respiration_movinglist();
    /// Takes the oldest respiration moving-list packet (movement per interval); waits for one while none is
    /// there.
    RespirationMovingListData read_message_respiration_movinglist();
    /// Counts the respiration detection-list packets waiting.
    int peek_message_respiration_detectionlist();
    /// Takes the oldest respiration detection-list packet (distance, cross section and velocity per
    /// detection); waits for one while none is there.
    RespirationDetectionListData read_message_respiration_detectionlist();
};

} // namespace Tervik

#endif
