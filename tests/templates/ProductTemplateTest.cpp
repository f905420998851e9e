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
        EXPECT_EQ(ToUtf8(Error), "");
        EXPECT_EQ(Workspace.OpenDocuments(), 0);
        EXPECT_EQ(Workspace.Locks(), 0);
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
    Texts RunTraces() const { return TracesFrom("ApplyTemplates"); }

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
    EXPECT_EQ(
        BuildDestinationFilePath("/folder", name.root, ZALUnicodeString("/temp/deep/") + name.source, path, name.index),
        S_OK);
    EXPECT_EQ(ToUtf8(path), std::string("/folder/") + name.expected);
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
    EXPECT_EQ(Apply(SaveMethodNewFrom), E_INVALIDARG) << "without sources";
    EXPECT_THAT(RunTraces(),
                ElementsAre("ApplyTemplates - isPartTemplatePath: " + partTemplate.string(),
                            "ApplyTemplates - isProductTemplatePath: " + productTemplate.string(),
                            "ApplyTemplates - isDestFolderPath: " + Parts().string(),
                            "ApplyTemplates - isDestRootFileName: bolt", "ApplyTemplates - SaveMethod: 1"));
}

TEST_F(ApplyTemplatesRun, RefusesNoMethodAndNoSources)
{
    Results.Append("old");
    Warnings.Append("kept");
    EXPECT_EQ(Apply(), E_INVALIDARG);
    EXPECT_THAT(ResultNames(), IsEmpty());
    EXPECT_THAT(TextsOf(Warnings), ElementsAre("kept"));

    Download({"a.ZALPart"});
    EXPECT_EQ(Apply(SaveMethodNone), E_INVALIDARG);
    EXPECT_THAT(Names(Parts()), IsEmpty());
    EXPECT_TRUE(exists(Temp() / "a.ZALPart"));
    EXPECT_THAT(Workspace.calls, IsEmpty());
}

TEST_F(ApplyTemplatesRun, RebuildsOnePart)
{
    Download({"a.zalpart"});
    Workspace.AddPart(PartTemplate(), "template");
    Workspace.AddSolidPart(Temp() / "a.zalpart", "source");
    EXPECT_EQ(Apply(), S_OK);
    EXPECT_THAT(ResultNames(), ElementsAre("bolt.zalpart"));
    EXPECT_EQ(Workspace.calls.front(), "Open temp/VelmartTemplates/PartTemplate.ZALPart, 0");
    EXPECT_THAT(Workspace.CallsOf({"Unlock", "Remove"}),
                ElementsAre("Unlock source 0", "Remove source 1", "Unlock template 0", "Remove template 1"));
    EXPECT_EQ(Read(Parts() / "bolt.zalpart"), "template");
}

TEST_F(ApplyTemplatesRun, MovesOnePartWithoutAPartTemplate)
{
    partTemplate.clear();
    Download({"a.ZALPart"});
    EXPECT_EQ(Apply(), S_OK);
    EXPECT_THAT(ResultNames(), ElementsAre("bolt.ZALPart"));
    EXPECT_EQ(Read(Parts() / "bolt.ZALPart"), "downloaded a.ZALPart");
}

TEST_F(ApplyTemplatesRun, MovesOneFileOfAnyOtherKind)
{
    for (const char* name : {"a.ZALProduct", "a.stp", "a"}) {
        Download({name});
        EXPECT_EQ(Apply(), S_OK);
        EXPECT_FALSE(exists(Temp() / name));
        const std::string expected = "bolt" + std::filesystem::path(name).extension().string();
        EXPECT_THAT(ResultNames(), ElementsAre(expected));
        EXPECT_EQ(Read(Parts() / expected), std::string("downloaded ") + name);
    }
    EXPECT_THAT(Workspace.calls, IsEmpty());
}

TEST_F(ApplyTemplatesRun, ReportsOneFileThatIsThereAlready)
{
    for (const char* name : {"a.ZALPart", "a.ZALProduct"}) {
        Download({name});
        const std::string result = "bolt" + std::filesystem::path(name).extension().string();
        Write(Parts() / result, "old");
        EXPECT_EQ(Apply(), S_FALSE);
        EXPECT_THAT(ResultNames(), ElementsAre(result));
        EXPECT_EQ(Read(Parts() / result), "old");
        EXPECT_TRUE(exists(Temp() / name));
    }
    EXPECT_THAT(Workspace.calls, IsEmpty());
}

