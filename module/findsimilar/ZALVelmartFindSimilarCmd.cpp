#include "findsimilar/ZALVelmartFindSimilarCmd.h"

#include "VelmartBuildValues.h"
#include "dialogs/ZALVelmartFindSimilarUploadProgressDlg.h"
#include "host/cad.h"
#include "host/files.h"
#include "host/frame.h"
#include "host/system.h"
#include "traces/ZALVelmartIntegrationDebug.h"

#include <new>

namespace {

const char* const MessageCatalog = "ZALVelmartFindSimilarCmd";

/// Most bytes of an upload.
constexpr std::uint32_t MaximumUploadSize = 10485760;

/// The object that the user has selected, or null. No reference is added.
ZALBaseUnknown* GetSelectedObject()
{
    ZALFrmEditor* editor = ZALFrmEditor::GetCurrentEditor();
    ZALCSO* objects = editor ? editor->GetCSO() : nullptr;
    if (!objects)
        return nullptr;

    // Of several objects the first one counts.
    objects->InitElementList();
    auto* path = ZALSysDynamicCast<ZALPathElement>(objects->NextElement());
    if (!path)
        return nullptr;

    path->InitToLeafElement();
    return path->NextFatherElement();
}

/// Warns the user of the upload.
bool IsUploadWanted()
{
    const ZALUnicodeString title =
        ZALMsgCatalog::BuildMessage(MessageCatalog, "UploadWarningTitle", nullptr, 0, ZALUnicodeString());
    const ZALUnicodeString message =
        ZALMsgCatalog::BuildMessage(MessageCatalog, "UploadWarningMessage", nullptr, 0, ZALUnicodeString());

    ZALApplicationFrame* frame = ZALApplicationFrame::GetFrame();
    ZALDialog* parent = frame ? frame->GetApplicationDocument() : nullptr;
    if (!parent)
        return true;

    auto* dialog = new ZALDlgNotify(parent, "UploadWarningPopup", ZALDlgNotifyWarningYesNo);
    const int answer = dialog->DisplayBlocked(message, title);
    dialog->RequestDelayedDestruction();

    return answer != ZALDlgAnswerNo;
}

} // namespace

ZALVelmartFindSimilarCmd* ZALVelmartFindSimilarCmd::runningInstance = nullptr;

ZALBaseUnknown* fctCreateZALVelmartFindSimilarCmd()
try {
    return new ZALVelmartFindSimilarCmd;
} catch (const std::bad_alloc&) {
    return nullptr;
}

// ---------------------------------------------------------------------------------------------
// The start

ZALVelmartFindSimilarCmd::ZALVelmartFindSimilarCmd() : ZALCommand("ZALVelmartFindSimilarCmd", ZALCommandModeUndefined)
{
    static const bool noUploadWarning = [] {
        ZALUnicodeString value;
        return SUCCEEDED(ZALGetEnv("ZAL_VELMART_FINDSIMILAR_NO_UPLOAD_WARNING", value));
    }();

    if (runningInstance) {
        FailWith("FindSimilarAlreadyRunning");
        return;
    }
    runningInstance = this;

    // Held, because the selection may change while the user is asked.
    const ZALBaseUnknown_var object(GetSelectedObject());
    if (!object) {
        FailWith("UnableToRetrieveSelection");
        return;
    }

    if (!noUploadWarning && !IsUploadWanted()) {
        FailWith("CommandHasBeenCancelled");
        return;
    }

    FindPartName(object.Get());

    if (FAILED(SaveAsTempLVR(object.Get(), tempFilePath))) {
        FailWith("SaveAsLVRFailure");
        return;
    }

    ZALFileHandle handle = 0;
    std::uint32_t size = 0;
    const bool hasSize = SUCCEEDED(ZALFOpen(tempFilePath, "r", handle)) && SUCCEEDED(ZALFSize(handle, size));
    ZALFClose(handle);
    if (!hasSize || size == 0) {
        FailWith("SaveAsLVRFailure");
        return;
    }
    if (size > MaximumUploadSize) {
        FailWith("LVRFileisTooBig");
        return;
    }

    BuildVelmartURL();

    // Without a panel the command stays as it is until the session ends, and the next one meets it. That is meant.
    const ZALIMeridiaAccessDialog_var panel = ZALMeridiaAccessServices::GetOrCreateMeridiaAccessDialog();
    if (!panel)
        return;

    const Addin addin = GetAddinOf(panel);
    if (!addin) {
        FailWith("UnableToRetrieveVLAddin");
        return;
    }

    AddCallback(ZALMeridiaAccessServices::GetMeridiaDialogEventPublisher(), ZALDlgWindCloseNotification::ClassName(),
                &ZALVelmartFindSimilarCmd::OnPanelClosed, nullptr);
    AddCallback(addin.Get(), ZALVelmartMeridiaAccessAddin::OpApiStatusChangeNotif::ClassName(),
                &ZALVelmartFindSimilarCmd::OnOpApiStatusChange, nullptr);

    if (addin->GetOpApiStatus() == OpApiReady) {
        ZALUnicodeString uploadURL;
        addin->GetSearchByUploadUrl(uploadURL);
        if (FAILED(UploadFileInVelmart(tempFilePath, uploadURL, partName)))
            ZALVelmartFindSimilarCmd::RequestDelayedDestruction();
    } else {
        panel->LoadUrl(velmartURL);
    }
}

