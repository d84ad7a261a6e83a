// SPDX-License-Identifier: MIT
#include "ForeignParts.h"
#include "Forms.h"
#include "GridForms.h"
#include "TextRules.h"
#include "XmlDocument.h"

#include <algorithm>
#include <cstdint>
#include <limits>

namespace KxC {

namespace {

constexpr int kMaxTileCount = 1 << 20;
constexpr int kLastLevel = 30;

/// The elements that are read, in lower case.
constexpr std::string_view kKnown =
    "service datawindow projection blocksizex blocksizey bandscount useragent referer accept "
    "userpwd unsafessl";
constexpr std::string_view kKnownOfService = "serverurl layer version format";
constexpr std::string_view kKnownOfWindow =
    "upperleftx upperlefty lowerrightx lowerrighty sizex sizey tilex tiley tilelevel tilecountx "
    "tilecounty yorigin";
/// What GDAL knows besides, about its own fetching and reading.
constexpr std::string_view kWithoutPlace =
    "timeout maxconnections cache zeroblockhttpcodes zeroblockonserverexceptions offlinemode "
    "adviseread verifyadviseread cliprequests datatype datavalues overviewcount "
    "httpversion";

void ReplaceAll(std::string& text, std::string_view from, const std::string& to)
{
    for (std::size_t at = text.find(from); at != std::string::npos;
         at = text.find(from, at + to.size()))
        text.replace(at, from.size(), to);
}

class GdalWmsReader
{
public:
    GdalWmsReader(const XmlDocument& document, Report& report)
        : m_document(document), m_root(document.Root()),
          m_service(ChildInAnyCase(m_root, "Service")), m_target{report}
    {
        m_context.dialect = UrlDialect::Gdal;
    }

    Definition Read()
    {
        const std::string kind = AttributeInAnyCase(m_service, "name").value();
        if (Lower(kind) == "tms")
            ReadTms();
        else if (Lower(kind) == "virtualearth")
            ReadVirtualEarth();
        else
            m_target.Error({m_document.LineOf(m_service ? m_service : m_root), "Service"},
                           RefusalOf(kind));
        ReadRequest();
        WarnOfUnread();
        return std::move(m_target.definition);
    }

private:
    static std::string RefusalOf(const std::string& kind)
    {
        if (Lower(kind) == "tiledwms")
            return "is TiledWMS, whose addresses only the server's own list says; find its "
                   "address by tile numbers and write it as TMS";
        return Printable(kind) + " is none that asks for tiles by numbers; known are TMS and "
                                 "VirtualEarth";
    }

    /// An element's text and where it stands; that of its parent when it is not there. GDAL tells
    /// names apart without regard to case.
    std::string Text(const pugi::xml_node& parent, const char* name) const
    {
        return ChildInAnyCase(parent, name).text().get();
    }

    Place PlaceOf(const pugi::xml_node& parent, const char* name) const
    {
        const pugi::xml_node child = ChildInAnyCase(parent, name);
        return {m_document.LineOf(child ? child : parent), name};
    }

    void ReadTms()
    {
        const std::string format = Text(m_service, "Format");
        m_target.definition.format = format.empty() ? "jpg" : format;
        m_target.definition.tileSize = TileSize("1024");
        ReadWindow();
        TakeForeignUrl(TmsUrl(), PlaceOf(m_service, "ServerUrl"), m_context, m_target);
    }

    /// What GDAL makes of the server's address before it puts the tile's numbers in.
    std::string TmsUrl() const
    {
        std::string url = Text(m_service, "ServerUrl");
        const std::string version = Text(m_service, "Version");
        if (url.find('{') == std::string::npos)
            url += std::string(!url.empty() && url.back() == '/' ? "" : "/") +
                   "${version}/${layer}/${z}/${x}/${y}.${format}";
        ReplaceAll(url, "${version}", version.empty() ? "1.0.0" : version);
        ReplaceAll(url, "${layer}", Text(m_service, "Layer"));
        ReplaceAll(url, "${format}", *m_target.definition.format);
        return url;
    }

    void ReadVirtualEarth()
    {
        m_target.definition.tileSize = TileSize("256");
        TakeForeignUrl(
            Text(m_service, "ServerUrl"), PlaceOf(m_service, "ServerUrl"), m_context, m_target);
    }

    std::optional<int> TileSize(const std::string& usual)
    {
        const auto read = [&](const char* name) {
            const std::string text = Text(m_root, name);
            return ForeignInteger(
                text.empty() ? usual : text, {1, 8192}, PlaceOf(m_root, name), m_target);
        };
        const std::optional<int> width = read("BlockSizeX");
        const std::optional<int> height = read("BlockSizeY");
        if (width && height && *width != *height)
            m_target.Error(PlaceOf(m_root, "BlockSizeX"),
                           "differs from BlockSizeY, but tiles are square here; a service with "
                           "other tiles cannot be expressed");
        if (usual != "256" && !ChildInAnyCase(m_root, "BlockSizeX"))
            m_target.Warn(PlaceOf(m_root, "BlockSizeX"),
                          "is missing, and GDAL takes 1024 pixels then; say what a tile has, "
                          "mostly 256");
        m_target.definition.places["tile_size"] = PlaceOf(m_root, "BlockSizeX");
        return width;
    }

