// The workspace over documents and places that mean it no good: a reason, nothing lost, nothing half done.

#include "openhost/cad/ProductRep.h"
#include "openhost/cad/WorkspaceOccurrence.h"
#include "openhost/cad/WorkspaceTree.h"
#include "openhost/documents/DocumentStream.h"
#include "openhost/files/Descriptor.h"
#include "openhost/files/Origin.h"
#include "openhost/objects/Owned.h"
#include "tests/openhost/cad/WorkspaceFixture.h"
#include "tests/openhost/documents/DocumentBytes.h"
#include "tests/openhost/files/FileSizeLimit.h"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <sys/stat.h>

namespace openhost::testing {

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class HostileWorkspace : public DocumentFolder {
protected:
    HostileWorkspace() { ConfigureFrame({}); }
    ~HostileWorkspace() override { ResetFrame(); }

    static CadDocument ProductOf(const LinkTable& links)
    {
        CadDocument product;
        product.kind = DocumentKind::Product;
        product.partNumber = "product";
        product.links = links;
        for (std::uint32_t link = 0; link < links.size(); ++link)
            product.children.push_back({"child" + std::to_string(link), link, IdentityPlacement});
        return product;
    }
    /// With `count` children that are all the document `link`.
    static CadDocument ProductOf(const std::string& link, std::size_t count)
    {
        CadDocument product = ProductOf(LinkTable{link});
        product.children.clear();
        for (std::size_t index = 0; index < count; ++index)
            product.children.push_back({"child" + std::to_string(index), 0, IdentityPlacement});
        return product;
    }
    std::filesystem::path Product(const std::string& name, const LinkTable& links) const
    {
        return Write(name, BuildDocument(ProductOf(links)));
    }
    std::size_t Entries() const
    {
        return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(Folder().Path()), {}));
    }

    /// Opening, adding and replacing by `file` are refused with a reason that names it, and change nothing.
    void ExpectRefused(const std::filesystem::path& file)
    {
        const std::filesystem::path top = File("good.ZALProduct");
        Part("good.ZALPart");
        Product("good.ZALProduct", {"good.ZALPart"});
        CadWorkspace workspace;
        LoadedDocument& product = workspace.Open(top);
        WorkspaceProduct& child = *product.Children().at(0);
        const std::string name = file.filename().string();
        EXPECT_THAT(Reason([&] { workspace.Open(file); }), HasSubstr(name));
        EXPECT_THAT(Reason([&] { workspace.AddComponents(*product.Root(), {file}); }), HasSubstr(name));
        EXPECT_THAT(Reason([&] {
                        workspace.AddComponents(*product.Root(), {File("good.ZALPart"), file});
                    }),
                    HasSubstr(name));
        EXPECT_THAT(Reason([&] { workspace.ReplaceAllInstances(*product.Root(), child, file); }), HasSubstr(name));
        EXPECT_EQ(2U, workspace.LoadedDocuments()) << name;
        EXPECT_EQ(workspace.Active(), &product);
        EXPECT_FALSE(product.IsDirty());
        EXPECT_EQ(1U, product.Children().size());
        EXPECT_EQ(child.Reference(), workspace.Find(File("good.ZALPart")));
    }
    /// The product with `bytes` is refused, and costs a product that refers to it that one component.
    void ExpectDamaged(const std::string& bytes, const std::string& reason)
    {
        Write("damaged.ZALProduct", bytes);
        ExpectRefused(File("damaged.ZALProduct"));
        Part("good.ZALPart");
        CadWorkspace workspace;
        LoadedDocument& top = workspace.Open(Product("top.ZALProduct", {"damaged.ZALProduct", "good.ZALPart"}));
        EXPECT_EQ(nullptr, top.Children().at(0)->Reference());
        EXPECT_THAT(top.Children().at(0)->Problem(), HasSubstr(reason));
        EXPECT_NE(top.Children().at(1)->Reference(), nullptr);
        EXPECT_EQ(bytes, Read("damaged.ZALProduct"));
    }
};

