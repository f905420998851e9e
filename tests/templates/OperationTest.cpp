// The operation that other modules use.

#include "tests/templates/TemplateFixture.h"

#include <type_traits>

namespace openhost::testing {
namespace {

using namespace ZALVliTemplateSupportUtilities;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

static_assert(std::has_virtual_destructor_v<ZALVliApplyTemplatesOpe>);

class TemplateOperation : public TemplateFixture {
protected:
    /// A run of `names` into Parts() under "bolt", on the part template and, if wanted, the product template.
    void Prepare(const Texts& names, bool hasPart = true, bool hasProduct = false)
    {
        operation.SetTemplatesPathes(hasPart ? Text(PartTemplate()) : ZALUnicodeString(),
                                     hasProduct ? Text(ProductTemplate()) : ZALUnicodeString());
        operation.SetDestinationPath(Text(Parts()), "bolt");
        operation.SetSourceFilesPathes(Files(names));
    }

    ZALVliApplyTemplatesOpe operation;
};

TEST_F(TemplateOperation, HasNothingToDoUnlessSet)
{
    EXPECT_EQ(E_INVALIDARG, operation.Run());
    EXPECT_THAT(TextsOf(operation.GetResultFilePathes()), IsEmpty());
    EXPECT_THAT(TextsOf(operation.GetWarningMessages()), IsEmpty());
    EXPECT_EQ("", ToUtf8(operation.GetErrorMessage()));
    operation.DeleteSourcesFiles();
}

TEST_F(TemplateOperation, PassesItsValuesOn)
{
    operation.SetTemplatesPathes("/the/part", "/the/product");
    operation.SetDestinationPath("/the/folder", "the name");
    operation.Run();
    EXPECT_THAT(TracesFrom("ApplyTemplates - "),
                ElementsAre("isPartTemplatePath: /the/part", "isProductTemplatePath: /the/product",
                            "isDestFolderPath: /the/folder", "isDestRootFileName: the name", "SaveMethod: 2"));
}

TEST_F(TemplateOperation, SavesInTheMethodThatIsSet)
{
    Workspace.AddPart(PartTemplate(), "template");
    Workspace.AddSolidPart(Temp() / "a.ZALPart", "source");
    Prepare({"a.ZALPart"});
    operation.SetPreferredSaveMethod(SaveMethodNone);
    EXPECT_EQ(E_INVALIDARG, operation.Run());
    operation.SetPreferredSaveMethod(SaveMethodNewFrom);
    EXPECT_EQ(S_OK, operation.Run());
    EXPECT_THAT(Workspace.CallsOf({"SaveAs", "SaveAsNew"}), ElementsAre("SaveAsNew template to parts/bolt.ZALPart, 0"));
    EXPECT_THAT(TextsOf(operation.GetResultFilePathes()), ElementsAre(InParts("bolt.ZALPart")));
}

TEST_F(TemplateOperation, GivesEachDocumentOfARunTheProperties)
{
    ScriptedWorkspaceDocument& target = Workspace.AddProduct(ProductTemplate(), "target");
    ScriptedWorkspaceDocument& product = Workspace.AddProduct(Temp() / "a.ZALProduct", "product");
    ScriptedWorkspaceDocument& part = Workspace.AddPart(PartTemplate(), "template");
    Workspace.AddChild(product, Workspace.AddSolidPart(Temp() / "p.ZALPart", "p"), "p.1", 0);
    Prepare({"a.ZALProduct", "p.ZALPart"}, true, true);
    operation.AddPrdPropertyToReport("customer", "Smith");
    operation.AddPrdPropertyToReport("order", "7");
    operation.AddPrdPropertyToReport("customer", "Jones");
    EXPECT_EQ(S_OK, operation.Run());
    for (const ScriptedWorkspaceDocument* document : {&target, &part}) {
        ASSERT_EQ(2U, document->root->publisher->parameters.size()) << document->name;
        EXPECT_EQ("Smith", document->root->publisher->parameters[0]->value);
        EXPECT_EQ("7", document->root->publisher->parameters[1]->value);
    }
    EXPECT_THAT(TracesFrom("ReportPrdProperties - Property name already exists: "),
                ElementsAre("customer", "customer"));
}

TEST_F(TemplateOperation, KeepsThePropertiesForTheNextRun)
{
    operation.SetTemplatesPathes(Text(PartTemplate()), {});
    operation.SetDestinationPath(Text(Parts()), "bolt");
    operation.AddPrdPropertyToReport("customer", "Smith");
    for (const char* name : {"first", "second"}) {
        std::filesystem::remove(Parts() / "bolt.ZALPart");
        operation.SetSourceFilesPathes(Files({std::string(name) + ".ZALPart"}));
        ScriptedWorkspaceDocument& part = Workspace.AddPart(PartTemplate(), std::string("template of ") + name);
        Workspace.AddSolidPart(Temp() / (std::string(name) + ".ZALPart"), name);
        EXPECT_EQ(S_OK, operation.Run());
        ASSERT_EQ(1U, part.root->publisher->parameters.size()) << name;
        EXPECT_EQ("Smith", part.root->publisher->parameters[0]->value);
    }
}

TEST_F(TemplateOperation, GivesTheAnswerOfTheRun)
{
    Prepare({"a.stp"}, false);
    Write(Parts() / "bolt.stp", "old");
    EXPECT_EQ(S_FALSE, operation.Run());
    EXPECT_THAT(TextsOf(operation.GetResultFilePathes()), ElementsAre(InParts("bolt.stp")));
}

TEST_F(TemplateOperation, TakesTheLastOfWhatItIsTold)
{
    operation.SetTemplatesPathes("/old/part", "/old/product");
    operation.SetTemplatesPathes({}, {});
    operation.SetDestinationPath("/old", "old");
    operation.SetDestinationPath(Text(Parts()), "bolt");
    operation.SetSourceFilesPathes(Files({"a.stp", "b.stp"}));
    operation.SetSourceFilesPathes(Files({"c.ZALPart"}));
    EXPECT_EQ(S_OK, operation.Run());
    EXPECT_THAT(NamesIn(Parts()), ElementsAre("bolt.ZALPart"));
    operation.DeleteSourcesFiles();
    EXPECT_TRUE(exists(Temp() / "a.stp"));
}

TEST_F(TemplateOperation, BeginsEachRunWithoutResultsAndKeepsTheWarnings)
{
    Prepare({"a.ZALProduct", "b.ZALProduct"}, false);
    EXPECT_EQ(S_OK, operation.Run());
    EXPECT_EQ(2, operation.GetResultFilePathes().Size());
    EXPECT_EQ(S_OK, operation.Run()) << "everything is there already";
    EXPECT_EQ(2, operation.GetResultFilePathes().Size());
    EXPECT_EQ(2, operation.GetWarningMessages().Size());
}

TEST_F(TemplateOperation, DeletesTheSourcesThatAreStillThere)
{
    Prepare({"a.ZALProduct", "p.ZALPart", "q.ZALPart"}, false);
    Write(Parts() / "p.ZALPart", "old");
    EXPECT_EQ(S_OK, operation.Run());
    EXPECT_TRUE(exists(Temp() / "p.ZALPart"));
    operation.DeleteSourcesFiles();
    EXPECT_THAT(NamesIn(Temp()), ElementsAre("VelmartTemplates"));
    EXPECT_THAT(NamesIn(Parts()), ElementsAre("bolt.ZALProduct", "p.ZALPart", "q.ZALPart"));
    operation.DeleteSourcesFiles();
}

TEST_F(TemplateOperation, LosesTheSourceOfATemplateThatIsRefused)
{
    ScriptedWorkspaceDocument& part = Workspace.AddPart(PartTemplate(), "template");
    part.mainTool->shape = &Workspace.AddObject(&part, "pad");
    Workspace.AddSolidPart(Temp() / "a.ZALPart", "source");
    Prepare({"a.ZALPart"});
    EXPECT_EQ(E_FAIL, operation.Run());
    operation.DeleteSourcesFiles();
    EXPECT_THAT(NamesIn(Temp()), ElementsAre("VelmartTemplates"));
    EXPECT_THAT(NamesIn(Parts()), IsEmpty());
}

TEST_F(TemplateOperation, LosesTheFileOfAChildThatGoesByAnotherName)
{
    Workspace.AddProduct(ProductTemplate(), "target");
    ScriptedWorkspaceDocument& product = Workspace.AddProduct(Temp() / "a.ZALProduct", "product");
    Workspace.AddChild(product, Workspace.AddSolidPart("/elsewhere/nut.ZALPart", "nut"), "nut.1", 0);
    Prepare({"a.ZALProduct", "p.ZALPart"}, true, true);
    EXPECT_EQ(S_OK, operation.Run());
    EXPECT_TRUE(exists(Temp() / "p.ZALPart"));
    operation.DeleteSourcesFiles();
    EXPECT_THAT(NamesIn(Temp()), ElementsAre("VelmartTemplates"));
    EXPECT_THAT(NamesIn(Parts()), ElementsAre("bolt.ZALProduct"));
}

} // namespace
} // namespace openhost::testing
