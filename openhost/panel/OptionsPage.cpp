#include "openhost/panel/OptionsPage.h"

#include "host/dialogs.h"
#include "openhost/journal/Events.h"
#include "openhost/loop/EventLoop.h"
#include "openhost/objects/ClassDictionary.h"

#include <stdexcept>
#include <string>

namespace openhost {

namespace {

constexpr const char* AddinClass = "ZALVelmartMeridiaAccessSettingsUIAddin";

} // namespace

/// Calls the addin for the buttons.
class OptionsPage::Window : public ZALDlgDialog {
public:
    explicit Window(OptionsPage& owner) : ZALDlgDialog(nullptr, WindowName, ZALDlgOKCancelWindow), owner_(&owner)
    {
        AddCallback(this, ZALDlgOKNotification::ClassName(), &Window::OnOK, nullptr);
        AddCallback(this, ZALDlgCancelNotification::ClassName(), &Window::OnCancel, nullptr);
        AddCallback(this, ZALDlgWindCloseNotification::ClassName(), &Window::OnCancel, nullptr);
    }

    void AddResetButton()
    {
        auto* button = new ZALDlgPushButton(this, ResetName, ZALDlgNoStyle);
        AddCallback(button, ZALDlgPushActivateNotification::ClassName(), &Window::OnReset, nullptr);
    }

    /// The page is gone before its window.
    void Forget() { owner_ = nullptr; }

private:
    using Operation = HRESULT (ZALIMeridiaAccessSettingsUIAddin::*)();

    void OnOK(ZALBaseUnknown*, ZALNotification*, void*)
    {
        CallAndClose("Save", &ZALIMeridiaAccessSettingsUIAddin::Save);
    }
    void OnCancel(ZALBaseUnknown*, ZALNotification*, void*)
    {
        CallAndClose("Restore", &ZALIMeridiaAccessSettingsUIAddin::Restore);
    }
    void OnReset(ZALBaseUnknown*, ZALNotification*, void*)
    {
        Call("Reset", &ZALIMeridiaAccessSettingsUIAddin::Reset);
        Call("Refresh", &ZALIMeridiaAccessSettingsUIAddin::Refresh);
    }

    void Call(const char* name, Operation operation)
    {
        if (owner_ && owner_->IsOpen())
            journal::WriteResult(name, (owner_->Addin().*operation)());
    }
    void CallAndClose(const char* name, Operation operation)
    {
        Call(name, operation);
        if (owner_)
            owner_->Close();
    }

    OptionsPage* owner_;
};

OptionsPage::~OptionsPage()
{
    Close();
}

bool OptionsPage::Open()
{
    if (addin_)
        throw std::runtime_error("the options are open already");

    const Owned<ZALBaseUnknown> object(ClassDictionary::Instance().Create(AddinClass));
    auto addin = ZALInterfaceHandle<ZALIMeridiaAccessSettingsUIAddin>(object.get());
    if (!addin)
        throw std::runtime_error(std::string("the module has no ") + AddinClass);

    auto* window = new Window(*this);
    window_ = Share<ZALBaseUnknown>(window);
    addin_ = std::move(addin);
    const ZALDlgToolsOptionsFrame* page = addin_->CreateFrame(window);
    window->AddResetButton();
    window->SetVisibility(ZALDlgShow);
    return page != nullptr;
}

ZALIMeridiaAccessSettingsUIAddin& OptionsPage::Addin() const
{
    if (!addin_)
        throw std::runtime_error("the options are not open");
    return *addin_.operator->();
}

void OptionsPage::Close()
{
    addin_ = {};
    if (const Owned<ZALBaseUnknown> ending = std::move(window_)) {
        auto& window = static_cast<Window&>(*ending);
        window.Forget();
        window.RequestDelayedDestruction();
    }
}

} // namespace openhost
