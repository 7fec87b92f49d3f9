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

// ---- the bridge -------------------------------------------------------------------------------------------
// A playing bridge reads from its player: the Python object of the player is kept alive with the bridge.
%pythonappend Tervik::PythonDeviceBridge::PythonDeviceBridge %{
    if args and isinstance(args[0], PyDataPlayer):
        self._player = args[0]
%}
// What the bridge hands out lives inside it: each result keeps the bridge alive.
%pythonappend Tervik::PythonDeviceBridge::get_g5 %{
    val._bridge = self
%}
%include "PythonDeviceBridge.h"

// ---- the bootloader ------------------------------------------------------------------------------------------
%include "Bootloader.h"
