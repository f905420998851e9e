// The document services of the host, over both kernels.

#include "openhost/cad/CompoundDocumentKernel.h"
#include "openhost/cad/ScriptedDocumentKernel.h"
#include "openhost/documents/CadDocument.h"
#include "openhost/files/TemporaryFolder.h"
#include "openhost/objects/Owned.h"
#include "openhost/text/Utf.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace openhost::testing {

namespace {

/// The document services with `Kernel` behind them.
template <class Kernel>
class Services : public ::testing::Test {
protected:
    Services()
    {
        auto kernel = std::make_unique<Kernel>();
        kernel_ = kernel.get();
        before_ = DocumentKernel::Install(std::move(kernel));
    }
    ~Services() override { DocumentKernel::Install(std::move(before_)); }

    static Owned<ZALStorage> OpenRoot(const std::string& path)
    {
        ZALStorage* storage = nullptr;
        const HRESULT result = ZALStorage::OpenRootStg(path.c_str(), 0, &storage, ZALStorageRead);
        EXPECT_EQ(storage ? S_OK : E_FAIL, result) << path;
        return Owned<ZALStorage>(storage);
    }

    static Owned<ZALStorage> OpenDocumentStorage(ZALStorage& root)
    {
        ZALStorage* storage = nullptr;
        const HRESULT result = root.OpenStorage(ZALDocumentStorage, 0, &storage);
        EXPECT_EQ(storage ? S_OK : E_FAIL, result);
        return Owned<ZALStorage>(storage);
    }

    /// The link manager of the document `path` once its storages are closed and released.
    static Owned<ZALBaseUnknown> CreateManager(const std::string& path)
    {
        const Owned<ZALStorage> root = OpenRoot(path);
        const Owned<ZALStorage> storage = OpenDocumentStorage(*root);
        Owned<ZALBaseUnknown> manager(ZALDocumentProperty::CreateDocLinkManager(storage.get(), nullptr));
        EXPECT_EQ(S_OK, storage->Close(0));
        EXPECT_EQ(S_OK, root->Close(0));
        return manager;
    }

    static std::vector<std::string> PointedDocuments(const Owned<ZALBaseUnknown>& manager, HRESULT expected = S_OK)
    {
        ZALIPointedSymbols_var symbols(manager.get());
        EXPECT_TRUE(symbols);
        ZALListValZALUnicodeString paths;
        EXPECT_EQ(expected, symbols->GetPointedDocuments(paths));
        std::vector<std::string> texts;
        for (int i = 1; i <= paths.Size(); ++i)
            texts.push_back(ToUtf8(paths[i]));
        return texts;
    }

    Kernel* kernel_;
    std::unique_ptr<DocumentKernel> before_;
};

class CompoundDocuments : public Services<CompoundDocumentKernel> {
protected:
    std::string Path(const std::string& name) const { return (folder_.Path() / name).string(); }

    std::string WriteProduct(const std::string& name, const LinkTable& links)
    {
        CadDocument product;
        product.kind = DocumentKind::Product;
        product.links = links;
        WriteDocument(product, Path(name));
        return Path(name);
    }

    void WriteText(const std::string& name, const std::string& text) { std::ofstream(Path(name)) << text; }

    TemporaryFolder folder_;
};

using ScriptedDocuments = Services<ScriptedDocumentKernel>;

} // namespace

TEST(DocumentKernel, ProcessBeginsWithCompoundFiles)
{
    EXPECT_TRUE(dynamic_cast<CompoundDocumentKernel*>(&DocumentKernel::Current()));
}

// ---------------------------------------------------------------------------------------------
// Compound files

TEST_F(CompoundDocuments, LinksAreLookedForBesideTheDocumentByTheirNamesAlone)
{
    WriteText("Bolt.ZALPart", "any content");
    const std::string bolt = Path("Bolt.ZALPart");
    const std::pair<LinkTable, std::vector<std::string>> rows[] = {
        {{}, {}},
        {{"Bolt.ZALPart", "Missing.ZALPart"}, {bolt, "Missing.ZALPart"}},
        {{"../../secret/Bolt.ZALPart", "D:\\parts\\Nut.ZALPart", "/parts/Pin.ZALPart"},
         {bolt, "D:\\parts\\Nut.ZALPart", "/parts/Pin.ZALPart"}},
        {{"a/Bolt.ZALPart", "b/Bolt.ZALPart"}, {bolt}}}; // one file is given once
    for (const auto& [links, pointed] : rows) {
        Owned<ZALBaseUnknown> manager = CreateManager(WriteProduct("Joint.ZALProduct", links));
        ASSERT_TRUE(manager);
        EXPECT_EQ(pointed, PointedDocuments(manager));
        EXPECT_EQ(0U, manager.release()->Release());
    }
}

