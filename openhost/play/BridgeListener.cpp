#include "openhost/play/BridgeListener.h"

#include "openhost/loop/EventLoop.h"
#include "openhost/objects/ClassDictionary.h"

#include "host/panel.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace openhost {

namespace {

/// The identifier under which the module answers a request that has none.
constexpr const char* NoIdentifier = "-1";

/// The members of a message that is a map; nothing for any other text.
nlohmann::json Members(const std::string& message)
{
    const nlohmann::json members = nlohmann::json::parse(message, nullptr, false);
    return members.is_object() ? members : nlohmann::json::object();
}

std::string Method(const nlohmann::json& members)
{
    const auto method = members.find("method");
    return method != members.end() && method->is_string() ? method->get<std::string>() : std::string();
}

std::string Identifier(const nlohmann::json& members)
{
    const auto identifier = members.find("id");
    return identifier != members.end() && identifier->is_number_integer() ? identifier->dump() : NoIdentifier;
}

} // namespace

BridgeListener::BridgeListener(std::vector<Reply> replies)
    : replies_(std::move(replies)), publisher_(ClassDictionary::Instance().Create(PublisherClass)),
      subscriber_(ClassDictionary::Instance().Create(SubscriberClass))
{
    if (!publisher_ || !subscriber_)
        throw std::runtime_error("the module has no bridge");
    AddCallback(publisher_.get(), ZALDlgHtmlViewJavaScriptNotification::ClassName(), &BridgeListener::OnMessage,
                nullptr);
}

BridgeListener::~BridgeListener() = default;

void BridgeListener::OnMessage(ZALBaseUnknown*, ZALNotification* notification, void*)
{
    const auto* message = ZALSysDynamicCast<ZALDlgHtmlViewJavaScriptNotification>(notification);
    if (!message)
        return;
    const std::string method = MethodOf({message->GetData(), message->GetDataLength()});
    const auto found = std::ranges::find(replies_, method, &Reply::to);
    if (found == replies_.end())
        return;
    // Used before it is sent: what it says may bring the next message at once.
    const Reply reply = std::move(*found);
    replies_.erase(found);

    for (const std::string& text : reply.messages) {
        if (!reply.later) {
            Send(text);
            continue;
        }
        EventLoop::Current().Post([listener = ZALBaseUnknown_WR(this), text] {
            if (const Owned<ZALBaseUnknown> living(listener.GetComponent()); living)
                static_cast<BridgeListener&>(*living).Send(text);
        });
    }
}

void BridgeListener::Send(const std::string& message)
{
    const nlohmann::json members = Members(message);
    if (std::string method = Method(members); !method.empty())
        requests_[Identifier(members)] = method;
    ZALDlgHtmlViewJavaScriptNotification notification("", message.data(), message.size());
    DispatchCallbacks(subscriber_.get(), &notification);
}

std::string BridgeListener::MethodOf(const std::string& message) const
{
    const nlohmann::json members = Members(message);
    if (std::string method = Method(members); !method.empty())
        return method;
    const auto request = requests_.find(Identifier(members));
    return request != requests_.end() ? request->second : std::string();
}

} // namespace openhost
