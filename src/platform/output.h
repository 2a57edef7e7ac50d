#pragma once
// Message cells and output tables: what a procedure puts into the output document.

#include <memory>
#include <string>
#include <vector>

// One text of the output. A cell built from a table key reads as the table's text.
class BpCellText {
public:
    virtual ~BpCellText();
    // The text as it will stand in the output.
    virtual std::string GetText() const = 0;
    virtual std::unique_ptr<BpCellText> Clone() const = 0;
};

class BpString : public BpCellText {
public:
    // `fromTable` true: the text is a key (or text) of the message table and is looked up;
    // false: the text is data and stands as it is.
    BpString(std::string text, bool fromTable);
    std::string GetText() const override;
    std::unique_ptr<BpCellText> Clone() const override;

private:
    std::string text_;
    bool fromTable_;
};

// A text with placeholders ^1, ^2, ... filled in order by Add.
class BpComposite : public BpCellText {
public:
    BpComposite(std::string const& text, bool fromTable);
    BpComposite(BpComposite const& other);
    ~BpComposite() override;
    void Add(BpCellText const& cell);
    void Finish();
    std::string GetText() const override;
    std::unique_ptr<BpCellText> Clone() const override;

private:
    std::string text_;
    bool fromTable_;
    std::vector<std::unique_ptr<BpCellText>> parts_;
};

class BpNumber : public BpCellText {
public:
    // `format` is one of BpHeading::NumberFormat.
    BpNumber(double value, int format);
    std::string GetText() const override;
    std::unique_ptr<BpCellText> Clone() const override;
    double value() const { return value_; }

private:
    double value_;
    int format_;
};

enum BpErrorShow { BP_SHOW_LOG = 1, BP_SHOW_OUTPUT = 2 };
enum BpErrorLevel { BP_LEVEL_NOTE = 1, BP_LEVEL_WARNING = 2, BP_LEVEL_ERROR = 3 };

// Puts a message into the output at its level (2 a warning, 3 an error).
void BpError(BpCellText const& text, BpErrorShow show, BpErrorLevel level);

class BpCategory;
class BpDimension;

// A pivot table in the output. The table is written into the document when it is made and
// filled in place by its dimensions and cells.
class BpPivotTable {
public:
    enum Sort { SORT_NONE = 0, SORT_ASCENDING = 1, SORT_AS_ENTERED = 2 };

    explicit BpPivotTable(int tableHandle);
    void MinDataColumnWidth(int width);
    void MaxDataColumnWidth(int width);
    void HideTitle();
    BpDimension Dimension(BpCellText const& name, Sort sort);
    int handle() const { return handle_; }

private:
    int handle_;
};

class BpGroup {
public:
    BpGroup(int tableHandle, std::vector<int> path);
    BpCategory Category(BpCellText const& label);
    BpGroup Group(BpCellText const& label);

protected:
    int table_;
    std::vector<int> path_;  // dimension index, then group indices
};

class BpDimension : public BpGroup {
public:
    enum Place { PLACE_ROW = 0, PLACE_COLUMN = 1, PLACE_LAYER = 2 };
    BpDimension(int tableHandle, int dimensionIndex);
    void Position(Place place, int order, bool showLabel, bool showCategories);
};

class BpCategory {
public:
    BpCategory(int tableHandle, std::vector<int> path);
    void Cell(BpCellText const& value);

private:
    int table_;
    std::vector<int> path_;
};

// A heading block of the output: everything emitted while it is open stands under it.
class BpHeading {
public:
    // Formats of BpNumber.
    enum NumberFormat { Count = 5, General = 0, Percent = 31 };

    virtual ~BpHeading();
    BpPivotTable PivotTable(BpCellText const& title, BpCellText const& subtype, bool visible);

protected:
    BpHeading() = default;
};

// The block of one procedure. Opened by the constructor, closed by the destructor.
class BpProcedure : public BpHeading {
public:
    BpProcedure(std::string title, int kind);
    ~BpProcedure() override;
    BpProcedure(BpProcedure const&) = delete;
    BpProcedure& operator=(BpProcedure const&) = delete;

private:
    int handle_;
};
