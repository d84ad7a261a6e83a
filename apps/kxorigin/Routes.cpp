// SPDX-License-Identifier: MIT
#include "Routes.h"

#include "Conventions.h"
#include "EarthRoutes.h"
#include "Faults.h"
#include "IndexPage.h"
#include "Paths.h"

#include <array>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace KxOrigin {

namespace {

constexpr std::string_view kAgentStart = "KxTile";

/// What is left of a path: the parts behind those that were already understood.
using Parts = std::span<const std::string>;

TextAnswer Malformed(std::string why)
{
    return {400, std::move(why) + "\n"};
}

TextAnswer Forbidden(std::string why)
{
    return {403, std::move(why) + "\n"};
}

template <typename Value>
using Read = std::variant<Value, TextAnswer>;

Read<PictureKind> ReadPicture(const std::string& name)
{
    if (name == "marble")
        return PictureKind::Marble;
    if (name == "graticule")
        return PictureKind::Graticule;
    return Malformed("there is no picture '" + name + "'; there are marble and graticule");
}

/// A last part, "name.extension".
struct FileName
{
    std::string stem;
    Format format = Format::Png;
};

Read<FileName> ReadFileName(const std::string& part)
{
    const std::size_t point = part.rfind('.');
    const std::string extension = point == std::string::npos ? "" : part.substr(point + 1);
    const std::string stem = part.substr(0, point);
    if (extension == "png")
        return FileName{stem, Format::Png};
    if (extension == "jpg")
        return FileName{stem, Format::Jpeg};
    if (extension == "webp")
        return FileName{stem, Format::WebP};
    return Malformed("'" + part + "' does not end in .png, .jpg or .webp");
}

/// Picture, three numbers in the order of the address, format.
struct TileAddress
{
    PictureKind picture = PictureKind::Marble;
    std::array<std::int64_t, 3> numbers{};
    Format format = Format::Png;

