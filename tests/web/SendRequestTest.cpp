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
    EXPECT_EQ(E_FAIL, ZALVliHttpUtils::SendRequest(nullptr, Collecting()));
    EXPECT_EQ(E_FAIL, ZALVliHttpUtils::SendRequest(request_.get(), ReplyFunction()));
    EXPECT_EQ(E_FAIL, ZALVliHttpUtils::SendRequest(nullptr, receiver_.get(), OnReply));
    EXPECT_EQ(E_FAIL, ZALVliHttpUtils::SendRequest(request_.get(), nullptr, OnReply));
    EXPECT_EQ(E_FAIL, ZALVliHttpUtils::SendRequest(request_.get(), receiver_.get(), ReplyMethod()));
    EXPECT_TRUE(Transport().Requests().empty());
    EXPECT_EQ(request_->GetStatus(), ZALHttpStatusUnsent);
}

TEST_F(SendRequest, ThatTheHostRefusesFailsAndCallsNobody)
{
    Transport().RefuseNext(2);
    EXPECT_EQ(E_FAIL, ZALVliHttpUtils::SendRequest(request_.get(), Collecting()));
    EXPECT_EQ(E_FAIL, ZALVliHttpUtils::SendRequest(request_.get(), receiver_.get(), OnReply));
    Loop().RunUntilIdle();
    EXPECT_TRUE(replies_.empty());
    EXPECT_TRUE(receiver_->replies.empty());
}

TEST_F(SendRequest, ThatIsRefusedLetsGoOfTheFunction)
{
    auto held = std::make_shared<int>(0);
    Transport().RefuseNext();
    ZALVliHttpUtils::SendRequest(request_.get(), [held](const Reply&) {});
    EXPECT_EQ(1, held.use_count());
}

TEST_F(SendRequest, ReturnsBeforeTheReply)
{
    EXPECT_EQ(S_OK, ZALVliHttpUtils::SendRequest(request_.get(), Collecting()));
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
    EXPECT_EQ(std::vector<std::string>{"one two three"}, receiver_->replies);
}

TEST_F(SendRequest, DeliversWhatCameHoweverTheTransferEnds)
{
    const struct {
        const char* body; ///< null without a reply
        int code;
        TransferEnd end;
    } rows[] = {{"sorry", 500, TransferEnd::Finished},
                {"half", 200, TransferEnd::Failed},
                {nullptr, 0, TransferEnd::Failed},
                {"some", 200, TransferEnd::Cancelled}};
    std::vector<std::string> expected;
    for (const auto& [body, code, end] : rows) {
        request_.reset(new ZALCefHttpRequest("GET", "http://127.0.0.1/"));
        ZALVliHttpUtils::SendRequest(request_.get(), Collecting());
        if (body) {
            Transport().Last().Head(code);
            Transport().Last().Bytes(body);
        }
        if (end == TransferEnd::Cancelled)
            request_->Cancel();
        else
            Transport().Last().End(end);
        Loop().RunUntilIdle();
        expected.emplace_back(body ? body : "");
        EXPECT_EQ(expected, replies_);
    }
}

TEST_F(SendRequest, CallsNobodyOnceTheTargetIsGone)
{
    ZALVliHttpUtils::SendRequest(request_.get(), receiver_.get(), OnReply);
    EXPECT_EQ(1U, ReferencesOf(receiver_.get()));
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
    EXPECT_EQ(2U, target->during);
    EXPECT_EQ(1U, ReferencesOf(target.get()));
}

TEST_F(SendRequest, LetsGoOfTheFunctionAtTheEnd)
{
    auto held = std::make_shared<int>(0);
    ZALVliHttpUtils::SendRequest(request_.get(), [held](const Reply&) { ++*held; });
    EXPECT_EQ(2, held.use_count());
    Transport().Last().End();
    EXPECT_EQ(1, *held);
    EXPECT_EQ(1, held.use_count());
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
    EXPECT_EQ(std::vector<std::string>{"whole"}, replies_);
}

TEST_F(SendRequest, CannotSendOneRequestTwice)
{
    ZALVliHttpUtils::SendRequest(request_.get(), Collecting());
    EXPECT_EQ(E_FAIL, ZALVliHttpUtils::SendRequest(request_.get(), Collecting()));
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
    EXPECT_EQ(1, *held);
    EXPECT_EQ(1, held.use_count());
    attemptWith(
        [&](ZALCefHttpRequest* request) { return ZALVliHttpUtils::SendRequest(request, receiver_.get(), OnReply); });
    EXPECT_EQ(std::vector<std::string>{""}, receiver_->replies);
    EXPECT_EQ(1U, ReferencesOf(receiver_.get()));
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
    EXPECT_EQ(std::vector<std::string>{""}, receiver_->replies);
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
    EXPECT_EQ(0U, target->size);
    EXPECT_EQ(0U, target->room);
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
              EXPECT_EQ(3U, reply.size());
              throw std::bad_alloc();
          })}) {
        handler->OnData(nullptr, "one", 3);
        EXPECT_NO_THROW(handler->OnComplete(nullptr));
        EXPECT_NO_THROW(handler->OnComplete(nullptr));
        handler->Release();
    }
    EXPECT_EQ(1, calls);
    EXPECT_EQ(1U, ReferencesOf(target.get()));
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
    ASSERT_EQ(2U, target->room.size());
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
    EXPECT_EQ(std::vector<std::string>{"one"}, replies);
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
    EXPECT_EQ((std::vector<std::string>{"one", "two"}), receiver->replies);
}

} // namespace

} // namespace openhost::testing
