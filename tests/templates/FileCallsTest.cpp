// What the templates ask of files, on files of the test's own, and of the kinds of values.

#include "host/dialogs.h"
#include "host/json.h"
#include "openhost/text/JsonOptions.h"
#include "openhost/text/Utf.h"
#include "templates/ApplyPartTemplate.h"
#include "templates/ZALVliApplyTemplatesOpe.h"
#include "templates/ZALVliFilePath.h"
#include "tests/support/Installed.h"
#include "tests/support/ScriptedFiles.h"

#include <gmock/gmock.h>

namespace openhost::testing {

namespace {

using namespace ZALVliTemplateSupportUtilities;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class TemplateFiles : public ::testing::Test {
protected:
    ~TemplateFiles() override { SetKindBits(0); }

    CallLog log_;
    Installed<ScriptedFiles> files_{log_};
};

TEST_F(TemplateFiles, AreThereByEachStatusThatIsNoFailure)
{
    const std::pair<HRESULT, bool> rows[] = {{S_OK, true}, {S_FALSE, true}, {7, true}, {E_INVALIDARG, false}};
    for (const auto& [result, exists] : rows) {
        files_->statResult = result;
        EXPECT_EQ(exists, ZALVliFilePath("/a").Exists()) << result;
        EXPECT_EQ(0, files_->statOptions);
    }
}

TEST_F(TemplateFiles, AreNotLookedForAtAnEmptyPath)
{
    EXPECT_FALSE(ZALVliFilePath("").Exists());
    EXPECT_EQ(-1, files_->statOptions);
}

TEST_F(TemplateFiles, AreMovedByOneRenamingAlone)
{
    const std::pair<int, HRESULT> rows[] = {{0, S_OK}, {1, E_FAIL}, {-1, E_FAIL}, {17, E_FAIL}, {256, E_FAIL}};
    files_->statResult = E_FAIL;
    for (const auto& [answer, result] : rows) {
        files_->renameResult = answer;
        EXPECT_EQ(result, MoveFile("/from/a\u00FC", "/to/b")) << answer;
        EXPECT_THAT(log_.Take(), ElementsAre("rename /from/a\u00FC to /to/b")) << answer;
    }
}

TEST_F(TemplateFiles, AreNotRenamedOntoWhatIsThere)
{
    files_->statResult = S_FALSE;
    EXPECT_EQ(S_FALSE, MoveFile("/from/a", "/to/b"));
    EXPECT_THAT(log_.Take(), IsEmpty());
}

TEST_F(TemplateFiles, AreDeletedFromTheFirstToTheLast)
{
    ZALListValZALUnicodeString files;
    for (const char* file : {"/c", "/a", "/b"})
        files.Append(file);
    ZALVliApplyTemplatesOpe operation;
    operation.SetSourceFilesPathes(files);
    for (const HRESULT result : {S_OK, E_FAIL}) {
        files_->deleteResult = result;
        operation.DeleteSourcesFiles();
        EXPECT_THAT(log_.Take(), ElementsAre("delete /c", "delete /a", "delete /b")) << result;
    }
}

TEST_F(TemplateFiles, AreAnnouncedByTextsWhateverBitsStandBesideTheKind)
{
    const std::string text =
        R"({"zalpartTemplate": "p", "zalproductTemplate": "q", "preferredSaveMethod": "new from"})";
    const std::pair<int, Texts> rows[] = {{0x8000, {"p", "q", "1"}},        {0x10000, {"p", "q", "1"}},
                                          {0x7FFF8000, {"p", "q", "1"}},    {0x1, {"before", "before", "0"}},
                                          {0x8, {"before", "before", "0"}}, {0x4000, {"before", "before", "0"}}};
    for (const auto& [bits, announced] : rows) {
        ZALOmxAny urls;
        ASSERT_EQ(S_OK, ZALOmxJson().parse(ZALOmxUTF8String(text.data(), text.size()), urls));
        SetKindBits(bits);
        ZALUnicodeString part = "before";
        ZALUnicodeString product = "before";
        PreferredSaveMethod method = SaveMethodSaveAs;
        EXPECT_EQ(S_OK, GetTemplatesURL(urls, part, product, method)) << bits;
        EXPECT_EQ(announced, (Texts{ToUtf8(part), ToUtf8(product), std::to_string(method)})) << bits;
    }
}

TEST_F(TemplateFiles, HaveTheirExtensionsAsDialogsTellThem)
{
    for (const char* path : {"/a/b.ZALProduct", "/a/b.ZALPart", "/a.b/c", "/a/.ZALPart", "/a/b.zip"}) {
        const ZALUnicodeString extension = ZALDlgServices::GetFileExtensionName(path);
        EXPECT_EQ(ToUtf8(extension), ToUtf8(ZALVliFilePath(path).GetExtension())) << path;
        EXPECT_EQ(ToUtf8(extension) == "ZALProduct", ZALVliFilePath(path).IsProductFile()) << path;
        EXPECT_EQ(ToUtf8(extension) == "ZALPart", ZALVliFilePath(path).IsPartFile()) << path;
    }
}

} // namespace

} // namespace openhost::testing