TEST_F(ApplyTemplatesRun, ReportsNothingOfOneFileThatFails)
{
    Sources = {"gone.stp"};
    EXPECT_EQ(Apply(), E_FAIL);
    EXPECT_THAT(ResultNames(), IsEmpty());

    Download({"a.ZALPart"});
    Workspace.AddPart(PartTemplate(), "template"); // the source cannot be opened
    EXPECT_EQ(Apply(), E_FAIL);
    EXPECT_THAT(ResultNames(), IsEmpty());
    EXPECT_THAT(Workspace.CallsOf({"Unlock", "Remove"}), ElementsAre("Unlock template 0", "Remove template 1"));
}

TEST_F(ApplyTemplatesRun, GivesTheCodeOfTheSaveOfOnePart)
{
    Download({"a.ZALPart"});
    Workspace.AddPart(PartTemplate(), "template").saveResult = E_INVALIDARG;
    Workspace.AddSolidPart(Temp() / "a.ZALPart", "source");
    EXPECT_EQ(Apply(), E_INVALIDARG);
    EXPECT_THAT(ResultNames(), IsEmpty());
}

TEST_F(ApplyTemplatesRun, MovesSeveralProductsUnderTheirOwnNamesWithAWarning)
{
    const std::filesystem::path catalogs = Folder() / "installation" / "resources" / "msgcatalog";
    create_directories(catalogs);
    Write(catalogs / "ZALVelmartFileDownloader.ZALNls", "WarnNoTemplateMultiProduct = \"Too many products\";\n");
    Download({"a.ZALProduct", "b.zalproduct", "p.ZALPart"});
    Warnings.Append("kept");
    EXPECT_EQ(Apply(), S_OK);
    EXPECT_THAT(ResultNames(), ElementsAre("a.ZALProduct", "b.zalproduct", "p.ZALPart"));
    EXPECT_THAT(Names(Parts()), ElementsAre("a.ZALProduct", "b.zalproduct", "p.ZALPart"));
    EXPECT_EQ(Read(Parts() / "b.zalproduct"), "downloaded b.zalproduct");
    EXPECT_THAT(TextsOf(Warnings), ElementsAre("kept", "Too many products"));
    const Texts traces = RunTraces();
    ASSERT_EQ(traces.size(), 7U);
    EXPECT_EQ(traces[5], "ApplyTemplates - WARNING - No Support of template for multiple products");
    EXPECT_EQ(traces[6], "ApplyTemplates - No Product Template - we move the files");
    EXPECT_THAT(Workspace.calls, IsEmpty());
}

TEST_F(ApplyTemplatesRun, WarnsWithAnEmptyTextWithoutACatalog)
{
    Download({"a.ZALProduct", "b.ZALProduct"});
    productTemplate.clear();
    EXPECT_EQ(Apply(), S_OK);
    EXPECT_THAT(TextsOf(Warnings), ElementsAre(""));
}

TEST_F(ApplyTemplatesRun, MovesTheFilesWithoutAProductTemplate)
{
    productTemplate.clear();
    Download({"p.ZALPart", "a.ZALProduct", "drawing.pdf"});
    EXPECT_EQ(Apply(), S_OK);
    EXPECT_THAT(ResultNames(), ElementsAre("p.ZALPart", "bolt.ZALProduct", "drawing.pdf"))
        << "the order of the sources";
    EXPECT_EQ(Read(Parts() / "bolt.ZALProduct"), "downloaded a.ZALProduct");
    EXPECT_THAT(RunTraces(), Contains("ApplyTemplates - No Product Template - we move the files"));
    EXPECT_THAT(TextsOf(Warnings), IsEmpty());
    EXPECT_THAT(Workspace.calls, IsEmpty()) << "the part template is not used";
}

TEST_F(ApplyTemplatesRun, MovesFilesWithoutAProductUnderTheirOwnNames)
{
    productTemplate.clear();
    Download({"p.ZALPart", "q.ZALPart"});
    EXPECT_EQ(Apply(), S_OK);
    EXPECT_THAT(ResultNames(), ElementsAre("p.ZALPart", "q.ZALPart"));
}

TEST_F(ApplyTemplatesRun, MovesTheOtherFilesWhenOneFails)
{
    productTemplate.clear();
    Download({"p.ZALPart", "q.ZALPart", "a.ZALProduct"});
    std::filesystem::remove(Temp() / "p.ZALPart");
    EXPECT_EQ(Apply(), E_FAIL);
    EXPECT_THAT(ResultNames(), ElementsAre("q.ZALPart", "bolt.ZALProduct"));
    EXPECT_THAT(Names(Parts()), ElementsAre("bolt.ZALProduct", "q.ZALPart"));
}

