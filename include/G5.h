// The abstract interface of the oldest module generation.
//
// Every RadarInterface is a G5; a DeviceBridge hands it out by get_g5(). Calls made through this interface
// bypass the connection's lock, so a program that shares a bridge between threads must not use it.
#ifndef DEVICEBRIDGE_G5_H
#define DEVICEBRIDGE_G5_H

#include "Bytes.h"
#include "MessageRecords.h"

#include <cstdint>
#include <functional>
#include <string>

namespace Tervik {

class G5 {
public:
    virtual ~G5() = default;

    // ---- system ----
    virtual void set_debug_level(unsigned char level) = 0;
    virtual uint32_t ping() = 0;
    virtual std::string get_system_info(unsigned char info_code) = 0;

    // ---- radar library variables: setters return the module's first reply word, or 1 ----
    virtual int set_G5_float(uint32_t id, float value) = 0;
    virtual float get_g5_float(uint32_t id) = 0;
    virtual int set_G5_int(uint32_t id, uint32_t value) = 0;
    virtual uint32_t get_g5_int(uint32_t id) = 0;
    virtual int set_G5_register(uint32_t id, uint32_t value) = 0;
    virtual uint32_t get_g5_register(uint32_t register_id) = 0;
    virtual int run_timing_measurement() = 0;
    virtual int set_fps(unsigned int fps) = 0;

    // ---- frames and modes ----
    virtual RawNormalizedData capture_single_normalized_frame() = 0;
    virtual void set_sensor_mode(unsigned char mode) = 0;
    virtual void set_sensor_mode_and_submode(unsigned char mode, unsigned char submode) = 0;

    // ---- data queues ----
    virtual int subscribe_to_raw_normalized(const std::string& name) = 0;
    virtual int subscribe_to_raw_normalized(const std::string& name, std::function<bool(Bytes)> callback) = 0;
    virtual RawNormalizedData get_raw_normalized_frame(const std::string& name) = 0;
    virtual void unsubscribe(const std::string& name) = 0;
    virtual unsigned int get_number_of_packets(const std::string& name) = 0;
    virtual void clear(const std::string& name) = 0;

    virtual int system_run_test(unsigned char test_code) = 0;
};

} // namespace Tervik

#endif
