#include "findsimilar/ZALVelmartFindSimilarCmd.h"

#include "VelmartBuildValues.h"
#include "dialogs/Question.h"
#include "dialogs/ZALVelmartFindSimilarUploadProgressDlg.h"
#include "host/cad.h"
#include "host/files.h"
#include "host/frame.h"
#include "host/system.h"
#include "objects/Hold.h"
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

    return Question(parent, "UploadWarningPopup", ZALDlgNotifyWarningYesNo).Ask(message, title) != ZALDlgAnswerNo;
}

/// The size of the file `path`. Fails when it cannot be told.
HRESULT GetSizeOf(const ZALUnicodeString& path, std::uint32_t& size)
{
    // Closed also when it could not be opened.
    struct OpenFile {
        ~OpenFile() { ZALFClose(handle); }
        ZALFileHandle handle = 0;
    } file;
    const HRESULT opened = ZALFOpen(path, "r", file.handle);
    return SUCCEEDED(opened) ? ZALFSize(file.handle, size) : opened;
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

ZALVelmartFindSimilarCmd::ZALVelmartFindSimilarCmd(ZALCommandMode mode) : ZALCommand("ZALVelmartFindSimilarCmd", mode)
{
}

ZALVelmartFindSimilarCmd::ZALVelmartFindSimilarCmd() : ZALVelmartFindSimilarCmd(ZALCommandModeUndefined)
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
    const ZALBaseUnknown_var object = Hold(GetSelectedObject());
    if (!object)
        FailWith("UnableToRetrieveSelection");
    else if (!noUploadWarning && !IsUploadWanted())
        FailWith("CommandHasBeenCancelled");
    else if (ExportSelection(object.Get()))
        StartSearch();
}

bool ZALVelmartFindSimilarCmd::ExportSelection(ZALBaseUnknown* object)
{
    FindPartName(object);

    std::uint32_t size = 0;
    if (FAILED(SaveAsTempLVR(object, tempFilePath)) || FAILED(GetSizeOf(tempFilePath, size)) || size == 0) {
        FailWith("SaveAsLVRFailure");
        return false;
    }
    if (size > MaximumUploadSize) {
        FailWith("LVRFileisTooBig");
        return false;
    }
    return true;
}

void ZALVelmartFindSimilarCmd::StartSearch()
{
    BuildVelmartURL();

    // Without a panel the command stays until the run ends, and the next one meets it: nothing can end it sooner.
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

    if (addin->GetOpApiStatus() == OpApiReady)
        UploadTo(*addin.Get());
    else
        panel->LoadUrl(velmartURL);
}

void ZALVelmartFindSimilarCmd::UploadTo(const ZALVelmartMeridiaAccessAddin& addin)
{
    ZALUnicodeString uploadURL;
    addin.GetSearchByUploadUrl(uploadURL);
    if (FAILED(UploadFileInVelmart(tempFilePath, uploadURL, partName)))
        ZALVelmartFindSimilarCmd::RequestDelayedDestruction();
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
    if (panel)
        panel->GetAddin("ZALVelmartMeridiaAccessAddin", &found);

    const ZALBaseUnknown_var held = ZALBaseUnknown_var::Take(found);
    return Hold(ZALSysDynamicCast<ZALVelmartMeridiaAccessAddin>(found));
}

// ---------------------------------------------------------------------------------------------
// What the panel tells

void ZALVelmartFindSimilarCmd::OnOpApiStatusChange(ZALBaseUnknown*, ZALNotification*, void*)
try {
    const Addin addin = GetAddinOf(ZALMeridiaAccessServices::GetCurrentMeridiaAccessDialog());
    if (addin && addin->GetOpApiStatus() == OpApiReady)
        UploadTo(*addin.Get());
} catch (const std::bad_alloc&) {
    RequestDelayedDestruction();
}

void ZALVelmartFindSimilarCmd::OnPanelClosed(ZALBaseUnknown*, ZALNotification*, void*)
try {
    if (uploadRequest)
        uploadRequest->Cancel();

    RequestDelayedDestruction();
} catch (const std::bad_alloc&) {
    // The end of the command cancels what it could not.
    RequestDelayedDestruction();
}

// ---------------------------------------------------------------------------------------------
// Messages to the user

void ZALVelmartFindSimilarCmd::FailWith(const ZALString& key)
{
    NotifyErrorMessage(key);
    ZALVelmartFindSimilarCmd::RequestDelayedDestruction();
}

void ZALVelmartFindSimilarCmd::NotifyErrorMessage(const ZALString& key)
try {
    VL_TRACE("ZALVelmartFindSimilarCmd::NotifyErrorMessage :" << key);

    const ZALUnicodeString text =
        ZALMsgCatalog::BuildMessage(MessageCatalog, key, nullptr, 0, "Transaction has failed");
    ShowErrorBox("FileDownloadErrorNotify", text);
} catch (const std::bad_alloc&) {
    // Nothing is told.
}

// ---------------------------------------------------------------------------------------------
// The end

void ZALVelmartFindSimilarCmd::RequestDelayedDestruction()
try {
    VL_TRACE("ZALVelmartFindSimilarCmd::RequestDelayedDestruction");

    ZALCommand::RequestDelayedDestruction();
} catch (const std::bad_alloc&) {
    // The command then ends when it is asked again, at the latest with the run.
}

ZALVelmartFindSimilarCmd::~ZALVelmartFindSimilarCmd()
{
    // Without a comparison, as its declaration says.
    runningInstance = nullptr;

    uploadRequest = {};

    try {
        if (const Addin addin = GetAddinOf(ZALMeridiaAccessServices::GetCurrentMeridiaAccessDialog()))
            RemoveSubscriberCallbacks(addin.Get());
    } catch (const std::bad_alloc&) {
        // The host drops the callback with the command.
    }
    RemoveSubscriberCallbacks(ZALMeridiaAccessServices::GetMeridiaDialogEventPublisher());

    RemoveProgressTimeOut();

    try {
        EndProgressDialog();
    } catch (const std::bad_alloc&) {
        // The host ends the dialog with its parent.
    }
}