// ---------------------------------------------------------------------------------------------
// Files that are no documents

TEST_F(HostileWorkspace, ADocumentThatIsCutOffAnywhereIsRefused)
{
    const std::string whole = BuildDocument(SomeProduct());
    CadWorkspace workspace;
    for (std::size_t size = 0; size + 512 < whole.size(); size += 97) {
        Write("cut.ZALProduct", whole.substr(0, size));
        EXPECT_THAT(Reason([&] { workspace.Open(File("cut.ZALProduct")); }), HasSubstr("cut.ZALProduct")) << size;
        EXPECT_EQ(0U, workspace.LoadedDocuments()) << size;
        EXPECT_EQ(Read("cut.ZALProduct"), whole.substr(0, size));
    }
    ExpectRefused(Write("cut.ZALProduct", whole.substr(0, whole.size() / 2)));
}

TEST_F(HostileWorkspace, FilesOfOtherKindsAreRefused)
{
    std::filesystem::create_directory(File("folder.ZALProduct"));
    ASSERT_EQ(0, mkfifo(File("pipe.ZALPart").c_str(), 0600));
    std::filesystem::create_symlink("/dev/zero", File("device.ZALPart"));
    std::filesystem::create_symlink("endless.ZALPart", File("endless.ZALPart"));
    ExpectRefused(Write("text.ZALProduct", "a text"));
    ExpectRefused(Write("empty.ZALProduct", ""));
    ExpectRefused(Write("archive.ZALProduct", std::string("PK\x05\x06", 4) + std::string(18, '\0')));
    ExpectRefused(File("folder.ZALProduct"));
    ExpectRefused(File("pipe.ZALPart"));
    ExpectRefused(File("endless.ZALPart"));
    ExpectRefused(File("missing.ZALPart"));
    CadWorkspace workspace;
    EXPECT_NE(Reason([&] { workspace.Open(File("device.ZALPart")); }), "");
    EXPECT_NE(Reason([&] { workspace.Open(""); }), "");
}

TEST_F(HostileWorkspace, APartUnderTheNameOfAProductTakesNoComponents)
{
    CadWorkspace workspace;
    LoadedDocument& document = workspace.Open(Part("part.ZALProduct"));
    EXPECT_EQ(DocumentKind::Part, document.Kind());
    EXPECT_THAT(Reason([&] { workspace.AddComponents(*document.Root(), {Part("bolt.ZALPart")}); }),
                HasSubstr("product only"));
    EXPECT_FALSE(document.IsDirty());
}

// ---------------------------------------------------------------------------------------------
// Children

TEST_F(HostileWorkspace, AProductWithMissingAndDamagedChildrenLosesNoneWhenItIsSaved)
{
    Write("damaged.ZALPart", "damaged");
    Product("top.ZALProduct", {"gone.ZALPart", "damaged.ZALPart", "folder/gone.ZALPart"});
    const CadDocument before = ReadDocument(File("top.ZALProduct"));
    CadWorkspace workspace;
    LoadedDocument& top = workspace.Open(File("top.ZALProduct"));
    workspace.AddComponents(*top.Root(), {Part("bolt.ZALPart", "bolt")});
    workspace.Save(top);
    CadDocument after = ReadDocument(File("top.ZALProduct"));
    EXPECT_EQ("bolt.ZALPart", after.links.back());
    EXPECT_EQ("bolt.1", after.children.back().name);
    after.links.pop_back();
    after.children.pop_back();
    EXPECT_EQ(before, after);
    EXPECT_EQ("damaged", Read("damaged.ZALPart"));
}

