// SPDX-License-Identifier: MIT
// What a mosaic's failures say.
#include "KxCoordSysTrans.h"
#include "KxTileFetcher.h"
#include "KxUtility.h"
#include "LogTexts.h"
#include "unit/support/ScriptedRasters.h"
#include "unit/support/TemporaryFolder.h"

#include <gtest/gtest.h>

namespace KxC {

/// In front of the manager's own, which always answers one (see CMakeLists.txt).
KxCoordSysTrans* ManagersOwn(
    KxCoordSysTransManager* manager,
    const KxString& projection,
    ProjectStringType
        type) asm("__real__ZN3KxC22KxCoordSysTransManager18GetKxCoordSysTransERKNS_8KxStringENS_"
                  "17ProjectStringTypeE");
KxCoordSysTrans* ManagerOfTests(
    KxCoordSysTransManager* manager,
    const KxString& projection,
    ProjectStringType
        type) asm("__wrap__ZN3KxC22KxCoordSysTransManager18GetKxCoordSysTransERKNS_8KxStringENS_"
                  "17ProjectStringTypeE");

KxCoordSysTrans*
ManagerOfTests(KxCoordSysTransManager* manager, const KxString& projection, ProjectStringType type)
{
    return projection == "/no-such-system" ? nullptr : ManagersOwn(manager, projection, type);
}

namespace {

TEST(LogTexts, AreTheirReadingsInGbk)
{
    const auto gbk = [](const char* reading) { return KxUtility::ToGBK(reading); };
    EXPECT_STREQ(LogTexts::kOpenFailed, gbk("打开失败！").Cstr());
    EXPECT_STREQ(LogTexts::kNoExtent, gbk("输出的图片范围有问题").Cstr());
    EXPECT_STREQ(LogTexts::kNoCoordSys, gbk("未建立正确的坐标系!").Cstr());
    EXPECT_STREQ(LogTexts::kRasterNotOpened, gbk("打开影像数据失败!").Cstr());
    EXPECT_STREQ(LogTexts::kPictureBeyond2GB, gbk("输出的文件大于2GB，可能失败!").Cstr());
    EXPECT_STREQ(LogTexts::kPictureTooLarge, gbk("输出的文件大太大，内存分配失败!").Cstr());
}

TEST(FetchImageTexts, SayThatThereIsNoCoordinateSystem)
{
    const Testing::TemporaryFolder folder;
    Testing::ScriptedRasters rasters;
    const std::string file = (folder.Path() / "out.png").string();
    EXPECT_EQ(KxTileFetcher::FetchImage(file.c_str(),
                                        "/texts.tif",
                                        {0, 9000000, 9000000, 0},
                                        10000,
                                        "/no-such-system",
                                        ProjectStringType_Proj4),
              0);
    EXPECT_NE(folder.Read("kxtile.log").find(KxUtility::ToGBK("未建立正确的坐标系!").Cstr()),
              std::string::npos);
    EXPECT_TRUE(rasters.m_calls.empty()) << "nothing was opened";
}

} // namespace
} // namespace KxC
