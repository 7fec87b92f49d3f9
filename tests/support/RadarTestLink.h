// One RadarInterface on a scripted module over a real pseudo-terminal, with every log line kept for the test.
#ifndef DEVICEBRIDGE_TESTS_RADARTESTLINK_H
#define DEVICEBRIDGE_TESTS_RADARTESTLINK_H

#include "ConcreteFactory.h"
#include "LockedRadarInterfacePtr.h"
#include "RadarInterface.h"
#include "ScriptedModule.h"

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

class Logger;
class UartIo;

class RadarTestLink {
public:
    // Opens a RadarInterface on the module, guarded as a bridge would hold it.
    RadarTestLink();
    ~RadarTestLink();

    ScriptedModule module;

    Tervik::RadarInterface& radar();
    Tervik::LockedRadarInterfacePtr& guard();
    // A further interface on a link of its own, sharing the logger.
    std::unique_ptr<Tervik::RadarInterface> make_radar(const std::string& device_name);

    // True if a log line so far contains the fragment.
    bool logged(const std::string& fragment) const;
    void clear_log();
    // Polls the condition until it holds or the time is up.
    bool wait_until(const std::function<bool()>& condition, double seconds = 3) const;

    struct Lines {
        std::mutex mutex;
        std::vector<std::string> lines;
    };

private:
    std::shared_ptr<Lines> lines_;
    std::unique_ptr<Logger> logger_;
    ConcreteFactory factory_;
    std::vector<std::unique_ptr<UartIo>> links_;
    std::unique_ptr<Tervik::LockedRadarInterfacePtr> guard_;
};

#endif
