// Pages of the panel in a real browser.
#pragma once

#include "openhost/desktop/browser/QtPanelPage.h"

namespace openhost {

/// Opens pages in Qt WebEngine, each in a window of its own unless it is told another place. Needs a QtDesktop, and the
/// QtEventLoop as the loop in use.
///
/// Pages keep nothing on the disk. They come from https, or from plain http on loopback; other addresses, new windows,
/// downloads and permissions are refused. docs/panel.md tells how injected scripts and the page are kept apart.
class QtPanelPages final : public PanelPages {
public:
    explicit QtPanelPages(QtPanelPage::Place place = ShowAsWindow);
    QtPanelPages(const QtPanelPages&) = delete;
    QtPanelPages& operator=(const QtPanelPages&) = delete;
    ~QtPanelPages() override;

    std::unique_ptr<PanelPage> Open(PanelPage::Listener listener) override;
    PageUser* User() override;

    static void ShowAsWindow(QtPanelPage& page);

private:
    struct Browser;
    std::unique_ptr<Browser> browser_;
};

} // namespace openhost
