// SPDX-License-Identifier: MIT
#include "EarthServer.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdlib>
#include <mutex>
#include <string_view>
#include <utility>

namespace KxC::Earth {

namespace {

constexpr char kServerVariable[] = "KXTILE_EARTH_URL";

/// What a host has set.
struct Settings
{
    std::mutex lock; ///< guards what follows
    std::string base;
    int timeoutMs = 0;
};

/// Never destroyed, because a thread may still fetch while the process ends.
Settings& SharedSettings()
{
    static Settings* const settings = new Settings;
    return *settings;
}

/// The server by its address: as set, else the environment's, else the public one.
EarthServer ServerAt(const std::string& base)
{
    if (!base.empty())
        return EarthServer::At(base);
    const char* const variable = std::getenv(kServerVariable); // NOLINT(concurrency-mt-unsafe)
    return variable != nullptr && *variable != '\0' ? EarthServer::At(variable)
                                                    : EarthServer::Public();
}

/// A path and a query behind a base, whose own query comes first.
std::string Join(std::string_view base, std::string_view path, std::string_view query)
{
    const std::size_t mark = base.find('?');
    std::string_view folder = base.substr(0, mark);
    while (!folder.empty() && folder.back() == '/')
        folder.remove_suffix(1);
    std::string url(folder);
    url.append("/").append(path).append("?");
    if (mark != std::string_view::npos && mark + 1 < base.size())
        url.append(base.substr(mark + 1)).append("&");
    return url.append(query);
}

/// "http://host:port" of an address, lower case.
std::string OriginOf(std::string_view url)
{
    const std::size_t separator = url.find("://");
    if (separator == std::string_view::npos)
        return {};
    std::string origin(url.substr(0, url.find_first_of("/?#", separator + 3)));
    for (char& c : origin)
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    return origin;
}

/// A base without the database that requests name themselves, and without slashes at its end.
std::string PlainBase(std::string_view url)
{
    constexpr std::string_view kDatabase = "db=tm";
    const std::size_t mark = std::min(url.find('?'), url.size());
    std::string_view folder = url.substr(0, mark);
    while (!folder.empty() && folder.back() == '/')
        folder.remove_suffix(1);
    std::string base(folder);
    char separator = '?';
    for (std::size_t at = mark + 1; at < url.size();) {
        const std::size_t end = std::min(url.find('&', at), url.size());
        const std::string_view part = url.substr(at, end - at);
        if (!part.empty() && part != kDatabase)
            base.append(1, std::exchange(separator, '&')).append(part);
        at = end + 1;
    }
    return base;
}

/// Whether a server's text is an address to go to from `base`.
bool CanFollow(const std::string& url, const std::string& base)
{
    constexpr std::size_t kMaxAddressBytes = 2048;
    const std::string origin = OriginOf(url);
    const bool isHttps = origin.rfind("https://", 0) == 0;
    const bool isHttp = origin.rfind("http://", 0) == 0;
    const bool isText = std::all_of(
        url.begin(), url.end(), [](char c) { return c > ' ' && c < '\x7f' && c != '#'; });
    return url.size() <= kMaxAddressBytes && isText &&
           (isHttps || (isHttp && OriginOf(base).rfind("https://", 0) != 0));
}

/// Lower case, no zeros in front.
std::string Hexadecimal(std::uint32_t number)
{
    std::array<char, 8> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number, 16).ptr;
    return {digits.data(), end};
}

} // namespace

EarthServer EarthServer::At(const std::string& base)
{
    return {base, base, base, 0, History::Asked};
}

EarthServer EarthServer::Public()
{
    return {"https://khmdb.google.com",
            "https://kh.google.com",
            "https://khmdb.google.com",
            0,
            History::Known};
}

bool EarthServer::NameHistory(const std::string& url)
{
    std::string base = PlainBase(url);
    if (m_history != History::Asked || !CanFollow(base, m_rootBase) ||
        base == PlainBase(m_historyBase))
        return false;
    m_historyBase = std::move(base);
    m_history = History::Named;
    return true;
}

bool EarthServer::HasHostOf(const std::string& url) const
{
    const std::string origin = OriginOf(url);
    return origin == OriginOf(m_rootBase) || origin == OriginOf(m_currentBase) ||
           origin == OriginOf(m_historyBase);
}

const std::string& EarthServer::BaseOf(Database database) const
{
    return database == Database::History ? m_historyBase : m_currentBase;
}

std::string EarthServer::RootUrl(Database database) const
{
    const bool history = database == Database::History;
    return Join(history && IsHistoryNamed() ? m_historyBase : m_rootBase,
                "dbRoot.v5",
                history ? "db=tm&hl=en&gl=us&output=proto" : "hl=en&gl=us&output=proto");
}

std::string
EarthServer::PacketUrl(Database database, const QuadPath& top, std::uint32_t version) const
{
    const bool history = database == Database::History;
    return Join(BaseOf(database),
                "flatfile",
                (history ? "db=tm&qp-" : "q2-") + top.Text() + "-q." + std::to_string(version));
}

std::string EarthServer::ImageUrl(const ImageRef& image, const QuadPath& tile) const
{
    const std::string query = "f1-" + tile.Text() + "-i." + std::to_string(image.m_version);
    if (image.m_database == Database::Current)
        return Join(m_currentBase, "flatfile", query);
    return Join(m_historyBase, "flatfile", "db=tm&" + query + "-" + Hexadecimal(image.m_date));
}

EarthServer CurrentServer()
{
    Settings& settings = SharedSettings();
    const std::lock_guard guard(settings.lock);
    EarthServer server = ServerAt(settings.base);
    server.m_timeoutMs = settings.timeoutMs;
    return server;
}

void SetCurrentServer(const std::string& base)
{
    Settings& settings = SharedSettings();
    const std::lock_guard guard(settings.lock);
    settings.base = base;
}

void SetCurrentTimeout(int timeoutMs)
{
    Settings& settings = SharedSettings();
    const std::lock_guard guard(settings.lock);
    settings.timeoutMs = timeoutMs;
}

} // namespace KxC::Earth
