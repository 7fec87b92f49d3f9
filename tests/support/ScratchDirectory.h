// A fresh directory under /tmp as the current one for each test of the fixture, removed with everything in it
// afterwards: the default logger output writes its debug files into the current directory.
#ifndef DEVICEBRIDGE_TESTS_SCRATCHDIRECTORY_H
#define DEVICEBRIDGE_TESTS_SCRATCHDIRECTORY_H

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdlib.h>
#include <string>
#include <vector>

class ScratchDirectory : public ::testing::Test {
protected:
    void SetUp() override {
        char pattern[] = "/tmp/devicebridge_test.XXXXXX";
        ASSERT_NE(nullptr, mkdtemp(pattern));
        path = pattern;
        previous = std::filesystem::current_path();
        std::filesystem::current_path(path);
    }
    void TearDown() override {
        if (path.empty())
            return;
        std::filesystem::current_path(previous);
        std::filesystem::remove_all(path);
    }
    // The names of the files in the directory.
    std::vector<std::string> files() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(path))
            names.push_back(entry.path().filename().string());
        return names;
    }

    // The whole content of a file of the directory; empty for one that doesn't exist.
    std::string text_of(const std::string& name) const {
        std::ifstream file(path + "/" + name, std::ios::binary);
        return std::string((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    }

    std::string path;

private:
    std::filesystem::path previous;
};

#endif
