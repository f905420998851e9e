// Documents that programs open, and where their products stand.

#include "host/frame.h"
#include "tests/openhost/cad/WorkspaceFixture.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>
#include <sstream>

namespace openhost::testing {

namespace {

using ::testing::ElementsAre;

class ProgramDocuments : public WorkspaceFixture {
protected:
    /// The events in words.
    std::vector<std::string> Texts() const
    {
        std::vector<std::string> texts;
        for (const nlohmann::ordered_json& event : Events()) {
            texts.push_back(event["action"]);
            if (event.contains("path"))
                texts.back() += " " + std::filesystem::path(event["path"].get<std::string>()).filename().string();
            if (event.contains("hidden"))
                texts.back() += event["hidden"] == true ? ", hidden" : ", ?";
            if (event.contains("operation"))
                texts.back() += " " + event["operation"].get<std::string>();
        }
        return texts;
    }
    /// Adds the root of `part` to that of `product`.
    static ZALIAProduct_var Add(ZALDocument* product, ZALDocument* part)
    {
        ZALIAProduct* added = nullptr;
        EXPECT_EQ(S_OK, ZALIAProducts_var(PrdGiveDocRootProduct(product))
                            ->AddComponent(ZALIAProduct_var(PrdGiveDocRootProduct(part)).Get(), &added));
        return ZALIAProduct_var::Take(added);
    }
    static ZALListValZALBaseUnknown_var ChildrenOf(const ZALIProduct_var& product)
    {
        ZALListValZALBaseUnknown_var children;
        EXPECT_EQ(S_OK, product->GetChildren("ZALIProduct", children));
        return children;
    }
    static std::string Describe(const ZALMathTransformation& position)
    {
        std::ostringstream text;
        for (const double number : position.Shift)
            text << std::round(number * 1000) / 1000 + 0.0 << " ";
        text << (std::abs(position.Rotation[0][0] - 1) < 1e-9 ? "straight" : "turned");
        return text.str();
    }
    /// Part number and position in `root` of each instance below it.
    static std::vector<std::string> Instances(const ZALIProduct_var& root)
    {
        std::vector<std::string> instances;
        const ZALListValZALBaseUnknown_var children = ChildrenOf(root);
        for (int index = 1; index <= children.Size(); ++index) {
            const ZALIProduct_var child(children[index]);
            ZALUnicodeString partNumber;
            child->GetPartNumber(partNumber);
            ZALMathTransformation position;
            EXPECT_EQ(S_OK, ZALIMovable_var(child)->GetPosition(position, ZALIMovable_var(root).Get(), 0, 1));
            instances.push_back(ToUtf8(partNumber) + " " + Describe(position));
        }
        return instances;
    }
};

// ---------------------------------------------------------------------------------------------
// Life of documents

TEST_F(ProgramDocuments, OneOpensWithoutAWindowAndEndsWithItsRemoval)
{
    Part("p.ZALPart");
    ZALDocument* document = Open("p.ZALPart");
    EXPECT_EQ(ToUtf8(document->StorageName()), std::filesystem::canonical(File("p.ZALPart")).string());
    EXPECT_EQ(nullptr, Workspace().Active());
    EXPECT_EQ(1U, Workspace().LoadedDocuments());
    EXPECT_EQ(nullptr, ZALFrmEditor::GetCurrentEditor());
    Close(document);
    EXPECT_EQ(0U, Workspace().LoadedDocuments());
    EXPECT_THAT(Texts(), ElementsAre("opened p.ZALPart, hidden", "closed p.ZALPart, hidden"));
}

TEST_F(ProgramDocuments, FilesThatAreNoDocumentsAreRefused)
{
    Write("broken.ZALPart", "no document");
    for (const char* name : {"broken.ZALPart", "missing.ZALPart", ""}) {
        ZALDocument* document = reinterpret_cast<ZALDocument*>(this);
        EXPECT_EQ(E_FAIL, ZALDocumentServices::Open(name[0] ? Path(name) : ZALUnicodeString(), document, 0)) << name;
        EXPECT_EQ(nullptr, document) << name;
    }
    EXPECT_EQ(0U, Workspace().LoadedDocuments());
    EXPECT_THAT(Texts(), ElementsAre("refused Open", "refused Open", "refused Open"));
}

TEST_F(ProgramDocuments, OneStaysUntilEachOpenHasItsRemoval)
{
    Part("p.ZALPart");
    ZALDocument* first = Open("p.ZALPart");
    ZALDocument* second = Open("p.ZALPart");
    EXPECT_EQ(first, second);
    Close(first);
    EXPECT_EQ(1U, Workspace().LoadedDocuments());
    Close(second);
    EXPECT_EQ(0U, Workspace().LoadedDocuments());
}

TEST_F(ProgramDocuments, OneStaysWhileItIsLocked)
{
    Part("p.ZALPart");
    ZALDocument* document = Open("p.ZALPart");
    document->AddRefForLock();
    Close(document);
    EXPECT_EQ(1U, Workspace().LoadedDocuments());
    EXPECT_EQ(E_FAIL, ZALDocumentServices::Remove(document, 1)) << "no program has it open";
    EXPECT_EQ(S_OK, document->ReleaseForLock(0));
    EXPECT_EQ(0U, Workspace().LoadedDocuments());
}

TEST_F(ProgramDocuments, UnlockingMoreOftenThanLockingFails)
{
    Part("p.ZALPart");
    ZALDocument* document = Open("p.ZALPart");
    EXPECT_EQ(S_OK, document->ReleaseForLock(0));
    EXPECT_EQ(E_FAIL, document->ReleaseForLock(0));
    EXPECT_EQ(S_OK, ZALDocumentServices::Remove(document, 1));
}

TEST_F(ProgramDocuments, OneThatHasAWindowStaysInIt)
{
    Part("p.ZALPart");
    LoadedDocument& shown = Workspace().Open(File("p.ZALPart"));
    EXPECT_EQ(E_FAIL, ZALDocumentServices::Remove(&shown, 1));
    ZALDocument* document = Open("p.ZALPart");
    EXPECT_EQ(document, &shown);
    Close(document);
    EXPECT_EQ(Workspace().Active(), &shown);
}

TEST_F(ProgramDocuments, OneStaysWhenItsWindowCloses)
{
    Part("p.ZALPart");
    Workspace().Open(File("p.ZALPart"));
    ZALDocument* document = Open("p.ZALPart");
    Workspace().Close(*Workspace().Active());
    EXPECT_EQ(1U, Workspace().LoadedDocuments());
    Close(document);
    EXPECT_EQ(0U, Workspace().LoadedDocuments());
}

TEST_F(ProgramDocuments, OneStaysWhileAProductRefersToIt)
{
    Part("p.ZALPart");
    Product("a.ZALProduct", {"p.1=p.ZALPart"});
    ZALDocument* product = Open("a.ZALProduct");
    ZALDocument* part = Open("p.ZALPart");
    Close(part);
    EXPECT_EQ(2U, Workspace().LoadedDocuments());
    Close(product);
    EXPECT_EQ(0U, Workspace().LoadedDocuments());
}

TEST_F(ProgramDocuments, NothingOpensWithoutAWorkspace)
{
    Part("p.ZALPart");
    CadServices::Install(nullptr);
    ZALDocument* document = nullptr;
    EXPECT_EQ(E_FAIL, ZALDocumentServices::Open(Path("p.ZALPart"), document, 0));
    EXPECT_EQ(E_FAIL, ZALDocumentServices::SaveAs(nullptr, Path("q.ZALPart"), "", 1));
    EXPECT_EQ(E_FAIL, ZALDocumentServices::SaveAsNew(nullptr, Path("q.ZALPart"), 0));
    EXPECT_EQ(E_FAIL, ZALDocumentServices::Remove(nullptr, 1));
    EXPECT_EQ(nullptr, ZALDocumentServices::GetDocumentOf(nullptr));
}

// ---------------------------------------------------------------------------------------------
// Saves

TEST_F(ProgramDocuments, ASaveGivesAnotherFileAndLeavesTheOldOne)
{
    Part("t.ZALPart");
    const std::string before = Read("t.ZALPart");
    ZALDocument* first = Open("t.ZALPart");
    EXPECT_EQ(S_OK, ZALDocumentServices::SaveAs(first, Path("one.ZALPart"), "", 1));
    EXPECT_EQ(first->StorageName(), FromUtf8(std::filesystem::canonical(File("one.ZALPart")).string()));
    ZALDocument* second = Open("t.ZALPart");
    EXPECT_NE(second, first) << "the template is opened afresh";
    EXPECT_EQ(S_OK, ZALDocumentServices::SaveAsNew(second, Path("two.ZALPart"), 0));
    Close(first);
    Close(second);
    EXPECT_EQ(before, Read("t.ZALPart"));
    EXPECT_EQ(ReadDocument(File("one.ZALPart")), ReadDocument(File("t.ZALPart")));
    CadDocument two = ReadDocument(File("two.ZALPart"));
    EXPECT_EQ(32U, two.identity.size()) << "a document of its own";
    two.identity.clear();
    EXPECT_EQ(two, ReadDocument(File("t.ZALPart")));
}

TEST_F(ProgramDocuments, OnlyASaveAsANewOneGivesAnotherIdentity)
{
    CadDocument template_;
    template_.identity = "template";
    WriteDocument(template_, File("t.ZALPart"));
    ZALDocument* document = Open("t.ZALPart");
    EXPECT_EQ(S_OK, ZALDocumentServices::SaveAs(document, Path("one.ZALPart"), "", 1));
    EXPECT_EQ("template", ReadDocument(File("one.ZALPart")).identity);
    EXPECT_EQ(E_FAIL, ZALDocumentServices::SaveAsNew(document, Path("missing/two.ZALPart"), 0));
    EXPECT_EQ(S_OK, ZALDocumentServices::SaveAs(document, Path("three.ZALPart"), "", 1));
    EXPECT_EQ("template", ReadDocument(File("three.ZALPart")).identity) << "a save that failed changes nothing";
    EXPECT_EQ(S_OK, ZALDocumentServices::SaveAsNew(document, Path("three.ZALPart"), 0));
    const std::string third = ReadDocument(File("three.ZALPart")).identity;
    EXPECT_NE(third, "template");
    EXPECT_EQ(S_OK, ZALDocumentServices::SaveAsNew(document, Path("four.ZALPart"), 0));
    EXPECT_NE(ReadDocument(File("four.ZALPart")).identity, third);
}

TEST_F(ProgramDocuments, TheyAreCountedAsLongAsOneHoldsThem)
{
    Part("a.ZALPart");
    Part("b.ZALPart");
    EXPECT_EQ(0U, Workspace().HeldDocuments());
    ZALDocument* first = Open("a.ZALPart");
    ZALDocument* second = Open("b.ZALPart");
    EXPECT_EQ(2U, Workspace().HeldDocuments());
    Close(first);
    EXPECT_EQ(S_OK, ZALDocumentServices::Remove(second, 1));
    EXPECT_EQ(1U, Workspace().HeldDocuments()) << "it is locked still";
    EXPECT_EQ(S_OK, second->ReleaseForLock(0));
    EXPECT_EQ(0U, Workspace().HeldDocuments());
}

TEST_F(ProgramDocuments, OneKeepsItsFileWhenASaveIsRefused)
{
    Part("t.ZALPart");
    Part("other.ZALPart");
    Open("other.ZALPart");
    ZALDocument* document = Open("t.ZALPart");
    EXPECT_EQ(E_FAIL, ZALDocumentServices::SaveAs(document, Path("x.ZALPart"), "STEP", 1)) << "another format";
    EXPECT_EQ(E_FAIL, ZALDocumentServices::SaveAs(document, Path("other.ZALPart"), "", 1)) << "another document's";
    EXPECT_EQ(E_FAIL, ZALDocumentServices::SaveAsNew(document, Path("x.ZALProduct"), 0)) << "another kind";
    EXPECT_EQ(E_FAIL, ZALDocumentServices::SaveAs(document, Path("missing/x.ZALPart"), "", 1)) << "no folder";
    EXPECT_EQ(document->StorageName(), FromUtf8(std::filesystem::canonical(File("t.ZALPart")).string()));
    EXPECT_FALSE(exists(File("x.ZALPart")));
    EXPECT_FALSE(exists(File("x.ZALProduct")));
}

TEST_F(ProgramDocuments, TemplatesBecomeAProductOfSavedFiles)
{
    std::filesystem::create_directory(File("templates"));
    std::filesystem::create_directory(File("parts"));
    Product("templates/t.ZALProduct", {});
    Part("templates/t.ZALPart");

    ZALDocument* product = Open("templates/t.ZALProduct");
    ZALDocument* part = Open("templates/t.ZALPart");
    ASSERT_EQ(S_OK, ZALDocumentServices::SaveAs(part, Path("parts/bolt_01.ZALPart"), "", 1));
    const ZALIAProduct_var first = Add(product, part);
    const ZALIAProduct_var second = Add(product, part);
    const ZALIMovable_var root(PrdGiveDocRootProduct(product));
    ZALMathTransformation position;
    position.Shift[1] = 5;
    EXPECT_EQ(S_OK, ZALIMovable_var(second)->SetPosition(position, root.Get(), 0, 1));
    ASSERT_EQ(S_OK, ZALDocumentServices::SaveAs(product, Path("parts/bolt.ZALProduct"), "", 1));
    Close(product);
    Close(part);
    EXPECT_EQ(0U, Workspace().LoadedDocuments());

    const CadDocument written = ReadDocument(File("parts/bolt.ZALProduct"));
    EXPECT_THAT(written.links, ElementsAre("bolt_01.ZALPart"));
    ASSERT_EQ(2U, written.children.size());
    EXPECT_EQ("t.1", written.children[0].name);
    EXPECT_EQ(IdentityPlacement, written.children[0].placement);
    EXPECT_EQ("t.2", written.children[1].name);
    EXPECT_EQ((Placement{1, 0, 0, 0, 0, 1, 0, 5, 0, 0, 1, 0}), written.children[1].placement);
}

TEST_F(ProgramDocuments, OnlyComponentsThatCanStandInAProductAreAdded)
{
    Part("p.ZALPart");
    Product("a.ZALProduct", {});
    Product("b.ZALProduct", {"a.1=a.ZALProduct"});
    ZALDocument* part = Open("p.ZALPart");
    ZALDocument* inner = Open("a.ZALProduct");
    ZALDocument* outer = Open("b.ZALProduct");
    const auto add = [](ZALDocument* father, ZALIAProduct* component) {
        ZALIAProduct* added = component;
        const HRESULT result = ZALIAProducts_var(PrdGiveDocRootProduct(father))->AddComponent(component, &added);
        EXPECT_EQ(nullptr, added);
        return result;
    };
    const ZALIAProduct_var partRoot(PrdGiveDocRootProduct(part));
    const ZALIAProduct_var outerRoot(PrdGiveDocRootProduct(outer));
    EXPECT_EQ(E_FAIL, add(part, outerRoot.Get())) << "into a part";
    EXPECT_EQ(E_FAIL, add(inner, outerRoot.Get())) << "into a part of itself";
    EXPECT_EQ(E_INVALIDARG, add(inner, nullptr));
    EXPECT_EQ(E_INVALIDARG, ZALIAProducts_var(PrdGiveDocRootProduct(inner))->AddComponent(partRoot.Get(), nullptr));
    EXPECT_THAT(ChildrenOf(PrdGiveDocRootProduct(inner)).Size(), 0);
}

// ---------------------------------------------------------------------------------------------
// Where products stand

class ProgramPositions : public ProgramDocuments {
protected:
    ProgramPositions()
    {
        Part("nut.ZALPart");
        Part("bolt.ZALPart");
        ProductOf("pair.ZALProduct",
                  {{"bolt.1", "bolt.ZALPart", ShiftedBy({1, 0, 0})}, {"nut.1", "nut.ZALPart", ShiftedBy({2, 0, 0})}});
        ProductOf("top.ZALProduct", {{"pair.1", "pair.ZALProduct", ShiftedBy({10, 0, 0})},
                                     {"nut.1", "nut.ZALPart", ShiftedBy({0, 5, 0})},
                                     {"pair.2", "pair.ZALProduct", TurnedAt({0, 0, 7})}});
        document_ = Open("top.ZALProduct");
        Top = PrdGiveDocRootProduct(document_);
    }
    void CloseTop() { Close(document_); }

