// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// What an earth server sends, made here without the library's own code.

namespace KxC::EarthTest {

/// The bytes of a hexadecimal text; blanks and line ends between them do not count.
std::string FromHex(std::string_view text);
std::string ToHex(std::string_view bytes);

/// The cipher, byte by byte as it is published for data of 8 bytes or more.
std::string Encrypt(std::string data, std::string_view key);

/// zlib's stream behind the header of a compressed packet.
std::string Compress(std::string_view content);
/// The same with another size stated, or with the swapped header.
std::string CompressStating(std::string_view content, std::uint32_t size);
std::string CompressSwapped(std::string_view content);

std::string LittleEndian(std::uint64_t value, int bytes);

// Protobuf: fields, each with its tag.
std::string Varint(std::uint64_t value);
std::string Number(std::uint32_t field, std::uint64_t value);
std::string Text(std::uint32_t field, std::string_view content);
std::string Group(std::uint32_t field, std::string_view content);

/// A dbRoot as it is sent, with the history server that it names.
std::string
DbRootAnswer(std::string_view key, std::uint32_t version, std::string_view historyServer = {});

/// A day of a node in a protobuf packet.
struct Day
{
    std::uint32_t date;
    std::uint32_t version;
    std::uint32_t provider;
};

/// A node of a protobuf packet.
struct NodeText
{
    std::uint32_t packetVersion = 0;        ///< 0: no packet below
    std::uint32_t imageVersion = 0;         ///< 0: no current imagery
    std::vector<Day> days = {};             ///< none: no history layer
    std::vector<std::uint32_t> coarse = {}; ///< packed
};
std::string ProtobufPacket(const std::vector<std::pair<int, NodeText>>& nodes);

/// An instance of a binary packet.
struct Instance
{
    unsigned flags = 0; ///< bits 0 to 3 children, 0x10 packet below, 0x40 imagery
    unsigned packetVersion = 0;
    unsigned imageVersion = 0;
};
std::string BinaryPacket(const std::vector<Instance>& instances);

// A worked session, published with the protocol; its key is the bytes A0 to BF.
extern const char kSampleRootPlain[];
extern const char kSampleRootWire[];
extern const char kSampleBinaryRoot[];     ///< "" "0" "2" "21" "213"
extern const char kSampleBinaryRootWire[]; ///< under the default key
extern const char kSampleBinaryDeeper[];   ///< at 0213: "" "0" "02"
extern const char kSampleProtobufRoot[];
extern const char kSampleProtobufDeeper[];
extern const char kSampleWrappedImage[];

} // namespace KxC::EarthTest
