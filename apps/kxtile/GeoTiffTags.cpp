// SPDX-License-Identifier: MIT
#include "GeoTiffTags.h"

#include "Command.h"

#include <fmt/format.h>

#include <bit>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <utility>
#include <vector>

namespace KxTileHost {

namespace {

using Bytes = std::vector<unsigned char>;

// Tags and types by TIFF 6.0 and OGC 19-008r4.
constexpr std::uint16_t kModelPixelScale = 33550;
constexpr std::uint16_t kModelTiepoint = 33922;
constexpr std::uint16_t kGeoKeyDirectory = 34735;
constexpr std::uint16_t kGeoAsciiParams = 34737;
constexpr std::uint16_t kTypeAscii = 2;
constexpr std::uint16_t kTypeShort = 3;
constexpr std::uint16_t kTypeDouble = 12;

constexpr std::uint16_t kModelType = 1024;   ///< 1 projected, 2 geographic, kUserDefined
constexpr std::uint16_t kRasterType = 1025;  ///< 1 pixels are areas
constexpr std::uint16_t kGeodeticCrs = 2048; ///< EPSG code
constexpr std::uint16_t kGeodeticCitation = 2049;
constexpr std::uint16_t kProjectedCrs = 3072; ///< EPSG code
constexpr std::uint16_t kProjectedCitation = 3073;
constexpr std::uint16_t kUserDefined = 32767;

constexpr std::size_t kEntrySize = 12;

void Put(Bytes& to, std::uint64_t value, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i)
        to.push_back(static_cast<unsigned char>(value >> (8 * i)));
}

std::uint32_t Get(const unsigned char* from, std::size_t count)
{
    std::uint32_t value = 0;
    for (std::size_t i = count; i-- > 0;)
        value = value << 8U | from[i];
    return value;
}

struct Tag
{
    std::uint16_t m_tag;
    std::uint16_t m_type;
    std::uint32_t m_count;
    Bytes m_value; ///< more than four bytes
};

Tag Doubles(std::uint16_t tag, const std::vector<double>& numbers)
{
    Tag made{tag, kTypeDouble, static_cast<std::uint32_t>(numbers.size()), {}};
    for (const double number : numbers)
        Put(made.m_value, std::bit_cast<std::uint64_t>(number), sizeof number);
    return made;
}

/// A text that GDAL and the programs of its maker read a coordinate system from.
std::string Citation(const std::string& esriPrj)
{
    return "ESRI PE String = " + esriPrj + "|";
}

Tag GeoKeys(const GeoTiffCrs& crs)
{
    const bool named = crs.m_epsg > 0 && crs.m_epsg < kUserDefined;
    const auto code = static_cast<std::uint16_t>(named ? crs.m_epsg : kUserDefined);
    // GDAL looks for a text where the model, too, is the user's own.
    const int model = !named ? kUserDefined : crs.m_inDegrees ? 2 : 1;
    std::vector<std::uint16_t> keys{kModelType,
                                    0,
                                    1,
                                    static_cast<std::uint16_t>(model),
                                    kRasterType,
                                    0,
                                    1,
                                    1,
                                    crs.m_inDegrees ? kGeodeticCrs : kProjectedCrs,
                                    0,
                                    1,
                                    code};
    if (!named)
        keys.insert(keys.end(),
                    {crs.m_inDegrees ? kGeodeticCitation : kProjectedCitation,
                     kGeoAsciiParams,
                     static_cast<std::uint16_t>(Citation(crs.m_esriPrj).size()),
                     0});
    // Version 1.1 and the number of keys.
    keys.insert(keys.begin(), {1, 1, 0, static_cast<std::uint16_t>(keys.size() / 4)});
    Tag made{kGeoKeyDirectory, kTypeShort, static_cast<std::uint32_t>(keys.size()), {}};
    for (const std::uint16_t key : keys)
        Put(made.m_value, key, sizeof key);
    return made;
}

/// In the order of their numbers, as a directory has them.
std::vector<Tag> TagsOf(const PixelPlaces& places, const GeoTiffCrs& crs)
{
    std::vector<Tag> tags{Doubles(kModelPixelScale, {places.m_pixelWidth, places.m_pixelHeight, 0}),
                          // The outer corner of the first pixel.
                          Doubles(kModelTiepoint,
                                  {0,
                                   0,
                                   0,
                                   places.m_firstX - places.m_pixelWidth / 2,
                                   places.m_firstY + places.m_pixelHeight / 2,
                                   0}),
                          GeoKeys(crs)};
    if (crs.m_epsg == 0) {
        const std::string text = Citation(crs.m_esriPrj);
        Tag made{kGeoAsciiParams,
                 kTypeAscii,
                 static_cast<std::uint32_t>(text.size() + 1),
                 Bytes(text.begin(), text.end())};
        made.m_value.push_back(0);
        tags.push_back(std::move(made));
    }
    return tags;
}

[[noreturn]] void ThrowNotTagged(const std::string& path)
{
    throw CommandError(kExitFailed, fmt::format("cannot write the georeference into '{}'", path));
}

/// The entries of the one directory.
Bytes ReadDirectory(std::fstream& file, const std::string& path)
{
    Bytes header(8);
    file.read(reinterpret_cast<char*>(header.data()), 8);
    if (!file || std::memcmp(header.data(), "II*\0", 4) != 0)
        ThrowNotTagged(path);
    file.seekg(Get(&header[4], 4));
    Bytes count(2);
    file.read(reinterpret_cast<char*>(count.data()), 2);
    Bytes entries(Get(count.data(), 2) * kEntrySize);
    file.read(reinterpret_cast<char*>(entries.data()),
              static_cast<std::streamsize>(entries.size()));
    if (!file || entries.empty() ||
        Get(&entries[entries.size() - kEntrySize], 2) >= kModelPixelScale)
        ThrowNotTagged(path);
    return entries;
}

/// What comes behind the end of the file: the tags' values, then the directory.
/// @param end  the file's length, even
/// @param directory  receives the place of the directory
Bytes Appendix(const std::vector<Tag>& tags, Bytes entries, std::size_t end, std::size_t& directory)
{
    Bytes appendix;
    for (const Tag& tag : tags) {
        Put(entries, tag.m_tag, 2);
        Put(entries, tag.m_type, 2);
        Put(entries, tag.m_count, 4);
        Put(entries, end + appendix.size(), 4);
        appendix.insert(appendix.end(), tag.m_value.begin(), tag.m_value.end());
        appendix.resize((appendix.size() + 7) / 8 * 8);
    }
    directory = end + appendix.size();
    Put(appendix, entries.size() / kEntrySize, 2);
    appendix.insert(appendix.end(), entries.begin(), entries.end());
    Put(appendix, 0, 4); // no further directory
    return appendix;
}

} // namespace

void AddGeoTiffTags(const std::string& path, const PixelPlaces& places, const GeoTiffCrs& crs)
{
    std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
    if (!file)
        ThrowNotTagged(path);
    const Bytes entries = ReadDirectory(file, path);
    file.seekp(0, std::ios::end);
    const auto length = static_cast<std::size_t>(file.tellp());
    const std::size_t end = (length + 7) / 8 * 8;
    std::size_t directory = 0;
    Bytes appendix(end - length);
    const Bytes added = Appendix(TagsOf(places, crs), entries, end, directory);
    appendix.insert(appendix.end(), added.begin(), added.end());
    file.write(reinterpret_cast<const char*>(appendix.data()),
               static_cast<std::streamsize>(appendix.size()));
    Bytes offset;
    Put(offset, directory, 4);
    file.seekp(4);
    file.write(reinterpret_cast<const char*>(offset.data()), 4);
    file.close();
    if (!file)
        ThrowNotTagged(path);
}

} // namespace KxTileHost
