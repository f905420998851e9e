// What the addin asks of single services of the host.

#include "tests/steps/Services.h"

#include "panel/ZALVelmartMeridiaAccessAddin.h"

#include <gmock/gmock.h>

namespace openhost::testing {

namespace {

using ::testing::ElementsAre;

class AddinSteps : public StepsFixture {
protected:
    ~AddinSteps() override { addin_.reset(); }

    ZALVelmartMeridiaAccessAddin& Addin() { return *addin_; }
    void End()
    {
        Asked().hasHeader = false;
        Calls();
        addin_.reset();
    }
    HRESULT Send(const char* event)
    {
        Calls();
        return addin_->OnJSMessage((std::string(R"({"event":")") + event + R"(","content":{}})").c_str());
    }

private:
    Owned<ZALVelmartMeridiaAccessAddin> addin_{new ZALVelmartMeridiaAccessAddin};
};

constexpr const char* HeaderAsked = "header ZALVelmartFindSimilarCmdHeader 0";

// ---------------------------------------------------------------------------------------------
// The header of Find Similar

TEST_F(AddinSteps, AskForTheHeaderAndLeaveItWhenItAnswersSo)
{
    Asked().headerAnswer = 1;
    Send("velmart_ready");
    EXPECT_THAT(Calls(), ElementsAre("consistent numbers", "parse", HeaderAsked, "is available"));
    Asked().headerAnswer = 0;
    Send("velmart_over");
    EXPECT_THAT(Calls(), ElementsAre("consistent numbers", "parse", HeaderAsked, "is available"));
}

TEST_F(AddinSteps, SetAHeaderThatAnswersNeitherYesNorNo)
{
    for (const int answer : {2, -1, 16}) {
        Asked().headerAnswer = answer;
        Send("velmart_ready");
        EXPECT_THAT(Calls(), ElementsAre("consistent numbers", "parse", HeaderAsked, "is available", "set 1 to 1",
                                         "set 8 to 1", "set 16 to 1"));
        Send("velmart_over");
        EXPECT_THAT(Calls(), ElementsAre("consistent numbers", "parse", HeaderAsked, "is available", "set 1 to 0",
                                         "set 8 to 0", "set 16 to 0"));
    }
}

// ---------------------------------------------------------------------------------------------
// Values of the host

TEST_F(AddinSteps, LookAtTheKindOfTheEventUnderTheMask)
{
    Asked().bitsOfTheHost = 0x8000;
    EXPECT_EQ(Send("velmart_ready"), S_OK);
    EXPECT_EQ(Addin().GetOpApiStatus(), OpApiReady);
    EXPECT_EQ(Addin().OnJSMessage(R"({"event":4,"content":{}})"), E_FAIL);
}

// ---------------------------------------------------------------------------------------------
// The end

TEST_F(AddinSteps, RemoveTheSubscriptionToTheLayoutBehindTheHeader)
{
    Addin().SetAccessDialog(nullptr);
    End();
    EXPECT_THAT(Calls(), ElementsAre(HeaderAsked, "remove from the layout"));
}

TEST_F(AddinSteps, RemoveNothingWithoutASubscription)
{
    End();
    EXPECT_THAT(Calls(), ElementsAre(HeaderAsked));
}

TEST_F(AddinSteps, RemoveNothingWithoutALayout)
{
    Addin().SetAccessDialog(nullptr);
    ConfigureFrame({.layout = false});
    End();
    EXPECT_THAT(Calls(), ElementsAre(HeaderAsked));
}

} // namespace

} // namespace openhost::testing
