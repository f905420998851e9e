#include "openhost/play/OptionsPage.h"

#include "host/dialogs.h"
#include "openhost/objects/ClassDictionary.h"
#include "openhost/objects/Owned.h"
#include "openhost/play/SessionStep.h"

#include <string>

namespace openhost {

namespace {

constexpr const char* AddinClass = "ZALVelmartMeridiaAccessSettingsUIAddin";

} // namespace

bool OptionsPage::Open()
{
    if (addin_)
        throw StepFailure("the options are open already");

    const Owned<ZALBaseUnknown> object(ClassDictionary::Instance().Create(AddinClass));
    addin_ = ZALInterfaceHandle<ZALIMeridiaAccessSettingsUIAddin>(object.get());
    if (!addin_)
        throw StepFailure(std::string("the module has no ") + AddinClass);

    auto* window = new ZALDlgDialog(nullptr, WindowName, ZALDlgNoStyle);
    const ZALDlgToolsOptionsFrame* page = addin_->CreateFrame(window);
    window->SetVisibility(ZALDlgShow);
    return page != nullptr;
}

ZALIMeridiaAccessSettingsUIAddin& OptionsPage::Addin() const
{
    if (!addin_)
        throw StepFailure("the options are not open");
    return *addin_.operator->();
}

} // namespace openhost
