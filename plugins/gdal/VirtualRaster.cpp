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
constexpr std::string_view kRefusedElements[] = {
    "GDALWarpOptions", "PixelFunctionCode", "KernelFilteredSource"};
/// Of overviews that are averaged from the raster when they are read: pixels along an axis.
constexpr double kMaxOverviewFactor = 64;

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

/// Whether each pixel is made of many others, and not of the one under it.
bool IsResampled(const CPLXMLNode& element)
{
    return EQUAL(element.pszValue, "AveragedSource") ||
           !STARTS_WITH_CI(CPLGetXMLValue(&element, "resampling", "nearest"), "near");
}

double NumberOf(const CPLXMLNode& element, const char* name)
{
    return CPLAtof(CPLGetXMLValue(&element, name, "0"));
}

/// @return 0 for a rectangle that is not there: GDAL then takes the whole raster
double AreaOf(const CPLXMLNode& source, const std::string& rect)
{
    const double width = NumberOf(source, (rect + ".xSize").c_str());
    const double height = NumberOf(source, (rect + ".ySize").c_str());
    return width > 0 && height > 0 ? width * height : 0;
}

/// Pixels of a source that are read for one that is wanted.
/// @return 0 where that is not said
double CostOf(const CPLXMLNode& source)
{
    const double ratio = AreaOf(source, "SrcRect") / AreaOf(source, "DstRect");
    return ratio > 0 ? std::max(ratio, 1.0) : 0;
}

bool AreOverviewsFair(const CPLXMLNode& list)
{
    const CPLStringList factors(CSLTokenizeString2(CPLGetXMLValue(&list, nullptr, ""), " ,", 0));
    return !IsResampled(list) ||
           std::all_of(factors.List(), factors.List() + factors.Count(), [](const char* factor) {
               return CPLAtof(factor) <= kMaxOverviewFactor;
           });
}

class SourceList
{
public:
    SourceList(const std::string& path, std::vector<VirtualSource>& sources)
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
            const double outer = m_cost;
            if (node->eType == CXT_Element && !TakeCost(*node))
                return false;
            if (!Take(node->psChild))
                return false;
            m_cost = outer;
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

    bool TakeCost(const CPLXMLNode& element)
    {
        if (EQUAL(element.pszValue, "OverviewList"))
            return AreOverviewsFair(element);
        if (!IsResampled(element))
            return true;
        m_cost = CostOf(element);
        return m_cost >= 1;
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
        m_sources.push_back(
            {(isRelative ? m_folder / file : fs::absolute(file, error)).string(), m_cost});
        return !error;
    }

    fs::path m_folder;
    std::vector<VirtualSource>& m_sources;
    double m_cost = 1; ///< of the source that is being walked
};

} // namespace

bool ListSources(const std::string& path, std::vector<VirtualSource>& sources)
{
    const std::string text = ReadText(path);
    if (text.empty() || text.find('\0') != text.npos)
        return false;
    const CPLXMLTreeCloser tree(CPLParseXMLString(text.c_str()));
    return tree != nullptr && SourceList(path, sources).Take(tree.get());
}

} // namespace KxC
