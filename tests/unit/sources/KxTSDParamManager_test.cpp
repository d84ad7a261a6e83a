// SPDX-License-Identifier: MIT
#include "KxTSDParam.h"
#include "unit/support/ScriptedDefinition.h"
#include "unit/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <thread>
#include <vector>

namespace KxC {
namespace {

using Testing::ScriptedDefinition;
using Testing::TemporaryFolder;

KxTSDParamItem* Ask(KxTSDParamManager& manager,
                    const char* urlTemplate,
                    int scheme = 10,
                    unsigned char history = 0,
                    const KxTime& date = KxTime())
{
    return manager.GetTSDParam(urlTemplate, "", scheme, 0, 0, 0, 256, "", history, date);
}

TEST(KxTSDParamManager, LoadsADefinitionOnceWhateverItsCase)
{
    ScriptedDefinition definition;
    KxTSDParamManager manager;
    KxTSDParamItem* first = manager.GetTSDParam("/Maps/A.toml");
    EXPECT_EQ(manager.GetTSDParam("/maps/a.TOML"), first);
    EXPECT_EQ(definition.m_pathsRead.size(), 1U);
    EXPECT_STREQ(first->m_strKey.Cstr(), "/Maps/A.toml");
    EXPECT_NE(manager.GetTSDParam("/maps/./a.toml"), first) << "paths are keys as they stand";
}

TEST(KxTSDParamManager, KeepsADefinitionThatCannotBeReadAndLogsItOnce)
{
    const TemporaryFolder folder;
    ScriptedDefinition definition;
    definition.m_result = 0;
    KxTSDParamManager manager;
    KxTSDParamItem* first = manager.GetTSDParam("/no.toml");
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(manager.GetTSDParam("/no.toml"), first);
    const std::string log = folder.Read("kxtile.log");
    EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), 1);
}

TEST(KxTSDParamManager, TellsHistoryDatesApart)
{
    KxTSDParamManager manager;
    KxTSDParamItem* plain = Ask(manager, "http://h/{$x}", 8);
    KxTSDParamItem* march = Ask(manager, "http://h/{$x}", 8, 1, KxTime(2019, 3, 7));
    KxTSDParamItem* april = Ask(manager, "http://h/{$x}", 8, 1, KxTime(2019, 4, 7));
    EXPECT_NE(plain, march);
    EXPECT_NE(march, april);
    EXPECT_EQ(Ask(manager, "HTTP://H/{$X}", 8, 1, KxTime(2019, 3, 7)), march);
    EXPECT_STREQ(march->m_strKey.Cstr(), "http://h/{$x}_2019_3_7");
    EXPECT_STREQ(march->m_strUrlTemplate.Cstr(), "http://h/%d") << "the template, not the key";
}

TEST(KxTSDParamManager, ComparesNothingButTheKey)
{
    KxTSDParamManager manager;
    KxTSDParamItem* first = Ask(manager, "http://h", 10);
    EXPECT_EQ(Ask(manager, "http://h", 6), first);
    EXPECT_EQ(first->m_nTileScheme, 10);
}

TEST(KxTSDParamManager, KeepsFilesAndTemplatesInOneNameSpace)
{
    KxTSDParamManager manager;
    KxTSDParamItem* byTemplate = Ask(manager, "/a.toml");
    EXPECT_EQ(manager.GetTSDParam("/A.TOML"), byTemplate);
    EXPECT_EQ(byTemplate->m_bFromDefinitionFile, 0);
}

TEST(KxTSDParamManager, GivesThreadsThatAskAtOnceOneRecord)
{
    ScriptedDefinition definition;
    KxTSDParamManager manager;
    std::vector<KxTSDParamItem*> got(8);
    std::vector<std::thread> threads;
    for (KxTSDParamItem*& item : got)
        threads.emplace_back([&manager, &item] { item = manager.GetTSDParam("/a.toml"); });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(std::count(got.begin(), got.end(), got[0]), 8);
    EXPECT_EQ(definition.m_pathsRead.size(), 1U);
}

} // namespace
} // namespace KxC
