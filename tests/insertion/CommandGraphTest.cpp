// The command of insert and replace: its selection, its download and its ends.

#include "tests/insertion/OperationFixture.h"
#include "tests/insertion/ZALVelmartMeridiaAccessAddinActionCmdProbe.h"

#include "download/ZALVelmartFileDownloadCompleteNotification.h"
#include "download/ZALVelmartFileDownloader.h"
#include "insertion/ZALVelmartMeridiaAccessAddinActionCmd.h"
#include "openhost/commands/DialogEngine.h"
#include "openhost/text/Utf.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace openhost::testing {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Complete = ZALVelmartFileDownloadCompleteNotification;
using Command = ZALVelmartMeridiaAccessAddinActionCmd;
using Probe = ZALVelmartMeridiaAccessAddinActionCmdProbe;

constexpr const char* CommandName = "ZALVelmartMeridiaAccessAddinActionCmd";
constexpr const char* DefaultText = "Transaction has failed";
/// Runs until the test ends it.
constexpr const char* RemoteFile = R"({"downloadUrl":"http://127.0.0.1/item.zip"})";
/// Is there at once.
constexpr const char* LocalFile =
    R"({"attributes":{"catalog":{"configOpeningBehaviour":"openInSource"},"sourceUrl":"file:///parts/bolt.ZALPart"}})";
/// Cannot be downloaded.
constexpr const char* NoFile = "{}";

// Without another component that takes downloads over.
class CommandGraph : public WorkspaceFixture {
protected:
    CommandGraph()
    {
        Root.reference = &Root;
        Child.father = &Root;
        Child.reference = &Document;
        ConfigureFrame({.applicationDocument = false, .editor = true});
        journal::Redirect([this](const nlohmann::ordered_json& event) {
            if (event["event"] == "prompt" || (event["event"] == "command" && event.contains("action")))
                journal_.push_back(event.value("action", "prompt") + " " + event.value("state", "") +
                                   event.value("text", ""));
        });
    }
    ~CommandGraph() override
    {
        Engine().EndAll();
        // The downloader lives longer than the test: no transfer may stay with it.
        for (std::size_t number = 0; number < Transport().Count(); ++number)
            Transport().At(number).End(TransferEnd::Failed);
        Loop().RunUntilIdle();
        EXPECT_EQ(0U, Waiting());
        journal::Redirect({});
    }

    static DialogEngine& Engine() { return DialogEngine::Current(); }
    static ZALVelmartFileDownloader& Downloader() { return *ZALVelmartFileDownloader::GetInstance(); }
    /// How many commands wait for the end of a download.
    static std::size_t Waiting() { return SubscribersOf(&Downloader(), Complete::ClassName()).size(); }
    static void EndDownload(Complete notification) { DispatchCallbacks(&Downloader(), &notification); }
    static Complete Files(const Texts& paths, Complete::Status status = Complete::DownloadSucceeded)
    {
        return Complete(List(paths), status);
    }

    Command* Start(PanelAction action, const char* request = RemoteFile)
    {
        ZALOmxAny content;
        EXPECT_EQ(S_OK, ZALOmxJson().parse(request, content));
        auto* command = new Command(action, content);
        Loop().RunUntilIdle();
        return command;
    }
    Pick Select(ScriptedObject& product)
    {
        const Owned<ZALPathElement> path(PathTo(product));
        return Engine().Offer(path.get());
    }
    /// A command whose download is under way, of `action` on the child.
    Command* Begin(PanelAction action)
    {
        Command* command = Start(action);
        EXPECT_TRUE(Select(Child).accepted);
        EXPECT_EQ("DownloadState", State());
        EXPECT_EQ(1U, Waiting());
        return command;
    }
    /// The state of the newest command, "(none)" when all have ended.
    static std::string State()
    {
        const std::vector<RunningCommand> commands = Engine().Commands();
        return commands.empty() ? "(none)" : commands.back().state;
    }
    /// All commands have ended, and nobody waits for a download any more.
    void ExpectEnd()
    {
        EXPECT_EQ("(none)", State());
        Loop().RunUntilIdle();
        EXPECT_EQ(0U, Waiting());
    }

