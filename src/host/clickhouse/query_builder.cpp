#include "host/clickhouse/query_builder.h"

#include <algorithm>

#include <fmt/format.h>

namespace host::clickhouse {

namespace {

using Codes = TableEncryptionCodes;

std::string literal(double value) {
    return fmt::format("toFloat64({:.17g})", value);
}

bool keepsValues(Codes::StatisticCodes code) {
    switch (code) {
        case Codes::STAT_MEDIAN:
        case Codes::STAT_PTILE:
        case Codes::STAT_GMEDIAN:
        case Codes::STAT_MODE:
        case Codes::STAT_GPTILE:
        case Codes::STAT_MEDIAN_CI:
            return true;
        default:
            return false;
    }
}

// The test of one limit statistic, as the cube applies it to a value x.
std::optional<std::string> limitTest(AggregationStatistic const& statistic, std::string const& x) {
    std::string const lower = literal(statistic.GetLowerLimit());
    std::string const upper = literal(statistic.GetUpperLimit());
    switch (statistic.GetSummaryStatistic()) {
        case Codes::STAT_PCT_LT:
        case Codes::STAT_N_LT:
            return x + " < " + upper;
        case Codes::STAT_PCT_LE:
        case Codes::STAT_N_LE:
            return x + " <= " + lower;
        case Codes::STAT_PCT_GT:
        case Codes::STAT_N_GT:
            return x + " > " + lower;
        case Codes::STAT_PCT_GE:
        case Codes::STAT_N_GE:
            return x + " >= " + lower;
        case Codes::STAT_PCT_EQ:
        case Codes::STAT_N_EQ:
            return x + " = " + lower;
        case Codes::STAT_PCT_IN:
        case Codes::STAT_N_IN:
            return x + " >= " + lower + " AND " + x + " <= " + upper;
        default:
            return std::nullopt;
    }
}

bool spreads(Codes::StatisticCodes code) {
    return code == Codes::STAT_VARIANCE || code == Codes::STAT_STDDEV || code == Codes::STAT_SEMEAN;
}

// An aggregate over the values that pass `when`; the plain form where every value passes.
std::string aggregate(std::string const& name, std::string const& value, std::string const& when) {
    if (when == "1")
        return name + "(" + value + ")";
    return name + "If(" + value + (value.empty() ? "" : ", ") + when + ")";
}

bool numericVariable(dictionary::Dataset const& dataset, int index) {
    return index >= 0 && static_cast<std::size_t>(index) < dataset.variables.size() &&
           dataset.variables[static_cast<std::size_t>(index)]->hostData().width == 0;
}

}  // namespace

GroupSpec groupSpec(aggregation::CubePlan const& plan, dictionary::Dataset const& dataset,
                    JobColumns const& job) {
    GroupSpec spec;
    spec.listwise = !plan.variablewise;
    spec.screenEarly = dataset.split.empty() && job.filtered.empty();
    auto key = [&](int index) {
        if (index >= 0 && static_cast<std::size_t>(index) < dataset.variables.size() &&
            std::find(spec.keys.begin(), spec.keys.end(), index) == spec.keys.end())
            spec.keys.push_back(index);
    };
    for (int index : dataset.split) key(index);
    for (auto const& breakVariable : plan.breaks) {
        for (int index : breakVariable.indices) key(index);
    }
    for (int index : job.filtered) key(index);
    for (std::size_t i = 0; i < plan.statistics.size(); ++i) {
        AggregationStatistic const& statistic = plan.statistics[i];
        int const variable = statistic.GetVarIndex();
        if (!numericVariable(dataset, variable))
            continue;  // the cube makes no slot for it either
        auto slot = std::find_if(spec.slots.begin(), spec.slots.end(),
                                 [&](auto const& s) { return s.variable == variable; });
        if (slot == spec.slots.end())
            slot = spec.slots.insert(spec.slots.end(), {variable});
        auto const code = statistic.GetSummaryStatistic();
        slot->keepValues = slot->keepValues || keepsValues(code);
        slot->spread = slot->spread || spreads(code);
        slot->range = slot->range || code == Codes::STAT_MINIMUM || code == Codes::STAT_MAXIMUM;
        if (limitTest(statistic, "x"))
            spec.limitStatistics.push_back(i);
    }
    return spec;
}

std::string valueExpression(RemoteColumn const& column) {
    std::string value = quoteName(column.name);
    if (column.nullable)
        value = "assumeNotNull(" + value + ")";
    return column.isDouble ? value : "toFloat64(" + value + ")";
}

std::string fetchExpression(RemoteColumn const& column) {
    return column.numeric ? "toFloat64(" + quoteName(column.name) + ")"
                          : "toString(" + quoteName(column.name) + ")";
}

std::string validExpression(RemoteColumn const& column, dictionary::Variable const& variable) {
    std::string const x = valueExpression(column);
    std::vector<std::string> tests;
    if (column.nullable)
        tests.push_back("isNotNull(" + quoteName(column.name) + ")");
    if (column.floating)
        tests.push_back("NOT isNaN(" + x + ")");
    if (!variable.missingNumbers.empty()) {
        std::string list;
        for (double value : variable.missingNumbers)
            list += (list.empty() ? "" : ", ") + literal(value);
        tests.push_back(x + " NOT IN (" + list + ")");
    }
    if (variable.hasMissingRange)
        tests.push_back("NOT (" + x + " >= " + literal(variable.missingLow) + " AND " + x +
                        " <= " + literal(variable.missingHigh) + ")");
    if (tests.empty())
        return "1";
    std::string test;
    for (std::string const& part : tests) test += (test.empty() ? "(" : " AND ") + part;
    return test + ")";
}

std::string shiftQuery(RemoteTable const& table, dictionary::Dataset const& dataset, int variable) {
    auto const at = static_cast<std::size_t>(variable);
    RemoteColumn const& column = table.columns()[at];
    return "SELECT " + valueExpression(column) + " FROM " + table.connection().qualifiedTable() +
           " WHERE " + validExpression(column, dataset.variables[at]->hostData()) +
           " LIMIT 1 FORMAT TabSeparated";
}

std::string groupQuery(RemoteTable const& table, dictionary::Dataset const& dataset,
                       aggregation::CubePlan const& plan, GroupSpec const& spec,
                       std::vector<double> const& shifts) {
    auto const column = [&](int index) -> RemoteColumn const& {
        return table.columns()[static_cast<std::size_t>(index)];
    };
    auto const valid = [&](int index) {
        return validExpression(column(index),
                               dataset.variables[static_cast<std::size_t>(index)]->hostData());
    };
    // Listwise, a case counts only where every summary variable is valid.
    std::string all;
    for (auto const& slot : spec.slots) {
        std::string const test = valid(slot.variable);
        if (test != "1")
            all += (all.empty() ? "" : " AND ") + test;
    }
    if (all.empty())
        all = "1";
    // Where no split group or filter value can vanish with the screened cases, the server drops
    // them before grouping, which is cheaper than testing each aggregate's values.
    std::string where;
    if (spec.listwise && spec.screenEarly && all != "1") {
        where = all;
        all = "1";
    }
    std::vector<std::string> parts;
    std::string keys;
    // Grouped by the columns as they are, which keeps the server's narrow keys.
    for (int index : spec.keys) {
        parts.push_back(fetchExpression(column(index)));
        keys += (keys.empty() ? "" : ", ") + quoteName(column(index).name);
    }
    bool const screened = spec.listwise && all != "1";
    parts.push_back(screened ? "countIf(" + all + ")" : "count()");
    for (std::size_t s = 0; s < spec.slots.size(); ++s) {
        GroupSpec::Slot const& slot = spec.slots[s];
        std::string const x = valueExpression(column(slot.variable));
        std::string const when = spec.listwise ? all : valid(slot.variable);
        std::string const shifted = "(" + x + " - " + literal(shifts[s]) + ")";
        parts.push_back(aggregate("count", "", when));
        parts.push_back(aggregate("sum", x, when));
        parts.push_back(slot.spread ? aggregate("sum", shifted, when) : parts.back());
        parts.push_back(slot.spread ? aggregate("sum", shifted + " * " + shifted, when) : "0");
        parts.push_back(slot.range ? aggregate("min", x, when) : "0");
        parts.push_back(slot.range ? aggregate("max", x, when) : "0");
        if (slot.keepValues)
            parts.push_back(aggregate("groupArray", x, when));
    }
    for (std::size_t i : spec.limitStatistics) {
        AggregationStatistic const& statistic = plan.statistics[i];
        int const variable = statistic.GetVarIndex();
        std::string const when = spec.listwise ? all : valid(variable);
        std::string const test = *limitTest(statistic, valueExpression(column(variable)));
        parts.push_back("countIf(" + (when == "1" ? test : when + " AND " + test) + ")");
    }
    std::string sql = "SELECT ";
    for (std::size_t i = 0; i < parts.size(); ++i) sql += (i ? ", " : "") + parts[i];
    sql += " FROM " + table.connection().qualifiedTable();
    if (!where.empty())
        sql += " WHERE " + where;
    if (!keys.empty())
        sql += " GROUP BY " + keys;
    if (!dataset.split.empty()) {
        std::string order;
        for (int index : dataset.split)
            order += (order.empty() ? "" : ", ") + quoteName(column(index).name);
        sql += " ORDER BY " + order;
    }
    return sql + " FORMAT TabSeparated";
}

std::string caseQuery(RemoteTable const& table, std::vector<int> const& columns,
                      std::optional<std::int64_t> limit) {
    std::string list;
    for (int index : columns)
        list += (list.empty() ? "" : ", ") +
                fetchExpression(table.columns()[static_cast<std::size_t>(index)]);
    if (list.empty())
        list = "0";
    std::string sql = "SELECT " + list + " FROM " + table.connection().qualifiedTable();
    if (limit)
        sql += " LIMIT " + std::to_string(*limit);
    return sql + " FORMAT TabSeparated";
}

}  // namespace host::clickhouse
