// The template route: what is fetched, what is made of it, and what the receivers are told.

#include "tests/download/DownloadFixture.h"
#include "tests/support/FailingMemory.h"
#include "tests/support/ScriptedTemplates.h"

#include "objects/Hold.h"
#include "openhost/objects/Traces.h"
#include "templates/ZALVliTemplateSupportUtilities.h"

#include <gmock/gmock.h>

#include <fstream>

namespace openhost::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* ItemUrl = "https://velmart.example/item";
constexpr const char* PartUrl = "https://velmart.example/part-template";
constexpr const char* ProductUrl = "https://velmart.example/product-template";

class TemplateRoute : public DownloadFixture {
protected:
    TemplateRoute()
    {
        Probe.SetTemplateSupport(true);
        InstallCatalog();
    }
    ~TemplateRoute() override
    {
        ZALVliTemplateSupportUtilities::StoreTemplatePathes({}, {});
        EXPECT_EQ(Workspace.OpenDocuments(), 0);
        EXPECT_EQ(Workspace.LivingObjects(), 0);
    }

    void InstallCatalog()
    {
        WriteFile(Folder() / "installation" / "resources" / "msgcatalog" / "ZALVelmartFileDownloader.ZALNls",
                  "WarnFileSameNameReused = \"Reused\";\nWarnNoTemplateMultiProduct = \"Several\";\n");
    }
    void Announce(const std::string& urls) { Downloader().SetTemplatesURLs(Json(urls)); }
    void AnnounceBoth()
    {
        Announce(R"({"zalpartTemplate": "https://velmart.example/part-template",
                     "zalproductTemplate": "https://velmart.example/product-template"})");
    }
    /// Lets the service serve the archive with `entries` for the item, each with its own name as content.
    void ServeArchive(const std::string& url, const std::vector<std::string>& entries)
    {
        ZipBytes archive;
        for (const std::string& entry : entries)
            archive.Add(entry, "downloaded " + entry);
        Transport().Answer(url, {.headers = {{"content-type", "application/zip"}}, .chunks = {archive.Bytes()}});
    }
    /// Lets it serve a file as it is.
    void ServeFile(const std::string& url, const std::string& name, const std::string& content = "content")
    {
        Transport().Answer(url, {.headers = {{"content-type", "application/octet-stream"},
                                             {"content-disposition", "attachment; filename=\"" + name + "\""}},
                                 .chunks = {content}});
    }
    void ServeTemplates()
    {
        ServeFile(PartUrl, "any.ZALPart");
        ServeFile(ProductUrl, "any.ZALProduct");
    }
    void ServeEnd(const std::string& url, TransferEnd end)
    {
        Transport().Answer(url, {.code = std::nullopt, .end = end});
    }
    /// A whole run for the item `fileName`.
    HRESULT Download(const std::string& fileName = "bolt")
    {
        const HRESULT result = Start(Request(fileName));
        Loop().RunUntilIdle();
        return result;
    }
    static std::string Request(const std::string& fileName)
    {
        return R"({"downloadUrl": ")" + std::string(ItemUrl) + R"(", "attributes": {"fileName": ")" + fileName + "\"}}";
    }
    std::vector<std::string> Requested()
    {
        std::vector<std::string> urls;
        for (const HttpRequestData& request : Transport().Requests())
            urls.push_back(request.url);
        return urls;
    }
    std::filesystem::path PartTemplate() const { return Temp() / "VelmartTemplates" / "PartTemplate.ZALPart"; }
    std::filesystem::path ProductTemplate() const { return Temp() / "VelmartTemplates" / "ProductTemplate.ZALProduct"; }
    /// The paths of the templates that are stored.
    static std::vector<std::string> Stored()
    {
        ZALUnicodeString part;
        ZALUnicodeString product;
        ZALVliTemplateSupportUtilities::GetStoredTemplatePathes(part, product);
        return {ToUtf8(part), ToUtf8(product)};
    }
    static Completion Succeeded(const std::vector<std::string>& files, const std::vector<std::string>& warnings = {})
    {
        return {Notification::DownloadSucceeded, files, "File", "", warnings};
    }
    static Completion Failed() { return Bare(Notification::DownloadFailed); }

    ScriptedTemplates Workspace{Folder()};
};

// ---------------------------------------------------------------------------------------------
// Whole runs

