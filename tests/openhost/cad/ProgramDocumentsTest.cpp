// Documents that programs open, and where their products stand.

#include "openhost/cad/CadWorkspace.h"

#include "host/frame.h"
#include "openhost/files/TemporaryFolder.h"
#include "openhost/frame/Frame.h"
#include "openhost/journal/Journal.h"
#include "openhost/text/Utf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <limits>
#include <sstream>
#include <stdexcept>

namespace openhost::testing {

namespace {

using ::testing::ElementsAre;

/// A child of a written product, at a shift.
struct Child {
    std::string name;
    std::string file;
    Vector shift{};
    bool turned = false; ///< a quarter about z
};

class ProgramDocuments : public ::testing::Test {
protected:
    ProgramDocuments()
    {
        ConfigureFrame({});
        auto workspace = std::make_unique<CadWorkspace>();
        workspace_ = workspace.get();
        CadServices::Install(std::move(workspace));
        journal::Redirect([this](const nlohmann::ordered_json& event) {
            if (event["event"] != "document")
                return;
            std::string text = event["action"];
            if (event.contains("path"))
                text += " " + std::filesystem::path(event["path"].get<std::string>()).filename().string();
            if (event.contains("hidden"))
                text += event["hidden"] == true ? ", hidden" : ", ?";
            if (event.contains("operation"))
                text += " " + event["operation"].get<std::string>();
            events_.push_back(text);
        });
    }
    ~ProgramDocuments() override
    {
        CadServices::Install(nullptr);
        ResetFrame();
        journal::Redirect({});
    }

    CadWorkspace& Workspace() { return *workspace_; }
    const std::vector<std::string>& Events() const { return events_; }
    std::filesystem::path File(const std::string& name) const { return folder_.Path() / name; }
    ZALUnicodeString Path(const std::string& name) const { return FromUtf8(File(name).string()); }

    void Part(const std::string& name)
    {
        CadDocument document;
        document.partNumber = File(name).stem().string();
        document.geometry = DocumentGeometry{{1, 6, 1, 6, {}, {}}, "geometry of " + name};
        WriteDocument(document, File(name));
    }
    void Product(const std::string& name, const std::vector<Child>& children)
    {
        CadDocument document;
        document.kind = DocumentKind::Product;
        document.partNumber = File(name).stem().string();
        for (const Child& child : children) {
            Placement placement = IdentityPlacement;
            if (child.turned)
                placement = {0, -1, 0, 0, 1, 0, 0, 0, 0, 0, 1, 0};
            for (std::size_t row = 0; row < 3; ++row)
                placement[4 * row + 3] = child.shift[row];
            document.children.push_back({child.name, static_cast<std::uint32_t>(document.links.size()), placement});
            document.links.push_back(child.file);
        }
        // A link stands once in the table.
        for (std::size_t index = document.links.size(); index-- > 0;) {
            const auto first = std::ranges::find(document.links, document.links[index]);
            const auto position = static_cast<std::size_t>(first - document.links.begin());
            if (position == index)
                continue;
            document.links.erase(document.links.begin() + static_cast<std::ptrdiff_t>(index));
            for (ChildInstance& child : document.children)
                if (child.link == index)
                    child.link = static_cast<std::uint32_t>(position);
                else if (child.link > index)
                    --child.link;
        }
        WriteDocument(document, File(name));
    }
    std::string Bytes(const std::string& name) const
    {
        std::ostringstream bytes;
        bytes << std::ifstream(File(name), std::ios::binary).rdbuf();
        return std::move(bytes).str();
    }

