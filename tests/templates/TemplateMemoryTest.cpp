// Runs over the templates for which there is not enough memory.

#include "tests/support/FailingMemory.h"
#include "tests/templates/TemplateFixture.h"

#include "templates/ApplyPartTemplate.h"

namespace openhost::testing {
namespace {

using namespace ZALVliTemplateSupportUtilities;
using ::testing::AnyOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::IsSubsetOf;

class TemplateMemory : public TemplateFixture {
protected:
    ~TemplateMemory() override { StoreTemplatePathes({}, {}); }

    void EmptyParts() const
    {
        for (const std::string& name : NamesIn(Parts()))
            std::filesystem::remove(Parts() / name);
    }
};

// ---------------------------------------------------------------------------------------------
// Announcement, store, names

TEST_F(TemplateMemory, LeavesTheAnnouncementWithoutAMethod)
{
    const std::string text = R"({"zalpartTemplate": "https://a.example/part", "zalproductTemplate":
                                 "https://a.example/product", "preferredSaveMethod": "save as"})";
    ZALOmxAny urls;
    ASSERT_EQ(S_OK, ZALOmxJson().parse(ZALOmxUTF8String(text.data(), text.size()), urls));
    EXPECT_GT(WithEachAllocationFailing([&](FailingMemory& memory) {
                  ZALUnicodeString part = "before";
                  ZALUnicodeString product = "before";
                  PreferredSaveMethod method = SaveMethodNewFrom;
                  HRESULT result = E_FAIL;
                  memory.During([&] { result = GetTemplatesURL(urls, part, product, method); });
                  EXPECT_EQ(S_OK, result);
                  EXPECT_EQ(memory.HasRunOut() ? SaveMethodNone : SaveMethodSaveAs, method);
                  EXPECT_THAT(ToUtf8(part), AnyOf("before", "https://a.example/part"));
                  EXPECT_THAT(ToUtf8(product), AnyOf("before", "https://a.example/product"));
              }),
              0);
}

TEST_F(TemplateMemory, ForgetsBothTemplatesRatherThanKeepAMixedPair)
{
    const std::filesystem::path otherPart = Templates() / "another.ZALPart";
    const std::filesystem::path otherProduct = Templates() / "another.ZALProduct";
    // One is no longer than what it replaces and finds room, the other is longer and finds none.
    const std::filesystem::path longPart = Templates() / (std::string(80, 'a') + ".ZALPart");
    const std::filesystem::path longProduct = Templates() / (std::string(80, 'b') + ".ZALProduct");
    for (const std::filesystem::path& path : {otherPart, otherProduct, longPart, longProduct})
        Write(path, "template");
    const ZALUnicodeString part = Text(longPart);
    const ZALUnicodeString product = Text(longProduct);
    EXPECT_GT(WithEachAllocationFailing([&](FailingMemory& memory) {
                  StoreTemplatePathes({}, {});
                  StoreTemplatePathes(Text(otherPart), Text(otherProduct));
                  HRESULT result = E_FAIL;
                  memory.During([&] { result = StoreTemplatePathes(part, product); });
                  EXPECT_EQ(S_OK, result);
                  EXPECT_EQ(memory.HasRunOut() ? "" : longPart.string(), ToUtf8(StoredPartTemplatePath));
                  EXPECT_EQ(memory.HasRunOut() ? "" : longProduct.string(), ToUtf8(StoredProductTemplatePath));
              }),
              1);
}

TEST_F(TemplateMemory, GivesEmptyTextsForTheStoredTemplates)
{
    Write(PartTemplate(), "part");
    Write(ProductTemplate(), "product");
    StoreTemplatePathes(Text(PartTemplate()), Text(ProductTemplate()));
    EXPECT_GT(WithEachAllocationFailing([&](FailingMemory& memory) {
                  ZALUnicodeString part = "before";
                  ZALUnicodeString product = "before";
                  HRESULT result = E_FAIL;
                  memory.During([&] { result = GetStoredTemplatePathes(part, product); });
                  EXPECT_EQ(S_OK, result);
                  EXPECT_EQ(memory.HasRunOut() ? "" : PartTemplate().string(), ToUtf8(part));
                  EXPECT_EQ(memory.HasRunOut() ? "" : ProductTemplate().string(), ToUtf8(product));
              }),
              1);
    EXPECT_EQ(PartTemplate().string(), ToUtf8(StoredPartTemplatePath)) << "it stays stored";
}

