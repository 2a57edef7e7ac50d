#include "host/dictionary/diagnostic.h"

namespace host::dictionary {

std::string Diagnostic::toString() const {
    std::string out;
    if (!file.empty()) {
        out += file;
        if (line > 0) {
            out += ':' + std::to_string(line);
            if (column > 0)
                out += ':' + std::to_string(column);
        }
        out += ": ";
    }
    out += level == Error ? "error: " : level == Warning ? "warning: " : "note: ";
    out += text;
    return out;
}

void DiagnosticSink::add(std::string const& kind, Diagnostic diagnostic) {
    for (auto& entry : kinds_) {
        if (entry.name == kind) {
            if (++entry.count <= limit_)
                out_.push_back(std::move(diagnostic));
            return;
        }
    }
    kinds_.push_back({kind, 1, diagnostic});
    out_.push_back(std::move(diagnostic));
}

void DiagnosticSink::count(std::string const& kind, std::int64_t n, Diagnostic const& last) {
    for (auto& entry : kinds_) {
        if (entry.name == kind) {
            entry.count += n;
            entry.last = last;
            return;
        }
    }
    kinds_.push_back({kind, n, last});
}

void DiagnosticSink::finish() {
    for (auto& entry : kinds_) {
        if (entry.count <= limit_)
            continue;
        Diagnostic more;
        more.level = Diagnostic::Note;
        more.file = entry.last.file;
        more.text = std::to_string(entry.count - limit_) + " more problem(s) of this kind (" +
                    entry.name + ") not shown";
        out_.push_back(std::move(more));
    }
    kinds_.clear();
}

}  // namespace host::dictionary
