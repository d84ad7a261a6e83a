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
        KxNetGetch::RequestData(body, address, "", "", 0, 1, m_server.m_timeoutMs, "", nullptr);
    if (result == NetError_Success)
        return body.GetSize() > 0;
    if (result == NetError_NoData)
        return false;
    throw FetchFailure(url + ": " + KxNetGetch::GetLastRequestInfo().m_strCause.Cstr());
}

SharedRoot EarthRequests::RequestRoot(const std::string& url)
{
    KxRawData answer;
    if (!Request(answer, url))
        throw FetchFailure(url + ": the server has no such database");
    auto root = std::make_shared<const DbRoot>(ReadDbRoot(SpanOf(answer)));
    SharedStores().roots.Put(url, root);
    return root;
}

const DbRoot& EarthRequests::Root(Database database)
{
    SharedRoot& root = m_roots[IndexOf(database)];
    if (root == nullptr) {
        const std::string url = m_server.RootUrl(database);
        root = SharedStores().roots.Find(url);
        if (root == nullptr)
            root = RequestRoot(url);
    }
    return *root;
}

bool EarthRequests::RenewRoots()
{
    bool isAnother = false;
    for (const Database database : {Database::Current, Database::History}) {
        SharedRoot& root = m_roots[IndexOf(database)];
        if (root == nullptr)
            continue;
        const SharedRoot fresh = RequestRoot(m_server.RootUrl(database));
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
        const OwnedBytes bytes = OpenPacket(SpanOf(body), root.m_key);
        packet = std::make_shared<const QuadPacket>(ReadQuadPacket(bytes.View(), top.m_level == 0));
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
