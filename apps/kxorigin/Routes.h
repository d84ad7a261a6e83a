// SPDX-License-Identifier: MIT
#pragma once

#include "EarthOrders.h"
#include "Encoding.h"
#include "Grids.h"
#include "Pictures.h"

#include <string>
#include <string_view>
#include <variant>

namespace KxOrigin {

/// What the header X-Api-Key opens guarded routes with.
constexpr std::string_view kApiKey = "let-me-in";

/// What of an HTTP request decides its answer.
struct Request
{
    std::string method;
    std::string path; ///< as it came, percent sequences and all, without the query
    std::string userAgent;
    std::string apiKey;     ///< value of X-Api-Key
    std::string query = {}; ///< as it came, behind the question mark
    std::string host = {};  ///< value of Host
};

/// What is done to a tile's bytes before they leave.
enum class Dressing { Plain, GZip, GZipStored, GZipBomb, Truncated, Empty, Html };

/// A tile to be drawn and sent with status 200.
struct TileOrder
{
    PictureKind picture = PictureKind::Marble;
    GridKind grid = GridKind::WebMercator;
    PixelWindow window;
    Format format = Format::Png;
    Dressing dressing = Dressing::Plain;
};

/// An answer of text: refusals, wanted faults and the index page.
struct TextAnswer
{
    int status = 200;
    std::string text;
};

using Answer = std::variant<TileOrder, TextAnswer, EarthOrder>;

/// The one place where paths get their meaning; docs/kxorigin.md lists them. Any thread.
/// 400 says what is wrong with an address, 404 that its tile does not exist.
Answer Route(const Request& request);

} // namespace KxOrigin
