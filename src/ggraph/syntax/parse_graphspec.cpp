// GRAPHSPEC: where a graph's definition comes from and how it is presented.
#include <memory>

#include "ggraph/model/graph_spec.h"
#include "ggraph/procedure/report.h"
#include "ggraph/syntax/ggraph_parser_data.h"
#include "ggraph/syntax/syntax_messages.h"
#include "platform/chart_string.h"

using ggraph::isKeyword;
using ggraph::isOperator;
namespace msg = ggraph::syntax_messages;

namespace {

constexpr char kName[] = "GRAPHSPEC";
constexpr auto kEquals = TokenSequenceBase::OP_EQUALS;
constexpr auto kLeftParen = TokenSequenceBase::OP_LEFT_PAREN;
constexpr auto kRightParen = TokenSequenceBase::OP_RIGHT_PAREN;
constexpr auto kLeftBracket = TokenSequenceBase::OP_LEFT_BRACKET;
constexpr auto kRightBracket = TokenSequenceBase::OP_RIGHT_BRACKET;

std::string utf8(char const* text) { return XUtility::ChartStringFromLocalCodePage(text).toUTF8(); }

TokenInfoObj const* tokenAt(SubComObj const* sub, int index, int end) {
    return index < end ? sub->getTokenObj(index) : nullptr;
}

char const* textOf(TokenInfoObj const* token) { return token != nullptr ? token->getString() : nullptr; }

// The file forms of SOURCE, tried in this order.
struct FileSource {
    char const* keyword;
    GraphSpec::SOURCE source;
    void (GraphSpec::*setter)(std::string const&);
};
constexpr FileSource kFileSources[] = {
    {"GPLFILE", GraphSpec::SOURCE_GPLFILE, &GraphSpec::AddGPLFile},
    {"VIZMLFILE", GraphSpec::SOURCE_VIZMLFILE, &GraphSpec::AddViZMlFile},
    {"VIZJSONFILE", GraphSpec::SOURCE_VIZJSONFILE, &GraphSpec::AddViZJSONFile},
    // A template and its GeoJSON files share one source value: that is how they come together.
    {"VIZJSONTEMPLATE", GraphSpec::SOURCE_VIZJSONTEMPLATE, &GraphSpec::AddViZJSONTemplate},
    {"GEOJSONFILE", GraphSpec::SOURCE_VIZJSONTEMPLATE, &GraphSpec::AddGEOJSONFile},
    {"IMAGEFILE", GraphSpec::SOURCE_IMAGEFILE, &GraphSpec::AddImageFile},
    {"PMMLFILE", GraphSpec::SOURCE_PMMLFILE, &GraphSpec::AddPMMLFile},
};

// Outcome of a multi-token value: go on, fail with false, or run out of tokens.
enum class Step { Ok, Fail, Incomplete };

}  // namespace

namespace {

// A location written as LOCAL, FILE or a quoted folder; false when the token is none of these.
bool readLocation(TokenInfoObj const* token, XViZTemplate::LOCATION& location, std::string& text,
                  bool keepTextOnWord) {
    if (token == nullptr) return false;
    if (token->IsLiteral()) {
        location = XViZTemplate::LOCATION_REPOSITORY;
        text = token->getString();
        return true;
    }
    if (isKeyword(token, "LOCAL") || isKeyword(token, "FILE")) {
        location = isKeyword(token, "LOCAL") ? XViZTemplate::LOCATION_LOCAL : XViZTemplate::LOCATION_FILE;
        if (!keepTextOnWord) text.clear();
        return true;
    }
    return false;
}

}  // namespace

