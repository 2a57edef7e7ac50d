#pragma once
// What one GGRAPH command says as a whole: its data sets, its graph specifications and the
// options that apply to every chart.

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

class GGraphDataSet;
class GraphSpec;

class GGraphSettings {
public:
    enum GGRAPH_COMMAND_NAME { COMMAND_GGRAPH = 0, COMMAND_RFM = 1 };
    enum GGRAPH_SMART_HELP_NAME {
        SMART_HELP_NONE = 0,
        SMART_HELP_BINCOUNT = 1,
        SMART_HELP_HEATMAP = 2,
        SMART_HELP_HISTOGRAM = 3,
        SMART_HELP_SCATTER = 4,
    };
    // The values pass unchanged into the chart document's own enumeration.
    enum GGRAPH_TEMPL_PARAM_ACT { TEMPL_PARAM_DEFAULT = 0, TEMPL_PARAM_YES = 1, TEMPL_PARAM_NO = 2 };

    struct ColorSpec {
        ColorSpec(int index, int r, int g, int b) : colorIndex(index), red(r), green(g), blue(b) {}
        std::int32_t colorIndex;
        std::int32_t red;
        std::int32_t green;
        std::int32_t blue;
    };

    GGraphSettings();
    ~GGraphSettings();
    GGraphSettings(GGraphSettings const&) = delete;
    GGraphSettings& operator=(GGraphSettings const&) = delete;

    std::vector<GGraphDataSet*>& GetAggregatedDataSets();
    std::vector<GGraphDataSet*>& GetUnAggregatedDataSets();
    std::vector<GraphSpec*>& GetGraphSpecs();
    int GetDataSetCount() const;

    void setCommandName(GGRAPH_COMMAND_NAME name);
    GGRAPH_COMMAND_NAME getCommandName() const;
    void setSmartHelp(GGRAPH_SMART_HELP_NAME help);
    GGRAPH_SMART_HELP_NAME getSmartHelp() const;

    std::vector<std::string> const& GetCSVFiles() const;
    void AddCSVFile(std::string const& name);

    void addTotalFit();
    void addSubgroupFit();
    bool hasTotalFit() const;
    bool hasSubgroupFit() const;

    std::vector<ColorSpec> const& GetColorSpecs() const;
    void AddColorSpec(ColorSpec const& color);

    void SetOuterFrame(GGRAPH_TEMPL_PARAM_ACT action);
    GGRAPH_TEMPL_PARAM_ACT GetOuterFrame() const;
    void SetInnerFrame(GGRAPH_TEMPL_PARAM_ACT action);
    GGRAPH_TEMPL_PARAM_ACT GetInnerFrame() const;
    void SetXAxisGridlines(GGRAPH_TEMPL_PARAM_ACT action);
    GGRAPH_TEMPL_PARAM_ACT GetXAxisGridlines() const;
    void SetYAxisGridlines(GGRAPH_TEMPL_PARAM_ACT action);
    GGRAPH_TEMPL_PARAM_ACT GetYAxisGridlines() const;

    // Takes ownership.
    void AddGraphSpec(GraphSpec* spec);
    // Takes ownership; names the data set when it has no name, replaces one of the same name,
    // and files it as aggregated or unaggregated.
    void AddDataSet(GGraphDataSet* dataSet);

    struct GGraphSettingsData;

private:
    std::unique_ptr<GGraphSettingsData> d;
};
