// SPDX-License-Identifier: MIT
#include "EarthPackets.h"

#include "EarthCipher.h"
#include "EarthTiles.h"
#include "ProtoWriter.h"

#include <libdeflate.h>

#include <algorithm>
#include <memory>
#include <stdexcept>

namespace KxOrigin {

namespace {

constexpr std::uint32_t kPackedMagic = 0x7468DEAD;
constexpr std::uint32_t kQuadtreeMagic = 32301;
constexpr std::uint32_t kBinaryRootMagic = 0x4E876494;
constexpr std::uint32_t kNodeSize = 32;

enum Layer { kImagery = 0, kHistory = 3 };

std::uint64_t Unsigned(int value)
{
    return static_cast<std::uint64_t>(value);
}

void AppendNode(Bytes& bytes, const EarthNode& node)
{
    const std::size_t start = bytes.size();
    AppendLittleEndian(bytes, static_cast<std::uint32_t>(node.flags), 2);
    AppendLittleEndian(bytes, static_cast<std::uint32_t>(node.packetVersion), 2);
    AppendLittleEndian(bytes, static_cast<std::uint32_t>(node.imageVersion), 2);
    bytes.resize(start + 28); // terrain, channels, neighbours
    AppendLittleEndian(bytes, static_cast<std::uint32_t>(node.provider), 1);
    bytes.resize(start + kNodeSize);
}

ProtoWriter WriteDate(const EarthDatedTile& tile)
{
    ProtoWriter writer;
    writer.Number(1, Unsigned(tile.date));
    writer.Number(2, Unsigned(tile.version));
    writer.Number(3, Unsigned(tile.provider));
    return writer;
}

ProtoWriter WriteDates(const EarthNode& node)
{
    ProtoWriter writer;
    for (const EarthDatedTile& tile : node.dates)
        writer.Message(1, WriteDate(tile));
    if (node.sharedDate != 0)
        writer.Number(2, Unsigned(node.sharedDate));
    for (const int date : node.coarseDates)
        writer.Number(3, Unsigned(date));
    return writer;
}

ProtoWriter WriteNode(const EarthNode& node)
{
    ProtoWriter writer;
    writer.Number(1, Unsigned(node.flags));
    if (node.packetVersion != 0)
        writer.Number(2, Unsigned(node.packetVersion));
    if (node.imageVersion != 0) {
        ProtoWriter imagery;
        imagery.Number(1, kImagery);
        imagery.Number(2, Unsigned(node.imageVersion));
        imagery.Number(3, Unsigned(node.provider));
        writer.Message(3, imagery);
    }
    if (node.historyVersion != 0) {
        ProtoWriter history;
        history.Number(1, kHistory);
        history.Number(2, Unsigned(node.historyVersion));
        history.Message(4, WriteDates(node));
        writer.Message(3, history);
    }
    return writer;
}

ProtoWriter WriteProvider(const EarthProvider& provider)
{
    ProtoWriter text;
    text.Text(2, provider.copyright);
    ProtoWriter writer;
    writer.Number(1, Unsigned(provider.id));
    writer.Message(2, text);
    return writer;
}

ProtoWriter WriteEndSnippet(const std::string& historyUrl)
{
    ProtoWriter writer;
    writer.Number(3, 1); // no authentication
    if (!historyUrl.empty()) {
        ProtoWriter history;
        history.Text(1, historyUrl);
        writer.Message(32, history);
    }
    return writer;
}

Bytes Deflate(const Bytes& content)
{
    const std::unique_ptr<libdeflate_compressor, decltype(&libdeflate_free_compressor)> compressor(
        libdeflate_alloc_compressor(6), &libdeflate_free_compressor);
    if (!compressor)
        throw std::runtime_error("no memory to pack");
    Bytes packed(libdeflate_zlib_compress_bound(compressor.get(), content.size()));
    packed.resize(libdeflate_zlib_compress(
        compressor.get(), content.data(), content.size(), packed.data(), packed.size()));
    return packed;
}

} // namespace

void AppendLittleEndian(Bytes& bytes, std::uint32_t value, int size)
{
    for (int i = 0; i < size; ++i, value >>= 8)
        bytes.push_back(static_cast<unsigned char>(value & 0xFF));
}

Bytes WriteBinaryPacket(std::span<const EarthNode> nodes)
{
    const auto count = static_cast<std::uint32_t>(nodes.size());
    Bytes bytes;
    for (const std::uint32_t value :
         {kQuadtreeMagic, 1U, 2U, count, kNodeSize, 32 + kNodeSize * count, 0U, 0U})
        AppendLittleEndian(bytes, value, 4);
    for (const EarthNode& node : nodes)
        AppendNode(bytes, node);
    return bytes;
}

Bytes WriteProtoPacket(int epoch, bool isRootPacket, std::span<const EarthNode> nodes)
{
    constexpr int kNodeGroup = 2;
    ProtoWriter writer;
    writer.Number(1, Unsigned(epoch));
    for (const EarthNode& node : nodes) {
        writer.StartGroup(kNodeGroup);
        writer.Number(3, Unsigned(EarthSubindex(node.digits, isRootPacket)));
        writer.Message(4, WriteNode(node));
        writer.EndGroup(kNodeGroup);
    }
    return writer.Result();
}

Bytes WriteRoot(const EarthRoot& root)
{
    ProtoWriter writer;
    writer.Number(1, 1); // imagery is present
    for (const EarthProvider& provider : root.providers)
        writer.Message(3, WriteProvider(provider));
    writer.Message(7, WriteEndSnippet(root.historyUrl));
    ProtoWriter version;
    version.Number(1, Unsigned(root.quadtreeVersion));
    writer.Message(13, version);
    if (root.isImageryWrapped)
        writer.Number(14, 1);
    return writer.Result();
}

Bytes WriteEncryptedRoot(std::span<const unsigned char> key, std::span<const unsigned char> data)
{
    ProtoWriter writer;
    writer.Number(1, 0);
    writer.Data(2, key);
    writer.Data(3, data);
    return writer.Result();
}

Bytes WriteBinaryRoot(int quadtreeVersion, std::span<const unsigned char> key, Bytes body)
{
    Bytes header;
    AppendLittleEndian(header, kBinaryRootMagic, 4);
    AppendLittleEndian(header, 0, 2);
    AppendLittleEndian(header, static_cast<std::uint32_t>(quadtreeVersion), 2);
    ApplyEarthKey(key, header);
    // The magic stays readable.
    Bytes bytes;
    AppendLittleEndian(bytes, kBinaryRootMagic, 4);
    bytes.insert(bytes.end(), header.begin() + 4, header.end());
    bytes.insert(bytes.end(), key.begin(), key.end());
    ApplyEarthKey(key, body);
    bytes.insert(bytes.end(), body.begin(), body.end());
    return bytes;
}

Bytes WrapEarthImage(EarthImageType type,
                     std::span<const unsigned char> image,
                     std::span<const unsigned char> alpha,
                     int provider)
{
    constexpr std::uint64_t kAlphaPng = 1;
    ProtoWriter writer;
    writer.Number(1, static_cast<std::uint64_t>(type));
    writer.Data(2, image);
    if (!alpha.empty()) {
        writer.Number(3, kAlphaPng);
        writer.Data(4, alpha);
    }
    writer.Number(5, Unsigned(provider));
    return writer.Result();
}

Bytes PackEarth(const Bytes& content, bool isSwapped)
{
    Bytes packed;
    AppendLittleEndian(packed, kPackedMagic, 4);
    AppendLittleEndian(packed, static_cast<std::uint32_t>(content.size()), 4);
    if (isSwapped) {
        std::reverse(packed.begin(), packed.begin() + 4);
        std::reverse(packed.begin() + 4, packed.end());
    }
    const Bytes stream = Deflate(content);
    packed.insert(packed.end(), stream.begin(), stream.end());
    return packed;
}

} // namespace KxOrigin
