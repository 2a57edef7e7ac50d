#include "host/dictionary/csv_parser.h"
#include "host/dictionary/number_text.h"

#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include <fast_float/fast_float.h>
#include <utf8.h>
#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <utility>

#include "platform/dictionary.h"

namespace host::dictionary::csv {

namespace {

constexpr double kSysmis = std::numeric_limits<double>::lowest();

// A data cell of eight blanks.
OBS const kBlankCell = [] {
    OBS cell;
    std::memset(&cell, ' ', sizeof cell);
    return cell;
}();

// The same eight blanks as a number.
constexpr std::uint64_t kBlankWord = 0x2020202020202020ull;

// Bytes that end an unquoted field.
struct DelimiterTable {
    bool ends[256] = {};
    constexpr DelimiterTable() {
        ends[static_cast<unsigned char>(',')] = true;
        ends[static_cast<unsigned char>('\n')] = true;
        ends[static_cast<unsigned char>('\r')] = true;
    }
};
constexpr DelimiterTable kDelimiters;

inline bool isDelimiter(char c) {
    return kDelimiters.ends[static_cast<unsigned char>(c)];
}

// Bytes an unquoted field is scanned for: its delimiters, and a quote or a NUL, which it may
// hold but which are worth a message.
inline bool isSpecial(char c) {
    return isDelimiter(c) || c == '"' || c == '\0';
}

// Eight bytes at a time: a mask with the high bit set in each byte of `word` that is special. A
// byte's bit may also be set above the first special one (a borrow), never below it.
inline std::uint64_t specialBytes(std::uint64_t word) {
    constexpr std::uint64_t ones = 0x0101010101010101ull;
    constexpr std::uint64_t highs = 0x8080808080808080ull;
    auto zero = [](std::uint64_t v) { return (v - ones) & ~v & highs; };
    return zero(word ^ (ones * ',')) | zero(word ^ (ones * '\n')) | zero(word ^ (ones * '\r')) |
           zero(word ^ (ones * '"')) | zero(word);
}

// Which bytes are special, by byte.
struct SpecialTable {
    bool special[256] = {};
    constexpr SpecialTable() {
        for (unsigned char c : {',', '\n', '\r', '"', '\0'}) special[c] = true;
    }
};
constexpr SpecialTable kSpecial;

// The first special byte at or after `p`, or `end`. Most fields are a few bytes long: those are
// looked at byte by byte, longer ones sixteen (or eight) bytes at a time.
template <bool Unbounded = false>
inline char const* scanField(char const* p, char const* end) {
    if (Unbounded || end - p >= 16) {  // no end within reach: no bound to check
        for (char const* const near = p + 16; p < near; ++p) {
            if (kSpecial.special[static_cast<unsigned char>(*p)])
                return p;
        }
    } else {
        for (; p < end; ++p) {
            if (kSpecial.special[static_cast<unsigned char>(*p)])
                return p;
        }
        return p;
    }
#ifdef __SSE2__
    // Sixteen bytes at a time where the text has them.
    __m128i const comma = _mm_set1_epi8(',');
    __m128i const lineFeed = _mm_set1_epi8('\n');
    __m128i const carriage = _mm_set1_epi8('\r');
    __m128i const quote = _mm_set1_epi8('"');
    __m128i const nul = _mm_setzero_si128();
    while (end - p >= 16) {
        __m128i const bytes = _mm_loadu_si128(reinterpret_cast<__m128i const*>(p));
        __m128i const special = _mm_or_si128(
            _mm_or_si128(_mm_cmpeq_epi8(bytes, comma), _mm_cmpeq_epi8(bytes, lineFeed)),
            _mm_or_si128(_mm_or_si128(_mm_cmpeq_epi8(bytes, carriage), _mm_cmpeq_epi8(bytes, quote)),
                         _mm_cmpeq_epi8(bytes, nul)));
        if (int const mask = _mm_movemask_epi8(special))
            return p + __builtin_ctz(static_cast<unsigned>(mask));
        p += 16;
    }
#endif
    while (end - p >= 8) {
        std::uint64_t word;
        std::memcpy(&word, p, sizeof word);
        if (std::uint64_t const found = specialBytes(word))
            return p + (__builtin_ctzll(found) >> 3);
        p += 8;
    }
    while (p < end && !isSpecial(*p)) ++p;
    return p;
}

inline void putNumber(ColumnState& state, double value) {
    if (state.region) {
        state.region[state.regionUsed++] = value;
    } else {
        state.column.numbers.push_back(value);
    }
}

inline void putCell(ColumnState& state, OBS cell) {
    if (state.region) {
        state.region[state.regionUsed++] = cell;
    } else {
        state.column.cells.push_back(cell);
    }
}

// Room for one text value of the column's cells, blank.
OBS* putBlankValue(ColumnState& state) {
    auto const per = static_cast<std::size_t>(state.column.cellsPerValue);
    OBS* at;
    if (state.region) {
        at = state.region + state.regionUsed;
        state.regionUsed += per;
    } else {
        auto& cells = state.column.cells;
        cells.resize(cells.size() + per);
        at = cells.data() + cells.size() - per;
    }
    std::fill(at, at + per, kBlankCell);
    return at;
}

std::string_view trimBlanks(std::string_view text) {
    while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
    while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) text.remove_suffix(1);
    return text;
}

// A number written out in digits ("1e999", "-2.5e400") that no double holds. Not "inf" or
// "nan", which are words rather than numbers out of range.
bool isOutOfRange(std::string_view text) {
    if (!text.empty() && (text.front() == '+' || text.front() == '-'))
        text.remove_prefix(1);
    if (text.empty() || !((text.front() >= '0' && text.front() <= '9') || text.front() == '.'))
        return false;
    double value = 0;
    auto result = fast_float::from_chars(text.data(), text.data() + text.size(), value);
    return result.ptr == text.data() + text.size() &&
           (result.ec == std::errc::result_out_of_range || !std::isfinite(value));
}

constexpr double kPowersOfTen[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                   1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                   1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};

// The common plain decimal ("-123.45") right up to a delimiter, read in one pass that also
// counts the decimals. Exact: a mantissa below 2^53 and a power of ten up to 10^22 are both
// exact doubles, and one division rounds correctly. Null when the field is anything else.
// `Unbounded`: the text is known to end in a line feed, so no run of digits reaches its end and
// the loops need not look for it.
template <bool Unbounded = false>
[[gnu::always_inline]] inline char const* parsePlainDecimal(char const* p, char const* end,
                                                            double& value, int& decimals) {
    bool const negative = p < end && *p == '-';
    if (negative)
        ++p;
    std::uint64_t mantissa = 0;
    int digits = 0;
    char const* const start = p;
    while ((Unbounded || p < end) && static_cast<unsigned char>(*p - '0') < 10) {
        mantissa = mantissa * 10 + static_cast<unsigned>(*p - '0');
        ++p;
    }
    digits = static_cast<int>(p - start);
    decimals = 0;
    if (p < end && *p == '.') {
        char const* const fraction = ++p;
        while ((Unbounded || p < end) && static_cast<unsigned char>(*p - '0') < 10) {
            mantissa = mantissa * 10 + static_cast<unsigned>(*p - '0');
            ++p;
        }
        decimals = static_cast<int>(p - fraction);
        digits += decimals;
    }
    if (digits == 0 || digits > 15 || (p < end && !isDelimiter(*p)))
        return nullptr;
    value = static_cast<double>(mantissa) / kPowersOfTen[decimals];
    if (negative)
        value = -value;
    return p;
}

int decimalsOf(std::string_view text) {
    auto const dot = text.find('.');
    if (dot == std::string_view::npos)
        return 0;
    int digits = 0;
    for (std::size_t i = dot + 1; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i) {
        ++digits;
    }
    return digits;
}

std::string quoteForMessage(std::string_view text) {
    if (text.size() > 40)
        return "\"" + std::string(text.substr(0, 37)) + "...\"";
    return "\"" + std::string(text) + "\"";
}


class Parser {
public:
    Parser(std::string_view text, char const* start, std::string const& name,
           RunMessages& messages)
        : begin_(text.data()),
          p_(start),
          end_(text.data() + text.size()),
          lineStart_(start),
          name_(name),
          messages_(messages),
          endsInLineFeed_(!text.empty() && text.back() == '\n') {}

