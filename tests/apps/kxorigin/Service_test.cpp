// SPDX-License-Identifier: MIT
#include "Service.h"

#include <KxImgUtility.h>
#include <gtest/gtest.h>

namespace KxOrigin {
namespace {

Response Get(Service& service, const std::string& path)
{
    return service.Respond({"GET", path, "KxTile", ""});
}

bool IsWhole(const Response& response)
{
    return KxC::KxImgUtility::IsCompletedImage(
               response.body->data(), static_cast<unsigned int>(response.body->size()), "") == 1;
}

TEST(Service, AnswersATileWithItsType)
{
    Service service(Pixels(8, 4));
    for (const auto& [format, type] : {std::pair{"png", "image/png"},
                                       std::pair{"jpg", "image/jpeg"},
                                       std::pair{"webp", "image/webp"}}) {
        const Response response = Get(service, std::string("/xyz/graticule/3/4/3.") + format);
        EXPECT_EQ(response.status, 200);
        EXPECT_EQ(response.contentType, type);
        EXPECT_TRUE(IsWhole(response));
    }
}

TEST(Service, AnswersTheSameTileFromItsCache)
{
    Service service(Pixels(8, 4));
    const Response north = Get(service, "/xyz/marble/3/3/5.png");
    EXPECT_EQ(Get(service, "/tms/marble/3/3/2.png").body, north.body);
    EXPECT_NE(Get(service, "/xyz/marble/3/3/4.png").body, north.body);
}

TEST(Service, ATruncatedTileIsTheFirstHalf)
{
    Service service(Pixels(8, 4));
    const Bytes whole = *Get(service, "/xyz/graticule/3/3/5.png").body;
    const Response response = Get(service, "/truncated/graticule/3/3/5.png");
    EXPECT_EQ(response.status, 200);
    EXPECT_EQ(*response.body, Bytes(whole.data(), whole.data() + whole.size() / 2));
    EXPECT_FALSE(IsWhole(response));
}

TEST(Service, EmptyAndHtmlAnswersAreNoImages)
{
    Service service(Pixels(8, 4));
    const Response empty = Get(service, "/empty/marble/0/0/0.png");
    EXPECT_EQ(empty.status, 200);
    EXPECT_TRUE(empty.body->empty());
    const Response html = Get(service, "/html/marble/0/0/0.png");
    EXPECT_EQ(html.status, 200);
    EXPECT_EQ(html.contentType, "text/html; charset=utf-8");
    EXPECT_FALSE(IsWhole(html));
}

TEST(Service, PackedTilesAreGzipStreams)
{
    Service service(Pixels(8, 4));
    const std::size_t image = Get(service, "/xyz/graticule/3/3/5.png").body->size();
    for (const std::string route : {"gzip", "gzip-stored", "gzip-bomb"}) {
        const Response response = Get(service, "/" + route + "/graticule/3/3/5.png");
        EXPECT_EQ(response.contentType, "application/gzip");
        ASSERT_GT(response.body->size(), 2U);
        EXPECT_EQ((*response.body)[0], 0x1F);
        EXPECT_EQ((*response.body)[1], 0x8B);
    }
    EXPECT_GE(Get(service, "/gzip/graticule/3/3/5.png").body->size() * 2, image);
    EXPECT_GT(Get(service, "/gzip-stored/graticule/3/3/5.png").body->size(), image);
}

TEST(Service, EarthAnswersAreBytesOrMissing)
{
    Service service(Pixels(8, 4));
    const auto get = [&](const std::string& path, const std::string& query) {
        return service.Respond({"GET", path, "", "", query});
    };
    const Response packet = get("/earth/flatfile", "q2-0-q.171");
    EXPECT_EQ(packet.status, 200);
    EXPECT_EQ(packet.contentType, "application/octet-stream");
    EXPECT_FALSE(packet.body->empty());
    EXPECT_EQ(get("/earth/flatfile", "q2-0-q.172").status, 404);
    const Response empty = get("/earth-with/empty/flatfile", "q2-0-q.172");
    EXPECT_EQ(empty.status, 200);
    EXPECT_TRUE(empty.body->empty());
    const Response page = get("/earth-broken/quadtree-html/flatfile", "q2-0-q.171");
    EXPECT_EQ(page.status, 200);
    EXPECT_EQ(page.contentType, "text/html; charset=utf-8");
}

TEST(Service, ATileOfDoubleEdgeIs512PixelsWide)
{
    Service service(Pixels(8, 4));
    EXPECT_EQ(DecodePicture(*Get(service, "/xyz-512/graticule/2/3/1.png").body).width, 512);
    EXPECT_EQ(DecodePicture(*Get(service, "/xyz/graticule/3/3/1.png").body).width, 256);
}

TEST(Service, TheBuiltInPictureIsTheWorld)
{
    const Pixels world = DecodePicture(EmbeddedBlueMarble());
    ASSERT_EQ(world.width, 4096);
    ASSERT_EQ(world.height, 2048);
    const auto at = [&](double longitude, double latitude) {
        return world.At(static_cast<int>((longitude + 180) / 360 * 4096),
                        static_cast<int>((90 - latitude) / 180 * 2048));
    };
    const Colour sahara = at(10, 24);
    EXPECT_GT(sahara.red, sahara.blue + 40);
    const Colour pacific = at(-140, 0);
    EXPECT_GT(pacific.blue, pacific.red + 20);
    const Colour antarctica = at(90, -80);
    EXPECT_GT(antarctica.green, 200);
}

TEST(Service, BytesThatAreNoPictureAreRefused)
{
    const Bytes noise(100, 7);
    EXPECT_THROW(DecodePicture(noise), std::runtime_error);
}

} // namespace
} // namespace KxOrigin
