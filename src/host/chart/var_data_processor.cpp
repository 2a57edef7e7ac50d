#include "platform/var_data_processor.h"

#include <algorithm>
#include <cstdint>
#include <limits>

namespace {

constexpr double kSysmis = -std::numeric_limits<double>::max();

using CellKind = VarDataProcessor::CellKind;

struct Column {
    std::string name;
    std::vector<double> numbers;  // kSysmis: missing (or a text)
    // Kept empty until the first text arrives: a column of numbers (nearly every column of a
    // big chart) says what each cell is by its number alone.
    std::vector<std::uint8_t> kinds;  // CellKind per row
    std::vector<std::string> texts;

    std::size_t size() const { return numbers.size(); }
    CellKind kind(std::size_t row) const {
        if (row >= numbers.size())
            return CellKind::Missing;
        if (!kinds.empty())
            return static_cast<CellKind>(kinds[row]);
        return numbers[row] == kSysmis ? CellKind::Missing : CellKind::Number;
    }
    void grow(std::size_t rows) {
        if (numbers.size() < rows) {
            numbers.resize(rows, kSysmis);
            if (!kinds.empty())
                kinds.resize(rows, std::uint8_t(CellKind::Missing));
            if (!texts.empty())
                texts.resize(rows);
        }
    }
    void useKinds() {
        if (!kinds.empty() || numbers.empty())
            return;
        std::vector<std::uint8_t> made(numbers.size());
        for (std::size_t r = 0; r < numbers.size(); ++r) made[r] = std::uint8_t(kind(r));
        kinds = std::move(made);
    }
};

struct Source {
    std::string name;
    std::vector<Column> columns;
    std::size_t rows = 0;
    std::size_t estimate = 0;
};

}  // namespace

struct VarDataProcessor::Data {
    std::vector<Source> sources;

    int findSource(std::string const& name) const {
        for (std::size_t i = 0; i < sources.size(); ++i)
            if (sources[i].name == name)
                return static_cast<int>(i);
        return -1;
    }
    Source& source(std::string const& name) {
        int i = findSource(name);
        if (i >= 0)
            return sources[static_cast<std::size_t>(i)];
        sources.push_back(Source{name, {}, 0, 0});
        return sources.back();
    }
    static int findColumn(Source const& s, std::string const& name) {
        for (std::size_t i = 0; i < s.columns.size(); ++i)
            if (s.columns[i].name == name)
                return static_cast<int>(i);
        return -1;
    }
    static Column& column(Source& s, std::string const& name) {
        int i = findColumn(s, name);
        if (i >= 0)
            return s.columns[static_cast<std::size_t>(i)];
        Column c;
        c.name = name;
        if (s.estimate)
            c.numbers.reserve(s.estimate);
        s.columns.push_back(std::move(c));
        return s.columns.back();
    }
    static void setNumber(Source& s, Column& c, unsigned int row, double value) {
        c.grow(std::size_t(row) + 1);
        if (!c.kinds.empty())
            c.kinds[row] = std::uint8_t(value == kSysmis ? CellKind::Missing : CellKind::Number);
        c.numbers[row] = value;
        if (!c.texts.empty())
            c.texts[row].clear();
        s.rows = std::max(s.rows, std::size_t(row) + 1);
    }
    static void setText(Source& s, Column& c, unsigned int row, std::string const& value) {
        c.grow(std::size_t(row) + 1);
        c.useKinds();
        if (c.texts.size() < c.size())
            c.texts.resize(c.size());
        c.kinds[row] = std::uint8_t(CellKind::Text);
        c.numbers[row] = kSysmis;
        c.texts[row] = value;
        s.rows = std::max(s.rows, std::size_t(row) + 1);
    }
    Column const* columnAt(std::string const& source, int variable) const {
        int s = findSource(source);
        if (s < 0 || variable < 0)
            return nullptr;
        auto const& cols = sources[std::size_t(s)].columns;
        return std::size_t(variable) < cols.size() ? &cols[std::size_t(variable)] : nullptr;
    }
};

VarDataProcessor::VarDataProcessor() : d(std::make_unique<Data>()) {}
VarDataProcessor::~VarDataProcessor() = default;

void VarDataProcessor::AddDataSource(std::string const& source, unsigned int rowEstimate) {
    d->source(source).estimate = std::min<unsigned int>(rowEstimate, 1u << 20);
}

void VarDataProcessor::AddVariable(std::string const& source, std::string const& name,
                                   _varinfo* info) {
    Source& s = d->source(source);
    Data::column(s, name);
    if (info) {
        info->owner = this;
        info->source = d->findSource(source);
        info->variable = Data::findColumn(s, name);
    }
}

