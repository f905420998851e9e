// The choice of the route, moves, and products rebuilt on both templates.

#include "tests/templates/TemplateFixture.h"

#include "templates/ApplyTemplates.h"

namespace openhost::testing {
namespace {

using namespace ZALVliTemplateSupportUtilities;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

class ApplyTemplatesRun : public TemplateFixture {
protected:
    HRESULT Apply(PreferredSaveMethod method = SaveMethodSaveAs)
    {
        ZALListValZALUnicodeString files;
        for (const std::string& source : Sources)
            files.Append(Text(Temp() / source));
        const HRESULT result = ApplyTemplates(Text(partTemplate), Text(productTemplate), files, Properties,
                                              Text(Parts()), FromUtf8(Root), method, Results, Error, Warnings);
        EXPECT_EQ("", ToUtf8(Error));
        EXPECT_EQ(0, Workspace.OpenDocuments());
        EXPECT_EQ(0, Workspace.Locks());
        return result;
    }
    /// The results, relative to Parts().
    Texts ResultNames() const
    {
        Texts names;
        for (const std::string& path : TextsOf(Results))
            names.push_back(std::filesystem::path(path).lexically_relative(Parts()).string());
        return names;
    }
    void Download(const Texts& names)
    {
        Sources = names;
        for (const std::string& name : names)
            Downloaded(name);
    }
    Texts RunTraces() const { return TracesFrom("ApplyTemplates - "); }

