// Subscriptions, and dispatches during which anything may happen.

#include "tests/support/Listener.h"

#include "openhost/objects/Dispatch.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace openhost::testing {

namespace {

constexpr const char* Plain = "ZALNotification";

/// A publisher or subscriber on the heap.
Listener* MakeListener(Listener::Reaction reaction = {})
{
    return new Listener(std::move(reaction));
}

void Dispatch(ZALBaseUnknown* publisher)
{
    ZALNotification notification;
    DispatchCallbacks(publisher, &notification);
}

class Special : public ZALNotification {
public:
    using ZALNotification::ZALNotification;
    const char* IsA() const override { return "Special"; }
};

// ---------------------------------------------------------------------------------------------
// Subscribing

TEST(Subscription, IsCalledWithPublisherNotificationAndData)
{
    Listener publisher;
    int data = 0;
    ZALNotification notification;
    Listener listener([&](ZALBaseUnknown* from, ZALNotification* what, void* with) {
        EXPECT_EQ(from, &publisher);
        EXPECT_EQ(what, &notification);
        EXPECT_EQ(with, &data);
    });
    EXPECT_NE(listener.Subscribe(&publisher, Plain, &data), 0U);
    DispatchCallbacks(&publisher, &notification);
    EXPECT_EQ(listener.Calls(), 1);
}

TEST(Subscription, HearsItsClassExactly)
{
    Listener publisher;
    Listener listener;
    listener.Subscribe(&publisher, "ZALBaseUnknown");
    listener.Subscribe(&publisher, "zalnotification");
    listener.Subscribe(&publisher, "Special");
    Dispatch(&publisher);
    EXPECT_EQ(listener.Calls(), 0);
    Special special;
    DispatchCallbacks(&publisher, &special);
    EXPECT_EQ(listener.Calls(), 1);
}

TEST(Subscription, HearsItsPublisherOnly)
{
    Listener publisher;
    Listener other;
    Listener listener;
    listener.Subscribe(&publisher, Plain);
    Dispatch(&other);
    EXPECT_EQ(listener.Calls(), 0);
}

TEST(Subscription, MadeTwiceIsCalledTwice)
{
    Listener publisher;
    Listener listener;
    const ZALCallback first = listener.Subscribe(&publisher, Plain);
    const ZALCallback second = listener.Subscribe(&publisher, Plain);
    EXPECT_NE(first, second);
    Dispatch(&publisher);
    EXPECT_EQ(listener.Calls(), 2);
    listener.RemoveCallback(&publisher, first);
    Dispatch(&publisher);
    EXPECT_EQ(listener.Calls(), 3);
}

TEST(Subscription, NeedsAPublisherAClassAndAMethod)
{
    Listener publisher;
    Listener listener;
    EXPECT_EQ(listener.Subscribe(nullptr, Plain), 0U);
    EXPECT_EQ(listener.Subscribe(&publisher, nullptr), 0U);
    EXPECT_EQ(listener.AddCallback(&publisher, Plain, static_cast<ZALSubscriberMethod>(nullptr), nullptr), 0U);
    EXPECT_TRUE(SubscribersOf(&publisher, Plain).empty());
}

TEST(Subscription, KeepsTheNameOfItsClass)
{
    Listener publisher;
    Listener listener;
    std::string name = "Special";
    listener.Subscribe(&publisher, name.c_str());
    name = "Nothing";
    Special special;
    DispatchCallbacks(&publisher, &special);
    EXPECT_EQ(listener.Calls(), 1);
}

TEST(Subscription, NumbersAreNotUsedAgain)
{
    Listener publisher;
    Listener listener;
    const ZALCallback first = listener.Subscribe(&publisher, Plain);
    listener.RemoveCallback(&publisher, first);
    EXPECT_GT(listener.Subscribe(&publisher, Plain), first);
}

TEST(Subscription, MayBeOnTheSubscriberItself)
{
    auto* both = MakeListener();
    both->Subscribe(both, Plain);
    Dispatch(both);
    EXPECT_EQ(both->Calls(), 1);
    EXPECT_EQ(both->Release(), 0U);
}

TEST(Subscription, AddsNoReference)
{
    auto* publisher = MakeListener();
    auto* listener = MakeListener();
    listener->Subscribe(publisher, Plain);
    EXPECT_EQ(ReferencesOf(publisher), 1U);
    EXPECT_EQ(listener->Release(), 0U);
    EXPECT_TRUE(SubscribersOf(publisher, Plain).empty());
    EXPECT_EQ(publisher->Release(), 0U);
}

// ---------------------------------------------------------------------------------------------
// Removing

TEST(Subscription, IsRemovedByItsOwnerAndPublisherOnly)
{
    Listener publisher;
    Listener other;
    Listener listener;
    const ZALCallback callback = listener.Subscribe(&publisher, Plain);
    other.RemoveCallback(&publisher, callback);
    listener.RemoveCallback(&other, callback);
    listener.RemoveCallback(nullptr, callback);
    listener.RemoveCallback(&publisher, 0);
    listener.RemoveCallback(&publisher, callback + 1000);
    EXPECT_EQ(SubscribersOf(&publisher, Plain).size(), 1U);
    listener.RemoveCallback(&publisher, callback);
    listener.RemoveCallback(&publisher, callback);
    EXPECT_TRUE(SubscribersOf(&publisher, Plain).empty());
}

TEST(Subscription, IsRemovedByClassAndData)
{
    Listener publisher;
    Listener listener;
    Listener other;
    int data = 0;
    listener.Subscribe(&publisher, Plain);
    listener.Subscribe(&publisher, Plain);
    listener.Subscribe(&publisher, Plain, &data);
    listener.Subscribe(&publisher, "Special");
    other.Subscribe(&publisher, Plain);
    listener.RemoveCallbacksOn(&publisher, Plain, nullptr);
    EXPECT_EQ(SubscribersOf(&publisher, Plain), (std::vector<ZALBaseUnknown*>{&listener, &other}));
    EXPECT_EQ(SubscribersOf(&publisher, "Special").size(), 1U);
    listener.RemoveCallbacksOn(&publisher, Plain, &data);
    EXPECT_EQ(SubscribersOf(&publisher, Plain), std::vector<ZALBaseUnknown*>{&other});
    listener.RemoveCallbacksOn(nullptr, Plain, nullptr);
    listener.RemoveCallbacksOn(&publisher, nullptr, nullptr);
}

TEST(Subscription, AllOfASubscriberAreRemovedAtOnce)
{
    Listener publisher;
    Listener elsewhere;
    Listener listener;
    Listener other;
    int data = 0;
    listener.Subscribe(&publisher, Plain);
    listener.Subscribe(&publisher, "Special", &data);
    listener.Subscribe(&elsewhere, Plain);
    other.Subscribe(&publisher, Plain);
    listener.RemoveSubscriberCallbacks(&publisher);
    listener.RemoveSubscriberCallbacks(nullptr);
    EXPECT_EQ(SubscribersOf(&publisher, Plain), std::vector<ZALBaseUnknown*>{&other});
    EXPECT_TRUE(SubscribersOf(&publisher, "Special").empty());
    EXPECT_EQ(SubscribersOf(&elsewhere, Plain).size(), 1U);
}

TEST(Subscription, SubscribersAreToldInTheirOrderAndReplaceTheListsContent)
{
    Listener publisher;
    Listener first;
    Listener second;
    first.Subscribe(&publisher, Plain);
    second.Subscribe(&publisher, Plain);
    first.Subscribe(&publisher, Plain);
    std::vector<ZALBaseUnknown*> subscribers{&publisher};
    ZALSysGetSubscribers(&publisher, Plain, subscribers);
    EXPECT_EQ(subscribers, (std::vector<ZALBaseUnknown*>{&first, &second, &first}));
    ZALSysGetSubscribers(nullptr, Plain, subscribers);
    EXPECT_TRUE(subscribers.empty());
}

// ---------------------------------------------------------------------------------------------
// What happens during a dispatch

TEST(Dispatch, RunsInTheOrderOfSubscription)
{
    Listener publisher;
    std::string order;
    Listener first([&](ZALBaseUnknown*, ZALNotification*, void*) { order += "1"; });
    Listener second([&](ZALBaseUnknown*, ZALNotification*, void*) { order += "2"; });
    second.Subscribe(&publisher, Plain);
    first.Subscribe(&publisher, Plain);
    second.Subscribe(&publisher, Plain);
    Dispatch(&publisher);
    EXPECT_EQ(order, "212");
}

TEST(Dispatch, OfNothingIsNothing)
{
    Listener publisher;
    ZALNotification notification;
    DispatchCallbacks(nullptr, &notification);
    DispatchCallbacks(&publisher, nullptr);
    DispatchCallbacks(&publisher, &notification);
}

TEST(Dispatch, ASubscriberMayRemoveItself)
{
    Listener publisher;
    Listener once([&](ZALBaseUnknown*, ZALNotification*, void*) { once.RemoveSubscriberCallbacks(&publisher); });
    Listener after;
    once.Subscribe(&publisher, Plain);
    once.Subscribe(&publisher, Plain);
    after.Subscribe(&publisher, Plain);
    Dispatch(&publisher);
    Dispatch(&publisher);
    EXPECT_EQ(once.Calls(), 1);
    EXPECT_EQ(after.Calls(), 2);
}

TEST(Dispatch, WhatIsRemovedIsNotCalledAnyMore)
{
    Listener publisher;
    Listener victim;
    Listener remover([&](ZALBaseUnknown*, ZALNotification*, void*) { victim.RemoveSubscriberCallbacks(&publisher); });
    remover.Subscribe(&publisher, Plain);
    victim.Subscribe(&publisher, Plain);
    Dispatch(&publisher);
    EXPECT_EQ(victim.Calls(), 0);
}

TEST(Dispatch, WhatIsAddedIsCalledFromTheNextOneOn)
{
    Listener publisher;
    Listener added;
    Listener adder([&](ZALBaseUnknown*, ZALNotification*, void*) { added.Subscribe(&publisher, Plain); });
    adder.Subscribe(&publisher, Plain);
    Dispatch(&publisher);
    EXPECT_EQ(added.Calls(), 0);
    Dispatch(&publisher);
    EXPECT_EQ(added.Calls(), 1);
}

TEST(Dispatch, WhatIsRemovedAndAddedAgainWaitsForTheNextOne)
{
    Listener publisher;
    Listener again;
    Listener before([&](ZALBaseUnknown*, ZALNotification*, void*) {
        again.RemoveSubscriberCallbacks(&publisher);
        again.Subscribe(&publisher, Plain);
    });
    before.Subscribe(&publisher, Plain);
    again.Subscribe(&publisher, Plain);
    Dispatch(&publisher);
    EXPECT_EQ(again.Calls(), 0);
}

TEST(Dispatch, ManyMayBeAddedMeanwhile)
{
    Listener publisher;
    std::vector<std::unique_ptr<Listener>> added;
    Listener adder([&](ZALBaseUnknown*, ZALNotification*, void*) {
        for (int count = 0; count < 1000; ++count)
            added.emplace_back(std::make_unique<Listener>())->Subscribe(&publisher, Plain);
    });
    Listener last;
    adder.Subscribe(&publisher, Plain);
    last.Subscribe(&publisher, Plain);
    Dispatch(&publisher);
    EXPECT_EQ(last.Calls(), 1);
    EXPECT_EQ(SubscribersOf(&publisher, Plain).size(), 1002U);
}

TEST(Dispatch, ASubscriberMayEndItself)
{
    Listener publisher;
    Listener* mortal = nullptr;
    int calls = 0;
    mortal = MakeListener([&](ZALBaseUnknown*, ZALNotification*, void*) {
        ++calls;
        mortal->Release();
    });
    Listener after;
    mortal->Subscribe(&publisher, Plain);
    mortal->Subscribe(&publisher, Plain);
    after.Subscribe(&publisher, Plain);
    Dispatch(&publisher);
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(after.Calls(), 1);
    EXPECT_EQ(SubscribersOf(&publisher, Plain).size(), 1U);
}

TEST(Dispatch, ASubscriberThatIsReleasedLivesToTheEndOfItsCallback)
{
    Listener publisher;
    bool ended = false;
    struct Watched : Listener {
        Watched(Reaction reaction, bool& flag) : Listener(std::move(reaction)), ended(flag) {}
        ~Watched() override { ended = true; }
        bool& ended;
    };
    Watched* mortal = nullptr;
    mortal = new Watched(
        [&](ZALBaseUnknown*, ZALNotification*, void*) {
            mortal->Release();
            EXPECT_FALSE(ended);
        },
        ended);
    mortal->Subscribe(&publisher, Plain);
    Dispatch(&publisher);
    EXPECT_TRUE(ended);
}

TEST(Dispatch, ASubscriberMayBeDeletedInsideItsCallback)
{
    Listener publisher;
    std::unique_ptr<Listener> mortal;
    mortal = std::make_unique<Listener>([&](ZALBaseUnknown*, ZALNotification*, void*) { mortal.reset(); });
    mortal->Subscribe(&publisher, Plain);
    Dispatch(&publisher);
    EXPECT_TRUE(SubscribersOf(&publisher, Plain).empty());
}

TEST(Dispatch, ADestructorMayDispatchToItsOwnObject)
{
    struct Dying : Listener {
        explicit Dying(int& count) : ends(count) {}
        ~Dying() override
        {
            ++ends;
            Dispatch(this);
        }
        int& ends;
    };
    int ends = 0;
    auto* dying = new Dying(ends);
    dying->Subscribe(dying, Plain);
    dying->Release();
    EXPECT_EQ(ends, 1);
}

TEST(Dispatch, ASubscriberMayEndTheNextOne)
{
    Listener publisher;
    int calls = 0;
    Listener* victim = MakeListener([&](ZALBaseUnknown*, ZALNotification*, void*) { ++calls; });
    Listener killer([&](ZALBaseUnknown*, ZALNotification*, void*) { victim->Release(); });
    killer.Subscribe(&publisher, Plain);
    victim->Subscribe(&publisher, Plain);
    Dispatch(&publisher);
    EXPECT_EQ(calls, 0);
}

TEST(Dispatch, ASubscriberMayEndTheOneBefore)
{
    Listener publisher;
    Listener* victim = MakeListener();
    Listener killer([&](ZALBaseUnknown*, ZALNotification*, void*) { victim->Release(); });
    Listener after;
    victim->Subscribe(&publisher, Plain);
    killer.Subscribe(&publisher, Plain);
    after.Subscribe(&publisher, Plain);
    Dispatch(&publisher);
    EXPECT_EQ(after.Calls(), 1);
}

TEST(Dispatch, ASubscriberMayEndThePublisher)
{
    Listener* publisher = MakeListener();
    Listener killer([&](ZALBaseUnknown*, ZALNotification*, void*) { publisher->Release(); });
    Listener after;
    killer.Subscribe(publisher, Plain);
    after.Subscribe(publisher, Plain);
    Dispatch(publisher);
    EXPECT_EQ(killer.Calls(), 1);
    EXPECT_EQ(after.Calls(), 0);
}

TEST(Dispatch, EverybodyMayEnd)
{
    Listener* publisher = MakeListener();
    Listener* first = nullptr;
    Listener* second = MakeListener();
    first = MakeListener([&](ZALBaseUnknown*, ZALNotification*, void*) {
        publisher->Release();
        second->Release();
        first->Release();
    });
    first->Subscribe(publisher, Plain);
    second->Subscribe(publisher, Plain);
    second->Subscribe(first, Plain);
    Dispatch(publisher);
}

TEST(Dispatch, TheEndOfAThirdOneTakesItsSubscriptionsAlong)
{
    Listener publisher;
    Listener* third = MakeListener();
    Listener listener([&](ZALBaseUnknown*, ZALNotification*, void*) { third->Release(); });
    listener.Subscribe(third, Plain);
    listener.Subscribe(&publisher, Plain);
    third->Subscribe(&publisher, "Special");
    Dispatch(&publisher);
    EXPECT_EQ(listener.Calls(), 1);
    EXPECT_TRUE(SubscribersOf(&publisher, "Special").empty());
}

TEST(Dispatch, MayNest)
{
    Listener publisher;
    int depth = 0;
    Listener nesting([&](ZALBaseUnknown*, ZALNotification*, void*) {
        if (++depth < 4)
            Dispatch(&publisher);
    });
    Listener after;
    nesting.Subscribe(&publisher, Plain);
    after.Subscribe(&publisher, Plain);
    Dispatch(&publisher);
    EXPECT_EQ(nesting.Calls(), 4);
    EXPECT_EQ(after.Calls(), 4);
}

TEST(Dispatch, RemovalInsideANestedOneReachesTheOuterOne)
{
    Listener publisher;
    Listener victim;
    Listener nesting([&](ZALBaseUnknown*, ZALNotification* notification, void*) {
        if (std::string(notification->IsA()) == "Special") {
            victim.RemoveSubscriberCallbacks(&publisher);
            return;
        }
        Special inner;
        DispatchCallbacks(&publisher, &inner);
    });
    nesting.Subscribe(&publisher, Plain);
    nesting.Subscribe(&publisher, "Special");
    victim.Subscribe(&publisher, Plain);
    Dispatch(&publisher);
    EXPECT_EQ(nesting.Calls(), 2);
    EXPECT_EQ(victim.Calls(), 0);
}

TEST(Dispatch, ThePublisherMayEndInsideANestedOne)
{
    Listener* publisher = MakeListener();
    int depth = 0;
    Listener nesting([&](ZALBaseUnknown*, ZALNotification*, void*) {
        if (++depth == 3)
            publisher->Release();
        else
            Dispatch(publisher);
    });
    Listener after;
    nesting.Subscribe(publisher, Plain);
    after.Subscribe(publisher, Plain);
    Dispatch(publisher);
    EXPECT_EQ(nesting.Calls(), 3);
    EXPECT_EQ(after.Calls(), 0);
}

// ---------------------------------------------------------------------------------------------
// The notification

/// Counts its ends.
class Counted : public ZALNotification {
public:
    Counted(int automaticDelete, int& ends) : ZALNotification(automaticDelete), ends_(ends) {}
    ~Counted() override { ++ends_; }

private:
    int& ends_;
};

TEST(Dispatch, ReleasesANotificationThatAsksForIt)
{
    Listener publisher;
    int ends = 0;
    Listener listener([&](ZALBaseUnknown*, ZALNotification* notification, void*) {
        EXPECT_EQ(ends, 0);
        EXPECT_EQ(notification->GetAutomaticDelete(), 1);
    });
    listener.Subscribe(&publisher, Plain);
    DispatchCallbacks(&publisher, new Counted(1, ends));
    EXPECT_EQ(listener.Calls(), 1);
    EXPECT_EQ(ends, 1);
}

TEST(Dispatch, ReleasesANotificationThatNobodyHears)
{
    Listener publisher;
    int ends = 0;
    DispatchCallbacks(&publisher, new Counted(1, ends));
    EXPECT_EQ(ends, 1);
}

TEST(Dispatch, LeavesANotificationThatSomebodyHolds)
{
    Listener publisher;
    int ends = 0;
    auto* notification = new Counted(1, ends);
    notification->AddRef();
    DispatchCallbacks(&publisher, notification);
    EXPECT_EQ(ends, 0);
    EXPECT_EQ(notification->Release(), 0U);
}

TEST(Dispatch, LeavesTheSendersNotificationAlone)
{
    Listener publisher;
    int ends = 0;
    {
        Counted notification(0, ends);
        DispatchCallbacks(&publisher, &notification);
        DispatchCallbacks(&publisher, &notification);
        EXPECT_EQ(ends, 0);
    }
    EXPECT_EQ(ends, 1);
}

TEST(Dispatch, IsObservedBeforeItsSubscribersAndWithoutThem)
{
    Listener publisher;
    std::string order;
    Listener listener([&](ZALBaseUnknown*, ZALNotification*, void*) { order += "s"; });
    const DispatchObserver before = ObserveDispatches([&](ZALBaseUnknown* from, const ZALNotification& notification) {
        EXPECT_EQ(from, &publisher);
        EXPECT_STREQ(notification.IsA(), Plain);
        order += "o";
    });
    Dispatch(&publisher);
    listener.Subscribe(&publisher, Plain);
    Dispatch(&publisher);
    ObserveDispatches(before);
    Dispatch(&publisher);
    EXPECT_EQ(order, "ooss");
}

} // namespace

} // namespace openhost::testing
