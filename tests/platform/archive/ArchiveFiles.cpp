// SPDX-License-Identifier: MIT
#include "ArchiveFiles.h"

#include "support/TempFolder.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>

namespace KxC::Test {

namespace {

const std::string kReader = std::string(KX_PYTHON) + " -B '" + KX_PMTILES_READER + "' ";

} // namespace

bool AddTile(KxTileArchiveWriter& writer, int level, int row, int col, const std::string& bytes)
{
    return writer.AddTile(level,
                          row,
                          col,
                          reinterpret_cast<const unsigned char*>(bytes.data()),
                          static_cast<unsigned int>(bytes.size()));
}

std::string FakePng(int number)
{
    return "\x89PNG\r\n\x1a\n" + std::to_string(number);
}

std::vector<std::string> FilesIn(const std::string& folder)
{
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

bool RunProgram(const std::string& command)
{
    // NOLINTNEXTLINE(concurrency-mt-unsafe): no other thread is there
    return std::system(command.c_str()) == 0;
}

bool Extract(const std::string& archive, const std::string& folder)
{
    return RunProgram(kReader + "'" + archive + "' '" + folder + "'");
}

std::string Check(const std::string& archive, const std::string& folder)
{
    const std::string answer = folder + "/answer.json";
    return RunProgram(kReader + "--check '" + archive + "' > '" + answer + "'") ? ReadFile(answer)
                                                                                : "";
}

} // namespace KxC::Test
