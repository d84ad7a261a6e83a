// SPDX-License-Identifier: MIT
#include "OutputFile.h"

#include "Command.h"
#include "KxFile.h"
#include "KxImgUtility.h"

#include <fmt/format.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <set>
#include <system_error>

namespace KxTileHost {

namespace {

/// Extensions without dot, "jpg" and "jpeg" being one.
std::string FormatOf(const KxC::KxString& ext)
{
    std::string format(ext.IsEmpty() != 0 ? "" : ext.Cstr() + 1);
    for (char& character : format)
        character = character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a')
                                                         : character;
    return format == "jpg" ? "jpeg" : format;
}

[[noreturn]] void ThrowCannotWrite(const std::string& path)
{
    throw CommandError(kExitFailed,
                       fmt::format("cannot write '{}': {}", path, std::strerror(errno)),
                       "Check that the folder exists, may be written, and has room.");
}

void WriteToStandardOutput(const void* bytes, std::size_t size)
{
    if (std::fwrite(bytes, 1, size, stdout) != size || std::fflush(stdout) != 0)
        throw CommandError(kExitFailed, ""); // what the stream failed with is told at the end
}

void WriteBytes(const unsigned char* bytes, std::size_t size, const std::string& path)
{
    errno = 0;
    if (KxC::KxFile::SaveWhole(path.c_str(), bytes, size) == 0)
        ThrowCannotWrite(path);
}

} // namespace

void CheckNotItsSource(const std::string& path, const std::string& source)
{
    std::error_code error; // what is not there is not the same
    if (std::filesystem::equivalent(path, source, error))
        throw CommandError(kExitWrongUsage,
                           fmt::format("'{}' is what the output is made from", path),
                           "Give the output another name.");
}

void CheckOutputFormat(const std::string& path)
{
    static const std::set<std::string> kWritable{"", "png", "jpeg", "webp", "tif", "tiff"};
    std::error_code error;
    const std::string format = FormatOf(KxC::KxFile::GetExt(path.c_str()));
    if (kWritable.count(format) == 0 && !std::filesystem::is_directory(path, error))
        throw CommandError(kExitWrongUsage,
                           fmt::format("'{}': no picture is written as .{}", path, format),
                           "Use the extension .png, .jpg, .webp or .tif.");
}

void WriteText(const std::string& text, const std::string& path)
{
    if (path == "-")
        WriteToStandardOutput(text.data(), text.size());
    else
        WriteBytes(reinterpret_cast<const unsigned char*>(text.data()), text.size(), path);
}

void WritePicture(const KxC::KxImageData& image, const std::string& path)
{
    if (KxC::KxImgUtility::SaveImageFile(&image, path.c_str(), 0) == 0)
        throw CommandError(kExitFailed,
                           fmt::format("cannot write '{}'", path),
                           "Check that the folder exists, may be written, and has room.");
}

WrittenTile WriteTile(const KxC::KxRawData& bytes, const std::string& path)
{
    const std::unique_ptr<KxC::KxImageData> image(
        KxC::KxImgUtility::LoadImageData(bytes.GetData(), bytes.GetSize(), "", 1, 1));
    if (image == nullptr)
        throw CommandError(kExitFailed, "the tile is a whole picture but does not decode");
    const std::string own = FormatOf(bytes.GetExt());
    WrittenTile written{path, own, image->GetWidth(), image->GetHeight(), bytes.GetSize()};
    const std::string wanted = FormatOf(KxC::KxFile::GetExt(path.c_str()));
    if (path == "-") {
        WriteToStandardOutput(bytes.GetData(), bytes.GetSize());
    } else if (wanted.empty() || wanted == own) {
        WriteBytes(bytes.GetData(), bytes.GetSize(), path);
    } else {
        WritePicture(*image, path);
        written.m_format = wanted;
        written.m_bytes = static_cast<unsigned int>(std::filesystem::file_size(path));
    }
    return written;
}

} // namespace KxTileHost
