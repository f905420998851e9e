// The template route: what is fetched, what is made of it, and what the receivers are told.

#include "tests/download/DownloadFixture.h"
#include "tests/support/FailingMemory.h"
#include "tests/support/ScriptedCad.h"

#include "objects/Hold.h"
#include "openhost/objects/Traces.h"
#include "templates/ZALVliTemplateSupportUtilities.h"

#include <gmock/gmock.h>

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
        WriteBytes(Folder() / "installation/resources/msgcatalog/ZALVelmartFileDownloader.ZALNls",
                   "WarnFileSameNameReused = \"Reused\";\nWarnNoTemplateMultiProduct = \"Several\";\n");
    }
    ~TemplateRoute() override
    {
        ZALVliTemplateSupportUtilities::StoreTemplatePathes({}, {});
        EXPECT_EQ(0, Workspace.OpenDocuments());
        EXPECT_EQ(0, Workspace.LivingObjects());
    }

    void Announce(const std::string& urls) { Downloader().SetTemplatesURLs(Json(urls)); }
    void AnnouncePart() { Announce(R"({"zalpartTemplate": "https://velmart.example/part-template"})"); }
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
        DownloadFixture::ServeArchive(url, archive);
    }
    void ServeTemplates()
    {
        ServeFile(PartUrl, "any.ZALPart");
        ServeFile(ProductUrl, "any.ZALProduct");
    }
    /// A whole run for the item `fileName`.
    HRESULT Download(const std::string& fileName = "bolt")
    {
        const HRESULT result = Start(Request(fileName));
        Loop().RunUntilIdle();
        return result;
    }
    /// A whole run for the file "first.stp", with templates that are not used.
    void FetchBothTemplates()
    {
        AnnounceBoth();
        ServeTemplates();
        ServeFile(ItemUrl, "a.stp");
        EXPECT_EQ(S_OK, Download("first"));
    }
    static std::string Request(const std::string& fileName)
    {
        return R"({"downloadUrl": ")" + std::string(ItemUrl) + R"(", "attributes": {"fileName": ")" + fileName + "\"}}";
    }
    /// The running transfer ends with a file of the name `fileName`.
    void EndWithFile(const std::string& fileName)
    {
        ScriptedTransport::Script& running = Transport().Last();
        running.Head(200, FileNamed(fileName));
        running.Bytes("content");
        running.End();
    }
    /// The downloaded part `fileName` and its template in the workspace.
    void AddPartAndTemplate(const std::string& fileName)
    {
        Workspace.AddPart(PartTemplate(), "template");
        Workspace.AddSolidPart(Temp() / fileName, "source");
    }
    /// A downloaded product with one part, and both templates in the workspace. Returns the template of the product.
    ScriptedWorkspaceDocument& AddAssembly()
    {
        ScriptedWorkspaceDocument& target = Workspace.AddProduct(ProductTemplate(), "target");
        ScriptedWorkspaceDocument& product = Workspace.AddProduct(Temp() / "a.ZALProduct", "product");
        Workspace.AddPart(PartTemplate(), "template");
        Workspace.AddChild(product, Workspace.AddSolidPart(Temp() / "p.ZALPart", "p"), "p.1", 1);
        return target;
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

    ScriptedCad Workspace{Folder()};
};

// ---------------------------------------------------------------------------------------------
// Whole runs

TEST_F(TemplateRoute, RebuildsAPartOnItsTemplate)
{
    AnnounceBoth();
    ServeArchive(ItemUrl, {"m6.ZALPart"});
    ServeTemplates();
    AddPartAndTemplate("m6.ZALPart");
    const int cursors = BusyCursorCount();
    EXPECT_EQ(S_OK, Download("Bolt M6/8"));
    EXPECT_THAT(Requested(), ElementsAre(ItemUrl, PartUrl, ProductUrl));
    EXPECT_THAT(Receiver.Received, ElementsAre(Succeeded({"Bolt M6_8.ZALPart"})));
    EXPECT_EQ("template", ReadFile(Parts() / "Bolt M6_8.ZALPart"));
    EXPECT_FALSE(exists(Temp() / "m6.ZALPart")) << "the source is deleted";
    EXPECT_THAT(Stored(), ElementsAre(PartTemplate().string(), ProductTemplate().string()));
    EXPECT_EQ(cursors + 1, BusyCursorCount());
    EXPECT_EQ(nullptr, Surface().Find(ProgressWindow));
}

