#include "host/maps/key_match.h"

#include <charconv>
#include <cmath>
#include <limits>
#include <set>

namespace host::maps {

std::string normalizeKey(std::string const& key) {
    std::string out;
    out.reserve(key.size());
    for (std::size_t i = 0; i < key.size(); ++i) {
        unsigned char c = static_cast<unsigned char>(key[i]);
        if (c == ' ' || c == '\t' || c == '\r' || c == '\n')
            continue;
        // A no-break space (U+00A0) is a blank too.
        if (c == 0xC2 && i + 1 < key.size() && static_cast<unsigned char>(key[i + 1]) == 0xA0) {
            ++i;
            continue;
        }
        out += (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : static_cast<char>(c);
    }
    // Integer codes compare by value: "06" is 6, and so is "6.0".
    double number = 0;
    auto [end, ec] = std::from_chars(out.data(), out.data() + out.size(), number);
    if (ec == std::errc() && end == out.data() + out.size() && !out.empty() &&
        std::isfinite(number) && number == std::floor(number) && std::fabs(number) < 1e15)
        return "#" + std::to_string(static_cast<long long>(number));
    return out;
}

bool sameKey(std::string const& a, std::string const& b) {
    return normalizeKey(a) == normalizeKey(b);
}

KeyIndex::KeyIndex(FeatureMap const& map, std::string const& keyProperty) {
    for (std::size_t i = 0; i < map.features.size(); ++i) {
        std::string const key = normalizeKey(featureKey(map.features[i], keyProperty));
        if (!key.empty())
            index_.emplace(key, static_cast<int>(i));  // the first feature of a key keeps it
    }
}

int KeyIndex::find(std::string const& key) const {
    auto it = index_.find(normalizeKey(key));
    return it == index_.end() ? -1 : it->second;
}

Join joinRows(FeatureMap const& map, KeyIndex const& index, std::vector<std::string> const& keys,
              std::vector<double> const& values) {
    Join join;
    join.value.assign(map.features.size(), std::numeric_limits<double>::quiet_NaN());
    join.rows.assign(map.features.size(), 0);
    std::set<std::string> reported;
    for (std::size_t r = 0; r < keys.size(); ++r) {
        int f = index.find(keys[r]);
        if (f < 0) {
            if (!keys[r].empty() && reported.insert(keys[r]).second)
                join.unmatched.push_back(keys[r]);
            continue;
        }
        ++join.rows[f];
        if (r < values.size())
            join.value[f] = values[r];
    }
    return join;
}

}  // namespace host::maps
