// SPDX-License-Identifier: MIT
#include "TileSearch.h"

#include "EarthErrors.h"
#include "PictureBytes.h"

#include <algorithm>

namespace KxC::Earth {

namespace {

constexpr int kMaxLevelsUp = 8;

/// The packets on the way down to a tile, as far as there are any.
class Descent
{
public:
    Descent(EarthRequests& requests, Database database, const QuadPath& tile) : m_tile(tile)
    {
        SharedPacket packet = requests.Packet(database, tile.Ancestor(0), 0);
        // A database has an uppermost packet; without it something else is wrong.
        if (packet == nullptr)
            throw DamagedAnswer("the server has no uppermost quadtree packet of its own version");
        for (int next = 1; packet != nullptr; ++next) {
            m_packets.push_back(std::move(packet));
            const int topLevel = TopLevelOfPacket(next);
            const QuadNode* const top = topLevel < tile.m_level ? Node(topLevel) : nullptr;
            packet = top == nullptr || !top->m_hasPacket
                         ? nullptr
                         : requests.Packet(database, tile.Ancestor(topLevel), top->m_packetVersion);
        }
    }

    /// The node of the tile's ancestor of a level; null where there is none.
    const QuadNode* Node(int level) const
    {
        const auto packet = static_cast<std::size_t>(PacketOfLevel(level));
        return packet < m_packets.size()
                   ? m_packets[packet]->Find(SubIndex::Of(m_tile.Ancestor(level)))
                   : nullptr;
    }

private:
    QuadPath m_tile;
    std::vector<SharedPacket> m_packets;
};

ChosenImage Choose(const QuadNode* node, const TileWish& wish)
{
    return wish.m_history ? ChooseDated(node, wish.m_date) : ChooseCurrent(node);
}

/// The first of the images that the server has.
const ImageRef* FetchAny(KxRawData& image,
                         EarthRequests& requests,
                         const std::vector<ImageRef>& refs,
                         const QuadPath& tile,
                         bool isForParts)
{
    const auto found = std::find_if(refs.begin(), refs.end(), [&](const ImageRef& ref) {
        return requests.Image(image, ref, tile, isForParts);
    });
    return found == refs.end() ? nullptr : &*found;
}

void CutOut(KxRawData& image, const QuadPath& tile, int levelsUp)
{
    const int mask = (1 << levelsUp) - 1;
    if (levelsUp > 0)
        CutPart(image, levelsUp, tile.m_row & mask, tile.m_col & mask);
}

} // namespace

std::optional<FoundImage> FindImage(KxRawData& image, EarthRequests& requests, const TileWish& wish)
{
    const QuadPath& tile = wish.m_tile;
    const Descent descent(requests, wish.m_history ? Database::History : Database::Current, tile);
    for (int up = 0; up <= std::min(kMaxLevelsUp, tile.m_level); ++up) {
        const int level = tile.m_level - up;
        const ChosenImage chosen = Choose(descent.Node(level), wish);
        if (chosen.m_choice == Choice::Nothing)
            return {};
        const ImageRef* const found =
            FetchAny(image, requests, chosen.m_refs, tile.Ancestor(level), up > 0);
        if (found == nullptr)
            continue;
        CutOut(image, tile, up);
        return FoundImage{found->m_date, level};
    }
    return {};
}

std::vector<DateKey> FindDays(EarthRequests& requests, const QuadPath& tile)
{
    const Descent descent(requests, Database::History, tile);
    const QuadNode* const node = descent.Node(tile.m_level);
    return node == nullptr ? std::vector<DateKey>() : DaysOf(*node);
}

} // namespace KxC::Earth
