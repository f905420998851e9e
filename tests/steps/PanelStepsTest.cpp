// What the panel's addin asks of the host, call by call: scripts of the installation, addresses, messages, the header.

#include "tests/steps/Services.h"

#include "openhost/text/Utf.h"
#include "panel/ZALVelmartMeridiaAccessAddin.h"
#include "utilities/ZALVelmartIntegrationUtilities.h"

#include <gmock/gmock.h>

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

// ---------------------------------------------------------------------------------------------
// Addresses, messages, the header

class PanelSteps : public StepsFixture {
protected:
    ~PanelSteps() override { addin_.reset(); }

    ZALVelmartMeridiaAccessAddin& Addin() { return *addin_; }
    void End() { addin_.reset(); }

private:
    Owned<ZALVelmartMeridiaAccessAddin> addin_{new ZALVelmartMeridiaAccessAddin};
};

const std::string Header = "header ZALVelmartFindSimilarCmdHeader 0";

TEST_F(PanelSteps, SearchAnAddressForTheOtherHostsAndThenForTheProductionHost)
{
    EXPECT_EQ(Addin().OnPageUrl("https://elsewhere.example/"), S_OK);
    EXPECT_THAT(Calls(),
                ElementsAre("search '-parts.' from 0 in mode 1", "search 'velmart.example' from 0 in mode 1", Header,
                            "is available")); // and for nothing third, since the environment names none
}

TEST_F(PanelSteps, SearchNoFurtherThanTheFirstHit)
{
    Addin().OnPageUrl("https://eu1-parts.velmart.example/");
    EXPECT_THAT(Calls(), ElementsAre("search '-parts.' from 0 in mode 1"));
    Addin().OnPageUrl("https://velmart.example/");
    EXPECT_THAT(Calls(), ElementsAre("search '-parts.' from 0 in mode 1", "search 'velmart.example' from 0 in mode 1"));
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
