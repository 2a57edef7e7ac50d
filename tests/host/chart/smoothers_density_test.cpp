// Reference values computed once with numpy 1.24, SciPy 1.10.1 and statsmodels 0.13.5 (Debian
// 12 packages) from the data below:
//   np.polyfit(x, y, d) and np.polyval at `kAt` (weights: np.polyfit(..., w=np.sqrt(w)));
//   statsmodels lowess(y, x, frac=f, it=0, xvals=kAt);
//   scipy.interpolate.make_smoothing_spline(x, y, w=w, lam=lam)(kAt);
//   statsmodels KDEUnivariate(v).fit(kernel=k, bw=0.8, fft=False), evaluate at each point.

#include <cmath>

#include <gtest/gtest.h>

#include "host/chart/stats/density.h"
#include "host/chart/stats/smoothers.h"

using namespace host::chart::stats;

namespace {

std::vector<double> const kX = {0.5, 1.2, 2.0, 2.3, 3.1, 3.9, 4.4, 5.0,
                                5.8, 6.1, 7.0, 7.7, 8.2, 9.0, 9.6};
std::vector<double> const kY = {3.0, 2.1, 1.5, 1.7, 0.9, 1.2, 1.0, 1.6,
                                1.4, 2.3, 2.9, 3.6, 4.5, 5.9, 6.8};
std::vector<double> const kW = {1, 2, 1, 1, 3, 1, 1, 2, 1, 1, 1, 2, 1, 1, 1};
std::vector<double> const kAt = {0.5, 1.0, 2.5, 4.0, 5.5, 7.25, 9.6};

Points points(bool weighted = false) {
    Points p;
    p.x = kX;
    p.y = kY;
    if (weighted)
        p.w = kW;
    return p;
}

void expectCurve(Curve const& got, std::vector<double> const& want, double tolerance,
                 char const* what) {
    ASSERT_EQ(got.size(), want.size()) << what;
    for (std::size_t i = 0; i < want.size(); ++i) {
        EXPECT_DOUBLE_EQ(got[i].first, kAt[i]) << what;
        EXPECT_NEAR(got[i].second, want[i], tolerance) << what << " at x = " << kAt[i];
    }
}

Curve evaluated(PolynomialFit const& fit) {
    Curve out;
    for (double x : kAt) out.emplace_back(x, fit.at(x));
    return out;
}

}  // namespace

TEST(Smoothers, PolynomialFitsMatchLeastSquares) {
    auto quad = polynomialFit(points(), 2);
    ASSERT_TRUE(quad.valid);
    expectCurve(evaluated(quad),
                {2.907192439464734, 2.389809800997341, 1.3520195614986537, 1.0857658358552067,
                 1.591048624067, 3.1556816375478, 6.908705658093973},
                1e-9, "quadratic");
    EXPECT_NEAR(quad.rSquared, 0.9879578459679254, 1e-12);
    auto cubic = polynomialFit(points(), 3);
    expectCurve(evaluated(cubic),
                {2.9467891301787046, 2.402621647076686, 1.32751295353532, 1.068304723061761,
                 1.5990381649112873, 3.181993931997766, 6.87119477521998},
                1e-9, "cubic");
    EXPECT_NEAR(cubic.rSquared, 0.9881132131403931, 1e-12);
    expectCurve(evaluated(polynomialFit(points(true), 2)),
                {2.8432461476479003, 2.333183204584233, 1.3144465249177428, 1.0628880695380207,
                 1.5785078384450664, 3.14969226897684, 6.9021823244852545},
                1e-9, "weighted quadratic");
    // Two distinct x cannot carry a quadratic.
    Points two;
    two.x = {1, 1, 2};
    two.y = {1, 2, 3};
    EXPECT_FALSE(polynomialFit(two, 2).valid);
    EXPECT_TRUE(polynomialFit(two, 1).valid);
}

TEST(Smoothers, LoessMatchesLocalLinearTricube) {
    expectCurve(loess(points(), 0.5, kAt),
                {2.8187583743915194, 2.4430190822899167, 1.413157182256942, 1.1516596434194022,
                 1.726624445058, 3.2920172284419453, 6.791320105510117},
                1e-9, "span 0.5");
    expectCurve(loess(points(), 0.75, kAt),
                {2.4174358253479267, 2.219702076603751, 1.6963886422171968, 1.3932883825056703,
                 1.8825448111815133, 3.5458110225934285, 6.429596721943905},
                1e-9, "span 0.75");
    // A window over one repeated x has no slope and gives its mean.
    Points flat;
    flat.x = {1, 1, 1, 5};
    flat.y = {2, 4, 6, 100};
    auto c = loess(flat, 0.75, {1.0});
    ASSERT_EQ(c.size(), 1u);
    EXPECT_DOUBLE_EQ(c[0].second, 4);
}

TEST(Smoothers, SmoothingSplineMatchesPenalisedCriterion) {
    expectCurve(smoothingSpline(points(), 0.5, kAt),
                {2.837076245169102, 2.3892466058541033, 1.3607032583816778, 1.0785882997450122,
                 1.6010470417846292, 3.185656216051494, 6.776880376523592},
                1e-8, "lambda 0.5");
    expectCurve(smoothingSpline(points(), 5.0, kAt),
                {2.456514562855474, 2.169633252600845, 1.4473603304054024, 1.21958515307535,
                 1.7312101325625755, 3.2935764825525875, 6.452365607879928},
                1e-8, "lambda 5");
    expectCurve(smoothingSpline(points(true), 2.0, kAt),
                {2.658811312143581, 2.2765964412426656, 1.3319542408110017, 1.0804418629538295,
                 1.644918567212664, 3.2191389037731817, 6.627136926301479},
                1e-8, "weighted, lambda 2");
    // The default penalty is scale-free: doubling every x gives the same curve.
    auto base = smoothingSpline(points(), 0, {2.0, 5.0});
    Points wide = points();
    for (auto& x : wide.x) x *= 2;
    auto doubled = smoothingSpline(wide, 0, {4.0, 10.0});
    ASSERT_EQ(base.size(), 2u);
    ASSERT_EQ(doubled.size(), 2u);
    EXPECT_NEAR(base[0].second, doubled[0].second, 1e-9);
    EXPECT_NEAR(base[1].second, doubled[1].second, 1e-9);
}

