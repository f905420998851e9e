#include "tests/openhost/desktop/BrowserFixture.h"

#include "openhost/desktop/QtDesktop.h"

#include <cstdlib>

namespace openhost::testing {

namespace {

using namespace std::chrono_literals;

constexpr auto MaximumWait = 90s;

std::unique_ptr<QtDesktop> desktop;

/// Has the desktop there before the first test, and down before the process ends.
class DesktopLife : public ::testing::Environment {
public:
    void SetUp() override
    {
        ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
        ::setenv("LC_ALL", "C", 1); // pages speak the user's language
        desktop = std::make_unique<QtDesktop>();
    }
    void TearDown() override { desktop.reset(); }
};

[[maybe_unused]] ::testing::Environment* const desktopLife = ::testing::AddGlobalTestEnvironment(new DesktopLife);

} // namespace

Desktop& TestDesktop()
{
    return *desktop;
}

PanelPage::Listener PageReports::Listener()
{
    return {.urlChanged = [this](const std::string& url) { urls.push_back(url); },
            .messageSent =
                [this](const std::string& message, const std::string& document) {
                    messages.push_back(message);
                    documents.push_back(document);
                },
            .closed = [this] { ++closed; }};
}

BrowserFixture::BrowserFixture()
{
    before_ = EventLoop::Install(TestDesktop().MakeLoop());
    pages_ = TestDesktop().MakePages();
    Open();
}

BrowserFixture::~BrowserFixture()
{
    page_.reset();
    pages_.reset();
    EventLoop::Install(std::move(before_));
}

void BrowserFixture::Open()
{
    page_.reset();
    page_ = pages_->Open(reports_.Listener());
}

void BrowserFixture::Load(const std::string& url)
{
    const std::size_t before = reports_.urls.size();
    ASSERT_TRUE(page_->LoadUrl(url));
    ASSERT_TRUE(Until([&] { return reports_.urls.size() > before; })) << url;
}

bool BrowserFixture::Until(const std::function<bool()>& done)
{
    EventLoop& loop = EventLoop::Current();
    const EventLoop::Timer alive = loop.CallAfter(MaximumWait, [] {});
    const RunEnd end = loop.RunUntil(done, MaximumWait);
    loop.CancelTimer(alive);
    return end == RunEnd::Done;
}

bool BrowserFixture::UntilShown(const std::string& selector)
{
    const auto start = std::chrono::steady_clock::now();
    while (!User().Shows(selector)) {
        if (std::chrono::steady_clock::now() - start > MaximumWait)
            return false;
        bool passed = false;
        EventLoop::Current().CallAfter(10ms, [&passed] { passed = true; });
        Until([&passed] { return passed; });
    }
    return true;
}

std::string BrowserFixture::Ask(const std::string& expression)
{
    const std::size_t before = reports_.messages.size();
    if (!page_->ExecuteHandlers("hostPanel.sendMessage(String(" + expression + "));"))
        return "no page";
    if (!Until([&] { return reports_.messages.size() > before; }))
        return "no answer";
    return reports_.messages.back();
}

} // namespace openhost::testing
