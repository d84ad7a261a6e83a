// SPDX-License-Identifier: MIT
#pragma once

#include "KxTileArchiveWriter.h"

#include <string>
#include <vector>

namespace KxC::Test {

bool AddTile(KxTileArchiveWriter& writer, int level, int row, int col, const std::string& bytes);

/// What takes the place of a picture where only its signature counts.
std::string FakePng(int number);

/// The names of all files in a folder, hidden ones included.
std::vector<std::string> FilesIn(const std::string& folder);

/// Runs a program in the shell, which prints what goes wrong.
/// @return whether it ended with 0
bool RunProgram(const std::string& command);

/// Writes the tiles of a PMTiles archive into a folder as another program reads them.
bool Extract(const std::string& archive, const std::string& folder);
/// What a PMTiles archive says of itself, as another program reads it; empty where that program
/// finds a fault.
std::string Check(const std::string& archive, const std::string& folder);

} // namespace KxC::Test
