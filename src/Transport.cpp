#include "Transport.h"

#include "FacadePrivate.h"

namespace Tervik {

Transport::Transport(LockedRadarInterfacePtr& radar_interface) : d_ptr(new FacadePrivate(radar_interface)) {}

Transport::~Transport() = default;

LockedRadarInterfacePtr& Transport::guard() {
    return d_ptr->radar_interface;
}

int Transport::send_command(const Bytes& payload) {
    return guard()->send_command(payload);
}

Bytes Transport::send_command_single(const Bytes& payload, const Bytes& comparator) {
    return guard()->send_command_single(payload, comparator);
}

Bytes Transport::send_command_multi(const Bytes& payload, const std::vector<Bytes>& comparators) {
    return guard()->send_command_multi(payload, comparators);
}

int Transport::subscribe(const std::string& name, const Bytes& comparator) {
    return guard()->subscribe(name, comparator);
}

int Transport::subscribe(const std::string& name, const Bytes& comparator,
                         std::function<bool(Bytes)> callback) {
    return guard()->subscribe(name, comparator, std::move(callback));
}

void Transport::unsubscribe(const std::string& name) {
    guard()->unsubscribe(name);
}

Bytes Transport::get_packet(const std::string& name) {
    return guard()->get_packet(name);
}

unsigned int Transport::get_number_of_packets(const std::string& name) {
    return guard()->get_number_of_packets(name);
}

void Transport::clear(const std::string& name) {
    guard()->clear(name);
}

} // namespace Tervik
