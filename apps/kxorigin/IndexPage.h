// SPDX-License-Identifier: MIT
#pragma once

#include <string_view>

namespace KxOrigin {

/// The text at "/"; docs/kxorigin.md says the same at more length.
inline constexpr std::string_view kIndexPage =
    R"(kxorigin: one picture of the world as tiles, in every convention that KxTile reads

P is marble or graticule, F is png, jpg or webp; tiles are 256 pixels, levels 0 to 22, north up.

Spherical Web Mercator
  /xyz/P/{z}/{x}/{y}.F             rows from the north
  /tms/P/{z}/{x}/{y}.F             rows from the south
  /quadkey/P/{quadkey}.F           level = number of digits, at least one
  /offset/P/{n}/{z}/{x}/{y}.F      z in the address is the tile's level + n
  /axis/P/{order}/{a}/{b}/{c}.F    order: zxy xyz zyx xzy yxz yzx
  /server/{a|b|c}/P/{z}/{x}/{y}.F  other server names: 403
  /xyz-512/P/{z}/{x}/{y}.F         tiles of 512 pixels, levels 0 to 21

Web Mercator of a shifted datum, rows from the north
  /xyz-gcj02/P/{z}/{x}/{y}.F       GCJ-02
  /xyz-bd09/P/{z}/{x}/{y}.F        BD-09

Baidu plane on BD-09, columns and rows from the origin, rows to the north
  /baidu/P.F?x={x}&y={y}&z={z}     -5 is written M5

Geographic square (360 x 360 degrees at level 0)
  /geographic/P/{z}/{x}/{y}.F      rows from the north of the square
  /geographic-tms/P/{z}/{x}/{y}.F  rows from the south of the square
  /geographic-512/P/{z}/{x}/{y}.F  tiles of 512 pixels, levels 0 to 21
  /tianditu/P/{z}/{x}/{y}.F        rows from latitude 90

Packed (Web Mercator, rows from the north, as everything below)
  /gzip/P/{z}/{x}/{y}.F            a gzip stream at least half as long as the image
  /gzip-stored/P/{z}/{x}/{y}.F     a gzip stream that stores
  /gzip-bomb/P/{z}/{x}/{y}.png     a gzip stream that inflates to more than twice its length

Guarded
  /key/P/{z}/{x}/{y}.F             403 without the header X-Api-Key: let-me-in
  /agent/P/{z}/{x}/{y}.F           403 unless the user agent starts with KxTile
  /agent-is/{text}/P/{z}/{x}/{y}.F 403 unless the user agent is the text

Earth imagery, flatfile protocol; docs/kxorigin.md says more
  /earth/dbRoot.v5?output=proto    current database; with db=tm the history
  /earth/flatfile?q2-0-q.171       quadtree packets; db=tm&qp-0-q.902
  /earth/flatfile?f1-0-i.3         pictures; db=tm&f1-{path}-i.{version}-{date}
  /earth-with/{options}/...        proto png alpha plain swapped anyversion empty key graticule
  /earth-broken/{fault}/...        dbroot-, quadtree- or image- and what is wrong

Faults
  /status/{code}/...               204 or 400 to 599, whatever follows
  /truncated/P/{z}/{x}/{y}.F       the first half of the image
  /empty/P/{z}/{x}/{y}.F           200 without a body
  /html/P/{z}/{x}/{y}.F            200 with an HTML error page
  /fault/{kind}/{times}/{route}    any route of a tile, whose addresses fail so often, or always:
                                   status-CODE busy-SECONDS short long late-MS drip-MS drop reset
                                   redirect-COUNT loop to-file to-ftp gigabyte endless flood
)";

} // namespace KxOrigin