    TileNumbers LevelColumnRow() const { return {numbers[0], numbers[1], numbers[2]}; }
};

Read<std::array<std::int64_t, 3>> ReadNumbers(const std::array<std::string, 3>& texts)
{
    std::array<std::int64_t, 3> numbers{};
    for (std::size_t i = 0; i < texts.size(); ++i) {
        const auto number = ReadNumber(texts[i]);
        if (!number)
            return Malformed("'" + texts[i] + "' is not a whole number");
        numbers[i] = *number;
    }
    return numbers;
}

Read<TileAddress> ReadTileAddress(Parts parts)
{
    if (parts.size() != 4)
        return Malformed("the address of a tile is {picture} and three numbers");
    const auto picture = ReadPicture(parts[0]);
    if (const auto* wrong = std::get_if<TextAnswer>(&picture))
        return *wrong;
    const auto file = ReadFileName(parts[3]);
    if (const auto* wrong = std::get_if<TextAnswer>(&file))
        return *wrong;
    const auto& name = std::get<FileName>(file);
    const auto numbers = ReadNumbers({parts[1], parts[2], name.stem});
    if (const auto* wrong = std::get_if<TextAnswer>(&numbers))
        return *wrong;
    return TileAddress{std::get<PictureKind>(picture),
                       std::get<std::array<std::int64_t, 3>>(numbers),
                       name.format};
}

Answer Order(PictureKind picture,
             GridKind grid,
             const std::optional<PixelWindow>& window,
             Format format,
             Dressing dressing = Dressing::Plain)
{
    if (!window)
        return TextAnswer{404, "there is no such tile; levels are 0 to 22\n"};
    return TileOrder{picture, grid, *window, format, dressing};
}

/// {picture}/{z}/{x}/{y}.{format} under some rule of rows.
template <typename Rule>
Answer OrderByRule(Parts parts, GridKind grid, Dressing dressing, const Rule& windowOf)
{
    const auto read = ReadTileAddress(parts);
    if (const auto* wrong = std::get_if<TextAnswer>(&read))
        return *wrong;
    const auto& address = std::get<TileAddress>(read);
    return Order(
        address.picture, grid, windowOf(address.LevelColumnRow()), address.format, dressing);
}

Answer OrderXyz(Parts parts, Dressing dressing = Dressing::Plain)
{
    return OrderByRule(parts, GridKind::WebMercator, dressing, WindowFromNorth);
}

Answer Xyz(Parts parts, const Request&)
{
    return OrderXyz(parts);
}

Answer Tms(Parts parts, const Request&)
{
    return OrderByRule(parts, GridKind::WebMercator, Dressing::Plain, WindowFromSouth);
}

Answer Geographic(Parts parts, const Request&)
{
    return OrderByRule(parts, GridKind::Geographic, Dressing::Plain, WindowFromNorth);
}

Answer GeographicTms(Parts parts, const Request&)
{
    return OrderByRule(parts, GridKind::Geographic, Dressing::Plain, WindowFromSouth);
}

Answer TianDiTu(Parts parts, const Request&)
{
    return OrderByRule(parts, GridKind::Geographic, Dressing::Plain, WindowFromPole);
}

Answer XyzGcj02(Parts parts, const Request&)
{
    return OrderByRule(parts, GridKind::WebMercatorGcj02, Dressing::Plain, WindowFromNorth);
}

Answer XyzBd09(Parts parts, const Request&)
{
    return OrderByRule(parts, GridKind::WebMercatorBd09, Dressing::Plain, WindowFromNorth);
}

Answer Xyz512(Parts parts, const Request&)
{
    return OrderByRule(parts, GridKind::WebMercator, Dressing::Plain, WindowOfDoubleEdge);
}

Answer Geographic512(Parts parts, const Request&)
{
    return OrderByRule(parts, GridKind::Geographic, Dressing::Plain, WindowOfDoubleEdge);
}

/// The numbers stand in the query, x=M5&y=12&z=9 in any order, as with services of that kind.
Answer Baidu(Parts parts, const Request& request)
{
    if (parts.size() != 1)
        return Malformed("a Baidu address is /baidu/{picture}.{format}?x={x}&y={y}&z={z}");
    const auto file = ReadFileName(parts[0]);
    if (const auto* wrong = std::get_if<TextAnswer>(&file))
        return *wrong;
    const auto& name = std::get<FileName>(file);
    const auto picture = ReadPicture(name.stem);
    if (const auto* wrong = std::get_if<TextAnswer>(&picture))
        return *wrong;
    const auto level = ReadNumber(QueryValue(request.query, "z"));
    const auto column = ReadMarkedNumber(QueryValue(request.query, "x"));
    const auto row = ReadMarkedNumber(QueryValue(request.query, "y"));
    if (!level || !column || !row)
        return Malformed("the query needs x, y and z; numbers below 0 are written as M5, not -5");
    return Order(std::get<PictureKind>(picture),
                 GridKind::Baidu,
                 WindowFromOrigin({*level, *column, *row}),
                 name.format);
}

Answer QuadKey(Parts parts, const Request&)
{
    if (parts.size() != 2)
        return Malformed("a quadkey address is /quadkey/{picture}/{quadkey}.{format}");
    const auto picture = ReadPicture(parts[0]);
    if (const auto* wrong = std::get_if<TextAnswer>(&picture))
        return *wrong;
    const auto file = ReadFileName(parts[1]);
    if (const auto* wrong = std::get_if<TextAnswer>(&file))
        return *wrong;
    const auto& name = std::get<FileName>(file);
    const auto numbers = ReadQuadKey(name.stem);
    if (!numbers)
        return Malformed("a quadkey holds the digits 0 to 3 only");
    return Order(std::get<PictureKind>(picture),
                 GridKind::WebMercator,
                 WindowFromNorth(*numbers),
                 name.format);
}

Answer Offset(Parts parts, const Request&)
{
    const auto offset = parts.size() == 5 ? ReadNumber(parts[1]) : std::nullopt;
    if (!offset)
        return Malformed("an offset address is /offset/{picture}/{n}/{z}/{x}/{y}.{format}");
    const std::vector<std::string> rest{parts[0], parts[2], parts[3], parts[4]};
    return OrderByRule(
        rest, GridKind::WebMercator, Dressing::Plain, [&](const TileNumbers& numbers) {
            return WindowWithLevelOffset(numbers, *offset);
        });
}

Answer Axis(Parts parts, const Request&)
{
    if (parts.size() != 5)
        return Malformed("an axis address is /axis/{picture}/{order}/{a}/{b}/{c}.{format}");
    if (!ReadAxes(parts[1], 0, 0, 0))
        return Malformed("the order of axes is a permutation of xyz, not '" + parts[1] + "'");
    const std::vector<std::string> rest{parts[0], parts[2], parts[3], parts[4]};
    const auto read = ReadTileAddress(rest);
    if (const auto* wrong = std::get_if<TextAnswer>(&read))
        return *wrong;
    const auto& address = std::get<TileAddress>(read);
    const auto& [first, second, third] = address.numbers;
    return Order(address.picture,
                 GridKind::WebMercator,
                 WindowFromNorth(*ReadAxes(parts[1], first, second, third)),
                 address.format);
}

Answer ServerPart(Parts parts, const Request&)
{
    if (parts.empty() || (parts[0] != "a" && parts[0] != "b" && parts[0] != "c"))
        return Forbidden("the servers are a, b and c");
    return OrderXyz(parts.subspan(1));
}

Answer GZipped(Parts parts, const Request&)
{
    return OrderXyz(parts, Dressing::GZip);
}

Answer GZipStored(Parts parts, const Request&)
{
    return OrderXyz(parts, Dressing::GZipStored);
}

Answer GZipBomb(Parts parts, const Request&)
{
    Answer answer = OrderXyz(parts, Dressing::GZipBomb);
    const auto* order = std::get_if<TileOrder>(&answer);
    if (order != nullptr && order->format != Format::Png)
        return Malformed("only .png is published under /gzip-bomb");
    return answer;
}

Answer Key(Parts parts, const Request& request)
{
    if (request.apiKey != kApiKey)
        return Forbidden("the header 'X-Api-Key: let-me-in' is missing");
    return OrderXyz(parts);
}

Answer Agent(Parts parts, const Request& request)
{
    if (!request.userAgent.starts_with(kAgentStart))
        return Forbidden("the user agent does not start with KxTile");
    return OrderXyz(parts);
}

Answer AgentIs(Parts parts, const Request& request)
{
    if (parts.empty() || request.userAgent != parts[0])
        return Forbidden("the user agent is not the one in the address");
    return OrderXyz(parts.subspan(1));
}

Answer Status(Parts parts, const Request&)
{
    const auto status = parts.empty() ? std::nullopt : ReadNumber(parts[0]);
    if (!status || (*status != 204 && (*status < 400 || *status > 599)))
        return Malformed("the status is 204 or 400 to 599");
    // An answer without content has no text either.
    return TextAnswer{static_cast<int>(*status), *status == 204 ? "" : "as you wished\n"};
}

Answer Truncated(Parts parts, const Request&)
{
    return OrderXyz(parts, Dressing::Truncated);
}

Answer Empty(Parts parts, const Request&)
{
    return OrderXyz(parts, Dressing::Empty);
}

Answer Html(Parts parts, const Request&)
{
    return OrderXyz(parts, Dressing::Html);
}

/// What a good address names has been cut off before: this one is not good.
Answer MalformedFault(Parts, const Request&)
{
    return Malformed(std::string(kFaultUsage));
}

struct RouteEntry
{
    std::string_view name;
    Answer (*handle)(Parts parts, const Request& request);
};

constexpr std::array<RouteEntry, 28> kRoutes{{
    {"xyz", Xyz},
    {"xyz-512", Xyz512},
    {"xyz-gcj02", XyzGcj02},
    {"xyz-bd09", XyzBd09},
    {"baidu", Baidu},
    {"tms", Tms},
    {"quadkey", QuadKey},
    {"geographic", Geographic},
    {"geographic-tms", GeographicTms},
    {"geographic-512", Geographic512},
    {"tianditu", TianDiTu},
    {"offset", Offset},
    {"axis", Axis},
    {"server", ServerPart},
    {"gzip", GZipped},
    {"gzip-stored", GZipStored},
    {"gzip-bomb", GZipBomb},
    {"key", Key},
    {"agent", Agent},
    {"agent-is", AgentIs},
    {"earth", RouteEarth},
    {"earth-with", RouteEarthWith},
    {"earth-broken", RouteEarthBroken},
    {"status", Status},
    {"truncated", Truncated},
    {"empty", Empty},
    {"html", Html},
    {"fault", MalformedFault},
}};

Answer RoutePath(const std::vector<std::string>& segments, const Request& request)
{
    const Parts rest = Parts(segments).subspan(1);
    for (const RouteEntry& route : kRoutes) {
        if (route.name == segments.front())
            return route.handle(rest, request);
    }
    return TextAnswer{404, "there is no such route; / lists them\n"};
}

} // namespace

Answer Route(const Request& request)
{
    if (request.method != "GET" && request.method != "HEAD")
        return TextAnswer{405, "only GET and HEAD are answered\n"};
    if (request.path.size() > kLongestPath)
        return TextAnswer{414, "the path is longer than 2048 bytes\n"};
    if (request.path == "/")
        return TextAnswer{200, std::string(kIndexPage)};
    const auto segments = SplitPath(request.path);
    if (!segments)
        return Malformed("the path holds a broken percent sequence");
    return RoutePath(*segments, request);
}

} // namespace KxOrigin
