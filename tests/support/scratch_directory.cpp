/*
 * scratch_directory.cpp - directories and files for tests
 */
#include "tests/support/scratch_directory.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <gtest/gtest.h>
#include <iterator>

ScratchDirectory::ScratchDirectory()
{
    std::string pattern = (std::filesystem::temp_directory_path() / "test.XXXXXX").string();
    if (!mkdtemp(pattern.data()))
        abort();
    path = pattern;
}

ScratchDirectory::~ScratchDirectory()
{
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
}

std::string ScratchDirectory::write(const std::string &name, const std::string &content) const
{
    std::string full = *this / name;
    std::ofstream(full, std::ios::binary) << content;
    return full;
}

std::vector<std::string> ScratchDirectory::names() const
{
    std::vector<std::string> found;
    for (const auto &entry : std::filesystem::directory_iterator(path))
        found.push_back(entry.path().filename().string());
    std::sort(found.begin(), found.end());
    return found;
}

std::string readFile(const std::string &path)
{
    std::ifstream file(path, std::ios::binary);
    EXPECT_TRUE(file) << "cannot read " << path;
    std::ostringstream all; /* in blocks: pictures are read here by the gigabyte */
    all << file.rdbuf();
    return all.str();
}

bool fileExists(const std::string &path)
{
    return std::filesystem::exists(path);
}
