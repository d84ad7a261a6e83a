// SPDX-License-Identifier: MIT
#include "DbRoot.h"

#include "Cipher.h"
#include "EarthErrors.h"
#include "PacketInflate.h"
#include "WireReader.h"

namespace KxC::Earth {

namespace {

// The older binary form: a header, the key, then a text that imagery does not need.
constexpr std::uint32_t kBinaryMagic = 0x4E876494;
constexpr std::size_t kBinaryVersionOffset = 6;
constexpr std::size_t kBinaryKeyOffset = 8;
constexpr std::size_t kBinaryHeaderBytes = 1024;
/// The header is encrypted as one word, which the cipher gives the key's third.
constexpr std::size_t kHeaderKeyOffset = 16;

enum EnvelopeField : std::uint32_t {
    kEncryptionType = 1, // 0, XOR, is the only one that there is
    kEncryptionData = 2,
    kDbRootData = 3,
};
constexpr std::uint32_t kDatabaseVersion = 13;
constexpr std::uint32_t kQuadtreeVersion = 1;
constexpr std::uint32_t kEndSnippet = 7;
constexpr std::uint32_t kTimeMachineOptions = 32;
constexpr std::uint32_t kServerUrl = 1;

bool IsBinaryForm(ByteView answer)
{
    return answer.size() >= kBinaryHeaderBytes && ReadU32(answer, 0) == kBinaryMagic;
}

DbRoot ReadBinaryForm(ByteView answer)
{
    const ByteView key = answer.first(kBinaryHeaderBytes).subspan(kBinaryKeyOffset);
    const unsigned version = ReadU16(answer, kBinaryVersionOffset) ^
                             ReadU16(key, kHeaderKeyOffset + kBinaryVersionOffset);
    return {{key.begin(), key.end()}, version, ""};
}

struct Envelope
{
    ByteView m_key;
    ByteView m_content;
};

Envelope ReadEnvelope(ByteView answer)
{
    Envelope envelope;
    WireReader reader(answer);
    for (WireField field; reader.Next(field);) {
        if (field.Is(kEncryptionType, WireType::Number) && field.m_value != 0)
            throw DamagedAnswer("the dbRoot is encrypted in an unknown way");
        if (field.Is(kEncryptionData, WireType::Bytes))
            envelope.m_key = field.m_bytes;
        if (field.Is(kDbRootData, WireType::Bytes))
            envelope.m_content = field.m_bytes;
    }
    if (!IsUsableKey(envelope.m_key))
        throw DamagedAnswer("the dbRoot hands out no usable key");
    return envelope;
}

/// 1 where none is given, as other clients take it.
std::uint32_t ReadQuadtreeVersion(ByteView databaseVersion)
{
    std::uint32_t version = 1;
    WireReader reader(databaseVersion);
    for (WireField field; reader.Next(field);)
        if (field.Is(kQuadtreeVersion, WireType::Number))
            version = static_cast<std::uint32_t>(field.m_value);
    return version;
}

/// The last of a message's fields of a number; empty where there is none.
ByteView FieldOf(ByteView message, std::uint32_t number)
{
    ByteView bytes;
    WireReader reader(message);
    for (WireField field; reader.Next(field);)
        if (field.Is(number, WireType::Bytes))
            bytes = field.m_bytes;
    return bytes;
}

std::string ReadHistoryServer(ByteView endSnippet)
{
    const ByteView url = FieldOf(FieldOf(endSnippet, kTimeMachineOptions), kServerUrl);
    return {url.begin(), url.end()};
}

void ReadContent(DbRoot& root, ByteView content)
{
    WireReader reader(content);
    for (WireField field; reader.Next(field);) {
        if (field.Is(kDatabaseVersion, WireType::Bytes))
            root.m_version = ReadQuadtreeVersion(field.m_bytes);
        if (field.Is(kEndSnippet, WireType::Bytes))
            root.m_historyServer = ReadHistoryServer(field.m_bytes);
    }
}

} // namespace

DbRoot ReadDbRoot(ByteView answer)
{
    if (IsBinaryForm(answer))
        return ReadBinaryForm(answer);
    const Envelope envelope = ReadEnvelope(answer);
    std::vector<unsigned char> packet(envelope.m_content.begin(), envelope.m_content.end());
    const OwnedBytes content = OpenPacket(packet, envelope.m_key);
    DbRoot root;
    root.m_key.assign(envelope.m_key.begin(), envelope.m_key.end());
    ReadContent(root, content.View());
    return root;
}

} // namespace KxC::Earth
