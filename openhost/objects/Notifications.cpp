// Subscriptions and their dispatch.

#include "openhost/objects/Dispatch.h"
#include "openhost/objects/MetaClassOperations.h"
#include "openhost/objects/ObjectLinks.h"

#include <algorithm>
#include <string>
#include <unordered_map>

OPENHOST_META_CLASS(ZALNotification, ZALBaseUnknown)
OPENHOST_META_CLASS(ZALEventSubscriber, ZALBaseUnknown)

namespace {

struct Subscription {
    ZALBaseUnknown* publisher;
    ZALEventSubscriber* subscriber;
    std::string notificationClass;
    ZALSubscriberMethod method;
    void* data;
};

// By identifier: a dispatch keeps identifiers, and looks each up anew before it calls.
std::unordered_map<ZALCallback, Subscription>& Subscriptions()
{
    static auto& subscriptions = *new std::unordered_map<ZALCallback, Subscription>;
    return subscriptions;
}

openhost::DispatchObserver& Observer()
{
    static auto& observer = *new openhost::DispatchObserver;
    return observer;
}

bool subscriptionsAreRefused = false;

void End(ZALCallback callback)
{
    const auto found = Subscriptions().find(callback);
    if (found == Subscriptions().end())
        return;
    if (ZALObjectLinks* links = ZALObjectLinks::Find(found->second.publisher))
        std::erase(links->asPublisher, callback);
    if (ZALObjectLinks* links = ZALObjectLinks::Find(found->second.subscriber))
        std::erase(links->asSubscriber, callback);
    Subscriptions().erase(found);
}

template <class Condition>
void EndWhere(ZALBaseUnknown* publisher, Condition condition)
{
    const ZALObjectLinks* links = ZALObjectLinks::Find(publisher);
    if (!links)
        return;
    // From the back, so that those that end move none that is still to be looked at.
    for (std::size_t left = links->asPublisher.size(); left > 0; --left)
        if (const ZALCallback callback = links->asPublisher[left - 1]; condition(Subscriptions().at(callback)))
            End(callback);
}

// Keeps a subscriber while its callback runs, so that it ends after its own code. One that is deleted meanwhile, or
// whose destructor is running already, is left alone.
class KeptSubscriber {
public:
    explicit KeptSubscriber(ZALBaseUnknown* subscriber) : kept_(subscriber)
    {
        if (subscriber->AddRef() == 1)
            kept_ = nullptr;
    }
    KeptSubscriber(const KeptSubscriber&) = delete;
    KeptSubscriber& operator=(const KeptSubscriber&) = delete;
    ~KeptSubscriber()
    {
        if (ZALBaseUnknown* subscriber = kept_.GetComponent()) {
            subscriber->Release();
            subscriber->Release();
        }
    }

private:
    ZALBaseUnknown_WR kept_;
};

} // namespace

namespace openhost {

void DropSubscriptions(ZALObjectLinks& links)
{
    for (const std::vector<ZALCallback>* side : {&links.asPublisher, &links.asSubscriber})
        while (!side->empty())
            End(side->back());
}

DispatchObserver ObserveDispatches(DispatchObserver observer)
{
    return std::exchange(Observer(), std::move(observer));
}

void RefuseSubscriptions(bool refuse)
{
    subscriptionsAreRefused = refuse;
}

} // namespace openhost

ZALNotification::ZALNotification(int automaticDelete) : automaticDelete_(automaticDelete) {}

ZALNotification::~ZALNotification() = default;

ZALEventSubscriber::ZALEventSubscriber() = default;

ZALEventSubscriber::~ZALEventSubscriber() = default;

ZALCallback ZALEventSubscriber::AddCallback(ZALBaseUnknown* publisher, const char* notificationClass,
                                            ZALSubscriberMethod method, void* data)
{
    if (!publisher || !notificationClass || !method || subscriptionsAreRefused)
        return 0;
    static ZALCallback last = 0;
    const ZALCallback callback = ++last;
    Subscriptions().emplace(callback, Subscription{publisher, this, notificationClass, method, data});
    try {
        ZALObjectLinks::Of(publisher).asPublisher.push_back(callback);
        ZALObjectLinks::Of(this).asSubscriber.push_back(callback);
    } catch (...) {
        End(callback);
        throw;
    }
    return callback;
}

void ZALEventSubscriber::RemoveCallback(ZALBaseUnknown* publisher, ZALCallback callback)
{
    const auto found = Subscriptions().find(callback);
    if (found != Subscriptions().end() && found->second.publisher == publisher && found->second.subscriber == this)
        End(callback);
}

void ZALEventSubscriber::RemoveCallbacksOn(ZALBaseUnknown* publisher, const char* notificationClass, void* data)
{
    if (!notificationClass)
        return;
    EndWhere(publisher, [&](const Subscription& subscription) {
        return subscription.subscriber == this && subscription.data == data &&
               subscription.notificationClass == notificationClass;
    });
}

void ZALEventSubscriber::RemoveSubscriberCallbacks(ZALBaseUnknown* publisher)
{
    EndWhere(publisher, [&](const Subscription& subscription) { return subscription.subscriber == this; });
}

void DispatchCallbacks(ZALBaseUnknown* publisher, ZALNotification* notification)
{
    if (!publisher || !notification)
        return;
    if (Observer())
        Observer()(publisher, *notification);
    const std::string notificationClass = notification->IsA();
    if (const ZALObjectLinks* links = ZALObjectLinks::Find(publisher)) {
        const std::vector<ZALCallback> callbacks = links->asPublisher;
        for (ZALCallback callback : callbacks) {
            const auto found = Subscriptions().find(callback);
            if (found == Subscriptions().end() || found->second.notificationClass != notificationClass)
                continue;
            const Subscription subscription = found->second;
            const KeptSubscriber kept(subscription.subscriber);
            (subscription.subscriber->*subscription.method)(publisher, notification, subscription.data);
        }
    }
    if (notification->GetAutomaticDelete())
        notification->Release();
}

void ZALSysGetSubscribers(ZALBaseUnknown* publisher, const char* notificationClass,
                          std::vector<ZALBaseUnknown*>& subscribers)
{
    subscribers.clear();
    const ZALObjectLinks* links = ZALObjectLinks::Find(publisher);
    if (!links || !notificationClass)
        return;
    for (ZALCallback callback : links->asPublisher) {
        const Subscription& subscription = Subscriptions().at(callback);
        if (subscription.notificationClass == notificationClass)
            subscribers.push_back(subscription.subscriber);
    }
}
