// The integration's page among the panel's settings.
#pragma once

#include "host/panel.h"
#include "host/settings.h"
#include "objects/MetaClassOperations.h"

/// Gives the host the page, and forwards its calls to the settings. Without a settings object it does nothing.
class ZALVelmartMeridiaAccessSettingsUIAddin : public ZALIMeridiaAccessSettingsUIAddin {
    VL_DECLARE_META_CLASS
public:
    ZALVelmartMeridiaAccessSettingsUIAddin();
    ~ZALVelmartMeridiaAccessSettingsUIAddin() override;

    HRESULT Refresh() override;
    HRESULT Reset() override;
    HRESULT Restore() override;
    HRESULT Save() override;
    ZALDlgToolsOptionsFrame* CreateFrame(ZALDialog* parent) override;

private:
    ZALInterfaceHandle<ZALIVelmartIntegrationSettingAtt> settings; // may be null
    ZALBaseUnknown_WR frame;
};

/// The interface of `implementation`, an addin: the addin itself, with a reference for the caller; null for another
/// object. Without an implementation, a new addin.
extern "C" ZALBaseUnknown*
CreateBOAZALIMeridiaAccessSettingsUIAddinZALVelmartMeridiaAccessSettingsUIAddin(ZALBaseUnknown* implementation);
