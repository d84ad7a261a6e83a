// SPDX-License-Identifier: MIT
#include "KxPmTiles.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <new>
#include <string>

namespace KxC {

namespace {

constexpr std::array<unsigned char, 7> kMagic = {'P', 'M', 'T', 'i', 'l', 'e', 's'};
constexpr unsigned char kVersion = 3;
/// Degrees are stored as whole numbers of ten-millionths.
constexpr double kDegreeUnits = 1e7;

/// Walks over the fields in their order; the bytes are enough.
class FieldReader
{
public:
    explicit FieldReader(const unsigned char* bytes) : m_next(bytes) {}

    unsigned char Byte() { return *m_next++; }
    unsigned long long Number(unsigned int bytes)
    {
        unsigned long long value = 0;
        for (unsigned int i = 0; i < bytes; ++i)
            value |= static_cast<unsigned long long>(Byte()) << (8 * i);
        return value;
    }
    KxPmTilesSection Section()
    {
        KxPmTilesSection section;
        section.m_nOffset = Number(8);
        section.m_nLength = Number(8);
        return section;
    }
    double Degrees()
    {
        return std::bit_cast<std::int32_t>(static_cast<std::uint32_t>(Number(4))) / kDegreeUnits;
    }

private:
    const unsigned char* m_next;
};

class FieldWriter
{
public:
    explicit FieldWriter(unsigned char* bytes) : m_next(bytes) {}

    void Byte(int value) { *m_next++ = static_cast<unsigned char>(value); }
    void Number(unsigned long long value, unsigned int bytes)
    {
        for (unsigned int i = 0; i < bytes; ++i)
            Byte(static_cast<int>((value >> (8 * i)) & 0xFFU));
    }
    void Section(const KxPmTilesSection& section)
    {
        Number(section.m_nOffset, 8);
        Number(section.m_nLength, 8);
    }
    void Degrees(double value)
    {
        const double units = std::round(std::clamp(value, -180.0, 180.0) * kDegreeUnits);
        Number(std::bit_cast<std::uint32_t>(static_cast<std::int32_t>(units)), 4);
    }

private:
    unsigned char* m_next;
};

KxPmTilesHeader ReadFields(const unsigned char* bytes)
{
    FieldReader fields(bytes + kMagic.size() + 1);
    KxPmTilesHeader header;
    for (KxPmTilesSection* section :
         {&header.m_root, &header.m_metadata, &header.m_leaves, &header.m_tiles})
        *section = fields.Section();
    header.m_nAddressed = fields.Number(8);
    header.m_nEntries = fields.Number(8);
    header.m_nContents = fields.Number(8);
    header.m_bClustered = fields.Byte() == 1;
    header.m_eInternal = static_cast<KxPmTilesCompression>(fields.Byte());
    header.m_eTile = static_cast<KxPmTilesCompression>(fields.Byte());
    header.m_eType = static_cast<KxPmTilesType>(fields.Byte());
    header.m_nMinLevel = fields.Byte();
    header.m_nMaxLevel = fields.Byte();
    header.m_bounds.m_dLeft = fields.Degrees();
    header.m_bounds.m_dBottom = fields.Degrees();
    header.m_bounds.m_dRight = fields.Degrees();
    header.m_bounds.m_dTop = fields.Degrees();
    header.m_nCenterLevel = fields.Byte();
    header.m_dCenterLon = fields.Degrees();
    header.m_dCenterLat = fields.Degrees();
    return header;
}

bool LiesWithin(const KxPmTilesSection& section, unsigned long long size)
{
    return section.m_nOffset <= size && section.m_nLength <= size - section.m_nOffset;
}

/// What is wrong with the bytes before any field; empty when nothing is.
std::string FaultOfStart(const unsigned char* bytes, unsigned int size)
{
    if (bytes == nullptr || size < KxPmTiles::kHeaderBytes ||
        !std::equal(kMagic.begin(), kMagic.end(), bytes))
        return "it is no PMTiles archive";
    if (bytes[kMagic.size()] != kVersion)
        return "it is of PMTiles version " + std::to_string(bytes[kMagic.size()]) +
               "; version 3 can be read";
    return {};
}

std::string FaultOfFields(const KxPmTilesHeader& header, unsigned long long fileSize)
{
    for (const KxPmTilesSection* section :
         {&header.m_root, &header.m_metadata, &header.m_leaves, &header.m_tiles})
        if (!LiesWithin(*section, fileSize))
            return "it is cut off: a section reaches beyond its end";
    if (header.m_root.m_nOffset < KxPmTiles::kHeaderBytes || header.m_root.m_nLength == 0 ||
        !LiesWithin(header.m_root, KxPmTiles::kMaxRootEnd))
        return "its root directory does not lie in its first 16384 bytes";
    return {};
}

} // namespace

bool KxPmTiles::ReadHeader(const unsigned char* bytes,
                           unsigned int size,
                           unsigned long long fileSize,
                           KxPmTilesHeader& header,
                           KxString& error)
try {
    std::string fault = FaultOfStart(bytes, size);
    if (fault.empty()) {
        header = ReadFields(bytes);
        fault = FaultOfFields(header, fileSize);
    }
    error = fault.c_str();
    return fault.empty();
} catch (const std::bad_alloc&) {
    return false;
}

void KxPmTiles::WriteHeader(const KxPmTilesHeader& header, unsigned char* bytes)
{
    std::copy(kMagic.begin(), kMagic.end(), bytes);
    FieldWriter fields(bytes + kMagic.size());
    fields.Byte(kVersion);
    for (const KxPmTilesSection* section :
         {&header.m_root, &header.m_metadata, &header.m_leaves, &header.m_tiles})
        fields.Section(*section);
    fields.Number(header.m_nAddressed, 8);
    fields.Number(header.m_nEntries, 8);
    fields.Number(header.m_nContents, 8);
    fields.Byte(header.m_bClustered ? 1 : 0);
    fields.Byte(header.m_eInternal);
    fields.Byte(header.m_eTile);
    fields.Byte(header.m_eType);
    fields.Byte(header.m_nMinLevel);
    fields.Byte(header.m_nMaxLevel);
    fields.Degrees(header.m_bounds.m_dLeft);
    fields.Degrees(header.m_bounds.m_dBottom);
    fields.Degrees(header.m_bounds.m_dRight);
    fields.Degrees(header.m_bounds.m_dTop);
    fields.Byte(header.m_nCenterLevel);
    fields.Degrees(header.m_dCenterLon);
    fields.Degrees(header.m_dCenterLat);
}

} // namespace KxC
