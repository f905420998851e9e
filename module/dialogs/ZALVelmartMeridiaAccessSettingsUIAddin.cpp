#include "dialogs/ZALVelmartMeridiaAccessSettingsUIAddin.h"

#include "dialogs/ZALVelmartToolsOptionFrame.h"

VL_DEFINE_META_CLASS(ZALVelmartMeridiaAccessSettingsUIAddin, ZALIMeridiaAccessSettingsUIAddin)

ZALVelmartMeridiaAccessSettingsUIAddin::ZALVelmartMeridiaAccessSettingsUIAddin()
{
    CreateZALIVelmartIntegrationSettingAtt(&settings);
}

ZALVelmartMeridiaAccessSettingsUIAddin::~ZALVelmartMeridiaAccessSettingsUIAddin()
{
    if (settings)
        settings->Release();
}

HRESULT ZALVelmartMeridiaAccessSettingsUIAddin::Refresh()
{
    const ZALBaseUnknown_var component = ZALBaseUnknown_var::Take(frame.GetComponent());
    if (auto* page = ZALSysDynamicCast<ZALDlgToolsOptionsFrame>(component.Get()))
        page->Refresh();
    return S_OK;
}

HRESULT ZALVelmartMeridiaAccessSettingsUIAddin::Reset()
{
    return settings ? settings->SettingsStepTwo(0, 0) : S_OK;
}

HRESULT ZALVelmartMeridiaAccessSettingsUIAddin::Restore()
{
    if (!settings)
        return S_OK;
    const HRESULT restored = settings->SettingsStepThree();
    const HRESULT kept = settings->SettingsStepOne(0);
    return FAILED(restored) ? restored : kept;
}

HRESULT ZALVelmartMeridiaAccessSettingsUIAddin::Save()
{
    return settings ? settings->SaveSettings(0) : S_OK;
}

ZALDlgToolsOptionsFrame* ZALVelmartMeridiaAccessSettingsUIAddin::CreateFrame(ZALDialog* parent)
{
    auto* page = new ZALVelmartToolsOptionFrame(parent, settings);
    page->Build();
    frame = page;
    return page;
}

ZALBaseUnknown*
CreateBOAZALIMeridiaAccessSettingsUIAddinZALVelmartMeridiaAccessSettingsUIAddin(ZALBaseUnknown* implementation)
{
    if (!implementation)
        return new ZALVelmartMeridiaAccessSettingsUIAddin;
    auto* addin = ZALSysDynamicCast<ZALVelmartMeridiaAccessSettingsUIAddin>(implementation);
    if (addin)
        addin->AddRef();
    return addin;
}
