#include "ModuleFileSystem.h"

#include <algorithm>

const size_t ModuleFileSystem::capacity;

size_t ModuleFileSystem::bytes_held() const {
    size_t total = 0;
    for (const auto& file : stored_)
        total += file.second.size();
    for (const auto& file : open_)
        total += file.second.size();
    return total;
}

const Bytes* ModuleFileSystem::find(const Name& name) const {
    auto open = open_.find(name);
    if (open != open_.end())
        return &open->second;
    auto stored = stored_.find(name);
    return stored == stored_.end() ? nullptr : &stored->second;
}

bool ModuleFileSystem::create(uint32_t type, uint32_t identifier, uint32_t length) {
    // A length field of a damaged or hostile command must not make the emulator allocate gigabytes.
    if (length > capacity - bytes_held())
        return false;
    open_[Name(type, identifier)] = Bytes(length, 0);
    return true;
}

bool ModuleFileSystem::open(uint32_t type, uint32_t identifier) {
    const Name name(type, identifier);
    auto stored = stored_.find(name);
    if (stored == stored_.end())
        return open_.count(name) > 0;
    open_[name] = stored->second;
    return true;
}

bool ModuleFileSystem::write(uint32_t type, uint32_t identifier, uint32_t offset, const Bytes& data) {
    auto open = open_.find(Name(type, identifier));
    if (open == open_.end() || offset > open->second.size() || data.size() > open->second.size() - offset)
        return false;
    std::copy(data.begin(), data.end(), open->second.begin() + offset);
    return true;
}

bool ModuleFileSystem::close(uint32_t type, uint32_t identifier, bool commit) {
    auto open = open_.find(Name(type, identifier));
    if (open == open_.end())
        return false;
    if (commit)
        stored_[open->first] = std::move(open->second);
    open_.erase(open);
    return true;
}

bool ModuleFileSystem::remove(uint32_t type, uint32_t identifier) {
    const Name name(type, identifier);
    const bool existed = stored_.erase(name) + open_.erase(name) > 0;
    return existed;
}

bool ModuleFileSystem::length(uint32_t type, uint32_t identifier, uint32_t& length) const {
    const Bytes* file = find(Name(type, identifier));
    if (!file)
        return false;
    length = static_cast<uint32_t>(file->size());
    return true;
}

bool ModuleFileSystem::read(uint32_t type, uint32_t identifier, uint32_t offset, uint32_t length,
                            Bytes& data) const {
    const Bytes* file = find(Name(type, identifier));
    if (!file || offset > file->size())
        return false;
    const size_t count = std::min<size_t>(length, file->size() - offset);
    data.assign(file->begin() + offset, file->begin() + offset + count);
    return true;
}

std::vector<uint32_t> ModuleFileSystem::search(uint32_t type) const {
    std::vector<uint32_t> identifiers;
    for (const auto& file : stored_)
        if (file.first.first == type)
            identifiers.push_back(file.first.second);
    return identifiers;
}

void ModuleFileSystem::list(std::vector<uint32_t>& types, std::vector<uint32_t>& identifiers) const {
    types.clear();
    identifiers.clear();
    for (const auto& file : stored_) {
        types.push_back(file.first.first);
        identifiers.push_back(file.first.second);
    }
}

void ModuleFileSystem::format() {
    stored_.clear();
    open_.clear();
}
