#include "host/messages/string_table.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace host::messages {
namespace {

struct Entry {
    std::string_view key;
    std::string_view text;
};

// Sorted by key.
constexpr Entry kTable[] = {
    {"DM Bin Count Smart Help",
     "The bin counts chart shows how many customers fall into each recency, frequency and "
     "monetary bin."},
    {"DM Heat Map Smart Help",
     "The heat map shows the mean monetary value for each combination of recency and frequency "
     "bins."},
    {"DM Histogram Smart Help",
     "The histograms show the distribution of recency, frequency and monetary values."},
    {"DM Scatterplot Smart Help",
     "The scatterplots show the relationships between recency, frequency and monetary values."},
};

}  // namespace

std::string lookUp(std::string const& key) {
    auto it = std::lower_bound(std::begin(kTable), std::end(kTable), key,
                               [](Entry const& e, std::string const& k) { return e.key < k; });
    if (it != std::end(kTable) && it->key == key) return std::string(it->text);
    return key;
}

}  // namespace host::messages
