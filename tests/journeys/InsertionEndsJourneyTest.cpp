// Inserting and replacing when things do not go straight: downloads that end at once, commands and windows that the
// host or the user ends meanwhile, several commands, another workbench.

#include "openhost/cad/CadWorkspace.h"
#include "openhost/commands/DialogEngine.h"
#include "openhost/dialogs/DialogNode.h"
#include "openhost/frame/Frame.h"
#include "openhost/journal/Journal.h"
#include "openhost/loop/EventLoop.h"
#include "tests/journeys/JourneyFixture.h"

#include <gmock/gmock.h>

#include <memory>

using namespace openhost;
using namespace openhost::testing;
using Notification = ZALVelmartFileDownloadCompleteNotification;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

constexpr const char* Insert = "velmart_insert";
constexpr const char* Replace = "velmart_replace";
constexpr const char* ErrorDialog = "FileOpenInsertReplaceErrorNotify";

} // namespace

/// The user's product "frame", active in the session: two instances of a plate and one of a post.
class InsertionEnds : public JourneyFixture {
protected:
    InsertionEnds()
    {
        auto session = std::make_unique<CadWorkspace>();
        session_ = session.get();
        CadServices::Install(std::move(session));
        for (const char* name : {"plate", "post"}) {
            CadDocument part;
            part.partNumber = name;
            WriteDocument(part, Parts() / (std::string(name) + ".ZALPart"));
        }
        CadDocument frame;
        frame.kind = DocumentKind::Product;
        frame.partNumber = "frame";
        frame.links = {"plate.ZALPart", "post.ZALPart"};
        frame.children = {
            {"plate.1", 0, IdentityPlacement}, {"plate.2", 0, IdentityPlacement}, {"post.1", 1, IdentityPlacement}};
        WriteDocument(frame, Parts() / "frame.ZALProduct");
        frame_ = &session_->Open(Parts() / "frame.ZALProduct");
    }
    ~InsertionEnds() override
    {
        DialogEngine::Current().EndAll();
        RunUntilIdle();
        journal::Redirect({});
        CadServices::Install(nullptr);
    }

    /// Sends `event` for `content` and picks `element` for the command.
    void Begin(const std::string& event, const nlohmann::json& content, const std::string& element)
    {
        Start(event, content);
        EXPECT_TRUE(Select(element).accepted) << element;
    }
    /// Sends `event` and runs until its command waits for the user.
    void Start(const std::string& event, const nlohmann::json& content)
    {
        const std::size_t before = Commands();
        ASSERT_EQ(Send(event, content), S_OK);
        RunUntil([&] { return Commands() > before && !DialogEngine::Current().Commands().back().state.empty(); });
    }
    Pick Select(const std::string& element)
    {
        ZALPathElement* path = session_->FindPath(element);
        if (!path)
            throw std::runtime_error(element + ": no such element");
        const Pick pick = DialogEngine::Current().Offer(path, element);
        path->Release();
        return pick;
    }
    static std::size_t Commands() { return DialogEngine::Current().Commands().size(); }

    /// The item's archive, whose transfer takes until the test has seen it run.
    nlohmann::json Slow() const { return RequestFor(Base() + "/files/bolted-joint-m8.zip?piece=4096&pause=20"); }
    bool TransferRuns() const { return std::filesystem::exists(Temp() / "VelmartDownloadedQ7Files.zip"); }
    /// An item that is a file of this machine already.
    nlohmann::json InSource() const
    {
        return {{"attributes",
                 {{"catalog", {{"configOpeningBehaviour", "openInSource"}}},
                  {"sourceUrl", "file://" + (Parts() / "post.ZALPart").string()}}}};
    }

    std::vector<std::string> Children() const
    {
        std::vector<std::string> children;
        for (const auto& child : frame_->Children())
            children.push_back(child->Name());
        return children;
    }
    std::vector<std::string> Dialogs()
    {
        std::vector<std::string> names;
        for (const ScriptedSurface::Question& question : Surface().Questions())
            names.push_back(question.name);
        return names;
    }
    CadWorkspace& Session() { return *session_; }
    LoadedDocument& Frame() { return *frame_; }

private:
    CadWorkspace* session_;
    LoadedDocument* frame_;
};

// ---------------------------------------------------------------------------------------------
// Downloads that end inside their start