TEST_F(HostileWorkspace, CyclesOfAnyLengthAreRefused)
{
    Product("self.ZALProduct", {"self.ZALProduct"});
    Product("a.ZALProduct", {"b.ZALProduct"});
    Product("b.ZALProduct", {"c.ZALProduct", "a.ZALProduct"});
    Product("c.ZALProduct", {});
    std::filesystem::create_symlink("linked.ZALProduct", File("link.ZALProduct"));
    Product("linked.ZALProduct", {"link.ZALProduct"});
    Product("copied.ZALProduct", {"copy.ZALProduct"});
    std::filesystem::create_hard_link(File("copied.ZALProduct"), File("copy.ZALProduct"));
    CadWorkspace workspace;
    for (const char* name :
         {"self.ZALProduct", "a.ZALProduct", "b.ZALProduct", "linked.ZALProduct", "copied.ZALProduct"}) {
        const std::string before = Read(name);
        EXPECT_THAT(Reason([&] { workspace.Open(File(name)); }), HasSubstr("part of itself")) << name;
        EXPECT_EQ(0U, workspace.LoadedDocuments()) << name;
        EXPECT_EQ(before, Read(name));
    }
    ExpectRefused(File("self.ZALProduct"));
}

TEST_F(HostileWorkspace, ACycleThatWouldComeAboutInTheWorkspaceIsRefused)
{
    Product("c.ZALProduct", {});
    Product("b.ZALProduct", {"c.ZALProduct"});
    CadWorkspace workspace;
    LoadedDocument& top = workspace.Open(Product("a.ZALProduct", {"b.ZALProduct"}));
    WorkspaceProduct& b = *top.Children().at(0);
    WorkspaceProduct& c = *b.Reference()->Children().at(0);
    for (const char* above : {"a.ZALProduct", "b.ZALProduct"}) {
        EXPECT_THAT(Reason([&] { workspace.AddComponents(b, {File(above)}); }), HasSubstr("part of itself"));
        EXPECT_THAT(Reason([&] { workspace.ReplaceComponent(b, c, File(above)); }), HasSubstr("part of itself"));
    }
    EXPECT_THAT(Reason([&] { workspace.AddComponents(c, {File("a.ZALProduct")}); }), HasSubstr("part of itself"));
    EXPECT_EQ(3U, workspace.LoadedDocuments());
    EXPECT_FALSE(b.Reference()->IsDirty());
}

TEST_F(HostileWorkspace, AProductOfVeryManyChildrenIsOpenedChangedAndSaved)
{
    constexpr std::size_t count = 100'000;
    Part("bolt.ZALPart", "bolt");
    CadDocument product = ProductOf({"bolt.ZALPart", "gone.ZALPart"});
    product.children.clear();
    for (std::size_t index = 0; index < count; ++index)
        product.children.push_back(
            {"bolt." + std::to_string(index + 1), static_cast<std::uint32_t>(index % 2), IdentityPlacement});
    Write("many.ZALProduct", BuildDocument(product));
    CadWorkspace workspace;
    LoadedDocument& many = workspace.Open(File("many.ZALProduct"));
    EXPECT_EQ(count, many.Children().size());
    workspace.AddComponents(*many.Root(), {File("bolt.ZALPart")});
    workspace.ReplaceAllInstances(*many.Root(), *many.Children().at(1), File("bolt.ZALPart"));
    EXPECT_EQ(true, DescribeTree(many)["more"]);
    workspace.Save(many);
    const CadDocument saved = ReadDocument(File("many.ZALProduct"));
    EXPECT_EQ(saved.children.size(), count + 1);
    EXPECT_EQ(saved.children.back().name, "bolt." + std::to_string(count + 1));
    EXPECT_THAT(saved.links, ElementsAre("bolt.ZALPart"));
}

TEST_F(HostileWorkspace, AVeryLongChainOfProductsIsOpenedAndClosed)
{
    constexpr int count = 2000;
    for (int level = 0; level < count; ++level)
        Product("L" + std::to_string(level) + ".ZALProduct", {"L" + std::to_string(level + 1) + ".ZALProduct"});
    CadWorkspace workspace;
    LoadedDocument& top = workspace.Open(File("L0.ZALProduct"));
    EXPECT_EQ(workspace.LoadedDocuments(), static_cast<std::size_t>(count));
    EXPECT_THAT(workspace.DisputedPartNumbers(top), ElementsAre("product"));
    std::string names = "product";
    for (int level = 1; level < 1000; ++level)
        names += "/child0";
    EXPECT_TRUE(Owned<ZALPathElement>(workspace.FindPath(names)));
    EXPECT_EQ(nullptr, workspace.FindPath(names + "/child0")) << "more than a thousand products on the way";
    EXPECT_EQ("product", DescribeTree(top)["name"]);
    workspace.Close(top);
    EXPECT_EQ(0U, workspace.LoadedDocuments());
}