namespace {

// The bracket behind a style sheet or template name: tokens are passed over up to LOCATION,
// whose value is read; then the closing bracket. The cursor stands on the opening bracket.
Step readLocationBracket(GGraphParser::GGraphParserData& p, SubComObj const* sub, int& cursor,
                         int end, XViZTemplate::LOCATION& location, std::string& text) {
    ++cursor;
    while (cursor < end && !isKeyword(sub->getTokenObj(cursor), "LOCATION")) ++cursor;
    if (cursor + 1 >= end) return Step::Incomplete;
    if (!p.IsThisNextOperator(cursor, end, sub, kEquals)) {
        (void)p.MissingTrailingEqual(kName, "LOCATION");
        return Step::Fail;
    }
    cursor += 2;
    if (cursor >= end) return Step::Incomplete;
    if (!readLocation(sub->getTokenObj(cursor), location, text, false)) {
        (void)p.UnknownKeyword(kName, sub->getTokenObj(cursor)->getString());
        return Step::Fail;
    }
    ++cursor;
    if (cursor >= end) return Step::Incomplete;
    if (!isOperator(sub->getTokenObj(cursor), kRightBracket)) {
        (void)p.UnknownKeyword(kName, sub->getTokenObj(cursor)->getString());
        return Step::Fail;
    }
    return Step::Ok;
}

// The state of the VIZMAP keywords across one subcommand.
struct MapState {
    std::string pendingName;
    bool pending = false;
    // Before any LOCATION the current location is a file, the default of a map.
    XViZTemplate::LOCATION location = XViZTemplate::LOCATION_FILE;
    std::string locationText;
    int maps = 0;
    int types = 0;
    bool mapKeySeen = false;
    bool showAllSeen = false;

