// SPDX-License-Identifier: MIT
#include "Service.h"

#include <exception>
#include <string_view>
#include <utility>

namespace KxOrigin {

namespace {

constexpr std::size_t kCacheBudget = std::size_t{8} << 20; ///< bytes
constexpr std::string_view kErrorPage =
    "<!DOCTYPE html><html><head><title>Error</title></head>"
    "<body><h1>The tile service is out of order</h1></body></html>\n";

std::shared_ptr<const Bytes> Share(Bytes bytes)
{
    return std::make_shared<const Bytes>(std::move(bytes));
}

std::shared_ptr<const Bytes> ShareText(std::string_view text)
{
    return Share(Bytes(text.begin(), text.end()));
}

Response TextResponse(const TextAnswer& answer)
{
    return {answer.status, "text/plain; charset=utf-8", ShareText(answer.text)};
}

Response GZipResponse(Bytes stream)
{
    return {200, "application/gzip", Share(std::move(stream))};
}

Response ErrorPage()
{
    return {200, "text/html; charset=utf-8", ShareText(kErrorPage)};
}

Response Dress(std::shared_ptr<const Bytes> image, const std::string& type, Dressing dressing)
{
    const auto half = static_cast<std::ptrdiff_t>(image->size() / 2);
    switch (dressing) {
    case Dressing::GZip:
        return GZipResponse(GZipWithinHalf(*image));
    case Dressing::GZipStored:
        return GZipResponse(GZip(*image, 0));
    case Dressing::GZipBomb:
        return GZipResponse(GZip(PadPng(*image), 6));
    case Dressing::Truncated:
        return {200, type, Share(Bytes(image->begin(), image->begin() + half))};
    case Dressing::Empty:
        return {200, type, Share({})};
    case Dressing::Html:
        return ErrorPage();
    case Dressing::Plain:
        break;
    }
    return {200, type, std::move(image)};
}

} // namespace

Service::Service(Pixels world)
    : m_marble(std::move(world)), m_earth(m_marble, m_graticule), m_cache(kCacheBudget)
{
}

Response Service::Respond(const Request& request) noexcept
try {
    const Answer answer = Route(request);
    return std::visit([this](const auto& wanted) { return Deliver(wanted); }, answer);
} catch (const std::exception& error) {
    return TextResponse({500, std::string(error.what()) + "\n"});
}

Response Service::Deliver(const TileOrder& order)
{
    return Dress(EncodedTile(order), ContentTypeOf(order.format), order.dressing);
}

Response Service::Deliver(const EarthOrder& order)
{
    if (order.Fault() == EarthFault::Html)
        return ErrorPage();
    auto body = m_earth.Answer(order);
    if (!body && !order.options.answersEmpty)
        return TextResponse({404, "there is no such packet\n"});
    return {200, "application/octet-stream", Share(body ? std::move(*body) : Bytes())};
}

Response Service::Deliver(const TextAnswer& answer)
{
    return TextResponse(answer);
}

std::shared_ptr<const Bytes> Service::EncodedTile(const TileOrder& order)
{
    const TileKey key{order.picture, order.grid, order.window, order.format};
    if (auto tile = m_cache.Find(key))
        return tile;
    const Pixels pixels = PictureOf(order.picture).Draw(GridOf(order.grid), order.window);
    auto tile = Share(Encode(pixels, order.format));
    m_cache.Keep(key, tile);
    return tile;
}

const Picture& Service::PictureOf(PictureKind kind) const
{
    if (kind == PictureKind::Graticule)
        return m_graticule;
    return m_marble;
}

} // namespace KxOrigin
