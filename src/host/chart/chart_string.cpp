#include "platform/chart_string.h"

#include <cmath>
#include <cstdio>
#include <string>

#include <utf8.h>

namespace {

std::u16string utf16FromBytes(std::string const& bytes) {
    std::string valid;
    valid.reserve(bytes.size());
    utf8::replace_invalid(bytes.begin(), bytes.end(), std::back_inserter(valid), 0xFFFD);
    std::u16string out;
    out.reserve(valid.size());
    utf8::utf8to16(valid.begin(), valid.end(), std::back_inserter(out));
    return out;
}

std::string formatNumber(double value, int digits) {
    if (std::isnan(value)) return "NaN";
    if (std::isinf(value)) return value > 0 ? "Infinity" : "-Infinity";
    if (value == std::floor(value) && std::fabs(value) < 1e15) {
        char buffer[32];
        std::snprintf(buffer, sizeof buffer, "%.0f", value);
        return buffer;
    }
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "%.*g", digits, value);
    return buffer;
}

}  // namespace

void ChartString::assignUTF8(std::string const& utf8) { text_ = utf16FromBytes(utf8); }

std::string ChartString::toUTF8() const {
    std::string out;
    out.reserve(text_.size());
    // Lone surrogates would make utf16to8 throw; replace them first.
    std::u16string clean;
    clean.reserve(text_.size());
    for (std::size_t i = 0; i < text_.size(); ++i) {
        char16_t c = text_[i];
        if (c >= 0xD800 && c <= 0xDBFF && i + 1 < text_.size() && text_[i + 1] >= 0xDC00 &&
            text_[i + 1] <= 0xDFFF) {
            clean += c;
            clean += text_[++i];
        } else if (c >= 0xD800 && c <= 0xDFFF) {
            clean += char16_t(0xFFFD);
        } else {
            clean += c;
        }
    }
    utf8::utf16to8(clean.begin(), clean.end(), std::back_inserter(out));
    return out;
}

unsigned short const* ChartString::xc_str() const {
    static_assert(sizeof(char16_t) == sizeof(unsigned short));
    return reinterpret_cast<unsigned short const*>(text_.c_str());
}

void ChartString::appendDouble(double value) { assignUTF8(toUTF8() + formatNumber(value, 15)); }

void ChartString::assignDouble(double value, unsigned int digits) {
    assignUTF8(formatNumber(value, static_cast<int>(digits == 0 ? 15 : digits)));
}

void ChartString::trimSpaces(bool both) {
    auto isBlank = [](char16_t c) { return c == u' ' || c == u'\t'; };
    while (!text_.empty() && isBlank(text_.back())) text_.pop_back();
    if (both) {
        std::size_t start = 0;
        while (start < text_.size() && isBlank(text_[start])) ++start;
        text_.erase(0, start);
    }
}

void ChartString::replaceSubstring(ChartString const& from, ChartString const& to) {
    if (from.text_.empty()) return;
    std::u16string out;
    std::size_t pos = 0;
    for (;;) {
        std::size_t hit = text_.find(from.text_, pos);
        if (hit == std::u16string::npos) break;
        out.append(text_, pos, hit - pos);
        out += to.text_;
        pos = hit + from.text_.size();
    }
    out.append(text_, pos, std::u16string::npos);
    text_ = std::move(out);
}

ChartString XUtility::ChartStringFromLocalCodePage(std::string const& text) {
    return ChartString(utf16FromBytes(text));
}

ChartString XUtility::ChartStringFromOLANG(std::string const& text) {
    return ChartString(utf16FromBytes(text));
}
