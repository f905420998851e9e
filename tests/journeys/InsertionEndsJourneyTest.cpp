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

/// The user's product "frame", active in the workspace: two instances of a plate and one of a post.
class InsertionEnds : public JourneyFixture {
protected:
    InsertionEnds()
    {
        auto workspace = std::make_unique<CadWorkspace>();
        workspace_ = workspace.get();
        CadServices::Install(std::move(workspace));
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
        frame_ = &workspace_->Open(Parts() / "frame.ZALProduct");
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
        ASSERT_EQ(S_OK, Send(event, content));
        RunUntil([&] { return Commands() > before && !DialogEngine::Current().Commands().back().state.empty(); });
    }
    Pick Select(const std::string& element)
    {
        ZALPathElement* path = workspace_->FindPath(element);
        if (!path)
            throw std::runtime_error(element + ": no such element");
        const Pick pick = DialogEngine::Current().Offer(path, element);
        path->Release();
        return pick;
    }
    /// Sends `event` for `content`, picks `element`, and runs to the end.
    void Do(const std::string& event, const nlohmann::json& content, const std::string& element)
    {
        Begin(event, content, element);
        RunUntilIdle();
    }
    /// The same up to the transfer.
    void BeginTransfer(const std::string& event, const nlohmann::json& content, const std::string& element)
    {
        Begin(event, content, element);
        RunUntil([this] { return std::filesystem::exists(Temp() / "VelmartDownloadedQ7Files.zip"); });
    }
    static std::size_t Commands() { return DialogEngine::Current().Commands().size(); }

    /// The item's archive, whose transfer takes until the test has seen it run.
    nlohmann::json Slow() const { return RequestFor(Base() + "/files/bolted-joint-m8.zip?piece=4096&pause=20"); }
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
    CadWorkspace& Workspace() { return *workspace_; }
    LoadedDocument& Frame() { return *frame_; }

private:
    CadWorkspace* workspace_;
    LoadedDocument* frame_;
};

// ---------------------------------------------------------------------------------------------
// Downloads that end inside their start

