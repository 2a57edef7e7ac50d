#pragma once
// A job file split into lines and commands. The text is made safe first (a UTF-8 byte-order
// mark dropped, bytes that aren't UTF-8 and NUL bytes replaced by U+FFFD, each reported once),
// so that everything behind it sees valid UTF-8.

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/syntax/tokenizer.h"
#include "host/syntax/workspace.h"

namespace host::syntax {

struct Command {
    enum class Kind {
        Ordinary,
        // `* …` up to a line ending in a period, `COMMENT …` likewise, `/* … */`.
        Comment,
        // `BEGIN GPL` through its `END GPL` line: a block that no GGRAPH command read.
        GplBlock,
    };
    Kind kind = Kind::Ordinary;
    // As written: its lines joined by '\n', with trailing blanks cut; for the echo.
    std::string text;
    // The first words of its first line (at most three), upper-cased, for dispatch:
    // {"ADD", "VALUE", "LABELS"}.
    // A command that starts with no word has its first character as the only word.
    std::vector<std::string> words;
    // The text behind the first word, and where it starts.
    std::string body;
    int bodyLine = 0;
    int bodyColumn = 0;
    // 1-based lines of the job that the command covers.
    int firstLine = 0;
    int lastLine = 0;
    // Ended by its period (a block: by its END GPL line); false when a blank line or the end
    // of the job ended it.
    bool terminated = false;

    // 0-based index of the line behind the command.
    std::size_t nextLineIndex() const { return static_cast<std::size_t>(lastLine); }
    // True if the command's first words are these (upper-case) words.
    bool startsWith(std::initializer_list<std::string_view> expected) const;
};

class JobInput {
public:
    explicit JobInput(std::string text);
    JobInput(JobInput const&) = delete;
    JobInput& operator=(JobInput const&) = delete;

    std::size_t lineCount() const { return lines_.size(); }
    // A line by 0-based index, without its line end and trailing blanks.
    std::string_view line(std::size_t index) const;

    // The command that starts at the first line at or behind `lineIndex` that isn't blank;
    // nothing at the end of the job.
    std::optional<Command> commandAt(std::size_t lineIndex) const;
    // All commands of the job, read from the top with no card reading in between.
    std::vector<Command> commands() const;

    // Bytes that were replaced while the text was made safe.
    std::vector<Diagnostic> const& diagnostics() const { return diagnostics_; }

    // The card reader over this job. startCards puts it behind `command`; after the command
    // ran, resumeAfterCards says where the next command starts: behind what the command read
    // with the card reader (e.g. its GPL block), or at a line it handed back.
    KwelWorkspace& workspace() { return workspace_; }
    void startCards(Command const& command);
    std::size_t resumeAfterCards() const { return workspace_.resumeLine(); }

private:
    void sanitize(std::string& text);

    std::string text_;
    struct Span {
        std::size_t start;
        std::size_t length;
    };
    std::vector<Span> lines_;
    std::vector<Diagnostic> diagnostics_;
    KwelWorkspace workspace_;
};

// True if the line holds "END GPL" (any case) at or behind `from`.
bool hasEndGpl(std::string_view line, std::size_t from = 0);
// True if the line cannot belong to a GPL block: it opens another block or starts a GGRAPH
// command. A block that reaches such a line without its END GPL ends in front of it.
bool endsOpenGplBlock(std::string_view line);
// True if the line, behind its leading blanks, opens a GPL block ("BEGIN GPL", any case).
bool isBeginGplLine(std::string_view line);

}  // namespace host::syntax
