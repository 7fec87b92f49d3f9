#include "ConcreteFactory.h"

#include "ActiveThread.h"
#include "createModuleIo.h"

Active* ConcreteFactory::createDispatcherThread(const std::string& name, Logger& logger) {
    return new ActiveThread(name, logger);
}

Active* ConcreteFactory::createReaderThread(const std::string& name, Logger& logger) {
    return new ActiveThread(name, logger);
}

Active* ConcreteFactory::createWriterThread(const std::string& name, Logger& logger) {
    return new ActiveThread(name, logger);
}

ModuleIo* ConcreteFactory::createModuleIo(Logger& logger) {
    return ::createModuleIo(logger);
}
