#include "host/clickhouse/remote_iterator.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "host/clickhouse/query_builder.h"
#include "host/clickhouse/remote_table.h"
#include "host/clickhouse/tsv.h"
#include "host/output/document.h"
#include "host/syntax/current_command.h"

namespace host::clickhouse {

namespace {

std::shared_ptr<dictionary::Dataset> emptyLike(dictionary::Dataset const& source) {
    auto window = std::make_shared<dictionary::Dataset>();
    window->name = source.name;
    window->path = source.path;
    for (auto const& variable : source.variables)
        window->variables.push_back(std::make_unique<KWEL_Variable>(
            std::make_unique<dictionary::Variable>(variable->hostData())));
    window->columns.assign(window->variables.size(), {});
    window->sets = source.sets;
    window->weight = source.weight;
    window->split = source.split;
    window->splitLayered = source.splitLayered;
    return window;
}

}  // namespace

RemoteIterator::RemoteIterator(RemoteTable const& table,
                               std::shared_ptr<dictionary::Dataset const> source)
    : ProcDSIterator(emptyLike(*source)), table_(table), source_(std::move(source)) {}

RemoteIterator::~RemoteIterator() = default;

void RemoteIterator::attachCube(std::function<aggregation::CubePlan()> plan) {
    plan_ = std::move(plan);
}

int RemoteIterator::NextCase() {
    if (!fetched_) {
        fetched_ = true;
        fetch();
    }
    return ProcDSIterator::NextCase();
}

double RemoteIterator::groupCases(std::int64_t row) const {
    return row >= 0 && static_cast<std::size_t>(row) < cases_.size()
               ? cases_[static_cast<std::size_t>(row)]
               : 0.0;
}

aggregation::SlotPartial const* RemoteIterator::groupSlot(std::int64_t row, int variable) const {
    for (auto const& [index, rows] : slots_) {
        if (index == variable && row >= 0 && static_cast<std::size_t>(row) < rows.size())
            return &rows[static_cast<std::size_t>(row)];
    }
    return nullptr;
}

double RemoteIterator::groupLimitCount(std::int64_t row, std::size_t statistic) const {
    if (statistic >= limits_.size() || row < 0 ||
        static_cast<std::size_t>(row) >= limits_[statistic].size())
        return 0.0;
    return limits_[statistic][static_cast<std::size_t>(row)];
}

std::shared_ptr<dictionary::Dataset> RemoteIterator::makeWindow(std::int64_t rows,
                                                                std::vector<int> const& fetched) {
    auto window = emptyLike(*source_);
    window->cases = rows;
    fetchedColumns_.assign(window->variables.size(), 0);
    int widest = 8;
    for (int index : fetched) {
        auto const i = static_cast<std::size_t>(index);
        fetchedColumns_[i] = 1;
        auto const& variable = window->variables[i]->hostData();
        widest = std::max(widest, variable.width);
        std::size_t const cells = static_cast<std::size_t>(dictionary::cellsPerValue(variable)) *
                                  static_cast<std::size_t>(rows);
        if (variable.width == 0) {
            window->columns[i].assign(cells, KWEL_Globals::sysmis());
        } else {
            window->columns[i].resize(cells);
            std::memset(window->columns[i].data(), ' ', cells * sizeof(OBS));
        }
    }
    for (auto const& variable : window->variables)
        widest = std::max(widest, variable->hostData().width);
    missingCells_.assign(static_cast<std::size_t>(ObsCellsForWidth(widest)), 0.0);
    std::memset(missingCells_.data(), ' ', missingCells_.size() * sizeof(OBS));
    return window;
}

OBS const* RemoteIterator::GetObsPointer(unsigned int index) const {
    bool const unfetched = index < fetchedColumns_.size() && !fetchedColumns_[index];
    if (!unfetched)
        return ProcDSIterator::GetObsPointer(index);
    if (CurrentRow() < 0)
        return nullptr;
    if (source_->variables[index]->hostData().width != 0)
        return missingCells_.data();
    static OBS const systemMissing = KWEL_Globals::sysmis();
    return &systemMissing;
}

void RemoteIterator::setCell(dictionary::Dataset& window, int variable, std::int64_t row,
                             std::string_view field) const {
    auto const at = static_cast<std::size_t>(variable);
    auto const& record = window.variables[at]->hostData();
    auto const cells = static_cast<std::size_t>(dictionary::cellsPerValue(record));
    OBS* cell = window.columns[at].data() + static_cast<std::size_t>(row) * cells;
    if (record.width == 0) {
        std::optional<double> const value = number(field);
        *cell = value && !std::isnan(*value) ? *value : KWEL_Globals::sysmis();
        return;
    }
    if (isNull(field))
        return;  // stays blank
    std::string const text = unescape(field);
    std::memcpy(cell, text.data(), std::min(text.size(), static_cast<std::size_t>(record.width)));
}

void RemoteIterator::fail(std::string const& what) {
    syntax::Command const* command = syntax::currentCommand();
    output::current().addMessage(3, "The data of " + table_.where() + " could not be read: " + what,
                                 command != nullptr ? command->firstLine : 0);
}

void RemoteIterator::fetch() {
    JobColumns const job = currentJobColumns(*source_);
    // A case limit counts cases in the order of the table, which groups cannot show: such a pass
    // reads its cases, as few as the limit allows.
    if (plan_ && !job.caseLimit) {
        if (fetchGroups(plan_(), job))
            summarised_ = true;
        return;
    }
    fetchCases(job);
}

bool RemoteIterator::fetchGroups(aggregation::CubePlan const& plan, JobColumns const& job) {
    GroupSpec const spec = groupSpec(plan, *source_, job);
    std::vector<double> shifts;
    for (auto const& slot : spec.slots) {
        if (!slot.spread) {
            shifts.push_back(0.0);
            continue;
        }
        Answer const answer =
            table_.connection().query(shiftQuery(table_, *source_, slot.variable));
        if (!answer.ok) {
            fail(answer.error);
            return false;
        }
        std::vector<std::string_view> fields;
        TsvReader reader(answer.body);
        shifts.push_back(reader.next(fields) && !fields.empty() ? number(fields[0]).value_or(0.0)
                                                                : 0.0);
    }
    Answer const answer =
        table_.connection().query(groupQuery(table_, *source_, plan, spec, shifts));
    if (!answer.ok) {
        fail(answer.error);
        return false;
    }
    std::int64_t rows = 0;
    for (char c : answer.body) rows += c == '\n';
    auto window = makeWindow(rows, spec.keys);
    cases_.assign(static_cast<std::size_t>(rows), 0.0);
    slots_.clear();
    for (auto const& slot : spec.slots)
        slots_.emplace_back(slot.variable,
                            std::vector<aggregation::SlotPartial>(static_cast<std::size_t>(rows)));
    limits_.assign(plan.statistics.size(), {});
    for (std::size_t i : spec.limitStatistics)
        limits_[i].assign(static_cast<std::size_t>(rows), 0.0);

    std::size_t expected = spec.keys.size() + 1 + spec.limitStatistics.size();
    for (auto const& slot : spec.slots) expected += slot.keepValues ? 7 : 6;
    TsvReader reader(answer.body);
    std::vector<std::string_view> fields;
    for (std::int64_t row = 0; row < rows && reader.next(fields); ++row) {
        if (fields.size() != expected) {
            fail("an answer row has " + std::to_string(fields.size()) + " fields instead of " +
                 std::to_string(expected));
            return false;
        }
        auto const r = static_cast<std::size_t>(row);
        std::size_t f = 0;
        for (int key : spec.keys) setCell(*window, key, row, fields[f++]);
        cases_[r] = number(fields[f++]).value_or(0.0);
        for (std::size_t s = 0; s < spec.slots.size(); ++s) {
            aggregation::SlotPartial& partial = slots_[s].second[r];
            partial.shift = shifts[s];
            partial.n = number(fields[f++]).value_or(0.0);
            partial.sum = number(fields[f++]).value_or(0.0);
            partial.shifted = number(fields[f++]).value_or(0.0);
            partial.squares = number(fields[f++]).value_or(0.0);
            partial.min = number(fields[f++]).value_or(0.0);
            partial.max = number(fields[f++]).value_or(0.0);
            if (spec.slots[s].keepValues && !numberArray(fields[f++], partial.values)) {
                fail("an answer row holds no list of values where one was asked for");
                return false;
            }
        }
        for (std::size_t i : spec.limitStatistics)
            limits_[i][r] = number(fields[f++]).value_or(0.0);
    }
    rebind(window);
    return true;
}

bool RemoteIterator::fetchCases(JobColumns const& job) {
    // The limit is safe on the server only where every case read counts towards it.
    std::optional<std::int64_t> limit;
    if (job.caseLimit && job.filtered.empty() && source_->split.empty())
        limit = *job.caseLimit + 1;
    Answer const answer = table_.connection().query(caseQuery(table_, job.used, limit));
    if (!answer.ok) {
        fail(answer.error);
        return false;
    }
    std::int64_t rows = 0;
    for (char c : answer.body) rows += c == '\n';
    auto window = makeWindow(rows, job.used);
    TsvReader reader(answer.body);
    std::vector<std::string_view> fields;
    for (std::int64_t row = 0; row < rows && reader.next(fields); ++row) {
        for (std::size_t i = 0; i < job.used.size() && i < fields.size(); ++i)
            setCell(*window, job.used[i], row, fields[i]);
    }
    rebind(window);
    return true;
}

}  // namespace host::clickhouse
