// The bridge of the Python binding: the same connection stack as DeviceBridge, reporting failures as
// exceptions, which the binding turns into Python's RuntimeError.
//
// Every constructor logs through the default output, to standard output and to a
// "debug_%Y%m%d_%H%M%S.log" file in the current directory, and takes its log level as an argument.
#ifndef DEVICEBRIDGE_PYTHONDEVICEBRIDGE_H
#define DEVICEBRIDGE_PYTHONDEVICEBRIDGE_H

#include "G5.h"
#include "NotSupported.h"
#include "PyDataPlayer.h"
#include "PyDataRecorder.h"
#include "PyG5N310.h"
#include "PyG7N310.h"
#include "PyG7N420.h"
#include "PyRCP.h"
#include "Transport.h"

#include <netinet/in.h>

#include <memory>
#include <string>

class AbstractFactory;
class Logger;

namespace Tervik {

class BridgeStack;
template <typename, typename, typename, typename, typename> class BridgeHandOuts;

class PythonDeviceBridge {
public:
    // Opens nothing: every command fails until open().
    explicit PythonDeviceBridge(int log_level);
    // Opens the serial device; std::runtime_error "unable to open file: " + name if it can't.
    PythonDeviceBridge(const std::string& device_name, int log_level);
    // Connects to the endpoint (network byte order), named "tcp://" + dotted address + ":" + port. open()
    // connects to the same endpoint again, whatever the name: after close(), for a peer that has come back.
    PythonDeviceBridge(in_addr_t ip, in_port_t port, int log_level);
    // Plays the player's recording as if it came from a module, on a link named "__playback__". The player
    // must outlive the bridge; commands fail, as there is no module to answer them.
    PythonDeviceBridge(PyDataPlayer& player, int log_level);
    virtual ~PythonDeviceBridge();
    PythonDeviceBridge(const PythonDeviceBridge&) = delete;
    PythonDeviceBridge& operator=(const PythonDeviceBridge&) = delete;

    // Each takes the connection's lock for the one call.
    std::string git_sha();
    // A refusal throws TervikException(code, "method failed") with the transport's code.
    int open(std::string device_name);
    int close();
    int set_log_level(int new_log_level);
    void set_default_timeout(unsigned int new_default_timeout);
    // The RadarInterface, without the lock.
    /// Not supported.
    G5& get_g5();

    // ---- what the bridge hands out ----
    // Made with the bridge and kept for its whole life: the references are valid as long as the bridge
    // lives, and close() and open() leave them working. None of these getters locks; each facade takes the
    // connection's lock for each of its calls. On destruction the recorder stores what it was given and
    // closes its files before the link goes.

    /// A recorder of this connection's data, logging to the connection's log.
    PyDataRecorder& get_data_recorder();
    /// The respiration and sleep module with the older radar chip.
    PyG5N310& get_g5n310();
    // Raw packets, for commands that no facade knows.
    /// Not supported.
    Transport& get_transport();
    /// The radar chip platform: the chip driver, IO pins, generic data messages and the module's files.
    PyRCP& get_rcp();
    /// The presence module.
    PyG7N420& get_g7n420();
    /// The sleep module with the newer radar chip.
    PyG7N310& get_g7n310();
    // Operations outside the supported interface.
    /// Not supported.
    NotSupported& get_not_supported();

private:
    PythonDeviceBridge(std::unique_ptr<AbstractFactory> factory, std::unique_ptr<Logger> logger,
                       const std::string& device_name);

    typedef BridgeHandOuts<PyG5N310, PyRCP, PyG7N420, PyG7N310, PyDataRecorder> HandOuts;

    std::unique_ptr<BridgeStack> stack;
    std::unique_ptr<HandOuts> hand_outs;
};

} // namespace Tervik

#endif
