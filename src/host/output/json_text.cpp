#include "host/output/json_text.h"

#include <ostream>
#include <sstream>

namespace host::output {
namespace {

constexpr char kReplacement[] = "\xEF\xBF\xBD";

// The length of the valid UTF-8 sequence at `at`, or 0 with `valid` set to the count of bytes
// that began a sequence before it broke (at least 1). Overlong forms, surrogates and values
// above U+10FFFF are not valid.
std::size_t sequenceAt(std::string_view text, std::size_t at, std::size_t& valid) {
    auto const byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    unsigned char const lead = byte(at);
    std::size_t length = 0;
    unsigned char low = 0x80, high = 0xBF;  // the range of the second byte
    if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        length = 3;
        if (lead == 0xE0)
            low = 0xA0;
        else if (lead == 0xED)
            high = 0x9F;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4;
        if (lead == 0xF0)
            low = 0x90;
        else if (lead == 0xF4)
            high = 0x8F;
    } else {
        valid = 1;
        return 0;
    }
    for (std::size_t i = 1; i < length; ++i) {
        bool const ok =
            at + i < text.size() && (i == 1 ? byte(at + i) >= low && byte(at + i) <= high
                                            : byte(at + i) >= 0x80 && byte(at + i) <= 0xBF);
        if (!ok) {
            valid = i;
            return 0;
        }
    }
    return length;
}

}  // namespace

void writeJsonString(std::ostream& out, std::string_view text) {
    out.put('"');
    std::size_t plain = 0;  // the start of the run of bytes that need no escape
    auto flush = [&](std::size_t to) {
        if (to > plain)
            out.write(text.data() + plain, static_cast<std::streamsize>(to - plain));
    };
    for (std::size_t i = 0; i < text.size();) {
        auto const c = static_cast<unsigned char>(text[i]);
        if (c >= 0x20 && c != '"' && c != '\\' && c < 0x80) {
            ++i;
            continue;
        }
        if (c >= 0x80) {
            std::size_t broken = 0;
            std::size_t const length = sequenceAt(text, i, broken);
            if (length > 0) {
                i += length;
                continue;
            }
            flush(i);
            out << kReplacement;
            i += broken;
            plain = i;
            continue;
        }
        flush(i);
        switch (c) {
            case '"':
                out << "\\\"";
                break;
            case '\\':
                out << "\\\\";
                break;
            case '\b':
                out << "\\b";
                break;
            case '\f':
                out << "\\f";
                break;
            case '\n':
                out << "\\n";
                break;
            case '\r':
                out << "\\r";
                break;
            case '\t':
                out << "\\t";
                break;
            default: {
                static constexpr char kHex[] = "0123456789abcdef";
                char escape[] = {'\\', 'u', '0', '0', kHex[c >> 4], kHex[c & 0xF]};
                out.write(escape, sizeof escape);
            }
        }
        ++i;
        plain = i;
    }
    flush(text.size());
    out.put('"');
}

std::string jsonString(std::string_view text) {
    std::ostringstream out;
    writeJsonString(out, text);
    return out.str();
}

}  // namespace host::output
