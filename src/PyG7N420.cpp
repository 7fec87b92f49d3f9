#include "PyG7N420.h"

#include "FacadePrivate.h"

namespace Tervik {

// The presence queues exist already on an open connection; subscribing them once more replaces them empty,
// which is what a user who just took the facade expects to read from.
PyG7N420::PyG7N420(LockedRadarInterfacePtr& radar_interface) : PyG7Facade(radar_interface) {
    guard()->subscribe_to_presence_single();
    guard()->subscribe_to_presence_movinglist();
}

PyG7N420::~PyG7N420() = default;

int PyG7N420::reset() {
    guard()->reset();
    return 0;
}

int PyG7N420::peek_message_presence_single() {
    return guard()->peek_message_presence_single();
}

PresenceSingleData PyG7N420::read_message_presence_single() {
    return guard()->read_message_presence_single();
}

int PyG7N420::peek_message_presence_movinglist() {
    return guard()->peek_message_presence_movinglist();
}

PresenceMovingListData PyG7N420::read_message_presence_movinglist() {
    return guard()->read_message_presence_movinglist();
}

} // namespace Tervik
