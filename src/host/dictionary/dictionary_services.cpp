// The platform's dictionary classes over the host's records.
#include "platform/dictionary.h"

#include <array>
#include <charconv>
#include <cstring>
#include <limits>
#include <string_view>

#include "host/dictionary/dataset.h"
#include "host/dictionary/number_text.h"

using host::dictionary::trimRight;

double KWEL_Globals::infinity() {
    return std::numeric_limits<double>::infinity();
}
double KWEL_Globals::sysmis() {
    return std::numeric_limits<double>::lowest();
}

namespace {

std::array<std::pair<std::string, std::string>, 5>& currencies() {
    static std::array<std::pair<std::string, std::string>, 5> table;
    return table;
}

}  // namespace

std::pair<std::string, std::string> const& currencyFormat::GetCCX(int index) {
    static std::pair<std::string, std::string> const none;
    if (index < 0 || index >= 5)
        return none;
    return currencies()[static_cast<std::size_t>(index)];
}

void currencyFormat::SetCCX(int index, std::string prefix, std::string suffix) {
    if (index < 0 || index >= 5)
        return;
    currencies()[static_cast<std::size_t>(index)] = {std::move(prefix), std::move(suffix)};
}

// ---- KWEL_ValueLabelMap

KWEL_ValueLabelMap::KWEL_ValueLabelMap() = default;
KWEL_ValueLabelMap::KWEL_ValueLabelMap(std::shared_ptr<Data const> data) : d_(std::move(data)) {}
KWEL_ValueLabelMap::KWEL_ValueLabelMap(KWEL_ValueLabelMap const&) = default;
KWEL_ValueLabelMap& KWEL_ValueLabelMap::operator=(KWEL_ValueLabelMap const&) = default;
KWEL_ValueLabelMap::~KWEL_ValueLabelMap() = default;

int KWEL_ValueLabelMap::Size() const {
    return d_ ? static_cast<int>(d_->entries.size()) : 0;
}

void KWEL_ValueLabelMap::Reset() {
    cursor_ = 0;
}

int KWEL_ValueLabelMap::GetNextPair(OBS const*& cell, char const*& label) {
    if (!d_ || cursor_ >= d_->entries.size())
        return 0;
    auto const& entry = d_->entries[cursor_++];
    cell = entry.cell.data();
    label = entry.label.c_str();
    return 1;
}

char const* KWEL_ValueLabelMap::GetLabel(double const& value) const {
    if (!d_)
        return nullptr;
    if (d_->width != 0)
        return nullptr;  // a number never labels a string
    for (auto const& entry : d_->entries) {
        if (entry.number == value)
            return entry.label.c_str();
    }
    return nullptr;
}

char const* KWEL_ValueLabelMap::GetLabel(std::string const& text) const {
    if (!d_)
        return nullptr;
    if (d_->width == 0) {
        double value = 0.0;
        return host::dictionary::numberFromText(text, value) ? GetLabel(value) : nullptr;
    }
    std::string const key = trimRight(text);
    for (auto const& entry : d_->entries) {
        if (entry.text == key)
            return entry.label.c_str();
    }
    return nullptr;
}

char const* KWEL_ValueLabelMap::GetLabel(OBS const* cell) const {
    if (!d_ || !cell)
        return nullptr;
    if (d_->width == 0)
        return GetLabel(*cell);
    return GetLabel(
        std::string(reinterpret_cast<char const*>(cell), static_cast<std::size_t>(d_->width)));
}

// ---- KWEL_Variable

KWEL_Variable::KWEL_Variable(std::unique_ptr<Data> data) : d_(std::move(data)) {}
KWEL_Variable::~KWEL_Variable() = default;

char const* KWEL_Variable::GetName() const {
    return d_->name.c_str();
}

char const* KWEL_Variable::GetLabel() const {
    return d_->hasLabel ? d_->label.c_str() : nullptr;
}

int KWEL_Variable::GetType() const {
    return d_->width;
}

KWEL_Format KWEL_Variable::GetFormat() const {
    return d_->format;
}

void KWEL_Variable::GetFormatEx(FormatType& type, int& width, int& decimals) const {
    type = static_cast<FormatType>(KwelFormatType(d_->format));
    // A string's format carries its full width, also past the 255 a packed word can hold.
    width = d_->width != 0 ? d_->width : KwelFormatWidth(d_->format);
    decimals = KwelFormatDecimals(d_->format);
}

int KWEL_Variable::GetMeasurementLevel() const {
    return d_->measure;
}

int KWEL_Variable::IsMissing(OBS const* cell) const {
    if (!cell)
        return 0;
    if (d_->width == 0) {
        double const value = *cell;
        if (value == KWEL_Globals::sysmis())
            return 1;
        for (double missing : d_->missingNumbers) {
            if (value == missing)
                return 1;
        }
        return d_->hasMissingRange && value >= d_->missingLow && value <= d_->missingHigh ? 1 : 0;
    }
    if (d_->missingTexts.empty())
        return 0;
    std::string const text = trimRight(
        std::string_view(reinterpret_cast<char const*>(cell), static_cast<std::size_t>(d_->width)));
    for (auto const& missing : d_->missingTexts) {
        if (missing == text)
            return 1;
    }
    return 0;
}

int KWEL_Variable::GetDisplayWidth() const {
    if (d_->width != 0)
        return d_->width;
    int const name = static_cast<int>(d_->name.size());
    return KwelFormatWidth(d_->format) > name ? KwelFormatWidth(d_->format) : name;
}

KWEL_ValueLabelMap KWEL_Variable::GetValueLabels() const {
    return KWEL_ValueLabelMap(d_->labels);
}

// ---- VariableSet

VariableSet::VariableSet(std::string name, int type, std::string label,
                         std::vector<std::string> members, std::string countedValue,
                         bool useCategoryLabels)
    : name_(std::move(name)),
      type_(type),
      label_(std::move(label)),
      members_(std::move(members)),
      countedValue_(std::move(countedValue)),
      useCategoryLabels_(useCategoryLabels) {}

std::string VariableSet::GetName(ChangeCase change) const {
    return change == CHANGECASE_UPPER ? host::dictionary::upper(name_) : name_;
}

std::vector<std::string> VariableSet::GetVariableNames(ChangeCase change) const {
    if (change != CHANGECASE_UPPER)
        return members_;
    std::vector<std::string> names;
    for (auto const& member : members_) names.push_back(host::dictionary::upper(member));
    return names;
}
