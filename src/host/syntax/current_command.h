#pragma once
// What the job runner is executing now: the job, the command and the context code. The token
// service (KWEL_TokenSequence(true)) and the card reader read from here.
//
// The runner's loop:
//     host::syntax::JobInput job(text);
//     host::syntax::setCurrentInput(&job);
//     for (std::size_t at = 0; auto command = job.commandAt(at);) {
//         host::syntax::setCurrentCommand(*command);   // tokens + card reader behind it
//         ... echo, dispatch on command->kind and command->words ...
//         at = job.resumeAfterCards();
//     }
//     host::syntax::setCurrentInput(nullptr);

#include <string>
#include <string_view>

#include "host/syntax/job_input.h"
#include "host/syntax/tokenizer.h"

namespace host::syntax {

// The job being run (not owned); null clears it and the current command.
void setCurrentInput(JobInput* input);
JobInput* currentInput();

// Makes `command` current: KWEL_TokenSequence(true) then yields its tokens behind its first
// `nameWords` words (behind "GGRAPH"; 2 for "SPLIT FILE"), and the card reader of the current
// input reads the lines behind it. Comments and GPL blocks have no tokens.
void setCurrentCommand(Command const& command, int nameWords = 1);
void clearCurrentCommand();
// Null when there is none.
Command const* currentCommand();
// The tokens and problems of the current command (empty when there is none).
TokenizeResult const& currentTokens();

// The two-character code of the product context at byte 1024 of CmaSys ("DM": the RFM
// flavour); a shorter code is padded with blanks.
void setContextCode(std::string_view code);
std::string contextCode();

// The card reader of the current input; with no input, one that has nothing to read.
KwelWorkspace* currentWorkspace();

}  // namespace host::syntax
