// What was done to the documents of a workspace is undone, and done again.

#include "openhost/cad/FeatureContainer.h"
#include "openhost/cad/SolidKernel.h"
#include "openhost/loop/EventLoop.h"
#include "tests/openhost/cad/WorkspaceFixture.h"

#include <gmock/gmock.h>

namespace openhost::testing {

namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

/// Copies whatever it is given, and finds nothing wrong with it.
class AnySolids final : public SolidKernel {
public:
    SolidCopy Copy(const DocumentGeometry& geometry) override { return {geometry, {}}; }
    void Check(const DocumentGeometry&) override {}
};

class Undo : public WorkspaceFixture {
protected:
    Undo()
    {
        Workspace().KeepHistory();
        Part("bolt.ZALPart", "BOLT");
        Part("nut.ZALPart", "NUT");
        Product("sub.ZALProduct", {"BOLT.1=bolt.ZALPart"});
        top_ = &OpenProduct("top.ZALProduct", {"a=bolt.ZALPart", "b=bolt.ZALPart"});
        before_ = Read("top.ZALProduct");
    }

    LoadedDocument& Top() { return *top_; }
    WorkspaceProduct& Child(std::size_t index) { return *top_->Children().at(index); }
    LoadedDocument& Loaded(const std::string& name) { return *Workspace().Find(File(name)); }
    /// Does `change` as a step of its own.
    void Do(const std::function<void()>& change)
    {
        change();
        Workspace().EndStep();
    }
    void Insert(const std::string& name)
    {
        Do([&] { Workspace().AddComponents(*top_->Root(), {File(name)}); });
    }
    void ReplaceAll(const std::string& name)
    {
        Do([&] { Workspace().ReplaceAllInstances(*top_->Root(), Child(0), File(name)); });
    }
    void Describe(LoadedDocument& document, const std::string& text)
    {
        Do([&] {
            Workspace().Change(document, "Change Properties",
                               [&](CadDocument& contents) { contents.description = text; });
        });
    }
    /// What a file of `document` would hold.
    std::vector<std::string> Tree() const
    {
        std::vector<std::string> texts;
        for (const auto& child : top_->Children())
            texts.push_back(child->Name() + "=" +
                            (child->Reference() ? child->Reference()->Path().filename().string() : child->Problem()) +
                            "@" + std::to_string(static_cast<int>(child->GetPlacement()[3])));
        return texts;
    }
    const std::string& Before() const { return before_; }
    std::string Saved()
    {
        Workspace().Save(*top_);
        return Read("top.ZALProduct");
    }

private:
    LoadedDocument* top_;
    std::string before_;
};

// ---------------------------------------------------------------------------------------------
// Structure

TEST_F(Undo, PutsBackWhatAnInsertionHasAdded)
{
    Insert("nut.ZALPart");
    const Owned<WorkspaceProduct> added = Share(&Child(2));
    EXPECT_EQ("Insert", Workspace().NextUndo());
    Workspace().Undo();
    EXPECT_THAT(Tree(), ElementsAre("a=bolt.ZALPart@10", "b=bolt.ZALPart@20"));
    EXPECT_FALSE(Top().IsDirty());
    EXPECT_EQ(nullptr, added->Owner());
    EXPECT_EQ(nullptr, Workspace().Find(File("nut.ZALPart")));
    EXPECT_EQ("Insert", Workspace().NextRedo());
    Workspace().Redo();
    EXPECT_THAT(Tree(), ElementsAre("a=bolt.ZALPart@10", "b=bolt.ZALPart@20", "NUT.1=nut.ZALPart@0"));
    EXPECT_TRUE(Top().IsDirty());
    EXPECT_EQ(added.get(), &Child(2));
    EXPECT_EQ(&Top(), added->Owner());
    EXPECT_THAT(Told("action"), ElementsAre("opened", "changed", "undone", "redone"));
}

TEST_F(Undo, PutsBackAllThatWasReplaced)
{
    const WorkspaceProduct* first = &Child(0);
    ReplaceAll("nut.ZALPart");
    EXPECT_EQ("Replace All", Workspace().NextUndo());
    EXPECT_EQ(nullptr, Workspace().Find(File("bolt.ZALPart")));
    Workspace().Undo();
    EXPECT_THAT(Tree(), ElementsAre("a=bolt.ZALPart@10", "b=bolt.ZALPart@20"));
    EXPECT_EQ(first, &Child(0));
    EXPECT_EQ(nullptr, Workspace().Find(File("nut.ZALPart")));
    Workspace().Redo();
    EXPECT_THAT(Tree(), ElementsAre("a=nut.ZALPart@10", "b=nut.ZALPart@20"));
}

TEST_F(Undo, PutsBackPlacesPropertiesAndNumbers)
{
    Do([&] { Workspace().MoveComponent(Child(0), ShiftedBy({99, 0, 0})); });
    Do([&] { Workspace().Change(Top(), "Rename", [](CadDocument& contents) { contents.partNumber = "NEW"; }); });
    Insert("nut.ZALPart");
    EXPECT_EQ("NEW", Top().Root()->Name());
    for (const char* step : {"Insert", "Rename", "Move"}) {
        EXPECT_EQ(step, Workspace().NextUndo());
        Workspace().Undo();
    }
    EXPECT_EQ("top", Top().Root()->Name());
    EXPECT_EQ(10, Child(0).GetPlacement()[3]);
    EXPECT_EQ(std::nullopt, Workspace().NextUndo());
    Insert("nut.ZALPart");
    EXPECT_EQ("NUT.1", Child(2).Name()) << "the number is free again";
    EXPECT_EQ(std::nullopt, Workspace().NextRedo()) << "what follows replaces what was undone";
}

TEST_F(Undo, TakesWhatOneEventDoesAsOneStep)
{
    EventLoop::Current().Post([&] {
        Workspace().AddComponents(*Top().Root(), {File("nut.ZALPart")});
        Workspace().MoveComponent(Child(2), ShiftedBy({7, 0, 0}));
        Workspace().Change(Loaded("bolt.ZALPart"), "Change Properties",
                           [](CadDocument& contents) { contents.description = "new"; });
    });
    EventLoop::Current().RunUntilIdle();
    EventLoop::Current().Post([&] { Workspace().MoveComponent(Child(0), ShiftedBy({5, 0, 0})); });
    EventLoop::Current().RunUntilIdle();
    EXPECT_EQ("Move", Workspace().NextUndo());
    Workspace().Undo();
    EXPECT_THAT(Tree(), ElementsAre("a=bolt.ZALPart@10", "b=bolt.ZALPart@20", "NUT.1=nut.ZALPart@7"));
    Workspace().Undo();
    EXPECT_THAT(Tree(), ElementsAre("a=bolt.ZALPart@10", "b=bolt.ZALPart@20"));
    EXPECT_EQ("", Loaded("bolt.ZALPart").Contents().description);
    EXPECT_THAT(Workspace().Unsaved(), IsEmpty());
    EXPECT_EQ(std::nullopt, Workspace().NextUndo());
}

TEST_F(Undo, FailsWhenThereIsNothing)
{
    EXPECT_EQ("there is nothing to undo", Reason([&] { Workspace().Undo(); }));
    EXPECT_EQ("there is nothing to redo", Reason([&] { Workspace().Redo(); }));
}

TEST_F(Undo, OffersStepsOnlyOnceTheyAreKept)
{
    CadServices::Install(std::make_unique<CadWorkspace>());
    auto& workspace = dynamic_cast<CadWorkspace&>(CadServices::Current());
    LoadedDocument& top = workspace.Open(File("top.ZALProduct"));
    workspace.AddComponents(*top.Root(), {File("nut.ZALPart")});
    EXPECT_EQ(std::nullopt, workspace.NextUndo());
    workspace.KeepHistory();
    EXPECT_EQ(std::nullopt, workspace.NextUndo());
    workspace.AddComponents(*top.Root(), {File("nut.ZALPart")});
    EXPECT_EQ("Insert", workspace.NextUndo());
}

// ---------------------------------------------------------------------------------------------
// Files

TEST_F(Undo, KnowsWhatTheFileHolds)
{
    Insert("nut.ZALPart");
    EXPECT_NE(Before(), Saved());
    Workspace().Undo();
    EXPECT_TRUE(Top().IsDirty());
    Workspace().Redo();
    EXPECT_FALSE(Top().IsDirty());
    Workspace().Undo();
    EXPECT_EQ(Before(), Saved());
    EXPECT_FALSE(Top().IsDirty());
    Workspace().Redo();
    EXPECT_TRUE(Top().IsDirty());
}

TEST_F(Undo, KeepsUnsavedChangesOfWhatWasReplaced)
{
    Describe(Loaded("bolt.ZALPart"), "mine");
    ReplaceAll("nut.ZALPart");
    ASSERT_NE(nullptr, Workspace().Find(File("bolt.ZALPart")));
    EXPECT_THAT(Workspace().Unsaved(), ElementsAre(Loaded("bolt.ZALPart").Path(), Top().Path()));
    Workspace().Undo();
    EXPECT_EQ("mine", Child(0).Reference()->Contents().description);
    Workspace().Undo();
    EXPECT_EQ("", Child(0).Reference()->Contents().description);
    EXPECT_FALSE(Child(0).Reference()->IsDirty());
}

TEST_F(Undo, KeepsUnsavedChangesBelowWhatWasReplaced)
{
    Insert("sub.ZALProduct");
    Do([&] { Workspace().ReplaceAllInstances(*Top().Root(), Child(0), File("nut.ZALPart")); });
    Describe(Loaded("bolt.ZALPart"), "mine");
    Do([&] { Workspace().ReplaceComponent(*Top().Root(), Child(2), File("nut.ZALPart")); });
    Workspace().Undo();
    EXPECT_EQ("mine", Child(2).Reference()->Children()[0]->Reference()->Contents().description);
}

TEST_F(Undo, LetsGoOfWhatNothingCanBringBack)
{
    Describe(Loaded("bolt.ZALPart"), "mine");
    ReplaceAll("nut.ZALPart");
    for (std::size_t step = 0; step < History::MaximumSteps; ++step) {
        EXPECT_NE(nullptr, Workspace().Find(File("bolt.ZALPart"))) << step;
        Describe(Top(), std::to_string(step));
    }
    EXPECT_EQ(nullptr, Workspace().Find(File("bolt.ZALPart")));
    std::size_t undone = 0;
    for (; Workspace().NextUndo(); ++undone)
        Workspace().Undo();
    EXPECT_EQ(History::MaximumSteps, undone);
}

TEST_F(Undo, KeepsStepsOfTwoHundredThousandChildrenInAll)
{
    for (const auto& [children, steps] : {std::pair<std::size_t, std::size_t>{100'000, 2}, {100'001, 1}}) {
        const std::string name = std::to_string(children) + ".ZALProduct";
        std::vector<std::string> bolts;
        for (std::size_t index = 0; index < children; ++index)
            bolts.push_back(std::to_string(index) + "=bolt.ZALPart");
        LoadedDocument& many = OpenProduct(name, bolts);
        for (const double shift : {1.0, 2.0, 3.0})
            Do([&] { Workspace().MoveComponent(*many.Children().at(0), ShiftedBy({shift, 0, 0})); });
        std::size_t undone = 0;
        for (; Workspace().NextUndo(); ++undone)
            Workspace().Undo();
        EXPECT_EQ(steps, undone) << name;
        Workspace().Close(many);
    }
}

TEST_F(Undo, ForgetsWhatWasDoneToAClosedDocument)
{
    LoadedDocument& nut = Workspace().Open(File("nut.ZALPart"));
    Describe(nut, "mine");
    Describe(Loaded("bolt.ZALPart"), "mine");
    ReplaceAll("nut.ZALPart");
    Workspace().Close(Top());
    EXPECT_EQ(1U, Workspace().LoadedDocuments()) << "nothing brings the replaced one back";
    EXPECT_EQ("Change Properties", Workspace().NextUndo());
    Workspace().Undo();
    EXPECT_EQ("", nut.Contents().description);
    EXPECT_EQ(std::nullopt, Workspace().NextUndo());
}

TEST_F(Undo, OfAnInsertionKeepsWhatWasDoneToIt)
{
    Insert("sub.ZALProduct");
    LoadedDocument& sub = Loaded("sub.ZALProduct");
    Do([&] { Workspace().AddComponents(*sub.Root(), {File("nut.ZALPart")}); });
    Workspace().Undo();
    Workspace().Undo();
    Workspace().Redo();
    Workspace().Redo();
    EXPECT_EQ(2U, Loaded("sub.ZALProduct").Children().size());
    EXPECT_TRUE(Loaded("sub.ZALProduct").IsDirty());
}

TEST_F(Undo, OfAReplacementWhoseFileIsGoneTellsSo)
{
    ReplaceAll("nut.ZALPart");
    std::filesystem::remove(File("bolt.ZALPart"));
    Workspace().Undo();
    EXPECT_THAT(Tree(), ElementsAre("a=missing@10", "b=missing@20"));
    EXPECT_EQ("bolt.ZALPart", Child(0).Link());
    EXPECT_THAT(Told("reason"), ElementsAre(HasSubstr("bolt.ZALPart: missing")));
    EXPECT_EQ(Before(), Saved());
    Workspace().Redo();
    EXPECT_THAT(Tree(), ElementsAre("a=nut.ZALPart@10", "b=nut.ZALPart@20"));
}

TEST_F(Undo, NeverMakesAProductAPartOfItself)
{
    Insert("sub.ZALProduct");
    Workspace().Undo();
    Product("sub.ZALProduct", {"t=top.ZALProduct"});
    Workspace().Redo();
    EXPECT_EQ(nullptr, Child(2).Reference());
    EXPECT_THAT(Child(2).Problem(), HasSubstr("a part of itself"));
    EXPECT_EQ(nullptr, Workspace().Find(File("sub.ZALProduct")));
    Workspace().Undo();
    EXPECT_EQ(2U, Top().Children().size());
}

TEST_F(Undo, FollowsADocumentToItsNewFile)
{
    Do([&] { Workspace().MoveComponent(Child(0), ShiftedBy({99, 0, 0})); });
    Workspace().SaveAs(Loaded("bolt.ZALPart"), File("screw.ZALPart"));
    Workspace().Undo();
    EXPECT_THAT(Tree(), ElementsAre("a=screw.ZALPart@10", "b=screw.ZALPart@20"));
    EXPECT_TRUE(Top().IsDirty()) << "the file names the old one";
    Saved();
    EXPECT_THAT(ReadDocument(File("top.ZALProduct")).links, ElementsAre("screw.ZALPart"));
}

TEST_F(Undo, KeepsTheIdentityOfANewVersion)
{
    Describe(Top(), "mine");
    Workspace().SaveAsNew(Top(), File("other.ZALProduct"));
    const std::string identity = Top().Contents().identity;
    Workspace().Undo();
    EXPECT_EQ(identity, Top().Contents().identity);
    EXPECT_EQ("", Top().Contents().description);
}

TEST_F(Undo, LeavesDocumentsOfProgramsAlone)
{
    auto* hidden = dynamic_cast<LoadedDocument*>(Open("nut.ZALPart"));
    ASSERT_NE(nullptr, hidden);
    Describe(*hidden, "mine");
    EXPECT_EQ(std::nullopt, Workspace().NextUndo());
    Insert("nut.ZALPart");
    Describe(*hidden, "shown");
    Workspace().Undo();
    EXPECT_EQ("mine", hidden->Contents().description);
}

TEST_F(Undo, MayOutliveTheWorkspaceInTheLoop)
{
    Workspace().AddComponents(*Top().Root(), {File("nut.ZALPart")});
    EndWorkspace();
    EventLoop::Current().RunUntilIdle();
}

// ---------------------------------------------------------------------------------------------
// Features

class UndoOfFeatures : public Undo {
protected:
    UndoOfFeatures()
    {
        SolidKernel::Install(std::make_unique<AnySolids>());
        Workspace().Open(File("nut.ZALPart"));
    }
    ~UndoOfFeatures() override { SolidKernel::Install(nullptr); }

