#include "openhost/panel/RecordedPage.h"

#include <utility>

namespace openhost {

namespace {
RecordedPage* current = nullptr;
}

RecordedPage::RecordedPage(Listener listener) : listener_(std::move(listener))
{
    current = this;
}

RecordedPage::~RecordedPage()
{
    if (current == this)
        current = nullptr;
}

RecordedPage* RecordedPage::Current()
{
    return current;
}

bool RecordedPage::LoadUrl(const std::string& url)
{
    if (!takesUrls)
        return false;
    urls_.push_back(url);
    return true;
}

bool RecordedPage::ExecuteScript(const std::string& script)
{
    if (!takesScripts)
        return false;
    scripts_.push_back(script);
    return true;
}

bool RecordedPage::ExecuteHandlers(const std::string& script)
{
    if (!ExecuteScript(script))
        return false;
    handlers_.push_back(script);
    return true;
}

void RecordedPage::DispatchEvent(const std::string&, const std::string&, const std::string& detail)
{
    events_.push_back(detail);
}

std::unique_ptr<PanelPage> RecordedPages::Open(PanelPage::Listener listener)
{
    return std::make_unique<RecordedPage>(std::move(listener));
}

} // namespace openhost
