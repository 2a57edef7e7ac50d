// Fuzz target of the command syntax: a job split into commands, each command tokenised and split
// into subcommands. Problems must come back as messages, never as a crash or a hang.
#include <cstddef>
#include <cstdint>
#include <string>

#include "host/output/document.h"
#include "host/syntax/job_input.h"
#include "platform/tokens.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    host::output::Document document;
    host::output::ScopedDocument scope(document);
    host::syntax::JobInput job(std::string(reinterpret_cast<char const*>(data), size));
    for (auto const& command : job.commands()) {
        KWEL_TokenSequence tokens(command.body, command.bodyLine);
        CommandSpec spec;
        CommandDescriptor descriptor;
        descriptor.setSubComArbitrary(true);
        UniversalParser parser(tokens, spec, descriptor);
        (void)parser.getCommandSpecifications();
    }
    return 0;
}
