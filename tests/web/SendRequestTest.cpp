// Requests whose reply is taken as a whole.

#include "tests/support/HostFixture.h"
#include "tests/support/Listener.h"

#include "web/ZALVliHttpDataHandler.h"
#include "web/ZALVliHttpUtils.h"

#include <memory>

namespace openhost::testing {

namespace {

using Reply = std::vector<char>;
using ReplyMethod = void (ZALBaseUnknown::*)(const Reply&);
using ReplyFunction = std::function<void(const Reply&)>;

class Receiver : public ZALBaseUnknown {
public:
    void OnReply(const Reply& reply) { replies.emplace_back(reply.begin(), reply.end()); }
    std::vector<std::string> replies;
};

const auto OnReply = static_cast<ReplyMethod>(&Receiver::OnReply);

struct ReleaseObject {
    void operator()(ZALBaseUnknown* object) const { object->Release(); }
};

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

    std::unique_ptr<Receiver, ReleaseObject> receiver_;
    std::unique_ptr<ZALCefHttpRequest, ReleaseObject> request_;
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
    const std::unique_ptr<Measuring, ReleaseObject> target(new Measuring);
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
// The handler by itself

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

TEST(ReplyHandler, BeginsAnewBehindEachEndForAMethod)
{
    const std::unique_ptr<Receiver, ReleaseObject> receiver(new Receiver);
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
