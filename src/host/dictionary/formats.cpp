#include "host/dictionary/formats.h"

#include <array>
#include <charconv>

#include "host/dictionary/dataset.h"

namespace host::dictionary {

namespace {

struct FormatName {
    char const* name;
    int type;
};

// The first name of a type is the one written back.
constexpr std::array<FormatName, 31> kFormatNames{{
    {"A", FMT_A},         {"COMMA", FMT_COMMA},  {"DOLLAR", FMT_DOLLAR}, {"F", FMT_F},
    {"E", FMT_E},         {"DATE", FMT_DATE},    {"TIME", FMT_TIME},     {"DATETIME", FMT_DATETIME},
    {"ADATE", FMT_ADATE}, {"JDATE", FMT_JDATE},  {"DTIME", FMT_DTIME},   {"WKDAY", FMT_WKDAY},
    {"MONTH", FMT_MONTH}, {"MOYR", FMT_MOYR},    {"QYR", FMT_QYR},       {"WKYR", FMT_WKYR},
    {"PCT", FMT_PCT},     {"DOT", FMT_DOT},      {"CCA", FMT_CCA},       {"CCB", FMT_CCB},
    {"CCC", FMT_CCC},     {"CCD", FMT_CCD},      {"CCE", FMT_CCE},       {"EDATE", FMT_EDATE},
    {"SDATE", FMT_SDATE}, {"MTIME", FMT_MTIME},  {"YMDHMS", FMT_YMDHMS}, {"NUMBER", FMT_F},
    {"PERCENT", FMT_PCT}, {"SCIENTIFIC", FMT_E}, {"STRING", FMT_A},
}};

}  // namespace

int formatTypeByName(std::string_view name) {
    for (auto const& entry : kFormatNames) {
        if (equalsNoCase(entry.name, name))
            return entry.type;
    }
    return 0;
}

std::string formatTypeName(int type) {
    for (auto const& entry : kFormatNames) {
        if (entry.type == type)
            return entry.name;
    }
    return "?";
}

std::string formatToString(KWEL_Format format, int width) {
    std::string out = formatTypeName(KwelFormatType(format));
    out += std::to_string(width > 0 ? width : KwelFormatWidth(format));
    if (KwelFormatType(format) != FMT_A && KwelFormatDecimals(format) > 0) {
        out += '.' + std::to_string(KwelFormatDecimals(format));
    }
    return out;
}

bool parseFormat(std::string_view text, int& type, int& width, int& decimals) {
    std::size_t letters = 0;
    while (letters < text.size() && ((text[letters] >= 'A' && text[letters] <= 'Z') ||
                                     (text[letters] >= 'a' && text[letters] <= 'z'))) {
        ++letters;
    }
    type = formatTypeByName(text.substr(0, letters));
    if (type == 0 || letters == text.size())
        return false;
    char const* p = text.data() + letters;
    char const* const end = text.data() + text.size();
    auto r = std::from_chars(p, end, width);
    if (r.ec != std::errc() || width <= 0)
        return false;
    decimals = 0;
    if (r.ptr < end && *r.ptr == '.') {
        r = std::from_chars(r.ptr + 1, end, decimals);
        if (r.ec != std::errc() || decimals < 0)
            return false;
    }
    if (r.ptr != end)
        return false;
    if (type != FMT_A && (width > 40 || decimals > 16 || decimals >= width))
        return false;
    return true;
}

bool formatFitsVariable(int type, bool numeric) {
    return numeric ? type != FMT_A : type == FMT_A;
}

}  // namespace host::dictionary
