// What the presence examples share: the presence profile run for the length of a scope, the name of a
// presence state, a wait for the next reading that keeps a deadline, and the `main` of a program called as
// "NAME DEVICE SECONDS", which reports what went wrong.
#ifndef DEVICEBRIDGE_EXAMPLES_PRESENCE_EXAMPLE_H
#define DEVICEBRIDGE_EXAMPLES_PRESENCE_EXAMPLE_H

#include "LockedRadarInterfacePtr.h"
#include "RadarInterface.h"
#include "TervikException.h"
#include "UniqueLocked.h"
#include "protocol_identifiers.h"

#include <chrono>
#include <cstdlib>
#include <iostream>
#include <stdexcept>
#include <string>
#include <thread>

namespace presence_example {

typedef std::chrono::steady_clock Clock;

// Runs the presence profile for its own lifetime: however the scope is left, the module stops again.
class RunningProfile {
public:
    explicit RunningProfile(Tervik::LockedRadarInterfacePtr& radar,
                            uint32_t profile_id = KMS_ID_APP_PRESENCE_2)
        : radar(radar) {
        radar->load_profile(profile_id);
        radar->set_sensor_mode(KMID_SM_RUN);
    }
    ~RunningProfile() {
        if (radar->set_sensor_mode_no_throw(KMID_SM_STOP) != 0)
            std::cerr << "the module did not stop\n";
    }

private:
    Tervik::LockedRadarInterfacePtr& radar;
};

inline const char* presence_state_name(uint32_t state) {
    switch (state) {
    case KMS_VAL_PRESENCE_PRESENCESTATE_NO_PRESENCE:
        return "no presence";
    case KMS_VAL_PRESENCE_PRESENCESTATE_PRESENCE:
        return "presence";
    case KMS_VAL_PRESENCE_PRESENCESTATE_INITIALIZING:
        return "initializing";
    default:
        return "unknown";
    }
}

// Reading a message blocks, holding the connection's lock, until one arrives; waiting for the count first
// keeps the program's own deadline when the module goes quiet.
inline bool wait_for_reading(Tervik::LockedRadarInterfacePtr& radar, Clock::time_point deadline) {
    while (radar->peek_message_presence_single() == 0) {
        if (Clock::now() >= deadline)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return true;
}

// The link's own errors end in a newline, the module's refusals don't.
inline std::string without_newline(std::string text) {
    while (!text.empty() && text.back() == '\n')
        text.pop_back();
    return text;
}

inline bool parse_seconds(const char* text, unsigned int* seconds) {
    char* end = nullptr;
    const unsigned long value = std::strtoul(text, &end, 10);
    if (end == text || *end != '\0' || text[0] == '-' || value == 0 || value > 3600)
        return false;
    *seconds = static_cast<unsigned int>(value);
    return true;
}

// Calls run(DEVICE, SECONDS) and returns its result: 2 for wrong arguments, 1 when the module refused
// (TervikException, with the module's code) or the link failed (std::runtime_error).
inline int main_with_device_and_seconds(int argc, char** argv, const char* name,
                                        int (*run)(const std::string& device, unsigned int seconds)) {
    unsigned int seconds = 0;
    if (argc != 3 || !parse_seconds(argv[2], &seconds)) {
        std::cerr << "usage: " << name << " DEVICE SECONDS   (SECONDS from 1 to 3600)\n";
        return 2;
    }
    try {
        return run(argv[1], seconds);
    } catch (const Tervik::TervikException& refusal) {
        std::cerr << name << ": " << without_newline(refusal.what()) << " (code " << refusal.code << ")\n";
    } catch (const std::runtime_error& failure) {
        std::cerr << name << ": " << without_newline(failure.what()) << "\n";
    }
    return 1;
}

} // namespace presence_example

#endif
