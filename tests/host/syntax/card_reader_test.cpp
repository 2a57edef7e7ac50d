#include "platform/card_reader.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "host/output/document.h"
#include "host/syntax/current_command.h"
#include "host/syntax/job_input.h"
#include "platform/host_procedure.h"

namespace {

using host::output::Document;
using host::output::ScopedDocument;
using host::syntax::JobInput;

// Runs a job's first command as the runner does and reads cards behind it.
class CardReader : public ::testing::Test {
protected:
    void start(std::string text) {
        job_ = std::make_unique<JobInput>(std::move(text));
        host::syntax::setCurrentInput(job_.get());
        auto first = job_->commandAt(0);
        ASSERT_TRUE(first);
        host::syntax::setCurrentCommand(*first);
        work_ = host::syntax::currentWorkspace();
    }
    void TearDown() override { host::syntax::setCurrentInput(nullptr); }

    // The card with trailing blanks cut.
    std::string read() {
        char buffer[kCmaSysCardLength + 8];
        std::memset(buffer, '#', sizeof buffer);
        ssredc_(11, buffer, static_cast<int>(kCmaSysCardLength), flags_, work_);
        atnjmp_(work_);
        EXPECT_EQ(buffer[kCmaSysCardLength], '#');  // nothing written beyond the length
        std::string card(buffer, kCmaSysCardLength);
        EXPECT_EQ(card, std::string(CmaSys, kCmaSysCardLength));
        EXPECT_EQ(std::strlen(CmaSys), kCmaSysCardLength);
        card.erase(card.find_last_not_of(' ') + 1);
        return card;
    }

    std::unique_ptr<JobInput> job_;
    KwelWorkspace* work_ = nullptr;
    int flags_ = 0;
};

TEST_F(CardReader, ReadsTheBlockBehindTheCommandAndResumesBehindEndGpl) {
    Document document;
    ScopedDocument scope(document);
    start(
        "GGRAPH /GRAPHSPEC SOURCE=INLINE.\r\n  BEGIN GPL \r\n  ELEMENT: x\r\n\r\n END GPL.\r\n"
        "FREQUENCIES x.\r\n");
    EXPECT_EQ(read(), "  BEGIN GPL");
    EXPECT_EQ(flags_, 0);
    setqcllct_(1);
    prcard_(work_);
    EXPECT_EQ(read(), "  ELEMENT: x");
    EXPECT_EQ(read(), "");  // a blank line is a blank card
    EXPECT_EQ(read(), " END GPL.");
    setqcllct_(1);
    prcard_(work_);
    sskipc_(work_);
    auto next = job_->commandAt(job_->resumeAfterCards());
    ASSERT_TRUE(next);
    EXPECT_EQ(next->words[0], "FREQUENCIES");

    auto const& items = document.items();
    ASSERT_EQ(items.size(), 2u);
    EXPECT_EQ(items[0].text, "  BEGIN GPL");
    EXPECT_EQ(items[0].line, 2);
    EXPECT_EQ(items[1].text, " END GPL.");
    EXPECT_EQ(items[1].line, 5);
}

TEST_F(CardReader, EndFlagsAndReadingPastTheEnd) {
    start("GGRAPH.\nlast line");
    EXPECT_EQ(read(), "last line");
    EXPECT_EQ(flags_, 1);
    EXPECT_EQ(read(), "");
    EXPECT_EQ(flags_, 3);
    EXPECT_EQ(job_->resumeAfterCards(), 2u);
    // One more read would loop a careless caller for ever: it unwinds instead.
    Document document;
    ScopedDocument scope(document);
    EXPECT_THROW(read(), KwelGoToCaller);
    ASSERT_EQ(document.items().size(), 1u);
    EXPECT_EQ(document.items()[0].level, 3);

    start("GGRAPH.");
    EXPECT_EQ(read(), "");
    EXPECT_EQ(flags_, 3);
}

TEST_F(CardReader, GivingACardBackMakesItTheNextCommand) {
    start("GGRAPH /GRAPHSPEC SOURCE=INLINE.\n* a comment\n  over two lines.\n\nDESCRIPTIVES x.\n");
    EXPECT_EQ(read(), "* a comment");
    EXPECT_EQ(read(), "  over two lines.");
    EXPECT_EQ(read(), "");
    EXPECT_EQ(read(), "DESCRIPTIVES x.");
    mcpstn_("", 0);
    EXPECT_EQ(job_->resumeAfterCards(), 4u);
    auto next = job_->commandAt(job_->resumeAfterCards());
    ASSERT_TRUE(next);
    EXPECT_EQ(next->words[0], "DESCRIPTIVES");
    EXPECT_EQ(read(), "DESCRIPTIVES x.");  // and a further read gets it again

    // With nothing read, the runner goes on right behind the command.
    start("A.\nB.");
    EXPECT_EQ(job_->resumeAfterCards(), 1u);
}

TEST_F(CardReader, LongLinesAreSeveralCards) {
    std::string words;
    while (words.size() < 600) words += "word ";
    std::string unbroken(300, 'x');
    std::string wide;
    while (wide.size() < 300) wide += "é";  // two bytes each: no card may split one
    start("GGRAPH.\n" + words + "\n" + unbroken + "\n" + wide + "\nNEXT.");

    std::string joined;
    for (int i = 0; i < 3; ++i) {
        std::string card = read();
        EXPECT_LE(card.size(), 256u);
        joined += card + (i < 2 ? " " : "");
    }
    EXPECT_EQ(joined + " ", words);
    EXPECT_EQ(read(), std::string(256, 'x'));
    EXPECT_EQ(read(), std::string(44, 'x'));
    std::string first = read();
    EXPECT_EQ(first.size(), 256u);
    EXPECT_EQ(first + read(), wide);

    // Stopping inside a long line skips its rest.
    start("GGRAPH.\n" + unbroken + "\nNEXT.");
    read();
    EXPECT_EQ(job_->resumeAfterCards(), 2u);
}

TEST(CmaSys, HoldsTheContextCode) {
    host::syntax::setContextCode("DM");
    EXPECT_EQ(std::string(CmaSys + kCmaSysContextOffset, 2), "DM");
    host::syntax::setContextCode("X");
    EXPECT_EQ(host::syntax::contextCode(), "X ");
    EXPECT_EQ(CmaSys[kCmaSysCardLength], '\0');
}

}  // namespace
