#include "ggraph/data/ggraph_data_observer.h"

#include <memory>

#include "ggraph/data/ggraph_data_set.h"
#include "ggraph/model/ggraph_settings.h"
#include "platform/data_source.h"

struct GGraphDataObserver::GGraphDataObserverData {
    ProcedureDataSource* dataSource;
    GGraphSettings* settings;
    std::vector<GGraphDataSet*> dataSets;  // not owned: the settings own them
};

GGraphDataObserver::GGraphDataObserver(GGraphSettings& settings, ProcedureDataSource* dataSource)
    : d(std::make_unique<GGraphDataObserverData>(GGraphDataObserverData{dataSource, &settings, {}})) {}

GGraphDataObserver::~GGraphDataObserver() = default;

bool GGraphDataObserver::populateData(RelabelString& relabel) {
    bool hasData = false;
    for (GGraphDataSet* dataSet : d->settings->GetAggregatedDataSets()) {
        // A CSV-fed data set, or one whose handle is unknown, has no source to read here.
        KWEL_DataSource const* source = dataSet->getKWEL_DataSource();
        std::unique_ptr<KWEL_InputCaseIterator> iterator(source != nullptr ? source->CreateInputCaseIterator(0)
                                                                           : nullptr);
        if (iterator && dataSet->PrepareForDataPass(iterator.get(), false)) {
            if (dataSet->populateAggregatedData(iterator.get()) != 0) hasData = true;
        }
        d->dataSets.push_back(dataSet);
    }
    for (GGraphDataSet* dataSet : d->settings->GetUnAggregatedDataSets()) {
        if (dataSet->usesCSVFile()) {
            hasData = true;  // needs no pass and counts as having data
        } else if (dataSet->populateUnAggregatedData(relabel) != 0) {
            hasData = true;
        }
        d->dataSets.push_back(dataSet);
    }
    return hasData;
}

std::vector<GGraphDataSet*> GGraphDataObserver::getDataSets() const { return d->dataSets; }

GGraphDataSet* GGraphDataObserver::getDataSet(std::string const& name) const {
    for (GGraphDataSet* dataSet : d->dataSets) {
        if (dataSet->GetSourceName() == name) return dataSet;
    }
    return nullptr;
}

bool GGraphDataObserver::containsSplits() const {
    for (GGraphDataSet* dataSet : d->dataSets) {
        if (dataSet->containsSplits()) return true;
    }
    return false;
}