TEST_F(TemplateRoute, RebuildsAPartOnItsTemplate)
{
    AnnounceBoth();
    ServeArchive(ItemUrl, {"m6.ZALPart"});
    ServeTemplates();
    Workspace.AddPart(PartTemplate(), "template");
    Workspace.AddSolidPart(Temp() / "m6.ZALPart", "source");
    const int cursors = BusyCursorCount();

    EXPECT_EQ(Download("Bolt M6/8"), S_OK);

    EXPECT_THAT(Requested(), ElementsAre(ItemUrl, PartUrl, ProductUrl));
    EXPECT_THAT(Receiver.Received, ElementsAre(Succeeded({InParts("Bolt M6_8.ZALPart")})));
    EXPECT_EQ(ReadFile(Parts() / "Bolt M6_8.ZALPart"), "template");
    EXPECT_FALSE(exists(Temp() / "m6.ZALPart")) << "the source is deleted";
    EXPECT_THAT(Stored(), ElementsAre(PartTemplate().string(), ProductTemplate().string()));
    EXPECT_EQ(BusyCursorCount(), cursors + 1);
    EXPECT_EQ(Surface().Find(ProgressWindow), nullptr);
}

TEST_F(TemplateRoute, RebuildsAProductAndReportsItFirst)
{
    AnnounceBoth();
    ServeArchive(ItemUrl, {"p.ZALPart", "a.ZALProduct", "drawing.pdf"});
    ServeTemplates();
    Workspace.AddProduct(ProductTemplate(), "target");
    ScriptedWorkspaceDocument& product = Workspace.AddProduct(Temp() / "a.ZALProduct", "product");
    Workspace.AddPart(PartTemplate(), "template");
    Workspace.AddChild(product, Workspace.AddSolidPart(Temp() / "p.ZALPart", "p"), "p.1", 1);

    EXPECT_EQ(Download(), S_OK);

    EXPECT_THAT(Receiver.Received, ElementsAre(Succeeded({InParts("bolt.ZALProduct"), InParts("bolt_01.ZALPart")})));
    EXPECT_THAT(FilesBelow(Parts()), ElementsAre("bolt.ZALProduct", "bolt_01.ZALPart"));
    for (const char* source : {"p.ZALPart", "a.ZALProduct", "drawing.pdf"})
        EXPECT_FALSE(exists(Temp() / source)) << source;
}

TEST_F(TemplateRoute, MovesTheFilesWithoutTemplates)
{
    ServeArchive(ItemUrl, {"p.ZALPart", "a.ZALProduct"});
    EXPECT_EQ(Download(), S_OK);
    EXPECT_THAT(Requested(), ElementsAre(ItemUrl));
    EXPECT_THAT(Receiver.Received, ElementsAre(Succeeded({InParts("bolt.ZALProduct"), InParts("p.ZALPart")})))
        << "the root first";
    EXPECT_THAT(Stored(), ElementsAre("", ""));
    EXPECT_THAT(Workspace.calls, IsEmpty());
    EXPECT_TRUE(is_directory(Temp() / "VelmartTemplates")) << "also without a template";
}

TEST_F(TemplateRoute, MovesARawFileUnderTheItemsName)
{
    ServeFile(ItemUrl, "anything.stp", "solid");
    EXPECT_EQ(Download(), S_OK);
    EXPECT_THAT(Receiver.Received, ElementsAre(Succeeded({InParts("bolt.stp")})));
    EXPECT_EQ(ReadFile(Parts() / "bolt.stp"), "solid");
    EXPECT_FALSE(exists(Temp() / "VLFiles.stp"));
}

TEST_F(TemplateRoute, PassesTheWarningsOfTheOperationOn)
{
    AnnounceBoth();
    ServeArchive(ItemUrl, {"a.ZALProduct", "b.ZALProduct"});
    ServeTemplates();
    EXPECT_EQ(Download(), S_OK);
    EXPECT_THAT(Receiver.Received,
                ElementsAre(Succeeded({InParts("b.ZALProduct"), InParts("a.ZALProduct")}, {"Several"})))
        << "in the order of the extraction";
}

TEST_F(TemplateRoute, SavesAsWhateverThePageAnnounces)
{
    Announce(R"({"zalpartTemplate": "https://velmart.example/part-template", "preferredSaveMethod": "new from"})");
    ServeFile(ItemUrl, "m6.ZALPart");
    ServeTemplates();
    Workspace.AddPart(PartTemplate(), "template");
    Workspace.AddSolidPart(Temp() / "VLFiles.ZALPart", "source");
    EXPECT_EQ(Download(), S_OK);
    EXPECT_THAT(Workspace.CallsOf({"SaveAs", "SaveAsNew"}),
                ElementsAre("SaveAs template to parts/bolt.ZALPart, \"\", 1"));
    EXPECT_THAT(Receiver.Received, ElementsAre(Succeeded({InParts("bolt.ZALPart")})));
}

TEST_F(TemplateRoute, KeepsTheNamesOfTheFilesForAnItemWithoutAName)
{
    for (const char* attributes : {"{}", "[]", R"({"fileName": 7})", R"({"fileName": null})", R"({"fileName": ""})"}) {
        ServeArchive(ItemUrl, {"m6.ZALPart"});
        EXPECT_EQ(Start(R"({"downloadUrl": ")" + std::string(ItemUrl) + R"(", "attributes": )" + attributes + "}"),
                  S_OK);
        Loop().RunUntilIdle();
        EXPECT_THAT(Receiver.Received, ElementsAre(Succeeded({InParts("m6.ZALPart")}))) << attributes;
        Receiver.Received.clear();
        std::filesystem::remove(Parts() / "m6.ZALPart");
    }
    EXPECT_EQ(Start(R"({"downloadUrl": ")" + std::string(ItemUrl) + "\"}"), S_OK) << "no attributes";
    Loop().RunUntilIdle();
    EXPECT_THAT(Receiver.Received, ElementsAre(Succeeded({InParts("m6.ZALPart")})));
}

