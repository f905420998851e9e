#include "dialogs/ZALVelmartMeridiaAccessSettingsUIAddin.h"

#include "dialogs/ZALVelmartToolsOptionFrame.h"

#include <new>

VL_DEFINE_META_CLASS(ZALVelmartMeridiaAccessSettingsUIAddin, ZALIMeridiaAccessSettingsUIAddin)

ZALVelmartMeridiaAccessSettingsUIAddin::ZALVelmartMeridiaAccessSettingsUIAddin()
{
    ZALIVelmartIntegrationSettingAtt* made = nullptr;
    try {
        CreateZALIVelmartIntegrationSettingAtt(&made);
    } catch (const std::bad_alloc&) {
        // An addin without settings does nothing.
    }
    settings = ZALInterfaceHandle<ZALIVelmartIntegrationSettingAtt>::Take(made);
}

ZALVelmartMeridiaAccessSettingsUIAddin::~ZALVelmartMeridiaAccessSettingsUIAddin() = default;

HRESULT ZALVelmartMeridiaAccessSettingsUIAddin::Refresh()
try {
    const ZALBaseUnknown_var component = ZALBaseUnknown_var::Take(frame.GetComponent());
    if (auto* page = ZALSysDynamicCast<ZALDlgToolsOptionsFrame>(component.Get()))
        page->Refresh();
    return S_OK;
} catch (const std::bad_alloc&) {
    return E_FAIL;
}

HRESULT ZALVelmartMeridiaAccessSettingsUIAddin::Reset()
try {
    return settings ? settings->SettingsStepTwo(0, 0) : S_OK;
} catch (const std::bad_alloc&) {
    return E_FAIL;
}

HRESULT ZALVelmartMeridiaAccessSettingsUIAddin::Restore()
try {
    if (!settings)
        return S_OK;
    const HRESULT restored = settings->SettingsStepThree();
    const HRESULT kept = settings->SettingsStepOne(0);
    return FAILED(restored) ? restored : kept;
} catch (const std::bad_alloc&) {
    return E_FAIL;
}

HRESULT ZALVelmartMeridiaAccessSettingsUIAddin::Save()
try {
    return settings ? settings->SaveSettings(0) : S_OK;
} catch (const std::bad_alloc&) {
    return E_FAIL;
}

ZALDlgToolsOptionsFrame* ZALVelmartMeridiaAccessSettingsUIAddin::CreateFrame(ZALDialog* parent)
try {
    auto* page = new ZALVelmartToolsOptionFrame(parent, settings.Get());
    try {
        page->Build();
        frame = page;
    } catch (const std::bad_alloc&) {
        page->RequestDelayedDestruction();
        return nullptr;
    }
    return page;
} catch (const std::bad_alloc&) {
    return nullptr;
}

ZALBaseUnknown*
CreateBOAZALIMeridiaAccessSettingsUIAddinZALVelmartMeridiaAccessSettingsUIAddin(ZALBaseUnknown* implementation)
try {
    if (!implementation)
        return new ZALVelmartMeridiaAccessSettingsUIAddin;
    auto* addin = ZALSysDynamicCast<ZALVelmartMeridiaAccessSettingsUIAddin>(implementation);
    if (addin)
        addin->AddRef();
    return addin;
} catch (const std::bad_alloc&) {
    return nullptr;
}
