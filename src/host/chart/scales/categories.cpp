#include "host/chart/scales/categories.h"

#include <algorithm>
#include <cstdlib>
#include <unordered_set>

namespace host::chart {

namespace {

bool allNumbers(std::vector<std::string> const& keys) {
    for (auto const& k : keys) {
        char* end = nullptr;
        std::strtod(k.c_str(), &end);
        if (k.empty() || *end != '\0')
            return false;
    }
    return true;
}

// An included value written differently from a numeric category it equals ("1.00" for the
// code 1) names that category, not a new one.
std::string sameCategory(std::string const& included, std::vector<std::string> const& values,
                         std::size_t observed) {
    char* end = nullptr;
    double n = std::strtod(included.c_str(), &end);
    if (included.empty() || *end != '\0')
        return included;
    for (std::size_t i = 0; i < observed; ++i) {
        std::string const& v = values[i];
        char* vend = nullptr;
        double m = std::strtod(v.c_str(), &vend);
        if (!v.empty() && *vend == '\0' && m == n)
            return v;
    }
    return included;
}

}  // namespace

int CatScale::index(std::string const& key) const {
    auto it = index_.find(key);
    return it == index_.end() ? -1 : it->second;
}

std::string CatScale::label(std::string const& key) const {
    auto it = labels.find(key);
    return it == labels.end() ? key : it->second;
}

void CatScale::reindex() {
    index_.clear();
    for (std::size_t i = 0; i < keys.size(); ++i) index_.try_emplace(keys[i], int(i));
}

CatScale trainCategories(std::vector<std::string> values, ChartVariableRecord const* var,
                         ScaleSpec const* scale, bool numeric,
                         std::map<std::string, double> const* byStatistic) {
    CatScale s;
    if (scale) {
        std::size_t observed = values.size();
        for (auto const& v : scale->includeValues)
            values.push_back(numeric ? sameCategory(v, values, observed) : v);
    }
    {
        std::unordered_set<std::string> distinct;
        std::vector<std::string> once;
        for (auto& v : values)
            if (distinct.insert(v).second)
                once.push_back(std::move(v));
        values = std::move(once);
    }
    numeric = numeric && allNumbers(values);
    if (scale && scale->sortData) {
        // as seen
    } else if (numeric) {
        std::vector<std::pair<double, std::string>> byValue;
        byValue.reserve(values.size());
        for (auto& v : values) byValue.emplace_back(std::strtod(v.c_str(), nullptr), std::move(v));
        std::stable_sort(byValue.begin(), byValue.end(),
                         [](auto const& a, auto const& b) { return a.first < b.first; });
        values.clear();
        for (auto& [n, v] : byValue) values.push_back(std::move(v));
    } else {
        std::sort(values.begin(), values.end());
    }
    if (byStatistic)
        std::stable_sort(values.begin(), values.end(), [&](auto const& a, auto const& b) {
            auto ia = byStatistic->find(a), ib = byStatistic->find(b);
            if (ib == byStatistic->end())
                return ia != byStatistic->end();
            return ia != byStatistic->end() && ia->second < ib->second;
        });
    if (scale && !scale->sortValues.empty()) {
        std::unordered_set<std::string> present(values.begin(), values.end()), placed;
        std::vector<std::string> ordered;
        for (auto const& v : scale->sortValues)
            if (present.count(v) && placed.insert(v).second)
                ordered.push_back(v);
        for (auto const& v : values)
            if (!placed.count(v))
                ordered.push_back(v);
        values = std::move(ordered);
    }
    if (scale && scale->reverse)
        std::reverse(values.begin(), values.end());
    s.keys = std::move(values);
    s.reindex();
    if (var)
        for (auto const& r : var->relabels) s.labels[r.value] = r.label;
    return s;
}

}  // namespace host::chart