void ZALVelmartFindSimilarCmd::FindPartName(ZALBaseUnknown* object)
{
    ZALIProduct_var product(object);
    ZALIAlias_var alias(object);
    if (product) {
        if (!product->IsReferenceProduct())
            product = ZALIProduct_var::Take(product->GetReferenceProduct());
        alias = ZALIAlias_var(product);
    }

    if (alias)
        partName = alias->GetAlias();
    if (partName.GetLengthInChar() == 0)
        partName = "PartLVR";
}

void ZALVelmartFindSimilarCmd::BuildVelmartURL()
{
    ZALGetEnv("VL_Test_Url", velmartURL);
    if (velmartURL.GetLengthInChar() == 0)
        velmartURL = VelmartServiceUrl;

    if (velmartURL[velmartURL.GetLengthInChar() - 1] != u'/')
        velmartURL.Append("/");
    velmartURL.Append("categories?embeddedProfileId=ZALORQ7&connect&lockedapp=true");
    if (ZALMeridiaAccessServices::GetCurrentMeridiaAccessDialog())
        velmartURL.Append("&addinmode=zalorq7");

    VL_TRACE("ZALVelmartFindSimilarCmd::UsedVelmartURL : " << velmartURL);
}

ZALVelmartFindSimilarCmd::Addin ZALVelmartFindSimilarCmd::GetAddinOf(const ZALIMeridiaAccessDialog_var& panel)
{
    ZALBaseUnknown* found = nullptr;
    if (!panel || FAILED(panel->GetAddin("ZALVelmartMeridiaAccessAddin", &found)))
        return {};

    const ZALBaseUnknown_var held = ZALBaseUnknown_var::Take(found);
    return Addin(ZALSysDynamicCast<ZALVelmartMeridiaAccessAddin>(found));
}

// ---------------------------------------------------------------------------------------------
// What the panel tells

void ZALVelmartFindSimilarCmd::OnOpApiStatusChange(ZALBaseUnknown*, ZALNotification*, void*)
{
    const Addin addin = GetAddinOf(ZALMeridiaAccessServices::GetCurrentMeridiaAccessDialog());
    if (addin && addin->GetOpApiStatus() == OpApiReady) {
        ZALUnicodeString uploadURL;
        addin->GetSearchByUploadUrl(uploadURL);
        if (FAILED(UploadFileInVelmart(tempFilePath, uploadURL, partName)))
            ZALVelmartFindSimilarCmd::RequestDelayedDestruction();
    }
}

void ZALVelmartFindSimilarCmd::OnPanelClosed(ZALBaseUnknown*, ZALNotification*, void*)
{
    if (uploadRequest)
        uploadRequest->Cancel();

    ZALVelmartFindSimilarCmd::RequestDelayedDestruction();
}

// ---------------------------------------------------------------------------------------------
// Messages to the user

void ZALVelmartFindSimilarCmd::FailWith(const ZALString& key)
{
    NotifyErrorMessage(key);
    ZALVelmartFindSimilarCmd::RequestDelayedDestruction();
}

void ZALVelmartFindSimilarCmd::NotifyErrorMessage(const ZALString& key)
{
    VL_TRACE("ZALVelmartFindSimilarCmd::NotifyErrorMessage :" << key);

    const ZALUnicodeString text =
        ZALMsgCatalog::BuildMessage(MessageCatalog, key, nullptr, 0, "Transaction has failed");
    if (text.GetLengthInChar() == 0)
        return;

    ZALApplicationFrame* frame = ZALApplicationFrame::GetFrame();
    auto* dialog =
        new ZALDlgNotify(frame ? frame->GetMainWindow() : nullptr, "FileDownloadErrorNotify", ZALDlgNotifyError);

    dialog->DisplayBlocked(text, ZALUnicodeString());

    dialog->RequestDelayedDestruction();
}

// ---------------------------------------------------------------------------------------------
// The end

void ZALVelmartFindSimilarCmd::RequestDelayedDestruction()
{
    VL_TRACE("ZALVelmartFindSimilarCmd::RequestDelayedDestruction");

    ZALCommand::RequestDelayedDestruction();
}

ZALVelmartFindSimilarCmd::~ZALVelmartFindSimilarCmd()
{
    // Without a comparison, as its declaration says.
    runningInstance = nullptr;

    if (uploadRequest) {
        uploadRequest->Release();
        uploadRequest = nullptr;
    }

    if (const Addin addin = GetAddinOf(ZALMeridiaAccessServices::GetCurrentMeridiaAccessDialog()))
        RemoveSubscriberCallbacks(addin.Get());
    RemoveSubscriberCallbacks(ZALMeridiaAccessServices::GetMeridiaDialogEventPublisher());

    RemoveProgressTimeOut();

    EndProgressDialog();
}