TEST_F(TemplateRoute, LooksBesideTheFolderForAnItemWithoutAName)
{
    WriteFile(Folder() / "parts.ZALProduct", "");
    EXPECT_EQ(Download(""), S_OK);
    EXPECT_THAT(Receiver.Received, ElementsAre(Succeeded({(Folder() / "parts.ZALProduct").string()}, {"Reused"})));
    EXPECT_THAT(Requested(), IsEmpty());
}

// ---------------------------------------------------------------------------------------------
// Items that are there already

TEST_F(TemplateRoute, ReusesAFileThatIsThereInsideTheCall)
{
    WriteFile(Parts() / "Bolt_1.ZALPart", "old");
    std::size_t receivedInside = 0;
    Receiver.OnReceipt = [&] { receivedInside = Receiver.Received.size(); };
    EXPECT_EQ(Start(Request("Bolt:1")), S_OK);
    EXPECT_EQ(receivedInside, 1U);
    EXPECT_THAT(Receiver.Received, ElementsAre(Succeeded({InParts("Bolt_1.ZALPart")}, {"Reused"})));
    EXPECT_TRUE(Traced("ZALVelmartFileDownloader::StartDownloadAndApplyTemplates - File with same name has been found "
                       "and will be reused: " +
                       InParts("Bolt_1.ZALPart")));
    EXPECT_THAT(Requested(), IsEmpty());
    EXPECT_FALSE(exists(Temp() / "VelmartTemplates"));
    EXPECT_EQ(ReadFile(Parts() / "Bolt_1.ZALPart"), "old");
}

TEST_F(TemplateRoute, ReusesAFileAlsoOfARequestWithoutAnAddress)
{
    WriteFile(Parts() / "bolt.ZALProduct", "old");
    EXPECT_EQ(Start(R"({"attributes": {"fileName": "bolt"}})"), S_OK);
    EXPECT_THAT(Receiver.Received, ElementsAre(Succeeded({InParts("bolt.ZALProduct")}, {"Reused"})));
}

TEST_F(TemplateRoute, FetchesNothingForASecondDownloadEvenWithANewTemplate)
{
    ServeArchive(ItemUrl, {"m6.ZALPart"});
    EXPECT_EQ(Download(), S_OK);
    AnnounceBoth();
    EXPECT_EQ(Download(), S_OK);
    EXPECT_THAT(Requested(), ElementsAre(ItemUrl));
    EXPECT_THAT(Receiver.Received,
                ElementsAre(Succeeded({InParts("bolt.ZALPart")}), Succeeded({InParts("bolt.ZALPart")}, {"Reused"})));
    EXPECT_EQ(ReadFile(Parts() / "bolt.ZALPart"), "downloaded m6.ZALPart");
}

TEST_F(TemplateRoute, WarnsWithAnEmptyTextWithoutACatalog)
{
    std::filesystem::remove_all(Folder() / "installation");
    WriteFile(Parts() / "bolt.ZALPart", "old");
    EXPECT_EQ(Download(), S_OK);
    EXPECT_THAT(Receiver.Received, ElementsAre(Succeeded({InParts("bolt.ZALPart")}, {""})));
}

TEST_F(TemplateRoute, FailsForARequestWithoutAnAddress)
{
    EXPECT_EQ(Start(R"({"attributes": {"fileName": "bolt"}})"), E_FAIL);
    EXPECT_THAT(Receiver.Received, IsEmpty());
    EXPECT_THAT(Requested(), IsEmpty());
    EXPECT_FALSE(exists(Temp() / "VelmartTemplates"));
}

// ---------------------------------------------------------------------------------------------
// Templates at hand

