// SPDX-License-Identifier: MIT
#include "EarlierArchive.h"

#include "Command.h"
#include "KxFile.h"
#include "KxPlugin.h"
#include "KxTileArchivePlaces.h"

#include <fmt/format.h>

#include <exception>

namespace KxTileHost {

namespace {

[[noreturn]] void ThrowUnusable(const std::string& path, const std::string& why)
{
    throw CommandError(
        kExitFailed,
        fmt::format(
            "'{}' is no archive that can be gone on with{}{}", path, why.empty() ? "" : ": ", why),
        "With --overwrite it is made anew.");
}

/// What goes through the visit of all places, where nothing may be thrown.
struct HandOverState
{
    const EarlierArchive& m_archive;
    const EarlierArchive::Taker& m_take;
    std::uint64_t m_unread = 0;
    std::exception_ptr m_failure = nullptr;
};

void HandOverTile(HandOverState& state, const HostTile& tile)
{
    const std::unique_ptr<KxC::KxRawData> bytes = state.m_archive.Find(tile);
    if (bytes != nullptr)
        state.m_take(tile, *bytes);
    else
        ++state.m_unread;
}

unsigned char VisitPlace(int level, int row, int col, void* user)
{
    auto& state = *static_cast<HandOverState*>(user);
    try {
        HandOverTile(state, {col, (1 << level) - 1 - row, level});
        return 1;
    } catch (...) {
        state.m_failure = std::current_exception();
        return 0;
    }
}

} // namespace

EarlierArchive::EarlierArchive(const std::string& path, KxC::KxTileArchiveFormat format)
    : m_path(path), m_format(format),
      m_reader(static_cast<KxC::KxRasterDataAccessor*>(KxC::m_gPluginManager.FindPluginByExt(
          "AccessorPlugin", KxC::KxFile::GetExt(path.c_str()))))
{
    if (m_reader == nullptr)
        throw CommandError(kExitFailed,
                           fmt::format("no reader takes '{}'", path),
                           "KxTilePackReader.so is looked for in the folders of "
                           "KXTILE_PLUGIN_PATH or the installed ones.");
    if (m_reader->Open(path.c_str()) == 0)
        ThrowUnusable(path, KxC::KxRasterDataAccessor::GetThreadError().Cstr());
}

void EarlierArchive::CheckOrigin(const std::string& origin) const
{
    KxC::KxString own;
    KxC::KxString error;
    if (!KxC::KxTileArchivePlaces::ReadOrigin(m_path.c_str(), m_format, own, error))
        ThrowUnusable(m_path, error.Cstr());
    if (own.IsEmpty() == 0 && !KxC::KxTileArchivePlaces::IsSameOrigin(own, origin.c_str()))
        throw CommandError(
            kExitFailed,
            fmt::format("'{}' holds tiles of '{}', not of '{}'", m_path, own.Cstr(), origin),
            "Give another name with -o; --overwrite makes the file anew, and --other-source goes "
            "on with it all the same.");
}

std::uint64_t EarlierArchive::HandOver(const Taker& take) const
{
    HandOverState state{*this, take};
    KxC::KxString error;
    const bool isWhole =
        KxC::KxTileArchivePlaces::Visit(m_path.c_str(), m_format, &VisitPlace, &state, error);
    if (state.m_failure)
        std::rethrow_exception(state.m_failure);
    if (!isWhole)
        ThrowUnusable(m_path, error.Cstr());
    return state.m_unread;
}

std::unique_ptr<KxC::KxRawData> EarlierArchive::Find(const HostTile& tile) const
{
    constexpr int kRead = 5;
    unsigned char* bytes = nullptr;
    unsigned int size = 0;
    const int status = m_reader->ReadTileData(tile.m_z, tile.RowFromSouth(), tile.m_x, bytes, size);
    auto data = std::make_unique<KxC::KxRawData>();
    data->Attach(bytes, size);
    return status == kRead && bytes != nullptr ? std::move(data) : nullptr;
}

} // namespace KxTileHost
