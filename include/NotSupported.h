// Operations outside the supported interface: direct access to the radar chip's pins and SPI of older
// firmware, fast data frames, parameter files and traces. They work, but may change or go without notice.
//
// Each method takes the connection's lock for its one call. Failures pass through as exceptions:
// TervikException for a refusal by the module, std::runtime_error for a time-out or an unparsable reply. The
// older chip commands have no error reply: a refusal shows as a time-out.
#ifndef DEVICEBRIDGE_NOTSUPPORTED_H
#define DEVICEBRIDGE_NOTSUPPORTED_H

#include "Bytes.h"
#include "LockedRadarInterfacePtr.h"
#include "MessageRecords.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace Tervik {

struct FacadePrivate;

class NotSupported {
public:
    /// Normally got from a bridge's get_not_supported(). The guard must outlive the facade.
    explicit NotSupported(LockedRadarInterfacePtr& radar_interface);
    ~NotSupported();
    NotSupported(const NotSupported&) = delete;
    NotSupported& operator=(const NotSupported&) = delete;

    // ---- the radar chip's pins and SPI, by the older commands ----

    /// The level of one of the chip's IO pins.
    int get_g7_io_pin_value(uint8_t pin);
    /// Drives one of the chip's IO pins; returns 0.
    int set_g7_io_pin_value(uint8_t pin, uint8_t value);
    /// Sets the mode of one of the chip's IO pins; returns 0.
    int set_g7_io_pin_mode(uint8_t pin, uint8_t mode);
    /// Sets the direction of one of the chip's IO pins; returns 0.
    int set_g7_io_pin_dir(uint8_t pin, uint8_t direction);
    /// Enables one of the chip's IO pins; returns 0.
    int set_g7_io_pin_enable(uint8_t pin);
    /// Disables one of the chip's IO pins; returns 0.
    int set_g7_io_pin_disable(uint8_t pin);
    /// One of the chip's SPI registers.
    int read_g7_spi(uint8_t address);
    /// Writes one of the chip's SPI registers; returns 0.
    int write_g7_spi(uint8_t address, uint8_t value);
    /// Sets the chip's frame rate, in frames per second; returns 0.
    int set_g7_fps(uint32_t fps);

    // ---- fast data frames ----

    /// Queues the fast data packets under `name`; returns 0.
    int subscribe_to_g7_desim(const std::string& name);
    /// Takes the oldest fast packet of the named queue (waiting for one) into `frame_data`, at most
    /// `max_length` samples, and its counter into `frame_counter`. 1 for another kind of packet or a frame
    /// longer than `max_length`.
    int get_g7_decim_frame(const std::string& name, uint32_t* frame_counter, double* frame_data,
                           unsigned int max_length);

    // ---- generic data messages ----

    /// Queues the float data messages under `name`; returns 0.
    int subscribe_to_data_float(const std::string& name);
    /// Calls `callback` with each float data message, on the dispatcher's thread; returns 0.
    int subscribe_to_data_float(const std::string& name, std::function<bool(Bytes)> callback);
    /// Counts the float data messages waiting in the named queue.
    int peek_message_data_float(const std::string& name);
    /// Takes the oldest float data message of the default queue (waiting for one); returns 0, or 1 when it
    /// doesn't parse.
    int read_message_data_float(DataFloat* value);
    /// Queues the byte data messages under `name`; returns 0.
    int subscribe_to_data_byte(const std::string& name);
    /// Calls `callback` with each byte data message, on the dispatcher's thread; returns 0.
    int subscribe_to_data_byte(const std::string& name, std::function<bool(Bytes)> callback);
    /// Queues the module's trace texts under `name`; returns 0.
    int subscribe_to_trace(const std::string& name);
    /// Takes the oldest trace text of the named queue; waits for one while none is there.
    std::string get_trace(const std::string& name);

    // ---- pulse-Doppler and noise map packets, unparsed ----

    /// Counts the pulse-Doppler float packets waiting.
    int peek_message_pulsedoppler_float();
    /// Takes the oldest pulse-Doppler float packet as it came; waits for one while none is there.
    Bytes read_message_pulsedoppler_float();
    /// Counts the noise map float packets waiting.
    int peek_message_noisemap_float();
    /// Takes the oldest noise map float packet as it came; waits for one while none is there.
    Bytes read_message_noisemap_float();
    /// Counts the pulse-Doppler byte packets waiting.
    int peek_message_pulsedoppler_byte();
    /// Takes the oldest pulse-Doppler byte packet as it came; waits for one while none is there.
    Bytes read_message_pulsedoppler_byte();
    /// Counts the noise map byte packets waiting.
    int peek_message_noisemap_byte();
    /// Takes the oldest noise map byte packet as it came; waits for one while none is there.
    Bytes read_message_noisemap_byte();

    // ---- queues by name ----

    /// The number of packets waiting in the named queue; 0 for an unknown name.
    unsigned int get_number_of_packets(const std::string& name);
    /// Takes the oldest packet of the named queue as it came; waits for one while none is there, and gives
    /// an empty one at once for an unknown name.
    Bytes get_packet(const std::string& name);
    /// Empties the named queue.
    void clear(const std::string& name);

    // ---- profile ----

    /// Writes a parameter file of the loaded profile, by name.
    void set_parameter_file(const std::string& filename, const std::string& data);
    /// A parameter file of the loaded profile, by name, as text.
    std::string get_parameter_file(const std::string& filename);
    /// Loads a profile (a KMS_ID_APP_ value) into the module.
    void load_profile(uint32_t profile_id);

private:
    LockedRadarInterfacePtr& guard();

    std::unique_ptr<FacadePrivate> d_ptr;
};

} // namespace Tervik

#endif
