#include "host/dictionary/dictionary_json.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <limits>
#include <nlohmann/json.hpp>
#include <sstream>

#include "host/dictionary/dataset.h"
#include "host/dictionary/formats.h"
#include "host/files/json_text.h"

namespace host::dictionary {

namespace {

using nlohmann::json;

// Finds where things stand in the text. The JSON library keeps no positions for values, so a
// value is found by searching for its own text behind the place of the object it belongs to.
class Locator {
public:
    explicit Locator(std::string const& text) : text_(text) {
        lineStarts_.push_back(0);
        for (std::size_t i = 0; i < text.size(); ++i)
            if (text[i] == '\n')
                lineStarts_.push_back(i + 1);
    }

    std::size_t find(std::string const& needle, std::size_t from) const {
        auto const at = text_.find(needle, from);
        return at == std::string::npos ? from : at;
    }
    DictPlace place(std::size_t offset) const {
        offset = std::min(offset, text_.size());
        auto const next = std::upper_bound(lineStarts_.begin(), lineStarts_.end(), offset);
        auto const line = static_cast<std::int64_t>(next - lineStarts_.begin());
        return {line, static_cast<std::int64_t>(offset - *(next - 1)) + 1};
    }

private:
    std::string const& text_;
    std::vector<std::size_t> lineStarts_;
};

class Reader {
public:
    Reader(std::string const& text, std::string const& file, std::vector<Diagnostic>& messages)
        : text_(text), file_(file), locator_(text), messages_(messages) {}

    std::optional<Dictionary> read();

private:
    void error(std::size_t offset, std::string text, Diagnostic::Level level = Diagnostic::Error) {
        Diagnostic d;
        d.level = level;
        d.file = file_;
        if (offset != std::string::npos) {
            auto const place = locator_.place(offset);
            d.line = place.line;
            d.column = place.column;
        }
        d.text = std::move(text);
        messages_.push_back(std::move(d));
    }
    // The offset of a value's text behind `from`, for messages.
    std::size_t at(json const& value, std::size_t from) const {
        return locator_.find(value.dump(-1, ' ', false, json::error_handler_t::replace), from);
    }
    // A text member of an object: empty when absent, reported when it is not a text.
    std::string textMember(json const& object, char const* key, std::size_t where,
                           std::string const& what);
    void readMissing(json const& missing, std::size_t where, std::string const& what,
                     DictField& out);
    void readCurrencies(json const& currencies, Dictionary& dictionary);
    bool readValue(json const& value, DictValue& out, std::size_t where, std::string const& what);
    void readField(json const& field, std::size_t where, Dictionary& dictionary);
    void readMrSet(json const& set, std::size_t where, Dictionary& dictionary);
    std::optional<Dictionary> readRoot(json const& root);

