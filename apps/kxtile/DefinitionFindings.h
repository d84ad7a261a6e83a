// SPDX-License-Identifier: MIT
/// What there is to say of a definition besides whether it loads: for whoever wrote it.
#pragma once

#include "KxTSDParam.h"
#include "Secrets.h"

#include <string>
#include <vector>

namespace KxTileHost {

/// One thing to say about one place of a definition.
struct Finding
{
    std::string m_file;
    int m_line = 0; ///< 0 when none applies
    std::string m_key;
    bool m_error = false; ///< it gives no tiles, or not the right ones; else a warning
    std::string m_text;   ///< what is wrong and what would be right, with "; " between
};

/// "error" or "warning".
const char* SeverityOf(const Finding& finding);
/// "file:line: error: key: message", as compilers write it; one line.
std::string AsLine(const Finding& finding);

/// What the loader said of the definition that the calling thread has just loaded, and what its
/// script does when it is run for one tile, since a script's mistakes show when it runs.
/// @param source   the record that was loaded
/// @param path     of the definition, with the "#name" that chooses one of several in it
/// @param secrets  of the definition; none of them is in what is found
std::vector<Finding>
FindingsOfLoaded(KxC::KxTSDParamItem& source, const std::string& path, const Secrets& secrets);

} // namespace KxTileHost
