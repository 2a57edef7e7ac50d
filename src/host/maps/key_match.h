#pragma once
// Joining rows to map features through their keys: names match without regard to case and
// blanks ("New York", "newyork", "NEW YORK"), and numeric codes match by value ("06" and 6).

#include <string>
#include <unordered_map>
#include <vector>

#include "host/maps/geojson.h"

namespace host::maps {

// The form in which two keys are compared.
std::string normalizeKey(std::string const& key);
bool sameKey(std::string const& a, std::string const& b);

class KeyIndex {
public:
    // Indexes every feature of the map under its key (`keyProperty`, see featureKey).
    KeyIndex(FeatureMap const& map, std::string const& keyProperty);
    // The feature a key names; -1 when none does.
    int find(std::string const& key) const;

private:
    std::unordered_map<std::string, int> index_;
};

// Values per feature, from rows of keys and values.
struct Join {
    std::vector<double> value;           // per feature; NaN where no row named it
    std::vector<int> rows;               // per feature: how many rows named it
    std::vector<std::string> unmatched;  // keys of rows that named no feature, each once
};

// When several rows name one feature, the last row's value stands.
Join joinRows(FeatureMap const& map, KeyIndex const& index, std::vector<std::string> const& keys,
              std::vector<double> const& values);

}  // namespace host::maps
