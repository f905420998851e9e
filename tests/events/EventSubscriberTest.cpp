// Messages from another component of the host.

#include "tests/support/HostFixture.h"
#include "tests/support/Listener.h"
#include "tests/support/Objects.h"

#include "events/ZALVelmartIntegrationEventSubscriber.h"
#include "host/panel.h"
#include "openhost/objects/ClassDictionary.h"
#include "openhost/objects/Dispatch.h"
#include "tests/support/FailingMemory.h"

#include <barrier>
#include <memory>
#include <new>
#include <thread>
#include <utility>

namespace openhost::testing {

namespace {

using Subscriber = ZALVelmartIntegrationEventSubscriber;

constexpr const char* MessageClass = "ZALDlgHtmlViewJavaScriptNotification";

class EventSubscriber : public HostFixture {
protected:
    ~EventSubscriber() override { Subscriber::GetUniqueSubscriber()->SetMessageFunction({}); }

    void Collect()
    {
        Subscriber::GetUniqueSubscriber()->SetMessageFunction(
            [this](const ZALOmxUTF8String& text) { messages.emplace_back(text.GetData(), text.GetByteLength()); });
    }
    static void Tell(const std::string& text)
    {
        ZALDlgHtmlViewJavaScriptNotification notification("any", text.data(), text.size());
        DispatchCallbacks(Subscriber::GetUniqueSubscriber(), &notification);
    }
    Texts messages;
};

TEST_F(EventSubscriber, IsOneAndListensToItself)
{
    Subscriber* subscriber = Subscriber::GetUniqueSubscriber();
    ASSERT_TRUE(subscriber);
    const unsigned int references = ReferencesOf(subscriber);
    EXPECT_EQ(Subscriber::GetUniqueSubscriber(), subscriber);
    EXPECT_EQ(ReferencesOf(subscriber), references);
    EXPECT_EQ(SubscribersOf(subscriber, MessageClass), std::vector<ZALBaseUnknown*>{subscriber});
}

TEST_F(EventSubscriber, IsGivenByNameWithAReferenceEachTime)
{
    Subscriber* subscriber = Subscriber::GetUniqueSubscriber();
    const unsigned int references = ReferencesOf(subscriber);
    ZALBaseUnknown* first = ClassDictionary::Instance().Create("ZALVelmartIntegrationEventSubscriber");
    ZALBaseUnknown* second = ClassDictionary::Instance().Create("ZALVelmartIntegrationEventSubscriber");
    EXPECT_EQ(first, subscriber);
    EXPECT_EQ(second, subscriber);
    EXPECT_EQ(ReferencesOf(subscriber), references + 2);
    first->Release();
    second->Release();
    EXPECT_EQ(1U, SubscribersOf(subscriber, MessageClass).size());
}

TEST_F(EventSubscriber, HandsTheBytesOfEachMessageToItsFunctionByTheirLength)
{
    Collect();
    Tell("");
    Tell(std::string("a\0b", 3));
    const char unterminated[] = {'x', 'y'};
    ZALDlgHtmlViewJavaScriptNotification notification("", unterminated, 2);
    DispatchCallbacks(Subscriber::GetUniqueSubscriber(), &notification);
    EXPECT_EQ((Texts{"", std::string("a\0b", 3), "xy"}), messages);
}

TEST_F(EventSubscriber, DropsAMessageWithoutAFunction)
{
    Tell("lost");
    Collect();
    EXPECT_TRUE(messages.empty());
}

TEST_F(EventSubscriber, IgnoresANotificationOfAnotherClass)
{
    class Stranger : public ZALNotification {
    public:
        const char* IsA() const override { return MessageClass; }
    };
    Collect();
    ZALNotification plain;
    DispatchCallbacks(Subscriber::GetUniqueSubscriber(), &plain);
    Stranger stranger;
    DispatchCallbacks(Subscriber::GetUniqueSubscriber(), &stranger);
    EXPECT_TRUE(messages.empty());
}

TEST_F(EventSubscriber, TheFunctionStaysUntilItIsReplaced)
{
    Collect();
    Tell("one");
    Tell("two");
    int replaced = 0;
    Subscriber::GetUniqueSubscriber()->SetMessageFunction([&](const ZALOmxUTF8String&) { ++replaced; });
    Tell("three");
    EXPECT_EQ((Texts{"one", "two"}), messages);
    EXPECT_EQ(1, replaced);
}

TEST_F(EventSubscriber, TheFunctionKeepsItsOwnState)
{
    int last = 0;
    Subscriber::GetUniqueSubscriber()->SetMessageFunction(
        [&last, count = 0](const ZALOmxUTF8String&) mutable { last = ++count; });
    Tell("one");
    Tell("two");
    EXPECT_EQ(2, last);
}

TEST_F(EventSubscriber, ReplacingEndsWhatTheOldFunctionHeld)
{
    auto held = std::make_shared<int>(1);
    const std::weak_ptr<int> watch = held;
    Subscriber::GetUniqueSubscriber()->SetMessageFunction([held](const ZALOmxUTF8String&) {});
    held.reset();
    EXPECT_FALSE(watch.expired());
    Subscriber::GetUniqueSubscriber()->SetMessageFunction([](const ZALOmxUTF8String&) {});
    EXPECT_TRUE(watch.expired());
}

TEST_F(EventSubscriber, TheFunctionMayReplaceItself)
{
    auto held = std::make_shared<std::string>("held");
    std::string seen;
    Subscriber::GetUniqueSubscriber()->SetMessageFunction([&seen, held](const ZALOmxUTF8String&) {
        Subscriber::GetUniqueSubscriber()->SetMessageFunction({});
        seen = *held;
    });
    held.reset();
    Tell("one");
    EXPECT_EQ("held", seen);
    Tell("two");
}

TEST_F(EventSubscriber, AMessageMayComeInsideTheReceiptOfAnother)
{
    Subscriber::GetUniqueSubscriber()->SetMessageFunction([this](const ZALOmxUTF8String& text) {
        const std::string received(text.GetData(), text.GetByteLength());
        if (received.size() < 3)
            Tell(received + "+");
        messages.push_back(received);
    });
    Tell("m");
    EXPECT_EQ((Texts{"m++", "m+", "m"}), messages);
}

TEST_F(EventSubscriber, FunctionReplacedInsideANestedReceiptEndsWithTheOuterOne)
{
    auto held = std::make_shared<int>(1);
    const std::weak_ptr<int> watch = held;
    bool isHeld = false;
    Subscriber::GetUniqueSubscriber()->SetMessageFunction([this, held, &watch, &isHeld](const ZALOmxUTF8String& text) {
        if (text == "outer") {
            Tell("inner");
            isHeld = !watch.expired();
        } else {
            Collect();
        }
    });
    held.reset();
    Tell("outer");
    EXPECT_TRUE(isHeld);
    EXPECT_TRUE(watch.expired());
    Tell("next");
    EXPECT_EQ(Texts{"next"}, messages);
}

TEST_F(EventSubscriber, FunctionSetInsideAReceiptTakesTheNextMessages)
{
    Subscriber::GetUniqueSubscriber()->SetMessageFunction([this](const ZALOmxUTF8String&) {
        Collect();
        Tell("inside");
    });
    Tell("first");
    Tell("after");
    EXPECT_EQ((Texts{"inside", "after"}), messages);
}

TEST_F(EventSubscriber, FunctionKeepsItsStateBetweenNestedMessages)
{
    std::vector<int> counts;
    Subscriber::GetUniqueSubscriber()->SetMessageFunction([&counts, count = 0](const ZALOmxUTF8String& text) mutable {
        counts.push_back(++count);
        if (text == "outer")
            Tell("inner");
    });
    Tell("outer");
    Tell("next");
    EXPECT_EQ(counts, (std::vector<int>{1, 2, 3}));
}

TEST_F(EventSubscriber, ListensToItselfWithoutClientData)
{
    Subscriber* subscriber = Subscriber::GetUniqueSubscriber();
    subscriber->RemoveCallbacksOn(subscriber, MessageClass, nullptr);
    EXPECT_TRUE(SubscribersOf(subscriber, MessageClass).empty());
}

TEST_F(EventSubscriber, FirstUseByManyThreadsMakesOneInstance)
{
    std::vector<Subscriber*> found(16);
    std::barrier start(static_cast<std::ptrdiff_t>(found.size()));
    {
        std::vector<std::jthread> threads;
        for (Subscriber*& instance : found)
            threads.emplace_back([&] {
                start.arrive_and_wait();
                instance = Subscriber::GetUniqueSubscriber();
            });
    }
    EXPECT_EQ(found, std::vector<Subscriber*>(found.size(), Subscriber::GetUniqueSubscriber()));
    EXPECT_TRUE(found.front());
}

TEST_F(EventSubscriber, ThatHearsNothingIsNotKept)
{
    RefuseSubscriptions(true);
    EXPECT_EQ(nullptr, Subscriber::GetUniqueSubscriber());
    RefuseSubscriptions(false);
    Subscriber* subscriber = Subscriber::GetUniqueSubscriber();
    ASSERT_TRUE(subscriber);
    EXPECT_EQ(SubscribersOf(subscriber, MessageClass), std::vector<ZALBaseUnknown*>{subscriber});
}

// ---------------------------------------------------------------------------------------------
// Without memory

TEST_F(EventSubscriber, IsMadeOnceThereIsMemory)
{
    Subscriber* subscriber = nullptr;
    const int failures = WithEachAllocationFailing([&](FailingMemory& memory) {
        memory.During([&] { subscriber = Subscriber::GetUniqueSubscriber(); });
        EXPECT_EQ(subscriber == nullptr, memory.HasRunOut());
    });
    EXPECT_GT(failures, 1);
    EXPECT_EQ(SubscribersOf(subscriber, MessageClass), std::vector<ZALBaseUnknown*>{subscriber});
}

TEST_F(EventSubscriber, TakesAFunctionWithoutMemory)
{
    const int failures = WithEachAllocationFailing([&](FailingMemory& memory) {
        int calls = 0;
        Subscriber::MessageFunction function = [&calls](const ZALOmxUTF8String&) { ++calls; };
        Subscriber* subscriber = Subscriber::GetUniqueSubscriber();
        memory.During([&] { subscriber->SetMessageFunction(std::move(function)); });
        Tell("message");
        EXPECT_EQ(1, calls);
    });
    EXPECT_EQ(0, failures);
}

TEST_F(EventSubscriber, HandsOnAnEmptyTextForAMessageThatIsLost)
{
    const std::string text(100, 'x');
    int whole = 0;
    int lost = 0;
    Subscriber::GetUniqueSubscriber()->SetMessageFunction([&](const ZALOmxUTF8String& message) {
        whole += message.GetByteLength() == text.size() ? 1 : 0;
        lost += message.GetByteLength() == 0 ? 1 : 0;
    });
    Tell(text); // the host makes its class records at the first message
    EXPECT_EQ(1, std::exchange(whole, 0));
    const int failures = WithEachAllocationFailing([&](FailingMemory& memory) {
        ZALDlgHtmlViewJavaScriptNotification notification("any", text.data(), text.size());
        try {
            memory.During([&] { DispatchCallbacks(Subscriber::GetUniqueSubscriber(), &notification); });
        } catch (const std::bad_alloc&) {
            // The host had no memory for the dispatch.
        }
    });
    EXPECT_GT(failures, 0);
    EXPECT_GT(lost, 0);
    EXPECT_EQ(1, whole);
}

TEST_F(EventSubscriber, FunctionWithoutMemoryLeavesNothingToTheHost)
{
    Subscriber::GetUniqueSubscriber()->SetMessageFunction(
        [](const ZALOmxUTF8String&) -> void { throw std::bad_alloc(); });
    EXPECT_NO_THROW(Tell("one"));
    Collect();
    Tell("two");
    EXPECT_EQ(Texts{"two"}, messages);
}

} // namespace

} // namespace openhost::testing
