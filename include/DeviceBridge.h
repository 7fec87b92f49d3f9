// The first object a native user creates: one DeviceBridge stands for one connection to a module and builds
// and owns everything of it, the transport, the logger, the byte link and the RadarInterface behind its lock.
//
// The kind of link is chosen by the constructor alone: a device name always means a serial device file, an
// address and a port always mean TCP. The name is never parsed, so "tcp://10.0.0.1:3000" given as a device
// name is a file that does not exist.
//
// A bridge can also be built on a DataPlayer: a recording then stands in for the module, and everything above
// the transport (queues, read_message_*, subscriptions, a DataRecorder) works on it unchanged.
//
// A bridge built with a name, an address or a player is open when its constructor returns; a refusal throws
// std::runtime_error "unable to open file: " + name and no object comes to exist. An empty name builds
// everything and opens nothing until open().
//
// A module that goes away (unplugged, or its TCP peer gone) leaves the bridge open: the loss is logged once,
// the link waits as on a quiet line, and commands fail by their write failure or time-out. Once the module is
// back, close() and open() reconnect (a serial module may come back under another device name), or reset() on
// the RadarInterface, which also subscribes again everything that was subscribed.
#ifndef DEVICEBRIDGE_DEVICEBRIDGE_H
#define DEVICEBRIDGE_DEVICEBRIDGE_H

#include "AbstractLoggerIo.h"
#include "DataPlayer.h"
#include "DataRecorder.h"
#include "G5.h"
#include "G5N310.h"
#include "G7N310.h"
#include "G7N420.h"
#include "LockedRadarInterfacePtr.h"
#include "NotSupported.h"
#include "RCP.h"
#include "Transport.h"

#include <netinet/in.h>

#include <memory>
#include <string>

namespace Tervik {

class DeviceBridgePrivate;

class DeviceBridge {
public:
    // ---- serial device ----
    // Without a level the logger passes everything (level 5); without an output it writes each line to
    // standard output and to "debug_%Y%m%d_%H%M%S.log" in the current directory. A given logger_io belongs to
    // the bridge from the call on, also when the constructor throws: the caller must not delete or share it.
    explicit DeviceBridge(const std::string& device_name);
    DeviceBridge(const std::string& device_name, int log_level);
    DeviceBridge(const std::string& device_name, int log_level, AbstractLoggerIo* logger_io);

    // ---- TCP endpoint ----
    // ip and port in network byte order, as inet_addr and htons give them. The bridge names its link
    // "tcp://" + dotted address + ":" + port, which is the name in its log and its errors.
    DeviceBridge(in_addr_t ip, in_port_t port);
    DeviceBridge(in_addr_t ip, in_port_t port, int log_level);
    DeviceBridge(in_addr_t ip, in_port_t port, int log_level, AbstractLoggerIo* logger_io);

    // ---- a recording ----
    // The link is named "__playback__". It hands out the player's packets while the player plays; the
    // player's controls stay with the caller, and the player must outlive the bridge. Commands find no
    // module: they fail as on a line that takes no bytes ("Failed to write all bytes to module"), but for a
    // module reset, which rewinds the recording and then waits in vain for the module's answer.
    explicit DeviceBridge(DataPlayer& player);
    DeviceBridge(DataPlayer& player, int log_level);
    DeviceBridge(DataPlayer& player, int log_level, AbstractLoggerIo* logger_io);

    // Stops the link's threads and closes the link; never throws.
    virtual ~DeviceBridge();
    DeviceBridge(const DeviceBridge&) = delete;
    DeviceBridge& operator=(const DeviceBridge&) = delete;

    // ---- the connection; each call takes the connection's lock ----
    // The source revision the library was built from.
    std::string git_sha();
    // Drops the current link and opens the named device: 0, or the transport's code. Subscriptions made
    // before are gone; the default queues are made anew. On a TCP bridge the name is ignored and the same
    // endpoint is connected again.
    int open(std::string device_name);
    // After close every command fails (status forms return 1) until open().
    int close();
    int set_log_level(int new_log_level);
    // Seconds that each later command waits for its reply; 2 unless set.
    void set_default_timeout(unsigned int new_default_timeout);

    // ---- the RadarInterface ----
    // The guard through which every command of the module reaches the RadarInterface:
    // `bridge.get_radar_interface()->ping()` holds the connection's lock for exactly that call, so that
    // threads sharing the bridge are served one whole command at a time. Include "UniqueLocked.h" and
    // "RadarInterface.h" to call through it. Valid as long as the bridge lives.
    LockedRadarInterfacePtr& get_radar_interface();
    // The same RadarInterface as the abstract G5, WITHOUT the lock: for a program that uses the bridge from
    // one thread only. Valid as long as the bridge lives.
    G5& get_g5();

    // ---- what the bridge hands out ----
    // Made with the bridge and kept for its whole life, so that the references stay valid as long as the
    // bridge lives; close() and open() leave them working. None of these getters locks; each facade takes the
    // connection's lock for each of its calls. On destruction the recorder stores what it was given and
    // closes its files before the link goes.

    /// The respiration and sleep module with the older radar chip.
    G5N310& get_g5n310();
    /// The radar chip platform: the chip driver, IO pins, generic data messages and the module's files.
    RCP& get_rcp();
    /// The presence module.
    G7N420& get_g7n420();
    /// The sleep module with the newer radar chip.
    G7N310& get_g7n310();
    /// A recorder of this connection's data, logging to the connection's log.
    DataRecorder& get_data_recorder();
    /// Raw packets, for commands that no facade knows.
    Transport& get_transport();
    /// Operations outside the supported interface.
    NotSupported& get_not_supported();

private:
    std::unique_ptr<DeviceBridgePrivate> d_ptr;
};

} // namespace Tervik

#endif
