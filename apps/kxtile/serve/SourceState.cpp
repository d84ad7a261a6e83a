// SPDX-License-Identifier: MIT
#include "serve/SourceState.h"

#include "KxUtility.h"
#include "SourceGrid.h"
#include "serve/SourceFiles.h"
#include "serve/SourceLoader.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>

namespace KxTileHost::Serve {

namespace {

namespace fs = std::filesystem;

/// Leaves the cache folder, so that nothing of that name is kept on disk; nobody else's in memory.
std::string NameOfNothingKept()
{
    return fmt::format("script/{}", NextGeneration());
}

std::string HashOf(const std::string& text)
{
    return KxC::KxUtility::GetValidHashKey(
               KxC::KxString(text.data(), static_cast<int>(text.size())))
        .Cstr();
}

bool IsPlain(const KxC::KxTSDParamItem& item)
{
    return item.m_nTileScheme == kSchemeWebMercator && item.m_nDatum == 0 &&
           item.m_nSouthToNorth == 0 && item.m_nAxisOrder == 0 && item.m_nLevelOffset == 0 &&
           item.m_strServerParts.IsEmpty() != 0 && item.m_strUserAgent.IsEmpty() != 0 &&
           item.m_arrRequestHeaders.GetSize() == 0;
}

std::string TraitsOf(const KxC::KxTSDParamItem& item)
{
    std::string text = fmt::format("{} scheme {} datum {} rows {} axes {} offset {}\n{}\n{}",
                                   item.m_strUrlTemplate.Cstr(),
                                   item.m_nTileScheme,
                                   item.m_nDatum,
                                   item.m_nSouthToNorth,
                                   item.m_nAxisOrder,
                                   item.m_nLevelOffset,
                                   item.m_strServerParts.Cstr(),
                                   item.m_strUserAgent.Cstr());
    for (const KxC::KxString& line : item.m_arrRequestHeaders)
        text += fmt::format("\n{}", line.Cstr());
    return text;
}

} // namespace

std::string NameOfDefinition(const std::string& path)
{
    const std::string file = FileOf(path);
    std::ifstream stream(file, std::ios::binary);
    if (!stream)
        return "";
    const std::string bytes{std::istreambuf_iterator<char>(stream),
                            std::istreambuf_iterator<char>()};
    return HashOf(bytes + path.substr(file.size()));
}

std::string NameOfRaster(const std::string& path)
{
    std::error_code error;
    const auto size = fs::file_size(path, error);
    const auto time = fs::last_write_time(path, error).time_since_epoch().count();
    // Another one when other pictures are made of the same file.
    constexpr int kWayOfDrawing = 2;
    return HashOf(
        fmt::format("{} {} {} {}", fs::absolute(path, error).string(), size, time, kWayOfDrawing));
}

void NameSourceTiles(KxC::KxTSDParamItem& item, const std::string& name)
{
    // A script has no template that would name its tiles.
    if (item.m_bLuaScripted != 0)
        item.m_strHashKey = (name.empty() ? NameOfNothingKept() : "script-" + name).c_str();
    else if (!IsPlain(item))
        item.m_strHashKey = HashOf(TraitsOf(item)).c_str();
}

} // namespace KxTileHost::Serve
