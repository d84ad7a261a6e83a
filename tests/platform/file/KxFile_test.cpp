// SPDX-License-Identifier: MIT
#include "KxFile.h"

#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace KxC {
namespace {

namespace fs = std::filesystem;

std::string Ext(const char* path)
{
    return KxFile::GetExt(path).Cstr();
}

std::string Dir(const char* path)
{
    return KxFile::GetDir(path).Cstr();
}

std::string Absolute(const char* base, const char* relative)
{
    return KxFile::GetFttpAbsolutePath(base, relative).Cstr();
}

TEST(KxFile, TellsTheExtensionWithItsDot)
{
    EXPECT_EQ(Ext("/a/world.tif"), ".tif");
    EXPECT_EQ(Ext("a.tar.gz"), ".gz");
    EXPECT_EQ(Ext("WORLD.TIF"), ".TIF");
    EXPECT_EQ(Ext("/a/name."), ".");
}

TEST(KxFile, TellsNoExtensionWhereTheNameHasNone)
{
    EXPECT_EQ(Ext(""), "");
    EXPECT_EQ(Ext("/a/world"), "");
    EXPECT_EQ(Ext("/a.d/world"), "");
    EXPECT_EQ(Ext("/a.d/"), "");
    EXPECT_EQ(Ext(".hidden"), "");
    EXPECT_EQ(Ext("/a/.hidden"), "");
    EXPECT_EQ(Ext("/a/.hidden.tif"), ".tif");
}

TEST(KxFile, TellsTheFolder)
{
    EXPECT_EQ(Dir("/a/b/c.tif"), "/a/b");
    EXPECT_EQ(Dir("a/c.tif"), "a");
    EXPECT_EQ(Dir("c.tif"), "");
    EXPECT_EQ(Dir(""), "");
    EXPECT_EQ(Dir("/c.tif"), "/");
    EXPECT_EQ(Dir("/"), "/");
    EXPECT_EQ(Dir("//c.tif"), "/");
}

TEST(KxFile, TellsTheFolderOfAPathWithSeparatorsAtItsEnd)
{
    EXPECT_EQ(Dir("/a/b/"), "/a/b");
    EXPECT_EQ(Dir("a//b"), "a");
}

TEST(KxFile, TakesARelativePathAgainstAFolder)
{
    EXPECT_EQ(Absolute("/a/b", "c.lua"), "/a/b/c.lua");
    EXPECT_EQ(Absolute("/a/b/", "./c.lua"), "/a/b/c.lua");
    EXPECT_EQ(Absolute("/a/b", "../c.lua"), "/a/c.lua");
    EXPECT_EQ(Absolute("/a/b", "../../../../c.lua"), "/c.lua");
    EXPECT_EQ(Absolute("/a/b", ".."), "/a");
    EXPECT_EQ(Absolute("/a/b", ""), "/a/b");
    EXPECT_EQ(Absolute("/", ""), "/");
}

TEST(KxFile, LeavesAnAbsolutePathAsItIs)
{
    EXPECT_EQ(Absolute("/a/b", "/c/../d.lua"), "/c/../d.lua");
}

TEST(KxFile, TakesARelativeFolderAgainstTheCurrentOne)
{
    const std::string current = fs::current_path().string();
    EXPECT_EQ(Absolute("a", "b.lua"), current + "/a/b.lua");
    EXPECT_EQ(Absolute("", "b.lua"), current + "/b.lua");
}

TEST(KxFile, ChangesTheExtension)
{
    EXPECT_STREQ(KxFile::ChangeExt("/a/t.jpeg", "jgw").Cstr(), "/a/t.jgw");
    EXPECT_STREQ(KxFile::ChangeExt("/a.d/t", "pgw").Cstr(), "/a.d/t.pgw");
    EXPECT_STREQ(KxFile::ChangeExt("/a/.t", "pgw").Cstr(), "/a/.t.pgw");
    EXPECT_STREQ(KxFile::ChangeExt("/a/t.", "pgw").Cstr(), "/a/t.pgw");
    EXPECT_STREQ(KxFile::ChangeExt("/a/t.jpeg", "").Cstr(), "/a/t");
}

TEST(KxFile, KnowsWhatExists)
{
    const TempFolder temp;
    WriteFile(temp.File("here"), "");
    EXPECT_EQ(KxFile::IsExist(temp.File("here").c_str()), 1);
    EXPECT_EQ(KxFile::IsExist(temp.File("there").c_str()), 0);
    EXPECT_EQ(KxFile::IsExist(""), 0);
    EXPECT_EQ(KxFile::IsExist(std::string(10000, 'x').c_str()), 0);
}

TEST(KxFile, MakesAFolderWithItsParents)
{
    const TempFolder temp;
    EXPECT_EQ(KxFile::MkDirEx(temp.File("a/b/c").c_str()), 1);
    EXPECT_EQ(KxFile::MkDirEx(temp.File("a/b/c").c_str()), 1) << "again";
    EXPECT_EQ(KxFile::MkDirEx(temp.File("d/e/").c_str()), 1);
    EXPECT_TRUE(fs::is_directory(temp.File("a/b/c")));
    EXPECT_TRUE(fs::is_directory(temp.File("d/e")));
}

TEST(KxFile, MakesNoFolderWhereAFileIsInTheWay)
{
    const TempFolder temp;
    WriteFile(temp.File("file"), "");
    EXPECT_EQ(KxFile::MkDirEx(temp.File("file").c_str()), 0);
    EXPECT_EQ(KxFile::MkDirEx(temp.File("file/a").c_str()), 0);
    EXPECT_EQ(KxFile::MkDirEx(""), 0);
    EXPECT_EQ(KxFile::MkDirEx(std::string(10000, 'x').c_str()), 0);
}

} // namespace
} // namespace KxC