    // The header row; false when the text holds none.
    bool header(std::vector<std::string>& headers);
    // The rows that start before `stop`.
    void rows(char const* stop, std::vector<ColumnState>& states, RunProgress* progress,
              RunResult& result);
    char const* position() const { return p_; }
    std::int64_t lines() const { return line_ - 1; }

private:
    void report(Diagnostic::Level level, std::string const& kind, char const* at,
                std::string text) {
        Diagnostic d;
        d.level = level;
        d.file = name_;
        d.line = line_;
        d.column = at ? (at - lineStart_) + 1 : 0;
        d.text = std::move(text);
        messages_.add(kind, std::move(d));
    }
    void newline(char const* next) {
        ++line_;
        lineStart_ = next;
    }
    // Reads one field, quoted or not, leaving p_ on its delimiter (or the end).
    std::string_view readText();
    // A NUL byte is no character of a text file: kept, but said, since it changes what a field
    // reads as (a number followed by one is a text).
    void reportNul(std::string_view text, char const* fieldStart) {
        if (text.find('\0') != std::string_view::npos)
            report(Diagnostic::Warning, "NUL byte", fieldStart,
                   "a NUL byte (0x00) stands inside the field; it is kept as a character, so "
                   "the field reads as a text");
    }
    // Steps over the delimiter: 0 another field follows, 1 the row ended.
    int endField();
    void storeText(ColumnState& state, std::string_view text, char const* at, std::size_t field);
    void storeNumberText(ColumnState& state, std::string_view text, char const* at,
                         std::size_t field);
    bool storePlainNumber(ColumnState& state);
    void checkUtf8(std::string_view text, char const* at);
    void raggedRow(std::int64_t rowLine, std::size_t fields, std::vector<ColumnState>& states);

    char const* begin_;
    char const* p_;
    char const* end_;
    char const* lineStart_;
    std::int64_t line_ = 1;
    std::string const& name_;
    RunMessages& messages_;
    std::string scratch_;

