// SPDX-License-Identifier: MIT
#include "DbRoot.h"

#include "EarthErrors.h"
#include "View.h"

#include <gtest/gtest.h>

namespace KxC::EarthTest {
namespace {

using Earth::DamagedAnswer;
using Earth::DbRoot;

DbRoot Read(const std::string& answer)
{
    return Earth::ReadDbRoot(View(answer));
}

std::string KeyOf(const DbRoot& root)
{
    return {root.m_key.begin(), root.m_key.end()};
}

std::string SampleKey()
{
    std::string key;
    for (int byte = 0xA0; byte <= 0xBF; ++byte)
        key += static_cast<char>(byte);
    return key;
}

std::string Sealed(const std::string& content, const std::string& key = SampleKey())
{
    return Text(2, key) + Text(3, Encrypt(Compress(content), key));
}

TEST(ReadDbRoot, ReadsThePublishedSample)
{
    const DbRoot root = Read(FromHex(kSampleRootWire));
    EXPECT_EQ(KeyOf(root), SampleKey());
    EXPECT_EQ(root.m_version, 1234U);
    EXPECT_EQ(root.m_historyServer, "http://127.0.0.1/?db=tm");
    // What it holds is also what another encoder makes of it.
    EXPECT_EQ(Read(Sealed(FromHex(kSampleRootPlain))), root);
}

TEST(ReadDbRoot, TakesVersion1WhereNoneIsGiven)
{
    EXPECT_EQ(Read(Sealed("")).m_version, 1U);
    EXPECT_EQ(Read(Sealed(Text(13, ""))).m_version, 1U);
    EXPECT_EQ(Read(Sealed(Number(1, 1))).m_version, 1U);
}

TEST(ReadDbRoot, TakesContentThatCameUnencrypted)
{
    EXPECT_EQ(Read(Text(2, SampleKey()) + Text(3, Compress(Text(13, Number(1, 7))))).m_version, 7U);
}

TEST(ReadDbRoot, ReadsTheOlderBinaryForm)
{
    std::string key(1016, '\0');
    for (std::size_t i = 0; i < key.size(); ++i)
        key[i] = static_cast<char>(i * 7 + 1);
    // The header is encrypted as one word of data; its magic goes out plain.
    std::string header = Encrypt(std::string(6, '\0') + LittleEndian(0x1234, 2), key);
    header.replace(0, 4, LittleEndian(0x4E876494, 4));
    const DbRoot root = Read(header + key + "whatever follows");
    EXPECT_EQ(KeyOf(root), key);
    EXPECT_EQ(root.m_version, 0x1234U);
    EXPECT_THROW(Read(header + key.substr(1)), DamagedAnswer);
}

TEST(ReadDbRoot, RefusesUnknownEncryption)
{
    EXPECT_THROW(Read(Number(1, 1) + Sealed("")), DamagedAnswer);
}

TEST(ReadDbRoot, RefusesKeysThatCannotBeUsed)
{
    for (const std::size_t size : {0U, 8U, 23U, 33U})
        EXPECT_THROW(Read(Text(2, std::string(size, 'k')) + Text(3, Compress(""))), DamagedAnswer)
            << size;
    EXPECT_THROW(Read(Text(3, Compress(""))), DamagedAnswer);
}

TEST(ReadDbRoot, RefusesWhatIsNoDbRoot)
{
    EXPECT_THROW(Read(""), DamagedAnswer);
    EXPECT_THROW(Read("<html>Not found</html>"), DamagedAnswer);
    EXPECT_THROW(Read(Sealed(Text(13, "\xFF"))), DamagedAnswer);
    EXPECT_THROW(Read(Text(2, SampleKey())), DamagedAnswer);
}

TEST(ReadDbRoot, RefusesWhatIsCutOffAnywhere)
{
    const std::string whole = FromHex(kSampleRootWire);
    for (std::size_t size = 0; size < whole.size(); ++size)
        EXPECT_THROW(Read(whole.substr(0, size)), DamagedAnswer) << size;
}

} // namespace
} // namespace KxC::EarthTest