TEST_F(ApplyTemplatesRun, ReportsAMovedFileWhoseTargetIsThere)
{
    productTemplate.clear();
    Download({"a.ZALProduct", "p.ZALPart"});
    Write(Parts() / "p.ZALPart", "old");
    EXPECT_EQ(Apply(), S_OK);
    EXPECT_THAT(ResultNames(), ElementsAre("bolt.ZALProduct", "p.ZALPart"));
    EXPECT_EQ(Read(Parts() / "p.ZALPart"), "old");
    EXPECT_TRUE(exists(Temp() / "p.ZALPart"));
}

TEST_F(ApplyTemplatesRun, GivesTheAnswerOfASaveThatIsNoFailure)
{
    Download({"a.ZALPart"});
    Workspace.AddPart(PartTemplate(), "template").saveResult = 7;
    Workspace.AddSolidPart(Temp() / "a.ZALPart", "source");
    EXPECT_EQ(Apply(), 7);
    EXPECT_THAT(ResultNames(), ElementsAre("bolt.ZALPart"));
}

TEST_F(ApplyTemplatesRun, SavesByAnyOtherNumberAsALaterVersion)
{
    for (const int method : {-1, 3}) {
        Download({"a.ZALPart"});
        std::filesystem::remove(Parts() / "bolt.ZALPart");
        Workspace.AddPart(PartTemplate(), "template");
        Workspace.AddSolidPart(Temp() / "a.ZALPart", "source");
        EXPECT_EQ(Apply(static_cast<PreferredSaveMethod>(method)), S_OK);
        EXPECT_EQ(RunTraces().back(), "ApplyTemplates - SaveMethod: " + std::to_string(method));
    }
    EXPECT_EQ(Workspace.CallsOf({"SaveAs"}).size(), 2U);
    EXPECT_THAT(Workspace.CallsOf({"SaveAsNew"}), IsEmpty());
}

TEST_F(ApplyTemplatesRun, MovesOneFileWithoutARootNameUnderItsOwn)
{
    Root.clear();
    Download({"a.ZALProduct"});
    EXPECT_EQ(Apply(), S_OK);
    EXPECT_THAT(ResultNames(), ElementsAre("a.ZALProduct"));
}

TEST_F(ApplyTemplatesRun, FailsWithAProductTemplateAndNoProductAmongTheFiles)
{
    Download({"p.ZALPart", "q.ZALPart"});
    EXPECT_EQ(Apply(), E_FAIL);
    EXPECT_THAT(ResultNames(), IsEmpty());
    EXPECT_THAT(Names(Parts()), IsEmpty());
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
    EXPECT_EQ(Find({"/t/bolt.ZALPart", "/t/NUT.zalpart", "/u/nut.ZALPart"}),
              (std::pair<HRESULT, std::string>{S_OK, "/t/NUT.zalpart"}));
    EXPECT_THAT(Workspace.calls, ElementsAre("Shape nut.1: Default, 0, 1, 1"));
}

TEST_F(DownloadedFile, IsNotThereForAnotherName)
{
    EXPECT_EQ(Find({"/t/nut.stp", "/t/nut", "/t/nut.ZALPart/bolt.ZALPart"}), None(S_FALSE));
    EXPECT_EQ(Find({}), None(S_FALSE));
}

TEST_F(DownloadedFile, NeedsAChild)
{
    ZALUnicodeString path = "before";
    EXPECT_EQ(FindDownloadedFile(ZALIProduct_var(), {}, path), E_INVALIDARG);
    EXPECT_EQ(ToUtf8(path), "before");
}

TEST_F(DownloadedFile, NeedsAPartWithADocument)
{
    part.part->document = nullptr;
    EXPECT_EQ(Find({"/t/nut.ZALPart"}), None(E_FAIL));
    part.part->document = &part;
    part.part->offers.erase("ZALIPrtPart");
    EXPECT_EQ(Find({"/t/nut.ZALPart"}), None(E_FAIL));
    child.representation = nullptr;
    EXPECT_EQ(Find({"/t/nut.ZALPart"}), None(E_FAIL));
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
    EXPECT_EQ(Add(), S_FALSE) << "the result of the addition";
    EXPECT_THAT(Workspace.calls,
                ElementsAre("Add product.root: part.root", "Place part.root.1 in product.root at 4, 0, 1"));
}

TEST_F(PositionedComponent, KeepsItsSuccessWhenItCannotBePlaced)
{
    product.root->instanceOffers = {"ZALIAProduct"};
    EXPECT_EQ(Add(), S_OK);
    EXPECT_THAT(Workspace.calls, ElementsAre("Add product.root: part.root"));
}

