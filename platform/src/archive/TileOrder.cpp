// SPDX-License-Identifier: MIT
#include "TileOrder.h"

#include <algorithm>
#include <tuple>

namespace KxC {

namespace {

constexpr unsigned long long kReadAtOnce = 4096;

} // namespace

TileOrder::TileOrder(const std::string& neighbour, std::size_t atOnce)
    : m_nAtOnce(atOnce), m_file(neighbour)
{
}

bool TileOrder::GoesBefore(const WaitingTile& one, const WaitingTile& other)
{
    return std::tie(one.m_nTileId, one.m_nNumber) < std::tie(other.m_nTileId, other.m_nNumber);
}

void TileOrder::Add(const WaitingTile& tile)
{
    m_latest.push_back(tile);
    if (m_latest.size() >= m_nAtOnce)
        EndStretch();
}

void TileOrder::EndStretch()
{
    std::sort(m_latest.begin(), m_latest.end(), &GoesBefore);
    const unsigned long long first = m_file.Count();
    m_file.Append(m_latest.data(), m_latest.size());
    m_stretches.push_back({first, m_file.Count(), {}, 0});
    m_latest.clear();
}

void TileOrder::Begin()
{
    EndStretch();
    m_latest.shrink_to_fit();
    for (std::size_t i = 0; i < m_stretches.size(); ++i)
        if (Refill(m_stretches[i]))
            m_heap.push_back(i);
    std::make_heap(
        m_heap.begin(), m_heap.end(), [this](auto one, auto other) { return IsAfter(one, other); });
}

bool TileOrder::IsAfter(std::size_t one, std::size_t other) const
{
    const Stretch& left = m_stretches[one];
    const Stretch& right = m_stretches[other];
    return GoesBefore(right.m_read[right.m_nTaken], left.m_read[left.m_nTaken]);
}

bool TileOrder::Refill(Stretch& stretch)
{
    const unsigned long long count = std::min(kReadAtOnce, stretch.m_nEnd - stretch.m_nNext);
    m_file.Read(stretch.m_nNext, static_cast<std::size_t>(count), stretch.m_read);
    stretch.m_nNext += count;
    stretch.m_nTaken = 0;
    return count > 0;
}

bool TileOrder::Next(WaitingTile& tile)
{
    if (m_heap.empty())
        return false;
    const auto isAfter = [this](auto one, auto other) { return IsAfter(one, other); };
    std::pop_heap(m_heap.begin(), m_heap.end(), isAfter);
    Stretch& stretch = m_stretches[m_heap.back()];
    tile = stretch.m_read[stretch.m_nTaken++];
    if (stretch.m_nTaken < stretch.m_read.size() || Refill(stretch))
        std::push_heap(m_heap.begin(), m_heap.end(), isAfter);
    else
        m_heap.pop_back();
    return true;
}

} // namespace KxC
