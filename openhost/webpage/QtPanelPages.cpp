#include "openhost/webpage/QtPanelPages.h"

#include "openhost/webpage/BrowserProfile.h"
#include "openhost/webpage/QtPanelPage.h"

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
