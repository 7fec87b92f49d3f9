// The framing of a transport whose chunks are whole packets already, such as the replay of a recording.
#ifndef DEVICEBRIDGE_NOPARSEBYTEPROTOCOL_H
#define DEVICEBRIDGE_NOPARSEBYTEPROTOCOL_H

#include "Protocol.h"

#include <vector>

class Logger;

class NoParseByteProtocol : public Protocol {
public:
    explicit NoParseByteProtocol(Logger& logger);
    // Hands a non-empty chunk to the first subscriber as one packet; an empty chunk is dropped.
    void parse(const unsigned char* data, unsigned int length) override;
    void subscribe(PacketCallback callback) override;

private:
    Logger& logger_;
    std::vector<PacketCallback> subscribers_;
};

#endif
