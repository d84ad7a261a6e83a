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

    /// A definition that names variable B, which holds `value`.
    std::string WithB(const char* value)
    {
        ::setenv("KXTILE_TEST_B", value, 1);
        return File("url = '${KXTILE_TEST_B}'");
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

TEST_F(SecretsTest, MasksWhoMayUseAnAddressAndWhatItAsks)
{
    const Secrets secrets(WithB("https://user:pw@h:1/?key=abc&v=1&x={x}&token;#part"));
    EXPECT_EQ(secrets.Names(), std::vector<std::string>{"${KXTILE_TEST_B}"});
    EXPECT_EQ(secrets.Mask("https://user:pw@h:1/?key=abc&v=1&x={x}&token;#part/3/1"),
              "https://${KXTILE_TEST_B}@h:1/?key=${KXTILE_TEST_B}&v=${KXTILE_TEST_B}&x={x}"
              "&${KXTILE_TEST_B};#part/3/1");
    // Short values mean something only where they stand.
    EXPECT_EQ(secrets.Mask("abc 1 user"), "abc 1 user");
    EXPECT_EQ(secrets.Mask("//other:pw@h"), "//other:${KXTILE_TEST_B}@h");
}

TEST_F(SecretsTest, MasksTheLongValuesOfAnAddressAnywhere)
{
    const Secrets secrets(WithB("http://u:password-of-20-bytes@h/?k=0123456789abcdef"));
    EXPECT_EQ(secrets.Mask("bad 0123456789abcdef, password-of-20-bytes"),
              "bad ${KXTILE_TEST_B}, ${KXTILE_TEST_B}");
}

TEST_F(SecretsTest, MasksEachAddressOfAList)
{
    const Secrets secrets(WithB("http://a,http://u:p@b http://c/?k=d"));
    EXPECT_EQ(secrets.Mask("http://a http://u:p@b/1 http://c/?k=d"),
              "http://a http://${KXTILE_TEST_B}@b/1 http://c/?k=${KXTILE_TEST_B}");
}

TEST_F(SecretsTest, AddressesThatAnyoneMaySeeAreNoSecrets)
{
    for (const char* value : {"http://h/a@2x/{z}", "http://h/?", "https://h:1/?x={x}&y=", "a://@h"})
        EXPECT_TRUE(Secrets(WithB(value)).Names().empty()) << value;
}

TEST_F(SecretsTest, AKeyThatHoldsAnAddressIsASecret)
{
    EXPECT_EQ(Secrets(WithB("k/1 http://h")).Mask("k/1 http://h/"), "${KXTILE_TEST_B}/");
}

TEST_F(SecretsTest, OnlyTomlHasVariables)
{
    for (const char* start :
         {"<a url='", "\n {\"tiles\": [\"", "# map\n\nsources:\n  a: ", "---\n", "key:\r\n"})
        EXPECT_TRUE(VariableNamesIn(File(std::string(start) + "${KXTILE_TEST_A}")).empty())
            << start;
    for (const char* start : {"url = '", "# a: b\n[bounds]\n", "\"a: b\" = '", "a = 'b: "})
        EXPECT_EQ(VariableNamesIn(File(std::string(start) + "${KXTILE_TEST_A}")).size(), 1u)
            << start;
}

TEST_F(SecretsTest, ADoubledDollarNamesNoVariable)
{
    EXPECT_TRUE(VariableNamesIn(File("url = '$${KXTILE_TEST_A}'")).empty());
    EXPECT_EQ(VariableNamesIn(File("url = '$${a}${KXTILE_TEST_A}'")),
              std::vector<std::string>{"KXTILE_TEST_A"});
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

TEST_F(SecretsTest, OfAnAddressLeaveItsRestToBeSeen)
{
    const std::string address =
        "https://me:word@h/{$z}/{$x}/{$y}.png?style=dark&key=0123456789abcdef";
    const Secrets secrets = Secrets::InAddress(address);
    EXPECT_EQ(secrets.Mask(address), "https://***@h/{$z}/{$x}/{$y}.png?style=***&key=***");
    EXPECT_EQ(secrets.Mask("https://me:word@h/3/1/2.png?style=dark&key=0123456789abcdef refused"),
              "https://***@h/3/1/2.png?style=***&key=*** refused");
    EXPECT_EQ(Secrets::InAddress("https://h/{$z}.png").Mask("https://h/1.png"), "https://h/1.png");
}

} // namespace
} // namespace KxTileHost
