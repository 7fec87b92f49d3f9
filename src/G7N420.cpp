#include "G7N420.h"

#include "FacadePrivate.h"

namespace Tervik {

G7N420::G7N420(LockedRadarInterfacePtr& radar_interface) : G7Facade(radar_interface) {}

G7N420::~G7N420() = default;

int G7N420::peek_message_presence_single() {
    return guard()->peek_message_presence_single();
}

int G7N420::read_message_presence_single(PresenceSingleData* value) {
    return guard()->read_message_presence_single(value);
}

int G7N420::peek_message_presence_movinglist() {
    return guard()->peek_message_presence_movinglist();
}

int G7N420::read_message_presence_movinglist(PresenceMovingListData* value) {
    return guard()->read_message_presence_movinglist(value);
}

} // namespace Tervik