TEST_F(PositionedComponent, IsPlacedInNothingWhenTheRootIsNotMovable)
{
    product.root->offers.erase("ZALIMovable");
    EXPECT_EQ(Add(), S_OK);
    EXPECT_EQ(Workspace.calls.back(), "Place part.root.1 in nothing at 4, 0, 1");
}

TEST_F(PositionedComponent, NeedsComponentsAndAProduct)
{
    part.root->offers.erase("ZALIAProduct");
    EXPECT_EQ(Add(), E_INVALIDARG);
    part.root->offers.insert("ZALIAProduct");
    product.root->offers.erase("ZALIAProducts");
    EXPECT_EQ(Add(), E_INVALIDARG);
    EXPECT_EQ(AddPositionedComponent(ZALIProduct_var(), ZALIProduct_var(part.root), {}), E_INVALIDARG);
    EXPECT_EQ(AddPositionedComponent(ZALIProduct_var(product.root), ZALIProduct_var(), {}), E_INVALIDARG);
    EXPECT_THAT(Workspace.calls, IsEmpty());
}

TEST_F(PositionedComponent, FailsWhenNothingIsAdded)
{
    product.root->givesInstance = false;
    EXPECT_EQ(Add(), E_FAIL);
    product.root->givesInstance = true;
    product.root->addResult = E_INVALIDARG;
    EXPECT_EQ(Add(), E_FAIL);
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
        Workspace.AddPart(PartTemplate(), "template of " + name);
        return Workspace.AddSolidPart(Temp() / (name + ".ZALPart"), name);
    }
    /// What became of the template product: the references of its components and their places.
    Texts Places() const
    {
        Texts places;
        for (const std::string& call : Workspace.CallsOf({"Place"}))
            places.push_back(call.substr(std::string("Place ").size()));
        return places;
    }

    ScriptedWorkspaceDocument& target = Workspace.AddProduct(ProductTemplate(), "target");
    ScriptedWorkspaceDocument& product = Workspace.AddProduct(Temp() / "a.ZALProduct", "product");
};

TEST_F(ProductRun, PlacesEachPartInTheTemplateAndSavesIt)
{
    Workspace.AddChild(product, AddSource("p"), "p.1", 1);
    Workspace.AddChild(product, AddSource("q"), "q.1", 2);
    Downloaded("drawing.pdf");
    Sources.push_back("drawing.pdf");
    product.root->texts[0] = "PN-1";
    Properties = {{"customer", "Smith"}};

    EXPECT_EQ(Apply(), S_OK);
    EXPECT_THAT(ResultNames(), ElementsAre("bolt.ZALProduct", "bolt_01.ZALPart", "bolt_02.ZALPart"));
    EXPECT_THAT(Names(Parts()), ElementsAre("bolt.ZALProduct", "bolt_01.ZALPart", "bolt_02.ZALPart"));
    EXPECT_EQ(target.root->texts[0], "PN-1");
    EXPECT_THAT(
        Workspace.CallsOf({"Open", "Lock", "Cameras", "Children", "Where", "Shape", "Create", "SaveAs", "Add", "Place",
                           "Unlock", "Remove"}),
        ElementsAre(
            "Open temp/VelmartTemplates/ProductTemplate.ZALProduct, 0", "Lock target", "Open temp/a.ZALProduct, 0",
            "Lock product", "Children product.publisher: ZALICkeParm", "Children target.publisher: ZALICkeParm",
            "Create customer = Smith in target.features", "Cameras target: product",
            "Children product.root: ZALIProduct", //
            "Where p.1 in product.root, 0, 1", "Shape p.1: Default, 0, 1, 1",
            "Open temp/VelmartTemplates/PartTemplate.ZALPart, 0", "Lock template of p", "Open temp/p.ZALPart, 0",
            "Lock p", "Cameras template of p: p", "Children p.publisher: ZALICkeParm",
            "Children template of p.publisher: ZALICkeParm", "Create customer = Smith in template of p.features",
            "SaveAs template of p to parts/bolt_01.ZALPart, \"\", 1", "Unlock p 0", "Remove p 1",
            "Add target.root: template of p.root", "Place template of p.root.1 in target.root at 1, 0, 1", //
            "Where q.1 in product.root, 0, 1", "Shape q.1: Default, 0, 1, 1",
            "Open temp/VelmartTemplates/PartTemplate.ZALPart, 0", "Lock template of q", "Open temp/q.ZALPart, 0",
            "Lock q", "Cameras template of q: q", "Children q.publisher: ZALICkeParm",
            "Children template of q.publisher: ZALICkeParm", "Create customer = Smith in template of q.features",
            "SaveAs template of q to parts/bolt_02.ZALPart, \"\", 1", "Unlock q 0", "Remove q 1",
            "Add target.root: template of q.root", "Place template of q.root.2 in target.root at 2, 0, 1", //
            "SaveAs target to parts/bolt.ZALProduct, \"\", 1", "Unlock target 0", "Remove target 1", "Unlock product 0",
            "Remove product 1", "Unlock template of p 0", "Remove template of p 1", "Unlock template of q 0",
            "Remove template of q 1"));
    EXPECT_EQ(RunTraces().back(), "ApplyTemplates - SaveAs : " + InParts("bolt.ZALProduct"));
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
    EXPECT_EQ(Apply(), S_OK);
    EXPECT_THAT(traced, ElementsAre("ApplyTemplates - SaveAs : " + InParts("bolt.ZALProduct")));
}

