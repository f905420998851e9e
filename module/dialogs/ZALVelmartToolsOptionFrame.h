// The page of the integration's settings in the host's options.
#pragma once

#include "host/dialogs.h"
#include "host/settings.h"

/// Edits the two settings. What the user changes goes to the settings object at once; the host makes it lasting.
class ZALVelmartToolsOptionFrame : public ZALDlgToolsOptionsFrame {
public:
    /// Without controls. `integrationSettings` may be null; the frame adds a reference.
    ZALVelmartToolsOptionFrame(ZALDialog* parent, ZALIVelmartIntegrationSettingAtt* integrationSettings);
    ~ZALVelmartToolsOptionFrame() override;

    /// Makes the controls, without values; called once. Nothing without settings or a content parent.
    void Build();
    void Refresh() override;
    ZALString GetResourceFilename(int index) const override;

private:
    friend class DialogProbe;

    void OnEditorModify(ZALBaseUnknown* publisher, ZALNotification* notification, void* data);
    void OnCheckModify(ZALBaseUnknown* publisher, ZALNotification* notification, void* data);
    void OnBrowse(ZALBaseUnknown* publisher, ZALNotification* notification, void* data);
    void OnDirectoryChooserOK(ZALBaseUnknown* publisher, ZALNotification* notification, void* data);
    void OnDirectoryChooserCancel(ZALBaseUnknown* publisher, ZALNotification* notification, void* data);

    ZALInterfaceHandle<ZALIVelmartIntegrationSettingAtt> settings; // may be null
    ZALInterfaceHandle<ZALDlgFileBox> directoryChooser;
    ZALDlgEditor* locationEditor = nullptr;
    ZALDlgCheckButton* doNotRemindCheck = nullptr;
};
