// What the browser panel shows.
#pragma once

#include "openhost/ports/Port.h"

#include <functional>
#include <string>

namespace openhost {

class PageUser;

/// The page in the panel: a recorded one, or one in a real browser. Texts are UTF-8. Used on the user-interface thread.
class PanelPage {
public:
    /// Where a page reports what happens in it, always from the event loop, never from inside an operation.
    struct Listener {
        std::function<void(const std::string& url)> urlChanged; ///< once a page has loaded
        /// By the handlers script in `document`, to the host. A document has a name that no other one has.
        std::function<void(const std::string& message, const std::string& document)> messageSent;
        std::function<void()> closed; ///< the user has closed the panel
    };

    virtual ~PanelPage() = default;
    /// Begins to load `url`. False for an address that cannot be shown.
    virtual bool LoadUrl(const std::string& url) = 0;
    /// Runs `script` in the page. False when no page has loaded.
    virtual bool ExecuteScript(const std::string& script) = 0;
    /// The same for the handlers script. It is run twice: apart from all other scripts, where it alone has the channel
    /// to the host, and beside them, without it.
    virtual bool ExecuteHandlers(const std::string& script) = 0;
    /// Dispatches the event `name` with the text `detail` in `document`. Nothing happens once it has been left.
    virtual void DispatchEvent(const std::string& document, const std::string& name, const std::string& detail) = 0;
};

/// Port of what opens pages for the panel. Backends: QtPanelPages, RecordedPages.
class PanelPages : public Port<PanelPages> {
public:
    virtual ~PanelPages();

    /// Pages of which none opens: a host without a panel.
    static std::unique_ptr<PanelPages> WithoutBackend();

    /// The page of a panel that opens; null where none can. Its destruction closes it, without a report.
    virtual std::unique_ptr<PanelPage> Open(PanelPage::Listener listener) = 0;
    /// A user of the page that was opened last; null when it is closed, or pages are not those of a real browser.
    virtual PageUser* User() { return nullptr; }
};

extern template class Port<PanelPages>;

} // namespace openhost
