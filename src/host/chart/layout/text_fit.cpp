#include "host/chart/layout/text_fit.h"

#include <vector>

#include "platform/chart_string.h"

namespace host::chart {

namespace {

bool continuation(char c) {
    return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

// The byte length of the first `chars` characters of `s`.
std::size_t prefixBytes(std::string const& s, std::size_t chars) {
    std::size_t i = 0, n = 0;
    while (i < s.size() && n < chars) {
        ++i;
        while (i < s.size() && continuation(s[i])) ++i;
        ++n;
    }
    return i;
}

std::string capped(std::string const& s) {
    if (s.size() <= kMaxTextChars)
        return s;
    return s.substr(0, prefixBytes(s, kMaxTextChars));
}

}  // namespace

std::string cleanText(std::string const& s) {
    ChartString clean;
    clean.assignUTF8(capped(s));
    return clean.toUTF8();
}

TextSize measureText(std::string const& s, double size, TextMeasurer const& m, bool bold) {
    return m.measure(capped(s), size, bold);
}

std::string fitText(std::string const& text, double maxWidth, double size, TextMeasurer const& m,
                    bool bold) {
    std::string s = capped(text);
    if (s.size() == text.size() && m.measure(s, size, bold).width <= maxWidth)
        return s;
    // Character starts, so that a cut never splits one.
    std::vector<std::size_t> starts;
    for (std::size_t i = 0; i < s.size(); ++i)
        if (!continuation(s[i]))
            starts.push_back(i);
    starts.push_back(s.size());
    auto fits = [&](std::size_t chars) {
        return m.measure(s.substr(0, starts[chars]) + "…", size, bold).width <= maxWidth;
    };
    // The largest number of characters that fits, between `lo` (fits) and `hi` (does not).
    std::size_t lo = 0, hi = starts.size() - 1;
    if (fits(hi))
        return s.substr(0, starts[hi]) + "…";
    while (hi - lo > 1) {
        std::size_t mid = lo + (hi - lo) / 2;
        (fits(mid) ? lo : hi) = mid;
    }
    return s.substr(0, starts[lo]) + "…";
}

std::vector<std::string> wrapText(std::string const& text, double maxWidth, double size,
                                  TextMeasurer const& m, bool bold, std::size_t maxLines) {
    std::string s = capped(text);
    std::vector<std::string> lines;
    std::size_t from = 0;
    auto width = [&](std::size_t a, std::size_t b) {
        return m.measure(s.substr(a, b - a), size, bold).width;
    };
    while (from < s.size()) {
        while (from < s.size() && s[from] == ' ') ++from;
        if (from == s.size())
            break;
        if (lines.size() + 1 == maxLines || width(from, s.size()) <= maxWidth) {
            lines.push_back(fitText(s.substr(from), maxWidth, size, m, bold));
            break;
        }
        // The longest run of whole words that fits; a first word too long for the line
        // is shortened on it.
        std::size_t end = s.find(' ', from);
        if (end == std::string::npos || width(from, end) > maxWidth) {
            lines.push_back(fitText(s.substr(from, end == std::string::npos ? end : end - from),
                                    maxWidth, size, m, bold));
            from = end == std::string::npos ? s.size() : end;
            continue;
        }
        for (std::size_t next = s.find(' ', end + 1);; next = s.find(' ', next + 1)) {
            std::size_t stop = next == std::string::npos ? s.size() : next;
            if (width(from, stop) > maxWidth)
                break;
            end = stop;
            if (next == std::string::npos)
                break;
        }
        std::size_t last = end;
        while (last > from && s[last - 1] == ' ') --last;
        lines.push_back(s.substr(from, last - from));
        from = end;
    }
    return lines;
}

}  // namespace host::chart