    void storeAsDataMap(GraphSpec& spec) {
        spec.SetVIZMap(pendingName);
        spec.SetViZMapLocation(location, locationText);
        pending = false;
        pendingName.clear();
    }
};

// VIZMAP="name"[qualifiers]. The cursor stands on the literal.
Step readMap(GGraphParser::GGraphParserData& p, SubComObj const* sub, int& cursor, int end,
             GraphSpec& spec, MapState& map) {
    TokenInfoObj const* value = sub->getTokenObj(cursor);
    if (!value->IsLiteral()) {
        (void)p.UnknownKeyword(kName, value->getString());
        return Step::Fail;
    }
    map.pendingName = value->getString();
    map.pending = true;
    ++cursor;
    if (cursor >= end) return Step::Incomplete;
    if (!isOperator(sub->getTokenObj(cursor), kLeftBracket)) {
        (void)p.UnknownKeyword(kName, sub->getTokenObj(cursor)->getString());
        return Step::Fail;
    }
    for (;;) {
        ++cursor;
        if (cursor >= end) return Step::Incomplete;
        TokenInfoObj const* qualifier = sub->getTokenObj(cursor);
        char const* word = qualifier->getString();
        bool location = isKeyword(qualifier, "LOCATION"), type = isKeyword(qualifier, "TYPE");
        bool mapKey = isKeyword(qualifier, "MAPKEY"), showAll = isKeyword(qualifier, "SHOWALLFEATURES");
        if (qualifier->IsLiteral() || !(location || type || mapKey || showAll)) {
            (void)p.UnknownKeyword(kName, word);
            return Step::Fail;
        }
        if ((type && map.types >= 2) || (mapKey && map.mapKeySeen) || (showAll && map.showAllSeen)) {
            (void)p.DuplicateAttribute(kName, word);
            return Step::Fail;
        }
        if (cursor + 1 >= end) return Step::Incomplete;
        if (!p.IsThisNextOperator(cursor, end, sub, kEquals)) {
            (void)p.MissingTrailingEqual(kName, word);
            return Step::Fail;
        }
        cursor += 2;
        if (cursor >= end) return Step::Incomplete;
        TokenInfoObj const* v = sub->getTokenObj(cursor);
        if (location) {
            // LOCAL and FILE change the location but leave the text as it was.
            if (!readLocation(v, map.location, map.locationText, true)) {
                (void)p.UnknownKeyword(kName, v->getString());
                return Step::Fail;
            }
        } else if (type) {
            ++map.types;
            // TYPE acts on the location known at this moment.
            if (isKeyword(v, "DATA") && !v->IsLiteral()) {
                spec.SetVIZMap(map.pendingName);
                spec.SetViZMapLocation(map.location, map.locationText);
            } else if (isKeyword(v, "REFERENCE") && !v->IsLiteral()) {
                spec.SetVIZRefMap(map.pendingName);
                spec.SetViZRefMapLocation(map.location, map.locationText);
            } else {
                (void)p.UnknownKeyword(kName, v->getString());
                return Step::Fail;
            }
            map.pending = false;
            map.pendingName.clear();
        } else if (mapKey) {
            map.mapKeySeen = true;
            if (!v->IsLiteral()) {
                (void)p.UnknownKeyword(kName, v->getString());
                return Step::Fail;
            }
            spec.SetAttribute(v->getString());
        } else {
            map.showAllSeen = true;
            if (isKeyword(v, "YES")) spec.setShowAllFeatures(true);
            else if (isKeyword(v, "NO")) spec.setShowAllFeatures(false);
            else {
                (void)p.UnknownKeyword(kName, v->getString());
                return Step::Fail;
            }
        }
        if (cursor + 1 < end && isOperator(sub->getTokenObj(cursor + 1), kRightBracket)) {
            ++cursor;
            return Step::Ok;
        }
    }
}

// SOURCE=INLINE, =VIZTEMPLATE(...) or a file form such as GPLFILE("name"). The cursor stands on
// the word and is left on the last token read.
Step readSource(GGraphParser::GGraphParserData& p, SubComObj const* sub, int& cursor, int end,
                GraphSpec& spec) {
    TokenInfoObj const* token = sub->getTokenObj(cursor);
    if (isKeyword(token, "INLINE") && !token->IsLiteral()) {
        spec.setSource(GraphSpec::SOURCE_INLINE);
        return Step::Ok;
    }
    if (isKeyword(token, "VIZTEMPLATE") && !token->IsLiteral()) {
        if (!p.parseViZTemplate(sub, cursor, end, &spec)) return Step::Fail;
        spec.setSource(GraphSpec::SOURCE_VIZTEMPLATE);
        return Step::Ok;
    }
    FileSource const* form = nullptr;
    for (auto const& f : kFileSources) {
        if (!token->IsLiteral() && isKeyword(token, f.keyword)) {
            form = &f;
            break;
        }
    }
    if (form == nullptr) {
        (void)p.UnknownKeyword(kName, token->getString());
        return Step::Fail;
    }
    ++cursor;
    // The word ends the subcommand: nothing is set and the walk ends here, as it would behind a
    // file form without its parenthesis.
    if (cursor >= end) return Step::Ok;
    // Without a parenthesis the token behind the word is passed over, silently.
    if (!isOperator(sub->getTokenObj(cursor), kLeftParen)) return Step::Ok;
    ++cursor;
    if (cursor >= end) return Step::Incomplete;
    spec.setSource(form->source);
    (spec.*(form->setter))(sub->getTokenObj(cursor)->getString());
    ++cursor;
    if (cursor >= end || !isOperator(sub->getTokenObj(cursor), kRightParen)) {
        ggraph::report(ggraph::kError, msg::kUnbalancedParentheses, {form->keyword, kName});
        return Step::Fail;
    }
    return Step::Ok;
}

// VIZSTYLESHEET="name"[LOCATION=...]. The cursor stands on the literal.
Step readStyleSheet(GGraphParser::GGraphParserData& p, SubComObj const* sub, int& cursor, int end,
                    GraphSpec& spec) {
    TokenInfoObj const* token = sub->getTokenObj(cursor);
    if (!token->IsLiteral()) {
        (void)p.UnknownKeyword(kName, token->getString());
        return Step::Fail;
    }
    spec.SetVIZStyleSheet(token->getString());
    ++cursor;
    if (cursor >= end) return Step::Incomplete;
    if (!isOperator(sub->getTokenObj(cursor), kLeftBracket)) {
        (void)p.UnknownKeyword(kName, sub->getTokenObj(cursor)->getString());
        return Step::Fail;
    }
    XViZTemplate::LOCATION location = XViZTemplate::LOCATION_LOCAL;
    std::string text;
    Step const step = readLocationBracket(p, sub, cursor, end, location, text);
    if (step == Step::Ok) spec.SetViZStyleSheetLocation(location, text);
    return step;
}

}  // namespace

