#include "openhost/panel/Panel.h"

#include "openhost/dialogs/DialogNode.h"
#include "openhost/journal/Events.h"
#include "openhost/loop/EventLoop.h"
#include "openhost/objects/ClassDictionary.h"
#include "openhost/objects/MetaClassOperations.h"
#include "openhost/panel/HandlersScript.h"
#include "openhost/text/JsonValues.h"
#include "openhost/text/Utf.h"

#include "host/dialogs.h"

#include <algorithm>
#include <utility>

namespace openhost {

/// Publishes the events of the panel's window, whichever panel is open.
class PanelEvents : public ZALBaseUnknown {
public:
    static ZALClassId ClassId();
    static const char* ClassName();
    static ZALMetaClass* MetaObject();
    ZALMetaClass* GetMetaObject() const override;
    const char* IsA() const override;
    int IsAKindOf(const char* className) const override;
};

OPENHOST_META_CLASS(PanelEvents, ZALBaseUnknown)

namespace {

Panel* current = nullptr; ///< with a reference of the run
ZALIMeridiaAccessDialog* replacement = nullptr;

/// The event of the document that tells what becomes of its request.
constexpr const char* ProgressEvent = "velmart:progress";

bool IsQuestionOpen()
{
    return std::ranges::any_of(LiveDialogs(), [](const ZALDialog* dialog) {
        const ZALDialogNode& node = ZALDialogNode::Of(*dialog);
        return node.kind == ZALDialogNode::Kind::Question && node.visible;
    });
}

} // namespace

// ---------------------------------------------------------------------------------------------
// The one panel of the run

Panel* Panel::Current()
{
    return current;
}

Panel* Panel::Open()
{
    if (current)
        return current;
    Owned<Panel> panel(new Panel);
    if (!panel->OpenPage())
        return nullptr;
    current = panel.release();
    journal::Write([] { return journal::Panel{.action = "opened"}; });
    current->MakeAddins();
    return current;
}

void Panel::Close()
{
    if (!current)
        return;
    ZALDlgWindCloseNotification notification;
    DispatchCallbacks(ZALMeridiaAccessServices::GetMeridiaDialogEventPublisher(), &notification);
    End();
}

void Panel::End()
{
    const Owned<Panel> ending(std::exchange(current, nullptr));
    if (!ending)
        return;
    ending->Leave();
    journal::Write([] { return journal::Panel{.action = "closed"}; });
}

void Panel::Replace(ZALIMeridiaAccessDialog* panel)
{
    replacement = panel;
}

void Panel::Leave()
{
    journal_.reset();
    // The page may be reporting, and an addin may be in one of its operations: both end between two events.
    auto leaving = std::make_shared<std::pair<std::unique_ptr<PanelPage>, std::vector<Addin>>>(std::move(page_),
                                                                                               std::move(addins_));
    EventLoop::Current().Post([leaving]() mutable { leaving.reset(); });
}

Panel::Panel()
    : requests_([this](const std::string& document, const nlohmann::ordered_json& detail) {
          if (page_)
              page_->DispatchEvent(document, ProgressEvent, ToJsonText(detail));
      })
{
}

Panel::~Panel() = default;

// ---------------------------------------------------------------------------------------------
// The page

bool Panel::OpenPage()
{
    static std::uint64_t last = 0;
    number_ = ++last;
    // By the number, because a page may outlive its panel by an event.
    const auto isOpen = [number = number_] { return current && current->number_ == number; };
    page_ = PanelPages::Current().Open({
        .urlChanged =
            [this, isOpen](const std::string& url) {
                if (!isOpen())
                    return;
                journal::Write([&] { return journal::Url{.url = url}; });
                Tell("OnPageUrl", &ZALIMeridiaAccessDialogAddin::OnPageUrl, url);
            },
        .messageSent =
            [this, isOpen](const std::string& message, const std::string& document) {
                if (isOpen())
                    TakeMessage(message, document);
            },
        .closed =
            [isOpen] {
                if (isOpen())
                    Close();
            },
    });
    return page_ != nullptr;
}

HRESULT Panel::ExecuteScript(const ZALUnicodeString& script)
{
    const std::string text = ToUtf8(script);
    if (!page_ || !(IsHandlersScript(script) ? page_->ExecuteHandlers(text) : page_->ExecuteScript(text)))
        return E_FAIL;
    journal::Write([&] { return journal::Script{.text = text}; });
    return S_OK;
}

HRESULT Panel::LoadUrl(const ZALUnicodeString& url)
{
    const std::string address = ToUtf8(url);
    if (!page_ || !page_->LoadUrl(address))
        return E_FAIL;
    journal::Write([&] { return journal::Load{.url = address}; });
    return S_OK;
}

// ---------------------------------------------------------------------------------------------
// The addins

void Panel::MakeAddins()
{
    for (const std::string& className :
         ClassDictionary::Instance().ClassesOffering(ZALIMeridiaAccessDialogAddin::ClassName()))
        MakeAddin(className);
}

void Panel::MakeAddin(const std::string& className)
{
    if (std::ranges::find(addins_, className, &Addin::className) != addins_.end())
        return;
    Addin addin{className, Owned<ZALBaseUnknown>(ClassDictionary::Instance().Create(className)), nullptr};
    ZALBaseUnknown* found = nullptr;
    if (!addin.implementation ||
        FAILED(addin.implementation->QueryInterface(ZALIMeridiaAccessDialogAddin::ClassName(), &found)))
        return;
    addin.interface.reset(static_cast<ZALIMeridiaAccessDialogAddin*>(found));
    ZALIMeridiaAccessDialogAddin& interface = *addin.interface;
    addins_.push_back(std::move(addin));
    journal::WriteResult("SetAccessDialog", interface.SetAccessDialog(this));
}

HRESULT Panel::GetAddin(const ZALString& className, ZALBaseUnknown** addin)
{
    if (!addin)
        return E_INVALIDARG;
    *addin = nullptr;
    if (!page_)
        return E_FAIL;
    MakeAddins();
    const auto found = std::ranges::find(addins_, std::string(className.CastToCharPtr()), &Addin::className);
    if (found == addins_.end())
        return E_FAIL;
    *addin = Share(found->implementation.get()).release();
    return S_OK;
}

bool Panel::Tell(const char* name, AddinOperation operation, const std::string& text)
{
    MakeAddins();
    std::vector<Owned<ZALIMeridiaAccessDialogAddin>> told;
    for (const Addin& addin : addins_)
        told.push_back(Share(addin.interface.get()));
    const ZALUnicodeString argument = FromUtf8(text);
    bool taken = false;
    for (const auto& addin : told) {
        const HRESULT result = (addin.get()->*operation)(argument);
        taken = taken || SUCCEEDED(result);
        journal::WriteResult(name, result);
    }
    return taken;
}

// ---------------------------------------------------------------------------------------------
// The requests of the page

void Panel::TakeMessage(const std::string& message, const std::string& document)
{
    // The panel may be closed meanwhile.
    const Owned<Panel> held = Share(this);
    journal::Write([&] { return journal::Message{.text = message}; });
    const std::size_t number = requests_.Begin(message, document);
    if (!requests_.IsEmpty() && !journal_)
        journal_.emplace([this](const nlohmann::ordered_json& event) { TakeEvent(event); });
    const bool taken = Tell("OnJSMessage", &ZALIMeridiaAccessDialogAddin::OnJSMessage, message);
    requests_.Returned(number, taken);
    if (requests_.IsEmpty())
        journal_.reset();
}

void Panel::TakeEvent(const nlohmann::ordered_json& event)
{
    requests_.Receive(event);
    if (requests_.IsSettling() || requests_.IsEmpty())
        EventLoop::Current().Post([this, number = number_] {
            if (current && current->number_ == number)
                SettleRequests();
        });
}

void Panel::SettleRequests()
{
    // The answer of an open question is an event, after which this is tried again.
    if (!IsQuestionOpen())
        requests_.Settle();
    if (requests_.IsEmpty())
        journal_.reset();
}

} // namespace openhost

// ---------------------------------------------------------------------------------------------
// The host view

ZALIMeridiaAccessDialog_var ZALMeridiaAccessServices::GetCurrentMeridiaAccessDialog()
{
    using openhost::replacement;
    return ZALIMeridiaAccessDialog_var(replacement ? replacement : openhost::Panel::Current());
}

ZALIMeridiaAccessDialog_var ZALMeridiaAccessServices::GetOrCreateMeridiaAccessDialog()
{
    using openhost::replacement;
    return ZALIMeridiaAccessDialog_var(replacement ? replacement : openhost::Panel::Open());
}

ZALBaseUnknown* ZALMeridiaAccessServices::GetMeridiaDialogEventPublisher()
{
    // Never destroyed: subscribers of a module may end after the statics of this library.
    static auto& events = *new openhost::PanelEvents;
    return &events;
}
