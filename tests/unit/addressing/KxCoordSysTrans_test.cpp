// SPDX-License-Identifier: MIT
#include "KxCoordSysTrans.h"

#include "../support/ScriptedProjections.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <new>

namespace KxC {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Testing::ScriptedProjections;

/// Where a transform takes (1, 2, 3), into an output that starts at (7, 8, 9).
KxPoint3d ToWgs84(const KxCoordSysTrans& transform)
{
    KxPoint3d out(7, 8, 9);
    transform.SrcPtToWGS84Pt(KxPoint3d(1, 2, 3), out);
    return out;
}

KxPoint3d FromWgs84(const KxCoordSysTrans& transform)
{
    KxPoint3d out(7, 8, 9);
    transform.WGS84PtToSrcPt(KxPoint3d(1, 2, 3), out);
    return out;
}

void ExpectPoint(const KxPoint3d& is, double x, double y, double z)
{
    EXPECT_EQ(is.x, x);
    EXPECT_EQ(is.y, y);
    EXPECT_EQ(is.z, z);
}

} // namespace

TEST(KxCoordSysTrans, ConvertsNothingBeforeInit)
{
    const KxCoordSysTrans transform;
    ExpectPoint(ToWgs84(transform), 7, 8, 9);
    ExpectPoint(FromWgs84(transform), 7, 8, 9);
}

TEST(KxCoordSysTrans, HandsEachFormToItsSetter)
{
    const struct
    {
        int type;
        const char* call;
    } forms[] = {{0, "SetWKT Text"},
                 {1, "SetProj4 Text"},
                 {2, "SetEPSG Text"},
                 {3, "SetEsriPrj Text"},
                 {4, "SetAuthority Text"},
                 {5, "SetPrjFile Text"}};
    for (const auto& form : forms) {
        ScriptedProjections script;
        KxCoordSysTrans transform;
        transform.Init("Text", static_cast<ProjectStringType>(form.type));
        EXPECT_THAT(script.m_asked, ElementsAre("AccessorPlugin .shp"));
        EXPECT_THAT(script.m_calls, ElementsAre("Initialize", form.call));
    }
}

TEST(KxCoordSysTrans, ConfiguresNothingForOtherTypes)
{
    for (const int type : {-1, 6, 1000}) {
        ScriptedProjections script;
        KxCoordSysTrans transform;
        transform.Init("Text", static_cast<ProjectStringType>(type));
        EXPECT_THAT(script.m_calls, ElementsAre("Initialize"));
        ExpectPoint(ToWgs84(transform), 1001, 2, 3);
        EXPECT_EQ(transform.GetError().IsEmpty(), 0);
    }
}

TEST(KxCoordSysTrans, ForwardsToItsProjectionObject)
{
    ScriptedProjections script;
    KxCoordSysTrans transform;
    transform.Init("4326", ProjectStringType_EPSG);
    ExpectPoint(ToWgs84(transform), 1001, 2, 3);
    ExpectPoint(FromWgs84(transform), -999, 2, 3);
    EXPECT_EQ(transform.GetError().IsEmpty(), 1);
}

TEST(KxCoordSysTrans, ConvertsArrays)
{
    ScriptedProjections script;
    KxCoordSysTrans transform;
    KxPoint3d points[3] = {{1, 2, 3}, {4, 5, 6}, {7, 8, 9}};
    transform.SrcPtsToWGS84Pts(points, points, 2);
    ExpectPoint(points[0], 1, 2, 3); // not before Init
    transform.Init("4326", ProjectStringType_EPSG);
    transform.SrcPtsToWGS84Pts(points, points, 2);
    ExpectPoint(points[0], 1001, 2, 3);
    ExpectPoint(points[1], 1004, 5, 6);
    ExpectPoint(points[2], 7, 8, 9);
    transform.WGS84PtsToSrcPts(points, points, 1);
    transform.WGS84PtsToSrcPts(points, points, -1);
    ExpectPoint(points[0], 1, 2, 3);
}

TEST(KxCoordSysTrans, StaysAsItWasWithoutAPlugin)
{
    ScriptedProjections script;
    KxCoordSysTrans transform;
    transform.Init("4326", ProjectStringType_EPSG);
    script.m_thereIsAPlugin = false;
    transform.Init("3857", ProjectStringType_EPSG);
    ExpectPoint(ToWgs84(transform), 1001, 2, 3);
    EXPECT_THAT(script.m_calls, ElementsAre("Initialize", "SetEPSG 4326"));
}

TEST(KxCoordSysTrans, DestroysAnObjectThatIsNotUsable)
{
    ScriptedProjections script;
    script.m_usable = false;
    KxCoordSysTrans transform;
    transform.Init("4326", ProjectStringType_EPSG);
    EXPECT_THAT(script.m_calls, ElementsAre("Initialize", "destroyed"));
    ExpectPoint(ToWgs84(transform), 7, 8, 9);
}

