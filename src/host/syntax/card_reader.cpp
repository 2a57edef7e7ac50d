// The card reader over the lines of the job behind the current command, and the host's context
// block that holds the current card.
#include "platform/card_reader.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "host/output/document.h"
#include "host/syntax/current_command.h"
#include "host/syntax/job_input.h"
#include "platform/host_procedure.h"
#include "platform/output.h"

namespace {

// Byte 256 stays NUL, so that strlen of the card area stops at the card's end.
char gCmaSysBlock[kCmaSysSize] = {};

KwelWorkspace& workspaceOr(KwelWorkspace* work) {
    return work != nullptr ? *work : *host::syntax::currentWorkspace();
}

constexpr char const* kEndedEarly =
    "The job ended where the command expected more lines behind it (a BEGIN GPL ... END GPL "
    "block).";

[[noreturn]] void endOfInput() {
    BpError(BpString(kEndedEarly, false), BP_SHOW_OUTPUT, BP_LEVEL_ERROR);
    throw KwelGoToCaller(kEndedEarly);
}

}  // namespace

char* CmaSys = gCmaSysBlock;

namespace host::syntax {

void setContextCode(std::string_view code) {
    for (std::size_t i = 0; i < 2; ++i) {
        CmaSys[kCmaSysContextOffset + i] = i < code.size() ? code[i] : ' ';
    }
}

std::string contextCode() {
    return std::string(CmaSys + kCmaSysContextOffset, 2);
}

std::size_t cardLength(std::string_view line, std::size_t offset) {
    if (offset >= line.size())
        return 0;
    std::size_t rest = line.size() - offset;
    if (rest <= kCardColumns)
        return rest;
    // Break behind the last blank; the card keeps the blank as its trailing column.
    for (std::size_t k = kCardColumns - 1; k >= 1; --k) {
        if (line[offset + k] == ' ' || line[offset + k] == '\t')
            return k + 1;
    }
    std::size_t length = kCardColumns;
    while (length > 1 && (static_cast<unsigned char>(line[offset + length]) & 0xC0) == 0x80) {
        --length;
    }
    return length;
}

}  // namespace host::syntax

void KwelWorkspace::start(host::syntax::JobInput const* job, std::size_t line) {
    *this = KwelWorkspace{};
    input = job;
    nextLine = line;
}

bool KwelWorkspace::atEnd() const {
    return input == nullptr || nextLine >= input->lineCount() || blockCut;
}

namespace {

// Follows the GPL block the cards run through. A block left open in front of a line that
// cannot belong to it (the next GGRAPH, another BEGIN GPL) or at the end of the job is an
// error of its own; the reader stops there, so that what follows runs as the job says.
void followBlock(KwelWorkspace& ws) {
    auto const& job = *ws.input;
    std::string_view const line = job.line(ws.cardLine);
    if (ws.cardOffset != 0) {
        // The rest of a long line: its start was looked at.
    } else if (ws.openBlockLine == KwelWorkspace::kNoBlock) {
        if (host::syntax::isBeginGplLine(line) &&
            !host::syntax::hasEndGpl(line, line.find_first_not_of(" \t") + 9))
            ws.openBlockLine = ws.cardLine;
    } else if (host::syntax::hasEndGpl(line)) {
        ws.openBlockLine = KwelWorkspace::kNoBlock;
    }
    if (ws.openBlockLine == KwelWorkspace::kNoBlock || ws.nextOffset != 0)
        return;
    std::string where;
    if (ws.nextLine >= job.lineCount()) {
        where = "before the end of the job";
    } else if (host::syntax::endsOpenGplBlock(job.line(ws.nextLine))) {
        where = "before line " + std::to_string(ws.nextLine + 1);
        ws.blockCut = true;
    } else {
        return;
    }
    std::string const text = "BEGIN GPL at line " + std::to_string(ws.openBlockLine + 1) +
                             " has no END GPL " + where + "; the block is left out.";
    ws.openBlockLine = KwelWorkspace::kNoBlock;
    BpError(BpString(text, false), BP_SHOW_OUTPUT, BP_LEVEL_ERROR);
}

}  // namespace

