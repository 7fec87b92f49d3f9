// The entry that notes one write to a data file: which type, how many bytes, where, and the running total.
#ifndef DEVICEBRIDGE_WRITEFILEMETAENTRY_H
#define DEVICEBRIDGE_WRITEFILEMETAENTRY_H

#include "AbstractMetaEntry.h"

namespace Tervik {

class WriteFileMetaEntry : public AbstractMetaEntry {
public:
    // data_type has one bit set for a record, or is the complement of its type (31 bits) for a user header.
    WriteFileMetaEntry(uint32_t epoch_offset, uint32_t data_type, uint32_t bytes_written, int64_t offset,
                       int64_t total_bytes_recorded, uint32_t filename_index);

    unsigned type() const override { return WriteFile; }
    bool is_valid() const override;

    uint32_t data_type() const { return m_data_type; }
    uint32_t bytes_written() const { return m_bytes_written; }
    uint32_t filename_index() const { return m_filename_index; }
    int64_t offset() const { return m_offset; }
    int64_t total_bytes_recorded() const { return m_total_bytes_recorded; }

private:
    uint32_t m_data_type;
    uint32_t m_bytes_written;
    uint32_t m_filename_index;
    int64_t m_offset;
    int64_t m_total_bytes_recorded;
};

} // namespace Tervik

#endif
