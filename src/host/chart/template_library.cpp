#include "host/chart/template_library.h"

#include <algorithm>
#include <cctype>
#include <map>
#include <system_error>

#include <fmt/format.h>

#include "host/files/file_io.h"

namespace host::chart {

namespace fs = std::filesystem;

namespace {

constexpr char kExtension[] = ".ctpl";
// The case weight of a weighted data set reaches a template under this slot.
constexpr char kWeightSlot[] = "dupRa6ej";

fs::path& folderSetting() {
    static fs::path folder = GGRAPH_TEMPLATE_DIR;
    return folder;
}

std::string trim(std::string_view text) {
    std::size_t b = 0, e = text.size();
    while (b < e && std::isspace(static_cast<unsigned char>(text[b]))) ++b;
    while (e > b && std::isspace(static_cast<unsigned char>(text[e - 1]))) --e;
    return std::string(text.substr(b, e - b));
}

std::string lowered(std::string_view text) {
    std::string out(text);
    for (char& c : out) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return out;
}

bool isSlotName(std::string const& name) {
    if (name.empty() || !std::isalpha(static_cast<unsigned char>(name[0])))
        return false;
    return std::all_of(name.begin(), name.end(), [](char c) {
        return std::isalnum(static_cast<unsigned char>(c)) || c == '_';
    });
}

// A GPL string literal.
std::string gplString(std::string const& text) {
    std::string out = "\"";
    for (char c : text) {
        if (c == '"' || c == '\\')
            out += '\\';
        out += c == '\n' || c == '\r' ? ' ' : c;
    }
    return out + "\"";
}

// SLOT: name role=... required|optional categorical|continuous|any
bool parseSlot(std::string const& text, TemplateSlot& slot, std::string& error) {
    std::vector<std::string> words;
    for (std::size_t i = 0; i < text.size();) {
        while (i < text.size() && std::isspace(static_cast<unsigned char>(text[i]))) ++i;
        std::size_t start = i;
        while (i < text.size() && !std::isspace(static_cast<unsigned char>(text[i]))) ++i;
        if (i > start)
            words.push_back(text.substr(start, i - start));
    }
    if (words.empty() || !isSlotName(words[0])) {
        error = fmt::format("a slot needs a name of letters, digits and _, found '{}'",
                            words.empty() ? std::string() : words[0]);
        return false;
    }
    slot.name = words[0];
    for (std::size_t k = 1; k < words.size(); ++k) {
        std::string const w = lowered(words[k]);
        if (w.rfind("role=", 0) == 0)
            slot.role = words[k].substr(5);
        else if (w == "required" || w == "optional")
            slot.required = w == "required";
        else if (w == "categorical")
            slot.kind = TemplateSlot::Kind::Categorical;
        else if (w == "continuous")
            slot.kind = TemplateSlot::Kind::Continuous;
        else if (w == "any")
            slot.kind = TemplateSlot::Kind::Any;
        else {
            error = fmt::format("unknown word '{}' in slot '{}'", words[k], slot.name);
            return false;
        }
    }
    return true;
}

}  // namespace

TemplateSlot const* ChartTemplate::slot(std::string_view name) const {
    std::string const key = lowered(name);
    for (auto const& s : slots)
        if (lowered(s.name) == key)
            return &s;
    return nullptr;
}

TemplateSlot const* ChartTemplate::slotFor(std::string_view key) const {
    if (auto const* s = slot(key))
        return s;
    // A mapping may name what the slot does instead, when one slot alone does it.
    std::string const role = lowered(key);
    TemplateSlot const* found = nullptr;
    for (auto const& s : slots) {
        if (lowered(s.role) != role)
            continue;
        if (found)
            return nullptr;
        found = &s;
    }
    return found;
}

std::optional<ChartTemplate> parseTemplate(std::string_view text, std::string const& file,
                                           std::string& error) {
    ChartTemplate t;
    t.file = file;
    if (text.substr(0, 3) == "\xEF\xBB\xBF")
        text.remove_prefix(3);
    int lineNo = 0;
    std::size_t pos = 0;
    bool body = false;
    auto fail = [&](std::string const& what) {
        error = fmt::format("{}, line {}: {}", file, lineNo, what);
        return std::nullopt;
    };
    while (pos < text.size()) {
        std::size_t eol = text.find('\n', pos);
        if (eol == std::string_view::npos)
            eol = text.size();
        std::string const line = trim(text.substr(pos, eol - pos));
        ++lineNo;
        pos = eol + 1;
        if (line.empty() || line[0] == '#')
            continue;
        std::size_t colon = line.find(':');
        if (colon == std::string::npos)
            return fail(fmt::format("expected KEY: value or GPL:, found '{}'", line));
        std::string const key = lowered(trim(std::string_view(line).substr(0, colon)));
        std::string const value = trim(std::string_view(line).substr(colon + 1));
        if (key == "gpl") {
            body = true;
            t.bodyLine = lineNo + 1;
            t.body = pos < text.size() ? std::string(text.substr(pos)) : std::string();
            break;
        }
        if (key == "template") {
            t.name = value;
        } else if (key == "description") {
            t.description = value;
        } else if (key == "slot") {
            TemplateSlot slot;
            std::string why;
            if (!parseSlot(value, slot, why))
                return fail(why);
            if (t.slot(slot.name))
                return fail(fmt::format("the slot '{}' is declared twice", slot.name));
            t.slots.push_back(std::move(slot));
        }
        // Other keys are for later versions of the format.
    }
    if (t.name.empty())
        return fail("the template has no TEMPLATE: name");
    if (!body)
        return fail("the template has no GPL: line before its body");
    return t;
}

fs::path templateFolder() { return folderSetting(); }
void setTemplateFolder(fs::path folder) { folderSetting() = std::move(folder); }

std::string templateKey(std::string_view name) {
    std::string out;
    for (char c : name)
        if (c != ' ' && c != '\t' && c != '-' && c != '_')
            out += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return out;
}

std::optional<ChartTemplate> readTemplateFile(fs::path const& path, std::string& error) {
    files::ReadResult read = files::readFile(path);
    if (!read.ok) {
        error = read.error;
        return std::nullopt;
    }
    return parseTemplate(read.bytes, path.string(), error);
}

std::optional<ChartTemplate> findTemplate(std::string const& name, fs::path const& folder,
                                          std::string& error) {
    std::error_code ec;
    for (fs::path const& direct : {folder / name, folder / (name + kExtension)})
        if (!name.empty() && fs::is_regular_file(direct, ec))
            return readTemplateFile(direct, error);
    if (!fs::is_directory(folder, ec)) {
        error = fmt::format("the template folder {} cannot be read", folder.string());
        return std::nullopt;
    }
    std::vector<fs::path> files;
    for (auto const& entry : fs::directory_iterator(folder, ec))
        if (entry.path().extension() == kExtension)
            files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    std::string const key = templateKey(name);
    for (auto const& file : files) {
        std::string why;
        auto t = readTemplateFile(file, why);
        if (t && (templateKey(t->name) == key || templateKey(file.stem().string()) == key))
            return t;
    }
    error = fmt::format("there is no template named \"{}\" in {}", name, folder.string());
    return std::nullopt;
}

namespace {

// Replaces the placeholders of a template body.
class BodyFiller {
public:
    BodyFiller(ChartTemplate const& t, std::map<std::string, std::string> const& filled,
               TemplateMaps const& maps, std::string source)
        : t_(t), filled_(filled), maps_(maps), source_(std::move(source)) {}

