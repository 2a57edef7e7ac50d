#include "host/dictionary/data_commands.h"

#include <functional>
#include <limits>
#include <optional>
#include <unordered_map>

#include "host/dictionary/dataset.h"
#include "host/dictionary/formats.h"
#include "host/dictionary/registry.h"
#include "host/syntax/tokenizer.h"

namespace host::dictionary {

namespace {

// Each command with the words that name it; the body starts behind the first of them.
enum class Which {
    SplitFile,
    Weight,
    Dataset,
    ValueLabels,
    AddValueLabels,
    VariableLabels,
    MissingValues,
    VariableLevel,
    Formats,
    MrSets,
    None
};

Which identify(std::vector<std::string> const& w) {
    auto is = [&](std::size_t i, char const* word) { return i < w.size() && w[i] == word; };
    if (is(0, "SPLIT") && is(1, "FILE"))
        return Which::SplitFile;
    if (is(0, "WEIGHT"))
        return Which::Weight;
    if (is(0, "DATASET"))
        return Which::Dataset;
    if (is(0, "VALUE") && is(1, "LABELS"))
        return Which::ValueLabels;
    if (is(0, "ADD") && is(1, "VALUE") && is(2, "LABELS"))
        return Which::AddValueLabels;
    if (is(0, "VARIABLE") && is(1, "LABELS"))
        return Which::VariableLabels;
    if (is(0, "VARIABLE") && is(1, "LEVEL"))
        return Which::VariableLevel;
    if (is(0, "MISSING") && is(1, "VALUES"))
        return Which::MissingValues;
    if (is(0, "FORMATS"))
        return Which::Formats;
    if (is(0, "MRSETS"))
        return Which::MrSets;
    return Which::None;
}

char const* commandName(Which which) {
    switch (which) {
        case Which::SplitFile:
            return "SPLIT FILE";
        case Which::Weight:
            return "WEIGHT";
        case Which::Dataset:
            return "DATASET";
        case Which::ValueLabels:
            return "VALUE LABELS";
        case Which::AddValueLabels:
            return "ADD VALUE LABELS";
        case Which::VariableLabels:
            return "VARIABLE LABELS";
        case Which::MissingValues:
            return "MISSING VALUES";
        case Which::VariableLevel:
            return "VARIABLE LEVEL";
        case Which::Formats:
            return "FORMATS";
        case Which::MrSets:
            return "MRSETS";
        case Which::None:
            break;
    }
    return "";
}

// Words of the command's name inside the body (the body starts behind the first word).
int nameWordsInBody(Which which) {
    switch (which) {
        case Which::SplitFile:
        case Which::ValueLabels:
        case Which::VariableLabels:
        case Which::VariableLevel:
        case Which::MissingValues:
            return 1;
        case Which::AddValueLabels:
            return 2;
        default:
            return 0;
    }
}

// Thrown inside a command's parse and caught by applyDataCommand: one mistake, one message.
struct CommandError {
    int line;
    int column;
    std::string text;
};

class Cursor {
public:
    Cursor(std::vector<TokenInfoObj> tokens, int line, int column)
        : tokens_(std::move(tokens)), line_(line), column_(column) {}

    bool atEnd() const { return pos_ >= tokens_.size(); }
    TokenInfoObj const* peek(std::size_t ahead = 0) const {
        return pos_ + ahead < tokens_.size() ? &tokens_[pos_ + ahead] : nullptr;
    }
    TokenInfoObj const& take() {
        if (atEnd())
            fail("the command ends too early");
        return tokens_[pos_++];
    }
    bool isWord(char const* word, std::size_t ahead = 0) const {
        auto const* t = peek(ahead);
        return t && t->getType() == TokenInfoObj::KIND_WORD && equalsNoCase(t->getString(), word);
    }
    bool isOp(TokenSequenceBase::OperatorCode op, std::size_t ahead = 0) const {
        auto const* t = peek(ahead);
        return t && t->IsOperator() && t->getOperatorCode() == op;
    }
    bool takeWord(char const* word) {
        if (!isWord(word))
            return false;
        ++pos_;
        return true;
    }
    bool takeOp(TokenSequenceBase::OperatorCode op) {
        if (!isOp(op))
            return false;
        ++pos_;
        return true;
    }
    void expectOp(TokenSequenceBase::OperatorCode op, char const* what) {
        if (!takeOp(op))
            fail(std::string("expected ") + what + here());
    }
    [[noreturn]] void fail(std::string text) const {
        auto const* t = peek();
        if (!t && !tokens_.empty())
            t = &tokens_.back();
        throw CommandError{t ? t->line() : line_, t ? t->column() : column_, std::move(text)};
    }
    std::string here() const {
        auto const* t = peek();
        return t ? std::string(" where \"") + t->getString() + "\" stands"
                 : " at the end of the command";
    }

private:
    std::vector<TokenInfoObj> tokens_;
    std::size_t pos_ = 0;
    int line_;
    int column_;
};

using Change = std::function<void()>;

class Interpreter {
public:
    Interpreter(Cursor& cursor, std::shared_ptr<Dataset> dataset)
        : c_(cursor), dataset_(std::move(dataset)) {}

