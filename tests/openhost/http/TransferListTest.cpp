// The list of transfers follows each of them, and changes none.

#include "openhost/http/TransferList.h"
#include "openhost/http/ScriptedTransport.h"
#include "openhost/loop/ManualEventLoop.h"
#include "tests/support/Installed.h"

#include <gtest/gtest.h>

namespace openhost {

namespace {

/// Notes what a transfer brings.
class Receiver : public HttpTransferListener {
public:
    void OnHead(int code, const HttpHeaders&) override { told += "head " + std::to_string(code) + "; "; }
    void OnBytes(const char* bytes, std::size_t size) override
    {
        told += std::string(bytes, size) + "; ";
        if (onBytes)
            onBytes();
    }
    void OnProgress(std::uint64_t, std::uint64_t) override {}
    void OnEnd(TransferEnd end, const std::string&) override
    {
        told += end == TransferEnd::Finished ? "end" : "no end";
    }

    std::string told;
    std::function<void()> onBytes;
};

class TransferListTest : public ::testing::Test {
protected:
    static constexpr const char* Url = "https://velmart.example/files/m8.zip?a=b";

    TransferListTest()
    {
        auto scripted = std::make_unique<ScriptedTransport>();
        scripted_ = scripted.get();
        list_ = std::make_unique<TransferList>(std::move(scripted));
    }

    void Begin(const char* url = Url)
    {
        transfer_ = list_->Start({.method = "GET", .url = url, .headers = {}, .body = {}}, receiver_);
    }
    static void Run() { EventLoop::Current().RunUntilIdle(); }
    const TransferList::Entry& Only() const
    {
        EXPECT_EQ(1U, list_->Entries().size());
        return list_->Entries().front();
    }

    testing::Installed<ManualEventLoop> loop_;
    ScriptedTransport* scripted_ = nullptr;
    std::unique_ptr<TransferList> list_;
    Receiver receiver_;
    std::unique_ptr<HttpTransfer> transfer_;
};

TEST_F(TransferListTest, BytesPassAndAreCounted)
{
    scripted_->Answer(Url, {.code = 200, .chunks = {"abc", "de"}});
    Begin();
    EXPECT_TRUE(Only().IsRunning());
    EXPECT_EQ("m8.zip", Only().name);
    Run();
    EXPECT_EQ("head 200; abc; de; end", receiver_.told);
    EXPECT_FALSE(Only().IsRunning());
    EXPECT_EQ(5U, Only().bytes);
    EXPECT_EQ(200, Only().code);
    EXPECT_EQ(TransferEnd::Finished, Only().end);
    EXPECT_EQ(0U, list_->RunningTransfers());
}

TEST_F(TransferListTest, ARefusedRequestIsNoTransfer)
{
    scripted_->RefuseNext();
    Begin();
    EXPECT_EQ(nullptr, transfer_);
    EXPECT_TRUE(list_->Entries().empty());
}

TEST_F(TransferListTest, ACancelByTheUserEndsTheTransferForItsOwner)
{
    scripted_->Answer(Url, {.code = 200, .chunks = {"abc"}});
    Begin();
    list_->Cancel(Only().number);
    Run();
    EXPECT_EQ("no end", receiver_.told);
    EXPECT_EQ(TransferEnd::Cancelled, Only().end);
}

TEST_F(TransferListTest, ATransferThatIsDestroyedCountsAsCancelled)
{
    scripted_->Answer(Url, {.code = 200, .chunks = {"abc"}});
    Begin();
    transfer_.reset();
    EXPECT_FALSE(Only().IsRunning());
    EXPECT_EQ(TransferEnd::Cancelled, Only().end);
}

TEST_F(TransferListTest, AListenerMayDestroyItsTransferInACall)
{
    scripted_->Answer(Url, {.code = 200, .chunks = {"abc", "de"}});
    Begin();
    receiver_.onBytes = [this] { transfer_.reset(); };
    Run();
    EXPECT_EQ("head 200; abc; ", receiver_.told);
    EXPECT_EQ(3U, Only().bytes);
}

TEST_F(TransferListTest, ATransferMayOutliveTheList)
{
    scripted_->Answer(Url, {.code = 200, .chunks = {"abc"}});
    Begin();
    list_.reset();
    Run();
    transfer_.reset();
}

TEST_F(TransferListTest, OnlyTransfersThatHaveEndedAreCleared)
{
    scripted_->Answer(Url, {.code = 200, .chunks = {"abc"}});
    Begin();
    list_->Clear();
    EXPECT_EQ(1U, list_->Entries().size());
    Run();
    list_->Clear();
    EXPECT_TRUE(list_->Entries().empty());
}

TEST_F(TransferListTest, TwoHundredTransfersAreKeptAndTheOldestEndedGoesFirst)
{
    scripted_->Answer(Url, {.code = 200, .chunks = {"abc"}});
    for (std::size_t number = 1; number <= TransferList::MaximumEntries + 1; ++number) {
        EXPECT_EQ(number - 1, list_->Entries().size());
        Begin();
        Run();
    }
    EXPECT_EQ(TransferList::MaximumEntries, list_->Entries().size());
    EXPECT_EQ(2U, list_->Entries().front().number);
}

TEST_F(TransferListTest, EachChangeIsToldUntilNobodyWantsIt)
{
    scripted_->Answer(Url, {.code = 200, .chunks = {"abc"}});
    int changes = 0;
    list_->OnChange([&] {
        ++changes;
        list_->OnChange({});
    });
    Begin();
    Run();
    EXPECT_EQ(1, changes);
}

TEST(TransferTimeLeft, IsUnknownWithoutALengthOrBytes)
{
    TransferList::Entry entry{
        .number = 1, .method = {}, .url = {}, .name = {}, .started = {}, .ended = {}, .error = {}};
    entry.started = TransferList::Clock::now() - std::chrono::seconds(10);
    EXPECT_FALSE(entry.TimeLeft());
    entry.bytes = 1000;
    EXPECT_FALSE(entry.TimeLeft());
    entry.total = 500;
    EXPECT_FALSE(entry.TimeLeft()) << "more has come than was announced";
    entry.total = 2000;
    ASSERT_TRUE(entry.TimeLeft());
    EXPECT_NEAR(10, static_cast<double>(entry.TimeLeft()->count()), 2);
}

} // namespace

} // namespace openhost
