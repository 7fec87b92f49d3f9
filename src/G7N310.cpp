#include "G7N310.h"

#include "FacadePrivate.h"

namespace Tervik {

G7N310::G7N310(LockedRadarInterfacePtr& radar_interface) : G7Facade(radar_interface) {}

G7N310::~G7N310() = default;

int G7N310::peek_message_respiration_legacy() {
    return guard()->peek_message_respiration_legacy();
}

int G7N310::read_message_respiration_legacy(RespirationData* value) {
    return guard()->read_message_respiration_legacy(value);
}

int G7N310::peek_message_respiration_sleep() {
    return guard()->peek_message_respiration_sleep();
}

int G7N310::read_message_respiration_sleep(SleepData* value) {
    return guard()->read_message_respiration_sleep(value);
}

int G7N310::peek_message_respiration_movinglist() {
    return guard()->peek_message_respiration_movinglist();
}

int G7N310::read_message_respiration_movinglist(RespirationMovingListData* value) {
    return guard()->read_message_respiration_movinglist(value);
}

int G7N310::peek_message_respiration_detectionlist() {
    return guard()->peek_message_respiration_detectionlist();
}

int G7N310::read_message_respiration_detectionlist(RespirationDetectionListData* value) {
    return guard()->read_message_respiration_detectionlist(value);
}

} // namespace Tervik
