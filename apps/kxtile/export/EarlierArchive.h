// SPDX-License-Identifier: MIT
#pragma once

#include "HostTile.h"
#include "KxRasterDataAccessor.h"
#include "KxRawData.h"

#include <memory>
#include <string>

namespace KxTileHost {

/// The archive of an earlier run, whose tiles need not be fetched again. Any thread.
class EarlierArchive
{
public:
    /// @throws CommandError when it cannot be read
    explicit EarlierArchive(const std::string& path);

    /// @return null when it has no such tile, or it cannot be read
    std::unique_ptr<KxC::KxRawData> Find(const HostTile& tile) const;

private:
    std::unique_ptr<KxC::KxRasterDataAccessor> m_reader;
};

} // namespace KxTileHost
