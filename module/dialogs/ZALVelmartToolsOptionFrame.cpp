#include "dialogs/ZALVelmartToolsOptionFrame.h"

#include "dialogs/ZALVelmartDownloadLocationDlg.h"
#include "objects/Hold.h"

#include <new>

// ---------------------------------------------------------------------------------------------
// Creation and end

ZALVelmartToolsOptionFrame::ZALVelmartToolsOptionFrame(ZALDialog* parent,
                                                       ZALIVelmartIntegrationSettingAtt* integrationSettings)
    : ZALDlgToolsOptionsFrame(parent, "VelmartTOFrame", "", ZALDlgToolsOptionsGrid), settings(Hold(integrationSettings))
{
}

// The fields end in the reverse of their order, which is required: the two controls are forgotten, then the chooser is
// released, then the settings.
ZALVelmartToolsOptionFrame::~ZALVelmartToolsOptionFrame() = default;

void ZALVelmartToolsOptionFrame::Build()
{
    ZALDialog* content = GetContentParent();
    if (!settings || !content)
        return;

    auto* locationFrame = new ZALDlgFrame(content, "VLDownloadLocationFrm", ZALDlgGridFrameWithoutTitle);
    locationFrame->SetGridConstraints(0, 1, 1, 1, ZALDlgGridFill);

    auto* label = new ZALDlgLabel(locationFrame, "VLDownloadLocationLabel", ZALDlgNoStyle);
    label->SetGridConstraints(0, 0, 1, 1, ZALDlgGridCenter);
    locationEditor = new ZALDlgEditor(locationFrame, "VLDownloadLocationEditor", ZALDlgNoStyle);
    locationEditor->SetGridConstraints(0, 1, 1, 1, ZALDlgGridCenter);
    locationEditor->SetVisibleTextWidth(23);
    auto* button = new ZALDlgPushButton(locationFrame, "VLDownloadLocationButton", ZALDlgNoStyle);
    button->SetGridConstraints(0, 2, 1, 1, ZALDlgGridCenter);

    ZALSettingInfo locationInfo;
    settings->GetDownloadLocationInfo(locationInfo);
    auto* locationLock = new ZALDlgLock(content, "DirLocationLock", locationInfo);
    locationLock->SetGridConstraints(0, 0, 1, 1, ZALDlgGridCenter);
    locationLock->AddAssociatedDialog(locationFrame);

    doNotRemindCheck = new ZALDlgCheckButton(content, "VLDoNotRemindDownloadLocationCheckButton", ZALDlgNoStyle);
    doNotRemindCheck->SetGridConstraints(1, 1, 1, 1, ZALDlgGridFill);

    ZALSettingInfo doNotRemindInfo;
    settings->GetDoNotRemindDownloadLocationInfo(doNotRemindInfo);
    auto* doNotRemindLock = new ZALDlgLock(content, "DoNotRemindLock", doNotRemindInfo);
    doNotRemindLock->SetGridConstraints(1, 0, 1, 1, ZALDlgGridCenter);
    doNotRemindLock->AddAssociatedDialog(doNotRemindCheck);

    AddCallback(locationEditor, ZALDlgEditorModifyNotification::ClassName(),
                &ZALVelmartToolsOptionFrame::OnEditorModify, nullptr);
    AddCallback(button, ZALDlgPushActivateNotification::ClassName(), &ZALVelmartToolsOptionFrame::OnBrowse, nullptr);
    AddCallback(doNotRemindCheck, ZALDlgCheckModifyNotification::ClassName(),
                &ZALVelmartToolsOptionFrame::OnCheckModify, nullptr);
}

ZALString ZALVelmartToolsOptionFrame::GetResourceFilename(int index) const
try {
    return index > 0 ? ZALDlgToolsOptionsFrame::GetResourceFilename(index - 1) : "ZALVelmartToolsOptionFrame";
} catch (const std::bad_alloc&) {
    return {};
}

// ---------------------------------------------------------------------------------------------
// Values

void ZALVelmartToolsOptionFrame::Refresh()
try {
    if (!settings || !doNotRemindCheck || !locationEditor)
        return;

    bool doNotRemind = false;
    settings->GetDoNotRemindDownloadLocation(doNotRemind);
    doNotRemindCheck->SetState(doNotRemind ? ZALDlgChecked : ZALDlgUnchecked);

    ZALUnicodeString location;
    settings->GetDownloadLocation(location);
    locationEditor->SetText(location);
} catch (const std::bad_alloc&) {
    // The page shows what it showed before.
}

// Each change is judged at once, and each wrong text is told: the page has no OK of its own to wait for.
void ZALVelmartToolsOptionFrame::OnEditorModify(ZALBaseUnknown*, ZALNotification*, void*)
try {
    if (!settings || !locationEditor)
        return;
    const ZALUnicodeString text = locationEditor->GetText();
    if (ZALVelmartDownloadLocationDlg::IsValidDirectory(this, text))
        settings->SetDownloadLocation(text);
} catch (const std::bad_alloc&) {
    // Not stored: the next change is judged anew.
}

void ZALVelmartToolsOptionFrame::OnCheckModify(ZALBaseUnknown*, ZALNotification*, void*)
try {
    if (settings && doNotRemindCheck)
        settings->SetDoNotRemindDownloadLocation(doNotRemindCheck->GetState() == ZALDlgChecked);
} catch (const std::bad_alloc&) {
    // Not stored.
}

// ---------------------------------------------------------------------------------------------
// Choice of the folder

void ZALVelmartToolsOptionFrame::OnBrowse(ZALBaseUnknown*, ZALNotification*, void*)
try {
    ZALVelmartDownloadLocationDlg::ShowDirectoryChooser(
        this, directoryChooser, "", locationEditor,
        static_cast<ZALSubscriberMethod>(&ZALVelmartToolsOptionFrame::OnDirectoryChooserOK),
        static_cast<ZALSubscriberMethod>(&ZALVelmartToolsOptionFrame::OnDirectoryChooserCancel));
} catch (const std::bad_alloc&) {
    // The user can browse again.
}

void ZALVelmartToolsOptionFrame::OnDirectoryChooserOK(ZALBaseUnknown*, ZALNotification*, void*)
try {
    if (!directoryChooser)
        return;
    const ZALUnicodeString folder = directoryChooser->GetChosenFolder();
    directoryChooser->SetVisibility(ZALDlgHide);
    if (locationEditor)
        locationEditor->SetText(folder);
    if (settings)
        settings->SetDownloadLocation(folder);
} catch (const std::bad_alloc&) {
    // The user can choose again.
}

void ZALVelmartToolsOptionFrame::OnDirectoryChooserCancel(ZALBaseUnknown*, ZALNotification*, void*)
try {
    if (directoryChooser)
        directoryChooser->SetVisibility(ZALDlgHide);
} catch (const std::bad_alloc&) {
    // The user can cancel again.
}
