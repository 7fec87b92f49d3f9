// The radar chip platform for the Python binding: the host drives the radar chip itself, through the
// module's chip driver, its IO pins, its generic data messages and its file system.
//
// Each method takes the connection's lock for its one call and returns the result by value. A refusal by the
// module throws TervikException with the module's error code; a time-out, an unparsable reply or a closed
// link throws std::runtime_error (Python sees RuntimeError for both). The file commands throw
// std::runtime_error for a refusal as well, since the module gives no code for them.
//
// Reading a data queue blocks until a packet is there, holding the connection's lock all the while: no other
// call on the connection runs until the module sends. Count first with the peek method when that matters.
#ifndef DEVICEBRIDGE_PYRCP_H
#define DEVICEBRIDGE_PYRCP_H

#include "Bytes.h"
#include "LockedRadarInterfacePtr.h"
#include "MessageRecords.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace Tervik {

struct FacadePrivate;

class PyRCP {
public:
    /// Normally got from PythonDeviceBridge::get_rcp(). The guard must outlive the facade.
    explicit PyRCP(LockedRadarInterfacePtr& radar_interface);
    ~PyRCP();
    PyRCP(const PyRCP&) = delete;
    PyRCP& operator=(const PyRCP&) = delete;

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
    /// Restarts the module without reconnecting: the link needs close() and open() afterwards.
    void module_reset();

    // ---- radar chip driver ----

    /// Sets the chip's frame rate, in frames per second; 0 stops sampling.
    void g7driver_set_fps(float fps);
    /// The chip's frame rate.
    float g7driver_get_fps();
    /// Sets the chip's enable pin.
    void g7driver_set_enable(uint8_t enable);
    /// Initialises the chip with the driver's defaults.
    void g7driver_init();
    /// Sets how many times the chip sweeps for one frame.
    void g7driver_set_iterations(uint32_t iterations);
    /// Sets how many pulses the chip sends per step of a sweep.
    void g7driver_set_pulses_per_step(uint32_t pulses_per_step);
    /// Sets the step of the chip's threshold converter.
    void g7driver_set_dac_step(uint8_t dac_step);
    /// Sets the lowest value of the chip's threshold converter.
    void g7driver_set_dac_min(uint32_t dac_min);
    /// Sets the highest value of the chip's threshold converter.
    void g7driver_set_dac_max(uint32_t dac_max);
    /// Sets the transmitter's power; 0 switches it off.
    void g7driver_set_tx_power(uint8_t power);
    /// Chooses the chip's output: 0 raw radio frequency data, 1 downconverted baseband.
    void g7driver_set_downconversion(uint8_t enable);
    /// Sets the range the chip samples, in metres from the module, air assumed as the medium.
    void g7driver_set_frame_area(float start, float end);
    /// The range the chip samples, in metres.
    FrameArea g7driver_get_frame_area();
    /// Sets the offset of the frame area, in metres: the distance that the antenna's feed adds.
    void g7driver_set_frame_area_offset(float offset);
    /// The offset of the frame area, in metres.
    float g7driver_get_frame_area_offset();
    /// Sets the transmitter's centre frequency band.
    void g7driver_set_tx_center_frequency(uint8_t frequency);
    /// Writes one of the chip's SPI registers.
    void g7driver_set_spi_register(uint8_t address, uint8_t value);
    /// One of the chip's SPI registers.
    uint8_t g7driver_get_spi_register(uint8_t address);
    /// Writes a run of bytes into the chip from an SPI register on.
    void g7driver_write_to_spi_register(uint8_t address, const Bytes& values);
    /// Reads `length` bytes from the chip from an SPI register on; the result has as many as the module sent.
    Bytes g7driver_read_from_spi_register(uint8_t address, uint32_t length);
    /// Writes one of the chip's PIF registers.
    void g7driver_set_pif_register(uint8_t address, uint8_t value);
    /// One of the chip's PIF registers.
    uint8_t g7driver_get_pif_register(uint8_t address);
    /// Writes one of the chip's XIF registers.
    void g7driver_set_xif_register(uint8_t address, uint8_t value);
    /// One of the chip's XIF registers.
    uint8_t g7driver_get_xif_register(uint8_t address);
    /// Sets the divider of the chip's pulse repetition frequency.
    void g7driver_set_prf_div(uint8_t prf_div);
    /// The divider of the chip's pulse repetition frequency.
    uint8_t g7driver_get_prf_div();

