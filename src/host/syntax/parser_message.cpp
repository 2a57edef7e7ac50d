// Stock messages of the command parsers, worded for people who read the output.
#include "platform/tokens.h"

#include <fmt/format.h>

#include "platform/output.h"

ParserMessage::ParserMessage() = default;

void ParserMessage::SetCommandName(char const* name) {
    commandName_ = name != nullptr ? name : "";
}

void ParserMessage::SetProcedureTitle(char const* title) {
    procedureTitle_ = title != nullptr ? title : "";
}

namespace {

std::string orBlank(char const* text) {
    return text != nullptr ? text : "";
}

void reportError(std::string const& text) {
    BpError(BpString(text, false), BP_SHOW_OUTPUT, BP_LEVEL_ERROR);
}

}  // namespace

void ParserMessage::ParenRequired(char const* subcommand) {
    std::string const& who = !commandName_.empty() ? commandName_ : procedureTitle_;
    std::string text =
        fmt::format("the {} subcommand needs a left parenthesis here.", orBlank(subcommand));
    reportError(who.empty() ? "The" + text.substr(3) : who + ": " + text);
}

void ParserMessage::ParamValueBreakBdry(double value, double lower,
                                        UPSpecTypes::LowerBdryOptions lowerOption, double upper,
                                        UPSpecTypes::UpperBdryOptions upperOption,
                                        char const* keyword, char const* subcommand) {
    std::string const& who = !commandName_.empty() ? commandName_ : procedureTitle_;
    std::string lowerText = lowerOption == UPSpecTypes::LOWER_INCLUSIVE
                                ? fmt::format("at least {}", lower)
                                : fmt::format("greater than {}", lower);
    std::string upperText = upperOption == UPSpecTypes::UPPER_INCLUSIVE
                                ? fmt::format("at most {}", upper)
                                : fmt::format("less than {}", upper);
    std::string text = fmt::format(
        "the value {} of {} in the {} subcommand is out of range: it must be {} and {}.", value,
        orBlank(keyword), orBlank(subcommand), lowerText, upperText);
    reportError(who.empty() ? "The" + text.substr(3) : who + ": " + text);
}
