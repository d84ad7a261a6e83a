// SPDX-License-Identifier: MIT
#include "KxCompress.h"
#include "KxPmTiles.h"

#include <algorithm>
#include <exception>
#include <iterator>
#include <limits>
#include <new>
#include <span>
#include <stdexcept>
#include <utility>

namespace KxC {

namespace {

using Bytes = std::span<const unsigned char>;
using Entries = std::vector<KxPmTilesEntry>;

/// A directory that is not to be believed; the text says why.
struct Damaged : std::runtime_error
{
    using std::runtime_error::runtime_error;
};

/// Bytes that every entry takes at least: one for each of its numbers.
constexpr std::size_t kMinEntryBytes = 4;
/// Bytes that one takes at most, hence what a directory may inflate to.
constexpr std::size_t kMaxEntryBytes = 10 + 5 + 5 + 10;
constexpr std::size_t kMaxCountBytes = 10;
constexpr std::size_t kMaxInflated = kMaxCountBytes + KxPmTiles::kMaxEntries * kMaxEntryBytes;

constexpr const char* kTooLarge = "a directory is too large";

/// Numbers of seven bits a byte, the lowest first.
class NumberReader
{
public:
    explicit NumberReader(Bytes bytes) : m_bytes(bytes) {}

    std::size_t Left() const { return m_bytes.size() - m_nNext; }

    unsigned long long Next()
    {
        unsigned long long value = 0;
        for (unsigned int shift = 0; shift < 64; shift += 7) {
            const unsigned int byte = NextByte();
            const unsigned long long bits = byte & 0x7FU;
            if (shift == 63 && bits > 1)
                break;
            value |= bits << shift;
            if (byte < 0x80U)
                return value;
        }
        throw Damaged("a number in a directory is too large");
    }

    /// For lengths of runs and tiles.
    unsigned int NextShort()
    {
        const unsigned long long value = Next();
        if (value > std::numeric_limits<unsigned int>::max())
            throw Damaged("a number in a directory is too large");
        return static_cast<unsigned int>(value);
    }

private:
    unsigned int NextByte()
    {
        if (m_nNext >= m_bytes.size())
            throw Damaged("a directory is cut off");
        return m_bytes[m_nNext++];
    }

