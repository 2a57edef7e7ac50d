#include "host/syntax/current_command.h"

#include <optional>

namespace host::syntax {

namespace {

// One thread runs a job; these are the runner's state, set around each command.
JobInput* gInput = nullptr;
std::optional<Command> gCommand;
TokenizeResult gTokens;

KwelWorkspace& emptyWorkspace() {
    static KwelWorkspace workspace;
    return workspace;
}

}  // namespace

void setCurrentInput(JobInput* input) {
    gInput = input;
    clearCurrentCommand();
}

JobInput* currentInput() {
    return gInput;
}

void setCurrentCommand(Command const& command, int nameWords) {
    gCommand = command;
    gTokens = {};
    if (command.kind == Command::Kind::Ordinary) {
        gTokens = tokenize(command.text, command.firstLine);
        // Drop the command name, word by word, as far as it is made of words.
        std::size_t drop = 0;
        while (drop < gTokens.tokens.size() && static_cast<int>(drop) < nameWords &&
               gTokens.tokens[drop].IsString()) {
            ++drop;
        }
        gTokens.tokens.erase(gTokens.tokens.begin(),
                             gTokens.tokens.begin() + static_cast<long>(drop));
    }
    if (gInput != nullptr)
        gInput->startCards(command);
}

void clearCurrentCommand() {
    gCommand.reset();
    gTokens = {};
}

Command const* currentCommand() {
    return gCommand ? &*gCommand : nullptr;
}

TokenizeResult const& currentTokens() {
    return gTokens;
}

KwelWorkspace* currentWorkspace() {
    return gInput != nullptr ? &gInput->workspace() : &emptyWorkspace();
}

}  // namespace host::syntax
