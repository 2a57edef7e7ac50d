// Relabelling: the store of case-value texts, and the labels a resolver gives for variables and
// multiple-response sets.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>

#include "ggraph/variables/relabel_string.h"
#include "ggraph/variables/variable_resolver.h"
#include "host/dictionary/dataset.h"

namespace hd = host::dictionary;

namespace {

void label(hd::Dataset& data, int index, double number, std::string const& text,
           std::string const& text2) {
    auto& variable = hd::variableAt(data, index);
    auto labels = std::make_shared<hd::ValueLabels>(*variable.labels);
    labels->entries.push_back(hd::makeLabelEntry(variable, number, text, text2));
    variable.labels = labels;
}

// a, b: numeric, both labelling 1; s: a string of width 3; car, motorbike: numeric members of
// dichotomy sets, only car with a variable label.
std::shared_ptr<hd::Dataset> sample() {
    auto data = std::make_shared<hd::Dataset>();
    int const a = hd::addVariable(*data, "a", 0);
    int const b = hd::addVariable(*data, "b", 0);
    int const s = hd::addVariable(*data, "s", 3);
    int const car = hd::addVariable(*data, "car", 0);
    hd::addVariable(*data, "motorbike", 0);
    label(*data, a, 1, "", "One from a");
    label(*data, b, 1, "", "One from b");
    label(*data, b, 2, "", "Two");
    label(*data, s, 0, "xy", "Ex why");
    label(*data, car, 1, "", "Has a car");
    hd::variableAt(*data, car).label = "Car";
    hd::variableAt(*data, car).hasLabel = true;
    data->sets.emplace_back("$ab", 1, "", std::vector<std::string>{"a", "b"}, "", false);
    data->sets.emplace_back("$veh", 2, "Vehicles", std::vector<std::string>{"car", "motorbike"},
                            "1", false);
    data->sets.emplace_back("$vehx", 2, "", std::vector<std::string>{"car", "motorbike"}, "1",
                            true);
    return data;
}

OBS cellOf(char const* text) {
    OBS cell;
    std::memset(&cell, ' ', sizeof cell);
    std::memcpy(&cell, text, std::strlen(text));
    return cell;
}

}  // namespace

TEST(RelabelString, RecordsPerVariableInArrivalOrder) {
    RelabelString store;
    double value = -1;
    std::string text = "untouched";
    std::string labelText;
    EXPECT_FALSE(store.getCaseValueRelabelContent(0, 0, value, text, labelText));
    EXPECT_EQ(text, "untouched");

    OBS three = 3;
    OBS tenth = 0.1;
    OBS seven = 7;
    store.AddCaseValueRelabel(1, &three, 4, nullptr);
    store.AddCaseValueRelabel(2, &seven, 5, nullptr);
    store.AddCaseValueRelabel(3, &tenth, 4, nullptr);
    ASSERT_TRUE(store.getCaseValueRelabelContent(4, 0, value, text, labelText));
    EXPECT_EQ(value, 1);
    EXPECT_EQ(text, "3");
    EXPECT_EQ(labelText, "");
    ASSERT_TRUE(store.getCaseValueRelabelContent(4, 1, value, text, labelText));
    EXPECT_EQ(value, 3);
    EXPECT_EQ(text, "0.1");  // 16 digits of precision, general form
    EXPECT_FALSE(store.getCaseValueRelabelContent(4, 2, value, text, labelText));
    EXPECT_EQ(value, 3);

    // With a resolver: a string keeps its blanks, and the label comes from the dictionary.
    auto data = sample();
    KWEL_DataSource source(data);
    VariableResolver s;
    ASSERT_TRUE(s.resolveVariable(&source, std::string("s")));
    OBS xy = cellOf("xy");
    store.AddCaseValueRelabel(9, &xy, 2, &s);
    ASSERT_TRUE(store.getCaseValueRelabelContent(2, 0, value, text, labelText));
    EXPECT_EQ(text, "xy ");
    EXPECT_EQ(labelText, "Ex why");
}

TEST(RelabelString, ValueLabelsOfVariablesAndSets) {
    auto data = sample();
    KWEL_DataSource source(data);
    VariableResolver a;
    ASSERT_TRUE(a.resolveVariable(&source, std::string("a")));
    OBS one = 1;
    EXPECT_EQ(a.getValueLabel("", &one), "One from a");
    EXPECT_EQ(a.getValueLabel("1", nullptr), "One from a");
    EXPECT_EQ(a.getValueLabel("5", nullptr), "");

    // A category set: the first member that labels a value wins; without a cell, the text.
    VariableResolver ab;
    ASSERT_TRUE(ab.resolveVariable(&source, std::string("$AB")));
    EXPECT_EQ(ab.getValueLabel("", &one), "One from a");
    EXPECT_EQ(ab.getValueLabel("2", nullptr), "Two");
    auto records = ab.getMRSetRelabelData();
    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(records[0].value, 1);
    EXPECT_EQ(records[0].label, "One from a");
    EXPECT_EQ(records[1].value, 2);
    EXPECT_TRUE(records[1].name.empty());

    // A dichotomy set: the cell names a member.
    VariableResolver veh;
    ASSERT_TRUE(veh.resolveVariable(&source, std::string("$veh")));
    OBS cells[2];
    std::memset(cells, ' ', sizeof cells);
    std::memcpy(cells, "car", 3);
    EXPECT_EQ(veh.getValueLabel("", cells), "Car");
    std::memcpy(cells, "bus", 3);
    EXPECT_EQ(veh.getValueLabel("", cells), "");  // names no member
    std::memcpy(cells, "motorbike", 9);
    EXPECT_EQ(veh.getValueLabel("", cells), "");  // a member without a label
    EXPECT_EQ(veh.getValueLabel("car", nullptr), "");
    records = veh.getMRSetRelabelData();
    ASSERT_EQ(records.size(), 1u);  // the member without a label gets no record
    EXPECT_EQ(records[0].name, "car");
    EXPECT_EQ(records[0].label, "Car");

    // Enhanced: the labels of the counted value, and a record for every member.
    VariableResolver vehx;
    ASSERT_TRUE(vehx.resolveVariable(&source, std::string("$vehx")));
    ASSERT_TRUE(vehx.isEnhancedDichotomy());
    std::memset(cells, ' ', sizeof cells);
    std::memcpy(cells, "CAR", 3);  // names compare without regard to case
    EXPECT_EQ(vehx.getValueLabel("", cells), "Has a car");
    records = vehx.getMRSetRelabelData();
    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(records[0].label, "Has a car");
    EXPECT_EQ(records[1].name, "motorbike");
    EXPECT_EQ(records[1].label, "");

    VariableResolver unresolved;
    EXPECT_EQ(unresolved.getValueLabel("1", &one), "");
    EXPECT_TRUE(unresolved.getMRSetRelabelData().empty());
}
