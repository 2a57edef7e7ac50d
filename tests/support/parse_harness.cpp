#include "support/parse_harness.h"

#include <gtest/gtest.h>

#include "ggraph/syntax/ggraph_parser.h"
#include "host/syntax/current_command.h"
#include "host/syntax/job_input.h"
#include "platform/data_source.h"
#include "platform/messages.h"

namespace test {

struct ParsedCommand::State {
    explicit State(std::string const& text) : job(text) {}
    host::output::Document document;
    host::syntax::JobInput job;
    ProcedureDataSource dataSource;
    FacSTDictionary dictionary{""};
    std::unique_ptr<GGraphParser> parser;
};

namespace {

void collect(std::vector<host::output::Item> const& items, std::vector<Message>& messages,
             std::vector<std::string>* cards) {
    for (auto const& item : items) {
        if (item.kind == host::output::ItemKind::Message) messages.push_back({item.level, item.text});
        if (cards != nullptr && item.kind == host::output::ItemKind::Command) cards->push_back(item.text);
        collect(item.children, messages, cards);
    }
}

}  // namespace

ParsedCommand::ParsedCommand(std::string const& job, std::string const& context)
    : state_(std::make_unique<State>(job)) {
    host::output::ScopedDocument scope(state_->document);
    host::syntax::setCurrentInput(&state_->job);
    host::syntax::setContextCode(context);
    auto command = state_->job.commandAt(0);
    if (command) host::syntax::setCurrentCommand(*command);
    state_->parser = std::make_unique<GGraphParser>(&state_->dataSource, &state_->dictionary);
    parsed = state_->parser->Parse();
    if (parsed) validated = state_->parser->CompleteAndValidateSyntax();
    host::syntax::setCurrentInput(nullptr);
    host::syntax::setContextCode("");
}

ParsedCommand::~ParsedCommand() = default;

GGraphSettings& ParsedCommand::settings() { return *state_->parser->GetSettings(); }

GraphSpec& ParsedCommand::spec(std::size_t index) {
    auto& specs = settings().GetGraphSpecs();
    if (index >= specs.size()) {
        ADD_FAILURE() << "no graph specification " << index;
        static GraphSpec empty;
        return empty;
    }
    return *specs[index];
}

std::vector<Message> ParsedCommand::messages() const {
    std::vector<Message> messages;
    collect(state_->document.items(), messages, nullptr);
    return messages;
}

Message ParsedCommand::onlyMessage() const {
    auto all = messages();
    if (all.size() != 1) {
        std::string listing;
        for (auto const& m : all) listing += "\n  " + std::to_string(m.level) + ": " + m.text;
        ADD_FAILURE() << "expected one message, got " << all.size() << listing;
        return all.empty() ? Message{0, ""} : all.front();
    }
    return all.front();
}

std::vector<std::string> ParsedCommand::echoedCards() const {
    std::vector<Message> ignored;
    std::vector<std::string> cards;
    collect(state_->document.items(), ignored, &cards);
    return cards;
}

host::output::Document& ParsedCommand::document() { return state_->document; }

}  // namespace test
