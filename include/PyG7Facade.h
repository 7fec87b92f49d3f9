// What the two newer sensing modules, presence (PyG7N420) and sleep (PyG7N310), offer alike, for the Python
// binding: system commands, profile and sensor control, noise maps, parameter files, and the baseband and
// pulse-Doppler data queues.
//
// Each method takes the connection's lock for its one call and returns the result by value. A refusal by the
// module throws TervikException with the module's error code; a time-out, an unparsable reply or a closed
// link throws std::runtime_error (Python sees RuntimeError for both).
//
// Reading a data queue blocks until a packet is there, holding the connection's lock all the while: no other
// call on the connection runs until the module sends. Count first with the peek method when that matters.
#ifndef DEVICEBRIDGE_PYG7FACADE_H
#define DEVICEBRIDGE_PYG7FACADE_H

#include "Bytes.h"
#include "LockedRadarInterfacePtr.h"
#include "MessageRecords.h"

#include <cstdint>
#include <memory>
#include <string>

namespace Tervik {

struct FacadePrivate;

class PyG7Facade {
public:
    // ---- system ----

    /// Changes the serial speed of module and host, in bits per second (one of the KMID_BAUDRATE_ values):
    /// the module first, the host's port once the module has acknowledged.
    void set_baudrate(uint32_t rate);
    /// Reads one of the module's information texts (a KMID_SSIC_ code) into `value`. Returns 0, or -1 for an
    /// unparsable reply.
    int get_system_info(unsigned char info_code, std::string* value);
    /// Asks whether the module is there: 0xAAEEAEEA for a ready module, 0xAEEAEEAA for one that is not ready
    /// yet.
    uint32_t ping();
    /// Sets how much the module's firmware reports about itself through its trace messages.
    void set_debug_level(unsigned char level);
    /// Restarts the module without reconnecting: the link needs close() and open() afterwards.
    void module_reset();
    /// Returns the module's settings to those it left the factory with.
    void reset_to_factory_preset();
    /// Leaves the application for the module's bootloader, for a firmware update.
    void start_bootloader();
    /// Runs one of the module's self tests and gives its result bytes. Returns 0, or 1 for an unparsable
    /// reply.
    int system_run_test(unsigned char test_code, Bytes* result);

    // ---- profile and sensor ----

    /// Loads a profile (a KMS_ID_APP_ value) into the module; the sensor starts with set_sensor_mode.
    void load_profile(uint32_t profile_id);
    /// Switches the sensor's mode (KMID_SM_RUN, KMID_SM_IDLE, KMID_SM_STOP, KMID_SM_MANUAL). `param` is
    /// accepted for compatibility and not used: the submode sent is always 0.
    void set_sensor_mode(unsigned char mode, unsigned char param);
    /// Sets the detection sensitivity of the loaded profile: the higher, the weaker a movement it detects.
    void set_sensitivity(uint32_t value);
    /// Sets the range in metres in which the loaded profile detects.
    void set_detection_zone(float start, float end);
    /// The detection zone of the loaded profile, in metres.
    DetectionZone get_detection_zone();
    /// The range in which the detection zone may be set, and the step of its settings, in metres.
    DetectionZoneLimits get_detection_zone_limits();
    /// Sets the module's LED: a KMID_LED_ mode and its intensity.
    void set_led_control(unsigned char mode, unsigned char intensity);
    /// Switches one of the module's data outputs, named by its feature id, on or off (KMID_OUTPUT_CONTROL_
    /// values; the pulse-Doppler output also chooses its slow or fast stream).
    void set_output_control(uint32_t output_feature, uint32_t output_control);
    /// The id of the loaded profile; 0 when none is loaded.
    uint32_t get_profileid();

    // ---- noise map ----

    /// Loads the noise map that the module stored before.
    void load_noisemap();
    /// Stores the module's current noise map in its flash.
    void store_noisemap();
    /// Sets the noise map control bits (KMID_NOISEMAP_ values): use, adapt, initialise.
    void set_noisemap_control(uint32_t bits);
    /// The noise map control bits.
    uint32_t get_noisemap_control();

    // ---- parameter files of the loaded profile ----

    /// A parameter file of the loaded profile, by name, as text.
    std::string get_parameter_file(const std::string& filename);
    /// Writes a parameter file of the loaded profile, by name.
    void set_parameter_file(const std::string& filename, const std::string& data);

    // ---- data queues: peek counts the packets waiting, read takes the oldest (blocking while none) ----

    /// Counts the baseband amplitude/phase packets waiting.
    int peek_message_baseband_ap();
    /// Takes the oldest baseband amplitude/phase packet; waits for one while none is there.
    BasebandApData read_message_baseband_ap();
    /// Counts the baseband I/Q packets waiting.
    int peek_message_baseband_iq();
    /// Takes the oldest baseband I/Q packet; waits for one while none is there.
    BasebandIqData read_message_baseband_iq();
    /// Counts the pulse-Doppler float packets waiting.
    int peek_message_pulsedoppler_float();
    /// Takes the oldest pulse-Doppler float packet, one range bin's row; waits for one while none is there.
    PulseDopplerFloatData read_message_pulsedoppler_float();
    /// Counts the pulse-Doppler byte packets waiting.
    int peek_message_pulsedoppler_byte();
    /// Takes the oldest pulse-Doppler byte packet, one range bin's row; waits for one while none is there.
    PulseDopplerByteData read_message_pulsedoppler_byte();
    /// Counts the noise map float packets waiting.
    int peek_message_noisemap_float();
    /// Takes the oldest noise map float packet, one range bin's row; waits for one while none is there.
    PulseDopplerFloatData read_message_noisemap_float();
    /// Counts the noise map byte packets waiting.
    int peek_message_noisemap_byte();
    /// Takes the oldest noise map byte packet, one range bin's row; waits for one while none is there.
    PulseDopplerByteData read_message_noisemap_byte();

protected:
    /// The guard must outlive the facade.
    explicit PyG7Facade(LockedRadarInterfacePtr& radar_interface);
    ~PyG7Facade();
    PyG7Facade(const PyG7Facade&) = delete;
    PyG7Facade& operator=(const PyG7Facade&) = delete;

    LockedRadarInterfacePtr& guard();

private:
    std::unique_ptr<FacadePrivate> d_ptr;
};

} // namespace Tervik

#endif