    ZALIMovable_var MovableAt(int index) { return ZALIMovable_var(ChildrenOf(Top)[index]); }
    static std::string In(const ZALIMovable_var& object, const ZALIMovable_var& reference)
    {
        ZALMathTransformation position;
        EXPECT_EQ(S_OK, object->GetPosition(position, reference.Get(), 0, 1));
        return Describe(position);
    }

    ZALIProduct_var Top;

private:
    ZALDocument* document_;
};

TEST_F(ProgramPositions, AllLevelsAreGivenInTheSystemOfTheRoot)
{
    EXPECT_THAT(Instances(Top),
                ElementsAre("pair 10 0 0 straight", "bolt 11 0 0 straight", "nut 12 0 0 straight", "nut 0 5 0 straight",
                            "pair 0 0 7 turned", "bolt 0 1 7 turned", "nut 0 2 7 turned"));
}

TEST_F(ProgramPositions, InstancesOfAUsedProductBeginThere)
{
    const ZALIProduct_var pair(ChildrenOf(Top)[5]);
    EXPECT_THAT(Instances(pair), ElementsAre("bolt 1 0 0 straight", "nut 2 0 0 straight"));
}

TEST_F(ProgramPositions, AnyObjectOfTheTreeCanBeTheReference)
{
    EXPECT_EQ("1 0 0 straight", In(MovableAt(3), MovableAt(2)));
    EXPECT_EQ("-1 -11 -7 turned", In(MovableAt(2), MovableAt(6)));
    EXPECT_EQ("0 0 0 straight", In(MovableAt(6), MovableAt(6)));
    EXPECT_EQ("0 1 7 turned", In(MovableAt(6), ZALIMovable_var())) << "the root without a reference";
    EXPECT_EQ("-10 0 0 straight", In(ZALIMovable_var(Top), MovableAt(1)));
}

TEST_F(ProgramPositions, AReferenceOutsideTheTreeFails)
{
    ZALDocument* other = Open("pair.ZALProduct");
    ZALMathTransformation position;
    position.Shift[0] = 42;
    const ZALIMovable_var root(PrdGiveDocRootProduct(other));
    EXPECT_EQ(E_FAIL, MovableAt(1)->GetPosition(position, root.Get(), 0, 1));
    EXPECT_EQ(E_FAIL, MovableAt(1)->SetPosition(position, root.Get(), 0, 1));
    EXPECT_EQ(42, position.Shift[0]);
}

TEST_F(ProgramPositions, OneIsSetInTheSystemOfAnotherObject)
{
    ZALMathTransformation position;
    position.Shift[0] = 3;
    EXPECT_EQ(S_OK, MovableAt(4)->SetPosition(position, MovableAt(5).Get(), 0, 1));
    EXPECT_EQ("nut 0 3 7 turned", Instances(Top)[3]);
    // An instance in a product that is used twice moves in both places.
    EXPECT_EQ(S_OK, MovableAt(6)->SetPosition({}, MovableAt(5).Get(), 0, 1));
    EXPECT_EQ("bolt 0 0 7 turned", Instances(Top)[5]);
    EXPECT_EQ("bolt 10 0 0 straight", Instances(Top)[1]);
}

TEST_F(ProgramPositions, ARootAndWhatIsNotRigidAreRefused)
{
    EXPECT_EQ(E_FAIL, ZALIMovable_var(Top)->SetPosition({}, nullptr, 0, 1));
    ZALMathTransformation position;
    position.Rotation[0][0] = 2;
    EXPECT_EQ(E_FAIL, MovableAt(1)->SetPosition(position, nullptr, 0, 1));
    position = {};
    position.Shift[2] = std::numeric_limits<double>::infinity();
    EXPECT_EQ(E_FAIL, MovableAt(1)->SetPosition(position, nullptr, 0, 1));
    EXPECT_EQ("pair 10 0 0 straight", Instances(Top)[0]);
}

TEST_F(ProgramPositions, NothingIsGivenAfterTheDocument)
{
    const ZALListValZALBaseUnknown_var children = ChildrenOf(Top);
    CloseTop();
    ZALMathTransformation position;
    for (int index = 1; index <= children.Size(); ++index) {
        const ZALIProduct_var child(children[index]);
        EXPECT_EQ(E_FAIL, ZALIMovable_var(child)->GetPosition(position, nullptr, 0, 1)) << index;
        ZALListValZALBaseUnknown_var below;
        EXPECT_EQ(E_FAIL, child->GetChildren("ZALIProduct", below)) << index;
        ZALUnicodeString partNumber;
        EXPECT_EQ(E_FAIL, child->GetPartNumber(partNumber)) << index;
        EXPECT_EQ(nullptr, child->GetReferenceProduct()) << index;
    }
}

TEST_F(ProgramPositions, InstancesHaveFathersAndDocuments)
{
    const ZALListValZALBaseUnknown_var children = ChildrenOf(Top);
    const ZALIProduct_var bolt(children[6]);
    const ZALIProduct_var father = ZALIProduct_var::Take(bolt->GetFatherProduct());
    ZALUnicodeString partNumber;
    EXPECT_EQ(S_OK, father->GetPartNumber(partNumber));
    EXPECT_EQ("pair", ToUtf8(partNumber));
    EXPECT_EQ("0 0 7 turned", In(ZALIMovable_var(father), ZALIMovable_var(Top)));
    const ZALIProduct_var grandfather = ZALIProduct_var::Take(father->GetFatherProduct());
    EXPECT_EQ("0 0 0 straight", In(ZALIMovable_var(grandfather), ZALIMovable_var(Top)));

    EXPECT_EQ("bolt.ZALPart",
              std::filesystem::path(ToUtf8(ZALDocumentServices::GetDocumentOf(bolt.Get())->StorageName())).filename());
    EXPECT_EQ(ZALDocumentServices::GetDocumentOf(Top.Get())->StorageName(),
              Workspace().Find(File("top.ZALProduct"))->StorageName());
    const ZALIProduct_var first = ZALIProduct_var::Take(bolt->GetReferenceProduct());
    const ZALIProduct_var second = ZALIProduct_var::Take(ZALIProduct_var(children[2])->GetReferenceProduct());
    EXPECT_EQ(first->GetImpl(0), second->GetImpl(0)) << "one reference for both";
}

TEST_F(ProgramPositions, ChildrenOfferTheInterfaceThatIsAskedFor)
{
    ZALListValZALBaseUnknown_var found;
    EXPECT_EQ(S_OK, Top->GetChildren("ZALIMovable", found));
    EXPECT_EQ(7, found.Size());
    ZALListValZALBaseUnknown_var none;
    EXPECT_EQ(S_OK, Top->GetChildren("ZALIPrtPart", none));
    EXPECT_EQ(0, none.Size());
    ZALListValZALBaseUnknown_var ofPart;
    EXPECT_EQ(E_FAIL, ZALIProduct_var(ChildrenOf(Top)[4])->GetChildren("ZALIProduct", ofPart));
    EXPECT_EQ(0, ofPart.Size());
}

} // namespace

} // namespace openhost::testing
