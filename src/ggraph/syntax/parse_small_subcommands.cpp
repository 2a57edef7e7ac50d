// FITLINE, FRAME, GRIDLINES, DESCRIPTION and COLORCYCLE: small keyword loops that set options of
// the whole command.
#include <algorithm>
#include <set>
#include <sstream>

#include "ggraph/syntax/ggraph_parser_data.h"
#include "platform/host_procedure.h"

using ggraph::isKeyword;
using Settings = GGraphSettings;

namespace {

constexpr auto kEquals = TokenSequenceBase::OP_EQUALS;

}  // namespace

bool GGraphParser::GGraphParserData::HandleFitlineSubCmd(SubComObj const* sub, int start) {
    std::string const name = "FITLINE";
    int const end = sub->getTokenListSize();
    if (end == start) return IncompleteSubcommand(name);
    enum { kKeyword, kTotal, kSubgroup } state = kKeyword;
    bool seenTotal = false, seenSubgroup = false;
    for (int cursor = start; cursor < end; ++cursor) {
        TokenInfoObj const* token = sub->getTokenObj(cursor);
        if (state == kKeyword) {
            if (token->IsLiteral()) return UnknownKeyword(name, token->getString());
            bool total = isKeyword(token, "TOTAL");
            if (!total && !isKeyword(token, "SUBGROUP")) return UnknownKeyword(name, token->getString());
            bool& seen = total ? seenTotal : seenSubgroup;
            if (seen) return DuplicateAttribute(name, token->getString());
            seen = true;
            if (!IsThisNextOperator(cursor, end, sub, kEquals))
                return MissingTrailingEqual(name, token->getString());
            ++cursor;
            state = total ? kTotal : kSubgroup;
            continue;
        }
        if (isKeyword(token, "YES")) {
            if (state == kTotal) settings.addTotalFit();
            else settings.addSubgroupFit();
        } else if (!isKeyword(token, "NO")) {
            // Reported, but the handler goes on and may still succeed: intended.
            (void)UnknownKeyword(name, token->getString());
        }
        state = kKeyword;
    }
    if (state != kKeyword) {
        (void)IncompleteSubcommand(name);
        return false;
    }
    return true;
}

namespace {

// FRAME and GRIDLINES share one shape: two keywords, YES or NO each, both set at the end.
struct PairSubcommand {
    char const* name;
    char const* first;
    char const* second;
    void (Settings::*setFirst)(Settings::GGRAPH_TEMPL_PARAM_ACT);
    void (Settings::*setSecond)(Settings::GGRAPH_TEMPL_PARAM_ACT);
};

constexpr PairSubcommand kFrame{"FRAME", "OUTER", "INNER", &Settings::SetOuterFrame,
                                &Settings::SetInnerFrame};
constexpr PairSubcommand kGridlines{"GRIDLINES", "XAXIS", "YAXIS", &Settings::SetXAxisGridlines,
                                    &Settings::SetYAxisGridlines};

}  // namespace

static bool handlePair(GGraphParser::GGraphParserData& p, PairSubcommand const& form,
                       SubComObj const* sub, int start) {
    std::string const name = form.name;
    int const end = sub->getTokenListSize();
    if (end == start) return p.IncompleteSubcommand(name);
    int state = 0;  // 0 keyword, 1 first value, 2 second value
    Settings::GGRAPH_TEMPL_PARAM_ACT values[2] = {Settings::TEMPL_PARAM_DEFAULT,
                                                  Settings::TEMPL_PARAM_DEFAULT};
    bool seen[2] = {false, false};
    for (int cursor = start; cursor < end; ++cursor) {
        TokenInfoObj const* token = sub->getTokenObj(cursor);
        if (state == 0) {
            if (token->IsLiteral()) return p.UnknownKeyword(name, token->getString());
            int which = isKeyword(token, form.first) ? 0 : isKeyword(token, form.second) ? 1 : -1;
            if (which < 0) return p.UnknownKeyword(name, token->getString());
            if (seen[which]) return p.DuplicateAttribute(name, token->getString());
            seen[which] = true;
            if (!p.IsThisNextOperator(cursor, end, sub, kEquals))
                return p.MissingTrailingEqual(name, token->getString());
            ++cursor;
            state = which + 1;
            continue;
        }
        if (isKeyword(token, "YES")) values[state - 1] = Settings::TEMPL_PARAM_YES;
        else if (isKeyword(token, "NO")) values[state - 1] = Settings::TEMPL_PARAM_NO;
        else return p.UnknownKeyword(name, token->getString());
        state = 0;
    }
    if (state != 0) {
        (void)p.IncompleteSubcommand(name);
        return false;
    }
    // A keyword left out sets 0, so a repeated subcommand overwrites both settings.
    (p.settings.*form.setFirst)(values[0]);
    (p.settings.*form.setSecond)(values[1]);
    return true;
}

bool GGraphParser::GGraphParserData::HandleFrameSubCmd(SubComObj const* sub, int start) {
    return handlePair(*this, kFrame, sub, start);
}