TEST_F(TemplateRoute, RebuildsAProductAndReportsItFirst)
{
    AnnounceBoth();
    ServeArchive(ItemUrl, {"p.ZALPart", "a.ZALProduct", "drawing.pdf"});
    ServeTemplates();
    AddAssembly();
    EXPECT_EQ(S_OK, Download());
    EXPECT_THAT(Receiver.Received, ElementsAre(Succeeded({"bolt.ZALProduct", "bolt_01.ZALPart"})));
    EXPECT_THAT(FilesBelow(Parts()), ElementsAre("bolt.ZALProduct", "bolt_01.ZALPart"));
    for (const char* source : {"p.ZALPart", "a.ZALProduct", "drawing.pdf"})
        EXPECT_FALSE(exists(Temp() / source)) << source;
}

TEST_F(TemplateRoute, MovesTheFilesWithoutTemplates)
{
    ServeArchive(ItemUrl, {"p.ZALPart", "a.ZALProduct"});
    EXPECT_EQ(S_OK, Download());
    EXPECT_THAT(Requested(), ElementsAre(ItemUrl));
    EXPECT_THAT(Receiver.Received, ElementsAre(Succeeded({"bolt.ZALProduct", "p.ZALPart"}))) << "the root first";
    EXPECT_THAT(Stored(), ElementsAre("", ""));
    EXPECT_THAT(Workspace.calls, IsEmpty());
    EXPECT_TRUE(is_directory(Temp() / "VelmartTemplates")) << "also without a template";
}

TEST_F(TemplateRoute, MovesARawFileUnderTheItemsName)
{
    ServeFile(ItemUrl, "anything.stp", "solid");
    EXPECT_EQ(S_OK, Download());
    EXPECT_THAT(Receiver.Received, ElementsAre(Succeeded({"bolt.stp"})));
    EXPECT_EQ("solid", ReadFile(Parts() / "bolt.stp"));
    EXPECT_FALSE(exists(Temp() / "VLFiles.stp"));
}

TEST_F(TemplateRoute, PassesTheWarningsOfTheOperationOn)
{
    AnnounceBoth();
    ServeArchive(ItemUrl, {"a.ZALProduct", "b.ZALProduct"});
    ServeTemplates();
    EXPECT_EQ(S_OK, Download());
    EXPECT_THAT(Receiver.Received, ElementsAre(Succeeded({"b.ZALProduct", "a.ZALProduct"}, {"Several"})))
        << "in the order of the extraction";
}

TEST_F(TemplateRoute, SavesAsWhateverThePageAnnounces)
{
    Announce(R"({"zalpartTemplate": "https://velmart.example/part-template", "preferredSaveMethod": "new from"})");
    ServeFile(ItemUrl, "m6.ZALPart");
    ServeTemplates();
    AddPartAndTemplate("VLFiles.ZALPart");
    EXPECT_EQ(S_OK, Download());
    EXPECT_THAT(Workspace.CallsOf({"SaveAs", "SaveAsNew"}),
                ElementsAre("SaveAs template to parts/bolt.ZALPart, \"\", 1"));
    EXPECT_THAT(Receiver.Received, ElementsAre(Succeeded({"bolt.ZALPart"})));
}

TEST_F(TemplateRoute, KeepsTheNamesOfTheFilesForAnItemWithoutAName)
{
    ServeArchive(ItemUrl, {"m6.ZALPart"});
    for (const std::string attributes :
         {"", R"(, "attributes": {})", R"(, "attributes": [])", R"(, "attributes": {"fileName": 7})",
          R"(, "attributes": {"fileName": null})", R"(, "attributes": {"fileName": ""})"}) {
        Receiver.Received.clear();
        EXPECT_EQ(S_OK, Start(R"({"downloadUrl": ")" + (ItemUrl + ("\"" + attributes)) + "}"));
        Loop().RunUntilIdle();
        EXPECT_THAT(Receiver.Received, ElementsAre(Succeeded({"m6.ZALPart"}))) << attributes;
        std::filesystem::remove(Parts() / "m6.ZALPart");
    }
}

