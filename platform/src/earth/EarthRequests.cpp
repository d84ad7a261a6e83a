// SPDX-License-Identifier: MIT
#include "EarthRequests.h"

#include "EarthErrors.h"
#include "ImagePacket.h"
#include "KxNetGetch.h"
#include "PacketInflate.h"
#include "PictureBytes.h"

#include <algorithm>
#include <cstdlib>
#include <new>
#include <utility>

namespace KxC::Earth {

namespace {

/// Some thousands of packets, each of hundreds of tiles.
constexpr std::size_t kPacketBudget = 32U << 20;
/// Some hundreds of images that tiles are cut from, which lie close together.
constexpr std::size_t kImageBudget = 8U << 20;

struct Stores
{
    PacketStore packets{kPacketBudget};
    ImageStore images{kImageBudget};
    RootStore roots;
};

/// Never destroyed: a thread may still be fetching while the process ends.
Stores& SharedStores()
{
    static Stores* const stores = new Stores;
    return *stores;
}

std::span<unsigned char> SpanOf(KxRawData& data)
{
    return {data.GetData(), data.GetSize()};
}

/// @return false for an image that is known not to be there
bool CopyTo(KxRawData& image, const std::vector<unsigned char>* bytes)
{
    if (bytes == nullptr)
        return false;
    auto* const copy = static_cast<unsigned char*>(std::malloc(bytes->size()));
    if (copy == nullptr)
        throw std::bad_alloc();
    std::copy(bytes->begin(), bytes->end(), copy);
    image.Attach(copy, static_cast<unsigned int>(bytes->size()));
    return true;
}

/// Reads an answer; one that is damaged is reported with the address that it came from.
template <typename Read>
auto ReadAnswerOf(const std::string& url, const Read& read)
{
    try {
        return read();
    } catch (const DamagedAnswer& damage) {
        throw DamagedAnswer(url + ": " + damage.what());
    }
}

void Keep(const std::string& url, ByteView image)
{
    auto copy = std::make_shared<const std::vector<unsigned char>>(image.begin(), image.end());
    SharedStores().images.Put(url, std::move(copy), image.size());
}

constexpr Database OtherOf(Database database)
{
    return database == Database::Current ? Database::History : Database::Current;
}

constexpr std::size_t IndexOf(Database database)
{
    return static_cast<std::size_t>(database);
}

} // namespace

/// @return false where the server has nothing; some say so with an empty body
bool EarthRequests::Request(KxRawData& body, const std::string& url) const
{
    const KxString address(url.data(), static_cast<int>(url.size()));
    const NetError result =
        KxNetGetch::RequestData(body,
                                address,
                                "",
                                "",
                                0,
                                1,
                                m_server.m_timeoutMs,
                                m_texts.m_userAgent != nullptr ? *m_texts.m_userAgent : KxString(),
                                m_configured.HasHostOf(url) ? m_texts.m_lines : nullptr);
    if (result == NetError_Success)
        return body.GetSize() > 0;
    if (result == NetError_NoData)
        return false;
    throw FetchFailure(url + ": " + KxNetGetch::GetLastRequestInfo().m_strCause.Cstr());
}

/// @return null where the server has none
SharedRoot EarthRequests::RootAt(const std::string& url, Source source)
{
    if (source == Source::StoreOrServer)
        if (SharedRoot root = SharedStores().roots.Find(url))
            return root;
    KxRawData answer;
    if (!Request(answer, url))
        return nullptr;
    auto root = ReadAnswerOf(
        url, [&] { return std::make_shared<const DbRoot>(ReadDbRoot(SpanOf(answer))); });
    SharedStores().roots.Put(url, root);
    return root;
}

/// @throws FetchFailure where there is none
SharedRoot EarthRequests::FindRoot(Database database, Source source)
{
    SharedRoot root = RootAt(m_server.RootUrl(database), source);
    if (database == Database::History && TurnToNamedServer(root, source))
        root = RootAt(m_server.RootUrl(database), source);
    if (root == nullptr)
        throw FetchFailure(m_server.RootUrl(database) + ": the server has no such database");
    return root;
}

/// The history server is named by the configured server's dbRoot of that database, or, where it has
/// none, by the current one's. One that is named is not asked for yet another.
/// @param history  the configured server's; null where it has none
/// @return whether requests for history imagery go to another server from now on
bool EarthRequests::TurnToNamedServer(const SharedRoot& history, Source source)
{
    if (m_server.IsHistoryNamed())
        return false;
    const SharedRoot naming =
        history != nullptr ? history : RootAt(m_server.RootUrl(Database::Current), source);
    const std::string url = m_server.RootUrl(Database::History);
    if (naming == nullptr || !m_server.NameHistory(naming->m_historyServer))
        return false;
    // So that the next fetch need not ask again for what is not there.
    if (history == nullptr)
        SharedStores().roots.Put(url, naming);
    return true;
}

const DbRoot& EarthRequests::Root(Database database)
{
    SharedRoot& root = m_roots[IndexOf(database)];
    if (root == nullptr)
        root = FindRoot(database, Source::StoreOrServer);
    return *root;
}

bool EarthRequests::RenewRoots()
{
    bool isAnother = false;
    m_server = m_configured;
    for (const Database database : {Database::Current, Database::History}) {
        SharedRoot& root = m_roots[IndexOf(database)];
        if (root == nullptr)
            continue;
        const SharedRoot fresh = FindRoot(database, Source::Server);
        isAnother = isAnother || !(*fresh == *root);
        root = fresh;
    }
    return isAnother;
}

SharedPacket EarthRequests::Packet(Database database, const QuadPath& top, std::uint32_t version)
{
    const DbRoot& root = Root(database);
    const std::string url =
        m_server.PacketUrl(database, top, version > 0 ? version : root.m_version);
    if (std::optional<SharedPacket> stored = SharedStores().packets.Find(url))
        return *std::move(stored);
    KxRawData body;
    SharedPacket packet;
    if (Request(body, url)) {
        packet = ReadAnswerOf(url, [&] {
            const OwnedBytes bytes = OpenPacket(SpanOf(body), root.m_key);
            return std::make_shared<const QuadPacket>(
                ReadQuadPacket(bytes.View(), top.m_level == 0));
        });
    }
    SharedStores().packets.Put(url, packet, packet == nullptr ? 0 : packet->ByteSize());
    return packet;
}

bool EarthRequests::Image(KxRawData& image,
                          const ImageRef& ref,
                          const QuadPath& tile,
                          bool isForParts)
{
    const std::string url = m_server.ImageUrl(ref, tile);
    if (const std::optional<ImageStore::Shared> stored = SharedStores().images.Find(url))
        return CopyTo(image, stored->get());
    if (!RequestImage(image, url, ref.m_database)) {
        SharedStores().images.Put(url, nullptr, 0);
        return false;
    }
    if (isForParts && IsWholePicture(SpanOf(image)))
        Keep(url, SpanOf(image));
    return true;
}

bool EarthRequests::RequestImage(KxRawData& image, const std::string& url, Database database)
{
    if (!Request(image, url))
        return false;
    if (!OpenWithEitherKey(image, database))
        throw DamagedAnswer(url + ": the answer is no image under the database's key");
    return true;
}

/// Servers are not at one about which of their two keys encrypts images that both databases share.
bool EarthRequests::OpenWithEitherKey(KxRawData& image, Database database)
{
    if (OpenImage(image, Root(database).m_key))
        return true;
    try {
        return OpenImage(image, Root(OtherOf(database)).m_key);
    } catch (const FetchFailure&) {
        return false;
    }
}

void ForgetAnswers()
{
    SharedStores().packets.Clear();
    SharedStores().images.Clear();
    SharedStores().roots.Clear();
}

} // namespace KxC::Earth
