#pragma once
// ChartString, the 16-bit text of the chart service, and the conversions between the three text
// forms: the local code page (UTF-8 in this host), UTF-8, and ChartString. Conversions never
// fail: bytes that are not UTF-8 become U+FFFD.

#include <string>

class ChartString {
public:
    ChartString() = default;
    explicit ChartString(std::u16string text) : text_(std::move(text)) {}

    void assignUTF8(std::string const& utf8);
    std::string toUTF8() const;
    // The 16-bit text, terminated.
    unsigned short const* xc_str() const;
    std::u16string const& str() const { return text_; }

    // Appends a number in the chart library's general form: up to 15 significant digits, no
    // fraction part for a whole number.
    void appendDouble(double value);
    // Sets the text to the number with `digits` significant digits; a whole number has no
    // fraction part.
    void assignDouble(double value, unsigned int digits);
    // Cuts blanks at the end, and at the start too when `both` is true.
    void trimSpaces(bool both);
    void replaceSubstring(ChartString const& from, ChartString const& to);
    void append(ChartString const& other) { text_ += other.text_; }
    void append(std::u16string const& other) { text_ += other; }
    bool equals(ChartString const& other) const { return text_ == other.text_; }
    bool empty() const { return text_.empty(); }
    void clear() { text_.clear(); }
    bool operator==(ChartString const& other) const = default;

private:
    std::u16string text_;
};

class XUtility {
public:
    static ChartString ChartStringFromLocalCodePage(std::string const& text);
    // Texts of the message table (UTF-8 here).
    static ChartString ChartStringFromOLANG(std::string const& text);
};