    PartFeature& Nut() { return *Loaded("nut.ZALPart").Features()->Part(); }
    void PasteBolt()
    {
        FeatureContainer& bolt = *Loaded("bolt.ZALPart").Features();
        const Owned<FeatureContainer> extracted = bolt.Extract(bolt.AllResults());
        Do([&] { Loaded("nut.ZALPart").Features()->Paste(extracted->AllResults(), {&Nut()}); });
    }
    /// Of the results in the part.
    std::vector<std::string> Boundaries()
    {
        std::vector<std::string> boundaries;
        for (const PartFeature* result : Loaded("nut.ZALPart").Features()->AllResults())
            boundaries.push_back(result->Geometry()->boundary);
        return boundaries;
    }
};

TEST_F(UndoOfFeatures, TakesPastedResultsAwayAndPutsThemBack)
{
    PasteBolt();
    const Owned<PartFeature> tool = Share(Nut().Children().at(1).get());
    EXPECT_EQ("Paste", Workspace().NextUndo());
    Workspace().Undo();
    EXPECT_THAT(Boundaries(), ElementsAre("geometry of nut.ZALPart"));
    EXPECT_FALSE(Loaded("nut.ZALPart").IsDirty());
    EXPECT_EQ(nullptr, tool->Container());
    Workspace().Redo();
    EXPECT_THAT(Boundaries(), ElementsAre("geometry of nut.ZALPart", "geometry of bolt.ZALPart"));
    EXPECT_EQ(tool.get(), Nut().Children().at(1).get());
}

TEST_F(UndoOfFeatures, KeepsSolidsThatAreGoneFromTheFile)
{
    LoadedDocument& nut = Loaded("nut.ZALPart");
    const std::string before = Read("nut.ZALPart");
    PasteBolt();
    Workspace().Save(nut);
    Workspace().Undo();
    Workspace().Save(nut);
    EXPECT_EQ(before, Read("nut.ZALPart"));
    Workspace().Redo();
    EXPECT_THAT(Boundaries(), ElementsAre("geometry of nut.ZALPart", "geometry of bolt.ZALPart"));
    Workspace().Save(nut);
    EXPECT_EQ("geometry of bolt.ZALPart", ReadDocument(nut.Path()).features.otherTools.at(0).geometry->boundary);
}

TEST_F(UndoOfFeatures, AnUpdateIsNoStep)
{
    Do([&] { Nut().Update(); });
    EXPECT_EQ(std::nullopt, Workspace().NextUndo());
    EXPECT_FALSE(Loaded("nut.ZALPart").IsDirty());
}

TEST_F(UndoOfFeatures, PutsBackFeaturesThatChangedAfterProperties)
{
    EventLoop::Current().Post([&] {
        Workspace().Change(Loaded("nut.ZALPart"), "Change Properties",
                           [](CadDocument& contents) { contents.description = "new"; });
        PasteBolt();
    });
    EventLoop::Current().RunUntilIdle();
    Workspace().Undo();
    EXPECT_EQ("", Loaded("nut.ZALPart").Contents().description);
    EXPECT_THAT(Boundaries(), ElementsAre("geometry of nut.ZALPart"));
    EXPECT_EQ(std::nullopt, Workspace().NextUndo());
}

} // namespace

} // namespace openhost::testing
