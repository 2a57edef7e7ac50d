// GRAPHDATASET: one graph data set, from its keywords to a completed data set in the model.
#include <memory>

#include "ggraph/data/ggraph_data_set.h"
#include "ggraph/procedure/report.h"
#include "ggraph/syntax/ggraph_parser_data.h"
#include "ggraph/syntax/syntax_messages.h"
#include "platform/host_procedure.h"

using ggraph::isKeyword;
using ggraph::isOperator;
namespace msg = ggraph::syntax_messages;

namespace {

constexpr char kName[] = "GRAPHDATASET";
constexpr auto kEquals = TokenSequenceBase::OP_EQUALS;

bool isAcceptedName(char const* text) {
    int const kind = ValidateKWELName(text);
    return kind == 0 || kind == 1 || kind == 2 || kind == 100;
}

}  // namespace

bool GGraphParser::GGraphParserData::HandleDataSetSubCmd(SubComObj const* sub, int start) {
    int const end = sub->getTokenListSize();
    if (end == start) return IncompleteSubcommand(kName);
    auto dataSet = std::make_unique<GGraphDataSet>(dataSource, dictionary);

    enum State {
        kKeyword = 0, kDataSet = 1, kSourceName = 2, kList = 3, kTransform = 4, kMissing = 5,
        kReportMissing = 6, kCaseLimit = 7, kFiles = 8
    };
    static constexpr struct {
        char const* keyword;
        State state;
        int flag;
    } kKeywords[] = {{"DATASET", kDataSet, 0},      {"NAME", kSourceName, 1},
                     {"VARIABLES", kList, 2},       {"TRANSFORM", kTransform, 3},
                     {"MISSING", kMissing, 4},      {"REPORTMISSING", kReportMissing, 5},
                     {"CASELIMIT", kCaseLimit, 6},  {"CSVFILE", kFiles, 7},
                     {"CSVFILES", kFiles, 7},       {"DATAFILTER", kList, 8}};
    enum { kSeenDataSet = 0, kSeenName = 1, kSeenVariables = 2, kSeenTransform = 3 };
    bool seen[9] = {};
    bool listIsFilter = false;
    bool fileListOpen = false;
    bool fileListStarted = false;
    State state = kKeyword;

    for (int cursor = start; cursor < end; ++cursor) {
        TokenInfoObj const* token = sub->getTokenObj(cursor);
        char const* text = token->getString();
        switch (state) {
            case kKeyword: {
                if (token->IsLiteral()) return UnknownKeyword(kName, text);
                auto const* match = static_cast<decltype(&kKeywords[0])>(nullptr);
                for (auto const& k : kKeywords) {
                    if (isKeyword(token, k.keyword)) {
                        match = &k;
                        break;
                    }
                }
                if (match == nullptr) return UnknownKeyword(kName, text);
                if (seen[match->flag]) return DuplicateAttribute(kName, text);
                seen[match->flag] = true;
                if (!IsThisNextOperator(cursor, end, sub, kEquals)) return MissingTrailingEqual(kName, text);
                ++cursor;
                state = match->state;
                listIsFilter = match->flag == 8;
                fileListOpen = fileListStarted = false;
                break;
            }
            case kDataSet:
                dataSet->SetDataSetHandle(text);
                state = kKeyword;
                break;
            case kSourceName:
                if (!isAcceptedName(text)) {
                    ggraph::report(ggraph::kError, msg::kInvalidName, {kName, text});
                    return false;
                }
                dataSet->SetSourceName(text);
                state = kKeyword;
                break;
            case kList: {
                bool ok = listIsFilter ? parseDataFilterVariables(sub, cursor, end, *dataSet)
                                       : parseDataSetVariables(sub, cursor, end, *dataSet);
                if (!ok) return false;
                state = kKeyword;
                break;
            }
            case kTransform:
                if (!parseTransform(sub, cursor, end, *dataSet)) return false;
                state = kKeyword;
                break;
            case kMissing:
                if (isKeyword(token, "LISTWISE")) dataSet->SetMissing(GGraphDataSet::LISTWISE);
                else if (isKeyword(token, "VARIABLEWISE")) dataSet->SetMissing(GGraphDataSet::VARIABLEWISE);
                else if (isKeyword(token, "SETWISE")) dataSet->SetMissing(GGraphDataSet::SETWISE);
                else (void)UnknownKeyword(kName, text);  // reported; the parse goes on
                state = kKeyword;
                break;
            case kReportMissing:
                if (isKeyword(token, "NO")) dataSet->SetReportMissing(GGraphDataSet::NO);
                else if (isKeyword(token, "YES")) dataSet->SetReportMissing(GGraphDataSet::YES);
                else (void)UnknownKeyword(kName, text);  // reported; the parse goes on
                state = kKeyword;
                break;
            case kCaseLimit:
                if (!token->IsInteger() || token->getInteger() < 0) {
                    ggraph::report(ggraph::kError, msg::kBadCaseLimit);
                    return false;
                }
                dataSet->SetCaseLimit(static_cast<unsigned int>(token->getInteger()));
                state = kKeyword;
                break;
            case kFiles:
                if (!fileListStarted && isOperator(token, TokenSequenceBase::OP_LEFT_BRACKET)) {
                    fileListStarted = fileListOpen = true;
                    break;
                }
                fileListStarted = true;
                if (fileListOpen && isOperator(token, TokenSequenceBase::OP_RIGHT_BRACKET)) {
                    state = kKeyword;
                    break;
                }
                settings.AddCSVFile(text);
                dataSet->setUsesCSVFile();
                if (!fileListOpen) state = kKeyword;
                break;
        }
    }
    if (state != kKeyword) {
        (void)IncompleteSubcommand(kName);
        return false;
    }
    if (!seen[kSeenName]) {
        ggraph::report(ggraph::kError, msg::kMissingDataSet);
        return false;
    }
    if (!seen[kSeenDataSet]) dataSet->SetDataSetHandle("*");
    if (seen[kSeenTransform] && !seen[kSeenVariables]) {
        // Reported, and the subcommand goes on: intended. TRANSFORM=NO draws it too.
        ggraph::report(ggraph::kError, msg::kTransformNeedsFunction, {dataSet->GetDataSetHandle()});
    }
    if (!dataSet->CompleteDataSet()) return false;
    settings.AddDataSet(dataSet.release());
    return true;
}

