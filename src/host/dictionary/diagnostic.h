#pragma once
// What the readers of data and dictionaries found wrong, as values: the caller words and routes
// them (stderr, the output document).

#include <cstdint>
#include <string>
#include <vector>

namespace host::dictionary {

struct Diagnostic {
    enum Level { Note = 1, Warning = 2, Error = 3 };

    Level level = Warning;
    std::string file;         // empty when the message concerns no file
    std::int64_t line = 0;    // 1-based; 0 when unknown
    std::int64_t column = 0;  // 1-based byte column; 0 when unknown
    std::string text;

    // "file:line:column: warning: text", leaving out what is unknown.
    std::string toString() const;
};

// Collects diagnostics and keeps a flood of one kind short: past a limit, one kind is only
// counted, and finish() says how many were not shown.
class DiagnosticSink {
public:
    explicit DiagnosticSink(std::vector<Diagnostic>& out, int limitPerKind = 10)
        : out_(out), limit_(limitPerKind) {}
    void add(std::string const& kind, Diagnostic diagnostic);
    // `n` more of a kind that was added before, past the limit: counted, not shown.
    void count(std::string const& kind, std::int64_t n, Diagnostic const& last);
    void finish();

private:
    struct Kind {
        std::string name;
        std::int64_t count = 0;
        Diagnostic last;
    };
    std::vector<Diagnostic>& out_;
    int limit_;
    std::vector<Kind> kinds_;
};

}  // namespace host::dictionary
