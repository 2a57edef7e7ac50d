#pragma once
// The host's records behind the dictionary classes of the platform: a dataset is a dictionary
// plus one column of cells per variable.

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "host/dictionary/cells.h"
#include "platform/data_source.h"
#include "platform/dictionary.h"

struct KWEL_ValueLabelMap::Data {
    struct Entry {
        std::vector<OBS> cell;  // the value as a data cell (blank-padded for strings)
        double number = 0.0;    // numeric variables
        std::string text;       // string variables, without trailing blanks
        std::string label;
    };
    int width = 0;  // 0 numeric, else the string width
    std::vector<Entry> entries;
};

struct KWEL_Variable::Data {
    std::string name;
    std::string label;
    bool hasLabel = false;
    int width = 0;  // 0 numeric
    KWEL_Format format = 0;
    int measure = MEASURE_UNKNOWN;
    // Missing values: discrete numbers and a range for numeric variables, texts for strings.
    std::vector<double> missingNumbers;
    bool hasMissingRange = false;
    double missingLow = 0.0;
    double missingHigh = 0.0;
    std::vector<std::string> missingTexts;
    std::shared_ptr<KWEL_ValueLabelMap::Data const> labels;
};

struct ProcDSIterator::Groups {
    std::vector<std::int64_t> order;  // rows in the order of the groups; empty: file order
    std::vector<std::int64_t> ends;   // exclusive end of each group within that order
};

namespace host::dictionary {
class RemoteSource;
}

struct KWEL_DataSource::Data {
    std::string name;  // the dataset's handle; empty when it has none
    std::string path;  // where the cases came from
    std::vector<std::unique_ptr<KWEL_Variable>> variables;
    std::vector<host::dictionary::Cells> columns;  // parallel to variables
    std::int64_t cases = 0;
    std::vector<VariableSet> sets;
    int weight = -1;
    std::vector<int> split;
    bool splitLayered = true;  // LAYERED or SEPARATE: both group the cases the same way
    bool fatal = false;
    std::shared_ptr<ProcDSIterator::Groups const> groups;  // cache; reset when split changes
    // Set when the cases live in a database: the dictionary is here, the columns stay empty, and
    // iterators fetch what a pass needs.
    std::shared_ptr<host::dictionary::RemoteSource> remote;
    // Variable indexes by upper-cased name, the first of a name; kept by appendVariable.
    std::unordered_map<std::string, int> nameIndex;
};

namespace host::dictionary {

using Dataset = KWEL_DataSource::Data;
using Variable = KWEL_Variable::Data;
using ValueLabels = KWEL_ValueLabelMap::Data;

// Appends a variable with an empty column sized to the dataset's cases (all system-missing or
// blank) and gives its index.
int addVariable(Dataset& dataset, std::string name, int width);
// Appends a variable with its cells (cellsPerValue cells per case) and gives its index.
int appendVariable(Dataset& dataset, std::unique_ptr<Variable> variable, Cells cells);
// Sets sensible defaults of a new variable: F8.2 scale for numbers, A<width> nominal for
// strings.
void setDefaultFormat(Variable& variable);
// Cells per case of the variable.
int cellsPerValue(Variable const& variable);
Variable& variableAt(Dataset& dataset, int index);
// The index of a variable by name (ASCII case ignored), or -1.
int findVariable(Dataset const& dataset, std::string const& name);
// The groups of the cases by the split variables; computed once and cached.
std::shared_ptr<ProcDSIterator::Groups const> splitGroups(Dataset& dataset);
// A value label entry for a number or a text of the variable.
ValueLabels::Entry makeLabelEntry(Variable const& variable, double number, std::string const& text,
                                  std::string label);
// The text without trailing blanks.
std::string trimRight(std::string_view text);
std::string upper(std::string_view text);
bool equalsNoCase(std::string_view a, std::string_view b);

}  // namespace host::dictionary
