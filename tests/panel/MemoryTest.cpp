// The addin when memory runs out: what it answers, what it leaves behind, and whether the next attempt succeeds.

#include "tests/panel/PanelFixture.h"
#include "tests/support/FailingMemory.h"
#include "tests/support/Objects.h"

#include "host/dialog_engine.h"
#include "host/frame.h"
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

    static HRESULT Send(const Addin& addin, const std::string& message) { return addin->OnJSMessage(message.c_str()); }
    static std::size_t LayoutSubscriptions()
    {
        return SubscribersOf(ZALFrmLayout::GetCurrentLayout(), ZALWorkbenchChanged::ClassName()).size();
    }
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
        HRESULT result = E_FAIL;
        memory.During([&] { result = addin->SetAccessDialog(panel.get()); });
        EXPECT_EQ(result, S_OK);
        EXPECT_EQ(addin->SetAccessDialog(panel.get()), S_OK);
        EXPECT_EQ(LayoutSubscriptions(), 1U);
        EXPECT_EQ(addin->SearchByUpload("http://x/?a", "q"), S_OK);
        EXPECT_EQ(panel->urls.size(), 1U);
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
        HRESULT result = E_FAIL;
        const ZALUnicodeString url = PageElsewhere;
        memory.During([&] { result = addin->OnPageUrl(url); });
        EXPECT_EQ(result, S_OK);
        // Nobody waits for a change that is never told.
        EXPECT_EQ(addin->GetOpApiStatus() == OpApiOver, listener.Calls() == 1);
        EXPECT_EQ(addin->OnPageUrl(PageElsewhere), S_OK);
        EXPECT_EQ(addin->GetOpApiStatus(), OpApiOver);
        EXPECT_EQ(listener.Calls(), 1);
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
            HRESULT result = E_FAIL;
            const ZALUnicodeString url = CataloguePage.c_str();
            memory.During([&] { result = addin->OnPageUrl(url); });
            EXPECT_EQ(result, S_OK);
            EXPECT_EQ(OpenDescriptors(), descriptors);
            EXPECT_EQ(addin->OnPageUrl(CataloguePage.c_str()), S_OK);
            ASSERT_GE(panel->scripts.size(), 1U);
            for (const std::string& script : panel->scripts)
                EXPECT_EQ(script, "let context = 'SidePanel'; // and SidePanel");
            EXPECT_EQ(ReferencesOf(panel.get()), 1U);
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
            HRESULT result = E_INVALIDARG;
            const ZALUnicodeString url = UploadAddress;
            const ZALUnicodeString query = Query;
            memory.During([&] { result = addin->SearchByUpload(url, query); });
            EXPECT_TRUE(result == S_OK || result == E_FAIL);
            if (FAILED(result)) {
                EXPECT_EQ(addin->SearchByUpload(UploadAddress, Query), S_OK);
            }
            const Texts& asked = ready ? panel->scripts : panel->urls;
            EXPECT_EQ(asked, Texts{ready ? std::string("OpApi.sendMessage('search', {query: '") + Query + "'});"
                                         : UploadAddress + std::string("&extq=a%20query%20of%20some%20length%20%26"
                                                                       "%20with%20blanks")});
            EXPECT_EQ(ReferencesOf(panel.get()), 1U);
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
        HRESULT result = E_INVALIDARG;
        memory.During([&] { result = addin->OnJSMessage(text); });
        EXPECT_TRUE(result == S_OK || result == E_FAIL);
        EXPECT_EQ(addin->GetOpApiStatus() == OpApiReady, listener.Calls() == 1);
        if (FAILED(result)) {
            EXPECT_EQ(addin->OnJSMessage(text), S_OK);
        }
        EXPECT_EQ(addin->GetOpApiStatus(), OpApiReady);
        EXPECT_EQ(listener.Calls(), 1);
        EXPECT_TRUE(IsHeaderAvailable(FindSimilarHeader, ZALHeaderInGlobalMode));
        ZALUnicodeString url;
        EXPECT_EQ(addin->GetSearchByUploadUrl(url), S_OK);
        EXPECT_EQ(ToUtf8(url), UploadAddress);
    });
    EXPECT_GT(failures, 10);
}

