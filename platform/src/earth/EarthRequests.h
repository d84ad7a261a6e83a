// SPDX-License-Identifier: MIT
#pragma once

#include "AnswerStore.h"
#include "EarthServer.h"
#include "KxContainers.h"
#include "KxRawData.h"
#include "KxString.h"

namespace KxC::Earth {

/// What requests carry besides their address; null for nothing of the kind.
struct RequestTexts
{
    const KxString* m_userAgent = nullptr;
    const KxArray<KxString>* m_lines = nullptr; ///< for the configured server's hosts only
};

/// The requests of one fetch, through the stores that all fetches share. It asks for a database's
/// dbRoot when it needs it, and keeps to what it got.
/// Threads: one fetch belongs to one thread; no lock is held while a request is under way.
class EarthRequests
{
public:
    EarthRequests(const EarthServer& configured, const RequestTexts& texts)
        : m_configured(configured), m_server(configured), m_texts(texts)
    {
    }

    /// That of history imagery may be another server's, which the configured one names.
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
    enum class Source { StoreOrServer, Server };
    SharedRoot FindRoot(Database database, Source source);
    SharedRoot RootAt(const std::string& url, Source source);
    bool TurnToNamedServer(const SharedRoot& history, Source source);
    bool RequestImage(KxRawData& image, const std::string& url, Database database);
    bool OpenWithEitherKey(KxRawData& image, Database database);

    EarthServer m_configured;
    EarthServer m_server; ///< the configured one, or that with the history server that it names
    RequestTexts m_texts;
    SharedRoot m_roots[2]; ///< by Database; null until needed
};

/// Forgets everything that was read from servers so far.
void ForgetAnswers();

} // namespace KxC::Earth
