// Messages from another component of the host.

#include "tests/support/HostFixture.h"
#include "tests/support/Listener.h"

#include "events/ZALVelmartIntegrationEventSubscriber.h"
#include "host/panel.h"
#include "openhost/objects/ClassDictionary.h"

#include <memory>

namespace openhost::testing {

namespace {

using Subscriber = ZALVelmartIntegrationEventSubscriber;

constexpr const char* MessageClass = "ZALDlgHtmlViewJavaScriptNotification";

using Texts = std::vector<std::string>;

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
    EXPECT_EQ(SubscribersOf(subscriber, MessageClass).size(), 1U);
}

TEST_F(EventSubscriber, HandsEachMessageToItsFunction)
{
    Collect();
    Tell("{\"id\":1}");
    Tell("");
    EXPECT_EQ(messages, (Texts{"{\"id\":1}", ""}));
}

TEST_F(EventSubscriber, TakesTheBytesByTheirLength)
{
    Collect();
    Tell(std::string("a\0b", 3));
    const char unterminated[] = {'x', 'y'};
    ZALDlgHtmlViewJavaScriptNotification notification("", unterminated, 2);
    DispatchCallbacks(Subscriber::GetUniqueSubscriber(), &notification);
    EXPECT_EQ(messages, (Texts{std::string("a\0b", 3), "xy"}));
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
    EXPECT_EQ(messages, (Texts{"one", "two"}));
    EXPECT_EQ(replaced, 1);
}

TEST_F(EventSubscriber, TheFunctionKeepsItsOwnState)
{
    int last = 0;
    Subscriber::GetUniqueSubscriber()->SetMessageFunction(
        [&last, count = 0](const ZALOmxUTF8String&) mutable { last = ++count; });
    Tell("one");
    Tell("two");
    EXPECT_EQ(last, 2);
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
    EXPECT_EQ(seen, "held");
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
    EXPECT_EQ(messages, (Texts{"m++", "m+", "m"}));
}

} // namespace

} // namespace openhost::testing
