#include "dialogs/ZALVelmartDownloadLocationDlg.h"

#include "dialogs/DialogOnDocument.h"
#include "host/files.h"
#include "host/settings.h"
#include "host/system.h"
#include "utilities/Recorder.h"

#include <new>

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

/// The settings object, or null.
ZALInterfaceHandle<ZALIVelmartIntegrationSettingAtt> MakeSettings()
{
    ZALIVelmartIntegrationSettingAtt* made = nullptr;
    const HRESULT result = CreateZALIVelmartIntegrationSettingAtt(&made);
    auto settings = ZALInterfaceHandle<ZALIVelmartIntegrationSettingAtt>::Take(made);
    if (FAILED(result))
        settings = {};
    return settings;
}

void Save(ZALIVelmartIntegrationSettingAtt& settings)
try {
    settings.SaveSettings(0);
} catch (const std::bad_alloc&) {
    // As when saving fails: the values hold for this run.
}

/// Writes what differs from the two values, and saves once when something was written, whether or not the settings
/// have taken it.
void Store(ZALIVelmartIntegrationSettingAtt& settings, bool doNotRemind, const ZALUnicodeString& location)
{
    bool written = false;
    try {
        bool storedDoNotRemind = false;
        settings.GetDoNotRemindDownloadLocation(storedDoNotRemind);
        if (storedDoNotRemind != doNotRemind) {
            settings.SetDoNotRemindDownloadLocation(doNotRemind);
            written = true;
        }
        ZALUnicodeString storedLocation;
        settings.GetDownloadLocation(storedLocation);
        if (storedLocation != location) {
            settings.SetDownloadLocation(location);
            written = true;
        }
    } catch (const std::bad_alloc&) {
        // The next try would not find it changed.
        if (written)
            Save(settings);
        throw;
    }
    if (written)
        Save(settings);
}

} // namespace

// ---------------------------------------------------------------------------------------------
// Creation

ZALVelmartDownloadLocationDlg* ZALVelmartDownloadLocationDlg::Create()
{
    return CreateOnDocument([](ZALDialog* parent) { return new ZALVelmartDownloadLocationDlg(parent); },
                            &ZALVelmartDownloadLocationDlg::Build);
}

ZALVelmartDownloadLocationDlg::ZALVelmartDownloadLocationDlg(ZALDialog* parent)
    : ZALDlgDialog(parent, "ZALVelmartDownloadLocationDlg", ZALDlgOKCancelWindow)
{
}

ZALVelmartDownloadLocationDlg::~ZALVelmartDownloadLocationDlg() = default;

void ZALVelmartDownloadLocationDlg::Build()
{
    AddCallback(this, ZALDlgWindCloseNotification::ClassName(), &ZALVelmartDownloadLocationDlg::OnCancel, nullptr);
    AddCallback(this, ZALDlgCancelNotification::ClassName(), &ZALVelmartDownloadLocationDlg::OnCancel, nullptr);
    AddCallback(this, ZALDlgOKNotification::ClassName(), &ZALVelmartDownloadLocationDlg::OnOK, nullptr);

    BuildControls();
    ShowSettings();
    SetVisibility(ZALDlgShow);
}

