// SPDX-License-Identifier: MIT
#pragma once

#include "HostTile.h"
#include "KxRasterDataAccessor.h"
#include "KxRawData.h"
#include "KxTileArchiveWriter.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace KxTileHost {

/// The archive of an earlier run, whose tiles need not be fetched again. Any thread.
class EarlierArchive
{
public:
    using Taker = std::function<void(const HostTile& tile, const KxC::KxRawData& bytes)>;

    /// @throws CommandError when it cannot be read
    EarlierArchive(const std::string& path, KxC::KxTileArchiveFormat format);

    /// @param origin  what the tiles that are to come are made from
    /// @throws CommandError where the file says of its own that they are made from something else
    void CheckOrigin(const std::string& origin) const;

    /// @return null when it has no such tile, or it cannot be read
    std::unique_ptr<KxC::KxRawData> Find(const HostTile& tile) const;

    /// Hands over each tile that it has; what `take` throws ends that.
    /// @return how many tiles cannot be read
    /// @throws CommandError when their list cannot be read
    std::uint64_t HandOver(const Taker& take) const;

private:
    const std::string m_path;
    const KxC::KxTileArchiveFormat m_format;
    std::unique_ptr<KxC::KxRasterDataAccessor> m_reader;
};

} // namespace KxTileHost
