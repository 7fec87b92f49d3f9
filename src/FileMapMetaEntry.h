// The entry that closes a meta file: the names of its data files, relative to the meta file's directory,
// in the order that the filename_index of the other entries counts.
#ifndef DEVICEBRIDGE_FILEMAPMETAENTRY_H
#define DEVICEBRIDGE_FILEMAPMETAENTRY_H

#include "AbstractMetaEntry.h"

#include <string>
#include <vector>

namespace Tervik {

class FileMapMetaEntry : public AbstractMetaEntry {
public:
    FileMapMetaEntry(uint32_t epoch_offset, const std::vector<std::string>& filenames);

    unsigned type() const override { return FileMap; }
    bool is_valid() const override { return true; }

    const std::vector<std::string>& filenames() const { return m_filenames; }

private:
    std::vector<std::string> m_filenames;
};

} // namespace Tervik

#endif