TEST_F(PanelMemory, TheUploadAddressIsWholeOrTheAnswerIsAFailure)
{
    const Addin addin(new ZALVelmartMeridiaAccessAddin);
    Send(addin, Message("velmart_ready", std::string(R"({"searchByUploadUrl":")") + UploadAddress + "\"}"));
    WithEachAllocationFailing([&](FailingMemory& memory) {
        ZALUnicodeString url;
        HRESULT result = E_INVALIDARG;
        memory.During([&] { result = addin->GetSearchByUploadUrl(url); });
        EXPECT_EQ(result, memory.HasRunOut() ? E_FAIL : S_OK);
        if (SUCCEEDED(result)) {
            EXPECT_EQ(ToUtf8(url), UploadAddress);
        }
    });
}

class DownloadWithoutMemory : public PanelMemory, public ::testing::WithParamInterface<const char*> {};

TEST_P(DownloadWithoutMemory, StaysSubscribedOnlyWhileItRuns)
{
    const std::string message = Message(GetParam(), RemoteFile);
    WithEachAllocationFailing([&](FailingMemory& memory) {
        const Addin addin(new ZALVelmartMeridiaAccessAddin);
        const ZALUnicodeString text = message.c_str();
        HRESULT result = E_INVALIDARG;
        memory.During([&] { result = addin->OnJSMessage(text); });
        EXPECT_TRUE(result == S_OK || result == E_FAIL);
        const bool isRunning = Transport().Count() > 0 && Transport().Last().IsRunning();
        if (FAILED(result) || !isRunning) {
            EXPECT_EQ(Waiting(), 0U);
        } else {
            EXPECT_EQ(Waiting(), 1U);
        }
        if (isRunning)
            Transport().Last().End(TransferEnd::Failed);
        Loop().RunUntilIdle();
        EXPECT_EQ(Waiting(), 0U);
        EXPECT_EQ(Send(addin, Message(GetParam(), RemoteFile)), S_OK);
        Transport().Last().End(TransferEnd::Failed);
        Loop().RunUntilIdle();
    });
}

INSTANTIATE_TEST_SUITE_P(Events, DownloadWithoutMemory, ::testing::Values("velmart_open", "velmart_download"));

class CommandWithoutMemory : public PanelMemory, public ::testing::WithParamInterface<const char*> {};

TEST_P(CommandWithoutMemory, RunsOrIsNotThere)
{
    ConfigureFrame({.editor = true});
    const std::string message = Message(GetParam(), RemoteFile);
    const int failures = WithEachAllocationFailing([&](FailingMemory& memory) {
        const Addin addin(new ZALVelmartMeridiaAccessAddin);
        const ZALUnicodeString text = message.c_str();
        HRESULT result = E_INVALIDARG;
        memory.During([&] { result = addin->OnJSMessage(text); });
        EXPECT_EQ(result, memory.HasRunOut() ? E_FAIL : S_OK);
        EXPECT_EQ(DialogEngine::Current().Commands().size(), SUCCEEDED(result) ? 1U : 0U);
        EXPECT_EQ(Waiting(), 0U);
        Loop().RunUntilIdle();
        DialogEngine::Current().EndAll();
        Loop().RunUntilIdle();
    });
    EXPECT_GT(failures, 10);
}

INSTANTIATE_TEST_SUITE_P(Events, CommandWithoutMemory, ::testing::Values("velmart_insert", "velmart_replace"));

TEST_F(PanelMemory, ARefusedStartIsAFailureAndLeavesNoSubscription)
{
    const std::string message = Message("velmart_open", "{}");
    WithEachAllocationFailing([&](FailingMemory& memory) {
        const Addin addin(new ZALVelmartMeridiaAccessAddin);
        const ZALUnicodeString text = message.c_str();
        HRESULT result = S_OK;
        memory.During([&] { result = addin->OnJSMessage(text); });
        EXPECT_EQ(result, E_FAIL);
        EXPECT_EQ(Waiting(), 0U);
        Loop().RunUntilIdle();
    });
}

// ---------------------------------------------------------------------------------------------
// The end

TEST_F(PanelMemory, TheEndOfTheAddinNeedsNone)
{
    const int failures = WithEachAllocationFailing([](FailingMemory& memory) {
        Addin addin(new ZALVelmartMeridiaAccessAddin);
        addin->SetAccessDialog(nullptr);
        Send(addin, Message("velmart_ready"));
        memory.During([&] { addin.reset(); });
        EXPECT_EQ(LayoutSubscriptions(), 0U);
        ZALCommandHeader* header = ZALCommandHeader::GetHeaderFromList(FindSimilarHeader, 0);
        header->SetAvailability(ZALHeaderInGlobalMode, 0);
    });
    EXPECT_GT(failures, 0);
}

