// The null communicator: stands in when no link exists, so that a closed interface needs no checks of its
// own.
#ifndef DEVICEBRIDGE_VOIDRADARCOMMUNICATOR_H
#define DEVICEBRIDGE_VOIDRADARCOMMUNICATOR_H

#include "AbstractRadarCommunicator.h"

class VoidRadarCommunicator : public AbstractRadarCommunicator {
public:
    // 1: there is nothing to open.
    int open(const std::string& name) override;
    // An empty reply at once; nothing is written and nothing is thrown.
    Bytes send(unsigned int timeout, Bytes command, std::vector<Bytes> comparators) override;
    void set_baudrate(unsigned int bits_per_second) override;
    void send(Bytes command) override;
    void subscribe(std::string name, Bytes comparator) override;
    void subscribe(const std::string& name, std::function<bool(Bytes)> handler, Bytes comparator) override;
    void unsubscribe(std::string name) override;
    unsigned int get_number_of_packets(std::string name) override;
    Bytes get_packet(std::string name) override;
    void clear(std::string name) override;
    Bytes send(unsigned int timeout, Bytes command, Bytes comparator) override;
    Subscriptions get_subscriptions() const override;
    // Kept for the callers of a closed link; there are no queues to limit.
    virtual void set_max_packet_buffer_count(const std::string& name, int count);
};

#endif
