// Subscriptions, and dispatches during which anything may happen.

#include "tests/support/Listener.h"
#include "tests/support/Objects.h"

#include "openhost/objects/Dispatch.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace openhost::testing {

namespace {

constexpr const char* Plain = "ZALNotification";

class Special : public ZALNotification {
public:
    using ZALNotification::ZALNotification;
    const char* IsA() const override { return "Special"; }
};

/// Calls a function for each notification.
class Calling : public Listener {
public:
    explicit Calling(std::function<void()> call)
        : Listener([call = std::move(call)](ZALBaseUnknown*, ZALNotification*, void*) { call(); })
    {
    }
};

template <class Notification = ZALNotification>
void Dispatch(ZALBaseUnknown& publisher)
{
    Notification notification;
    DispatchCallbacks(&publisher, &notification);
}

using Objects = std::vector<ZALBaseUnknown*>;

class Subscription : public ::testing::Test {
protected:
    Objects Subscribers(const char* notificationClass = Plain) { return SubscribersOf(&publisher, notificationClass); }

    Listener publisher;
    Listener listener;
    Listener other;
};

// ---------------------------------------------------------------------------------------------
// Subscribing

TEST_F(Subscription, IsCalledWithPublisherNotificationAndData)
{
    int data = 0;
    ZALNotification notification;
    Listener telling([&](ZALBaseUnknown* from, ZALNotification* what, void* with) {
        EXPECT_EQ(&publisher, from);
        EXPECT_EQ(&notification, what);
        EXPECT_EQ(&data, with);
    });
    EXPECT_NE(0U, telling.Subscribe(&publisher, Plain, &data));
    DispatchCallbacks(&publisher, &notification);
    EXPECT_EQ(1, telling.Calls());
}

TEST_F(Subscription, HearsItsClassExactlyAndItsPublisherOnly)
{
    listener.Subscribe(&publisher, "ZALBaseUnknown");
    listener.Subscribe(&publisher, "zalnotification");
    listener.Subscribe(&publisher, "Special");
    listener.Subscribe(&other, Plain);
    Dispatch(publisher);
    EXPECT_EQ(0, listener.Calls());
    Dispatch<Special>(publisher);
    EXPECT_EQ(1, listener.Calls());
}

TEST_F(Subscription, MadeTwiceIsCalledTwice)
{
    const ZALCallback first = listener.Subscribe(&publisher, Plain);
    const ZALCallback second = listener.Subscribe(&publisher, Plain);
    EXPECT_NE(first, second);
    Dispatch(publisher);
    EXPECT_EQ(2, listener.Calls());
    listener.RemoveCallback(&publisher, first);
    Dispatch(publisher);
    EXPECT_EQ(3, listener.Calls());
}

TEST_F(Subscription, NeedsAPublisherAClassAndAMethod)
{
    EXPECT_EQ(0U, listener.Subscribe(nullptr, Plain));
    EXPECT_EQ(0U, listener.Subscribe(&publisher, nullptr));
    EXPECT_EQ(0U, listener.AddCallback(&publisher, Plain, static_cast<ZALSubscriberMethod>(nullptr), nullptr));
    EXPECT_TRUE(Subscribers().empty());
}

TEST_F(Subscription, KeepsTheNameOfItsClass)
{
    std::string name = "Special";
    listener.Subscribe(&publisher, name.c_str());
    name = "Nothing";
    Dispatch<Special>(publisher);
    EXPECT_EQ(1, listener.Calls());
}

TEST_F(Subscription, NumbersAreNotUsedAgain)
{
    const ZALCallback first = listener.Subscribe(&publisher, Plain);
    listener.RemoveCallback(&publisher, first);
    EXPECT_GT(listener.Subscribe(&publisher, Plain), first);
}

TEST_F(Subscription, MayBeOnTheSubscriberItself)
{
    auto* both = new Listener;
    both->Subscribe(both, Plain);
    Dispatch(*both);
    EXPECT_EQ(1, both->Calls());
    EXPECT_EQ(0U, both->Release());
}

TEST_F(Subscription, AddsNoReference)
{
    auto* ending = new Listener;
    ending->Subscribe(&publisher, Plain);
    EXPECT_EQ(1U, ReferencesOf(&publisher));
    EXPECT_EQ(0U, ending->Release());
    EXPECT_TRUE(Subscribers().empty());
}

// ---------------------------------------------------------------------------------------------
// Removing

TEST_F(Subscription, IsRemovedByItsOwnerAndPublisherOnly)
{
    const ZALCallback callback = listener.Subscribe(&publisher, Plain);
    other.RemoveCallback(&publisher, callback);
    listener.RemoveCallback(&other, callback);
    listener.RemoveCallback(nullptr, callback);
    listener.RemoveCallback(&publisher, 0);
    listener.RemoveCallback(&publisher, callback + 1000);
    EXPECT_EQ(1U, Subscribers().size());
    listener.RemoveCallback(&publisher, callback);
    listener.RemoveCallback(&publisher, callback);
    EXPECT_TRUE(Subscribers().empty());
}

TEST_F(Subscription, IsRemovedByClassAndData)
{
    int data = 0;
    listener.Subscribe(&publisher, Plain);
    listener.Subscribe(&publisher, Plain);
    listener.Subscribe(&publisher, Plain, &data);
    listener.Subscribe(&publisher, "Special");
    other.Subscribe(&publisher, Plain);
    listener.RemoveCallbacksOn(&publisher, Plain, nullptr);
    EXPECT_EQ((Objects{&listener, &other}), Subscribers());
    EXPECT_EQ(1U, Subscribers("Special").size());
    listener.RemoveCallbacksOn(&publisher, Plain, &data);
    EXPECT_EQ(Objects{&other}, Subscribers());
    listener.RemoveCallbacksOn(nullptr, Plain, nullptr);
    listener.RemoveCallbacksOn(&publisher, nullptr, nullptr);
}

TEST_F(Subscription, AllOfASubscriberAreRemovedAtOnce)
{
    Listener elsewhere;
    int data = 0;
    listener.Subscribe(&publisher, Plain);
    listener.Subscribe(&publisher, "Special", &data);
    listener.Subscribe(&elsewhere, Plain);
    other.Subscribe(&publisher, Plain);
    listener.RemoveSubscriberCallbacks(&publisher);
    listener.RemoveSubscriberCallbacks(nullptr);
    EXPECT_EQ(Objects{&other}, Subscribers());
    EXPECT_TRUE(Subscribers("Special").empty());
    EXPECT_EQ(1U, SubscribersOf(&elsewhere, Plain).size());
}

TEST_F(Subscription, SubscribersAreToldInOrderInPlaceOfTheListsContent)
{
    for (Listener* each : {&listener, &other, &listener})
        each->Subscribe(&publisher, Plain);
    Objects subscribers{&publisher};
    ZALSysGetSubscribers(&publisher, Plain, subscribers);
    EXPECT_EQ((Objects{&listener, &other, &listener}), subscribers);
    ZALSysGetSubscribers(nullptr, Plain, subscribers);
    EXPECT_TRUE(subscribers.empty());
}

// ---------------------------------------------------------------------------------------------
// What happens during a dispatch

class Dispatching : public Subscription {
protected:
    /// Lets each hear the publisher.
    void Hear(std::initializer_list<Listener*> listeners)
    {
        for (Listener* each : listeners)
            each->Subscribe(&publisher, Plain);
    }
};

TEST_F(Dispatching, RunsInTheOrderOfSubscription)
{
    std::string order;
    Calling first([&] { order += "1"; });
    Calling second([&] { order += "2"; });
    Hear({&second, &first, &second});
    Dispatch(publisher);
    EXPECT_EQ("212", order);
}

TEST_F(Dispatching, OfNothingIsNothing)
{
    ZALNotification notification;
    DispatchCallbacks(nullptr, &notification);
    DispatchCallbacks(&publisher, nullptr);
    DispatchCallbacks(&publisher, &notification);
}

TEST_F(Dispatching, ASubscriberMayRemoveItself)
{
    Calling once([&] { once.RemoveSubscriberCallbacks(&publisher); });
    Hear({&once, &once, &listener});
    Dispatch(publisher);
    Dispatch(publisher);
    EXPECT_EQ(1, once.Calls());
    EXPECT_EQ(2, listener.Calls());
}

TEST_F(Dispatching, WhatIsRemovedIsNotCalledAnyMore)
{
    Calling remover([&] { listener.RemoveSubscriberCallbacks(&publisher); });
    Hear({&remover, &listener});
    Dispatch(publisher);
    EXPECT_EQ(0, listener.Calls());
}

TEST_F(Dispatching, WhatIsAddedIsCalledFromTheNextOneOn)
{
    Calling adder([&] { Hear({&listener}); });
    Hear({&adder});
    Dispatch(publisher);
    EXPECT_EQ(0, listener.Calls());
    Dispatch(publisher);
    EXPECT_EQ(1, listener.Calls());
}

TEST_F(Dispatching, WhatIsRemovedAndAddedAgainWaitsForTheNextOne)
{
    Calling before([&] {
        listener.RemoveSubscriberCallbacks(&publisher);
        Hear({&listener});
    });
    Hear({&before, &listener});
    Dispatch(publisher);
    EXPECT_EQ(0, listener.Calls());
}

TEST_F(Dispatching, ManyMayBeAddedMeanwhile)
{
    std::vector<std::unique_ptr<Listener>> added;
    Calling adder([&] {
        for (int count = 0; count < 1000; ++count)
            Hear({added.emplace_back(std::make_unique<Listener>()).get()});
    });
    Hear({&adder, &listener});
    Dispatch(publisher);
    EXPECT_EQ(1, listener.Calls());
    EXPECT_EQ(1002U, Subscribers().size());
}

TEST_F(Dispatching, ASubscriberMayEndItself)
{
    Listener* mortal = nullptr;
    int calls = 0;
    mortal = new Calling([&] {
        ++calls;
        mortal->Release();
    });
    Hear({mortal, mortal, &listener});
    Dispatch(publisher);
    EXPECT_EQ(1, calls);
    EXPECT_EQ(1, listener.Calls());
    EXPECT_EQ(1U, Subscribers().size());
}

TEST_F(Dispatching, ASubscriberThatIsReleasedLivesToTheEndOfItsCallback)
{
    struct Watched : Calling {
        Watched(std::function<void()> call, bool& flag) : Calling(std::move(call)), ended(flag) {}
        ~Watched() override { ended = true; }
        bool& ended;
    };
    bool ended = false;
    Listener* mortal = nullptr;
    mortal = new Watched(
        [&] {
            mortal->Release();
            EXPECT_FALSE(ended);
        },
        ended);
    Hear({mortal});
    Dispatch(publisher);
    EXPECT_TRUE(ended);
}

TEST_F(Dispatching, ASubscriberMayBeDeletedInsideItsCallback)
{
    std::unique_ptr<Listener> mortal;
    mortal = std::make_unique<Calling>([&] { mortal.reset(); });
    Hear({mortal.get()});
    Dispatch(publisher);
    EXPECT_TRUE(Subscribers().empty());
}

TEST_F(Dispatching, ADestructorMayDispatchToItsOwnObject)
{
    struct Dying : Listener {
        explicit Dying(int& count) : ends(count) {}
        ~Dying() override
        {
            ++ends;
            Dispatch(*this);
        }
        int& ends;
    };
    int ends = 0;
    auto* dying = new Dying(ends);
    dying->Subscribe(dying, Plain);
    dying->Release();
    EXPECT_EQ(1, ends);
}

TEST_F(Dispatching, ASubscriberMayEndTheNextOneOrTheOneBefore)
{
    for (const bool next : {true, false}) {
        SCOPED_TRACE(next);
        int calls = 0;
        Listener* victim = new Calling([&] { ++calls; });
        Calling killer([&] { victim->Release(); });
        Listener after;
        next ? Hear({&killer, victim, &after}) : Hear({victim, &killer, &after});
        Dispatch(publisher);
        EXPECT_EQ(next ? 0 : 1, calls);
        EXPECT_EQ(1, after.Calls());
    }
}

TEST_F(Dispatching, ASubscriberMayEndThePublisherAlsoInANestedOne)
{
    for (const int depth : {1, 3}) {
        SCOPED_TRACE(depth);
        auto* mortal = new Listener;
        Calling killer([&] { killer.Calls() == depth ? void(mortal->Release()) : Dispatch(*mortal); });
        Listener after;
        killer.Subscribe(mortal, Plain);
        after.Subscribe(mortal, Plain);
        Dispatch(*mortal);
        EXPECT_EQ(depth, killer.Calls());
        EXPECT_EQ(0, after.Calls());
    }
}

TEST_F(Dispatching, EverybodyMayEnd)
{
    auto* from = new Listener;
    auto* second = new Listener;
    Listener* first = nullptr;
    first = new Calling([&] {
        from->Release();
        second->Release();
        first->Release();
    });
    first->Subscribe(from, Plain);
    second->Subscribe(from, Plain);
    second->Subscribe(first, Plain);
    Dispatch(*from);
}

TEST_F(Dispatching, TheEndOfAThirdOneTakesItsSubscriptionsAlong)
{
    auto* third = new Listener;
    Calling killer([&] { third->Release(); });
    killer.Subscribe(third, Plain);
    killer.Subscribe(&publisher, Plain);
    third->Subscribe(&publisher, "Special");
    Dispatch(publisher);
    EXPECT_EQ(1, killer.Calls());
    EXPECT_TRUE(Subscribers("Special").empty());
}

TEST_F(Dispatching, MayNest)
{
    Calling nesting([&] {
        if (nesting.Calls() < 4)
            Dispatch(publisher);
    });
    Hear({&nesting, &listener});
    Dispatch(publisher);
    EXPECT_EQ(4, nesting.Calls());
    EXPECT_EQ(4, listener.Calls());
}

TEST_F(Dispatching, RemovalInsideANestedOneReachesTheOuterOne)
{
    Listener nesting([&](ZALBaseUnknown*, ZALNotification* notification, void*) {
        if (std::string(notification->IsA()) == "Special")
            listener.RemoveSubscriberCallbacks(&publisher);
        else
            Dispatch<Special>(publisher);
    });
    nesting.Subscribe(&publisher, "Special");
    Hear({&nesting, &listener});
    Dispatch(publisher);
    EXPECT_EQ(2, nesting.Calls());
    EXPECT_EQ(0, listener.Calls());
}

// ---------------------------------------------------------------------------------------------
// The notification

class Notifications : public Dispatching {
protected:
    /// Counts its ends.
    class Counted : public ZALNotification {
    public:
        Counted(int automaticDelete, int& ends) : ZALNotification(automaticDelete), ends_(ends) {}
        ~Counted() override { ++ends_; }

