// A component on the module's bridge, as a session describes it.
#pragma once

#include "openhost/objects/Owned.h"

#include <map>
#include <string>
#include <vector>

namespace openhost {

/// Takes the module's messages and answers them from a list, in the call or later. Each reply of the list is used
/// once. Listens from its making to its end.
class BridgeListener : public ZALEventSubscriber {
public:
    /// The ends of the bridge by their class names: what the module sends is dispatched on the first, what it receives
    /// on the second.
    static constexpr const char* PublisherClass = "ZALVelmartIntegrationEventPublisher";
    static constexpr const char* SubscriberClass = "ZALVelmartIntegrationEventSubscriber";

    /// What the component says to one message.
    struct Reply {
        std::string to; ///< the method of the module's request, or of the request that the module replies to
        std::vector<std::string> messages; ///< in their order
        bool later = false;                ///< each from the loop, in place of inside the call
    };

    /// Throws std::runtime_error when no module is loaded that has a bridge.
    explicit BridgeListener(std::vector<Reply> replies);
    ~BridgeListener() override;

    /// Replies that no message has used so far.
    std::size_t UnusedReplies() const { return replies_.size(); }

private:
    void OnMessage(ZALBaseUnknown* publisher, ZALNotification* notification, void* data);
    void Send(const std::string& message);
    std::string MethodOf(const std::string& message) const;

    std::vector<Reply> replies_;
    std::map<std::string, std::string> requests_; ///< methods of the component's own requests by identifier
    Owned<ZALBaseUnknown> publisher_;
    Owned<ZALBaseUnknown> subscriber_;
};

} // namespace openhost
