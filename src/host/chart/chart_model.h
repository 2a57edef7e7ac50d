#pragma once
// The chart model behind XDocument: the parsed program, the chart variables that the command
// library completes, and what the document was told before it is sent.

#include <deque>
#include <map>
#include <string>
#include <vector>

#include "host/chart/gpl_syntax.h"

class VarDataProcessor;

namespace host::chart {

struct Relabel {
    std::string value;  // the value as text (numbers in the 16-digit form)
    std::string label;
};

struct NumberFormat {
    bool set = false;
    int decimals = -1;  // -1: as the value needs
    bool grouping = true;
    std::string prefix;
    std::string suffix;
    unsigned int packed = 0;  // a packed format word, when given as one
};

struct ChartVariableRecord {
    std::string name;    // the name in the GPL (the DATA target)
    std::string column;  // the column of the source
    std::string source;  // the GPL source name
    bool categorical = false;
    std::string label;
    std::string shortLabel;
    int creator = 0;
    int statistic = -1;  // -1: none set
    double statA = 0, statB = 0, statC = 0;
    bool statFlag = false;
    NumberFormat format;
    std::vector<Relabel> relabels;
    std::vector<std::string> notIn;
    bool caseNumber = false;
    bool weight = false;
    bool time = false;
    bool declared = true;  // false: added by the command library, not in the GPL
};

struct SourceRecord {
    std::string name;
    std::string kind;  // userSource, csvSource
    std::string id;    // userSource id, or the csv file
    bool weighted = false;
};

struct Rgb {
    int r = 0, g = 0, b = 0;
};

struct ChartModel {
    std::string gpl;
    gpl::Program program;
    bool ok = false;
    std::string error;  // why the chart wasn't made

    std::vector<SourceRecord> sources;
    std::deque<ChartVariableRecord> variables;  // deque: XVariable handles stay valid

    std::string description;
    std::string subtitle;  // set by the command for split groups
    bool subtitleSet = false;
    std::string styleSheetName, styleSheet;
    int editor = 0;
    std::vector<std::pair<std::string, std::string>> vizMaps, vizRefMaps;
    std::map<int, Rgb> colorCycle;  // by position from 1
    int outerFrame = 0, innerFrame = 0, xGridlines = 0, yGridlines = 0;
    std::map<std::string, std::string> dataHandles;
    VarDataProcessor* data = nullptr;
    bool editable = true;
    std::string defaultTemplateOwner;
    bool noDefaultTemplates = false;
    std::vector<std::string> templateFiles, csvFiles, inlineTemplates;
    int sendCount = 0;

    ChartVariableRecord* findVariable(std::string const& name, unsigned int instance);
    bool hasSubtitleInGpl() const;
};

// Builds the model from GPL: parses, declares sources and variables, and checks that what the
// elements use is declared. Errors leave `ok` false with `error` set.
void buildFromGpl(ChartModel& model, std::string const& gpl);

// Functions of GPL that the engine knows but does not draw yet, and those it doesn't know at
// all, as warnings naming the function and its line.
std::vector<gpl::Diagnostic> checkFunctions(gpl::Program const& program);
// The numeric options (binCount, alpha, a log scale's base, ...) and declarations that no chart
// can use; a bin count past what can be drawn is lowered in the program.
std::vector<gpl::Diagnostic> checkOptions(gpl::Program& program);

}  // namespace host::chart
