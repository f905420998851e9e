#include "openhost/panel/PanelPage.h"

namespace openhost {

template class Port<PanelPages>;

namespace {
class NoPages final : public PanelPages {
public:
    std::unique_ptr<PanelPage> Open(PanelPage::Listener) override { return nullptr; }
};
} // namespace

PanelPages::~PanelPages() = default;

std::unique_ptr<PanelPages> PanelPages::WithoutBackend()
{
    return std::make_unique<NoPages>();
}

} // namespace openhost
