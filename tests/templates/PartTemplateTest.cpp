// One part rebuilt on the part template.

#include "tests/templates/TemplateFixture.h"

#include "templates/ApplyPartTemplate.h"

namespace openhost::testing {
namespace {

using namespace ZALVliTemplateSupportUtilities;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

const std::string Format = "ZALPrtResultWithOutLink";

class PartTemplateRun : public TemplateFixture {
protected:
    ~PartTemplateRun() override { CloseDocuments(Held); }

    HRESULT Apply(PreferredSaveMethod method = SaveMethodSaveAs)
    {
        return ApplyPartTemplate(Text(templatePath), Text(Source), {}, Text(Destination), method, Document, Held,
                                 Error);
    }
    /// The source is closed, the template is open, locked and held.
    void ExpectTemplateHeld()
    {
        EXPECT_EQ(&part, Document);
        EXPECT_THAT(Held, ElementsAre(&part));
        EXPECT_EQ(1, part.opens);
        EXPECT_EQ(1, part.locks);
        EXPECT_EQ(0, source.opens);
        EXPECT_EQ(0, source.locks);
    }
    /// No document was opened, and the output is as it was.
    void ExpectNothingOpened()
    {
        EXPECT_EQ(nullptr, Document);
        EXPECT_THAT(Held, IsEmpty());
        EXPECT_THAT(Workspace.calls, IsEmpty());
    }
    Texts PartTraces() const { return TracesFrom("ApplyPartTemplate - "); }
    std::string SourceTrace() const { return "isRefPartPath: " + Source.string(); }
    std::string DestinationTrace() const { return "isDestFilePath: " + Destination.string(); }
    std::string SaveTrace() const { return "SaveAs : " + Destination.string(); }
    Texts Copies() const { return Workspace.CallsOf({"Collect", "Extract", "Paste", "Work", "Cameras"}); }

