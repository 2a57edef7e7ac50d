// Message cells and BpError: the texts a procedure reports, with placeholders filled.
#include <cmath>
#include <cstdio>

#include "host/messages/string_table.h"
#include "host/output/document.h"
#include "platform/output.h"

BpCellText::~BpCellText() = default;

BpString::BpString(std::string text, bool fromTable) : text_(std::move(text)), fromTable_(fromTable) {}

std::string BpString::GetText() const {
    return fromTable_ ? host::messages::lookUp(text_) : text_;
}

std::unique_ptr<BpCellText> BpString::Clone() const { return std::make_unique<BpString>(*this); }

BpComposite::BpComposite(std::string const& text, bool fromTable)
    : text_(text), fromTable_(fromTable) {}

BpComposite::BpComposite(BpComposite const& other) : text_(other.text_), fromTable_(other.fromTable_) {
    for (auto const& part : other.parts_) parts_.push_back(part->Clone());
}

BpComposite::~BpComposite() = default;

void BpComposite::Add(BpCellText const& cell) { parts_.push_back(cell.Clone()); }

void BpComposite::Finish() {}

std::string BpComposite::GetText() const {
    std::string pattern = fromTable_ ? host::messages::lookUp(text_) : text_;
    std::string out;
    out.reserve(pattern.size() + 32);
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        if (pattern[i] == '^' && i + 1 < pattern.size() && pattern[i + 1] >= '1' &&
            pattern[i + 1] <= '9') {
            std::size_t j = i + 1;
            std::size_t number = 0;
            while (j < pattern.size() && pattern[j] >= '0' && pattern[j] <= '9' && number < 100) {
                number = number * 10 + static_cast<std::size_t>(pattern[j] - '0');
                ++j;
            }
            if (number >= 1 && number <= parts_.size()) {
                out += parts_[number - 1]->GetText();
                i = j - 1;
                continue;
            }
        }
        out += pattern[i];
    }
    return out;
}

std::unique_ptr<BpCellText> BpComposite::Clone() const { return std::make_unique<BpComposite>(*this); }

BpNumber::BpNumber(double value, int format) : value_(value), format_(format) {}

std::string BpNumber::GetText() const {
    char buffer[64];
    if (!std::isfinite(value_)) return std::isnan(value_) ? "." : (value_ > 0 ? "Infinity" : "-Infinity");
    switch (format_) {
        case BpHeading::Count:
            std::snprintf(buffer, sizeof buffer, "%.0f", value_);
            break;
        case BpHeading::Percent:
            std::snprintf(buffer, sizeof buffer, "%.1f%%", value_);
            break;
        default:
            std::snprintf(buffer, sizeof buffer, "%.15g", value_);
            break;
    }
    return buffer;
}

std::unique_ptr<BpCellText> BpNumber::Clone() const { return std::make_unique<BpNumber>(*this); }

void BpError(BpCellText const& text, BpErrorShow show, BpErrorLevel level) {
    (void)show;  // every message goes to the output document and, through its sinks, the console
    host::output::current().addMessage(static_cast<int>(level), text.GetText());
}
