#pragma once
// The dictionary JSON file: a Table Schema descriptor with our additions (width, measure,
// printFormat, weight, split, mrsets, currencies, path). Read into plain records; the loader
// applies them to the columns of the CSV.

#include <optional>
#include <string>
#include <vector>

#include "host/dictionary/diagnostic.h"

namespace host::dictionary {

// A value written in the dictionary: a number or a text.
struct DictValue {
    bool isNumber = false;
    double number = 0.0;
    std::string text;  // the text, or the number as written
};

struct DictPlace {
    std::int64_t line = 0;
    std::int64_t column = 0;
};

struct DictField {
    std::string name;
    DictPlace place;
    std::string type;  // "number", "integer", "string", or empty
    int width = 0;
    std::optional<std::string> title;
    std::vector<std::pair<DictValue, std::string>> categories;
    std::vector<DictValue> missing;
    bool hasMissingRange = false;
    double missingLow = 0.0;
    double missingHigh = 0.0;
    int measure = -1;    // -1: not given
    int formatType = 0;  // 0: not given
    int formatWidth = 0;
    int formatDecimals = 0;
};

struct DictMrSet {
    std::string name;
    DictPlace place;
    int type = 0;  // 1 category, 2 dichotomy
    std::string label;
    std::vector<std::string> variables;
    std::string countedValue;
    bool useCategoryLabels = false;
};

struct Dictionary {
    std::string file;     // the dictionary's own path
    std::string csvPath;  // `path`, resolved against the dictionary's folder; empty if not given
    std::vector<DictField> fields;
    std::optional<std::string> weight;
    DictPlace weightPlace;
    std::vector<std::string> split;
    DictPlace splitPlace;
    std::vector<DictMrSet> mrsets;
    std::vector<std::pair<std::string, std::string>> currencies;  // prefix, suffix
};

// Reads a dictionary file. Syntax errors and wrong shapes are reported with the file, line and
// column; nullopt when the file cannot be used at all.
std::optional<Dictionary> readDictionary(std::string const& path,
                                         std::vector<Diagnostic>& messages);
// The same over text in memory; `file` names it in messages and anchors a relative `path`.
std::optional<Dictionary> readDictionaryText(std::string const& text, std::string const& file,
                                             std::vector<Diagnostic>& messages);

}  // namespace host::dictionary
