#include "ggraph/model/ggraph_settings.h"

#include "ggraph/data/ggraph_data_set.h"
#include "ggraph/model/graph_spec.h"

struct GGraphSettings::GGraphSettingsData {
    std::vector<GGraphDataSet*> aggregatedDataSets;
    std::vector<GGraphDataSet*> unAggregatedDataSets;
    std::vector<GraphSpec*> graphSpecs;
    GGRAPH_COMMAND_NAME commandName = COMMAND_GGRAPH;
    GGRAPH_SMART_HELP_NAME smartHelp = SMART_HELP_NONE;
    std::vector<std::string> csvFiles;
    bool totalFit = false;
    bool subgroupFit = false;
    std::vector<ColorSpec> colorSpecs;
    GGRAPH_TEMPL_PARAM_ACT outerFrame = TEMPL_PARAM_DEFAULT;
    GGRAPH_TEMPL_PARAM_ACT innerFrame = TEMPL_PARAM_DEFAULT;
    GGRAPH_TEMPL_PARAM_ACT xAxisGridlines = TEMPL_PARAM_DEFAULT;
    GGRAPH_TEMPL_PARAM_ACT yAxisGridlines = TEMPL_PARAM_DEFAULT;
};

GGraphSettings::GGraphSettings() : d(std::make_unique<GGraphSettingsData>()) {}

GGraphSettings::~GGraphSettings() {
    for (GGraphDataSet* set : d->aggregatedDataSets) delete set;
    for (GGraphDataSet* set : d->unAggregatedDataSets) delete set;
    for (GraphSpec* spec : d->graphSpecs) delete spec;
}

std::vector<GGraphDataSet*>& GGraphSettings::GetAggregatedDataSets() {
    return d->aggregatedDataSets;
}
std::vector<GGraphDataSet*>& GGraphSettings::GetUnAggregatedDataSets() {
    return d->unAggregatedDataSets;
}
std::vector<GraphSpec*>& GGraphSettings::GetGraphSpecs() { return d->graphSpecs; }
int GGraphSettings::GetDataSetCount() const {
    return static_cast<int>(d->aggregatedDataSets.size() + d->unAggregatedDataSets.size());
}

void GGraphSettings::setCommandName(GGRAPH_COMMAND_NAME name) { d->commandName = name; }
GGraphSettings::GGRAPH_COMMAND_NAME GGraphSettings::getCommandName() const {
    return d->commandName;
}
void GGraphSettings::setSmartHelp(GGRAPH_SMART_HELP_NAME help) { d->smartHelp = help; }
GGraphSettings::GGRAPH_SMART_HELP_NAME GGraphSettings::getSmartHelp() const {
    return d->smartHelp;
}

std::vector<std::string> const& GGraphSettings::GetCSVFiles() const { return d->csvFiles; }
void GGraphSettings::AddCSVFile(std::string const& name) { d->csvFiles.push_back(name); }

// There is no way back to false: a later FITLINE ...=NO leaves the fit in place.
void GGraphSettings::addTotalFit() { d->totalFit = true; }
void GGraphSettings::addSubgroupFit() { d->subgroupFit = true; }
bool GGraphSettings::hasTotalFit() const { return d->totalFit; }
bool GGraphSettings::hasSubgroupFit() const { return d->subgroupFit; }

std::vector<GGraphSettings::ColorSpec> const& GGraphSettings::GetColorSpecs() const {
    return d->colorSpecs;
}
void GGraphSettings::AddColorSpec(ColorSpec const& color) { d->colorSpecs.push_back(color); }

void GGraphSettings::SetOuterFrame(GGRAPH_TEMPL_PARAM_ACT action) { d->outerFrame = action; }
GGraphSettings::GGRAPH_TEMPL_PARAM_ACT GGraphSettings::GetOuterFrame() const {
    return d->outerFrame;
}
void GGraphSettings::SetInnerFrame(GGRAPH_TEMPL_PARAM_ACT action) { d->innerFrame = action; }
GGraphSettings::GGRAPH_TEMPL_PARAM_ACT GGraphSettings::GetInnerFrame() const {
    return d->innerFrame;
}
void GGraphSettings::SetXAxisGridlines(GGRAPH_TEMPL_PARAM_ACT action) { d->xAxisGridlines = action; }
GGraphSettings::GGRAPH_TEMPL_PARAM_ACT GGraphSettings::GetXAxisGridlines() const {
    return d->xAxisGridlines;
}
void GGraphSettings::SetYAxisGridlines(GGRAPH_TEMPL_PARAM_ACT action) { d->yAxisGridlines = action; }
GGraphSettings::GGRAPH_TEMPL_PARAM_ACT GGraphSettings::GetYAxisGridlines() const {
    return d->yAxisGridlines;
}

void GGraphSettings::AddGraphSpec(GraphSpec* spec) { d->graphSpecs.push_back(spec); }