    std::filesystem::path partTemplate = PartTemplate();
    std::filesystem::path productTemplate = ProductTemplate();
    Texts Sources;
    PropertyList Properties;
    std::string Root = "bolt";
    ZALListValZALUnicodeString Results;
    ZALUnicodeString Error = "before";
    ZALListValZALUnicodeString Warnings;
};

// ---------------------------------------------------------------------------------------------
// Names of results

struct NameCase {
    const char* root;
    const char* source;
    int index;
    const char* expected;
};

class ResultName : public HostFixture, public ::testing::WithParamInterface<NameCase> {};

TEST_P(ResultName, FollowsRootSourceAndIndex)
{
    const NameCase& name = GetParam();
    ZALUnicodeString path = "before";
    EXPECT_EQ(S_OK, BuildDestinationFilePath("/folder", name.root, ZALUnicodeString("/temp/deep/") + name.source, path,
                                             name.index));
    EXPECT_EQ(std::string("/folder/") + name.expected, ToUtf8(path));
}

INSTANTIATE_TEST_SUITE_P(
    Each, ResultName,
    ::testing::Values(
        NameCase{"", "p1.ZALPart", 0, "p1.ZALPart"}, NameCase{"", "p1.ZALPart", 5, "p1.ZALPart"},
        NameCase{"bolt", "x.ZALPart", 0, "bolt.ZALPart"}, NameCase{"bolt", "x.ZALProduct", 0, "bolt.ZALProduct"},
        NameCase{"bolt", "x.stp", 0, "bolt.stp"}, NameCase{"bolt", "p1.ZALPart", 3, "bolt_03.ZALPart"},
        NameCase{"bolt", "p1.ZALPart", 10, "bolt_10.ZALPart"}, NameCase{"bolt", "p1.ZALPart", 120, "bolt_120.ZALPart"},
        NameCase{"bolt", "p1.zalpart", 1, "bolt_01.ZALPart"}, NameCase{"bolt", "p1.stp", 1, "bolt_01.ZALPart"},
        NameCase{"bolt.ZALProduct", "x.ZALProduct", 0, "bolt.ZALProduct"},
        NameCase{"bolt.ZALProduct", "p1.ZALPart", 1, "bolt.ZALProduct_01.ZALPart"},
        NameCase{"bolt.ZALPart", "p1.ZALPart", 1, "bolt.ZALPart"},
        NameCase{"bolt.ZALPart", "p1.ZALPart", 2, "bolt.ZALPart"},
        NameCase{"bolt.zalpart", "x.ZALPart", 0, "bolt.zalpart.ZALPart"},
        NameCase{"M6.30", "x.ZALPart", 0, "M6.30.ZALPart"}, NameCase{"M6.30", "p1.ZALPart", 1, "M6.30_01.ZALPart"},
        NameCase{"M6.stp", "x.stp", 0, "M6.stp"}, NameCase{"M6.stp", "x.stp", 1, "M6.stp"},
        NameCase{"M6.30", "plain", 0, "M6.30."}, NameCase{"bolt", "p1.ZALPart", 99, "bolt_99.ZALPart"},
        NameCase{"bolt", "x.tar.gz", 0, "bolt.gz"}, NameCase{"", "x.tar.gz", 0, "x.tar.gz"},
        NameCase{"bolt", "plain", 0, "bolt"}, NameCase{"bolt", "plain", 1, "bolt"}));

// ---------------------------------------------------------------------------------------------
// Choice of the route

TEST_F(ApplyTemplatesRun, TracesWhatItIsGiven)
{
    EXPECT_EQ(E_INVALIDARG, Apply(SaveMethodNewFrom)) << "without sources";
    EXPECT_THAT(RunTraces(),
                ElementsAre("isPartTemplatePath: " + partTemplate.string(),
                            "isProductTemplatePath: " + productTemplate.string(),
                            "isDestFolderPath: " + Parts().string(), "isDestRootFileName: bolt", "SaveMethod: 1"));
}

TEST_F(ApplyTemplatesRun, RefusesNoMethodAndNoSources)
{
    Results.Append("old");
    Warnings.Append("kept");
    EXPECT_EQ(E_INVALIDARG, Apply());
    EXPECT_THAT(ResultNames(), IsEmpty());
    EXPECT_THAT(TextsOf(Warnings), ElementsAre("kept"));
    Download({"a.ZALPart"});
    EXPECT_EQ(E_INVALIDARG, Apply(SaveMethodNone));
    EXPECT_THAT(NamesIn(Parts()), IsEmpty());
    EXPECT_TRUE(exists(Temp() / "a.ZALPart"));
    EXPECT_THAT(Workspace.calls, IsEmpty());
}

TEST_F(ApplyTemplatesRun, RebuildsOnePart)
{
    Download({"a.zalpart"});
    Workspace.AddPart(PartTemplate(), "template");
    Workspace.AddSolidPart(Temp() / "a.zalpart", "source");
    EXPECT_EQ(S_OK, Apply());
    EXPECT_THAT(ResultNames(), ElementsAre("bolt.zalpart"));
    EXPECT_EQ("Open temp/VelmartTemplates/PartTemplate.ZALPart, 0", Workspace.calls.front());
    EXPECT_THAT(Workspace.CallsOf({"Unlock", "Remove"}),
                ElementsAre("Unlock source 0", "Remove source 1", "Unlock template 0", "Remove template 1"));
    EXPECT_EQ("template", ReadFile(Parts() / "bolt.zalpart"));
}

TEST_F(ApplyTemplatesRun, MovesOneFileOfAnyOtherKindAndAPartWithoutATemplate)
{
    for (const std::string name : {"a.ZALProduct", "a.stp", "a", "a.ZALPart"}) {
        if (name == "a.ZALPart")
            partTemplate.clear();
        for (const std::string root : {"bolt", ""}) {
            Root = root;
            Download({name});
            EXPECT_EQ(S_OK, Apply());
            EXPECT_FALSE(exists(Temp() / name));
            const std::string expected =
                root.empty() ? name : "bolt" + std::filesystem::path(name).extension().string();
            EXPECT_THAT(ResultNames(), ElementsAre(expected));
            EXPECT_EQ("downloaded " + name, ReadFile(Parts() / expected));
        }
    }
    EXPECT_THAT(Workspace.calls, IsEmpty());
}

TEST_F(ApplyTemplatesRun, ReportsOneFileThatIsThereAlready)
{
    for (const char* name : {"a.ZALPart", "a.ZALProduct"}) {
        Download({name});
        const std::string result = "bolt" + std::filesystem::path(name).extension().string();
        Write(Parts() / result, "old");
        EXPECT_EQ(S_FALSE, Apply());
        EXPECT_THAT(ResultNames(), ElementsAre(result));
        EXPECT_EQ("old", ReadFile(Parts() / result));
        EXPECT_TRUE(exists(Temp() / name));
    }
    EXPECT_THAT(Workspace.calls, IsEmpty());
}

TEST_F(ApplyTemplatesRun, ReportsNothingOfOneFileThatFails)
{
    Sources = {"gone.stp"};
    EXPECT_EQ(E_FAIL, Apply());
    EXPECT_THAT(ResultNames(), IsEmpty());
    Download({"a.ZALPart"});
    Workspace.AddPart(PartTemplate(), "template"); // the source cannot be opened
    EXPECT_EQ(E_FAIL, Apply());
    EXPECT_THAT(ResultNames(), IsEmpty());
    EXPECT_THAT(Workspace.CallsOf({"Unlock", "Remove"}), ElementsAre("Unlock template 0", "Remove template 1"));
}

TEST_F(ApplyTemplatesRun, GivesTheAnswerOfTheSaveOfOnePart)
{
    Download({"a.ZALPart"});
    ScriptedWorkspaceDocument& used = Workspace.AddPart(PartTemplate(), "template");
    Workspace.AddSolidPart(Temp() / "a.ZALPart", "source");
    used.saveResult = E_INVALIDARG;
    used.leavesFile = false;
    EXPECT_EQ(E_INVALIDARG, Apply());
    EXPECT_THAT(ResultNames(), IsEmpty());
    used.saveResult = 7;
    EXPECT_EQ(7, Apply());
    EXPECT_THAT(ResultNames(), ElementsAre("bolt.ZALPart"));
}

TEST_F(ApplyTemplatesRun, MovesSeveralProductsUnderTheirOwnNamesWithAWarning)
{
    const std::filesystem::path catalogs = Folder() / "installation" / "resources" / "msgcatalog";
    create_directories(catalogs);
    Write(catalogs / "ZALVelmartFileDownloader.ZALNls", "WarnNoTemplateMultiProduct = \"Too many products\";\n");
    Download({"a.ZALProduct", "b.zalproduct", "p.ZALPart"});
    Warnings.Append("kept");
    EXPECT_EQ(S_OK, Apply());
    EXPECT_THAT(ResultNames(), ElementsAre("a.ZALProduct", "b.zalproduct", "p.ZALPart"));
    EXPECT_THAT(NamesIn(Parts()), ElementsAre("a.ZALProduct", "b.zalproduct", "p.ZALPart"));
    EXPECT_EQ("downloaded b.zalproduct", ReadFile(Parts() / "b.zalproduct"));
    EXPECT_THAT(TextsOf(Warnings), ElementsAre("kept", "Too many products"));
    const Texts traces = RunTraces();
    ASSERT_EQ(7U, traces.size());
    EXPECT_EQ("WARNING - No Support of template for multiple products", traces[5]);
    EXPECT_EQ("No Product Template - we move the files", traces[6]);
    EXPECT_THAT(Workspace.calls, IsEmpty());
}

TEST_F(ApplyTemplatesRun, WarnsWithAnEmptyTextWithoutACatalog)
{
    Download({"a.ZALProduct", "b.ZALProduct"});
    productTemplate.clear();
    EXPECT_EQ(S_OK, Apply());
    EXPECT_THAT(TextsOf(Warnings), ElementsAre(""));
}

TEST_F(ApplyTemplatesRun, MovesTheFilesWithoutAProductTemplate)
{
    productTemplate.clear();
    Download({"p.ZALPart", "a.ZALProduct", "drawing.pdf"});
    EXPECT_EQ(S_OK, Apply());
    EXPECT_THAT(ResultNames(), ElementsAre("p.ZALPart", "bolt.ZALProduct", "drawing.pdf"))
        << "the order of the sources";
    EXPECT_EQ("downloaded a.ZALProduct", ReadFile(Parts() / "bolt.ZALProduct"));
    EXPECT_THAT(RunTraces(), Contains("No Product Template - we move the files"));
    EXPECT_THAT(TextsOf(Warnings), IsEmpty());
    EXPECT_THAT(Workspace.calls, IsEmpty()) << "the part template is not used";
}

TEST_F(ApplyTemplatesRun, MovesFilesWithoutAProductUnderTheirOwnNames)
{
    productTemplate.clear();
    Download({"p.ZALPart", "q.ZALPart"});
    EXPECT_EQ(S_OK, Apply());
    EXPECT_THAT(ResultNames(), ElementsAre("p.ZALPart", "q.ZALPart"));
}

TEST_F(ApplyTemplatesRun, MovesTheOtherFilesWhenOneFails)
{
    productTemplate.clear();
    Download({"p.ZALPart", "q.ZALPart", "a.ZALProduct"});
    std::filesystem::remove(Temp() / "p.ZALPart");
    EXPECT_EQ(E_FAIL, Apply());
    EXPECT_THAT(ResultNames(), ElementsAre("q.ZALPart", "bolt.ZALProduct"));
    EXPECT_THAT(NamesIn(Parts()), ElementsAre("bolt.ZALProduct", "q.ZALPart"));
}

TEST_F(ApplyTemplatesRun, ReportsAMovedFileWhoseTargetIsThere)
{
    productTemplate.clear();
    Download({"a.ZALProduct", "p.ZALPart"});
    Write(Parts() / "p.ZALPart", "old");
    EXPECT_EQ(S_OK, Apply());
    EXPECT_THAT(ResultNames(), ElementsAre("bolt.ZALProduct", "p.ZALPart"));
    EXPECT_EQ("old", ReadFile(Parts() / "p.ZALPart"));
    EXPECT_TRUE(exists(Temp() / "p.ZALPart"));
}

TEST_F(ApplyTemplatesRun, SavesByAnyOtherNumberAsALaterVersion)
{
    for (const int method : {-1, 3}) {
        Download({"a.ZALPart"});
        std::filesystem::remove(Parts() / "bolt.ZALPart");
        Workspace.AddPart(PartTemplate(), "template");
        Workspace.AddSolidPart(Temp() / "a.ZALPart", "source");
        EXPECT_EQ(S_OK, Apply(static_cast<PreferredSaveMethod>(method)));
        EXPECT_EQ("SaveMethod: " + std::to_string(method), RunTraces().back());
    }
    EXPECT_EQ(2U, Workspace.CallsOf({"SaveAs"}).size());
    EXPECT_THAT(Workspace.CallsOf({"SaveAsNew"}), IsEmpty());
}

TEST_F(ApplyTemplatesRun, FailsWithAProductTemplateAndNoProductAmongTheFiles)
{
    Download({"p.ZALPart", "q.ZALPart"});
    EXPECT_EQ(E_FAIL, Apply());
    EXPECT_THAT(ResultNames(), IsEmpty());
    EXPECT_THAT(NamesIn(Parts()), IsEmpty());
    EXPECT_TRUE(exists(Temp() / "p.ZALPart"));
    EXPECT_THAT(Workspace.calls, IsEmpty());
}

// ---------------------------------------------------------------------------------------------
// The file of a child

class DownloadedFile : public TemplateFixture {
protected:
    /// What is found among `sources` for the child, with the result: "path" or "".
    std::pair<HRESULT, std::string> Find(const Texts& sources)
    {
        ZALListValZALUnicodeString list;
        for (const std::string& source : sources)
            list.Append(FromUtf8(source));
        ZALUnicodeString path;
        const HRESULT result = FindDownloadedFile(ZALIProduct_var(&child), list, path);
        return {result, ToUtf8(path)};
    }
    static std::pair<HRESULT, std::string> None(HRESULT result) { return {result, ""}; }

