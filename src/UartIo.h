// The byte link of one connection: a transport with its writer and reader, made through a factory. The name
// stays for every transport, serial, TCP or playback.
#ifndef DEVICEBRIDGE_UARTIO_H
#define DEVICEBRIDGE_UARTIO_H

#include "AbstractIo.h"

#include <memory>

class AbstractFactory;
class Logger;
class ModuleIo;
class Reader;
class Writer;

class UartIo : public AbstractIo {
public:
    // Stores both; nothing is made until open.
    UartIo(Logger& logger, AbstractFactory& factory);
    ~UartIo() override;
    UartIo(const UartIo&) = delete;
    UartIo& operator=(const UartIo&) = delete;

    // True once open ran to its end, until close. A link that died since still reads as ready.
    bool is_ready() override;
    // Makes transport, writer and reader, opens the transport and starts reading. Returns the transport's
    // code; on failure nothing reads and the callback is never called.
    int open(const std::string& device_name, std::function<void(Bytes)> callback) override;
    void close() override;
    // Writes on the caller's thread; dropped silently when not ready. Throws what Writer::write throws.
    void write(Bytes bytes) override;
    // Goes straight to the transport, ready or not; does nothing before the first open.
    void set_baudrate(unsigned int bits_per_second) override;

private:
    void release_link();

    bool ready_ = false;
    Logger& logger_;
    AbstractFactory& factory_;
    // Declared so that the implicit destruction runs reader, writer, transport: the reader's thread must end
    // before the transport it reads goes.
    std::unique_ptr<ModuleIo> transport_;
    std::unique_ptr<Writer> writer_;
    std::unique_ptr<Reader> reader_;
};

#endif