bool GGraphParser::GGraphParserData::HandleSpecSubCmd(SubComObj const* sub, int start) {
    int const end = sub->getTokenListSize();
    if (end == start) return IncompleteSubcommand(kName);
    auto spec = std::make_unique<GraphSpec>();

    enum State {
        kKeyword, kSource, kEditable, kLabel, kDefaultTemplate, kTemplate, kTemplateList,
        kInlineTemplate, kInlineTemplateList, kImageFormat, kStyleSheet, kMap
    };
    static constexpr struct {
        char const* keyword;
        State state;
    } kKeywords[] = {{"SOURCE", kSource},           {"EDITABLE", kEditable},
                     {"LABEL", kLabel},             {"DEFAULTTEMPLATE", kDefaultTemplate},
                     {"TEMPLATE", kTemplate},       {"INLINETEMPLATE", kInlineTemplate},
                     {"IMAGEFORMAT", kImageFormat}, {"VIZSTYLESHEET", kStyleSheet},
                     {"VIZMAP", kMap}};
    bool seen[12] = {};
    MapState map;
    // Running out of tokens inside a multi-token value is always the same report.
    auto completed = [&](Step step) {
        if (step == Step::Incomplete)
            (void)IncompleteSubcommand(kName);
        return step == Step::Ok;
    };
    State state = kKeyword;

    for (int cursor = start; cursor < end; ++cursor) {
        TokenInfoObj const* token = sub->getTokenObj(cursor);
        switch (state) {
            case kKeyword: {
                if (token->IsLiteral()) return UnknownKeyword(kName, token->getString());
                State next = kKeyword;
                for (auto const& k : kKeywords) {
                    if (isKeyword(token, k.keyword)) {
                        next = k.state;
                        break;
                    }
                }
                if (next == kKeyword) return UnknownKeyword(kName, token->getString());
                if (next == kMap) {
                    if (map.maps >= 2) return DuplicateAttribute(kName, token->getString());
                    ++map.maps;
                    // A first map without TYPE is a data map.
                    if (map.maps == 2 && map.pending) map.storeAsDataMap(*spec);
                } else if (next != kSource) {
                    if (seen[next]) return DuplicateAttribute(kName, token->getString());
                    seen[next] = true;
                }
                if (!IsThisNextOperator(cursor, end, sub, kEquals))
                    return MissingTrailingEqual(kName, token->getString());
                ++cursor;
                state = next;
                break;
            }
            case kSource:
                if (!completed(readSource(*this, sub, cursor, end, *spec))) return false;
                state = kKeyword;
                break;
            case kEditable:
            case kDefaultTemplate: {
                bool yes = isKeyword(token, "YES"), no = isKeyword(token, "NO");
                if (!yes && !no) return UnknownKeyword(kName, token->getString());
                if (state == kEditable) spec->setEditable(yes);
                else spec->setApplyDefaultTemplates(yes);
                state = kKeyword;
                break;
            }
            case kLabel:
                spec->SetOutputLabel(token->getString());
                state = kKeyword;
                break;
            case kTemplate:
            case kInlineTemplate:
                if (isOperator(token, kLeftBracket)) {
                    state = state == kTemplate ? kTemplateList : kInlineTemplateList;
                    break;
                }
                if (state == kTemplate) spec->AddTemplate(token->getString());
                else spec->AddInlineTemplate(token->getString());
                state = kKeyword;
                break;
            case kTemplateList:
            case kInlineTemplateList:
                if (isOperator(token, kRightBracket)) {
                    state = kKeyword;
                    break;
                }
                if (state == kTemplateList) spec->AddTemplate(token->getString());
                else spec->AddInlineTemplate(token->getString());
                break;
            case kImageFormat:
                // Checked, never stored: the image type keeps its default whatever is named.
                if (!isKeyword(token, "PNG") && !isKeyword(token, "BMP") && !isKeyword(token, "JPG"))
                    return UnknownKeyword(kName, token->getString());
                state = kKeyword;
                break;
            case kStyleSheet:
                if (!completed(readStyleSheet(*this, sub, cursor, end, *spec))) return false;
                state = kKeyword;
                break;
            case kMap:
                if (!completed(readMap(*this, sub, cursor, end, *spec, map))) return false;
                state = kKeyword;
                break;
        }
    }
    if (state != kKeyword) {
        (void)IncompleteSubcommand(kName);
        return false;
    }
    if (map.pending) map.storeAsDataMap(*spec);
    // Each GRAPHSPEC wipes out a DESCRIPTION before it: only one behind the last one counts.
    settings.setSmartHelp(GGraphSettings::SMART_HELP_NONE);
    settings.AddGraphSpec(spec.release());
    return true;
}

