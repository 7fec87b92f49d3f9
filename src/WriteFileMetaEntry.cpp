#include "WriteFileMetaEntry.h"

namespace Tervik {

WriteFileMetaEntry::WriteFileMetaEntry(uint32_t epoch_offset, uint32_t data_type, uint32_t bytes_written,
                                       int64_t offset, int64_t total_bytes_recorded, uint32_t filename_index)
    : AbstractMetaEntry(epoch_offset), m_data_type(data_type), m_bytes_written(bytes_written),
      m_filename_index(filename_index), m_offset(offset), m_total_bytes_recorded(total_bytes_recorded) {}

bool WriteFileMetaEntry::is_valid() const {
    const unsigned bits_set = count_bits_set(m_data_type);
    return bits_set == 1 || bits_set == 31;
}

} // namespace Tervik
