#include "host/output/writers.h"

#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

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

using Json = nlohmann::ordered_json;

// Payloads are plain (key-sorted) json; the file keeps "kind" first, so it is written ordered.
Json ordered(nlohmann::json const& value) {
    if (value.is_object()) {
        Json out = Json::object();
        for (auto const& [key, member] : value.items()) out[key] = ordered(member);
        return out;
    }
    if (value.is_array()) {
        Json out = Json::array();
        for (auto const& member : value) out.push_back(ordered(member));
        return out;
    }
    if (value.is_string())
        return value.get<std::string>();
    if (value.is_boolean())
        return value.get<bool>();
    if (value.is_number_unsigned())
        return value.get<std::uint64_t>();
    if (value.is_number_integer())
        return value.get<std::int64_t>();
    if (value.is_number_float())
        return value.get<double>();
    return nullptr;
}

Json itemsToJson(std::vector<Item> const& items);

Json itemToJson(Item const& item) {
    Json out = Json::object();
    out["kind"] = kindName(item.kind);
    switch (item.kind) {
        case ItemKind::Command:
        case ItemKind::Trace:
            out["text"] = item.text;
            break;
        case ItemKind::Procedure:
            out["title"] = item.text;
            out["items"] = itemsToJson(item.children);
            break;
        case ItemKind::Message:
            out["level"] = item.level;
            out["text"] = item.text;
            break;
        case ItemKind::Table:
            out["title"] = item.table.title;
            out["subtype"] = item.table.subtype;
            out["titleHidden"] = item.table.titleHidden;
            out["cells"] = item.table.cells;
            break;
        case ItemKind::Chart:
        case ItemKind::Image:
        case ItemKind::ClientMessage:
            // The payload's fields stand beside "kind"; "kind" itself is ours.
            if (item.payload && item.payload->is_object())
                for (auto const& [key, value] : item.payload->items())
                    if (key != "kind")
                        out[key] = ordered(value);
            break;
    }
    return out;
}

Json itemsToJson(std::vector<Item> const& items) {
    Json out = Json::array();
    for (auto const& item : items) out.push_back(itemToJson(item));
    return out;
}

}  // namespace

nlohmann::ordered_json toJson(Document const& document) {
    Json out = Json::object();
    out["format"] = "ggraph-output/1";
    out["items"] = itemsToJson(document.items());
    return out;
}

void writeJson(Document const& document, std::ostream& out) {
    // Invalid UTF-8 from a job's bytes becomes U+FFFD rather than failing the whole file.
    out << toJson(document).dump(2, ' ', false, Json::error_handler_t::replace) << '\n';
}

files::WriteResult writeJsonFile(Document const& document, std::filesystem::path const& path) {
    return files::writeFileAtomically(path, [&](std::ostream& out) { writeJson(document, out); });
}

}  // namespace host::output