    Bytes m_bytes;
    std::size_t m_nNext = 0;
};

void AppendNumber(std::vector<unsigned char>& bytes, unsigned long long value)
{
    for (; value >= 0x80U; value >>= 7U)
        bytes.push_back(static_cast<unsigned char>(value | 0x80U));
    bytes.push_back(static_cast<unsigned char>(value));
}

/// Room grows as long as it is too small: what a stream says of its own size is not believed.
std::vector<unsigned char> Inflate(Bytes packed)
{
    constexpr std::size_t kGrowth = 4;
    std::size_t room = std::max<std::size_t>(packed.size() * kGrowth, 4096);
    for (;; room *= kGrowth) {
        room = std::min(room, kMaxInflated);
        std::vector<unsigned char> bytes(room);
        unsigned int size = static_cast<unsigned int>(room);
        if (KxCompress::GZipDecompress(
                packed.data(), static_cast<unsigned int>(packed.size()), bytes.data(), size) == 0) {
            bytes.resize(size);
            return bytes;
        }
        if (room == kMaxInflated)
            throw Damaged("a directory does not inflate, or is too large");
    }
}

std::size_t ReadCount(NumberReader& numbers)
{
    const unsigned long long count = numbers.Next();
    if (count > KxPmTiles::kMaxEntries)
        throw Damaged(kTooLarge);
    if (count > numbers.Left() / kMinEntryBytes)
        throw Damaged("a directory is cut off");
    return static_cast<std::size_t>(count);
}

void ReadIds(NumberReader& numbers, Entries& entries)
{
    unsigned long long id = 0;
    for (std::size_t i = 0; i < entries.size(); ++i) {
        const unsigned long long step = numbers.Next();
        if (i > 0 && step == 0)
            throw Damaged("a directory holds a tile twice");
        if (step > std::numeric_limits<unsigned long long>::max() - id)
            throw Damaged("a directory holds tiles beyond the last level");
        id += step;
        entries[i].m_nTileId = id;
    }
}

void ReadOffsets(NumberReader& numbers, Entries& entries)
{
    unsigned long long follows = 0;
    for (KxPmTilesEntry& entry : entries) {
        const unsigned long long offset = numbers.Next();
        // Nothing goes before the first.
        if (offset == 0 && &entry == &entries.front())
            throw Damaged("a directory's first entry has no offset");
        entry.m_nOffset = offset == 0 ? follows : offset - 1;
        if (entry.m_nOffset > std::numeric_limits<unsigned long long>::max() - entry.m_nLength)
            throw Damaged("an offset in a directory is too large");
        follows = entry.m_nOffset + entry.m_nLength;
    }
}

void CheckEntry(const KxPmTilesEntry& entry, const KxPmTilesEntry* next)
{
    if (entry.m_nLength == 0)
        throw Damaged("a directory holds a tile of no bytes");
    int level = 0;
    int row = 0;
    int col = 0;
    const unsigned long long more = entry.IsLeaf() ? 0 : entry.m_nRunLength - 1ULL;
    if (more > std::numeric_limits<unsigned long long>::max() - entry.m_nTileId ||
        !KxPmTiles::PlaceOf(entry.m_nTileId + more, level, row, col))
        throw Damaged("a directory holds tiles beyond the last level");
    if (next != nullptr && entry.m_nTileId + more >= next->m_nTileId)
        throw Damaged("a directory holds a tile twice");
}

Entries Parse(Bytes bytes)
{
    NumberReader numbers(bytes);
    Entries entries(ReadCount(numbers));
    ReadIds(numbers, entries);
    for (KxPmTilesEntry& entry : entries)
        entry.m_nRunLength = numbers.NextShort();
    for (KxPmTilesEntry& entry : entries)
        entry.m_nLength = numbers.NextShort();
    ReadOffsets(numbers, entries);
    for (std::size_t i = 0; i < entries.size(); ++i)
        CheckEntry(entries[i], i + 1 < entries.size() ? &entries[i + 1] : nullptr);
    return entries;
}

Entries ParsePacked(Bytes bytes, KxPmTilesCompression compression)
{
    if (bytes.data() == nullptr || bytes.size() > KxPmTiles::kMaxDirectoryBytes)
        throw Damaged(kTooLarge);
    switch (compression) {
    case KxPmTilesCompression_None:
        return Parse(bytes);
    case KxPmTilesCompression_Gzip:
        return Parse(Inflate(bytes));
    default:
        throw Damaged("its directories are compressed in another way than gzip");
    }
}

std::vector<unsigned char> Serialize(std::span<const KxPmTilesEntry> entries)
{
    std::vector<unsigned char> bytes;
    AppendNumber(bytes, entries.size());
    unsigned long long id = 0;
    for (const KxPmTilesEntry& entry : entries)
        AppendNumber(bytes, entry.m_nTileId - std::exchange(id, entry.m_nTileId));
    for (const KxPmTilesEntry& entry : entries)
        AppendNumber(bytes, entry.m_nRunLength);
    for (const KxPmTilesEntry& entry : entries)
        AppendNumber(bytes, entry.m_nLength);
    unsigned long long follows = 0;
    for (const KxPmTilesEntry& entry : entries) {
        const bool isNext = &entry != &entries.front() && entry.m_nOffset == follows;
        AppendNumber(bytes, isNext ? 0 : entry.m_nOffset + 1);
        follows = entry.m_nOffset + entry.m_nLength;
    }
    return bytes;
}

} // namespace

bool KxPmTiles::ReadDirectory(const unsigned char* bytes,
                              unsigned int size,
                              KxPmTilesCompression compression,
                              std::vector<KxPmTilesEntry>& entries,
                              KxString& error)
try {
    entries = ParsePacked({bytes, size}, compression);
    return true;
} catch (const Damaged& damaged) {
    error = damaged.what();
    return false;
} catch (const std::bad_alloc&) {
    error = "out of memory"; // short enough to need none
    return false;
}

bool KxPmTiles::WriteDirectory(const KxPmTilesEntry* entries,
                               unsigned long long count,
                               std::vector<unsigned char>& bytes)
try {
    return KxCompress::GZipCompress(Serialize({entries, static_cast<std::size_t>(count)}), bytes);
} catch (const std::exception&) {
    return false;
}

const KxPmTilesEntry* KxPmTiles::FindEntry(const std::vector<KxPmTilesEntry>& entries,
                                           unsigned long long id)
{
    const auto behind = std::upper_bound(
        entries.begin(), entries.end(), id, [](unsigned long long wanted, const auto& entry) {
            return wanted < entry.m_nTileId;
        });
    if (behind == entries.begin())
        return nullptr;
    const KxPmTilesEntry& entry = *std::prev(behind);
    return entry.IsLeaf() || id - entry.m_nTileId < entry.m_nRunLength ? &entry : nullptr;
}

} // namespace KxC
