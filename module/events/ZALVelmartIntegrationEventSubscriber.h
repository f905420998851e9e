// Receives JSON messages from another component of the host.
#pragma once

#include "objects/MetaClassOperations.h"
#include "host/json.h"

#include <functional>
#include <memory>

/// The channel into the module. The other component makes this class by name, which gives the one instance,
/// and dispatches ZALDlgHtmlViewJavaScriptNotification on it. Used on the user-interface thread.
class ZALVelmartIntegrationEventSubscriber : public ZALEventSubscriber {
    VL_DECLARE_META_CLASS
public:
    ~ZALVelmartIntegrationEventSubscriber() override;

    using MessageFunction = std::function<void(const ZALOmxUTF8String&)>;

    /// The one instance, made at the first call and released at module unload. No reference is added.
    static ZALVelmartIntegrationEventSubscriber* GetUniqueSubscriber();
    /// Replaces what receives each message; it stays in force until it is replaced. Without one, messages
    /// are dropped.
    void SetMessageFunction(MessageFunction function);

private:
    ZALVelmartIntegrationEventSubscriber();
    void OnMessage(ZALBaseUnknown* publisher, ZALNotification* notification, void* data);

    std::shared_ptr<MessageFunction> _MessageFunction;
};