TEST_F(ProductRun, IsSavedAsNewForNewFrom)
{
    Workspace.AddChild(product, AddSource("p"), "p.1", 1);
    EXPECT_EQ(Apply(SaveMethodNewFrom), S_OK);
    EXPECT_THAT(Workspace.CallsOf({"SaveAs", "SaveAsNew"}),
                ElementsAre("SaveAsNew template of p to parts/bolt_01.ZALPart, 0",
                            "SaveAsNew target to parts/bolt.ZALProduct, 0"));
    EXPECT_EQ(RunTraces().back(), "ApplyTemplates - SaveAsNew : " + InParts("bolt.ZALProduct"));
}

TEST_F(ProductRun, RebuildsAPartOnceForAllItsInstances)
{
    ScriptedWorkspaceDocument& p = AddSource("p");
    Workspace.AddChild(product, p, "p.1", 1);
    Workspace.AddChild(product, AddSource("q"), "q.1", 2);
    Workspace.AddChild(product, p, "p.2", 3);
    Workspace.AddChild(product, AddSource("r"), "r.1", 4);
    EXPECT_EQ(Apply(), S_OK);
    EXPECT_THAT(ResultNames(), ElementsAre("bolt.ZALProduct", "bolt_01.ZALPart", "bolt_02.ZALPart", "bolt_03.ZALPart"));
    EXPECT_THAT(Places(), ElementsAre("template of p.root.1 in target.root at 1, 0, 1",
                                      "template of q.root.2 in target.root at 2, 0, 1",
                                      "template of p.root.3 in target.root at 3, 0, 1",
                                      "template of r.root.4 in target.root at 4, 0, 1"));
}

TEST_F(ProductRun, TellsReferencesOfOneNameApart)
{
    Workspace.AddChild(product, AddSource("p"), "p.1", 1);
    Workspace.AddPart(PartTemplate(), "another template");
    Workspace.AddChild(product, Workspace.AddSolidPart("/elsewhere/p.ZALPart", "other p"), "p.2", 2);
    EXPECT_EQ(Apply(), S_OK);
    EXPECT_THAT(ResultNames(), ElementsAre("bolt.ZALProduct", "bolt_01.ZALPart", "bolt_02.ZALPart"));
}

TEST_F(ProductRun, SkipsAChildWhoseFileIsNotThere)
{
    Workspace.AddChild(product, Workspace.AddSolidPart("/elsewhere/lost.ZALPart", "lost"), "lost.1", 1);
    Workspace.AddChild(product, AddSource("p"), "p.1", 2);
    ScriptedObject& sub = Workspace.AddChild(product, product, "sub.1", 3);
    sub.representation = nullptr;
    EXPECT_EQ(Apply(), S_OK);
    EXPECT_THAT(ResultNames(), ElementsAre("bolt.ZALProduct", "bolt_01.ZALPart")) << "a skipped child takes no number";
    EXPECT_THAT(Places(), ElementsAre("template of p.root.1 in target.root at 2, 0, 1"));
    EXPECT_EQ(std::ranges::count(RunTraces(), "ApplyTemplates - unable to retrieve corresponding downloaded file"), 2);
}

TEST_F(ProductRun, SkipsWhatIsNoProduct)
{
    product.root->children->push_back(nullptr);
    product.root->children->push_back(&Workspace.AddObject(&product, "sketch"));
    Workspace.AddChild(product, AddSource("p"), "p.1", 2);
    EXPECT_EQ(Apply(), S_OK);
    EXPECT_THAT(ResultNames(), ElementsAre("bolt.ZALProduct", "bolt_01.ZALPart"));
    EXPECT_THAT(RunTraces(), Not(Contains("ApplyTemplates - unable to retrieve corresponding downloaded file")));
}

