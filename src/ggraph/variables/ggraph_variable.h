#pragma once
// One variable of a graph data set: its resolver, its names (dictionary name and the name the
// chart's GPL knows it by), the level forced in the command, its labeling companion and its
// multiple-response parent.

#include <memory>
#include <string>

class VarDataProcessor;
class VariableResolver;

class GGraphVariable {
public:
    enum SYSVAR { SYSVAR_CASENUM = 0, SYSVAR_WEIGHT = 1 };
    // The values of GGraphDataSet::MEASUREMENT_LEVEL; 0 leaves the level to the dictionary.
    enum MEASUREMENT_LEVEL {
        UNSPECIFIED = 0,
        SCALE = 1,
        NOMINAL = 2,
        ORDINAL = 3,
        FLAG = 4,
        TYPELESS = 5
    };

    // Takes ownership of the resolver, which may be null.
    explicit GGraphVariable(VariableResolver* resolver);
    GGraphVariable(SYSVAR kind, VariableResolver* resolver);
    ~GGraphVariable();
    GGraphVariable(GGraphVariable const&) = delete;
    GGraphVariable& operator=(GGraphVariable const&) = delete;

    std::string const& GetGPLLabel() const;
    std::string const& GetUnicodeGPLLabel() const;
    std::string const& GetKWELName() const;
    std::string const& GetUnicodeKWELName() const;
    // The GPL name, or the dictionary name when no GPL name was given.
    std::string GetVariableName() const;
    std::string GetVariableUnicodeName() const;
    // The dictionary label, or the dictionary name when the variable has no label.
    std::string GetKWELLabel() const;
    void SetGPLLabel(std::string const& label);

    bool isCaseNumVariable() const;
    bool isWeightVariable() const;
    VariableResolver* getVariableResolver() const;
    void setMeasurmentLevel(MEASUREMENT_LEVEL level);
    MEASUREMENT_LEVEL getMeasurmentLevel() const;

    std::string& getLabelingVariable();
    // Names the companion "labelingVariable_<n>" from a counter shared by every variable of the
    // process, so that names never clash between data sets or runs.
    std::string& createLabelingVariable();

    bool isMRChild() const;
    std::string const& getMRParentName() const;
    void setMRParentName(std::string const& name);
    bool isString() const;

    // Adds this variable (and its labeling companion) as columns of `sourceName`; the values
    // below then go to those columns. False without a processor or a source name.
    bool addVDPVariable(VarDataProcessor* vdp, std::string const& sourceName);
    // Both false before addVDPVariable. The companion gets the value's label, or the value.
    bool setNumericValue(double value, unsigned int row);
    bool setStringValue(std::string const& text, unsigned int row);

    struct GGraphVariableData;

private:
    std::unique_ptr<GGraphVariableData> d;
};
