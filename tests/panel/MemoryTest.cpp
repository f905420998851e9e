// The addin when memory runs out: what it answers, what it leaves behind, and whether the next attempt succeeds.

#include "tests/panel/PanelFixture.h"
#include "tests/support/WholeOrLost.h"

#include "host/dialog_engine.h"
#include "openhost/objects/Traces.h"
#include "panel/TIEZALIMeridiaAccessDialogAddin.h"
#include "utilities/ZALVelmartIntegrationUtilities.h"

#include <algorithm>

namespace openhost::testing {
namespace {

using Addin = Owned<ZALVelmartMeridiaAccessAddin>;

constexpr const char* AddinInterface = "ZALIMeridiaAccessDialogAddin";
/// Too long for the room that a text has in itself, as everything here that is to need memory.
constexpr const char* UploadAddress = "https://upload.example/search/by/upload";
constexpr const char* Query = "a query of some length & with blanks";

/// A panel that keeps what it is asked for.
class Panel final : public ZALIMeridiaAccessDialog {
public:
    HRESULT ExecuteScript(const ZALUnicodeString& script) override
    {
        scripts.push_back(ToUtf8(script));
        return S_OK;
    }
    HRESULT LoadUrl(const ZALUnicodeString& url) override
    {
        urls.push_back(ToUtf8(url));
        return S_OK;
    }
    HRESULT GetAddin(const ZALString&, ZALBaseUnknown**) override { return E_FAIL; }

    Texts scripts;
    Texts urls;
};

class PanelMemory : public HostFixture {
protected:
    PanelMemory() { SwitchTraces(false); }

