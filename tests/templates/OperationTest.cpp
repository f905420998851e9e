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
    ZALListValZALUnicodeString Files(const Texts& names) const
    {
        ZALListValZALUnicodeString files;
        for (const std::string& name : names)
            files.Append(Text(Downloaded(name)));
        return files;
    }

    ZALVliApplyTemplatesOpe operation;
};

TEST_F(TemplateOperation, HasNothingToDoUnlessSet)
{
    EXPECT_EQ(operation.Run(), E_INVALIDARG);
    EXPECT_THAT(TextsOf(operation.GetResultFilePathes()), IsEmpty());
    EXPECT_THAT(TextsOf(operation.GetWarningMessages()), IsEmpty());
    EXPECT_EQ(ToUtf8(operation.GetErrorMessage()), "");
    operation.DeleteSourcesFiles();
}

TEST_F(TemplateOperation, PassesItsValuesOn)
{
    operation.SetTemplatesPathes("/the/part", "/the/product");
    operation.SetDestinationPath("/the/folder", "the name");
    operation.Run();
    EXPECT_THAT(TracesFrom("ApplyTemplates"),
                ElementsAre("ApplyTemplates - isPartTemplatePath: /the/part",
                            "ApplyTemplates - isProductTemplatePath: /the/product",
                            "ApplyTemplates - isDestFolderPath: /the/folder",
                            "ApplyTemplates - isDestRootFileName: the name", "ApplyTemplates - SaveMethod: 2"));
}

TEST_F(TemplateOperation, SavesInTheMethodThatIsSet)
{
    Workspace.AddPart(PartTemplate(), "template");
    Workspace.AddSolidPart(Temp() / "a.ZALPart", "source");
    operation.SetTemplatesPathes(Text(PartTemplate()), {});
    operation.SetDestinationPath(Text(Parts()), "bolt");
    operation.SetSourceFilesPathes(Files({"a.ZALPart"}));
    operation.SetPreferredSaveMethod(SaveMethodNone);
    EXPECT_EQ(operation.Run(), E_INVALIDARG);
    operation.SetPreferredSaveMethod(SaveMethodNewFrom);
    EXPECT_EQ(operation.Run(), S_OK);
    EXPECT_THAT(Workspace.CallsOf({"SaveAs", "SaveAsNew"}), ElementsAre("SaveAsNew template to parts/bolt.ZALPart, 0"));
    EXPECT_THAT(TextsOf(operation.GetResultFilePathes()), ElementsAre(InParts("bolt.ZALPart")));
}

TEST_F(TemplateOperation, GivesEachDocumentOfARunTheProperties)
{
    ScriptedWorkspaceDocument& target = Workspace.AddProduct(ProductTemplate(), "target");
    ScriptedWorkspaceDocument& product = Workspace.AddProduct(Temp() / "a.ZALProduct", "product");
    ScriptedWorkspaceDocument& part = Workspace.AddPart(PartTemplate(), "template");
    Workspace.AddChild(product, Workspace.AddSolidPart(Temp() / "p.ZALPart", "p"), "p.1", 0);
    operation.SetTemplatesPathes(Text(PartTemplate()), Text(ProductTemplate()));
    operation.SetDestinationPath(Text(Parts()), "bolt");
    operation.SetSourceFilesPathes(Files({"a.ZALProduct", "p.ZALPart"}));
    operation.AddPrdPropertyToReport("customer", "Smith");
    operation.AddPrdPropertyToReport("order", "7");
    operation.AddPrdPropertyToReport("customer", "Jones");
    EXPECT_EQ(operation.Run(), S_OK);
    for (const ScriptedWorkspaceDocument* document : {&target, &part}) {
        ASSERT_EQ(document->root->publisher->parameters.size(), 2U) << document->name;
        EXPECT_EQ(document->root->publisher->parameters[0]->value, "Smith");
        EXPECT_EQ(document->root->publisher->parameters[1]->value, "7");
    }
    EXPECT_THAT(TracesFrom("ReportPrdProperties - Property name already exists: "),
                ElementsAre("ReportPrdProperties - Property name already exists: customer",
                            "ReportPrdProperties - Property name already exists: customer"));
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
        EXPECT_EQ(operation.Run(), S_OK);
        ASSERT_EQ(part.root->publisher->parameters.size(), 1U) << name;
        EXPECT_EQ(part.root->publisher->parameters[0]->value, "Smith");
    }
}

