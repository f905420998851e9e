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

void ZALVelmartIntegrationEventSubscriber::SetMessageFunction(MessageFunction function)
{
    _MessageFunction = std::make_shared<MessageFunction>(std::move(function));
}

void ZALVelmartIntegrationEventSubscriber::OnMessage(ZALBaseUnknown*, ZALNotification* notification, void*)
{
    const auto* message = ZALSysDynamicCast<ZALDlgHtmlViewJavaScriptNotification>(notification);
    if (!message)
        return;

    const ZALOmxUTF8String text(message->GetData(), message->GetDataLength());
    // Held during the call, because the function may replace itself.
    const std::shared_ptr<MessageFunction> function = _MessageFunction;
    if (function && *function)
        (*function)(text);
}
