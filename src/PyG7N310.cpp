#include "PyG7N310.h"

#include "FacadePrivate.h"

namespace Tervik {

PyG7N310::PyG7N310(LockedRadarInterfacePtr& radar_interface) : PyG7Facade(radar_interface) {}

PyG7N310::~PyG7N310() = default;

void PyG7N310::reset() {
    guard()->reset();
}

int PyG7N310::peek_message_respiration_legacy() {
    return guard()->peek_message_respiration_legacy();
}

RespirationData PyG7N310::read_message_respiration_legacy() {
    return guard()->read_message_respiration_legacy();
}

int PyG7N310::peek_message_respiration_sleep() {
    return guard()->peek_message_respiration_sleep();
}

SleepData PyG7N310::read_message_respiration_sleep() {
    return guard()->read_message_respiration_sleep();
}

int PyG7N310::peek_message_respiration_movinglist() {
    return guard()->peek_message_respiration_movinglist();
}

RespirationMovingListData PyG7N310::read_message_respiration_movinglist() {
    return guard()->read_message_respiration_movinglist();
}

int PyG7N310::peek_message_respiration_detectionlist() {
    return guard()->peek_message_respiration_detectionlist();
}

RespirationDetectionListData PyG7N310::read_message_respiration_detectionlist() {
    return guard()->read_message_respiration_detectionlist();
}

} // namespace Tervik
