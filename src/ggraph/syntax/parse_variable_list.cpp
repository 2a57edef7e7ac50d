// The VARIABLES list of GRAPHDATASET: names, ranges, ALL, qualified names and summary functions,
// with no separator and no closing mark.
#include <memory>

#include "ggraph/data/ggraph_data_set.h"
#include "ggraph/procedure/report.h"
#include "ggraph/syntax/ggraph_parser_data.h"
#include "ggraph/syntax/syntax_messages.h"
#include "ggraph/variables/ggraph_statistic.h"
#include "platform/host_procedure.h"

using ggraph::isKeyword;
using ggraph::isOperator;
namespace msg = ggraph::syntax_messages;

namespace {

constexpr char kName[] = "GRAPHDATASET";

bool isNumberOrLiteral(TokenInfoObj const* token) { return token->IsNumber() || token->IsLiteral(); }

}  // namespace

bool GGraphParser::GGraphParserData::parseDataSetVariables(SubComObj const* sub, int& cursor,
                                                           int end, GGraphDataSet& dataSet) {
    if (cursor >= end) (void)IncompleteSubcommand(kName);
    int items = 0;
    while (cursor < end) {
        TokenInfoObj const* token = sub->getTokenObj(cursor);
        std::string const name = token->getString();
        ++cursor;
        if (isNumberOrLiteral(token)) return UnknownKeyword(kName, name.c_str());
        std::string rename;
        GGraphDataSet::MEASUREMENT_LEVEL level = GGraphDataSet::UNSPECIFIED;
        if (cursor >= end) {
            ++items;
            if (!HandleVariableName(name.c_str(), sub, cursor, end, dataSet, rename, level)) return false;
            break;
        }
        TokenInfoObj const* next = sub->getTokenObj(cursor);
        if (next->IsString()) {
            ++items;
            if (!HandleVariableName(name.c_str(), sub, cursor, end, dataSet, rename, level)) return false;
        } else if (isNumberOrLiteral(next)) {
            // The name is dropped; the next pass refuses the number or literal.
        } else if (isOperator(next, TokenSequenceBase::OP_LEFT_PAREN)) {
            ++cursor;
            ++items;
            auto statistic = std::make_unique<GGraphStatistic>(name, dictionary);
            if (!statistic->IsSupportedStatistic()) {
                ggraph::report(ggraph::kError, msg::kUnknownFunction, {name, dataSet.GetSourceName()});
                return false;
            }
            if (!parseStatistic(sub, name.c_str(), cursor, end, statistic.get(), dataSet.GetSourceName(),
                                dataSet))
                return false;
            dataSet.AddStatistic(statistic.release());
        } else if (isOperator(next, TokenSequenceBase::OP_LEFT_BRACKET)) {
            ++cursor;
            ++items;
            std::string high, low;
            if (!parseVariableQualifiers(sub, cursor, end, rename, high, low, level, dataSet)) return false;
            if (!HandleVariableName(name.c_str(), sub, cursor, end, dataSet, rename, level)) return false;
        } else if (isOperator(next, TokenSequenceBase::OP_EQUALS)) {
            // The name is the subcommand's next keyword: step back so that the handler's own step
            // lands on it.
            ++items;
            cursor -= 2;
            break;
        }
        // Any other operator: the name is dropped without a message.
    }
    if (items == 0) {
        (void)IncompleteSubcommand(kName);
        return false;
    }
    return true;
}

bool GGraphParser::GGraphParserData::HandleVariableName(char const* name, SubComObj const* sub,
                                                        int& cursor, int end, GGraphDataSet& dataSet,
                                                        std::string& rename,
                                                        GGraphDataSet::MEASUREMENT_LEVEL& level) {
    if (!dataSet.isNameUnique(name, false)) {
        if (!dataSet.isReNameUnique(name)) {
            ggraph::report(ggraph::kWarning, msg::kNameMustBeUnique, {name});
            return false;
        }
        ggraph::report(ggraph::kWarning, msg::kNameDuplicated, {name});
    }
    dataSet.AddVariable(name, rename, level);
    bool const qualified = !rename.empty() || level != GGraphDataSet::UNSPECIFIED;
    if (KWELMBstricmp_A(name, "ALL") == 0) {
        if (qualified) {
            ggraph::report(ggraph::kError, msg::kCannotRenameRange);
            return false;
        }
        return true;
    }
    if (cursor + 1 < end) {
        TokenInfoObj const* to = sub->getTokenObj(cursor);
        if (to->IsString() && isKeyword(to, "TO")) {
            if (qualified) {
                ggraph::report(ggraph::kError, msg::kCannotRenameRange);
                return false;
            }
            dataSet.AddVariable(to->getString(), "", GGraphDataSet::UNSPECIFIED);
            dataSet.AddVariable(sub->getTokenObj(cursor + 1)->getString(), "", GGraphDataSet::UNSPECIFIED);
            cursor += 2;
        }
    }
    return true;
}