    private:
        int& ends_;
    };
    int ends = 0;
};

TEST_F(Notifications, AreReleasedWhenTheyAskForItAlsoWhenNobodyHears)
{
    DispatchCallbacks(&publisher, new Counted(1, ends));
    EXPECT_EQ(1, ends);
    Listener hearing([&](ZALBaseUnknown*, ZALNotification* notification, void*) {
        EXPECT_EQ(1, ends);
        EXPECT_EQ(1, notification->GetAutomaticDelete());
    });
    Hear({&hearing});
    DispatchCallbacks(&publisher, new Counted(1, ends));
    EXPECT_EQ(1, hearing.Calls());
    EXPECT_EQ(2, ends);
}

TEST_F(Notifications, StayWhenSomebodyHoldsThem)
{
    auto* notification = new Counted(1, ends);
    notification->AddRef();
    DispatchCallbacks(&publisher, notification);
    EXPECT_EQ(0, ends);
    EXPECT_EQ(0U, notification->Release());
}

TEST_F(Notifications, OfTheSenderAreLeftAlone)
{
    {
        Counted notification(0, ends);
        DispatchCallbacks(&publisher, &notification);
        DispatchCallbacks(&publisher, &notification);
        EXPECT_EQ(0, ends);
    }
    EXPECT_EQ(1, ends);
}

TEST_F(Notifications, AreObservedBeforeTheirSubscribersAndWithoutThem)
{
    std::string order;
    Calling hearing([&] { order += "s"; });
    const DispatchObserver before = ObserveDispatches([&](ZALBaseUnknown* from, const ZALNotification& notification) {
        EXPECT_EQ(&publisher, from);
        EXPECT_STREQ(Plain, notification.IsA());
        order += "o";
    });
    Dispatch(publisher);
    Hear({&hearing});
    Dispatch(publisher);
    ObserveDispatches(before);
    Dispatch(publisher);
    EXPECT_EQ("ooss", order);
}

} // namespace

} // namespace openhost::testing
