// SPDX-License-Identifier: MIT
#include "EarthRoutes.h"

namespace KxOrigin {

namespace {

/// @param base  path of the server, without a slash at its end
Answer RouteFile(const std::string& file,
                 const Request& request,
                 const EarthOptions& options,
                 const std::string& base)
{
    if (options.isGuarded && request.apiKey != kApiKey)
        return TextAnswer{403, "the header 'X-Api-Key: let-me-in' is missing\n"};
    auto order = ReadEarthOrder(file, request.query);
    if (!order)
        return TextAnswer{404, "an earth server has dbRoot.v5 and flatfile?q2-0-q.171 and so on\n"};
    order->options = options;
    if (!request.host.empty())
        order->base = "http://" + request.host + base;
    return *order;
}

} // namespace

Answer RouteEarth(std::span<const std::string> parts, const Request& request)
{
    if (parts.size() != 1)
        return TextAnswer{404, "the addresses are /earth/dbRoot.v5 and /earth/flatfile\n"};
    return RouteFile(parts[0], request, {}, "/earth");
}

Answer RouteEarthWith(std::span<const std::string> parts, const Request& request)
{
    const auto options = parts.size() == 2 ? ReadEarthOptions(parts[0]) : std::nullopt;
    if (!options)
        return TextAnswer{400,
                          "an address is /earth-with/{options}/...; options, commas between: "
                          "proto png alpha plain swapped anyversion empty key graticule\n"};
    return RouteFile(parts[1], request, *options, "/earth-with/" + parts[0]);
}

Answer RouteEarthBroken(std::span<const std::string> parts, const Request& request)
{
    const auto options = parts.size() == 2 ? ReadEarthFault(parts[0]) : std::nullopt;
    if (!options)
        return TextAnswer{400,
                          "an address is /earth-broken/{fault}/...; a fault is dbroot, quadtree or "
                          "image, a hyphen and what is wrong: see docs/kxorigin.md\n"};
    return RouteFile(parts[1], request, *options, "/earth-broken/" + parts[0]);
}

} // namespace KxOrigin
