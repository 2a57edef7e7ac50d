// A cube fed with groups of cases summarised elsewhere (as a database sends them) gives the cells
// it gives when fed the cases one by one.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <memory>
#include <random>

#include "host/aggregation/partial_cells.h"
#include "platform/aggregation.h"
#include "platform/data_source.h"
#include "support/case_builder.h"

namespace {

using Codes = TableEncryptionCodes;
using host::aggregation::SlotPartial;
double const kSys = KWEL_Globals::sysmis();

// Steps through one row per group, and tells the cube what each group holds.
class Groups : public ProcDSIterator, public host::aggregation::PartialCellSource {
public:
    Groups(std::shared_ptr<KWEL_DataSource::Data const> rows, std::vector<double> cases, std::vector<SlotPartial> x,
           std::vector<std::vector<double>> limits)
        : ProcDSIterator(std::move(rows)), cases_(std::move(cases)), x_(std::move(x)), limits_(std::move(limits)) {}
    void attachCube(std::function<host::aggregation::CubePlan()> plan) override { plan_ = std::move(plan); }
    bool summarised() const override { return true; }
    double groupCases(std::int64_t row) const override { return cases_[static_cast<std::size_t>(row)]; }
    SlotPartial const* groupSlot(std::int64_t row, int variable) const override {
        return variable == 2 ? &x_[static_cast<std::size_t>(row)] : nullptr;
    }
    double groupLimitCount(std::int64_t row, std::size_t statistic) const override {
        return statistic < limits_.size() ? limits_[statistic][static_cast<std::size_t>(row)] : 0.0;
    }
    std::function<host::aggregation::CubePlan()> plan_;

private:
    std::vector<double> cases_;
    std::vector<SlotPartial> x_;
    std::vector<std::vector<double>> limits_;
};

AggregationStatistic stat(Codes::StatisticCodes code, int variable, double lower = 0.0, double upper = 0.0) {
    AggregationStatistic s(code);
    s.SetVarIndex(variable);
    s.SetLowerLimit(lower);
    s.SetUpperLimit(upper);
    s.SetPTileCutPoint(25.0);
    return s;
}

// The cells of a one-cube table over `iterator`, by category value.
std::map<double, std::vector<AggregationResult>> cells(KWEL_InputCaseIterator& iterator,
                                                       std::vector<AggregationStatistic> const& statistics,
                                                       bool variablewise, host::aggregation::CubePlan* plan = nullptr) {
    AggregationTable table(iterator, false, variablewise, -1);
    AggregationVariable category(0, "cat");
    AggregationCube* cube = table.CreateCube();
    cube->AddCategoricalVariable(&category, Codes::ROW);
    cube->CreateCubeAggregator();
    cube->AddScaleStatistics(statistics);
    if (auto* groups = dynamic_cast<Groups*>(&iterator); groups != nullptr && plan != nullptr) *plan = groups->plan_();
    auto* steps = dynamic_cast<ProcDSIterator*>(&iterator);
    while (iterator.NextCase()) {
        if (!steps->SplitGroupEnd()) table.AddNewCase();
    }
    std::map<double, std::vector<AggregationResult>> result;
    for (AggregationCategory const* c : category.GetDimension()->GetCategories()) {
        StatValues* values = table.GetCubeAggregators().front()->GetStatValues({c}, -1);
        if (values == nullptr) continue;
        for (std::size_t i = 0; i < statistics.size(); ++i)
            result[*c->value].push_back(values->GetStatValue(static_cast<int>(i)));
    }
    return result;
}

TEST(PartialCells, GroupsMergeIntoTheCellsOfTheirCases) {
    // Cases of a category, a second key that splits each cell into several groups, and a summary
    // variable with system- and user-missing values, far from zero so that the variance needs
    // its shift.
    std::mt19937 random(5);
    std::size_t const n = 400;
    std::vector<double> cat(n), region(n), x(n);
    for (std::size_t i = 0; i < n; ++i) {
        cat[i] = std::array<double, 5>{1, 2, 3, 9, kSys}[random() % 5];
        region[i] = static_cast<double>(random() % 3);
        int const kind = static_cast<int>(random() % 12);
        x[i] = kind == 0 ? kSys : kind == 1 ? 999.0 : 1e6 + static_cast<double>(random() % 40) / 4.0;
    }
    test::CaseBuilder cases(static_cast<std::int64_t>(n));
    cases.numeric("cat", cat);
    cases.numeric("region", region);
    cases.numeric("x", x);
    cases.variable(0).missingNumbers = {9};
    cases.variable(2).missingNumbers = {999};

    std::vector<AggregationStatistic> const statistics{
        stat(Codes::STAT_COUNT, -1),         stat(Codes::STAT_COUNT, 2),    stat(Codes::STAT_MEAN, 2),
        stat(Codes::STAT_VARIANCE, 2),       stat(Codes::STAT_SEMEAN, 2),   stat(Codes::STAT_SUM, 2),
        stat(Codes::STAT_MINIMUM, 2),        stat(Codes::STAT_MAXIMUM, 2),  stat(Codes::STAT_MEDIAN, 2),
        stat(Codes::STAT_MODE, 2),           stat(Codes::STAT_GMEDIAN, 2),  stat(Codes::STAT_PTILE, 2),
        stat(Codes::STAT_MEDIAN_CI, 2),      stat(Codes::STAT_PCT_GT, 2, 1e6 + 5),
        stat(Codes::STAT_N_IN, 2, 1e6 + 2, 1e6 + 6)};

    for (bool variablewise : {false, true}) {
        SCOPED_TRACE(variablewise ? "variablewise" : "listwise");
        KWEL_DataSource source(cases.data());
        std::unique_ptr<KWEL_InputCaseIterator> one(source.CreateInputCaseIterator(0));
        auto const expected = cells(*one, statistics, variablewise);

        // The groups by category and region, summarised as the server does.
        std::map<std::pair<double, double>, std::vector<std::size_t>> members;
        for (std::size_t i = 0; i < n; ++i) members[{cat[i], region[i]}].push_back(i);
        test::CaseBuilder rows(static_cast<std::int64_t>(members.size()));
        std::vector<double> groupCat, groupCases;
        std::vector<SlotPartial> partials;
        std::vector<std::vector<double>> limits(statistics.size());
        for (auto const& [key, list] : members) {
            groupCat.push_back(key.first);
            SlotPartial partial;
            // Each group has a shift of its own, which the cube moves onto the cell's.
            partial.shift = 1e6 + static_cast<double>(list.size() % 7);
            double above = 0.0, within = 0.0;
            for (std::size_t i : list) {
                if (x[i] == kSys || x[i] == 999.0) continue;
                partial.min = partial.n == 0.0 ? x[i] : std::min(partial.min, x[i]);
                partial.max = partial.n == 0.0 ? x[i] : std::max(partial.max, x[i]);
                partial.n += 1.0;
                partial.sum += x[i];
                partial.shifted += x[i] - partial.shift;
                partial.squares += (x[i] - partial.shift) * (x[i] - partial.shift);
                partial.values.push_back(x[i]);
                above += x[i] > 1e6 + 5;
                within += x[i] >= 1e6 + 2 && x[i] <= 1e6 + 6;
            }
            // Listwise, a group counts only its cases valid on every summary variable.
            groupCases.push_back(variablewise ? static_cast<double>(list.size()) : partial.n);
            partials.push_back(partial);
            limits[13].push_back(above);
            limits[14].push_back(within);
        }
        for (auto& limit : limits) limit.resize(members.size(), 0.0);
        rows.numeric("cat", groupCat);
        rows.numeric("region", std::vector<double>(members.size(), 0.0));
        rows.numeric("x", std::vector<double>(members.size(), kSys));
        rows.variable(0).missingNumbers = {9};
        rows.variable(2).missingNumbers = {999};
        Groups groups(rows.data(), groupCases, partials, limits);
        host::aggregation::CubePlan plan;
        auto const merged = cells(groups, statistics, variablewise, &plan);

        EXPECT_EQ(plan.breaks.size(), 1u);
        EXPECT_EQ(plan.statistics.size(), statistics.size());
        EXPECT_EQ(plan.variablewise, variablewise);
        ASSERT_EQ(merged.size(), expected.size());
        for (auto const& [value, results] : expected) {
            ASSERT_TRUE(merged.count(value)) << value;
            for (std::size_t i = 0; i < results.size(); ++i) {
                AggregationResult const& a = results[i];
                AggregationResult const& b = merged.at(value)[i];
                double const tolerance = 1e-9 * std::max(1.0, std::fabs(double(a)));
                EXPECT_NEAR(double(a), double(b), tolerance) << "category " << value << ", statistic " << i;
                EXPECT_NEAR(a.GetValue1(), b.GetValue1(), tolerance) << "category " << value << ", statistic " << i;
                EXPECT_NEAR(a.GetValue2(), b.GetValue2(), tolerance) << "category " << value << ", statistic " << i;
            }
        }
    }
}

}  // namespace