    /// Opens and locks `name`.
    ZALDocument* Open(const std::string& name)
    {
        ZALDocument* document = nullptr;
        EXPECT_EQ(ZALDocumentServices::Open(Path(name), document, 0), S_OK) << name;
        if (!document)
            throw std::runtime_error(name + " cannot be opened");
        EXPECT_EQ(document->AddRefForLock(), S_OK);
        return document;
    }
    static void Close(ZALDocument* document)
    {
        EXPECT_EQ(document->ReleaseForLock(0), S_OK);
        EXPECT_EQ(ZALDocumentServices::Remove(document, 1), S_OK);
    }
    /// Adds the root of `part` to that of `product`.
    static ZALIAProduct_var Add(ZALDocument* product, ZALDocument* part)
    {
        ZALIAProduct* added = nullptr;
        EXPECT_EQ(ZALIAProducts_var(PrdGiveDocRootProduct(product))
                      ->AddComponent(ZALIAProduct_var(PrdGiveDocRootProduct(part)).Get(), &added),
                  S_OK);
        return ZALIAProduct_var::Take(added);
    }
    static ZALListValZALBaseUnknown_var ChildrenOf(const ZALIProduct_var& product)
    {
        ZALListValZALBaseUnknown_var children;
        EXPECT_EQ(product->GetChildren("ZALIProduct", children), S_OK);
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
            EXPECT_EQ(ZALIMovable_var(child)->GetPosition(position, ZALIMovable_var(root).Get(), 0, 1), S_OK);
            instances.push_back(ToUtf8(partNumber) + " " + Describe(position));
        }
        return instances;
    }

private:
    TemporaryFolder folder_;
    CadWorkspace* workspace_;
    std::vector<std::string> events_;
};

// ---------------------------------------------------------------------------------------------
// Life of documents

TEST_F(ProgramDocuments, OpenWithoutAWindowAndEndWithTheirRemoval)
{
    Part("p.ZALPart");
    ZALDocument* document = Open("p.ZALPart");
    EXPECT_EQ(ToUtf8(document->StorageName()), std::filesystem::canonical(File("p.ZALPart")).string());
    EXPECT_EQ(Workspace().Active(), nullptr);
    EXPECT_EQ(Workspace().LoadedDocuments(), 1U);
    EXPECT_EQ(ZALFrmEditor::GetCurrentEditor(), nullptr);
    Close(document);
    EXPECT_EQ(Workspace().LoadedDocuments(), 0U);
    EXPECT_THAT(Events(), ElementsAre("opened p.ZALPart, hidden", "closed p.ZALPart, hidden"));
}

TEST_F(ProgramDocuments, CannotBeOpenedFromOtherFiles)
{
    std::ofstream(File("broken.ZALPart")) << "no document";
    for (const char* name : {"broken.ZALPart", "missing.ZALPart", ""}) {
        ZALDocument* document = reinterpret_cast<ZALDocument*>(this);
        EXPECT_EQ(ZALDocumentServices::Open(name[0] ? Path(name) : ZALUnicodeString(), document, 0), E_FAIL) << name;
        EXPECT_EQ(document, nullptr) << name;
    }
    EXPECT_EQ(Workspace().LoadedDocuments(), 0U);
    EXPECT_THAT(Events(), ElementsAre("refused Open", "refused Open", "refused Open"));
}

TEST_F(ProgramDocuments, StayUntilEachOpenHasItsRemoval)
{
    Part("p.ZALPart");
    ZALDocument* first = Open("p.ZALPart");
    ZALDocument* second = Open("p.ZALPart");
    EXPECT_EQ(first, second);
    Close(first);
    EXPECT_EQ(Workspace().LoadedDocuments(), 1U);
    Close(second);
    EXPECT_EQ(Workspace().LoadedDocuments(), 0U);
}

TEST_F(ProgramDocuments, StayWhileTheyAreLocked)
{
    Part("p.ZALPart");
    ZALDocument* document = Open("p.ZALPart");
    document->AddRefForLock();
    Close(document);
    EXPECT_EQ(Workspace().LoadedDocuments(), 1U);
    EXPECT_EQ(ZALDocumentServices::Remove(document, 1), E_FAIL) << "no program has it open";
    EXPECT_EQ(document->ReleaseForLock(0), S_OK);
    EXPECT_EQ(Workspace().LoadedDocuments(), 0U);
}

TEST_F(ProgramDocuments, CannotBeUnlockedMoreOftenThanLocked)
{
    Part("p.ZALPart");
    ZALDocument* document = Open("p.ZALPart");
    EXPECT_EQ(document->ReleaseForLock(0), S_OK);
    EXPECT_EQ(document->ReleaseForLock(0), E_FAIL);
    EXPECT_EQ(ZALDocumentServices::Remove(document, 1), S_OK);
}

TEST_F(ProgramDocuments, StayInTheirWindow)
{
    Part("p.ZALPart");
    LoadedDocument& shown = Workspace().Open(File("p.ZALPart"));
    EXPECT_EQ(ZALDocumentServices::Remove(&shown, 1), E_FAIL);
    ZALDocument* document = Open("p.ZALPart");
    EXPECT_EQ(document, &shown);
    Close(document);
    EXPECT_EQ(Workspace().Active(), &shown);
}

TEST_F(ProgramDocuments, StayWhenTheirWindowCloses)
{
    Part("p.ZALPart");
    Workspace().Open(File("p.ZALPart"));
    ZALDocument* document = Open("p.ZALPart");
    Workspace().Close(*Workspace().Active());
    EXPECT_EQ(Workspace().LoadedDocuments(), 1U);
    Close(document);
    EXPECT_EQ(Workspace().LoadedDocuments(), 0U);
}

TEST_F(ProgramDocuments, StayWhileAProductRefersToThem)
{
    Part("p.ZALPart");
    Product("a.ZALProduct", {{"p.1", "p.ZALPart"}});
    ZALDocument* product = Open("a.ZALProduct");
    ZALDocument* part = Open("p.ZALPart");
    Close(part);
    EXPECT_EQ(Workspace().LoadedDocuments(), 2U);
    Close(product);
    EXPECT_EQ(Workspace().LoadedDocuments(), 0U);
}

TEST_F(ProgramDocuments, EndOnceThatSeveralOfThoseReferredTo)
{
    Part("p.ZALPart");
    Product("a.ZALProduct", {{"p.1", "p.ZALPart"}});
    Product("b.ZALProduct", {{"p.1", "p.ZALPart"}, {"a.1", "a.ZALProduct"}});
    Product("c.ZALProduct", {{"a.1", "a.ZALProduct"}, {"p.1", "p.ZALPart"}, {"b.1", "b.ZALProduct"}});
    Close(Open("c.ZALProduct"));
    EXPECT_EQ(Workspace().LoadedDocuments(), 0U);
}

TEST_F(ProgramDocuments, AreUnknownWithoutAWorkspace)
{
    Part("p.ZALPart");
    CadServices::Install(nullptr);
    ZALDocument* document = nullptr;
    EXPECT_EQ(ZALDocumentServices::Open(Path("p.ZALPart"), document, 0), E_FAIL);
    EXPECT_EQ(ZALDocumentServices::SaveAs(nullptr, Path("q.ZALPart"), "", 1), E_FAIL);
    EXPECT_EQ(ZALDocumentServices::SaveAsNew(nullptr, Path("q.ZALPart"), 0), E_FAIL);
    EXPECT_EQ(ZALDocumentServices::Remove(nullptr, 1), E_FAIL);
    EXPECT_EQ(ZALDocumentServices::GetDocumentOf(nullptr), nullptr);
}

// ---------------------------------------------------------------------------------------------
// Saves

TEST_F(ProgramDocuments, TakeTheFileOfTheirSaveAndLeaveTheOldOne)
{
    Part("t.ZALPart");
    const std::string before = Bytes("t.ZALPart");
    ZALDocument* first = Open("t.ZALPart");
    EXPECT_EQ(ZALDocumentServices::SaveAs(first, Path("one.ZALPart"), "", 1), S_OK);
    EXPECT_EQ(first->StorageName(), FromUtf8(std::filesystem::canonical(File("one.ZALPart")).string()));
    ZALDocument* second = Open("t.ZALPart");
    EXPECT_NE(second, first) << "the template is opened afresh";
    EXPECT_EQ(ZALDocumentServices::SaveAsNew(second, Path("two.ZALPart"), 0), S_OK);
    Close(first);
    Close(second);
    EXPECT_EQ(Bytes("t.ZALPart"), before);
    EXPECT_EQ(ReadDocument(File("one.ZALPart")), ReadDocument(File("t.ZALPart")));
    CadDocument two = ReadDocument(File("two.ZALPart"));
    EXPECT_EQ(two.identity.size(), 32U) << "a document of its own";
    two.identity.clear();
    EXPECT_EQ(two, ReadDocument(File("t.ZALPart")));
}

TEST_F(ProgramDocuments, GetAnotherIdentityAsNewOnesOnly)
{
    CadDocument template_;
    template_.identity = "template";
    WriteDocument(template_, File("t.ZALPart"));
    ZALDocument* document = Open("t.ZALPart");
    EXPECT_EQ(ZALDocumentServices::SaveAs(document, Path("one.ZALPart"), "", 1), S_OK);
    EXPECT_EQ(ReadDocument(File("one.ZALPart")).identity, "template");
    EXPECT_EQ(ZALDocumentServices::SaveAsNew(document, Path("missing/two.ZALPart"), 0), E_FAIL);
    EXPECT_EQ(ZALDocumentServices::SaveAs(document, Path("three.ZALPart"), "", 1), S_OK);
    EXPECT_EQ(ReadDocument(File("three.ZALPart")).identity, "template") << "a save that failed changes nothing";
    EXPECT_EQ(ZALDocumentServices::SaveAsNew(document, Path("three.ZALPart"), 0), S_OK);
    const std::string third = ReadDocument(File("three.ZALPart")).identity;
    EXPECT_NE(third, "template");
    EXPECT_EQ(ZALDocumentServices::SaveAsNew(document, Path("four.ZALPart"), 0), S_OK);
    EXPECT_NE(ReadDocument(File("four.ZALPart")).identity, third);
    Close(document);
}

TEST_F(ProgramDocuments, AreCountedAsLongAsOneHoldsThem)
{
    Part("a.ZALPart");
    Part("b.ZALPart");
    EXPECT_EQ(Workspace().HeldDocuments(), 0U);
    ZALDocument* first = Open("a.ZALPart");
    ZALDocument* second = Open("b.ZALPart");
    EXPECT_EQ(Workspace().HeldDocuments(), 2U);
    Close(first);
    EXPECT_EQ(ZALDocumentServices::Remove(second, 1), S_OK);
    EXPECT_EQ(Workspace().HeldDocuments(), 1U) << "it is locked still";
    EXPECT_EQ(second->ReleaseForLock(0), S_OK);
    EXPECT_EQ(Workspace().HeldDocuments(), 0U);
}

TEST_F(ProgramDocuments, KeepTheirFileWhenASaveIsRefused)
{
    Part("t.ZALPart");
    Part("other.ZALPart");
    ZALDocument* other = Open("other.ZALPart");
    ZALDocument* document = Open("t.ZALPart");
    EXPECT_EQ(ZALDocumentServices::SaveAs(document, Path("x.ZALPart"), "STEP", 1), E_FAIL) << "another format";
    EXPECT_EQ(ZALDocumentServices::SaveAs(document, Path("other.ZALPart"), "", 1), E_FAIL) << "another document's";
    EXPECT_EQ(ZALDocumentServices::SaveAsNew(document, Path("x.ZALProduct"), 0), E_FAIL) << "another kind";
    EXPECT_EQ(ZALDocumentServices::SaveAs(document, Path("missing/x.ZALPart"), "", 1), E_FAIL) << "no folder";
    EXPECT_EQ(document->StorageName(), FromUtf8(std::filesystem::canonical(File("t.ZALPart")).string()));
    EXPECT_FALSE(exists(File("x.ZALPart")));
    EXPECT_FALSE(exists(File("x.ZALProduct")));
    Close(document);
    Close(other);
}

TEST_F(ProgramDocuments, BecomeAProductOfTheFilesOfOthers)
{
    std::filesystem::create_directory(File("templates"));
    std::filesystem::create_directory(File("parts"));
    Product("templates/t.ZALProduct", {});
    Part("templates/t.ZALPart");

    ZALDocument* product = Open("templates/t.ZALProduct");
    ZALDocument* part = Open("templates/t.ZALPart");
    ASSERT_EQ(ZALDocumentServices::SaveAs(part, Path("parts/bolt_01.ZALPart"), "", 1), S_OK);
    const ZALIAProduct_var first = Add(product, part);
    const ZALIAProduct_var second = Add(product, part);
    const ZALIMovable_var root(PrdGiveDocRootProduct(product));
    ZALMathTransformation position;
    position.Shift[1] = 5;
    EXPECT_EQ(ZALIMovable_var(second)->SetPosition(position, root.Get(), 0, 1), S_OK);
    ASSERT_EQ(ZALDocumentServices::SaveAs(product, Path("parts/bolt.ZALProduct"), "", 1), S_OK);
    Close(product);
    Close(part);
    EXPECT_EQ(Workspace().LoadedDocuments(), 0U);

    const CadDocument written = ReadDocument(File("parts/bolt.ZALProduct"));
    EXPECT_THAT(written.links, ElementsAre("bolt_01.ZALPart"));
    ASSERT_EQ(written.children.size(), 2U);
    EXPECT_EQ(written.children[0].name, "t.1");
    EXPECT_EQ(written.children[0].placement, IdentityPlacement);
    EXPECT_EQ(written.children[1].name, "t.2");
    EXPECT_EQ(written.children[1].placement, (Placement{1, 0, 0, 0, 0, 1, 0, 5, 0, 0, 1, 0}));
}

TEST_F(ProgramDocuments, TakeOnlyComponentsThatCanStandInThem)
{
    Part("p.ZALPart");
    Product("a.ZALProduct", {});
    Product("b.ZALProduct", {{"a.1", "a.ZALProduct"}});
    ZALDocument* part = Open("p.ZALPart");
    ZALDocument* inner = Open("a.ZALProduct");
    ZALDocument* outer = Open("b.ZALProduct");
    const auto add = [](ZALDocument* father, ZALIAProduct* component) {
        ZALIAProduct* added = component;
        const HRESULT result = ZALIAProducts_var(PrdGiveDocRootProduct(father))->AddComponent(component, &added);
        EXPECT_EQ(added, nullptr);
        return result;
    };
    const ZALIAProduct_var partRoot(PrdGiveDocRootProduct(part));
    const ZALIAProduct_var outerRoot(PrdGiveDocRootProduct(outer));
    EXPECT_EQ(add(part, outerRoot.Get()), E_FAIL) << "into a part";
    EXPECT_EQ(add(inner, outerRoot.Get()), E_FAIL) << "into a part of itself";
    EXPECT_EQ(add(inner, nullptr), E_INVALIDARG);
    EXPECT_EQ(ZALIAProducts_var(PrdGiveDocRootProduct(inner))->AddComponent(partRoot.Get(), nullptr), E_INVALIDARG);
    EXPECT_THAT(ChildrenOf(PrdGiveDocRootProduct(inner)).Size(), 0);
    for (ZALDocument* document : {part, inner, outer})
        Close(document);
}

// ---------------------------------------------------------------------------------------------
// Where products stand

class ProgramPositions : public ProgramDocuments {
protected:
    ProgramPositions()
    {
        Part("nut.ZALPart");
        Part("bolt.ZALPart");
        Product("pair.ZALProduct", {{"bolt.1", "bolt.ZALPart", {1, 0, 0}}, {"nut.1", "nut.ZALPart", {2, 0, 0}}});
        Product("top.ZALProduct", {{"pair.1", "pair.ZALProduct", {10, 0, 0}},
                                   {"nut.1", "nut.ZALPart", {0, 5, 0}},
                                   {"pair.2", "pair.ZALProduct", {0, 0, 7}, true}});
        document_ = Open("top.ZALProduct");
        Top = PrdGiveDocRootProduct(document_);
    }
    ~ProgramPositions() override
    {
        Top = {};
        if (document_)
            Close(document_);
    }
    void CloseTop() { Close(std::exchange(document_, nullptr)); }