    ScriptedWorkspaceDocument& product = Workspace.AddProduct("/cache/a.ZALProduct", "product");
    ScriptedWorkspaceDocument& part = Workspace.AddPart("/cache/nut.ZALPart", "part");
    ScriptedObject& child = Workspace.AddChild(product, part, "nut.1", 0);
};

TEST_F(DownloadedFile, IsTheFirstOfThatNameInAnyFolderAndLetterCase)
{
    EXPECT_EQ((std::pair<HRESULT, std::string>{S_OK, "/t/NUT.zalpart"}),
              Find({"/t/bolt.ZALPart", "/t/NUT.zalpart", "/u/nut.ZALPart"}));
    EXPECT_THAT(Workspace.calls, ElementsAre("Shape nut.1: Default, 0, 1, 1"));
}

TEST_F(DownloadedFile, IsNotThereForAnotherName)
{
    EXPECT_EQ(None(S_FALSE), Find({"/t/nut.stp", "/t/nut", "/t/nut.ZALPart/bolt.ZALPart"}));
    EXPECT_EQ(None(S_FALSE), Find({}));
}

TEST_F(DownloadedFile, NeedsAChild)
{
    ZALUnicodeString path = "before";
    EXPECT_EQ(E_INVALIDARG, FindDownloadedFile(ZALIProduct_var(), {}, path));
    EXPECT_EQ("before", ToUtf8(path));
}

TEST_F(DownloadedFile, NeedsAPartWithADocument)
{
    part.part->document = nullptr;
    EXPECT_EQ(None(E_FAIL), Find({"/t/nut.ZALPart"}));
    part.part->document = &part;
    part.part->offers.erase("ZALIPrtPart");
    EXPECT_EQ(None(E_FAIL), Find({"/t/nut.ZALPart"}));
    child.representation = nullptr;
    EXPECT_EQ(None(E_FAIL), Find({"/t/nut.ZALPart"}));
}

// ---------------------------------------------------------------------------------------------
// A component in its place

class PositionedComponent : public TemplateFixture {
protected:
    HRESULT Add()
    {
        ZALMathTransformation position;
        position.Shift[0] = 4;
        return AddPositionedComponent(ZALIProduct_var(product.root), ZALIProduct_var(part.root), position);
    }

