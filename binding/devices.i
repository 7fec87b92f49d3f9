// The bridge, the module facades and the bootloader.

// Network values are unsigned integers in network byte order, as socket.inet_aton and socket.htons give them.
typedef uint32_t in_addr_t;
typedef uint16_t in_port_t;

// Opaque to Python: only native callers can make these.
class Logger;
namespace Tervik {
class AbstractLoggerIo;
}

%include "G5.h"

// ---- the facades: each call takes the connection's lock; failures arrive as RuntimeError -------------------
%include "Transport.h"
%include "NotSupported.h"
%include "PyG5N310.h"
%include "PyG7Facade.h"
%include "PyG7N420.h"
%include "PyG7N310.h"
%include "PyRCP.h"

// ---- the bridge -------------------------------------------------------------------------------------------
// A playing bridge reads from its player: the Python object of the player is kept alive with the bridge.
%pythonappend Tervik::PythonDeviceBridge::PythonDeviceBridge %{
    if args and isinstance(args[0], PyDataPlayer):
        self._player = args[0]
%}
// What the bridge hands out lives inside it: each result keeps the bridge alive.
%define DEVICEBRIDGE_HAND_OUT(getter)
%pythonappend Tervik::PythonDeviceBridge::getter %{
    val._bridge = self
%}
%enddef
DEVICEBRIDGE_HAND_OUT(get_g5)
DEVICEBRIDGE_HAND_OUT(get_data_recorder)
DEVICEBRIDGE_HAND_OUT(get_transport)
DEVICEBRIDGE_HAND_OUT(get_g5n310)
DEVICEBRIDGE_HAND_OUT(get_rcp)
DEVICEBRIDGE_HAND_OUT(get_g7n420)
DEVICEBRIDGE_HAND_OUT(get_g7n310)
DEVICEBRIDGE_HAND_OUT(get_not_supported)
%include "PythonDeviceBridge.h"

// ---- the bootloader ------------------------------------------------------------------------------------------
%include "Bootloader.h"
