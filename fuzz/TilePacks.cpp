// SPDX-License-Identifier: MIT
// A tile pack that holds anything.
#include "FuzzTarget.h"
#include "KxFile.h"
#include "KxTileArchivePlaces.h"
#include "PackAccessor.h"

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <system_error>

namespace {

using namespace KxC;

/// A folder for one file, below the one for temporary files; removed at the end.
class ScratchFolder
{
public:
    ScratchFolder()
    {
        std::string path = (std::filesystem::temp_directory_path() / "kxfuzz-XXXXXX").string();
        Fuzz::Require(::mkdtemp(path.data()) != nullptr, "there is room for temporary files");
        m_path = path;
        // Nearly every input is refused: a line in a log for each would take all the time.
        KxFile::m_strAppCachePath = "/proc/kxtile";
    }
    ~ScratchFolder()
    {
        std::error_code error;
        std::filesystem::remove_all(m_path, error);
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    KxString Hold(const std::uint8_t* bytes, std::size_t size) const
    {
        const std::filesystem::path file = m_path / "pack";
        std::ofstream(file, std::ios::binary)
            .write(reinterpret_cast<const char*>(bytes), static_cast<std::streamsize>(size));
        return file.c_str();
    }
    void RequireNothingElse() const
    {
        for (const auto& entry : std::filesystem::directory_iterator(m_path))
            Fuzz::Require(entry.path().filename() == "pack", "reading makes no files");
    }

private:
    std::filesystem::path m_path;
};

void ReadTile(PackAccessor& accessor, int level, int row, int col)
{
    unsigned char* data = nullptr;
    unsigned int size = 0;
    const int status = accessor.ReadTileData(level, row, col, data, size);
    const std::unique_ptr<unsigned char, void (*)(void*)> bytes(data, std::free);
    Fuzz::Require(status == 5 || data == nullptr, "bytes come with success only");
    Fuzz::Require((data == nullptr) == (size == 0), "there are bytes, or there is no size");
    // One byte past what is there would be noticed.
    volatile unsigned char last = 0;
    if (size > 0)
        last = data[size - 1];
    static_cast<void>(last);
}

void ReadImage(PackAccessor& accessor, int level, int row, int col)
{
    KxImageData* image = nullptr;
    accessor.ReadTileImage(image, level, row, col);
    const std::unique_ptr<KxImageData> owner(image);
    Fuzz::Require(image == nullptr || (image->GetWidth() == 256 && image->GetHeight() == 256),
                  "tiles of the geographic grid have 256 pixels a side");
}

void CheckBounds(const KxRect2d& bounds)
{
    Fuzz::Require(bounds.m_dLeft >= -180.0 && bounds.m_dRight <= 180.0 &&
                      bounds.m_dBottom >= -86.0 && bounds.m_dTop <= 86.0 &&
                      bounds.m_dLeft < bounds.m_dRight && bounds.m_dBottom < bounds.m_dTop,
                  "bounds lie in the Web Mercator square");
}

/// Of files that are no archives, too.
void ReadOrigins(const KxString& path)
{
    for (const auto format : {KxTileArchiveFormat_MBTiles, KxTileArchiveFormat_PMTiles}) {
        KxString origin;
        KxString error;
        const bool isRead = KxTileArchivePlaces::ReadOrigin(path, format, origin, error);
        Fuzz::Require(isRead == (error.IsEmpty() != 0), "a failure has words");
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    static const ScratchFolder folder;
    PackAccessor accessor;
    const KxString path = folder.Hold(bytes, size);
    ReadOrigins(path);
    if (accessor.Open(path) != 0) {
        const int least = accessor.GetMinLevel();
        const int most = accessor.GetMaxLevel();
        Fuzz::Require(least >= 0 && least <= most && most <= 30, "levels are those of the grid");
        CheckBounds(accessor.GetLatLonBounds());
        for (const int level : {0, 1, least, most}) {
            ReadTile(accessor, level, 0, 0);
            ReadTile(accessor, level, 1, 1);
            ReadTile(accessor, level, (1 << level) - 1, 0);
        }
        ReadImage(accessor, 0, 0, 0);
        ReadImage(accessor, least, 1, 0);
        ReadImage(accessor, 2, 1, 1);
    }
    folder.RequireNothingElse();
    return 0;
}
