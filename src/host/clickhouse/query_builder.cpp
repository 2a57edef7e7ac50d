#include "host/clickhouse/query_builder.h"

#include <algorithm>

#include <fmt/format.h>

namespace host::clickhouse {

namespace {

using Codes = TableEncryptionCodes;

std::string literal(double value) { return fmt::format("toFloat64({:.17g})", value); }

bool keepsValues(Codes::StatisticCodes code) {
    switch (code) {
        case Codes::STAT_MEDIAN: case Codes::STAT_PTILE: case Codes::STAT_GMEDIAN:
        case Codes::STAT_MODE: case Codes::STAT_GPTILE: case Codes::STAT_MEDIAN_CI:
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
        case Codes::STAT_PCT_LT: case Codes::STAT_N_LT: return x + " < " + upper;
        case Codes::STAT_PCT_LE: case Codes::STAT_N_LE: return x + " <= " + lower;
        case Codes::STAT_PCT_GT: case Codes::STAT_N_GT: return x + " > " + lower;
        case Codes::STAT_PCT_GE: case Codes::STAT_N_GE: return x + " >= " + lower;
        case Codes::STAT_PCT_EQ: case Codes::STAT_N_EQ: return x + " = " + lower;
        case Codes::STAT_PCT_IN: case Codes::STAT_N_IN: return x + " >= " + lower + " AND " + x + " <= " + upper;
        default: return std::nullopt;
    }
}

bool numericVariable(dictionary::Dataset const& dataset, int index) {
    return index >= 0 && static_cast<std::size_t>(index) < dataset.variables.size() &&
           dataset.variables[static_cast<std::size_t>(index)]->hostData().width == 0;
}

}  // namespace

GroupSpec groupSpec(aggregation::CubePlan const& plan, dictionary::Dataset const& dataset, JobColumns const& job) {
    GroupSpec spec;
    spec.listwise = !plan.variablewise;
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
        if (!numericVariable(dataset, variable)) continue;  // the cube makes no slot for it either
        auto slot = std::find_if(spec.slots.begin(), spec.slots.end(), [&](auto const& s) { return s.variable == variable; });
        if (slot == spec.slots.end()) slot = spec.slots.insert(spec.slots.end(), {variable, false});
        slot->keepValues = slot->keepValues || keepsValues(statistic.GetSummaryStatistic());
        if (limitTest(statistic, "x")) spec.limitStatistics.push_back(i);
    }
    return spec;
}

std::string valueExpression(RemoteColumn const& column) {
    return "toFloat64(assumeNotNull(" + quoteName(column.name) + "))";
}

std::string fetchExpression(RemoteColumn const& column) {
    return column.numeric ? "toFloat64(" + quoteName(column.name) + ")" : "toString(" + quoteName(column.name) + ")";
}

std::string validExpression(RemoteColumn const& column, dictionary::Variable const& variable) {
    std::string const x = valueExpression(column);
    std::string test = "(isNotNull(" + quoteName(column.name) + ") AND NOT isNaN(" + x + ")";
    if (!variable.missingNumbers.empty()) {
        std::string list;
        for (double value : variable.missingNumbers) list += (list.empty() ? "" : ", ") + literal(value);
        test += " AND " + x + " NOT IN (" + list + ")";
    }
    if (variable.hasMissingRange)
        test += " AND NOT (" + x + " >= " + literal(variable.missingLow) + " AND " + x + " <= " + literal(variable.missingHigh) + ")";
    return test + ")";
}

std::string shiftQuery(RemoteTable const& table, dictionary::Dataset const& dataset, int variable) {
    auto const at = static_cast<std::size_t>(variable);
    RemoteColumn const& column = table.columns()[at];
    return "SELECT " + valueExpression(column) + " FROM " + table.connection().qualifiedTable() + " WHERE " +
           validExpression(column, dataset.variables[at]->hostData()) + " LIMIT 1 FORMAT TabSeparated";
}

std::string groupQuery(RemoteTable const& table, dictionary::Dataset const& dataset,
                       aggregation::CubePlan const& plan, GroupSpec const& spec, std::vector<double> const& shifts) {
    auto const column = [&](int index) -> RemoteColumn const& { return table.columns()[static_cast<std::size_t>(index)]; };
    auto const valid = [&](int index) {
        return validExpression(column(index), dataset.variables[static_cast<std::size_t>(index)]->hostData());
    };
    // Listwise, a case counts only where every summary variable is valid.
    std::string all;
    for (auto const& slot : spec.slots) all += (all.empty() ? "" : " AND ") + valid(slot.variable);
    std::vector<std::string> parts;
    std::string keys;
    for (int index : spec.keys) {
        parts.push_back(fetchExpression(column(index)));
        keys += (keys.empty() ? "" : ", ") + parts.back();
    }
    bool const screened = spec.listwise && !all.empty();
    parts.push_back(screened ? "countIf(" + all + ")" : "count()");
    for (std::size_t s = 0; s < spec.slots.size(); ++s) {
        int const variable = spec.slots[s].variable;
        std::string const x = valueExpression(column(variable));
        std::string const when = screened ? all : valid(variable);
        std::string const shifted = "(" + x + " - " + literal(shifts[s]) + ")";
        parts.push_back("countIf(" + when + ")");
        parts.push_back("sumIf(" + x + ", " + when + ")");
        parts.push_back("sumIf(" + shifted + ", " + when + ")");
        parts.push_back("sumIf(" + shifted + " * " + shifted + ", " + when + ")");
        parts.push_back("minIf(" + x + ", " + when + ")");
        parts.push_back("maxIf(" + x + ", " + when + ")");
        if (spec.slots[s].keepValues) parts.push_back("groupArrayIf(" + x + ", " + when + ")");
    }
    for (std::size_t i : spec.limitStatistics) {
        AggregationStatistic const& statistic = plan.statistics[i];
        int const variable = statistic.GetVarIndex();
        std::string const when = screened ? all : valid(variable);
        parts.push_back("countIf(" + when + " AND " + *limitTest(statistic, valueExpression(column(variable))) + ")");
    }
    std::string sql = "SELECT ";
    for (std::size_t i = 0; i < parts.size(); ++i) sql += (i ? ", " : "") + parts[i];
    sql += " FROM " + table.connection().qualifiedTable();
    if (!keys.empty()) sql += " GROUP BY " + keys;
    if (!dataset.split.empty()) {
        std::string order;
        for (int index : dataset.split) order += (order.empty() ? "" : ", ") + fetchExpression(column(index));
        sql += " ORDER BY " + order;
    }
    return sql + " FORMAT TabSeparated";
}

std::string caseQuery(RemoteTable const& table, std::vector<int> const& columns, std::optional<std::int64_t> limit) {
    std::string list;
    for (int index : columns) list += (list.empty() ? "" : ", ") + fetchExpression(table.columns()[static_cast<std::size_t>(index)]);
    if (list.empty()) list = "0";
    std::string sql = "SELECT " + list + " FROM " + table.connection().qualifiedTable();
    if (limit) sql += " LIMIT " + std::to_string(*limit);
    return sql + " FORMAT TabSeparated";
}

}  // namespace host::clickhouse
