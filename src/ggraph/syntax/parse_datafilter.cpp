// The DATAFILTER list of GRAPHDATASET: per variable, the values that may pass and whether values
// without a label pass.
#include <memory>

#include "ggraph/data/ggraph_data_set.h"
#include "ggraph/procedure/report.h"
#include "ggraph/syntax/ggraph_parser_data.h"
#include "ggraph/syntax/syntax_messages.h"
#include "ggraph/variables/ggraph_variable.h"
#include "ggraph/variables/ggraph_variable_filter.h"
#include "ggraph/variables/variable_resolver.h"
#include "platform/data_source.h"
#include "platform/dictionary.h"

using ggraph::isKeyword;
using ggraph::isOperator;
namespace msg = ggraph::syntax_messages;

namespace {

constexpr char kName[] = "GRAPHDATASET";
constexpr auto kRightParen = TokenSequenceBase::OP_RIGHT_PAREN;

bool invalidValue(char const* text) {
    ggraph::report(ggraph::kError, msg::kInvalidFilterValue, {kName, text});
    return false;
}

void storeValue(GGraphVariableFilter* filter, std::string const& text) {
    filter->getValueList().push_back(text);
    filter->getValueMatchedMap()[text] = 0;
}

}  // namespace

bool GGraphParser::GGraphParserData::parseDataFilterVariables(SubComObj const* sub, int& cursor,
                                                              int end, GGraphDataSet& dataSet) {
    if (cursor >= end) (void)IncompleteSubcommand(kName);
    int filters = 0;
    std::unique_ptr<GGraphVariableFilter> current;
    bool closed = false;
    while (cursor < end) {
        TokenInfoObj const* token = sub->getTokenObj(cursor);
        std::string text = token->getString();
        ++cursor;
        if (cursor >= end) {
            // The last filter is added without the uniqueness test.
            if (!isOperator(token, kRightParen)) {
                (void)IncompleteSubcommand(kName);
                return false;
            }
            if (current) dataSet.AddVariableFilter(current.release());
            break;
        }
        TokenInfoObj const* next = sub->getTokenObj(cursor);
        if (!next->IsOperator()) {
            if (!(next->IsString() && next->IsVarName() && isOperator(token, kRightParen) && current)) {
                (void)IncompleteSubcommand(kName);
                return false;
            }
            if (!dataSet.IsUniqueFilter(current.get())) {
                ggraph::report(ggraph::kWarning, msg::kNameDuplicated, {current->GetVariableName()});
                return false;
            }
            dataSet.AddVariableFilter(current.release());
            closed = true;
            continue;
        }
        if (isOperator(next, TokenSequenceBase::OP_EQUALS)) {
            ++cursor;
            if (isKeyword(token, "VALUES")) {
                if (!current || !HandleVariableValue(sub, cursor, end, current.get())) {
                    if (!current) return invalidValue(text.c_str());
                    return false;
                }
            } else if (isKeyword(token, "UNLABELED")) {
                if (!current || !HandleFilterULValue(sub, cursor, end, current.get())) {
                    if (!current) return invalidValue(text.c_str());
                    return false;
                }
            } else if (closed) {
                // The next keyword of the subcommand: the handler's step lands on it.
                cursor -= 3;
                break;
            } else {
                return invalidValue(text.c_str());
            }
            continue;
        }
        if (isOperator(next, TokenSequenceBase::OP_LEFT_PAREN)) {
            ++cursor;
            ++filters;
            current = std::make_unique<GGraphVariableFilter>(text);
            closed = false;
        }
        // Any other operator is passed over.
    }
    if (filters == 0) {
        (void)IncompleteSubcommand(kName);
        return false;
    }
    return true;
}

bool GGraphParser::GGraphParserData::HandleVariableValue(SubComObj const* sub, int& cursor, int end,
                                                         GGraphVariableFilter* filter) {
    // A list that ends the subcommand is reported, and the level check below still runs; the
    // filter, having no closing parenthesis, is never added to the data set.
    if (cursor >= end) (void)IncompleteSubcommand(kName);
    while (cursor < end) {
        TokenInfoObj const* value = sub->getTokenObj(cursor);
        std::string const text = value->getString();
        ++cursor;
        if (cursor >= end) {
            if (isOperator(value, kRightParen)) break;
            return false;  // the list breaks off: no message
        }
        TokenInfoObj const* next = sub->getTokenObj(cursor);
        if (next->IsOperator()) {
            if (!isOperator(next, kRightParen)) return invalidValue(next->getString());
            if (isKeyword(value, "ALL")) filter->setIncludeALL(true);
            storeValue(filter, text);
            break;
        }
        if (next->IsString()) {
            storeValue(filter, text);
            if (isKeyword(value, "ALL")) filter->setIncludeALL(true);
            if (isKeyword(next, "UNLABELED")) break;
            continue;
        }
        if (next->IsNumber() || next->IsLiteral()) {
            // ALL before a number or literal is stored without the flag: intended.
            storeValue(filter, text);
            continue;
        }
        return invalidValue(next->getString());
    }

    // Only categorical variables can be filtered by value.
    auto const* source = static_cast<KWEL_DataSource const*>(dataSource);
    if (source == nullptr) return true;
    std::string const name = filter->GetVariableName();
    for (int column = 0; column < source->ColumnCount(); ++column) {
        auto* resolver = new VariableResolver();
        if (!resolver->resolveVariable(source, column)) {
            delete resolver;
            continue;
        }
        GGraphVariable variable(resolver);
        if (variable.GetVariableName() != name) continue;
        KWEL_Variable const* dictionaryVariable = resolver->getKWELVariable();
        if (dictionaryVariable != nullptr && dictionaryVariable->GetMeasurementLevel() == MEASURE_SCALE) {
            ggraph::report(ggraph::kError, msg::kFilterNotCategorical, {name});
            return false;
        }
        return true;
    }
    return true;
}

bool GGraphParser::GGraphParserData::HandleFilterULValue(SubComObj const* sub, int& cursor, int end,
                                                         GGraphVariableFilter* filter) {
    if (cursor >= end) {
        (void)IncompleteSubcommand(kName);
        return false;
    }
    TokenInfoObj const* value = sub->getTokenObj(cursor);
    if (isKeyword(value, "INCLUDE")) filter->setIncludeULV(true);
    else if (isKeyword(value, "EXCLUDE")) filter->setIncludeULV(false);
    else return invalidValue(value->getString());
    ++cursor;
    if (cursor >= end) {
        (void)IncompleteSubcommand(kName);
        return false;
    }
    TokenInfoObj const* next = sub->getTokenObj(cursor);
    if (next->IsOperator()) {
        if (!isOperator(next, kRightParen)) return invalidValue(next->getString());
        return true;
    }
    if (!isKeyword(next, "VALUES")) {
        (void)IncompleteSubcommand(kName);
        return false;
    }
    return true;
}
