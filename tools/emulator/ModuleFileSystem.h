// The module's small file system. A file is known by a type and an identifier. Changes are made to an open
// file's working copy and reach the stored file only when it is closed with commit, as on the module's
// flash: a file created and closed without commit never exists. Files survive a module reset and go only
// with a format.
//
// Every operation returns false when the module would refuse it: no such file, a file that isn't open, a
// write beyond the length reserved at creation, a read beyond the end, or more than the capacity.
// Not thread-safe: its owner guards it.
#ifndef DEVICEBRIDGE_TOOLS_MODULEFILESYSTEM_H
#define DEVICEBRIDGE_TOOLS_MODULEFILESYSTEM_H

#include "Bytes.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <utility>
#include <vector>

class ModuleFileSystem {
public:
    // All files together, stored and open, hold at most this many bytes.
    static const size_t capacity = 4 * 1024 * 1024;

    // Creates a file of `length` zero bytes and opens it; an existing file of that name is replaced at
    // commit.
    bool create(uint32_t type, uint32_t identifier, uint32_t length);
    bool open(uint32_t type, uint32_t identifier);
    bool write(uint32_t type, uint32_t identifier, uint32_t offset, const Bytes& data);
    bool close(uint32_t type, uint32_t identifier, bool commit);
    bool remove(uint32_t type, uint32_t identifier);
    // The length of the open file, else of the stored one.
    bool length(uint32_t type, uint32_t identifier, uint32_t& length) const;
    // Up to `length` bytes from `offset` on, fewer at the end of the file.
    bool read(uint32_t type, uint32_t identifier, uint32_t offset, uint32_t length, Bytes& data) const;
    // The identifiers of the stored files of a type, in ascending order.
    std::vector<uint32_t> search(uint32_t type) const;
    // Types and identifiers of all stored files, entry i of both naming one file, by type, then identifier.
    void list(std::vector<uint32_t>& types, std::vector<uint32_t>& identifiers) const;
    // Forgets every file, open or stored.
    void format();

private:
    typedef std::pair<uint32_t, uint32_t> Name;

    const Bytes* find(const Name& name) const;
    size_t bytes_held() const;

    std::map<Name, Bytes> stored_;
    std::map<Name, Bytes> open_;
};

#endif
