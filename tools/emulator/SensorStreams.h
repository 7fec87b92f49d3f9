// The data streams of a module and the packets that carry them. The readings come from a made-up scene, a
// person who moves slowly back and forth in front of the sensor and breathes about 15 times a minute, so
// that every value changes a little from one packet to the next and stays in a plausible range.
#ifndef DEVICEBRIDGE_TOOLS_SENSORSTREAMS_H
#define DEVICEBRIDGE_TOOLS_SENSORSTREAMS_H

#include "Bytes.h"

#include <cstdint>

enum class StreamKind {
    presence_single,
    presence_movinglist,
    respiration_legacy,
    sleep,
    respiration_movinglist,
    respiration_detectionlist,
    baseband_iq,
    baseband_ap,
    pulsedoppler_float,
    pulsedoppler_byte,
    noisemap_float,
    noisemap_byte
};

// The packet number `frame_counter` of a stream. `bins` is the bin count of the baseband streams and the
// frequency count of the pulse-Doppler and noise map streams (at least 1); the lists of the moving-list
// streams have a few entries of their own.
Bytes sensor_stream_packet(StreamKind kind, uint32_t frame_counter, uint32_t bins);

#endif
