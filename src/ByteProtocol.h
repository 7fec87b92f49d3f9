// The framing of a real module link: the escaped-frame, fast and no-escape packet parser over a fixed buffer.
#ifndef DEVICEBRIDGE_BYTEPROTOCOL_H
#define DEVICEBRIDGE_BYTEPROTOCOL_H

#include "Protocol.h"
#include "protocol.h"

#include <vector>

class Logger;

class ByteProtocol : public Protocol {
public:
    // The largest packet the host can take, checksum included.
    static const unsigned int buffer_size = 20000;

    explicit ByteProtocol(Logger& logger);
    ~ByteProtocol() override;
    ByteProtocol(const ByteProtocol&) = delete;
    ByteProtocol& operator=(const ByteProtocol&) = delete;

    void parse(const unsigned char* data, unsigned int length) override;
    void subscribe(PacketCallback callback) override;

    // Called by the frame parser, on the thread that runs parse.
    void handle_packet(const unsigned char* data, unsigned int length);
    // Logs the parser's complaint; the parser has already resynchronised by itself.
    void handle_error(unsigned int code);

private:
    Logger& logger_;
    ApplicationProtocol* parser_;
    ApplicationProtocol instance_;
    unsigned char buffer_[buffer_size];
    std::vector<PacketCallback> subscribers_;
};

#endif
