// Pairs commands with their replies, keeps the named packet queues, and wires a byte link to a dispatcher.
#ifndef DEVICEBRIDGE_RADARCOMMUNICATOR_H
#define DEVICEBRIDGE_RADARCOMMUNICATOR_H

#include "AbstractRadarCommunicator.h"
#include "MessageQueue.h"

#include <memory>

class AbstractFactory;
class AbstractIo;
class Logger;
class PacketDispatcher;

// The operations run on callers' threads without a lock of their own: the layer above serialises them.
class RadarCommunicator : public AbstractRadarCommunicator {
public:
    // The most packets a named queue keeps; beyond it the oldest is dropped.
    static const int max_queued_packets = 1000;

    // Makes the "dispatcher" thread through the factory; the link is not touched until open.
    RadarCommunicator(AbstractIo& io, AbstractFactory& factory, Logger& logger);
    ~RadarCommunicator() override;
    RadarCommunicator(const RadarCommunicator&) = delete;
    RadarCommunicator& operator=(const RadarCommunicator&) = delete;

    int open(const std::string& name) override;
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

private:
    typedef MessageQueue<Bytes> PacketQueue;

    void write(const Bytes& bytes);
    std::shared_ptr<PacketQueue> find_queue(const std::string& name) const;

    AbstractIo& io_;
    Logger& logger_;
    std::unique_ptr<PacketDispatcher> dispatcher_;
    std::map<std::string, std::shared_ptr<PacketQueue>> queues_;
    Subscriptions subscriptions_;
};

#endif
