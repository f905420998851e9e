#include "dialogs/ZALVelmartDownloadLocationDlg.h"

#include "host/dialog_engine.h"
#include "host/files.h"
#include "host/frame.h"
#include "host/settings.h"
#include "host/system.h"

VL_DEFINE_META_CLASS(ZALVelmartDownloadLocationDlg, ZALDlgDialog)
VL_DEFINE_META_CLASS(ZALVelmartDownloadLocationDlg::OKNotif, ZALNotification)
VL_DEFINE_META_CLASS(ZALVelmartDownloadLocationDlg::CANCELNotif, ZALNotification)

namespace {

bool IsLocked(const ZALSettingInfo& info)
{
    char lock = 0;
    return SUCCEEDED(info.GetLock(lock)) && (lock == 'R' || lock == 'r');
}

bool IsDirectory(const ZALUnicodeString& text)
{
    ZALFileStatus status;
    return text.GetLengthInChar() > 0 && SUCCEEDED(ZALFileStat(text, status, 0)) &&
           (status.Mode & ZALFileTypeMask) == ZALFileTypeDirectory;
}

} // namespace

// ---------------------------------------------------------------------------------------------
// Creation

ZALVelmartDownloadLocationDlg* ZALVelmartDownloadLocationDlg::Create()
{
    ZALApplicationFrame* frame = ZALApplicationFrame::GetFrame();
    ZALDialog* parent = frame ? frame->GetApplicationDocument() : nullptr;
    if (!parent)
        return nullptr;

    auto* dialog = new ZALVelmartDownloadLocationDlg(parent);
    dialog->Build();
    dialog->SetVisibility(ZALDlgShow);
    return dialog;
}

ZALVelmartDownloadLocationDlg::ZALVelmartDownloadLocationDlg(ZALDialog* parent)
    : ZALDlgDialog(parent, "ZALVelmartDownloadLocationDlg", ZALDlgOKCancelWindow)
{
}

ZALVelmartDownloadLocationDlg::~ZALVelmartDownloadLocationDlg()
{
    if (directoryChooser)
        directoryChooser->Release();
}

void ZALVelmartDownloadLocationDlg::Build()
{
    AddCallback(this, ZALDlgWindCloseNotification::ClassName(), &ZALVelmartDownloadLocationDlg::OnCancel, nullptr);
    AddCallback(this, ZALDlgCancelNotification::ClassName(), &ZALVelmartDownloadLocationDlg::OnCancel, nullptr);
    AddCallback(this, ZALDlgOKNotification::ClassName(), &ZALVelmartDownloadLocationDlg::OnOK, nullptr);

    BuildControls();

    ZALIVelmartIntegrationSettingAtt* settings = nullptr;
    if (FAILED(CreateZALIVelmartIntegrationSettingAtt(&settings)) || !settings)
        return;

    bool doNotRemind = false;
    settings->GetDoNotRemindDownloadLocation(doNotRemind);
    doNotRemindCheck->SetState(doNotRemind ? ZALDlgChecked : ZALDlgUnchecked);
    ZALSettingInfo doNotRemindInfo;
    settings->GetDoNotRemindDownloadLocationInfo(doNotRemindInfo);
    if (IsLocked(doNotRemindInfo))
        doNotRemindCheck->SetSensitivity(ZALDlgInsensitive);

    ZALUnicodeString location;
    settings->GetDownloadLocation(location);
    locationEditor->SetText(location);
    ZALSettingInfo locationInfo;
    settings->GetDownloadLocationInfo(locationInfo);
    if (IsLocked(locationInfo))
        locationEditor->GetFather()->SetSensitivity(ZALDlgInsensitive);
    settings->Release();

    // Recorded sessions have a known folder.
    if (locationEditor->GetText().GetLengthInChar() == 0) {
        const ZALRecord* recorder = ZALRecord::GetMain();
        if (recorder && (recorder->IsCapture() || recorder->IsReplay())) {
            ZALUnicodeString folder;
            ZALGetEnv("ADL_ODT_TMP", folder);
            locationEditor->SetText(folder);
        }
    }
}