    ScriptedWorkspaceDocument& product = Workspace.AddProduct("/a.ZALProduct", "product");
    ScriptedWorkspaceDocument& part = Workspace.AddPart("/p.ZALPart", "part");
};

TEST_F(PositionedComponent, IsAddedAndPlacedRelativeToTheRoot)
{
    product.root->addResult = S_FALSE;
    Workspace.answers["Place"] = E_FAIL;
    EXPECT_EQ(S_FALSE, Add()) << "the result of the addition";
    EXPECT_THAT(Workspace.calls,
                ElementsAre("Add product.root: part.root", "Place part.root.1 in product.root at 4, 0, 1"));
}

TEST_F(PositionedComponent, KeepsItsSuccessWhenItCannotBePlaced)
{
    product.root->instanceOffers = {"ZALIAProduct"};
    EXPECT_EQ(S_OK, Add());
    EXPECT_THAT(Workspace.calls, ElementsAre("Add product.root: part.root"));
}

TEST_F(PositionedComponent, IsPlacedInNothingWhenTheRootIsNotMovable)
{
    product.root->offers.erase("ZALIMovable");
    EXPECT_EQ(S_OK, Add());
    EXPECT_EQ("Place part.root.1 in nothing at 4, 0, 1", Workspace.calls.back());
}

TEST_F(PositionedComponent, NeedsComponentsAndAProduct)
{
    part.root->offers.erase("ZALIAProduct");
    EXPECT_EQ(E_INVALIDARG, Add());
    part.root->offers.insert("ZALIAProduct");
    product.root->offers.erase("ZALIAProducts");
    EXPECT_EQ(E_INVALIDARG, Add());
    EXPECT_EQ(E_INVALIDARG, AddPositionedComponent(ZALIProduct_var(), ZALIProduct_var(part.root), {}));
    EXPECT_EQ(E_INVALIDARG, AddPositionedComponent(ZALIProduct_var(product.root), ZALIProduct_var(), {}));
    EXPECT_THAT(Workspace.calls, IsEmpty());
}

TEST_F(PositionedComponent, FailsWhenNothingIsAdded)
{
    product.root->givesInstance = false;
    EXPECT_EQ(E_FAIL, Add());
    product.root->givesInstance = true;
    product.root->addResult = E_INVALIDARG;
    EXPECT_EQ(E_FAIL, Add());
    EXPECT_THAT(Workspace.CallsOf({"Place"}), IsEmpty());
}

// ---------------------------------------------------------------------------------------------
// A product and its parts

class ProductRun : public ApplyTemplatesRun {
protected:
    ProductRun() { Download({"a.ZALProduct"}); }