TEST_F(TemplateMemory, GivesNoHalfOfAName)
{
    const ZALUnicodeString name = "a:name with a colon";
    EXPECT_GT(WithEachAllocationFailing([&](FailingMemory& memory) {
                  ZALUnicodeString sanitized = "before";
                  memory.During([&] { sanitized = SanitizeQ7FileName(name); });
                  EXPECT_EQ(memory.HasRunOut() ? "" : "a_name with a colon", ToUtf8(sanitized));
              }),
              1);
}

TEST_F(TemplateMemory, FindsNoDocumentWithoutItsPath)
{
    Write(Parts() / "bolt.ZALProduct", "product");
    const ZALUnicodeString folder = Text(Parts());
    for (const char* name : {"bolt", "bolt.ZALProduct"}) {
        const ZALUnicodeString fileName = name;
        EXPECT_GT(WithEachAllocationFailing([&](FailingMemory& memory) {
                      unsigned char found = 7;
                      ZALUnicodeString path = "before";
                      HRESULT result = E_FAIL;
                      memory.During([&] { result = CheckIfQ7FileExists(folder, fileName, found, path); });
                      EXPECT_EQ(S_OK, result);
                      EXPECT_EQ(memory.HasRunOut() ? 0 : 1, found);
                      EXPECT_EQ(memory.HasRunOut() ? "before" : InParts("bolt.ZALProduct"), ToUtf8(path));
                  }),
                  1);
    }
}

// ---------------------------------------------------------------------------------------------
// What the operation is told

/// What the operation may be told.
struct Told {
    ZALUnicodeString folder;
    ZALUnicodeString name = "a name of its own";
    ZALUnicodeString value = "Smith and sons";
    ZALListValZALUnicodeString files;
};

/// One thing that it is told.
struct Telling {
    const char* name;
    void (*tell)(ZALVliApplyTemplatesOpe& operation, const Told& told);

    friend std::ostream& operator<<(std::ostream& stream, const Telling& telling) { return stream << telling.name; }
};

const Telling tellings[] = {
    {"Templates",
     [](ZALVliApplyTemplatesOpe& operation, const Told& told) { operation.SetTemplatesPathes(told.name, told.value); }},
    {"Destination", [](ZALVliApplyTemplatesOpe& operation,
                       const Told& told) { operation.SetDestinationPath(told.folder, told.name); }},
    {"Sources",
     [](ZALVliApplyTemplatesOpe& operation, const Told& told) { operation.SetSourceFilesPathes(told.files); }},
    {"Property", [](ZALVliApplyTemplatesOpe& operation,
                    const Told& told) { operation.AddPrdPropertyToReport(told.name, told.value); }},
};

class LostArgument : public TemplateMemory, public ::testing::WithParamInterface<Telling> {};

TEST_P(LostArgument, LetsNoRunWorkWithoutIt)
{
    Told told;
    told.folder = Text(Parts());
    EXPECT_GT(WithEachAllocationFailing([&](FailingMemory& memory) {
                  EmptyParts();
                  told.files = Files({"a.ZALProduct", "b.ZALPart"});
                  ZALVliApplyTemplatesOpe operation;
                  memory.During([&] { GetParam().tell(operation, told); });
                  const bool isLost = memory.HasRunOut();
                  // All of it is told again but what was lost, and a method last.
                  for (const Telling& telling : tellings)
                      if (telling.name != GetParam().name)
                          telling.tell(operation, told);
                  operation.SetTemplatesPathes({}, {});
                  operation.SetPreferredSaveMethod(SaveMethodSaveAs);

                  EXPECT_EQ(isLost ? E_INVALIDARG : S_OK, operation.Run());
                  EXPECT_EQ(isLost ? 0 : 2, operation.GetResultFilePathes().Size());
                  EXPECT_EQ(isLost ? 0U : 2U, NamesIn(Parts()).size());
                  EXPECT_EQ(isLost, exists(Temp() / "b.ZALPart"));
              }),
              0);
}