TEST_F(TemplateRoute, LooksBesideTheFolderForAnItemWithoutAName)
{
    WriteBytes(Folder() / "parts.ZALProduct", "");
    EXPECT_EQ(S_OK, Download(""));
    EXPECT_THAT(
        Receiver.Received,
        ElementsAre(Completion{
            Notification::DownloadSucceeded, {(Folder() / "parts.ZALProduct").string()}, "File", "", {"Reused"}}));
    EXPECT_THAT(Requested(), IsEmpty());
}

// ---------------------------------------------------------------------------------------------
// Items that are there already

TEST_F(TemplateRoute, ReusesAFileThatIsThereInsideTheCall)
{
    WriteBytes(Parts() / "Bolt_1.ZALPart", "old");
    const int cursors = BusyCursorCount();
    EXPECT_EQ(S_OK, Start(Request("Bolt:1")));
    EXPECT_THAT(Receiver.Received, ElementsAre(Succeeded({"Bolt_1.ZALPart"}, {"Reused"})));
    EXPECT_TRUE(Traced("ZALVelmartFileDownloader::StartDownloadAndApplyTemplates - File with same name has been found "
                       "and will be reused: " +
                       InParts("Bolt_1.ZALPart")));
    EXPECT_THAT(Requested(), IsEmpty());
    EXPECT_FALSE(exists(Temp() / "VelmartTemplates"));
    EXPECT_EQ("old", ReadFile(Parts() / "Bolt_1.ZALPart"));
    EXPECT_EQ(cursors, BusyCursorCount());
}

TEST_F(TemplateRoute, ReusesAFileAlsoOfARequestWithoutAnAddress)
{
    WriteBytes(Parts() / "bolt.ZALProduct", "old");
    EXPECT_EQ(S_OK, Start(R"({"attributes": {"fileName": "bolt"}})"));
    EXPECT_THAT(Receiver.Received, ElementsAre(Succeeded({"bolt.ZALProduct"}, {"Reused"})));
}

TEST_F(TemplateRoute, FetchesNothingForASecondDownloadEvenWithANewTemplate)
{
    ServeArchive(ItemUrl, {"m6.ZALPart"});
    EXPECT_EQ(S_OK, Download());
    AnnounceBoth();
    EXPECT_EQ(S_OK, Download());
    EXPECT_THAT(Requested(), ElementsAre(ItemUrl));
    EXPECT_THAT(Receiver.Received, ElementsAre(Succeeded({"bolt.ZALPart"}), Succeeded({"bolt.ZALPart"}, {"Reused"})));
    EXPECT_EQ("downloaded m6.ZALPart", ReadFile(Parts() / "bolt.ZALPart"));
}

TEST_F(TemplateRoute, WarnsWithAnEmptyTextWithoutACatalog)
{
    std::filesystem::remove_all(Folder() / "installation");
    WriteBytes(Parts() / "bolt.ZALPart", "old");
    EXPECT_EQ(S_OK, Download());
    EXPECT_THAT(Receiver.Received, ElementsAre(Succeeded({"bolt.ZALPart"}, {""})));
}

TEST_F(TemplateRoute, FailsForARequestWithoutAnAddress)
{
    EXPECT_EQ(E_FAIL, Start(R"({"attributes": {"fileName": "bolt"}})"));
    EXPECT_THAT(Receiver.Received, IsEmpty());
    EXPECT_THAT(Requested(), IsEmpty());
    EXPECT_FALSE(exists(Temp() / "VelmartTemplates"));
}

// ---------------------------------------------------------------------------------------------
// Templates at hand

TEST_F(TemplateRoute, FetchesATemplateOnce)
{
    FetchBothTemplates();
    Announce(
        R"({"zalpartTemplate": "https://velmart.example/other",
                 "zalproductTemplate": "https://velmart.example/other"})");
    EXPECT_EQ(S_OK, Download("second"));
    EXPECT_THAT(Requested(), ElementsAre(ItemUrl, PartUrl, ProductUrl, ItemUrl)) << "a new address changes nothing";
    EXPECT_THAT(Stored(), ElementsAre(PartTemplate().string(), ProductTemplate().string()));
}