    const Texts& Journal() const { return journal_; }

    ScriptedObject& Root = MakeProduct("Root");
    ScriptedObject& Child = MakeProduct("Child");
    ScriptedObject& Document = MakeProduct("Document");

private:
    Texts journal_;
};

class EitherCommand : public CommandGraph, public ::testing::WithParamInterface<PanelAction> {
protected:
    /// What the operation has done with the file of a good download.
    Texts Done() const
    {
        return {GetParam() == ActionInsert ? "Add to Child: /parts/bolt.ZALPart, method *"
                                           : "Replace Child in Root: /parts/bolt.ZALPart, all"};
    }
};

INSTANTIATE_TEST_SUITE_P(Actions, EitherCommand, ::testing::Values(ActionInsert, ActionReplace),
                         [](const auto& action) { return action.param == ActionInsert ? "Insert" : "Replace"; });

// ---------------------------------------------------------------------------------------------
// Begin

TEST_P(EitherCommand, HasItsNameAndItsMode)
{
    const Command* command = Start(GetParam());
    EXPECT_STREQ(CommandName, command->GetName().CastToCharPtr());
    EXPECT_EQ(0, command->GetMode());
}

TEST_P(EitherCommand, IsActivatedAndCancelledWithoutAnAdditionOfItsOwn)
{
    Command* command = Start(GetParam());
    EXPECT_EQ(S_OK, command->Activate(nullptr, nullptr));
    EXPECT_EQ(S_OK, command->Cancel(nullptr, nullptr));
    EXPECT_EQ("InitialState", State());
}

TEST_P(EitherCommand, AsksForATargetWithItsOwnPrompt)
{
    InstallCatalog("InitialStateInsert = \"Where to?\";\nInitialStateReplace = \"Which one?\";\n");
    Start(GetParam());
    EXPECT_THAT(Journal(), ElementsAre("begun ", "entered InitialState",
                                       GetParam() == ActionInsert ? "prompt InitialStateWhere to?"
                                                                  : "prompt InitialStateWhich one?"));
}

TEST_P(EitherCommand, RequestsNothingBeforeTheUserHasSelectedATarget)
{
    Start(GetParam());
    EXPECT_EQ("InitialState", State());
    EXPECT_TRUE(Transport().Requests().empty());
    EXPECT_EQ(0U, Waiting());

    EXPECT_TRUE(Select(Child).accepted);
    ASSERT_EQ(1U, Transport().Requests().size());
    EXPECT_EQ("http://127.0.0.1/item.zip", Transport().Requests()[0].url);
    EXPECT_EQ("DownloadState", State());
    EXPECT_EQ(1U, Waiting());
    EXPECT_TRUE(Cad().calls.empty());
}

TEST_P(EitherCommand, KeepsACopyOfTheRequest)
{
    {
        ZALOmxAny content;
        ASSERT_EQ(S_OK, ZALOmxJson().parse(RemoteFile, content));
        PanelAction action = GetParam();
        new Command(action, content);
        action = ActionOpen;
        content = ZALOmxAny();
    }
    Loop().RunUntilIdle();
    EXPECT_TRUE(Select(Child).accepted);
    EXPECT_EQ(1U, Transport().Requests().size());
}

// ---------------------------------------------------------------------------------------------
// The selection

