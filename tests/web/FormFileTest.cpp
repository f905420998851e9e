// How a form reads its files, on files of the test's own, and what is left of a body that fails.

#include "tests/support/HostFixture.h"
#include "tests/support/Installed.h"
#include "tests/support/ScriptedFiles.h"

#include "web/FormData.h"

#include <gmock/gmock.h>

#include <functional>

namespace openhost::testing {

namespace {

using ::testing::ElementsAre;
using ZALVliHttpUtils::FormData;

const std::string Head = "------WebKitFormBoundaryA9TZlwqNn7lCilAD\r\n"
                         "Content-Disposition: form-data; name=\"file\"; filename=\"shown\"\r\n"
                         "Content-Type: application/octet-stream\r\n\r\n";
const std::string End = "------WebKitFormBoundaryA9TZlwqNn7lCilAD--\r\n";
const std::string Whole = Head + "abc\r\n" + Head + "abc\r\n" + End;

TEST(FormFile, IsReadInOnePieceWithTheResultOfEachStep)
{
    struct Row {
        const char* name;
        std::function<void(ScriptedFiles&)> cause;
        Texts calls;
        HRESULT result;
        std::string body;
    };
    const Texts all = {"open /a rb", "size 5", "read 5 3", "close 5", "open /b rb", "size 5", "read 5 3", "close 5"};
    const Texts first = {all.begin(), all.begin() + 4};
    const Row rows[] = {
        {"well", [](auto&) {}, all, S_OK, Whole},
        {"results above zero", [](auto& files) { files.openResult = files.sizeResult = files.readResult = S_FALSE; },
         all, S_OK, Whole},
        {"not closed", [](auto& files) { files.closeResult = E_FAIL; }, all, S_OK, Whole},
        {"not opened", [](auto& files) { files.openResult = E_INVALIDARG; }, {"open /a rb", "close 0"}, E_FAIL, Head},
        {"size not known",
         [](auto& files) { files.sizeResult = E_INVALIDARG; },
         {"open /a rb", "size 5", "close 5"},
         E_FAIL,
         Head},
        {"empty", [](auto& files) { files.size = 0; }, {"open /a rb", "size 5", "close 5"}, E_FAIL, Head},
        {"not read, though all has come", [](auto& files) { files.readResult = E_INVALIDARG; }, first, E_FAIL,
         Head + "abc"},
        {"a short read", [](auto& files) { files.content = "ab"; }, first, E_FAIL, Head + "ab" + '\0'}};
    for (const Row& row : rows) {
        CallLog log;
        const Installed<ScriptedFiles> files(log);
        files->size = 3;
        files->content = "abc";
        row.cause(*files);
        FormData form;
        form.AddBinaryFile("file", "/a", "shown");
        form.AddBinaryFile("file", "/b", "shown");
        std::string body = "before";
        EXPECT_EQ(row.result, form.GenContent(body)) << row.name;
        EXPECT_EQ(row.body, body) << row.name;
        EXPECT_EQ(row.calls, log.Take()) << row.name;
    }
}

TEST(FormFile, IsOpenedByItsPathUpToTheFirstZero)
{
    CallLog log;
    const Installed<ScriptedFiles> files(log);
    files->size = 1;
    files->content = "a";
    FormData form;
    form.AddZipFile("file", ZALUnicodeString(u"/a\0b", 4), "shown");
    std::string body;
    EXPECT_EQ(S_OK, form.GenContent(body));
    EXPECT_EQ("open /a rb", log.Take().front());
}

} // namespace

} // namespace openhost::testing
