// SPDX-License-Identifier: MIT
#include "RecordOnDisk.h"
#include "support/LoopbackServer.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <fstream>

namespace KxC {
namespace {

using test::LoadedRecord;
using test::ScratchFolder;

/// What GDAL itself asks a server for when it reads one tile of a <GDAL_WMS> document.
class GdalCrossCheck : public ::testing::Test
{
protected:
    /// The first address that GDAL asks for when it reads a window, in pixels of the finest
    /// level, as one tile.
    std::string AskedByGdal(const std::string& xml, int left, int top, int size = 256)
    {
        const ScratchFolder folder;
        const std::string path = folder.Write("service.xml", xml);
        const std::string edge = std::to_string(size) + " ";
        const std::string window =
            std::to_string(left) + " " + std::to_string(top) + " " + edge + edge;
        const std::string command = "cd '" + folder.Path() +
                                    "' && gdal_translate -q -outsize 256 256 -srcwin " + window +
                                    path + " out.tif >log 2>&1";
        EXPECT_EQ(std::system(command.c_str()), 0) << LogOf(folder.Path() + "/log");
        const auto requests = m_server.Requests();
        return requests.empty() ? "nothing" : m_server.Url(requests.front().target);
    }

    static std::string LogOf(const std::string& path)
    {
        std::ifstream log(path);
        return {std::istreambuf_iterator<char>(log), {}};
    }

    std::string Tms(const std::string& service, const std::string& window) const
    {
        return "<GDAL_WMS><Service name=\"TMS\"><ServerUrl>" + m_server.Url("") + service +
               "</Service>" + window +
               "<BlockSizeX>256</BlockSizeX><BlockSizeY>256</BlockSizeY><BandsCount>3</BandsCount>"
               "<ZeroBlockHttpCodes>404</ZeroBlockHttpCodes></GDAL_WMS>";
    }

    static std::string Mercator(const std::string& more, int level = 6, int count = 1)
    {
        const std::string counts = std::to_string(count);
        return "<DataWindow><UpperLeftX>-20037508.34</UpperLeftX>"
               "<UpperLeftY>20037508.34</UpperLeftY><LowerRightX>20037508.34</LowerRightX>"
               "<LowerRightY>-20037508.34</LowerRightY><TileLevel>" +
               std::to_string(level) + "</TileLevel><TileCountX>" + counts +
               "</TileCountX><TileCountY>" + counts + "</TileCountY>" + more +
               "</DataWindow><Projection>EPSG:3857</Projection>";
    }

    static std::string Geographic(const std::string& more)
    {
        return "<DataWindow><UpperLeftX>-180</UpperLeftX><UpperLeftY>90</UpperLeftY>"
               "<LowerRightX>180</LowerRightX><LowerRightY>-90</LowerRightY>"
               "<TileLevel>5</TileLevel><TileCountX>2</TileCountX><TileCountY>1</TileCountY>" +
               more + "</DataWindow><Projection>EPSG:4326</Projection>";
    }