    void ReadWindow()
    {
        const pugi::xml_node window = ChildInAnyCase(m_root, "DataWindow");
        const GridSystem system = System();
        if (system == GridSystem::None)
            return;
        CheckWorld(window, system);
        const int columns = Count(window, "TileCountX", system == GridSystem::Mercator ? 1 : 0);
        const int rows = Count(window, "TileCountY", system == GridSystem::Mercator ? 1 : 0);
        if (IsGrid(columns, rows, system))
            TakeGrid(system, columns, FromSouth(window), m_target.definition, m_context);
        else
            m_target.Error(PlaceOf(window, "TileCountX"),
                           "and TileCountY make no square tiles that halve from level to level; "
                           "EPSG:3857 has 1 and 1, EPSG:4326 2 and 1, or both times a power of "
                           "two");
        CheckOffset(window, "TileX");
        CheckOffset(window, "TileY");
        const std::optional<int> level = LastLevel(window);
        if (columns > 0 && rows > 0)
            ReadSize(window, columns, rows, level);
        if (level)
            m_target.definition.maxLevel = LevelOfForm(*level, m_context);
    }

    static bool IsGrid(int columns, int rows, GridSystem system)
    {
        return rows != 0 && (columns & (columns - 1)) == 0 &&
               rows == (system == GridSystem::Mercator ? columns : columns / 2);
    }

    /// A size of its own puts the last level elsewhere than the counts say, by as many levels as it
    /// halves or doubles what they make.
    void ReadSize(const pugi::xml_node& window, int columns, int rows, std::optional<int> level)
    {
        const std::optional<int> width = Pixels(window, "SizeX");
        const std::optional<int> height = Pixels(window, "SizeY");
        const int block = m_target.definition.tileSize.value_or(0);
        if ((!width && !height) || block == 0)
            return;
        if (!level) {
            m_target.Error(PlaceOf(window, width ? "SizeX" : "SizeY"),
                           "says nothing without TileLevel; write the level that has so many "
                           "pixels");
            return;
        }
        const std::optional<int> acrossBy = LevelsBetween(width, columns, block, *level);
        const std::optional<int> downBy = LevelsBetween(height, rows, block, *level);
        if (!acrossBy || acrossBy != downBy)
            m_target.Error(PlaceOf(window, width ? "SizeX" : "SizeY"),
                           "makes no whole number of levels; SizeX and SizeY have to be "
                           "TileCountX and TileCountY times BlockSizeX times a power of two, or "
                           "be left out");
        else
            MoveLevels(*acrossBy);
    }

    std::optional<int> Pixels(const pugi::xml_node& window, const char* name)
    {
        const std::string text = Text(window, name);
        if (text.empty())
            return std::nullopt;
        return ForeignInteger(
            text, {1, std::numeric_limits<int>::max()}, PlaceOf(window, name), m_target);
    }

    /// How many levels a size of so many pixels lies below the one that the tiles make.
    static std::optional<int>
    LevelsBetween(std::optional<int> pixels, int tiles, int block, int level)
    {
        if (!pixels)
            return 0;
        std::uint64_t made = (static_cast<std::uint64_t>(tiles) * static_cast<std::uint64_t>(block))
                             << level;
        auto size = static_cast<std::uint64_t>(*pixels);
        int levels = 0;
        for (; made > size && made % 2 == 0; made /= 2)
            ++levels;
        for (; size > made && size % 2 == 0; size /= 2)
            --levels;
        return made == size ? std::optional(levels) : std::nullopt;
    }

    void MoveLevels(int by)
    {
        m_context.levelOffset += by;
        int first = m_context.halfRows ? 2 : 0;
        if (m_context.levelOffset < 0)
            first = std::max(first, -m_context.levelOffset);
        m_target.definition.minLevel = first;
    }

    GridSystem System()
    {
        const std::string name = Text(m_root, "Projection");
        const GridSystem system = SystemOfName(name.empty() ? "EPSG:4326" : name);
        if (system == GridSystem::None)
            m_target.Error(PlaceOf(m_root, "Projection"),
                           "is none that tiles can be read in; known are EPSG:3857 and EPSG:4326");
        return system;
    }

