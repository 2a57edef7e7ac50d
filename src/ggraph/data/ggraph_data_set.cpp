#include "ggraph/data/ggraph_data_set.h"

struct GGraphDataSet::GGraphDataSetData {
    ProcedureDataSource const* procedureDataSource = nullptr;
    FacSTDictionary* dictionary = nullptr;
};

GGraphDataSet::GGraphDataSet(ProcedureDataSource const* source, FacSTDictionary* dictionary)
    : d(std::make_unique<GGraphDataSetData>()) {
    d->procedureDataSource = source;
    d->dictionary = dictionary;
}

GGraphDataSet::~GGraphDataSet() = default;
