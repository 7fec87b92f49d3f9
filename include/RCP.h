// The radar chip platform: the host drives the radar chip itself, through the module's chip driver, its
// IO pins, its generic data messages and its file system.
//
// A facade holds nothing but the connection's guard: each method takes the connection's lock for its one call
// and keeps it until the module has answered, or its reply time has passed. A method returns 0 for success,
// the module's error code when the module refuses, or 1 for a time-out, an unparsable reply or a closed link;
// results come back through the out-pointers, which are left untouched unless the status is 0. A refusal is
// also written to the connection's error log. The file commands report a refusal as 1, since the module
// gives no code for them.
//
// Reading a data queue blocks until a packet is there, holding the connection's lock all the while: no other
// call on the connection runs until the module sends. Count first with the peek method when that matters.
#ifndef DEVICEBRIDGE_RCP_H
#define DEVICEBRIDGE_RCP_H

#include "Bytes.h"
#include "LockedRadarInterfacePtr.h"
#include "MessageRecords.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace Tervik {

struct FacadePrivate;

class RCP {
public:
    /// Normally got from DeviceBridge::get_rcp(). The guard must outlive the facade.
    explicit RCP(LockedRadarInterfacePtr& radar_interface);
    ~RCP();
    RCP(const RCP&) = delete;
    RCP& operator=(const RCP&) = delete;

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
    /// Restarts the module without reconnecting: the link needs close() and open() afterwards.
    int module_reset();

    // ---- radar chip driver ----

    /// Sets the chip's frame rate, in frames per second; 0 stops sampling.
    int g7driver_set_fps(float fps);
    /// Reads the chip's frame rate.
    int g7driver_get_fps(float* fps);
    /// Sets the chip's enable pin.
    int g7driver_set_enable(uint8_t enable);
    /// Initialises the chip with the driver's defaults.
    int g7driver_init();
    /// Sets how many times the chip sweeps for one frame.
    int g7driver_set_iterations(uint32_t iterations);
    /// Sets how many pulses the chip sends per step of a sweep.
    int g7driver_set_pulses_per_step(uint32_t pulses_per_step);
    /// Sets the step of the chip's threshold converter.
    int g7driver_set_dac_step(uint8_t dac_step);
    /// Sets the lowest value of the chip's threshold converter.
    int g7driver_set_dac_min(uint32_t dac_min);
    /// Sets the highest value of the chip's threshold converter.
    int g7driver_set_dac_max(uint32_t dac_max);
    /// Sets the transmitter's power; 0 switches it off.
    int g7driver_set_tx_power(uint8_t power);
    /// Chooses the chip's output: 0 raw radio frequency data, 1 downconverted baseband.
    int g7driver_set_downconversion(uint8_t enable);
    /// Sets the range the chip samples, in metres from the module, air assumed as the medium.
    int g7driver_set_frame_area(float start, float end);
    /// Reads the range the chip samples, in metres.
    int g7driver_get_frame_area(FrameArea* frame_area);
    /// Sets the offset of the frame area, in metres: the distance that the antenna's feed adds.
    int g7driver_set_frame_area_offset(float offset);
    /// Reads the offset of the frame area, in metres.
    int g7driver_get_frame_area_offset(float* offset);
    /// Sets the transmitter's centre frequency band.
    int g7driver_set_tx_center_frequency(uint8_t frequency);
    /// Writes one of the chip's SPI registers.
    int g7driver_set_spi_register(uint8_t address, uint8_t value);
    /// Reads one of the chip's SPI registers.
    int g7driver_get_spi_register(uint8_t address, uint8_t* value);
    /// Writes a run of bytes into the chip from an SPI register on.
    int g7driver_write_to_spi_register(uint8_t address, const Bytes& values);
    /// Reads `length` bytes from the chip from an SPI register on; `values` gets as many as the module sent.
    int g7driver_read_from_spi_register(uint8_t address, Bytes* values, uint32_t length);
    /// Writes one of the chip's PIF registers.
    int g7driver_set_pif_register(uint8_t address, uint8_t value);
    /// Reads one of the chip's PIF registers.
    int g7driver_get_pif_register(uint8_t address, uint8_t* value);
    /// Writes one of the chip's XIF registers.
    int g7driver_set_xif_register(uint8_t address, uint8_t value);
    /// Reads one of the chip's XIF registers.
    int g7driver_get_xif_register(uint8_t address, uint8_t* value);
    /// Sets the divider of the chip's pulse repetition frequency.
    int g7driver_set_prf_div(uint8_t prf_div);
    /// Reads the divider of the chip's pulse repetition frequency.
    int g7driver_get_prf_div(uint8_t* prf_div);

