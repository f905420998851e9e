// Pages that nobody looks at.
#pragma once

#include "openhost/panel/PanelPage.h"

#include <string>
#include <vector>

namespace openhost {

/// A page without a browser, which keeps what is asked of it. What a page reports is said by its user.
class RecordedPage final : public PanelPage {
public:
    explicit RecordedPage(Listener listener);
    RecordedPage(const RecordedPage&) = delete;
    RecordedPage& operator=(const RecordedPage&) = delete;
    ~RecordedPage() override;

    /// The page made last, or null once it is gone.
    static RecordedPage* Current();

    bool LoadUrl(const std::string& url) override;
    bool ExecuteScript(const std::string& script) override;
    bool ExecuteHandlers(const std::string& script) override;
    void DispatchEvent(const std::string& document, const std::string& name, const std::string& detail) override;

    bool takesScripts = true; ///< otherwise no page has loaded
    bool takesUrls = true;
    /// What was taken, in order.
    const std::vector<std::string>& Scripts() const { return scripts_; }
    /// Those of them that were given the channel.
    const std::vector<std::string>& Handlers() const { return handlers_; }
    const std::vector<std::string>& Urls() const { return urls_; }
    /// Details of the events for the document, in order.
    const std::vector<std::string>& Events() const { return events_; }

    // Reports. To be made as from the event loop; the page may be gone when they return.

    void ReportUrl(const std::string& url) { Listener(listener_).urlChanged(url); }
    void ReportMessage(const std::string& message) { Listener(listener_).messageSent(message, "recorded"); }
    void ReportClosed() { Listener(listener_).closed(); }

private:
    Listener listener_;
    std::vector<std::string> scripts_;
    std::vector<std::string> handlers_;
    std::vector<std::string> urls_;
    std::vector<std::string> events_;
};

/// Opens recorded pages.
class RecordedPages final : public PanelPages {
public:
    std::unique_ptr<PanelPage> Open(PanelPage::Listener listener) override;
};

} // namespace openhost