    void run(Which which, std::vector<Change>& changes);

private:
    // A list of variables: names and `a TO b`, up to a token that is no word.
    std::vector<int> variableList(bool stopAtKeywords = false);
    int variable();
    void splitFile(std::vector<Change>& changes);
    void weight(std::vector<Change>& changes);
    void dataset(std::vector<Change>& changes);
    void valueLabels(bool add, std::vector<Change>& changes);
    void variableLabels(std::vector<Change>& changes);
    void missingValues(std::vector<Change>& changes);
    void variableLevel(std::vector<Change>& changes);
    void formats(std::vector<Change>& changes);
    void mrsets(std::vector<Change>& changes);
    bool allNumeric(std::vector<int> const& list, bool& mixed) const;
    Variable& var(int index) { return variableAt(*dataset_, index); }

    Cursor& c_;
    std::shared_ptr<Dataset> dataset_;
};

int Interpreter::variable() {
    auto const* t = c_.peek();
    if (!t || t->getType() != TokenInfoObj::KIND_WORD)
        c_.fail("expected a variable name" + c_.here());
    int const index = findVariable(*dataset_, t->getString());
    if (index < 0)
        c_.fail(std::string("the variable \"") + t->getString() + "\" does not exist");
    c_.take();
    return index;
}

std::vector<int> Interpreter::variableList(bool stopAtKeywords) {
    std::vector<int> list;
    while (auto const* t = c_.peek()) {
        if (t->getType() != TokenInfoObj::KIND_WORD)
            break;
        if (stopAtKeywords && c_.isOp(TokenSequenceBase::OP_EQUALS, 1))
            break;
        int const first = variable();
        if (c_.takeWord("TO")) {
            int const last = variable();
            if (last < first)
                c_.fail("the variables of a TO range must stand in dictionary order");
            for (int i = first; i <= last; ++i) list.push_back(i);
        } else {
            list.push_back(first);
        }
    }
    if (list.empty())
        c_.fail("expected a variable name" + c_.here());
    return list;
}

bool Interpreter::allNumeric(std::vector<int> const& list, bool& mixed) const {
    bool numeric = false;
    bool string = false;
    for (int index : list) (variableAt(*dataset_, index).width == 0 ? numeric : string) = true;
    mixed = numeric && string;
    return numeric;
}

void Interpreter::splitFile(std::vector<Change>& changes) {
    if (c_.takeWord("OFF")) {
        changes.push_back([d = dataset_] {
            d->split.clear();
            d->groups.reset();
        });
        return;
    }
    bool layered = true;
    if (c_.takeWord("SEPARATE"))
        layered = false;
    else
        c_.takeWord("LAYERED");
    if (!c_.takeWord("BY"))
        c_.fail("expected BY or OFF" + c_.here());
    std::vector<int> list = variableList();
    if (list.size() > 8)
        c_.fail("at most 8 split variables can be named");
    changes.push_back([d = dataset_, list, layered] {
        d->split = list;
        d->splitLayered = layered;
        d->groups.reset();
    });
}

void Interpreter::weight(std::vector<Change>& changes) {
    if (c_.takeWord("OFF")) {
        changes.push_back([d = dataset_] { d->weight = -1; });
        return;
    }
    if (!c_.takeWord("BY"))
        c_.fail("expected BY or OFF" + c_.here());
    int const index = variable();
    if (var(index).width != 0)
        c_.fail("the weight variable must be numeric, and \"" + var(index).name + "\" is a string");
    changes.push_back([d = dataset_, index] { d->weight = index; });
}

void Interpreter::dataset(std::vector<Change>& changes) {
    bool const activate = c_.takeWord("ACTIVATE");
    if (!activate && !c_.takeWord("NAME"))
        c_.fail("only DATASET ACTIVATE and DATASET NAME are supported");
    auto const& name = c_.take();
    if (name.getType() != TokenInfoObj::KIND_WORD)
        c_.fail("expected the name of a dataset");
    std::string const handle = name.getString();
    // WINDOW= and the like only concern a screen; they are read and have no effect here.
    if (activate) {
        if (!findDataset(handle))
            c_.fail("there is no dataset called \"" + handle + "\"");
        changes.push_back([handle] { (void)activateDataset(handle); });
    } else {
        changes.push_back([d = dataset_, handle] { addNamedDataset(handle, d); });
    }
    while (!c_.atEnd()) c_.take();
}

void Interpreter::valueLabels(bool add, std::vector<Change>& changes) {
    while (!c_.atEnd()) {
        std::vector<int> list = variableList();
        bool mixed = false;
        bool const numeric = allNumeric(list, mixed);
        if (mixed)
            c_.fail("one list of value labels cannot serve numeric and string variables together");
        std::vector<std::pair<TokenInfoObj, std::string>> pairs;
        while (!c_.atEnd() && !c_.isOp(TokenSequenceBase::OP_SLASH)) {
            auto const& value = c_.take();
            if (numeric && !value.IsNumber()) {
                c_.fail(std::string("\"") + value.getString() +
                        "\" is not a number, as the variables are numeric");
            }
            if (!numeric && !value.IsLiteral()) {
                c_.fail(std::string("the value ") + value.getString() +
                        " must be a quoted text, as the variables are strings");
            }
            auto const* label = c_.peek();
            if (!label || !label->IsLiteral())
                c_.fail("expected a quoted label" + c_.here());
            pairs.emplace_back(value, c_.take().getString());
        }
        c_.takeOp(TokenSequenceBase::OP_SLASH);
        for (int index : list) {
            changes.push_back([d = dataset_, index, pairs, add] {
                auto& variable = variableAt(*d, index);
                auto labels = std::make_shared<ValueLabels>(ValueLabels{variable.width, {}});
                if (add && variable.labels)
                    *labels = *variable.labels;
                // A value labelled again takes the new label: found by its cell's bytes, so
                // that a list of 100,000 labels is not compared pair by pair.
                auto bytesOf = [](std::vector<OBS> const& cell) {
                    return std::string(reinterpret_cast<char const*>(cell.data()),
                                       cell.size() * sizeof(OBS));
                };
                std::unordered_map<std::string, std::size_t> at;
                for (std::size_t i = 0; i < labels->entries.size(); ++i)
                    at.emplace(bytesOf(labels->entries[i].cell), i);
                for (auto const& [value, label] : pairs) {
                    auto entry =
                        makeLabelEntry(variable, value.getNumeric(), value.getString(), label);
                    auto [found, fresh] = at.try_emplace(bytesOf(entry.cell), labels->entries.size());
                    if (fresh)
                        labels->entries.push_back(std::move(entry));
                    else
                        labels->entries[found->second] = std::move(entry);
                }
                variable.labels = labels;
            });
        }
    }
}

void Interpreter::variableLabels(std::vector<Change>& changes) {
    while (!c_.atEnd()) {
        int const index = variable();
        auto const* label = c_.peek();
        if (!label || !label->IsLiteral())
            c_.fail("expected a quoted label" + c_.here());
        std::string text = c_.take().getString();
        changes.push_back([d = dataset_, index, text] {
            auto& variable = variableAt(*d, index);
            variable.label = text;
            variable.hasLabel = !text.empty();
        });
        c_.takeOp(TokenSequenceBase::OP_SLASH);
    }
}

void Interpreter::missingValues(std::vector<Change>& changes) {
    constexpr double lowest = std::numeric_limits<double>::lowest();
    constexpr double highest = std::numeric_limits<double>::max();
    while (!c_.atEnd()) {
        std::vector<int> list = variableList();
        bool mixed = false;
        bool const numeric = allNumeric(list, mixed);
        if (mixed)
            c_.fail(
                "one list of missing values cannot serve numeric and string variables together");
        c_.expectOp(TokenSequenceBase::OP_LEFT_PAREN, "a left parenthesis");
        std::vector<double> numbers;
        std::vector<std::string> texts;
        std::optional<std::pair<double, double>> range;
        auto bound = [&](bool low) -> double {
            if (c_.takeWord(low ? "LO" : "HI") || c_.takeWord(low ? "LOWEST" : "HIGHEST"))
                return low ? lowest : highest;
            auto const& t = c_.take();
            if (!t.IsNumber())
                c_.fail(std::string("\"") + t.getString() + "\" is not a number");
            return t.getNumeric();
        };
        while (!c_.takeOp(TokenSequenceBase::OP_RIGHT_PAREN)) {
            if (c_.atEnd())
                c_.fail("expected a right parenthesis at the end of the command");
            if (!numeric) {
                auto const& t = c_.take();
                if (!t.IsLiteral())
                    c_.fail(std::string("the missing value ") + t.getString() +
                            " must be a quoted text, as the variables are strings");
                texts.push_back(trimRight(t.getString()));
                continue;
            }
            bool const startsLow = c_.isWord("LO") || c_.isWord("LOWEST");
            double const first = bound(true);
            if (c_.takeWord("THRU")) {
                if (range)
                    c_.fail("only one THRU range of missing values is allowed");
                double const second = bound(false);
                if (second < first)
                    c_.fail("the missing range runs from a higher to a lower value");
                range = std::make_pair(first, second);
            } else {
                if (startsLow)
                    c_.fail("LO needs THRU and an upper bound");
                numbers.push_back(first);
            }
        }
        std::size_t const count = numbers.size() + texts.size() + (range ? 2 : 0);
        if (count > 3)
            c_.fail("at most three missing values, or a range and one value, can be given");
        c_.takeOp(TokenSequenceBase::OP_SLASH);
        for (int index : list) {
            changes.push_back([d = dataset_, index, numbers, texts, range] {
                auto& variable = variableAt(*d, index);
                variable.missingNumbers = numbers;
                variable.missingTexts = texts;
                variable.hasMissingRange = range.has_value();
                if (range) {
                    variable.missingLow = range->first;
                    variable.missingHigh = range->second;
                }
            });
        }
    }
}

void Interpreter::variableLevel(std::vector<Change>& changes) {
    while (!c_.atEnd()) {
        std::vector<int> list = variableList();
        c_.expectOp(TokenSequenceBase::OP_LEFT_PAREN, "a left parenthesis");
        int level = 0;
        if (c_.takeWord("NOMINAL"))
            level = MEASURE_NOMINAL;
        else if (c_.takeWord("ORDINAL"))
            level = MEASURE_ORDINAL;
        else if (c_.takeWord("SCALE"))
            level = MEASURE_SCALE;
        else
            c_.fail("expected NOMINAL, ORDINAL or SCALE" + c_.here());
        c_.expectOp(TokenSequenceBase::OP_RIGHT_PAREN, "a right parenthesis");
        c_.takeOp(TokenSequenceBase::OP_SLASH);
        for (int index : list) {
            changes.push_back(
                [d = dataset_, index, level] { variableAt(*d, index).measure = level; });
        }
    }
}

void Interpreter::formats(std::vector<Change>& changes) {
    while (!c_.atEnd()) {
        std::vector<int> list = variableList();
        c_.expectOp(TokenSequenceBase::OP_LEFT_PAREN, "a left parenthesis");
        auto const& spec = c_.take();
        int type = 0;
        int width = 0;
        int decimals = 0;
        if (!parseFormat(spec.getString(), type, width, decimals)) {
            c_.fail(std::string("\"") + spec.getString() + "\" is not a valid print format");
        }
        c_.expectOp(TokenSequenceBase::OP_RIGHT_PAREN, "a right parenthesis");
        for (int index : list) {
            auto const& variable = var(index);
            if (!formatFitsVariable(type, variable.width == 0)) {
                c_.fail("the format " + formatTypeName(type) + " does not fit the " +
                        (variable.width == 0 ? "numeric" : "string") + " variable \"" +
                        variable.name + "\"");
            }
            if (variable.width != 0 && width != variable.width) {
                c_.fail("the format of the string variable \"" + variable.name + "\" must be A" +
                        std::to_string(variable.width) +
                        ": a format does not change a string's width");
            }
        }
        c_.takeOp(TokenSequenceBase::OP_SLASH);
        for (int index : list) {
            changes.push_back([d = dataset_, index, type, width, decimals] {
                auto& variable = variableAt(*d, index);
                if (variable.width == 0)
                    variable.format = KwelFormatPack(type, width, decimals);
            });
        }
    }
}

void Interpreter::mrsets(std::vector<Change>& changes) {
    while (!c_.atEnd()) {
        c_.takeOp(TokenSequenceBase::OP_SLASH);
        if (c_.atEnd())
            break;
        auto const& sub = c_.take();
        std::string const name = upper(sub.getString());
        if (name == "DISPLAY") {
            while (!c_.atEnd() && !c_.isOp(TokenSequenceBase::OP_SLASH)) c_.take();
            continue;
        }
        if (name == "DELETE") {
            if (!c_.takeWord("NAME"))
                c_.fail("expected NAME=" + c_.here());
            c_.expectOp(TokenSequenceBase::OP_EQUALS, "an equals sign");
            std::vector<std::string> names;
            bool all = false;
            bool const bracket = c_.takeOp(TokenSequenceBase::OP_LEFT_BRACKET);
            while (!c_.atEnd() && !c_.isOp(TokenSequenceBase::OP_SLASH) &&
                   !c_.isOp(TokenSequenceBase::OP_RIGHT_BRACKET)) {
                std::string const set = c_.take().getString();
                if (equalsNoCase(set, "ALL"))
                    all = true;
                else
                    names.push_back(set);
            }
            if (bracket)
                c_.expectOp(TokenSequenceBase::OP_RIGHT_BRACKET, "a right bracket");
            changes.push_back([d = dataset_, names, all] {
                std::erase_if(d->sets, [&](VariableSet const& set) {
                    if (all)
                        return true;
                    for (auto const& n : names) {
                        if (equalsNoCase(n, set.GetName(VariableSet::CHANGECASE_NONE)))
                            return true;
                    }
                    return false;
                });
            });
            continue;
        }
        bool const dichotomy = name == "MDGROUP";
        if (!dichotomy && name != "MCGROUP") {
            c_.fail("unknown subcommand /" + std::string(sub.getString()) +
                    "; expected MCGROUP, MDGROUP, DELETE or DISPLAY");
        }
        std::string setName;
        std::string label;
        std::string counted;
        bool hasValue = false;
        bool categoryLabels = false;
        std::vector<int> members;
        while (!c_.atEnd() && !c_.isOp(TokenSequenceBase::OP_SLASH)) {
            auto const& key = c_.take();
            std::string const keyword = upper(key.getString());
            c_.expectOp(TokenSequenceBase::OP_EQUALS, "an equals sign");
            if (keyword == "NAME") {
                setName = c_.take().getString();
                if (setName.size() < 2 || setName[0] != '$')
                    c_.fail("the name of a multiple-response set must start with $");
            } else if (keyword == "LABEL") {
                auto const& t = c_.take();
                if (!t.IsLiteral())
                    c_.fail("expected a quoted label");
                label = t.getString();
            } else if (keyword == "VARIABLES") {
                members = variableList(true);
            } else if (keyword == "VALUE" && dichotomy) {
                auto const& t = c_.take();
                if (!t.IsNumber() && !t.IsLiteral())
                    c_.fail("the counted value must be a number or a quoted text");
                counted = t.getString();
                hasValue = true;
            } else if (keyword == "CATEGORYLABELS" && dichotomy) {
                if (c_.takeWord("COUNTEDVALUES"))
                    categoryLabels = true;
                else if (!c_.takeWord("VARLABELS"))
                    c_.fail("expected VARLABELS or COUNTEDVALUES" + c_.here());
            } else {
                c_.fail("unknown keyword " + std::string(key.getString()) + " on /" + name);
            }
        }
        if (setName.empty())
            c_.fail("/" + name + " needs NAME=");
        if (members.size() < 2)
            c_.fail("the set " + setName + " needs at least two variables");
        if (dichotomy && !hasValue)
            c_.fail("the set " + setName + " needs VALUE=");
        bool mixed = false;
        allNumeric(members, mixed);
        if (mixed)
            c_.fail("the set " + setName + " mixes numeric and string variables");
        std::vector<std::string> names;
        for (int index : members) names.push_back(var(index).name);
        VariableSet set(setName, dichotomy ? VariableSet::DICHOTOMY_SET : VariableSet::CATEGORY_SET,
                        label, names, counted, categoryLabels);
        changes.push_back([d = dataset_, set] {
            for (auto& existing : d->sets) {
                if (equalsNoCase(existing.GetName(VariableSet::CHANGECASE_NONE),
                                 set.GetName(VariableSet::CHANGECASE_NONE))) {
                    existing = set;
                    return;
                }
            }
            d->sets.push_back(set);
        });
    }
}

void Interpreter::run(Which which, std::vector<Change>& changes) {
    switch (which) {
        case Which::SplitFile:
            splitFile(changes);
            break;
        case Which::Weight:
            weight(changes);
            break;
        case Which::Dataset:
            dataset(changes);
            break;
        case Which::ValueLabels:
            valueLabels(false, changes);
            break;
        case Which::AddValueLabels:
            valueLabels(true, changes);
            break;
        case Which::VariableLabels:
            variableLabels(changes);
            break;
        case Which::MissingValues:
            missingValues(changes);
            break;
        case Which::VariableLevel:
            variableLevel(changes);
            break;
        case Which::Formats:
            formats(changes);
            break;
        case Which::MrSets:
            mrsets(changes);
            break;
        case Which::None:
            break;
    }
    if (!c_.atEnd())
        c_.fail("unexpected text" + c_.here());
}

}  // namespace

bool isDataCommand(std::vector<std::string> const& upperWords) {
    return identify(upperWords) != Which::None;
}

std::vector<Diagnostic> applyDataCommand(std::vector<std::string> const& upperWords,
                                         std::string const& body, int line, int column) {
    std::vector<Diagnostic> messages;
    auto report = [&](int at, int col, std::string text,
                      Diagnostic::Level level = Diagnostic::Error) {
        Diagnostic d;
        d.level = level;
        d.line = at;
        d.column = col;
        d.text = std::move(text);
        messages.push_back(std::move(d));
    };
    Which const which = identify(upperWords);
    std::string const name = commandName(which);
    if (which == Which::None) {
        std::string words;
        for (auto const& word : upperWords) words += (words.empty() ? "" : " ") + word;
        report(line, 0, words + " is not a command that changes the dataset");
        return messages;
    }
    auto tokens = host::syntax::tokenize(body, line, column);
    for (auto const& problem : tokens.diagnostics) {
        report(problem.line, problem.column, problem.text);
    }
    if (!messages.empty())
        return messages;
    std::vector<TokenInfoObj> list = std::move(tokens.tokens);
    // Commas only separate, as in the other commands' lists.
    std::erase_if(list, [](TokenInfoObj const& t) {
        return t.IsOperator() && t.getOperatorCode() == TokenSequenceBase::OP_COMMA;
    });
    int const skip = nameWordsInBody(which);
    list.erase(list.begin(), list.begin() + std::min<std::ptrdiff_t>(
                                                skip, static_cast<std::ptrdiff_t>(list.size())));
    Cursor cursor(std::move(list), line, column);
    std::vector<Change> changes;
    try {
        Interpreter(cursor, activeDataset()).run(which, changes);
    } catch (CommandError const& error) {
        report(error.line, error.column, name + ": " + error.text + "; the command is ignored");
        return messages;
    }
    for (auto const& change : changes) change();
    return messages;
}

}  // namespace host::dictionary
