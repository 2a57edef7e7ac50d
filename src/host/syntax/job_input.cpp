#include "host/syntax/job_input.h"

#include <fmt/format.h>

#include "host/syntax/utf8_chars.h"

namespace host::syntax {

namespace {

// Bytes of a binary file would flood the output: past this many they are only counted.
constexpr std::size_t kMaxDiagnostics = 10;

bool isSpaceOrTab(char c) {
    return c == ' ' || c == '\t';
}

char upper(char c) {
    return (c >= 'a' && c <= 'z') ? static_cast<char>(c - 'a' + 'A') : c;
}

std::size_t firstNonBlank(std::string_view line) {
    std::size_t i = 0;
    while (i < line.size() && isSpaceOrTab(line[i])) ++i;
    return i;
}

bool startsWithNoCase(std::string_view text, std::string_view prefix) {
    if (text.size() < prefix.size())
        return false;
    for (std::size_t i = 0; i < prefix.size(); ++i) {
        if (upper(text[i]) != prefix[i])
            return false;
    }
    return true;
}

// Finds "END GPL" in any case; npos if absent.
std::size_t findEndGpl(std::string_view line, std::size_t from) {
    constexpr std::string_view kEnd = "END GPL";
    for (std::size_t i = from; i + kEnd.size() <= line.size(); ++i) {
        if (upper(line[i]) == 'E' && startsWithNoCase(line.substr(i), kEnd))
            return i;
    }
    return std::string_view::npos;
}

// Whether the last character of the line that is no blank, outside quotes and `/* */`
// comments, is a period. Quotes close at the end of their line.
bool endsWithPeriod(std::string_view line) {
    char quote = 0;
    bool period = false;
    for (std::size_t i = 0; i < line.size(); ++i) {
        char c = line[i];
        if (quote != 0) {
            if (c == quote)
                quote = 0;
            continue;
        }
        if (c == '\'' || c == '"') {
            quote = c;
            period = false;
        } else if (c == '/' && i + 1 < line.size() && line[i + 1] == '*') {
            std::size_t close = line.find("*/", i + 2);
            if (close == std::string_view::npos)
                break;
            i = close + 1;
        } else if (!isSpaceOrTab(c)) {
            period = (c == '.');
        }
    }
    // A quote left open with a period as the line's last character: the period was meant to end
    // the command, and the tokenizer reports the quote. Running on would swallow the next command.
    if (quote != 0) {
        std::size_t last = line.size();
        while (last > 0 && isSpaceOrTab(line[last - 1])) --last;
        return last > 0 && line[last - 1] == '.';
    }
    return period;
}

bool lastNonBlankIsPeriod(std::string_view line) {
    return !line.empty() && line.back() == '.';
}

bool isCommentStart(std::string_view rest) {
    if (!rest.empty() && rest[0] == '*')
        return true;
    if (!startsWithNoCase(rest, "COMMENT"))
        return false;
    return rest.size() == 7 || isSpaceOrTab(rest[7]) || rest[7] == '.';
}

}  // namespace

bool hasEndGpl(std::string_view line, std::size_t from) {
    return findEndGpl(line, from) != std::string_view::npos;
}

bool endsOpenGplBlock(std::string_view line) {
    std::string_view rest = line.substr(firstNonBlank(line));
    if (startsWithNoCase(rest, "GGRAPH"))
        return rest.size() == 6 || isSpaceOrTab(rest[6]) || rest[6] == '/' || rest[6] == '.';
    return isBeginGplLine(line);
}

bool isBeginGplLine(std::string_view line) {
    // The same test as the GPL reader's: nine characters, any case.
    return startsWithNoCase(line.substr(firstNonBlank(line)), "BEGIN GPL");
}

bool Command::startsWith(std::initializer_list<std::string_view> expected) const {
    if (expected.size() > words.size())
        return false;
    std::size_t i = 0;
    for (auto const& w : expected) {
        if (words[i++] != w)
            return false;
    }
    return true;
}

JobInput::JobInput(std::string text) : text_(std::move(text)) {
    if (text_.compare(0, 3, "\xEF\xBB\xBF") == 0)
        text_.erase(0, 3);
    sanitize(text_);

    std::size_t start = 0;
    std::size_t const n = text_.size();
    while (start < n) {
        std::size_t end = start;
        while (end < n && text_[end] != '\n' && text_[end] != '\r') ++end;
        std::size_t length = end - start;
        while (length > 0 && isSpaceOrTab(text_[start + length - 1])) --length;
        lines_.push_back({start, length});
        if (end < n && text_[end] == '\r' && end + 1 < n && text_[end + 1] == '\n')
            ++end;
        start = end + 1;
    }
    workspace_.start(this, lines_.size());
}

void JobInput::sanitize(std::string& text) {
    std::string clean;
    clean.reserve(text.size());
    int line = 1;
    int column = 1;
    std::size_t suppressed = 0;
    auto report = [&](std::string message) {
        if (diagnostics_.size() < kMaxDiagnostics) {
            diagnostics_.push_back({line, column, false, std::move(message)});
        } else {
            ++suppressed;
        }
    };
    for (std::size_t i = 0; i < text.size();) {
        // Plain ASCII runs go in one piece.
        std::size_t run = i;
        while (run < text.size()) {
            unsigned char b = static_cast<unsigned char>(text[run]);
            if (b == 0 || b >= 0x80 || b == '\n' || b == '\r')
                break;
            ++run;
        }
        if (run > i) {
            clean.append(text, i, run - i);
            column += static_cast<int>(run - i);
            i = run;
            continue;
        }
        Utf8Char c = decodeUtf8(text, i);
        if (!c.valid) {
            report(fmt::format(
                "The byte 0x{:02X} in column {} is not UTF-8 text; it was read as U+FFFD.",
                static_cast<unsigned char>(text[i]), column));
            clean.append(kReplacementUtf8);
        } else if (c.code == 0) {
            report(fmt::format("The NUL byte in column {} was read as U+FFFD.", column));
            clean.append(kReplacementUtf8);
        } else {
            clean.append(text, i, c.length);
        }
        if (c.code == '\n' || (c.code == '\r' && (i + 1 >= text.size() || text[i + 1] != '\n'))) {
            ++line, column = 1;
        } else if (c.code != '\r') {
            ++column;
        }
        i += c.length;
    }
    if (suppressed > 0) {
        diagnostics_.push_back(
            {line, column, false,
             fmt::format("{} more bytes that are not UTF-8 text were read as U+FFFD.",
                         suppressed)});
    }
    text.swap(clean);
}

std::string_view JobInput::line(std::size_t index) const {
    if (index >= lines_.size())
        return {};
    return std::string_view(text_).substr(lines_[index].start, lines_[index].length);
}

void JobInput::startCards(Command const& command) {
    workspace_.start(this, command.nextLineIndex());
}

std::optional<Command> JobInput::commandAt(std::size_t lineIndex) const {
    std::size_t first = lineIndex;
    while (first < lines_.size() && line(first).empty()) ++first;
    if (first >= lines_.size())
        return std::nullopt;

    Command command;
    std::string_view head = line(first);
    std::string_view rest = head.substr(firstNonBlank(head));
    std::size_t last = first;

    if (isBeginGplLine(head)) {
        command.kind = Command::Kind::GplBlock;
        // The block ends with the line that holds END GPL, also its own first line.
        std::size_t at = first;
        std::size_t from = firstNonBlank(head) + 9;
        bool closed = false;
        for (; at < lines_.size(); ++at, from = 0) {
            if (at > first && endsOpenGplBlock(line(at)))
                break;
            if (findEndGpl(line(at), from) != std::string_view::npos) {
                closed = true;
                break;
            }
        }
        command.terminated = closed;
        last = closed ? at : at - 1;
    } else if (rest.substr(0, 2) == "/*") {
        command.kind = Command::Kind::Comment;
        std::size_t at = first;
        std::size_t from = firstNonBlank(head) + 2;
        while (at < lines_.size() && !line(at).empty() &&
               line(at).find("*/", from) == std::string_view::npos) {
            ++at, from = 0;
        }
        command.terminated = at < lines_.size() && !line(at).empty();
        last = command.terminated ? at : at - 1;
    } else {
        bool comment = isCommentStart(rest);
        command.kind = comment ? Command::Kind::Comment : Command::Kind::Ordinary;
        // Comments may hold lone quotes ("don't"), so only their last character counts.
        for (std::size_t at = first;; ++at) {
            std::string_view text = line(at);
            if (comment ? lastNonBlankIsPeriod(text) : endsWithPeriod(text)) {
                command.terminated = true;
                last = at;
                break;
            }
            // A blank line ends a command, and so does a line that opens a GPL block.
            if (at + 1 >= lines_.size() || line(at + 1).empty() || isBeginGplLine(line(at + 1))) {
                last = at;
                break;
            }
        }
    }

    command.firstLine = static_cast<int>(first) + 1;
    command.lastLine = static_cast<int>(last) + 1;
    std::size_t size = 0;
    for (std::size_t i = first; i <= last; ++i) size += line(i).size() + 1;
    command.text.reserve(size);
    for (std::size_t i = first; i <= last; ++i) {
        if (i > first)
            command.text += '\n';
        command.text.append(line(i));
    }

    // Dispatch words and the body behind the first word.
    std::string_view text = command.text;
    std::size_t pos = 0;
    // The words come from the first line only.
    auto skipBlanks = [&] {
        while (pos < text.size() && isSpaceOrTab(text[pos])) ++pos;
    };
    skipBlanks();
    std::size_t bodyStart = std::string_view::npos;
    while (command.words.size() < 3 && pos < text.size()) {
        std::size_t start = pos;
        while (pos < text.size()) {
            Utf8Char c = decodeUtf8(text, pos);
            if (!isNameChar(c.code))
                break;
            pos += c.length;
        }
        std::size_t end = pos;
        while (end > start && text[end - 1] == '.') --end;
        pos = end;
        if (end == start) {
            if (command.words.empty()) {
                // No word: the first character stands in for one ("*" of a comment).
                pos += decodeUtf8(text, pos).length;
                command.words.emplace_back(text.substr(start, pos - start));
                bodyStart = pos;
            }
            break;
        }
        std::string word(text.substr(start, end - start));
        for (char& ch : word) ch = upper(ch);
        command.words.push_back(std::move(word));
        if (bodyStart == std::string_view::npos)
            bodyStart = pos;
        skipBlanks();
    }
    if (bodyStart == std::string_view::npos)
        bodyStart = text.size();
    command.body = std::string(text.substr(bodyStart));
    // Place of the body start: count lines and characters up to it.
    int bodyLine = command.firstLine;
    std::size_t lineStart = 0;
    for (std::size_t i = 0; i < bodyStart; ++i) {
        if (text[i] == '\n')
            ++bodyLine, lineStart = i + 1;
    }
    int column = 1;
    for (std::size_t i = lineStart; i < bodyStart; i += decodeUtf8(text, i).length) ++column;
    command.bodyLine = bodyLine;
    command.bodyColumn = column;
    return command;
}

std::vector<Command> JobInput::commands() const {
    std::vector<Command> all;
    std::size_t at = 0;
    while (auto command = commandAt(at)) {
        at = command->nextLineIndex();
        all.push_back(std::move(*command));
    }
    return all;
}

}  // namespace host::syntax
