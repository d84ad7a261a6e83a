// SPDX-License-Identifier: MIT
#include "UnfinishedFiles.h"

#include "KxFile.h"
#include "support/TempFolder.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace KxTileHost {
namespace {

namespace fs = std::filesystem;
using ::testing::UnorderedElementsAre;

std::string TemporaryName(pid_t process)
{
    return ".kxtile-" + std::to_string(process) + "-12.tmp";
}

/// A process that is no more.
pid_t GoneProcess()
{
    const pid_t child = ::fork();
    if (child == 0)
        ::_exit(0);
    ::waitpid(child, nullptr, 0);
    return child;
}

class UnfinishedFiles : public ::testing::Test
{
protected:
    void Write(const std::string& name) const { std::ofstream(m_folder.File(name)) << "half"; }
    std::vector<std::string> Names() const
    {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(m_folder.Path()))
            names.push_back(entry.path().filename().string());
        return names;
    }

    KxC::TempFolder m_folder;
};

TEST_F(UnfinishedFiles, OfGoneProcessesAreRemoved)
{
    const std::string own = TemporaryName(::getpid());
    Write(own);
    Write(TemporaryName(GoneProcess()));
    Write(TemporaryName(GoneProcess()) + ".tif");
    for (const char* other :
         {".kxtile-7", ".kxtile--7-1.tmp", ".kxtile-x-1.tmp", "7-1.tmp", "5.png"})
        Write(other);
    RemoveOrphans(m_folder.Path().string());
    EXPECT_THAT(Names(),
                UnorderedElementsAre(
                    own, ".kxtile-7", ".kxtile--7-1.tmp", ".kxtile-x-1.tmp", "7-1.tmp", "5.png"));
    RemoveOrphans(m_folder.File("missing"));
    RemoveOrphans(m_folder.File("5.png"));
}

TEST_F(UnfinishedFiles, GoWithTheirFolders)
{
    const std::string gone = ".kxtile-" + std::to_string(GoneProcess()) + "-";
    const std::string own = ".kxtile-" + std::to_string(::getpid()) + "-";
    for (const std::string& folder : {gone + "x7Ab2C.tmp", own + "x7Ab2C.tmp", gone + "mine"}) {
        fs::create_directories(m_folder.File(folder + "/strips"));
        Write(folder + "/strips/1.tif");
    }
    // Where a link leads is nobody's business here.
    fs::create_directory_symlink(m_folder.File(gone + "mine"), m_folder.File(gone + "link.tmp"));
    RemoveOrphans(m_folder.Path().string());
    EXPECT_THAT(Names(), UnorderedElementsAre(own + "x7Ab2C.tmp", gone + "mine"));
    EXPECT_TRUE(fs::exists(m_folder.File(gone + "mine/strips/1.tif")));
    EXPECT_TRUE(fs::exists(m_folder.File(own + "x7Ab2C.tmp/strips/1.tif")));
}

using UnfinishedFilesDeathTest = UnfinishedFiles;

TEST_F(UnfinishedFilesDeathTest, OfThisProcessAreRemovedAndNoOthersBegun)
{
    const auto end = [this] {
        Write(TemporaryName(::getpid()));
        Write(TemporaryName(::getpid()) + ".png");
        RemoveUnfinishedForGood({m_folder.Path().string(), m_folder.File("new/folder")});
        const bool saved = KxC::KxFile::SaveWhole(m_folder.File("late").c_str(),
                                                  reinterpret_cast<const unsigned char*>("x"),
                                                  1) != 0;
        std::fprintf(stderr, "saved %d", saved ? 1 : 0);
        ::_exit(130);
    };
    Write("5.png");
    Write(TemporaryName(1));
    EXPECT_EXIT(end(), ::testing::ExitedWithCode(130), "saved 0");
    EXPECT_THAT(Names(), UnorderedElementsAre("5.png", TemporaryName(1), "new"));
}

} // namespace
} // namespace KxTileHost
