// SPDX-License-Identifier: MIT
#include "KxTileArchiveWriter.h"

#include "ArchiveJson.h"
#include "KxFileSizeGuard.h"
#include "KxPmTiles.h"
#include "MbTilesWriter.h"
#include "PmTilesWriter.h"

#include <exception>
#include <new>

namespace KxC {

namespace {

std::unique_ptr<TileArchive> NewArchive(const std::string& path, KxTileArchiveFormat format)
{
    switch (format) {
    case KxTileArchiveFormat_MBTiles:
        return std::make_unique<MbTilesWriter>(path);
    case KxTileArchiveFormat_PMTiles:
        return std::make_unique<PmTilesWriter>(path);
    }
    throw ArchiveError("there is no such format of archives");
}

} // namespace

struct KxTileArchiveWriter::Archive
{
    std::unique_ptr<TileArchive> m_writer;
    KxTileArchiveMetadata m_metadata;
    TileSurvey m_survey;
    bool m_bFailed = false;
};

KxTileArchiveWriter::KxTileArchiveWriter() = default;

KxTileArchiveWriter::~KxTileArchiveWriter()
{
    const KxFileSizeGuard guard;
    m_archive.reset();
}

/// Runs a step that may throw; after a failure there is no more to be had of the archive.
template <typename Step>
bool KxTileArchiveWriter::Try(Step step)
{
    const KxFileSizeGuard guard;
    const std::lock_guard<std::mutex> lock(m_mutex);
    try {
        try {
            if (m_archive != nullptr && m_archive->m_bFailed)
                return false;
            m_strError = KxString();
            step();
            return true;
        } catch (const ArchiveError& error) {
            m_strError = error.what();
        }
    } catch (const std::exception&) {
        m_strError = "out of memory"; // short enough to need none
    }
    if (m_archive != nullptr)
        m_archive->m_bFailed = true;
    return false;
}

bool KxTileArchiveWriter::Create(const KxString& path,
                                 KxTileArchiveFormat format,
                                 const KxTileArchiveMetadata& metadata)
{
    m_archive.reset();
    return Try([&] {
        m_report = {};
        auto archive = std::make_unique<Archive>();
        archive->m_metadata = metadata;
        archive->m_metadata.m_strOrigin = OriginAsKept(metadata.m_strOrigin.Cstr()).c_str();
        archive->m_writer = NewArchive(path.Cstr(), format);
        m_archive = std::move(archive);
    });
}

bool KxTileArchiveWriter::AddTile(
    int level, int row, int col, const unsigned char* bytes, unsigned int size)
{
    return Try([&] {
        if (m_archive == nullptr)
            throw ArchiveError("no archive was begun");
        unsigned long long id = 0;
        if (bytes == nullptr || size == 0 || !KxPmTiles::TileIdOf(level, row, col, id)) {
            m_archive->m_survey.Skip();
            return;
        }
        const std::string_view view(reinterpret_cast<const char*>(bytes), size);
        m_archive->m_writer->Add({level, row, col}, view);
        m_archive->m_survey.Add({level, row, col}, view);
    });
}

bool KxTileArchiveWriter::Finish()
{
    const bool done = Try([&] {
        if (m_archive == nullptr)
            throw ArchiveError("no archive was begun");
        m_archive->m_survey.Describe(m_report);
        m_archive->m_writer->Finish(m_archive->m_metadata, m_report);
    });
    m_archive.reset();
    return done;
}

const KxTileArchiveReport& KxTileArchiveWriter::GetReport() const
{
    return m_report;
}

const KxString& KxTileArchiveWriter::GetError() const
{
    return m_strError;
}

} // namespace KxC
