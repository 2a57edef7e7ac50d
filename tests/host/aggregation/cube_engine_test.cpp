// The aggregation cube: categories, cells, missing values and every statistic code.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <memory>
#include <string>

#include "host/aggregation/cell_statistics.h"
#include "platform/aggregation.h"
#include "platform/data_source.h"
#include "support/case_builder.h"

namespace {

using Codes = TableEncryptionCodes;
double const kSys = KWEL_Globals::sysmis();

AggregationStatistic stat(Codes::StatisticCodes code, int variable, double lower = 0.0, double upper = 0.0) {
    AggregationStatistic s(code);
    s.SetVarIndex(variable);
    s.SetLowerLimit(lower);
    s.SetUpperLimit(upper);
    return s;
}

// Runs every case of `data` into a one-cube table.
struct Cube {
    Cube(test::CaseBuilder& builder, std::vector<AggregationVariable*> breaks, std::vector<AggregationStatistic> stats,
         bool variablewise = false, bool category = false)
        : source(builder.data()), iterator(source.CreateInputCaseIterator(0)), table(*iterator, false, variablewise, -1),
          variables(breaks) {
        AggregationCube* cube = table.CreateCube();
        for (AggregationVariable* v : breaks) cube->AddCategoricalVariable(v, Codes::ROW);
        cube->CreateCubeAggregator();
        if (category) cube->AddCategoryStatistics(stats, breaks.front());
        else cube->AddScaleStatistics(stats);
        auto* proc = static_cast<ProcDSIterator*>(iterator.get());
        while (iterator->NextCase()) {
            if (!proc->SplitGroupEnd()) table.AddNewCase();
        }
    }
    std::vector<AggregationCategory const*> const& categories(std::size_t d) {
        return variables[d]->GetDimension()->GetCategories();
    }
    StatValues* cell(std::vector<AggregationCategory const*> const& categories) {
        return table.GetCubeAggregators().front()->GetStatValues(categories, -1);
    }
    KWEL_DataSource source;
    std::unique_ptr<KWEL_InputCaseIterator> iterator;
    AggregationTable table;
    std::vector<AggregationVariable*> variables;
};

// Walks every combination of the categories of `got`'s one or two breaks with the same one of
// `want`'s: both hold a cell there or neither, and compare(got, want, where) sees the cells
// held. `met` counts them.
template <typename Compare>
void compareCells(Cube& got, Cube& want, int& met, Compare&& compare) {
    std::size_t const breaks = got.variables.size();
    for (std::size_t d = 0; d < breaks; ++d)
        ASSERT_EQ(got.categories(d).size(), want.categories(d).size()) << "break " << d;
    std::size_t const rows = got.categories(0).size();
    std::size_t const columns = breaks > 1 ? got.categories(1).size() : 1;
    met = 0;
    for (std::size_t i = 0; i < rows; ++i) {
        for (std::size_t j = 0; j < columns; ++j) {
            std::vector<AggregationCategory const*> at{got.categories(0)[i]};
            std::vector<AggregationCategory const*> atWant{want.categories(0)[i]};
            if (breaks > 1) {
                at.push_back(got.categories(1)[j]);
                atWant.push_back(want.categories(1)[j]);
            }
            StatValues* gotCell = got.cell(at);
            StatValues* wantCell = want.cell(atWant);
            std::string const where = std::to_string(i) + "," + std::to_string(j);
            ASSERT_EQ(gotCell == nullptr, wantCell == nullptr) << where;
            if (!gotCell)
                continue;
            ++met;
            compare(*gotCell, *wantCell, where);
        }
    }
}

}  // namespace