    const std::filesystem::path Source = Downloaded("bolt.ZALPart");
    const std::filesystem::path Destination = Parts() / "result.ZALPart";
    std::filesystem::path templatePath = PartTemplate();
    ScriptedWorkspaceDocument& part = Workspace.AddPart(PartTemplate(), "template");
    ScriptedWorkspaceDocument& source = Workspace.AddSolidPart(Source, "source");
    ZALDocument* Document = nullptr;
    DocumentList Held;
    ZALUnicodeString Error = "untouched";
};

TEST_F(PartTemplateRun, CopiesTheResultIntoTheTemplateAndSavesIt)
{
    EXPECT_EQ(S_OK, Apply());
    ExpectTemplateHeld();
    EXPECT_THAT(
        Workspace.calls,
        ElementsAre(
            "Open temp/VelmartTemplates/PartTemplate.ZALPart, 0", "Lock template", "Open temp/bolt.ZALPart, 0",
            "Lock source", "Container template: ZALIPrtContainer", "Container source: ZALIPrtContainer",
            "Tools source.part", "Formats source.features", "Collect source.features: source.result, " + Format,
            "Extract source.features: boundary(source.result), " + Format, "Collect source.extracted: all, " + Format,
            "Paste template.features: source.copy below template.main, " + Format, "Work template.part: template.main",
            "Cameras template: source", "Update template.part", "Root source", "Root template", "Read source.root 0",
            "Read source.root 1", "Read source.root 2", "Publisher source.root 0",
            "Children source.publisher: ZALICkeParm", "Write template.root 0 = ", "Write template.root 1 = ",
            "Write template.root 2 = ", "Publisher template.root 1", "Children template.publisher: ZALICkeParm",
            "SaveAs template to parts/result.ZALPart, \"\", 1", "Unlock source 0", "Remove source 1"));
    EXPECT_THAT(PartTraces(), ElementsAre(SourceTrace(), DestinationTrace(), SaveTrace()));
    EXPECT_TRUE(exists(Source)) << "it is left to others";
    EXPECT_EQ("untouched", Error);
}

TEST_F(PartTemplateRun, TracesTheSaveBeforehand)
{
    std::string traced;
    Workspace.OnCall = [&](const std::string& call) {
        if (call.starts_with("SaveAs"))
            traced = PartTraces().back();
    };
    EXPECT_EQ(S_OK, Apply());
    EXPECT_EQ(SaveTrace(), traced);
}

TEST_F(PartTemplateRun, IsSavedAsNewForNewFromAlone)
{
    EXPECT_EQ(S_OK, Apply(static_cast<PreferredSaveMethod>(7)));
    part.path = PartTemplate();
    std::filesystem::remove(Destination);
    CloseDocuments(std::exchange(Held, {}));
    EXPECT_EQ(S_OK, Apply(SaveMethodNewFrom));
    EXPECT_THAT(Workspace.CallsOf({"SaveAs", "SaveAsNew"}),
                ElementsAre("SaveAs template to parts/result.ZALPart, \"\", 1",
                            "SaveAsNew template to parts/result.ZALPart, 0"));
    EXPECT_EQ("SaveAsNew : " + Destination.string(), PartTraces().back());
}

TEST_F(PartTemplateRun, LeavesAResultThatIsThereAloneWithoutATemplateAsWell)
{
    Write(Destination, "old");
    for (const std::filesystem::path& used : {PartTemplate(), std::filesystem::path()}) {
        templatePath = used;
        EXPECT_EQ(S_FALSE, Apply());
        EXPECT_EQ("file already exists in target, we do not overwrite", PartTraces().back());
    }
    ExpectNothingOpened();
    EXPECT_EQ("old", ReadFile(Destination));
    EXPECT_TRUE(exists(Source));
    EXPECT_EQ(6U, PartTraces().size());
}

TEST_F(PartTemplateRun, MovesTheFileWithoutATemplate)
{
    templatePath.clear();
    EXPECT_EQ(S_OK, Apply());
    ExpectNothingOpened();
    EXPECT_EQ("downloaded bolt.ZALPart", ReadFile(Destination));
    EXPECT_FALSE(exists(Source));
    EXPECT_THAT(PartTraces(),
                ElementsAre(SourceTrace(), DestinationTrace(), "No Part Template - we move & rename the file"));
}

TEST_F(PartTemplateRun, GivesTheFailureOfTheMove)
{
    templatePath.clear();
    std::filesystem::remove(Source);
    EXPECT_EQ(E_FAIL, Apply());
    ExpectNothingOpened();
    EXPECT_FALSE(exists(Destination));
}

// ---------------------------------------------------------------------------------------------
// Documents that cannot be used

TEST_F(PartTemplateRun, FailsWhenTheTemplateCannotBeOpened)
{
    part.openResult = E_INVALIDARG;
    EXPECT_EQ(E_FAIL, Apply());
    part.openResult = S_OK;
    part.isGiven = false;
    EXPECT_EQ(E_FAIL, Apply());
    EXPECT_EQ(nullptr, Document);
    EXPECT_THAT(Held, IsEmpty());
    EXPECT_EQ(Workspace.calls.size(), Workspace.CallsOf({"Open"}).size());
    EXPECT_FALSE(exists(Destination));
    EXPECT_TRUE(exists(Source));
}

TEST_F(PartTemplateRun, HoldsTheTemplateWhenTheSourceCannotBeOpened)
{
    for (const bool isGiven : {false, true}) {
        source.isGiven = isGiven;
        source.openResult = isGiven ? E_INVALIDARG : S_OK;
        EXPECT_EQ(E_FAIL, Apply());
        ExpectTemplateHeld();
        EXPECT_EQ("Open temp/bolt.ZALPart, 0", Workspace.calls.back());
        CloseDocuments(std::exchange(Held, {}));
    }
    EXPECT_FALSE(exists(Destination));
    EXPECT_TRUE(exists(Source));
}

/// What a template or a source may lack.
struct Lack {
    const char* name;
    void (*take)(ScriptedWorkspaceDocument& document);

