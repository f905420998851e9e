// What insert, replace and open leave behind when memory runs out at any of their allocations.

#include "tests/insertion/OperationFixture.h"
#include "tests/insertion/ZALVelmartMeridiaAccessAddinActionCmdProbe.h"
#include "tests/support/WholeOrLost.h"

#include "download/ZALVelmartFileDownloadCompleteNotification.h"
#include "download/ZALVelmartFileDownloader.h"
#include "insertion/DocumentInsertion.h"

#include <algorithm>
#include <exception>

namespace openhost::testing {

namespace {

using Probe = ZALVelmartMeridiaAccessAddinActionCmdProbe;
using Complete = ZALVelmartFileDownloadCompleteNotification;

constexpr const char* DefaultText = "Transaction has failed";
constexpr const char* Bolt = "/parts/of/the/user/bolt.ZALPart";

class InsertionWithoutMemory : public OperationFixture {
protected:
    InsertionWithoutMemory()
    {
        Selected.father = &Father;
        Selected.reference = &root_;
        root_.texts[0] = "a part number of some length";
        Cad().loaded[Bolt] = &root_;
        // What lasts as long as the process has found its memory.
        ZALVelmartFileDownloader::GetInstance();
        Complete::MetaObject();
    }

    /// Runs `call` while `memory` fails. No exception may leave it, and nothing that it made stays.
    template <class Call>
    void WithoutException(FailingMemory& memory, Call call)
    {
        Loop().RunUntilIdle();
        const std::size_t dialogs = LiveDialogs().size();
        const std::size_t questions = Surface().Questions().size();
        const int objects = Cad().facets;
        EXPECT_NO_THROW(memory.During(call));
        Loop().RunUntilIdle();
        // A message stays only when it was answered and there was no memory to ask for its end.
        const bool answered = Surface().Questions().size() > questions && Surface().Questions().back().answer != -1;
        EXPECT_LE(LiveDialogs().size(), dialogs + (answered && memory.HasRunOut() ? 1 : 0));
        EXPECT_EQ(Cad().facets, objects);
        EXPECT_EQ(0, LivingTexts() + LivingArrays());
    }
    /// How often the user has been told `text`.
    long Told(const char* text = DefaultText) { return std::ranges::count(QuestionTexts(), text); }
    long Changes() const
    {
        return std::ranges::count_if(Cad().calls, [](const std::string& call) {
            return call.starts_with("Add") || call.starts_with("Replace") || call.starts_with("Open");
        });
    }
    ScriptedCad& Cad() { return OperationFixture::Cad(); }
    const ScriptedCad& Cad() const { return const_cast<InsertionWithoutMemory*>(this)->Cad(); }

