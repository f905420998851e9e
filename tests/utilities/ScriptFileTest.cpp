// Scripts of the installation on files of the test's own: what is asked for, and what a failure leaves.

#include "tests/support/HostFixture.h"
#include "tests/support/Installed.h"
#include "tests/support/ScriptedFiles.h"

#include "openhost/text/Utf.h"
#include "utilities/ZALVelmartIntegrationUtilities.h"

#include <gmock/gmock.h>

#include <functional>

namespace openhost::testing {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class InstalledScript : public HostFixture {
protected:
    InstalledScript()
    {
        files_->size = 3;
        files_->content = "abc";
    }
    HRESULT Get() { return ZALVelmartIntegrationUtilities::GetJSScript("a.js", script_); }
    HRESULT GetHandlers()
    {
        return ZALVelmartIntegrationUtilities::GetOpiAPIHandlersScript(ZALVelmartIntegrationUtilities::SidePanel,
                                                                       script_);
    }
    std::string Opening(const char* path) const
    {
        return "open " + (Folder() / "installation" / path).string() + " rb";
    }

    static constexpr const char* HandlersPath = "webapps\\ZALVelmartIntegrationJS\\OpApiHandlers.js";
    CallLog log_;
    Installed<ScriptedFiles> files_{log_};
    ZALUnicodeString script_ = "before";
};

TEST_F(InstalledScript, IsReadInOnePieceWithTheResultOfEachStep)
{
    struct Row {
        const char* name;
        std::function<void(ScriptedFiles&)> cause;
        int calls; ///< of opening, size, reading and closing
        HRESULT result;
        const char* script;
    };
    const Row rows[] = {
        {"well", [](auto&) {}, 4, S_OK, "abc"},
        {"results above zero",
         [](auto& files) { files.openResult = files.sizeResult = files.readResult = files.closeResult = S_FALSE; }, 4,
         S_OK, "abc"},
        {"not there", [](auto& files) { files.statResult = E_FAIL; }, 0, E_FAIL, "before"},
        {"not opened", [](auto& files) { files.openResult = E_INVALIDARG; }, 1, E_FAIL, "before"},
        {"size not known", [](auto& files) { files.sizeResult = E_INVALIDARG; }, -3, E_FAIL, "before"},
        {"not read, though all has come", [](auto& files) { files.readResult = E_INVALIDARG; }, 4, E_FAIL, "before"},
        {"not closed", [](auto& files) { files.closeResult = E_INVALIDARG; }, 4, E_FAIL, "abc"},
        {"a short read", [](auto& files) { files.content = "ab"; }, 4, S_OK, "before"},
        {"a short read, not closed",
         [](auto& files) {
             files.content = "ab";
             files.closeResult = E_FAIL;
         },
         4, S_OK, "before"}};
    for (const Row& row : rows) {
        files_->openResult = files_->sizeResult = files_->readResult = files_->closeResult = files_->statResult = S_OK;
        files_->content = "abc";
        row.cause(*files_);
        script_ = "before";
        EXPECT_EQ(row.result, Get()) << row.name;
        EXPECT_EQ(row.script, ToUtf8(script_)) << row.name;
        Texts expected = {Opening("a.js"), "size 5", "read 5 3", "close 5"};
        if (row.calls == -3)
            expected.erase(expected.begin() + 2);
        else
            expected.resize(static_cast<std::size_t>(row.calls));
        EXPECT_EQ(expected, log_.Take()) << row.name;
    }
}

TEST_F(InstalledScript, FailsAfterAShortReadWithoutATextOfBefore)
{
    files_->content = "ab";
    script_ = "";
    EXPECT_EQ(E_FAIL, Get());
}

TEST_F(InstalledScript, OfTheHandlersIsFoundByAPathWithBackslashes)
{
    files_->openResult = E_FAIL;
    EXPECT_EQ(E_FAIL, GetHandlers());
    EXPECT_THAT(log_.Take(), ElementsAre(Opening(HandlersPath)));
}

TEST_F(InstalledScript, OfTheHandlersIsReadAgainAfterAFailedClosing)
{
    files_->closeResult = E_FAIL;
    for (int time = 1; time <= 2; ++time) {
        EXPECT_EQ(E_FAIL, GetHandlers());
        EXPECT_THAT(log_.Take(), ElementsAre(Opening(HandlersPath), "size 5", "read 5 3", "close 5")) << time;
        EXPECT_EQ("before", ToUtf8(script_)) << time;
    }
}

} // namespace

} // namespace openhost::testing
