// The sleep module with the newer radar chip: respiration, sleep state and movement.
//
// Everything the newer sensing modules share comes from G7Facade (status results, the lock for each call);
// this class adds the four respiration data queues. It has no presence methods, though the connection below
// subscribes to those packets too.
#ifndef DEVICEBRIDGE_G7N310_H
#define DEVICEBRIDGE_G7N310_H

#include "G7Facade.h"

namespace Tervik {

class G7N310 : public G7Facade {
public:
    /// Normally got from DeviceBridge::get_g7n310(). The guard must outlive the facade.
    explicit G7N310(LockedRadarInterfacePtr& radar_interface);
    ~G7N310();

    /// Counts the respiration packets of the older form waiting.
    int peek_message_respiration_legacy();
    /// Takes the oldest respiration packet of the older form (state, rate, distance, movement); waits for
    /// one while none is there.
    int read_message_respiration_legacy(RespirationData* value);
    /// Counts the sleep packets waiting.
    int peek_message_respiration_sleep();
    /// Takes the oldest sleep packet (state, rate, distance, slow and fast movement); waits for one while
    /// none is there.
    int read_message_respiration_sleep(SleepData* value);
    /// Counts the respiration moving-list packets waiting.
    int peek_message_respiration_movinglist();
    /// Takes the oldest respiration moving-list packet (movement per interval); waits for one while none is
    /// there.
    int read_message_respiration_movinglist(RespirationMovingListData* value);
    /// Counts the respiration detection-list packets waiting.
    int peek_message_respiration_detectionlist();
    /// Takes the oldest respiration detection-list packet (distance, cross section and velocity per
    /// detection); waits for one while none is there.
    int read_message_respiration_detectionlist(RespirationDetectionListData* value);
};

} // namespace Tervik

#endif
