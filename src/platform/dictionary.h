#pragma once
// The dictionary of a dataset: data cells, print formats, value labels, variables and
// multiple-response sets. The host keeps the records; the command library reads them.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/dictionary_format.h"

// One 8-byte data cell. A numeric value fills one cell; a string value is its text, blank-padded
// over as many consecutive cells as its width needs (read it through a char pointer).
using OBS = double;

// Bytes per data cell, and the cells a string of `width` bytes occupies.
inline constexpr int kObsBytes = 8;
inline constexpr int ObsCellsForWidth(int width) {
    return width <= 8 ? 1 : (width + 7) / 8;
}

// Print format types. The values are fixed: the command library and the chart service compare
// with them.
enum FormatType {
    FMT_A = 1,  // string
    FMT_COMMA = 3,
    FMT_DOLLAR = 4,
    FMT_F = 5,
    FMT_E = 17,
    FMT_DATE = 20,
    FMT_TIME = 21,
    FMT_DATETIME = 22,
    FMT_ADATE = 23,
    FMT_JDATE = 24,
    FMT_DTIME = 25,
    FMT_WKDAY = 26,
    FMT_MONTH = 27,
    FMT_MOYR = 28,
    FMT_QYR = 29,
    FMT_WKYR = 30,
    FMT_PCT = 31,
    FMT_DOT = 32,
    FMT_CCA = 33,
    FMT_CCB = 34,
    FMT_CCC = 35,
    FMT_CCD = 36,
    FMT_CCE = 37,
    FMT_EDATE = 38,
    FMT_SDATE = 39,
    FMT_MTIME = 85,
    FMT_YMDHMS = 86,
};

// Packing and unpacking the print format word (KWEL_Format).
inline constexpr KWEL_Format KwelFormatPack(int type, int width, int decimals) {
    return static_cast<KWEL_Format>(((type & 0xff) << 16) | ((width & 0xff) << 8) |
                                    (decimals & 0xff));
}
inline constexpr int KwelFormatType(KWEL_Format format) {
    return (format >> 16) & 0xff;
}
inline constexpr int KwelFormatWidth(KWEL_Format format) {
    return (format >> 8) & 0xff;
}
inline constexpr int KwelFormatDecimals(KWEL_Format format) {
    return format & 0xff;
}

// Dictionary measurement levels.
enum KWEL_MeasurementLevel {
    MEASURE_UNKNOWN = 0,
    MEASURE_NOMINAL = 1,
    MEASURE_ORDINAL = 2,
    MEASURE_SCALE = 3,
};

class KWEL_Globals {
public:
    static double infinity();
    // The system-missing value: the lowest finite double.
    static double sysmis();
};

// The five custom currency formats (CCA..CCE, format types 33..37).
class currencyFormat {
public:
    // first: the prefix, second: the suffix. Index 0..4; any other index gives empty texts.
    static std::pair<std::string, std::string> const& GetCCX(int index);
    // Host side: set by the dictionary of the active dataset.
    static void SetCCX(int index, std::string prefix, std::string suffix);
};

// The value labels of one variable. A cheap handle: copies share the labels and each copy has
// its own cursor for Reset/GetNextPair. Label texts stay valid as long as the variable's labels
// are not replaced.
class KWEL_ValueLabelMap {
public:
    struct Data;  // defined by the host

    KWEL_ValueLabelMap();
    explicit KWEL_ValueLabelMap(std::shared_ptr<Data const> data);
    KWEL_ValueLabelMap(KWEL_ValueLabelMap const&);
    KWEL_ValueLabelMap& operator=(KWEL_ValueLabelMap const&);
    ~KWEL_ValueLabelMap();

    int Size() const;
    // Moves the cursor of GetNextPair to the first pair.
    void Reset();
    // The next pair (value cell, label), in the order the labels were defined; 0 at the end.
    int GetNextPair(OBS const*& cell, char const*& label);
    // Each gives the label, or null when the value has none. The text form compares a string
    // value without its trailing blanks, and reads a number for a numeric variable.
    char const* GetLabel(double const& value) const;
    char const* GetLabel(std::string const& text) const;
    char const* GetLabel(OBS const* cell) const;

private:
    std::shared_ptr<Data const> d_;
    std::size_t cursor_ = 0;
};

class KWEL_Variable {
public:
    struct Data;  // defined by the host

    explicit KWEL_Variable(std::unique_ptr<Data> data);
    ~KWEL_Variable();
    KWEL_Variable(KWEL_Variable const&) = delete;
    KWEL_Variable& operator=(KWEL_Variable const&) = delete;

    char const* GetName() const;
    // Null when the variable has no label.
    char const* GetLabel() const;
    // 0 for a numeric variable, otherwise the string's width in bytes.
    int GetType() const;
    KWEL_Format GetFormat() const;
    void GetFormatEx(FormatType& type, int& width, int& decimals) const;
    // One of KWEL_MeasurementLevel.
    int GetMeasurementLevel() const;
    // 1 when the cell holds the system-missing value or a user-missing value, else 0.
    int IsMissing(OBS const* cell) const;
    // Columns the value takes when shown: the width of a string, at least the name's length for
    // a number.
    int GetDisplayWidth() const;
    KWEL_ValueLabelMap GetValueLabels() const;

    // The host's record behind the variable.
    Data& hostData() { return *d_; }
    Data const& hostData() const { return *d_; }

private:
    std::unique_ptr<Data> d_;
};

class KWEL_DataSource;

// A multiple-response set of the dictionary.
class VariableSet {
public:
    // How names are given back: as defined, or in upper case.
    enum ChangeCase { CHANGECASE_UPPER = 0, CHANGECASE_NONE = 1, CHANGECASE_DISPLAY = 2 };
    enum SetType { CATEGORY_SET = 1, DICHOTOMY_SET = 2 };

    VariableSet(std::string name, int type, std::string label, std::vector<std::string> members,
                std::string countedValue, bool useCategoryLabels);

    std::string GetName(ChangeCase change) const;
    std::vector<std::string> GetVariableNames(ChangeCase change) const;
    // 1 a category set, 2 a dichotomy set.
    int GetType() const { return type_; }
    std::string const& GetLabel() const { return label_; }
    // The counted value of a dichotomy set as text; empty for a category set.
    std::string const& GetValue() const { return countedValue_; }
    bool qIsEnhancedDichotomy() const { return useCategoryLabels_ && type_ == DICHOTOMY_SET; }
    bool qUseVariableCategoryLabels() const { return useCategoryLabels_; }

private:
    std::string name_;
    int type_;
    std::string label_;
    std::vector<std::string> members_;
    std::string countedValue_;
    bool useCategoryLabels_;
};

// Which sets VariableSets lists.
enum VarSetsType { VARSETS_ALL = 0, VARSETS_MULTIPLE_RESPONSE = 1 };

// The sets of a data source, in the order of the dictionary.
class VariableSets : public std::vector<VariableSet> {
public:
    VariableSets(KWEL_DataSource const& source, VarSetsType type);
    VariableSets(KWEL_DataSource const& source, int type)
        : VariableSets(source, static_cast<VarSetsType>(type)) {}
};
