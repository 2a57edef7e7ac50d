#pragma once
// Text measurement for layout: Pango for real output, fixed metrics for deterministic tests.

#include <memory>
#include <string>

namespace host::chart {

struct TextSize {
    double width = 0;
    double height = 0;
};

class TextMeasurer {
public:
    virtual ~TextMeasurer() = default;
    virtual TextSize measure(std::string const& text, double fontSize, bool bold) const = 0;
};

// Each character 0.6 em wide, lines 1.2 em high.
class FixedTextMeasurer : public TextMeasurer {
public:
    TextSize measure(std::string const& text, double fontSize, bool bold) const override;
};

// Pango with the font family that the renderers use.
std::unique_ptr<TextMeasurer> makePangoMeasurer();

constexpr char const* kFontFamily = "DejaVu Sans";

}  // namespace host::chart