    // The fast path of a row: every field plain (no quotes, a number that parsePlainDecimal
    // reads, a text of up to eight ASCII bytes) and every loaded column writing into its region.
    // False when the row is anything else; it is then read field by field as before, and what
    // the attempt wrote is written over. A plain row writes its values at `plainRows_` past
    // each column's base, so that taking it is one increment; syncPlain() hands the counts and
    // widths back to the columns before a row takes the slow path, and at the end.
    enum class FieldKind : unsigned char { Skip, Number, ShortText, Other };
    struct PlainField {
        FieldKind kind = FieldKind::Skip;
        int widthLimit = 8;  // ShortText: the longest value that fits
        OBS* base = nullptr;
        int maxLength = 0;
        int maxDecimals = 0;
    };
    template <bool Unbounded>
    char const* plainRow(char const* p, std::size_t row);
    // Plain rows from here while they come, at most `most` of them and none that starts at or
    // past `stop`; gives how many were read.
    std::int64_t plainRun(char const* stop, std::int64_t most);
    void classifyFields(std::vector<ColumnState> const& states);
    void syncPlain(std::vector<ColumnState>& states);
    std::vector<PlainField> plain_;

    // A row whose loaded fields are few and all Number or ShortText (the usual job: two or
    // three of a file's columns) has a loop made for their kinds: fields between them are only
    // stepped over. `skips[l]` fields come before loaded field l, `skips[count]` after the last.
    static constexpr std::size_t kMostLoaded = 4;
    struct LoadedLayout {
        std::size_t count = 0;  // 0: the row takes the general loop
        unsigned textMask = 0;  // bit l: loaded field l is ShortText, else Number
        std::array<std::size_t, kMostLoaded> fieldOf{};
        std::array<std::size_t, kMostLoaded + 1> skips{};
    };
    LoadedLayout loaded_;
    template <std::size_t Count, unsigned TextMask>
    std::int64_t plainRunOfLoaded(char const* stop, std::int64_t most);
    template <std::size_t Count>
    std::int64_t plainRunOfCount(char const* stop, std::int64_t most);
    void layOutLoaded();
    std::int64_t plainRows_ = 0;
    bool endsInLineFeed_ = false;
    std::int64_t plainTried_ = 0;
    std::int64_t plainFailed_ = 0;
};

void Parser::classifyFields(std::vector<ColumnState> const& states) {
    plain_.assign(states.size(), PlainField{});
    plainRows_ = 0;
    for (std::size_t c = 0; c < states.size(); ++c) {
        ColumnState const& state = states[c];
        PlainField& field = plain_[c];
        if (!state.load)
            continue;
        field.base = state.region ? state.region + state.regionUsed : nullptr;
        field.maxLength = state.column.maxLength;
        field.maxDecimals = state.column.maxDecimals;
        if (!state.region) {
            field.kind = FieldKind::Other;
        } else if (state.column.numeric) {
            field.kind = FieldKind::Number;
        } else if (state.column.cellsPerValue == 1) {
            field.kind = FieldKind::ShortText;
            if (state.declaredWidth > 0)
                field.widthLimit = std::min(8, state.declaredWidth);
        } else {
            field.kind = FieldKind::Other;
        }
    }
    layOutLoaded();
}

void Parser::layOutLoaded() {
    loaded_ = LoadedLayout{};
    if (!endsInLineFeed_)
        return;  // the loops made for kinds rely on a line feed ending every scan
    std::size_t count = 0;
    std::size_t skipped = 0;
    LoadedLayout layout;
    for (std::size_t c = 0; c < plain_.size(); ++c) {
        FieldKind const kind = plain_[c].kind;
        if (kind == FieldKind::Skip) {
            ++skipped;
            continue;
        }
        if (kind == FieldKind::Other || count == kMostLoaded)
            return;
        layout.fieldOf[count] = c;
        layout.skips[count] = skipped;
        if (kind == FieldKind::ShortText)
            layout.textMask |= 1u << count;
        ++count;
        skipped = 0;
    }
    layout.skips[count] = skipped;
    layout.count = count;
    loaded_ = layout;
}

void Parser::syncPlain(std::vector<ColumnState>& states) {
    if (plainRows_ == 0)
        return;
    auto const rows = static_cast<std::size_t>(plainRows_);
    for (std::size_t c = 0; c < states.size(); ++c) {
        PlainField const& field = plain_[c];
        if (field.kind != FieldKind::Number && field.kind != FieldKind::ShortText)
            continue;
        ColumnState& state = states[c];
        state.regionUsed += rows;
        if (field.kind == FieldKind::Number)
            state.numbersSeen += plainRows_;
        state.column.maxLength = std::max(state.column.maxLength, field.maxLength);
        state.column.maxDecimals = std::max(state.column.maxDecimals, field.maxDecimals);
    }
    classifyFields(states);
}

// A plain number at `p`, written at `row` past the field's base: where it ends, or null.
template <bool Unbounded, class Field>
[[gnu::always_inline]] inline char const* plainNumber(Field& field, char const* p,
                                                      char const* end, std::size_t row) {
    double value;
    int decimals;
    char const* const next = parsePlainDecimal<Unbounded>(p, end, value, decimals);
    if (!next)
        return nullptr;
    field.base[row] = value;
    field.maxDecimals = std::max(field.maxDecimals, decimals);
    field.maxLength = std::max(field.maxLength, static_cast<int>(next - p));
    return next;
}

// The first special byte at or after `p` in a text that ends in a line feed. Most fields of a
// plain row are a few bytes long: this loop, one comparison a byte and made part of its caller,
// finds their end sooner than any wider scan; a field that goes on past sixteen bytes is
// scanned sixteen bytes at a time.
[[gnu::always_inline]] inline char const* scanShort(char const* p, char const* end) {
    for (char const* const near = p + 16; p < near; ++p) {
        if (kSpecial.special[static_cast<unsigned char>(*p)])
            return p;
    }
    return scanField<true>(p, end);
}

// A text of up to eight ASCII bytes at `p` (no more than the field's width), written blank-padded
// at `row` past the field's base: where it ends, or null.
template <bool Unbounded, class Field>
[[gnu::always_inline]] inline char const* plainText(Field& field, char const* p, char const* end,
                                                    std::size_t row) {
    char const* const next = Unbounded ? scanShort(p, end) : scanField<false>(p, end);
    auto const length = static_cast<int>(next - p);
    if (length > field.widthLimit || end - p < 8)
        return nullptr;
    std::uint64_t bytes;
    std::memcpy(&bytes, p, sizeof bytes);
    std::uint64_t const keep =
        length == 8 ? ~std::uint64_t{0} : (std::uint64_t{1} << (8 * length)) - 1;
    std::uint64_t const word = (bytes & keep) | (kBlankWord & ~keep);
    if (word & 0x8080808080808080ull)
        return nullptr;
    // Stored as the cell type, not as bytes, so that the compiler need not assume the store
    // changed the parser's own fields.
    field.base[row] = std::bit_cast<OBS>(word);
    field.maxLength = std::max(field.maxLength, length);
    return next;
}

// Past the delimiter that ends a field at `p`: the comma before the next field, or the line end
// after the row's `last` one. Null when the row is not plain there: more or fewer fields than
// the header, a quote or a NUL.
[[gnu::always_inline]] inline char const* afterField(char const* p, char const* end, bool last) {
    if (p >= end)
        return last ? p : nullptr;
    char const c = *p;
    if (c == ',')
        return last ? nullptr : p + 1;
    if (!last)
        return nullptr;
    if (c == '\n')
        return p + 1;
    if (c == '\r')
        return p + ((p + 1 < end && p[1] == '\n') ? 2 : 1);
    return nullptr;
}

// The end of the plain row that starts at `p`, its values written at `row` past each field's
// base; null when the row is not plain.
template <bool Unbounded>
inline char const* Parser::plainRow(char const* p, std::size_t row) {
    char const* const end = end_;
    std::size_t const count = plain_.size();
    for (std::size_t f = 0; f < count; ++f) {
        PlainField& field = plain_[f];
        switch (field.kind) {
        case FieldKind::Skip:
            p = scanField<Unbounded>(p, end);
            break;
        case FieldKind::Number:
            p = plainNumber<Unbounded>(field, p, end, row);
            break;
        case FieldKind::ShortText:
            p = plainText<Unbounded>(field, p, end, row);
            break;
        case FieldKind::Other:
            return nullptr;
        }
        if (!p || !(p = afterField(p, end, f + 1 == count)))
            return nullptr;
    }
    return p;
}

// plainRun for a text that ends in a line feed, whose loaded fields are `Count` of the kinds
// `TextMask` gives: each field's code is its own, the fields in between are stepped over, and
// the loop works on a local copy of the loaded fields, written back when the run ends.
template <std::size_t Count, unsigned TextMask>
std::int64_t Parser::plainRunOfLoaded(char const* stop, std::int64_t most) {
    std::array<PlainField, Count> fields;
    for (std::size_t l = 0; l < Count; ++l) fields[l] = plain_[loaded_.fieldOf[l]];
    std::array<std::size_t, Count + 1> skips;
    std::copy_n(loaded_.skips.begin(), Count + 1, skips.begin());
    char const* const end = end_;
    // Past `n` stepped-over fields that each end in a comma, or null.
    auto const stepOver = [end](char const* q, std::size_t n) -> char const* {
        for (; n > 0; --n) {
            q = scanShort(q, end);
            if (*q != ',')
                return nullptr;
            ++q;
        }
        return q;
    };
    auto const row = [&](char const* q, std::size_t at) -> char const* {
        bool const plain = [&]<std::size_t... L>(std::index_sequence<L...>) {
            return ((q = stepOver(q, skips[L]),
                     q && (q = (TextMask >> L) & 1u ? plainText<true>(fields[L], q, end, at)
                                                    : plainNumber<true>(fields[L], q, end, at)) &&
                         (q = afterField(q, end, L + 1 == Count && skips[Count] == 0))) &&
                    ...);
        }(std::make_index_sequence<Count>{});
        if (!plain)
            return nullptr;
        if (skips[Count] == 0)
            return q;
        q = stepOver(q, skips[Count] - 1);
        return q ? afterField(scanShort(q, end), end, true) : nullptr;
    };

    // Every row ends in a line end here (the text ends in a line feed), so each takes a line.
    char const* p = p_;
    std::size_t const first = static_cast<std::size_t>(plainRows_);
    std::size_t const last = first + static_cast<std::size_t>(most);
    std::size_t at = first;
    while (at < last && p < stop && *p != '\n' && *p != '\r') {
        char const* const next = row(p, at);
        if (!next)
            break;
        ++at;
        p = next;
    }
    for (std::size_t l = 0; l < Count; ++l) plain_[loaded_.fieldOf[l]] = fields[l];
    auto const taken = static_cast<std::int64_t>(at - first);
    if (taken > 0) {
        line_ += taken;
        lineStart_ = p;
    }
    p_ = p;
    plainRows_ = static_cast<std::int64_t>(at);
    return taken;
}

// The loop made for `Count` loaded fields of the kinds loaded_.textMask gives.
template <std::size_t Count>
std::int64_t Parser::plainRunOfCount(char const* stop, std::int64_t most) {
    return [&]<unsigned... Mask>(std::integer_sequence<unsigned, Mask...>) {
        std::int64_t taken = 0;
        (void)((loaded_.textMask == Mask &&
                (taken = plainRunOfLoaded<Count, Mask>(stop, most), true)) ||
               ...);
        return taken;
    }(std::make_integer_sequence<unsigned, 1u << Count>{});
}

std::int64_t Parser::plainRun(char const* stop, std::int64_t most) {
    switch (loaded_.count) {
    case 1: return plainRunOfCount<1>(stop, most);
    case 2: return plainRunOfCount<2>(stop, most);
    case 3: return plainRunOfCount<3>(stop, most);
    case 4: return plainRunOfCount<4>(stop, most);
    default: break;
    }
    char const* p = p_;
    std::size_t row = static_cast<std::size_t>(plainRows_);
    std::int64_t taken = 0;
    std::int64_t line = line_;
    char const* lineStart = lineStart_;
    while (taken < most && p < stop && *p != '\n' && *p != '\r') {
        // A text that ends in a line feed needs no check for its end inside a field.
        char const* const next = endsInLineFeed_ ? plainRow<true>(p, row) : plainRow<false>(p, row);
        if (!next)
            break;
        ++row;
        ++taken;
        if (next[-1] == '\n' || next[-1] == '\r') {
            ++line;
            lineStart = next;
        }
        p = next;
    }
    p_ = p;
    line_ = line;
    lineStart_ = lineStart;
    plainRows_ = static_cast<std::int64_t>(row);
    return taken;
}

std::string_view Parser::readText() {
    char const* const start = p_;
    if (p_ < end_ && *p_ == '"') {
        std::int64_t const openLine = line_;
        std::int64_t const openColumn = (p_ - lineStart_) + 1;
        scratch_.clear();
        ++p_;
        for (;;) {
            auto const* quote =
                static_cast<char const*>(std::memchr(p_, '"', static_cast<std::size_t>(end_ - p_)));
            char const* const stop = quote ? quote : end_;
            for (char const* nl = p_; nl < stop;) {
                nl = static_cast<char const*>(
                    std::memchr(nl, '\n', static_cast<std::size_t>(stop - nl)));
                if (!nl)
                    break;
                newline(++nl);
            }
            // Past the widest string kept, the text is only scanned, never copied.
            if (scratch_.size() <= static_cast<std::size_t>(kMaxStringWidth)) {
                auto const room = static_cast<std::size_t>(kMaxStringWidth) + 1 - scratch_.size();
                scratch_.append(p_, std::min(room, static_cast<std::size_t>(stop - p_)));
            }
            if (!quote) {
                p_ = end_;
                Diagnostic d;
                d.level = Diagnostic::Error;
                d.file = name_;
                d.line = openLine;
                d.column = openColumn;
                d.text =
                    "a quoted field is never closed: the file ends inside it (is the file "
                    "cut short?); the rest of the file is read as this one field";
                messages_.add("unclosed quote", std::move(d));
                return scratch_;
            }
            p_ = quote + 1;
            if (p_ < end_ && *p_ == '"') {
                scratch_.push_back('"');
                ++p_;
                continue;
            }
            break;
        }
        if (p_ < end_ && !isDelimiter(*p_)) {
            report(Diagnostic::Warning, "text after a closing quote", p_,
                   "text follows the closing quote of a field; it is kept as part of the field");
            char const* rest = p_;
            while (p_ < end_ && !isDelimiter(*p_)) ++p_;
            scratch_.append(rest, static_cast<std::size_t>(p_ - rest));
        }
        reportNul(scratch_, start);
        return scratch_;
    }
    bool odd = false;  // a quote or a NUL, noted on the way
    p_ = scanField(p_, end_);
    while (p_ < end_ && !isDelimiter(*p_)) {
        odd = true;
        p_ = scanField(p_ + 1, end_);
    }
    std::string_view text(start, static_cast<std::size_t>(p_ - start));
    if (odd && text.find('"') != std::string_view::npos) {
        report(Diagnostic::Warning, "stray quote", start + text.find('"'),
               "a quote stands inside a field that does not start with one; it is kept as a "
               "character");
    }
    if (odd)
        reportNul(text, start);
    return text;
}

int Parser::endField() {
    if (p_ >= end_)
        return 1;
    char const c = *p_++;
    if (c == ',')
        return 0;
    if (c == '\r' && p_ < end_ && *p_ == '\n')
        ++p_;
    newline(p_);
    return 1;
}

void Parser::checkUtf8(std::string_view text, char const* at) {
    bool ascii = true;
    for (char c : text) {
        if (static_cast<unsigned char>(c) >= 0x80) {
            ascii = false;
            break;
        }
    }
    if (ascii)
        return;
    auto const bad = utf8::find_invalid(text.begin(), text.end());
    if (bad == text.end())
        return;
    auto const offset = static_cast<std::size_t>(bad - text.begin());
    // Quoted text lives in the scratch buffer; its column is that of the field.
    char const* place =
        (at && text.data() >= begin_ && text.data() < end_) ? text.data() + offset : at;
    char hex[8];
    std::snprintf(hex, sizeof hex, "0x%02X", static_cast<unsigned char>(*bad));
    report(Diagnostic::Warning, "bad UTF-8", place,
           std::string("the byte ") + hex +
               " is not valid UTF-8; the text is kept and the byte shows as U+FFFD");
}

std::string where(std::size_t field, ColumnState const& state) {
    return "field " + std::to_string(field + 1) + " (" + state.column.header + ")";
}

void Parser::storeText(ColumnState& state, std::string_view text, char const* at,
                       std::size_t field) {
    auto& column = state.column;
    // The common case, a short ASCII code ("A", "grp07"): one cell, nothing to check.
    if (column.cellsPerValue == 1 && text.size() <= sizeof(OBS) &&
        (state.declaredWidth <= 0 || text.size() <= static_cast<std::size_t>(state.declaredWidth))) {
        std::uint64_t word;
        std::memcpy(&word, &kBlankCell, sizeof word);
        if (text.data() >= begin_ && end_ - text.data() >= 8) {
            // Eight bytes of the file at once, those past the text turned into blanks.
            std::uint64_t bytes;
            std::memcpy(&bytes, text.data(), sizeof bytes);
            std::uint64_t const keep =
                text.size() == 8 ? ~std::uint64_t{0} : (std::uint64_t{1} << (8 * text.size())) - 1;
            word = (bytes & keep) | (word & ~keep);
        } else {
            std::memcpy(&word, text.data(), text.size());
        }
        if ((word & 0x8080808080808080ull) == 0) {
            OBS cell;
            std::memcpy(&cell, &word, sizeof cell);
            putCell(state, cell);
            column.maxLength = std::max(column.maxLength, static_cast<int>(text.size()));
            return;
        }
    }
    checkUtf8(text, at);
    std::size_t limit = state.declaredWidth > 0 ? static_cast<std::size_t>(state.declaredWidth)
                                                : static_cast<std::size_t>(kMaxStringWidth);
    if (text.size() > limit) {
        std::size_t const full = text.size();
        // Cut at a character boundary so that the kept text stays UTF-8.
        std::size_t cut = limit;
        while (cut > 0 && (static_cast<unsigned char>(text[cut]) & 0xC0) == 0x80) --cut;
        text = text.substr(0, cut);
        report(Diagnostic::Warning, "string too long", at,
               where(field, state) + ": a value of " + std::to_string(full) +
                   " bytes is longer than " + std::to_string(limit) +
                   (state.declaredWidth > 0 ? " (the declared width)" : "") + "; it is cut");
    }
    std::size_t const per = static_cast<std::size_t>(column.cellsPerValue);
    if (text.size() > per * sizeof(OBS)) {
        state.leaveRegion();
        // Wider than the cells so far: lay the column out again, at least twice as wide, so
        // that a column that keeps growing is copied only a few times.
        widen(column, std::max(2 * per, static_cast<std::size_t>(
                                            ObsCellsForWidth(static_cast<int>(text.size())))));
    }
    std::memcpy(putBlankValue(state), text.data(), text.size());
    if (static_cast<int>(text.size()) > column.maxLength)
        column.maxLength = static_cast<int>(text.size());
}

void Parser::storeNumberText(ColumnState& state, std::string_view raw, char const* at,
                             std::size_t field) {
    auto& column = state.column;
    std::string_view const text = trimBlanks(raw);
    double value = 0.0;
    if (text.empty()) {
        // Should the column turn out to be text, this blank value is as wide as written; one
        // that holds a tab must be read again to keep it.
        state.blankLength = std::max(
            state.blankLength, static_cast<int>(std::min<std::size_t>(raw.size(), kMaxStringWidth)));
        state.tabbedBlanks = state.tabbedBlanks || raw.find('\t') != std::string_view::npos;
        putNumber(state, kSysmis);
        return;
    }
    if (numberFromText(text, value)) {
        putNumber(state, value);
        ++state.numbersSeen;
        column.maxDecimals = std::max(column.maxDecimals, decimalsOf(text));
        column.maxLength = std::max(column.maxLength, static_cast<int>(text.size()));
        return;
    }
    for (auto const& marker : state.nullMarkers) {
        if (marker == text) {
            putNumber(state, kSysmis);
            return;
        }
    }
    if (isOutOfRange(text)) {
        // A number all the same: the column stays numeric, as it would were the value smaller.
        report(Diagnostic::Warning, "number out of range", at,
               where(field, state) + ": " + quoteForMessage(text) +
                   " is a number out of range (beyond about 1.8e308); it is read as missing");
        putNumber(state, kSysmis);
        ++state.numbersSeen;  // should the column turn to text, it is read again as written
        return;
    }
    if (state.declared) {
        report(Diagnostic::Warning, "not a number", at,
               where(field, state) + ": " + quoteForMessage(text) +
                   " is not a number, as the dictionary declares; it is read as missing");
        putNumber(state, kSysmis);
        return;
    }
    // Inferred so far as numeric: the column is a string column after all.
    if (state.numbersSeen > 0 || state.tabbedBlanks)
        state.flippedLate = true;
    if (state.region) {
        // A text of one cell a value takes the numbers' room: the values so far become blanks.
        std::fill(state.region, state.region + state.regionUsed, kBlankCell);
    } else {
        // The room made for the numbers is what the text needs too, a cell per row so far.
        column.cells.reserve(std::max(column.numbers.capacity(), column.numbers.size() + 1));
        column.cells.assign(column.numbers.size(), kBlankCell);
        column.numbers.clear();
        column.numbers.shrink_to_fit();
    }
    column.numeric = false;
    column.maxLength = state.blankLength;
    storeText(state, raw, at, field);
}


// The common case of a numeric column: a plain number right up to its delimiter.
bool Parser::storePlainNumber(ColumnState& state) {
    double value;
    int decimals = 0;
    char const* next = parsePlainDecimal(p_, end_, value, decimals);
    if (!next) {
        auto result = fast_float::from_chars(p_, end_, value);
        if (result.ec == std::errc() && (result.ptr == end_ || isDelimiter(*result.ptr)) &&
            std::isfinite(value)) {
            next = result.ptr;
            decimals = decimalsOf(std::string_view(p_, static_cast<std::size_t>(next - p_)));
        }
    }
    if (!next)
        return false;
    auto& column = state.column;
    putNumber(state, value);
    ++state.numbersSeen;
    column.maxDecimals = std::max(column.maxDecimals, decimals);
    column.maxLength = std::max(column.maxLength, static_cast<int>(next - p_));
    p_ = next;
    return true;
}

void Parser::raggedRow(std::int64_t rowLine, std::size_t fields, std::vector<ColumnState>& states) {
    std::size_t const columns = states.size();
    Diagnostic d;
    d.level = Diagnostic::Warning;
    d.file = name_;
    d.line = rowLine;
    d.column = 1;
    if (fields > columns) {
        d.text = "the row has " + std::to_string(fields) + " fields, the header " +
                 std::to_string(columns) + "; the extra fields are ignored";
    } else {
        d.text = "the row has " + std::to_string(fields) + " field(s), the header " +
                 std::to_string(columns) + "; the missing fields are read as empty";
    }
    messages_.add("ragged row", std::move(d));
    for (std::size_t i = fields; i < columns; ++i) {
        if (!states[i].load)
            continue;
        if (states[i].column.numeric) {
            putNumber(states[i], kSysmis);
        } else {
            putBlankValue(states[i]);
        }
    }
}

bool Parser::header(std::vector<std::string>& headers) {
    if (end_ - p_ >= 3 && std::memcmp(p_, "\xEF\xBB\xBF", 3) == 0) {
        p_ += 3;
        lineStart_ = p_;
    }
    // Blank lines before the header are passed over.
    while (p_ < end_ && (*p_ == '\n' || *p_ == '\r')) endField();
    if (p_ >= end_) {
        Diagnostic d;
        d.level = Diagnostic::Error;
        d.file = name_;
        d.text = "the file is empty: a header row with the names of the columns is needed";
        messages_.add("empty", std::move(d));
        return false;
    }
    for (;;) {
        char const* at = p_;
        headers.emplace_back(readText());
        checkUtf8(headers.back(), at);
        if (endField() == 1)
            return true;
    }
}

void Parser::rows(char const* stop, std::vector<ColumnState>& states, RunProgress* progress,
                  RunResult& result) {
    std::size_t const columns = states.size();
    constexpr std::int64_t kProgressEvery = 1 << 16;
    char const* reported = p_;
    classifyFields(states);
    std::int64_t lineLead = -1;  // the line of the last row less its row number
    while (p_ < stop) {
        if (*p_ == '\n' || *p_ == '\r') {  // a blank line is no case
            endField();
            continue;
        }
        std::int64_t const rowLine = line_;
        if (rowLine - result.rows != lineLead) {
            lineLead = rowLine - result.rows;
            result.rowLines.emplace_back(result.rows, rowLine);
        }
        if (plainFailed_ * 4 <= plainTried_ + 64) {  // while the rows are mostly plain
            // Plain rows follow one another on consecutive lines, so the row-line marks hold
            // until one is not plain.
            bool taken = false;
            for (;;) {
                std::int64_t const most = kProgressEvery - result.rows % kProgressEvery;
                std::int64_t const run = plainRun(stop, most);
                if (run == 0)
                    break;
                taken = true;
                plainTried_ += run;
                result.rows += run;
                if (result.rows % kProgressEvery == 0 && progress) {
                    progress->bytes += static_cast<std::uint64_t>(p_ - reported);
                    progress->rows += kProgressEvery;
                    reported = p_;
                }
                if (run < most)
                    break;
            }
            if (taken)
                continue;  // the next row, if any, starts from the top
            ++plainTried_;
            ++plainFailed_;
            syncPlain(states);
        }
        std::size_t field = 0;
        for (;;) {
            char const* const at = p_;
            if (field < columns && states[field].load) {
                ColumnState& state = states[field];
                if (!state.column.numeric) {
                    storeText(state, readText(), at, field);
                } else if (p_ >= end_ || *p_ == '"' || !storePlainNumber(state)) {
                    storeNumberText(state, readText(), at, field);
                }
            } else {
                readText();
            }
            ++field;
            if (endField() == 1)
                break;
        }
        if (field != columns)
            raggedRow(rowLine, field, states);
        classifyFields(states);  // a column may have left its region or turned to text
        if (++result.rows % kProgressEvery == 0 && progress) {
            progress->bytes += static_cast<std::uint64_t>(p_ - reported);
            progress->rows += kProgressEvery;
            reported = p_;
        }
    }
    syncPlain(states);
    if (progress) {
        progress->bytes += static_cast<std::uint64_t>(p_ - reported);
        progress->rows += result.rows % kProgressEvery;
    }
}

}  // namespace

