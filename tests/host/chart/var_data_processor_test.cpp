// The chart's row store: what each cell is (a number, a text, missing) must survive numbers,
// texts and deleted rows arriving in any order, since a column of numbers keeps no kinds.
#include <gtest/gtest.h>

#include <limits>

#include "platform/var_data_processor.h"

namespace {

using Kind = VarDataProcessor::CellKind;
constexpr double kSysmis = -std::numeric_limits<double>::max();

TEST(VarDataProcessor, CellKindsOfNumbersTextsAndDeletedRows) {
    VarDataProcessor vdp;
    vdp.AddDataSource("s", 4);
    vdp.SetVariableValue("s", "v", 0, 1.5);
    vdp.SetVariableValue("s", "v", 1, kSysmis);
    vdp.SetVariableValue("s", "v", 3, 4.0);  // row 2 never written
    int const v = vdp.FindVariable("s", "v");
    EXPECT_EQ(vdp.GetCellKind("s", v, 0), Kind::Number);
    EXPECT_EQ(vdp.GetCellKind("s", v, 1), Kind::Missing);
    EXPECT_EQ(vdp.GetCellKind("s", v, 2), Kind::Missing);
    EXPECT_EQ(vdp.GetCellKind("s", v, 3), Kind::Number);
    EXPECT_EQ(vdp.GetCellKind("s", v, 9), Kind::Missing);

    // A text after numbers: the numbers met so far keep what they were.
    vdp.SetStringVariableValue("s", "v", 4, "x");
    EXPECT_EQ(vdp.GetCellKind("s", v, 0), Kind::Number);
    EXPECT_EQ(vdp.GetCellKind("s", v, 1), Kind::Missing);
    EXPECT_EQ(vdp.GetCellKind("s", v, 4), Kind::Text);
    EXPECT_EQ(vdp.GetText("s", v, 4), "x");
    vdp.SetVariableValue("s", "v", 5, 6.0);
    vdp.SetVariableValue("s", "v", 4, 5.0);  // a number over the text
    EXPECT_EQ(vdp.GetCellKind("s", v, 4), Kind::Number);
    EXPECT_EQ(vdp.GetCellKind("s", v, 5), Kind::Number);

    vdp.DeleteRow("s", 5);
    EXPECT_EQ(vdp.GetCellKind("s", v, 5), Kind::Missing);
    EXPECT_EQ(vdp.GetRowCount("s"), 5u);

    // Merged into another store, every kind arrives as it was.
    VarDataProcessor all;
    all.AddVDP(vdp);
    int const w = all.FindVariable("s", "v");
    EXPECT_EQ(all.GetCellKind("s", w, 0), Kind::Number);
    EXPECT_EQ(all.GetCellKind("s", w, 1), Kind::Missing);
    EXPECT_EQ(all.GetCellKind("s", w, 4), Kind::Number);
    EXPECT_DOUBLE_EQ(all.GetNumber("s", w, 3), 4.0);
}

}  // namespace
