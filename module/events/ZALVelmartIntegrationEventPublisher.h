// Sends JSON messages to another component of the host.
#pragma once

#include "host/json.h"
#include "objects/MetaClassOperations.h"

/// The channel out of the module. The other component makes this class by name, which gives the one instance,
/// and subscribes to ZALDlgHtmlViewJavaScriptNotification on it. Used on the user-interface thread.
class ZALVelmartIntegrationEventPublisher : public ZALEventSubscriber {
    VL_DECLARE_META_CLASS
public:
    ~ZALVelmartIntegrationEventPublisher() override;

    /// The one instance, made at the first call and released at module unload; null only if its creation failed. No
    /// reference is added.
    static ZALVelmartIntegrationEventPublisher* GetPrtOnUniqueInstance();
    /// Whether anybody has subscribed to messages.
    static bool HasJSMessageListeners();
    /// Delivers `message` before it returns; listeners may answer inside the call. Without a listener the
    /// message is lost. So it is without memory. Always S_OK.
    static HRESULT SendJSMessage(const ZALOmxUTF8String& message);
    /// Tells that the files `paths` were put to use. E_FAIL, and nothing sent, unless `docEnvId` is "UT5" and
    /// there are paths.
    static HRESULT SendEndTransactionEvent(const ZALListValZALUnicodeString& paths, const ZALUnicodeString& docEnvId);

private:
    /// Its downloads must not wait for the answer to a message that was lost.
    friend class ZALVelmartFileDownloader;

    ZALVelmartIntegrationEventPublisher();
    /// SendJSMessage that throws std::bad_alloc when there is no memory to deliver the message.
    static void DeliverMessage(const ZALOmxUTF8String& message);
};
