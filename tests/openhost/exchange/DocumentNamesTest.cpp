#include "openhost/exchange/DocumentNames.h"

#include "openhost/documents/CadDocument.h"
#include "openhost/documents/DocumentStream.h"

#include <gtest/gtest.h>

namespace openhost::testing {

namespace {

TEST(ReadableText, IsWholeAsLongAsADocumentAndANumberTake)
{
    const std::size_t most = StreamReader::MaximumTextSize - 32;
    EXPECT_EQ(std::string(most, 'a'), ReadableText(std::string(most, 'a')));
    EXPECT_EQ(std::string(most, 'a'), ReadableText(std::string(most + 1, 'a')));
    EXPECT_EQ(std::string(most - 1, 'a'), ReadableText(std::string(most - 1, 'a') + "ä")) << "half a character";
}

TEST(ReadableText, IsOneLineOfCharacters)
{
    EXPECT_EQ("a b  c", ReadableText("  a\nb\t\x7F"
                                     "c "));
    EXPECT_EQ("ä", ReadableText("\xE4")) << "ISO 8859-1";
    EXPECT_EQ("", ReadableText("\n\t "));
    EXPECT_TRUE(IsDocumentText(ReadableText(std::string("a\0b", 3))));
}

TEST(ReadableFileName, HasAtMostTwoHundredBytes)
{
    EXPECT_EQ(std::string(200, 'a'), ReadableFileName(std::string(200, 'a')));
    EXPECT_EQ(std::string(200, 'a'), ReadableFileName(std::string(201, 'a')));
    EXPECT_EQ(std::string(199, 'a'), ReadableFileName(std::string(199, 'a') + "ä"));
}

TEST(ReadableFileName, LeavesOutWhatSystemsReserve)
{
    EXPECT_EQ("a_b_c_d_e_f_g_h_i_j", ReadableFileName("a/b\\c:d*e?f\"g<h>i|j"));
    EXPECT_EQ("a.b", ReadableFileName(" ..a.b. ."));
    EXPECT_EQ("_com1.x", ReadableFileName("com1.x"));
    EXPECT_EQ("common", ReadableFileName("common"));
    EXPECT_EQ("", ReadableFileName("..."));
}

TEST(DocumentNames, DifferInMoreThanLetterCase)
{
    DocumentNames names;
    EXPECT_EQ("Ärger", names.Take("Ärger"));
    EXPECT_EQ("ÄRGER-2", names.Take("ÄRGER"));
    EXPECT_EQ("Ärger-2-2", names.Take("Ärger-2"));
    EXPECT_EQ("Ärger-3", names.Take("Ärger"));
}

TEST(InstanceNames, AreThoseThatAreWantedOrNumbered)
{
    InstanceNames names;
    EXPECT_EQ("left", names.Take("left", "BOLT"));
    EXPECT_EQ("left.1", names.Take("left", "BOLT"));
    EXPECT_EQ("BOLT.1", names.Take("", "BOLT"));
    EXPECT_EQ("BOLT.2", names.Take("", "BOLT"));
    EXPECT_EQ("left.2", names.Take("left", "BOLT"));
}

TEST(InstanceNames, OfAHundredThousandAreGivenQuickly)
{
    InstanceNames names;
    for (int i = 0; i < 100'000; ++i)
        names.Take("same", "BOLT");
    EXPECT_EQ("same.100000", names.Take("same", "BOLT"));
}

} // namespace

} // namespace openhost::testing
