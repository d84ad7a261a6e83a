// SPDX-License-Identifier: MIT
#pragma once

#include "DefinitionOnDisk.h"
#include "KxTSDParam.h"
#include "KxTileFetcher.h"

#include <memory>
#include <string>

namespace KxC::test {

/// A definition as a record, and the addresses that the library makes of it.
class LoadedRecord
{
public:
    /// @param text  of a definition; the form shows by itself
    /// @param choice  stands behind the path, such as "#name"
    explicit LoadedRecord(const std::string& text, const std::string& choice = "")
    {
        m_item->LoadFromTSDFile((m_folder.Write("definition", text) + choice).c_str());
        messages = AllMessages();
    }

    KxTSDParamItem& Item() { return *m_item; }

    /// The address of a tile by its row from the south of the library's grid.
    std::string Url(int level, int row, int col)
    {
        return KxTileFetcher::GetURL(m_item.get(), level, row, col).Cstr();
    }

    /// The same by the row from the north of a grid of 2^level rows.
    std::string UrlFromNorth(int level, int row, int col)
    {
        return Url(level, (1 << level) - 1 - row, col);
    }

    /// The same by the row from 90 degrees north, where the library's square grid is filled from a
    /// quarter to three quarters.
    std::string UrlFromPole(int level, int row, int col)
    {
        return Url(level, (1 << level) * 3 / 4 - 1 - row, col);
    }

    std::string messages;

private:
    ScratchFolder m_folder;
    std::unique_ptr<KxTSDParamItem> m_item = std::make_unique<KxTSDParamItem>();
};

} // namespace KxC::test
