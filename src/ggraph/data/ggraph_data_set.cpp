#include "ggraph/data/ggraph_data_set.h"

#include <limits>

#include "ggraph/data/data_messages.h"
#include "ggraph/data/ggraph_data_set_data.h"
#include "ggraph/procedure/report.h"
#include "ggraph/variables/ggraph_statistic.h"
#include "ggraph/variables/ggraph_variable.h"
#include "ggraph/variables/ggraph_variable_filter.h"
#include "ggraph/variables/variable_resolver.h"
#include "platform/var_data_processor.h"

namespace msg = ggraph::data_messages;

GGraphDataSet::GGraphDataSetData::GGraphDataSetData(ProcedureDataSource const* source,
                                                     FacSTDictionary* dict)
    : dictionary(dict), procedureDataSource(source) {}

void GGraphDataSet::GGraphDataSetData::release() {
    for (GGraphVariable* variable : variables) delete variable;
    for (GGraphVariableFilter* filter : variableFilters) delete filter;
    for (GGraphStatistic* statistic : statistics) delete statistic;
    for (VariableInfo* info : variableInfos) delete info;
    for (AggregationVariable* variable : aggregationVariables) delete variable;
    delete aggregationTable;
    delete inputCaseFile;
    for (SplitInfo& split : splits) delete split.vdp;
}

unsigned int GGraphDataSet::GGraphDataSetData::GetCaseLimit(bool zeroWhenUnlimited) const {
    if (caseLimit != 0) return caseLimit;
    return zeroWhenUnlimited ? 0 : std::numeric_limits<unsigned int>::max();
}

bool GGraphDataSet::GGraphDataSetData::isVarsToCases() const {
    return !summaryName.empty() && !indexName.empty();
}

VarDataProcessor* GGraphDataSet::GGraphDataSetData::createNewVDP() {
    SplitInfo split;
    split.vdp = new VarDataProcessor();
    splits.push_back(split);
    ++currentVDP;
    return split.vdp;
}

void GGraphDataSet::GGraphDataSetData::popLastVDP() {
    if (splits.empty()) return;
    delete splits.back().vdp;
    splits.pop_back();
    --currentVDP;
}

VarDataProcessor* GGraphDataSet::GGraphDataSetData::getCurrVDP() const {
    if (currentVDP < 0 || currentVDP >= static_cast<int>(splits.size())) return nullptr;
    return splits[static_cast<std::size_t>(currentVDP)].vdp;
}

KWEL_DataSource const* GGraphDataSet::GGraphDataSetData::getKWEL_DataSource() {
    if (dataSource != nullptr) return dataSource;
    if (inputCaseFile == nullptr) {
        if (!caseFileSpec.Init(dataSetHandle, false, false)) {
            if (!usesCSV) ggraph::report(ggraph::kError, msg::kUnknownHandle, {dataSetHandle});
            return nullptr;
        }
        if (caseFileSpec.IsWorkingFile()) {
            dataSource = procedureDataSource;
            return dataSource;
        }
        inputCaseFile = new UserInputCaseFile(caseFileSpec, nullptr);
    }
    dataSource = inputCaseFile->DataSource();
    return dataSource;
}

bool GGraphDataSet::GGraphDataSetData::UnknownVariable(std::string const& name) {
    ggraph::report(ggraph::kError, msg::kUnknownVariable, {name});
    return false;
}

GGraphDataSet::GGraphDataSet(ProcedureDataSource const* source, FacSTDictionary* dictionary)
    : d(std::make_unique<GGraphDataSetData>(source, dictionary)) {}

GGraphDataSet::~GGraphDataSet() {
    if (d) d->release();
}

std::string const& GGraphDataSet::GetDataSetHandle() const { return d->dataSetHandle; }
void GGraphDataSet::SetDataSetHandle(std::string const& handle) { d->dataSetHandle = handle; }
std::string const& GGraphDataSet::GetSourceName() const { return d->sourceName; }
void GGraphDataSet::SetSourceName(std::string const& name) {
    d->sourceName = name;
    d->utf8SourceName = XUtility::ChartStringFromLocalCodePage(name).toUTF8();
}
std::vector<GGraphVariable*>& GGraphDataSet::GetVariables() const { return d->variables; }
std::vector<GGraphStatistic*>& GGraphDataSet::GetStatistics() const { return d->statistics; }
void GGraphDataSet::SetCaseLimit(unsigned int limit) { d->caseLimit = limit; }
void GGraphDataSet::setUsesCSVFile() { d->usesCSV = true; }
bool GGraphDataSet::usesCSVFile() const { return d->usesCSV; }

void GGraphDataSet::SetMissing(MISSING missing) {
    // SETWISE is accepted and then behaves as VARIABLEWISE: setwise is never set true.
    if (missing == VARIABLEWISE) {
        d->listwise = false;
    } else if (missing == SETWISE) {
        d->listwise = false;
        d->setwise = false;
    } else {
        d->listwise = true;
    }
}

