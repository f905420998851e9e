#include "panel/ZALVelmartMeridiaAccessAddin.h"

#include "dialogs/Question.h"
#include "download/ZALVelmartFileDownloadCompleteNotification.h"
#include "download/ZALVelmartFileDownloader.h"
#include "host/dialog_engine.h"
#include "host/frame.h"
#include "insertion/DocumentInsertion.h"
#include "insertion/ZALVelmartMeridiaAccessAddinActionCmd.h"
#include "traces/ZALVelmartIntegrationDebug.h"
#include "utilities/JsonMembers.h"

#include <new>

VL_DEFINE_META_CLASS(ZALVelmartMeridiaAccessAddin, ZALEventSubscriber)
VL_DEFINE_META_CLASS(ZALVelmartMeridiaAccessAddin::OpApiStatusChangeNotif, ZALNotification)

namespace {

// The addin shares the catalog of the insert and replace command, on purpose.
const char* const MessageCatalog = "ZALVelmartMeridiaAccessAddinActionCmd";

} // namespace

ZALVelmartMeridiaAccessAddin::ZALVelmartMeridiaAccessAddin() = default;

ZALVelmartMeridiaAccessAddin::~ZALVelmartMeridiaAccessAddin()
{
    _Downloader = nullptr;
    try {
        ChangeFindSimilarHeaderAvailability(false);
    } catch (const std::bad_alloc&) {
        // The subscription ends all the same.
    }

    ZALFrmLayout* layout = ZALFrmLayout::GetCurrentLayout();
    if (_WorkbenchCallback != 0 && layout) {
        RemoveCallback(layout, _WorkbenchCallback);
        _WorkbenchCallback = 0;
    }
}

// ---------------------------------------------------------------------------------------------
// The panel

HRESULT ZALVelmartMeridiaAccessAddin::SetAccessDialog(ZALIMeridiaAccessDialog* dialog)
try {
    if (dialog)
        _AccessDialog = dialog->GetImpl(0);

    if (_WorkbenchCallback == 0) {
        if (ZALFrmLayout* layout = ZALFrmLayout::GetCurrentLayout())
            _WorkbenchCallback = AddCallback(layout, ZALWorkbenchChanged::ClassName(),
                                             &ZALVelmartMeridiaAccessAddin::OnWorkbenchChanged, nullptr);
    }

    return S_OK;
} catch (const std::bad_alloc&) {
    return S_OK;
}

HRESULT ZALVelmartMeridiaAccessAddin::GetSearchByUploadUrl(ZALUnicodeString& url) const
try {
    url = _SearchByUploadUrl;
    return _SearchByUploadUrl.GetLengthInChar() < 1 ? E_FAIL : S_OK;
} catch (const std::bad_alloc&) {
    return E_FAIL;
}

// ---------------------------------------------------------------------------------------------
// Messages of the page

HRESULT ZALVelmartMeridiaAccessAddin::OnJSMessage(const ZALUnicodeString& message)
try {
    const ZALOmxUTF8String text = message.ConvertToUTF8();
    ZALOmxJson json;
    json.ActivateConsistentDoubleUnstream();
    ZALOmxAny parsed;
    if (FAILED(json.parse(text, parsed)))
        return E_FAIL;

    const ZALOmxAny eventValue = MemberOf(parsed, "event");
    if (!IsString(eventValue))
        return E_FAIL;
    ZALOmxUTF8String event;
    eventValue.GetString(event);

    VL_TRACE("ZALVelmartMeridiaAccessAddin::OnJSMessage Event: " << event);

    ZALOmxAny content;
    if (FAILED(parsed.MapGetValue("content", content)))
        return E_FAIL;

    if (event == "velmart_ready") {
        MemberOf(content, "searchByUploadUrl").GetString(_SearchByUploadUrl);
        if (!_Downloader)
            _Downloader = ZALVelmartFileDownloader::GetInstance();
        if (_Downloader)
            _Downloader->SetTemplatesURLs(content);
        ChangeOpApiStatus(OpApiReady);
        ChangeFindSimilarHeaderAvailability(true);
        return S_OK;
    }

    if (event == "velmart_over") {
        ChangeOpApiStatus(OpApiOver);
        ChangeFindSimilarHeaderAvailability(false);
        return S_OK;
    }

    if (event == "velmart_open") {
        _Action = ActionOpen;
        return StartDownloadOf(content);
    }

    if (event == "velmart_download") {
        _Action = ActionDownload;
        return StartDownloadOf(content);
    }

    if (event == "velmart_insert") {
        _Action = ActionInsert;
        return StartCommandWith(content);
    }

    if (event == "velmart_replace") {
        _Action = ActionReplace;
        return StartCommandWith(content);
    }

    return E_FAIL;
} catch (const std::bad_alloc&) {
    return E_FAIL;
}

