#include "host/dictionary/number_text.h"

#include <cmath>
#include <system_error>

#include <fast_float/fast_float.h>

namespace host::dictionary {

bool numberFromText(std::string_view text, double& value) {
    while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
    while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) text.remove_suffix(1);
    if (!text.empty() && text.front() == '+') {
        text.remove_prefix(1);
        if (!text.empty() && text.front() == '-')
            return false;  // one sign only
    }
    if (text.empty())
        return false;
    double read = 0.0;
    auto const result = fast_float::from_chars(text.data(), text.data() + text.size(), read);
    if (result.ec != std::errc() || result.ptr != text.data() + text.size() || !std::isfinite(read))
        return false;
    value = read;
    return true;
}

}  // namespace host::dictionary
