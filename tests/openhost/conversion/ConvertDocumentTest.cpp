#include "openhost/conversion/ConvertDocument.h"
#include "openhost/conversion/ConversionRequest.h"

#include "openhost/files/TemporaryFolder.h"
#include "tests/support/Places.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>

namespace openhost::testing {

using ::testing::HasSubstr;

namespace {

ConversionPrograms ProgramOfTests()
{
    const std::filesystem::path program = BuildDir() + "/bin/test_geometry_program";
    return {program, program};
}

TEST(ConvertDocument, WhatTakesTooLongIsGivenUpAndNamed)
{
    // The program never ends this job.
    DocumentConverter converter({.time = std::chrono::milliseconds(200)}, ProgramOfTests());
    try {
        converter.ExportStep("part.ZALPart", "out.step", "", "", [](const std::string&) {});
        FAIL() << "was made";
    } catch (const GeometryJobTimeOut& error) {
        EXPECT_STREQ("part.ZALPart: it takes too long", error.what());
    }
}

TEST(ConvertDocument, EachLineOfTheAnswerIsAWarning)
{
    // The program lists its open files, the standard ones first.
    std::vector<std::string> lines;
    DocumentConverter({}, ProgramOfTests()).DrawPicture("a", "b", {}, [&](const std::string& line) {
        lines.push_back(line);
    });
    EXPECT_THAT(lines, ::testing::IsSupersetOf({"0", "1", "2"}));
}

TEST(ConvertDocument, AnImportThatIsInterruptedLeavesNothing)
{
    const TemporaryFolder folder;
    // The program never ends this job.
    DocumentConverter converter({}, ProgramOfTests());
    std::thread other([&] { converter.Interrupt(); });
    EXPECT_THROW(converter.ImportStep(
                     "a.step", folder.Path() / "made", ReplaceFiles::No, [](const std::string&) {}, [](int) {}),
                 GeometryJobError);
    other.join();
    EXPECT_TRUE(std::filesystem::is_empty(folder.Path()));
}

TEST(ConvertDocument, AnImportThatTakesTooLongLeavesNothing)
{
    const TemporaryFolder folder;
    DocumentConverter converter({.time = std::chrono::milliseconds(200)}, ProgramOfTests());
    try {
        converter.ImportStep(
            "a.step", folder.Path() / "made", ReplaceFiles::No, [](const std::string&) {}, [](int) {});
        FAIL() << "was made";
    } catch (const GeometryJobTimeOut& error) {
        EXPECT_STREQ("a.step: it takes too long", error.what());
    }
    EXPECT_TRUE(std::filesystem::is_empty(folder.Path()));
}

TEST(ConvertDocument, AProgramThatIsMissingIsAnError)
{
    DocumentConverter converter({}, {"/none", "/none"});
    EXPECT_THROW(converter.ExportStep("a", "b", "", "", [](const std::string&) {}), GeometryJobError);
}

TEST(ConversionRequest, ComesBackAsItWas)
{
    const ConversionRequest request =
        ConversionRequest::Decode(ConversionRequest{"a b\n", "c", {30, 20}, "ä", "b"}.Encode());
    EXPECT_EQ("a b\n", request.document);
    EXPECT_EQ("c", request.output);
    EXPECT_EQ((PictureSize{30, 20}), request.size);
    EXPECT_EQ("ä", request.author);
    EXPECT_EQ("b", request.organization);
}

TEST(ConversionRequest, BytesThatAreNoneAreRefused)
{
    for (const std::string bytes : {"", "a", "a\n1x1"})
        EXPECT_THROW(ConversionRequest::Decode(bytes), std::invalid_argument) << bytes;
}

} // namespace

} // namespace openhost::testing
