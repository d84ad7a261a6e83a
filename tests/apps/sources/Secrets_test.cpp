// SPDX-License-Identifier: MIT
#include "Secrets.h"

#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

namespace KxTileHost {
namespace {

class SecretsTest : public ::testing::Test
{
protected:
    SecretsTest()
    {
        ::setenv("KXTILE_TEST_A", "1", 1);
        ::setenv("KXTILE_TEST_B", "http://h", 1);
        ::unsetenv("KXTILE_TEST_C");
    }

    std::string File(const std::string& text)
    {
        KxC::WriteFile(m_folder.Path() / "s.toml", text);
        return m_folder.File("s.toml");
    }

    KxC::TempFolder m_folder;
    const std::string m_all = "${KXTILE_TEST_B}/${KXTILE_TEST_A}?${KXTILE_TEST_C}${KXTILE_TEST_A}";
};

TEST_F(SecretsTest, FindsTheNameOfEachVariableOnce)
{
    const std::vector<std::string> names{"KXTILE_TEST_B", "KXTILE_TEST_A", "KXTILE_TEST_C"};
    EXPECT_EQ(VariableNamesIn(File(m_all)), names);
    // "#name" chooses one of several sources in a file.
    EXPECT_EQ(VariableNamesIn(File(m_all) + "#name"), names);
    EXPECT_TRUE(VariableNamesIn(File("$KXTILE_TEST_A ${KXTILE_TEST_A")).empty());
    EXPECT_TRUE(VariableNamesIn("/none").empty());
    EXPECT_TRUE(VariableNamesIn("/dev/zero").empty()); // which never ends
    EXPECT_TRUE(VariableNamesIn(File(std::string(2 << 20, ' ') + "${KXTILE_TEST_A}")).empty());
}

TEST_F(SecretsTest, MasksValuesThatAreNoAddresses)
{
    const Secrets secrets(File(m_all));
    EXPECT_EQ(secrets.Mask("http://h/1"), "http://h/${KXTILE_TEST_A}");
    EXPECT_EQ(secrets.Names(), std::vector<std::string>{"${KXTILE_TEST_A}"});
}

TEST_F(SecretsTest, StandInsTellWhereAVariableWentAndLeaveNoTrace)
{
    const std::string path = File(m_all);
    {
        const StandInVariables variables(path);
        const std::string a = std::getenv("KXTILE_TEST_A");
        const std::string c = std::getenv("KXTILE_TEST_C");
        EXPECT_NE(a, c);
        // The value itself may stand anywhere: it is not mistaken for the variable.
        EXPECT_EQ(variables.NameAgain("1" + a + c + "1"), "1${KXTILE_TEST_A}${KXTILE_TEST_C}1");
    }
    EXPECT_STREQ(std::getenv("KXTILE_TEST_A"), "1");
    EXPECT_STREQ(std::getenv("KXTILE_TEST_B"), "http://h");
    EXPECT_EQ(std::getenv("KXTILE_TEST_C"), nullptr);
}

} // namespace
} // namespace KxTileHost
