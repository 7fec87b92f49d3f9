// The entry that notes the close of a data file; its offset is the file's final size.
#ifndef DEVICEBRIDGE_CLOSEFILEMETAENTRY_H
#define DEVICEBRIDGE_CLOSEFILEMETAENTRY_H

#include "AbstractMetaEntry.h"

namespace Tervik {

class CloseFileMetaEntry : public AbstractMetaEntry {
public:
    CloseFileMetaEntry(uint32_t epoch_offset, uint32_t data_type, int64_t offset,
                       int64_t total_bytes_recorded, uint32_t filename_index);

    unsigned type() const override { return CloseFile; }
    bool is_valid() const override { return count_bits_set(m_data_type) == 1; }

    uint32_t data_type() const { return m_data_type; }
    uint32_t filename_index() const { return m_filename_index; }
    int64_t offset() const { return m_offset; }
    int64_t total_bytes_recorded() const { return m_total_bytes_recorded; }

private:
    uint32_t m_data_type;
    uint32_t m_filename_index;
    int64_t m_offset;
    int64_t m_total_bytes_recorded;
};

} // namespace Tervik

#endif
