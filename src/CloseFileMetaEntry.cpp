#include "CloseFileMetaEntry.h"

namespace Tervik {

CloseFileMetaEntry::CloseFileMetaEntry(uint32_t epoch_offset, uint32_t data_type, int64_t offset,
                                       int64_t total_bytes_recorded, uint32_t filename_index)
    : AbstractMetaEntry(epoch_offset), m_data_type(data_type), m_filename_index(filename_index),
      m_offset(offset), m_total_bytes_recorded(total_bytes_recorded) {}

} // namespace Tervik
