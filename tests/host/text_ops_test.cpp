#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "platform/host_procedure.h"

TEST(TextOps, CaseBlindComparisonsFoldAsciiOnly) {
    EXPECT_EQ(KWELMBstricmp_A("graphspec", "GRAPHSPEC"), 0);
    EXPECT_NE(KWELMBstricmp_A("GRAPH", "GRAPHSPEC"), 0);
    EXPECT_NE(KWELMBstricmp_A("é", "É"), 0);  // bytes beyond ASCII stand as they are
    EXPECT_EQ(KWELMBstrnicmp_A("BEGIN GPL here", "begin gpl", 9), 0);
    EXPECT_NE(KWELMBstrnicmp_A("BEGINGPL", "begin gpl", 9), 0);
    char text[] = "end gpl.";
    EXPECT_STREQ(KWELMBstrupr_A(text), "END GPL.");
    EXPECT_NE(KWELMBstrstr_A("x END GPL.", "END GPL"), nullptr);
}

TEST(TextOps, CopyToFixedPadsWithBlanks) {
    char field[8];
    KWELMBCopyToFixed_A(field, 8, "abc", 3);
    EXPECT_EQ(std::string(field, 8), "abc     ");
    KWELMBCopyToFixed_A(field, 8, "abcdefghij", 10);
    EXPECT_EQ(std::string(field, 8), "abcdefgh");
}