TEST_F(HostileWorkspace, AMillionInstancesOfAProductAreGivenAndNoMore)
{
    Part("bolt.ZALPart", "bolt");
    Write("inner.ZALProduct", BuildDocument(ProductOf("bolt.ZALPart", 999)));
    CadWorkspace workspace;
    LoadedDocument& top = workspace.Open(Write("top.ZALProduct", BuildDocument(ProductOf("inner.ZALProduct", 1000))));
    EXPECT_EQ(MaximumInstances, InstancesBelow(*top.Root()).size());
    workspace.AddComponents(*top.Root(), {File("bolt.ZALPart")});
    EXPECT_THAT(Reason([&] { InstancesBelow(*top.Root()); }), HasSubstr("too many instances"));
}

TEST_F(HostileWorkspace, ATreeOfAHundredThousandInstancesIsShownAndNoLarger)
{
    Part("bolt.ZALPart", "bolt");
    CadWorkspace workspace;
    LoadedDocument& top =
        workspace.Open(Write("top.ZALProduct", BuildDocument(ProductOf("bolt.ZALPart", MaximumShownInstances - 1))));
    EXPECT_EQ(MaximumShownInstances - 1, FindShownParts(*top.Root()).size()) << "the product is the last one";
    workspace.AddComponents(*top.Root(), {File("bolt.ZALPart")});
    EXPECT_THAT(FindShownParts(*top.Root()), IsEmpty());
}

// ---------------------------------------------------------------------------------------------
// Names

TEST_F(HostileWorkspace, NamesThatAreNoTextAreRefused)
{
    for (const std::string& name : {std::string("\xFF\xFE"), std::string("\xED\xA0\x80"), std::string("a\0b", 3),
                                    std::string("\x1B[2J"), std::string(StreamReader::MaximumTextSize + 1, 'n')}) {
        ExpectDamaged(WithStream(ProductOf({"good.ZALPart"}), "Children",
                                 [&](std::string& stream) {
                                     stream.replace(HeadSize + 8, std::string("child0").size(), name);
                                     Put(stream, HeadSize + 4, static_cast<std::uint32_t>(name.size()));
                                 }),
                      name.size() > StreamReader::MaximumTextSize ? "too long" : "not plain UTF-8");
    }
}

TEST_F(HostileWorkspace, OddNamesAndPartNumbersComeBackFromTheFile)
{
    const std::vector<std::string> odd = {"../../etc",
                                          "/",
                                          "C:\\parts",
                                          "two\nlines",
                                          " ",
                                          "..",
                                          std::string(StreamReader::MaximumTextSize, 'n'),
                                          "\"},{\"event\":\"end\"",
                                          "名前/\xF0\x9F\x94\xA9",
                                          "%s%n",
                                          "a.1"};
    CadDocument product = ProductOf({"good.ZALPart"});
    product.children.clear();
    for (const std::string& name : odd)
        product.children.push_back({name, 0, IdentityPlacement});
    Part("good.ZALPart");
    Write("top.ZALProduct", BuildDocument(product));
    CadWorkspace workspace;
    LoadedDocument& top = workspace.Open(File("top.ZALProduct"));
    for (std::size_t index = 0; index < odd.size(); ++index)
        workspace.AddComponents(*top.Root(), {Part("p" + std::to_string(index) + ".ZALPart", odd[index])});
    workspace.AddComponents(*top.Root(), {Part("line\nend.ZALPart")});
    workspace.Save(top);

    const CadDocument saved = ReadDocument(File("top.ZALProduct"));
    ASSERT_EQ(saved.children.size(), 2 * odd.size() + 1);
    for (std::size_t index = 0; index < odd.size(); ++index) {
        EXPECT_EQ(saved.children[index].name, odd[index]);
        EXPECT_EQ(saved.children[odd.size() + index].name, odd[index].substr(0, 1000) + ".1");
    }
    EXPECT_EQ("line\nend.1", saved.children.back().name);
    EXPECT_EQ(Entries(), odd.size() + 3);
    CadWorkspace again;
    for (const auto& child : again.Open(File("top.ZALProduct")).Children())
        EXPECT_NE(child->Reference(), nullptr) << child->Name();
}

