// The read loop: pumps the transport's bytes through a Protocol on its own thread and hands on each packet.
#ifndef DEVICEBRIDGE_READER_H
#define DEVICEBRIDGE_READER_H

#include "Bytes.h"

#include <functional>
#include <memory>

class Active;
class Logger;
class ModuleIo;
class Protocol;

class Reader {
public:
    // The size of one read: the largest chunk taken from the transport at a time.
    static const unsigned int read_size = 6158;

    // Takes ownership of the thread and the protocol; the transport stays the caller's.
    Reader(Logger& logger, ModuleIo& transport, Active* thread, Protocol* protocol);
    ~Reader();
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;

    // Starts the loop; the callback receives every packet on the reader's thread.
    void start(std::function<void(Bytes)> callback);

private:
    void start_read();
    // One pass; posts the next one unless the link is dead. A chain of tasks, not a loop inside one task,
    // so that stopping the thread can get in between two passes.
    void read();
    // False when the transport reported a dead link.
    bool single_read();
    void handle_packet(const unsigned char* data, unsigned int length);

    Logger& logger_;
    ModuleIo& transport_;
    std::unique_ptr<Active> thread_;
    std::unique_ptr<Protocol> protocol_;
    std::function<void(Bytes)> callback_;
};

#endif
