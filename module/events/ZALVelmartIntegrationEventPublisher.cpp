#include "events/ZALVelmartIntegrationEventPublisher.h"

#include "host/panel.h"

#include <cstdlib>
#include <new>

VL_DEFINE_META_CLASS(ZALVelmartIntegrationEventPublisher, ZALEventSubscriber)

ZALVelmartIntegrationEventPublisher::ZALVelmartIntegrationEventPublisher() = default;

ZALVelmartIntegrationEventPublisher::~ZALVelmartIntegrationEventPublisher() = default;

ZALVelmartIntegrationEventPublisher* ZALVelmartIntegrationEventPublisher::GetPrtOnUniqueInstance()
try {
    static ZALVelmartIntegrationEventPublisher* const instance = [] {
        auto* created = new ZALVelmartIntegrationEventPublisher;
        std::atexit([] { GetPrtOnUniqueInstance()->Release(); });
        return created;
    }();
    return instance;
} catch (const std::bad_alloc&) {
    return nullptr;
}

bool ZALVelmartIntegrationEventPublisher::HasJSMessageListeners()
try {
    ZALVelmartIntegrationEventPublisher* const publisher = GetPrtOnUniqueInstance();
    if (!publisher)
        return false;
    std::vector<ZALBaseUnknown*> subscribers;
    ZALSysGetSubscribers(publisher, ZALDlgHtmlViewJavaScriptNotification::ClassName(), subscribers);
    return !subscribers.empty();
} catch (const std::bad_alloc&) {
    return false;
}

HRESULT ZALVelmartIntegrationEventPublisher::SendJSMessage(const ZALOmxUTF8String& message)
try {
    DeliverMessage(message);
    return S_OK;
} catch (const std::bad_alloc&) {
    return S_OK;
}

void ZALVelmartIntegrationEventPublisher::DeliverMessage(const ZALOmxUTF8String& message)
{
    ZALVelmartIntegrationEventPublisher* const publisher = GetPrtOnUniqueInstance();
    if (!publisher)
        return;
    const std::size_t length = message.GetByteLength();
    const char* data = message.GetData();
    ZALDlgHtmlViewJavaScriptNotification notification("", data, length);
    DispatchCallbacks(publisher, &notification);
}

HRESULT ZALVelmartIntegrationEventPublisher::SendEndTransactionEvent(const ZALListValZALUnicodeString& paths,
                                                                     const ZALUnicodeString& docEnvId)
try {
    if (!(docEnvId == "UT5"))
        return E_FAIL;

    if (paths.Size() == 0)
        return E_FAIL;

    ZALOmxTextStream stream;
    ZALOmxJsonWriter writer(stream);
    writer.Object();
    writer.Attribute("method", "EndTransaction");
    writer.Attribute("params");
    writer.Object();
    writer.Attribute("filePathes");
    writer.List();
    for (int index = 1; index <= paths.Size(); ++index)
        writer.Item(paths[index].ConvertToUTF8());
    writer.End();
    writer.End();
    writer.End();

    SendJSMessage(stream.ToUTF8String());
    return S_OK;
} catch (const std::bad_alloc&) {
    return E_FAIL;
}