    bool fill(std::string_view text, std::string& out, std::string& error) {
        for (std::size_t i = 0; i < text.size(); ++i) {
            char c = text[i];
            if ((c == '{' || c == '}') && i + 1 < text.size() && text[i + 1] == c) {
                out += c;
                ++i;
                continue;
            }
            if (c == '}') {
                error = at(text, i, "a '}' without its '{'");
                return false;
            }
            if (c != '{') {
                out += c;
                continue;
            }
            std::size_t close = matching(text, i);
            if (close == std::string_view::npos) {
                error = at(text, i, "a '{' without its '}'");
                return false;
            }
            std::string_view inner = text.substr(i + 1, close - i - 1);
            if (!placeholder(text, i, inner, out, error))
                return false;
            i = close;
        }
        return true;
    }

private:
    static std::size_t matching(std::string_view text, std::size_t open) {
        int depth = 0;
        for (std::size_t k = open; k < text.size(); ++k) {
            if (text[k] == '{')
                ++depth;
            else if (text[k] == '}' && --depth == 0)
                return k;
        }
        return std::string_view::npos;
    }

    std::string at(std::string_view text, std::size_t pos, std::string const& what) const {
        // Offsets of nested texts are not tracked: the line is that of the outer placeholder.
        int line = t_.bodyLine;
        for (std::size_t k = 0; k < pos && k < text.size(); ++k) line += text[k] == '\n';
        return fmt::format("{}, line {}: {}", t_.file, line, what);
    }

    bool placeholder(std::string_view text, std::size_t pos, std::string_view inner,
                     std::string& out, std::string& error) {
        if (!inner.empty() && (inner[0] == '?' || inner[0] == '!')) {
            std::size_t colon = inner.find(':');
            if (colon == std::string_view::npos) {
                error = at(text, pos, fmt::format("'{{{}}}' needs a ':' after the slot", inner));
                return false;
            }
            std::string const slot = trim(inner.substr(1, colon - 1));
            if (!known(slot)) {
                error = at(text, pos, fmt::format("'{}' is not a slot of the template", slot));
                return false;
            }
            bool const want = inner[0] == '?';
            if (filled_.count(lowered(slot)) == static_cast<std::size_t>(want))
                return fill(inner.substr(colon + 1), out, error);
            return true;
        }
        std::string const name = trim(inner);
        std::string const key = lowered(name);
        if (key == "source") {
            out += source_;
        } else if (key == "map") {
            out += gplString(maps_.map);
        } else if (key == "refmap") {
            out += gplString(maps_.refMap);
        } else if (key == "mapkey") {
            out += gplString(maps_.mapKey);
        } else if (key == "showall") {
            out += maps_.showAll ? "true" : "false";
        } else if (auto it = filled_.find(key); it != filled_.end()) {
            out += it->second;
        } else if (known(name)) {
            error = at(text, pos,
                       fmt::format("the optional slot '{}' is used outside {{?{}:...}}", name, name));
            return false;
        } else {
            error = at(text, pos, fmt::format("unknown placeholder '{{{}}}'", name));
            return false;
        }
        return true;
    }

