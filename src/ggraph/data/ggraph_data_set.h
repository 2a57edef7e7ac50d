#pragma once
// One graph data set: which variables, which summary functions, which cases.

#include <memory>

class FacSTDictionary;
class ProcedureDataSource;

class GGraphDataSet {
public:
    GGraphDataSet(ProcedureDataSource const* source, FacSTDictionary* dictionary);
    ~GGraphDataSet();
    GGraphDataSet(GGraphDataSet const&) = delete;
    GGraphDataSet& operator=(GGraphDataSet const&) = delete;

    struct GGraphDataSetData;

private:
    std::unique_ptr<GGraphDataSetData> d;
};
