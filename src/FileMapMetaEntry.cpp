#include "FileMapMetaEntry.h"

namespace Tervik {

FileMapMetaEntry::FileMapMetaEntry(uint32_t epoch_offset, const std::vector<std::string>& filenames)
    : AbstractMetaEntry(epoch_offset), m_filenames(filenames) {}

} // namespace Tervik
