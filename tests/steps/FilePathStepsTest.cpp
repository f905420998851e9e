// Whom a path asks for its extension.

#include "tests/steps/Services.h"

#include "openhost/text/Utf.h"
#include "templates/ZALVliFilePath.h"

#include <gmock/gmock.h>

namespace openhost::testing {

namespace {

using FilePathSteps = StepsFixture;

TEST_F(FilePathSteps, AskTheServicesOfTheDialogsForTheExtension)
{
    const ZALVliFilePath path("/a/b.zip");
    EXPECT_EQ(ToUtf8(path.GetExtension()), "ZALProduct");
    EXPECT_TRUE(path.IsProductFile());
    EXPECT_FALSE(path.IsPartFile());
    const char* const asked = "extension of /a/b.zip";
    EXPECT_THAT(Calls(), ::testing::ElementsAre(asked, asked, asked));
}

} // namespace

} // namespace openhost::testing
