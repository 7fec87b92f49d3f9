// The currency of every layer of devicebridge: frames, packets, comparators and records on disk.
#ifndef DEVICEBRIDGE_BYTES_H
#define DEVICEBRIDGE_BYTES_H

#include <vector>

// A growable array of unsigned 8-bit values. A comparator is a Bytes with which a packet must begin to match;
// the empty comparator matches every packet.
typedef std::vector<unsigned char> Bytes;

#endif
