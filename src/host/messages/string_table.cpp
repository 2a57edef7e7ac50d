#include "host/messages/string_table.h"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>

namespace host::messages {
namespace {

struct Entry {
    std::string_view key;
    std::string_view text;
};

// Sorted by key, byte for byte (checked below). The command library's own message texts are not
// keys here: they stand in the output as the library words them. The table holds the texts of
// codes and of keys that name a longer text.
// Placeholders ^1, ^2 stay in the text for BpComposite to fill.
constexpr Entry kEntries[] = {
    {"DM Bin Count Smart Help",
     "This chart shows how many customers fall into each combination of recency, frequency and "
     "monetary scores. Each bar counts the customers of one RFM bin. The bins should hold roughly "
     "equal numbers of customers; large differences mean that the scores do not divide the "
     "customers evenly, which happens when many customers share the same values."},
    {"DM Heat Map Smart Help",
     "This heat map shows the mean monetary value for each combination of recency and frequency "
     "scores. Darker cells stand for a higher average spending. The cells where recent and "
     "frequent customers also spend the most mark the most valuable customers."},
    {"DM Histogram Smart Help",
     "These histograms show the distribution of the three fields that the RFM scores are computed "
     "from: recency, frequency and monetary value. Skewed distributions are common. A field with "
     "few distinct values cannot be divided evenly into the requested number of bins."},
    {"DM Scatterplot Smart Help",
     "These scatterplots show the relationship of each pair of recency, frequency and monetary "
     "value. A strong relationship between two fields means that their scores carry much the same "
     "information. Points far from the main cloud are outliers that may deserve a closer look."},
    {"E60703", "Percent"},
    {"E60712", "Missing"},
    {"E60801", "Value"},
    {"E60868", "Count"},
    {"E60873", "Sum"},
    {"E60877", "Variance"},
    {"E60878", "Median"},
    {"E60879", "Mode"},
    {"E60892", "Group Median"},
    {"E703",
     "The first variable of a TO range stands after the last one in the file. Name the variables "
     "of a range in file order."},
    {"StdDev", "Std. Deviation"},
};

constexpr bool sortedByKey() {
    for (std::size_t i = 1; i < std::size(kEntries); ++i)
        if (!(kEntries[i - 1].key < kEntries[i].key))
            return false;
    return true;
}
static_assert(sortedByKey(), "string table keys must be sorted and unique");

Entry const* find(std::string_view key) {
    auto it = std::lower_bound(std::begin(kEntries), std::end(kEntries), key,
                               [](Entry const& e, std::string_view k) { return e.key < k; });
    if (it == std::end(kEntries) || it->key != key)
        return nullptr;
    return it;
}

struct HostError {
    std::int64_t number;
    std::string_view text;
};

constexpr HostError kHostErrors[] = {
    {99,
     "BEGIN GPL must follow a GGRAPH command: this block has no GGRAPH command before it and is "
     "skipped."},
};

}  // namespace

std::string lookUp(std::string const& key) {
    if (auto const* entry = find(key))
        return std::string(entry->text);
    return key;
}

bool hasEntry(std::string_view key) {
    return find(key) != nullptr;
}

std::string hostErrorText(std::int64_t number) {
    for (auto const& error : kHostErrors)
        if (error.number == number)
            return std::string(error.text);
    return "Host error " + std::to_string(number) + " was reported; it has no text of its own.";
}

}  // namespace host::messages
