#include "openhost/desktop/browser/QtPanelPages.h"

#include "openhost/desktop/browser/BrowserProfile.h"
#include "openhost/desktop/browser/QtPanelPage.h"

#include <QPointer>

namespace openhost {

struct QtPanelPages::Browser {
    std::unique_ptr<QWebEngineProfile> profile = MakeBrowserProfile();
    QPointer<QtPanelPage> newest;
};

QtPanelPages::QtPanelPages() : browser_(std::make_unique<Browser>()) {}

QtPanelPages::~QtPanelPages() = default;

std::unique_ptr<PanelPage> QtPanelPages::Open(PanelPage::Listener listener)
{
    auto page = std::make_unique<QtPanelPage>(*browser_->profile, std::move(listener));
    browser_->newest = page.get();
    return page;
}

PageUser* QtPanelPages::User()
{
    return browser_->newest;
}

} // namespace openhost