TEST_F(CommandGraph, TakesWhatItsActionCanWorkOn)
{
    ScriptedObject& part = MakeProduct("Part");
    part.father = &Root;
    part.reference = &Document;
    part.isOfPart = true;
    ScriptedObject& unreferenced = MakeProduct("Unreferenced");
    unreferenced.father = &Root;
    const struct {
        ScriptedObject& product;
        bool byInsert, byReplace;
    } rows[] = {{Root, true, false}, {part, false, true}, {unreferenced, false, true}};
    for (const auto& [product, byInsert, byReplace] : rows)
        for (const PanelAction action : {ActionInsert, ActionReplace}) {
            Start(action);
            EXPECT_EQ(action == ActionInsert ? byInsert : byReplace, Select(product).accepted)
                << product.name << ", " << action;
            Engine().EndAll();
            if (Transport().Count() > 0)
                Transport().Last().End(TransferEnd::Failed);
            Loop().RunUntilIdle();
        }
}

TEST_P(EitherCommand, RefusesAProductWhoseDataIsAbsent)
{
    Start(GetParam());
    Child.Offer("ZALIPrdGhost");
    Child.loaded = false;
    EXPECT_FALSE(Select(Child).accepted);
    Child.loaded = true;
    EXPECT_TRUE(Select(Child).accepted);
}

TEST_P(EitherCommand, IsOfferedProductsOnly)
{
    Start(GetParam());
    Child.Offer("ZALIProduct", false);
    EXPECT_EQ("the element does not offer ZALIProduct", Select(Child).reason);
}

TEST_P(EitherCommand, StaysWhenASelectionIsRefusedAndTakesTheNext)
{
    Start(GetParam());
    Child.Offer("ZALIPrdGhost");
    Child.loaded = false;
    const Pick refused = Select(Child);
    EXPECT_FALSE(refused.accepted);
    EXPECT_EQ(refused.command, CommandName);
    EXPECT_EQ("the command does not accept the element", refused.reason);
    EXPECT_EQ("InitialState", State());
    EXPECT_TRUE(Transport().Requests().empty());
    EXPECT_TRUE(Surface().Questions().empty());

    Child.Offer("ZALIPrdGhost", false);
    EXPECT_TRUE(Select(Child).accepted);
    EXPECT_EQ("DownloadState", State());
}

TEST_P(EitherCommand, TakesNoFurtherSelectionWhileItDownloads)
{
    Begin(GetParam());
    EXPECT_EQ("no command waits for an element", Select(Child).reason);
    EXPECT_EQ(1U, Transport().Requests().size());
}

// ---------------------------------------------------------------------------------------------
// Good ends

TEST_P(EitherCommand, GoesStraightOnWhenTheDownloadEndsInsideItsStart)
{
    Start(GetParam(), LocalFile);
    EXPECT_TRUE(Select(Child).accepted);
    EXPECT_EQ(Cad().calls, Done());
    EXPECT_THAT(Journal().back(), "done ");
    EXPECT_EQ("entered DownloadState", Journal().at(Journal().size() - 2));
    ExpectEnd();
}

TEST_P(EitherCommand, GoesOnWhenTheDownloadEndsLater)
{
    Begin(GetParam());
    EndDownload(Files({"/parts/bolt.ZALPart", "/parts/nut.ZALPart"}));
    EXPECT_EQ(Cad().calls, Done());
    EXPECT_TRUE(Surface().Questions().empty());
    ExpectEnd();
}

TEST_P(EitherCommand, IsReleasedBetweenEvents)
{
    Begin(GetParam());
    EndDownload(Files({"/parts/bolt.ZALPart"}));
    EXPECT_EQ(1U, Waiting()); // it is there to the end of the event
    Loop().RunUntilIdle();
    EXPECT_EQ(0U, Waiting());
}

TEST_P(EitherCommand, TakesAnUnheardOfStatusWithFilesForSuccess)
{
    Begin(GetParam());
    EndDownload(Files({"/parts/bolt.ZALPart"}, static_cast<Complete::Status>(7)));
    EXPECT_EQ(Cad().calls, Done());
    ExpectEnd();
}

