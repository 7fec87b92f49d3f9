// The presence module: who is there, how far away and how much they move.
//
// Everything the newer sensing modules share comes from G7Facade (status results, the lock for each call);
// this class adds the two presence data queues. It has no respiration methods, though the connection below
// subscribes to those packets too.
#ifndef DEVICEBRIDGE_G7N420_H
#define DEVICEBRIDGE_G7N420_H

#include "G7Facade.h"

namespace Tervik {

class G7N420 : public G7Facade {
public:
    /// Normally got from DeviceBridge::get_g7n420(). The guard must outlive the facade.
    explicit G7N420(LockedRadarInterfacePtr& radar_interface);
    ~G7N420();

    /// Counts the presence packets waiting.
    int peek_message_presence_single();
    /// Takes the oldest presence packet (state, distance, direction); waits for one while none is there.
    int read_message_presence_single(PresenceSingleData* value);
    /// Counts the presence moving-list packets waiting.
    int peek_message_presence_movinglist();
    /// Takes the oldest presence moving-list packet (movement per interval, detections); waits for one while
    /// none is there.
    int read_message_presence_movinglist(PresenceMovingListData* value);
};

} // namespace Tervik

#endif