bool GGraphParser::GGraphParserData::HandleGridlinesSubCmd(SubComObj const* sub, int start) {
    return handlePair(*this, kGridlines, sub, start);
}

bool GGraphParser::GGraphParserData::HandleDescriptionSubCmd(SubComObj const* sub, int start) {
    std::string const name = "DESCRIPTION";
    int const end = sub->getTokenListSize();
    if (end == start) return IncompleteSubcommand(name);
    static constexpr struct {
        char const* keyword;
        Settings::GGRAPH_SMART_HELP_NAME help;
    } kTexts[] = {{"BINCOUNT", Settings::SMART_HELP_BINCOUNT},
                  {"HEATMAP", Settings::SMART_HELP_HEATMAP},
                  {"HISTOGRAM", Settings::SMART_HELP_HISTOGRAM},
                  {"SCATTER", Settings::SMART_HELP_SCATTER}};
    enum { kKeyword, kValue, kDone } state = kKeyword;
    bool seenText = false;
    for (int cursor = start; cursor < end; ++cursor) {
        TokenInfoObj const* token = sub->getTokenObj(cursor);
        if (state == kKeyword) {
            // No test of the token's kind here: a quoted "TEXT" is accepted too.
            if (!isKeyword(token, "TEXT")) return UnknownKeyword(name, token->getString());
            if (seenText) return DuplicateAttribute(name, token->getString());
            seenText = true;
            if (!IsThisNextOperator(cursor, end, sub, kEquals))
                return MissingTrailingEqual(name, token->getString());
            ++cursor;
            state = kValue;
        } else if (state == kValue) {
            auto it = std::find_if(std::begin(kTexts), std::end(kTexts),
                                   [&](auto const& t) { return isKeyword(token, t.keyword); });
            if (it == std::end(kTexts)) {
                settings.setSmartHelp(Settings::SMART_HELP_NONE);
                return UnknownKeyword(name, token->getString());
            }
            settings.setSmartHelp(it->help);
            state = kDone;
        } else {
            return UnknownKeyword(name, token->getString());
        }
    }
    if (state != kDone) {
        (void)IncompleteSubcommand(name);
        return false;
    }
    return true;
}

namespace {

// The number behind "COLOR" in a COLORn keyword; 0 when the word is no such keyword.
int colorIndexOf(char const* text) {
    std::string word = text;
    if (word.size() < 6 || KWELMBstrnicmp_A(word.c_str(), "COLOR", 5) != 0) return 0;
    std::istringstream stream(word.substr(5));
    int index = 0;
    stream >> index;
    bool usedUp = !stream.fail() && stream.peek() == std::char_traits<char>::eof();
    return usedUp && index > 0 ? index : 0;
}

}  // namespace

bool GGraphParser::GGraphParserData::HandleColorcycleSubCmd(SubComObj const* sub, int start) {
    std::string const name = "COLORCYCLE";
    int const end = sub->getTokenListSize();
    if (end == start) return IncompleteSubcommand(name);
    std::vector<Settings::ColorSpec> colors;
    std::set<int> seenIndices;
    int index = 0;
    std::string keyword;
    int components[3] = {0, 0, 0};
    int state = 0;  // 0 keyword, 1..3 the components
    for (int cursor = start; cursor < end; ++cursor) {
        TokenInfoObj const* token = sub->getTokenObj(cursor);
        if (state == 0) {
            if (token->IsLiteral()) return UnknownKeyword(name, token->getString());
            index = colorIndexOf(token->getString());
            if (index == 0) return UnknownKeyword(name, token->getString());
            if (!seenIndices.insert(index).second) return DuplicateAttribute(name, token->getString());
            keyword = token->getString();
            if (!IsThisNextOperator(cursor, end, sub, TokenSequenceBase::OP_LEFT_PAREN)) {
                message.ParenRequired(name.c_str());
                return false;
            }
            ++cursor;
            state = 1;
            continue;
        }
        if (!token->IsInteger()) return NeedThreeIntegers(name, keyword.c_str());
        int value = token->getInteger();
        if (static_cast<unsigned>(value) > 255u) {
            message.ParamValueBreakBdry(static_cast<double>(value), 0.0, UPSpecTypes::LOWER_INCLUSIVE,
                                        255.0, UPSpecTypes::UPPER_INCLUSIVE, keyword.c_str(),
                                        name.c_str());
            return false;
        }
        components[state - 1] = value;
        if (state < 3) {
            ++state;
            continue;
        }
        if (!IsThisNextOperator(cursor, end, sub, TokenSequenceBase::OP_RIGHT_PAREN))
            return NeedThreeIntegers(name, keyword.c_str());
        ++cursor;
        colors.emplace_back(index, components[0], components[1], components[2]);
        state = 0;
    }
    if (state != 0) {
        (void)IncompleteSubcommand(name);
        return false;
    }
    // Nothing reaches the settings until the whole subcommand is good.
    std::stable_sort(colors.begin(), colors.end(),
                     [](auto const& a, auto const& b) { return a.colorIndex < b.colorIndex; });
    for (auto const& color : colors) settings.AddColorSpec(color);
    return true;
}
