// Time-outs of the application.

#include "tests/support/HostFixture.h"

#include "host/dialog_engine.h"

namespace openhost::testing {

namespace {

using namespace std::chrono_literals;

class Client : public ZALBaseUnknown {
public:
    std::vector<void*> calls;
    std::function<void()> reaction;
};

void Count(ZALBaseUnknown* client, void* data)
{
    auto& called = static_cast<Client&>(*client);
    called.calls.push_back(data);
    if (called.reaction)
        called.reaction();
}
void CountOther(ZALBaseUnknown* client, void* data)
{
    Count(client, data);
}

class TimeOuts : public HostFixture {
protected:
    ~TimeOuts() override
    {
        if (client_)
            client_->Release();
    }
    static ZALApplication& Application() { return *ZALApplication::MainApplication(); }
    int data_ = 0;
    Client* client_ = new Client;
};

TEST_F(TimeOuts, CallOnceFromTheLoopWhenTheTimeHasPassed)
{
    Application().AddTimeOut(0, client_, nullptr, Count);
    EXPECT_TRUE(client_->calls.empty());
    Loop().Advance(0ms);
    EXPECT_EQ(std::vector<void*>{nullptr}, client_->calls);
    Application().AddTimeOut(1000, client_, &data_, Count);
    Loop().Advance(999ms);
    EXPECT_EQ(1U, client_->calls.size());
    Loop().Advance(1ms);
    EXPECT_EQ((std::vector<void*>{nullptr, &data_}), client_->calls);
    Loop().Advance(10s);
    EXPECT_EQ(2U, client_->calls.size());
}

TEST_F(TimeOuts, AreRemovedByWhatTheyWereAddedWith)
{
    Application().AddTimeOut(1000, client_, &data_, Count);
    Application().RemoveTimeOut(999, client_, &data_, Count);
    Application().RemoveTimeOut(1000, nullptr, &data_, Count);
    Application().RemoveTimeOut(1000, client_, nullptr, Count);
    Application().RemoveTimeOut(1000, client_, &data_, CountOther);
    Application().AddTimeOut(1000, client_, nullptr, Count);
    Application().AddTimeOut(1000, client_, nullptr, Count);
    Application().RemoveTimeOut(1000, client_, nullptr, Count);
    Loop().Advance(1s);
    EXPECT_EQ(std::vector<void*>{&data_}, client_->calls);
    Application().RemoveTimeOut(1000, client_, &data_, Count);
}

TEST_F(TimeOuts, EndWithTheirClient)
{
    Application().AddTimeOut(1000, client_, nullptr, Count);
    EXPECT_EQ(0U, client_->Release());
    client_ = nullptr;
    Loop().Advance(1s);
}

TEST_F(TimeOuts, HoldTheirClientDuringTheCall)
{
    client_->reaction = [this] { std::exchange(client_, nullptr)->Release(); };
    Application().AddTimeOut(1000, client_, nullptr, Count);
    Loop().Advance(1s);
    EXPECT_EQ(nullptr, client_);
}

TEST_F(TimeOuts, MayBeAddedAndRemovedInsideACall)
{
    client_->reaction = [this] {
        if (client_->calls.size() < 3)
            Application().AddTimeOut(1000, client_, nullptr, Count);
        Application().RemoveTimeOut(5000, client_, nullptr, Count);
    };
    Application().AddTimeOut(5000, client_, nullptr, Count);
    Application().AddTimeOut(1000, client_, nullptr, Count);
    Loop().Advance(10s);
    EXPECT_EQ(3U, client_->calls.size());
}

TEST_F(TimeOuts, EndWithTheApplication)
{
    Application().AddTimeOut(1000, client_, nullptr, Count);
    ConfigureCommands({.application = false});
    Loop().Advance(2s);
    EXPECT_TRUE(client_->calls.empty());
}

TEST_F(TimeOuts, NeedAClientAndAFunction)
{
    Application().AddTimeOut(0, nullptr, nullptr, Count);
    Application().AddTimeOut(0, client_, nullptr, nullptr);
    Loop().Advance(1s);
    EXPECT_TRUE(client_->calls.empty());
}

} // namespace

} // namespace openhost::testing
