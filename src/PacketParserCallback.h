// Push-style consumer of decoded packets: register one with the packet dispatcher and it receives every
// packet the host parser can read, on the dispatcher's thread, before the named subscribers see the packet.
// Records point into the packet and are valid only during the call.
#ifndef DEVICEBRIDGE_PACKETPARSERCALLBACK_H
#define DEVICEBRIDGE_PACKETPARSERCALLBACK_H

#include "protocol_host_parser.h"

#include <cstdint>

class PacketParserCallback {
public:
    virtual ~PacketParserCallback() = default;
    virtual void ack(Ack value) = 0;
    virtual void pong(uint32_t value) = 0;
    virtual void error(uint32_t code) = 0;
    virtual void respiration(const RespirationData& value) = 0;
    virtual void sleep(const SleepData& value) = 0;
    virtual void baseband_ap(const BasebandApData& value) = 0;
    virtual void baseband_iq(const BasebandIqData& value) = 0;
    virtual void presence_single(const PresenceSingleData& value) = 0;
    virtual void presence_movinglist(const PresenceMovingListData& value) = 0;
    virtual void pulsedoppler_float(const PulseDopplerFloatData& value) = 0;
    virtual void pulsedoppler_byte(const PulseDopplerByteData& value) = 0;
};

#endif