void RunMessages::add(std::string const& kind, Diagnostic diagnostic) {
    constexpr std::int64_t kLimit = 10;  // as DiagnosticSink keeps them
    for (auto& entry : kinds_) {
        if (entry.kind == kind) {
            if (++entry.count <= kLimit) {
                kept_.push_back({kind, std::move(diagnostic)});
            } else {
                entry.last = std::move(diagnostic);
            }
            return;
        }
    }
    kinds_.push_back({kind, 1, Diagnostic{}});
    kept_.push_back({kind, std::move(diagnostic)});
}

void RunMessages::replay(DiagnosticSink& sink, std::int64_t lineOffset) const {
    for (auto const& entry : kept_) {
        Diagnostic d = entry.diagnostic;
        if (d.line > 0)
            d.line += lineOffset;
        sink.add(entry.kind, std::move(d));
    }
    constexpr std::int64_t kLimit = 10;
    for (auto const& kind : kinds_) {
        if (kind.count > kLimit)
            sink.count(kind.kind, kind.count - kLimit, kind.last);
    }
}

bool parseHeader(std::string_view text, std::string const& name, std::vector<std::string>& headers,
                 char const*& dataStart, std::int64_t& lines, RunMessages& messages) {
    Parser parser(text, text.data(), name, messages);
    bool const found = parser.header(headers);
    dataStart = parser.position();
    lines = parser.lines();
    return found;
}