    void CheckWorld(const pugi::xml_node& window, GridSystem system)
    {
        const auto corner = [&](const char* name, const char* usual) {
            const std::string text = Text(window, name);
            return ForeignNumber(
                       text.empty() ? usual : text, PlaceOf(Parent(window), name), m_target)
                .value_or(0.0);
        };
        const double west = corner("UpperLeftX", "-180");
        const double north = corner("UpperLeftY", "90");
        const double east = corner("LowerRightX", "180");
        const double south = corner("LowerRightY", "-90");
        if (!IsWholeWorld(system, west, south, east, north))
            m_target.Error(PlaceOf(m_root, "DataWindow"),
                           "is not the whole world, which grids here cover; for EPSG:3857 that is "
                           "-20037508.34 to 20037508.34 both ways, for EPSG:4326 -180 to 180 and "
                           "-90 to 90");
    }

    const pugi::xml_node& Parent(const pugi::xml_node& window) const
    {
        return window ? window : m_root;
    }

    int Count(const pugi::xml_node& window, const char* name, int usual)
    {
        const std::string text = Text(window, name);
        if (text.empty())
            return usual;
        return ForeignInteger(text, {1, kMaxTileCount}, PlaceOf(window, name), m_target)
            .value_or(0);
    }

    bool FromSouth(const pugi::xml_node& window)
    {
        const std::string origin = Lower(Text(window, "YOrigin"));
        if (!origin.empty() && !IsOneOf(origin, "top bottom default"))
            m_target.Error(PlaceOf(window, "YOrigin"), "is no origin; it may be top or bottom");
        return origin != "top";
    }

    void CheckOffset(const pugi::xml_node& window, const char* name)
    {
        const std::string text = Text(window, name);
        if (!text.empty() && text != "0")
            m_target.Error(PlaceOf(window, name),
                           "moves the grid, which cannot be expressed; only 0 can");
    }

    std::optional<int> LastLevel(const pugi::xml_node& window)
    {
        const std::string text = Text(window, "TileLevel");
        if (text.empty())
            return std::nullopt;
        const Place place = PlaceOf(window, "TileLevel");
        m_target.definition.places["bounds.max_level"] = place;
        return ForeignInteger(text, {0, kLastLevel}, place, m_target);
    }

    void ReadRequest()
    {
        TakeForeignText("user_agent",
                        Text(m_root, "UserAgent"),
                        PlaceOf(m_root, "UserAgent"),
                        m_target.definition.userAgent,
                        m_target);
        if (HasControl(m_target.definition.userAgent.value_or("")))
            m_target.Error(PlaceOf(m_root, "UserAgent"), "holds a control character; leave it out");
        for (const char* name : {"Referer", "Accept"}) {
            const std::string text = Text(m_root, name);
            if (!text.empty())
                AddForeignHeader(name, text, PlaceOf(m_root, name), m_target);
        }
        WarnOfLeftOut("UserPwd", "is not taken over; write the header line Authorization");
        WarnOfLeftOut("UnsafeSSL", "is not taken over; certificates are always checked");
    }

    /// Names those that GDAL alone makes use of in one breath, and each that is not known.
    void WarnOfUnread()
    {
        std::string names;
        WarnOfUnknown(m_root, kKnown, names);
        WarnOfUnknown(m_service, kKnownOfService, names);
        WarnOfUnknown(ChildInAnyCase(m_root, "DataWindow"), kKnownOfWindow, names);
        if (!names.empty())
            m_target.Warn({m_document.LineOf(m_root), ""},
                          "says how GDAL fetches and reads, which is not taken over: " + names);
    }

    void WarnOfUnknown(const pugi::xml_node& parent, std::string_view known, std::string& names)
    {
        for (const pugi::xml_node& child : parent.children()) {
            const std::string name = child.name();
            if (child.type() != pugi::node_element || IsOneOf(name, known) ||
                !m_target.report.HasRoom())
                continue;
            if (!IsOneOf(name, kWithoutPlace))
                m_target.Warn({m_document.LineOf(child), Printable(name)},
                              "is not known and passed over; look whether its name is right");
            else if (names.find(name) == std::string::npos)
                names += (names.empty() ? "" : ", ") + name;
        }
    }

    void WarnOfLeftOut(const char* name, const std::string& text)
    {
        if (ChildInAnyCase(m_root, name))
            m_target.Warn(PlaceOf(m_root, name), text);
    }

    const XmlDocument& m_document;
    pugi::xml_node m_root;
    pugi::xml_node m_service;
    ForeignDefinition m_target;
    UrlContext m_context;
};

} // namespace

Definition ReadGdalWmsForm(const DefinitionText& source, Report& report)
{
    XmlDocument document(source.text);
    if (!document.Parse(report))
        return {};
    if (!source.wanted.empty())
        report.Error(0, "", "holds one source; leave the # and the name behind the path out");
    return GdalWmsReader(document, report).Read();
}

} // namespace KxC