    bool known(std::string const& slot) const {
        return t_.slot(slot) != nullptr || lowered(slot) == lowered(kWeightSlot);
    }

    ChartTemplate const& t_;
    std::map<std::string, std::string> const& filled_;
    TemplateMaps const& maps_;
    std::string source_;
};

}  // namespace

TemplateInstance instantiate(ChartTemplate const& tmpl, std::vector<SlotFill> const& fills,
                             TemplateMaps const& maps) {
    TemplateInstance result;
    std::vector<std::pair<TemplateSlot const*, SlotFill const*>> bound;
    std::vector<std::string> weights;  // data sets with a weight, in the order given
    std::map<std::string, std::string> weightColumn;
    for (auto const& f : fills) {
        if (f.weight) {
            if (!weightColumn.count(f.dataSet))
                weights.push_back(f.dataSet);
            weightColumn[f.dataSet] = f.column;
            continue;
        }
        TemplateSlot const* slot = tmpl.slotFor(f.slot);
        if (!slot) {
            result.warnings.push_back(fmt::format(
                "The template \"{}\" has no slot \"{}\"; that mapping is not used.", tmpl.name,
                f.slot));
            continue;
        }
        bool twice = std::any_of(bound.begin(), bound.end(),
                                 [&](auto const& b) { return b.first == slot; });
        if (twice) {
            result.warnings.push_back(fmt::format(
                "The slot \"{}\" of the template \"{}\" is mapped twice; the first mapping is used.",
                slot->name, tmpl.name));
            continue;
        }
        bound.emplace_back(slot, &f);
    }
    for (auto const& slot : tmpl.slots) {
        if (!slot.required)
            continue;
        bool has = std::any_of(bound.begin(), bound.end(),
                               [&](auto const& b) { return b.first == &slot; });
        if (has)
            continue;
        if (!result.error.empty())
            result.error += ' ';
        result.error += fmt::format(
            "The template \"{}\" needs a variable for its slot \"{}\"{}, and the MAPPING has none.",
            tmpl.name, slot.name, slot.role.empty() ? "" : " (" + slot.role + ")");
    }
    if (!result.error.empty())
        return result;

    // One source per data set, in the order the slots name them.
    std::vector<std::string> dataSets;
    for (auto const& [slot, fill] : bound)
        if (std::find(dataSets.begin(), dataSets.end(), fill->dataSet) == dataSets.end())
            dataSets.push_back(fill->dataSet);
    auto sourceName = [&](std::string const& dataSet) {
        auto k = std::find(dataSets.begin(), dataSets.end(), dataSet) - dataSets.begin();
        return k == 0 ? std::string("s") : fmt::format("s{}", k + 1);
    };
    auto weightName = [&](std::string const& dataSet) {
        auto k = std::find(dataSets.begin(), dataSets.end(), dataSet) - dataSets.begin();
        return k == 0 ? std::string(kWeightSlot) : fmt::format("{}_{}", kWeightSlot, k + 1);
    };

    std::string head;
    std::map<std::string, std::string> filled;
    for (auto const& dataSet : dataSets) {
        std::string const s = sourceName(dataSet);
        bool const weighted = weightColumn.count(dataSet) != 0;
        head += fmt::format("SOURCE: {}=userSource(id({}){})\n", s, gplString(dataSet),
                            weighted ? ", weight(" + weightName(dataSet) + ")" : std::string());
        if (weighted) {
            head += fmt::format("DATA: {}=col(source({}), name({}))\n", weightName(dataSet), s,
                                gplString(weightColumn[dataSet]));
            if (dataSet == dataSets.front())
                filled[lowered(kWeightSlot)] = kWeightSlot;
        }
    }
    for (auto const& [slot, fill] : bound) {
        bool categorical = slot->kind == TemplateSlot::Kind::Categorical ||
                           (slot->kind == TemplateSlot::Kind::Any && fill->categorical);
        head += fmt::format("DATA: {}=col(source({}), name({}){})\n", slot->name,
                            sourceName(fill->dataSet), gplString(fill->column),
                            categorical ? ", unit.category()" : "");
        filled[lowered(slot->name)] = slot->name;
    }
    std::string body;
    BodyFiller filler(tmpl, filled, maps, dataSets.empty() ? "s" : sourceName(dataSets.front()));
    if (!filler.fill(tmpl.body, body, result.error))
        return result;
    result.gpl = head + body;
    return result;
}

}  // namespace host::chart