void parseRows(std::string_view text, char const* start, char const* stop,
               std::string const& name, std::vector<ColumnState> states, RunProgress* progress,
               RunResult& result) {
    Parser parser(text, start, name, result.messages);
    parser.rows(stop, states, progress, result);
    result.end = parser.position();
    result.lines = parser.lines();
    result.states = std::move(states);
}

void ColumnState::leaveRegion() {
    if (!region)
        return;
    Cells& into = column.numeric ? column.numbers : column.cells;
    into.reserve(regionCapacity);
    into.assign(region, region + regionUsed);
    region = nullptr;
    regionUsed = 0;
    regionCapacity = 0;
}

std::size_t ColumnState::values() const {
    auto const per = static_cast<std::size_t>(column.cellsPerValue);
    if (region)
        return column.numeric ? regionUsed : regionUsed / per;
    return column.numeric ? column.numbers.size() : column.cells.size() / per;
}

std::size_t countLineEnds(char const* from, char const* to) {
    // Every LF, and every CR that no LF follows. Branch-free, so that it runs at memory speed.
    std::size_t ends = 0;
    bool carriage = false;
    char const* p = from;
#ifdef __SSE2__
    // Each byte of `counts` counts the line feeds in its lane, added up before it can overflow;
    // carriage returns are only noted on the way.
    __m128i const lineFeed = _mm_set1_epi8('\n');
    __m128i const carriageReturn = _mm_set1_epi8('\r');
    __m128i const zero = _mm_setzero_si128();
    __m128i returnsSeen = zero;
    while (to - p >= 16) {
        __m128i counts = zero;
        for (int k = 0; k < 255 && to - p >= 16; ++k, p += 16) {
            __m128i const bytes = _mm_loadu_si128(reinterpret_cast<__m128i const*>(p));
            counts = _mm_sub_epi8(counts, _mm_cmpeq_epi8(bytes, lineFeed));
            returnsSeen = _mm_or_si128(returnsSeen, _mm_cmpeq_epi8(bytes, carriageReturn));
        }
        __m128i const sums = _mm_sad_epu8(counts, zero);
        ends += static_cast<std::size_t>(_mm_cvtsi128_si64(sums)) +
                static_cast<std::size_t>(_mm_cvtsi128_si64(_mm_unpackhi_epi64(sums, sums)));
    }
    carriage = _mm_movemask_epi8(returnsSeen) != 0;
#endif
    for (; p < to; ++p) {
        ends += *p == '\n';
        carriage = carriage || *p == '\r';
    }
    std::size_t returns = 0;
    if (carriage) {
        for (char const* p = from; p + 1 < to; ++p) returns += (p[0] == '\r') & (p[1] != '\n');
        returns += to[-1] == '\r';
    }
    return ends + returns;
}