bool GGraphParser::GGraphParserData::parseViZTemplate(SubComObj const* sub, int& cursor, int end,
                                                      GraphSpec* spec) {
    ++cursor;
    if (cursor >= end || !isOperator(sub->getTokenObj(cursor), kLeftParen))
        return UnknownKeyword(kName, textOf(tokenAt(sub, cursor, end)));
    bool sawName = false, sawMapping = false;
    for (++cursor; cursor < end; ++cursor) {
        TokenInfoObj const* token = sub->getTokenObj(cursor);
        if (isOperator(token, kRightParen)) return sawName;  // no message without NAME
        if (isKeyword(token, "NAME") && !token->IsLiteral()) {
            if (sawName) return DuplicateAttribute(kName, token->getString());
            sawName = true;
            if (!IsThisNextOperator(cursor, end, sub, kEquals))
                return MissingTrailingEqual(kName, token->getString());
            cursor += 2;
            TokenInfoObj const* value = tokenAt(sub, cursor, end);
            if (value == nullptr) break;
            if (!value->IsLiteral()) return UnknownKeyword(kName, value->getString());
            spec->SetVIZTemplate(value->getString());
            ++cursor;
            if (cursor >= end) break;
            if (!isOperator(sub->getTokenObj(cursor), kLeftBracket))
                return UnknownKeyword(kName, sub->getTokenObj(cursor)->getString());
            XViZTemplate::LOCATION location = XViZTemplate::LOCATION_LOCAL;
            std::string text;
            Step step = readLocationBracket(*this, sub, cursor, end, location, text);
            if (step == Step::Fail) return false;
            if (step == Step::Incomplete) break;
            spec->SetViZTemplateLocation(location, text);
            continue;
        }
        if (isKeyword(token, "MAPPING") && !token->IsLiteral()) {
            if (sawMapping) return DuplicateAttribute(kName, token->getString());
            sawMapping = true;
            if (!parseMappings(sub, cursor, end, spec)) return false;
            continue;
        }
        return UnknownKeyword(kName, token->getString());
    }
    cursor = end;
    return IncompleteSubcommand(kName);
}

bool GGraphParser::GGraphParserData::parseMappings(SubComObj const* sub, int& cursor, int end,
                                                   GraphSpec* spec) {
    enum { kOpen, kKey, kValue, kAfterValue, kQualifier, kDataSet, kClose } state = kOpen;
    std::vector<ViZTemplateMapping> mappings;
    ViZTemplateMapping current;
    int pairs = 0;
    auto finish = [&]() {
        if (pairs != 0) spec->SetViZTemplateMappings(mappings);
        return pairs != 0;  // no pair: false, with no message
    };
    for (++cursor; cursor < end; ++cursor) {
        TokenInfoObj const* token = sub->getTokenObj(cursor);
        int type = token->getType();
        switch (state) {
            case kOpen:
                if (!isOperator(token, kLeftParen)) return UnknownKeyword(kName, token->getString());
                state = kKey;
                break;
            case kAfterValue:
                if (isOperator(token, kLeftBracket)) {
                    state = kQualifier;
                    break;
                }
                mappings.push_back(current);
                [[fallthrough]];
            case kKey:
                if (isOperator(token, kRightParen)) return finish();
                if (type != TokenInfoObj::KIND_WORD && type != TokenInfoObj::KIND_LITERAL)
                    return UnknownKeyword(kName, token->getString());
                current = ViZTemplateMapping();
                current.mappingKey = utf8(token->getString());
                if (!IsThisNextOperator(cursor, end, sub, kEquals))
                    return MissingTrailingEqual(kName, token->getString());
                ++cursor;
                state = kValue;
                break;
            case kValue:
                if (type != TokenInfoObj::KIND_WORD && type != TokenInfoObj::KIND_LITERAL)
                    return UnknownKeyword(kName, token->getString());
                current.mappingValue = utf8(token->getString());
                ++pairs;
                state = kAfterValue;
                break;
            case kQualifier:
                if (isKeyword(token, "DATASET") && !token->IsLiteral()) {
                    if (!IsThisNextOperator(cursor, end, sub, kEquals))
                        return MissingTrailingEqual(kName, token->getString());
                    ++cursor;
                    state = kDataSet;
                }
                break;  // other qualifiers are passed over
            case kDataSet:
                if (type != TokenInfoObj::KIND_LITERAL) return UnknownKeyword(kName, token->getString());
                current.dataSetName = utf8(token->getString());
                state = kClose;
                break;
            case kClose:
                if (!isOperator(token, kRightBracket)) return UnknownKeyword(kName, token->getString());
                mappings.push_back(current);
                state = kKey;
                break;
        }
    }
    // Out of tokens: a mapping in hand is left out, but it counts.
    cursor = end;
    return finish();
}