TEST_F(TemplateRoute, FetchesATemplateAgainWhoseFileIsGone)
{
    FetchBothTemplates();
    std::filesystem::remove(ProductTemplate());
    EXPECT_EQ(S_OK, Download("second"));
    EXPECT_THAT(Requested(), ElementsAre(ItemUrl, PartUrl, ProductUrl, ItemUrl, ProductUrl));
    EXPECT_TRUE(exists(ProductTemplate()));
}

TEST_F(TemplateRoute, ForgetsATemplateWhoseFileIsGoneWithoutAnAddress)
{
    FetchBothTemplates();
    std::filesystem::remove(PartTemplate());
    Announce("{}");
    EXPECT_EQ(S_OK, Download("second"));
    WriteBytes(PartTemplate(), "back again");
    EXPECT_THAT(Stored(), ElementsAre("", ProductTemplate().string()));
}

TEST_F(TemplateRoute, FetchesTheOneTemplateThatIsAnnounced)
{
    Announce(R"({"zalpartTemplate": "", "zalproductTemplate": "https://velmart.example/product-template"})");
    ServeTemplates();
    ServeFile(ItemUrl, "a.ZALPart", "part");
    EXPECT_EQ(S_OK, Download());
    EXPECT_THAT(Requested(), ElementsAre(ItemUrl, ProductUrl));
    EXPECT_EQ("part", ReadFile(Parts() / "bolt.ZALPart")) << "moved, since there is no part template";
}

TEST_F(TemplateRoute, TakesTheOneFileOfAnArchiveAsTheTemplate)
{
    AnnouncePart();
    ServeArchive(PartUrl, {"start part.ZALPart"});
    ServeFile(ItemUrl, "a.stp");
    EXPECT_EQ(S_OK, Download());
    EXPECT_THAT(Stored(), ElementsAre((Temp() / "VelmartTemplates" / "start part.ZALPart").string(), ""));
}

TEST_F(TemplateRoute, TakesNoTemplateOfAnArchiveWithTwoFilesOrNone)
{
    AnnounceBoth();
    ServeArchive(PartUrl, {"one.ZALPart", "two.ZALPart"});
    Transport().Answer(ProductUrl, {.headers = {{"content-type", "application/zip"}}, .chunks = {"no archive"}});
    ServeFile(ItemUrl, "a.stp");
    EXPECT_EQ(S_OK, Download());
    EXPECT_THAT(Stored(), ElementsAre("", ""));
    EXPECT_THAT(Receiver.Received, ElementsAre(Succeeded({"bolt.stp"})));
}

TEST_F(TemplateRoute, TakesAFolderOfTemplatesThatIsThere)
{
    std::filesystem::create_directory(Temp() / "VelmartTemplates");
    WriteBytes(PartTemplate(), "of an earlier session");
    AnnounceBoth();
    ServeFile(PartUrl, "any.ZALPart", "fresh");
    ServeFile(ProductUrl, "any.ZALProduct");
    ServeFile(ItemUrl, "a.stp");
    EXPECT_EQ(S_OK, Download());
    EXPECT_EQ("fresh", ReadFile(PartTemplate())) << "it was not stored in this one";
}

// ---------------------------------------------------------------------------------------------
// Transfers that fail

TEST_F(TemplateRoute, TellsTwiceThatTheItemCouldNotBeFetched)
{
    AnnounceBoth();
    for (const TransferEnd end : {TransferEnd::Failed, TransferEnd::Cancelled}) {
        Receiver.Received.clear();
        ServeEnd(ItemUrl, end);
        EXPECT_EQ(S_OK, Download());
        EXPECT_THAT(Receiver.Received, ElementsAre(Failed(), Failed()));
    }
    EXPECT_THAT(Requested(), ElementsAre(ItemUrl, ItemUrl)) << "the templates are not tried";
    EXPECT_THAT(FilesBelow(Parts()), IsEmpty());
}

TEST_F(TemplateRoute, KeepsTheStoredTemplatesWhenTheItemCannotBeFetched)
{
    FetchBothTemplates();
    ServeEnd(ItemUrl, TransferEnd::Failed);
    EXPECT_EQ(S_OK, Download("second"));
    EXPECT_THAT(Stored(), ElementsAre(PartTemplate().string(), ProductTemplate().string()));
    EXPECT_THAT(FilesBelow(Parts()), ElementsAre("first.stp"));
}

TEST_F(TemplateRoute, TellsTwiceInsideTheCallThatTheItemCannotBeRequested)
{
    Transport().RefuseNext();
    EXPECT_EQ(S_OK, Start(Request("bolt")));
    EXPECT_THAT(Receiver.Received, ElementsAre(Failed(), Failed()));
    EXPECT_EQ(nullptr, Surface().Find(ProgressWindow));
}

TEST_F(TemplateRoute, TellsFailureThenSuccessWhenATemplateCannotBeFetched)
{
    AnnounceBoth();
    for (const TransferEnd end : {TransferEnd::Failed, TransferEnd::Cancelled}) {
        Receiver.Received.clear();
        std::filesystem::remove(Parts() / "bolt.ZALPart");
        ServeFile(ItemUrl, "m6.ZALPart", "part");
        ServeEnd(PartUrl, end);
        EXPECT_EQ(S_OK, Download());
        EXPECT_THAT(Receiver.Received, ElementsAre(Failed(), Succeeded({"bolt.ZALPart"})));
        EXPECT_EQ("part", ReadFile(Parts() / "bolt.ZALPart")) << "without the template";
    }
}

TEST_F(TemplateRoute, AppliesTheTemplateThatCameBeforeAFailure)
{
    AnnounceBoth();
    ServeFile(ItemUrl, "m6.ZALPart");
    ServeFile(PartUrl, "any.ZALPart");
    ServeEnd(ProductUrl, TransferEnd::Failed);
    AddPartAndTemplate("VLFiles.ZALPart");
    EXPECT_EQ(S_OK, Download());
    EXPECT_THAT(Receiver.Received, ElementsAre(Failed(), Succeeded({"bolt.ZALPart"})));
    EXPECT_EQ("template", ReadFile(Parts() / "bolt.ZALPart"));
    EXPECT_THAT(Stored(), ElementsAre(PartTemplate().string(), ""));
}

TEST_F(TemplateRoute, EndsInSilenceWhenALaterRequestCannotBeSent)
{
    AnnounceBoth();
    EXPECT_EQ(S_OK, Start(Request("bolt")));
    Transport().RefuseNext();
    EndWithFile("m6.ZALPart");
    Loop().RunUntilIdle();
    EXPECT_THAT(Receiver.Received, IsEmpty());
    EXPECT_EQ("content", ReadFile(Temp() / "VLFiles.ZALPart"));
    EXPECT_THAT(FilesBelow(Parts()), IsEmpty());
}

TEST_F(TemplateRoute, GoesOnAfterAReceiverThatStartsAnotherDownload)
{
    ServeEnd(ItemUrl, TransferEnd::Failed);
    Receiver.OnReceipt = [&] {
        if (Receiver.Received.size() == 1)
            Start(R"({"downloadUrl": "https://velmart.example/next", "attributes": {"fileName": "next"}})");
    };
    ServeFile("https://velmart.example/next", "a.stp");
    EXPECT_EQ(S_OK, Download());
    EXPECT_THAT(Receiver.Received, ElementsAre(Failed(), Failed(), Succeeded({"next.stp"})));
}

TEST_F(TemplateRoute, DownloadThatAReceiverStartsInsideTheCallIsTheOneThatRuns)
{
    Receiver.OnReceipt = [&] {
        if (Receiver.Received.size() == 1)
            Start(Request("inner"));
    };
    Transport().RefuseNext();
    EXPECT_EQ(S_OK, Start(Request("outer")));
    EXPECT_THAT(Receiver.Received, ElementsAre(Failed(), Failed()));
    const ScriptedTransport::Script& inner = Transport().Last();
    EXPECT_TRUE(inner.IsRunning());
    EXPECT_EQ(S_OK, Start(Request("next")));
    EXPECT_FALSE(inner.IsRunning()) << "it gives way to the next one";
    EXPECT_TRUE(Transport().Last().IsRunning());
}

// ---------------------------------------------------------------------------------------------
// Runs that fail

TEST_F(TemplateRoute, DeletesTheSourcesButNotTheTemplateThatIsRefused)
{
    AnnounceBoth();
    ServeFile(ItemUrl, "m6.ZALPart");
    ServeTemplates();
    ScriptedWorkspaceDocument& part = Workspace.AddPart(PartTemplate(), "template");
    part.mainTool->shape = &Workspace.AddObject(&part, "pad");
    Workspace.AddSolidPart(Temp() / "VLFiles.ZALPart", "source");
    EXPECT_EQ(S_OK, Download());
    EXPECT_THAT(Receiver.Received, ElementsAre(Failed()));
    EXPECT_FALSE(exists(Temp() / "VLFiles.ZALPart"));
    EXPECT_TRUE(exists(PartTemplate()));
    EXPECT_THAT(Stored(), ElementsAre(PartTemplate().string(), ProductTemplate().string()));
    EXPECT_THAT(FilesBelow(Parts()), IsEmpty());
}

TEST_F(TemplateRoute, DeletesTheSourcesBeforeItTellsTheEnd)
{
    ServeArchive(ItemUrl, {"p.ZALPart", "a.ZALProduct"});
    WriteBytes(Parts() / "p.ZALPart", "old");
    bool sourceThere = true;
    Receiver.OnReceipt = [&] { sourceThere = exists(Temp() / "p.ZALPart"); };
    EXPECT_EQ(S_OK, Download());
    EXPECT_THAT(Receiver.Received, ElementsAre(Succeeded({"bolt.ZALProduct", "p.ZALPart"})));
    EXPECT_FALSE(sourceThere);
    EXPECT_EQ("old", ReadFile(Parts() / "p.ZALPart"));

    AnnouncePart();
    ServeArchive(ItemUrl, {"p.ZALPart"});
    ServeFile(PartUrl, "no document.ZALPart");
    sourceThere = true;
    EXPECT_EQ(S_OK, Download("nut"));
    EXPECT_EQ(Failed(), Receiver.Received.back());
    EXPECT_FALSE(sourceThere);
}

TEST_F(TemplateRoute, KeepsThePartsThatWereWrittenBeforeAFailure)
{
    AnnounceBoth();
    ServeArchive(ItemUrl, {"a.ZALProduct", "p.ZALPart"});
    ServeTemplates();
    AddAssembly().saveResult = E_FAIL;
    EXPECT_EQ(S_OK, Download());
    EXPECT_THAT(Receiver.Received, ElementsAre(Failed())) << "without the files";
    EXPECT_TRUE(exists(Parts() / "bolt_01.ZALPart"));
    EXPECT_FALSE(exists(Temp() / "p.ZALPart"));
}

TEST_F(TemplateRoute, DropsTheWarningsOfARunThatFails)
{
    ServeArchive(ItemUrl, {"a.ZALProduct", "b.ZALProduct"});
    SetSettings(Folder() / "gone", false);
    WriteBytes(Folder() / "gone", "a file");
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
    EXPECT_EQ(S_OK, Download());
    EXPECT_THAT(Requested(), IsEmpty());
    const std::filesystem::path folder = Folder() / "chosen";
    create_directory(folder);
    Surface().EnterText("ZALVelmartDownloadLocationDlg", "VLDownloadLocationEditor", FromUtf8(folder.string()));
    EXPECT_EQ(PushResult::Done, Surface().Push("ZALVelmartDownloadLocationDlg", "OK"));
    Loop().RunUntilIdle();
    EXPECT_THAT(Receiver.Received,
                ElementsAre(WithFiles(Notification::DownloadSucceeded, {(folder / "bolt.stp").string()})));
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

TEST_F(TemplateRoute, EndsInSilenceAfterTheDialogWithoutAnAddress)
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
    EXPECT_EQ(S_OK, Start(Request("first")));
    ScriptedTransport::Script& first = Transport().Last();
    EXPECT_EQ(S_OK, Start(Request("second")));
    EXPECT_EQ(2U, Transport().Count());
    EXPECT_FALSE(first.IsRunning());
    EndWithFile("a.stp");
    EXPECT_THAT(Receiver.Received, ElementsAre(Succeeded({"second.stp"})));
}

TEST_F(TemplateRoute, DoesNothingWhenTheDownloaderIsGone)
{
    EXPECT_EQ(S_OK, Start(Request("bolt")));
    Probe.EndDownloader();
    EXPECT_FALSE(Transport().Last().IsRunning());
    EXPECT_THAT(Receiver.Received, IsEmpty());
}

TEST_F(TemplateRoute, GivesNoFilesToADownloaderThatIsGone)
{
    EXPECT_EQ(S_OK, Start(Request("bolt")));
    const auto download = Hold(Probe.FullDownload());
    Probe.EndDownloader();
    Transport().Last().End();
    EXPECT_EQ(0, CountOf("ZALVelmartFileDownloadCompleteNotification"));
    EXPECT_THAT(FilesBelow(Parts()), IsEmpty());
}

TEST_F(TemplateRoute, DownloaderMayEndInsideTheNotification)
{
    ServeEnd(ItemUrl, TransferEnd::Failed);
    Receiver.OnReceipt = [&] {
        if (Receiver.Received.size() == 1)
            Probe.EndDownloader();
    };
    EXPECT_EQ(S_OK, Download());
    EXPECT_THAT(Receiver.Received, ElementsAre(Failed(), Failed())) << "it ends after its completion";
}

TEST_F(TemplateRoute, UsesTheFolderAndTheNamesOfItsOwnStart)
{
    for (const char* name : {"stored.ZALPart", "stored.ZALProduct", "later.ZALPart"})
        WriteBytes(Folder() / name, "template");
    const std::string part = (Folder() / "stored.ZALPart").string();
    const std::string product = (Folder() / "stored.ZALProduct").string();
    ZALVliTemplateSupportUtilities::StoreTemplatePathes(FromUtf8(part), FromUtf8(product));
    std::filesystem::create_directory(Folder() / "other");
    EXPECT_EQ(S_OK, Start(Request("bolt")));

    SetSettings(Folder() / "other", true);
    AnnounceBoth();
    Probe.SetDownloadRequest(Json(Request("nut")));
    ZALVliTemplateSupportUtilities::StoreTemplatePathes(FromUtf8((Folder() / "later.ZALPart").string()), {});
    EndWithFile("a.stp");

    EXPECT_THAT(Receiver.Received, ElementsAre(Succeeded({"bolt.stp"})));
    EXPECT_THAT(FilesBelow(Folder() / "other"), IsEmpty());
    EXPECT_THAT(Stored(), ElementsAre(part, product));
    EXPECT_EQ(1U, Transport().Count()) << "what was announced later is not fetched";
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
    EXPECT_EQ(S_OK, Download());
    ASSERT_FALSE(cursors.empty());
    EXPECT_EQ(1, cursors.front());
}

TEST_F(TemplateRoute, RunsWithoutAFrame)
{
    ConfigureFrame({.exists = false});
    ServeFile(ItemUrl, "a.stp");
    EXPECT_EQ(S_OK, Download());
    EXPECT_THAT(Receiver.Received, ElementsAre(Succeeded({"bolt.stp"})));
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
    EXPECT_EQ(S_OK, Download());
    EXPECT_THAT(there, ElementsAre(false, true));
    EXPECT_EQ(1, cursorsAtFirst);
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
            EXPECT_EQ(S_OK, result);
            EXPECT_NE(runs, ends.Failed > 0);
            EXPECT_TRUE(runs || memory.HasRunOut());
            EXPECT_EQ(0, ends.Succeeded);
            if (runs)
                Transport().Last().End(TransferEnd::Failed);
        });
        EXPECT_GT(failures, 20);
    }
}

TEST_F(TemplateRoute, FileThatIsThereIsToldOrTheDownloadFails)
{
    WriteBytes(Parts() / "bolt.ZALPart", "old");
    Receiver.RemoveSubscriberCallbacks(&Downloader());
    const ZALOmxAny request = Json(R"({"attributes": {"fileName": "bolt"}})");
    const ZALUnicodeString folder = PartsFolder();
    const int failures = WithEachAllocationFailing([&](FailingMemory& memory) {
        CompletionCounter ends(&Downloader());
        HRESULT result = E_FAIL;
        memory.During([&] { result = Probe.StartDownloadAndApplyTemplates(request, folder); });
        EXPECT_TRUE(result == S_OK || memory.HasRunOut());
        EXPECT_EQ(result == S_OK ? 1 : 0, ends.Succeeded + ends.Failed);
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
        EXPECT_EQ(S_OK, Start(Request("bolt")));
        Transport().Last().Head(200, FileNamed("a.stp"));
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
