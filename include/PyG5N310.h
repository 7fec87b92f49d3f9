// The respiration and sleep module with the older radar chip, for the Python binding.
//
// Each method takes the connection's lock for its one call and returns the result by value. A refusal by the
// module throws TervikException with the module's error code; a time-out, an unparsable reply or a closed
// link throws std::runtime_error (Python sees RuntimeError for both).
//
// Reading a data queue blocks until a packet is there, holding the connection's lock all the while: no other
// call on the connection runs until the module sends.
#ifndef DEVICEBRIDGE_PYG5N310_H
#define DEVICEBRIDGE_PYG5N310_H

#include "Bytes.h"
#include "LockedRadarInterfacePtr.h"
#include "MessageRecords.h"

#include <cstdint>
#include <string>

namespace Tervik {

class PyG5N310 {
public:
    /// Normally got from PythonDeviceBridge::get_g5n310(). The guard must outlive the facade.
    explicit PyG5N310(LockedRadarInterfacePtr& radar_interface);
    PyG5N310(const PyG5N310&) = delete;
    PyG5N310& operator=(const PyG5N310&) = delete;

    // ---- system ----

    /// Sets how much the module's firmware reports about itself through its trace messages.
    void set_debug_level(unsigned char level);
    /// Sets how much the connection logs: 0 errors only, 3 with traces, 5 everything. Returns 0.
    int set_log_level(int level);
    /// Asks whether the module is there: 0xAAEEAEEA for a ready module, 0xAEEAEEAA for one that is not ready
    /// yet.
    uint32_t ping();
    /// The module's internal item number.
    std::string get_item_number();
    /// The order code of the module.
    std::string get_order_code();
    /// The identifier of the module's firmware.
    std::string get_firmware_id();
    /// The version of the module's firmware.
    std::string get_firmware_version();
    /// The module's serial number.
    std::string get_serial_number();
    /// What the module tells of its firmware's build.
    std::string get_build_info();
    /// The list of the applications in the module's firmware.
    std::string get_app_id_list();
    /// Restarts the module and reconnects to it (up to three tries, 3 s apart), subscribing again to
    /// everything that was subscribed. Holds the connection for all of that time.
    void reset();
    /// Leaves the application for the module's bootloader, for a firmware update.
    void start_bootloader();

    // ---- profile and sensor ----

    /// Starts the loaded profile.
    void set_sensor_mode_run();
    /// Halts the loaded profile; set_sensor_mode_run resumes it.
    void set_sensor_mode_idle();
    /// Loads the sleep profile.
    void load_sleep_profile();
    /// Loads the respiration profile.
    void load_respiration_profile();
    /// Switches the baseband amplitude/phase output on.
    void enable_baseband_ap();
    /// Switches the baseband amplitude/phase output off.
    void disable_baseband_ap();
    /// Switches the baseband I/Q output on.
    void enable_baseband_iq();
    /// Switches the baseband I/Q output off.
    void disable_baseband_iq();
    /// Sets the range in metres in which the loaded profile detects.
    void set_detection_zone(float start, float end);
    /// Sets the detection sensitivity of the loaded profile: the higher, the weaker a movement it detects.
    void set_sensitivity(uint32_t value);
    /// Sets the module's LED: a KMID_LED_ mode and its intensity.
    void set_led_control(unsigned char mode, unsigned char intensity);
    /// Switches the respiration output off.
    void disable_resp_output();
    /// Switches the respiration output on.
    void enable_resp_output();

    // ---- data queues by a name of the caller's ----

    /// Queues the respiration packets under `name`; returns 0.
    int subscribe_to_resp_status(const std::string& name);
    /// Queues the sleep packets under `name`; returns 0.
    int subscribe_to_sleep_status(const std::string& name);
    /// Queues the baseband amplitude/phase packets under `name`; returns 0.
    int subscribe_to_baseband_ap(const std::string& name);
    /// Queues the baseband I/Q packets under `name`; returns 0.
    int subscribe_to_baseband_iq(const std::string& name);
    /// Ends the named queue with what it holds; an unknown name is harmless.
    void unsubscribe(const std::string& name);
    /// The number of packets waiting in the named queue; 0 for an unknown name.
    unsigned int get_number_of_packets(const std::string& name);
    /// Takes the oldest packet of the named queue as it came; waits for one while none is there, and gives
    /// an empty one at once for an unknown name.
    Bytes get_packet(const std::string& name);
    /// Takes the oldest respiration packet of the named queue; waits for one while none is there.
    RespirationData get_respiration_data(const std::string& name);
    /// Takes the oldest sleep packet of the named queue; waits for one while none is there.
    SleepData get_sleep_data(const std::string& name);
    /// Takes the oldest baseband amplitude/phase packet of the named queue; waits for one while none is
    /// there.
    BasebandApData get_baseband_ap_data(const std::string& name);
    /// Takes the oldest baseband I/Q packet of the named queue; waits for one while none is there.
    BasebandIqData get_baseband_iq_data(const std::string& name);
    /// Empties the named queue.
    void clear(const std::string& name);

private:
    LockedRadarInterfacePtr& radar_interface;
};

} // namespace Tervik

#endif
