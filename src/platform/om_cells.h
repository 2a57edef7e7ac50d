#pragma once
// Text cells with placeholders, for texts that end as labels rather than messages: a composite is
// made from a template cell, one cell per placeholder is added in the order ^1, ^2, ^3, End closes
// the list and Substitute fills the placeholders.

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

// The region that cells are made in. A cell registers with its region for its lifetime, so the
// region knows how many of its cells are alive; a null region is allowed.
class OmMemoryRegion {
public:
    OmMemoryRegion() = default;
    OmMemoryRegion(OmMemoryRegion const&) = delete;
    OmMemoryRegion& operator=(OmMemoryRegion const&) = delete;
    std::size_t LiveCells() const { return liveCells_; }

private:
    friend class OmCellText;
    std::size_t liveCells_ = 0;
};

// A parsed template; this host substitutes on the text and keeps no tree.
struct OmParseTreeNode;

class OmCellText {
public:
    explicit OmCellText(OmMemoryRegion* region);
    OmCellText(OmCellText const& other);
    OmCellText& operator=(OmCellText const&) = delete;
    virtual ~OmCellText();
    // The text as it reads now.
    virtual std::string GetText() const = 0;
    virtual std::unique_ptr<OmCellText> Clone() const = 0;

protected:
    OmMemoryRegion* region_;
};

class OmStringCell : public OmCellText {
public:
    // `fromTable` true: the text is a key of the message table and reads as the table's text;
    // false: the text is data and stands as it is.
    OmStringCell(std::string text, OmMemoryRegion* region, bool fromTable);
    std::string GetText() const override;
    std::unique_ptr<OmCellText> Clone() const override;

private:
    std::string text_;
    bool fromTable_;
};

class OmComposite : public OmCellText {
public:
    // The template is the text of `pattern` at the time of the call. `fromTable` marks the
    // composite as a text of the message table, as the template cell already is or is not; it
    // does not look the text up a second time.
    OmComposite(OmCellText const& pattern, OmMemoryRegion* region, bool fromTable);
    OmComposite(OmComposite const& other);
    ~OmComposite() override;

    // Adds the cell for the next placeholder; ignored after End.
    void Add(OmCellText const& cell);
    void End();
    // Replaces ^1..^9 by the added cells. A placeholder without a cell stays as written. `tree`
    // receives null: no parse tree is kept. Substituting before End is a no-op.
    void Substitute(OmParseTreeNode** tree, bool keepTree);
    // The template before Substitute, the filled text after it.
    std::string GetText() const override;
    std::unique_ptr<OmCellText> Clone() const override;
    bool FromTable() const { return fromTable_; }

private:
    std::string pattern_;
    std::string text_;
    bool fromTable_;
    bool ended_ = false;
    std::vector<std::unique_ptr<OmCellText>> parts_;
};
