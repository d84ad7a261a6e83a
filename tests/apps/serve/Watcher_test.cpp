// SPDX-License-Identifier: MIT
#include "serve/Watcher.h"

#include "support/TempFolder.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <filesystem>
#include <string>
#include <thread>

namespace {

using namespace KxTileHost::Serve;
using namespace std::chrono_literals;

constexpr char kDefinition[] = "url = 'http://127.0.0.1:9/{$z}/{$x}/{$y}'\nscheme = 10\n";

template <typename Condition>
void WaitUntil(const Condition& condition)
{
    while (!condition())
        std::this_thread::sleep_for(1ms); // between two looks at the condition
}

/// What is written to standard error while it lives.
class Said
{
public:
    Said()
    {
        EXPECT_EQ(::pipe(m_ends.data()), 0);
        ::dup2(m_ends[1], STDERR_FILENO);
        ::close(m_ends[1]);
    }
    ~Said()
    {
        ::dup2(m_before, STDERR_FILENO);
        ::close(m_before);
        ::close(m_ends[0]);
    }
    Said(const Said&) = delete;
    Said& operator=(const Said&) = delete;

    /// The next line; waits for it.
    std::string Line() const
    {
        std::string line;
        for (char byte = 0; ::read(m_ends[0], &byte, 1) == 1 && byte != '\n';)
            line += byte;
        return line;
    }

private:
    int m_before = ::dup(STDERR_FILENO);
    std::array<int, 2> m_ends{};
};

TEST(Watcher, GoesOnAfterARoundThatThrew)
{
    const KxC::TempFolder folder;
    KxC::WriteFile(folder.File("first.toml"), kDefinition);
    // As long as nobody is called so, each round ends with this rule's exception.
    MissingRules rules;
    rules.Add("later=blank");
    SourceFinder finder({folder.Path().string()}, rules);
    SourceTable table;
    const Said said;
    const Watcher watcher(finder, table);
    EXPECT_EQ(said.Line(), "kxtile: --missing names 'later', and there is no such source");
    EXPECT_EQ(table.Get()->Find("first"), nullptr);

    KxC::WriteFile(folder.File("later.new"), kDefinition);
    std::filesystem::rename(folder.File("later.new"), folder.File("later.toml"));
    WaitUntil([&] { return table.Get()->Find("later") != nullptr; });
    EXPECT_NE(table.Get()->Find("first"), nullptr);
    // The fault was told once, in however many rounds it was met; what they found is not lost.
    EXPECT_EQ(said.Line(), "kxtile: " + folder.File("first.toml") + ": served as /first/");
    EXPECT_EQ(said.Line(), "kxtile: " + folder.File("later.toml") + ": served as /later/");
}

} // namespace