INSTANTIATE_TEST_SUITE_P(Each, LostArgument, ::testing::ValuesIn(tellings),
                         [](const auto& telling) { return telling.param.name; });

TEST_F(TemplateMemory, DeletesNoneOfTheSourcesThatItHasLost)
{
    const ZALListValZALUnicodeString files = Files({"a.ZALProduct", "b.ZALPart"});
    EXPECT_GT(WithEachAllocationFailing([&](FailingMemory& memory) {
                  ZALVliApplyTemplatesOpe operation;
                  operation.SetSourceFilesPathes(Files({"c.stp"}));
                  memory.During([&] { operation.SetSourceFilesPathes(files); });
                  operation.DeleteSourcesFiles();
                  EXPECT_TRUE(exists(Temp() / "c.stp"));
                  EXPECT_EQ(memory.HasRunOut(), exists(Temp() / "a.ZALProduct"));
                  EXPECT_EQ(memory.HasRunOut(), exists(Temp() / "b.ZALPart"));
              }),
              1);
}

TEST_F(TemplateMemory, LeavesTheFileThatCannotBeDeletedAndDeletesTheOthers)
{
    EXPECT_GE(WithEachAllocationFailing([&](FailingMemory& memory) {
                  ZALVliApplyTemplatesOpe operation;
                  operation.SetSourceFilesPathes(Files({"a.ZALProduct", "p.ZALPart", "q.ZALPart"}));
                  memory.During([&] { operation.DeleteSourcesFiles(); });
                  EXPECT_EQ(memory.HasRunOut() ? 2U : 1U, NamesIn(Temp()).size());
                  operation.DeleteSourcesFiles();
                  EXPECT_THAT(NamesIn(Temp()), ElementsAre("VelmartTemplates"));
              }),
              3);
}

// ---------------------------------------------------------------------------------------------
// Runs

/// A run with its files, and what it leads to.
struct RunCase {
    const char* name;
    Texts files;
    bool hasProductTemplate;
    Texts results; ///< in their order

    friend std::ostream& operator<<(std::ostream& stream, const RunCase& run) { return stream << run.name; }
};

class RunOutOfMemory : public TemplateMemory, public ::testing::WithParamInterface<RunCase> {};

TEST_P(RunOutOfMemory, FailsWithEveryDocumentClosed)
{
    const RunCase& run = GetParam();
    EXPECT_GT(WithEachAllocationFailing([&](FailingMemory& memory) {
                  EmptyParts();
                  ScriptedCad workspace{Folder()};
                  workspace.AddProduct(ProductTemplate(), "target");
                  ScriptedWorkspaceDocument& product = workspace.AddProduct(Temp() / "a.ZALProduct", "product");
                  workspace.AddPart(PartTemplate(), "template");
                  ScriptedWorkspaceDocument& part = workspace.AddSolidPart(Temp() / "p.ZALPart", "p");
                  workspace.AddTool(part, "tool");
                  workspace.AddParameter(part, "finish", "zinc");
                  workspace.AddChild(product, part, "p.1", 1);
                  workspace.AddChild(product, part, "p.2", 2);
                  ZALVliApplyTemplatesOpe operation;
                  operation.SetTemplatesPathes(Text(PartTemplate()),
                                               run.hasProductTemplate ? Text(ProductTemplate()) : ZALUnicodeString());
                  operation.SetDestinationPath(Text(Parts()), "bolt");
                  operation.SetSourceFilesPathes(Files(run.files));
                  operation.AddPrdPropertyToReport("customer", "Smith");

                  HRESULT result = S_OK;
                  memory.During([&] { result = operation.Run(); });

                  EXPECT_TRUE(memory.HasRunOut() || result == S_OK);
                  Texts names;
                  for (const std::string& path : TextsOf(operation.GetResultFilePathes())) {
                      EXPECT_TRUE(std::filesystem::exists(path)) << path;
                      names.push_back(std::filesystem::path(path).filename().string());
                  }
                  // What closes documents does without memory.
                  EXPECT_THAT(result, AnyOf(S_OK, E_FAIL));
                  EXPECT_TRUE(FAILED(result) || names == run.results);
                  EXPECT_THAT(names, IsSubsetOf(run.results));
                  EXPECT_THAT(NamesIn(Parts()), IsSubsetOf(run.results));
                  EXPECT_EQ(0, workspace.OpenDocuments());
                  EXPECT_EQ(0, workspace.Locks());
                  EXPECT_EQ(0, workspace.LivingObjects());
              }),
              10);
}