    /// What `call` gives without the memory that `memory` takes.
    static HRESULT Result(FailingMemory& memory, const std::function<HRESULT()>& call)
    {
        HRESULT result = E_INVALIDARG;
        memory.During([&] { result = call(); });
        return result;
    }
    static HRESULT Send(const Addin& addin, const std::string& message) { return addin->OnJSMessage(message.c_str()); }
    static std::size_t Waiting()
    {
        return SubscribersOf(ZALVelmartFileDownloader::GetInstance(), CompleteClass).size();
    }
    static std::size_t OpenDescriptors()
    {
        const std::filesystem::directory_iterator all("/proc/self/fd");
        return static_cast<std::size_t>(std::distance(begin(all), end(all)));
    }
    void InstallScript(const std::string& bytes)
    {
        const std::filesystem::path folder = Folder() / "installation" / "webapps" / "ZALVelmartIntegrationJS";
        std::filesystem::create_directories(folder);
        std::ofstream(folder / "OpApiHandlers.js", std::ios::binary) << bytes;
    }
};

// ---------------------------------------------------------------------------------------------
// The panel

TEST_F(PanelMemory, AttachingAnswersWellAndCanBeDoneAgain)
{
    const int failures = WithEachAllocationFailing([](FailingMemory& memory) {
        const Addin addin(new ZALVelmartMeridiaAccessAddin);
        const Owned<Panel> panel(new Panel);
        EXPECT_EQ(S_OK, Result(memory, [&] { return addin->SetAccessDialog(panel.get()); }));
        EXPECT_EQ(S_OK, addin->SetAccessDialog(panel.get()));
        EXPECT_EQ(1U, LayoutSubscriptions());
        EXPECT_EQ(S_OK, addin->SearchByUpload("http://x/?a", "q"));
        EXPECT_EQ(1U, panel->urls.size());
    });
    EXPECT_GT(failures, 0);
}

TEST_F(PanelMemory, APageElsewhereIsAnsweredWellAndToldSometime)
{
    WithEachAllocationFailing([](FailingMemory& memory) {
        const Addin addin(new ZALVelmartMeridiaAccessAddin);
        Send(addin, Message("velmart_ready"));
        Listener listener;
        listener.Subscribe(addin.get(), StatusClass);
        const ZALUnicodeString url = PageElsewhere;
        const HRESULT result = Result(memory, [&] { return addin->OnPageUrl(url); });
        EXPECT_EQ(S_OK, result);
        // Nobody waits for a change that is never told.
        EXPECT_EQ(addin->GetOpApiStatus() == OpApiOver, listener.Calls() == 1);
        EXPECT_EQ(S_OK, addin->OnPageUrl(PageElsewhere));
        EXPECT_EQ(OpApiOver, addin->GetOpApiStatus());
        EXPECT_EQ(1, listener.Calls());
        EXPECT_FALSE(IsHeaderAvailable(FindSimilarHeader, ZALHeaderInGlobalMode));
    });
}

TEST_F(PanelMemory, APageOfTheCatalogueGetsTheWholeScriptOrNone)
{
    InstallScript("let context = '%USAGE_CONTEXT%'; // and %USAGE_CONTEXT%");
    // Once while the script is not loaded, and once while it is.
    for (int round = 1; round <= 2; ++round)
        WithEachAllocationFailing([](FailingMemory& memory) {
            const Addin addin(new ZALVelmartMeridiaAccessAddin);
            const Owned<Panel> panel(new Panel);
            addin->SetAccessDialog(panel.get());
            const std::size_t descriptors = OpenDescriptors();
            const ZALUnicodeString url = CataloguePage.c_str();
            const HRESULT result = Result(memory, [&] { return addin->OnPageUrl(url); });
            EXPECT_EQ(S_OK, result);
            EXPECT_EQ(descriptors, OpenDescriptors());
            EXPECT_EQ(S_OK, addin->OnPageUrl(CataloguePage.c_str()));
            ASSERT_GE(panel->scripts.size(), 1U);
            for (const std::string& script : panel->scripts)
                EXPECT_EQ("let context = 'SidePanel'; // and SidePanel", script);
            EXPECT_EQ(1U, ReferencesOf(panel.get()));
        });
}

TEST_F(PanelMemory, ASearchIsForTheWholeQueryOrFails)
{
    for (const bool ready : {false, true})
        WithEachAllocationFailing([&](FailingMemory& memory) {
            const Addin addin(new ZALVelmartMeridiaAccessAddin);
            const Owned<Panel> panel(new Panel);
            addin->SetAccessDialog(panel.get());
            if (ready)
                Send(addin, Message("velmart_ready"));
            const ZALUnicodeString url = UploadAddress;
            const ZALUnicodeString query = Query;
            const HRESULT result = Result(memory, [&] { return addin->SearchByUpload(url, query); });
            EXPECT_TRUE(result == S_OK || result == E_FAIL);
            if (FAILED(result)) {
                EXPECT_EQ(S_OK, addin->SearchByUpload(UploadAddress, Query));
            }
            const Texts& asked = ready ? panel->scripts : panel->urls;
            EXPECT_EQ(asked, Texts{ready ? std::string("OpApi.sendMessage('search', {query: '") + Query + "'});"
                                         : UploadAddress + std::string("&extq=a%20query%20of%20some%20length%20%26"
                                                                       "%20with%20blanks")});
            EXPECT_EQ(1U, ReferencesOf(panel.get()));
        });
}

// ---------------------------------------------------------------------------------------------
// Messages

TEST_F(PanelMemory, ReadyFailsOrIsToldAndCanBeSaidAgain)
{
    const std::string message =
        Message("velmart_ready", std::string(R"({"searchByUploadUrl":")") + UploadAddress + "\"}");
    const int failures = WithEachAllocationFailing([&](FailingMemory& memory) {
        const Addin addin(new ZALVelmartMeridiaAccessAddin);
        Listener listener;
        listener.Subscribe(addin.get(), StatusClass);
        const ZALUnicodeString text = message.c_str();
        const HRESULT result = Result(memory, [&] { return addin->OnJSMessage(text); });
        EXPECT_TRUE(result == S_OK || result == E_FAIL);
        EXPECT_EQ(addin->GetOpApiStatus() == OpApiReady, listener.Calls() == 1);
        if (FAILED(result)) {
            EXPECT_EQ(S_OK, addin->OnJSMessage(text));
        }
        EXPECT_EQ(OpApiReady, addin->GetOpApiStatus());
        EXPECT_EQ(1, listener.Calls());
        EXPECT_TRUE(IsHeaderAvailable(FindSimilarHeader, ZALHeaderInGlobalMode));
        ZALUnicodeString url;
        EXPECT_EQ(S_OK, addin->GetSearchByUploadUrl(url));
        EXPECT_EQ(UploadAddress, ToUtf8(url));
    });
    EXPECT_GT(failures, 10);
}

TEST_F(PanelMemory, ADownloadStaysSubscribedOnlyWhileItRuns)
{
    for (const char* event : {"velmart_open", "velmart_download"}) {
        const std::string message = Message(event, RemoteFile);
        WithEachAllocationFailing([&](FailingMemory& memory) {
            const Addin addin(new ZALVelmartMeridiaAccessAddin);
            const ZALUnicodeString text = message.c_str();
            const HRESULT result = Result(memory, [&] { return addin->OnJSMessage(text); });
            EXPECT_TRUE(result == S_OK || result == E_FAIL);
            const bool isRunning = Transport().Count() > 0 && Transport().Last().IsRunning();
            EXPECT_EQ(SUCCEEDED(result) && isRunning ? 1U : 0U, Waiting());
            if (isRunning)
                Transport().Last().End(TransferEnd::Failed);
            Loop().RunUntilIdle();
            EXPECT_EQ(0U, Waiting());
            EXPECT_EQ(S_OK, Send(addin, message));
            Transport().Last().End(TransferEnd::Failed);
            Loop().RunUntilIdle();
        });
    }
}

TEST_F(PanelMemory, TheUserIsToldOfFilesWhoseListHasNoRoom)
{
    constexpr int count = 37;
    ZALListValZALUnicodeString files;
    for (int file = 0; file < count; ++file)
        files.Append("/parts/a.ZALPart");
    const Addin addin(new ZALVelmartMeridiaAccessAddin);
    EXPECT_EQ(S_OK, Send(addin, Message("velmart_open", RemoteFile)));
    Complete complete(files, Complete::DownloadSucceeded);
    {
        const NoMemoryForSize memory(count * sizeof(ZALUnicodeString));
        DispatchCallbacks(ZALVelmartFileDownloader::GetInstance(), &complete);
    }
    ASSERT_EQ(1U, Surface().Questions().size());
    EXPECT_EQ("FileDownloadErrorNotify", Surface().Questions()[0].name);
    Transport().Last().End(TransferEnd::Failed);
    Loop().RunUntilIdle();
}

TEST_F(PanelMemory, ACommandRunsOrIsNotThere)
{
    ConfigureFrame({.editor = true});
    for (const char* event : {"velmart_insert", "velmart_replace"}) {
        const std::string message = Message(event, RemoteFile);
        const int failures = WithEachAllocationFailing([&](FailingMemory& memory) {
            const Addin addin(new ZALVelmartMeridiaAccessAddin);
            const ZALUnicodeString text = message.c_str();
            const HRESULT result = Result(memory, [&] { return addin->OnJSMessage(text); });
            EXPECT_EQ(memory.HasRunOut() ? E_FAIL : S_OK, result);
            EXPECT_EQ(SUCCEEDED(result) ? 1U : 0U, DialogEngine::Current().Commands().size());
            EXPECT_EQ(0U, Waiting());
            Loop().RunUntilIdle();
            DialogEngine::Current().EndAll();
            Loop().RunUntilIdle();
        });
        EXPECT_GT(failures, 10);
    }
    EXPECT_TRUE(Surface().Questions().empty());
}

TEST_F(PanelMemory, ARefusedStartIsAFailureAndLeavesNoSubscription)
{
    const std::string message = Message("velmart_open", "{}");
    WithEachAllocationFailing([&](FailingMemory& memory) {
        const Addin addin(new ZALVelmartMeridiaAccessAddin);
        const ZALUnicodeString text = message.c_str();
        HRESULT result = S_OK;
        memory.During([&] { result = addin->OnJSMessage(text); });
        EXPECT_EQ(E_FAIL, result);
        EXPECT_EQ(0U, Waiting());
        Loop().RunUntilIdle();
    });
}

TEST_F(PanelMemory, TheEndOfTheAddinNeedsNone)
{
    const int failures = WithEachAllocationFailing([](FailingMemory& memory) {
        Addin addin(new ZALVelmartMeridiaAccessAddin);
        addin->SetAccessDialog(nullptr);
        Send(addin, Message("velmart_ready"));
        memory.During([&] { addin.reset(); });
        EXPECT_EQ(0U, LayoutSubscriptions());
        ZALCommandHeader* header = ZALCommandHeader::GetHeaderFromList(FindSimilarHeader, 0);
        header->SetAvailability(ZALHeaderInGlobalMode, 0);
    });
    EXPECT_GT(failures, 0);
}

TEST_F(PanelMemory, AnAdapterIsWholeOrNotThere)
{
    const int failures = WithEachAllocationFailing([](FailingMemory& memory) {
        const Addin addin(new ZALVelmartMeridiaAccessAddin);
        ZALBaseUnknown* made = nullptr;
        memory.During([&] { made = CreateTIEZALIMeridiaAccessDialogAddinZALVelmartMeridiaAccessAddin(addin.get()); });
        if (!made) {
            EXPECT_EQ(1U, ReferencesOf(addin.get()));
            EXPECT_EQ(nullptr, ZALSysGetLinkedAdapter(addin.get(), AddinInterface));
            made = CreateTIEZALIMeridiaAccessDialogAddinZALVelmartMeridiaAccessAddin(addin.get());
        }
        const Owned<ZALBaseUnknown> adapter(made);
        ASSERT_TRUE(adapter);
        EXPECT_EQ(1U, ReferencesOf(adapter.get()));
        EXPECT_EQ(2U, ReferencesOf(addin.get()));
        EXPECT_EQ(Owned<ZALBaseUnknown>(ZALSysGetLinkedAdapter(addin.get(), AddinInterface)), adapter);
    });
    EXPECT_GT(failures, 0);
}

TEST_F(PanelMemory, TheRecordOfTheAdapterIsMadeAtTheNextNeed)
{
    ExpectWholeOrLost(true, false, [] { return TIEZALIMeridiaAccessDialogAddin::MetaObject() != nullptr; });
    EXPECT_EQ(ZALMetaAdapter, TIEZALIMeridiaAccessDialogAddin::MetaObject()->GetKind());
}

struct TextCase {
    const char* name;
    HRESULT (*get)(const Addin& addin, ZALUnicodeString& text);
    std::string expected;

