#include "host/output/writers.h"

#include <algorithm>
#include <ostream>
#include <sstream>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace host::output {
namespace {

constexpr char const* kStyle = R"css(
:root { --ink: #1d232b; --muted: #5f6b7a; --rule: #d5dbe3; --warn: #8a5a00; --warn-bg: #fff4d6;
        --warn-rule: #e0a400; --err: #9b1c1c; --err-bg: #fde8e8; --err-rule: #d93025; }
* { box-sizing: border-box; }
body { margin: 0; font: 15px/1.45 system-ui, -apple-system, "Segoe UI", sans-serif; color: var(--ink); }
header { padding: 12px 24px; border-bottom: 1px solid var(--rule); background: #f6f8fa; }
header h1 { margin: 0; font-size: 20px; }
header .summary { margin: 2px 0 0; color: var(--muted); }
.layout { display: flex; align-items: flex-start; }
nav.outline { position: sticky; top: 0; flex: 0 0 260px; max-height: 100vh; overflow: auto;
              padding: 12px 16px; border-right: 1px solid var(--rule); font-size: 13px; }
nav.outline h2 { font-size: 13px; text-transform: uppercase; color: var(--muted); margin: 0 0 6px; }
nav.outline ol { list-style: none; margin: 0; padding-left: 12px; }
nav.outline > ol { padding-left: 0; }
nav.outline a { color: inherit; text-decoration: none; display: block; padding: 1px 0;
                white-space: nowrap; overflow: hidden; text-overflow: ellipsis; }
nav.outline a:hover { text-decoration: underline; }
nav.outline .warning > a { color: var(--warn); }
nav.outline .error > a { color: var(--err); }
main { flex: 1; min-width: 0; padding: 12px 24px 48px; }
section.procedure { margin: 16px 0; padding-left: 12px; border-left: 3px solid var(--rule); }
section.procedure > h2, section.procedure > h3 { margin: 0 0 8px; }
pre { margin: 6px 0; white-space: pre-wrap; word-break: break-word; }
pre.command { font: 13px/1.4 ui-monospace, "DejaVu Sans Mono", monospace; padding: 6px 10px;
              background: #f3f4f6; border-radius: 4px; }
details.trace { margin: 6px 0; color: var(--muted); font-size: 12px; }
details.trace pre { font: 12px/1.35 ui-monospace, "DejaVu Sans Mono", monospace; }
.message { margin: 6px 0; padding: 6px 10px; border-left: 4px solid var(--rule);
           white-space: pre-wrap; border-radius: 2px; }
.message .level { font-weight: 600; margin-right: 6px; }
.message.warning { background: var(--warn-bg); border-color: var(--warn-rule); color: var(--warn); }
.message.error { background: var(--err-bg); border-color: var(--err-rule); color: var(--err); }
.message .line { color: var(--muted); font-size: 12px; margin-left: 6px; }
figure { margin: 12px 0; }
figcaption { font-weight: 600; margin-bottom: 4px; }
table { border-collapse: collapse; }
td { border: 1px solid var(--rule); padding: 4px 8px; vertical-align: top; }
.chart svg { max-width: 100%; height: auto; }
.placeholder { color: var(--muted); font-style: italic; }
@media print { nav.outline { display: none; } }
)css";

struct OutlineEntry {
    std::string id;
    std::string label;
    std::string cssClass;
    int depth = 0;
};

std::string firstLine(std::string const& text, std::size_t limit = 70) {
    auto line = text.substr(0, text.find('\n'));
    if (line.size() > limit) {
        // Cut on a UTF-8 character boundary.
        std::size_t cut = limit;
        while (cut > 0 && (static_cast<unsigned char>(line[cut]) & 0xC0) == 0x80) --cut;
        line = line.substr(0, cut) + "…";
    }
    return line;
}

std::string payloadText(Item const& item, char const* key) {
    if (!item.payload || !item.payload->is_object())
        return {};
    auto it = item.payload->find(key);
    if (it == item.payload->end() || !it->is_string())
        return {};
    return it->get<std::string>();
}

class HtmlWriter {
public:
    explicit HtmlWriter(HtmlOptions const& options) : options_(options) {}

    void items(std::vector<Item> const& list, int depth) {
        for (std::size_t i = 0; i < list.size(); ++i) {
            if (list[i].kind == ItemKind::Trace) {
                // Consecutive trace lines fold into one block.
                std::size_t end = i;
                while (end < list.size() && list[end].kind == ItemKind::Trace) ++end;
                if (options_.showTrace)
                    trace(list, i, end);
                i = end - 1;
                continue;
            }
            if (list[i].kind == ItemKind::Command) {
                // Consecutive echoed lines (a GPL block card by card) read as one listing.
                std::size_t end = i;
                while (end < list.size() && list[end].kind == ItemKind::Command) ++end;
                commands(list, i, end, depth);
                i = end - 1;
                continue;
            }
            item(list[i], depth);
        }
    }

    std::string body() const { return body_.str(); }
    std::vector<OutlineEntry> const& outline() const { return outline_; }

private:
    std::string nextId() { return "item-" + std::to_string(++counter_); }

    void note(std::string const& id, std::string label, std::string cssClass, int depth) {
        outline_.push_back({id, std::move(label), std::move(cssClass), depth});
    }

    void item(Item const& it, int depth) {
        auto const id = nextId();
        switch (it.kind) {
            case ItemKind::Command:
                commands(std::vector<Item>{it}, 0, 1, depth);
                break;
            case ItemKind::Procedure: {
                note(id, it.text.empty() ? "Procedure" : it.text, "procedure", depth);
                int const heading = std::min(2 + depth, 6);
                body_ << "<section class=\"procedure\" id=\"" << id << "\">\n<h" << heading << ">"
                      << escapeHtml(it.text) << "</h" << heading << ">\n";
                items(it.children, depth + 1);
                body_ << "</section>\n";
                break;
            }
            case ItemKind::Message:
                message(it, id, depth);
                break;
            case ItemKind::Table:
                table(it, id, depth);
                break;
            case ItemKind::Chart:
                chart(it, id, depth);
                break;
            case ItemKind::Image:
                image(it, id, depth);
                break;
            case ItemKind::ClientMessage:
                clientMessage(it, id, depth);
                break;
            case ItemKind::Trace:
                break;  // handled in items()
        }
    }

    // The outline names only the commands that start a listing and are not comments.
    void commands(std::vector<Item> const& list, std::size_t begin, std::size_t end, int depth) {
        auto const id = nextId();
        for (auto i = begin; i < end; ++i) {
            if (list[i].text.rfind("*", 0) != 0) {
                note(id, firstLine(list[i].text), "command", depth);
                break;
            }
        }
        body_ << "<pre class=\"command\" id=\"" << id << "\">";
        for (auto i = begin; i < end; ++i) {
            if (i > begin) body_ << '\n';
            body_ << escapeHtml(list[i].text);
        }
        body_ << "</pre>\n";
    }

    void trace(std::vector<Item> const& list, std::size_t begin, std::size_t end) {
        body_ << "<details class=\"trace\"><summary>Trace</summary><pre>";
        for (auto i = begin; i < end; ++i) body_ << escapeHtml(list[i].text) << '\n';
        body_ << "</pre></details>\n";
    }

    void message(Item const& it, std::string const& id, int depth) {
        char const* cssClass = it.level >= 3 ? "error" : it.level == 2 ? "warning" : "note";
        char const* label = it.level >= 3 ? "Error" : it.level == 2 ? "Warning" : "Note";
        if (it.level >= 2)
            note(id, std::string(label) + ": " + firstLine(it.text, 50), cssClass, depth);
        body_ << "<div class=\"message " << cssClass << "\" id=\"" << id << "\" role=\""
              << (it.level >= 3 ? "alert" : "note") << "\"><span class=\"level\">" << label
              << "</span>" << escapeHtml(it.text);
        if (it.line > 0)
            body_ << "<span class=\"line\">line " << it.line << "</span>";
        body_ << "</div>\n";
    }

    void table(Item const& it, std::string const& id, int depth) {
        auto const& t = it.table;
        note(id,
             !t.title.empty()     ? t.title
             : !t.subtype.empty() ? t.subtype
                                  : "Table",
             "table", depth);
        body_ << "<figure class=\"table\" id=\"" << id << "\" data-subtype=\""
              << escapeHtml(t.subtype) << "\">\n";
        if (!t.titleHidden && !t.title.empty())
            body_ << "<figcaption>" << escapeHtml(t.title) << "</figcaption>\n";
        std::string cellStyle;
        if (t.minDataColumnWidth > 0)
            cellStyle += "min-width:" + std::to_string(t.minDataColumnWidth) + "px;";
        if (t.maxDataColumnWidth > 0)
            cellStyle += "max-width:" + std::to_string(t.maxDataColumnWidth) + "px;";
        std::string const open = cellStyle.empty() ? "<td>" : "<td style=\"" + cellStyle + "\">";
        body_ << "<table><tbody>\n";
        for (auto const& row : t.cells) {
            body_ << "<tr>";
            for (auto const& cell : row) body_ << open << escapeHtml(cell) << "</td>";
            body_ << "</tr>\n";
        }
        body_ << "</tbody></table>\n</figure>\n";
    }

    // The chart hook: a chart item whose payload carries an "svg" field is drawn inline; the
    // caption is its "description" (the chart's label).
    void chart(Item const& it, std::string const& id, int depth) {
        auto const description = payloadText(it, "description");
        note(id, description.empty() ? "Chart" : description, "chart", depth);
        body_ << "<figure class=\"chart\" id=\"" << id << "\">\n";
        if (!description.empty())
            body_ << "<figcaption>" << escapeHtml(description) << "</figcaption>\n";
        auto const picture = payloadText(it, "png");
        if (inlineSvg(it)) {
        } else if (picture.rfind("data:image/png;base64,", 0) == 0) {
            // Charts of very many marks come as a picture.
            body_ << "<img alt=\"" << escapeHtml(description) << "\" src=\"" << picture << "\">\n";
        } else {
            body_ << "<p class=\"placeholder\">This chart has no drawing.</p>\n";
        }
        body_ << "</figure>\n";
    }

    void image(Item const& it, std::string const& id, int depth) {
        auto const description = payloadText(it, "description");
        note(id, description.empty() ? "Image" : description, "image", depth);
        body_ << "<figure class=\"image\" id=\"" << id << "\">\n";
        if (!description.empty())
            body_ << "<figcaption>" << escapeHtml(description) << "</figcaption>\n";
        auto const dataUri = payloadText(it, "dataUri");
        if (inlineSvg(it)) {
        } else if (dataUri.rfind("data:image/", 0) == 0) {
            body_ << "<img alt=\"" << escapeHtml(description) << "\" src=\"" << escapeHtml(dataUri)
                  << "\">\n";
        } else {
            body_ << "<p class=\"placeholder\">Image " << escapeHtml(payloadText(it, "file"))
                  << " is not embedded in this page.</p>\n";
        }
        body_ << "</figure>\n";
    }

    void clientMessage(Item const& it, std::string const& id, int depth) {
        note(id, "Client message", "client-message", depth);
        body_ << "<div class=\"client-message\" id=\"" << id
              << "\"><strong>Client message</strong>";
        if (it.payload)
            body_ << "<pre>"
                  << escapeHtml(
                         it.payload->dump(2, ' ', false, nlohmann::json::error_handler_t::replace))
                  << "</pre>";
        body_ << "</div>\n";
    }

    bool inlineSvg(Item const& it) {
        auto svg = payloadText(it, "svg");
        auto const start = svg.find("<svg");
        if (start == std::string::npos)
            return false;
        // The SVG comes from our own renderer; only the XML prologue has to go.
        body_ << "<div class=\"svg\">" << svg.substr(start) << "</div>\n";
        return true;
    }

    HtmlOptions const& options_;
    std::ostringstream body_;
    std::vector<OutlineEntry> outline_;
    int counter_ = 0;
};

void writeOutline(std::ostream& out, std::vector<OutlineEntry> const& entries) {
    out << "<nav class=\"outline\" aria-label=\"Outline\"><h2>Outline</h2>\n";
    int open = 0;  // nested lists that are open beyond the first
    out << "<ol>\n";
    for (std::size_t i = 0; i < entries.size(); ++i) {
        auto const& entry = entries[i];
        while (open > entry.depth) {
            out << "</ol></li>\n";
            --open;
        }
        out << "<li class=\"" << entry.cssClass << "\"><a href=\"#" << entry.id << "\">"
            << escapeHtml(entry.label) << "</a>";
        bool const hasChildren = i + 1 < entries.size() && entries[i + 1].depth > entry.depth;
        if (hasChildren) {
            out << "<ol>\n";
            ++open;
        } else {
            out << "</li>\n";
        }
    }
    while (open-- > 0) out << "</ol></li>\n";
    out << "</ol>\n</nav>\n";
}

std::string summary(Document const& document) {
    int const errors = document.messageCount(3);
    int const warnings = document.messageCount(2);
    auto plural = [](int n, char const* word) {
        return std::to_string(n) + " " + word + (n == 1 ? "" : "s");
    };
    return plural(errors, "error") + ", " + plural(warnings, "warning");
}

}  // namespace

std::string escapeHtml(std::string const& text) {
    std::string out;
    out.reserve(text.size());
    for (char c : text) {
        switch (c) {
            case '&':
                out += "&amp;";
                break;
            case '<':
                out += "&lt;";
                break;
            case '>':
                out += "&gt;";
                break;
            case '"':
                out += "&quot;";
                break;
            case '\'':
                out += "&#39;";
                break;
            default:
                // Control characters are not allowed in HTML or XML text.
                if (static_cast<unsigned char>(c) < 0x20 && c != '\t' && c != '\n' && c != '\r')
                    out += ' ';
                else
                    out += c;
        }
    }
    return out;
}

void writeHtml(Document const& document, std::ostream& out, HtmlOptions const& options) {
    HtmlWriter writer(options);
    writer.items(document.items(), 0);
    out << "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
        << "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
        << "<title>" << escapeHtml(options.title) << "</title>\n<style>" << kStyle
        << "</style>\n</head>\n<body>\n<header><h1>" << escapeHtml(options.title)
        << "</h1><p class=\"summary\">" << summary(document) << "</p></header>\n"
        << "<div class=\"layout\">\n";
    writeOutline(out, writer.outline());
    out << "<main>\n" << writer.body() << "</main>\n</div>\n</body>\n</html>\n";
}

files::WriteResult writeHtmlFile(Document const& document, std::filesystem::path const& path,
                                 HtmlOptions const& options) {
    return files::writeFileAtomically(
        path, [&](std::ostream& out) { writeHtml(document, out, options); });
}

files::WriteResult writeOutputs(Document const& document, std::filesystem::path const& folder,
                                HtmlOptions const& options) {
    auto json = writeJsonFile(document, folder / "output.json");
    auto html = writeHtmlFile(document, folder / "report.html", options);
    return json.ok ? html : json;
}

}  // namespace host::output