    ZALIMovable_var MovableAt(int index) { return ZALIMovable_var(ChildrenOf(Top)[index]); }
    static std::string In(const ZALIMovable_var& object, const ZALIMovable_var& reference)
    {
        ZALMathTransformation position;
        EXPECT_EQ(object->GetPosition(position, reference.Get(), 0, 1), S_OK);
        return Describe(position);
    }

    ZALIProduct_var Top;

private:
    ZALDocument* document_;
};

TEST_F(ProgramPositions, AreGivenAtAllLevelsInTheSystemOfTheRoot)
{
    EXPECT_THAT(Instances(Top),
                ElementsAre("pair 10 0 0 straight", "bolt 11 0 0 straight", "nut 12 0 0 straight", "nut 0 5 0 straight",
                            "pair 0 0 7 turned", "bolt 0 1 7 turned", "nut 0 2 7 turned"));
}

TEST_F(ProgramPositions, OfInstancesInAUsedProductBeginThere)
{
    const ZALIProduct_var pair(ChildrenOf(Top)[5]);
    EXPECT_THAT(Instances(pair), ElementsAre("bolt 1 0 0 straight", "nut 2 0 0 straight"));
}

TEST_F(ProgramPositions, AreRelativeToAnyOtherObjectOfTheTree)
{
    EXPECT_EQ(In(MovableAt(3), MovableAt(2)), "1 0 0 straight");
    EXPECT_EQ(In(MovableAt(2), MovableAt(6)), "-1 -11 -7 turned");
    EXPECT_EQ(In(MovableAt(6), MovableAt(6)), "0 0 0 straight");
    EXPECT_EQ(In(MovableAt(6), ZALIMovable_var()), "0 1 7 turned") << "the root without a reference";
    EXPECT_EQ(In(ZALIMovable_var(Top), MovableAt(1)), "-10 0 0 straight");
}

TEST_F(ProgramPositions, FailOutsideTheTree)
{
    ZALDocument* other = Open("pair.ZALProduct");
    ZALMathTransformation position;
    position.Shift[0] = 42;
    const ZALIMovable_var root(PrdGiveDocRootProduct(other));
    EXPECT_EQ(MovableAt(1)->GetPosition(position, root.Get(), 0, 1), E_FAIL);
    EXPECT_EQ(MovableAt(1)->SetPosition(position, root.Get(), 0, 1), E_FAIL);
    EXPECT_EQ(position.Shift[0], 42);
    Close(other);
}

TEST_F(ProgramPositions, AreSetInTheSystemOfAnotherObject)
{
    ZALMathTransformation position;
    position.Shift[0] = 3;
    EXPECT_EQ(MovableAt(4)->SetPosition(position, MovableAt(5).Get(), 0, 1), S_OK);
    EXPECT_EQ(Instances(Top)[3], "nut 0 3 7 turned");
    // An instance in a product that is used twice moves in both places.
    EXPECT_EQ(MovableAt(6)->SetPosition({}, MovableAt(5).Get(), 0, 1), S_OK);
    EXPECT_EQ(Instances(Top)[5], "bolt 0 0 7 turned");
    EXPECT_EQ(Instances(Top)[1], "bolt 10 0 0 straight");
}

TEST_F(ProgramPositions, AreRefusedForARootAndWhenTheyAreNotRigid)
{
    EXPECT_EQ(ZALIMovable_var(Top)->SetPosition({}, nullptr, 0, 1), E_FAIL);
    ZALMathTransformation position;
    position.Rotation[0][0] = 2;
    EXPECT_EQ(MovableAt(1)->SetPosition(position, nullptr, 0, 1), E_FAIL);
    position = {};
    position.Shift[2] = std::numeric_limits<double>::infinity();
    EXPECT_EQ(MovableAt(1)->SetPosition(position, nullptr, 0, 1), E_FAIL);
    EXPECT_EQ(Instances(Top)[0], "pair 10 0 0 straight");
}

TEST_F(ProgramPositions, AreGoneWithTheDocument)
{
    const ZALListValZALBaseUnknown_var children = ChildrenOf(Top);
    CloseTop();
    ZALMathTransformation position;
    for (int index = 1; index <= children.Size(); ++index) {
        const ZALIProduct_var child(children[index]);
        EXPECT_EQ(ZALIMovable_var(child)->GetPosition(position, nullptr, 0, 1), E_FAIL) << index;
        ZALListValZALBaseUnknown_var below;
        EXPECT_EQ(child->GetChildren("ZALIProduct", below), E_FAIL) << index;
        ZALUnicodeString partNumber;
        EXPECT_EQ(child->GetPartNumber(partNumber), E_FAIL) << index;
        EXPECT_EQ(child->GetReferenceProduct(), nullptr) << index;
    }
}

TEST_F(ProgramPositions, HaveFathersAndDocuments)
{
    const ZALListValZALBaseUnknown_var children = ChildrenOf(Top);
    const ZALIProduct_var bolt(children[6]);
    const ZALIProduct_var father = ZALIProduct_var::Take(bolt->GetFatherProduct());
    ZALUnicodeString partNumber;
    EXPECT_EQ(father->GetPartNumber(partNumber), S_OK);
    EXPECT_EQ(ToUtf8(partNumber), "pair");
    EXPECT_EQ(In(ZALIMovable_var(father), ZALIMovable_var(Top)), "0 0 7 turned");
    const ZALIProduct_var grandfather = ZALIProduct_var::Take(father->GetFatherProduct());
    EXPECT_EQ(In(ZALIMovable_var(grandfather), ZALIMovable_var(Top)), "0 0 0 straight");

    EXPECT_EQ(std::filesystem::path(ToUtf8(ZALDocumentServices::GetDocumentOf(bolt.Get())->StorageName())).filename(),
              "bolt.ZALPart");
    EXPECT_EQ(ZALDocumentServices::GetDocumentOf(Top.Get())->StorageName(),
              Workspace().Find(File("top.ZALProduct"))->StorageName());
    const ZALIProduct_var first = ZALIProduct_var::Take(bolt->GetReferenceProduct());
    const ZALIProduct_var second = ZALIProduct_var::Take(ZALIProduct_var(children[2])->GetReferenceProduct());
    EXPECT_EQ(first->GetImpl(0), second->GetImpl(0)) << "one reference for both";
}

TEST_F(ProgramPositions, AreGivenForTheInterfaceThatIsAskedFor)
{
    ZALListValZALBaseUnknown_var found;
    EXPECT_EQ(Top->GetChildren("ZALIMovable", found), S_OK);
    EXPECT_EQ(found.Size(), 7);
    ZALListValZALBaseUnknown_var none;
    EXPECT_EQ(Top->GetChildren("ZALIPrtPart", none), S_OK);
    EXPECT_EQ(none.Size(), 0);
    ZALListValZALBaseUnknown_var ofPart;
    EXPECT_EQ(ZALIProduct_var(ChildrenOf(Top)[4])->GetChildren("ZALIProduct", ofPart), E_FAIL);
    EXPECT_EQ(ofPart.Size(), 0);
}

} // namespace

} // namespace openhost::testing