TEST_P(EitherCommand, DoesNotShowTheWarningsOfTheDownload)
{
    Begin(GetParam());
    EndDownload(Complete(List({"/parts/bolt.ZALPart"}), Complete::DownloadSucceeded, List({"remark"})));
    EXPECT_TRUE(Surface().Questions().empty());
    EXPECT_EQ(Cad().calls, Done());
}

TEST_P(EitherCommand, PassesTheEnvironmentOfTheNotificationOn)
{
    Begin(GetParam());
    std::string message;
    Listener component([&](ZALBaseUnknown*, ZALNotification* notification, void*) {
        const auto* sent = ZALSysDynamicCast<ZALDlgHtmlViewJavaScriptNotification>(notification);
        ASSERT_TRUE(sent);
        message.assign(sent->GetData(), sent->GetDataLength());
    });
    component.Subscribe(ZALVelmartIntegrationEventPublisher::GetPrtOnUniqueInstance(),
                        ZALDlgHtmlViewJavaScriptNotification::ClassName());
    EndDownload(Complete(List({"/parts/bolt.ZALPart"}), "UT5", Complete::DownloadSucceeded));
    EXPECT_EQ(R"({"method":"EndTransaction","params":{"filePathes":["/parts/bolt.ZALPart"]}})", message);
}

TEST_P(EitherCommand, IsSubscribedOnceHoweverOftenItStartsADownload)
{
    Command* command = Begin(GetParam());
    EXPECT_TRUE(Probe::StartDownloadOf(*command)); // the downloader is busy
    EXPECT_THAT(SubscribersOf(ZALVelmartFileDownloader::GetInstance(), Complete::ClassName()), ElementsAre(command));
}

TEST_P(EitherCommand, ForgetsTheSelectionWhetherOrNotTheDownloadStarts)
{
    for (const char* request : {RemoteFile, NoFile}) {
        Command* command = Start(GetParam(), request);
        EXPECT_TRUE(Select(Child).accepted);
        EXPECT_FALSE(Probe::SelectionOf(*command).IsOutputSet()) << request;
        Loop().RunUntilIdle();
    }
}

// ---------------------------------------------------------------------------------------------
// Two ways at once

TEST_P(EitherCommand, IsGivenUpBeforeItsSelection)
{
    Probe::CancelOf(*Start(GetParam())).Accept(nullptr, 0);
    EXPECT_THAT(Journal().back(), "cancelled ");
    EXPECT_TRUE(Transport().Requests().empty());
    ExpectEnd();
}

TEST_P(EitherCommand, TakesASelectionBeforeItIsGivenUp)
{
    ZALOmxAny content;
    ASSERT_EQ(S_OK, ZALOmxJson().parse(RemoteFile, content));
    auto* command = new Command(GetParam(), content);
    Texts states;
    journal::Redirect([&](const nlohmann::ordered_json& event) {
        if (event.value("action", "") != "entered")
            return;
        states.push_back(event["state"]);
        if (states.size() == 1) { // both are kept until the state has been entered
            Probe::CancelOf(*command).Accept(nullptr, 0);
            Probe::SelectionOf(*command).Accept(nullptr, 0);
        }
    });
    Loop().RunUntilIdle();
    EXPECT_THAT(states, ElementsAre("InitialState", "DownloadState"));
    EXPECT_EQ(1U, Transport().Requests().size());
    ExpectEnd();
}

TEST_P(EitherCommand, IsGivenUpThoughTheFilesAreThereToo)
{
    Command* command = Start(GetParam(), LocalFile);
    Listener listener([&](ZALBaseUnknown*, ZALNotification*, void*) { Probe::CancelOf(*command).Accept(nullptr, 0); });
    listener.Subscribe(&Downloader(), Complete::ClassName());
    EXPECT_TRUE(Select(Child).accepted);
    EXPECT_EQ(1, listener.Calls());
    EXPECT_THAT(Journal().back(), "cancelled ");
    EXPECT_THAT(Cad().calls, IsEmpty());
    listener.RemoveSubscriberCallbacks(&Downloader());
    ExpectEnd();
}