TEST_F(ProductRun, PlacesAChildThatIsNotMovableAtTheOrigin)
{
    ScriptedWorkspaceDocument& p = AddSource("p");
    Workspace.AddChild(product, p, "p.1", 1);
    Workspace.AddChild(product, p, "p.2", 2).offers.erase("ZALIMovable");
    EXPECT_EQ(Apply(), S_OK);
    EXPECT_THAT(Places(), ElementsAre("template of p.root.1 in target.root at 1, 0, 1",
                                      "template of p.root.2 in target.root at 0, 0, 1"));
}

TEST_F(ProductRun, AsksForPositionsInNothingWhenTheSourceIsNotMovable)
{
    product.root->offers.erase("ZALIMovable");
    Workspace.AddChild(product, AddSource("p"), "p.1", 1);
    EXPECT_EQ(Apply(), S_OK);
    EXPECT_THAT(Workspace.CallsOf({"Where"}), ElementsAre("Where p.1 in nothing, 0, 1"));
}

TEST_F(ProductRun, OfAProductWithoutChildrenIsTheTemplateWithTheReport)
{
    Downloaded("p.ZALPart");
    Sources.push_back("p.ZALPart");
    product.root->texts[2] = "empty";
    EXPECT_EQ(Apply(), S_OK);
    product.root->children.reset();
    std::filesystem::remove(Parts() / "bolt.ZALProduct");
    Workspace.AddProduct(ProductTemplate(), "second target");
    EXPECT_EQ(Apply(), S_OK) << "no list of children";
    EXPECT_THAT(ResultNames(), ElementsAre("bolt.ZALProduct"));
    EXPECT_EQ(target.root->texts[2], "empty");
    EXPECT_THAT(Workspace.CallsOf({"Cameras"}),
                ElementsAre("Cameras target: product", "Cameras second target: product"));
}

TEST_F(ProductRun, OfASourceWithoutARootIsTheTemplateAlone)
{
    Downloaded("p.ZALPart");
    Sources.push_back("p.ZALPart");
    product.root = nullptr;
    EXPECT_EQ(Apply(), S_OK);
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
    Workspace.AddChild(product, p, "p.1", 1);
    EXPECT_EQ(Apply(), 7) << "the answer of the save";
    EXPECT_THAT(ResultNames(), ElementsAre("bolt.ZALProduct", "bolt_01.ZALPart"));
    EXPECT_THAT(Places(), ElementsAre("template of p.root.1 in target.root at 1, 0, 1"));
}

TEST_F(ProductRun, TakesAPartWhoseSaveIsNoFailure)
{
    Downloaded("p.ZALPart");
    Sources.push_back("p.ZALPart");
    Workspace.AddPart(PartTemplate(), "template").saveResult = S_FALSE;
    Workspace.AddChild(product, Workspace.AddSolidPart(Temp() / "p.ZALPart", "p"), "p.1", 1);
    EXPECT_EQ(Apply(), S_OK);
    EXPECT_THAT(ResultNames(), ElementsAre("bolt.ZALProduct", "bolt_01.ZALPart"));
}

TEST_F(ProductRun, TakesNoChildrenFromAListThatIsRefused)
{
    Workspace.AddChild(product, AddSource("p"), "p.1", 1);
    Workspace.answers["Children"] = E_INVALIDARG;
    EXPECT_EQ(Apply(), S_OK);
    EXPECT_THAT(ResultNames(), ElementsAre("bolt.ZALProduct"));
    EXPECT_THAT(Workspace.CallsOf({"Add", "Shape"}), IsEmpty());
}

TEST_F(ProductRun, GoesOnWithoutTheReportTheCamerasAndAPosition)
{
    Workspace.answers = {{"Cameras", E_FAIL}, {"Where", E_FAIL},  {"Place", E_FAIL},
                         {"Lock", E_FAIL},    {"Unlock", E_FAIL}, {"Remove", E_FAIL}};
    target.root->writeResults[2] = E_FAIL;
    Workspace.AddChild(product, AddSource("p"), "p.1", 1);
    EXPECT_EQ(Apply(), S_OK);
    EXPECT_THAT(ResultNames(), ElementsAre("bolt.ZALProduct", "bolt_01.ZALPart"));
    EXPECT_EQ(Places().size(), 1U);
    EXPECT_EQ(Workspace.CallsOf({"Unlock"}).size(), 4U);
}

TEST_F(ProductRun, GoesOnWithoutCamerasWhereThereAreNone)
{
    AddSource("p");
    product.hasStore = false;
    EXPECT_EQ(Apply(), S_OK);
    EXPECT_THAT(ResultNames(), ElementsAre("bolt.ZALProduct"));
}

