#pragma once
// Runs the GGRAPH parser on the first command of a job text, through the real tokenizer and card
// reader, and keeps what it left: the settings and the messages.

#include <memory>
#include <string>
#include <vector>

#include "ggraph/model/ggraph_settings.h"
#include "ggraph/model/graph_spec.h"
#include "host/output/document.h"

namespace test {

struct Message {
    int level;
    std::string text;
};

class ParsedCommand {
public:
    ParsedCommand(std::string const& job, std::string const& context);
    ~ParsedCommand();

    bool parsed = false;     // Parse()
    bool validated = false;  // CompleteAndValidateSyntax(), run only when Parse() succeeded
    GGraphSettings& settings();
    GraphSpec& spec(std::size_t index);
    std::vector<Message> messages() const;
    // The one message the parse reported; fails the test when there are none or several.
    Message onlyMessage() const;
    // The lines the card reader echoed.
    std::vector<std::string> echoedCards() const;
    host::output::Document& document();

    struct State;

private:
    std::unique_ptr<State> state_;
};

// Parses `job`, whose first command is a GGRAPH command, in the given host context ("" or "DM").
inline std::unique_ptr<ParsedCommand> parse(std::string const& job, std::string const& context = "") {
    return std::make_unique<ParsedCommand>(job, context);
}

}  // namespace test
