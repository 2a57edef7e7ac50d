// Layout on its own: fitting text into its room with the fixed measurer, and where titles,
// legend, axes and panels land on the page.
#include <algorithm>
#include <string>

#include <gtest/gtest.h>

#include "host/chart/layout/text_fit.h"
#include "support/scene_rows.h"

namespace hc = host::chart;

namespace {

// The fixed measurer, counting its calls.
class CountingMeasurer : public hc::FixedTextMeasurer {
public:
    hc::TextSize measure(std::string const& text, double size, bool bold) const override {
        ++calls;
        return FixedTextMeasurer::measure(text, size, bold);
    }
    mutable int calls = 0;
};

std::string const kHead = "SOURCE: s=userSource(id(\"g\"))\n";

}  // namespace

TEST(ChartLayout, TextIsCutToTheLongestPrefixThatFitsInAFewMeasurements) {
    CountingMeasurer m;
    // 10 px a character at size 10 / 0.6.
    double const size = 10 / 0.6;
    EXPECT_EQ(hc::fitText("short", 100, size, m), "short");
    std::string cut = hc::fitText("abcdefghijklmnop", 100, size, m);
    EXPECT_EQ(cut, "abcdefghi…");  // nine letters and the ellipsis make 100 px
    // Characters of several bytes are never split.
    std::string greek = hc::fitText("αβγδεζηθικλμνξ", 60, size, m);
    EXPECT_EQ(greek, "αβγδε…");
    // A very long text costs a handful of measurements, not one per character.
    m.calls = 0;
    std::string longText(200000, 'x');
    std::string fitted = hc::fitText(longText, 300, size, m);
    EXPECT_EQ(fitted, std::string(29, 'x') + "…");
    EXPECT_LT(m.calls, 30);
    EXPECT_EQ(hc::fitText("anything", 0, size, m), "…");
}

TEST(ChartLayout, TextsAreValidAndCapped) {
    std::string bad = "ok\xff\xfe";
    std::string clean = hc::cleanText(bad);
    EXPECT_EQ(clean.substr(0, 2), "ok");
    EXPECT_EQ(clean.find('\xff'), std::string::npos);
    EXPECT_EQ(hc::cleanText(std::string(50000, 'y')).size(), hc::kMaxTextChars);
}

TEST(ChartLayout, TitlesLegendAxesAndPanelsShareThePageWithoutOverlap) {
    XDocument doc(kHead +
                      "DATA: c=col(source(s), name(\"c\"), unit.category())\n"
                      "DATA: g=col(source(s), name(\"grp\"), unit.category())\n"
                      "DATA: p=col(source(s), name(\"p\"), unit.category())\n"
                      "DATA: v=col(source(s), name(\"v\"))\n"
                      "GUIDE: text.title(label(\"" +
                      std::string(300, 'T') +
                      "\"))\n"
                      "GUIDE: text.footnote(label(\"Source: a survey\"))\n"
                      "ELEMENT: interval(position(c*v*p), color.interior(g))",
                  true, true);
    VarDataProcessor vdp;
    test::fill(vdp, "g", {"c", "grp", "p", "v"},
               {{"a", "A", "left", 1.0},
                {"b", "B", "left", 2.0},
                {"a", "A", "right", 3.0},
                {"b", "B", "right", 4.0}});
    auto s = test::scene(doc, &vdp);
    double const w = s.width, h = s.height;
    // The long title is cut to the page, centred at its top.
    auto title = test::marks(s, "title");
    ASSERT_EQ(title.size(), 1u);
    EXPECT_EQ(title[0].text.substr(title[0].text.size() - 3), "…");
    EXPECT_LE(title[0].text.size() * 0.6 * 16, w);
    EXPECT_DOUBLE_EQ(title[0].x, w / 2);
    auto foot = test::marks(s, "footnote");
    ASSERT_EQ(foot.size(), 1u);
    EXPECT_GT(foot[0].y, h * 0.9);
    // Two panels side by side, under the title and left of the legend.
    auto frames = test::marks(s, "inner-frame");
    ASSERT_EQ(frames.size(), 2u);
    std::sort(frames.begin(), frames.end(), [](auto& a, auto& b) { return a.x < b.x; });
    EXPECT_LT(frames[0].x + frames[0].w, frames[1].x);
    EXPECT_NEAR(frames[0].w, frames[1].w, 1e-9);
    EXPECT_GT(frames[0].y, title[0].y);
    auto legend = test::marks(s, "legend-label");
    ASSERT_EQ(legend.size(), 2u);
    EXPECT_GT(legend[0].x, frames[1].x + frames[1].w);
    EXPECT_LT(legend[0].x, w);
    // Each bar inside its panel; axis labels outside the plots.
    for (auto const& b : test::marks(s, "bar")) {
        bool inside = false;
        for (auto const& f : frames)
            inside |= b.x >= f.x && b.x + b.w <= f.x + f.w + 1e-9 && b.y >= f.y - 1e-9 &&
                      b.y + b.h <= f.y + f.h + 1e-9;
        EXPECT_TRUE(inside) << b.category << " " << b.group;
    }
    for (auto const& t : test::marks(s, "tick-label-2")) EXPECT_LT(t.x, frames[0].x);
    for (auto const& t : test::marks(s, "tick-label-1")) EXPECT_GT(t.y, frames[0].y + frames[0].h);
}

TEST(ChartLayout, LongCategoryLabelsTurnAndStayOnThePage) {
    XDocument doc(kHead +
                      "DATA: c=col(source(s), name(\"c\"), unit.category())\n"
                      "DATA: v=col(source(s), name(\"v\"))\n"
                      "ELEMENT: interval(position(c*v))",
                  true, true);
    VarDataProcessor vdp;
    std::vector<std::vector<test::Cell>> rows;
    std::vector<std::string> names;
    for (int i = 0; i < 12; ++i) names.push_back("category number " + std::to_string(i));
    names.push_back(std::string(32767, 'L'));  // one absurdly long value
    for (auto const& n : names) rows.push_back({n.c_str(), 1.0});
    test::fill(vdp, "g", {"c", "v"}, rows);
    auto s = test::scene(doc, &vdp);
    auto labels = test::marks(s, "tick-label-1");
    ASSERT_EQ(labels.size(), names.size());
    hc::FixedTextMeasurer m;
    for (auto const& l : labels) {
        EXPECT_EQ(l.angle, -45);
        EXPECT_LE(m.measure(l.text, 11, false).width, s.height * 0.3 / 0.7071);  // cut to its room
    }
    auto bars = test::marks(s, "bar");
    ASSERT_EQ(bars.size(), names.size());
    for (auto const& b : bars) EXPECT_GT(b.h, 20);  // the plot keeps most of the page
}