TEST_F(TemplateOperation, GivesTheAnswerOfTheRun)
{
    operation.SetDestinationPath(Text(Parts()), "bolt");
    operation.SetSourceFilesPathes(Files({"a.stp"}));
    Write(Parts() / "bolt.stp", "old");
    EXPECT_EQ(operation.Run(), S_FALSE);
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
    EXPECT_EQ(operation.Run(), S_OK);
    EXPECT_THAT(Names(Parts()), ElementsAre("bolt.ZALPart"));
    operation.DeleteSourcesFiles();
    EXPECT_TRUE(exists(Temp() / "a.stp"));
}

TEST_F(TemplateOperation, BeginsEachRunWithoutResultsAndKeepsTheWarnings)
{
    operation.SetDestinationPath(Text(Parts()), "bolt");
    operation.SetSourceFilesPathes(Files({"a.ZALProduct", "b.ZALProduct"}));
    EXPECT_EQ(operation.Run(), S_OK);
    EXPECT_EQ(operation.GetResultFilePathes().Size(), 2);
    EXPECT_EQ(operation.Run(), S_OK) << "everything is there already";
    EXPECT_EQ(operation.GetResultFilePathes().Size(), 2);
    EXPECT_EQ(operation.GetWarningMessages().Size(), 2);
}

TEST_F(TemplateOperation, DeletesTheSourcesThatAreStillThere)
{
    operation.SetDestinationPath(Text(Parts()), "bolt");
    operation.SetSourceFilesPathes(Files({"a.ZALProduct", "p.ZALPart", "q.ZALPart"}));
    Write(Parts() / "p.ZALPart", "old");
    EXPECT_EQ(operation.Run(), S_OK);
    EXPECT_TRUE(exists(Temp() / "p.ZALPart"));
    operation.DeleteSourcesFiles();
    EXPECT_THAT(Names(Temp()), ElementsAre("VelmartTemplates"));
    EXPECT_THAT(Names(Parts()), ElementsAre("bolt.ZALProduct", "p.ZALPart", "q.ZALPart"));
    operation.DeleteSourcesFiles();
}

TEST_F(TemplateOperation, LosesTheSourceOfATemplateThatIsRefused)
{
    ScriptedWorkspaceDocument& part = Workspace.AddPart(PartTemplate(), "template");
    part.mainTool->shape = &Workspace.AddObject(&part, "pad");
    Workspace.AddSolidPart(Temp() / "a.ZALPart", "source");
    operation.SetTemplatesPathes(Text(PartTemplate()), {});
    operation.SetDestinationPath(Text(Parts()), "bolt");
    operation.SetSourceFilesPathes(Files({"a.ZALPart"}));
    EXPECT_EQ(operation.Run(), E_FAIL);
    operation.DeleteSourcesFiles();
    EXPECT_THAT(Names(Temp()), ElementsAre("VelmartTemplates"));
    EXPECT_THAT(Names(Parts()), IsEmpty());
}

TEST_F(TemplateOperation, LosesTheFileOfAChildThatGoesByAnotherName)
{
    Workspace.AddProduct(ProductTemplate(), "target");
    ScriptedWorkspaceDocument& product = Workspace.AddProduct(Temp() / "a.ZALProduct", "product");
    Workspace.AddChild(product, Workspace.AddSolidPart("/elsewhere/nut.ZALPart", "nut"), "nut.1", 0);
    operation.SetTemplatesPathes(Text(PartTemplate()), Text(ProductTemplate()));
    operation.SetDestinationPath(Text(Parts()), "bolt");
    operation.SetSourceFilesPathes(Files({"a.ZALProduct", "p.ZALPart"}));
    EXPECT_EQ(operation.Run(), S_OK);
    EXPECT_TRUE(exists(Temp() / "p.ZALPart"));
    operation.DeleteSourcesFiles();
    EXPECT_THAT(Names(Temp()), ElementsAre("VelmartTemplates"));
    EXPECT_THAT(Names(Parts()), ElementsAre("bolt.ZALProduct"));
}

} // namespace
} // namespace openhost::testing