// ---------------------------------------------------------------------------------------------
// Bad ends

TEST_P(EitherCommand, IsGivenUpWhenTheDownloadCannotStart)
{
    InstallCatalog("DownloadFailed = \"Gone wrong\";\n");
    Start(GetParam(), NoFile);
    EXPECT_TRUE(Select(Child).accepted);
    EXPECT_THAT(QuestionTexts(), ElementsAre("Gone wrong"));
    EXPECT_EQ("FileOpenInsertReplaceErrorNotify", Surface().Questions()[0].name);
    EXPECT_THAT(Journal().back(), "cancelled ");
    EXPECT_THAT(Cad().calls, IsEmpty());
    ExpectEnd();
}

TEST_P(EitherCommand, GivesUpWhenTheUserHasSeenTheMessage)
{
    InstallCatalog("DownloadCanceled = \"Given up\";\nDownloadFailed = \"Gone wrong\";\n");
    const Texts file{"/parts/bolt.ZALPart"};
    const std::pair<Complete, const char*> ends[] = {
        {Complete(Complete::DownloadCanceled), "Given up"},
        {Files(file, Complete::DownloadCanceled), "Given up"},
        {Complete(Complete::DownloadFailed), "Gone wrong"},
        {Files(file, Complete::DownloadFailed), "Gone wrong"},
        {Complete(Complete::DownloadSucceeded), "Gone wrong"},
        {Complete(Complete::DownloadFailed, "No more bolts"), "No more bolts"}};
    std::size_t asked = 0;
    for (const auto& [end, text] : ends) {
        Command* command = Begin(GetParam());
        Loop().Post([&] {
            ++asked;
            EXPECT_FALSE(Probe::CancelOf(*command).IsOutputSet()) << text;
        });
        EndDownload(end);
        EXPECT_EQ(asked, Surface().Questions().size());
        EXPECT_EQ(text, QuestionTexts().back());
        EXPECT_EQ("cancelled ", Journal().back());
        ExpectEnd();
        Transport().Last().End(TransferEnd::Failed);
        Loop().RunUntilIdle();
    }
    EXPECT_EQ(std::size(ends), asked);
    EXPECT_THAT(Cad().calls, IsEmpty());
}

TEST_P(EitherCommand, GivesUpItsStartWhenTheUserHasSeenTheMessage)
{
    Command* command = Start(GetParam(), NoFile);
    bool asked = false;
    Loop().Post([&] {
        asked = true;
        EXPECT_FALSE(Probe::CancelOf(*command).IsOutputSet());
    });
    Select(Child);
    EXPECT_TRUE(asked);
}

TEST_P(EitherCommand, NeedsItsAgentsForNothing)
{
    Probe command(GetParam());
    EXPECT_TRUE(command.CheckSelection());
    EXPECT_TRUE(command.StartDownload());
    EXPECT_EQ(0U, Waiting());
    EXPECT_TRUE(Surface().Questions().empty());

    Complete ends[] = {Files({"/parts/bolt.ZALPart"}), Complete(Complete::DownloadCanceled),
                       Complete(Complete::DownloadFailed), Complete(Complete::DownloadFailed, "gone")};
    for (Complete& end : ends)
        command.Complete(end);
    EXPECT_THAT(QuestionTexts(), ElementsAre(DefaultText, DefaultText, "gone"));
}

TEST_P(EitherCommand, TakesFilesAndEnvironmentOfEveryEnd)
{
    Probe command(GetParam());
    EXPECT_EQ("File", command.DocEnvId());
    Complete good(List({"/parts/bolt.ZALPart"}), "UT5", Complete::DownloadSucceeded);
    command.Complete(good);
    EXPECT_EQ("UT5", command.DocEnvId());
    EXPECT_EQ(1, command.Files().Size());
    Complete cancelled(Complete::DownloadCanceled);
    command.Complete(cancelled);
    EXPECT_EQ("", command.DocEnvId());
    EXPECT_EQ(0, command.Files().Size());
}