void VarDataProcessor::SetVariableValue(std::string const& source, std::string const& name,
                                        unsigned int row, double value) {
    Source& s = d->source(source);
    Data::setNumber(s, Data::column(s, name), row, value);
}

void VarDataProcessor::SetVariableValue(_varinfo* info, unsigned int row, double value) {
    // A record that was never added here has nowhere to go.
    if (!info || info->owner != this || info->source < 0)
        return;
    Source& s = d->sources[std::size_t(info->source)];
    Data::setNumber(s, s.columns[std::size_t(info->variable)], row, value);
}

void VarDataProcessor::SetStringVariableValue(std::string const& source, std::string const& name,
                                              unsigned int row, std::string const& value) {
    Source& s = d->source(source);
    Data::setText(s, Data::column(s, name), row, value);
}

void VarDataProcessor::SetStringVariableValue(_varinfo* info, unsigned int row,
                                              std::string const& value) {
    if (!info || info->owner != this || info->source < 0)
        return;
    Source& s = d->sources[std::size_t(info->source)];
    Data::setText(s, s.columns[std::size_t(info->variable)], row, value);
}

void VarDataProcessor::DeleteRow(std::string const& source, unsigned int row) {
    int i = d->findSource(source);
    if (i < 0)
        return;
    Source& s = d->sources[std::size_t(i)];
    for (Column& c : s.columns) {
        if (row < c.size()) {
            if (!c.kinds.empty())
                c.kinds[row] = std::uint8_t(CellKind::Missing);
            c.numbers[row] = kSysmis;
            if (!c.texts.empty())
                c.texts[row].clear();
        }
    }
    // A deleted last row no longer counts; the pass writes the next case there.
    if (std::size_t(row) + 1 == s.rows)
        s.rows = row;
}

int VarDataProcessor::GetSourceNames(std::vector<std::string>& names) const {
    names.clear();
    for (auto const& s : d->sources) names.push_back(s.name);
    return static_cast<int>(names.size());
}

void VarDataProcessor::AddVDP(VarDataProcessor& other) {
    if (&other == this)
        return;
    for (Source const& from : other.d->sources) {
        bool existed = d->findSource(from.name) >= 0;
        Source& to = d->source(from.name);
        std::size_t offset = existed ? to.rows : 0;
        for (Column const& c : from.columns) {
            Column& target = Data::column(to, c.name);
            for (std::size_t r = 0; r < c.size() && r < from.rows; ++r) {
                auto row = static_cast<unsigned int>(offset + r);
                if (c.kind(r) == CellKind::Text)
                    Data::setText(to, target, row, c.texts[r]);
                else if (c.kind(r) == CellKind::Number)
                    Data::setNumber(to, target, row, c.numbers[r]);
            }
        }
        to.rows = std::max(to.rows, offset + from.rows);
    }
}

bool VarDataProcessor::HasSource(std::string const& source) const {
    return d->findSource(source) >= 0;
}

std::vector<std::string> VarDataProcessor::GetVariableNames(std::string const& source) const {
    std::vector<std::string> out;
    int i = d->findSource(source);
    if (i >= 0)
        for (auto const& c : d->sources[std::size_t(i)].columns) out.push_back(c.name);
    return out;
}

unsigned int VarDataProcessor::GetRowCount(std::string const& source) const {
    int i = d->findSource(source);
    return i < 0 ? 0 : static_cast<unsigned int>(d->sources[std::size_t(i)].rows);
}

int VarDataProcessor::FindVariable(std::string const& source, std::string const& name) const {
    int i = d->findSource(source);
    return i < 0 ? -1 : Data::findColumn(d->sources[std::size_t(i)], name);
}

VarDataProcessor::CellKind VarDataProcessor::GetCellKind(std::string const& source, int variable,
                                                         unsigned int row) const {
    Column const* c = d->columnAt(source, variable);
    return c ? c->kind(row) : CellKind::Missing;
}

double VarDataProcessor::GetNumber(std::string const& source, int variable,
                                   unsigned int row) const {
    Column const* c = d->columnAt(source, variable);
    if (!c || row >= c->numbers.size())
        return kSysmis;
    return c->numbers[row];
}

std::string VarDataProcessor::GetText(std::string const& source, int variable,
                                      unsigned int row) const {
    Column const* c = d->columnAt(source, variable);
    if (!c || row >= c->texts.size())
        return {};
    return c->texts[row];
}