INSTANTIATE_TEST_SUITE_P(
    Each, RunOutOfMemory,
    ::testing::Values(RunCase{"OnePart", {"p.ZALPart"}, true, {"bolt.ZALPart"}},
                      RunCase{"OneFile", {"a.stp"}, true, {"bolt.stp"}},
                      RunCase{"Moves", {"a.ZALProduct", "p.ZALPart"}, false, {"bolt.ZALProduct", "p.ZALPart"}},
                      RunCase{
                          "SeveralProducts", {"a.ZALProduct", "b.ZALProduct"}, true, {"a.ZALProduct", "b.ZALProduct"}},
                      RunCase{"Product", {"a.ZALProduct", "p.ZALPart"}, true, {"bolt.ZALProduct", "bolt_01.ZALPart"}}),
    [](const auto& run) { return run.param.name; });

TEST_F(TemplateMemory, PassesOnFromTheUpdateOfAPart)
{
    ScriptedWorkspaceDocument& part = Workspace.AddPart(PartTemplate(), "template");
    Workspace.AddSolidPart(Temp() / "a.ZALPart", "source");
    ZALVliApplyTemplatesOpe operation;
    operation.SetTemplatesPathes(Text(PartTemplate()), {});
    operation.SetDestinationPath(Text(Parts()), "bolt");
    operation.SetSourceFilesPathes(Files({"a.ZALPart"}));
    Workspace.OnCall = [](const std::string& call) {
        if (call.starts_with("Update"))
            throw std::bad_alloc();
    };
    EXPECT_EQ(E_FAIL, operation.Run());
    EXPECT_THAT(Workspace.CallsOf({"Flush", "SaveAs"}), IsEmpty());
    EXPECT_EQ(0, part.opens);
    Workspace.OnCall = nullptr;
    EXPECT_EQ(S_OK, operation.Run()) << "there is memory again";
    EXPECT_THAT(TextsOf(operation.GetResultFilePathes()), ElementsAre(InParts("bolt.ZALPart")));
}

TEST_F(TemplateMemory, IsNotNeededToCloseTheOtherDocuments)
{
    ScriptedWorkspaceDocument& first = Workspace.AddPart("/first.ZALPart", "first");
    ScriptedWorkspaceDocument& second = Workspace.AddPart("/second.ZALPart", "second");
    const DocumentList documents = {&first, &second};
    for (ZALDocument* document : documents) {
        static_cast<ScriptedWorkspaceDocument&>(*document).opens = 1;
        document->AddRefForLock();
    }
    Workspace.calls.clear();
    Workspace.OnCall = [](const std::string&) { throw std::bad_alloc(); };
    CloseDocuments(documents);
    EXPECT_THAT(Workspace.calls, ElementsAre("Unlock first 0", "Remove first 1", "Unlock second 0", "Remove second 1"));
}

TEST_F(TemplateMemory, ClosesADocumentThatCannotBeLocked)
{
    Workspace.AddPart(PartTemplate(), "template");
    Workspace.OnCall = [](const std::string& call) {
        if (call.starts_with("Lock"))
            throw std::bad_alloc();
    };
    {
        HeldDocumentList held;
        EXPECT_THROW(OpenLocked(Text(PartTemplate()), held.Documents), std::bad_alloc);
    }
    EXPECT_THAT(Workspace.calls, Contains("Remove template 1"));
}

} // namespace
} // namespace openhost::testing