    Testing::LoopbackServer m_server;
};

// Column 5, row 10 from the north of 64 by 64 tiles of 256 pixels.
constexpr int kLevel = 6, kRow = 10, kCol = 5;

class MercatorCrossCheck : public GdalCrossCheck, public ::testing::WithParamInterface<const char*>
{
};

TEST_P(MercatorCrossCheck, AddressesAgree)
{
    const std::string origin = GetParam();
    const std::string xml = Tms("/t/${z}/${x}/${y}.png</ServerUrl>", Mercator(origin));
    EXPECT_EQ(LoadedRecord(xml).UrlFromNorth(kLevel, kRow, kCol),
              AskedByGdal(xml, 256 * kCol, 256 * kRow));
}

INSTANTIATE_TEST_SUITE_P(GdalWms,
                         MercatorCrossCheck,
                         ::testing::Values("",
                                           "<YOrigin>top</YOrigin>",
                                           "<YOrigin>bottom</YOrigin>",
                                           "<YOrigin>default</YOrigin>",
                                           "<yorigin>top</yorigin>",
                                           "<SizeX>16384</SizeX><SizeY>16384</SizeY>"));

struct SizedWindow
{
    const char* size; ///< in pixels, both ways
    int level;        ///< TileLevel
    int count;        ///< of tiles both ways on GDAL's level 0
};

class SizedCrossCheck : public GdalCrossCheck,
                        public ::testing::WithParamInterface<std::tuple<SizedWindow, const char*>>
{
};

TEST_P(SizedCrossCheck, AddressesAgree)
{
    const auto& [window, origin] = GetParam();
    const std::string size = window.size;
    const std::string xml = Tms("/t/${z}/${x}/${y}.png</ServerUrl>",
                                Mercator("<SizeX>" + size + "</SizeX><SizeY>" + size +
                                             "</SizeY><YOrigin>" + origin + "</YOrigin>",
                                         window.level,
                                         window.count));
    LoadedRecord record(xml);
    // 4 by 4 tiles, so our level 2 whatever GDAL calls it.
    EXPECT_EQ(record.UrlFromNorth(2, 2, 1), AskedByGdal(xml, 256, 512)) << record.messages;
    EXPECT_EQ(record.Item().m_levelBounds.m_nMaxLevel, 2);
}

INSTANTIATE_TEST_SUITE_P(GdalWms,
                         SizedCrossCheck,
                         ::testing::Combine(::testing::Values(SizedWindow{"1024", 9, 1},
                                                              SizedWindow{"1024", 2, 1},
                                                              SizedWindow{"1024", 1, 1},
                                                              SizedWindow{"1024", 3, 4},
                                                              SizedWindow{"1024", 0, 4}),
                                            ::testing::Values("top", "bottom")));

TEST_F(GdalCrossCheck, AddressesAgreeWhereLevelZeroHasManyTiles)
{
    const std::string xml = Tms("/t/${z}/${x}/${y}.png</ServerUrl>",
                                Mercator("<YOrigin>bottom</YOrigin>", kLevel - 2, 4));
    LoadedRecord record(xml);
    EXPECT_EQ(record.UrlFromNorth(kLevel, kRow, kCol), AskedByGdal(xml, 256 * kCol, 256 * kRow));
    EXPECT_EQ(record.Item().m_levelBounds.m_nMinLevel, 2);
    EXPECT_EQ(record.Item().m_levelBounds.m_nMaxLevel, kLevel);
}

TEST_F(GdalCrossCheck, AddressesAgreeWithoutPlaceholders)
{
    const std::string xml = Tms("/base</ServerUrl><Layer>hills</Layer>", Mercator(""));
    EXPECT_EQ(LoadedRecord(xml).UrlFromNorth(kLevel, kRow, kCol),
              AskedByGdal(xml, 256 * kCol, 256 * kRow));
}

TEST_F(GdalCrossCheck, AddressesAgreeWithVersionLayerAndFormat)
{
    const std::string xml = Tms("/${version}/${layer}/${z}/${x}/${y}.${format}</ServerUrl>"
                                "<Version>1.1</Version><Layer>hills</Layer><Format>png</Format>",
                                Mercator(""));
    LoadedRecord record(xml);
    EXPECT_STREQ(record.Item().m_strImageFormat.Cstr(), "png");
    const std::string url = record.UrlFromNorth(kLevel, kRow, kCol);
    EXPECT_EQ(url, AskedByGdal(xml, 256 * kCol, 256 * kRow));
}

class GeographicCrossCheck : public GdalCrossCheck,
                             public ::testing::WithParamInterface<const char*>
{
};

TEST_P(GeographicCrossCheck, AddressesAgree)
{
    const std::string xml = Tms("/t/${z}/${x}/${y}.png</ServerUrl>", Geographic(GetParam()));
    // GDAL's level 5 has 64 columns, as our level 6.
    EXPECT_EQ(LoadedRecord(xml).UrlFromPole(kLevel, kRow, kCol),
              AskedByGdal(xml, 256 * kCol, 256 * kRow));
}

INSTANTIATE_TEST_SUITE_P(GdalWms,
                         GeographicCrossCheck,
                         ::testing::Values("<YOrigin>top</YOrigin>", "<YOrigin>bottom</YOrigin>"));

TEST_F(GdalCrossCheck, QuadkeysAgree)
{
    const std::string xml = "<GDAL_WMS><Service name=\"VirtualEarth\"><ServerUrl>" +
                            m_server.Url("") +
                            "/t${server_num}/a${quadkey}.jpeg?g=1</ServerUrl></Service>"
                            "<ZeroBlockHttpCodes>404</ZeroBlockHttpCodes></GDAL_WMS>";
    LoadedRecord record(xml);
    EXPECT_EQ(record.Item().m_nTileScheme, 6);
    EXPECT_EQ(record.Item().m_arrServerParts.GetSize(), 4);
    const auto withoutServer = [](std::string url) {
        const std::size_t at = url.find("/t") + 2;
        EXPECT_THAT(url.substr(at, 2), ::testing::MatchesRegex("[0-3]/"));
        return url.erase(at, 1);
    };
    // GDAL's finest level has 2^21 tiles a side; 2^15 of them are one of level 6.
    EXPECT_EQ(withoutServer(record.UrlFromNorth(kLevel, kRow, kCol)),
              withoutServer(AskedByGdal(xml, kCol << 23, kRow << 23, 256 << 15)));
}

} // namespace
} // namespace KxC
