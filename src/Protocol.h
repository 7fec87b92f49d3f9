// The seam at which a transport is bound to a framing: chunks of bytes go in, whole packets come out.
#ifndef DEVICEBRIDGE_PROTOCOL_H
#define DEVICEBRIDGE_PROTOCOL_H

#include <functional>

class Protocol {
public:
    typedef std::function<void(const unsigned char*, unsigned int)> PacketCallback;

    virtual ~Protocol() = default;
    // Takes a chunk of any size; calls the first subscriber once per complete, non-empty packet.
    virtual void parse(const unsigned char* data, unsigned int length) = 0;
    // Only the first subscriber is ever called; later ones are kept and stay silent.
    virtual void subscribe(PacketCallback callback) = 0;
};

#endif
