// SPDX-License-Identifier: MIT
#include "FailedTiles.h"

#include "Command.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <tuple>
#include <utility>

namespace KxTileHost {

namespace {

/// A list that is longer than this is none that a run of ours has written.
constexpr std::size_t kMaxTiles = 50'000'000;
constexpr char kHeader[] = "# Tiles that failed: COLUMN/ROW/LEVEL, rows from the north, and why.\n";

std::string OneLine(std::string text)
{
    for (char& character : text)
        if (static_cast<unsigned char>(character) < 0x20)
            character = ' ';
    return text;
}

bool IsRemark(const std::string& line)
{
    return line.empty() || line[0] == '#' || line[0] == '\r';
}

HostTile ReadLine(const std::string& line, const std::string& path, std::size_t number)
try {
    return ParseHostTile(line.substr(0, line.find_first_of(" \t\r")));
} catch (const CommandError& error) {
    throw CommandError(
        kExitFailed, fmt::format("{}, line {}: {}", path, number, error.what()), error.m_hint);
}

bool StandsBefore(const HostTile& one, const HostTile& other)
{
    return std::tie(one.m_z, one.m_y, one.m_x) < std::tie(other.m_z, other.m_y, other.m_x);
}

} // namespace

std::vector<HostTile> ReadTileList(const std::string& path)
{
    errno = 0;
    std::ifstream file(path);
    if (!file.is_open())
        throw CommandError(kExitFailed,
                           fmt::format("cannot read '{}': {}", path, std::strerror(errno)));
    std::vector<HostTile> tiles;
    std::string line;
    for (std::size_t number = 1; std::getline(file, line); ++number) {
        if (IsRemark(line))
            continue;
        if (tiles.size() == kMaxTiles)
            throw CommandError(kExitFailed,
                               fmt::format("'{}' lists more than {} tiles", path, kMaxTiles));
        tiles.push_back(ReadLine(line, path, number));
    }
    if (file.bad())
        throw CommandError(kExitFailed, fmt::format("cannot read '{}' to its end", path));
    return tiles;
}

FailedTiles::FailedTiles(std::string path, std::string remark)
    : m_path(std::move(path)), m_temporary(fmt::format("{}.{}.tmp", m_path, ::getpid())),
      m_remark(std::move(remark))
{
}

FailedTiles::~FailedTiles()
{
    std::error_code error;
    if (m_file.is_open())
        std::filesystem::remove(m_temporary, error);
}

void FailedTiles::Add(const HostTile& tile, const std::string& why)
{
    if (m_path.empty())
        return;
    if (m_count++ == 0)
        Begin();
    m_file << fmt::format("{}/{}/{}\t{}\n", tile.m_x, tile.m_y, tile.m_z, OneLine(why));
}

void FailedTiles::Begin()
{
    std::error_code error;
    const auto folder = std::filesystem::path(m_path).parent_path();
    if (!folder.empty())
        std::filesystem::create_directories(folder, error);
    m_file.open(m_temporary);
    m_file << kHeader << "# " << m_remark << '\n';
}

/// What is no tile's line is left out: somebody else's, which no run could take.
void FailedTiles::AddEarlier()
{
    m_file.flush();
    std::vector<HostTile> listed = ReadTileList(m_temporary);
    std::sort(listed.begin(), listed.end(), StandsBefore);
    std::ifstream earlier(m_path);
    std::string line;
    for (std::size_t number = 1; std::getline(earlier, line); ++number) {
        if (IsRemark(line))
            continue;
        try {
            const HostTile tile = ReadLine(line, m_path, number);
            const std::size_t why = std::min(line.find_first_of(" \t\r"), line.size() - 1) + 1;
            if (!std::binary_search(listed.begin(), listed.end(), tile, StandsBefore))
                Add(tile, line.substr(why));
        } catch (const CommandError&) {
            continue;
        }
    }
}

bool FailedTiles::Replace()
{
    m_file.close();
    std::error_code error;
    if (m_file.good())
        std::filesystem::rename(m_temporary, m_path, error);
    if (m_file.good() && !error)
        return true;
    std::filesystem::remove(m_temporary, error);
    return false;
}

bool FailedTiles::Finish()
{
    if (m_path.empty())
        return true;
    if (m_file.is_open())
        return Replace();
    std::error_code error;
    if (m_count == 0)
        std::filesystem::remove(m_path, error);
    return m_count == 0;
}

bool FailedTiles::FinishWithEarlier()
try {
    if (m_count == 0)
        return true;
    if (m_file.good())
        AddEarlier();
    return Finish();
} catch (const CommandError&) { // what was just written cannot be read: the earlier list stays
    return false;
}

} // namespace KxTileHost