TEST_F(HostileWorkspace, FilesWhoseNamesNoLinkCanHoldAreRefused)
{
    CadWorkspace workspace;
    LoadedDocument& top = workspace.Open(Product("top.ZALProduct", {}));
    for (const char* name : {"\xFF.ZALPart", "a\x01.ZALPart", "parts\\bolt.ZALPart"})
        EXPECT_NE(Reason([&] { workspace.AddComponents(*top.Root(), {Part(name)}); }), "") << name;
    EXPECT_NE(Reason([&] { workspace.AddComponents(*top.Root(), {File(std::string(5000, 'n') + ".ZALPart")}); }), "");
    EXPECT_EQ(1U, workspace.LoadedDocuments());
    EXPECT_FALSE(top.IsDirty());
}

TEST_F(HostileWorkspace, LinksThatLeadToNoDocumentAreKeptAsTheyStand)
{
    ASSERT_EQ(0, mkfifo(File("pipe.ZALPart").c_str(), 0600));
    const LinkTable links = {"/dev/zero",
                             "/dev/full",
                             "/",
                             ".",
                             "..",
                             "../../../../../../../../etc/passwd",
                             "C:\\parts\\a.ZALPart",
                             "folder/",
                             "a\nb",
                             "pipe.ZALPart",
                             "/proc/self/mem",
                             std::string(60'000, 'n'),
                             "https://127.0.0.1/a.ZALPart"};
    CadWorkspace workspace;
    LoadedDocument& top = workspace.Open(Product("top.ZALProduct", links));
    EXPECT_EQ(1U, workspace.LoadedDocuments());
    for (const auto& child : top.Children()) {
        EXPECT_EQ(nullptr, child->Reference()) << child->Link().substr(0, 100);
        EXPECT_NE(child->Problem(), "") << child->Link().substr(0, 100);
    }
    workspace.AddComponents(*top.Root(), {Part("bolt.ZALPart")});
    workspace.Save(top);
    CadDocument saved = ReadDocument(File("top.ZALProduct"));
    EXPECT_EQ("bolt.ZALPart", saved.links.back());
    saved.links.pop_back();
    EXPECT_EQ(saved.links, links);
}

// ---------------------------------------------------------------------------------------------
// Places that cannot be written

class UnwritablePlace : public HostileWorkspace {
protected:
    UnwritablePlace()
    {
        Part("bolt.ZALPart", "bolt");
        std::filesystem::create_directory(File("place"));
        std::filesystem::rename(Product("top.ZALProduct", {}), Top());
        before_ = Read("place/top.ZALProduct");
        top_ = &workspace_.Open(Top());
        workspace_.AddComponents(*top_->Root(), {File("bolt.ZALPart")});
    }

    std::filesystem::path Top() const { return File("place") / "top.ZALProduct"; }
    std::size_t EntriesOfPlace() const
    {
        return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(File("place")), {}));
    }
    void ExpectNotSaved()
    {
        EXPECT_THAT(Reason([&] { workspace_.Save(*top_); }), HasSubstr("top.ZALProduct"));
        EXPECT_TRUE(top_->IsDirty());
        EXPECT_EQ(1U, top_->Children().size());
    }
    void ExpectTheOldFile() const
    {
        EXPECT_EQ(before_, Read("place/top.ZALProduct"));
        EXPECT_EQ(1U, EntriesOfPlace());
    }
    /// Nothing is lost for good: the next attempt saves.
    void ExpectSaved()
    {
        workspace_.Save(*top_);
        EXPECT_FALSE(top_->IsDirty());
        EXPECT_EQ(1U, ReadDocument(Top()).children.size());
        EXPECT_EQ(1U, EntriesOfPlace());
    }

    CadWorkspace workspace_;
    LoadedDocument* top_;
    std::string before_;
};

