// SPDX-License-Identifier: MIT
// Runs a target once over every file of the folders and files that it is given, without libFuzzer.
#include "FuzzTarget.h"

#include <algorithm>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

std::vector<fs::path> FilesOf(const fs::path& path)
{
    std::vector<fs::path> files;
    if (fs::is_directory(path))
        for (const fs::directory_entry& entry : fs::recursive_directory_iterator(path)) {
            if (entry.is_regular_file())
                files.push_back(entry.path());
        }
    else if (fs::exists(path))
        files.push_back(path);
    std::sort(files.begin(), files.end());
    return files;
}

void RunFile(const fs::path& path)
{
    std::ifstream file(path, std::ios::binary);
    const std::string content{std::istreambuf_iterator<char>(file),
                              std::istreambuf_iterator<char>()};
    // A block of just this size: reading beyond it is then seen by the address sanitizer.
    const std::vector<std::uint8_t> bytes(content.begin(), content.end());
    std::printf("%s: %zu bytes\n", path.c_str(), bytes.size());
    std::fflush(stdout);
    LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
}

int RunAll(int argc, char** argv)
{
    int count = 0;
    for (int i = 1; i < argc; ++i)
        for (const fs::path& path : FilesOf(argv[i])) {
            RunFile(path);
            ++count;
        }
    // A folder without inputs is a wrong argument.
    if (count == 0)
        std::fprintf(stderr, "usage: %s FOLDER-OR-FILE...; no input was found there\n", argv[0]);
    return count == 0 ? 2 : 0;
}

} // namespace

int main(int argc, char** argv)
try {
    return RunAll(argc, argv);
} catch (const std::exception& error) {
    std::fprintf(stderr, "%s: %s\n", argv[0], error.what());
    return 1;
}