TEST(CellStatistics, OrderStatisticsFollowTheirDefinitions) {
    using namespace host::aggregation;
    std::vector<double> const a{2, 4, 4, 5, 7, 9, 10};
    // Python's statistics.quantiles(a, n=4 or 10, method='exclusive') is the (n+1)p rule:
    // [4.0, 5.0, 9.0] and 3.2 / 9.4 at 20% / 80%. At 10% and 90% it extrapolates (1.6, 10.2); the
    // rule here clamps to the extremes.
    EXPECT_DOUBLE_EQ(percentile(a, 0.25), 4.0);
    EXPECT_DOUBLE_EQ(percentile(a, 0.5), 5.0);
    EXPECT_DOUBLE_EQ(percentile(a, 0.75), 9.0);
    EXPECT_DOUBLE_EQ(percentile(a, 0.2), 3.2);
    EXPECT_DOUBLE_EQ(percentile(a, 0.8), 9.4);
    EXPECT_DOUBLE_EQ(percentile(a, 0.1), 2.0);
    EXPECT_DOUBLE_EQ(percentile(a, 0.9), 10.0);
    EXPECT_EQ(percentile(std::vector<double>{}, 0.5), KWEL_Globals::sysmis());

    // By hand: distinct values 2,4,5,7,9,10; pN = 3.5 falls in the class of 5, bounds 4.5 and 6,
    // with C = 3 and f = 1: 4.5 + 0.5 * 1.5 = 5.25.
    EXPECT_DOUBLE_EQ(groupedPercentile(a, 0.5), 5.25);
    // Equal spacing: Python's statistics.median_grouped([1,2,2,3,3,3,4], 1) = 2.6666666666666665.
    EXPECT_NEAR(groupedPercentile(std::vector<double>{1, 2, 2, 3, 3, 3, 4}, 0.5), 2.6666666666666665, 1e-12);
    // The first class mirrors its upper half: class of 2 is [1, 3]; pN = 0.7 gives 1 + 0.7 * 2.
    EXPECT_DOUBLE_EQ(groupedPercentile(a, 0.1), 2.4);
    EXPECT_DOUBLE_EQ(groupedPercentile(std::vector<double>{6, 6}, 0.5), 6.0);

    EXPECT_DOUBLE_EQ(mode(a), 4.0);
    EXPECT_DOUBLE_EQ(mode(std::vector<double>{1, 1, 3, 3, 8}), 1.0);  // a tie takes the smallest

    // k from the binomial CDF by hand (Python, math.comb): the largest k with
    // sum_{i<k} C(n,i)/2^n <= 0.025: n=7 gives 1, n=20 gives 6, n=5 gives none.
    EXPECT_EQ(medianIntervalRank(7, 95.0), 1);
    EXPECT_EQ(medianIntervalRank(20, 95.0), 6);
    EXPECT_EQ(medianIntervalRank(5, 95.0), 0);
    auto const [low, high] = medianInterval(a, 95.0);
    EXPECT_EQ(low, 2.0);
    EXPECT_EQ(high, 10.0);
    auto const tooFew = medianInterval(std::vector<double>{1, 3, 3, 3, 8}, 95.0);
    EXPECT_TRUE(std::isinf(tooFew.first) && tooFew.first < 0);
    EXPECT_TRUE(std::isinf(tooFew.second) && tooFew.second > 0);
}

TEST(CubeEngine, EveryScaleStatisticPerCellInAscendingCategoryOrder) {
    // g = 2 holds a = {2,4,4,5,7,9,10}; g = 1 holds b = {1,3,3,3,8} and one system-missing x.
    test::CaseBuilder data(13);
    int g = data.numeric("g", {2, 1, 2, 1, 2, 1, 2, 1, 2, 1, 2, 2, 1});
    int x = data.numeric("x", {2, 1, 4, 3, 4, 3, 5, 3, 7, 8, 9, 10, kSys});
    std::vector<AggregationStatistic> stats{
        stat(Codes::STAT_COUNT, -1), stat(Codes::STAT_VALIDN, x), stat(Codes::STAT_SUM, x),
        stat(Codes::STAT_MEAN, x), stat(Codes::STAT_MINIMUM, x), stat(Codes::STAT_MAXIMUM, x),
        stat(Codes::STAT_VARIANCE, x), stat(Codes::STAT_STDDEV, x), stat(Codes::STAT_SEMEAN, x),
        stat(Codes::STAT_MODE, x), stat(Codes::STAT_MEDIAN, x), stat(Codes::STAT_PTILE, x),
        stat(Codes::STAT_GMEDIAN, x), stat(Codes::STAT_N_GT, x, 4), stat(Codes::STAT_PCT_GT, x, 4),
        stat(Codes::STAT_N_LT, x, 0, 4), stat(Codes::STAT_PCT_LE, x, 4), stat(Codes::STAT_N_IN, x, 3, 5),
        stat(Codes::STAT_PCT_EQ, x, 3), stat(Codes::STAT_N_GE, x, 9), stat(Codes::STAT_PCT_IN, x, 1, 3),
        stat(Codes::STAT_MEDIAN_CI, x)};
    stats[11].SetPTileCutPoint(25.0);
    AggregationVariable byG(g, "g");
    Cube cube(data, {&byG}, stats, /*variablewise=*/true);

    auto const& categories = cube.categories(0);
    ASSERT_EQ(categories.size(), 2u);
    EXPECT_EQ(*categories[0]->value, 1.0);
    EXPECT_EQ(*categories[1]->value, 2.0);

    // Expected values from Python's statistics module (mean, variance, stdev, mode, median,
    // quantiles(method='exclusive')), the limit counts by hand.
    StatValues* a = cube.cell({categories[1]});
    ASSERT_NE(a, nullptr);
    std::vector<double> const expectA{7, 7, 41, 5.857142857142857, 2, 10, 8.476190476190476, 2.9113897843110044,
                                      1.1004019055515564, 4, 5, 4, 5.25, 4, 400.0 / 7, 1, 300.0 / 7, 3, 0, 2,
                                      100.0 / 7, 5};
    for (std::size_t i = 0; i < expectA.size(); ++i)
        EXPECT_NEAR(a->GetStatValue(static_cast<int>(i)), expectA[i], 1e-9) << "statistic " << i;
    EXPECT_EQ(a->GetStatValue(21).GetValue1(), 2.0);
    EXPECT_EQ(a->GetStatValue(21).GetValue2(), 10.0);

    // Variablewise: the missing x stays in the count (6 cases) and out of x's statistics.
    StatValues* b = cube.cell({categories[0]});
    ASSERT_NE(b, nullptr);
    EXPECT_EQ(b->GetStatValue(0), 6.0);
    EXPECT_EQ(b->GetStatValue(1), 5.0);
    EXPECT_NEAR(b->GetStatValue(3), 3.6, 1e-12);
    EXPECT_NEAR(b->GetStatValue(6), 6.8, 1e-12);
    EXPECT_EQ(b->GetStatValue(9), 3.0);
    EXPECT_NEAR(b->GetStatValue(12), 3.75, 1e-12);  // by hand: 2 + (2.5 - 1) / 3 * 3.5
    EXPECT_EQ(b->GetStatValue(99), kSys);           // out of range
}

