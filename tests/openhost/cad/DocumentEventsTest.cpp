// What observers of a workspace are told, and the windows that it has.

#include "openhost/cad/FeatureContainer.h"
#include "tests/openhost/cad/WorkspaceFixture.h"

#include <gmock/gmock.h>

#include <map>

namespace openhost::testing {

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

std::string Text(const LoadedDocument& document, DocumentAction action)
{
    static const std::map<DocumentAction, std::string> names = {
        {DocumentAction::Loaded, "loaded"},       {DocumentAction::Opened, "opened"},
        {DocumentAction::Activated, "activated"}, {DocumentAction::Changed, "changed"},
        {DocumentAction::Saved, "saved"},         {DocumentAction::Closed, "closed"},
        {DocumentAction::Unloaded, "unloaded"}};
    return names.at(action) + " " + document.Path().stem().string();
}

class DocumentEventsTest : public WorkspaceFixture {
protected:
    DocumentEventsTest()
        : subscription_(Workspace().Subscribe([this](const LoadedDocument& document, DocumentAction action) {
              seen_.push_back(Text(document, action));
          }))
    {
    }
    /// What has been told since the last call.
    std::vector<std::string> Seen() { return std::exchange(seen_, {}); }
    void EndSubscription() { subscription_.reset(); }

private:
    std::vector<std::string> seen_;
    DocumentSubscription subscription_;
};

// ---------------------------------------------------------------------------------------------
// Observers

TEST_F(DocumentEventsTest, ALifeIsToldFromLoadingToUnloading)
{
    Part("bolt.ZALPart");
    LoadedDocument& top = OpenProduct("top.ZALProduct", {"b=bolt.ZALPart"});
    EXPECT_THAT(Seen(), ElementsAre("loaded top", "loaded bolt", "opened top"));
    LoadedDocument& bolt = Workspace().Open(File("bolt.ZALPart"));
    EXPECT_THAT(Seen(), ElementsAre("opened bolt"));
    Workspace().Close(bolt);
    EXPECT_THAT(Seen(), ElementsAre("closed bolt", "activated top"));
    Workspace().Close(top);
    EXPECT_THAT(Seen(), ElementsAre("closed top", "unloaded top", "unloaded bolt"));
}

TEST_F(DocumentEventsTest, WhatCannotBeLoadedIsNotTold)
{
    Product("a.ZALProduct", {"b=b.ZALProduct"});
    Product("b.ZALProduct", {"a=a.ZALProduct"});
    EXPECT_THAT(Reason([&] { Workspace().Open(File("a.ZALProduct")); }), HasSubstr("a part of itself"));
    EXPECT_THAT(Seen(), IsEmpty());
}

TEST_F(DocumentEventsTest, EachChangeIsToldAlsoOfAChangedDocument)
{
    LoadedDocument& top = OpenProduct("top.ZALProduct", {});
    Seen();
    Workspace().Change(top, "Change", [](CadDocument& contents) { contents.description = "one"; });
    Workspace().Change(top, "Change", [](CadDocument& contents) { contents.description = "two"; });
    Workspace().AddComponents(*top.Root(), {Part("bolt.ZALPart")});
    EXPECT_THAT(Seen(), ElementsAre("changed top", "changed top", "loaded bolt", "changed top"));
    Workspace().MoveComponent(*top.Children()[0], ShiftedBy({1, 2, 3}));
    EXPECT_THAT(Seen(), ElementsAre("changed top"));
    EXPECT_THAT(Told("action"), ElementsAre("opened", "changed", "changed", "changed"))
        << "the journal has one change of contents";
}

TEST_F(DocumentEventsTest, AChangeIsToldBeforeWhatItLetsGoOf)
{
    Part("bolt.ZALPart");
    LoadedDocument& top = OpenProduct("top.ZALProduct", {"b=bolt.ZALPart"});
    Seen();
    Workspace().ReplaceComponent(*top.Root(), *top.Children()[0], Part("nut.ZALPart"));
    EXPECT_THAT(Seen(), ElementsAre("loaded nut", "changed top", "unloaded bolt"));
}

TEST_F(DocumentEventsTest, SavingToAnotherFileChangesTheFathers)
{
    Part("bolt.ZALPart");
    LoadedDocument& top = OpenProduct("top.ZALProduct", {"b=bolt.ZALPart"});
    Seen();
    Workspace().SaveAs(*top.Children()[0]->Reference(), File("screw.ZALPart"));
    EXPECT_THAT(Seen(), ElementsAre("saved screw", "changed top"));
    Workspace().Save(top);
    EXPECT_THAT(Seen(), ElementsAre("saved top"));
}

TEST_F(DocumentEventsTest, TheWorkspaceIsAsToldDuringTheCall)
{
    std::vector<std::string> seen;
    const DocumentSubscription subscription =
        Workspace().Subscribe([&](const LoadedDocument& document, DocumentAction action) {
            const bool isLoaded = Workspace().Find(document.Path()) == &document;
            const bool isActive = Workspace().Active() == &document;
            seen.push_back(Text(document, action) + (isLoaded && document.Root() ? ", loaded" : "") +
                           (isActive ? ", active" : "") + (document.IsDirty() ? ", dirty" : ""));
        });
    LoadedDocument& top = OpenProduct("top.ZALProduct", {});
    Workspace().Change(top, "Change", [](CadDocument&) {});
    Workspace().Close(top);
    EXPECT_THAT(seen,
                ElementsAre("loaded top, loaded", "opened top, loaded, active", "changed top, loaded, active, dirty",
                            "closed top, loaded, dirty", "unloaded top, dirty"));
}

TEST_F(DocumentEventsTest, AnEndedSubscriptionIsNotCalled)
{
    EndSubscription();
    Workspace().Open(Part("bolt.ZALPart"));
    EXPECT_THAT(Seen(), IsEmpty());
}

TEST_F(DocumentEventsTest, ACallMayEndItsOwnAndOtherSubscriptions)
{
    int calls = 0;
    DocumentSubscription own;
    own = Workspace().Subscribe([&](const LoadedDocument&, DocumentAction) {
        ++calls;
        own.reset();
    });
    DocumentSubscription later = Workspace().Subscribe([&](const LoadedDocument&, DocumentAction) { ++calls; });
    const DocumentSubscription first = Workspace().Subscribe([&](const LoadedDocument&, DocumentAction) {});
    DocumentSubscription ending = Workspace().Subscribe([&](const LoadedDocument&, DocumentAction) { later.reset(); });
    Workspace().Open(Part("bolt.ZALPart"));
    EXPECT_EQ(2, calls);
}

TEST_F(DocumentEventsTest, ASubscriptionMayOutliveTheWorkspace)
{
    Part("bolt.ZALPart");
    OpenProduct("top.ZALProduct", {"b=bolt.ZALPart"});
    Seen();
    EndWorkspace();
    EXPECT_THAT(Seen(), UnorderedElementsAre("unloaded top", "unloaded bolt"));
    EndSubscription();
}

// ---------------------------------------------------------------------------------------------
// Windows

TEST_F(DocumentEventsTest, WindowsStayInTheOrderOfTheirOpening)
{
    LoadedDocument& first = Workspace().Open(Part("a.ZALPart"));
    LoadedDocument& second = Workspace().Open(Part("b.ZALPart"));
    LoadedDocument& third = Workspace().Open(Part("c.ZALPart"));
    Workspace().Activate(first);
    EXPECT_EQ(&first, Workspace().Active());
    EXPECT_THAT(Workspace().Windows(), ElementsAre(&first, &second, &third));
    Workspace().Close(first);
    EXPECT_EQ(&third, Workspace().Active()) << "the one that was active before";
    EXPECT_THAT(Workspace().Windows(), ElementsAre(&second, &third));
}

TEST_F(DocumentEventsTest, ActivatingTheActiveDocumentTellsNothing)
{
    LoadedDocument& first = Workspace().Open(Part("a.ZALPart"));
    Workspace().Open(Part("b.ZALPart"));
    Seen();
    Workspace().Activate(first);
    Workspace().Activate(first);
    EXPECT_THAT(Seen(), ElementsAre("activated a"));
}

TEST_F(DocumentEventsTest, OnlyADocumentWithAWindowIsActivated)
{
    Part("bolt.ZALPart");
    LoadedDocument& top = OpenProduct("top.ZALProduct", {"b=bolt.ZALPart"});
    LoadedDocument& bolt = *top.Children()[0]->Reference();
    EXPECT_THAT(Reason([&] { Workspace().Activate(bolt); }), HasSubstr("has no window"));
    EXPECT_EQ(&top, Workspace().Active());
}

// ---------------------------------------------------------------------------------------------
// New documents

TEST_F(DocumentEventsTest, ANewProductIsWrittenAndOpened)
{
    LoadedDocument& top = Workspace().New(DocumentKind::Product, File("top.ZALProduct"), "TOP");
    EXPECT_THAT(Seen(), ElementsAre("loaded top", "opened top"));
    EXPECT_EQ(&top, Workspace().Active());
    EXPECT_FALSE(top.IsDirty());
    const CadDocument written = ReadDocument(File("top.ZALProduct"));
    EXPECT_EQ(DocumentKind::Product, written.kind);
    EXPECT_EQ("TOP", written.partNumber);
    EXPECT_NE("", written.identity);
    Workspace().AddComponents(*top.Root(), {Part("bolt.ZALPart")});
    Workspace().Save(top);
    EXPECT_EQ(1U, ReadDocument(File("top.ZALProduct")).children.size());
}

TEST_F(DocumentEventsTest, ANewPartIsAsAReadOne)
{
    LoadedDocument& part = Workspace().New(DocumentKind::Part, File("part.ZALPart"), "PART");
    EXPECT_EQ(ReadDocument(File("part.ZALPart")), part.Contents());
    ASSERT_TRUE(part.Features()->Part());
    EXPECT_EQ(1U, part.Features()->Part()->Children().size());
}

TEST_F(DocumentEventsTest, ANewDocumentReplacesNothing)
{
    const std::string old = Read(Product("old.ZALProduct", {}).filename());
    const auto make = [&](const std::string& name, const std::string& partNumber) {
        return Reason([&] { Workspace().New(DocumentKind::Product, File(name), partNumber); });
    };
    EXPECT_THAT(make("old.ZALProduct", "NEW"), HasSubstr("old.ZALProduct"));
    EXPECT_EQ(old, Read("old.ZALProduct"));
    EXPECT_THAT(make("none/new.ZALProduct", "NEW"), HasSubstr("none/new.ZALProduct"));
    EXPECT_THAT(make("new.ZALPart", "NEW"), HasSubstr("needs the extension .ZALProduct"));
    EXPECT_NE("", make("new.ZALProduct", "a \x01 control character"));
    EXPECT_FALSE(std::filesystem::exists(File("new.ZALProduct")));
    Workspace().Open(File("old.ZALProduct"));
    std::filesystem::remove(File("old.ZALProduct"));
    EXPECT_THAT(make("old.ZALProduct", "NEW"), HasSubstr("another document of the workspace"));
    EXPECT_EQ(1U, Workspace().LoadedDocuments());
}

} // namespace

} // namespace openhost::testing