TEST_F(UnwritablePlace, AReadOnlyFileStaysAndCanBeSavedLater)
{
    std::filesystem::permissions(Top(), std::filesystem::perms(0444));
    ExpectNotSaved();
    ExpectTheOldFile();
    std::filesystem::permissions(Top(), std::filesystem::perms(0644));
    ExpectSaved();
}

TEST_F(UnwritablePlace, AFullDiskLeavesTheOldFile)
{
    {
        const FileSizeLimit limit(1000);
        ExpectNotSaved();
    }
    ExpectTheOldFile();
    ExpectSaved();
}

TEST_F(UnwritablePlace, AFolderThatHasBecomeAFileIsNoPlace)
{
    std::filesystem::rename(File("place"), File("moved"));
    Write("place", "a file");
    ExpectNotSaved();
    EXPECT_EQ("a file", Read("place"));
    EXPECT_EQ(before_, Read("moved/top.ZALProduct"));
    std::filesystem::remove(File("place"));
    std::filesystem::rename(File("moved"), File("place"));
    ExpectSaved();
}

TEST_F(UnwritablePlace, AFolderInThePlaceOfTheFileStays)
{
    std::filesystem::remove(Top());
    std::filesystem::create_directory(Top());
    ExpectNotSaved();
    EXPECT_TRUE(std::filesystem::is_directory(Top()));
    EXPECT_EQ(1U, EntriesOfPlace());
    std::filesystem::remove(Top());
    ExpectSaved();
}

TEST_F(UnwritablePlace, SavingUnderAnotherNameChangesNothingWhenItFails)
{
    Write("file", "a file");
    Write("text.ZALProduct", "kept");
    std::filesystem::permissions(File("text.ZALProduct"), std::filesystem::perms(0444));
    for (const char* place : {"file/new.ZALProduct", "text.ZALProduct", "none/new.ZALProduct"})
        EXPECT_NE(Reason([&] { workspace_.SaveAs(*top_, File(place)); }), "") << place;
    {
        const FileSizeLimit limit(1000);
        EXPECT_NE(Reason([&] { workspace_.SaveAs(*top_, File("new.ZALProduct")); }), "");
    }
    EXPECT_FALSE(std::filesystem::exists(File("new.ZALProduct")));
    EXPECT_EQ("kept", Read("text.ZALProduct"));
    EXPECT_EQ(top_->Path(), std::filesystem::canonical(Top()));
    EXPECT_EQ(workspace_.Find(Top()), top_);
    ExpectTheOldFile();
    ExpectSaved();
}

TEST_F(UnwritablePlace, APartWhoseFileHasGoneIsNotSavedWithoutItsGeometry)
{
    LoadedDocument& bolt = *top_->Children().at(0)->Reference();
    std::filesystem::remove(File("bolt.ZALPart"));
    EXPECT_THAT(Reason([&] { workspace_.SaveAs(bolt, File("screw.ZALPart")); }), HasSubstr("bolt.ZALPart"));
    Write("bolt.ZALPart", "damaged");
    EXPECT_THAT(Reason([&] { workspace_.SaveAs(bolt, File("screw.ZALPart")); }), HasSubstr("bolt.ZALPart"));
    EXPECT_FALSE(std::filesystem::exists(File("screw.ZALPart")));
    EXPECT_EQ("damaged", Read("bolt.ZALPart"));
}

} // namespace

// ---------------------------------------------------------------------------------------------
// Links of a document from outside