void ZALVelmartDownloadLocationDlg::BuildControls()
{
    auto* mainFrame = new ZALDlgFrame(this, "VLDownloadLocationMainFrm", ZALDlgFrameWithoutTitle);
    Attach4Sides(mainFrame);

    auto* locationFrame = new ZALDlgFrame(mainFrame, "VLDownloadLocationFrm", ZALDlgFrameWithoutTitle);
    auto* label = new ZALDlgLabel(locationFrame, "VLDownloadLocationLabel", ZALDlgNoStyle);
    locationEditor = new ZALDlgEditor(locationFrame, "VLDownloadLocationEditor", ZALDlgNoStyle);
    locationEditor->SetVisibleTextWidth(23);
    auto* button = new ZALDlgPushButton(locationFrame, "VLDownloadLocationButton", ZALDlgNoStyle);
    doNotRemindCheck = new ZALDlgCheckButton(mainFrame, "VLDoNotRemindDownloadLocationCheckButton", ZALDlgNoStyle);

    locationFrame->SetVerticalAttachment(1, ZALDlgAttachStart, {label});
    locationFrame->SetVerticalAttachment(2, ZALDlgAttachStart, {locationEditor});
    locationFrame->SetVerticalAttachment(3, ZALDlgAttachEnd, {locationEditor});
    locationFrame->SetVerticalAttachment(4, ZALDlgAttachStart, {button});
    locationFrame->SetHorizontalAttachment(1, ZALDlgAttachCenter, {label, locationEditor, button});

    mainFrame->SetVerticalAttachment(1, ZALDlgAttachStart, {locationFrame, doNotRemindCheck});
    mainFrame->SetVerticalAttachment(2, ZALDlgAttachEnd, {locationFrame});
    mainFrame->SetHorizontalAttachment(1, ZALDlgAttachCenter, {locationFrame});
    mainFrame->SetHorizontalAttachment(2, ZALDlgAttachCenter, {doNotRemindCheck});

    AddCallback(locationEditor, ZALDlgEditorModifyNotification::ClassName(), &ZALVelmartDownloadLocationDlg::OnModify,
                nullptr);
    AddCallback(button, ZALDlgPushActivateNotification::ClassName(), &ZALVelmartDownloadLocationDlg::OnBrowse, nullptr);
    AddCallback(doNotRemindCheck, ZALDlgCheckModifyNotification::ClassName(), &ZALVelmartDownloadLocationDlg::OnModify,
                nullptr);
}

ZALString ZALVelmartDownloadLocationDlg::GetResourceFilename(int index) const
{
    return index > 0 ? ZALDlgDialog::GetResourceFilename(index - 1) : "ZALVelmartDownloadLocationDlg";
}

// ---------------------------------------------------------------------------------------------
// The user's actions

// Nothing reacts to typing: the folder is judged at OK.
void ZALVelmartDownloadLocationDlg::OnModify(ZALBaseUnknown*, ZALNotification*, void*) {}

void ZALVelmartDownloadLocationDlg::OnBrowse(ZALBaseUnknown*, ZALNotification*, void*)
{
    ShowDirectoryChooser(this, directoryChooser, GetTitle(), locationEditor,
                         static_cast<ZALSubscriberMethod>(&ZALVelmartDownloadLocationDlg::OnDirectoryChooserOK),
                         static_cast<ZALSubscriberMethod>(&ZALVelmartDownloadLocationDlg::OnDirectoryChooserCancel));
}

void ZALVelmartDownloadLocationDlg::OnDirectoryChooserOK(ZALBaseUnknown*, ZALNotification*, void*)
{
    if (!directoryChooser)
        return;
    const ZALUnicodeString folder = directoryChooser->GetChosenFolder();
    directoryChooser->SetVisibility(ZALDlgHide);
    if (locationEditor)
        locationEditor->SetText(folder);
}

void ZALVelmartDownloadLocationDlg::OnDirectoryChooserCancel(ZALBaseUnknown*, ZALNotification*, void*)
{
    if (directoryChooser)
        directoryChooser->SetVisibility(ZALDlgHide);
}