TEST_F(ProductRun, AsksForTheRootsAsItOpensTheDocuments)
{
    AddSource("p");
    EXPECT_EQ(Apply(), S_OK);
    EXPECT_THAT(Workspace.CallsOf({"Open", "Root", "Read"}),
                ElementsAre("Open temp/VelmartTemplates/ProductTemplate.ZALProduct, 0", "Root target",
                            "Open temp/a.ZALProduct, 0", "Root product", "Read product.root 0", "Read product.root 1",
                            "Read product.root 2"));
}

TEST_F(ProductRun, KeepsTheNamesOfTheSourcesWithoutARootName)
{
    Root.clear();
    Workspace.AddChild(product, AddSource("p"), "p.1", 1);
    Workspace.AddChild(product, AddSource("q"), "q.1", 2);
    EXPECT_EQ(Apply(), S_OK);
    EXPECT_THAT(ResultNames(), ElementsAre("a.ZALProduct", "p.ZALPart", "q.ZALPart"));
}

TEST_F(ProductRun, TakesTheProductWhereverItStandsAmongTheFiles)
{
    Workspace.AddChild(product, AddSource("p"), "p.1", 1);
    std::ranges::reverse(Sources);
    EXPECT_EQ(Apply(), S_OK);
    EXPECT_THAT(ResultNames(), ElementsAre("bolt.ZALProduct", "bolt_01.ZALPart"));
}

// ---------------------------------------------------------------------------------------------
// Products that cannot be rebuilt

TEST_F(ProductRun, LeavesAProductThatIsThereAlone)
{
    Workspace.AddChild(product, AddSource("p"), "p.1", 1);
    Write(Parts() / "bolt.ZALProduct", "old");
    EXPECT_EQ(Apply(), S_OK);
    EXPECT_THAT(ResultNames(), ElementsAre("bolt.ZALProduct"));
    EXPECT_EQ(Read(Parts() / "bolt.ZALProduct"), "old");
    EXPECT_THAT(Workspace.calls, IsEmpty());
    EXPECT_TRUE(exists(Temp() / "p.ZALPart"));
    EXPECT_EQ(RunTraces().back(), "ApplyTemplates - file already exists in target, we do not overwrite");
}

TEST_F(ProductRun, FailsWhenTheTemplateCannotBeOpened)
{
    AddSource("p");
    target.openResult = E_INVALIDARG;
    EXPECT_EQ(Apply(), E_FAIL);
    target.openResult = S_OK;
    target.isGiven = false;
    EXPECT_EQ(Apply(), E_FAIL);
    EXPECT_THAT(ResultNames(), IsEmpty());
    EXPECT_THAT(Workspace.CallsOf({"Lock"}), IsEmpty());
    EXPECT_THAT(Names(Parts()), IsEmpty());
    EXPECT_TRUE(exists(Temp() / "a.ZALProduct"));
}

TEST_F(ProductRun, FailsWhenTheSourceCannotBeOpened)
{
    AddSource("p");
    product.isGiven = false;
    EXPECT_EQ(Apply(), E_FAIL);
    product.isGiven = true;
    product.openResult = E_FAIL;
    EXPECT_EQ(Apply(), E_FAIL);
    EXPECT_THAT(Workspace.CallsOf({"Unlock", "Remove", "Write", "SaveAs"}),
                ElementsAre("Unlock target 0", "Remove target 1", "Unlock target 0", "Remove target 1"));
    EXPECT_THAT(Names(Parts()), IsEmpty());
}

TEST_F(ProductRun, FailsAtAChildWithoutAReferenceAndKeepsThePartsUntilThen)
{
    Workspace.AddChild(product, AddSource("p"), "p.1", 1);
    Workspace.AddChild(product, AddSource("q"), "q.1", 2).reference = nullptr;
    EXPECT_EQ(Apply(), E_FAIL);
    EXPECT_THAT(Names(Parts()), ElementsAre("bolt_01.ZALPart"));
    EXPECT_THAT(Workspace.CallsOf({"SaveAs"}), ElementsAre("SaveAs template of p to parts/bolt_01.ZALPart, \"\", 1"));
    EXPECT_EQ(Workspace.CallsOf({"Where"}).back(), "Where q.1 in product.root, 0, 1") << "the position comes first";
    EXPECT_EQ(Workspace.CallsOf({"Shape"}).size(), 1U);
}