    // ---- IO pins of the module ----

    /// Sets up an IO pin: a KMID_IOPIN_ setup (input, output, ...) and the feature it serves.
    void set_iopin_control(uint32_t pin_id, uint32_t pin_setup, uint32_t pin_feature);
    /// Drives an output pin: 0 low, 1 high.
    void set_iopin_value(uint32_t pin_id, uint32_t pin_value);
    /// A pin's level.
    uint32_t get_iopin_value(uint32_t pin_id);

    // ---- data queues: peek counts the packets waiting, read takes the oldest (blocking while none) ----

    /// Counts the float data messages waiting, such as radar frames.
    int peek_message_data_float();
    /// Takes the oldest float data message; waits for one while none is there.
    DataFloat read_message_data_float();
    /// Counts the text data messages waiting.
    int peek_message_data_string();
    /// Takes the oldest text data message; waits for one while none is there. Null pointers are skipped;
    /// returns 0, or 1 for a packet of another kind, which is dropped.
    int read_message_data_string(uint32_t* content_id, uint32_t* info, std::string* data);
    /// Counts the byte data messages waiting.
    int peek_message_data_byte();
    /// Takes the oldest byte data message; waits for one while none is there. Null pointers are skipped;
    /// returns 0, or 1 for a packet of another kind, which is dropped.
    int read_message_data_byte(uint32_t* content_id, uint32_t* info, Bytes* data);
    /// Counts the system status messages waiting.
    int peek_message_system();
    /// Takes the oldest system status message (a KMS_SPRS_ status, such as ready); waits for one while none
    /// is there.
    uint32_t read_message_system();

    // ---- the module's file system: files are known by a type and an identifier ----

    /// The identifiers of all files of one type.
    std::vector<int32_t> search_for_file_by_type(uint32_t type);
    /// All files: entry i of both vectors is one file's type and identifier.
    Files find_all_files();
    /// Creates a file of that length and opens it for set_file_data.
    void create_file(uint32_t type, uint32_t identifier, uint32_t length);
    /// Opens an existing file.
    void open_file(uint32_t type, uint32_t identifier);
    /// Writes into an open file at the offset.
    void set_file_data(uint32_t type, uint32_t identifier, uint32_t offset, const Bytes& data);
    /// Closes an open file; `commit` keeps what was written, otherwise it is dropped.
    void close_file(uint32_t type, uint32_t identifier, bool commit);
    /// A file's length in bytes.
    uint32_t get_file_length(uint32_t type, uint32_t identifier);
    /// Deletes a file.
    void delete_file(uint32_t type, uint32_t identifier);
    /// `length` bytes of an open file from the offset.
    Bytes get_file_data(uint32_t type, uint32_t identifier, uint32_t offset, uint32_t length);
    /// Erases the whole file system; the key guards against doing so by accident.
    void format_filesystem(uint32_t key);
    /// Writes a whole file, created anew, in chunks of 2000 bytes, and commits it. A failed chunk leaves the
    /// file open and uncommitted.
    void set_file(uint32_t type, uint32_t identifier, const Bytes& data);
    /// A whole file, read in chunks of 2000 bytes.
    Bytes get_file(uint32_t type, uint32_t identifier);

private:
    LockedRadarInterfacePtr& guard();

    std::unique_ptr<FacadePrivate> d_ptr;
};

} // namespace Tervik

#endif