class EitherEvent : public InsertionEnds, public ::testing::WithParamInterface<const char*> {
protected:
    /// An insert needs a product.
    void SetUp() override
    {
        if (GetParam() == std::string(Insert))
            Session().ReplaceComponent(*Frame().Root(), *Frame().Children()[1], Sub());
        else
            Session().AddComponents(*Frame().Root(), {Sub()});
        Session().Save(Frame());
        before_ = Children();
    }
    std::filesystem::path Sub() const
    {
        CadDocument sub;
        sub.kind = DocumentKind::Product;
        sub.partNumber = "sub";
        WriteDocument(sub, Parts() / "sub.ZALProduct");
        return Parts() / "sub.ZALProduct";
    }
    std::string Target() const { return GetParam() == std::string(Insert) ? "frame/sub.1" : "frame/plate.2"; }
    void ExpectGivenUp()
    {
        RunUntilIdle();
        EXPECT_EQ(Commands(), 0U);
        EXPECT_EQ(Children(), before_);
        EXPECT_FALSE(Frame().IsDirty());
        EXPECT_EQ(Session().LoadedDocuments(), 4U);
        Begin(Insert, InSource(), "frame");
        RunUntilIdle();
        EXPECT_EQ(Children().back(), "post.2");
    }

private:
    std::vector<std::string> before_;
};

INSTANTIATE_TEST_SUITE_P(, EitherEvent, ::testing::Values(Insert, Replace),
                         [](const auto& instance) { return std::string(instance.param).substr(8); });

TEST_P(EitherEvent, IsGivenUpWhenItsDownloadIsRefusedAtOnce)
{
    for (const nlohmann::json& content : {nlohmann::json::object(), RequestFor("ftp://127.0.0.1/a.zip"),
                                          RequestFor("http://example.org/a.zip"), RequestFor("no address")}) {
        const std::size_t before = Dialogs().size();
        Begin(GetParam(), content, Target());
        RunUntilIdle();
        EXPECT_EQ(Commands(), 0U) << content;
        ASSERT_EQ(Dialogs().size(), before + 1) << content;
        EXPECT_EQ(Dialogs().back(), ErrorDialog);
    }
    ExpectGivenUp();
}

TEST_P(EitherEvent, IsDoneInsideThePickWhenTheFileIsThere)
{
    StopCatalogue();
    Begin(GetParam(), InSource(), Target());
    EXPECT_TRUE(GetParam() == std::string(Insert) ? Frame().Children()[1]->Reference()->IsDirty() : Frame().IsDirty());
    RunUntilIdle();
    EXPECT_EQ(Commands(), 0U);
    EXPECT_EQ(Listener().Completions().size(), 1U);
    const LoadedDocument* post = Session().Find(Parts() / "post.ZALPart");
    if (GetParam() == std::string(Insert)) {
        EXPECT_EQ(Frame().Children()[1]->Reference()->Children().at(0)->Reference(), post);
    } else {
        // Nobody has answered the question, which means all instances.
        EXPECT_THAT(Dialogs(), ElementsAre("ReplaceAllPopUp"));
        EXPECT_EQ(Frame().Children()[0]->Reference(), post);
        EXPECT_EQ(Frame().Children()[1]->Reference(), post);
    }
}

// ---------------------------------------------------------------------------------------------
// What is ended meanwhile

TEST_P(EitherEvent, ChangesNothingWhenTheHostEndsItWhileItsTransferRuns)
{
    Begin(GetParam(), Slow(), Target());
    RunUntil([this] { return TransferRuns(); });
    DialogEngine::Current().EndAll();
    EXPECT_EQ(Commands(), 0U);
    RunUntilIdle();
    ASSERT_EQ(Listener().Completions().size(), 1U);
    EXPECT_EQ(Listener().Completions()[0].status, Notification::DownloadSucceeded);
    EXPECT_THAT(Dialogs(), IsEmpty());
    ExpectGivenUp();
}

TEST_P(EitherEvent, ChangesNothingWhenTheProgressWindowIsClosed)
{
    Begin(GetParam(), RequestFor(Base() + "/files/bolted-joint-m8.zip?slow=2000"), Target());
    RunUntil([this] { return TransferRuns(); });
    EXPECT_EQ(Surface().Push("ZALVelmartDownloadProgressDlg", "CLOSE"), PushResult::Done);
    RunUntilIdle();
    ASSERT_EQ(Listener().Completions().size(), 1U);
    EXPECT_EQ(Listener().Completions()[0].status, Notification::DownloadCanceled);
    EXPECT_THAT(Dialogs(), ElementsAre(ErrorDialog));
    EXPECT_EQ(Surface().Find("ZALVelmartDownloadProgressDlg"), nullptr);
    ExpectGivenUp();
}

TEST_F(InsertionEnds, ADocumentThatIsClosedWhileItsTransferRunsChangesNoMore)
{
    Begin(Insert, Slow(), "frame");
    RunUntil([this] { return TransferRuns(); });
    Session().Close(Frame());
    RunUntilIdle();
    EXPECT_EQ(Commands(), 0U);
    EXPECT_EQ(Session().LoadedDocuments(), 0U);
    EXPECT_EQ(ReadDocument(Parts() / "frame.ZALProduct").children.size(), 3U);
}

// ---------------------------------------------------------------------------------------------
// Several commands