TEST_P(EitherCommand, TakesNoOtherNotificationForTheEndOfADownload)
{
    class Stranger : public ZALNotification {
    public:
        const char* IsA() const override { return Complete::ClassName(); }
    };
    Begin(GetParam());
    Stranger stranger;
    DispatchCallbacks(&Downloader(), &stranger);
    EXPECT_EQ("DownloadState", State());
    EXPECT_TRUE(Surface().Questions().empty());
    EXPECT_EQ(1U, Waiting());
}

TEST_P(EitherCommand, EndsWhenItsTransferFails)
{
    Begin(GetParam());
    Transport().Last().End(TransferEnd::Failed);
    Loop().RunUntilIdle();
    EXPECT_THAT(QuestionTexts(), ElementsAre(DefaultText));
    ExpectEnd();
}

// ---------------------------------------------------------------------------------------------
// Ends by the host

TEST_P(EitherCommand, InsertsNothingOnceTheHostHasEndedIt)
{
    for (const bool isReleased : {false, true}) {
        Command* command = Begin(GetParam());
        Engine().EndCommand(command);
        if (isReleased)
            ExpectEnd();
        EXPECT_TRUE(Transport().Last().IsRunning()) << "the transfer is left alone";
        EndDownload(Files({"/parts/bolt.ZALPart"}));
        EXPECT_THAT(Cad().calls, IsEmpty()) << isReleased;
        EXPECT_TRUE(Surface().Questions().empty()) << isReleased;
        ExpectEnd();
        Transport().Last().End(TransferEnd::Failed);
        Loop().RunUntilIdle();
    }
}

TEST_P(EitherCommand, MayBeEndedWhileAMessageIsUp)
{
    for (const bool isStarting : {true, false}) {
        if (isStarting)
            Start(GetParam(), NoFile);
        else
            Begin(GetParam());
        Loop().Post([] { Engine().EndAll(); });
        if (isStarting)
            Select(Child);
        else
            EndDownload(Complete(Complete::DownloadFailed, "gone"));
        EXPECT_EQ(isStarting ? DefaultText : "gone", QuestionTexts().back());
        EXPECT_EQ("ended ", Journal().back());
        ExpectEnd();
    }
    EXPECT_EQ(2U, Surface().Questions().size());
}

TEST_P(EitherCommand, MayBeEndedBeforeItBegins)
{
    new Command(GetParam(), ZALOmxAny());
    Engine().EndAll();
    ExpectEnd();
}

// ---------------------------------------------------------------------------------------------
// Several commands

TEST_P(EitherCommand, RunsTwiceInARow)
{
    for (int run = 1; run <= 2; ++run) {
        Start(GetParam(), LocalFile);
        EXPECT_TRUE(Select(Child).accepted);
        EXPECT_EQ(Cad().calls, Done());
        Cad().calls.clear();
        ExpectEnd();
    }
}

TEST_P(EitherCommand, DoesNotDisturbTheDownloadOfTheOneBefore)
{
    Begin(GetParam());
    Start(GetParam());
    EXPECT_TRUE(Select(Child).accepted); // the downloader is busy
    EXPECT_THAT(QuestionTexts(), ElementsAre(DefaultText));
    Loop().RunUntilIdle();
    EXPECT_EQ(1U, Engine().Commands().size());
    EXPECT_EQ(1U, Waiting());

    EndDownload(Files({"/parts/bolt.ZALPart"}));
    EXPECT_EQ(Cad().calls, Done());
    ExpectEnd();
}

TEST_P(EitherCommand, DoesNotHearOfDownloadsBeforeItsSelection)
{
    Start(GetParam());
    EndDownload(Files({"/parts/bolt.ZALPart"}));
    EXPECT_EQ("InitialState", State());
    EXPECT_THAT(Cad().calls, IsEmpty());
}

} // namespace

} // namespace openhost::testing