TEST(CubeEngine, ListwiseDropsTheWholeCaseAndMissingBreakValuesFollowTheFlag) {
    test::CaseBuilder data(6);
    int g = data.numeric("g", {1, 1, 9, kSys, 1, 2});
    int x = data.numeric("x", {1, kSys, 5, 5, 3, 4});
    int y = data.numeric("y", {1, 1, 1, 1, kSys, 1});
    data.variable(g).missingNumbers = {9};  // user-missing 9
    std::vector<AggregationStatistic> stats{stat(Codes::STAT_COUNT, -1), stat(Codes::STAT_MEAN, x),
                                            stat(Codes::STAT_SUM, y)};
    {
        AggregationVariable byG(g, "g");
        Cube cube(data, {&byG}, stats);
        auto const& categories = cube.categories(0);
        ASSERT_EQ(categories.size(), 2u);  // 9 and system-missing are left out
        StatValues* one = cube.cell({categories[0]});
        EXPECT_EQ(one->GetStatValue(0), 1.0);  // only the first case has both x and y
        EXPECT_EQ(one->GetStatValue(1), 1.0);
    }
    {
        AggregationVariable byG(g, "g");
        byG.SetExcludeMissing(false);
        Cube cube(data, {&byG}, stats, /*variablewise=*/true);
        auto const& categories = cube.categories(0);
        ASSERT_EQ(categories.size(), 4u);
        EXPECT_EQ(*categories[0]->value, kSys);  // the lowest double sorts first
        EXPECT_EQ(*categories[3]->value, 9.0);
        StatValues* one = cube.cell({categories[1]});
        EXPECT_EQ(one->GetStatValue(0), 3.0);
        EXPECT_EQ(one->GetStatValue(1), 2.0);  // mean of 1 and 3
        EXPECT_EQ(one->GetStatValue(2), 2.0);  // sum of y over the two valid
    }
}

TEST(CubeEngine, StringsSortByBytesAndTwoBreakVariablesMakeOnlyTheCellsMet) {
    test::CaseBuilder data(5);
    int s = data.text("s", 10, {"beta", "Alpha", "beta", "alpha", "Alpha"});
    int g = data.numeric("g", {1, 1, 2, 1, 1});
    AggregationVariable byS(s, "s"), byG(g, "g");
    Cube cube(data, {&byS, &byG}, {stat(Codes::STAT_COUNT, -1)}, false, true);
    auto const& texts = cube.categories(0);
    ASSERT_EQ(texts.size(), 3u);
    EXPECT_EQ(std::string(reinterpret_cast<char const*>(texts[0]->value), 5), "Alpha");  // 'A' < 'a'
    EXPECT_EQ(std::string(reinterpret_cast<char const*>(texts[2]->value), 4), "beta");
    EXPECT_EQ(texts[0]->stringLength, 10u);
    auto const& numbers = cube.categories(1);
    EXPECT_EQ(cube.cell({texts[0], numbers[0]})->GetStatValue(0), 2.0);
    EXPECT_EQ(cube.cell({texts[0], numbers[1]}), nullptr);  // never met
    EXPECT_EQ(cube.cell({texts[2], numbers[1]})->GetStatValue(0), 1.0);
    EXPECT_EQ(cube.cell({texts[0]}), nullptr);  // a tuple of the wrong length

    cube.table.ResetAggregator();
    EXPECT_TRUE(cube.categories(0).empty());
}