class LinksFromOutside : public HostileWorkspace {
protected:
    LinksFromOutside()
    {
        std::filesystem::create_directories(File("download/sub"));
        Part("mine.ZALPart");
        Part("download/beside.ZALPart");
        Part("download/sub/below.ZALPart");
        std::filesystem::create_symlink(File("mine.ZALPart"), File("download/link.ZALPart"));
        std::filesystem::create_directory_symlink(Folder().Path(), File("download/up"));
    }

    /// A product in the folder of downloads with a link to each of `links`.
    std::filesystem::path Download(const LinkTable& links) const
    {
        std::filesystem::path file = Product("download/product.ZALProduct", links);
        MarkFromOutside(Descriptor(open(file.c_str(), O_RDONLY | O_CLOEXEC)).Number());
        return file;
    }
    /// The files of the components of `document`; of missing ones the link.
    static std::vector<std::string> Targets(const LoadedDocument& document)
    {
        std::vector<std::string> targets;
        for (const auto& child : document.Children())
            targets.push_back(child->Reference() ? child->Reference()->Path().filename().string()
                                                 : "no " + child->Link());
        return targets;
    }
};

TEST_F(LinksFromOutside, LeadToFilesOfItsFolderAlone)
{
    std::vector<std::string> refused;
    const journal::Sink before = journal::Redirect([&](const nlohmann::ordered_json& event) {
        if (event.value("action", "") == "refused")
            refused.push_back(event["reason"]);
    });
    CadWorkspace workspace;
    const LinkTable links = {"beside.ZALPart",  "sub/below.ZALPart", File("mine.ZALPart").string(),
                             "../mine.ZALPart", "link.ZALPart",      "..\\up\\mine.ZALPart",
                             "up/mine.ZALPart", "/dev/zero"};
    LoadedDocument& document = workspace.Open(Download(links));
    journal::Redirect(before);
    EXPECT_THAT(Targets(document), ElementsAre("beside.ZALPart", "below.ZALPart", "no mine.ZALPart", "no mine.ZALPart",
                                               "no link.ZALPart", "no mine.ZALPart", "no mine.ZALPart", "no zero"));
    EXPECT_THAT(document.Children().at(2)->Problem(), HasSubstr("leads out of the folder"));
    ASSERT_EQ(6U, refused.size());
    EXPECT_THAT(refused.front(), HasSubstr(File("mine.ZALPart").string()));
}

TEST_F(LinksFromOutside, AreNotLeftInWhatTheUserSaves)
{
    CadWorkspace workspace;
    LoadedDocument& document = workspace.Open(Download({File("mine.ZALPart").string(), "..", "beside.ZALPart"}));
    Part("own.ZALPart");
    workspace.AddComponents(*document.Root(), {File("own.ZALPart")});
    workspace.Save(document);
    EXPECT_EQ((LinkTable{"mine.ZALPart", "unnamed", "beside.ZALPart", File("own.ZALPart").string()}),
              ReadDocument(document.Path()).links);

    CadWorkspace other;
    EXPECT_THAT(Targets(other.Open(document.Path())),
                ElementsAre("no mine.ZALPart", "no unnamed", "beside.ZALPart", "own.ZALPart"));
}

TEST_F(LinksFromOutside, AreJudgedByTheirOwnFolderBelowAProductOfTheUser)
{
    const std::filesystem::path top = Product("top.ZALProduct", {"download/product.ZALProduct", "mine.ZALPart"});
    Download({"beside.ZALPart", "../mine.ZALPart"});
    CadWorkspace workspace;
    LoadedDocument& document = workspace.Open(top);
    EXPECT_THAT(Targets(document), ElementsAre("product.ZALProduct", "mine.ZALPart"));
    EXPECT_THAT(Targets(*document.Children().at(0)->Reference()), ElementsAre("beside.ZALPart", "no mine.ZALPart"));
}

TEST_F(LinksFromOutside, AreThoseOfAMarkedDocumentAlone)
{
    const std::filesystem::path file = Product("download/product.ZALProduct", {File("mine.ZALPart").string()});
    CadWorkspace workspace;
    EXPECT_THAT(Targets(workspace.Open(file)), ElementsAre("mine.ZALPart"));
}

} // namespace openhost::testing
