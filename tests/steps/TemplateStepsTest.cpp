// What the templates ask of the host's files, and what they make of its answers.

#include "tests/steps/Services.h"

#include "host/json.h"
#include "openhost/text/Utf.h"
#include "templates/ApplyPartTemplate.h"
#include "templates/ZALVliApplyTemplatesOpe.h"
#include "templates/ZALVliFilePath.h"

#include <gmock/gmock.h>

namespace openhost::testing {

namespace {

using namespace ZALVliTemplateSupportUtilities;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

using TemplateSteps = StepsFixture;

TEST_F(TemplateSteps, AskForTheStatusWithoutOptions)
{
    EXPECT_TRUE(ZALVliFilePath("/a").Exists());
    EXPECT_EQ(Asked().statOptions, 0);
}

TEST_F(TemplateSteps, TakeEachStatusThatIsNoFailure)
{
    Asked().statResult = S_FALSE;
    EXPECT_TRUE(ZALVliFilePath("/a").Exists());
    Asked().statResult = 7;
    EXPECT_TRUE(ZALVliFilePath("/a").Exists());
    Asked().statResult = E_INVALIDARG;
    EXPECT_FALSE(ZALVliFilePath("/a").Exists());
}

TEST_F(TemplateSteps, FindNothingAtAnEmptyPathAndDoNotAsk)
{
    EXPECT_FALSE(ZALVliFilePath("").Exists());
    EXPECT_EQ(Asked().statOptions, -1);
}

TEST_F(TemplateSteps, MoveByOneRenamingAlone)
{
    Asked().statResult = E_FAIL;
    Asked().renamingResult = 0;
    EXPECT_EQ(MoveFile("/from/a\u00FC", "/to/b"), S_OK);
    EXPECT_THAT(Calls(), ElementsAre("rename /from/a\u00FC to /to/b"));
}

TEST_F(TemplateSteps, FailToMoveByAnyOtherAnswerOfTheRenaming)
{
    Asked().statResult = E_FAIL;
    for (const int answer : {1, -1, 17, 256}) {
        Asked().renamingResult = answer;
        EXPECT_EQ(MoveFile("/from/a", "/to/b"), E_FAIL) << answer;
        EXPECT_THAT(Calls(), ElementsAre("rename /from/a to /to/b"));
    }
}

TEST_F(TemplateSteps, DoNotRenameOntoWhatIsThere)
{
    Asked().statResult = S_FALSE;
    Asked().renamingResult = 0;
    EXPECT_EQ(MoveFile("/from/a", "/to/b"), S_FALSE);
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(TemplateSteps, DeleteTheSourcesFromTheFirstToTheLast)
{
    ZALListValZALUnicodeString files;
    for (const char* file : {"/c", "/a", "/b"})
        files.Append(file);
    ZALVliApplyTemplatesOpe operation;
    operation.SetSourceFilesPathes(files);
    for (const HRESULT result : {S_OK, E_FAIL}) {
        Asked().archiveResult = result;
        operation.DeleteSourcesFiles();
        EXPECT_THAT(Calls(), ElementsAre("delete /c", "delete /a", "delete /b")) << result;
    }
}

/// The announced addresses and the method, where `bits` stand in the kind of each value.
Texts Announced(int bits)
{
    ZALOmxAny urls;
    const std::string text =
        R"({"zalpartTemplate": "p", "zalproductTemplate": "q", "preferredSaveMethod": "new from"})";
    EXPECT_EQ(ZALOmxJson().parse(ZALOmxUTF8String(text.data(), text.size()), urls), S_OK);
    CurrentServices().bitsOfTheHost = bits;
    ZALUnicodeString part = "before";
    ZALUnicodeString product = "before";
    PreferredSaveMethod method = SaveMethodSaveAs;
    EXPECT_EQ(GetTemplatesURL(urls, part, product, method), S_OK);
    return {ToUtf8(part), ToUtf8(product), std::to_string(method)};
}

TEST_F(TemplateSteps, ReadTextsWhateverBitsTheHostSetsBesideTheKind)
{
    for (const int bits : {0x8000, 0x10000, 0x7FFF8000})
        EXPECT_THAT(Announced(bits), ElementsAre("p", "q", "1")) << bits;
}

TEST_F(TemplateSteps, TakeAKindThatIsNotThatOfTextsForAnotherType)
{
    for (const int bits : {0x1, 0x8, 0x4000})
        EXPECT_THAT(Announced(bits), ElementsAre("before", "before", "0")) << bits;
}

} // namespace

} // namespace openhost::testing
