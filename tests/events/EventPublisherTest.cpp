// Messages to another component of the host.

#include "tests/support/HostFixture.h"
#include "tests/support/Listener.h"

#include "events/ZALVelmartIntegrationEventPublisher.h"
#include "events/ZALVelmartIntegrationEventSubscriber.h"
#include "host/panel.h"
#include "openhost/objects/ClassDictionary.h"
#include "tests/support/WholeOrLost.h"

#include <nlohmann/json.hpp>

#include <barrier>
#include <string_view>
#include <thread>

namespace openhost::testing {

namespace {

using Publisher = ZALVelmartIntegrationEventPublisher;

constexpr const char* MessageClass = "ZALDlgHtmlViewJavaScriptNotification";

/// The other component: keeps what it is told.
class EventPublisher : public HostFixture {
protected:
    EventPublisher()
        : component_([this](ZALBaseUnknown* publisher, ZALNotification* notification, void*) {
              EXPECT_EQ(publisher, Publisher::GetPrtOnUniqueInstance());
              const auto* message = ZALSysDynamicCast<ZALDlgHtmlViewJavaScriptNotification>(notification);
              ASSERT_TRUE(message);
              EXPECT_EQ(0, message->GetName().GetLengthInChar());
              EXPECT_EQ(0, message->GetAutomaticDelete());
              messages_.emplace_back(message->GetData(), message->GetDataLength());
          })
    {
    }
    void Listen() { component_.Subscribe(Publisher::GetPrtOnUniqueInstance(), MessageClass); }
    const std::vector<std::string>& Messages() const { return messages_; }

private:
    std::vector<std::string> messages_;
    Listener component_;
};

ZALListValZALUnicodeString Paths(const std::vector<std::string>& items)
{
    ZALListValZALUnicodeString list;
    for (const std::string& item : items)
        list.Append(item.c_str());
    return list;
}

using Texts = std::vector<std::string>;

// ---------------------------------------------------------------------------------------------
// The instance and its listeners

TEST_F(EventPublisher, IsOne)
{
    Publisher* publisher = Publisher::GetPrtOnUniqueInstance();
    ASSERT_TRUE(publisher);
    const unsigned int references = ReferencesOf(publisher);
    EXPECT_EQ(Publisher::GetPrtOnUniqueInstance(), publisher);
    EXPECT_EQ(ReferencesOf(publisher), references);
}

TEST_F(EventPublisher, IsGivenByNameWithAReferenceEachTime)
{
    Publisher* publisher = Publisher::GetPrtOnUniqueInstance();
    const unsigned int references = ReferencesOf(publisher);
    ZALBaseUnknown* first = ClassDictionary::Instance().Create("ZALVelmartIntegrationEventPublisher");
    ZALBaseUnknown* second = ClassDictionary::Instance().Create("ZALVelmartIntegrationEventPublisher");
    EXPECT_EQ(first, publisher);
    EXPECT_EQ(second, publisher);
    EXPECT_EQ(ReferencesOf(publisher), references + 2);
    first->Release();
    second->Release();
}

TEST_F(EventPublisher, KnowsWhetherSomebodyListens)
{
    EXPECT_FALSE(Publisher::HasJSMessageListeners());
    {
        Listener listener;
        const ZALCallback callback = listener.Subscribe(Publisher::GetPrtOnUniqueInstance(), MessageClass);
        EXPECT_TRUE(Publisher::HasJSMessageListeners());
        listener.RemoveCallback(Publisher::GetPrtOnUniqueInstance(), callback);
        EXPECT_FALSE(Publisher::HasJSMessageListeners());
        listener.Subscribe(Publisher::GetPrtOnUniqueInstance(), MessageClass);
        EXPECT_TRUE(Publisher::HasJSMessageListeners());
    }
    EXPECT_FALSE(Publisher::HasJSMessageListeners());
}

TEST_F(EventPublisher, AListenerUnderAnotherClassNameDoesNotCount)
{
    Listener listener;
    listener.Subscribe(Publisher::GetPrtOnUniqueInstance(), "ZALNotification");
    listener.Subscribe(Publisher::GetPrtOnUniqueInstance(), "zaldlghtmlviewjavascriptnotification");
    EXPECT_FALSE(Publisher::HasJSMessageListeners());
}

TEST_F(EventPublisher, AListenerOfTheSubscriberDoesNotCount)
{
    Listener listener;
    listener.Subscribe(ZALVelmartIntegrationEventSubscriber::GetUniqueSubscriber(), MessageClass);
    EXPECT_FALSE(Publisher::HasJSMessageListeners());
}

// ---------------------------------------------------------------------------------------------
// Sending

TEST_F(EventPublisher, DeliversByLengthBeforeTheCallReturns)
{
    Listen();
    Texts delivered;
    for (const std::string& text : {std::string("{\"a\":1}"), std::string("a\0b", 3), std::string()}) {
        EXPECT_EQ(S_OK, Publisher::SendJSMessage(ZALOmxUTF8String(text.data(), text.size())));
        delivered.push_back(text);
        EXPECT_EQ(delivered, Messages());
    }
}

TEST_F(EventPublisher, LosesAMessageWithoutAListener)
{
    EXPECT_EQ(S_OK, Publisher::SendJSMessage("{}"));
    Listen();
    EXPECT_TRUE(Messages().empty());
}

TEST_F(EventPublisher, AnAnswerComesInsideTheCall)
{
    std::string answer;
    auto* subscriber = ZALVelmartIntegrationEventSubscriber::GetUniqueSubscriber();
    subscriber->SetMessageFunction([&](const ZALOmxUTF8String& text) {
        answer.assign(text.GetData(), text.GetByteLength());
        if (answer == "again?")
            Publisher::SendJSMessage("second");
    });
    Listener component([&](ZALBaseUnknown*, ZALNotification* notification, void*) {
        const auto* message = ZALSysDynamicCast<ZALDlgHtmlViewJavaScriptNotification>(notification);
        const std::string text(message->GetData(), message->GetDataLength());
        const std::string reply = text == "first" ? "again?" : "done";
        ZALDlgHtmlViewJavaScriptNotification notificationOfReply("", reply.data(), reply.size());
        DispatchCallbacks(subscriber, &notificationOfReply);
    });
    component.Subscribe(Publisher::GetPrtOnUniqueInstance(), MessageClass);
    Publisher::SendJSMessage("first");
    EXPECT_EQ("done", answer);
    EXPECT_EQ(2, component.Calls());
    subscriber->SetMessageFunction({});
}

// ---------------------------------------------------------------------------------------------
// The end of a transaction

TEST_F(EventPublisher, TellsTheEndOfATransactionWithItsPathsInOrder)
{
    Listen();
    EXPECT_EQ(S_OK, Publisher::SendEndTransactionEvent(Paths({"/c", "/a", "/b"}), "UT5"));
    EXPECT_EQ(Texts{R"({"method":"EndTransaction","params":{"filePathes":["/c","/a","/b"]}})"}, Messages());
}

TEST_F(EventPublisher, TheEndOfATransactionWithoutAListenerIsWellAllTheSame)
{
    EXPECT_EQ(S_OK, Publisher::SendEndTransactionEvent(Paths({"/a"}), "UT5"));
}

TEST_F(EventPublisher, NoOtherDocumentEnvironmentNorAnEmptyListIsAnnounced)
{
    Listen();
    for (const char* environment : {"File", "", "ut5", "Ut5", "UT5 ", " UT5", "UT", "UT55"}) {
        EXPECT_EQ(E_FAIL, Publisher::SendEndTransactionEvent(Paths({"/a", "/b"}), environment)) << environment;
        EXPECT_EQ(E_FAIL, Publisher::SendEndTransactionEvent({}, environment)) << environment;
    }
    EXPECT_EQ(E_FAIL, Publisher::SendEndTransactionEvent({}, "UT5")) << "without paths";
    EXPECT_TRUE(Messages().empty());
    EXPECT_EQ(0, CountOf(MessageClass));
}

TEST_F(EventPublisher, PathsArriveAsEscapedUtf8)
{
    Listen();
    Publisher::SendEndTransactionEvent(Paths({"C:\\parts\\\"M8\".ZALPart", "/\xC3\xBC/\xF0\x9F\x94\xA9"}), "UT5");
    EXPECT_EQ(Texts{"{\"method\":\"EndTransaction\",\"params\":{\"filePathes\":["
                    "\"C:\\\\parts\\\\\\\"M8\\\".ZALPart\",\"/\xC3\xBC/\xF0\x9F\x94\xA9\"]}}"},
              Messages());
}

TEST_F(EventPublisher, TheEndOfATransactionIsReadableJson)
{
    Listen();
    std::vector<std::string> paths(1000, "/parts/bolt\x01.ZALPart");
    Publisher::SendEndTransactionEvent(Paths(paths), "UT5");
    ASSERT_EQ(1U, Messages().size());
    const auto json = nlohmann::ordered_json::parse(Messages()[0]);
    EXPECT_EQ(json["params"]["filePathes"], nlohmann::ordered_json(paths));
    EXPECT_FALSE(json.contains("id"));
}

TEST_F(EventPublisher, FirstUseByManyThreadsMakesOneInstance)
{
    std::vector<Publisher*> found(16);
    std::barrier start(static_cast<std::ptrdiff_t>(found.size()));
    {
        std::vector<std::jthread> threads;
        for (Publisher*& instance : found)
            threads.emplace_back([&] {
                start.arrive_and_wait();
                instance = Publisher::GetPrtOnUniqueInstance();
            });
    }
    EXPECT_EQ(found, std::vector<Publisher*>(found.size(), Publisher::GetPrtOnUniqueInstance()));
    EXPECT_TRUE(found.front());
}

// ---------------------------------------------------------------------------------------------
// Without memory

/// A listener that needs no memory: counts what it is told by whether it is `expected`.
class Counter : public ZALEventSubscriber {
public:
    explicit Counter(std::string expected) : expected_(std::move(expected))
    {
        AddCallback(Publisher::GetPrtOnUniqueInstance(), MessageClass, &Counter::OnMessage, nullptr);
    }
    int whole = 0;
    int other = 0;

private:
    void OnMessage(ZALBaseUnknown*, ZALNotification* notification, void*)
    {
        const auto* message = static_cast<const ZALDlgHtmlViewJavaScriptNotification*>(notification);
        ++(std::string_view(message->GetData(), message->GetDataLength()) == expected_ ? whole : other);
    }
    std::string expected_;
};

TEST_F(EventPublisher, IsMadeOnceThereIsMemory)
{
    EXPECT_GT(ExpectWholeOrLost(true, false, [] { return Publisher::GetPrtOnUniqueInstance() != nullptr; }), 0);
}

TEST_F(EventPublisher, ThatCannotBeMadeHasNoListeners)
{
    ExpectWholeOrLost(false, false, [] { return Publisher::HasJSMessageListeners(); });
}

TEST_F(EventPublisher, MessageBeforeItsInstanceCanBeMadeIsLost)
{
    const ZALOmxUTF8String message("{}");
    ExpectWholeOrLost(S_OK, S_OK, [&] { return Publisher::SendJSMessage(message); });
}

TEST_F(EventPublisher, KnowsOfNoListenersWithoutMemory)
{
    Listen();
    EXPECT_GT(ExpectWholeOrLost(true, false, [] { return Publisher::HasJSMessageListeners(); }), 0);
}

TEST_F(EventPublisher, MessageIsDeliveredWholeOrNotAtAll)
{
    const std::string text(100, 'x');
    const ZALOmxUTF8String message(text.data(), text.size());
    const int failures = WithEachAllocationFailing([&](FailingMemory& memory) {
        Counter counter(text);
        HRESULT result = E_FAIL;
        memory.During([&] { result = Publisher::SendJSMessage(message); });
        EXPECT_EQ(S_OK, result);
        EXPECT_EQ(counter.whole, memory.HasRunOut() ? 0 : 1);
        EXPECT_EQ(0, counter.other);
    });
    EXPECT_GT(failures, 0);
}

TEST_F(EventPublisher, EndOfATransactionIsToldWholeOrNotAtAll)
{
    const ZALListValZALUnicodeString paths = Paths({"/a/path/of/some/length", "/another/path/of/some/length"});
    int refused = 0;
    const int failures = WithEachAllocationFailing([&](FailingMemory& memory) {
        Counter counter(R"({"method":"EndTransaction","params":{"filePathes":)"
                        R"(["/a/path/of/some/length","/another/path/of/some/length"]}})");
        HRESULT result = S_FALSE;
        memory.During([&] { result = Publisher::SendEndTransactionEvent(paths, "UT5"); });
        refused += result == E_FAIL ? 1 : 0;
        EXPECT_TRUE(result == E_FAIL || result == S_OK);
        EXPECT_EQ(counter.whole, memory.HasRunOut() ? 0 : 1);
        EXPECT_EQ(0, counter.other);
    });
    EXPECT_GT(refused, 0);
    EXPECT_LT(refused, failures) << "a message that is lost on its way is none of its failures";
}

} // namespace

} // namespace openhost::testing
