// The one place that names the platform's serial transport, so that a port to another platform replaces
// this function alone.
#ifndef DEVICEBRIDGE_CREATEMODULEIO_H
#define DEVICEBRIDGE_CREATEMODULEIO_H

class Logger;
class ModuleIo;

// A new serial transport, owned by the caller.
ModuleIo* createModuleIo(Logger& logger);

#endif
