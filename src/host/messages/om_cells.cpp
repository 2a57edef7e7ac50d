// Label cells with placeholder substitution.
#include "platform/om_cells.h"

#include "host/messages/string_table.h"

OmCellText::OmCellText(OmMemoryRegion* region) : region_(region) {
    if (region_)
        ++region_->liveCells_;
}

OmCellText::OmCellText(OmCellText const& other) : OmCellText(other.region_) {}

OmCellText::~OmCellText() {
    if (region_)
        --region_->liveCells_;
}

OmStringCell::OmStringCell(std::string text, OmMemoryRegion* region, bool fromTable)
    : OmCellText(region), text_(std::move(text)), fromTable_(fromTable) {}

std::string OmStringCell::GetText() const {
    return fromTable_ ? host::messages::lookUp(text_) : text_;
}

std::unique_ptr<OmCellText> OmStringCell::Clone() const {
    return std::make_unique<OmStringCell>(*this);
}

OmComposite::OmComposite(OmCellText const& pattern, OmMemoryRegion* region, bool fromTable)
    : OmCellText(region), pattern_(pattern.GetText()), text_(pattern_), fromTable_(fromTable) {}

OmComposite::OmComposite(OmComposite const& other)
    : OmCellText(other),
      pattern_(other.pattern_),
      text_(other.text_),
      fromTable_(other.fromTable_),
      ended_(other.ended_) {
    for (auto const& part : other.parts_) parts_.push_back(part->Clone());
}

OmComposite::~OmComposite() = default;

void OmComposite::Add(OmCellText const& cell) {
    if (!ended_)
        parts_.push_back(cell.Clone());
}

void OmComposite::End() {
    ended_ = true;
}

void OmComposite::Substitute(OmParseTreeNode** tree, bool /*keepTree*/) {
    if (tree)
        *tree = nullptr;
    if (!ended_)
        return;
    std::string out;
    out.reserve(pattern_.size() + 32);
    for (std::size_t i = 0; i < pattern_.size(); ++i) {
        if (pattern_[i] == '^' && i + 1 < pattern_.size() && pattern_[i + 1] >= '1' &&
            pattern_[i + 1] <= '9') {
            std::size_t number = static_cast<std::size_t>(pattern_[i + 1] - '0');
            if (number <= parts_.size()) {
                out += parts_[number - 1]->GetText();
                ++i;
                continue;
            }
        }
        out += pattern_[i];
    }
    text_ = std::move(out);
}

std::string OmComposite::GetText() const {
    return text_;
}

std::unique_ptr<OmCellText> OmComposite::Clone() const {
    return std::make_unique<OmComposite>(*this);
}