GGraphDataSet::MISSING GGraphDataSet::GetMissing() const {
    if (d->listwise) return LISTWISE;
    return d->setwise ? SETWISE : VARIABLEWISE;
}

void GGraphDataSet::SetReportMissing(REPORTMISSING report) { d->reportMissing = report == YES; }
bool GGraphDataSet::GetReportMissing() const { return d->reportMissing; }

GGraphVariable* GGraphDataSet::GetVariable(unsigned int index) const {
    for (GGraphVariable* variable : d->variables) {
        VariableResolver* resolver = variable->getVariableResolver();
        if (resolver != nullptr && resolver->getVariableIndex() == static_cast<int>(index))
            return variable;
    }
    return nullptr;
}

KWEL_DataSource const* GGraphDataSet::getKWEL_DataSource() { return d->getKWEL_DataSource(); }

int GGraphDataSet::getWeightVarIdx() const {
    KWEL_DataSource const* source = d->getKWEL_DataSource();
    return source != nullptr ? source->GetWeightVarIndex() : -1;
}

bool GGraphDataSet::IsDataSetAggregated() const {
    for (GGraphStatistic* statistic : d->statistics) {
        if (statistic->IsAggregatedStatistic()) return true;
    }
    return false;
}

bool GGraphDataSet::FetchData() const { return IsDataSetAggregated(); }

void GGraphDataSet::ResetAggregator() {
    if (IsDataSetAggregated() && d->aggregationTable != nullptr) d->aggregationTable->ResetAggregator();
}

bool GGraphDataSet::isTransposed() const { return d->isVarsToCases(); }

void GGraphDataSet::setTranspose(std::string const& summary, std::string const& index,
                                 std::string const& low, std::string const& high) {
    auto assign = [](ChartString& field, std::string const& text, char const* fallback) {
        field = XUtility::ChartStringFromLocalCodePage(text.empty() ? fallback : text);
    };
    assign(d->summaryName, summary, "#SUMMARY");
    assign(d->indexName, index, "#INDEX");
    assign(d->lowName, low, "#LOW");
    assign(d->highName, high, "#HIGH");
}

bool GGraphDataSet::getTransposeHighLowVarNames(ChartString& low, ChartString& high) const {
    if (d->lowName.empty() || d->highName.empty()) return false;
    low = d->lowName;
    high = d->highName;
    return true;
}

bool GGraphDataSet::getTransposedNames(ChartString& summary, ChartString& index, ChartString& low,
                                       ChartString& high) const {
    if (!d->isVarsToCases()) return false;
    summary = d->summaryName;
    index = d->indexName;
    low = d->lowName;
    high = d->highName;
    return true;
}

void GGraphDataSet::AddVariable(std::string const& name, std::string const& rename,
                                MEASUREMENT_LEVEL level) {
    d->variableInfos.push_back(new VariableInfo{name, rename, level});
}

void GGraphDataSet::AddVariable(GGraphVariable* variable) { d->variables.push_back(variable); }

void GGraphDataSet::AddStatistic(GGraphStatistic* statistic) {
    if (statistic->IsParametricStatistic()) d->hasParametricStatistic = true;
    else d->hasCategoryStatistic = true;
    d->statistics.push_back(statistic);
}

void GGraphDataSet::AddVariableFilter(GGraphVariableFilter* filter) {
    d->variableFilters.push_back(filter);
}

std::vector<GGraphVariableFilter*> const& GGraphDataSet::GetVariableFilters() const {
    return d->variableFilters;
}

std::vector<GGraphDataSet::VariableInfo*> const& GGraphDataSet::GetVariableInfos() const {
    return d->variableInfos;
}

void GGraphDataSet::resetData() { d->dataCursor = -1; }

VarDataProcessor* GGraphDataSet::getData() const {
    // The cursor keeps rising past the end until resetData.
    ++d->dataCursor;
    if (d->dataCursor < 0 || d->dataCursor >= static_cast<int>(d->splits.size())) return nullptr;
    return d->splits[static_cast<std::size_t>(d->dataCursor)].vdp;
}

namespace {
std::vector<std::string> const& emptyList() {
    static std::vector<std::string> const empty;
    return empty;
}
}  // namespace

std::vector<std::string> const& GGraphDataSet::getSplitNames() const {
    if (d->dataCursor < 0 || d->dataCursor >= static_cast<int>(d->splits.size())) return emptyList();
    return d->splits[static_cast<std::size_t>(d->dataCursor)].names;
}

std::vector<std::string> const& GGraphDataSet::getSplitLabels() const {
    if (d->dataCursor < 0 || d->dataCursor >= static_cast<int>(d->splits.size())) return emptyList();
    return d->splits[static_cast<std::size_t>(d->dataCursor)].labels;
}

std::vector<std::string> const& GGraphDataSet::getSplitCategories() const {
    if (d->dataCursor < 0 || d->dataCursor >= static_cast<int>(d->splits.size())) return emptyList();
    return d->splits[static_cast<std::size_t>(d->dataCursor)].categories;
}

// A single group counts as no split.
bool GGraphDataSet::containsSplits() const { return d->splits.size() >= 2; }
