// SPDX-License-Identifier: MIT
#pragma once

#include "KxPlugin.h"

#include <string>
#include <vector>

namespace KxC {

/// A plug-in that is loaded, for good: its code is never unloaded, so that objects which a host
/// still holds at exit keep theirs.
struct LoadedPlugin
{
    KxString m_strKind;
    std::vector<KxString> m_extensions; ///< with their dots
    KxPlugin* (*m_pCreate)() = nullptr;
};

/// Loads a plug-in file.
/// @param plugin  filled on success
/// @return empty on success, else what is wrong with the file
std::string LoadPlugin(const std::string& path, LoadedPlugin& plugin);

} // namespace KxC
