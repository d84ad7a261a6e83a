// SPDX-License-Identifier: MIT
#include "EarthServer.h"

#include "Conventions.h"
#include "EarthCipher.h"
#include "EarthFaults.h"
#include "EarthStamp.h"

#include <algorithm>

namespace KxOrigin {

namespace {

constexpr std::string_view kBinaryRootText = "[kxorigin]\nimagery = 1\n";

bool IsVersionRight(const EarthOrder& order, const EarthPacketOrder& packet)
{
    return !packet.version || order.options.takesAnyVersion ||
           *packet.version == EarthPacketVersion(order.database, packet.tile);
}

std::optional<std::vector<EarthNode>> NodesOf(const EarthOrder& order,
                                              const EarthPacketOrder& packet)
{
    const bool isRoot = packet.tile.level == 0;
    const EarthFault fault = order.Fault();
    if (fault == EarthFault::NoPacket && !isRoot)
        return std::nullopt;
    if (fault == EarthFault::Endless && HasEarthPacket(packet.tile.level))
        return EndlessNodes(isRoot);
    if (!IsVersionRight(order, packet))
        return std::nullopt;
    auto nodes = EarthNodesOf(order.database, packet.tile);
    if (nodes)
        BreakNodes(*nodes, fault);
    return nodes;
}

/// What is listed under the date that an order names.
/// @return null when there is no such picture
const EarthHistoryDate* FindDate(const EarthOrder& order, const EarthImageOrder& image)
{
    const auto dates = EarthHistoryDates();
    const auto date = std::find_if(
        dates.begin(), dates.end(), [&](const auto& known) { return known.Code() == *image.date; });
    const auto listed = EarthDatesOf(image.tile);
    const auto tile = std::find_if(
        listed.begin(), listed.end(), [&](const auto& known) { return known.date == *image.date; });
    if (date == dates.end() || tile == listed.end())
        return nullptr;
    const bool isVersionRight = order.options.takesAnyVersion || tile->version == image.version;
    return isVersionRight ? &*date : nullptr;
}

/// Whether the current picture is what an order asks for.
bool IsCurrentPicture(const EarthOrder& order, const EarthImageOrder& image)
{
    if (order.database == EarthDatabase::History)
        return image.date == kEarthUndated;
    return !image.date &&
           (order.options.takesAnyVersion || image.version == EarthImageVersion(image.tile));
}

} // namespace

EarthServer::EarthServer(const Picture& marble, const Picture& graticule)
    : m_marble(marble), m_graticule(graticule), m_currentKey(MakeEarthKey(20040714)),
      m_historyKey(MakeEarthKey(20190908))
{
}

const Bytes& EarthServer::KeyOf(EarthDatabase database) const
{
    return database == EarthDatabase::Current ? m_currentKey : m_historyKey;
}

std::optional<Bytes> EarthServer::Answer(const EarthOrder& order) const
{
    auto answer = std::visit([&](const auto& what) { return AnswerPart(order, what); }, order.what);
    if (answer)
        BreakAnswer(*answer, order.Fault());
    return answer;
}

std::optional<Bytes> EarthServer::AnswerPart(const EarthOrder& order,
                                             const EarthRootOrder& root) const
{
    const EarthFault fault = order.Fault();
    const Bytes& key = KeyOf(order.database);
    if (!root.isProto)
        return WriteBinaryRoot(
            EarthEpoch(order.database), key, Bytes(kBinaryRootText.begin(), kBinaryRootText.end()));
    EarthRoot content{EarthProviders(), "", EarthEpoch(order.database), order.options.isWrapped};
    if (order.database == EarthDatabase::Current && !order.base.empty())
        content.historyUrl = order.base + "?db=tm";
    Bytes message = WriteRoot(content);
    BreakMessage(message, fault);
    Bytes packed = PackEarth(message, order.options.isSwapped);
    BreakPacked(packed, fault);
    // dbRoot names its key, and is encrypted whatever the options say.
    ApplyEarthKey(KeyFor(order), packed);
    if (fault == EarthFault::NoKey)
        return WriteEncryptedRoot({}, packed);
    const std::size_t named = fault == EarthFault::ShortKey ? 7 : key.size();
    return WriteEncryptedRoot(std::span(key).first(named), packed);
}

std::optional<Bytes> EarthServer::AnswerPart(const EarthOrder& order,
                                             const EarthPacketOrder& packet) const
{
    const auto nodes = NodesOf(order, packet);
    if (!nodes)
        return std::nullopt;
    const EarthFault fault = order.Fault();
    Bytes content = order.database == EarthDatabase::Current
                        ? WriteBinaryPacket(*nodes)
                        : WriteProtoPacket(EarthPacketVersion(order.database, packet.tile),
                                           packet.tile.level == 0,
                                           *nodes);
    BreakPacket(content, fault, order.database);
    Bytes packed = PackEarth(content, order.options.isSwapped);
    BreakPacked(packed, fault);
    Encrypt(order, packed);
    return packed;
}

std::optional<Bytes> EarthServer::AnswerPart(const EarthOrder& order,
                                             const EarthImageOrder& image) const
{
    auto picture = DrawPicture(order, image);
    if (!picture)
        return std::nullopt;
    BreakMessage(*picture, order.Fault());
    Encrypt(order, *picture);
    return picture;
}

std::optional<Bytes> EarthServer::DrawPicture(const EarthOrder& order,
                                              const EarthImageOrder& image) const
{
    if (!EarthTileHasImagery(image.tile))
        return std::nullopt;
    const bool isCurrent = IsCurrentPicture(order, image);
    const bool isDated = order.database == EarthDatabase::History && image.date && !isCurrent;
    const EarthHistoryDate* date = isDated ? FindDate(order, image) : nullptr;
    if (!isCurrent && date == nullptr)
        return std::nullopt;
    Pixels pixels = DrawTile(order.options, image.tile);
    if (date != nullptr)
        StampDate(pixels, *date);
    if (order.Fault() == EarthFault::Small)
        pixels = Crop(pixels, 64);
    return EncodeEarthPicture(order.options, pixels, date == nullptr ? 7 : date->provider);
}

Pixels EarthServer::DrawTile(const EarthOptions& options, const EarthTile& tile) const
{
    const auto window = WindowFromSouth({tile.level, tile.column, tile.row});
    const Picture& picture = options.isGraticule ? m_graticule : m_marble;
    return picture.Draw(GridOf(GridKind::Geographic), *window);
}

const Bytes& EarthServer::KeyFor(const EarthOrder& order) const
{
    const bool isOther = order.Fault() == EarthFault::WrongKey;
    const bool isCurrent = (order.database == EarthDatabase::Current) != isOther;
    return isCurrent ? m_currentKey : m_historyKey;
}

void EarthServer::Encrypt(const EarthOrder& order, Bytes& data) const
{
    if (!order.options.isPlain)
        ApplyEarthKey(KeyFor(order), data);
}

} // namespace KxOrigin
