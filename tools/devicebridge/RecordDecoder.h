// The records of a recording as a person reads them: the columns of each data type, the rows that one
// record makes (a baseband frame makes a row per bin, a pulse-Doppler row a row per frequency, a text
// record a row of its fields), and a one-line summary. Every length and count in a record is checked
// against its size: a malformed record yields no rows and says so, never a read outside it.
#ifndef DEVICEBRIDGE_TOOLS_DEVICEBRIDGE_RECORDDECODER_H
#define DEVICEBRIDGE_TOOLS_DEVICEBRIDGE_RECORDDECODER_H

#include "Bytes.h"
#include "DataTypes.h"

#include <string>
#include <vector>

namespace tool {

typedef std::vector<std::string> Row;

enum class Decoded {
    rows,   // the record's rows were appended
    header, // a text file's header line: no rows
    malformed
};

// The columns of the type's rows. Text types have the fields of their header line, their own time stamp
// among them; binary types have none of their own.
Row columns_of(Tervik::DataType type);

// Appends the rows of one record as stored on disk.
Decoded decode_record(Tervik::DataType type, const Bytes& record, std::vector<Row>* rows);

// One line about the record: its text, or the gist of a binary record.
std::string summary_of(Tervik::DataType type, const Bytes& record);

// The data type of a packet as a module sends it, by its head; InvalidDataType for a packet of no type
// (replies, acknowledgements, ...).
Tervik::DataType type_of_packet(const Bytes& packet);

// A float in the shortest text that reads back as the same float.
std::string float_text(float value);

} // namespace tool

#endif
