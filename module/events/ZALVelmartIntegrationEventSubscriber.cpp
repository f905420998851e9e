#include "events/ZALVelmartIntegrationEventSubscriber.h"

#include "host/panel.h"

#include <cstdlib>

VL_DEFINE_META_CLASS(ZALVelmartIntegrationEventSubscriber, ZALEventSubscriber)

ZALVelmartIntegrationEventSubscriber::ZALVelmartIntegrationEventSubscriber()
{
    AddCallback(this, ZALDlgHtmlViewJavaScriptNotification::ClassName(),
                &ZALVelmartIntegrationEventSubscriber::OnMessage, nullptr);
}

ZALVelmartIntegrationEventSubscriber::~ZALVelmartIntegrationEventSubscriber() = default;

ZALVelmartIntegrationEventSubscriber* ZALVelmartIntegrationEventSubscriber::GetUniqueSubscriber()
{
    static ZALVelmartIntegrationEventSubscriber* const instance = [] {
        auto* created = new ZALVelmartIntegrationEventSubscriber;
        std::atexit([] { GetUniqueSubscriber()->Release(); });
        return created;
    }();
    return instance;
}

void ZALVelmartIntegrationEventSubscriber::SetMessageFunction(std::function<void(const ZALOmxUTF8String&)> function)
{
    _MessageFunction = std::move(function);
}

void ZALVelmartIntegrationEventSubscriber::OnMessage(ZALBaseUnknown*, ZALNotification* notification, void*)
{
    const auto* message = ZALSysDynamicCast<ZALDlgHtmlViewJavaScriptNotification>(notification);
    if (!message)
        return;

    const ZALOmxUTF8String text(message->GetData(), message->GetDataLength());
    // A copy, because the function may replace itself.
    if (const auto function = _MessageFunction)
        function(text);
}