TEST_F(TemplateRoute, FetchesATemplateOnce)
{
    AnnounceBoth();
    ServeTemplates();
    ServeFile(ItemUrl, "a.stp");
    EXPECT_EQ(Download("first"), S_OK);
    Announce(
        R"({"zalpartTemplate": "https://velmart.example/other", "zalproductTemplate": "https://velmart.example/other"})");
    EXPECT_EQ(Download("second"), S_OK);
    EXPECT_THAT(Requested(), ElementsAre(ItemUrl, PartUrl, ProductUrl, ItemUrl)) << "a new address changes nothing";
    EXPECT_THAT(Stored(), ElementsAre(PartTemplate().string(), ProductTemplate().string()));
}

TEST_F(TemplateRoute, FetchesATemplateAgainWhoseFileIsGone)
{
    AnnounceBoth();
    ServeTemplates();
    ServeFile(ItemUrl, "a.stp");
    EXPECT_EQ(Download("first"), S_OK);
    std::filesystem::remove(ProductTemplate());
    EXPECT_EQ(Download("second"), S_OK);
    EXPECT_THAT(Requested(), ElementsAre(ItemUrl, PartUrl, ProductUrl, ItemUrl, ProductUrl));
    EXPECT_TRUE(exists(ProductTemplate()));
}

TEST_F(TemplateRoute, ForgetsATemplateWhoseFileIsGoneWithoutAnAddress)
{
    AnnounceBoth();
    ServeTemplates();
    ServeFile(ItemUrl, "a.stp");
    EXPECT_EQ(Download("first"), S_OK);
    std::filesystem::remove(PartTemplate());
    Announce("{}");
    EXPECT_EQ(Download("second"), S_OK);
    WriteFile(PartTemplate(), "back again");
    EXPECT_THAT(Stored(), ElementsAre("", ProductTemplate().string()));
}

TEST_F(TemplateRoute, FetchesTheOneTemplateThatIsAnnounced)
{
    Announce(R"({"zalpartTemplate": "", "zalproductTemplate": "https://velmart.example/product-template"})");
    ServeTemplates();
    ServeFile(ItemUrl, "a.ZALPart", "part");
    EXPECT_EQ(Download(), S_OK);
    EXPECT_THAT(Requested(), ElementsAre(ItemUrl, ProductUrl));
    EXPECT_EQ(ReadFile(Parts() / "bolt.ZALPart"), "part") << "moved, since there is no part template";
}

TEST_F(TemplateRoute, TakesTheOneFileOfAnArchiveAsTheTemplate)
{
    Announce(R"({"zalpartTemplate": "https://velmart.example/part-template"})");
    ServeArchive(PartUrl, {"start part.ZALPart"});
    ServeFile(ItemUrl, "a.stp");
    EXPECT_EQ(Download(), S_OK);
    EXPECT_THAT(Stored(), ElementsAre((Temp() / "VelmartTemplates" / "start part.ZALPart").string(), ""));
}

TEST_F(TemplateRoute, TakesNoTemplateOfAnArchiveWithTwoFilesOrNone)
{
    AnnounceBoth();
    ServeArchive(PartUrl, {"one.ZALPart", "two.ZALPart"});
    Transport().Answer(ProductUrl, {.headers = {{"content-type", "application/zip"}}, .chunks = {"no archive"}});
    ServeFile(ItemUrl, "a.stp");
    EXPECT_EQ(Download(), S_OK);
    EXPECT_THAT(Stored(), ElementsAre("", ""));
    EXPECT_THAT(Receiver.Received, ElementsAre(Succeeded({InParts("bolt.stp")})));
}

TEST_F(TemplateRoute, TakesAFolderOfTemplatesThatIsThere)
{
    std::filesystem::create_directory(Temp() / "VelmartTemplates");
    WriteFile(PartTemplate(), "of an earlier session");
    AnnounceBoth();
    ServeFile(PartUrl, "any.ZALPart", "fresh");
    ServeFile(ProductUrl, "any.ZALProduct");
    ServeFile(ItemUrl, "a.stp");
    EXPECT_EQ(Download(), S_OK);
    EXPECT_EQ(ReadFile(PartTemplate()), "fresh") << "it was not stored in this one";
}

// ---------------------------------------------------------------------------------------------
// Transfers that fail

TEST_F(TemplateRoute, TellsTwiceThatTheItemCouldNotBeFetched)
{
    AnnounceBoth();
    for (const TransferEnd end : {TransferEnd::Failed, TransferEnd::Cancelled}) {
        Receiver.Received.clear();
        ServeEnd(ItemUrl, end);
        EXPECT_EQ(Download(), S_OK);
        EXPECT_THAT(Receiver.Received, ElementsAre(Failed(), Failed()));
    }
    EXPECT_THAT(Requested(), ElementsAre(ItemUrl, ItemUrl)) << "the templates are not tried";
    EXPECT_THAT(FilesBelow(Parts()), IsEmpty());
}

TEST_F(TemplateRoute, KeepsTheStoredTemplatesWhenTheItemCannotBeFetched)
{
    AnnounceBoth();
    ServeTemplates();
    ServeFile(ItemUrl, "a.stp");
    EXPECT_EQ(Download("first"), S_OK);
    ServeEnd(ItemUrl, TransferEnd::Failed);
    EXPECT_EQ(Download("second"), S_OK);
    EXPECT_THAT(Stored(), ElementsAre(PartTemplate().string(), ProductTemplate().string()));
    EXPECT_THAT(FilesBelow(Parts()), ElementsAre("first.stp"));
}

TEST_F(TemplateRoute, TellsTwiceInsideTheCallThatTheItemCannotBeRequested)
{
    Transport().RefuseNext();
    EXPECT_EQ(Start(Request("bolt")), S_OK);
    EXPECT_THAT(Receiver.Received, ElementsAre(Failed(), Failed()));
    EXPECT_EQ(Surface().Find(ProgressWindow), nullptr);
}

TEST_F(TemplateRoute, TellsFailureThenSuccessWhenATemplateCannotBeFetched)
{
    AnnounceBoth();
    for (const TransferEnd end : {TransferEnd::Failed, TransferEnd::Cancelled}) {
        Receiver.Received.clear();
        std::filesystem::remove(Parts() / "bolt.ZALPart");
        ServeFile(ItemUrl, "m6.ZALPart", "part");
        ServeEnd(PartUrl, end);
        EXPECT_EQ(Download(), S_OK);
        EXPECT_THAT(Receiver.Received, ElementsAre(Failed(), Succeeded({InParts("bolt.ZALPart")})));
        EXPECT_EQ(ReadFile(Parts() / "bolt.ZALPart"), "part") << "without the template";
    }
}

TEST_F(TemplateRoute, AppliesTheTemplateThatCameBeforeAFailure)
{
    AnnounceBoth();
    ServeFile(ItemUrl, "m6.ZALPart");
    ServeFile(PartUrl, "any.ZALPart");
    ServeEnd(ProductUrl, TransferEnd::Failed);
    Workspace.AddPart(PartTemplate(), "template");
    Workspace.AddSolidPart(Temp() / "VLFiles.ZALPart", "source");
    EXPECT_EQ(Download(), S_OK);
    EXPECT_THAT(Receiver.Received, ElementsAre(Failed(), Succeeded({InParts("bolt.ZALPart")})));
    EXPECT_EQ(ReadFile(Parts() / "bolt.ZALPart"), "template");
    EXPECT_THAT(Stored(), ElementsAre(PartTemplate().string(), ""));
}

TEST_F(TemplateRoute, EndsInSilenceWhenALaterRequestCannotBeSent)
{
    AnnounceBoth();
    EXPECT_EQ(Start(Request("bolt")), S_OK);
    ScriptedTransport::Script& item = Transport().Last();
    Transport().RefuseNext();
    item.Head(200, {{"content-type", "application/octet-stream"},
                    {"content-disposition", "attachment; filename=\"m6.ZALPart\""}});
    item.Bytes("part");
    item.End();
    Loop().RunUntilIdle();
    EXPECT_THAT(Receiver.Received, IsEmpty());
    EXPECT_EQ(ReadFile(Temp() / "VLFiles.ZALPart"), "part");
    EXPECT_THAT(FilesBelow(Parts()), IsEmpty());
}

TEST_F(TemplateRoute, GoesOnBehindAReceiverThatEndsTheFirstFailureWithAnotherDownload)
{
    ServeEnd(ItemUrl, TransferEnd::Failed);
    Receiver.OnReceipt = [&] {
        if (Receiver.Received.size() == 1)
            Start(R"({"downloadUrl": "https://velmart.example/next", "attributes": {"fileName": "next"}})");
    };
    ServeFile("https://velmart.example/next", "a.stp");
    EXPECT_EQ(Download(), S_OK);
    EXPECT_THAT(Receiver.Received, ElementsAre(Failed(), Failed(), Succeeded({InParts("next.stp")})));
}

TEST_F(TemplateRoute, DownloadThatAReceiverStartsInsideTheCallIsTheOneThatRuns)
{
    Receiver.OnReceipt = [&] {
        if (Receiver.Received.size() == 1)
            Start(Request("inner"));
    };
    Transport().RefuseNext();
    EXPECT_EQ(Start(Request("outer")), S_OK);
    EXPECT_THAT(Receiver.Received, ElementsAre(Failed(), Failed()));
    const ScriptedTransport::Script& inner = Transport().Last();
    EXPECT_TRUE(inner.IsRunning());

    EXPECT_EQ(Start(Request("next")), S_OK);
    EXPECT_FALSE(inner.IsRunning()) << "it gives way to the next one";
    EXPECT_TRUE(Transport().Last().IsRunning());
}

// ---------------------------------------------------------------------------------------------
// Runs that fail

TEST_F(TemplateRoute, DeletesTheSourcesOfATemplateThatIsRefusedAndKeepsTheTemplate)
{
    AnnounceBoth();
    ServeFile(ItemUrl, "m6.ZALPart");
    ServeTemplates();
    ScriptedWorkspaceDocument& part = Workspace.AddPart(PartTemplate(), "template");
    part.mainTool->shape = &Workspace.AddObject(&part, "pad");
    Workspace.AddSolidPart(Temp() / "VLFiles.ZALPart", "source");
    EXPECT_EQ(Download(), S_OK);
    EXPECT_THAT(Receiver.Received, ElementsAre(Failed()));
    EXPECT_FALSE(exists(Temp() / "VLFiles.ZALPart"));
    EXPECT_TRUE(exists(PartTemplate()));
    EXPECT_THAT(Stored(), ElementsAre(PartTemplate().string(), ProductTemplate().string()));
    EXPECT_THAT(FilesBelow(Parts()), IsEmpty());
}

TEST_F(TemplateRoute, DeletesTheSourcesBeforeItTellsTheEnd)
{
    ServeArchive(ItemUrl, {"p.ZALPart", "a.ZALProduct"});
    WriteFile(Parts() / "p.ZALPart", "old");
    bool sourceThere = true;
    Receiver.OnReceipt = [&] { sourceThere = exists(Temp() / "p.ZALPart"); };
    EXPECT_EQ(Download(), S_OK);
    EXPECT_THAT(Receiver.Received, ElementsAre(Succeeded({InParts("bolt.ZALProduct"), InParts("p.ZALPart")})));
    EXPECT_FALSE(sourceThere);
    EXPECT_EQ(ReadFile(Parts() / "p.ZALPart"), "old");

    Announce(R"({"zalpartTemplate": "https://velmart.example/part-template"})");
    ServeArchive(ItemUrl, {"p.ZALPart"});
    ServeFile(PartUrl, "no document.ZALPart");
    sourceThere = true;
    EXPECT_EQ(Download("nut"), S_OK);
    EXPECT_EQ(Receiver.Received.back(), Failed());
    EXPECT_FALSE(sourceThere);
}

TEST_F(TemplateRoute, KeepsThePartsThatWereWrittenBeforeAFailure)
{
    AnnounceBoth();
    ServeArchive(ItemUrl, {"a.ZALProduct", "p.ZALPart"});
    ServeTemplates();
    Workspace.AddProduct(ProductTemplate(), "target").saveResult = E_FAIL;
    ScriptedWorkspaceDocument& product = Workspace.AddProduct(Temp() / "a.ZALProduct", "product");
    Workspace.AddPart(PartTemplate(), "template");
    Workspace.AddChild(product, Workspace.AddSolidPart(Temp() / "p.ZALPart", "p"), "p.1", 1);
    EXPECT_EQ(Download(), S_OK);
    EXPECT_THAT(Receiver.Received, ElementsAre(Failed())) << "without the files";
    EXPECT_TRUE(exists(Parts() / "bolt_01.ZALPart"));
    EXPECT_FALSE(exists(Temp() / "p.ZALPart"));
}

TEST_F(TemplateRoute, DropsTheWarningsOfARunThatFails)
{
    ServeArchive(ItemUrl, {"a.ZALProduct", "b.ZALProduct"});
    SetSettings(Folder() / "gone", false);
    WriteFile(Folder() / "gone", "a file");
    Probe.SetDownloadRequest(Json(Request("bolt")));
    Probe.OnDownloadLocationForTemplateDlgOK();
    Loop().RunUntilIdle();
    EXPECT_THAT(Receiver.Received, ElementsAre(Failed()));
    EXPECT_FALSE(exists(Temp() / "a.ZALProduct"));
}

// ---------------------------------------------------------------------------------------------
// The folder that the user is asked for

TEST_F(TemplateRoute, GoesOnInTheFolderOfTheDialog)
{
    SetSettings({}, false);
    ServeFile(ItemUrl, "a.stp");
    EXPECT_EQ(Download(), S_OK);
    EXPECT_THAT(Requested(), IsEmpty());
    const std::filesystem::path folder = Folder() / "chosen";
    create_directory(folder);
    Surface().EnterText("ZALVelmartDownloadLocationDlg", "VLDownloadLocationEditor", FromUtf8(folder.string()));
    EXPECT_EQ(Surface().Push("ZALVelmartDownloadLocationDlg", "OK"), PushResult::Done);
    Loop().RunUntilIdle();
    EXPECT_THAT(Receiver.Received, ElementsAre(Succeeded({(folder / "bolt.stp").string()})));
}

TEST_F(TemplateRoute, FailsWithoutSettingsOrAFolderInThem)
{
    Probe.SetDownloadRequest(Json(Request("bolt")));
    SetSettings({}, true);
    Probe.OnDownloadLocationForTemplateDlgOK();
    EXPECT_THAT(Receiver.Received, ElementsAre(Failed()));
    SetSettings(Parts(), true);
    SettingsStore::Current().SetAvailable(false);
    Probe.OnDownloadLocationForTemplateDlgOK();
    EXPECT_THAT(Receiver.Received, ElementsAre(Failed(), Failed()));
    EXPECT_THAT(Requested(), IsEmpty());
}

TEST_F(TemplateRoute, EndsInSilenceBehindTheDialogWithoutAnAddress)
{
    Probe.SetDownloadRequest(Json(R"({"attributes": {"fileName": "bolt"}})"));
    Probe.OnDownloadLocationForTemplateDlgOK();
    EXPECT_THAT(Receiver.Received, IsEmpty());
    EXPECT_THAT(Requested(), IsEmpty());
}

// ---------------------------------------------------------------------------------------------
// Life

TEST_F(TemplateRoute, ReplacesTheDownloadOfTheRunBefore)
{
    EXPECT_EQ(Start(Request("first")), S_OK);
    ScriptedTransport::Script& first = Transport().Last();
    EXPECT_EQ(Start(Request("second")), S_OK);
    EXPECT_EQ(Transport().Count(), 2U);
    EXPECT_FALSE(first.IsRunning());
    ScriptedTransport::Script& second = Transport().Last();
    second.Head(
        200, {{"content-type", "application/octet-stream"}, {"content-disposition", "attachment; filename=\"a.stp\""}});
    second.Bytes("content");
    second.End();
    EXPECT_THAT(Receiver.Received, ElementsAre(Succeeded({InParts("second.stp")})));
}

TEST_F(TemplateRoute, DoesNothingWhenTheDownloaderIsGone)
{
    EXPECT_EQ(Start(Request("bolt")), S_OK);
    Probe.EndDownloader();
    EXPECT_FALSE(Transport().Last().IsRunning());
    EXPECT_THAT(Receiver.Received, IsEmpty());
}

TEST_F(TemplateRoute, GivesNoFilesToADownloaderThatIsGone)
{
    EXPECT_EQ(Start(Request("bolt")), S_OK);
    const auto download = Hold(Probe.FullDownload());
    Probe.EndDownloader();
    Transport().Last().End();
    EXPECT_EQ(CountOf("ZALVelmartFileDownloadCompleteNotification"), 0);
    EXPECT_THAT(FilesBelow(Parts()), IsEmpty());
}

TEST_F(TemplateRoute, DownloaderMayEndInsideTheNotification)
{
    ServeEnd(ItemUrl, TransferEnd::Failed);
    Receiver.OnReceipt = [&] {
        if (Receiver.Received.size() == 1)
            Probe.EndDownloader();
    };
    EXPECT_EQ(Download(), S_OK);
    EXPECT_THAT(Receiver.Received, ElementsAre(Failed(), Failed())) << "it ends after its completion";
}

TEST_F(TemplateRoute, UsesTheFolderAndTheNamesOfItsOwnStart)
{
    WriteFile(Folder() / "stored.ZALPart", "stored");
    WriteFile(Folder() / "stored.ZALProduct", "stored");
    WriteFile(Folder() / "later.ZALPart", "later");
    const std::string part = (Folder() / "stored.ZALPart").string();
    const std::string product = (Folder() / "stored.ZALProduct").string();
    ZALVliTemplateSupportUtilities::StoreTemplatePathes(FromUtf8(part), FromUtf8(product));
    std::filesystem::create_directory(Folder() / "other");
    EXPECT_EQ(Start(Request("bolt")), S_OK);

    SetSettings(Folder() / "other", true);
    AnnounceBoth();
    Probe.SetDownloadRequest(Json(Request("nut")));
    ZALVliTemplateSupportUtilities::StoreTemplatePathes(FromUtf8((Folder() / "later.ZALPart").string()), {});
    Transport().Last().Head(
        200, {{"content-type", "application/octet-stream"}, {"content-disposition", "attachment; filename=\"a.stp\""}});
    Transport().Last().Bytes("content");
    Transport().Last().End();

    EXPECT_THAT(Receiver.Received, ElementsAre(Succeeded({InParts("bolt.stp")})));
    EXPECT_THAT(FilesBelow(Folder() / "other"), IsEmpty());
    EXPECT_THAT(Stored(), ElementsAre(part, product));
    EXPECT_EQ(Transport().Count(), 1U) << "what was announced later is not fetched";
}

TEST_F(TemplateRoute, ShowsTheBusyCursorBeforeItRebuilds)
{
    const int before = BusyCursorCount();
    std::vector<int> cursors;
    RedirectTraces([&](std::string_view, std::string_view text) {
        if (text.starts_with("ApplyPartTemplate"))
            cursors.push_back(BusyCursorCount() - before);
    });
    ServeFile(ItemUrl, "a.ZALPart", "part");
    EXPECT_EQ(Download(), S_OK);
    ASSERT_FALSE(cursors.empty());
    EXPECT_EQ(cursors.front(), 1);
}

TEST_F(TemplateRoute, ShowsNoBusyCursorForAFileThatIsThere)
{
    WriteFile(Parts() / "bolt.ZALPart", "old");
    const int before = BusyCursorCount();
    EXPECT_EQ(Download(), S_OK);
    EXPECT_EQ(BusyCursorCount(), before);
}

TEST_F(TemplateRoute, RunsWithoutAFrame)
{
    ConfigureFrame({.exists = false});
    ServeFile(ItemUrl, "a.stp");
    EXPECT_EQ(Download(), S_OK);
    EXPECT_THAT(Receiver.Received, ElementsAre(Succeeded({InParts("bolt.stp")})));
}

TEST_F(TemplateRoute, TellsTheFirstFailureBeforeItGoesOn)
{
    AnnounceBoth();
    ServeFile(ItemUrl, "m6.ZALPart", "part");
    ServeEnd(PartUrl, TransferEnd::Failed);
    std::vector<bool> there;
    Receiver.OnReceipt = [&] { there.push_back(exists(Parts() / "bolt.ZALPart")); };
    const int before = BusyCursorCount();
    int cursorsAtFirst = -1;
    RedirectTraces([&](std::string_view, std::string_view) {
        if (cursorsAtFirst < 0 && !Receiver.Received.empty())
            cursorsAtFirst = BusyCursorCount() - before;
    });
    EXPECT_EQ(Download(), S_OK);
    EXPECT_THAT(there, ElementsAre(false, true));
    EXPECT_EQ(cursorsAtFirst, 1);
}

TEST_F(TemplateRoute, CancelledTransferIsToldAsFailed)
{
    EXPECT_EQ(Start(Request("bolt")), S_OK);
    Transport().Last().End(TransferEnd::Cancelled);
    EXPECT_THAT(Receiver.Received, ElementsAre(Failed(), Failed()));
}

// ---------------------------------------------------------------------------------------------
// Without memory

TEST_F(TemplateRoute, StartRunsOrTheDownloadFails)
{
    Receiver.RemoveSubscriberCallbacks(&Downloader());
    const ZALOmxAny request = Json(Request("an item with a name of some length"));
    const ZALUnicodeString folder = PartsFolder();
    for (const bool isAsked : {false, true}) {
        Probe.SetDownloadRequest(request);
        const int failures = WithEachAllocationFailing([&](FailingMemory& memory) {
            CompletionCounter ends(&Downloader());
            const std::size_t started = Transport().Count();
            HRESULT result = S_OK;
            memory.During([&] {
                if (isAsked)
                    Probe.OnDownloadLocationForTemplateDlgOK();
                else
                    result = Probe.StartDownloadAndApplyTemplates(request, folder);
            });
            Loop().RunUntilIdle();
            const bool runs = Transport().Count() > started && Transport().Last().IsRunning();
            EXPECT_EQ(result, S_OK);
            EXPECT_NE(runs, ends.Failed > 0);
            EXPECT_TRUE(runs || memory.HasRunOut());
            EXPECT_EQ(ends.Succeeded, 0);
            if (runs)
                Transport().Last().End(TransferEnd::Failed);
        });
        EXPECT_GT(failures, 20);
    }
}

TEST_F(TemplateRoute, FileThatIsThereIsToldOrTheDownloadFails)
{
    WriteFile(Parts() / "bolt.ZALPart", "old");
    Receiver.RemoveSubscriberCallbacks(&Downloader());
    const ZALOmxAny request = Json(R"({"attributes": {"fileName": "bolt"}})");
    const ZALUnicodeString folder = PartsFolder();
    const int failures = WithEachAllocationFailing([&](FailingMemory& memory) {
        CompletionCounter ends(&Downloader());
        HRESULT result = E_FAIL;
        memory.During([&] { result = Probe.StartDownloadAndApplyTemplates(request, folder); });
        EXPECT_TRUE(result == S_OK || memory.HasRunOut());
        EXPECT_EQ(ends.Succeeded + ends.Failed, result == S_OK ? 1 : 0);
        EXPECT_TRUE(ends.Succeeded == 1 || memory.HasRunOut());
    });
    EXPECT_GT(failures, 10);
}

TEST_F(TemplateRoute, FetchedFilesAreToldOrTheDownloadFails)
{
    Receiver.RemoveSubscriberCallbacks(&Downloader());
    const int failures = WithEachAllocationFailing([&](FailingMemory& memory) {
        std::filesystem::remove(Parts() / "bolt.stp");
        CompletionCounter ends(&Downloader());
        EXPECT_EQ(Start(Request("bolt")), S_OK);
        Transport().Last().Head(200, {{"content-type", "application/octet-stream"},
                                      {"content-disposition", "attachment; filename=\"a.stp\""}});
        Transport().Last().Bytes("fetched");
        memory.During([&] { Transport().Last().End(); });
        Loop().RunUntilIdle();
        EXPECT_GE(ends.Succeeded + ends.Failed, 1);
        EXPECT_LE(ends.Succeeded, 1) << "also after a failure that came with the files";
        EXPECT_TRUE(ends.Succeeded == 1 || memory.HasRunOut());
    });
    EXPECT_GT(failures, 20);
}

} // namespace
} // namespace openhost::testing
