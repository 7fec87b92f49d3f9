#include "AbstractMetaEntry.h"

#include "ByteHelpers.h"
#include "CloseFileMetaEntry.h"
#include "FileMapMetaEntry.h"
#include "WriteFileMetaEntry.h"

#include <cassert>
#include <stdexcept>

namespace Tervik {

namespace {

void append_data_entry_fields(Bytes& result, uint32_t data_type, uint32_t bytes_written,
                              uint32_t filename_index, int64_t offset, int64_t total_bytes_recorded) {
    append_32bits(result, static_cast<unsigned int>(data_type));
    append_32bits(result, static_cast<unsigned int>(bytes_written));
    append_32bits(result, static_cast<unsigned int>(filename_index));
    append_64bits(result, static_cast<long long>(offset));
    append_64bits(result, static_cast<long long>(total_bytes_recorded));
}

} // namespace

Bytes AbstractMetaEntry::to_raw() const {
    Bytes result;
    append_32bits(result, static_cast<unsigned int>(m_epoch_offset));
    result.push_back(static_cast<unsigned char>(type()));
    switch (type()) {
    case WriteFile: {
        const auto& entry = static_cast<const WriteFileMetaEntry&>(*this);
        append_data_entry_fields(result, entry.data_type(), entry.bytes_written(), entry.filename_index(),
                                 entry.offset(), entry.total_bytes_recorded());
        assert(result.size() == EntrySize);
        break;
    }
    case CloseFile: {
        const auto& entry = static_cast<const CloseFileMetaEntry&>(*this);
        append_data_entry_fields(result, entry.data_type(), 0, entry.filename_index(), entry.offset(),
                                 entry.total_bytes_recorded());
        assert(result.size() == EntrySize);
        break;
    }
    case FileMap: {
        const auto& entry = static_cast<const FileMapMetaEntry&>(*this);
        append_32bits(result, static_cast<unsigned int>(entry.filenames().size()));
        for (const std::string& name : entry.filenames()) {
            string_to_bytes(name, &result);
        }
        break;
    }
    default:
        throw std::runtime_error("internal error: unknown meta entry type:to_raw");
    }
    return result;
}

void AbstractMetaEntry::string_to_bytes(const std::string& text, Bytes* dst) {
    assert(dst);
    append_32bits(*dst, static_cast<unsigned int>(text.size() + 1));
    dst->insert(dst->end(), text.begin(), text.end());
    dst->push_back(0);
}

unsigned count_bits_set(uint32_t value) {
    return static_cast<unsigned>(__builtin_popcount(value));
}

} // namespace Tervik
