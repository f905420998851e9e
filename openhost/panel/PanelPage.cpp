#include "openhost/panel/PanelPage.h"

#include <utility>

namespace openhost {

namespace {

std::unique_ptr<PanelPages> current;

}

PanelPages* PanelPages::Current()
{
    return current.get();
}

std::unique_ptr<PanelPages> PanelPages::Install(std::unique_ptr<PanelPages> pages)
{
    return std::exchange(current, std::move(pages));
}

} // namespace openhost