    friend std::ostream& operator<<(std::ostream& stream, const TextCase& text) { return stream << text.name; }
};

class TextWithoutMemory : public PanelMemory, public ::testing::WithParamInterface<TextCase> {};

TEST_P(TextWithoutMemory, IsWholeOrTheAnswerIsAFailure)
{
    const Addin addin(new ZALVelmartMeridiaAccessAddin);
    Send(addin, Message("velmart_ready", std::string(R"({"searchByUploadUrl":")") + UploadAddress + "\"}"));
    InstallScript("let context = '%USAGE_CONTEXT%'; // and %USAGE_CONTEXT%");
    std::ofstream(Folder() / "installation" / "u.js") << "let a = 'a text of some length \u20AC';";
    std::ofstream(Folder() / "installation" / "n.js") << "let a = 'a text of some length \xE4';";
    for (int round = 1; round <= 2; ++round) {
        const int failures = WithEachAllocationFailing([&](FailingMemory& memory) {
            const std::size_t descriptors = OpenDescriptors();
            ZALUnicodeString text;
            const HRESULT result = Result(memory, [&] { return GetParam().get(addin, text); });
            EXPECT_EQ(descriptors, OpenDescriptors());
            EXPECT_EQ(memory.HasRunOut() ? E_FAIL : S_OK, result);
            if (SUCCEEDED(result)) {
                EXPECT_EQ(GetParam().expected, ToUtf8(text));
            }
        });
        EXPECT_GT(failures, 0);
    }
}

namespace Utilities = ZALVelmartIntegrationUtilities;

const TextCase TextWithoutMemoryCases[] = {
    {"UploadAddress", [](const Addin& addin, ZALUnicodeString& text) { return addin->GetSearchByUploadUrl(text); },
     UploadAddress},
    {"Script", [](const Addin&, ZALUnicodeString& text) { return Utilities::GetJSScript("u.js", text); },
     "let a = 'a text of some length \u20AC';"},
    {"NarrowScript", [](const Addin&, ZALUnicodeString& text) { return Utilities::GetJSScript("n.js", text); },
     "let a = 'a text of some length \u00E4';"},
    {"HandlersScript",
     [](const Addin&, ZALUnicodeString& text) {
         return Utilities::GetOpiAPIHandlersScript(Utilities::DocChooser, text);
     },
     "let context = 'DocChooser'; // and DocChooser"}};

INSTANTIATE_TEST_SUITE_P(Texts, TextWithoutMemory, ::testing::ValuesIn(TextWithoutMemoryCases));

} // namespace
} // namespace openhost::testing
