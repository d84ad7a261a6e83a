// SPDX-License-Identifier: MIT
#pragma once

#include "AnswerStore.h"
#include "EarthServer.h"
#include "KxRawData.h"

namespace KxC::Earth {

/// The requests of one fetch, through the stores that all fetches share. It asks for a database's
/// dbRoot when it needs it, and keeps to what it got.
/// Threads: one fetch belongs to one thread; no lock is held while a request is under way.
class EarthRequests
{
public:
    explicit EarthRequests(EarthServer server) : m_server(std::move(server)) {}

    /// @throws FetchFailure when it cannot be had: nothing works without its key
    const DbRoot& Root(Database database);

    /// The packet whose top node is `top`; null where the server has none.
    /// @param version  0 for that of the database
    /// @throws FetchFailure, DamagedAnswer
    SharedPacket Packet(Database database, const QuadPath& top, std::uint32_t version);

    /// @param isForParts  parts of it will be wanted by further tiles: it is kept for a while
    /// @return false where the server has no such image
    /// @throws FetchFailure, DamagedAnswer
    bool Image(KxRawData& image, const ImageRef& ref, const QuadPath& tile, bool isForParts);

    /// Asks again for every dbRoot that this fetch has used, for one that failed to open packets
    /// may have been replaced on the server.
    /// @return whether one of them is another now
    /// @throws FetchFailure
    bool RenewRoots();

private:
    bool Request(KxRawData& body, const std::string& url) const;
    SharedRoot RequestRoot(const std::string& url);
    bool RequestImage(KxRawData& image, const std::string& url, Database database);
    bool OpenWithEitherKey(KxRawData& image, Database database);

    EarthServer m_server;
    SharedRoot m_roots[2]; ///< by Database; null until needed
};

/// Forgets everything that was read from servers so far.
void ForgetAnswers();

} // namespace KxC::Earth
