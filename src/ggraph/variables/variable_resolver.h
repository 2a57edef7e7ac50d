#pragma once
// Binds a name written in the command to the active dataset's dictionary: a single variable, or a
// multiple-response set (category or dichotomy set).

#include <memory>
#include <string>
#include <vector>

#include "platform/dictionary.h"

class KWEL_DataSource;
struct VariableResolverData;

// One label of a multiple-response set's values: a category set's value with its label, or a
// dichotomy set member's name with its label.
struct VariableResolverRelabelData {
    double value = 0.0;  // category sets only
    std::string name;    // local code page; dichotomy sets only
    std::string label;   // UTF-8
};

class VariableResolver {
public:
    enum VariableType {
        UNRESOLVED = 0,
        DICTIONARY_VARIABLE = 1,
        CATEGORY_SET = 2,
        DICHOTOMY_SET = 3
    };

    VariableResolver();
    ~VariableResolver();
    VariableResolver(VariableResolver const&) = delete;
    VariableResolver& operator=(VariableResolver const&) = delete;

    bool resolveVariable(KWEL_DataSource const* source, int index);
    // A dictionary variable wins over a set of the same name; only a name starting with '$'
    // is looked for among the sets.
    bool resolveVariable(KWEL_DataSource const* source, std::string const& name);

    int getVariableType() const;
    // A set's index lies past every dictionary index: ColumnCount() plus its position.
    int getVariableIndex() const;
    KWEL_Variable* getKWELVariable() const;
    // The set's label, or its name when the label is empty.
    std::string const& getMRSetName() const;
    // A dichotomy set's counted value in data-cell form, or null. `length` is 8 (bytes) for a
    // number, but the count of 8-byte cells for a string: the units differ on purpose.
    OBS const* getCountedValue(int& length) const;
    bool isEnhancedDichotomy() const;
    std::vector<int> getVariableIndexList() const;
    bool isString() const;
    unsigned getStringLength() const;

    // The value label (UTF-8) of a case value, given as a data cell or, without one, as text;
    // empty when there is none. For a dichotomy set the cell holds a member's name.
    std::string getValueLabel(std::string const& text, OBS const* cell) const;
    // The labels of a set's values, in order of first appearance; empty for anything else.
    std::vector<VariableResolverRelabelData> getMRSetRelabelData() const;

    // The resolver's data block, for the relabelling code of this folder.
    VariableResolverData& data() { return *d; }
    VariableResolverData const& data() const { return *d; }

private:
    std::unique_ptr<VariableResolverData> d;
};
