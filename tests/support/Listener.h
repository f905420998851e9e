// A subscriber that tests write in place.
#pragma once

#include "host/object_model.h"

#include <functional>
#include <utility>
#include <vector>

namespace openhost::testing {

/// Counts the notifications it receives and runs `reaction` for each. May stand on the stack.
class Listener : public ZALEventSubscriber {
public:
    using Reaction = std::function<void(ZALBaseUnknown* publisher, ZALNotification* notification, void* data)>;

    explicit Listener(Reaction reaction = {}) : reaction_(std::move(reaction)) {}

    ZALCallback Subscribe(ZALBaseUnknown* publisher, const char* notificationClass, void* data = nullptr)
    {
        return AddCallback(publisher, notificationClass, &Listener::OnNotification, data);
    }
    /// Notifications received so far.
    int Calls() const { return calls_; }

private:
    void OnNotification(ZALBaseUnknown* publisher, ZALNotification* notification, void* data)
    {
        ++calls_;
        // A copy, because the listener may end meanwhile.
        if (const Reaction reaction = reaction_)
            reaction(publisher, notification, data);
    }

    Reaction reaction_;
    int calls_ = 0;
};

/// The subscribers of `publisher` under `notificationClass`.
inline std::vector<ZALBaseUnknown*> SubscribersOf(ZALBaseUnknown* publisher, const char* notificationClass)
{
    std::vector<ZALBaseUnknown*> subscribers;
    ZALSysGetSubscribers(publisher, notificationClass, subscribers);
    return subscribers;
}

/// How many references `object` has.
inline unsigned int ReferencesOf(ZALBaseUnknown* object)
{
    object->AddRef();
    return object->Release();
}

} // namespace openhost::testing
