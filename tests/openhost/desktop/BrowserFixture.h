// A page in the real browser, with the loop under it.
#pragma once

#include "openhost/desktop/Desktop.h"
#include "openhost/panel/PageUser.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace openhost::testing {

/// The desktop of the test's process, offscreen.
Desktop& TestDesktop();

/// What a page has reported.
struct PageReports {
    std::vector<std::string> urls;
    std::vector<std::string> messages;
    std::vector<std::string> documents; ///< of the messages
    int closed = 0;

    PanelPage::Listener Listener();
};

/// Runs with the loop of the desktop, and opens pages.
class BrowserFixture : public ::testing::Test {
protected:
    BrowserFixture();
    ~BrowserFixture() override;

    /// Opens the page, in place of the one of before.
    void Open();
    /// Loads `url` and waits until the page has told what came of it.
    void Load(const std::string& url);
    /// Runs the loop until `done`; false when that takes longer than any machine should.
    static bool Until(const std::function<bool()>& done);
    /// Runs the loop until a visible element is there.
    bool UntilShown(const std::string& selector);
    /// Runs a script in the world of the handlers that sends a message, and waits for the message.
    std::string Ask(const std::string& expression);
    PageUser& User() { return *pages_->User(); }

    std::unique_ptr<EventLoop> before_;
    std::unique_ptr<PanelPages> pages_;
    PageReports reports_;
    std::unique_ptr<PanelPage> page_;
};

} // namespace openhost::testing
