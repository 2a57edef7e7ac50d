#include <limits>

#include <gtest/gtest.h>

#include "platform/aggregation.h"
#include "platform/dictionary.h"

namespace {

// Reference values by mpmath 1.2.1 (Debian python3-mpmath) at 40 digits: bisection on the
// regularised incomplete beta function, through which the t distribution's CDF is written too.
// t(0.975, 1) is also tan(0.475 pi) = 12.706204736174696.
TEST(DistFunctionsTest, QuantilesMatchAnIndependentImplementation) {
    EXPECT_NEAR(CtaDistFun::IdfT(0.975, 1), 12.706204736174705, 1e-12);
    EXPECT_NEAR(CtaDistFun::IdfT(0.995, 10), 3.1692726726169512, 1e-13);
    EXPECT_NEAR(CtaDistFun::IdfT(0.3, 4.5), -0.56350580393937786, 1e-13);  // fractional df
    EXPECT_NEAR(CtaDistFun::IdfT(0.5, 3), 0.0, 1e-15);
    EXPECT_NEAR(CtaDistFun::IdfBet(0.1, 2, 3), 0.14255931671003072, 1e-13);
    EXPECT_NEAR(CtaDistFun::IdfBet(0.5, 0.5, 0.5), 0.5, 1e-12);
    EXPECT_NEAR(CtaDistFun::IdfBet(0.9, 0.5, 10.5), 0.12357420632868012, 1e-13);
}

TEST(DistFunctionsTest, DomainErrorsGiveInfinity) {
    double const inf = KWEL_Globals::infinity();
    double const nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(CtaDistFun::IdfT(0.975, 0), inf);
    EXPECT_EQ(CtaDistFun::IdfT(0.975, -2), inf);
    EXPECT_EQ(CtaDistFun::IdfT(0, 5), inf);
    EXPECT_EQ(CtaDistFun::IdfT(1, 5), inf);
    EXPECT_EQ(CtaDistFun::IdfT(1.1, 5), inf);
    EXPECT_EQ(CtaDistFun::IdfT(nan, 5), inf);
    EXPECT_EQ(CtaDistFun::IdfBet(0.5, 0, 1), inf);
    EXPECT_EQ(CtaDistFun::IdfBet(0.5, 1, -39.5), inf);
    EXPECT_EQ(CtaDistFun::IdfBet(-0.1, 1, 1), inf);
    EXPECT_EQ(CtaDistFun::IdfBet(1, 1, 1), inf);
}

TEST(AggregationHoldersTest, KeepWhatTheyAreGiven) {
    AggregationStatistic statistic(TableEncryptionCodes::STAT_PCT_IN);
    EXPECT_EQ(statistic.GetSummaryStatistic(), 498);
    EXPECT_EQ(statistic.GetVarIndex(), -1);
    statistic.SetVarIndex(3);
    statistic.SetLowerLimit(1);
    statistic.SetUpperLimit(5);
    statistic.SetPTileCutPoint(25);
    EXPECT_EQ(statistic.GetVarIndex(), 3);
    EXPECT_EQ(statistic.GetLowerLimit(), 1);
    EXPECT_EQ(statistic.GetUpperLimit(), 5);
    EXPECT_EQ(statistic.GetPTileCutPoint(), 25);

    AggregationResult interval(7, 3, 11);
    EXPECT_EQ(static_cast<double>(interval), 7);
    EXPECT_EQ(interval.GetValue1(), 3);
    EXPECT_EQ(interval.GetValue2(), 11);
    EXPECT_EQ(static_cast<double>(AggregationResult()), 0);
}

}  // namespace
