#include "ggraph/variables/variable_resolver.h"

#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "ggraph/variables/ggraph_variable.h"
#include "ggraph/variables/ggraph_variable_filter.h"
#include "small_dictionary.h"

namespace {

// 0 salary, 1 $own (a variable whose name starts with $), 2 q1, 3 q2 (numeric, names of length
// 2), 4 s1 (A8), 5 s2 (A9), 6 abc, 7 defghij (numeric; name lengths 3 and 7).
test::SmallDictionary makeDictionary() {
    test::SmallDictionary dict;
    dict.variable("salary", 0, FMT_DOLLAR, 0, "Current Salary")
        .variable("$own")
        .variable("q1")
        .variable("q2")
        .variable("s1", 8)
        .variable("s2", 9)
        .variable("abc")
        .variable("defghij");
    dict.set("$cats", VariableSet::CATEGORY_SET, "", {"q1", "q2"})
        .set("$dich", VariableSet::DICHOTOMY_SET, "Picked", {"abc", "gone", "defghij"}, "1")
        .set("$own", VariableSet::CATEGORY_SET, "shadowed", {"q1"})
        .set("$str8", VariableSet::DICHOTOMY_SET, "", {"s1"}, "yes", true)
        .set("$str9", VariableSet::DICHOTOMY_SET, "", {"s2", "s1"}, "yes")
        .set("$empty", VariableSet::CATEGORY_SET, "", {"nothing", "here"})
        .set("noDollar", VariableSet::CATEGORY_SET, "", {"q1"});
    return dict;
}

TEST(VariableResolverTest, ResolvesDictionaryVariablesFirst) {
    auto dict = makeDictionary();
    VariableResolver plain;
    ASSERT_TRUE(plain.resolveVariable(dict.source(), "SALARY"));
    EXPECT_EQ(plain.getVariableType(), VariableResolver::DICTIONARY_VARIABLE);
    EXPECT_EQ(plain.getVariableIndex(), 0);
    EXPECT_EQ(plain.getKWELVariable(), dict.at(0));
    EXPECT_FALSE(plain.isString());
    EXPECT_EQ(plain.getStringLength(), 0u);

    // A dictionary variable wins over a set of the same name.
    VariableResolver own;
    ASSERT_TRUE(own.resolveVariable(dict.source(), "$own"));
    EXPECT_EQ(own.getVariableType(), VariableResolver::DICTIONARY_VARIABLE);
    EXPECT_EQ(own.getVariableIndex(), 1);

    VariableResolver str;
    ASSERT_TRUE(str.resolveVariable(dict.source(), "s2"));
    EXPECT_TRUE(str.isString());
    EXPECT_EQ(str.getStringLength(), 9u);

    VariableResolver unknown, noDollar, nullSource, negative;
    EXPECT_FALSE(unknown.resolveVariable(dict.source(), "nosuch"));
    EXPECT_EQ(unknown.getVariableType(), VariableResolver::UNRESOLVED);
    EXPECT_FALSE(noDollar.resolveVariable(dict.source(), "noDollar"));
    EXPECT_FALSE(nullSource.resolveVariable(nullptr, "salary"));
    EXPECT_FALSE(negative.resolveVariable(dict.source(), -1));
}

TEST(VariableResolverTest, ResolvesMultipleResponseSets) {
    auto dict = makeDictionary();
    int const columns = dict.source()->ColumnCount();

    VariableResolver cats;
    ASSERT_TRUE(cats.resolveVariable(dict.source(), "$CATS"));  // case ignored
    EXPECT_EQ(cats.getVariableType(), VariableResolver::CATEGORY_SET);
    EXPECT_EQ(cats.getVariableIndex(), columns + 0);
    EXPECT_EQ(cats.getKWELVariable(), nullptr);
    EXPECT_EQ(cats.getMRSetName(), "$cats");  // no label: the name
    EXPECT_EQ(cats.getVariableIndexList(), (std::vector<int>{2, 3}));
    int length = -1;
    EXPECT_EQ(cats.getCountedValue(length), nullptr);

    // Numeric dichotomy: members missing from the dictionary drop out; names count as lengths.
    VariableResolver dich;
    ASSERT_TRUE(dich.resolveVariable(dict.source(), "$dich"));
    EXPECT_EQ(dich.getVariableType(), VariableResolver::DICHOTOMY_SET);
    EXPECT_EQ(dich.getVariableIndex(), columns + 1);
    EXPECT_EQ(dich.getMRSetName(), "Picked");
    EXPECT_EQ(dich.getVariableIndexList(), (std::vector<int>{6, 7}));
    EXPECT_FALSE(dich.isString());
    EXPECT_EQ(dich.getStringLength(), 7u);
    OBS const* counted = dich.getCountedValue(length);
    ASSERT_NE(counted, nullptr);
    EXPECT_EQ(length, 8);
    EXPECT_EQ(*counted, 1.0);
    EXPECT_FALSE(dich.isEnhancedDichotomy());

    // String dichotomies: one 8-byte cell up to 8 bytes, two for 9, blank-padded.
    VariableResolver str8, str9;
    ASSERT_TRUE(str8.resolveVariable(dict.source(), "$str8"));
    EXPECT_TRUE(str8.isString());
    EXPECT_TRUE(str8.isEnhancedDichotomy());
    counted = str8.getCountedValue(length);
    EXPECT_EQ(length, 1);
    EXPECT_EQ(std::string(reinterpret_cast<char const*>(counted), 8), "yes     ");
    ASSERT_TRUE(str9.resolveVariable(dict.source(), "$str9"));
    EXPECT_EQ(str9.getStringLength(), 9u);
    counted = str9.getCountedValue(length);
    EXPECT_EQ(length, 2);
    EXPECT_EQ(std::string(reinterpret_cast<char const*>(counted), 16), "yes             ");

    // A set none of whose members exists still resolves.
    VariableResolver empty;
    ASSERT_TRUE(empty.resolveVariable(dict.source(), "$empty"));
    EXPECT_TRUE(empty.getVariableIndexList().empty());
    EXPECT_FALSE(empty.isString());
    EXPECT_EQ(empty.getStringLength(), 0u);
}

TEST(VariableResolverTest, LongCountedValueStaysInsideItsBuffer) {
    test::SmallDictionary dict;
    dict.variable("s", 3).set("$long", VariableSet::DICHOTOMY_SET, "", {"s"},
                              "a text far longer than eight");
    VariableResolver resolver;
    ASSERT_TRUE(resolver.resolveVariable(dict.source(), "$long"));
    int length = 0;
    OBS const* counted = resolver.getCountedValue(length);
    EXPECT_EQ(length, 1);
    EXPECT_EQ(std::string(reinterpret_cast<char const*>(counted), 8), "a text f");
}

TEST(GGraphVariableTest, NamesAndLabels) {
    auto dict = makeDictionary();
    auto* resolver = new VariableResolver;
    ASSERT_TRUE(resolver->resolveVariable(dict.source(), "SALARY"));
    GGraphVariable salary(resolver);
    EXPECT_EQ(salary.GetKWELName(), "salary");  // the dictionary's case
    EXPECT_EQ(salary.GetVariableName(), "salary");
    EXPECT_EQ(salary.GetVariableUnicodeName(), "salary");
    EXPECT_EQ(salary.GetKWELLabel(), "Current Salary");
    salary.SetGPLLabel("pay");
    EXPECT_EQ(salary.GetVariableName(), "pay");
    EXPECT_EQ(salary.GetVariableUnicodeName(), "pay");
    EXPECT_FALSE(salary.isString());

    auto* unlabelled = new VariableResolver;
    ASSERT_TRUE(unlabelled->resolveVariable(dict.source(), "s1"));
    GGraphVariable s1(unlabelled);
    EXPECT_EQ(s1.GetKWELLabel(), "s1");
    EXPECT_TRUE(s1.isString());

    auto* set = new VariableResolver;
    ASSERT_TRUE(set->resolveVariable(dict.source(), "$dich"));
    GGraphVariable dich(set);
    EXPECT_EQ(dich.GetKWELName(), "Picked");
    EXPECT_EQ(dich.GetKWELLabel(), "Picked");

    GGraphVariable none(nullptr);
    EXPECT_EQ(none.GetVariableName(), "");
    EXPECT_FALSE(none.isString());

    GGraphVariable caseNum(GGraphVariable::SYSVAR_CASENUM, nullptr);
    EXPECT_TRUE(caseNum.isCaseNumVariable());
    EXPECT_FALSE(caseNum.isWeightVariable());
    EXPECT_EQ(caseNum.GetVariableName(), "$CASENUM");
    GGraphVariable weight(GGraphVariable::SYSVAR_WEIGHT, nullptr);
    EXPECT_TRUE(weight.isWeightVariable());
    EXPECT_EQ(weight.GetKWELName(), "$WEIGHT");
}

TEST(GGraphVariableTest, CompanionsParentsLevelsAndFilters) {
    GGraphVariable a(nullptr), b(nullptr);
    EXPECT_EQ(a.getLabelingVariable(), "");
    std::string first = a.createLabelingVariable();
    std::string second = b.createLabelingVariable();
    ASSERT_EQ(first.rfind("labelingVariable_", 0), 0u);
    int n = std::stoi(first.substr(std::strlen("labelingVariable_")));
    EXPECT_EQ(second, "labelingVariable_" + std::to_string(n + 1));
    EXPECT_EQ(a.getLabelingVariable(), first);

    EXPECT_FALSE(a.isMRChild());
    a.setMRParentName("");
    EXPECT_FALSE(a.isMRChild());
    a.setMRParentName("$cats");
    EXPECT_TRUE(a.isMRChild());
    EXPECT_EQ(a.getMRParentName(), "$cats");

    EXPECT_EQ(a.getMeasurmentLevel(), GGraphVariable::UNSPECIFIED);
    a.setMeasurmentLevel(GGraphVariable::ORDINAL);
    EXPECT_EQ(a.getMeasurmentLevel(), 3);

    std::string name = "jobcat";
    GGraphVariableFilter filter(name);
    EXPECT_EQ(filter.GetVariableName(), "jobcat");
    EXPECT_TRUE(filter.isIncludeULV());
    EXPECT_FALSE(filter.isIncludeALL());
    filter.getValueList().push_back("1");
    ++filter.getValueMatchedMap()["1"];
    EXPECT_EQ(filter.getValueList().size(), 1u);
    EXPECT_EQ(filter.getValueMatchedMap().at("1"), 1u);
}

}  // namespace
