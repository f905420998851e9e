// Whom a path asks for its extension. What is defined here takes the place of the host's operation in this program.

#include "host/cad.h"
#include "host/dialogs.h"
#include "openhost/text/Utf.h"
#include "templates/ZALVliFilePath.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

std::vector<std::string> asked;

} // namespace

ZALUnicodeString ZALDlgServices::GetFileExtensionName(const ZALUnicodeString& path)
{
    asked.push_back(openhost::ToUtf8(path));
    return ZALProductExtension;
}

namespace {

TEST(FilePathSteps, AskTheServicesOfTheDialogsForTheExtension)
{
    asked.clear();
    const ZALVliFilePath path("/a/b.zip");
    EXPECT_EQ(openhost::ToUtf8(path.GetExtension()), "ZALProduct");
    EXPECT_TRUE(path.IsProductFile());
    EXPECT_FALSE(path.IsPartFile());
    EXPECT_THAT(asked, ::testing::ElementsAre("/a/b.zip", "/a/b.zip", "/a/b.zip"));
}

} // namespace
