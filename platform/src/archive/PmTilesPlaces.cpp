// SPDX-License-Identifier: MIT
#include "ArchiveJson.h"
#include "ArchivePlaces.h"
#include "KxCompress.h"
#include "KxPmTiles.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace KxC {

namespace {

/// A file that is only read.
class InputFile
{
public:
    explicit InputFile(const std::string& path)
        : m_nFile(::open(path.c_str(), O_RDONLY | O_CLOEXEC))
    {
        if (m_nFile < 0)
            ThrowErrno();
    }
    ~InputFile() { ::close(m_nFile); }
    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;

    unsigned long long Size() const
    {
        struct stat status = {};
        if (::fstat(m_nFile, &status) != 0)
            ThrowErrno();
        return static_cast<unsigned long long>(status.st_size);
    }

    std::vector<unsigned char> Read(const KxPmTilesSection& section) const
    {
        std::vector<unsigned char> bytes(static_cast<std::size_t>(section.m_nLength));
        for (std::size_t done = 0; done < bytes.size();) {
            const ssize_t count = ::pread(m_nFile,
                                          bytes.data() + done,
                                          bytes.size() - done,
                                          static_cast<off_t>(section.m_nOffset + done));
            if (count < 0 && errno == EINTR)
                continue;
            if (count < 0)
                ThrowErrno();
            if (count == 0)
                throw ArchiveError("it is shorter than its directories say");
            done += static_cast<std::size_t>(count);
        }
        return bytes;
    }

private:
    const int m_nFile;
};

bool LiesIn(const KxPmTilesSection& section, const KxPmTilesEntry& entry)
{
    return entry.m_nLength <= section.m_nLength &&
           entry.m_nOffset <= section.m_nLength - entry.m_nLength;
}

KxPmTilesHeader HeaderOf(const InputFile& file)
{
    const unsigned long long size = file.Size();
    const std::vector<unsigned char> start =
        file.Read({0, std::min<unsigned long long>(KxPmTiles::kHeaderBytes, size)});
    KxPmTilesHeader header;
    KxString error = "it cannot be read";
    if (!KxPmTiles::ReadHeader(
            start.data(), static_cast<unsigned int>(start.size()), size, header, error))
        throw ArchiveError(error.Cstr());
    return header;
}

/// Goes through all directories of an archive.
class PmTilesVisit
{
public:
    PmTilesVisit(const std::string& path, const PlaceVisitor& visitor)
        : m_file(path), m_visitor(visitor)
    {
    }

    void Run()
    {
        m_header = HeaderOf(m_file);
        VisitDirectory(m_header.m_root, 1);
    }

private:
    /// @return false when the visitor has enough
    bool VisitDirectory(const KxPmTilesSection& section, int depth);
    bool VisitLeaf(const KxPmTilesEntry& entry, int depth);
    bool VisitRun(const KxPmTilesEntry& entry);

    const InputFile m_file;
    const PlaceVisitor& m_visitor;
    KxPmTilesHeader m_header;
    unsigned long long m_nNextId = 0; ///< behind the last run
};

bool PmTilesVisit::VisitDirectory(const KxPmTilesSection& section, int depth)
{
    if (section.m_nLength > KxPmTiles::kMaxDirectoryBytes)
        throw ArchiveError("a directory is too large");
    const std::vector<unsigned char> bytes = m_file.Read(section);
    std::vector<KxPmTilesEntry> entries;
    KxString error = "a directory cannot be read";
    if (!KxPmTiles::ReadDirectory(bytes.data(),
                                  static_cast<unsigned int>(bytes.size()),
                                  m_header.m_eInternal,
                                  entries,
                                  error))
        throw ArchiveError(error.Cstr());
    return std::all_of(entries.begin(), entries.end(), [&](const KxPmTilesEntry& entry) {
        return entry.IsLeaf() ? VisitLeaf(entry, depth + 1) : VisitRun(entry);
    });
}

/// Leaves that lead to themselves or to each other would be read for ever: each must bring a tile
/// behind those that were there before.
bool PmTilesVisit::VisitLeaf(const KxPmTilesEntry& entry, int depth)
{
    if (depth > KxPmTiles::kMaxDepth)
        throw ArchiveError("its directories lie too deep in each other");
    if (!LiesIn(m_header.m_leaves, entry))
        throw ArchiveError("a directory reaches beyond the directories' end");
    const unsigned long long before = m_nNextId;
    const bool goesOn =
        VisitDirectory({m_header.m_leaves.m_nOffset + entry.m_nOffset, entry.m_nLength}, depth);
    if (goesOn && m_nNextId == before)
        throw ArchiveError("one of its directories is empty");
    return goesOn;
}

bool PmTilesVisit::VisitRun(const KxPmTilesEntry& entry)
{
    if (entry.m_nTileId < m_nNextId)
        throw ArchiveError("its directories contradict each other");
    m_nNextId = entry.m_nTileId + entry.m_nRunLength;
    for (unsigned long long id = entry.m_nTileId; id < m_nNextId; ++id) {
        ArchivePlace place{};
        if (KxPmTiles::PlaceOf(id, place.m_nLevel, place.m_nRow, place.m_nCol) && !m_visitor(place))
            return false;
    }
    return true;
}

} // namespace

/// What is larger, or packed in another way, is no work of KxTileArchiveWriter's.
std::string OriginOfPmTiles(const std::string& path)
{
    constexpr unsigned long long kMaxPacked = 1U << 20;
    constexpr unsigned int kMaxJson = 1U << 20;
    const InputFile file(path);
    const KxPmTilesHeader header = HeaderOf(file);
    if (header.m_eInternal != KxPmTilesCompression_Gzip || header.m_metadata.m_nLength > kMaxPacked)
        return {};
    const std::vector<unsigned char> packed = file.Read(header.m_metadata);
    std::vector<unsigned char> json(kMaxJson);
    unsigned int size = kMaxJson;
    if (KxCompress::GZipDecompress(
            packed.data(), static_cast<unsigned int>(packed.size()), json.data(), size) != 0)
        return {};
    return OriginIn({reinterpret_cast<const char*>(json.data()), size});
}

void VisitPmTiles(const std::string& path, const PlaceVisitor& visitor)
{
    PmTilesVisit(path, visitor).Run();
}

} // namespace KxC
