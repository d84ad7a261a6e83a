// SPDX-License-Identifier: MIT
#pragma once

#include "EarthOrders.h"
#include "Pictures.h"

#include <optional>

namespace KxOrigin {

/// Answers what clients of the flatfile protocol ask for: dbRoot, quadtree packets and pictures of
/// the current database and of the history. Safe for several threads.
class EarthServer
{
public:
    /// @param marble, graticule  must outlive the server
    EarthServer(const Picture& marble, const Picture& graticule);

    /// The body of an answer; nothing for what there is not.
    std::optional<Bytes> Answer(const EarthOrder& order) const;

    /// Each database has a key of its own.
    const Bytes& KeyOf(EarthDatabase database) const;

private:
    std::optional<Bytes> AnswerPart(const EarthOrder& order, const EarthRootOrder& root) const;
    std::optional<Bytes> AnswerPart(const EarthOrder& order, const EarthPacketOrder& packet) const;
    std::optional<Bytes> AnswerPart(const EarthOrder& order, const EarthImageOrder& image) const;
    std::optional<Bytes> DrawPicture(const EarthOrder& order, const EarthImageOrder& image) const;
    Pixels DrawTile(const EarthOptions& options, const EarthTile& tile) const;
    /// The database's key, or the other one where that is the fault.
    const Bytes& KeyFor(const EarthOrder& order) const;
    void Encrypt(const EarthOrder& order, Bytes& data) const;

    const Picture& m_marble;
    const Picture& m_graticule;
    Bytes m_currentKey;
    Bytes m_historyKey;
};

} // namespace KxOrigin