bool GGraphParser::GGraphParserData::parseTransform(SubComObj const* sub, int& cursor, int end,
                                                    GGraphDataSet& dataSet) {
    if (cursor >= end) {
        (void)IncompleteSubcommand(kName);
        return false;
    }
    TokenInfoObj const* word = sub->getTokenObj(cursor);
    if (isKeyword(word, "NO")) return true;
    if (!isKeyword(word, "VARSTOCASES")) return UnknownKeyword(kName, word->getString());
    // Without a list (or with too few tokens for one) the four names take their defaults and the
    // cursor stays on the word.
    bool const room = cursor + 4 < end;
    TokenInfoObj const* open = room ? sub->getTokenObj(cursor + 1) : nullptr;
    if (!room || !(isOperator(open, TokenSequenceBase::OP_LEFT_PAREN) ||
                   isOperator(open, TokenSequenceBase::OP_LEFT_BRACKET))) {
        dataSet.setTranspose("", "", "", "");
        return true;
    }
    static constexpr char const* kNames[] = {"SUMMARY", "INDEX", "LOW", "HIGH"};
    std::string values[4];
    bool seen[4] = {};
    for (cursor += 2; cursor < end;) {
        TokenInfoObj const* token = sub->getTokenObj(cursor);
        // Either bracket closes the list, whichever opened it.
        if (isOperator(token, TokenSequenceBase::OP_RIGHT_PAREN) ||
            isOperator(token, TokenSequenceBase::OP_RIGHT_BRACKET)) {
            dataSet.setTranspose(values[0], values[1], values[2], values[3]);
            return true;
        }
        int which = -1;
        for (int k = 0; k < 4; ++k) {
            if (isKeyword(token, kNames[k])) which = k;  // by its text: "SUMMARY" matches too
        }
        if (which < 0) return UnknownKeyword(kName, token->getString());
        if (seen[which]) return DuplicateAttribute(kName, token->getString());
        seen[which] = true;
        if (!IsThisNextOperator(cursor, end, sub, kEquals)) return MissingTrailingEqual(kName, token->getString());
        cursor += 2;
        if (cursor >= end) break;
        values[which] = sub->getTokenObj(cursor)->getString();
        ++cursor;
    }
    (void)IncompleteSubcommand(kName);
    return false;
}
