// SPDX-License-Identifier: MIT
#pragma once

namespace KxC {

/// One band of latitude of the Baidu plane, in one direction: x is a straight line over longitude,
/// y a polynomial of degree 6 over latitude. It holds for absolute values; results take the signs.
struct BaiduBand
{
    double offset;   ///< u = offset + slope |lon|
    double slope;    ///< per unit of longitude
    double terms[7]; ///< v = sum of terms[i] t^i, with t = |lat| / scale
    double scale;
};

/// Number of bands; band i begins at kBaiduLatitudes[i] degrees, or kBaiduHeights[i] metres, and
/// its beginning belongs to it.
inline constexpr int kBaiduBandCount = 6;
inline constexpr double kBaiduLatitudes[kBaiduBandCount] = {75, 60, 45, 30, 15, 0};
inline constexpr double kBaiduHeights[kBaiduBandCount] = {
    12890594.86, 8362377.87, 5591021.0, 3481989.83, 1678043.12, 0.0};

// clang-format off

/// Degrees to metres. The first band is here for completeness: no polynomial of it is Mercator, and
/// nothing may use it.
inline constexpr BaiduBand kBaiduToPlane[kBaiduBandCount] = {
    {-0.0015702102444, 111320.7020616939, {1704480524535203.0, -10338987376042340.0, 26112667856603880.0, -35149669176653700.0, 26595700718403920.0, -10725012454188240.0, 1800819912950474.0}, 82.5},
    {0.0008277824516172526, 111320.7020463578, {647795574.6671607, -4082003173.641316, 10774905663.51142, -15171875531.51559, 12053065338.62167, -5124939663.577472, 913311935.9512032}, 67.5},
    {0.00337398766765, 111320.7020202162, {4481351.045890365, -23393751.19931662, 79682215.47186455, -115964993.2797253, 97236711.15602145, -43661946.33752821, 8477230.501135234}, 52.5},
    {0.00220636496208, 111320.7020209128, {51751.86112841131, 3796837.749470245, 992013.7397791013, -1221952.21711287, 1340652.697009075, -620943.6990984312, 144416.9293806241}, 37.5},
    {-0.0003441963504368392, 111320.7020576856, {278.2353980772752, 2485758.690035394, 6070.750963243378, 54821.18345352118, 9540.606633304236, -2710.55326746645, 1405.483844121726}, 22.5},
    {-0.0003218135878613132, 111320.7020701615, {0.00369383431289, 823725.6402795718, 0.46104986909093, 2351.343141331292, 1.58060784298199, 8.77738589078284, 0.37238884252424}, 7.45},
};

/// Metres to degrees, to within 4e-9 degrees at the equator and 6e-5 at 74.
inline constexpr BaiduBand kBaiduToDegrees[kBaiduBandCount] = {
    {1.410526172116255e-8, 8.98305509648872e-6, {-1.9939833816331, 200.9824383106796, -187.2403703815547, 91.6087516669843, -23.38765649603339, 2.57121317296198, -0.03801003308653}, 17337981.2},
    {-7.435856389565537e-9, 8.983055097726239e-6, {-0.78625201886289, 96.32687599759846, -1.85204757529826, -59.36935905485877, 47.40033549296737, -16.50741931063887, 2.28786674699375}, 10260144.86},
    {-3.030883460898826e-8, 8.98305509983578e-6, {0.30071316287616, 59.74293618442277, 7.357984074871, -25.38371002664745, 13.45380521110908, -3.29883767235584, 0.32710905363475}, 6856817.37},
    {-1.981981304930552e-8, 8.983055099779535e-6, {0.03278182852591, 40.31678527705744, 0.65659298677277, -4.44255534477492, 0.85341911805263, 0.12923347998204, -0.04625736007561}, 4482777.06},
    {3.09191371068437e-9, 8.983055096812155e-6, {0.00006995724062, 23.10934304144901, -0.00023663490511, -0.6321817810242, -0.00663494467273, 0.03430082397953, -0.00466043876332}, 2555164.4},
    {2.890871144776878e-9, 8.983055095805407e-6, {-0.00000003068298, 7.47137025468032, -0.00000353937994, -0.02145144861037, -0.00001234426596, 0.00010322952773, -0.00000323890364}, 826088.5},
};

// clang-format on

constexpr double Polynomial(const double (&terms)[7], double t)
{
    double sum = terms[6];
    for (int i = 5; i >= 0; --i)
        sum = sum * t + terms[i];
    return sum;
}

/// Plane height of a latitude, both without sign.
constexpr double Height(const BaiduBand& band, double latitude)
{
    return Polynomial(band.terms, latitude / band.scale);
}

/// The first band that begins at or below `value`, which is not negative.
inline int BandAt(const double (&floors)[kBaiduBandCount], double value)
{
    int band = 0;
    while (band < kBaiduBandCount - 1 && value < floors[band])
        ++band;
    return band;
}

} // namespace KxC