char const* nextRowStart(char const* at, char const* end) {
    for (; at < end; ++at) {
        if (*at == '\n')
            return at + 1;
        // A lone carriage return ends a line too; one before a line feed does not end the row
        // by itself.
        if (*at == '\r' && (at + 1 == end || at[1] != '\n'))
            return at + 1;
    }
    return end;
}

// Lays a string column out with `per` cells per value.
void widen(CsvColumn& column, std::size_t per) {
    std::size_t const old = static_cast<std::size_t>(column.cellsPerValue);
    std::size_t const rows = column.cells.size() / old;
    Cells cells;
    cells.reserve(std::max(column.cells.capacity() / old * per, rows * per));
    cells.assign(rows * per, kBlankCell);
    for (std::size_t row = 0; row < rows; ++row) {
        std::memcpy(cells.data() + row * per, column.cells.data() + row * old, old * sizeof(OBS));
    }
    column.cells.swap(cells);
    column.cellsPerValue = static_cast<int>(per);
}


void numbersToBlanks(CsvColumn& column) {
    column.numeric = false;
    column.cells.assign(column.numbers.size() * static_cast<std::size_t>(column.cellsPerValue),
                        kBlankCell);
    column.numbers.clear();
    column.numbers.shrink_to_fit();
    column.maxLength = 0;
}

}  // namespace host::dictionary::csv