// ---------------------------------------------------------------------------------------------
// The adapter

TEST_F(PanelMemory, AnAdapterIsWholeOrNotThere)
{
    const int failures = WithEachAllocationFailing([](FailingMemory& memory) {
        const Addin addin(new ZALVelmartMeridiaAccessAddin);
        ZALBaseUnknown* made = nullptr;
        memory.During([&] { made = CreateTIEZALIMeridiaAccessDialogAddinZALVelmartMeridiaAccessAddin(addin.get()); });
        if (!made) {
            EXPECT_EQ(ReferencesOf(addin.get()), 1U);
            EXPECT_EQ(ZALSysGetLinkedAdapter(addin.get(), AddinInterface), nullptr);
            made = CreateTIEZALIMeridiaAccessDialogAddinZALVelmartMeridiaAccessAddin(addin.get());
        }
        const Owned<ZALBaseUnknown> adapter(made);
        ASSERT_TRUE(adapter);
        EXPECT_EQ(ReferencesOf(adapter.get()), 1U);
        EXPECT_EQ(ReferencesOf(addin.get()), 2U);
        EXPECT_EQ(Owned<ZALBaseUnknown>(ZALSysGetLinkedAdapter(addin.get(), AddinInterface)), adapter);
    });
    EXPECT_GT(failures, 0);
}

TEST_F(PanelMemory, TheRecordOfTheAdapterIsMadeAtTheNextNeed)
{
    WithEachAllocationFailing([](FailingMemory& memory) {
        const ZALMetaClass* record = nullptr;
        memory.During([&] { record = TIEZALIMeridiaAccessDialogAddin::MetaObject(); });
        EXPECT_EQ(record == nullptr, memory.HasRunOut());
    });
    ASSERT_TRUE(TIEZALIMeridiaAccessDialogAddin::MetaObject());
    EXPECT_EQ(TIEZALIMeridiaAccessDialogAddin::MetaObject()->GetKind(), ZALMetaAdapter);
}

// ---------------------------------------------------------------------------------------------
// Scripts

TEST_F(PanelMemory, AScriptIsReadWholeOrTheAnswerIsAFailure)
{
    const struct {
        std::string bytes;
        std::string text;
    } files[] = {{"let a = 'a text of some length \u20AC';", "let a = 'a text of some length \u20AC';"},
                 {"let a = 'a text of some length \xE4';", "let a = 'a text of some length \u00E4';"}};
    for (const auto& file : files) {
        std::filesystem::create_directories(Folder() / "installation");
        std::ofstream(Folder() / "installation" / "a.js", std::ios::binary) << file.bytes;
        const int failures = WithEachAllocationFailing([&](FailingMemory& memory) {
            const std::size_t descriptors = OpenDescriptors();
            ZALUnicodeString script;
            HRESULT result = E_INVALIDARG;
            const ZALUnicodeString path = "a.js";
            memory.During([&] { result = ZALVelmartIntegrationUtilities::GetJSScript(path, script); });
            EXPECT_EQ(OpenDescriptors(), descriptors);
            EXPECT_EQ(result, memory.HasRunOut() ? E_FAIL : S_OK);
            if (SUCCEEDED(result)) {
                EXPECT_EQ(ToUtf8(script), file.text);
            }
        });
        EXPECT_GT(failures, 2);
    }
}

TEST_F(PanelMemory, TheHandlersScriptIsWholeOrTheAnswerIsAFailure)
{
    InstallScript("let context = '%USAGE_CONTEXT%';");
    for (int round = 1; round <= 2; ++round)
        WithEachAllocationFailing([&](FailingMemory& memory) {
            ZALUnicodeString script;
            HRESULT result = E_INVALIDARG;
            memory.During([&] {
                result = ZALVelmartIntegrationUtilities::GetOpiAPIHandlersScript(
                    ZALVelmartIntegrationUtilities::DocChooser, script);
            });
            EXPECT_EQ(result, memory.HasRunOut() ? E_FAIL : S_OK);
            if (SUCCEEDED(result)) {
                EXPECT_EQ(ToUtf8(script), "let context = 'DocChooser';");
            }
        });
}

} // namespace

} // namespace openhost::testing
