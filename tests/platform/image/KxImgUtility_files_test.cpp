// SPDX-License-Identifier: MIT
// Files as large as mosaics are.
#include "KxImgUtility.h"
#include "TestFiles.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>
#include <string>
#include <thread>

namespace KxC {
namespace {

using namespace ImageTest;

void MakeNoise(NorthUp& picture)
{
    unsigned int state = 2463534242U;
    for (unsigned char& byte : picture.pixels) {
        state = state * 1664525U + 1013904223U;
        byte = static_cast<unsigned char>(state >> 24);
    }
}

Bytes SavedAs(const NorthUp& picture, const std::string& path)
{
    EXPECT_EQ(1, KxImgUtility::SaveImageFile(ToImage(picture).get(), path.c_str(), 0));
    return FileBytes(path);
}

TEST(KxImgUtilityFiles, KeepEveryPixelOfManyRows)
{
    const TempFolder folder;
    for (const int channels : {3, 4}) {
        const NorthUp picture = Graded(1300, 700, channels);
        EXPECT_EQ(0, MaxDifference(picture, ReadPng(SavedAs(picture, folder.File("a.png")))));
        EXPECT_EQ(0, MaxDifference(picture, ReadTiff(SavedAs(picture, folder.File("a.tif")))));
    }
}

TEST(KxImgUtilityFiles, KeepEveryPixelOfWhatCannotBeCompressed)
{
    const TempFolder folder;
    NorthUp picture = Graded(900, 500, 4);
    MakeNoise(picture);
    EXPECT_EQ(0, MaxDifference(picture, ReadPng(SavedAs(picture, folder.File("a.png")))));
    EXPECT_EQ(0, MaxDifference(picture, ReadTiff(SavedAs(picture, folder.File("a.tif")))));
}

TEST(KxImgUtilityFiles, KeepEveryPixelOfFewColours)
{
    const TempFolder folder;
    for (const int colours : {1, 200}) {
        const NorthUp picture = Patches(2000, 600, 4, colours);
        const Bytes file = SavedAs(picture, folder.File("a.png"));
        EXPECT_EQ(3, PngColourType(file)) << "a palette";
        EXPECT_EQ(0, MaxDifference(picture, ReadPng(file)));
    }
}

TEST(KxImgUtilityFiles, KeepEveryPixelOfLongSides)
{
    // Longer than pictures from outside may be; a row is more than one strip wants.
    const TempFolder folder;
    for (const auto& [width, height] : {std::pair(50000, 3), {3, 50000}, {1, 70000}}) {
        const NorthUp picture = Graded(width, height, 3);
        EXPECT_EQ(0, MaxDifference(picture, ReadPng(SavedAs(picture, folder.File("a.png")))));
        EXPECT_EQ(0, MaxDifference(picture, ReadTiff(SavedAs(picture, folder.File("a.tif")))));
    }
}

TEST(KxImgUtilityFiles, AreRefusedWhereTheirFormatHasNoSuchSides)
{
    const TempFolder folder;
    const auto save = [&](int width, int height, const char* name) {
        return KxImgUtility::SaveImageFile(
            ToImage(Graded(width, height, 3)).get(), folder.File(name).c_str(), 0);
    };
    EXPECT_EQ(1, save(65500, 1, "a.jpg"));
    EXPECT_EQ(0, save(65501, 1, "b.jpg"));
    EXPECT_EQ(1, save(1, 16383, "a.webp"));
    EXPECT_EQ(0, save(1, 16384, "b.webp"));
    EXPECT_EQ(2, std::distance(std::filesystem::directory_iterator(folder.Path()), {}));
}

TEST(KxImgUtilityFiles, GoThroughAPipeToo)
{
    // TIFF's directory, which is made last, is pointed at from its first bytes.
    const TempFolder folder;
    for (const char* name : {"a.tif", "a.png"}) {
        const std::string pipe = folder.File(name);
        ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
        Bytes received;
        std::thread reader([&] { received = FileBytes(pipe); });
        const NorthUp picture = Graded(700, 300, 3);
        EXPECT_EQ(1, KxImgUtility::SaveImageFile(ToImage(picture).get(), pipe.c_str(), 0));
        reader.join();
        EXPECT_EQ(0,
                  MaxDifference(picture, name[2] == 't' ? ReadTiff(received) : ReadPng(received)));
    }
}

/// A line of /proc/self/status, KiB.
long StatusKiB(const std::string& name)
{
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.starts_with(name + ":"))
            return std::stol(line.substr(name.size() + 1));
    return -1;
}

/// Makes the most memory that this process had what it has now.
bool ForgetMostMemory()
{
    std::ofstream file("/proc/self/clear_refs");
    file << "5" << std::flush;
    return static_cast<bool>(file);
}

TEST(KxImgUtilityFiles, NeedMemoryForAFewRowsBesideThePicture)
{
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the address sanitizer keeps memory that was given back";
#endif
    const TempFolder folder;
    NorthUp noise = Graded(4000, 3000, 3);
    MakeNoise(noise);
    const auto picture = ToImage(noise);
    noise = {};
    for (const char* name : {"a.png", "a.tif"}) {
        if (!ForgetMostMemory())
            GTEST_SKIP() << "this system does not let a process reset its peak of memory";
        const long before = StatusKiB("VmRSS");
        ASSERT_GT(before, 4000L * 3000 * 3 / 1024) << "the picture is there";
        ASSERT_EQ(1, KxImgUtility::SaveImageFile(picture.get(), folder.File(name).c_str(), 0));
        EXPECT_LT(StatusKiB("VmHWM") - before, 4096) << name << " of 34 MiB";
    }
}

TEST(KxImgUtilityFiles, AreNotEncodedWhereTheyCannotBeWritten)
{
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the address sanitizer keeps memory that was given back";
#endif
    const TempFolder folder;
    NorthUp noise = Graded(4000, 3000, 3);
    MakeNoise(noise);
    const auto picture = ToImage(noise);
    noise = {};
    for (const char* name : {"missing/a.png", "missing/a.tif", "missing/a.jpg"}) {
        if (!ForgetMostMemory())
            GTEST_SKIP() << "this system does not let a process reset its peak of memory";
        const long before = StatusKiB("VmRSS");
        ASSERT_EQ(0, KxImgUtility::SaveImageFile(picture.get(), folder.File(name).c_str(), 0));
        EXPECT_LT(StatusKiB("VmHWM") - before, 2048) << name << " of 34 MiB";
    }
}

} // namespace
} // namespace KxC