TEST(CubeEngine, SetsCountCasesAndResponsesWithAndWithoutDuplicates) {
    // Category set of q1, q2: case 1 says 1,1; case 2 says 1,2; case 3 says 2,missing.
    test::CaseBuilder data(3);
    int q1 = data.numeric("q1", {1, 1, 2});
    int q2 = data.numeric("q2", {1, 2, kSys});
    int d1 = data.numeric("d1", {1, 0, 1});
    int d2 = data.numeric("d2", {1, 1, 0});
    std::vector<AggregationStatistic> stats{stat(Codes::STAT_COUNT, -1), stat(Codes::STAT_RESPONSES, -1),
                                            stat(Codes::STAT_PCTRESPONSES, -1)};
    for (bool duplicates : {false, true}) {
        AggregationMCSet set({q1, q2}, "$q");
        set.GetDimension()->SetComputingCounts(duplicates);
        Cube cube(data, {&set}, stats, false, true);
        auto const& categories = cube.categories(0);
        ASSERT_EQ(categories.size(), 2u);
        StatValues* one = cube.cell({categories[0]});
        StatValues* two = cube.cell({categories[1]});
        EXPECT_EQ(one->GetStatValue(0), 2.0);
        EXPECT_EQ(two->GetStatValue(0), 2.0);
        // Responses by hand: value 1 is given 3 times (twice by case 1), value 2 twice.
        EXPECT_EQ(one->GetStatValue(1), duplicates ? 3.0 : 2.0);
        EXPECT_NEAR(one->GetStatValue(2), duplicates ? 60.0 : 50.0, 1e-12);
        EXPECT_NEAR(two->GetStatValue(2), duplicates ? 40.0 : 50.0, 1e-12);
    }
    OBS const counted = 1.0;
    AggregationMDSet dichotomy({d1, d2}, "$d", &counted, 8, false);
    Cube cube(data, {&dichotomy}, stats, false, true);
    auto const& members = cube.categories(0);
    ASSERT_EQ(members.size(), 2u);
    EXPECT_EQ(members[0]->memberIndex, d1);
    EXPECT_EQ(members[1]->memberIndex, d2);
    EXPECT_EQ(cube.cell({members[0]})->GetStatValue(0), 2.0);
    EXPECT_EQ(cube.cell({members[1]})->GetStatValue(0), 2.0);
}

TEST(CubeEngine, ManyCategoriesOfAnyValueMatchAPlainGrouping) {
    // Break values beyond the small integers (negative, fractional, large), enough categories
    // that the cells outgrow a dense grid, user-missing and system-missing breaks left out, and
    // one crowded cell for the order statistics.
    // Expected: the cases grouped by (g, h) in a std::map, the median and the 10th percentile
    // from the sorted values of each group.
    std::int64_t const n = 12000;
    std::vector<double> gs, hs, xs;
    std::uint64_t state = 88172645463325252ull;
    auto next = [&] {
        state ^= state << 13;
        state ^= state >> 7;
        state ^= state << 17;
        return state;
    };
    for (std::int64_t i = 0; i < n; ++i) {
        std::uint64_t const r = next();
        double g = static_cast<double>(r % 6000);
        double h = static_cast<double>((r >> 20) % 600);
        if (r % 7 == 0)
            g = -g / 4.0;  // negatives and fractions
        if (r % 97 == 0)
            g = kSys;
        if (r % 5 == 0)
            g = h = 1.0;  // one crowded cell
        gs.push_back(g);
        hs.push_back(h);
        xs.push_back((r >> 32) % 50 == 0 ? kSys : static_cast<double>((r >> 32) % 1000) / 10.0);
    }
    test::CaseBuilder data(n);
    int g = data.numeric("g", gs);
    int h = data.numeric("h", hs);
    int x = data.numeric("x", xs);
    data.variable(h).missingNumbers = {7};

    std::map<std::pair<double, double>, std::vector<double>> groups;
    for (std::int64_t i = 0; i < n; ++i) {
        if (gs[i] == kSys || hs[i] == 7 || xs[i] == kSys)
            continue;
        groups[{gs[i], hs[i]}].push_back(xs[i]);
    }

    AggregationStatistic tenth = stat(Codes::STAT_PTILE, x);
    tenth.SetPTileCutPoint(10.0);
    AggregationVariable byG(g, "g"), byH(h, "h");
    Cube cube(data, {&byG, &byH},
              {stat(Codes::STAT_COUNT, -1), stat(Codes::STAT_MEAN, x), stat(Codes::STAT_MEDIAN, x), tenth,
               stat(Codes::STAT_PCTRESPONSES, -1)});
    double total = 0;
    for (auto const& group : groups) total += static_cast<double>(group.second.size());
    std::map<double, AggregationCategory const*> byValue[2];
    for (std::size_t d = 0; d < 2; ++d)
        for (auto const* category : cube.categories(d)) byValue[d][*category->value] = category;
    EXPECT_EQ(byValue[1].count(7.0), 0u);
    for (auto const& [key, values] : groups) {
        StatValues* v = cube.cell({byValue[0][key.first], byValue[1][key.second]});
        ASSERT_NE(v, nullptr);
        std::vector<double> sorted = values;
        std::sort(sorted.begin(), sorted.end());
        double sum = 0;
        for (double value : sorted) sum += value;
        EXPECT_EQ(v->GetStatValue(0), static_cast<double>(sorted.size()));
        EXPECT_NEAR(v->GetStatValue(1), sum / static_cast<double>(sorted.size()), 1e-9);
        EXPECT_EQ(v->GetStatValue(2), host::aggregation::percentile(sorted, 0.5));
        EXPECT_EQ(v->GetStatValue(3), host::aggregation::percentile(sorted, 0.1));
        // Cases left out for a missing break value are no responses either.
        EXPECT_NEAR(v->GetStatValue(4), 100.0 * static_cast<double>(sorted.size()) / total, 1e-9);
    }
}

