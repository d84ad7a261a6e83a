// SPDX-License-Identifier: MIT
#include "EarthBytes.h"

#include <zlib.h>

#include <algorithm>
#include <cctype>
#include <stdexcept>

namespace KxC::EarthTest {

std::string FromHex(std::string_view text)
{
    std::string digits(text);
    digits.erase(std::remove_if(
                     digits.begin(), digits.end(), [](unsigned char c) { return std::isspace(c); }),
                 digits.end());
    std::string bytes;
    for (std::size_t at = 0; at + 1 < digits.size(); at += 2)
        bytes += static_cast<char>(std::stoi(digits.substr(at, 2), nullptr, 16));
    return bytes;
}

std::string ToHex(std::string_view bytes)
{
    constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        text += {kDigits[byte >> 4], kDigits[byte & 15]};
    }
    return text;
}

std::string Encrypt(std::string data, std::string_view key)
{
    std::size_t offset = 16;
    for (char& byte : data) {
        byte = static_cast<char>(byte ^ key[offset]);
        if (++offset % 8 == 0)
            offset += 16;
        if (offset >= key.size())
            offset = (offset + 8) % 24;
    }
    return data;
}

namespace {

std::string Deflated(std::string_view content)
{
    uLongf size = ::compressBound(content.size());
    std::string stream(size, '\0');
    if (::compress2(reinterpret_cast<Bytef*>(stream.data()),
                    &size,
                    reinterpret_cast<const Bytef*>(content.data()),
                    content.size(),
                    9) != Z_OK)
        throw std::runtime_error("zlib");
    stream.resize(size);
    return stream;
}

std::string Reversed(std::string text)
{
    std::reverse(text.begin(), text.end());
    return text;
}

constexpr std::uint32_t kMagic = 0x7468DEAD;

} // namespace

std::string CompressStating(std::string_view content, std::uint32_t size)
{
    return LittleEndian(kMagic, 4) + LittleEndian(size, 4) + Deflated(content);
}

std::string Compress(std::string_view content)
{
    return CompressStating(content, static_cast<std::uint32_t>(content.size()));
}

std::string CompressSwapped(std::string_view content)
{
    return Reversed(LittleEndian(kMagic, 4)) + Reversed(LittleEndian(content.size(), 4)) +
           Deflated(content);
}

std::string LittleEndian(std::uint64_t value, int bytes)
{
    std::string text;
    for (int i = 0; i < bytes; ++i)
        text += static_cast<char>(value >> (8 * i) & 0xFF);
    return text;
}

std::string Varint(std::uint64_t value)
{
    std::string text;
    for (; value > 127; value >>= 7)
        text += static_cast<char>((value & 127) | 128);
    return text + static_cast<char>(value);
}

std::string Number(std::uint32_t field, std::uint64_t value)
{
    return Varint(field << 3) + Varint(value);
}

std::string Text(std::uint32_t field, std::string_view content)
{
    return Varint(field << 3 | 2U) + Varint(content.size()) + std::string(content);
}

std::string Group(std::uint32_t field, std::string_view content)
{
    return Varint(field << 3 | 3U) + std::string(content) + Varint(field << 3 | 4U);
}

std::string
DbRootAnswer(std::string_view key, std::uint32_t version, std::string_view historyServer)
{
    std::string content = Text(13, Number(1, version));
    if (!historyServer.empty())
        content += Text(7, Text(32, Text(1, historyServer)));
    return Number(1, 0) + Text(2, key) + Text(3, Encrypt(Compress(content), key));
}

namespace {

std::string HistoryLayer(const NodeText& node)
{
    std::string dates;
    for (const Day& day : node.days)
        dates += Text(1, Number(1, day.date) + Number(2, day.version) + Number(3, day.provider));
    std::string packed;
    for (const std::uint32_t date : node.coarse)
        packed += Varint(date);
    return Number(1, 3) + Text(4, dates + (packed.empty() ? "" : Text(3, packed)));
}

std::string NodeMessage(const NodeText& node)
{
    std::string message = Number(1, node.packetVersion > 0 ? 0x10 : 0);
    if (node.packetVersion > 0)
        message += Number(2, node.packetVersion);
    if (node.imageVersion > 0)
        message += Text(3, Number(1, 0) + Number(2, node.imageVersion));
    if (!node.days.empty() || !node.coarse.empty())
        message += Text(3, HistoryLayer(node));
    return message;
}

} // namespace

std::string ProtobufPacket(const std::vector<std::pair<int, NodeText>>& nodes)
{
    std::string packet = Number(1, 1);
    for (const auto& [index, node] : nodes)
        packet += Group(2, Number(3, static_cast<unsigned>(index)) + Text(4, NodeMessage(node)));
    return packet;
}

std::string BinaryPacket(const std::vector<Instance>& instances)
{
    const std::size_t count = instances.size();
    std::string packet = LittleEndian(32301, 4) + LittleEndian(1, 4) + LittleEndian(2, 4) +
                         LittleEndian(count, 4) + LittleEndian(32, 4) +
                         LittleEndian(32 + 32 * count, 4) + LittleEndian(0, 8);
    for (const Instance& instance : instances)
        packet += LittleEndian(instance.flags, 2) + LittleEndian(instance.packetVersion, 2) +
                  LittleEndian(instance.imageVersion, 2) + std::string(26, '\0');
    return packet;
}

const char kSampleRootPlain[] = R"(
08011a0e0807120a120828632920546573743a1e18018202190a17687474703a
2f2f3132372e302e302e312f3f64623d746d6a0308d2097001)";

const char kSampleRootWire[] = R"(
08001220a0a1a2a3a4a5a6a7a8a9aaabacadaeafb0b1b2b3b4b5b6b7b8b9babb
bcbdbebf1a471d6fdac78db5b6b7d87b41c3304745c7af5ba8596cf568eba0e0
87851d3f3dcfdcd32057a67a9e9e89117074939194708bb9f8f8c1462a9b733b
7687ca23e533b53db29f65b98c)";

const char kSampleBinaryRoot[] = R"(
2d7e000001000000020000000500000020000000c00000000400000000000000
4500000001000000000000000000000000000000000000000000000000000000
4000000003000000000000000000000000000000000000000000000007000000
4200000004000000000000000000000000000000000000000000000007000000
e800000005000200010000000000000002000000000000000000000007000000
50002a0006000000000000000000000000000000000000000000000007000000
82000b00)";

const char kSampleBinaryRootWire[] = R"(
55977832a35100420fc7bec4b590fc0ffbe11c125105ce190bd1916a60db6c34
731b656f864c45fca0a8f1a24f08aced981c7f2070d133f3bafe91671f5fb4c3
bb0d9b54a84e503343c4440e8e)";

const char kSampleBinaryDeeper[] = R"(
2d7e000001000000020000000300000020000000800000000000000000000000
0100000000000000000000000000000000000000000000000000000000000000
4400000008000000000000000000000000000000000000000000000007000000
4000000009000000000000000000000000000000000000000000000007000000)";

const char kSampleProtobufRoot[] = R"(
0884071318002202080414131803223f08421a060800100418071a3308031032
222d0a0708a104100118000a080897e13e100a18070a0908af903f1091021800
0a09089fa33f10e902180910af903f1413180e220a08481a0608001005180714
13183c220c0850102a1a0608001006180714)";

const char kSampleProtobufDeeper[] = R"(
082a1318002202080114131801221c08441a060800100818071a100803103222
0a0a08089ff33e1073180914131804220a08401a0608001009180714)";

const char kSampleWrappedImage[] = "08001204ffd8ffe01801220489504e472807";

} // namespace KxC::EarthTest
