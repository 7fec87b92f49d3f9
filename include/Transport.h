// Raw packets to and from a module, for a command or a data packet that no other facade knows.
//
// Each method takes the connection's lock for its one call. Failures pass through as they come: a time-out
// throws std::runtime_error "Timeout waiting for response\n", a failed write "Failed to write all bytes to
// module\n". Packets are whole payloads, without the frame that the wire adds around them.
#ifndef DEVICEBRIDGE_TRANSPORT_H
#define DEVICEBRIDGE_TRANSPORT_H

#include "Bytes.h"
#include "LockedRadarInterfacePtr.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace Tervik {

struct FacadePrivate;

class Transport {
public:
    /// Normally got from a bridge's get_transport(). The guard must outlive the facade.
    explicit Transport(LockedRadarInterfacePtr& radar_interface);
    ~Transport();
    Transport(const Transport&) = delete;
    Transport& operator=(const Transport&) = delete;

    /// Puts the bytes on the line exactly as given, without a frame around them, and awaits nothing.
    /// Returns 0.
    int send_command(const Bytes& payload);
    /// Sends the payload in a frame and returns the first packet that begins with the comparator.
    Bytes send_command_single(const Bytes& payload, const Bytes& comparator);
    /// Sends the payload in a frame and returns the first packet that begins with any of the comparators.
    Bytes send_command_multi(const Bytes& payload, const std::vector<Bytes>& comparators);
    /// Queues every packet that begins with the comparator under `name` (an empty comparator takes all).
    /// Returns 0.
    int subscribe(const std::string& name, const Bytes& comparator);
    /// Calls `callback` with every packet that begins with the comparator, on the dispatcher's thread; it
    /// must return quickly. Returns 0.
    int subscribe(const std::string& name, const Bytes& comparator, std::function<bool(Bytes)> callback);
    /// Ends the named subscription; an unknown name is harmless.
    void unsubscribe(const std::string& name);
    /// Takes the oldest packet of the named queue; waits for one while none is there, and gives an empty one
    /// at once for an unknown name.
    Bytes get_packet(const std::string& name);
    /// The number of packets waiting in the named queue; 0 for an unknown name.
    unsigned int get_number_of_packets(const std::string& name);
    /// Empties the named queue.
    void clear(const std::string& name);

private:
    LockedRadarInterfacePtr& guard();

    std::unique_ptr<FacadePrivate> d_ptr;
};

} // namespace Tervik

#endif
