#include "RadarCommunicator.h"

#include "AbstractFactory.h"
#include "AbstractIo.h"
#include "Logger.h"
#include "PacketDispatcher.h"
#include "Trace.h"

#include <chrono>
#include <stdexcept>

namespace {

// A weak reference, so that a handler never keeps a queue alive: a late reply for a finished round trip, or a
// packet queued ahead of an unsubscribe, lands nowhere.
bool packet_to_queue(std::weak_ptr<MessageQueue<Bytes>> queue, Bytes packet) {
    std::shared_ptr<MessageQueue<Bytes>> alive = queue.lock();
    if (!alive) {
        return false;
    }
    alive->push(std::move(packet));
    return true;
}

PacketDispatcher::Handler queue_handler(const std::shared_ptr<MessageQueue<Bytes>>& queue) {
    std::weak_ptr<MessageQueue<Bytes>> weak = queue;
    return [weak](const Bytes& packet) { return packet_to_queue(weak, packet); };
}

} // namespace

RadarCommunicator::RadarCommunicator(AbstractIo& io, AbstractFactory& factory, Logger& logger)
    : io_(io), logger_(logger),
      dispatcher_(new PacketDispatcher(factory.createDispatcherThread("dispatcher", logger), logger)) {
    auto line = logger_.slog(4);
    line << "RadarCommunicator"
         << ": " << __LINE__;
    line.flush();
}

RadarCommunicator::~RadarCommunicator() {
    {
        Trace trace(logger_, 3, "~RadarCommunicator", std::nothrow);
        for (const auto& entry : queues_) {
            dispatcher_->unsubscribe(entry.first);
        }
        io_.close();
    }
    queues_.clear();
    subscriptions_.clear();
    dispatcher_.reset();
}

int RadarCommunicator::open(const std::string& name) {
    Trace trace(logger_, 3, "open");
    PacketDispatcher* dispatcher = dispatcher_.get();
    const int result =
        io_.open(name, [dispatcher](Bytes packet) { dispatcher->dispatch_packet(std::move(packet)); });
    if (result != 0) {
        logger_.error("module_io::open returned error");
    }
    return result;
}

void RadarCommunicator::write(const Bytes& bytes) {
    io_.write(bytes);
}

void RadarCommunicator::send(Bytes command) {
    write(command);
}

Bytes RadarCommunicator::send(unsigned int timeout, Bytes command, Bytes comparator) {
    return send(timeout, std::move(command), std::vector<Bytes>{std::move(comparator)});
}

Bytes RadarCommunicator::send(unsigned int timeout, Bytes command, std::vector<Bytes> comparators) {
    auto reply_queue = std::make_shared<PacketQueue>();
    // One name for every round trip: the layer above runs one at a time, and a new one replaces the
    // subscription that a timed-out one left behind.
    dispatcher_->subscribe("response", queue_handler(reply_queue), std::move(comparators));
    write(command);
    const auto deadline = std::chrono::system_clock::now() + std::chrono::seconds(timeout);
    Bytes reply;
    if (!reply_queue->wait_for(deadline, reply)) {
        logger_.error("Timeout waiting for response");
        throw std::runtime_error("Timeout waiting for response\n");
    }
    dispatcher_->unsubscribe("response");
    return reply;
}

void RadarCommunicator::set_baudrate(unsigned int bits_per_second) {
    io_.set_baudrate(bits_per_second);
}

void RadarCommunicator::subscribe(std::string name, Bytes comparator) {
    auto queue = std::make_shared<PacketQueue>();
    queue->set_max_count(max_queued_packets);
    queues_[name] = queue;
    dispatcher_->subscribe(name, queue_handler(queue), std::vector<Bytes>{comparator});
    subscriptions_[name] = std::make_pair(std::move(comparator), PacketDispatcher::Handler());
}

void RadarCommunicator::subscribe(const std::string& name, std::function<bool(Bytes)> handler,
                                  Bytes comparator) {
    PacketDispatcher::Handler stored(std::move(handler));
    dispatcher_->subscribe(name, stored, std::vector<Bytes>{comparator});
    subscriptions_[name] = std::make_pair(std::move(comparator), std::move(stored));
}

void RadarCommunicator::unsubscribe(std::string name) {
    dispatcher_->unsubscribe(name);
    subscriptions_.erase(name);
    queues_.erase(name);
}

unsigned int RadarCommunicator::get_number_of_packets(std::string name) {
    std::shared_ptr<PacketQueue> queue = find_queue(name);
    return queue ? static_cast<unsigned int>(queue->size()) : 0;
}

Bytes RadarCommunicator::get_packet(std::string name) {
    // Held by a reference of its own, so that an unsubscribe meanwhile cannot free the queue under the wait.
    std::shared_ptr<PacketQueue> queue = find_queue(name);
    return queue ? queue->pop() : Bytes();
}

void RadarCommunicator::clear(std::string name) {
    std::shared_ptr<PacketQueue> queue = find_queue(name);
    if (queue) {
        queue->clear();
    }
}

AbstractRadarCommunicator::Subscriptions RadarCommunicator::get_subscriptions() const {
    return subscriptions_;
}

std::shared_ptr<RadarCommunicator::PacketQueue> RadarCommunicator::find_queue(const std::string& name) const {
    auto found = queues_.find(name);
    return found == queues_.end() ? nullptr : found->second;
}