TEST(CubeEngine, CombinationsAreAskedForByTheirFirstCategories) {
    test::CaseBuilder data(3);
    int a = data.numeric("a", {1, 1, 2});
    int b = data.numeric("b", {10, 20, 10});
    int c = data.numeric("c", {7, 8, 9});
    AggregationVariable byA(a, "a"), byB(b, "b"), byC(c, "c");
    Cube cube(data, {&byA, &byB, &byC}, {stat(Codes::STAT_COUNT, -1)}, false, true);
    auto* aggregator = cube.table.GetCubeAggregators().front();
    auto const &as = cube.categories(0), &bs = cube.categories(1), &cs = cube.categories(2);
    EXPECT_TRUE(aggregator->HasCellsUnder({}));
    EXPECT_TRUE(aggregator->HasCellsUnder({as[0]}));
    EXPECT_TRUE(aggregator->HasCellsUnder({as[0], bs[1]}));
    EXPECT_TRUE(aggregator->HasCellsUnder({as[1], bs[0]}));
    EXPECT_FALSE(aggregator->HasCellsUnder({as[1], bs[1]}));  // 2 and 20 never met
    EXPECT_TRUE(aggregator->HasCellsUnder({as[0], bs[0], cs[0]}));
    EXPECT_FALSE(aggregator->HasCellsUnder({as[0], bs[0], cs[1]}));
    EXPECT_FALSE(aggregator->HasCellsUnder({as[0], bs[0], cs[0], cs[0]}));  // too long

    // Emptied and filled again: the answers follow the new cells.
    cube.table.ResetAggregator();
    EXPECT_FALSE(aggregator->HasCellsUnder({}));
}

// Texts of up to eight bytes are looked up by their bytes as one number; wider ones by text.
// Both must give the same categories, user-missing texts and all.
TEST(CubeEngine, WideTextsSortByEveryByteWithHighBytesLast) {
    test::CaseBuilder data(6);
    int s = data.text("s", 12, {"abcdefgh2", "abcdefgh10", "abcdefgh1", "\xc3\xa9t\xc3\xa9", "b", "B"});
    AggregationVariable byS(s, "s");
    Cube cube(data, {&byS}, {stat(Codes::STAT_COUNT, -1)}, false, true);
    std::vector<std::string> got;
    for (auto const* t : cube.categories(0)) {
        std::string text(reinterpret_cast<char const*>(t->value), 12);
        got.push_back(text.substr(0, text.find_last_not_of(std::string(" \0", 2)) + 1));
    }
    std::vector<std::string> const want{"B", "abcdefgh1", "abcdefgh10", "abcdefgh2", "b", "\xc3\xa9t\xc3\xa9"};
    EXPECT_EQ(got, want);
}