    std::string const& text_;
    std::string const& file_;
    Locator locator_;
    std::vector<Diagnostic>& messages_;
    std::vector<std::size_t> nulledNumbers_;  // where a number out of range was read as null
};

std::string Reader::textMember(json const& object, char const* key, std::size_t where,
                               std::string const& what) {
    if (!object.contains(key))
        return {};
    auto const& value = object[key];
    if (value.is_string())
        return value.get<std::string>();
    error(at(value, where), what + ": \"" + key + "\" must be a text, not " +
                                host::files::briefJson(value));
    return {};
}

bool Reader::readValue(json const& value, DictValue& out, std::size_t where,
                       std::string const& what) {
    if (value.is_number()) {
        out.isNumber = true;
        out.number = value.get<double>();
        out.text = value.dump();
        return true;
    }
    if (value.is_string()) {
        out.isNumber = false;
        out.text = value.get<std::string>();
        return true;
    }
    std::size_t const here = at(value, where);
    // A number out of range has been reported where it stands (the text there is the number).
    if (value.is_null() && std::any_of(nulledNumbers_.begin(), nulledNumbers_.end(),
                                       [where](std::size_t at) { return at >= where; }))
        return false;
    error(here, what + ": " + host::files::briefJson(value) + " is neither a number nor a text");
    return false;
}

void Reader::readField(json const& field, std::size_t where, Dictionary& dictionary) {
    DictField out;
    out.name = field.value("name", "");
    std::size_t const offset = at(json(out.name), where);
    out.place = locator_.place(offset);
    std::string const what = "field \"" + out.name + "\"";

    if (field.contains("type")) {
        auto const& type = field["type"];
        out.type = type.is_string() ? type.get<std::string>() : "";
        if (out.type != "number" && out.type != "integer" && out.type != "string" &&
            out.type != "date" && out.type != "time" && out.type != "datetime") {
            error(at(type, offset), what + ": unknown type " + host::files::briefJson(type) +
                                        "; expected \"number\", \"integer\", \"string\", "
                                        "\"date\", \"time\" or \"datetime\"");
            out.type.clear();
        }
    }
    if (field.contains("width")) {
        auto const& width = field["width"];
        if (!width.is_number_integer() || width.get<long long>() < 1 ||
            width.get<long long>() > 32767) {
            error(at(width, offset),
                  what + ": width " + host::files::briefJson(width) + " is not a whole number from 1 to 32767");
        } else {
            out.width = width.get<int>();
        }
    }
    if (field.contains("title")) {
        if (field["title"].is_string()) {
            out.title = field["title"].get<std::string>();
        } else {
            error(at(field["title"], offset), what + ": the title must be a text");
        }
    }
    if (field.contains("measure")) {
        auto const& measure = field["measure"];
        std::string const name = measure.is_string() ? measure.get<std::string>() : "";
        if (equalsNoCase(name, "nominal")) {
            out.measure = MEASURE_NOMINAL;
        } else if (equalsNoCase(name, "ordinal")) {
            out.measure = MEASURE_ORDINAL;
        } else if (equalsNoCase(name, "scale")) {
            out.measure = MEASURE_SCALE;
        } else {
            error(at(measure, offset), what + ": unknown measure " + host::files::briefJson(measure) +
                                           "; expected \"nominal\", \"ordinal\" or \"scale\"");
        }
    }
    if (field.contains("printFormat")) {
        auto const& format = field["printFormat"];
        std::size_t const here = at(format, offset);
        std::string const type =
            format.is_object() ? textMember(format, "type", here, what + ": print format") : "";
        out.formatType = formatTypeByName(type);
        if (out.formatType == 0) {
            error(locator_.find("\"" + type + "\"", here),
                  what + ": unknown print format type \"" + type + "\"");
        } else {
            auto const whole = [&](char const* key) -> long long {
                if (!format.contains(key))
                    return 0;
                return format[key].is_number_integer() ? format[key].get<long long>() : -1;
            };
            long long const width = whole("width");
            long long const decimals = whole("decimals");
            out.formatWidth = static_cast<int>(std::clamp(width, -1LL, 256LL));
            out.formatDecimals = static_cast<int>(std::clamp(decimals, -1LL, 17LL));
            if (out.formatWidth < 0 || out.formatWidth > 255 || out.formatDecimals < 0 ||
                out.formatDecimals > 16) {
                error(here, what + ": print format width or decimals out of range");
                out.formatType = 0;
            }
        }
    }
    if (field.contains("categories")) {
        auto const& categories = field["categories"];
        if (!categories.is_array()) {
            error(at(categories, offset), what + ": categories must be a list");
        } else {
            // Each category is looked for behind the one before: a list of many stays linear.
            std::size_t cursor = offset;
            for (auto const& category : categories) {
                if (!category.is_object() || !category.contains("value")) {
                    error(at(category, cursor), what + ": a category needs a \"value\"");
                    continue;
                }
                std::size_t const here = locator_.find("\"value\"", cursor);
                cursor = here + 1;
                DictValue value;
                if (!readValue(category["value"], value, here, what))
                    continue;
                std::string label;
                if (category.contains("label") && category["label"].is_string()) {
                    label = category["label"].get<std::string>();
                }
                out.categories.emplace_back(std::move(value), std::move(label));
            }
        }
    }
    if (field.contains("missingValues"))
        readMissing(field["missingValues"], offset, what, out);
    dictionary.fields.push_back(std::move(out));
}

void Reader::readMissing(json const& missing, std::size_t where, std::string const& what,
                         DictField& out) {
    if (!missing.is_array()) {
        error(at(missing, where), what + ": missingValues must be a list");
        return;
    }
    for (auto const& entry : missing) {
        if (!entry.is_object()) {
            DictValue value;
            if (readValue(entry, value, where, what))
                out.missing.push_back(std::move(value));
            continue;
        }
        std::size_t const here = at(entry, where);
        if (out.hasMissingRange) {
            error(here, what + ": only one missing range can be given; this one is left out");
            continue;
        }
        bool const hasLow = entry.contains("low");
        bool const hasHigh = entry.contains("high");
        // Both ends left out would make every value missing: surely not what was meant.
        if (!hasLow && !hasHigh) {
            error(here, what + ": a missing range needs \"low\", \"high\" or both");
            continue;
        }
        if ((hasLow && !entry["low"].is_number()) || (hasHigh && !entry["high"].is_number())) {
            error(here, what + ": the low and high ends of a missing range must be numbers");
            continue;
        }
        double const low =
            hasLow ? entry["low"].get<double>() : std::numeric_limits<double>::lowest();
        double const high =
            hasHigh ? entry["high"].get<double>() : std::numeric_limits<double>::max();
        if (low > high) {
            error(here, what + ": the missing range has low above high");
            continue;
        }
        out.hasMissingRange = true;
        out.missingLow = low;
        out.missingHigh = high;
    }
}

void Reader::readCurrencies(json const& currencies, Dictionary& dictionary) {
    std::size_t const where = locator_.find("\"currencies\"", 0);
    if (!currencies.is_array()) {
        error(where, "\"currencies\" must be a list of {\"prefix\", \"suffix\"}");
        return;
    }
    for (auto const& currency : currencies) {
        std::size_t const here = at(currency, where);
        if (dictionary.currencies.size() == 5) {
            error(here, "at most five currencies can be given; the rest are left out");
            break;
        }
        if (!currency.is_object()) {
            error(here, "a currency must be {\"prefix\": ..., \"suffix\": ...}, not " +
                            host::files::briefJson(currency));
            // Keeps the places of the later ones: the fourth is still CCD.
            dictionary.currencies.emplace_back();
            continue;
        }
        dictionary.currencies.emplace_back(textMember(currency, "prefix", here, "currency"),
                                           textMember(currency, "suffix", here, "currency"));
    }
}

void Reader::readMrSet(json const& set, std::size_t where, Dictionary& dictionary) {
    DictMrSet out;
    out.name = textMember(set, "name", where, "a multiple-response set");
    std::size_t const offset = at(json(out.name), where);
    out.place = locator_.place(offset);
    std::string const what = "multiple-response set \"" + out.name + "\"";
    if (out.name.size() < 2 || out.name[0] != '$') {
        error(offset, what + ": the name must start with '$'");
        return;
    }
    std::string const type = textMember(set, "type", offset, what);
    if (type == "category") {
        out.type = VariableSet::CATEGORY_SET;
    } else if (type == "dichotomy") {
        out.type = VariableSet::DICHOTOMY_SET;
    } else {
        error(locator_.find("\"" + type + "\"", offset),
              what + ": unknown type \"" + type + "\"; expected \"category\" or \"dichotomy\"");
        return;
    }
    out.label = textMember(set, "label", offset, what);
    if (set.contains("variables") && set["variables"].is_array()) {
        for (auto const& name : set["variables"]) {
            if (name.is_string())
                out.variables.push_back(name.get<std::string>());
        }
    }
    if (out.variables.empty()) {
        error(offset, what + ": it lists no variables");
        return;
    }
    if (out.type == VariableSet::DICHOTOMY_SET) {
        if (!set.contains("countedValue")) {
            error(offset, what + ": a dichotomy set needs a \"countedValue\"");
            return;
        }
        DictValue counted;
        if (!readValue(set["countedValue"], counted, offset, what))
            return;
        out.countedValue = counted.text;
    }
    if (set.contains("useCategoryLabels")) {
        if (set["useCategoryLabels"].is_boolean())
            out.useCategoryLabels = set["useCategoryLabels"].get<bool>();
        else
            error(offset, what + ": \"useCategoryLabels\" must be true or false");
    }
    dictionary.mrsets.push_back(std::move(out));
}

std::optional<Dictionary> Reader::read() {
    auto parsed = host::files::readJsonText(text_);
    for (auto const& problem : parsed.problems)
        error(problem.offset,
              problem.text.rfind("not valid JSON", 0) == 0 ? "the dictionary is " + problem.text
                                                           : problem.text);
    if (!parsed.ok)
        return std::nullopt;
    nulledNumbers_ = std::move(parsed.nulledNumbers);
    json const& root = parsed.value;
    if (!root.is_object()) {
        error(0, "the dictionary must be a JSON object with a \"fields\" list");
        return std::nullopt;
    }
    try {
        return readRoot(root);
    } catch (json::exception const& e) {
        // A value of the wrong kind where the reader asked for a number or a text.
        error(0, std::string("the dictionary has a value of the wrong kind: ") + e.what());
        return std::nullopt;
    }
}

std::optional<Dictionary> Reader::readRoot(json const& root) {
    Dictionary dictionary;
    dictionary.file = file_;
    if (root.contains("path")) {
        if (root["path"].is_string()) {
            std::filesystem::path csv = root["path"].get<std::string>();
            if (csv.is_relative())
                csv = std::filesystem::path(file_).parent_path() / csv;
            dictionary.csvPath = csv.lexically_normal().string();
        } else {
            error(at(root["path"], 0), "\"path\" must be a text naming the CSV file");
        }
    }
    std::size_t cursor = locator_.find("\"fields\"", 0);
    if (root.contains("fields")) {
        if (!root["fields"].is_array()) {
            error(cursor, "\"fields\" must be a list");
        } else {
            for (auto const& field : root["fields"]) {
                if (!field.is_object() || !field.contains("name") || !field["name"].is_string() ||
                    field["name"].get<std::string>().empty()) {
                    error(at(field, cursor), "a field needs a \"name\"");
                    continue;
                }
                readField(field, cursor, dictionary);
                cursor = at(field["name"], cursor) + 1;
            }
        }
    }
    if (root.contains("weight") && !root["weight"].is_null()) {
        std::size_t const here = at(root["weight"], locator_.find("\"weight\"", 0));
        dictionary.weightPlace = locator_.place(here);
        if (root["weight"].is_string()) {
            dictionary.weight = root["weight"].get<std::string>();
        } else {
            error(here, "\"weight\" must name a variable");
        }
    }
    if (root.contains("split")) {
        std::size_t const here = locator_.find("\"split\"", 0);
        dictionary.splitPlace = locator_.place(here);
        auto const& split = root["split"];
        json const* names = split.is_object() && split.contains("variables") ? &split["variables"]
                            : split.is_array()                               ? &split
                                                                             : nullptr;
        if (!names || !names->is_array()) {
            error(here, "\"split\" must be {\"variables\": [...]}");
        } else {
            for (auto const& name : *names) {
                if (name.is_string())
                    dictionary.split.push_back(name.get<std::string>());
            }
        }
    }
    if (root.contains("mrsets")) {
        std::size_t where = locator_.find("\"mrsets\"", 0);
        if (!root["mrsets"].is_array()) {
            error(where, "\"mrsets\" must be a list");
        } else {
            for (auto const& set : root["mrsets"]) {
                if (!set.is_object()) {
                    error(at(set, where), "a multiple-response set must be an object");
                    continue;
                }
                readMrSet(set, where, dictionary);
                if (set.contains("name"))
                    where = at(set["name"], where) + 1;
            }
        }
    }
    if (root.contains("currencies"))
        readCurrencies(root["currencies"], dictionary);
    return dictionary;
}

}  // namespace

std::optional<Dictionary> readDictionaryText(std::string const& text, std::string const& file,
                                             std::vector<Diagnostic>& messages) {
    return Reader(text, file, messages).read();
}

std::optional<Dictionary> readDictionary(std::string const& path,
                                         std::vector<Diagnostic>& messages) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        Diagnostic d;
        d.level = Diagnostic::Error;
        d.file = path;
        d.text = "cannot open the dictionary file";
        messages.push_back(std::move(d));
        return std::nullopt;
    }
    std::ostringstream buffer;
    buffer << in.rdbuf();
    std::string text = buffer.str();
    if (text.size() >= 3 && text.compare(0, 3, "\xEF\xBB\xBF") == 0)
        text.erase(0, 3);
    return readDictionaryText(text, path, messages);
}

}  // namespace host::dictionary