    friend std::ostream& operator<<(std::ostream& stream, const Lack& lack) { return stream << lack.name; }
};

class UselessTemplate : public PartTemplateRun, public ::testing::WithParamInterface<Lack> {};

TEST_P(UselessTemplate, FailsWithTheSourceClosedAndTheTemplateHeld)
{
    GetParam().take(part);
    EXPECT_EQ(E_FAIL, Apply());
    ExpectTemplateHeld();
    EXPECT_THAT(Workspace.CallsOf({"SaveAs", "SaveAsNew", "Collect", "Update", "Write"}), IsEmpty());
    EXPECT_THAT(Workspace.CallsOf({"Unlock", "Remove"}), ElementsAre("Unlock source 0", "Remove source 1"));
    EXPECT_FALSE(exists(Destination));
    EXPECT_TRUE(exists(Source));
    EXPECT_THAT(PartTraces(), ElementsAre(SourceTrace(), DestinationTrace()));
}

const Lack UselessTemplateCases[] = {
    {"NoInit", [](ScriptedWorkspaceDocument& document) { document.offersInit = false; }},
    {"NoContainer", [](ScriptedWorkspaceDocument& document) { document.container = nullptr; }},
    {"OtherContainer", [](ScriptedWorkspaceDocument& document) { document.container->offers = {}; }},
    {"NoPart", [](ScriptedWorkspaceDocument& document) { document.container->part = nullptr; }},
    {"OtherFeature", [](ScriptedWorkspaceDocument& document) { document.part->offers = {}; }},
    {"NoMainTool", [](ScriptedWorkspaceDocument& document) { document.part->mainTool = nullptr; }},
    {"OtherMainTool",
     [](ScriptedWorkspaceDocument& document) { document.mainTool->offers.erase("ZALIMechanicalTool"); }},
    {"FilledMainTool", [](ScriptedWorkspaceDocument& document) {
         document.mainTool->shape = &document.Workspace().AddObject(&document, "pad");
     }}};

INSTANTIATE_TEST_SUITE_P(Each, UselessTemplate, ::testing::ValuesIn(UselessTemplateCases),
                         [](const auto& lack) { return lack.param.name; });

class NothingCopied : public PartTemplateRun {
protected:
    /// A source that lacks something gives the properties alone, and the trace `trace`.
    void ExpectPropertiesOnly(const Lack& lack, const std::string& trace)
    {
        lack.take(source);
        for (const char* name : {"tool1", "tool2", "tool3"})
            Workspace.AddTool(source, name);
        source.root->texts[0] = "PN-1";
        EXPECT_EQ(S_OK, Apply());
        ExpectTemplateHeld();
        EXPECT_THAT(Copies(), IsEmpty());
        EXPECT_THAT(Workspace.CallsOf({"Update", "SaveAs"}),
                    ElementsAre("Update template.part", "SaveAs template to parts/result.ZALPart, \"\", 1"));
        EXPECT_EQ("PN-1", part.root->texts[0]);
        EXPECT_THAT(PartTraces(), ElementsAre(SourceTrace(), DestinationTrace(), trace, SaveTrace()));
    }
};

class EmptySource : public NothingCopied, public ::testing::WithParamInterface<Lack> {};

TEST_P(EmptySource, SavesTheTemplateWithThePropertiesOnly)
{
    ExpectPropertiesOnly(GetParam(), "There is nothing to copy");
}

INSTANTIATE_TEST_SUITE_P(
    Each, EmptySource,
    ::testing::Values(
        Lack{"NoInit", [](ScriptedWorkspaceDocument& document) { document.offersInit = false; }},
        Lack{"NoContainer", [](ScriptedWorkspaceDocument& document) { document.container = nullptr; }},
        Lack{"NoPart", [](ScriptedWorkspaceDocument& document) { document.container->part = nullptr; }},
        Lack{"NoMainTool", [](ScriptedWorkspaceDocument& document) { document.part->mainTool = nullptr; }},
        Lack{"OtherMainTool",
             [](ScriptedWorkspaceDocument& document) { document.mainTool->offers.erase("ZALIMechanicalTool"); }},
        Lack{"EmptyMainTool", [](ScriptedWorkspaceDocument& document) { document.mainTool->shape = nullptr; }},
        Lack{"OtherShape", [](ScriptedWorkspaceDocument& document) { document.mainTool->shape->offers = {}; }},
        Lack{"NoResult", [](ScriptedWorkspaceDocument& document) { document.mainTool->shape->result = nullptr; }}),
    [](const auto& lack) { return lack.param.name; });

// ---------------------------------------------------------------------------------------------
// The copy

class FailingCopy : public NothingCopied, public ::testing::WithParamInterface<Lack> {};

TEST_P(FailingCopy, SavesTheTemplateWithoutTheShape)
{
    ExpectPropertiesOnly(GetParam(), "CopyPaste has failed");
}

TEST_F(NothingCopied, IntoATargetWithoutAContainer)
{
    part.mainTool->features = nullptr;
    ExpectPropertiesOnly({"", [](ScriptedWorkspaceDocument&) {}}, "CopyPaste has failed");
}

const Lack FailingCopyCases[] = {
    {"ResultIsNoFeature", [](ScriptedWorkspaceDocument& document) { document.mainTool->shape->result->offers = {}; }},
    {"NoContainerOfTheResult",
     [](ScriptedWorkspaceDocument& document) { document.mainTool->shape->result->features = nullptr; }},
    {"ContainerWithoutCopies", [](ScriptedWorkspaceDocument& document) { document.features->offers = {}; }},
    {"NoFormat", [](ScriptedWorkspaceDocument& document) { document.features->formats = {}; }},
    {"OtherFormats", [](ScriptedWorkspaceDocument& document) {
         document.features->formats = {std::nullopt, "ZALPrtResult", "zalprtresultwithoutlink",
                                       "ZALPrtResultWithOutLink2"};
     }}};

INSTANTIATE_TEST_SUITE_P(Each, FailingCopy, ::testing::ValuesIn(FailingCopyCases),
                         [](const auto& lack) { return lack.param.name; });

TEST_F(PartTemplateRun, TakesTheFirstFormatOfTheNameAmongOthers)
{
    source.features->formats = {std::nullopt, "ZALPrt", Format, Format};
    EXPECT_EQ(S_OK, Apply());
    EXPECT_THAT(Copies(), ElementsAre("Collect source.features: source.result, " + Format + " at 3",
                                      "Extract source.features: boundary(source.result), " + Format + " at 3",
                                      "Collect source.extracted: all, " + Format + " at 3",
                                      "Paste template.features: source.copy below template.main, " + Format + " at 3",
                                      "Work template.part: template.main", "Cameras template: source"));
}

TEST_F(PartTemplateRun, PastesIntoAContainerThatTakesNothingWithoutAFailure)
{
    part.features->offers.erase("ZALICutAndPastable");
    Workspace.AddTool(source, "tool");
    EXPECT_EQ(S_OK, Apply());
    EXPECT_THAT(Workspace.CallsOf({"Paste"}), IsEmpty());
    EXPECT_THAT(Workspace.CallsOf({"Work", "Cameras"}),
                ElementsAre("Work template.part: template.main", "Cameras template: source"));
    EXPECT_THAT(PartTraces(), Not(Contains("CopyPaste has failed")));
}

TEST_F(PartTemplateRun, PastesNothingWhenNothingWasExtracted)
{
    source.features->extracted = nullptr;
    EXPECT_EQ(S_OK, Apply());
    EXPECT_THAT(Workspace.CallsOf({"Collect", "Paste"}),
                ElementsAre("Collect source.features: source.result, " + Format,
                            "Paste template.features: nothing below template.main, " + Format));
}

TEST_F(PartTemplateRun, PastesNothingOfAnExtractedContainerThatGivesNothing)
{
    source.features->extracted->offers.clear();
    EXPECT_EQ(S_OK, Apply());
    EXPECT_THAT(Workspace.CallsOf({"Paste"}),
                ElementsAre("Paste template.features: nothing below template.main, " + Format));
}

TEST_F(PartTemplateRun, PastesWithoutATargetWhenThatHasNoPath)
{
    part.mainTool->offers.erase("ZALIPathAccess");
    EXPECT_EQ(S_OK, Apply());
    EXPECT_THAT(Workspace.CallsOf({"Paste"}), ElementsAre("Paste template.features: source.copy, " + Format));
}

TEST_F(PartTemplateRun, CopiesTheOtherToolsBelowTheSourcesOwnPart)
{
    Workspace.AddTool(source, "tool1");
    Workspace.AddTool(source, "tool2");
    EXPECT_EQ(S_OK, Apply());
    EXPECT_THAT(Copies(), ElementsAre("Collect source.features: source.result, " + Format,
                                      "Extract source.features: boundary(source.result), " + Format,
                                      "Collect source.extracted: all, " + Format,
                                      "Paste template.features: source.copy below template.main, " + Format,
                                      "Collect source.features: tool1 tool2, " + Format,
                                      "Extract source.features: boundary(tool1) boundary(tool2), " + Format,
                                      "Collect source.extracted: all, " + Format,
                                      "Paste template.features: source.copy below source.part, " + Format,
                                      "Work template.part: template.main", "Cameras template: source"));
}

TEST_F(PartTemplateRun, TakesTheMainToolOutOfTheOthersWhereverItStands)
{
    Workspace.AddTool(source, "tool1");
    source.part->tools = {source.part->tools[1], source.mainTool, source.part->tools[1]};
    EXPECT_EQ(S_OK, Apply());
    EXPECT_THAT(Copies(), Contains("Collect source.features: tool1 tool1, " + Format));
}

TEST_F(PartTemplateRun, KeepsTheOtherThingsOfTheTemplate)
{
    Workspace.AddTool(part, "sketch");
    part.part->tools.back()->shape = &Workspace.AddObject(&part, "curve");
    EXPECT_EQ(S_OK, Apply());
    EXPECT_EQ(2U, part.part->tools.size());
    EXPECT_EQ(1U, Workspace.CallsOf({"SaveAs"}).size());
}

// ---------------------------------------------------------------------------------------------
// What stands beside the shape

TEST_F(PartTemplateRun, SavesWithoutWhatTheDocumentsLack)
{
    const std::vector<std::pair<const char*, std::function<void()>>> lacks = {
        {"Work", [this] { part.part->offers.erase("ZALIPrtManagement"); }},
        {"Cameras", [this] { source.hasStore = false; }},
        {"Update", [this] { part.part->offers.erase("ZALISpecObject"); }},
        {"Write", [this] { source.root = nullptr; }}};
    Texts missing;
    for (const auto& [word, take] : lacks) {
        take();
        missing.push_back(word);
        Workspace.calls.clear();
        EXPECT_EQ(S_OK, Apply()) << word;
        for (const char* call : {"Work", "Cameras", "Update", "Write", "SaveAs"})
            EXPECT_EQ(std::ranges::count(missing, call) == 0, !Workspace.CallsOf({call}).empty()) << word << call;
        EXPECT_TRUE(exists(Destination)) << word;
        CloseDocuments(std::exchange(Held, {}));
        std::filesystem::remove(Destination);
        part.path = PartTemplate();
    }
}

TEST_F(PartTemplateRun, FlushesAnErrorOfTheUpdateAndSaves)
{
    part.part->updateError = "a loop of formulas";
    EXPECT_EQ(S_OK, Apply());
    EXPECT_THAT(Workspace.CallsOf({"Update", "Flush", "SaveAs"}),
                ElementsAre("Update template.part", "Flush a loop of formulas",
                            "SaveAs template to parts/result.ZALPart, \"\", 1"));
}

TEST_F(PartTemplateRun, ReportsTheGivenProperties)
{
    EXPECT_EQ(S_OK, ApplyPartTemplate(Text(templatePath), Text(Source), {{"customer", "Smith"}}, Text(Destination),
                                      SaveMethodSaveAs, Document, Held, Error));
    EXPECT_THAT(Workspace.CallsOf({"Create"}), ElementsAre("Create customer = Smith in template.features"));
}

TEST_F(PartTemplateRun, GivesTheCodeOfTheSave)
{
    part.saveResult = E_INVALIDARG;
    part.leavesFile = false;
    for (const PreferredSaveMethod method : {SaveMethodSaveAs, SaveMethodNewFrom}) {
        EXPECT_EQ(E_INVALIDARG, Apply(method));
        ExpectTemplateHeld();
        EXPECT_FALSE(exists(Destination));
        EXPECT_EQ("untouched", Error);
        CloseDocuments(std::exchange(Held, {}));
    }
}

TEST_F(PartTemplateRun, TakesTheCamerasOfTheSourceOverWhateverTheAnswer)
{
    for (const HRESULT answer : {S_OK, E_FAIL}) {
        Workspace.answers["Cameras"] = answer;
        EXPECT_EQ(S_OK, CopyPersistentCamera(&source, &part));
    }
    EXPECT_THAT(Workspace.calls, ElementsAre("Cameras template: source", "Cameras template: source"));
}

TEST_F(PartTemplateRun, TakesNoCamerasOverWhenOneOfTheDocumentsHasNone)
{
    for (ScriptedWorkspaceDocument* document : {&source, &part}) {
        document->hasStore = false;
        EXPECT_EQ(E_FAIL, CopyPersistentCamera(&source, &part));
        document->hasStore = true;
        document->offersCameras = false;
        EXPECT_EQ(E_FAIL, CopyPersistentCamera(&source, &part));
        document->offersCameras = true;
    }
    EXPECT_EQ(E_FAIL, CopyPersistentCamera(nullptr, &part));
    EXPECT_EQ(E_FAIL, CopyPersistentCamera(&source, nullptr));
    EXPECT_THAT(Workspace.calls, IsEmpty());
}

TEST_F(PartTemplateRun, ClosesDocumentsInTheirOrderWhateverTheAnswer)
{
    for (const HRESULT answer : {S_OK, E_FAIL}) {
        for (ScriptedWorkspaceDocument* document : {&source, &part}) {
            ++document->opens;
            ++document->locks;
        }
        Workspace.calls.clear();
        Workspace.answers = {{"Unlock", answer}, {"Remove", answer}};
        CloseDocuments({nullptr, &source, nullptr, &part});
        EXPECT_THAT(Workspace.calls,
                    ElementsAre("Unlock source 0", "Remove source 1", "Unlock template 0", "Remove template 1"));
    }
    CloseDocuments({});
}

TEST_F(PartTemplateRun, TakesEachAnswerThatIsNoFailure)
{
    part.openResult = S_FALSE;
    source.openResult = 7;
    part.saveResult = S_FALSE;
    EXPECT_EQ(S_FALSE, Apply()) << "the answer of the save";
    ExpectTemplateHeld();
    EXPECT_TRUE(exists(Destination));
}

class UnheardAnswer : public PartTemplateRun, public ::testing::WithParamInterface<const char*> {};

TEST_P(UnheardAnswer, ChangesNothing)
{
    Workspace.AddTool(source, "tool");
    Workspace.AddParameter(source, "finish", "zinc");
    Workspace.AddParameter(part, "own", "template");
    Workspace.answers[GetParam()] = E_FAIL;
    EXPECT_EQ(S_OK, Apply());
    const Texts calls = Workspace.calls;

    // The same once more, with answers that are no failures.
    Workspace.answers.clear();
    CloseDocuments(std::exchange(Held, {}));
    std::filesystem::remove(Destination);
    part.path = PartTemplate();
    part.root->publisher->parameters.pop_back();
    Workspace.calls.clear();
    EXPECT_EQ(S_OK, Apply());
    EXPECT_EQ(calls, Workspace.calls);
}

INSTANTIATE_TEST_SUITE_P(Each, UnheardAnswer,
                         ::testing::Values("Lock", "Unlock", "Remove", "Tools", "Formats", "Collect", "Work", "Cameras",
                                           "Read", "Children", "Append"),
                         [](const auto& word) { return std::string(word.param); });

class Move : public TemplateFixture {
protected:
    Texts MoveTraces() const { return TracesFrom("MoveFile - "); }
    std::string MovedTrace() const { return "from : " + from.string() + " to " + to.string(); }

