// The factory of a playback: a recording as the transport, and no deframing, since each read of it is one
// whole packet already. The threads are those of a serial link.
#ifndef DEVICEBRIDGE_PLAYBACKFACTORY_H
#define DEVICEBRIDGE_PLAYBACKFACTORY_H

#include "ConcreteFactory.h"

namespace Tervik {
class DataPlayer;
}

class PlaybackFactory : public ConcreteFactory {
public:
    // The player must outlive the factory and everything it makes.
    explicit PlaybackFactory(Tervik::DataPlayer& player);
    ModuleIo* createModuleIo(Logger& logger) override;
    Protocol* createProtocol(Logger& logger) override;

private:
    Tervik::DataPlayer& player_;
};

#endif
