// SPDX-License-Identifier: MIT
#include "serve/SourceState.h"

#include "KxUtility.h"
#include "SourceGrid.h"
#include "serve/SourceFiles.h"
#include "serve/SourceLoader.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <system_error>

namespace KxTileHost::Serve {

namespace {

namespace fs = std::filesystem;

/// Leaves the cache folder, so that nothing of that name is kept on disk; nobody else's in memory.
std::string NameOfNothingKept()
{
    return fmt::format("script/{}", NextGeneration());
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

/// Pieces of text in a row, each with its length in front: no two rows give the same text.
class Row
{
public:
    void Add(const std::string& piece) { m_text += fmt::format("{}:{}\n", piece.size(), piece); }
    void Add(const KxC::KxString& piece) { Add(std::string(piece.Cstr())); }
    template <typename Number>
    void AddNumber(Number number)
    {
        Add(fmt::format("{}", number));
    }
    const std::string& Text() const { return m_text; }

private:
    std::string m_text;
};

void AddNumbers(Row& row, const KxC::KxTSDParamItem& item)
{
    for (const int number : {item.m_nTileScheme,
                             item.m_nDatum,
                             item.m_nTileSize,
                             item.m_nValue1,
                             item.m_nValue2,
                             item.m_nValue3,
                             item.m_nLevelOffset,
                             item.m_nSouthToNorth,
                             item.m_nAxisOrder,
                             item.m_levelBounds.m_nMinLevel,
                             item.m_levelBounds.m_nMaxLevel,
                             int{item.m_bOption1},
                             int{item.m_bOption2},
                             int{item.m_bOption3},
                             int{item.m_bHasServerPart},
                             int{item.m_bLuaScripted}})
        row.AddNumber(number);
    const KxC::KxRect2d& bounds = item.m_levelBounds.m_rect;
    for (const double edge : {bounds.m_dLeft, bounds.m_dTop, bounds.m_dRight, bounds.m_dBottom})
        row.AddNumber(edge);
}

/// All that a record holds but its script; a field that shapes no tile does no harm.
void AddRecord(Row& row, const KxC::KxTSDParamItem& item)
{
    AddNumbers(row, item);
    for (const KxC::KxString* text : {&item.m_strImageFormat,
                                      &item.m_strAttr1,
                                      &item.m_strVersion,
                                      &item.m_strAttr2,
                                      &item.m_strAttr3,
                                      &item.m_strUrlTemplate,
                                      &item.m_strRowDirection,
                                      &item.m_strAttr4,
                                      &item.m_strUserAgent,
                                      &item.m_strAttr5,
                                      &item.m_strServerParts})
        row.Add(*text);
    for (const KxC::KxString& line : item.m_arrRequestHeaders)
        row.Add(line);
}

/// At most one byte more than scripts and definitions may have.
std::string BytesOf(const std::string& path)
{
    constexpr std::size_t kMostBytes = (std::size_t{1} << 20) + 1;
    std::error_code error;
    if (!fs::is_regular_file(path, error))
        return "";
    std::string bytes(std::min<std::uintmax_t>(fs::file_size(path, error), kMostBytes), '\0');
    std::ifstream stream(path, std::ios::binary);
    stream.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    bytes.resize(static_cast<std::size_t>(stream.gcount()));
    return bytes;
}

/// The script that a definition holds, or that is made of its address.
std::string ScriptIn(const std::string& path)
{
    KxC::KxTSDParamItem unused;
    KxC::KxString scheme;
    KxC::KxString axisOrder;
    KxC::KxString datum;
    KxC::KxString script;
    KxC::KxUtility::LoadNewTSD(path.c_str(),
                               unused.m_levelBounds,
                               unused.m_nTileSize,
                               unused.m_nValue1,
                               unused.m_nValue2,
                               unused.m_nValue3,
                               unused.m_strImageFormat,
                               unused.m_strAttr1,
                               scheme,
                               unused.m_strVersion,
                               unused.m_strAttr2,
                               unused.m_strAttr3,
                               unused.m_strUrlTemplate,
                               unused.m_bOption1,
                               unused.m_bOption2,
                               unused.m_bOption3,
                               unused.m_nLevelOffset,
                               unused.m_strAttr4,
                               axisOrder,
                               unused.m_strRowDirection,
                               unused.m_strUserAgent,
                               unused.m_strAttr5,
                               datum,
                               unused.m_strServerParts,
                               script,
                               unused.m_arrRequestHeaders);
    return script.Cstr();
}

void AddScript(Row& row, const KxC::KxTSDParamItem& item, const std::string& path)
{
    row.Add(ScriptIn(path));
    const fs::path file(item.m_strUrlTemplate.Cstr());
    row.Add(BytesOf((fs::path(FileOf(path)).parent_path() / file).string()));
}

} // namespace

std::string HashOf(const std::string& text)
{
    return KxC::KxUtility::GetValidHashKey(
               KxC::KxString(text.data(), static_cast<int>(text.size())))
        .Cstr();
}

std::string NameOfDefinition(const KxC::KxTSDParamItem& item, const std::string& path)
{
    Row row;
    row.Add(path.substr(FileOf(path).size()));
    AddRecord(row, item);
    if (item.m_bLuaScripted != 0)
        AddScript(row, item, path);
    return HashOf(row.Text());
}

std::string NameOfDefinition(const std::string& path)
{
    std::error_code error;
    if (!fs::is_regular_file(FileOf(path), error))
        return "";
    KxC::KxTSDParamItem item;
    item.LoadFromTSDFile(path.c_str());
    return NameOfDefinition(item, path);
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
