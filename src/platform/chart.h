#pragma once
// The chart service: a chart document built from GPL text or chart XML, its graph and the
// chart variables that the command library completes, then sends to the output.

#include <string>
#include <vector>

#include "platform/chart_string.h"

class KWEL_Variable;
class VarDataProcessor;

namespace host::chart {
struct ChartModel;
struct ChartVariableRecord;
}  // namespace host::chart

// Conversions shared by every chart element.
class XBaseElement {
public:
    static ChartString ChartStringFromLocalCodePage(std::string const& text);
    static ChartString ChartStringFromOLANG(std::string const& text);
};

// A value handle on one chart variable; writes go through to the document.
class XVariable {
public:
    enum CREATOR { CREATOR_ORDINARY = 0, CREATOR_SYSTEM = 1, CREATOR_ERRORBAR = 2 };
    // The statistic that produced a variable; the numbers are fixed by the command library.
    enum ENUM_statistic {
        STAT_COUNT = 0,
        STAT_PERCENT = 1,
        STAT_MEAN = 2,
        STAT_MEDIAN = 3,
        STAT_MODE = 4,
        STAT_SUM = 5,
        STAT_SD = 6,
        STAT_VARIANCE = 7,
        STAT_MIN = 8,
        STAT_MAX = 9,
        STAT_RANGE = 10,
        STAT_SE = 11,
        STAT_CUMULATIVE = 12,
        STAT_PCT_GT = 13,
        STAT_PCT_LT = 14,
        STAT_PTILE = 15,
        STAT_N_GT = 16,
        STAT_N_LT = 17,
        STAT_PCT_IN = 18,
        STAT_N_IN = 19,
        STAT_GMEDIAN = 20,
        STAT_GPTILE = 21,
        STAT_PCT_LE = 22,
        STAT_N_LE = 23,
        STAT_PCT_GE = 24,
        STAT_N_GE = 25,
        STAT_PCT_EQ = 26,
        STAT_N_EQ = 27,
        STAT_OTHER = 28,
        STAT_VALIDN = 29
    };

    explicit XVariable(host::chart::ChartVariableRecord* record) : r_(record) {}

    void setLabel(ChartString const& label);
    ChartString getLabel() const;
    void setShortLabel(ChartString const& label);
    ChartString getShortLabel() const;
    void setCreator(CREATOR creator);
    CREATOR getCreator() const;
    void setCategorical(bool categorical);
    bool getCategorical() const;
    // A packed format word: type in bits 16-23, width in bits 8-15, decimals in bits 0-7.
    void setFormatWord(unsigned int packed);
    void SetNumberFormat(unsigned long digits, bool grouping, unsigned short const* prefix,
                         unsigned short const* suffix);
    // The same from a packed format word of the dictionary (KWEL_Format).
    void setFormat(int format);
    // The print format of a dictionary variable.
    void setFormatBasedOnKWELVariable(KWEL_Variable const& variable);
    // Ties the chart variable to the dictionary variable it shows (its format, its value labels).
    void setKWELVariable(KWEL_Variable const& variable);
    bool doesFormatExist() const;
    bool isWeightVariable() const;
    bool isCaseNumberVariable() const;
    void addRelabel(unsigned short const* value, unsigned short const* label);
    // A numeric value's label: the cell's number is the key, in its 16-digit form.
    void addRelabel(double const& cell, unsigned short const* label);
    // Relabels a position of an index variable (transposed charts).
    void addRelabel(unsigned int index, unsigned short const* label);
    void setStatistic(ENUM_statistic statistic, double a, double b, double c, bool flag);
    ENUM_statistic getStatistic() const;
    std::string getName() const;
    std::string getSource() const;

private:
    host::chart::ChartVariableRecord* r_;
};

class XGraph {
public:
    explicit XGraph(host::chart::ChartModel* model) : m_(model) {}
    virtual ~XGraph() = default;

    std::vector<std::string> getUserSourceNames() const;
    bool doesSourceExist(ChartString const& source) const;
    bool doesSubTitleExist() const;
    virtual void SetSubTitle(unsigned short const* text);
    // The `instance`-th chart variable over the column `name`, from 0; throws
    // std::out_of_range when there is none.
    XVariable getVariable(ChartString const& name, unsigned int instance) const;
    virtual XVariable addCaseNumberVariable(std::string const& source);
    virtual XVariable addWeightVariable(std::string const& source);
    virtual XVariable addDataVariable(ChartString const& source, bool categorical,
                                      ChartString const& name);
    void UpdateCategoricalDomains();
    void copyVariableFormats();
    void tweakExpressionVars();

private:
    host::chart::ChartModel* m_;
};

class XDocument {
public:
    enum TEMPL_PARAM_ACT { TEMPL_PARAM_DEFAULT = 0, TEMPL_PARAM_YES = 1, TEMPL_PARAM_NO = 2 };
    enum EDITABLE { EDITABLE_YES = 0, EDITABLE_NO = 1 };
    enum EDITOR { EDITOR_DEFAULT = 0, EDITOR_BASIC = 1, EDITOR_TEMPLATE = 2 };

    // One colour of the colour cycle: position from 1, then red, green, blue from 0 to 255.
    struct ColorSpec {
        ColorSpec(int position, int red, int green, int blue)
            : position(position), red(red), green(green), blue(blue) {}
        int position, red, green, blue;
    };

    // From GPL text; both flags are always true.
    XDocument(std::string const& gpl, bool, bool);
    // From chart XML.
    explicit XDocument(std::string const& xml);
    virtual ~XDocument();
    XDocument(XDocument const&) = delete;
    XDocument& operator=(XDocument const&) = delete;

    bool implementationExists() const;
    // Why the document couldn't be made (empty when it was).
    std::string const& errorText() const;

    void setStyleSheet(std::string const& name, std::string const& contents);
    void setEditor(EDITOR editor);
    void setVIZMap(std::string const& name, std::string const& contents);
    void setVIZRefMap(std::string const& name, std::string const& contents);
    void AddColorSpec(ColorSpec const& color);
    void SetOuterFrame(TEMPL_PARAM_ACT action);
    void SetInnerFrame(TEMPL_PARAM_ACT action);
    void SetXAxisGridlines(TEMPL_PARAM_ACT action);
    void SetYAxisGridlines(TEMPL_PARAM_ACT action);
    void SetDataHandle(ChartString const& source, ChartString const& handle);
    // Borrows the rows; each call replaces the last.
    void SetChartData(VarDataProcessor* data);
    ChartString GetDescription() const;
    virtual void SetDescription(unsigned short const* text);
    void setEditable(EDITABLE editable);
    virtual void setDefaultTemplateOwner(unsigned short const* owner);
    virtual void setNoDefaultTemplates(int off);
    virtual void addTemplateFile(std::string const* file);
    virtual void addCSVFile(std::string const* file);
    virtual void addInlineTemplate(std::string const* xml);
    virtual XGraph* getGraph();
    // Puts the chart into the current output document and writes its files.
    virtual void Send(bool, bool later, bool);
    std::string getChartXML();

    host::chart::ChartModel& model() { return *m_; }

private:
    host::chart::ChartModel* m_;
    XGraph graph_;
};