TEST(CubeEngine, ShortAndWideTextBreaksGiveTheSameCells) {
    for (int width : {4, 8, 12}) {
        test::CaseBuilder data(7);
        int s = data.text("s", width, {"b", "a", "NA", "b", "a", "x", "NA"});
        int y = data.numeric("y", {1, 2, 3, 4, 5, 6, kSys});
        data.variable(s).missingTexts = {"NA"};
        for (bool exclude : {true, false}) {
            AggregationVariable byS(s, "s");
            byS.SetExcludeMissing(exclude);
            Cube cube(data, {&byS}, {stat(Codes::STAT_MEAN, y), stat(Codes::STAT_COUNT, -1)},
                      /*variablewise=*/true);
            auto const& texts = cube.categories(0);
            std::map<std::string, std::pair<double, double>> got;
            for (auto const* t : texts) {
                std::string key(reinterpret_cast<char const*>(t->value), 2);
                key.erase(key.find_last_not_of(std::string(" \0", 2)) + 1);
                got[key] = {cube.cell({t})->GetStatValue(0), cube.cell({t})->GetStatValue(1)};
            }
            std::map<std::string, std::pair<double, double>> want{
                {"a", {3.5, 2}}, {"b", {2.5, 2}}, {"x", {6, 1}}};
            if (!exclude)
                want["NA"] = {3, 2};  // the case without y counts, with no value to the mean
            EXPECT_EQ(got, want) << "width " << width << (exclude ? ", excluded" : "");
        }
    }
}

TEST(CubeEngine, ALongRunSummedInBlocksGivesTheSumsOfTheCases) {
    // Over two million cases the one-break pass is summed in blocks side by side; counts, sums,
    // extremes and variances must be those of the cases. Whole numbers keep the sums exact.
    std::int64_t const n = 2'300'000;
    std::vector<double> g(n), x(n);
    std::vector<std::string> code(n);
    for (std::int64_t row = 0; row < n; ++row) {
        g[row] = static_cast<double>((row * 7919) % 11);
        x[row] = row % 13 == 0 ? kSys : static_cast<double>((row * 31) % 100);
        code[row] = "k" + std::to_string(row % 5);
    }
    test::CaseBuilder data(n);
    int const gi = data.numeric("g", g);
    int const xi = data.numeric("x", x);
    int const ci = data.text("code", 2, code);
    data.variable(gi).missingNumbers = {9};
    struct Expected {
        double n = 0, sum = 0, squares = 0, min = 1e9, max = -1e9;
    };
    std::map<double, Expected> byG;
    std::map<std::string, Expected> byCode;
    for (std::int64_t row = 0; row < n; ++row) {
        if (x[row] == kSys)
            continue;  // listwise
        for (Expected* e : {g[row] == 9 ? nullptr : &byG[g[row]], &byCode[code[row]]}) {
            if (!e)
                continue;
            e->n += 1;
            e->sum += x[row];
            e->squares += x[row] * x[row];
            e->min = std::min(e->min, x[row]);
            e->max = std::max(e->max, x[row]);
        }
    }
    std::vector<AggregationStatistic> stats{stat(Codes::STAT_COUNT, -1), stat(Codes::STAT_SUM, xi),
                                            stat(Codes::STAT_MEAN, xi), stat(Codes::STAT_MINIMUM, xi),
                                            stat(Codes::STAT_MAXIMUM, xi), stat(Codes::STAT_VARIANCE, xi)};
    auto check = [&](StatValues* values, Expected const& e, std::string const& what) {
        ASSERT_NE(values, nullptr) << what;
        EXPECT_EQ(values->GetStatValue(0), e.n) << what;
        EXPECT_EQ(values->GetStatValue(1), e.sum) << what;
        EXPECT_NEAR(values->GetStatValue(2), e.sum / e.n, 1e-12 * e.sum / e.n) << what;
        EXPECT_EQ(values->GetStatValue(3), e.min) << what;
        EXPECT_EQ(values->GetStatValue(4), e.max) << what;
        double const variance = (e.squares - e.sum * e.sum / e.n) / (e.n - 1);
        EXPECT_NEAR(values->GetStatValue(5), variance, 1e-9 * variance) << what;
    };
    {
        AggregationVariable byGroup(gi, "g");
        Cube cube(data, {&byGroup}, stats);
        auto const& categories = cube.categories(0);
        ASSERT_EQ(categories.size(), byG.size());  // 9 is user-missing: no category
        std::size_t k = 0;
        for (auto const& [value, expected] : byG) {
            EXPECT_EQ(*categories[k]->value, value);
            check(cube.cell({categories[k]}), expected, "g = " + std::to_string(value));
            ++k;
        }
    }
    {
        AggregationVariable byCodeVariable(ci, "code");
        Cube cube(data, {&byCodeVariable}, stats);
        auto const& categories = cube.categories(0);
        ASSERT_EQ(categories.size(), byCode.size());
        std::size_t k = 0;
        for (auto const& [text, expected] : byCode) {
            check(cube.cell({categories[k]}), expected, "code " + text);
            ++k;
        }
    }
    // Asked for alone, a statistic is summed with only the sums it reads: the same values as
    // when every sum is kept. One of each kind: total, mean, extremes, spread.
    std::vector<AggregationStatistic> all = stats;
    all.push_back(stat(Codes::STAT_STDDEV, xi));
    all.push_back(stat(Codes::STAT_SEMEAN, xi));
    AggregationVariable everyVariable(ci, "code");
    Cube every(data, {&everyVariable}, all);
    for (std::size_t s : {1, 2, 4, 6}) {
        AggregationVariable aloneVariable(ci, "code");
        Cube alone(data, {&aloneVariable}, {all[s]});
        auto const& categories = alone.categories(0);
        ASSERT_EQ(categories.size(), byCode.size());
        for (std::size_t k = 0; k < categories.size(); ++k) {
            StatValues* one = alone.cell({categories[k]});
            StatValues* reference = every.cell({every.categories(0)[k]});
            ASSERT_TRUE(one && reference);
            EXPECT_EQ(static_cast<double>(one->GetStatValue(0)),
                      static_cast<double>(reference->GetStatValue(static_cast<int>(s))))
                << "statistic " << s << ", category " << k;
        }
    }
}

