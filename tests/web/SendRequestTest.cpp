// Requests whose reply is taken as a whole.

#include "tests/support/FailingMemory.h"
#include "tests/support/HostFixture.h"
#include "tests/support/Listener.h"
#include "tests/support/Objects.h"

#include "web/ZALVliHttpDataHandler.h"
#include "web/ZALVliHttpUtils.h"

#include <memory>
#include <new>

namespace openhost::testing {

namespace {

using Reply = std::vector<char>;
using ReplyMethod = void (ZALBaseUnknown::*)(const Reply&);
using ReplyFunction = std::function<void(const Reply&)>;

const std::string Large(100'000, 'x');

class Receiver : public ZALBaseUnknown {
public:
    void OnReply(const Reply& reply) { replies.emplace_back(reply.begin(), reply.end()); }
    std::vector<std::string> replies;
};

const auto OnReply = static_cast<ReplyMethod>(&Receiver::OnReply);

class SendRequest : public HostFixture {
protected:
    SendRequest() : receiver_(new Receiver), request_(new ZALCefHttpRequest("GET", "http://127.0.0.1/")) {}

    /// What is still under way ends while its reply has a place.
    void TearDown() override
    {
        request_.reset();
        Loop().RunUntilIdle();
    }

    ReplyFunction Collecting()
    {
        return [this](const Reply& reply) { replies_.emplace_back(reply.begin(), reply.end()); };
    }

    Owned<Receiver> receiver_;
    Owned<ZALCefHttpRequest> request_;
    std::vector<std::string> replies_;
};

TEST_F(SendRequest, RefusesNothingToSendAndNobodyToCall)
{
    EXPECT_EQ(ZALVliHttpUtils::SendRequest(nullptr, Collecting()), E_FAIL);
    EXPECT_EQ(ZALVliHttpUtils::SendRequest(request_.get(), ReplyFunction()), E_FAIL);
    EXPECT_EQ(ZALVliHttpUtils::SendRequest(nullptr, receiver_.get(), OnReply), E_FAIL);
    EXPECT_EQ(ZALVliHttpUtils::SendRequest(request_.get(), nullptr, OnReply), E_FAIL);
    EXPECT_EQ(ZALVliHttpUtils::SendRequest(request_.get(), receiver_.get(), ReplyMethod()), E_FAIL);
    EXPECT_TRUE(Transport().Requests().empty());
    EXPECT_EQ(request_->GetStatus(), ZALHttpStatusUnsent);
}

TEST_F(SendRequest, ThatTheHostRefusesFailsAndCallsNobody)
{
    Transport().RefuseNext(2);
    EXPECT_EQ(ZALVliHttpUtils::SendRequest(request_.get(), Collecting()), E_FAIL);
    EXPECT_EQ(ZALVliHttpUtils::SendRequest(request_.get(), receiver_.get(), OnReply), E_FAIL);
    Loop().RunUntilIdle();
    EXPECT_TRUE(replies_.empty());
    EXPECT_TRUE(receiver_->replies.empty());
}

TEST_F(SendRequest, ThatIsRefusedLetsGoOfTheFunction)
{
    auto held = std::make_shared<int>(0);
    Transport().RefuseNext();
    ZALVliHttpUtils::SendRequest(request_.get(), [held](const Reply&) {});
    EXPECT_EQ(held.use_count(), 1);
}

TEST_F(SendRequest, ReturnsBeforeTheReply)
{
    EXPECT_EQ(ZALVliHttpUtils::SendRequest(request_.get(), Collecting()), S_OK);
    EXPECT_TRUE(replies_.empty());
    EXPECT_EQ(request_->GetStatus(), ZALHttpStatusRunning);
}

TEST_F(SendRequest, DeliversPiecesAsOneInTheirOrder)
{
    ZALVliHttpUtils::SendRequest(request_.get(), receiver_.get(), OnReply);
    Transport().Last().Head(200);
    for (const char* piece : {"one ", "", "two ", "three"})
        Transport().Last().Bytes(piece);
    EXPECT_TRUE(receiver_->replies.empty());
    Transport().Last().End();
    EXPECT_EQ(receiver_->replies, std::vector<std::string>{"one two three"});
}

TEST_F(SendRequest, DeliversTheBodyOfAnErrorPage)
{
    ZALVliHttpUtils::SendRequest(request_.get(), Collecting());
    Transport().Last().Head(500);
    Transport().Last().Bytes("sorry");
    Transport().Last().End();
    EXPECT_EQ(replies_, std::vector<std::string>{"sorry"});
}

TEST_F(SendRequest, DeliversWhatCameOfATransferThatFailed)
{
    ZALVliHttpUtils::SendRequest(request_.get(), Collecting());
    Transport().Last().Head(200);
    Transport().Last().Bytes("half");
    Transport().Last().End(TransferEnd::Failed);
    EXPECT_EQ(replies_, std::vector<std::string>{"half"});
}

TEST_F(SendRequest, DeliversNothingOfATransferWithoutAReply)
{
    ZALVliHttpUtils::SendRequest(request_.get(), Collecting());
    Transport().Last().End(TransferEnd::Failed);
    EXPECT_EQ(replies_, std::vector<std::string>{""});
}

TEST_F(SendRequest, DeliversWhatCameBeforeACancel)
{
    ZALVliHttpUtils::SendRequest(request_.get(), Collecting());
    Transport().Last().Head(200);
    Transport().Last().Bytes("some");
    request_->Cancel();
    Loop().RunUntilIdle();
    EXPECT_EQ(replies_, std::vector<std::string>{"some"});
}

TEST_F(SendRequest, CallsNobodyOnceTheTargetIsGone)
{
    ZALVliHttpUtils::SendRequest(request_.get(), receiver_.get(), OnReply);
    EXPECT_EQ(ReferencesOf(receiver_.get()), 1U);
    receiver_.reset();
    Transport().Last().Head(200);
    Transport().Last().Bytes("late");
    Transport().Last().End();
    EXPECT_EQ(request_->GetStatus(), ZALHttpStatusFinished);
}

TEST_F(SendRequest, HoldsTheTargetDuringTheCallAlone)
{
    class Measuring : public ZALBaseUnknown {
    public:
        void OnReply(const Reply&) { during = ReferencesOf(this); }
        unsigned int during = 0;
    };
    const Owned<Measuring> target(new Measuring);
    ZALVliHttpUtils::SendRequest(request_.get(), target.get(), static_cast<ReplyMethod>(&Measuring::OnReply));
    Transport().Last().End();
    EXPECT_EQ(target->during, 2U);
    EXPECT_EQ(ReferencesOf(target.get()), 1U);
}

TEST_F(SendRequest, LetsGoOfTheFunctionAtTheEnd)
{
    auto held = std::make_shared<int>(0);
    ZALVliHttpUtils::SendRequest(request_.get(), [held](const Reply&) { ++*held; });
    EXPECT_EQ(held.use_count(), 2);
    Transport().Last().End();
    EXPECT_EQ(*held, 1);
    EXPECT_EQ(held.use_count(), 1);
}

TEST_F(SendRequest, MayEndTheRequestInsideTheCall)
{
    ZALVliHttpUtils::SendRequest(request_.get(), [this](const Reply& reply) {
        request_.reset();
        replies_.emplace_back(reply.begin(), reply.end());
    });
    Transport().Last().Head(200);
    Transport().Last().Bytes("whole");
    Transport().Last().End();
    EXPECT_EQ(replies_, std::vector<std::string>{"whole"});
}

TEST_F(SendRequest, CannotSendOneRequestTwice)
{
    ZALVliHttpUtils::SendRequest(request_.get(), Collecting());
    EXPECT_EQ(ZALVliHttpUtils::SendRequest(request_.get(), Collecting()), E_FAIL);
}

// ---------------------------------------------------------------------------------------------
// Without memory

TEST_F(SendRequest, WithoutMemoryFailsAndCallsNobody)
{
    const auto attemptWith = [&](const std::function<HRESULT(ZALCefHttpRequest*)>& send) {
        const int failures = WithEachAllocationFailing([&](FailingMemory& memory) {
            const Owned<ZALCefHttpRequest> request(new ZALCefHttpRequest("GET", "http://127.0.0.1/of/some/length"));
            HRESULT result = E_INVALIDARG;
            memory.During([&] { result = send(request.get()); });
            EXPECT_EQ(result, memory.HasRunOut() ? E_FAIL : S_OK);
            EXPECT_EQ(request->GetStatus(), FAILED(result) ? ZALHttpStatusUnsent : ZALHttpStatusRunning);
            if (SUCCEEDED(result))
                Transport().Last().End();
        });
        EXPECT_GT(failures, 2);
    };
    const auto held = std::make_shared<int>(0);
    {
        // Too large for the room that a function has in itself.
        const ReplyFunction onDone = [held, other = held](const Reply&) { ++*held; };
        attemptWith([&](ZALCefHttpRequest* request) { return ZALVliHttpUtils::SendRequest(request, onDone); });
    }
    EXPECT_EQ(*held, 1);
    EXPECT_EQ(held.use_count(), 1);
    attemptWith(
        [&](ZALCefHttpRequest* request) { return ZALVliHttpUtils::SendRequest(request, receiver_.get(), OnReply); });
    EXPECT_EQ(receiver_->replies, std::vector<std::string>{""});
    EXPECT_EQ(ReferencesOf(receiver_.get()), 1U);
}

TEST_F(SendRequest, AReplyWithAHoleIsNoneAndEnds)
{
    ZALVliHttpUtils::SendRequest(request_.get(), receiver_.get(), OnReply);
    Transport().Last().Head(200);
    Transport().Last().Bytes("before");
    FailingMemory memory(1);
    memory.During([&] { Transport().Last().Bytes(std::string_view(Large)); });
    EXPECT_TRUE(memory.HasRunOut());
    EXPECT_TRUE(Transport().Last().IsCancelled());
    EXPECT_EQ(request_->GetStatus(), ZALHttpStatusCancelled);
    Loop().RunUntilIdle();
    EXPECT_EQ(receiver_->replies, std::vector<std::string>{""});
}

// ---------------------------------------------------------------------------------------------
// The handler by itself

TEST(ReplyHandler, FreesWhatHasComeWhenItHasNoRoomForMore)
{
    class Measuring : public ZALBaseUnknown {
    public:
        void OnReply(const Reply& reply)
        {
            size = reply.size();
            room = reply.capacity();
        }
        std::size_t size = 99;
        std::size_t room = 99;
    };
    const Owned<Measuring> target(new Measuring);
    auto* handler = new ZALVliHttpDataHandler(target.get(), static_cast<ReplyMethod>(&Measuring::OnReply));
    handler->OnData(nullptr, "before", 6);
    FailingMemory memory(1);
    memory.During([&] { handler->OnData(nullptr, Large.data(), Large.size()); });
    EXPECT_TRUE(memory.HasRunOut());
    handler->OnComplete(nullptr);
    handler->Release();
    EXPECT_EQ(target->size, 0U);
    EXPECT_EQ(target->room, 0U);
}

TEST(ReplyHandler, KeepsAFailureOfWhomItCallsToItself)
{
    class Failing : public ZALBaseUnknown {
    public:
        void OnReply(const Reply&) { throw std::bad_alloc(); }
    };
    const Owned<Failing> target(new Failing);
    int calls = 0;
    for (ZALVliHttpDataHandler* handler :
         {new ZALVliHttpDataHandler(target.get(), static_cast<ReplyMethod>(&Failing::OnReply)),
          new ZALVliHttpDataHandler([&](const Reply& reply) {
              ++calls;
              EXPECT_EQ(reply.size(), 3U);
              throw std::bad_alloc();
          })}) {
        handler->OnData(nullptr, "one", 3);
        EXPECT_NO_THROW(handler->OnComplete(nullptr));
        EXPECT_NO_THROW(handler->OnComplete(nullptr));
        handler->Release();
    }
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(ReferencesOf(target.get()), 1U);
}

TEST(ReplyHandler, LetsGoOfTheFunctionAfterItsCall)
{
    auto held = std::make_shared<int>(0);
    std::weak_ptr<int> watched = held;
    std::vector<bool> there;
    auto* handler = new ZALVliHttpDataHandler(
        [held = std::move(held), watched, &there](const Reply&) { there.push_back(!watched.expired()); });
    handler->OnComplete(nullptr);
    EXPECT_EQ(there, std::vector<bool>{true});
    EXPECT_TRUE(watched.expired());
    handler->Release();
}

TEST(ReplyHandler, KeepsItsRoomAfterAnEnd)
{
    class Measuring : public ZALBaseUnknown {
    public:
        void OnReply(const Reply& reply) { room.push_back(reply.capacity()); }
        std::vector<std::size_t> room;
    };
    const Owned<Measuring> target(new Measuring);
    auto* handler = new ZALVliHttpDataHandler(target.get(), static_cast<ReplyMethod>(&Measuring::OnReply));
    handler->OnData(nullptr, std::string(100'000, 'x').data(), 100'000);
    handler->OnComplete(nullptr);
    handler->OnComplete(nullptr);
    handler->Release();
    ASSERT_EQ(target->room.size(), 2U);
    EXPECT_GE(target->room[0], 100'000U);
    EXPECT_EQ(target->room[1], target->room[0]);
}

TEST(ReplyHandler, CallsAFunctionOnceThoughTheEndComesTwice)
{
    std::vector<std::string> replies;
    auto* handler =
        new ZALVliHttpDataHandler([&](const Reply& reply) { replies.emplace_back(reply.begin(), reply.end()); });
    handler->OnData(nullptr, "one", 3);
    handler->OnComplete(nullptr);
    handler->OnData(nullptr, "two", 3);
    handler->OnComplete(nullptr);
    handler->Release();
    EXPECT_EQ(replies, std::vector<std::string>{"one"});
}

TEST(ReplyHandler, BeginsAnewAfterEachEndForAMethod)
{
    const Owned<Receiver> receiver(new Receiver);
    auto* handler = new ZALVliHttpDataHandler(receiver.get(), OnReply);
    handler->OnHeaders(nullptr, {});
    handler->OnProgress(nullptr, 1, 2);
    handler->OnData(nullptr, "one", 3);
    handler->OnComplete(nullptr);
    handler->OnData(nullptr, "two", 3);
    handler->OnComplete(nullptr);
    handler->Release();
    EXPECT_EQ(receiver->replies, (std::vector<std::string>{"one", "two"}));
}

} // namespace

} // namespace openhost::testing
