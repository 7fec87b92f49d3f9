// One entry of a recording's meta file, as the recorder writes it. The meta file is a packed sequence of
// fixed-size entries (33 bytes) followed by one variable-size file map entry; to_raw gives the exact bytes.
#ifndef DEVICEBRIDGE_ABSTRACTMETAENTRY_H
#define DEVICEBRIDGE_ABSTRACTMETAENTRY_H

#include "Bytes.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace Tervik {

class AbstractMetaEntry {
public:
    enum EntryType { WriteFile = 1, CloseFile = 2, FileMap = 3 };
    static constexpr size_t EntrySize = 33;

    virtual unsigned type() const = 0;
    virtual bool is_valid() const = 0;

    uint32_t epoch_offset() const { return m_epoch_offset; }

    // The entry as it stands on disk: epoch offset, type byte, then the fields of the entry's type.
    Bytes to_raw() const;

    // Appends a counted string: uint32 length, the characters and a terminating NUL, which the length counts.
    static void string_to_bytes(const std::string& text, Bytes* dst);

protected:
    explicit AbstractMetaEntry(uint32_t epoch_offset) : m_epoch_offset(epoch_offset) {}
    // Entries are values, never deleted through this base: there is deliberately no virtual destructor.
    ~AbstractMetaEntry() = default;
    AbstractMetaEntry(const AbstractMetaEntry&) = default;
    AbstractMetaEntry& operator=(const AbstractMetaEntry&) = default;

private:
    uint32_t m_epoch_offset;
};

// The number of bits set in a data type field: 1 for a record, 31 for the complement that marks a user
// header.
unsigned count_bits_set(uint32_t value);

} // namespace Tervik

#endif
