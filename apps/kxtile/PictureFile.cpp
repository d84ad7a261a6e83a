// SPDX-License-Identifier: MIT
#include "PictureFile.h"

#include "Command.h"
#include "KxImgUtility.h"

#include <fmt/format.h>

#include <filesystem>
#include <fstream>
#include <vector>

namespace KxTileHost {

namespace {

constexpr std::uintmax_t kMaxBytes = std::uintmax_t{256} << 20;

std::vector<unsigned char> ReadBytes(const std::string& path)
{
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(path, error);
    if (error)
        throw CommandError(kExitFailed, fmt::format("cannot read {}: {}", path, error.message()));
    if (size > kMaxBytes)
        throw CommandError(kExitFailed, fmt::format("{} is too large for a picture", path));
    std::vector<unsigned char> bytes(static_cast<std::size_t>(size));
    std::ifstream file(path, std::ios::binary);
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast): streams read char
    if (!file.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(size)))
        throw CommandError(kExitFailed, fmt::format("cannot read {}", path));
    return bytes;
}

} // namespace

PictureFile ReadPictureFile(const std::string& path)
{
    const std::vector<unsigned char> bytes = ReadBytes(path);
    PictureFile picture;
    picture.m_size = bytes.size();
    picture.m_image.reset(KxC::KxImgUtility::LoadImageData(
        bytes.data(), static_cast<unsigned int>(bytes.size()), "", 1, 1));
    if (picture.m_image == nullptr)
        throw CommandError(kExitFailed,
                           fmt::format("{} is no picture that can be shown", path),
                           "PNG, JPEG, WebP and GIF are.");
    return picture;
}

} // namespace KxTileHost
