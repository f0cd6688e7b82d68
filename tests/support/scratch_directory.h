/*
 * scratch_directory.h - a directory for one test, and files in and out of it
 */
#ifndef TESTS_SCRATCH_DIRECTORY_H
#define TESTS_SCRATCH_DIRECTORY_H

#include <string>
#include <vector>

/* A new empty directory, removed with its content at the end. */
class ScratchDirectory {
  public:
    ScratchDirectory();
    ~ScratchDirectory();
    ScratchDirectory(const ScratchDirectory &) = delete;
    ScratchDirectory &operator=(const ScratchDirectory &) = delete;

    /* The path of a name in it. */
    std::string operator/(const std::string &name) const { return path + "/" + name; }

    /* Writes a file and answers its path. */
    std::string write(const std::string &name, const std::string &content) const;

    /* The names in it, hidden ones included, sorted. */
    std::vector<std::string> names() const;

    std::string path;
};

/* The content of a file; the test fails when it cannot be read. */
std::string readFile(const std::string &path);

bool fileExists(const std::string &path);

#endif