TEST(CubeEngine, LongRunsByTwoBreaksSumInBlocksAsCaseByCase) {
    // Over two million cases a pass of plain sums by several breaks is summed in blocks side by
    // side; a median makes the same pass go case by case. Every cell must agree. A break of
    // 70,001 values is more than a block numbers: that pass goes case by case too.
    std::int64_t const n = 2'300'000;
    std::vector<double> g(n), x(n), medium(n), wide(n);
    std::vector<std::string> code(n);
    for (std::int64_t row = 0; row < n; ++row) {
        g[row] = static_cast<double>((row * 7919) % 11);
        x[row] = row % 13 == 0 ? kSys : static_cast<double>((row * 31) % 100);
        medium[row] = static_cast<double>((row * 7) % 3001);
        wide[row] = static_cast<double>((row * 104729) % 70001);
        code[row] = "k" + std::to_string((row * 13) % 5);
    }
    test::CaseBuilder data(n);
    int const gi = data.numeric("g", g);
    int const xi = data.numeric("x", x);
    int const mi = data.numeric("medium", medium);
    int const wi = data.numeric("wide", wide);
    int const ci = data.text("code", 2, code);
    data.variable(gi).missingNumbers = {9};
    std::vector<AggregationStatistic> plain{stat(Codes::STAT_COUNT, -1), stat(Codes::STAT_SUM, xi),
                                            stat(Codes::STAT_MINIMUM, xi), stat(Codes::STAT_MAXIMUM, xi),
                                            stat(Codes::STAT_MEAN, xi), stat(Codes::STAT_VARIANCE, xi)};
    std::vector<AggregationStatistic> withMedian = plain;
    withMedian.push_back(stat(Codes::STAT_MEDIAN, xi));
    for (auto [first, second] : {std::pair{gi, ci}, std::pair{mi, ci}, std::pair{wi, ci}}) {
        AggregationVariable a1(first, "a"), b1(second, "b"), a2(first, "a"), b2(second, "b");
        Cube blocks(data, {&a1, &b1}, plain);
        Cube oneByOne(data, {&a2, &b2}, withMedian);
        int met = 0;
        compareCells(blocks, oneByOne, met, [](auto const& got, auto const& want, auto const& where) {
            for (int s = 0; s < 4; ++s)  // count, sum and extremes of whole numbers: exact
                EXPECT_EQ(static_cast<double>(got.GetStatValue(s)),
                          static_cast<double>(want.GetStatValue(s))) << where;
            for (int s = 4; s < 6; ++s)
                EXPECT_NEAR(got.GetStatValue(s), want.GetStatValue(s),
                            1e-9 * std::abs(static_cast<double>(want.GetStatValue(s)))) << where;
        });
        EXPECT_GT(met, 40);
    }
}