TEST_F(InsertionEnds, ASecondCommandMeanwhileIsGivenUpAndTheFirstGoesOn)
{
    Begin(Insert, Slow(), "frame");
    RunUntil([this] { return TransferRuns(); });
    Begin(Replace, RequestOf("hexagon-bolt-m8x40"), "frame/plate.1");
    EXPECT_THAT(Dialogs(), ElementsAre(ErrorDialog));
    RunUntilIdle();
    EXPECT_EQ(Commands(), 0U);
    EXPECT_EQ(Children().size(), 4U);
    EXPECT_EQ(Children()[0], "plate.1");
    EXPECT_EQ(Listener().Completions().size(), 1U);
}

TEST_F(InsertionEnds, TheNewerOfTwoWaitingCommandsTakesThePickAndTheOlderTheNext)
{
    Start(Insert, RequestOf("hexagon-bolt-m8x40"));
    Start(Replace, InSource());
    EXPECT_EQ(Commands(), 2U);
    EXPECT_TRUE(Select("frame/plate.1").accepted);
    RunUntilIdle();
    EXPECT_EQ(Commands(), 1U);
    EXPECT_THAT(Children(), ElementsAre("post.2", "post.3", "post.1"));
    EXPECT_TRUE(Select("frame").accepted);
    RunUntilIdle();
    EXPECT_EQ(Commands(), 0U);
    EXPECT_EQ(Children().size(), 4U);
}

TEST_F(InsertionEnds, WhatHasBeenInsertedCanBeReplacedAtOnce)
{
    Begin(Insert, RequestOf("bolted-joint-m8"), "frame");
    RunUntilIdle();
    ASSERT_EQ(Children().size(), 4U);
    const std::string inserted = Children().back();
    const std::size_t loaded = Session().LoadedDocuments();
    EXPECT_GT(loaded, 4U);
    Begin(Replace, InSource(), "frame/" + inserted);
    RunUntilIdle();
    EXPECT_EQ(Children().back(), "post.2");
    EXPECT_EQ(Session().LoadedDocuments(), 3U) << "what nothing refers to any more is let go of";
}

TEST_F(InsertionEnds, TheSameItemIsInsertedTwiceAsTwoComponentsOfOneDocument)
{
    Surface().Answer("OverwriteNotify", 3);
    for (int time = 1; time <= 2; ++time) {
        Begin(Insert, RequestOf("bolted-joint-m8"), "frame");
        RunUntilIdle();
    }
    EXPECT_THAT(Dialogs(), ElementsAre("OverwriteNotify"));
    ASSERT_EQ(Children().size(), 5U);
    const WorkspaceProduct& first = *Frame().Children()[3];
    const WorkspaceProduct& second = *Frame().Children()[4];
    EXPECT_EQ(first.Reference(), second.Reference());
    EXPECT_EQ(first.Name(), first.Reference()->PartNumber() + ".1");
    EXPECT_EQ(second.Name(), first.Reference()->PartNumber() + ".2");
    Session().Save(Frame());
    EXPECT_EQ(ReadDocument(Parts() / "frame.ZALProduct").links.size(), 3U);
}

// ---------------------------------------------------------------------------------------------
// Another workbench

TEST_F(InsertionEnds, AnotherWorkbenchWhileAQuestionIsUpLeavesTheReplaceWhole)
{
    int answerAtTheChange = 0;
    journal::Redirect([&](const nlohmann::ordered_json& event) {
        if (event["event"] == "extracted")
            EventLoop::Current().Post([&] {
                if (!Surface().Questions().empty() && answerAtTheChange == 0)
                    answerAtTheChange = Surface().Questions().back().answer;
                ChangeWorkshop("PartWorkshop");
            });
    });
    Surface().Answer("ReplaceAllPopUp", 4);
    Begin(Replace, RequestOf("bolted-joint-m8"), "frame/plate.1");
    RunUntilIdle();
    EXPECT_EQ(answerAtTheChange, -1) << "the question was up";
    EXPECT_THAT(Dialogs(), ElementsAre("ReplaceAllPopUp"));
    EXPECT_EQ(Commands(), 0U);
    EXPECT_NE(Children()[0], "plate.1");
    EXPECT_EQ(Children()[1], "plate.2");

    EXPECT_EQ(Send(Insert, RequestOf("hexagon-bolt-m8x40")), E_FAIL)
        << "a product is changed in its own workbench only";
    RunUntilIdle();
    EXPECT_EQ(Commands(), 0U);
    ChangeWorkshop("PRDWorkshop");
    Begin(Insert, InSource(), "frame");
    RunUntilIdle();
    EXPECT_EQ(Children().back(), "post.2");
}

TEST_F(InsertionEnds, ANotYetPickedTargetCanStillBePickedInAnotherWorkbench)
{
    Start(Insert, InSource());
    ChangeWorkshop("PartWorkshop");
    RunUntilIdle();
    ASSERT_EQ(Commands(), 1U);
    EXPECT_TRUE(Select("frame").accepted);
    RunUntilIdle();
    EXPECT_EQ(Children().back(), "post.2");
}
