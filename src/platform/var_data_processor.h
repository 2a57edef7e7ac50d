#pragma once
// VarDataProcessor, the row store of one chart: named sources, each a table of variables whose
// rows are numbered from 0. Numbers and texts (UTF-8) are stored per cell; a cell never written
// reads as missing.

#include <memory>
#include <string>
#include <vector>

class VarDataProcessor {
public:
    // A handle on one variable, filled by AddVariable so that values can be written without a
    // look-up by name. Created empty by the caller, which owns it.
    struct _varinfo {
        VarDataProcessor const* owner = nullptr;
        int source = -1;
        int variable = -1;
    };

    VarDataProcessor();
    ~VarDataProcessor();
    VarDataProcessor(VarDataProcessor const&) = delete;
    VarDataProcessor& operator=(VarDataProcessor const&) = delete;

    void AddDataSource(std::string const& source, unsigned int rowEstimate);
    // Adds a variable to a source (the source is made when it doesn't exist yet). When `info`
    // is given it is filled to stand for this variable.
    void AddVariable(std::string const& source, std::string const& name, _varinfo* info);
    void SetVariableValue(std::string const& source, std::string const& name, unsigned int row,
                          double value);
    void SetVariableValue(_varinfo* info, unsigned int row, double value);
    void SetStringVariableValue(std::string const& source, std::string const& name,
                                unsigned int row, std::string const& value);
    void SetStringVariableValue(_varinfo* info, unsigned int row, std::string const& value);
    // Drops the row in every variable of the source; the row number is free for the next case.
    void DeleteRow(std::string const& source, unsigned int row);
    int GetSourceNames(std::vector<std::string>& names) const;
    // Joins the other's sources into this one; rows of a source present in both are appended.
    void AddVDP(VarDataProcessor& other);

    // Reading, for the chart engine.
    enum class CellKind { Missing, Number, Text };
    bool HasSource(std::string const& source) const;
    std::vector<std::string> GetVariableNames(std::string const& source) const;
    unsigned int GetRowCount(std::string const& source) const;
    // -1 when the source or the variable doesn't exist.
    int FindVariable(std::string const& source, std::string const& name) const;
    CellKind GetCellKind(std::string const& source, int variable, unsigned int row) const;
    double GetNumber(std::string const& source, int variable, unsigned int row) const;
    std::string GetText(std::string const& source, int variable, unsigned int row) const;

private:
    struct Data;
    std::unique_ptr<Data> d;
};