bool GGraphParser::GGraphParserData::parseVariableQualifiers(
    SubComObj const* sub, int& cursor, int end, std::string& name, std::string& high,
    std::string& low, GGraphDataSet::MEASUREMENT_LEVEL& level, GGraphDataSet& dataSet) {
    level = GGraphDataSet::UNSPECIFIED;
    // No room for a keyword, its sign, a value and the closing bracket.
    if (cursor + 3 >= end) {
        (void)IncompleteSubcommand(kName);
        return false;
    }
    enum { kKeyword, kName_, kHigh, kLow, kLevel } state = kKeyword;
    static constexpr struct {
        char const* word;
        int attribute;  // NAME and RENAME are one attribute
        int state;
    } kQualifiers[] = {{"NAME", 0, kName_}, {"RENAME", 0, kName_}, {"HIGH", 1, kHigh},
                       {"LOW", 2, kLow},    {"LEVEL", 3, kLevel}};
    static constexpr struct {
        char const* word;
        GGraphDataSet::MEASUREMENT_LEVEL level;
    } kLevels[] = {{"SCALE", GGraphDataSet::SCALE},
                   {"NOMINAL", GGraphDataSet::NOMINAL},
                   {"ORDINAL", GGraphDataSet::ORDINAL},
                   {"FLAG", GGraphDataSet::FLAG},
                   {"TYPELESS", GGraphDataSet::TYPELESS}};
    bool seen[4] = {};
    for (int index = cursor; index < end; ++index) {
        TokenInfoObj const* token = sub->getTokenObj(index);
        if (state == kKeyword) {
            if (token->IsLiteral()) return UnknownKeyword(kName, token->getString());
            auto const* match = static_cast<decltype(&kQualifiers[0])>(nullptr);
            for (auto const& q : kQualifiers) {
                if (isKeyword(token, q.word)) {
                    match = &q;
                    break;
                }
            }
            if (match == nullptr) {
                if (!isOperator(token, TokenSequenceBase::OP_RIGHT_BRACKET))
                    return UnknownKeyword(kName, token->getString());
                cursor = index + 1;
                break;
            }
            if (seen[match->attribute]) return DuplicateAttribute(kName, token->getString());
            seen[match->attribute] = true;
            if (!IsThisNextOperator(index, end, sub, TokenSequenceBase::OP_EQUALS))
                return MissingTrailingEqual(kName, token->getString());
            ++index;
            state = static_cast<decltype(state)>(match->state);
            continue;
        }
        if (state == kLevel) {
            auto const* match = static_cast<decltype(&kLevels[0])>(nullptr);
            for (auto const& l : kLevels) {
                if (isKeyword(token, l.word)) match = &l;
            }
            if (match == nullptr) return UnknownKeyword(kName, token->getString());
            level = match->level;
        } else {
            if (!token->IsLiteral()) return UnknownKeyword(kName, token->getString());
            (state == kName_ ? name : state == kHigh ? high : low) = token->getString();
        }
        state = kKeyword;
    }
    // Running out of tokens is not reported: the cursor stays on the first token inside the
    // bracket. Every text given here is listed among the data set's renames.
    for (std::string const* text : {&name, &high, &low}) {
        if (!text->empty() && !dataSet.isNameUnique(*text, true)) {
            ggraph::report(ggraph::kError, msg::kNameMustBeUnique, {*text});
            return false;
        }
    }
    return true;
}

bool GGraphParser::GGraphParserData::parseStatistic(SubComObj const* sub, char const* functionName,
                                                    int& cursor, int end, GGraphStatistic* statistic,
                                                    std::string const& dataSetName,
                                                    GGraphDataSet& dataSet) {
    unsigned int optional = 0;
    unsigned int required = statistic->getParameterCount(optional);
    auto wrongNumber = [&]() {
        ggraph::report(ggraph::kError, msg::kWrongParameterCount, {functionName, dataSetName});
        return false;
    };
    int local = cursor;
    int state = required == 0 && optional == 0 ? 3 : 0;
    for (; local < end; ++local) {
        TokenInfoObj const* token = sub->getTokenObj(local);
        bool const closing = isOperator(token, TokenSequenceBase::OP_RIGHT_PAREN);
        switch (state) {
            case 0:
                if (required != 0) {
                    statistic->SetMainParameter(token->getString(), 0.0);
                    --required;
                    state = required == 0 && optional == 0 ? 3 : 1;
                } else if (closing) {
                    --local;  // the parenthesis is read again by state 3
                    state = 3;
                } else {
                    statistic->SetMainParameter(token->getString(), token->getNumeric());
                    --optional;
                    state = optional == 0 ? 3 : 1;
                }
                break;
            case 1:
                if (required != 0) {
                    if (!token->IsNumber()) return wrongNumber();
                    statistic->SetNumericParameter(1, token->getNumeric(), token->getString());
                    if (required == 1) {
                        required = 0;
                        state = 3;
                    } else {
                        --required;
                        state = 2;
                    }
                } else if (closing) {
                    --local;
                    state = 3;
                } else {
                    // No test of the kind here: a word passes its numeric value and its text.
                    statistic->SetNumericParameter(1, token->getNumeric(), token->getString());
                    --optional;
                    state = 3;
                }
                break;
            case 2:
                if (!token->IsNumber()) return wrongNumber();
                statistic->SetNumericParameter(2, token->getNumeric(), token->getString());
                state = 3;
                break;
            case 3: {
                if (!closing) return wrongNumber();
                ++local;
                if (local < end && isOperator(sub->getTokenObj(local), TokenSequenceBase::OP_LEFT_BRACKET)) {
                    ++local;
                    std::string name, high, low;
                    GGraphDataSet::MEASUREMENT_LEVEL level = GGraphDataSet::UNSPECIFIED;
                    if (!parseVariableQualifiers(sub, local, end, name, high, low, level, dataSet))
                        return false;
                    if (!name.empty()) statistic->SetGPLLabel(name);
                    if (!low.empty()) statistic->SetGPLLowLabel(low);
                    if (!high.empty()) statistic->SetGPLHighLabel(high);
                }
                cursor = local;
                return true;
            }
        }
    }
    // The call breaks off before its closing parenthesis: false, with no message.
    return false;
}