HRESULT ZALVelmartMeridiaAccessAddin::StartDownloadOf(const ZALOmxAny& content)
{
    if (!_Downloader)
        _Downloader = ZALVelmartFileDownloader::GetInstance();
    if (!_Downloader)
        return E_FAIL;

    // Before the start: the notification may come inside it.
    AddCallback(_Downloader, ZALVelmartFileDownloadCompleteNotification::ClassName(),
                &ZALVelmartMeridiaAccessAddin::OnFileDownloadComplete, nullptr);

    const HRESULT result = _Downloader->StartDownload(content);
    if (SUCCEEDED(result))
        return result;

    RemoveCallbacksOn(_Downloader, ZALVelmartFileDownloadCompleteNotification::ClassName(), nullptr);
    NotifyErrorMessage("DownloadFailed");
    return result;
}

HRESULT ZALVelmartMeridiaAccessAddin::StartCommandWith(const ZALOmxAny& content)
{
    const HRESULT result = CheckInsertReplaceContext(_Action);
    if (FAILED(result))
        return result;

    // The host's from here on.
    new ZALVelmartMeridiaAccessAddinActionCmd(_Action, content);
    return S_OK;
}

void ZALVelmartMeridiaAccessAddin::OnFileDownloadComplete(ZALBaseUnknown*, ZALNotification* notification, void*)
try {
    RemoveCallbacksOn(_Downloader, ZALVelmartFileDownloadCompleteNotification::ClassName(), nullptr);

    const auto* complete = ZALSysDynamicCast<ZALVelmartFileDownloadCompleteNotification>(notification);
    if (!complete)
        return;

    const ZALVelmartFileDownloadCompleteNotification::Status status = complete->GetStatus();
    const ZALListValZALUnicodeString paths = complete->GetDownloadedFilesPathes();

    if (status == ZALVelmartFileDownloadCompleteNotification::DownloadCanceled) {
        NotifyErrorMessage("DownloadCanceled");
        return;
    }

    if (status != ZALVelmartFileDownloadCompleteNotification::DownloadFailed && paths.Size() > 0) {
        // A plain download ends in silence; its warnings are not shown, on purpose.
        if (_Action != ActionOpen)
            return;
        ShowErrorText(complete->GetConcatenedWarningsMessageNLS());
        OpenDownloadedDocument(paths, complete->GetDocEnvId());
        return;
    }

    const ZALUnicodeString error = complete->GetErrorMessageNLS();
    if (error.GetLengthInChar() >= 1)
        ShowErrorText(error);
    else
        NotifyErrorMessage("DownloadFailed");
} catch (const std::bad_alloc&) {
    // What a long list had no room for may have room for a question.
    try {
        NotifyErrorMessage("DownloadFailed");
    } catch (const std::bad_alloc&) {
        // There is no memory to tell the user either.
    }
}

// ---------------------------------------------------------------------------------------------
// Status and availability

void ZALVelmartMeridiaAccessAddin::ChangeOpApiStatus(OpApiStatus status)
{
    if (status == _OpApiStatus)
        return;

    VL_TRACE("ZALVelmartMeridiaAccessAddin::ChangeOpApiStatus to " << (status == OpApiReady ? "Ready" : "Over"));

    const OpApiStatus before = _OpApiStatus;
    _OpApiStatus = status;

    try {
        OpApiStatusChangeNotif notification;
        DispatchCallbacks(this, &notification);
    } catch (const std::bad_alloc&) {
        // Somebody may wait for the change: without the word of it, it comes again with the next message.
        if (_OpApiStatus == status)
            _OpApiStatus = before;
        throw;
    }
}

void ZALVelmartMeridiaAccessAddin::ChangeFindSimilarHeaderAvailability(bool available)
{
    ZALCommandHeader* header = ZALCommandHeader::GetHeaderFromList("ZALVelmartFindSimilarCmdHeader", 0);
    if (!header)
        return;

    const int answer = header->IsAvailable();
    if ((available && answer == 1) || (!available && answer == 0))
        return;

    VL_TRACE("ZALVelmartMeridiaAccessAddin::ChangeFindSimilarHeaderAvailability to "
             << (available ? "Available" : "NotAvailable"));

    const int state = available ? 1 : 0;
    header->SetAvailability(ZALHeaderInGlobalMode, state);
    header->SetAvailability(ZALHeaderInLocalMode, state);
    header->SetAvailability(ZALHeaderInContextMode, state);
}

void ZALVelmartMeridiaAccessAddin::OnWorkbenchChanged(ZALBaseUnknown*, ZALNotification*, void*)
try {
    ChangeFindSimilarHeaderAvailability(_OpApiStatus == OpApiReady);
} catch (const std::bad_alloc&) {
    // The next change tries again.
}

// ---------------------------------------------------------------------------------------------
// Messages to the user

void ZALVelmartMeridiaAccessAddin::NotifyErrorMessage(const ZALString& key)
try {
    VL_TRACE("ZALVelmartMeridiaAccessAddin::NotifyErrorMessage : " << key);

    ShowErrorText(ZALMsgCatalog::BuildMessage(MessageCatalog, key, nullptr, 0, "Transaction has failed"));
} catch (const std::bad_alloc&) {
    // Nothing can be shown, and what follows goes on.
}

void ZALVelmartMeridiaAccessAddin::ShowErrorText(const ZALUnicodeString& text)
{
    ShowErrorBox("FileDownloadErrorNotify", text);
}