TEST(KxCoordSysTrans, SaysWhyItConvertsNothing)
{
    KxCoordSysTrans none;
    none.Init("4326", ProjectStringType_EPSG);
    EXPECT_THAT(none.GetError().Cstr(), testing::HasSubstr("KXTILE_PLUGIN_PATH"));

    ScriptedProjections script;
    script.m_error = "no such code";
    KxCoordSysTrans refused;
    refused.Init("99999", ProjectStringType_EPSG);
    EXPECT_STREQ(refused.GetError().Cstr(), "no such code");
}

TEST(KxCoordSysTrans, DestroysItsObject)
{
    ScriptedProjections script;
    {
        KxCoordSysTrans transform;
        transform.Init("4326", ProjectStringType_EPSG);
        script.m_calls.clear();
    }
    EXPECT_THAT(script.m_calls, ElementsAre("destroyed"));
}

TEST(KxCoordSysTrans, SharesItsObjectWithItsCopies)
{
    ScriptedProjections script;
    // Both would destroy the one object, so the copies are left alone at the end, in place.
    alignas(KxCoordSysTrans) unsigned char places[2][sizeof(KxCoordSysTrans)];
    {
        KxCoordSysTrans transform;
        transform.Init("4326", ProjectStringType_EPSG);
        const auto* copy = new (places[0]) KxCoordSysTrans(transform);
        auto* assigned = new (places[1]) KxCoordSysTrans;
        *assigned = transform;
        ExpectPoint(ToWgs84(*copy), 1001, 2, 3);
        ExpectPoint(ToWgs84(*assigned), 1001, 2, 3);
        EXPECT_THAT(script.m_asked, testing::SizeIs(1));
        script.m_calls.clear();
    }
    EXPECT_THAT(script.m_calls, ElementsAre("destroyed"));
}

TEST(KxCoordSysTrans, GivesACopyAnObjectOfItsOwnByInit)
{
    ScriptedProjections script;
    {
        KxCoordSysTrans transform;
        transform.Init("4326", ProjectStringType_EPSG);
        KxCoordSysTrans copy(transform);
        copy.Init("3857", ProjectStringType_EPSG);
        script.m_calls.clear();
    }
    EXPECT_THAT(script.m_calls, ElementsAre("destroyed", "destroyed"));
}

TEST(KxCoordSysTransManager, FindsATransformWithoutRegardToCase)
{
    ScriptedProjections script;
    KxCoordSysTransManager manager;
    KxCoordSysTrans* first = manager.GetKxCoordSysTrans("Epsg:4326", ProjectStringType_EPSG);
    EXPECT_EQ(manager.GetKxCoordSysTrans("EPSG:4326", ProjectStringType_EPSG), first);
    EXPECT_THAT(script.m_calls, ElementsAre("Initialize", "SetEPSG Epsg:4326"));
}

TEST(KxCoordSysTransManager, TellsTypesAndTextsApart)
{
    ScriptedProjections script;
    KxCoordSysTransManager manager;
    KxCoordSysTrans* wkt = manager.GetKxCoordSysTrans("text", ProjectStringType_WKT);
    KxCoordSysTrans* prj = manager.GetKxCoordSysTrans("text", ProjectStringType_EsriPrj);
    KxCoordSysTrans* other = manager.GetKxCoordSysTrans("other", ProjectStringType_WKT);
    EXPECT_NE(wkt, prj);
    EXPECT_NE(wkt, other);
    EXPECT_EQ(manager.GetKxCoordSysTrans("text", ProjectStringType_EsriPrj), prj);
}

TEST(KxCoordSysTransManager, FindsATransformAgainThatFoundNoPlugin)
{
    KxCoordSysTransManager manager;
    KxCoordSysTrans* transform = manager.GetKxCoordSysTrans("3857", ProjectStringType_EPSG);
    ASSERT_NE(transform, nullptr);
    ExpectPoint(ToWgs84(*transform), 7, 8, 9);
    ExpectPoint(FromWgs84(*transform), 7, 8, 9);

    const ScriptedProjections script; // a plug-in that comes later changes nothing
    EXPECT_EQ(manager.GetKxCoordSysTrans("3857", ProjectStringType_EPSG), transform);
    EXPECT_THAT(script.m_asked, IsEmpty());
}

TEST(KxCoordSysTransManager, FindsATransformAgainWhoseObjectIsNotUsable)
{
    ScriptedProjections script;
    script.m_usable = false;
    KxCoordSysTransManager manager;
    KxCoordSysTrans* transform = manager.GetKxCoordSysTrans("3857", ProjectStringType_EPSG);
    EXPECT_EQ(manager.GetKxCoordSysTrans("3857", ProjectStringType_EPSG), transform);
    EXPECT_THAT(script.m_calls, ElementsAre("Initialize", "destroyed"));
}

TEST(KxCoordSysTransManager, DestroysItsTransforms)
{
    ScriptedProjections script;
    {
        KxCoordSysTransManager manager;
        manager.GetKxCoordSysTrans("4326", ProjectStringType_EPSG);
        manager.GetKxCoordSysTrans("3857", ProjectStringType_EPSG);
        script.m_calls.clear();
    }
    EXPECT_THAT(script.m_calls, ElementsAre("destroyed", "destroyed"));
}

} // namespace KxC