    std::filesystem::path from = Downloaded("a.stp");
    std::filesystem::path to = Parts() / "b.stp";
};

TEST_F(Move, GivesTheFileItsNewPath)
{
    EXPECT_EQ(S_OK, MoveFile(Text(from), Text(to)));
    EXPECT_FALSE(exists(from));
    EXPECT_EQ("downloaded a.stp", ReadFile(to));
    EXPECT_THAT(MoveTraces(), ElementsAre(MovedTrace()));
}

TEST_F(Move, TakesPathsOutsideASCII)
{
    to = Parts() / "Schraube \u00FC \u6F22.stp";
    EXPECT_EQ(S_OK, MoveFile(Text(from), Text(to)));
    EXPECT_TRUE(exists(to));
}

TEST_F(Move, OverwritesNothing)
{
    Write(to, "old");
    EXPECT_EQ(S_FALSE, MoveFile(Text(from), Text(to)));
    EXPECT_EQ("old", ReadFile(to));
    std::filesystem::remove(to);
    std::filesystem::create_directory(to);
    EXPECT_EQ(S_FALSE, MoveFile(Text(from), Text(to))) << "a folder";
    EXPECT_TRUE(exists(from));
    const std::string trace = "file already exists in target, we do not overwrite";
    EXPECT_THAT(MoveTraces(), ElementsAre(trace, trace));
}

TEST_F(Move, MakesNoFolderAndKeepsTheFile)
{
    to = Parts() / "missing" / "b.stp";
    EXPECT_EQ(E_FAIL, MoveFile(Text(from), Text(to)));
    EXPECT_TRUE(exists(from));
    EXPECT_THAT(NamesIn(Parts()), IsEmpty());
    EXPECT_THAT(MoveTraces(), ElementsAre(MovedTrace(), "unable to move " + from.string() + " to " + to.string()));
}

TEST_F(Move, FailsWhereTheHostRefusesAndWithoutTheFile)
{
    const std::filesystem::path refused = Parts() / ".." / "b.stp";
    EXPECT_EQ(E_FAIL, MoveFile(Text(from), Text(refused)));
    EXPECT_TRUE(exists(from));
    EXPECT_FALSE(exists(Folder() / "b.stp"));
    std::filesystem::remove(from);
    EXPECT_EQ(E_FAIL, MoveFile(Text(from), Text(to)));
    EXPECT_FALSE(exists(to));
}

} // namespace
} // namespace openhost::testing
