#include "host/clickhouse/job_columns.h"

#include <algorithm>
#include <string>

#include "host/syntax/current_command.h"

namespace host::clickhouse {

namespace {

using Op = TokenSequenceBase::OperatorCode;

bool isOperator(TokenInfoObj const& token, Op op) {
    return token.IsOperator() && token.getOperatorCode() == op;
}

// A keyword of the command may be shortened to its first few letters.
bool keyword(TokenInfoObj const& token, std::string_view word, std::size_t shortest) {
    if (!token.IsString())
        return false;
    std::string const text = dictionary::upper(token.getString());
    return text.size() >= shortest && text.size() <= word.size() &&
           word.substr(0, text.size()) == text;
}

}  // namespace

JobColumns jobColumns(dictionary::Dataset const& dataset, std::vector<TokenInfoObj> const& tokens) {
    JobColumns result;
    std::vector<char> used(dataset.variables.size(), 0);
    auto use = [&](int index) {
        if (index >= 0 && static_cast<std::size_t>(index) < used.size())
            used[static_cast<std::size_t>(index)] = 1;
    };
    for (int index : dataset.split) use(index);
    use(dataset.weight);
    bool inFilter = false;
    for (std::size_t i = 0; i < tokens.size(); ++i) {
        TokenInfoObj const& token = tokens[i];
        if (isOperator(token, Op::OP_SLASH))
            inFilter = false;
        if (keyword(token, "DATAFILTER", 5))
            inFilter = true;
        if (keyword(token, "CASELIMIT", 5) && i + 2 < tokens.size() &&
            isOperator(tokens[i + 1], Op::OP_EQUALS) && tokens[i + 2].IsNumber()) {
            auto const limit = static_cast<std::int64_t>(tokens[i + 2].getNumeric());
            result.caseLimit = std::max(result.caseLimit.value_or(0), limit);
        }
        if (!token.IsString())
            continue;
        std::string const word = token.getString();
        if (dictionary::equalsNoCase(word, "ALL")) {
            std::fill(used.begin(), used.end(), 1);
            continue;
        }
        if (!word.empty() && word[0] == '$') {
            for (auto const& set : dataset.sets) {
                if (!dictionary::equalsNoCase(set.GetName(VariableSet::CHANGECASE_NONE), word))
                    continue;
                for (auto const& member : set.GetVariableNames(VariableSet::CHANGECASE_NONE))
                    use(dictionary::findVariable(dataset, member));
            }
            continue;
        }
        int const index = dictionary::findVariable(dataset, word);
        if (index < 0)
            continue;
        use(index);
        if (inFilter && i + 1 < tokens.size() && isOperator(tokens[i + 1], Op::OP_LEFT_PAREN))
            result.filtered.push_back(index);
        // a TO b: every variable between them in the dictionary's order.
        if (i + 2 < tokens.size() && keyword(tokens[i + 1], "TO", 2) && tokens[i + 2].IsString()) {
            int const last = dictionary::findVariable(dataset, tokens[i + 2].getString());
            for (int k = std::min(index, last); last >= 0 && k <= std::max(index, last); ++k)
                use(k);
        }
    }
    for (std::size_t i = 0; i < used.size(); ++i) {
        if (used[i])
            result.used.push_back(static_cast<int>(i));
    }
    std::sort(result.filtered.begin(), result.filtered.end());
    result.filtered.erase(std::unique(result.filtered.begin(), result.filtered.end()),
                          result.filtered.end());
    return result;
}

JobColumns currentJobColumns(dictionary::Dataset const& dataset) {
    return jobColumns(dataset, syntax::currentTokens().tokens);
}

}  // namespace host::clickhouse