TEST_F(CompoundDocuments, PathMayBeSeparatedByBackslashes)
{
    WriteProduct("Größe.ZALProduct", {"Ünit.ZALProduct"});
    WriteText("Ünit.ZALProduct", "any content");
    Owned<ZALBaseUnknown> manager = CreateManager(folder_.Path().string() + "\\Größe.ZALProduct");
    ASSERT_TRUE(manager);
    EXPECT_EQ(PointedDocuments(manager), std::vector<std::string>{Path("Ünit.ZALProduct")});
}

TEST_F(CompoundDocuments, QueryAppendsToAListThatHasEntries)
{
    Owned<ZALBaseUnknown> manager = CreateManager(WriteProduct("Joint.ZALProduct", {"Bolt.ZALPart"}));
    ZALListValZALUnicodeString paths;
    paths.Append("first");
    EXPECT_EQ(S_OK, ZALIPointedSymbols_var(manager.get())->GetPointedDocuments(paths));
    EXPECT_EQ(2, paths.Size());
}

TEST_F(CompoundDocuments, FilesThatAreNoDocumentsCannotBeOpened)
{
    WriteText("text.ZALProduct", "no document");
    WriteText("empty.ZALProduct", "");
    EXPECT_FALSE(OpenRoot(Path("text.ZALProduct")));
    EXPECT_FALSE(OpenRoot(Path("empty.ZALProduct")));
    EXPECT_FALSE(OpenRoot(Path("missing.ZALProduct")));
    EXPECT_FALSE(OpenRoot(folder_.Path().string()));
    EXPECT_FALSE(OpenRoot(""));
}

TEST_F(CompoundDocuments, CompoundFileOfAnotherProgramHasNoDocumentStorage)
{
    CompoundContents root;
    root.streams = {{"WordDocument", "letter"}};
    WriteText("letter.ZALProduct", BuildCompoundFile(root));
    const Owned<ZALStorage> storage = OpenRoot(Path("letter.ZALProduct"));
    ASSERT_TRUE(storage);
    EXPECT_FALSE(OpenDocumentStorage(*storage));
    EXPECT_FALSE(ZALDocumentProperty::CreateDocLinkManager(storage.get(), nullptr));
    storage->Close(0);
}

TEST_F(CompoundDocuments, DamagedLinkTableGivesNoManager)
{
    CompoundContents root;
    root.storages = {{ZALDocumentStorage, {{"Links", "ZLNK and what is no link table"}}, {}}};
    WriteText("damaged.ZALProduct", BuildCompoundFile(root));
    EXPECT_FALSE(CreateManager(Path("damaged.ZALProduct")));
}

TEST_F(CompoundDocuments, ClosedStorageOpensAndGivesNothing)
{
    const Owned<ZALStorage> root = OpenRoot(WriteProduct("Joint.ZALProduct", {"Bolt.ZALPart"}));
    const Owned<ZALStorage> storage = OpenDocumentStorage(*root);
    EXPECT_EQ(S_OK, root->Close(0));
    EXPECT_EQ(E_FAIL, root->Close(0));
    EXPECT_FALSE(OpenDocumentStorage(*root));

    const Owned<ZALBaseUnknown> manager(ZALDocumentProperty::CreateDocLinkManager(storage.get(), nullptr));
    EXPECT_TRUE(manager) << "a storage inside outlives the one around it";
    EXPECT_EQ(S_OK, storage->Close(0));
    EXPECT_FALSE(ZALDocumentProperty::CreateDocLinkManager(storage.get(), nullptr));
}

