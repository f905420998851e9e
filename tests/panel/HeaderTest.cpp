// The header of Find Similar, addresses and messages on a header of the test's own, and the end of the addin.

#include "tests/panel/PanelFixture.h"
#include "tests/support/CallLog.h"

#include "host/dialog_engine.h"
#include "host/frame.h"
#include "openhost/text/JsonOptions.h"

#include <gmock/gmock.h>

namespace openhost::testing {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// Answers what a test says.
class ScriptedHeader : public ZALCommandHeader {
public:
    explicit ScriptedHeader(CallLog& log) : log_(log) {}
    int IsAvailable() const override
    {
        log_.Note("is available");
        return answer;
    }
    void SetAvailability(int mask, int state) override
    {
        log_.Note("set " + std::to_string(mask) + " to " + std::to_string(state));
    }

    int answer = 0;

private:
    CallLog& log_;
};

class PanelHeader : public PanelFixture {
protected:
    PanelHeader() { ReplaceCommandHeader(FindSimilarHeader, &header_); }
    ~PanelHeader() override
    {
        ReleaseAddin();
        SetKindBits(0);
        ReplaceCommandHeader(FindSimilarHeader, nullptr);
    }

    static Texts SettingTo(int state)
    {
        const std::string end = " to " + std::to_string(state);
        return {"is available", "set 1" + end, "set 8" + end, "set 16" + end};
    }

    CallLog log_;
    ScriptedHeader header_{log_};
};

TEST_F(PanelHeader, IsSetForEveryAnswerThatIsNotTheOneWanted)
{
    const struct {
        const char* event;
        int wanted;
    } rows[] = {{"velmart_ready", 1}, {"velmart_over", 0}};
    for (const auto& [event, wanted] : rows)
        for (const int answer : {0, 1, 2, -1, 16}) {
            header_.answer = answer;
            Send(Message(event));
            EXPECT_EQ(answer == wanted ? Texts{"is available"} : SettingTo(wanted), log_.Take())
                << event << ", answer " << answer;
        }
}

TEST_F(PanelHeader, IsAskedAndLeftForAPageElsewhere)
{
    EXPECT_EQ(S_OK, Addin().OnPageUrl(PageElsewhere));
    EXPECT_THAT(log_.Take(), ElementsAre("is available"));
}

TEST_F(PanelHeader, IsNotAskedForAPageOfTheCatalogue)
{
    for (const char* url : {VelmartOtherHostsFragment, VelmartProductionHost}) {
        EXPECT_EQ(S_OK, Addin().OnPageUrl(url)); // from the first character on
        EXPECT_EQ(S_OK, Addin().OnPageUrl((std::string("https://eu1") + url + "/").c_str()));
        EXPECT_THAT(log_.Take(), IsEmpty()) << url;
    }
}

TEST_F(PanelHeader, FollowsMessagesWhoseNumbersAreReadConsistently)
{
    for (const char* message : {"{}", "no message", R"({"event":"velmart_over","content":{}})"}) {
        const int before = ConsistentParses();
        Send(message);
        EXPECT_EQ(before + 1, ConsistentParses()) << message;
    }
}

TEST_F(PanelHeader, FollowsAnEventWhoseKindIsReadUnderTheMask)
{
    SetKindBits(0x8000);
    EXPECT_EQ(S_OK, Send(Message("velmart_ready")));
    EXPECT_EQ(OpApiReady, Addin().GetOpApiStatus());
    EXPECT_EQ(E_FAIL, Send(R"({"event":4,"content":{}})"));
    SetKindBits(0x1);
    EXPECT_EQ(E_FAIL, Send(Message("velmart_over")));
}

TEST_F(PanelHeader, IsAskedBeforeTheEndOfTheSubscription)
{
    Addin().SetAccessDialog(nullptr);
    const auto subscribers = [] {
        return SubscribersOf(ZALFrmLayout::GetCurrentLayout(), ZALWorkbenchChanged::ClassName()).size();
    };
    log_.onCall = [&](const std::string&) { EXPECT_EQ(1U, subscribers()); };
    ReleaseAddin();
    EXPECT_THAT(log_.Take(), ElementsAre("is available"));
    EXPECT_EQ(0U, subscribers());
}

} // namespace

} // namespace openhost::testing
