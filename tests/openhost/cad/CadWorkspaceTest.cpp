// Documents and products of a workspace.

#include "host/frame.h"
#include "openhost/cad/Automation.h"
#include "openhost/cad/ProductRep.h"
#include "openhost/cad/WorkspaceTree.h"
#include "tests/openhost/cad/WorkspaceFixture.h"

#include <gmock/gmock.h>

namespace openhost::testing {

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

template <class T>
Owned<T> Query(ZALBaseUnknown* object)
{
    ZALBaseUnknown* found = nullptr;
    object->QueryInterface(T::ClassName(), &found);
    return Owned<T>(static_cast<T*>(found));
}

class CadWorkspaceTest : public WorkspaceFixture {
protected:
    ~CadWorkspaceTest() override
    {
        EndWorkspace();
        EXPECT_EQ(0, LivingTexts());
        EXPECT_EQ(0, LivingArrays());
    }

    /// Names, files and positions along x of the children in the workspace.
    static std::vector<std::string> Children(const LoadedDocument& document)
    {
        std::vector<std::string> texts;
        for (const auto& child : document.Children())
            texts.push_back(child->Name() + "=" +
                            (child->Reference() ? child->Reference()->Path().filename().string() : child->Problem()) +
                            "@" + std::to_string(static_cast<int>(child->GetPlacement()[3])));
        return texts;
    }
    /// A chain of products over `leaf`, each with two components, named `one` and `other`, of the one below. Gives the
    /// file of the uppermost; all have the beginning `prefix`.
    std::string DoublingChain(const std::string& prefix, int levels, const std::string& one, const std::string& other)
    {
        std::string below = prefix + "0.ZALPart";
        for (int level = 1; level <= levels; ++level) {
            const std::string name = prefix + std::to_string(level) + ".ZALProduct";
            Product(name, {one + "=" + below, other + "=" + below});
            below = name;
        }
        return below;
    }
};

// ---------------------------------------------------------------------------------------------
// Opening

TEST_F(CadWorkspaceTest, OpeningReadsEachDocumentOnce)
{
    Part("bolt.ZALPart");
    Product("pair.ZALProduct", {"a=bolt.ZALPart", "b=bolt.ZALPart"});
    LoadedDocument& top = OpenProduct("top.ZALProduct", {"p=pair.ZALProduct", "q=pair.ZALProduct", "r=bolt.ZALPart"});
    EXPECT_EQ(3U, Workspace().LoadedDocuments());
    EXPECT_THAT(Children(top), ElementsAre("p=pair.ZALProduct@10", "q=pair.ZALProduct@20", "r=bolt.ZALPart@30"));
    EXPECT_EQ(top.Children()[0]->Reference(), top.Children()[1]->Reference());
    EXPECT_EQ(Workspace().Active(), &top);
    EXPECT_FALSE(top.IsDirty());
    EXPECT_FALSE(Workspace().Find(File("bolt.ZALPart"))->IsOpen());
}

TEST_F(CadWorkspaceTest, AnEditorIsThereAsLongAsADocumentIsOpen)
{
    EXPECT_EQ(nullptr, ZALFrmEditor::GetCurrentEditor());
    LoadedDocument& first = Workspace().Open(Part("a.ZALPart"));
    LoadedDocument& second = Workspace().Open(Part("b.ZALPart"));
    EXPECT_NE(ZALFrmEditor::GetCurrentEditor(), nullptr);
    Workspace().Close(second);
    EXPECT_EQ(Workspace().Active(), &first);
    EXPECT_NE(ZALFrmEditor::GetCurrentEditor(), nullptr);
    Workspace().Close(first);
    EXPECT_EQ(nullptr, ZALFrmEditor::GetCurrentEditor());
    EXPECT_EQ(0U, Workspace().LoadedDocuments());
    EXPECT_THAT(Told("action"), ElementsAre("opened", "opened", "closed", "activated", "closed"));
}

TEST_F(CadWorkspaceTest, ADocumentThatIsOpenBecomesActive)
{
    LoadedDocument& first = Workspace().Open(Part("a.ZALPart"));
    Workspace().Open(Part("b.ZALPart"));
    EXPECT_EQ(&Workspace().Open(File("x/../a.ZALPart")), &first);
    EXPECT_EQ(Workspace().Active(), &first);
}

TEST_F(CadWorkspaceTest, LinksLeadBesideTheDocumentFirst)
{
    std::filesystem::create_directory(File("other"));
    Part("other/bolt.ZALPart");
    Part("other/nut.ZALPart");
    Part("bolt.ZALPart");
    LoadedDocument& top =
        OpenProduct("top.ZALProduct", {"a=other/bolt.ZALPart", "b=other/nut.ZALPart", "c=C:\\parts\\bolt.ZALPart"});
    EXPECT_EQ(top.Children()[0]->Reference()->Path(), std::filesystem::canonical(File("bolt.ZALPart")));
    EXPECT_EQ(top.Children()[1]->Reference()->Path(), std::filesystem::canonical(File("other/nut.ZALPart")));
    EXPECT_EQ(top.Children()[2]->Reference(), top.Children()[0]->Reference());
}

TEST_F(CadWorkspaceTest, AMissingOrDamagedChildCostsNothingElse)
{
    Part("bolt.ZALPart");
    std::ofstream(File("text.ZALPart")) << "text";
    LoadedDocument& top = OpenProduct("top.ZALProduct", {"a=gone.ZALPart", "b=bolt.ZALPart", "c=text.ZALPart"});
    ASSERT_EQ(3U, top.Children().size());
    EXPECT_EQ("missing", top.Children()[0]->Problem());
    EXPECT_EQ("gone.ZALPart", top.Children()[0]->Link());
    EXPECT_TRUE(top.Children()[1]->Reference());
    EXPECT_THAT(top.Children()[2]->Problem(), HasSubstr("text.ZALPart"));
    EXPECT_FALSE(Query<ZALIPrdGhost>(top.Children()[0].get())->IsLoaded());
    EXPECT_TRUE(Query<ZALIPrdGhost>(top.Children()[1].get())->IsLoaded());
    EXPECT_TRUE(Query<ZALIAProducts>(top.Children()[0].get()));
    EXPECT_EQ(nullptr, Query<ZALIProduct>(top.Children()[0].get())->GetReferenceProduct());
    ZALUnicodeString partNumber;
    EXPECT_EQ(E_FAIL, Query<ZALIProduct>(top.Children()[0].get())->GetPartNumber(partNumber));
}

// ---------------------------------------------------------------------------------------------
// Adding

TEST_F(CadWorkspaceTest, AddedComponentsHaveNamesOfTheirOwnAndStandAtTheOrigin)
{
    Part("bolt.ZALPart", "BOLT");
    LoadedDocument& top = OpenProduct("top.ZALProduct", {"BOLT.2=bolt.ZALPart"});
    Workspace().AddComponents(*top.Root(), {File("bolt.ZALPart"), File("bolt.ZALPart")});
    Workspace().AddComponents(*top.Root(), {Part("nut.ZALPart", "NUT")});
    EXPECT_THAT(Children(top), ElementsAre("BOLT.2=bolt.ZALPart@10", "BOLT.1=bolt.ZALPart@0", "BOLT.3=bolt.ZALPart@0",
                                           "NUT.1=nut.ZALPart@0"));
    EXPECT_TRUE(top.IsDirty());
    EXPECT_THAT(Told("action"), ElementsAre("opened", "changed", "changed"));
}

TEST_F(CadWorkspaceTest, ComponentsAreAddedWhereAnInstanceRefersTo)
{
    Part("bolt.ZALPart");
    Product("sub.ZALProduct", {});
    LoadedDocument& top = OpenProduct("top.ZALProduct", {"s=sub.ZALProduct", "t=sub.ZALProduct"});
    Workspace().AddComponents(*top.Children()[1], {File("bolt.ZALPart")});
    EXPECT_FALSE(top.IsDirty());
    LoadedDocument& sub = *Workspace().Find(File("sub.ZALProduct"));
    EXPECT_TRUE(sub.IsDirty());
    EXPECT_EQ(1U, sub.Children().size());
}

TEST_F(CadWorkspaceTest, WhatARefusedListHasLoadedGoesOnce)
{
    LoadedDocument& top = OpenProduct("top.ZALProduct", {});
    Part("bolt.ZALPart");
    for (const char* sub : {"a.ZALProduct", "z.ZALProduct"}) {
        Product(sub, {"bolt=bolt.ZALPart"});
        EXPECT_NE(Reason([&] {
                      Workspace().AddComponents(*top.Root(), {File(sub), File("bolt.ZALPart"), File("none.ZALPart")});
                  }),
                  "");
        EXPECT_EQ(1U, Workspace().LoadedDocuments());
    }
    EXPECT_THAT(Children(top), IsEmpty());
    EXPECT_FALSE(top.IsDirty());
}

TEST_F(CadWorkspaceTest, NothingIsAddedToAPart)
{
    LoadedDocument& part = Workspace().Open(Part("a.ZALPart"));
    EXPECT_NE(Reason([&] { Workspace().AddComponents(*part.Root(), {Part("b.ZALPart")}); }), "");
    EXPECT_TRUE(Query<ZALIAProducts>(part.Root()));
}

TEST_F(CadWorkspaceTest, AFileThatALinkWouldNotLeadToIsRefused)
{
    std::filesystem::create_directory(File("other"));
    Part("bolt.ZALPart");
    LoadedDocument& top = OpenProduct("top.ZALProduct", {});
    // Of a file beside the product, or with a name that reads as a folder and a file.
    for (const char* file : {"other/bolt.ZALPart", "parts\\bolt.ZALPart"})
        EXPECT_THAT(Reason([&] { Workspace().AddComponents(*top.Root(), {Part(file, "bolt")}); }),
                    HasSubstr("another file of that name"))
            << file;
    EXPECT_THAT(Children(top), IsEmpty());
    EXPECT_EQ(1U, Workspace().LoadedDocuments());
}

TEST_F(CadWorkspaceTest, ALinkBesideTheProductThatLeadsToTheFileIsFollowed)
{
    std::filesystem::create_directory(File("other"));
    const auto bolt = Part("other/bolt.ZALPart");
    std::filesystem::create_symlink("other/bolt.ZALPart", File("bolt.ZALPart"));
    LoadedDocument& top = OpenProduct("top.ZALProduct", {});
    Workspace().AddComponents(*top.Root(), {bolt});
    Workspace().Save(top);
    Workspace().Close(top);
    EXPECT_THAT(Children(Workspace().Open(File("top.ZALProduct"))), ElementsAre("bolt.1=bolt.ZALPart@0"));
}

// ---------------------------------------------------------------------------------------------
// Replacing

TEST_F(CadWorkspaceTest, OneComponentIsReplacedInItsPlace)
{
    Part("bolt.ZALPart", "BOLT");
    LoadedDocument& top =
        OpenProduct("top.ZALProduct", {"BOLT.1=bolt.ZALPart", "mine=bolt.ZALPart", "BOLT.3=bolt.ZALPart"});
    Workspace().ReplaceComponent(*top.Root(), *top.Children()[0], Part("nut.ZALPart", "NUT"));
    EXPECT_THAT(Children(top), ElementsAre("NUT.1=nut.ZALPart@10", "mine=bolt.ZALPart@20", "BOLT.3=bolt.ZALPart@30"));
    EXPECT_TRUE(top.IsDirty());
}

TEST_F(CadWorkspaceTest, AllComponentsOfTheReferenceAreReplacedInTheirPlaces)
{
    Part("bolt.ZALPart", "BOLT");
    Part("pin.ZALPart", "PIN");
    LoadedDocument& top = Workspace().Open(Product(
        "top.ZALProduct", {"BOLT.1=bolt.ZALPart", "PIN.1=pin.ZALPart", "mine=bolt.ZALPart", "BOLT.3=bolt.ZALPart"}));
    Workspace().ReplaceAllInstances(*top.Root(), *top.Children()[3], Part("nut.ZALPart", "NUT"));
    EXPECT_THAT(Children(top), ElementsAre("NUT.1=nut.ZALPart@10", "PIN.1=pin.ZALPart@20", "mine=nut.ZALPart@30",
                                           "NUT.2=nut.ZALPart@40"));
    EXPECT_EQ(nullptr, Workspace().Find(File("bolt.ZALPart")));
}

TEST_F(CadWorkspaceTest, OtherFathersKeepTheirComponents)
{
    Part("bolt.ZALPart", "BOLT");
    Product("sub.ZALProduct", {"BOLT.1=bolt.ZALPart"});
    LoadedDocument& top = OpenProduct("top.ZALProduct", {"s=sub.ZALProduct", "BOLT.1=bolt.ZALPart"});
    Workspace().ReplaceAllInstances(*top.Root(), *top.Children()[1], Part("nut.ZALPart", "NUT"));
    EXPECT_THAT(Children(*Workspace().Find(File("sub.ZALProduct"))), ElementsAre("BOLT.1=bolt.ZALPart@10"));
}

TEST_F(CadWorkspaceTest, AMissingComponentCanBeReplaced)
{
    LoadedDocument& top = OpenProduct("top.ZALProduct", {"a=gone.ZALPart", "b=lost.ZALPart", "c=gone.ZALPart"});
    Workspace().ReplaceAllInstances(*top.Root(), *top.Children()[0], Part("nut.ZALPart"));
    EXPECT_THAT(Children(top), ElementsAre("a=nut.ZALPart@10", "b=missing@20", "c=nut.ZALPart@30"));
}

TEST_F(CadWorkspaceTest, OnlyAComponentOfTheProductIsReplaced)
{
    Part("bolt.ZALPart");
    Product("sub.ZALProduct", {"b=bolt.ZALPart"});
    LoadedDocument& top = OpenProduct("top.ZALProduct", {"s=sub.ZALProduct"});
    WorkspaceProduct& below = *top.Children()[0]->Reference()->Children()[0];
    const auto nut = Part("nut.ZALPart");
    EXPECT_NE(Reason([&] { Workspace().ReplaceComponent(*top.Root(), below, nut); }), "");
    EXPECT_NE(Reason([&] { Workspace().ReplaceAllInstances(*top.Root(), *top.Root(), nut); }), "");
    EXPECT_NE(Reason([&] { Workspace().ReplaceAllInstances(*top.Root(), *top.Children()[0], top.Path()); }), "");
    EXPECT_FALSE(top.IsDirty());
}

TEST_F(CadWorkspaceTest, AComponentReplacedByItsOwnFileStaysWhatItIs)
{
    Part("bolt.ZALPart", "BOLT");
    LoadedDocument& top = OpenProduct("top.ZALProduct", {"BOLT.7=bolt.ZALPart"});
    Workspace().ReplaceAllInstances(*top.Root(), *top.Children()[0], File("bolt.ZALPart"));
    EXPECT_THAT(Children(top), ElementsAre("BOLT.7=bolt.ZALPart@10"));
}

// ---------------------------------------------------------------------------------------------
// Saving and closing

TEST_F(CadWorkspaceTest, ASavedProductReadsBackAsItStands)
{
    Part("bolt.ZALPart", "BOLT");
    Part("pin.ZALPart", "PIN");
    LoadedDocument& top = OpenProduct("top.ZALProduct", {"BOLT.1=bolt.ZALPart", "g=gone.ZALPart", "PIN.1=pin.ZALPart"});
    Workspace().AddComponents(*top.Root(), {Part("nut.ZALPart", "NUT")});
    Workspace().ReplaceComponent(*top.Root(), *top.Children()[0], File("pin.ZALPart"));
    Workspace().Save(top);
    EXPECT_FALSE(top.IsDirty());

    const CadDocument saved = ReadDocument(top.Path());
    EXPECT_EQ("top", saved.partNumber);
    EXPECT_THAT(saved.links, ElementsAre("pin.ZALPart", "gone.ZALPart", "nut.ZALPart"));
    ASSERT_EQ(4U, saved.children.size());
    EXPECT_EQ("PIN.2", saved.children[0].name);
    EXPECT_EQ(10, saved.children[0].placement[3]);
    EXPECT_EQ(IdentityPlacement, saved.children[3].placement);
}

TEST_F(CadWorkspaceTest, AnUnchangedDocumentIsNotWritten)
{
    LoadedDocument& top = OpenProduct("top.ZALProduct", {});
    std::filesystem::remove(top.Path());
    Workspace().Save(top);
    EXPECT_FALSE(std::filesystem::exists(top.Path()));
}

TEST_F(CadWorkspaceTest, SaveAsKeepsGeometryLinksAndWhoRefersToIt)
{
    std::filesystem::create_directory(File("other"));
    LoadedDocument& top = Workspace().Open((Part("bolt.ZALPart"), Product("top.ZALProduct", {"b=bolt.ZALPart"})));
    LoadedDocument& bolt = *top.Children()[0]->Reference();
    Workspace().SaveAs(bolt, File("other/screw.ZALPart"));
    EXPECT_EQ("geometry of bolt.ZALPart", ReadDocument(File("other/screw.ZALPart")).geometry->boundary);
    EXPECT_TRUE(top.IsDirty());
    Workspace().Save(top);
    EXPECT_THAT(ReadDocument(top.Path()).links,
                ElementsAre(std::filesystem::canonical(File("other/screw.ZALPart")).string()));
    Workspace().SaveAs(top, File("other/top.ZALProduct"));
    EXPECT_THAT(ReadDocument(File("other/top.ZALProduct")).links, ElementsAre("screw.ZALPart"));
    EXPECT_EQ(nullptr, Workspace().Find(File("top.ZALProduct")));
}

TEST_F(CadWorkspaceTest, SaveAsRefusesAnotherKindAndAFileInUse)
{
    LoadedDocument& top = OpenProduct("top.ZALProduct", {});
    OpenProduct("b.ZALProduct", {});
    EXPECT_NE(Reason([&] { Workspace().SaveAs(top, File("top.ZALPart")); }), "");
    EXPECT_NE(Reason([&] { Workspace().SaveAs(top, File("b.ZALProduct")); }), "");
    EXPECT_NE(Reason([&] { Workspace().SaveAs(top, File("none/top.ZALProduct")); }), "");
    EXPECT_EQ(Workspace().Find(File("top.ZALProduct")), &top);
}

TEST_F(CadWorkspaceTest, SavesMoreDocumentsTogetherThanStayOpenAtOnce)
{
    constexpr int parts = 300;
    std::filesystem::create_directory(File("other"));
    LoadedDocument& top = OpenProduct("top.ZALProduct", {});
    std::vector<std::filesystem::path> files;
    for (int part = 0; part < parts; ++part)
        files.push_back(Part("p" + std::to_string(part) + ".ZALPart"));
    Workspace().AddComponents(*top.Root(), files);
    Workspace().Save(top);

    std::vector<CadWorkspace::DocumentCopy> copies;
    for (const auto& child : top.Children())
        copies.push_back({child->Reference(), File("other") / child->Reference()->Path().filename()});
    copies.push_back({&top, File("other/top.ZALProduct")});
    Workspace().SaveAs(copies);

    EXPECT_TRUE(Workspace().Unsaved().empty());
    const CadDocument saved = ReadDocument(File("other/top.ZALProduct"));
    ASSERT_EQ(std::size_t{parts}, saved.links.size());
    EXPECT_EQ("p299.ZALPart", saved.links.back());
    EXPECT_EQ("geometry of p299.ZALPart", ReadDocument(File("other/p299.ZALPart")).geometry->boundary);
    EXPECT_EQ(Workspace().Find(File("other/p0.ZALPart")), top.Children()[0]->Reference());
    EXPECT_EQ(nullptr, Workspace().Find(File("p0.ZALPart")));
}

TEST_F(CadWorkspaceTest, SavesTheDocumentsBeforeTheOneThatCannotBe)
{
    LoadedDocument& top = OpenProduct("top.ZALProduct", {});
    Workspace().AddComponents(*top.Root(), {Part("a.ZALPart"), Part("b.ZALPart"), Part("c.ZALPart")});
    LoadedDocument& a = *top.Children()[0]->Reference();
    LoadedDocument& b = *top.Children()[1]->Reference();
    LoadedDocument& c = *top.Children()[2]->Reference();
    EXPECT_NE(
        "", Reason([&] {
            Workspace().SaveAs({{&a, File("a2.ZALPart")}, {&b, File("none/b2.ZALPart")}, {&c, File("c2.ZALPart")}});
        }));
    EXPECT_EQ(File("a2.ZALPart"), a.Path());
    EXPECT_TRUE(std::filesystem::exists(File("a2.ZALPart")));
    EXPECT_EQ(File("b.ZALPart"), b.Path());
    EXPECT_EQ(File("c.ZALPart"), c.Path());
    EXPECT_FALSE(std::filesystem::exists(File("c2.ZALPart")));
}

TEST_F(CadWorkspaceTest, RefusesTheSameFileOrDocumentTwiceAmongSeveral)
{
    LoadedDocument& top = OpenProduct("top.ZALProduct", {});
    Workspace().AddComponents(*top.Root(), {Part("a.ZALPart"), Part("b.ZALPart")});
    LoadedDocument& a = *top.Children()[0]->Reference();
    LoadedDocument& b = *top.Children()[1]->Reference();
    EXPECT_THAT(Reason([&] {
                    Workspace().SaveAs({{&a, File("c.ZALPart")}, {&b, File("c.ZALPart")}});
                }),
                ::testing::HasSubstr("another document of the workspace has this file"));
    EXPECT_THAT(Reason([&] {
                    Workspace().SaveAs({{&b, File("d.ZALPart")}, {&b, File("e.ZALPart")}});
                }),
                ::testing::HasSubstr("the document is to be saved twice"));
}

TEST_F(CadWorkspaceTest, LinksThatNoChildUsesAreKept)
{
    CadDocument document;
    document.kind = DocumentKind::Product;
    document.links = {"drawing.ZALPart"};
    WriteDocument(document, File("top.ZALProduct"));
    LoadedDocument& top = Workspace().Open(File("top.ZALProduct"));
    Workspace().AddComponents(*top.Root(), {Part("bolt.ZALPart")});
    Workspace().Save(top);
    EXPECT_THAT(ReadDocument(top.Path()).links, ElementsAre("bolt.ZALPart", "drawing.ZALPart"));
}

TEST_F(CadWorkspaceTest, AClosedDocumentStaysWhileAnotherRefersToIt)
{
    LoadedDocument& bolt = Workspace().Open(Part("bolt.ZALPart"));
    LoadedDocument& top = OpenProduct("top.ZALProduct", {"b=bolt.ZALPart"});
    Workspace().Close(bolt);
    EXPECT_EQ(Workspace().Find(File("bolt.ZALPart")), &bolt);
    Workspace().Close(top);
    EXPECT_EQ(0U, Workspace().LoadedDocuments());
}

TEST_F(CadWorkspaceTest, WhatSeveralHaveReferredToGoesOnceWithTheLast)
{
    Part("bolt.ZALPart");
    std::vector<std::string> components;
    for (int number = 0; number < 5; ++number) {
        const std::string sub = "sub" + std::to_string(number) + ".ZALProduct";
        Product(sub, {"bolt=bolt.ZALPart"});
        components.push_back(sub + "=" + sub);
    }
    components.push_back("bolt=bolt.ZALPart");
    Product("top.ZALProduct", components);
    components.insert(components.begin(), "first=bolt.ZALPart");
    Product("other.ZALProduct", components);
    for (const char* name : {"top.ZALProduct", "other.ZALProduct"}) {
        LoadedDocument& top = Workspace().Open(File(name));
        EXPECT_EQ(7U, Workspace().LoadedDocuments());
        Workspace().Close(top);
        EXPECT_EQ(0U, Workspace().LoadedDocuments());
    }
}

TEST_F(CadWorkspaceTest, WhatIsKeptBeyondTheWorkspaceKnowsNothingAnyMore)
{
    Part("bolt.ZALPart");
    LoadedDocument& top = OpenProduct("top.ZALProduct", {"b=bolt.ZALPart"});
    const Owned<ZALIProduct> child = Query<ZALIProduct>(top.Children()[0].get());
    const Owned<ZALIAProducts> components = Query<ZALIAProducts>(top.Root());
    const Owned<ZALINameServerAccess> access = Query<ZALINameServerAccess>(top.Root());
    EndWorkspace();
    EXPECT_EQ(nullptr, child->GetFatherProduct());
    EXPECT_EQ(nullptr, child->GetReferenceProduct());
    EXPECT_EQ(nullptr, Owned<ZALNameServer>(access->GetNameServer())->GetEntries());
    ZALVariant files;
    BuildSafeArrayVariant({}, files);
    ZALBSTR method = ConvertToBSTR("*");
    EXPECT_EQ(E_FAIL, components->AddComponentsFromFiles(files, method));
    ZALFreeString(method);
    FreeVariantSafeArray(files);
}

// ---------------------------------------------------------------------------------------------
// The host view

TEST_F(CadWorkspaceTest, ProductsKnowTheirFatherAndReference)
{
    Part("bolt.ZALPart", "BOLT");
    LoadedDocument& top = OpenProduct("top.ZALProduct", {"b=bolt.ZALPart"});
    const Owned<ZALIProduct> root = Query<ZALIProduct>(top.Root());
    const Owned<ZALIProduct> child = Query<ZALIProduct>(top.Children()[0].get());
    EXPECT_EQ(nullptr, root->GetFatherProduct());
    EXPECT_EQ(Owned<ZALIProduct>(root->GetReferenceProduct())->GetImpl(0), top.Root());
    EXPECT_EQ(Owned<ZALIProduct>(child->GetFatherProduct())->GetImpl(0), top.Root());
    EXPECT_EQ(Owned<ZALIProduct>(child->GetReferenceProduct())->GetImpl(0),
              Workspace().Find(File("bolt.ZALPart"))->Root());
    EXPECT_TRUE(ZALPrdIsAProductFromZALPart(child.get()));
    EXPECT_FALSE(ZALPrdIsAProductFromZALPart(root.get()));
    ZALUnicodeString partNumber;
    EXPECT_EQ(S_OK, child->GetPartNumber(partNumber));
    EXPECT_EQ("BOLT", ToUtf8(partNumber));
}

TEST_F(CadWorkspaceTest, TheFrameOpensDocuments)
{
    const auto file = Part("bolt.ZALPart");
    ZALIAApplication_var application(ZALApplicationFrame::GetFrame());
    ASSERT_TRUE(application);
    ZALIADocuments* collection = nullptr;
    ASSERT_EQ(S_OK, application->GetDocuments(&collection));
    const Owned<ZALIADocuments> documents(collection);
    ZALIADocument* opened = nullptr;
    ZALBSTR path = ConvertToBSTR(FromUtf8(file.string()));
    EXPECT_EQ(S_OK, documents->Open(path, &opened));
    ASSERT_TRUE(opened);
    opened->Release();
    ZALFreeString(path);
    path = ConvertToBSTR("/none.ZALPart");
    EXPECT_EQ(E_FAIL, documents->Open(path, &opened));
    EXPECT_EQ(nullptr, opened);
    ZALFreeString(path);
    EXPECT_THAT(Told("action"), ElementsAre("opened", "refused"));
}

TEST_F(CadWorkspaceTest, LoadedDocumentsAreFoundByTheirPath)
{
    Part("bolt.ZALPart");
    OpenProduct("top.ZALProduct", {"b=bolt.ZALPart"});
    ZALDocument* document = nullptr;
    ASSERT_EQ(S_OK, ZALDocumentServices::GetDocumentInSession(FromUtf8(File("bolt.ZALPart").string()), &document));
    EXPECT_TRUE(PrdGiveDocRootProduct(document));
    document->Release();
    EXPECT_EQ(E_FAIL, ZALDocumentServices::GetDocumentInSession("/none", &document));
    EXPECT_EQ(nullptr, document);
    EXPECT_EQ(E_FAIL, ZALDocumentServices::GetDocumentInSession("", &document));
    EXPECT_FALSE(PrdGiveDocRootProduct(nullptr));
}

// ---------------------------------------------------------------------------------------------
// Part numbers and paths

TEST_F(CadWorkspaceTest, APartNumberIsDisputedWhenTwoDocumentsOfATreeHaveIt)
{
    Part("bolt.ZALPart", "BOLT");
    LoadedDocument& top = OpenProduct("top.ZALProduct", {"a=bolt.ZALPart", "b=bolt.ZALPart"});
    EXPECT_THAT(Workspace().DisputedPartNumbers(top), IsEmpty());
    Workspace().AddComponents(*top.Root(), {Part("copy.ZALPart", "bolt")});
    EXPECT_THAT(Workspace().DisputedPartNumbers(top), IsEmpty());
    Workspace().AddComponents(*top.Root(), {Part("screw.ZALPart", "BOLT")});
    EXPECT_THAT(Workspace().DisputedPartNumbers(top), ElementsAre("BOLT"));
    EXPECT_THAT(Workspace().DisputedPartNumbers(*Workspace().Find(File("bolt.ZALPart"))), ElementsAre("BOLT"));
    Workspace().ReplaceAllInstances(*top.Root(), *top.Children()[0], File("screw.ZALPart"));
    EXPECT_THAT(Workspace().DisputedPartNumbers(top), IsEmpty());
}

TEST_F(CadWorkspaceTest, APartNumberIsDisputedAcrossLevelsAndByTheRootItself)
{
    Part("bolt.ZALPart", "BOLT");
    Product("inner.ZALProduct", {"b=bolt.ZALPart"});
    Product("outer.ZALProduct", {"i=inner.ZALProduct"}, "OUTER");
    Part("outer.ZALPart", "OUTER");
    Part("screw.ZALPart", "BOLT");
    LoadedDocument& top =
        OpenProduct("top.ZALProduct", {"o=outer.ZALProduct", "s=screw.ZALPart", "p=outer.ZALPart"}, "TOP");
    EXPECT_THAT(Workspace().DisputedPartNumbers(top), ElementsAre("BOLT", "OUTER"));
    OpenProduct("alone.ZALProduct", {"o=outer.ZALProduct"}, "OUTER");
    EXPECT_THAT(Workspace().DisputedPartNumbers(*Workspace().Active()), ElementsAre("OUTER"));
}

TEST_F(CadWorkspaceTest, ADocumentOfAnotherTreeDisputesNothing)
{
    Workspace().Open(Part("bolt.ZALPart", "BOLT"));
    LoadedDocument& top = OpenProduct("top.ZALProduct", {"a=screw.ZALPart"});
    Workspace().AddComponents(*top.Root(), {Part("screw.ZALPart", "BOLT")});
    EXPECT_THAT(Workspace().DisputedPartNumbers(top), IsEmpty());
}

TEST_F(CadWorkspaceTest, APathIsFoundByItsNames)
{
    Part("bolt.ZALPart");
    Product("sub.ZALProduct", {"B/1=bolt.ZALPart", "B=bolt.ZALPart"});
    LoadedDocument& top = OpenProduct("top.ZALProduct", {"s=sub.ZALProduct", "s.2=sub.ZALProduct"}, "TOP");
    const Owned<ZALPathElement> path(Workspace().FindPath("TOP/s.2/B/1"));
    ASSERT_TRUE(path);
    path->InitToLeafElement();
    EXPECT_EQ(path->GetNextFatherObject(), top.Children()[0]->Reference()->Children()[0].get());
    EXPECT_EQ(path->GetNextFatherObject(), top.Children()[1].get());
    EXPECT_EQ(path->GetNextFatherObject(), top.Root());
    EXPECT_EQ(nullptr, path->GetNextFatherObject());
    for (const char* none : {"", "TO", "TOP/", "TOP/x", "TOP/s/B/2", "s", "TOP/s/B/1/", "TOPs"})
        EXPECT_EQ(nullptr, Workspace().FindPath(none)) << none;
    EXPECT_TRUE(Owned<ZALPathElement>(Workspace().FindPath("TOP")));
}

TEST_F(CadWorkspaceTest, NamesThatFitInManyWaysAreTriedOnce)
{
    Part("L0.ZALPart");
    Workspace().Open(File(DoublingChain("L", 60, "a", "a/a")));
    std::string names = "L60";
    for (int level = 1; level <= 60; ++level)
        names += "/a/a";
    EXPECT_TRUE(Owned<ZALPathElement>(Workspace().FindPath(names)));
    EXPECT_EQ(nullptr, Workspace().FindPath(names.substr(0, names.size() - 20) + "/b"));
}

TEST_F(CadWorkspaceTest, TheTreeIsToldWithPositionsAndProblems)
{
    Part("bolt.ZALPart", "BOLT");
    LoadedDocument& top = OpenProduct("top.ZALProduct", {"a=bolt.ZALPart", "b=gone.ZALPart"});
    const nlohmann::ordered_json tree = DescribeTree(top);
    EXPECT_EQ("top", tree["name"]);
    ASSERT_EQ(2U, tree["children"].size());
    EXPECT_EQ("BOLT", tree["children"][0]["partNumber"]);
    EXPECT_EQ(tree["children"][0]["at"], nlohmann::ordered_json({10.0, 0.0, 0.0}));
    EXPECT_EQ("missing", tree["children"][1]["problem"]);
}

TEST_F(CadWorkspaceTest, ATreeThatUnfoldsWithoutEndIsCutOff)
{
    Part("L0.ZALPart");
    LoadedDocument& top = Workspace().Open(File(DoublingChain("L", 30, "a", "b")));
    EXPECT_EQ(31U, Workspace().LoadedDocuments());
    EXPECT_THAT(DescribeTree(top).dump(), HasSubstr("\"more\":true"));
}

TEST_F(CadWorkspaceTest, ATreeWithLongNamesIsCutOffEarlier)
{
    Part("bolt.ZALPart");
    std::vector<std::string> components;
    for (int number = 0; number < 100; ++number)
        components.push_back(std::to_string(number) + std::string(60'000, 'n') + "=bolt.ZALPart");
    Product("sub.ZALProduct", components);
    components.clear();
    for (int number = 0; number < 100; ++number)
        components.push_back(std::to_string(number) + "=sub.ZALProduct");
    const std::string tree = DescribeTree(OpenProduct("top.ZALProduct", components)).dump();
    EXPECT_THAT(tree.size(), ::testing::AllOf(::testing::Gt(1U << 20), ::testing::Lt(20U << 20)));
    EXPECT_TRUE(tree.find("\"more\":true") != std::string::npos);
}

// ---------------------------------------------------------------------------------------------
// Names and display

TEST_F(CadWorkspaceTest, TheAliasOfAProductIsItsPartNumber)
{
    Part("bolt.ZALPart", "BOLT");
    LoadedDocument& top = OpenProduct("top.ZALProduct", {"b=bolt.ZALPart"}, "TOP");
    EXPECT_EQ("TOP", ToUtf8(Query<ZALIAlias>(top.Root())->GetAlias()));
    EXPECT_EQ("BOLT", ToUtf8(Query<ZALIAlias>(top.Children()[0]->Reference()->Root())->GetAlias()));
    EXPECT_EQ(nullptr, Query<ZALIAlias>(top.Children()[0].get()))
        << "an instance has the alias of its reference product";
}

TEST_F(CadWorkspaceTest, ADocumentWithoutPartNumberHasAnEmptyAlias)
{
    CadDocument nameless;
    WriteDocument(nameless, File("nameless.ZALPart"));
    const Owned<ZALIAlias> alias = Query<ZALIAlias>(Workspace().Open(File("nameless.ZALPart")).Root());
    EXPECT_EQ("", ToUtf8(alias->GetAlias()));
    EndWorkspace();
    EXPECT_EQ("", ToUtf8(alias->GetAlias())) << "nor has one that the workspace has let go of";
}

std::vector<ShownPart> ShownBy(ZALBaseUnknown* product)
{
    ZALRep* rep = Query<ZALI3DGeoVisu>(product)->GiveRep();
    return rep ? dynamic_cast<ProductRep&>(*rep).Parts() : std::vector<ShownPart>{};
}

TEST_F(CadWorkspaceTest, TheDisplayShowsEachPartInItsPlace)
{
    const std::filesystem::path bolt = Part("bolt.ZALPart");
    const std::filesystem::path nut = Part("nut.ZALPart");
    Product("sub.ZALProduct", {"a=bolt.ZALPart", "b=nut.ZALPart"});
    LoadedDocument& top = OpenProduct("top.ZALProduct", {"n=nut.ZALPart", "s=sub.ZALProduct"});
    EXPECT_THAT(ShownBy(top.Root()),
                ElementsAre(ShownPart{nut, ShiftedBy({10, 0, 0})}, ShownPart{bolt, ShiftedBy({30, 0, 0})},
                            ShownPart{nut, ShiftedBy({40, 0, 0})}));
    EXPECT_THAT(ShownBy(top.Children()[1].get()),
                ElementsAre(ShownPart{bolt, ShiftedBy({10, 0, 0})}, ShownPart{nut, ShiftedBy({20, 0, 0})}))
        << "in the place of the sub-product itself";
    EXPECT_THAT(ShownBy(top.Children()[0].get()), ElementsAre(ShownPart{nut, IdentityPlacement}));
}

TEST_F(CadWorkspaceTest, TurnedProductsTurnWhatStandsInThem)
{
    const std::filesystem::path bolt = Part("bolt.ZALPart");
    Product("sub.ZALProduct", {"a=bolt.ZALPart"});
    CadDocument top;
    top.kind = DocumentKind::Product;
    top.links = {"sub.ZALProduct"};
    top.children = {{"s", 0, {0, -1, 0, 5, 1, 0, 0, 6, 0, 0, 1, 7}}}; // a quarter turn about z
    WriteDocument(top, File("top.ZALProduct"));
    EXPECT_THAT(ShownBy(Workspace().Open(File("top.ZALProduct")).Root()),
                ElementsAre(ShownPart{bolt, {0, -1, 0, 5, 1, 0, 0, 16, 0, 0, 1, 7}}));
}

TEST_F(CadWorkspaceTest, TheDisplayShowsNothingOfWhatIsMissingOrHasNoGeometry)
{
    const std::filesystem::path bolt = Part("bolt.ZALPart");
    CadDocument bare;
    WriteDocument(bare, File("bare.ZALPart"));
    LoadedDocument& top = OpenProduct("top.ZALProduct", {"g=gone.ZALPart", "b=bare.ZALPart", "c=bolt.ZALPart"});
    EXPECT_THAT(ShownBy(top.Root()), ElementsAre(ShownPart{bolt, ShiftedBy({30, 0, 0})}));
    EXPECT_EQ(nullptr, Query<ZALI3DGeoVisu>(top.Children()[0].get())->GiveRep());
    EXPECT_EQ(nullptr, Query<ZALI3DGeoVisu>(top.Children()[1].get())->GiveRep());
    EXPECT_EQ(nullptr, Query<ZALI3DGeoVisu>(OpenProduct("empty.ZALProduct", {}).Root())->GiveRep());
}

TEST_F(CadWorkspaceTest, ARepresentationStaysUntilTheProductChanges)
{
    Part("bolt.ZALPart");
    LoadedDocument& top = OpenProduct("top.ZALProduct", {"b=bolt.ZALPart"});
    const Owned<ZALI3DGeoVisu> display = Query<ZALI3DGeoVisu>(top.Root());
    ZALRep* rep = display->GiveRep();
    EXPECT_EQ(Query<ZALI3DGeoVisu>(top.Root())->GiveRep(), rep);
    Workspace().AddComponents(*top.Root(), {Part("nut.ZALPart")});
    EXPECT_EQ(2U, ShownBy(top.Root()).size());
    EndWorkspace();
    EXPECT_EQ(nullptr, display->GiveRep());
}

TEST_F(CadWorkspaceTest, ATreeThatUnfoldsWithoutEndIsNotShown)
{
    for (const bool geometry : {true, false}) {
        const std::string prefix = geometry ? "G" : "E";
        CadDocument leaf;
        if (geometry)
            leaf.geometry = DocumentGeometry{GeometryFacts{1, 6, 1, 6, {}}, "geometry"};
        WriteDocument(leaf, File(prefix + "0.ZALPart"));
        EXPECT_THAT(ShownBy(Workspace().Open(File(DoublingChain(prefix, 60, "a", "b"))).Root()), IsEmpty());
        EXPECT_EQ(ShownBy(Workspace().Open(File(prefix + "9.ZALProduct")).Root()).size(), geometry ? 512U : 0U);
    }
}

} // namespace

} // namespace openhost::testing