TEST(Smoothers, StepsHoldValuesBetweenPoints) {
    Points p;
    p.x = {3, 1, 2, 2};
    p.y = {30, 10, 20, 40};  // x = 2 twice: its mean, 30
    using C = Curve;
    EXPECT_EQ(stepCurve(p, StepKind::Right), (C{{1, 10}, {2, 10}, {2, 30}, {3, 30}, {3, 30}}));
    EXPECT_EQ(stepCurve(p, StepKind::Left), (C{{1, 10}, {1, 30}, {2, 30}, {2, 30}, {3, 30}}));
    EXPECT_EQ(stepCurve(p, StepKind::Center),
              (C{{1, 10}, {1.5, 10}, {1.5, 30}, {2, 30}, {2.5, 30}, {2.5, 30}, {3, 30}}));
}

TEST(Density, KernelsMatchReference) {
    std::vector<double> v = {2.1, 2.9, 3.3, 3.4, 3.9, 4.2, 4.4, 4.6,
                             5.0, 5.2, 5.9, 6.3, 7.8, 8.1, 9.5};
    std::vector<double> at = {1.0, 3.0, 4.5, 6.0, 8.0, 9.9};
    struct Case {
        char const* name;
        std::vector<double> want;  // 0 where no case is within reach
    } const cases[] = {
        {"gaussian",
         {0.015864385972364614, 0.1533798959812127, 0.21049583658817883, 0.11876068595606357,
          0.07558600716942433, 0.03304555386758173}},
        {"epanechnikov",
         {0, 0.16210937500000003, 0.25683593749999994, 0.11523437500000006, 0.1201171875,
          0.04687499999999997}},
        {"uniform", {0, 0.125, 0.25, 0.125, 0.08333333333333333, 0.041666666666666664}},
        {"triangular",
         {0, 0.16666666666666666, 0.26041666666666674, 0.12500000000000006, 0.13541666666666669,
          0.04166666666666663}},
        {"biweight",
         {0, 0.1773452758789063, 0.2573585510253907, 0.13339996337890628, 0.14436721801757812,
          0.043945312499999944}},
        {"triweight",
         {0, 0.18323947985967004, 0.26115799943606066, 0.14478733142217007, 0.16204163432121277,
          0.03845214843749993}},
        {"cosine",
         {0, 0.16489183596741266, 0.2569812423714375, 0.11861180536159639, 0.12466002049590053,
          0.046280030605816286}},
    };
    for (auto const& c : cases) {
        Kernel k;
        ASSERT_TRUE(kernelByName(c.name, k)) << c.name;
        auto d = kernelDensity(v, {}, k, 0.8, at);
        ASSERT_EQ(d.size(), at.size());
        for (std::size_t i = 0; i < at.size(); ++i)
            EXPECT_NEAR(d[i].second, c.want[i], 1e-12) << c.name << " at " << at[i];
    }
    Kernel k;
    EXPECT_FALSE(kernelByName("parabolic-ish", k));
    // Silverman by hand over these 15 cases: sd 2.0823979 is below IQR / 1.349 (the empirical
    // fourths 3.4 and 6.3), so h = 0.9 * 2.0823979 * 15^-0.2 for the normal kernel
    // (numpy: 1.0904053450135571), and the epanechnikov one wider by the ratio of canonical
    // bandwidths (15^0.2 / (4 pi)^-0.1).
    EXPECT_NEAR(ruleOfThumbBandwidth(v, {}, Kernel::Normal), 1.0904053450, 1e-9);
    EXPECT_NEAR(ruleOfThumbBandwidth(v, {}, Kernel::Epanechnikov), 1.0904053450 * 2.2138, 1e-3);
}

TEST(Density, WeightsAndBinningAgreeWithExactSums) {
    // A weight of 2 counts a case twice.
    std::vector<double> twice = {1, 1, 2}, once = {1, 2};
    auto a = kernelDensity(twice, {}, Kernel::Normal, 0.5, {1.2});
    auto b = kernelDensity(once, {2, 1}, Kernel::Normal, 0.5, {1.2});
    EXPECT_NEAR(a[0].second, b[0].second, 1e-15);
    // Above the exact-sum limit the binned estimate stays within 0.1% of the peak.
    std::vector<double> many(600000);
    for (std::size_t i = 0; i < many.size(); ++i)
        many[i] = std::sin(static_cast<double>(i) * 0.7) * 3 + static_cast<double>(i % 7);
    std::vector<double> at = {-2, 0, 1.5, 3, 6, 9};
    auto binned = kernelDensity(many, {}, Kernel::Epanechnikov, 0.4, at);
    for (std::size_t i = 0; i < at.size(); ++i) {
        double exact = 0;
        for (double v : many) exact += kernelValue(Kernel::Epanechnikov, (at[i] - v) / 0.4);
        exact /= 0.4 * static_cast<double>(many.size());
        EXPECT_NEAR(binned[i].second, exact, 2e-4) << "at " << at[i];
    }
}