void ZALVelmartDownloadLocationDlg::OnOK(ZALBaseUnknown*, ZALNotification*, void*)
{
    const ZALUnicodeString text = locationEditor ? locationEditor->GetText() : ZALUnicodeString();
    if (!IsValidDirectory(this, text))
        return;

    if (!doNotRemindCheck)
        return;

    const bool newDoNotRemind = doNotRemindCheck->GetState() == ZALDlgChecked;

    ZALIVelmartIntegrationSettingAtt* settings = nullptr;
    if (SUCCEEDED(CreateZALIVelmartIntegrationSettingAtt(&settings)) && settings) {
        bool written = false;
        bool doNotRemind = false;
        settings->GetDoNotRemindDownloadLocation(doNotRemind);
        if (doNotRemind != newDoNotRemind)
            written |= SUCCEEDED(settings->SetDoNotRemindDownloadLocation(newDoNotRemind));
        ZALUnicodeString location;
        settings->GetDownloadLocation(location);
        if (location != text)
            written |= SUCCEEDED(settings->SetDownloadLocation(text));
        if (written)
            settings->SaveSettings(0);
        settings->Release();
    }

    OKNotif notification;
    DispatchCallbacks(this, &notification);

    RequestDelayedDestruction();
}

void ZALVelmartDownloadLocationDlg::OnCancel(ZALBaseUnknown*, ZALNotification*, void*)
{
    CANCELNotif notification;
    DispatchCallbacks(this, &notification);

    RequestDelayedDestruction();
}

// ---------------------------------------------------------------------------------------------
// End

void ZALVelmartDownloadLocationDlg::RequestDelayedDestruction()
{
    if (directoryChooser) {
        directoryChooser->RequestDelayedDestruction();
        directoryChooser->Release();
        directoryChooser = nullptr;
    }
    ZALDlgDialog::RequestDelayedDestruction();
}

// ---------------------------------------------------------------------------------------------
// Choosing and judging a folder

void ZALVelmartDownloadLocationDlg::ShowDirectoryChooser(ZALDialog* owner, ZALDlgFileBox*& chooser,
                                                         const ZALUnicodeString& title, const ZALDlgEditor* editor,
                                                         ZALSubscriberMethod onOK, ZALSubscriberMethod onCancel)
{
    if (!chooser) {
        if (FAILED(ZALFileMenuMethods::CreateCurrentDocEnvDialogBox(owner, "ZALVelmartDownloadDirectoryChooserDlg",
                                                                    ZALDlgFolderChooser, chooser, nullptr)) ||
            !chooser)
            return;
        owner->AddCallback(chooser, ZALDlgOKNotification::ClassName(), onOK, nullptr);
        owner->AddCallback(chooser, ZALDlgCancelNotification::ClassName(), onCancel, nullptr);
        chooser->SetTitle(title);
    }

    if (editor) {
        const ZALUnicodeString text = editor->GetText();
        if (IsDirectory(text))
            chooser->SetStartFolder(text);
    }

    chooser->SetVisibility(ZALDlgShow);
}

bool ZALVelmartDownloadLocationDlg::IsValidDirectory(ZALDialog* parent, const ZALUnicodeString& text)
{
    if (IsDirectory(text))
        return true;

    auto* notify = new ZALDlgNotify(parent, "NotADirectoryNotify", ZALDlgNotifyInvalidInput);
    const ZALUnicodeString title = ZALMsgCatalog::BuildMessage(
        "ZALVelmartDownloadLocationDlg", "NotADirectoryNotifyTitle", nullptr, 0, "Invalid folder");
    const ZALUnicodeString message =
        ZALMsgCatalog::BuildMessage("ZALVelmartDownloadLocationDlg", "NotADirectoryNotifyMessage", nullptr, 0,
                                    "Chosen folder is not a valid folder.\nPlease select a valid folder");
    // Answered in another way, the message stays, hidden, until its parent ends.
    if (notify->DisplayBlocked(message, title) == ZALDlgAnswerOK)
        notify->RequestDelayedDestruction();
    return false;
}
