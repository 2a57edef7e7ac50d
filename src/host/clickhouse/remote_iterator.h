#pragma once
// The iterator over a table on a database server. At its first step it asks the server for what
// the pass needs and then steps through the answer like any other dataset:
// - under an aggregation cube, one step per group of cases that share their split, break and
//   filter values, with the group's sums, counts and (for order statistics) values, so that the
//   cube is computed on the server and only its cells travel;
// - otherwise, the cases themselves, with only the columns the command names and, where that is
//   safe, the command's case limit applied on the server.
// A server that fails is reported as an error of the command; the pass then sees no cases.
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "host/aggregation/partial_cells.h"
#include "host/clickhouse/job_columns.h"
#include "host/dictionary/dataset.h"
#include "platform/data_source.h"

namespace host::clickhouse {

class RemoteTable;

class RemoteIterator : public ProcDSIterator, public aggregation::PartialCellSource {
public:
    RemoteIterator(RemoteTable const& table, std::shared_ptr<dictionary::Dataset const> source);
    ~RemoteIterator() override;

    int NextCase() override;
    // A variable that was not fetched reads as missing.
    OBS const* GetObsPointer(unsigned int index) const override;

    void attachCube(std::function<aggregation::CubePlan()> plan) override;
    bool summarised() const override { return summarised_; }
    double groupCases(std::int64_t row) const override;
    aggregation::SlotPartial const* groupSlot(std::int64_t row, int variable) const override;
    double groupLimitCount(std::int64_t row, std::size_t statistic) const override;

private:
    void fetch();
    bool fetchGroups(aggregation::CubePlan const& plan, JobColumns const& job);
    bool fetchCases(JobColumns const& job);
    // An empty copy of the source's dictionary with room for `rows` cases in the listed columns;
    // the others stay empty.
    std::shared_ptr<dictionary::Dataset> makeWindow(std::int64_t rows,
                                                    std::vector<int> const& fetched);
    void setCell(dictionary::Dataset& window, int variable, std::int64_t row,
                 std::string_view field) const;
    void fail(std::string const& what);

    RemoteTable const& table_;
    std::shared_ptr<dictionary::Dataset const> source_;  // keeps the table alive too
    std::function<aggregation::CubePlan()> plan_;
    bool fetched_ = false;
    bool summarised_ = false;
    std::vector<double> cases_;
    std::vector<std::pair<int, std::vector<aggregation::SlotPartial>>> slots_;
    std::vector<std::vector<double>> limits_;  // per statistic, per row; empty for the others
    std::vector<char> fetchedColumns_;
    std::vector<OBS>
        missingCells_;  // a system-missing number, or blanks as wide as the widest string
};

}  // namespace host::clickhouse
