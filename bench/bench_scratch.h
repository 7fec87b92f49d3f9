// A directory under /tmp for a benchmark's files, removed with everything in it when the program ends.
#ifndef DEVICEBRIDGE_BENCH_SCRATCH_H
#define DEVICEBRIDGE_BENCH_SCRATCH_H

#include <cstdio>
#include <ftw.h>
#include <stdexcept>
#include <stdlib.h>
#include <string>
#include <sys/stat.h>

class TemporaryDirectory {
public:
    TemporaryDirectory() {
        char name[] = "/tmp/devicebridge_bench_XXXXXX";
        if (!mkdtemp(name))
            throw std::runtime_error("mkdtemp failed");
        path = name;
    }
    ~TemporaryDirectory() {
        nftw(
            path.c_str(), [](const char* p, const struct stat*, int, struct FTW*) { return ::remove(p); }, 16,
            FTW_DEPTH | FTW_PHYS);
    }
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;
    std::string path;
};

#endif
