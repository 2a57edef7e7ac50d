#pragma once
// The texts and labels of raw case values that a chart shows: one record per value that an
// unaggregated pass met, read back when the chart is completed.

#include <memory>
#include <string>
#include <vector>

#include "platform/dictionary.h"

class VariableResolver;

class RelabelString {
public:
    struct RelabelCaseValueStringData {
        double value = 0.0;  // what stands for the case in the chart's data
        std::string text;    // the case's value as text
        std::string label;   // its value label, UTF-8; empty when there is none
        int index = 0;       // the summary variable's index
    };

    RelabelString();
    ~RelabelString();
    RelabelString(RelabelString const&) = delete;
    RelabelString& operator=(RelabelString const&) = delete;

    // Appends a record; nothing is deduplicated here.
    void AddCaseValueRelabel(double value, OBS* cell, int index, VariableResolver const* resolver);
    // The n-th record (from 0) of the variable `index`; false when there is none, and the
    // arguments stay as they are.
    bool getCaseValueRelabelContent(int index, unsigned int n, double& value, std::string& text,
                                    std::string& label) const;

private:
    struct RelabelStringData;
    std::unique_ptr<RelabelStringData> d;
};

// An exported class that nothing in the command library makes; its adders do nothing.
class Mark {
public:
    explicit Mark(std::string const& name);
    ~Mark();
    void addValue(double value);
    void addValue(std::string const& value);

private:
    std::vector<double> values_;
    std::vector<std::string> texts_;
    std::string name_;
    std::string second_;
};