    ScriptedObject& Father = MakeProduct("Father");
    ScriptedObject& Selected = MakeProduct("Selected");

private:
    ScriptedObject& root_ = MakeProduct("Root");
};

// ---------------------------------------------------------------------------------------------
// Operations

TEST_F(InsertionWithoutMemory, AWrongContextIsRefusedWhetherOrNotItCanBeTold)
{
    ConfigureFrame({.workshop = "a workshop with a long name", .editor = true});
    EXPECT_GT(WithEachAllocationFailing([&](FailingMemory& memory) {
                  HRESULT result = S_OK;
                  WithoutException(memory, [&] { result = CheckInsertReplaceContext(ActionInsert); });
                  EXPECT_EQ(E_FAIL, result);
              }),
              3);
    EXPECT_EQ(Told(), static_cast<long>(Surface().Questions().size()));
}

TEST_F(InsertionWithoutMemory, AMessageCanBeShownTheNextTime)
{
    WithEachAllocationFailing(
        [&](FailingMemory& memory) { WithoutException(memory, [&] { NotifyCommandError("InsertFailed"); }); });
    const long told = Told();
    EXPECT_GT(told, 0);
    NotifyCommandError("InsertFailed");
    EXPECT_EQ(Told(), told + 1);
}

TEST_F(InsertionWithoutMemory, AnOpeningFailsAndIsToldAllTheSame)
{
    const ZALListValZALUnicodeString paths = List({Bolt, "/parts/of/the/user/nut.ZALPart"});
    const ZALUnicodeString environment("UT5");
    EXPECT_GT(WithEachAllocationFailing([&](FailingMemory& memory) {
                  Cad().calls.clear();
                  const std::size_t messages = Messages().size();
                  const int cursors = BusyCursorCount();
                  HRESULT result = S_FALSE;
                  WithoutException(memory, [&] { result = OpenDownloadedDocument(paths, environment); });
                  EXPECT_TRUE(result == S_OK || (result == E_FAIL && memory.HasRunOut()));
                  if (!memory.HasRunOut()) {
                      EXPECT_EQ(Messages().size(), messages + 1);
                  }
                  if (BusyCursorCount() == cursors + 2 && Cad().calls.empty()) {
                      EXPECT_EQ(Messages().size(), messages + 1);
                  }
              }),
              5);
}

TEST_F(InsertionWithoutMemory, ThePartNumberCheckFailsOrWarns)
{
    const ZALUnicodeString bolt(Bolt);
    Selected.names = {"another part number of some length", "a part number of some length"};
    int failures = 0;
    EXPECT_GT(WithEachAllocationFailing([&](FailingMemory& memory) {
                  HRESULT result = S_FALSE;
                  const std::size_t questions = Surface().Questions().size();
                  WithoutException(memory, [&] { result = CheckPartNumberConflict(&Selected, bolt); });
                  EXPECT_TRUE(result == S_OK || (result == E_FAIL && memory.HasRunOut()));
                  failures += FAILED(result);
                  EXPECT_TRUE(memory.HasRunOut() || Surface().Questions().size() == questions + 1);
              }),
              5);
    EXPECT_GT(failures, 0);
}

class EitherActionWithoutMemory : public InsertionWithoutMemory, public ::testing::WithParamInterface<PanelAction> {};

TEST_P(EitherActionWithoutMemory, ChangesTheWorkspaceOrTellsTheUser)
{
    const Owned<ZALPathElement> path(PathTo(Selected));
    const ZALListValZALUnicodeString files = List({Bolt});
    EXPECT_GT(WithEachAllocationFailing([&](FailingMemory& memory) {
                  Probe command(GetParam());
                  Cad().calls.clear();
                  const long told = Told();
                  const std::size_t asked = Surface().Questions().size();
                  const std::size_t messages = Messages().size();
                  Surface().Answer("ReplaceAllPopUp", ZALDlgAnswerNo);
                  command.Prepare(path.get(), files, "UT5");
                  bool ends = false;
                  WithoutException(memory, [&] { ends = command.InsertOrReplace(); });
                  EXPECT_TRUE(ends);
                  if (!memory.HasRunOut()) {
                      EXPECT_EQ(Messages().size(), messages + 1);
                  }
                  if (Told() == told) {
                      EXPECT_EQ(1, Changes()) << "otherwise the user is told";
                  }
                  if (Told() > told) {
                      EXPECT_EQ(Messages().size(), messages);
                  }
                  for (const std::string& call : Cad().calls)
                      if (call.starts_with("Replace")) { // without the user's answer all instances are replaced
                          EXPECT_TRUE(call.ends_with(Surface().Questions().size() > asked ? "one" : "all") ||
                                      memory.HasRunOut());
                      }
              }),
              10);
}

TEST_F(InsertionWithoutMemory, AQuestionThatCannotBeAskedReplacesAllInstances)
{
    const Owned<ZALPathElement> path(PathTo(Selected));
    int unasked = 0;
    WithEachAllocationFailing([&](FailingMemory& memory) {
        Probe command(ActionReplace);
        Cad().calls.clear();
        command.Prepare(path.get(), List({Bolt}), "UT5");
        WithoutException(memory, [&] { command.InsertOrReplace(); });
        if (Changes() == 1 && std::ranges::none_of(Surface().Questions(), [](const auto& question) {
                return question.name == "ReplaceAllPopUp";
            })) {
            ++unasked;
            EXPECT_EQ(std::string("Replace Selected in Father: ") + Bolt + ", all", Cad().calls[0]);
        }
    });
    EXPECT_GT(unasked, 0);
}

INSTANTIATE_TEST_SUITE_P(Actions, EitherActionWithoutMemory, ::testing::Values(ActionInsert, ActionReplace),
                         [](const auto& test) { return test.param == ActionInsert ? "Insert" : "Replace"; });

// ---------------------------------------------------------------------------------------------
// The command

TEST_F(InsertionWithoutMemory, AGraphIsBuiltWholeOrHasNoAgent)
{
    for (const PanelAction action : {ActionInsert, ActionReplace, ActionOpen})
        EXPECT_GT(WithEachAllocationFailing([&](FailingMemory& memory) {
                      Probe command(action);
                      WithoutException(memory, [&] { command.BuildGraph(); });
                      EXPECT_EQ(command.Selection() != nullptr, !memory.HasRunOut());
                      EXPECT_EQ(command.Good() != nullptr, !memory.HasRunOut());
                      EXPECT_EQ(command.Cancel() != nullptr, !memory.HasRunOut());
                  }),
                  10);
}

TEST_F(InsertionWithoutMemory, ASelectionIsRefused)
{
    ConfigureFrame({.editor = true});
    auto* command = new ZALVelmartMeridiaAccessAddinActionCmd(ActionInsert, ZALOmxAny());
    command->AddRef(); // beyond its end, which comes without a request
    const Owned<ZALVelmartMeridiaAccessAddinActionCmd> held(command);
    Loop().RunUntilIdle();
    const Owned<ZALPathElement> path(PathTo(Selected));
    DialogEngine::Current().Offer(path.get());
    EXPECT_TRUE(Probe::CheckSelectionOf(*command));
    EXPECT_GT(WithEachAllocationFailing([&](FailingMemory& memory) {
                  bool accepted = false;
                  WithoutException(memory, [&] { accepted = Probe::CheckSelectionOf(*command); });
                  EXPECT_EQ(accepted, !memory.HasRunOut());
              }),
              1);
}

TEST_F(InsertionWithoutMemory, ADownloadThatCannotStartGivesUp)
{
    ZALOmxAny content; // opened in its source, which it does not name
    ASSERT_EQ(S_OK,
              ZALOmxJson().parse(R"({"attributes":{"catalog":{"configOpeningBehaviour":"openInSource"}}})", content));
    EXPECT_GT(WithEachAllocationFailing([&](FailingMemory& memory) {
                  Probe command(ActionInsert, content);
                  command.BuildGraph();
                  command.Selection()->Accept(nullptr, 0);
                  bool goesOn = false;
                  WithoutException(memory, [&] { goesOn = command.StartDownload(); });
                  EXPECT_TRUE(goesOn);
                  EXPECT_TRUE(command.Cancel()->IsOutputSet());
                  EXPECT_FALSE(command.Selection()->IsOutputSet());
              }),
              3);
}

TEST_F(InsertionWithoutMemory, ADownloadStartsOnlyWhenItsEndIsHeard)
{
    WithEachAllocationFailing([&](FailingMemory& memory) {
        Probe command(ActionInsert);
        command.BuildGraph();
        WithoutException(memory, [&] { command.StartDownload(); });
        EXPECT_TRUE(command.StartDownload());
        EXPECT_EQ(SubscribersOf(ZALVelmartFileDownloader::GetInstance(), Complete::ClassName()),
                  std::vector<ZALBaseUnknown*>{&command.Command()});
    });
}

TEST_F(InsertionWithoutMemory, TheEndOfADownloadValuesOneAgent)
{
    struct End {
        Complete notification;
        bool good;
    };
    const ZALListValZALUnicodeString files = List({Bolt, "/parts/of/the/user/nut.ZALPart"});
    End ends[] = {{Complete(files, "an environment of some length", Complete::DownloadSucceeded), true},
                  {Complete(files, "an environment of some length", Complete::DownloadCanceled), false},
                  {Complete(Complete::DownloadFailed), false},
                  {Complete(Complete::DownloadFailed, "The shelf with the bolts is empty."), false}};
    for (End& end : ends)
        EXPECT_GT(WithEachAllocationFailing([&](FailingMemory& memory) {
                      Probe command(ActionInsert);
                      command.BuildGraph();
                      const std::size_t told = Surface().Questions().size();
                      WithoutException(memory, [&] { command.Complete(end.notification); });
                      EXPECT_NE(command.Good()->IsOutputSet(), command.Cancel()->IsOutputSet());
                      EXPECT_TRUE(memory.HasRunOut() || command.Good()->IsOutputSet() == end.good);
                      if (command.Good()->IsOutputSet()) {
                          EXPECT_EQ(2, command.Files().Size());
                          EXPECT_EQ("an environment of some length", command.DocEnvId());
                      } else if (end.good) {
                          EXPECT_EQ(Surface().Questions().size(), told + 1) << "files that are lost are told";
                      }
                  }),
                  2);
}

TEST_F(InsertionWithoutMemory, TheNameOfAFileIsEmpty)
{
    Probe command(ActionInsert);
    for (const auto name : {&ZALVelmartMeridiaAccessAddinActionCmd::GetResourceFilename,
                            &ZALVelmartMeridiaAccessAddinActionCmd::GetResourceClass})
        EXPECT_EQ(1, ExpectWholeOrLost<ZALString>("ZALVelmartMeridiaAccessAddinActionCmd", "",
                                                  [&] { return (command.Command().*name)(0); }));
}

} // namespace

} // namespace openhost::testing