TEST_F(CompoundDocuments, OnlyReadingIsOffered)
{
    const std::string path = WriteProduct("Joint.ZALProduct", {});
    ZALStorage* storage = nullptr;
    EXPECT_EQ(E_INVALIDARG, ZALStorage::OpenRootStg(path.c_str(), 1, &storage, ZALStorageRead));
    EXPECT_EQ(E_INVALIDARG, ZALStorage::OpenRootStg(path.c_str(), 0, &storage, 2));
    EXPECT_EQ(E_INVALIDARG, ZALStorage::OpenRootStg(path.c_str(), 0, nullptr, ZALStorageRead));
    EXPECT_EQ(nullptr, storage);

    const Owned<ZALStorage> root = OpenRoot(path);
    ZALStorage* inner = nullptr;
    EXPECT_EQ(E_INVALIDARG, root->OpenStorage(ZALDocumentStorage, 1, &inner));
    EXPECT_EQ(E_INVALIDARG, root->OpenStorage(ZALDocumentStorage, 0, nullptr));
    EXPECT_EQ(nullptr, inner);
}

TEST_F(CompoundDocuments, NullStorageGivesNoManager)
{
    EXPECT_FALSE(ZALDocumentProperty::CreateDocLinkManager(nullptr, nullptr));
}

// ---------------------------------------------------------------------------------------------
// Scripted documents

TEST_F(ScriptedDocuments, DocumentIsFoundByItsPathOrByItsName)
{
    kernel_->SetDocument("/parts/A.ZALProduct", {{"B.ZALProduct"}});
    kernel_->SetDocument("C.ZALProduct", {{"D.ZALProduct", "E.ZALPart"}});
    for (const auto& [path, count] :
         {std::pair("\\parts\\A.ZALProduct", 1U), std::pair("/any/folder/C.ZALProduct", 2U)}) {
        Owned<ZALBaseUnknown> manager = CreateManager(path);
        EXPECT_EQ(count, PointedDocuments(manager).size());
    }
    EXPECT_FALSE(OpenRoot("/other/A.ZALProduct"));
    EXPECT_EQ(0, kernel_->LivingObjects());
}

TEST_F(ScriptedDocuments, EachFaultStandsWhereItSays)
{
    kernel_->SetDocument("root", {{}, DocumentFault::RootFails});
    EXPECT_FALSE(OpenRoot("root"));

    kernel_->SetDocument("null", {{}, DocumentFault::RootIsNull});
    ZALStorage* storage = nullptr;
    EXPECT_EQ(S_OK, ZALStorage::OpenRootStg("null", 0, &storage, ZALStorageRead));
    EXPECT_EQ(nullptr, storage);

    kernel_->SetDocument("storage", {{}, DocumentFault::StorageMissing});
    EXPECT_FALSE(OpenDocumentStorage(*OpenRoot("storage")));

    kernel_->SetDocument("manager", {{}, DocumentFault::ManagerMissing});
    EXPECT_FALSE(CreateManager("manager"));

    kernel_->SetDocument("symbols", {{}, DocumentFault::SymbolsMissing});
    Owned<ZALBaseUnknown> manager = CreateManager("symbols");
    ASSERT_TRUE(manager);
    EXPECT_FALSE(ZALIPointedSymbols_var(manager.get()));

    kernel_->SetDocument("query", {{"A.ZALProduct"}, DocumentFault::QueryFails});
    manager = CreateManager("query");
    EXPECT_EQ(PointedDocuments(manager, E_FAIL), std::vector<std::string>{"A.ZALProduct"});
}

TEST_F(ScriptedDocuments, CallsAndObjectsAreCounted)
{
    kernel_->SetDocument("A.ZALProduct", {});
    Owned<ZALBaseUnknown> manager = CreateManager("/folder/A.ZALProduct");
    EXPECT_EQ(1, kernel_->LivingObjects());
    PointedDocuments(manager);
    manager.reset();
    EXPECT_EQ(0, kernel_->LivingObjects());
    EXPECT_EQ((std::vector<std::string>{"OpenRootStg A.ZALProduct", "OpenStorage ZALOR1", "CreateDocLinkManager",
                                        "Close ZALOR1", "Close A.ZALProduct", "GetPointedDocuments"}),
              kernel_->Calls());
}

TEST_F(ScriptedDocuments, StorageOfAnotherKernelGivesNoManager)
{
    kernel_->SetDocument("A.ZALProduct", {});
    const Owned<ZALStorage> storage = OpenRoot("A.ZALProduct");
    auto scripted = DocumentKernel::Install(std::make_unique<CompoundDocumentKernel>());
    EXPECT_FALSE(ZALDocumentProperty::CreateDocLinkManager(storage.get(), nullptr));
    DocumentKernel::Install(std::move(scripted));
}

} // namespace openhost::testing
