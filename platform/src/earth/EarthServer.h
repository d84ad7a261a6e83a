// SPDX-License-Identifier: MIT
#pragma once

#include "ImageChoice.h"
#include "QuadPath.h"

#include <string>

namespace KxC::Earth {

/// Where an earth server's two databases are asked, and the URLs of its requests.
struct EarthServer
{
    std::string m_rootBase;    ///< for the dbRoots of both
    std::string m_currentBase; ///< for packets and images of the current database
    std::string m_historyBase;
    int m_timeoutMs = 0; ///< of a request; 0 for the request layer's own
    /// Whose history imagery is where; the public server's address says it already.
    enum class History { Asked, Known, Named } m_history = History::Asked;

    /// A server that answers everything below one address, which may have a query of its own.
    static EarthServer At(const std::string& base);
    /// The public one.
    static EarthServer Public();

    /// Turns to a history server that this server's dbRoot names: an http or https address, not
    /// from https down to http.
    /// @return whether it is another one and can be followed
    bool NameHistory(const std::string& url);
    bool IsHistoryNamed() const { return m_history == History::Named; }

    /// Whether an address has the scheme, host and port of one of the server's own.
    bool HasHostOf(const std::string& url) const;

    std::string RootUrl(Database database) const;
    std::string PacketUrl(Database database, const QuadPath& top, std::uint32_t version) const;
    std::string ImageUrl(const ImageRef& image, const QuadPath& tile) const;

private:
    const std::string& BaseOf(Database database) const;
};

/// The server and time-out as they are set; the server: by the host, else by $KXTILE_EARTH_URL,
/// else the public one. Any thread.
EarthServer CurrentServer();

/// Sets the server's address; empty goes back to the environment's, or the public one. Any thread.
void SetCurrentServer(const std::string& base);

/// Sets the time-out of requests; 0 goes back to the request layer's. Any thread.
void SetCurrentTimeout(int timeoutMs);

} // namespace KxC::Earth
