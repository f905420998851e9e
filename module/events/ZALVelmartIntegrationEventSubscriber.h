// Receives JSON messages from another component of the host.
#pragma once

#include "host/json.h"
#include "objects/MetaClassOperations.h"

#include <functional>

/// The channel into the module. The other component makes this class by name, which gives the one instance,
/// and dispatches ZALDlgHtmlViewJavaScriptNotification on it. Used on the user-interface thread.
class ZALVelmartIntegrationEventSubscriber : public ZALEventSubscriber {
    VL_DECLARE_META_CLASS
public:
    ~ZALVelmartIntegrationEventSubscriber() override;

    using MessageFunction = std::function<void(const ZALOmxUTF8String&)>;

    /// The one instance, made at the first call and released at module unload; null only if its creation failed. No
    /// reference is added.
    static ZALVelmartIntegrationEventSubscriber* GetUniqueSubscriber();
    /// Replaces what receives each message; it stays in force until it is replaced. Without one, messages
    /// are dropped. A message that memory had no room for comes as an empty text.
    void SetMessageFunction(MessageFunction function);

private:
    struct RunningFunction;

    ZALVelmartIntegrationEventSubscriber();
    void OnMessage(ZALBaseUnknown* publisher, ZALNotification* notification, void* data);

    MessageFunction _MessageFunction;    ///< in force; empty while it runs
    MessageFunction* _Running = nullptr; ///< the function in force while it runs, otherwise null
};
