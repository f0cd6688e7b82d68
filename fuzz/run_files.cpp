/*
 * run_files.cpp - a plain main for a fuzz target: runs it on files, and on all files of folders
 *
 * A file that the fuzzer has once found stays a test this way, on machines without libFuzzer too.
 */
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

static bool runFile(const std::filesystem::path &path)
{
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        fprintf(stderr, "cannot read %s\n", path.c_str());
        return false;
    }
    std::vector<char> bytes(std::istreambuf_iterator<char>(file), {});
    LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t *>(bytes.data()), bytes.size());
    return true;
}

int main(int argc, char **argv)
{
    size_t files = 0;
    bool good = true;
    for (int i = 1; i < argc; i++) {
        if (!std::filesystem::is_directory(argv[i])) {
            good &= runFile(argv[i]);
            files++;
            continue;
        }
        for (const auto &entry : std::filesystem::recursive_directory_iterator(argv[i]))
            if (entry.is_regular_file()) {
                good &= runFile(entry.path());
                files++;
            }
    }
    printf("%zu files\n", files);
    return good && files > 0 ? 0 : 1;
}
