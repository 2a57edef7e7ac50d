#pragma once
// Drives the data passes of a whole command and finds a data set by name for the chart routes.

#include <memory>
#include <string>
#include <vector>

class GGraphDataSet;
class GGraphSettings;
class ProcedureDataSource;
class RelabelString;

class GGraphDataObserver {
public:
    GGraphDataObserver(GGraphSettings& settings, ProcedureDataSource* dataSource);
    ~GGraphDataObserver();
    GGraphDataObserver(GGraphDataObserver const&) = delete;
    GGraphDataObserver& operator=(GGraphDataObserver const&) = delete;

    // Runs every aggregated data set's pass, then looks at the unaggregated ones; true when at
    // least one data set has data. `relabel` collects case-value texts for the case-level pass
    // and may be null while that pass is not built.
    bool populateData(RelabelString& relabel);
    std::vector<GGraphDataSet*> getDataSets() const;
    // Matches the data set's name byte for byte; null when none has it.
    GGraphDataSet* getDataSet(std::string const& name) const;
    bool containsSplits() const;

    struct GGraphDataObserverData;

private:
    std::unique_ptr<GGraphDataObserverData> d;
};
