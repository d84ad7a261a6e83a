// SPDX-License-Identifier: MIT
#include "ImageChoice.h"

#include <algorithm>

namespace KxC::Earth {

namespace {

constexpr std::size_t kMaxRefs = 4;

/// Version 0 is none given; servers answer to 1 then.
std::uint32_t VersionOr1(std::uint32_t version)
{
    return std::max(version, 1U);
}

/// Imagery of provider 0 lies in the default database, and can be asked for only where the node
/// tells its version there.
bool CanAskFor(const QuadNode& node, const DatedImage& image)
{
    return image.m_provider != 0 || node.m_hasImage;
}

ImageRef RefOf(const QuadNode& node, const DatedImage& image)
{
    if (image.m_provider == 0)
        return {Database::Current, VersionOr1(node.m_imageVersion), image.m_date};
    return {Database::History, VersionOr1(image.m_version), image.m_date};
}

/// The day's image by its own version, then by other versions of the node.
std::vector<ImageRef> RefsOf(const QuadNode& node, const DatedImage& image)
{
    std::vector<ImageRef> refs{RefOf(node, image)};
    if (refs[0].m_database == Database::Current)
        return refs;
    for (const DatedImage& other : node.m_dated) {
        const ImageRef ref{Database::History, VersionOr1(other.m_version), image.m_date};
        if (refs.size() < kMaxRefs && std::find(refs.begin(), refs.end(), ref) == refs.end())
            refs.push_back(ref);
    }
    return refs;
}

} // namespace

ChosenImage ChooseCurrent(const QuadNode* node)
{
    if (node == nullptr || !node->m_hasImage)
        return {};
    return {Choice::Image, {{Database::Current, VersionOr1(node->m_imageVersion), 0}}};
}

ChosenImage ChooseDated(const QuadNode* node, DateKey wanted)
{
    if (node == nullptr || !node->m_hasHistory)
        return ChooseCurrent(node);
    for (const DatedImage& image : node->m_dated)
        if (image.m_date <= wanted && CanAskFor(*node, image))
            return {Choice::Image, RefsOf(*node, image)};
    const bool isOnCoarser = std::any_of(node->m_coarseDates.begin(),
                                         node->m_coarseDates.end(),
                                         [wanted](DateKey date) { return date <= wanted; });
    return {isOnCoarser ? Choice::Coarser : Choice::Nothing, {}};
}

std::vector<DateKey> DaysOf(const QuadNode& node)
{
    std::vector<DateKey> days;
    for (const DatedImage& image : node.m_dated)
        if (CanAskFor(node, image) && (days.empty() || days.back() != image.m_date))
            days.push_back(image.m_date);
    return days;
}

} // namespace KxC::Earth