    // ---- IO pins of the module ----

    /// Sets up an IO pin: a KMID_IOPIN_ setup (input, output, ...) and the feature it serves.
    int set_iopin_control(uint32_t pin_id, uint32_t pin_setup, uint32_t pin_feature);
    /// Drives an output pin: 0 low, 1 high.
    int set_iopin_value(uint32_t pin_id, uint32_t pin_value);
    /// Reads a pin's level.
    int get_iopin_value(uint32_t pin_id, uint32_t* pin_value);

    // ---- data queues: peek counts the packets waiting, read takes the oldest (blocking while none) ----

    /// Counts the float data messages waiting, such as radar frames.
    int peek_message_data_float();
    /// Takes the oldest float data message; waits for one while none is there.
    int read_message_data_float(DataFloat* value);
    /// Counts the text data messages waiting.
    int peek_message_data_string();
    /// Takes the oldest text data message; waits for one while none is there. Null pointers are skipped; 1
    /// for a packet of another kind, which is dropped.
    int read_message_data_string(uint32_t* content_id, uint32_t* info, std::string* data);
    /// Counts the byte data messages waiting.
    int peek_message_data_byte();
    /// Takes the oldest byte data message; waits for one while none is there. Null pointers are skipped; 1
    /// for a packet of another kind, which is dropped.
    int read_message_data_byte(uint32_t* content_id, uint32_t* info, Bytes* data);
    /// Counts the system status messages waiting.
    int peek_message_system();
    /// Takes the oldest system status message (a KMS_SPRS_ status, such as ready); waits for one while none
    /// is there.
    int read_message_system(uint32_t* status);

    // ---- the module's file system: files are known by a type and an identifier ----

    /// Lists the identifiers of all files of one type.
    int search_for_file_by_type(uint32_t type, std::vector<int32_t>* identifiers);
    /// Lists all files: entry i of both vectors is one file's type and identifier.
    int find_all_files(Files* files);
    /// Creates a file of that length and opens it for set_file_data.
    int create_file(uint32_t type, uint32_t identifier, uint32_t length);
    /// Opens an existing file.
    int open_file(uint32_t type, uint32_t identifier);
    /// Writes into an open file at the offset.
    int set_file_data(uint32_t type, uint32_t identifier, uint32_t offset, const Bytes& data);
    /// Closes an open file; `commit` keeps what was written, otherwise it is dropped.
    int close_file(uint32_t type, uint32_t identifier, bool commit);
    /// Reads a file's length in bytes.
    int get_file_length(uint32_t type, uint32_t identifier, uint32_t* length);
    /// Deletes a file.
    int delete_file(uint32_t type, uint32_t identifier);
    /// Reads `length` bytes of an open file from the offset.
    int get_file_data(uint32_t type, uint32_t identifier, uint32_t offset, uint32_t length, Bytes* data);
    /// Erases the whole file system; the key guards against doing so by accident.
    int format_filesystem(uint32_t key);
    /// Writes a whole file, created anew, in chunks of 2000 bytes, and commits it. A failed chunk leaves the
    /// file open and uncommitted.
    int set_file(uint32_t type, uint32_t identifier, const Bytes& data);
    /// Reads a whole file in chunks of 2000 bytes.
    int get_file(uint32_t type, uint32_t identifier, Bytes* data);

private:
    LockedRadarInterfacePtr& guard();

    std::unique_ptr<FacadePrivate> d_ptr;
};

} // namespace Tervik

#endif
