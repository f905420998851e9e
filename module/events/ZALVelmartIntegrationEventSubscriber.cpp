#include "events/ZALVelmartIntegrationEventSubscriber.h"

#include "host/panel.h"

#include <cstdlib>
#include <new>
#include <utility>

VL_DEFINE_META_CLASS(ZALVelmartIntegrationEventSubscriber, ZALEventSubscriber)

/// Keeps the function in force while it runs, because it may be replaced meanwhile.
struct ZALVelmartIntegrationEventSubscriber::RunningFunction {
    explicit RunningFunction(ZALVelmartIntegrationEventSubscriber& subscriber)
        : Subscriber(subscriber), Function(std::exchange(subscriber._MessageFunction, nullptr))
    {
        Subscriber._Running = &Function;
    }
    RunningFunction(const RunningFunction&) = delete;
    RunningFunction& operator=(const RunningFunction&) = delete;
    ~RunningFunction()
    {
        if (Subscriber._Running != &Function)
            return;
        Subscriber._Running = nullptr;
        Subscriber._MessageFunction = std::move(Function);
    }

    ZALVelmartIntegrationEventSubscriber& Subscriber;
    MessageFunction Function;
};

ZALVelmartIntegrationEventSubscriber::ZALVelmartIntegrationEventSubscriber()
{
    // One that hears nothing must not be kept as the one instance.
    if (AddCallback(this, ZALDlgHtmlViewJavaScriptNotification::ClassName(),
                    &ZALVelmartIntegrationEventSubscriber::OnMessage, nullptr) == 0)
        throw std::bad_alloc();
}

ZALVelmartIntegrationEventSubscriber::~ZALVelmartIntegrationEventSubscriber() = default;

ZALVelmartIntegrationEventSubscriber* ZALVelmartIntegrationEventSubscriber::GetUniqueSubscriber()
try {
    static ZALVelmartIntegrationEventSubscriber* const instance = [] {
        auto* created = new ZALVelmartIntegrationEventSubscriber;
        std::atexit([] { GetUniqueSubscriber()->Release(); });
        return created;
    }();
    return instance;
} catch (const std::bad_alloc&) {
    return nullptr;
}

void ZALVelmartIntegrationEventSubscriber::SetMessageFunction(MessageFunction function)
{
    // One that runs stays with the receipt of its message.
    _Running = nullptr;
    _MessageFunction.swap(function);
}

void ZALVelmartIntegrationEventSubscriber::OnMessage(ZALBaseUnknown*, ZALNotification* notification, void*)
try {
    ZALOmxUTF8String text;
    try {
        const auto* message = ZALSysDynamicCast<ZALDlgHtmlViewJavaScriptNotification>(notification);
        if (!message)
            return;
        text = ZALOmxUTF8String(message->GetData(), message->GetDataLength());
    } catch (const std::bad_alloc&) {
        // The empty text tells whoever waits for the message that it is lost.
    }

    if (_Running) {
        (*_Running)(text);
    } else if (_MessageFunction) {
        const RunningFunction running(*this);
        running.Function(text);
    }
} catch (const std::bad_alloc&) {
    // The function is left; it has had the message.
}
