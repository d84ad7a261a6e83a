// SPDX-License-Identifier: MIT
#include "VirtualRaster.h"

#include <cpl_minixml.h>
#include <cpl_string.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string_view>

namespace KxC {

namespace {

namespace fs = std::filesystem;

constexpr std::uintmax_t kMaxBytes = 32 * 1024 * 1024;

/// Elements that hold a file's name.
constexpr std::string_view kFileElements[] = {"SourceFilename", "SourceDataset", "DEMPath"};
/// Keys of metadata that make GDAL open a file.
constexpr std::string_view kFileKeys[] = {"X_DATASET", "Y_DATASET", "OVERVIEW_FILE"};
constexpr std::string_view kRefusedElements[] = {"GDALWarpOptions", "PixelFunctionCode"};

template <typename Names>
bool IsAmong(const Names& names, const char* name)
{
    return std::any_of(std::begin(names), std::end(names), [name](std::string_view own) {
        return EQUAL(own.data(), name);
    });
}

std::string ReadText(const std::string& path)
{
    std::error_code error;
    const std::uintmax_t size = fs::file_size(path, error);
    if (error || size > kMaxBytes)
        return {};
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

/// Names that would be opened as something else than a file.
bool LeadsAway(std::string_view text)
{
    return text.starts_with("/vsi") || text.find("://") != text.npos ||
           text.find_first_of("<>") != text.npos;
}

class SourceList
{
public:
    SourceList(const std::string& path, std::vector<std::string>& sources)
        : m_folder(fs::path(path).parent_path()), m_sources(sources)
    {
    }

    /// Nodes hang on each other by two links: those beside a node are walked, those below it and
    /// its kin are a call; the parser bounds how deep they go.
    bool Take(const CPLXMLNode* node)
    {
        for (; node != nullptr; node = node->psNext) {
            if (node->eType == CXT_Element && !TakeElement(*node))
                return false;
            if (!Take(node->psChild))
                return false;
        }
        return true;
    }

private:
    bool TakeElement(const CPLXMLNode& element)
    {
        if (IsAmong(kRefusedElements, element.pszValue))
            return false;
        const char* key = CPLGetXMLValue(&element, "key", "");
        if (EQUAL(element.pszValue, "MDI") && IsAmong(kFileKeys, key))
            return false;
        return !IsAmong(kFileElements, element.pszValue) || TakeFile(element);
    }

    bool TakeFile(const CPLXMLNode& element)
    {
        const std::string name = CPLGetXMLValue(&element, nullptr, "");
        const bool isShared = CPLTestBool(CPLGetXMLValue(&element, "shared", "NO"));
        if (name.empty() || isShared || LeadsAway(name))
            return false;
        const bool isRelative = CPLTestBool(CPLGetXMLValue(&element, "relativeToVRT", "NO"));
        const fs::path file(name);
        // GDAL takes other relative names from the folder that the program runs in.
        std::error_code error;
        m_sources.push_back((isRelative ? m_folder / file : fs::absolute(file, error)).string());
        return !error;
    }

    fs::path m_folder;
    std::vector<std::string>& m_sources;
};

} // namespace

bool ListSources(const std::string& path, std::vector<std::string>& sources)
{
    const std::string text = ReadText(path);
    if (text.empty() || text.find('\0') != text.npos)
        return false;
    const CPLXMLTreeCloser tree(CPLParseXMLString(text.c_str()));
    return tree != nullptr && SourceList(path, sources).Take(tree.get());
}

} // namespace KxC
