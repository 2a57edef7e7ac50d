#include "host/chart/frame/frame.h"

#include <cmath>
#include <set>
#include <unordered_map>

#include <fmt/format.h>

#include "host/chart/spec/chart_spec.h"
#include "platform/var_data_processor.h"

namespace host::chart {

namespace {

std::string const kNoKey;

// Codes for category keys, handed out as keys are first met.
class Coder {
public:
    explicit Coder(Column& c) : c_(c) {}
    std::int32_t code(std::string const& key) {
        auto [it, fresh] = index_.try_emplace(key, static_cast<std::int32_t>(c_.values.size()));
        if (fresh)
            c_.values.push_back(key);
        return it->second;
    }

private:
    Column& c_;
    std::unordered_map<std::string, std::int32_t> index_;
};

}  // namespace

std::string const& Column::key(std::size_t r) const {
    if (r >= codes.size() || codes[r] < 0)
        return kNoKey;
    return values[static_cast<std::size_t>(codes[r])];
}

std::optional<Column> DataView::column(std::string const& name, std::string& error,
                                       std::size_t maxCategories) const {
    ChartVariableRecord const* var = nullptr;
    for (auto const& v : model_.variables)
        if (v.name == name) {
            var = &v;
            break;
        }
    if (!var) {
        error = fmt::format("variable '{}' is not declared", name);
        return std::nullopt;
    }
    if (isComputedVariable(model_, *var))
        return derivedColumn(*var, error);
    Column c;
    c.var = var;
    c.categorical = var->categorical;
    std::string source = vdpSource(var->source);
    VarDataProcessor const* data = store(var->source, error);
    if (!data)
        return std::nullopt;
    int index = data->FindVariable(source, var->column);
    if (index < 0) {
        error = fmt::format("the rows of source '{}' have no column '{}' (variable '{}')", source,
                            var->column, name);
        return std::nullopt;
    }
    unsigned n = data->GetRowCount(source);
    // Codes only where they are needed: a million-row scale column has none.
    bool wantCodes = var->categorical || !var->notIn.empty();
    c.numbers.assign(n, kSysmis);
    c.missing.assign(n, 1);
    std::set<std::string> notIn(var->notIn.begin(), var->notIn.end());
    Coder coder(c);
    auto useCodes = [&] {
        if (!c.codes.empty())
            return;
        c.codes.assign(n, -1);
    };
    if (wantCodes)
        useCodes();
    for (unsigned r = 0; r < n; ++r) {
        auto kind = data->GetCellKind(source, index, r);
        if (kind == VarDataProcessor::CellKind::Number) {
            double v = data->GetNumber(source, index, r);
            if (!std::isfinite(v))
                continue;
            c.numbers[r] = v;
            c.missing[r] = 0;
            if (!c.codes.empty())
                c.codes[r] = coder.code(numberKey(v));
        } else if (kind == VarDataProcessor::CellKind::Text) {
            if (c.codes.empty()) {
                // A text column is always categorical: the numbers met so far get codes too.
                useCodes();
                for (unsigned k = 0; k < r; ++k)
                    if (!c.missing[k])
                        c.codes[k] = coder.code(numberKey(c.numbers[k]));
            }
            c.categorical = true;
            c.hasText = true;
            c.codes[r] = coder.code(data->GetText(source, index, r));
            c.missing[r] = 0;
        }
        if (!c.missing[r] && !notIn.empty() && notIn.count(c.key(r)))
            c.missing[r] = 1;
        if (c.values.size() > maxCategories && r + 1 < n) {
            c.tooManyCategories = true;  // no chart shows them: the rest is not worth reading
            break;
        }
    }
    return c;
}

std::string DataView::vdpSource(std::string const& gplSource) const {
    for (auto const& s : model_.sources)
        if (s.name == gplSource) {
            std::string id = s.id.empty() ? s.name : s.id;
            if (data_ && !data_->HasSource(id) && data_->HasSource(s.name))
                return s.name;
            return id;
        }
    return gplSource;
}

}  // namespace host::chart
