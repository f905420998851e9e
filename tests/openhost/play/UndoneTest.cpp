// What a session leaves undone, and what ends it from outside.

#include "openhost/documents/CadDocument.h"
#include "openhost/loop/Interruption.h"

#include "tests/openhost/play/SessionFixture.h"

#include <gmock/gmock.h>

#include <csignal>
#include <cstring>
#include <fstream>

namespace openhost {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

class UndoneTest : public SessionFixture {
protected:
    UndoneTest() { std::ofstream(Downloads() / "part-000001.ZALPart") << "old"; }

    /// A download over a file that is there.
    static std::string Download()
    {
        return R"({"message": {"event": "velmart_ready", "content": {}}},
            {"message": {"event": "velmart_download", "content": {"downloadUrl": "${BASE}/archive?entries=1"}}},
            {"wait": "idle"})";
    }

    /// A product that holds a part, which the session moves without saving it.
    std::string MoveWithoutSaving()
    {
        CadDocument product;
        product.kind = DocumentKind::Product;
        product.partNumber = "P";
        product.links = {"missing.ZALPart"};
        product.children = {{"A.1", 0, IdentityPlacement}};
        WriteDocument(product, folder_.Path() / "p.ZALProduct");
        return R"("documents": ["p.ZALProduct"], "steps": [{"move": "P/A.1", "at": [1, 2, 3]}]})";
    }

    const Json& End() const { return events_.back(); }
};

TEST_F(UndoneTest, ADocumentThatIsNotSavedIsNamed)
{
    Play("{" + MoveWithoutSaving());
    EXPECT_THAT(End()["unsavedDocuments"], ElementsAre((folder_.Path() / "p.ZALProduct").string()));
}

TEST_F(UndoneTest, AQuestionThatNobodyAnsweredIsNamed)
{
    PlaySteps(Download());
    EXPECT_THAT(End()["closedQuestions"], ElementsAre("OverwriteNotify"));
}

TEST_F(UndoneTest, AMessageWithOneButtonNeedsNoAnswer)
{
    PlaySteps(R"({"message": {"event": "velmart_ready", "content": {}}},
        {"message": {"event": "velmart_download", "content": {"downloadUrl": "${BASE}/archive?entries=1&cut=10"}}},
        {"wait": "dialog"})");
    EXPECT_FALSE(End().contains("closedQuestions"));
}

TEST_F(UndoneTest, AWindowThatStayedOpenIsNamed)
{
    Play(R"({"steps": [)" + Download() + "]}");
    EXPECT_THAT(End()["openWindows"], ElementsAre("ZALVelmartDownloadLocationDlg"));
}

TEST_F(UndoneTest, ASessionThatLeavesNothingTellsNothing)
{
    PlaySteps(R"({"answer": {"dialog": "OverwriteNotify", "button": 3}}, )" + Download());
    EXPECT_EQ(2U, End().size()) << End();
}

TEST_F(UndoneTest, AStrictSessionFailsForWhatItLeaves)
{
    EXPECT_EQ("left undone: documents that are not saved: " + (folder_.Path() / "p.ZALProduct").string(),
              FailureOf(R"({"strict": true, )" + MoveWithoutSaving()));
    EXPECT_EQ("left undone: answers that no question used: 1",
              FailureOf(R"({"strict": true, "steps": [{"answer": {"dialog": "OverwriteNotify", "button": 3}}]})"));
}

TEST_F(UndoneTest, AStrictSessionWithNothingLeftIsDone)
{
    Play(R"({"strict": true, "steps": [{"wait": "idle"}]})");
}

TEST_F(UndoneTest, AnAnswerThatFailsIsGivenAndEndsTheSession)
{
    const std::string reason =
        FailureOfSteps(R"({"answer": {"dialog": "OverwriteNotify", "button": 4, "fails": true}}, )" + Download());
    EXPECT_THAT(reason, HasSubstr("the question OverwriteNotify was asked: "));
    EXPECT_THAT(reason, HasSubstr((Downloads() / "part-000001.ZALPart").string()));
    EXPECT_THAT(Values("dialog", "answer"), ElementsAre(4));
    std::ifstream file(Downloads() / "part-000001.ZALPart");
    EXPECT_EQ("old", std::string(std::istreambuf_iterator<char>(file), {}));
}

TEST_F(UndoneTest, AnAnswerThatFailsHarmsNobodyWhenItIsNotAsked)
{
    std::filesystem::remove(Downloads() / "part-000001.ZALPart");
    PlaySteps(R"({"answer": {"dialog": "OverwriteNotify", "button": 4, "fails": true}}, )" + Download());
    EXPECT_FALSE(End().contains("unusedAnswers"));
}

TEST_F(UndoneTest, ASignalEndsTheSessionInOrder)
{
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        Interruption::Catch();
        observe_ = [this, signal] {
            if (events_.back()["event"] == "request")
                raise(signal);
        };
        EXPECT_EQ(128 + signal, StatusOf(WithSteps(R"({"message": {"event": "velmart_ready", "content": {}}},
            {"message": {"event": "velmart_download", "content": {"downloadUrl": "${BASE}/archive?entries=1&slow=1"}}},
            {"wait": "idle"})")));
        EXPECT_EQ(128 + signal, End()["status"]);
        EXPECT_EQ(std::string("ended by SIG") + sigabbrev_np(signal), Reason());
        EXPECT_EQ(0, Interruption::Signal());
    }
}

TEST_F(UndoneTest, AHangUpThatIsIgnoredAndAReaderThatIsGoneEndNothing)
{
    std::signal(SIGHUP, SIG_IGN);
    Interruption::Catch();
    for (const int signal : {SIGHUP, SIGPIPE})
        EXPECT_EQ(0, raise(signal));
    EXPECT_EQ(0, Interruption::Signal());
    std::signal(SIGHUP, SIG_DFL);
}

} // namespace openhost
