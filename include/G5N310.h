// The respiration and sleep module with the older radar chip.
//
// A facade holds nothing but the connection's guard: each method takes the connection's lock for its one call
// and keeps it until the module has answered, or its reply time has passed. A method returns 0 for success,
// the module's error code when the module refuses, or 1 for a time-out, an unparsable reply or a closed link;
// results come back through the out-pointers, which are left untouched unless the status is 0. A refusal is
// also written to the connection's error log.
//
// Copies of a G5N310 share one connection. Reading a data queue blocks until a packet is there, holding the
// connection's lock all the while: no other call on the connection runs until the module sends.
#ifndef DEVICEBRIDGE_G5N310_H
#define DEVICEBRIDGE_G5N310_H

#include "Bytes.h"
#include "LockedRadarInterfacePtr.h"
#include "MessageRecords.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace Tervik {

class G5N310Private;

class G5N310 {
public:
    /// Normally got from DeviceBridge::get_g5n310(). The guard must outlive the facade and its copies.
    explicit G5N310(LockedRadarInterfacePtr& radar_interface);
    ~G5N310();

    // ---- system ----

    /// Sets how much the module's firmware reports about itself through its trace messages.
    int set_debug_level(unsigned char level);
    /// Sets how much the connection logs: 0 errors only, 3 with traces, 5 everything. Returns 0.
    int set_log_level(int level);
    /// Asks whether the module is there: `value` becomes 0xAAEEAEEA for a ready module, 0xAEEAEEAA for one
    /// that is not ready yet.
    int ping(uint32_t* value);
    /// Reads the module's internal item number.
    int get_item_number(std::string* value);
    /// Reads the order code of the module.
    int get_order_code(std::string* value);
    /// Reads the identifier of the module's firmware.
    int get_firmware_id(std::string* value);
    /// Reads the version of the module's firmware.
    int get_firmware_version(std::string* value);
    /// Reads the module's serial number.
    int get_serial_number(std::string* value);
    /// Reads what the module tells of its firmware's build.
    int get_build_info(std::string* value);
    /// Reads the list of the applications in the module's firmware.
    int get_app_id_list(std::string* value);
    /// Restarts the module and reconnects to it (up to three tries, 3 s apart), subscribing again to
    /// everything that was subscribed. Holds the connection for all of that time.
    int reset();
    /// Leaves the application for the module's bootloader, for a firmware update.
    int start_bootloader();

    // ---- profile and sensor ----

    /// Starts the loaded profile.
    int set_sensor_mode_run();
    /// Halts the loaded profile; set_sensor_mode_run resumes it.
    int set_sensor_mode_idle();
    /// Loads the sleep profile.
    int load_sleep_profile();
    /// Loads the respiration profile.
    int load_respiration_profile();
    /// Switches the baseband amplitude/phase output on.
    int enable_baseband_ap();
    /// Switches the baseband amplitude/phase output off.
    int disable_baseband_ap();
    /// Switches the baseband I/Q output on.
    int enable_baseband_iq();
    /// Switches the baseband I/Q output off.
    int disable_baseband_iq();
    /// Sets the range in metres in which the loaded profile detects.
    int set_detection_zone(float start, float end);
    /// Sets the detection sensitivity of the loaded profile: the higher, the weaker a movement it detects.
    int set_sensitivity(uint32_t value);
    /// Sets the module's LED: a KMID_LED_ mode and its intensity.
    int set_led_control(unsigned char mode, unsigned char intensity);
    /// Switches the respiration output off.
    int disable_resp_output();
    /// Switches the respiration output on.
    int enable_resp_output();

    // ---- data: a queue by a name of the caller's, or a callback on the connection's dispatcher thread ----

    /// Queues the respiration packets under `name`; returns 0.
    int subscribe_to_resp_status(const std::string& name);
    /// Calls `callback` with each respiration packet, on the dispatcher's thread; it must return quickly.
    int subscribe_to_resp_status(const std::string& name, std::function<bool(Bytes)> callback);
    /// Queues the sleep packets under `name`; returns 0.
    int subscribe_to_sleep_status(const std::string& name);
    /// Calls `callback` with each sleep packet, on the dispatcher's thread; it must return quickly.
    int subscribe_to_sleep_status(const std::string& name, std::function<bool(Bytes)> callback);
    /// Queues the baseband amplitude/phase packets under `name`; returns 0.
    int subscribe_to_baseband_ap(const std::string& name);
    /// Calls `callback` with each baseband amplitude/phase packet, on the dispatcher's thread.
    int subscribe_to_baseband_ap(const std::string& name, std::function<bool(Bytes)> callback);
    /// Queues the baseband I/Q packets under `name`; returns 0.
    int subscribe_to_baseband_iq(const std::string& name);
    /// Calls `callback` with each baseband I/Q packet, on the dispatcher's thread.
    int subscribe_to_baseband_iq(const std::string& name, std::function<bool(Bytes)> callback);
    /// The number of packets waiting in the named queue; 0 for an unknown name.
    unsigned int get_number_of_packets(const std::string& name);
    /// Takes the oldest respiration packet of the named queue; waits for one while none is there.
    int get_respiration_data(const std::string& name, RespirationData* value);
    /// Takes the oldest sleep packet of the named queue; waits for one while none is there.
    int get_sleep_data(const std::string& name, SleepData* value);
    /// Takes the oldest baseband amplitude/phase packet of the named queue; waits for one while none is
    /// there.
    int get_baseband_ap_data(const std::string& name, BasebandApData* value);
    /// Takes the oldest baseband I/Q packet of the named queue; waits for one while none is there.
    int get_baseband_iq_data(const std::string& name, BasebandIqData* value);
    /// Empties the named queue.
    void clear(const std::string& name);

private:
    LockedRadarInterfacePtr& guard();

    std::shared_ptr<G5N310Private> d_ptr;
};

} // namespace Tervik

#endif