    /// A downloaded part, and a part template for it.
    ScriptedWorkspaceDocument& AddSource(const std::string& name)
    {
        Downloaded(name + ".ZALPart");
        Sources.push_back(name + ".ZALPart");
        templateOfLast = &Workspace.AddPart(PartTemplate(), "template of " + name);
        return Workspace.AddSolidPart(Temp() / (name + ".ZALPart"), name);
    }
    /// The same as a component of the product, "`name`.1" at `x`.
    ScriptedObject& AddPart(const std::string& name, int x)
    {
        return Workspace.AddChild(product, AddSource(name), name + ".1", x);
    }
    /// What became of the template product: the references of its components and their places.
    Texts Places() const
    {
        Texts places;
        for (const std::string& call : Workspace.CallsOf({"Place"}))
            places.push_back(call.substr(std::string("Place ").size()));
        return places;
    }

    ScriptedWorkspaceDocument* templateOfLast = nullptr;
    ScriptedWorkspaceDocument& target = Workspace.AddProduct(ProductTemplate(), "target");
    ScriptedWorkspaceDocument& product = Workspace.AddProduct(Temp() / "a.ZALProduct", "product");
};

TEST_F(ProductRun, PlacesEachPartInTheTemplateAndSavesIt)
{
    AddPart("p", 1);
    Downloaded("drawing.pdf");
    Sources.push_back("drawing.pdf");
    product.root->texts[0] = "PN-1";
    Properties = {{"customer", "Smith"}};

    EXPECT_EQ(S_OK, Apply());
    EXPECT_THAT(ResultNames(), ElementsAre("bolt.ZALProduct", "bolt_01.ZALPart"));
    EXPECT_THAT(NamesIn(Parts()), ElementsAre("bolt.ZALProduct", "bolt_01.ZALPart"));
    EXPECT_EQ("PN-1", target.root->texts[0]);
    EXPECT_THAT(
        Workspace.CallsOf({"Open", "Lock", "Cameras", "Children", "Where", "Shape", "Create", "SaveAs", "Add", "Place",
                           "Unlock", "Remove"}),
        ElementsAre("Open temp/VelmartTemplates/ProductTemplate.ZALProduct, 0", "Lock target",
                    "Open temp/a.ZALProduct, 0", "Lock product", "Children product.publisher: ZALICkeParm",
                    "Children target.publisher: ZALICkeParm", "Create customer = Smith in target.features",
                    "Cameras target: product", "Children product.root: ZALIProduct", "Where p.1 in product.root, 0, 1",
                    "Shape p.1: Default, 0, 1, 1", "Open temp/VelmartTemplates/PartTemplate.ZALPart, 0",
                    "Lock template of p", "Open temp/p.ZALPart, 0", "Lock p", "Cameras template of p: p",
                    "Children p.publisher: ZALICkeParm", "Children template of p.publisher: ZALICkeParm",
                    "Create customer = Smith in template of p.features",
                    "SaveAs template of p to parts/bolt_01.ZALPart, \"\", 1", "Unlock p 0", "Remove p 1",
                    "Add target.root: template of p.root", "Place template of p.root.1 in target.root at 1, 0, 1",
                    "SaveAs target to parts/bolt.ZALProduct, \"\", 1", "Unlock target 0", "Remove target 1",
                    "Unlock product 0", "Remove product 1", "Unlock template of p 0", "Remove template of p 1"));
    EXPECT_EQ("SaveAs : " + InParts("bolt.ZALProduct"), RunTraces().back());
    EXPECT_TRUE(exists(Temp() / "drawing.pdf")) << "it is not moved";
}

TEST_F(ProductRun, TracesTheSaveBeforehand)
{
    Texts traced;
    Workspace.OnCall = [&](const std::string& call) {
        if (call.starts_with("SaveAs"))
            traced.push_back(RunTraces().back());
    };
    AddSource("p");
    EXPECT_EQ(S_OK, Apply());
    EXPECT_THAT(traced, ElementsAre("SaveAs : " + InParts("bolt.ZALProduct")));
}

TEST_F(ProductRun, IsSavedAsNewForNewFrom)
{
    AddPart("p", 1);
    EXPECT_EQ(S_OK, Apply(SaveMethodNewFrom));
    EXPECT_THAT(Workspace.CallsOf({"SaveAs", "SaveAsNew"}),
                ElementsAre("SaveAsNew template of p to parts/bolt_01.ZALPart, 0",
                            "SaveAsNew target to parts/bolt.ZALProduct, 0"));
    EXPECT_EQ("SaveAsNew : " + InParts("bolt.ZALProduct"), RunTraces().back());
}

TEST_F(ProductRun, RebuildsAPartOnceForAllItsInstances)
{
    ScriptedWorkspaceDocument& p = AddSource("p");
    Workspace.AddChild(product, p, "p.1", 1);
    AddPart("q", 2);
    Workspace.AddChild(product, p, "p.2", 3);
    AddPart("r", 4);
    EXPECT_EQ(S_OK, Apply());
    EXPECT_THAT(ResultNames(), ElementsAre("bolt.ZALProduct", "bolt_01.ZALPart", "bolt_02.ZALPart", "bolt_03.ZALPart"));
    EXPECT_THAT(Places(), ElementsAre("template of p.root.1 in target.root at 1, 0, 1",
                                      "template of q.root.2 in target.root at 2, 0, 1",
                                      "template of p.root.3 in target.root at 3, 0, 1",
                                      "template of r.root.4 in target.root at 4, 0, 1"));
}

TEST_F(ProductRun, TellsReferencesOfOneNameApart)
{
    AddPart("p", 1);
    Workspace.AddPart(PartTemplate(), "another template");
    Workspace.AddChild(product, Workspace.AddSolidPart("/elsewhere/p.ZALPart", "other p"), "p.2", 2);
    EXPECT_EQ(S_OK, Apply());
    EXPECT_THAT(ResultNames(), ElementsAre("bolt.ZALProduct", "bolt_01.ZALPart", "bolt_02.ZALPart"));
}

TEST_F(ProductRun, SkipsAChildWhoseFileIsNotThere)
{
    Workspace.AddChild(product, Workspace.AddSolidPart("/elsewhere/lost.ZALPart", "lost"), "lost.1", 1);
    AddPart("p", 2);
    ScriptedObject& sub = Workspace.AddChild(product, product, "sub.1", 3);
    sub.representation = nullptr;
    EXPECT_EQ(S_OK, Apply());
    EXPECT_THAT(ResultNames(), ElementsAre("bolt.ZALProduct", "bolt_01.ZALPart")) << "a skipped child takes no number";
    EXPECT_THAT(Places(), ElementsAre("template of p.root.1 in target.root at 2, 0, 1"));
    EXPECT_EQ(2, std::ranges::count(RunTraces(), "unable to retrieve corresponding downloaded file"));
}

TEST_F(ProductRun, SkipsWhatIsNoProduct)
{
    product.root->children->push_back(nullptr);
    product.root->children->push_back(&Workspace.AddObject(&product, "sketch"));
    AddPart("p", 2);
    EXPECT_EQ(S_OK, Apply());
    EXPECT_THAT(ResultNames(), ElementsAre("bolt.ZALProduct", "bolt_01.ZALPart"));
    EXPECT_THAT(RunTraces(), Not(Contains("unable to retrieve corresponding downloaded file")));
}

TEST_F(ProductRun, PlacesAChildThatIsNotMovableAtTheOrigin)
{
    ScriptedWorkspaceDocument& p = AddSource("p");
    Workspace.AddChild(product, p, "p.1", 1);
    Workspace.AddChild(product, p, "p.2", 2).offers.erase("ZALIMovable");
    EXPECT_EQ(S_OK, Apply());
    EXPECT_THAT(Places(), ElementsAre("template of p.root.1 in target.root at 1, 0, 1",
                                      "template of p.root.2 in target.root at 0, 0, 1"));
}

TEST_F(ProductRun, AsksForPositionsInNothingWhenTheSourceIsNotMovable)
{
    product.root->offers.erase("ZALIMovable");
    AddPart("p", 1);
    EXPECT_EQ(S_OK, Apply());
    EXPECT_THAT(Workspace.CallsOf({"Where"}), ElementsAre("Where p.1 in nothing, 0, 1"));
}

TEST_F(ProductRun, OfAProductWithoutChildrenIsTheTemplateWithTheReport)
{
    AddSource("p");
    product.root->texts[2] = "empty";
    EXPECT_EQ(S_OK, Apply());
    product.root->children.reset();
    std::filesystem::remove(Parts() / "bolt.ZALProduct");
    Workspace.AddProduct(ProductTemplate(), "second target");
    EXPECT_EQ(S_OK, Apply()) << "no list of children";
    EXPECT_THAT(ResultNames(), ElementsAre("bolt.ZALProduct"));
    EXPECT_EQ("empty", target.root->texts[2]);
    EXPECT_THAT(Workspace.CallsOf({"Cameras"}),
                ElementsAre("Cameras target: product", "Cameras second target: product"));
}

TEST_F(ProductRun, OfASourceWithoutARootIsTheTemplateAlone)
{
    AddSource("p");
    product.root = nullptr;
    product.hasStore = false; // and without cameras
    EXPECT_EQ(S_OK, Apply());
    EXPECT_THAT(ResultNames(), ElementsAre("bolt.ZALProduct"));
    EXPECT_THAT(Workspace.CallsOf({"Write"}), IsEmpty());
}

TEST_F(ProductRun, TakesEachAnswerThatIsNoFailure)
{
    target.openResult = S_FALSE;
    product.openResult = 7;
    target.root->addResult = S_FALSE;
    target.saveResult = 7;
    Workspace.answers["Children"] = S_FALSE;
    ScriptedWorkspaceDocument& p = AddSource("p");
    p.openResult = S_FALSE;
    templateOfLast->saveResult = S_FALSE;
    Workspace.AddChild(product, p, "p.1", 1);
    EXPECT_EQ(7, Apply()) << "the answer of the save";
    EXPECT_THAT(ResultNames(), ElementsAre("bolt.ZALProduct", "bolt_01.ZALPart"));
    EXPECT_THAT(Places(), ElementsAre("template of p.root.1 in target.root at 1, 0, 1"));
}

TEST_F(ProductRun, TakesNoChildrenFromAListThatIsRefused)
{
    AddPart("p", 1);
    Workspace.answers["Children"] = E_INVALIDARG;
    EXPECT_EQ(S_OK, Apply());
    EXPECT_THAT(ResultNames(), ElementsAre("bolt.ZALProduct"));
    EXPECT_THAT(Workspace.CallsOf({"Add", "Shape"}), IsEmpty());
}

TEST_F(ProductRun, GoesOnWithoutTheReportTheCamerasAndAPosition)
{
    Workspace.answers = {{"Cameras", E_FAIL}, {"Where", E_FAIL},  {"Place", E_FAIL},
                         {"Lock", E_FAIL},    {"Unlock", E_FAIL}, {"Remove", E_FAIL}};
    target.root->writeResults[2] = E_FAIL;
    AddPart("p", 1);
    EXPECT_EQ(S_OK, Apply());
    EXPECT_THAT(ResultNames(), ElementsAre("bolt.ZALProduct", "bolt_01.ZALPart"));
    EXPECT_EQ(1U, Places().size());
    EXPECT_EQ(4U, Workspace.CallsOf({"Unlock"}).size());
}

TEST_F(ProductRun, AsksForTheRootsAsItOpensTheDocuments)
{
    AddSource("p");
    EXPECT_EQ(S_OK, Apply());
    EXPECT_THAT(Workspace.CallsOf({"Open", "Root", "Read"}),
                ElementsAre("Open temp/VelmartTemplates/ProductTemplate.ZALProduct, 0", "Root target",
                            "Open temp/a.ZALProduct, 0", "Root product", "Read product.root 0", "Read product.root 1",
                            "Read product.root 2"));
}

TEST_F(ProductRun, KeepsTheNamesOfTheSourcesWithoutARootName)
{
    Root.clear();
    AddPart("p", 1);
    AddPart("q", 2);
    std::ranges::reverse(Sources); // wherever the product stands among them
    EXPECT_EQ(S_OK, Apply());
    EXPECT_THAT(ResultNames(), ElementsAre("a.ZALProduct", "p.ZALPart", "q.ZALPart"));
}

// ---------------------------------------------------------------------------------------------
// Products that cannot be rebuilt

TEST_F(ProductRun, LeavesAProductThatIsThereAlone)
{
    AddPart("p", 1);
    Write(Parts() / "bolt.ZALProduct", "old");
    EXPECT_EQ(S_OK, Apply());
    EXPECT_THAT(ResultNames(), ElementsAre("bolt.ZALProduct"));
    EXPECT_EQ("old", ReadFile(Parts() / "bolt.ZALProduct"));
    EXPECT_THAT(Workspace.calls, IsEmpty());
    EXPECT_TRUE(exists(Temp() / "p.ZALPart"));
    EXPECT_EQ("file already exists in target, we do not overwrite", RunTraces().back());
}

TEST_F(ProductRun, FailsWhenTheTemplateCannotBeOpened)
{
    AddSource("p");
    target.openResult = E_INVALIDARG;
    EXPECT_EQ(E_FAIL, Apply());
    target.openResult = S_OK;
    target.isGiven = false;
    EXPECT_EQ(E_FAIL, Apply());
    EXPECT_THAT(ResultNames(), IsEmpty());
    EXPECT_THAT(Workspace.CallsOf({"Lock"}), IsEmpty());
    EXPECT_THAT(NamesIn(Parts()), IsEmpty());
    EXPECT_TRUE(exists(Temp() / "a.ZALProduct"));
}

TEST_F(ProductRun, FailsWhenTheSourceCannotBeOpened)
{
    AddSource("p");
    product.isGiven = false;
    EXPECT_EQ(E_FAIL, Apply());
    product.isGiven = true;
    product.openResult = E_FAIL;
    EXPECT_EQ(E_FAIL, Apply());
    EXPECT_THAT(Workspace.CallsOf({"Unlock", "Remove", "Write", "SaveAs"}),
                ElementsAre("Unlock target 0", "Remove target 1", "Unlock target 0", "Remove target 1"));
    EXPECT_THAT(NamesIn(Parts()), IsEmpty());
}

TEST_F(ProductRun, FailsAtAChildWithoutAReferenceAndKeepsThePartsUntilThen)
{
    AddPart("p", 1);
    AddPart("q", 2).reference = nullptr;
    EXPECT_EQ(E_FAIL, Apply());
    EXPECT_THAT(NamesIn(Parts()), ElementsAre("bolt_01.ZALPart"));
    EXPECT_THAT(Workspace.CallsOf({"SaveAs"}), ElementsAre("SaveAs template of p to parts/bolt_01.ZALPart, \"\", 1"));
    EXPECT_EQ("Where q.1 in product.root, 0, 1", Workspace.CallsOf({"Where"}).back()) << "the position comes first";
    EXPECT_EQ(1U, Workspace.CallsOf({"Shape"}).size());
}

TEST_F(ProductRun, FailsWithItsOwnCodeWhenARebuildFails)
{
    AddPart("p", 1);
    AddSource("q").openResult = E_INVALIDARG;
    Workspace.AddChild(product, Workspace.AddSolidPart("/x/q.ZALPart", "q in workspace"), "q.1", 2);
    EXPECT_EQ(E_FAIL, Apply());
    EXPECT_THAT(NamesIn(Parts()), ElementsAre("bolt_01.ZALPart"));
    EXPECT_THAT(ResultNames(), ElementsAre("bolt_01.ZALPart"));
}

TEST_F(ProductRun, FailsWithItsOwnCodeWhenAComponentIsNotSavedOrAdded)
{
    AddPart("p", 1);
    const std::vector<std::pair<const char*, std::function<void()>>> cases = {
        {"add", [this] { target.root->addResult = E_INVALIDARG; }},
        {"root", [this] { target.root = nullptr; }},
        {"save", [this] { templateOfLast->saveResult = E_INVALIDARG; }}};
    for (const auto& [name, prepare] : cases) {
        SCOPED_TRACE(name);
        prepare();
        const std::size_t added = Workspace.CallsOf({"Add"}).size();
        EXPECT_EQ(E_FAIL, Apply());
        EXPECT_THAT(NamesIn(Parts()), ElementsAre("bolt_01.ZALPart"));
        EXPECT_EQ(std::string(name) == "save" ? Texts() : Texts{"bolt_01.ZALPart"}, ResultNames());
        EXPECT_EQ(added + (std::string(name) == "add" ? 1 : 0), Workspace.CallsOf({"Add"}).size());
        std::filesystem::remove(Parts() / "bolt_01.ZALPart");
        templateOfLast->path = PartTemplate();
    }
}

TEST_F(ProductRun, FailsWhenAPartIsThereAlready)
{
    Write(Parts() / "bolt_01.ZALPart", "old");
    AddPart("p", 1);
    EXPECT_EQ(E_FAIL, Apply());
    EXPECT_EQ("old", ReadFile(Parts() / "bolt_01.ZALPart"));
    EXPECT_THAT(NamesIn(Parts()), ElementsAre("bolt_01.ZALPart"));
    EXPECT_THAT(ResultNames(), ElementsAre("bolt_01.ZALPart"));
    EXPECT_THAT(Workspace.CallsOf({"Add", "SaveAs"}), IsEmpty());
}

TEST_F(ProductRun, FailsAtTheSecondPartOfARootNameWithTheExtensionOfParts)
{
    Root = "bolt.ZALPart";
    AddPart("p", 1);
    AddPart("q", 2);
    EXPECT_EQ(E_FAIL, Apply());
    EXPECT_THAT(NamesIn(Parts()), ElementsAre("bolt.ZALPart"));
    EXPECT_EQ("template of p", ReadFile(Parts() / "bolt.ZALPart"));
}

TEST_F(ProductRun, FailsWithoutAPartTemplateAfterTheFirstMove)
{
    partTemplate.clear();
    AddPart("p", 1);
    AddPart("q", 2);
    EXPECT_EQ(E_FAIL, Apply());
    EXPECT_THAT(NamesIn(Parts()), ElementsAre("bolt_01.ZALPart"));
    EXPECT_EQ("downloaded p.ZALPart", ReadFile(Parts() / "bolt_01.ZALPart"));
    EXPECT_FALSE(exists(Temp() / "p.ZALPart"));
    EXPECT_TRUE(exists(Temp() / "q.ZALPart"));
    EXPECT_THAT(Workspace.CallsOf({"Add", "SaveAs"}), IsEmpty());
}

TEST_F(ProductRun, GivesTheCodeOfTheSaveAndStillListsTheProductFirst)
{
    target.saveResult = E_INVALIDARG;
    target.leavesFile = false;
    AddPart("p", 1);
    EXPECT_EQ(E_INVALIDARG, Apply());
    EXPECT_THAT(ResultNames(), ElementsAre("bolt.ZALProduct", "bolt_01.ZALPart"));
    EXPECT_THAT(NamesIn(Parts()), ElementsAre("bolt_01.ZALPart"));
}

} // namespace
} // namespace openhost::testing
