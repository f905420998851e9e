// The browser panel of the run.
#pragma once

#include "openhost/journal/Journal.h"
#include "openhost/objects/Owned.h"
#include "openhost/panel/PanelPage.h"
#include "openhost/panel/RequestState.h"

#include "host/panel.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace openhost {

/// The panel as modules see it. What it shows is a page of PanelPages. Each class of the dictionary that offers
/// ZALIMeridiaAccessDialogAddin has one addin in it, made when the panel opens; for one that is registered later, when
/// it is asked for. What the page reports goes to all of them, in the order of their making, and into the journal, as
/// do the scripts and addresses that it has taken. A document that sends a request is told what becomes of it. The
/// handlers script, and no other, is given the channel of the page to the host.
///
/// The panel ends with its addins when the user closes it; who still holds the object finds it without a page.
class Panel : public ZALIMeridiaAccessDialog {
public:
    /// The open panel, or null. No reference is added.
    static Panel* Current();
    /// The open panel, opened when there is none; null when the host has no pages. No reference is added.
    static Panel* Open();
    /// Closes it as the user does: ZALDlgWindCloseNotification on the event publisher, then the end.
    static void Close();
    /// Ends the panel without telling anybody, at the end of a run.
    static void End();

    /// Gives modules `panel`, the caller's, in place of the run's own, open or not; null goes back to that.
    static void Replace(ZALIMeridiaAccessDialog* panel);

    ~Panel() override;

    HRESULT ExecuteScript(const ZALUnicodeString& script) override;
    HRESULT LoadUrl(const ZALUnicodeString& url) override;
    HRESULT GetAddin(const ZALString& className, ZALBaseUnknown** addin) override;

private:
    struct Addin {
        std::string className;
        Owned<ZALBaseUnknown> implementation;
        Owned<ZALIMeridiaAccessDialogAddin> interface;
    };
    using AddinOperation = HRESULT (ZALIMeridiaAccessDialogAddin::*)(const ZALUnicodeString& text);

    Panel();
    bool OpenPage();
    void MakeAddins();
    void MakeAddin(const std::string& className);
    /// Whether one of them has taken it.
    bool Tell(const char* name, AddinOperation operation, const std::string& text);
    void TakeMessage(const std::string& message, const std::string& document);
    void TakeEvent(const nlohmann::ordered_json& event);
    void SettleRequests();
    void Leave();

    std::uint64_t number_ = 0;
    std::unique_ptr<PanelPage> page_; ///< null once the panel is closed
    std::vector<Addin> addins_;
    RequestState requests_;
    std::optional<journal::Listener> journal_; ///< as long as there are requests
};

} // namespace openhost
