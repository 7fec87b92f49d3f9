#include "VoidRadarCommunicator.h"

int VoidRadarCommunicator::open(const std::string&) {
    return 1;
}

Bytes VoidRadarCommunicator::send(unsigned int, Bytes, std::vector<Bytes>) {
    return Bytes();
}

void VoidRadarCommunicator::set_baudrate(unsigned int) {}

void VoidRadarCommunicator::send(Bytes) {}

void VoidRadarCommunicator::subscribe(std::string, Bytes) {}

void VoidRadarCommunicator::subscribe(const std::string&, std::function<bool(Bytes)>, Bytes) {}

void VoidRadarCommunicator::unsubscribe(std::string) {}

unsigned int VoidRadarCommunicator::get_number_of_packets(std::string) {
    return 0;
}

Bytes VoidRadarCommunicator::get_packet(std::string) {
    return Bytes();
}

void VoidRadarCommunicator::clear(std::string) {}

Bytes VoidRadarCommunicator::send(unsigned int, Bytes, Bytes) {
    return Bytes();
}

AbstractRadarCommunicator::Subscriptions VoidRadarCommunicator::get_subscriptions() const {
    return Subscriptions();
}

void VoidRadarCommunicator::set_max_packet_buffer_count(const std::string&, int) {}
