#include "FaultInjector.h"

#include "ModuleWire.h"

void FaultInjector::drop_every_kth_byte(unsigned k) {
    drop_period_ = k;
    bytes_seen_ = 0;
}

Bytes FaultInjector::apply(Bytes wire, bool is_frame) {
    if (is_frame && frames_to_corrupt_ > 0) {
        emulator_wire::corrupt_checksum(wire);
        --frames_to_corrupt_;
    }
    if (bytes_to_drop_ > 0 || drop_period_ > 0)
        drop_bytes(wire);
    return wire;
}

void FaultInjector::drop_bytes(Bytes& wire) {
    Bytes kept;
    kept.reserve(wire.size());
    for (unsigned char byte : wire) {
        const bool periodic_drop = drop_period_ > 0 && ++bytes_seen_ % drop_period_ == 0;
        if (bytes_to_drop_ > 0) {
            --bytes_to_drop_;
            continue;
        }
        if (!periodic_drop)
            kept.push_back(byte);
    }
    wire.swap(kept);
}
