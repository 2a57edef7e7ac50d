// The inline GPL block behind the command, read card by card from the host's input: comments
// before it are skipped, the block runs from a BEGIN GPL line to an END GPL line.
#include <cstring>
#include <string>

#include "ggraph/model/graph_spec.h"
#include "ggraph/syntax/ggraph_parser_data.h"
#include "platform/card_reader.h"
#include "platform/data_source.h"
#include "platform/host_procedure.h"

namespace {

constexpr int kCardUnit = 11;
constexpr int kCardColumns = 256;
constexpr int kInputEnded = 1;     // this card was the last one
constexpr int kNothingRead = 2;    // there was no card left to read

bool isBlank(char c) { return c == ' ' || c == '\t'; }

// A copy of the card, cut at its terminator, at most 256 characters.
std::string copyCard(char const* card) { return std::string(card, strnlen(card, kCardColumns)); }

// Index of the last character that is not a blank, -1 when there is none.
long lastNonBlank(std::string const& text) {
    for (long i = static_cast<long>(text.size()) - 1; i >= 0; --i) {
        if (!isBlank(text[static_cast<std::size_t>(i)])) return i;
    }
    return -1;
}

std::size_t firstNonBlank(std::string const& text) {
    std::size_t i = 0;
    while (i < text.size() && isBlank(text[i])) ++i;
    return i;
}

bool containsEndGpl(std::string const& line, std::size_t& position) {
    std::string upper = line;
    KWELMBstrupr_A(upper.data());
    char const* hit = KWELMBstrstr_A(upper.c_str(), "END GPL");
    if (hit == nullptr) return false;
    position = static_cast<std::size_t>(hit - upper.c_str());
    return true;
}

}  // namespace

bool GGraphParser::GGraphParserData::ReadGPL(GraphSpec* spec) {
    KwelWorkspace* work = dataSource->Workspace();
    char* card = CmaSys + kCmaSysCardOffset;
    int flags = 0;
    int const unit = kCardUnit, columns = kCardColumns, collector = 1;
    std::size_t commentLength = 0;
    std::string line;

    // Find the block: blank lines and comments in front of it are passed over.
    for (;;) {
        ssredc_(unit, card, columns, flags, work);
        atnjmp_(work);
        if (flags & kNothingRead) return false;  // the job ends before any block
        line = copyCard(card);
        std::size_t first = firstNonBlank(line);
        if (first >= line.size()) {
            if (flags & kInputEnded) return false;
            continue;
        }
        if (line[first] == '*') {
            // A comment runs to the first line whose last character is a period.
            commentLength = line.size();
            std::string comment = line;
            while (lastNonBlank(comment) < 0 || comment[static_cast<std::size_t>(lastNonBlank(comment))] != '.') {
                if (flags & kInputEnded) return false;
                ssredc_(unit, card, columns, flags, work);
                if (flags & kNothingRead) return false;
                comment = copyCard(card);
                commentLength = comment.size();
            }
            if (flags & kInputEnded) return false;
            continue;
        }
        if (line.compare(first, 2, "/*") == 0) {
            if (flags & kInputEnded) return false;
            continue;
        }
        break;
    }

    std::size_t first = firstNonBlank(line);
    if (KWELMBstrnicmp_A(line.c_str() + first, "BEGIN GPL", 9) != 0) {
        // Not a block: the line goes back to the job as the start of the next command.
        std::string text(card, std::min(commentLength, strnlen(card, kCardColumns)));
        int length = static_cast<int>(lastNonBlank(text) + 1);
        mcpstn_(text.c_str(), length);
        return false;
    }

    std::string gpl;
    setqcllct_(collector);
    prcard_(work);
    // Text on the BEGIN GPL line starts the GPL text, with no line end behind it.
    char const* restStart = card + first + 9;
    std::string rest(restStart, std::min<std::size_t>(strnlen(restStart, kCardColumns), 247));
    if (lastNonBlank(rest) >= 1) {
        gpl += rest;
        std::size_t position = 0;
        if (containsEndGpl(rest, position)) {
            // A block that opens and closes on one line counts as not found: intended.
            spec->SetGPLSpecification(gpl);
            return false;
        }
    }
    if (flags & kInputEnded) {
        spec->SetGPLSpecification(gpl);
        return false;
    }

    for (;;) {
        ssredc_(unit, card, columns, flags, work);
        atnjmp_(work);
        if (flags & kNothingRead) {
            spec->SetGPLSpecification(gpl);
            return false;
        }
        line = copyCard(card);
        long last = lastNonBlank(line);
        bool endFound = false;
        if (!(last >= 8 && line.compare(0, 7, "_SLINE ") == 0)) {
            setqcllct_(collector);
            prcard_(work);
            std::size_t position = 0;
            if (containsEndGpl(line, position)) {
                last = static_cast<long>(position) - 1;
                sskipc_(work);
                endFound = true;
            }
            // Trailing blanks go, leading blanks stay; a lone character in column 1 vanishes.
            if (last > 0) {
                gpl.append(line, 0, static_cast<std::size_t>(last + 1));
                gpl += '\n';
            }
        }
        if (endFound) {
            spec->SetGPLSpecification(gpl);
            return true;
        }
        if (flags & kInputEnded) {
            spec->SetGPLSpecification(gpl);
            return false;
        }
    }
}
