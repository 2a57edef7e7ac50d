#include "host/dictionary/column_selection.h"

#include <unordered_map>

#include "host/dictionary/dataset.h"

namespace host::dictionary {

namespace {

// Bytes a variable name may hold (letters, digits, _ . $ @ # and any byte of a UTF-8 letter).
bool isWordByte(unsigned char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') ||
           c >= 0x80 || c == '_' || c == '.' || c == '$' || c == '@' || c == '#';
}

}  // namespace

void ColumnSelection::add(std::string_view name) {
    if (!name.empty())
        words.insert(upper(name));
}

std::vector<bool> ColumnSelection::keep(std::vector<std::string> const& variableNames) const {
    std::vector<bool> kept(variableNames.size(), all);
    if (all)
        return kept;
    std::unordered_map<std::string, std::size_t> position;
    for (std::size_t i = 0; i < variableNames.size(); ++i) {
        std::string const name = upper(variableNames[i]);
        position.try_emplace(name, i);
        kept[i] = words.count(name) > 0;
    }
    for (auto const& [first, last] : ranges) {
        auto const from = position.find(first);
        auto const to = position.find(last);
        if (from == position.end() || to == position.end()) {
            // Not two columns: it may be a range of something else, or of columns written in
            // another way; reading everything is never wrong.
            if (from != position.end() || to != position.end())
                return std::vector<bool>(variableNames.size(), true);
            continue;
        }
        for (std::size_t i = from->second; i <= to->second; ++i) kept[i] = true;
    }
    return kept;
}

ColumnSelection selectionForJob(std::string_view text) {
    ColumnSelection selection;
    selection.all = false;
    std::string previous;
    bool pendingRange = false;
    auto takeWord = [&](std::string_view word) {
        // A name at the end of a command carries the command's period.
        std::string_view bare = word;
        while (!bare.empty() && bare.back() == '.') bare.remove_suffix(1);
        std::string const name = upper(bare);
        if (name.empty())
            return;
        if (pendingRange) {
            selection.ranges.emplace_back(previous, name);
            pendingRange = false;
        }
        if (name == "ALL")
            selection.all = true;
        if (name == "TO" && !previous.empty()) {
            pendingRange = true;
            return;
        }
        selection.add(word);
        selection.add(bare);
        previous = name;
    };
    std::size_t i = 0;
    std::size_t lineEnd = 0;  // where the line of `i` ends (npos: the text does)
    while (i < text.size()) {
        unsigned char const c = static_cast<unsigned char>(text[i]);
        if (c == '\'' || c == '"') {
            // The whole text of a quoted string may name a variable (name("x") in GPL);
            // the words inside are taken too, below, should the quote be an apostrophe.
            // The end of the line is looked for once a line: a line of 100,000 quoted labels
            // must not be scanned again for each of them.
            if (lineEnd != std::string_view::npos && lineEnd <= i)
                lineEnd = text.find('\n', i + 1);
            std::size_t const close = text.find(text[i], i + 1);
            if (close != std::string_view::npos && close < lineEnd)
                selection.add(text.substr(i + 1, close - i - 1));
            ++i;
            continue;
        }
        if (!isWordByte(c)) {
            ++i;
            continue;
        }
        std::size_t const start = i;
        while (i < text.size() && isWordByte(static_cast<unsigned char>(text[i]))) ++i;
        takeWord(text.substr(start, i - start));
    }
    return selection;
}

}  // namespace host::dictionary
