// What the two newer sensing modules, presence (G7N420) and sleep (G7N310), offer alike: system commands,
// profile and sensor control, noise maps, parameter files, and the baseband and pulse-Doppler data queues.
//
// A facade holds nothing but the connection's guard: each method takes the connection's lock for its one call
// and keeps it until the module has answered, or its reply time has passed. A method returns 0 for success,
// the module's error code when the module refuses, or 1 for a time-out, an unparsable reply or a closed link;
// results come back through the out-pointers, which are left untouched unless the status is 0. A refusal is
// also written to the connection's error log.
//
// Reading a data queue blocks until a packet is there, holding the connection's lock all the while: no other
// call on the connection runs until the module sends. Count first with the peek method when that matters.
#ifndef DEVICEBRIDGE_G7FACADE_H
#define DEVICEBRIDGE_G7FACADE_H

#include "Bytes.h"
#include "LockedRadarInterfacePtr.h"
#include "MessageRecords.h"

#include <cstdint>
#include <memory>
#include <string>

namespace Tervik {

struct FacadePrivate;

class G7Facade {
public:
    // ---- system ----

    /// Changes the serial speed of module and host, in bits per second (one of the KMID_BAUDRATE_ values):
    /// the module first, the host's port once the module has acknowledged.
    int set_baudrate(uint32_t rate);
    /// Reads one of the module's information texts (a KMID_SSIC_ code) into `value`. Returns 0, or -1 for an
    /// unparsable reply; unlike the other methods it throws std::runtime_error on a time-out.
    int get_system_info(unsigned char info_code, std::string* value);
    /// Asks whether the module is there: `value` becomes 0xAAEEAEEA for a ready module, 0xAEEAEEAA for one
    /// that is not ready yet.
    int ping(uint32_t* value);
    /// Sets how much the module's firmware reports about itself through its trace messages.
    int set_debug_level(unsigned char level);
    /// Restarts the module and reconnects to it (up to three tries, 3 s apart), subscribing again to
    /// everything that was subscribed. Holds the connection for all of that time.
    int reset();
    /// Restarts the module without reconnecting: the link needs close() and open() afterwards.
    int module_reset();
    /// Returns the module's settings to those it left the factory with.
    int reset_to_factory_preset();
    /// Leaves the application for the module's bootloader, for a firmware update.
    int start_bootloader();
    /// Runs one of the module's self tests and gives its result bytes. Returns 0, or 1 for an unparsable
    /// reply; unlike the other methods it throws std::runtime_error on a time-out.
    int system_run_test(unsigned char test_code, Bytes* result);

    // ---- profile and sensor ----

    /// Loads a profile (a KMS_ID_APP_ value) into the module; the sensor starts with set_sensor_mode.
    int load_profile(uint32_t profile_id);
    /// Switches the sensor's mode (KMID_SM_RUN, KMID_SM_IDLE, KMID_SM_STOP, KMID_SM_MANUAL). `param` is
    /// accepted for compatibility and not used: the submode sent is always 0.
    int set_sensor_mode(unsigned char mode, unsigned char param);
    /// Sets the detection sensitivity of the loaded profile: the higher, the weaker a movement it detects.
    int set_sensitivity(uint32_t value);
    /// Sets the range in metres in which the loaded profile detects.
    int set_detection_zone(float start, float end);
    /// Reads the detection zone of the loaded profile, in metres.
    int get_detection_zone(float* start, float* end);
    /// Reads the range in which the detection zone may be set, and the step of its settings, in metres.
    int get_detection_zone_limits(float* start, float* end, float* step);
    /// Sets the module's LED: a KMID_LED_ mode and its intensity.
    int set_led_control(unsigned char mode, unsigned char intensity);
    /// Switches one of the module's data outputs, named by its feature id, on or off (KMID_OUTPUT_CONTROL_
    /// values; the pulse-Doppler output also chooses its slow or fast stream).
    int set_output_control(uint32_t output_feature, uint32_t output_control);
    /// Reads the id of the loaded profile; 0 when none is loaded.
    int get_profileid(uint32_t* id);

    // ---- noise map ----

    /// Loads the noise map that the module stored before.
    int load_noisemap();
    /// Stores the module's current noise map in its flash.
    int store_noisemap();
    /// Sets the noise map control bits (KMID_NOISEMAP_ values): use, adapt, initialise.
    int set_noisemap_control(uint32_t bits);
    /// Reads the noise map control bits.
    int get_noisemap_control(uint32_t* bits);

    // ---- parameter files of the loaded profile ----

    /// Reads a parameter file of the loaded profile, by name, as text.
    int get_parameter_file(const std::string& filename, std::string* data);
    /// Writes a parameter file of the loaded profile, by name. Null pointers are refused with 1.
    int set_parameter_file(const std::string* filename, const std::string* data);

    // ---- data queues: peek counts the packets waiting, read takes the oldest (blocking while none) ----

    /// Counts the baseband amplitude/phase packets waiting.
    int peek_message_baseband_ap();
    /// Takes the oldest baseband amplitude/phase packet; waits for one while none is there.
    int read_message_baseband_ap(BasebandApData* value);
    /// Counts the baseband I/Q packets waiting.
    int peek_message_baseband_iq();
    /// Takes the oldest baseband I/Q packet; waits for one while none is there.
    int read_message_baseband_iq(BasebandIqData* value);
    /// Counts the pulse-Doppler float packets waiting.
    int peek_message_pulsedoppler_float();
    /// Takes the oldest pulse-Doppler float packet, one range bin's row; waits for one while none is there.
    int read_message_pulsedoppler_float(PulseDopplerFloatData* value);
    /// Counts the pulse-Doppler byte packets waiting.
    int peek_message_pulsedoppler_byte();
    /// Takes the oldest pulse-Doppler byte packet, one range bin's row; waits for one while none is there.
    int read_message_pulsedoppler_byte(PulseDopplerByteData* value);
    /// Counts the noise map float packets waiting.
    int peek_message_noisemap_float();
    /// Takes the oldest noise map float packet, one range bin's row; waits for one while none is there.
    int read_message_noisemap_float(PulseDopplerFloatData* value);
    /// Counts the noise map byte packets waiting.
    int peek_message_noisemap_byte();
    /// Takes the oldest noise map byte packet, one range bin's row; waits for one while none is there.
    int read_message_noisemap_byte(PulseDopplerByteData* value);

protected:
    /// The guard must outlive the facade.
    explicit G7Facade(LockedRadarInterfacePtr& radar_interface);
    ~G7Facade();
    G7Facade(const G7Facade&) = delete;
    G7Facade& operator=(const G7Facade&) = delete;

    LockedRadarInterfacePtr& guard();

private:
    std::unique_ptr<FacadePrivate> d_ptr;
};

} // namespace Tervik

#endif
