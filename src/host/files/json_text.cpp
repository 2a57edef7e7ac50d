#include "host/files/json_text.h"

#include <cerrno>
#include <cmath>
#include <cstdlib>

namespace host::files {
namespace {

bool isNumberChar(char c) {
    return (c >= '0' && c <= '9') || c == '-' || c == '+' || c == '.' || c == 'e' || c == 'E';
}

// One pass over the text outside its strings: where the nesting first goes too deep, and the
// numbers no double holds. Those numbers are overwritten with `null` and blanks in `copy`, so
// that offsets stay as they were.
struct Scan {
    std::size_t tooDeep = std::string_view::npos;
    std::vector<std::pair<std::size_t, std::string>> hugeNumbers;
};

Scan scan(std::string_view text, int maxDepth, std::string& copy) {
    Scan result;
    int depth = 0;
    bool inString = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        char const c = text[i];
        if (inString) {
            if (c == '\\')
                ++i;
            else if (c == '"')
                inString = false;
            continue;
        }
        if (c == '"') {
            inString = true;
        } else if (c == '[' || c == '{') {
            if (++depth > maxDepth && result.tooDeep == std::string_view::npos)
                result.tooDeep = i;
        } else if (c == ']' || c == '}') {
            --depth;
        } else if (c == '-' || (c >= '0' && c <= '9')) {
            std::size_t end = i;
            while (end < text.size() && isNumberChar(text[end])) ++end;
            std::string const number(text.substr(i, end - i));
            errno = 0;
            double const value = std::strtod(number.c_str(), nullptr);
            if (std::isinf(value) && number.size() >= 4) {
                result.hugeNumbers.emplace_back(i, number);
                copy.replace(i, number.size(), "null" + std::string(number.size() - 4, ' '));
            }
            i = end - 1;
        }
    }
    return result;
}

}  // namespace

JsonText readJsonText(std::string_view text, int maxDepth) {
    JsonText result;
    std::string copy(text);
    Scan const found = scan(text, maxDepth, copy);
    for (auto const& [offset, number] : found.hugeNumbers) {
        result.problems.push_back(
            {offset, "the number " + number.substr(0, 40) + " is out of range; it is read as null"});
        result.nulledNumbers.push_back(offset);
    }
    try {
        if (found.tooDeep == std::string_view::npos) {
            result.value = nlohmann::json::parse(copy);
        } else {
            result.problems.push_back(
                {found.tooDeep, "lists and objects are nested more than " +
                                    std::to_string(maxDepth) + " deep here; the deeper ones are left out"});
            // The library's callback depth counts from 0 at the outermost value.
            result.value = nlohmann::json::parse(
                copy, [maxDepth](int depth, nlohmann::json::parse_event_t event, nlohmann::json&) {
                    using Event = nlohmann::json::parse_event_t;
                    return !((event == Event::object_start || event == Event::array_start) &&
                             depth >= maxDepth);
                });
        }
    } catch (nlohmann::json::parse_error const& e) {
        // The byte position counts from 1 and points just past the bad character.
        std::string what = e.what();
        auto const at = what.find("syntax error");
        result.problems.insert(result.problems.begin(),
                               {e.byte > 0 ? e.byte - 1 : 0,
                                "not valid JSON: " + (at == std::string::npos ? what : what.substr(at))});
        return result;
    } catch (nlohmann::json::exception const& e) {
        result.problems.insert(result.problems.begin(), {0, std::string("not valid JSON: ") + e.what()});
        return result;
    }
    result.ok = true;
    return result;
}

TextPlace placeOf(std::string_view text, std::size_t offset) {
    TextPlace place;
    for (std::size_t i = 0; i < offset && i < text.size(); ++i) {
        if (text[i] == '\n') {
            ++place.line;
            place.column = 1;
        } else {
            ++place.column;
        }
    }
    return place;
}

std::string briefJson(nlohmann::json const& value, std::size_t limit) {
    std::string text = value.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
    if (text.size() > limit)
        text = text.substr(0, limit) + "...";
    return text;
}

}  // namespace host::files
