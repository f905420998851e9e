#include "openhost/desktop/browser/QtPanelPages.h"

#include "openhost/desktop/browser/BrowserProfile.h"
#include "openhost/desktop/browser/QtPanelPage.h"

#include <QPointer>

namespace openhost {

struct QtPanelPages::Browser {
    std::unique_ptr<QWebEngineProfile> profile = MakeBrowserProfile();
    QtPanelPage::Place place;
    QPointer<QtPanelPage> newest;
};

QtPanelPages::QtPanelPages(QtPanelPage::Place place) : browser_(std::make_unique<Browser>())
{
    browser_->place = std::move(place);
}

void QtPanelPages::ShowAsWindow(QtPanelPage& page)
{
    page.show();
    page.activateWindow();
}

QtPanelPages::~QtPanelPages() = default;

std::unique_ptr<PanelPage> QtPanelPages::Open(PanelPage::Listener listener)
{
    auto page = std::make_unique<QtPanelPage>(*browser_->profile, std::move(listener), browser_->place);
    browser_->newest = page.get();
    return page;
}

PageUser* QtPanelPages::User()
{
    return browser_->newest;
}

} // namespace openhost