TEST(CubeEngine, LongRunsKeepTheirValuesInRowOrder) {
    // Order statistics over two million cases: the blocks keep each cell's values and hand them
    // on in row order, so medians, percentiles and modes are those of the same pass made case by
    // case (a limit count makes it go so), to the bit.
    std::int64_t const n = 2'300'000;
    std::vector<double> g(n), x(n);
    std::vector<std::string> code(n);
    for (std::int64_t row = 0; row < n; ++row) {
        g[row] = static_cast<double>((row * 7919) % 11);
        x[row] = row % 17 == 0 ? kSys : static_cast<double>((row * 7907) % 1000) / 7.0;
        code[row] = "k" + std::to_string((row * 13) % 5);
    }
    test::CaseBuilder data(n);
    int const gi = data.numeric("g", g);
    int const xi = data.numeric("x", x);
    int const ci = data.text("code", 2, code);
    AggregationStatistic quarter = stat(Codes::STAT_PTILE, xi);
    quarter.SetPTileCutPoint(25.0);
    std::vector<AggregationStatistic> order{stat(Codes::STAT_MEDIAN, xi), quarter,
                                            stat(Codes::STAT_MODE, xi), stat(Codes::STAT_GMEDIAN, xi),
                                            stat(Codes::STAT_MEAN, xi)};
    std::vector<AggregationStatistic> withLimit = order;
    withLimit.push_back(stat(Codes::STAT_N_GT, xi, 50.0));
    for (auto [first, second] : {std::pair{ci, -1}, std::pair{gi, ci}}) {
        AggregationVariable a1(first, "a"), a2(first, "a");
        AggregationVariable b1(second, "b"), b2(second, "b");
        std::vector<AggregationVariable*> blocksBreaks{&a1}, caseBreaks{&a2};
        if (second >= 0) {
            blocksBreaks.push_back(&b1);
            caseBreaks.push_back(&b2);
        }
        Cube blocks(data, blocksBreaks, order);
        Cube oneByOne(data, caseBreaks, withLimit);
        int met = 0;
        compareCells(blocks, oneByOne, met, [](auto const& got, auto const& want, auto const& where) {
            for (int s = 0; s < 4; ++s)
                EXPECT_EQ(static_cast<double>(got.GetStatValue(s)),
                          static_cast<double>(want.GetStatValue(s)))
                    << "statistic " << s << " at " << where;
            EXPECT_NEAR(got.GetStatValue(4), want.GetStatValue(4), 1e-9) << where;
        });
        EXPECT_GE(met, 5);
    }
}

TEST(CubeEngine, LongRunsOfCountsAndOfSeveralVariablesGoInBlocksAlike) {
    // Counts alone (no summary variable) and two summary variables, listwise and variablewise,
    // over two million cases in blocks: the same cells as the pass made case by case (a limit
    // count on a third variable makes it go so).
    std::int64_t const n = 2'300'000;
    std::vector<double> g(n), x(n), y(n), z(n, 1.0);
    std::vector<std::string> code(n);
    for (std::int64_t row = 0; row < n; ++row) {
        g[row] = static_cast<double>((row * 7919) % 11);
        x[row] = row % 13 == 0 ? kSys : static_cast<double>((row * 31) % 100);
        y[row] = row % 7 == 0 ? 99.0 : static_cast<double>((row * 17) % 50);  // 99 user-missing
        code[row] = "k" + std::to_string((row * 13) % 5);
    }
    test::CaseBuilder data(n);
    int const gi = data.numeric("g", g);
    int const xi = data.numeric("x", x);
    int const yi = data.numeric("y", y);
    int const zi = data.numeric("z", z);
    int const ci = data.text("code", 2, code);
    data.variable(yi).missingNumbers = {99};
    std::vector<AggregationStatistic> counts{stat(Codes::STAT_COUNT, -1)};
    std::vector<AggregationStatistic> twoVariables{stat(Codes::STAT_COUNT, -1), stat(Codes::STAT_MEAN, xi),
                                                   stat(Codes::STAT_SUM, yi), stat(Codes::STAT_VALIDN, yi),
                                                   stat(Codes::STAT_MAXIMUM, xi)};
    for (bool variablewise : {false, true}) {
        for (auto const& statistics : {counts, twoVariables}) {
            std::vector<AggregationStatistic> caseByCase = statistics;
            caseByCase.push_back(stat(Codes::STAT_N_GT, zi, 0.0));
            AggregationVariable a1(gi, "g"), b1(ci, "code"), a2(gi, "g"), b2(ci, "code");
            Cube blocks(data, {&a1, &b1}, statistics, variablewise);
            Cube oneByOne(data, {&a2, &b2}, caseByCase, variablewise);
            int met = 0;
            compareCells(blocks, oneByOne, met, [&](auto const& got, auto const& want, auto const& where) {
                for (std::size_t s = 0; s < statistics.size(); ++s)
                    EXPECT_NEAR(got.GetStatValue(static_cast<int>(s)),
                                want.GetStatValue(static_cast<int>(s)), 1e-9)
                        << "statistic " << s << (variablewise ? " variablewise" : " listwise")
                        << " at " << where;
            });
            EXPECT_GT(met, 40);
        }
    }
}
