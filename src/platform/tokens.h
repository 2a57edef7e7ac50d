#pragma once
// The token service: the tokens of the current command, and the splitter that groups them into
// subcommands for a command's parser.

#include <memory>
#include <string>
#include <vector>

class TokenInfoObj;

// A problem met while a text was tokenised: where it stands (1-based) and whether it stops the
// command (an error) or only warns (a byte that was not UTF-8 and was replaced).
struct TokenProblem {
    int line = 0;
    int column = 0;
    bool error = true;
    std::string text;
};

class TokenSequenceBase {
public:
    // Codes of the operator tokens. Code 0 is given by every token that is no operator.
    enum OperatorCode {
        OP_NONE = 0,
        OP_PLUS = 1,
        OP_MINUS = 2,
        OP_EQUALS = 3,
        OP_LESS = 4,
        OP_GREATER = 5,
        OP_LESS_EQUAL = 6,
        OP_GREATER_EQUAL = 7,
        OP_NOT_EQUAL = 8,
        OP_AND = 9,
        OP_OR = 10,
        OP_NOT = 11,
        OP_ASTERISK = 12,
        OP_LEFT_PAREN = 13,
        OP_RIGHT_PAREN = 14,
        OP_SLASH = 15,
        OP_POWER = 16,
        OP_COMMA = 17,
        OP_COLON = 18,
        OP_SEMICOLON = 19,
        OP_PERIOD = 20,
        OP_LEFT_BRACKET = 36,
        OP_RIGHT_BRACKET = 37,
    };

    virtual ~TokenSequenceBase();
    // Steps to the next token; false at the end of the command.
    virtual bool Next() = 0;
    // The token the cursor stands on; null before the first Next and after the end.
    virtual TokenInfoObj const* Current() const = 0;
    // Problems met while the tokens were made; the splitter reports them. Empty by default.
    virtual std::vector<TokenProblem> const& Problems() const;
};

class TokenInfoObj {
public:
    enum Kind { KIND_NUMBER = 1, KIND_WORD = 2, KIND_LITERAL = 4, KIND_OPERATOR = 5 };

    TokenInfoObj(Kind kind, std::string text, double number = 0.0,
                 TokenSequenceBase::OperatorCode op = TokenSequenceBase::OP_NONE, int line = 0,
                 int column = 0);

    char const* getString() const { return text_.c_str(); }
    int getType() const { return kind_; }
    bool IsString() const { return kind_ == KIND_WORD; }
    bool IsVarName() const;
    bool IsLiteral() const { return kind_ == KIND_LITERAL; }
    bool IsNumber() const { return kind_ == KIND_NUMBER; }
    double getNumeric() const { return number_; }
    bool IsInteger() const;
    int getInteger() const;
    bool IsOperator() const { return kind_ == KIND_OPERATOR; }
    TokenSequenceBase::OperatorCode getOperatorCode() const { return op_; }
    // Where the token stands in the job file, 1-based.
    int line() const { return line_; }
    int column() const { return column_; }

private:
    Kind kind_;
    std::string text_;
    double number_;
    TokenSequenceBase::OperatorCode op_;
    int line_;
    int column_;
};

// The tokens of the command the interpreter is executing, behind its name.
class KWEL_TokenSequence : public TokenSequenceBase {
public:
    // `current` true reads the command that the host is running now; false gives an empty
    // sequence.
    explicit KWEL_TokenSequence(bool current);
    // A sequence over a text of its own, tokenised as a command body (used by tools and tests).
    explicit KWEL_TokenSequence(std::string const& commandBody, int firstLine = 1);
    ~KWEL_TokenSequence() override;
    bool Next() override;
    TokenInfoObj const* Current() const override;
    std::vector<TokenProblem> const& Problems() const override { return problems_; }

private:
    std::vector<TokenInfoObj> tokens_;
    std::vector<TokenProblem> problems_;
    long position_ = -1;
};

class SubComObj {
public:
    explicit SubComObj(std::string name);
    std::string getSubComName() const { return name_; }
    int getTokenListSize() const { return static_cast<int>(tokens_.size()); }
    TokenInfoObj* getTokenObj(int index) const;
    void addToken(TokenInfoObj const& token);

private:
    std::string name_;
    std::vector<std::unique_ptr<TokenInfoObj>> tokens_;
};

class CommandSpec {
public:
    CommandSpec();
    ~CommandSpec();
    int getSubComListSize() const { return static_cast<int>(subcommands_.size()); }
    SubComObj* getSubComObj(int index) const;
    SubComObj* addSubCom(std::string const& name);

private:
    std::vector<std::unique_ptr<SubComObj>> subcommands_;
};

class CommandDescriptor {
public:
    CommandDescriptor() = default;
    // Arbitrary: any subcommand name is taken without a declared list.
    void setSubComArbitrary(bool arbitrary) { arbitrary_ = arbitrary; }
    bool isSubComArbitrary() const { return arbitrary_; }

private:
    bool arbitrary_ = false;
};

// Splits the tokens of a command into subcommands: a subcommand starts at a '/' (outside
// brackets) or, for the first one, at the first word; its name is the word behind the slash.
// Commas separate and are dropped. Reports its own errors through the output.
class UniversalParser {
public:
    UniversalParser(TokenSequenceBase& tokens, CommandSpec& spec, CommandDescriptor const& descriptor);
    // 0 on success.
    int getCommandSpecifications();

private:
    TokenSequenceBase& tokens_;
    CommandSpec& spec_;
    CommandDescriptor const& descriptor_;
};

namespace UPSpecTypes {
// Whether a bound is part of the range (1) or not (0).
enum LowerBdryOptions { LOWER_EXCLUSIVE = 0, LOWER_INCLUSIVE = 1 };
enum UpperBdryOptions { UPPER_EXCLUSIVE = 0, UPPER_INCLUSIVE = 1 };
}  // namespace UPSpecTypes

// Stock messages of the command language's parsers.
class ParserMessage {
public:
    ParserMessage();
    void SetCommandName(char const* name);
    void SetProcedureTitle(char const* title);
    // "A left parenthesis is required ..." for a subcommand; level 3.
    void ParenRequired(char const* subcommand);
    // A value outside its range; level 3.
    void ParamValueBreakBdry(double value, double lower, UPSpecTypes::LowerBdryOptions lowerOption,
                             double upper, UPSpecTypes::UpperBdryOptions upperOption,
                             char const* keyword, char const* subcommand);

private:
    std::string commandName_;
    std::string procedureTitle_;
};