bool KwelWorkspace::read() {
    if (atEnd()) {
        ++readsPastEnd;
        lastReadFoundNothing = true;
        hasCard = false;
        return false;
    }
    lastReadFoundNothing = false;
    std::string_view text = input->line(nextLine);
    hasCard = true;
    cardLine = nextLine;
    cardOffset = nextOffset;
    cardLength = host::syntax::cardLength(text, nextOffset);
    ++cardsRead;
    if (cardOffset + cardLength >= text.size()) {
        ++nextLine;
        nextOffset = 0;
    } else {
        nextOffset = cardOffset + cardLength;
    }
    followBlock(*this);
    return true;
}

std::string_view KwelWorkspace::card() const {
    if (!hasCard || input == nullptr)
        return {};
    return input->line(cardLine).substr(cardOffset, cardLength);
}

std::size_t KwelWorkspace::resumeLine() const {
    return nextOffset == 0 ? nextLine : nextLine + 1;
}

void ssredc_(int const& unit, char* card, int const& length, int& flags, KwelWorkspace* work) {
    (void)unit;  // one input unit: the job
    KwelWorkspace& ws = workspaceOr(work);
    // A caller that reads on after "nothing left" (a comment that never ends, a search with no
    // end test) would loop for ever: unwind to the runner with a clear message.
    if (ws.lastReadFoundNothing)
        endOfInput();
    bool got = ws.read();
    std::string_view text = ws.card();
    flags = 0;
    if (!got)
        flags |= 2;
    if (ws.atEnd())
        flags |= 1;

    // The card stands in the caller's buffer and in the card area of CmaSys, blank-padded.
    std::size_t cardArea = kCmaSysCardLength;
    std::memset(CmaSys + kCmaSysCardOffset, ' ', cardArea);
    // An empty view may hold a null pointer, which memcpy must never see.
    if (!text.empty())
        std::memcpy(CmaSys + kCmaSysCardOffset, text.data(), std::min(text.size(), cardArea));
    CmaSys[kCmaSysCardOffset + cardArea] = '\0';
    if (card != nullptr && card != CmaSys + kCmaSysCardOffset && length > 0) {
        std::size_t n = std::min(text.size(), static_cast<std::size_t>(length));
        if (n > 0)
            std::memcpy(card, text.data(), n);
        std::memset(card + n, ' ', static_cast<std::size_t>(length) - n);
    }
}

// The host's attention check. Nothing here interrupts a command, so it only counts; the end of
// the input is told by the flags of ssredc_, and a read beyond it unwinds (see there).
void atnjmp_(KwelWorkspace* work) {
    ++workspaceOr(work).attentionChecks;
}

// Only one listing exists here: the collector is kept for bookkeeping.
void setqcllct_(int const& collector) {
    host::syntax::currentWorkspace()->collector = collector;
}

void prcard_(KwelWorkspace* work) {
    KwelWorkspace& ws = workspaceOr(work);
    if (!ws.hasCard)
        return;
    std::string_view text = ws.card();
    while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) text.remove_suffix(1);
    host::output::current().addCommand(std::string(text), static_cast<int>(ws.cardLine) + 1);
    ws.collector = 0;
}

// The rest of the END GPL line is passed over too; the runner goes on behind it.
void sskipc_(KwelWorkspace* work) {
    KwelWorkspace& ws = workspaceOr(work);
    if (!ws.hasCard)
        return;
    ws.skipped = true;
    ws.nextLine = ws.cardLine + 1;
    ws.nextOffset = 0;
}

// The card read last is handed back whole: its line starts the next command (and is read
// again by a further ssredc_). The text itself is not needed: the reader knows its card.
void mcpstn_(char const* text, int const& length) {
    (void)text, (void)length;
    KwelWorkspace& ws = *host::syntax::currentWorkspace();
    if (!ws.hasCard)
        return;
    ws.gaveBack = true;
    ws.nextLine = ws.cardLine;
    ws.nextOffset = 0;
    ws.hasCard = false;
}
