#include "createModuleIo.h"

#include "LinuxModuleIo.h"
#include "Logger.h"

ModuleIo* createModuleIo(Logger& logger) {
    logger.log(5, "creating LinuxModuleIo");
    return new LinuxModuleIo(logger);
}
