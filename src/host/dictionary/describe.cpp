#include "host/dictionary/describe.h"

#include <limits>
#include <nlohmann/json.hpp>
#include <ostream>
#include <sstream>

#include "host/dictionary/formats.h"
#include "host/dictionary/job_data.h"
#include "host/dictionary/loader.h"
#include "host/dictionary/remote_source.h"

namespace host::dictionary {

namespace {

using nlohmann::ordered_json;

char const* measureName(int measure) {
    switch (measure) {
        case MEASURE_NOMINAL:
            return "nominal";
        case MEASURE_ORDINAL:
            return "ordinal";
        case MEASURE_SCALE:
            return "scale";
        default:
            return "unknown";
    }
}

std::string numberText(double value) {
    std::ostringstream out;
    out.precision(15);
    out << value;
    return out.str();
}

ordered_json labelValue(Variable const& variable, ValueLabels::Entry const& entry) {
    return variable.width == 0 ? ordered_json(entry.number) : ordered_json(entry.text);
}

ordered_json missingJson(Variable const& variable) {
    ordered_json missing = ordered_json::array();
    for (double value : variable.missingNumbers) missing.push_back(value);
    for (auto const& text : variable.missingTexts) missing.push_back(text);
    if (variable.hasMissingRange) {
        ordered_json range = ordered_json::object();
        if (variable.missingLow != KWEL_Globals::sysmis())
            range["low"] = variable.missingLow;
        if (variable.missingHigh != std::numeric_limits<double>::max())
            range["high"] = variable.missingHigh;
        missing.push_back(range);
    }
    return missing;
}

std::string missingText(Variable const& variable) {
    std::string out;
    auto add = [&](std::string const& part) { out += (out.empty() ? "" : ", ") + part; };
    for (double value : variable.missingNumbers) add(numberText(value));
    for (auto const& text : variable.missingTexts) add("\"" + text + "\"");
    if (variable.hasMissingRange) {
        std::string const low =
            variable.missingLow == KWEL_Globals::sysmis() ? "LO" : numberText(variable.missingLow);
        std::string const high = variable.missingHigh == std::numeric_limits<double>::max()
                                     ? "HI"
                                     : numberText(variable.missingHigh);
        add(low + " THRU " + high);
    }
    return out;
}

std::string nameOf(Dataset const& dataset, int index) {
    return dataset.variables[static_cast<std::size_t>(index)]->hostData().name;
}

}  // namespace

std::string describeJson(Dataset const& dataset) {
    ordered_json root;
    root["cases"] = dataset.remote ? dataset.remote->caseCount() : dataset.cases;
    ordered_json variables = ordered_json::array();
    for (auto const& holder : dataset.variables) {
        auto const& variable = holder->hostData();
        ordered_json entry;
        entry["name"] = variable.name;
        entry["type"] = variable.width == 0 ? "numeric" : "string";
        entry["width"] = variable.width;
        entry["label"] = variable.hasLabel ? ordered_json(variable.label) : ordered_json(nullptr);
        entry["measure"] = measureName(variable.measure);
        entry["format"] = formatToString(variable.format, variable.width);
        ordered_json labels = ordered_json::array();
        if (variable.labels) {
            for (auto const& label : variable.labels->entries) {
                labels.push_back(ordered_json::array({labelValue(variable, label), label.label}));
            }
        }
        entry["valueLabels"] = std::move(labels);
        entry["missing"] = missingJson(variable);
        variables.push_back(std::move(entry));
    }
    root["variables"] = std::move(variables);
    root["weight"] =
        dataset.weight >= 0 ? ordered_json(nameOf(dataset, dataset.weight)) : ordered_json(nullptr);
    ordered_json split = ordered_json::array();
    for (int index : dataset.split) split.push_back(nameOf(dataset, index));
    root["split"] = std::move(split);
    ordered_json sets = ordered_json::array();
    for (auto const& set : dataset.sets) {
        ordered_json entry;
        entry["name"] = set.GetName(VariableSet::CHANGECASE_NONE);
        entry["type"] = set.GetType() == VariableSet::DICHOTOMY_SET ? "dichotomy" : "category";
        entry["label"] = set.GetLabel();
        entry["variables"] = set.GetVariableNames(VariableSet::CHANGECASE_NONE);
        if (set.GetType() == VariableSet::DICHOTOMY_SET)
            entry["countedValue"] = set.GetValue();
        sets.push_back(std::move(entry));
    }
    root["mrsets"] = std::move(sets);
    return root.dump(2, ' ', false, ordered_json::error_handler_t::replace) + "\n";
}

std::string describeText(Dataset const& dataset) {
    std::ostringstream out;
    out << "Cases: " << (dataset.remote ? dataset.remote->caseCount() : dataset.cases) << "\n";
    out << "Variables: " << dataset.variables.size() << "\n";
    for (auto const& holder : dataset.variables) {
        auto const& variable = holder->hostData();
        out << "  " << variable.name << "  "
            << (variable.width == 0 ? std::string("numeric")
                                    : "string(" + std::to_string(variable.width) + ")")
            << "  " << formatToString(variable.format, variable.width) << "  "
            << measureName(variable.measure);
        if (variable.hasLabel)
            out << "  \"" << variable.label << "\"";
        out << "\n";
        if (variable.labels && !variable.labels->entries.empty()) {
            out << "      value labels:";
            for (auto const& label : variable.labels->entries) {
                out << " "
                    << (variable.width == 0 ? numberText(label.number) : "\"" + label.text + "\"")
                    << " = \"" << label.label << "\"";
            }
            out << "\n";
        }
        std::string const missing = missingText(variable);
        if (!missing.empty())
            out << "      missing: " << missing << "\n";
    }
    out << "Weight: " << (dataset.weight >= 0 ? nameOf(dataset, dataset.weight) : "none") << "\n";
    out << "Split: ";
    if (dataset.split.empty())
        out << "none";
    for (std::size_t i = 0; i < dataset.split.size(); ++i) {
        out << (i ? " " : "") << nameOf(dataset, dataset.split[i]);
    }
    out << "\n";
    out << "Multiple-response sets: " << dataset.sets.size() << "\n";
    for (auto const& set : dataset.sets) {
        out << "  " << set.GetName(VariableSet::CHANGECASE_NONE) << "  "
            << (set.GetType() == VariableSet::DICHOTOMY_SET ? "dichotomy" : "category");
        if (set.GetType() == VariableSet::DICHOTOMY_SET)
            out << " (counted value " << set.GetValue() << ")";
        if (!set.GetLabel().empty())
            out << "  \"" << set.GetLabel() << "\"";
        out << "\n      variables:";
        for (auto const& name : set.GetVariableNames(VariableSet::CHANGECASE_NONE))
            out << " " << name;
        out << "\n";
    }
    return out.str();
}

int runDescribe(std::string const& dataPath, bool json, std::ostream& out, std::ostream& err,
                std::string const& dictionaryPath) {
    LoadResult result = loadSource(dataPath, dictionaryPath);
    for (auto const& message : result.messages) err << message.toString() << "\n";
    if (!result.ok())
        return 1;
    out << (json ? describeJson(*result.dataset) : describeText(*result.dataset));
    return 0;
}

}  // namespace host::dictionary
