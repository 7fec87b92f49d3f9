// The factory of a serial link: the platform's serial transport and one ActiveThread per role.
#ifndef DEVICEBRIDGE_CONCRETEFACTORY_H
#define DEVICEBRIDGE_CONCRETEFACTORY_H

#include "AbstractFactory.h"

class ConcreteFactory : public AbstractFactory {
public:
    Active* createDispatcherThread(const std::string& name, Logger& logger) override;
    Active* createReaderThread(const std::string& name, Logger& logger) override;
    Active* createWriterThread(const std::string& name, Logger& logger) override;
    ModuleIo* createModuleIo(Logger& logger) override;
};

#endif