void ZALVelmartDownloadLocationDlg::ShowSettings()
{
    const auto settings = MakeSettings();
    if (!settings)
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

    // What is recorded has a known folder.
    if (locationEditor->GetText().GetLengthInChar() == 0 && IsRecorderAtWork()) {
        ZALUnicodeString folder;
        ZALGetEnv("ADL_ODT_TMP", folder);
        locationEditor->SetText(folder);
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
try {
    return index > 0 ? ZALDlgDialog::GetResourceFilename(index - 1) : "ZALVelmartDownloadLocationDlg";
} catch (const std::bad_alloc&) {
    return {};
}

// ---------------------------------------------------------------------------------------------
// The user's actions

// Nothing reacts to typing: the folder is judged at OK.
void ZALVelmartDownloadLocationDlg::OnModify(ZALBaseUnknown*, ZALNotification*, void*) {}

void ZALVelmartDownloadLocationDlg::OnBrowse(ZALBaseUnknown*, ZALNotification*, void*)
try {
    ShowDirectoryChooser(this, directoryChooser, GetTitle(), locationEditor,
                         static_cast<ZALSubscriberMethod>(&ZALVelmartDownloadLocationDlg::OnDirectoryChooserOK),
                         static_cast<ZALSubscriberMethod>(&ZALVelmartDownloadLocationDlg::OnDirectoryChooserCancel));
} catch (const std::bad_alloc&) {
    // The user can browse again.
}

void ZALVelmartDownloadLocationDlg::OnDirectoryChooserOK(ZALBaseUnknown*, ZALNotification*, void*)
try {
    if (!directoryChooser)
        return;
    const ZALUnicodeString folder = directoryChooser->GetChosenFolder();
    directoryChooser->SetVisibility(ZALDlgHide);
    if (locationEditor)
        locationEditor->SetText(folder);
} catch (const std::bad_alloc&) {
    // The user can choose again.
}

void ZALVelmartDownloadLocationDlg::OnDirectoryChooserCancel(ZALBaseUnknown*, ZALNotification*, void*)
try {
    if (directoryChooser)
        directoryChooser->SetVisibility(ZALDlgHide);
} catch (const std::bad_alloc&) {
    // The user can cancel again.
}

void ZALVelmartDownloadLocationDlg::OnOK(ZALBaseUnknown*, ZALNotification*, void*)
try {
    const ZALUnicodeString text = locationEditor ? locationEditor->GetText() : ZALUnicodeString();
    if (!IsValidDirectory(this, text))
        return;

    if (!doNotRemindCheck)
        return;

    const bool doNotRemind = doNotRemindCheck->GetState() == ZALDlgChecked;

    if (const auto settings = MakeSettings())
        Store(*settings.Get(), doNotRemind, text);

    OKNotif notification;
    DispatchCallbacks(this, &notification);

    RequestDelayedDestruction();
} catch (const std::bad_alloc&) {
    // The dialog stays open, and can be ended again: nobody may have been told.
}

void ZALVelmartDownloadLocationDlg::OnCancel(ZALBaseUnknown*, ZALNotification*, void*)
try {
    CANCELNotif notification;
    DispatchCallbacks(this, &notification);

    RequestDelayedDestruction();
} catch (const std::bad_alloc&) {
    // The dialog stays open, and can be ended again: nobody may have been told.
}

// ---------------------------------------------------------------------------------------------
// End

void ZALVelmartDownloadLocationDlg::RequestDelayedDestruction()
{
    try {
        if (directoryChooser)
            directoryChooser->RequestDelayedDestruction();
    } catch (const std::bad_alloc&) {
        // It ends with this dialog, its parent.
    }
    directoryChooser = {};

    try {
        ZALDlgDialog::RequestDelayedDestruction();
    } catch (const std::bad_alloc&) {
        // The window stays, and can be asked again.
    }
}

// ---------------------------------------------------------------------------------------------
// Choosing and judging a folder

void ZALVelmartDownloadLocationDlg::ShowDirectoryChooser(ZALDialog* owner, ZALInterfaceHandle<ZALDlgFileBox>& chooser,
                                                         const ZALUnicodeString& title, const ZALDlgEditor* editor,
                                                         ZALSubscriberMethod onOK, ZALSubscriberMethod onCancel)
{
    if (!chooser) {
        ZALDlgFileBox* made = nullptr;
        const HRESULT result = ZALFileMenuMethods::CreateCurrentDocEnvDialogBox(
            owner, "ZALVelmartDownloadDirectoryChooserDlg", ZALDlgFolderChooser, made, nullptr);
        const auto box = ZALInterfaceHandle<ZALDlgFileBox>::Take(made);
        if (FAILED(result) || !box)
            return;
        try {
            owner->AddCallback(made, ZALDlgOKNotification::ClassName(), onOK, nullptr);
            owner->AddCallback(made, ZALDlgCancelNotification::ClassName(), onCancel, nullptr);
            made->SetTitle(title);
        } catch (const std::bad_alloc&) {
            // The next use makes another one.
            made->RequestDelayedDestruction();
            return;
        }
        chooser = box;
    }

    if (editor) {
        const ZALUnicodeString text = editor->GetText();
        if (IsDirectory(text))
            chooser->SetStartFolder(text);
    }

    chooser->SetVisibility(ZALDlgShow);
}

bool ZALVelmartDownloadLocationDlg::IsValidDirectory(ZALDialog* parent, const ZALUnicodeString& text)
try {
    if (IsDirectory(text))
        return true;

    auto* notify = new ZALDlgNotify(parent, "NotADirectoryNotify", ZALDlgNotifyInvalidInput);
    try {
        const ZALUnicodeString title = ZALMsgCatalog::BuildMessage(
            "ZALVelmartDownloadLocationDlg", "NotADirectoryNotifyTitle", nullptr, 0, "Invalid folder");
        const ZALUnicodeString message =
            ZALMsgCatalog::BuildMessage("ZALVelmartDownloadLocationDlg", "NotADirectoryNotifyMessage", nullptr, 0,
                                        "Chosen folder is not a valid folder.\nPlease select a valid folder");
        // Answered in another way, the message stays, hidden, until its parent ends.
        if (notify->DisplayBlocked(message, title) == ZALDlgAnswerOK)
            notify->RequestDelayedDestruction();
    } catch (const std::bad_alloc&) {
        notify->RequestDelayedDestruction();
    }
    return false;
} catch (const std::bad_alloc&) {
    return false;
}
