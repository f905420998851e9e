#include "events/ZALVelmartIntegrationEventPublisher.h"

#include "host/panel.h"

#include <cstdlib>

VL_DEFINE_META_CLASS(ZALVelmartIntegrationEventPublisher, ZALEventSubscriber)

ZALVelmartIntegrationEventPublisher::ZALVelmartIntegrationEventPublisher() = default;

ZALVelmartIntegrationEventPublisher::~ZALVelmartIntegrationEventPublisher() = default;

ZALVelmartIntegrationEventPublisher* ZALVelmartIntegrationEventPublisher::GetPrtOnUniqueInstance()
{
    static ZALVelmartIntegrationEventPublisher* const instance = [] {
        auto* created = new ZALVelmartIntegrationEventPublisher;
        std::atexit([] { GetPrtOnUniqueInstance()->Release(); });
        return created;
    }();
    return instance;
}

bool ZALVelmartIntegrationEventPublisher::HasJSMessageListeners()
{
    std::vector<ZALBaseUnknown*> subscribers;
    ZALSysGetSubscribers(GetPrtOnUniqueInstance(), ZALDlgHtmlViewJavaScriptNotification::ClassName(), subscribers);
    return !subscribers.empty();
}

HRESULT ZALVelmartIntegrationEventPublisher::SendJSMessage(const ZALOmxUTF8String& message)
{
    const std::size_t length = message.GetByteLength();
    const char* data = message.GetData();
    ZALDlgHtmlViewJavaScriptNotification notification("", data, length);
    DispatchCallbacks(GetPrtOnUniqueInstance(), &notification);
    return S_OK;
}

HRESULT ZALVelmartIntegrationEventPublisher::SendEndTransactionEvent(const ZALListValZALUnicodeString& paths,
                                                                     const ZALUnicodeString& docEnvId)
{
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
}
