// SPDX-License-Identifier: MIT
#pragma once

#include "KxRasterDataAccessor.h"
#include "support/TilePictures.h"

#include <functional>
#include <memory>
#include <string>

struct sqlite3;

namespace KxC::Test {

using TilePictures::ColourOfPlace;
using TilePictures::PngOf;
using TilePictures::PngOfPlace;

/// A fresh reader of the real plug-in.
std::unique_ptr<KxRasterDataAccessor> NewReader(const char* extension);

/// A reader that has the file open; null when it would not open it.
std::unique_ptr<KxRasterDataAccessor> OpenPack(const std::string& path);

/// What reading the stored bytes of a tile gave.
struct Stored
{
    int m_status;
    bool m_isNull;
    std::string m_bytes;
};
Stored ReadStored(KxRasterDataAccessor& reader, int level, int row, int col);

std::unique_ptr<KxImageData> ReadImage(KxRasterDataAccessor& reader, int level, int row, int col);

/// Makes an MBTiles database by its own description: a table of tiles with an index, and metadata.
/// Sizes are whatever the test wants.
class MbTilesFile
{
public:
    explicit MbTilesFile(std::string path);
    ~MbTilesFile();
    MbTilesFile(const MbTilesFile&) = delete;
    MbTilesFile& operator=(const MbTilesFile&) = delete;

    void CreateTables();
    void AddTile(int level, int row, int col, const std::string& bytes);
    void AddMetadata(const std::string& name, const std::string& value);
    void Execute(const std::string& sql);
    /// Closes the database; the file is there.
    const std::string& Close();

private:
    std::string m_path;
    sqlite3* m_connection = nullptr;
};

} // namespace KxC::Test