TEST_F(ProductRun, FailsWithItsOwnCodeWhenARebuildFails)
{
    Workspace.AddChild(product, AddSource("p"), "p.1", 1);
    AddSource("q").openResult = E_INVALIDARG;
    Workspace.AddChild(product, Workspace.AddSolidPart("/x/q.ZALPart", "q in workspace"), "q.1", 2);
    EXPECT_EQ(Apply(), E_FAIL);
    EXPECT_THAT(Names(Parts()), ElementsAre("bolt_01.ZALPart"));
    EXPECT_THAT(ResultNames(), ElementsAre("bolt_01.ZALPart"));
}

TEST_F(ProductRun, FailsWithItsOwnCodeWhenAPartCannotBeSaved)
{
    Downloaded("p.ZALPart");
    Sources.push_back("p.ZALPart");
    Workspace.AddPart(PartTemplate(), "template").saveResult = E_INVALIDARG;
    Workspace.AddChild(product, Workspace.AddSolidPart(Temp() / "p.ZALPart", "p"), "p.1", 1);
    EXPECT_EQ(Apply(), E_FAIL);
    EXPECT_THAT(Workspace.CallsOf({"Add"}), IsEmpty());
    EXPECT_FALSE(exists(Parts() / "bolt.ZALProduct"));
}

TEST_F(ProductRun, FailsWhenAPartIsThereAlready)
{
    Write(Parts() / "bolt_01.ZALPart", "old");
    Workspace.AddChild(product, AddSource("p"), "p.1", 1);
    EXPECT_EQ(Apply(), E_FAIL);
    EXPECT_EQ(Read(Parts() / "bolt_01.ZALPart"), "old");
    EXPECT_THAT(Names(Parts()), ElementsAre("bolt_01.ZALPart"));
    EXPECT_THAT(ResultNames(), ElementsAre("bolt_01.ZALPart"));
    EXPECT_THAT(Workspace.CallsOf({"Add", "SaveAs"}), IsEmpty());
}

TEST_F(ProductRun, FailsAtTheSecondPartOfARootNameWithTheExtensionOfParts)
{
    Root = "bolt.ZALPart";
    Workspace.AddChild(product, AddSource("p"), "p.1", 1);
    Workspace.AddChild(product, AddSource("q"), "q.1", 2);
    EXPECT_EQ(Apply(), E_FAIL);
    EXPECT_THAT(Names(Parts()), ElementsAre("bolt.ZALPart"));
    EXPECT_EQ(Read(Parts() / "bolt.ZALPart"), "template of p");
}

TEST_F(ProductRun, FailsWithoutAPartTemplateBehindTheFirstMove)
{
    partTemplate.clear();
    Workspace.AddChild(product, AddSource("p"), "p.1", 1);
    Workspace.AddChild(product, AddSource("q"), "q.1", 2);
    EXPECT_EQ(Apply(), E_FAIL);
    EXPECT_THAT(Names(Parts()), ElementsAre("bolt_01.ZALPart"));
    EXPECT_EQ(Read(Parts() / "bolt_01.ZALPart"), "downloaded p.ZALPart");
    EXPECT_FALSE(exists(Temp() / "p.ZALPart"));
    EXPECT_TRUE(exists(Temp() / "q.ZALPart"));
    EXPECT_THAT(Workspace.CallsOf({"Add", "SaveAs"}), IsEmpty());
}

TEST_F(ProductRun, FailsWhenAComponentCannotBeAdded)
{
    target.root->addResult = E_INVALIDARG;
    Workspace.AddChild(product, AddSource("p"), "p.1", 1);
    EXPECT_EQ(Apply(), E_FAIL);
    EXPECT_THAT(Names(Parts()), ElementsAre("bolt_01.ZALPart"));
    EXPECT_THAT(ResultNames(), ElementsAre("bolt_01.ZALPart"));
}

TEST_F(ProductRun, FailsWhenTheTemplateHasNoRoot)
{
    target.root = nullptr;
    Workspace.AddChild(product, AddSource("p"), "p.1", 1);
    EXPECT_EQ(Apply(), E_FAIL);
    EXPECT_FALSE(exists(Parts() / "bolt.ZALProduct"));
}

TEST_F(ProductRun, GivesTheCodeOfTheSaveAndStillListsTheProductFirst)
{
    target.saveResult = E_INVALIDARG;
    target.leavesFile = false;
    Workspace.AddChild(product, AddSource("p"), "p.1", 1);
    EXPECT_EQ(Apply(), E_INVALIDARG);
    EXPECT_THAT(ResultNames(), ElementsAre("bolt.ZALProduct", "bolt_01.ZALPart"));
    EXPECT_THAT(Names(Parts()), ElementsAre("bolt_01.ZALPart"));
}

} // namespace
} // namespace openhost::testing
