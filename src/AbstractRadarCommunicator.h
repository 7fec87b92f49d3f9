// The link runtime as the radar interface sees it: commands paired with their replies, named packet queues
// and handler subscriptions. RadarCommunicator is the real one, VoidRadarCommunicator stands in when no link
// exists.
#ifndef DEVICEBRIDGE_ABSTRACTRADARCOMMUNICATOR_H
#define DEVICEBRIDGE_ABSTRACTRADARCOMMUNICATOR_H

#include "Bytes.h"

#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

class AbstractRadarCommunicator {
public:
    // Name to comparator and handler; a queue subscription has an empty handler. Enough to subscribe
    // everything again on a new communicator after a reconnect.
    typedef std::map<std::string, std::pair<Bytes, std::function<bool(const Bytes&)>>> Subscriptions;

    virtual ~AbstractRadarCommunicator() = default;
    // Opens the link; 0 on success, else the transport's code.
    virtual int open(const std::string& name) = 0;
    // The round trip: writes the command and returns the first packet that begins with one of the
    // comparators. Throws std::runtime_error("Timeout waiting for response\n") after timeout whole seconds,
    // and what the writer throws. Only one round trip may run at a time.
    virtual Bytes send(unsigned int timeout, Bytes command, std::vector<Bytes> comparators) = 0;
    virtual void set_baudrate(unsigned int bits_per_second) = 0;
    // Writes a command that expects no reply.
    virtual void send(Bytes command) = 0;
    // A named queue of the newest 1000 packets that begin with the comparator; replaces any earlier one.
    virtual void subscribe(std::string name, Bytes comparator) = 0;
    // A handler called on the dispatcher's thread for each packet that begins with the comparator. It must
    // not block on a round trip: the reply could never be dispatched.
    virtual void subscribe(const std::string& name, std::function<bool(Bytes)> handler, Bytes comparator) = 0;
    virtual void unsubscribe(std::string name) = 0;
    // 0 for a name without a queue.
    virtual unsigned int get_number_of_packets(std::string name) = 0;
    // Blocks until the named queue has a packet; an empty Bytes at once for a name without a queue.
    virtual Bytes get_packet(std::string name) = 0;
    virtual void clear(std::string name) = 0;
    virtual Bytes send(unsigned int timeout, Bytes command, Bytes comparator) = 0;
    virtual Subscriptions get_subscriptions() const = 0;
};

#endif
