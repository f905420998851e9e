// What the panel's addin asks of the host, call by call: scripts of the installation, addresses, messages, the header.

#include "tests/steps/Services.h"

#include "VelmartBuildValues.h"
#include "openhost/text/Utf.h"
#include "panel/ZALVelmartMeridiaAccessAddin.h"
#include "utilities/ZALVelmartIntegrationUtilities.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <memory>

namespace openhost::testing {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

// ---------------------------------------------------------------------------------------------
// Scripts

class ScriptSteps : public StepsFixture {
protected:
    ScriptSteps()
    {
        Asked().size = 3;
        Asked().content = "abc";
        path_ = (Folder() / "installation" / "a.js").string();
    }
    HRESULT Get() { return ZALVelmartIntegrationUtilities::GetJSScript("a.js", script); }
    HRESULT GetHandlers()
    {
        return ZALVelmartIntegrationUtilities::GetOpiAPIHandlersScript(ZALVelmartIntegrationUtilities::SidePanel,
                                                                       script);
    }
    static constexpr const char* HandlersPath = "webapps\\ZALVelmartIntegrationJS\\OpApiHandlers.js";
    std::string Opening() const { return "open " + path_ + " rb"; }

    ZALUnicodeString script = "before";

private:
    std::string path_;
};

TEST_F(ScriptSteps, ReadTheFileInOnePiece)
{
    EXPECT_EQ(Get(), S_OK);
    EXPECT_THAT(Calls(), ElementsAre(Opening(), "size 5", "read 5 3", "close 5"));
    EXPECT_EQ(ToUtf8(script), "abc");
}

TEST_F(ScriptSteps, OpenNothingThatIsNotThere)
{
    Asked().statResult = E_FAIL;
    EXPECT_EQ(Get(), E_FAIL);
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(ScriptSteps, CloseNothingThatCannotBeOpened)
{
    Asked().openResult = E_INVALIDARG;
    EXPECT_EQ(Get(), E_FAIL);
    EXPECT_THAT(Calls(), ElementsAre(Opening()));
    EXPECT_EQ(ToUtf8(script), "before");
}

TEST_F(ScriptSteps, CloseAFileWhoseSizeIsNotKnown)
{
    Asked().sizeResult = E_INVALIDARG;
    EXPECT_EQ(Get(), E_FAIL);
    EXPECT_THAT(Calls(), ElementsAre(Opening(), "size 5", "close 5"));
    EXPECT_EQ(ToUtf8(script), "before");
}

TEST_F(ScriptSteps, CloseAFileThatCannotBeReadThoughAllHasCome)
{
    Asked().readResult = E_INVALIDARG;
    EXPECT_EQ(Get(), E_FAIL);
    EXPECT_THAT(Calls(), ElementsAre(Opening(), "size 5", "read 5 3", "close 5"));
    EXPECT_EQ(ToUtf8(script), "before");
}

TEST_F(ScriptSteps, LeaveTheTextOfBeforeAfterAShortReadWhateverTheClosingGives)
{
    Asked().content = "ab";
    Asked().closeResult = E_FAIL;
    EXPECT_EQ(Get(), S_OK);
    EXPECT_THAT(Calls(), ElementsAre(Opening(), "size 5", "read 5 3", "close 5"));
    EXPECT_EQ(ToUtf8(script), "before");
    script = "";
    EXPECT_EQ(Get(), E_FAIL);
}

TEST_F(ScriptSteps, FailWhenTheFileCannotBeClosed)
{
    Asked().closeResult = E_INVALIDARG;
    EXPECT_EQ(Get(), E_FAIL);
    EXPECT_EQ(ToUtf8(script), "abc");
}

TEST_F(ScriptSteps, FindTheHandlersScriptByAPathWithBackslashes)
{
    Asked().openResult = E_FAIL;
    EXPECT_EQ(GetHandlers(), E_FAIL);
    EXPECT_THAT(Calls(), ElementsAre("open " + (Folder() / "installation" / HandlersPath).string() + " rb"));
}

TEST_F(ScriptSteps, ReadTheHandlersScriptAgainAfterItsFileCouldNotBeClosed)
{
    Asked().closeResult = E_FAIL;
    const std::string opening = "open " + (Folder() / "installation" / HandlersPath).string() + " rb";
    for (int time = 1; time <= 2; ++time) {
        EXPECT_EQ(GetHandlers(), E_FAIL);
        EXPECT_THAT(Calls(), ElementsAre(opening, "size 5", "read 5 3", "close 5"));
        EXPECT_EQ(ToUtf8(script), "before");
    }
}

TEST_F(ScriptSteps, GoOnAfterEveryResultThatIsNotNegative)
{
    Asked().openResult = Asked().sizeResult = Asked().readResult = Asked().closeResult = S_FALSE;
    EXPECT_EQ(Get(), S_OK);
    EXPECT_EQ(ToUtf8(script), "abc");
}

// ---------------------------------------------------------------------------------------------
// Addresses, messages, the header

std::string Search(const std::string& fragment)
{
    return "search '" + fragment + "' from 0 in mode 1";
}

class PanelSteps : public StepsFixture {
protected:
    ~PanelSteps() override { addin_.reset(); }

    ZALVelmartMeridiaAccessAddin& Addin() { return *addin_; }
    void End() { addin_.reset(); }

private:
    Owned<ZALVelmartMeridiaAccessAddin> addin_{new ZALVelmartMeridiaAccessAddin};
};

const std::string OtherHostsSearched = Search(VelmartOtherHostsFragment);
const std::string ProductionHostSearched = Search(VelmartProductionHost);
const std::string Header = "header ZALVelmartFindSimilarCmdHeader 0";

TEST_F(PanelSteps, SearchAnAddressForTheOtherHostsAndThenForTheProductionHost)
{
    EXPECT_EQ(Addin().OnPageUrl("https://elsewhere.example/"), S_OK);
    EXPECT_THAT(Calls(), ElementsAre(OtherHostsSearched, ProductionHostSearched, Header,
                                     "is available")); // and for nothing third, since the environment names none
}

TEST_F(PanelSteps, SearchNoFurtherThanTheFirstHit)
{
    Addin().OnPageUrl((std::string("https://eu1") + VelmartOtherHostsFragment + VelmartProductionHost + "/").c_str());
    EXPECT_THAT(Calls(), ElementsAre(OtherHostsSearched));
    Addin().OnPageUrl((std::string("https://") + VelmartProductionHost + "/").c_str());
    EXPECT_THAT(Calls(), ElementsAre(OtherHostsSearched, ProductionHostSearched));
}

TEST_F(PanelSteps, SearchAnAddressForTheFragmentOfTheEnvironmentLast)
{
    const Texts expected{OtherHostsSearched, ProductionHostSearched, Search("elsewhere")};
    const auto judge = [&] {
        setenv("ZAL_MERIDIADIALOG_VLURL_CHECK", "elsewhere", 1);
        Addin().OnPageUrl("https://elsewhere.example/");
        std::exit(Calls() == expected ? 0 : 1);
    };
    // In a process of its own, which has judged no address yet.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(judge(), ::testing::ExitedWithCode(0), "");
}

TEST_F(PanelSteps, ReadNumbersOfMessagesConsistently)
{
    EXPECT_EQ(Addin().OnJSMessage("{}"), E_FAIL);
    EXPECT_THAT(Calls(), ElementsAre("consistent numbers", "parse"));
}

TEST_F(PanelSteps, SetTheHeaderForEveryAnswerThatIsNotTheOneWanted)
{
    for (const int answer : {0, 2, -1}) {
        Asked().headerAnswer = answer;
        Addin().OnJSMessage(R"({"event":"velmart_ready","content":{}})");
        EXPECT_THAT(Calls(), ElementsAre("consistent numbers", "parse", Header, "is available", "set 1 to 1",
                                         "set 8 to 1", "set 16 to 1"));
    }
    for (const int answer : {1, 2, -1}) {
        Asked().headerAnswer = answer;
        Addin().OnJSMessage(R"({"event":"velmart_over","content":{}})");
        EXPECT_THAT(Calls(), ElementsAre("consistent numbers", "parse", Header, "is available", "set 1 to 0",
                                         "set 8 to 0", "set 16 to 0"));
    }
}

TEST_F(PanelSteps, LeaveTheHeaderAloneForTheAnswerThatIsWanted)
{
    Asked().headerAnswer = 1;
    Addin().OnJSMessage(R"({"event":"velmart_ready","content":{}})");
    EXPECT_THAT(Calls(), ElementsAre("consistent numbers", "parse", Header, "is available"));
    Asked().headerAnswer = 0;
    End();
    EXPECT_THAT(Calls(), ElementsAre(Header, "is available"));
}

} // namespace

} // namespace openhost::testing
