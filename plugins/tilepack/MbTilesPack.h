// SPDX-License-Identifier: MIT
#pragma once

#include "MbTilesConnection.h"
#include "PackFile.h"
#include "StepBudget.h"
#include "TilePack.h"

#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace KxC {

/// MBTiles. A connection serves one thread at a time, so each read borrows one.
class MbTilesPack : public TilePack
{
public:
    /// @param file   the same file
    /// @param steps  as StepBudget has them
    /// @throws PackError
    MbTilesPack(const std::string& path,
                const PackFile& file,
                long long steps = StepBudget::kSteps);

    bool Read(const TileAddress& address, TileBytes& bytes) override;

private:
    void CheckFormat(MbTilesConnection& connection) const;
    /// By the tiles: the metadata may say anything.
    void FindLevels(MbTilesConnection& connection);
    void FindBounds(MbTilesConnection& connection);
    std::unique_ptr<MbTilesConnection> Borrow();
    void GiveBack(std::unique_ptr<MbTilesConnection> connection);

    const std::string m_name; ///< as SQLite takes it
    StepBudget m_budget;
    std::mutex m_mutex;
    std::vector<std::unique_ptr<MbTilesConnection>> m_idle;
};

} // namespace KxC
