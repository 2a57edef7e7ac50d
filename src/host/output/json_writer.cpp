#include <cstdint>
#include <ostream>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

#include "host/output/json_text.h"
#include "host/output/writers.h"

namespace host::output {
namespace {

char const* kindName(ItemKind kind) {
    switch (kind) {
        case ItemKind::Command:
            return "command";
        case ItemKind::Trace:
            return "trace";
        case ItemKind::Procedure:
            return "procedure";
        case ItemKind::Message:
            return "message";
        case ItemKind::Table:
            return "table";
        case ItemKind::Chart:
            return "chart";
        case ItemKind::Image:
            return "image";
        case ItemKind::ClientMessage:
            return "clientMessage";
    }
    return "unknown";
}

// Writes the document straight to the stream, item by item, laid out as a two-space indented
// dump would be. Only a payload value is ever serialised on its own.
class StreamWriter {
public:
    explicit StreamWriter(std::ostream& out) : out_(out) {}

    void document(Document const& document) {
        out_ << "{\n";
        indent(1);
        out_ << "\"format\": \"ggraph-output/1\",\n";
        indent(1);
        out_ << "\"items\": ";
        items(document.items(), 1);
        out_ << "\n}\n";
    }

private:
    void indent(int depth) {
        for (int i = 0; i < depth; ++i) out_ << "  ";
    }

    void string(std::string_view text) { writeJsonString(out_, text); }

    // Opens the next member of an object at `depth`.
    void key(char const* name, int depth, bool& first) {
        out_ << (first ? "\n" : ",\n");
        first = false;
        indent(depth);
        string(name);
        out_ << ": ";
    }

    void items(std::vector<Item> const& list, int depth) {
        if (list.empty()) {
            out_ << "[]";
            return;
        }
        out_ << "[\n";
        for (std::size_t i = 0; i < list.size(); ++i) {
            if (i > 0)
                out_ << ",\n";
            indent(depth + 1);
            item(list[i], depth + 1);
        }
        out_ << "\n";
        indent(depth);
        out_ << "]";
    }

    void cells(std::vector<std::vector<std::string>> const& rows, int depth) {
        if (rows.empty()) {
            out_ << "[]";
            return;
        }
        out_ << "[\n";
        for (std::size_t r = 0; r < rows.size(); ++r) {
            if (r > 0)
                out_ << ",\n";
            indent(depth + 1);
            if (rows[r].empty()) {
                out_ << "[]";
                continue;
            }
            out_ << "[\n";
            for (std::size_t c = 0; c < rows[r].size(); ++c) {
                if (c > 0)
                    out_ << ",\n";
                indent(depth + 2);
                string(rows[r][c]);
            }
            out_ << "\n";
            indent(depth + 1);
            out_ << "]";
        }
        out_ << "\n";
        indent(depth);
        out_ << "]";
    }

    void item(Item const& it, int depth) {
        bool first = true;
        out_ << "{";
        key("kind", depth + 1, first);
        string(kindName(it.kind));
        switch (it.kind) {
            case ItemKind::Command:
            case ItemKind::Trace:
                key("text", depth + 1, first);
                string(it.text);
                break;
            case ItemKind::Procedure:
                key("title", depth + 1, first);
                string(it.text);
                key("items", depth + 1, first);
                items(it.children, depth + 1);
                break;
            case ItemKind::Message:
                key("level", depth + 1, first);
                out_ << it.level;
                key("text", depth + 1, first);
                string(it.text);
                break;
            case ItemKind::Table:
                key("title", depth + 1, first);
                string(it.table.title);
                key("subtype", depth + 1, first);
                string(it.table.subtype);
                key("titleHidden", depth + 1, first);
                out_ << (it.table.titleHidden ? "true" : "false");
                key("cells", depth + 1, first);
                cells(it.table.cells, depth + 1);
                break;
            case ItemKind::Chart:
            case ItemKind::Image:
            case ItemKind::ClientMessage:
                // The payload's fields stand beside "kind"; "kind" itself is ours.
                if (it.payload && it.payload->is_object())
                    for (auto const& [name, value] : it.payload->items()) {
                        if (name == "kind")
                            continue;
                        key(name.c_str(), depth + 1, first);
                        payloadValue(value, depth + 1);
                    }
                break;
        }
        out_ << "\n";
        indent(depth);
        out_ << "}";
    }

    // A payload value is small (charts keep large data in files beside them), so it is dumped
    // whole and indented to its place. Strings never hold a raw line break, so every break in
    // the dump starts a line of structure.
    void payloadValue(nlohmann::json const& value, int depth) {
        std::string const text =
            value.dump(2, ' ', false, nlohmann::json::error_handler_t::replace);
        std::string const pad(static_cast<std::size_t>(depth) * 2, ' ');
        std::size_t from = 0;
        for (std::size_t at; (at = text.find('\n', from)) != std::string::npos; from = at + 1) {
            out_.write(text.data() + from, static_cast<std::streamsize>(at + 1 - from));
            out_ << pad;
        }
        out_.write(text.data() + from, static_cast<std::streamsize>(text.size() - from));
    }

    std::ostream& out_;
};

}  // namespace

nlohmann::ordered_json toJson(Document const& document) {
    std::ostringstream text;
    writeJson(document, text);
    return nlohmann::ordered_json::parse(text.str());
}

void writeJson(Document const& document, std::ostream& out) {
    StreamWriter(out).document(document);
}

files::WriteResult writeJsonFile(Document const& document, std::filesystem::path const& path) {
    return files::writeFileAtomically(path, [&](std::ostream& out) { writeJson(document, out); });
}

}  // namespace host::output