class EitherEvent : public InsertionEnds, public ::testing::WithParamInterface<const char*> {
protected:
    static bool IsInsert() { return GetParam() == std::string(Insert); }
    /// An insert needs a product.
    void SetUp() override
    {
        if (IsInsert())
            Workspace().ReplaceComponent(*Frame().Root(), *Frame().Children()[1], Sub());
        else
            Workspace().AddComponents(*Frame().Root(), {Sub()});
        Workspace().Save(Frame());
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
    std::string Target() const { return IsInsert() ? "frame/sub.1" : "frame/plate.2"; }
    void ExpectGivenUp()
    {
        RunUntilIdle();
        EXPECT_EQ(0U, Commands());
        EXPECT_EQ(before_, Children());
        EXPECT_FALSE(Frame().IsDirty());
        EXPECT_EQ(4U, Workspace().LoadedDocuments());
        Do(Insert, InSource(), "frame");
        EXPECT_EQ("post.2", Children().back());
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
        Do(GetParam(), content, Target());
        EXPECT_EQ(0U, Commands()) << content;
        ASSERT_EQ(before + 1, Dialogs().size()) << content;
        EXPECT_EQ(ErrorDialog, Dialogs().back());
    }
    ExpectGivenUp();
}

TEST_P(EitherEvent, IsDoneInsideThePickWhenTheFileIsThere)
{
    StopCatalogue();
    Begin(GetParam(), InSource(), Target());
    EXPECT_TRUE(IsInsert() ? Frame().Children()[1]->Reference()->IsDirty() : Frame().IsDirty());
    RunUntilIdle();
    EXPECT_EQ(0U, Commands());
    EXPECT_EQ(1U, Listener().Completions().size());
    const LoadedDocument* post = Workspace().Find(Parts() / "post.ZALPart");
    if (IsInsert()) {
        EXPECT_EQ(post, Frame().Children()[1]->Reference()->Children().at(0)->Reference());
    } else {
        // Nobody has answered the question, which means all instances.
        EXPECT_THAT(Dialogs(), ElementsAre("ReplaceAllPopUp"));
        EXPECT_EQ(post, Frame().Children()[0]->Reference());
        EXPECT_EQ(post, Frame().Children()[1]->Reference());
    }
}

// ---------------------------------------------------------------------------------------------
// What is ended meanwhile

TEST_P(EitherEvent, ChangesNothingWhenTheHostEndsItWhileItsTransferRuns)
{
    BeginTransfer(GetParam(), Slow(), Target());
    DialogEngine::Current().EndAll();
    EXPECT_EQ(0U, Commands());
    RunUntilIdle();
    ExpectEnded(Notification::DownloadSucceeded);
    EXPECT_THAT(Dialogs(), IsEmpty());
    ExpectGivenUp();
}

TEST_P(EitherEvent, ChangesNothingWhenTheProgressWindowIsClosed)
{
    BeginTransfer(GetParam(), RequestFor(Base() + "/files/bolted-joint-m8.zip?slow=2000"), Target());
    EXPECT_EQ(PushResult::Done, Surface().Push("ZALVelmartDownloadProgressDlg", "CLOSE"));
    RunUntilIdle();
    ExpectEnded(Notification::DownloadCanceled);
    EXPECT_THAT(Dialogs(), ElementsAre(ErrorDialog));
    EXPECT_EQ(nullptr, Surface().Find("ZALVelmartDownloadProgressDlg"));
    ExpectGivenUp();
}

TEST_F(InsertionEnds, ADocumentThatIsClosedWhileItsTransferRunsChangesNoMore)
{
    BeginTransfer(Insert, Slow(), "frame");
    Workspace().Close(Frame());
    RunUntilIdle();
    EXPECT_EQ(0U, Commands());
    EXPECT_EQ(0U, Workspace().LoadedDocuments());
    EXPECT_EQ(3U, ReadDocument(Parts() / "frame.ZALProduct").children.size());
}

// ---------------------------------------------------------------------------------------------
// Several commands

TEST_F(InsertionEnds, ASecondCommandMeanwhileIsGivenUpAndTheFirstGoesOn)
{
    BeginTransfer(Insert, Slow(), "frame");
    Begin(Replace, RequestOf("hexagon-bolt-m8x40"), "frame/plate.1");
    EXPECT_THAT(Dialogs(), ElementsAre(ErrorDialog));
    RunUntilIdle();
    EXPECT_EQ(0U, Commands());
    EXPECT_EQ(4U, Children().size());
    EXPECT_EQ("plate.1", Children()[0]);
    EXPECT_EQ(1U, Listener().Completions().size());
}

TEST_F(InsertionEnds, TheNewerOfTwoWaitingCommandsTakesThePickAndTheOlderTheNext)
{
    Start(Insert, RequestOf("hexagon-bolt-m8x40"));
    Start(Replace, InSource());
    EXPECT_EQ(2U, Commands());
    EXPECT_TRUE(Select("frame/plate.1").accepted);
    RunUntilIdle();
    EXPECT_EQ(1U, Commands());
    EXPECT_THAT(Children(), ElementsAre("post.2", "post.3", "post.1"));
    EXPECT_TRUE(Select("frame").accepted);
    RunUntilIdle();
    EXPECT_EQ(0U, Commands());
    EXPECT_EQ(4U, Children().size());
}

TEST_F(InsertionEnds, WhatHasBeenInsertedCanBeReplacedAtOnce)
{
    Do(Insert, RequestOf("bolted-joint-m8"), "frame");
    ASSERT_EQ(4U, Children().size());
    const std::string inserted = Children().back();
    const std::size_t loaded = Workspace().LoadedDocuments();
    EXPECT_GT(loaded, 4U);
    Do(Replace, InSource(), "frame/" + inserted);
    EXPECT_EQ("post.2", Children().back());
    EXPECT_EQ(3U, Workspace().LoadedDocuments()) << "what nothing refers to any more is let go of";
}

TEST_F(InsertionEnds, TheSameItemIsInsertedTwiceAsTwoComponentsOfOneDocument)
{
    Surface().Answer("OverwriteNotify", 3);
    for (int time = 1; time <= 2; ++time) {
        Do(Insert, RequestOf("bolted-joint-m8"), "frame");
    }
    EXPECT_THAT(Dialogs(), ElementsAre("OverwriteNotify"));
    ASSERT_EQ(5U, Children().size());
    const WorkspaceProduct& first = *Frame().Children()[3];
    const WorkspaceProduct& second = *Frame().Children()[4];
    EXPECT_EQ(first.Reference(), second.Reference());
    EXPECT_EQ(first.Reference()->PartNumber() + ".1", first.Name());
    EXPECT_EQ(first.Reference()->PartNumber() + ".2", second.Name());
    Workspace().Save(Frame());
    EXPECT_EQ(3U, ReadDocument(Parts() / "frame.ZALProduct").links.size());
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
    Do(Replace, RequestOf("bolted-joint-m8"), "frame/plate.1");
    EXPECT_EQ(-1, answerAtTheChange) << "the question was up";
    EXPECT_THAT(Dialogs(), ElementsAre("ReplaceAllPopUp"));
    EXPECT_EQ(0U, Commands());
    EXPECT_NE("plate.1", Children()[0]);
    EXPECT_EQ("plate.2", Children()[1]);

    EXPECT_EQ(E_FAIL, Send(Insert, RequestOf("hexagon-bolt-m8x40")))
        << "a product is changed in its own workbench only";
    RunUntilIdle();
    EXPECT_EQ(0U, Commands());
    ChangeWorkshop("PRDWorkshop");
    Do(Insert, InSource(), "frame");
    EXPECT_EQ("post.2", Children().back());
}

TEST_F(InsertionEnds, ANotYetPickedTargetCanStillBePickedInAnotherWorkbench)
{
    Start(Insert, InSource());
    ChangeWorkshop("PartWorkshop");
    RunUntilIdle();
    ASSERT_EQ(1U, Commands());
    EXPECT_TRUE(Select("frame").accepted);
    RunUntilIdle();
    EXPECT_EQ("post.2", Children().back());
}
