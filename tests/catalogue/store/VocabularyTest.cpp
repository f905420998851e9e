#include "catalogue/store/Vocabulary.h"

#include <gtest/gtest.h>

namespace catalogue::testing {

TEST(TypingErrors, CountLettersThatAreWrongMissingTooManyOrExchanged)
{
    EXPECT_EQ(0U, TypingErrors("bolt", "bolt", 2));
    EXPECT_EQ(1U, TypingErrors("bort", "bolt", 2));
    EXPECT_EQ(1U, TypingErrors("bot", "bolt", 2));
    EXPECT_EQ(1U, TypingErrors("bollt", "bolt", 2));
    EXPECT_EQ(1U, TypingErrors("blot", "bolt", 2));
    EXPECT_EQ(2U, TypingErrors("waehsr", "washer", 2));
    EXPECT_EQ(3U, TypingErrors("washer", "gear", 2)) << "as many as count";
    EXPECT_EQ(1U, TypingErrors("abc", "xyz", 0));
    EXPECT_EQ(0U, TypingErrors("", "bolt", 2));
    EXPECT_EQ(2U, TypingErrors("ab", "", 2));
}

TEST(TypingErrors, LeaveOutWhatHasNotBeenTypedYet)
{
    EXPECT_EQ(0U, TypingErrors("hexa", "hexagon", 2));
    EXPECT_EQ(1U, TypingErrors("hxa", "hexagon", 2));
}

TEST(TypingErrors, OfVeryLongWordsAreTooMany)
{
    EXPECT_EQ(0U, TypingErrors(std::string(40, 'a'), std::string(50, 'a'), 2));
    EXPECT_EQ(3U, TypingErrors(std::string(41, 'a'), std::string(41, 'a'), 2));
}

class VocabularyTest : public ::testing::Test {
protected:
    VocabularyTest()
    {
        vocabulary_.Add("bolt", 4);
        vocabulary_.Add("bore", 9);
        vocabulary_.Add("m8x40", 3);
        vocabulary_.Add("washer", 1);
        vocabulary_.Add("washers", 5);
    }
    Vocabulary vocabulary_;
};

TEST_F(VocabularyTest, FewestErrorsComeBeforeMostItems)
{
    EXPECT_EQ("bolt", vocabulary_.Correct("boltt"));
    EXPECT_EQ("bore", vocabulary_.Correct("bort")) << "two words with one error";
}

TEST_F(VocabularyTest, TheBeginningOfAWordStandsForIt)
{
    EXPECT_EQ("washer", vocabulary_.Correct("washr"));
}

TEST_F(VocabularyTest, ShortWordsHaveOneErrorAndLongOnesTwo)
{
    EXPECT_EQ(std::nullopt, vocabulary_.Correct("xxlt"));
    EXPECT_EQ("washer", vocabulary_.Correct("wazzer"));
    EXPECT_EQ(std::nullopt, vocabulary_.Correct("wzzzer"));
    EXPECT_EQ(std::nullopt, vocabulary_.Correct("bo")) << "too short to tell";
}

TEST_F(VocabularyTest, SizesAreNeverTakenForOthers)
{
    EXPECT_EQ(std::nullopt, vocabulary_.Correct("m8x41"));
    EXPECT_EQ(std::nullopt, vocabulary_.Correct("m8xzz"));
    EXPECT_EQ(std::nullopt, vocabulary_.Correct("b0lt")) << "nor for words";
}

} // namespace catalogue::testing
