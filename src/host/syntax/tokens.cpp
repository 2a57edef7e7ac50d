// The token service: token objects, the token sequence of the current command and the
// splitter into subcommands.
#include "platform/tokens.h"

#include <climits>
#include <cmath>

#include <fmt/format.h>

#include "host/syntax/current_command.h"
#include "host/syntax/tokenizer.h"
#include "platform/host_procedure.h"
#include "platform/output.h"

TokenSequenceBase::~TokenSequenceBase() = default;

std::vector<TokenProblem> const& TokenSequenceBase::Problems() const {
    static std::vector<TokenProblem> const none;
    return none;
}

TokenInfoObj::TokenInfoObj(Kind kind, std::string text, double number,
                           TokenSequenceBase::OperatorCode op, int line, int column)
    : kind_(kind), text_(std::move(text)), number_(number), op_(op), line_(line), column_(column) {}

bool TokenInfoObj::IsVarName() const {
    return kind_ == KIND_WORD && ValidateKWELName(text_.c_str()) >= 0;
}

bool TokenInfoObj::IsInteger() const {
    return kind_ == KIND_NUMBER && std::isfinite(number_) && std::trunc(number_) == number_ &&
           number_ >= INT_MIN && number_ <= INT_MAX;
}

int TokenInfoObj::getInteger() const {
    if (IsInteger())
        return static_cast<int>(number_);
    if (!(number_ == number_))
        return 0;  // NaN
    if (number_ <= INT_MIN)
        return INT_MIN;
    if (number_ >= INT_MAX)
        return INT_MAX;
    return static_cast<int>(number_);
}

KWEL_TokenSequence::KWEL_TokenSequence(bool current) {
    if (!current)
        return;
    auto const& now = host::syntax::currentTokens();
    tokens_ = now.tokens;
    problems_ = now.diagnostics;
}

KWEL_TokenSequence::KWEL_TokenSequence(std::string const& commandBody, int firstLine) {
    auto result = host::syntax::tokenize(commandBody, firstLine);
    tokens_ = std::move(result.tokens);
    problems_ = std::move(result.diagnostics);
}

KWEL_TokenSequence::~KWEL_TokenSequence() = default;

bool KWEL_TokenSequence::Next() {
    long const size = static_cast<long>(tokens_.size());
    if (position_ + 1 < size) {
        ++position_;
        return true;
    }
    position_ = size;
    return false;
}

TokenInfoObj const* KWEL_TokenSequence::Current() const {
    if (position_ < 0 || position_ >= static_cast<long>(tokens_.size()))
        return nullptr;
    return &tokens_[static_cast<std::size_t>(position_)];
}

SubComObj::SubComObj(std::string name) : name_(std::move(name)) {}

TokenInfoObj* SubComObj::getTokenObj(int index) const {
    if (index < 0 || index >= getTokenListSize())
        return nullptr;
    return tokens_[static_cast<std::size_t>(index)].get();
}

void SubComObj::addToken(TokenInfoObj const& token) {
    tokens_.push_back(std::make_unique<TokenInfoObj>(token));
}

CommandSpec::CommandSpec() = default;
CommandSpec::~CommandSpec() = default;

SubComObj* CommandSpec::getSubComObj(int index) const {
    if (index < 0 || index >= getSubComListSize())
        return nullptr;
    return subcommands_[static_cast<std::size_t>(index)].get();
}

SubComObj* CommandSpec::addSubCom(std::string const& name) {
    subcommands_.push_back(std::make_unique<SubComObj>(name));
    return subcommands_.back().get();
}

UniversalParser::UniversalParser(TokenSequenceBase& tokens, CommandSpec& spec,
                                 CommandDescriptor const& descriptor)
    : tokens_(tokens), spec_(spec), descriptor_(descriptor) {}

namespace {

void report(int line, int column, std::string const& text, BpErrorLevel level) {
    BpError(BpString(fmt::format("Line {}, column {}: {}", line, column, text), false),
            BP_SHOW_OUTPUT, level);
}

bool isOperator(TokenInfoObj const& token, TokenSequenceBase::OperatorCode code) {
    return token.IsOperator() && token.getOperatorCode() == code;
}

}  // namespace

int UniversalParser::getCommandSpecifications() {
    // The host keeps no declared lists of subcommands: every name is taken, arbitrary or not,
    // and a command's own parser refuses the names it doesn't have.
    (void)descriptor_;

    bool failed = false;
    for (auto const& problem : tokens_.Problems()) {
        report(problem.line, problem.column, problem.text,
               problem.error ? BP_LEVEL_ERROR : BP_LEVEL_WARNING);
        failed = failed || problem.error;
    }
    if (failed)
        return 1;

    std::vector<TokenInfoObj> tokens;
    while (tokens_.Next()) {
        if (TokenInfoObj const* token = tokens_.Current())
            tokens.push_back(*token);
    }

    int depth = 0;
    SubComObj* current = nullptr;
    for (std::size_t i = 0; i < tokens.size(); ++i) {
        TokenInfoObj const& token = tokens[i];
        if (isOperator(token, TokenSequenceBase::OP_COMMA))
            continue;

        bool const opensSubcommand = isOperator(token, TokenSequenceBase::OP_SLASH) && depth == 0;
        if (opensSubcommand || current == nullptr) {
            std::size_t nameAt = opensSubcommand ? i + 1 : i;
            if (nameAt >= tokens.size() || !tokens[nameAt].IsString()) {
                if (opensSubcommand) {
                    report(token.line(), token.column(), "A subcommand name must follow the slash.",
                           BP_LEVEL_ERROR);
                    return 2;
                }
                report(
                    token.line(), token.column(),
                    fmt::format("A subcommand name is expected here, not {}.", token.getString()),
                    BP_LEVEL_ERROR);
                return 3;
            }
            current = spec_.addSubCom(tokens[nameAt].getString());
            i = nameAt;
            // An equals sign behind the name belongs to the name.
            if (i + 1 < tokens.size() && isOperator(tokens[i + 1], TokenSequenceBase::OP_EQUALS)) {
                ++i;
            }
            continue;
        }

        if (isOperator(token, TokenSequenceBase::OP_LEFT_PAREN) ||
            isOperator(token, TokenSequenceBase::OP_LEFT_BRACKET)) {
            ++depth;
        } else if (depth > 0 && (isOperator(token, TokenSequenceBase::OP_RIGHT_PAREN) ||
                                 isOperator(token, TokenSequenceBase::OP_RIGHT_BRACKET))) {
            --depth;
        }
        current->addToken(token);
    }
    return 0;
}
