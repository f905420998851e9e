// What holds for every event loop. A source of tests declares the list of loops, `Loops`, before it includes this.
#pragma once

#include "openhost/loop/EventLoop.h"

#include "openhost/loop/ManualEventLoop.h"

#include <gtest/gtest.h>

#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <string>
#include <vector>

using namespace openhost;
using namespace std::chrono_literals;

class SocketPair {
public:
    SocketPair()
    {
        if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, ends_.data()) != 0)
            throw std::runtime_error("no socket pair");
    }
    SocketPair(const SocketPair&) = delete;
    SocketPair& operator=(const SocketPair&) = delete;
    ~SocketPair()
    {
        close(ends_[0]);
        CloseOther();
    }
    int Own() const { return ends_[0]; }
    void SendFromOther(const std::string& text) const
    {
        ASSERT_EQ(static_cast<ssize_t>(text.size()), write(ends_[1], text.data(), text.size()));
    }
    std::string Take() const
    {
        std::array<char, 256> bytes{};
        const ssize_t size = read(ends_[0], bytes.data(), bytes.size());
        return {bytes.data(), static_cast<std::size_t>(std::max<ssize_t>(size, 0))};
    }
    void CloseOther()
    {
        if (ends_[1] >= 0)
            close(std::exchange(ends_[1], -1));
    }

private:
    std::array<int, 2> ends_{-1, -1};
};

template <class Loop>
class AnyEventLoop : public testing::Test {
protected:
    std::unique_ptr<Loop> loop = std::make_unique<Loop>();
    std::string order;

    void Post(EventLoop::Call call) { loop->Post(std::move(call)); }
    EventLoop::Timer After(std::chrono::milliseconds time, EventLoop::Call call)
    {
        return loop->CallAfter(time, std::move(call));
    }
    EventLoop::Call Note(char mark)
    {
        return [this, mark] { order += mark; };
    }
    /// Notes what `descriptor` is ready for.
    void NoteOnce(int descriptor, bool read, bool write, char mark)
    {
        loop->Watch(descriptor, read, write, [this, descriptor, read, write, mark](bool readable, bool writable) {
            order += readable == read && writable == write ? mark : 'x';
            loop->Unwatch(descriptor);
        });
    }
    // Lets the time of timers pass.
    void Pass(std::chrono::milliseconds time)
    {
        if constexpr (std::is_same_v<Loop, ManualEventLoop>)
            loop->Advance(time);
        else
            loop->RunUntilIdle(10s);
    }
};

TYPED_TEST_SUITE(AnyEventLoop, Loops);

// ---------------------------------------------------------------------------------------------
// Posted calls

TYPED_TEST(AnyEventLoop, IsIdleAtOnceWhenNothingIsThere)
{
    EXPECT_EQ(RunEnd::Idle, this->loop->RunUntilIdle());
    EXPECT_EQ(RunEnd::Idle, this->loop->RunUntilIdle(1h));
}

TYPED_TEST(AnyEventLoop, RunsAPostedCallNeitherInsidePostNorWhenItIsDoneAlready)
{
    this->Post(this->Note('a'));
    EXPECT_EQ("", this->order);
    EXPECT_EQ(RunEnd::Done, this->loop->RunUntil([] { return true; }));
    EXPECT_EQ("", this->order);
    this->loop->RunUntilIdle();
    EXPECT_EQ("a", this->order);
}

TYPED_TEST(AnyEventLoop, RunsPostedCallsInTheirOrderAndAsksBetweenTwo)
{
    this->Post([this] {
        this->order += 'a';
        this->Post(this->Note('d'));
    });
    this->Post(this->Note('b'));
    this->Post(this->Note('c'));
    EXPECT_EQ(RunEnd::Done, this->loop->RunUntil([this] { return this->order == "ab"; }));
    EXPECT_EQ("ab", this->order);
    EXPECT_EQ(RunEnd::Idle, this->loop->RunUntilIdle());
    EXPECT_EQ("abcd", this->order);
}

TYPED_TEST(AnyEventLoop, RunsNestWithoutRunningAnEventTwice)
{
    this->Post([this] {
        this->order += '(';
        this->loop->RunUntilIdle();
        this->order += ')';
    });
    this->Post(this->Note('a'));
    this->Post([this] {
        this->order += '[';
        this->loop->RunUntilIdle();
        this->order += ']';
    });
    this->Post(this->Note('b'));
    this->loop->RunUntilIdle();
    EXPECT_EQ("(a[b])", this->order);
}

TYPED_TEST(AnyEventLoop, ANestedRunEndsByItsConditionAndLeavesTheRest)
{
    this->Post([this] {
        this->order += '(';
        EXPECT_EQ(RunEnd::Done, this->loop->RunUntil([this] { return this->order.back() == 'a'; }));
        this->order += ')';
    });
    this->Post(this->Note('a'));
    this->Post(this->Note('b'));
    this->loop->RunUntilIdle();
    EXPECT_EQ("(a)b", this->order);
}

// ---------------------------------------------------------------------------------------------
// Timers

TYPED_TEST(AnyEventLoop, FiresTimersOnceByTimeAndThenInTheOrderOfTheirMaking)
{
    this->After(20ms, this->Note('d'));
    this->After(0ms, this->Note('a'));
    this->After(0ms, this->Note('b'));
    this->After(10ms, this->Note('c'));
    this->Pass(20ms);
    this->Pass(20ms);
    EXPECT_EQ("abcd", this->order);
}

TYPED_TEST(AnyEventLoop, ACancelledTimerDoesNotFireAndDoesNotKeepARunAlive)
{
    const auto timer = this->After(1h, this->Note('a'));
    EXPECT_NE(0U, timer);
    this->loop->CancelTimer(timer);
    EXPECT_EQ(RunEnd::Idle, this->loop->RunUntilIdle());
    this->Pass(2h);
    EXPECT_EQ("", this->order);
}

TYPED_TEST(AnyEventLoop, CancellingAnUnknownOrFiredTimerChangesNothing)
{
    this->loop->CancelTimer(0);
    this->loop->CancelTimer(123456789);
    const auto fired = this->After(0ms, this->Note('a'));
    this->Pass(1ms);
    this->After(0ms, this->Note('b'));
    this->loop->CancelTimer(fired);
    this->Pass(1ms);
    EXPECT_EQ("ab", this->order);
}

TYPED_TEST(AnyEventLoop, ATimerCancelsAnotherThatIsDueAtTheSameTime)
{
    EventLoop::Timer second = 0;
    this->After(0ms, [&] {
        this->order += 'a';
        this->loop->CancelTimer(second);
    });
    second = this->After(0ms, this->Note('b'));
    this->After(0ms, this->Note('c'));
    this->Pass(1ms);
    EXPECT_EQ("ac", this->order);
}

TYPED_TEST(AnyEventLoop, ATimerMayMakeItselfAnew)
{
    int count = 0;
    std::function<void()> again = [&] {
        if (++count < 3)
            this->After(1ms, again);
    };
    this->After(1ms, again);
    this->Pass(3ms);
    EXPECT_EQ(3, count);
}

TYPED_TEST(AnyEventLoop, TimersOfTwoLoopsHaveDifferentNumbers)
{
    TypeParam other;
    const auto mine = this->After(0ms, this->Note('a'));
    other.CallAfter(0ms, this->Note('b'));
    other.CancelTimer(mine);
    this->Pass(1ms);
    EXPECT_EQ("a", this->order);
}

// ---------------------------------------------------------------------------------------------
// Descriptors

TYPED_TEST(AnyEventLoop, CallsWhenADescriptorCanBeReadUntilItIsRead)
{
    SocketPair sockets;
    int calls = 0;
    std::string text;
    this->loop->Watch(sockets.Own(), true, false, [&](bool readable, bool writable) {
        EXPECT_TRUE(readable);
        EXPECT_FALSE(writable);
        if (++calls == 2) {
            text = sockets.Take();
            this->loop->Unwatch(sockets.Own());
        }
    });
    sockets.SendFromOther("hello");
    EXPECT_EQ(RunEnd::Idle, this->loop->RunUntilIdle(10s));
    EXPECT_EQ(2, calls);
    EXPECT_EQ("hello", text);
}

TYPED_TEST(AnyEventLoop, CallsWhenADescriptorCanBeWritten)
{
    SocketPair sockets;
    this->NoteOnce(sockets.Own(), false, true, 'a');
    this->loop->RunUntilIdle(10s);
    EXPECT_EQ("a", this->order);
}

TYPED_TEST(AnyEventLoop, CallsWhenTheOtherEndIsClosed)
{
    SocketPair sockets;
    bool readableEnd = false;
    this->loop->Watch(sockets.Own(), true, false, [&](bool readable, bool) {
        readableEnd = readable && sockets.Take().empty();
        this->loop->Unwatch(sockets.Own());
    });
    sockets.CloseOther();
    this->loop->RunUntilIdle(10s);
    EXPECT_TRUE(readableEnd);
}

TYPED_TEST(AnyEventLoop, ASecondWatchReplacesTheFirst)
{
    SocketPair sockets;
    this->loop->Watch(sockets.Own(), true, false, [&](bool, bool) { this->order += 'a'; });
    this->NoteOnce(sockets.Own(), true, true, 'b');
    sockets.SendFromOther("!");
    this->loop->RunUntilIdle(10s);
    EXPECT_EQ("b", this->order);
}

TYPED_TEST(AnyEventLoop, AWatchForNothingOrOfNothingIsNone)
{
    SocketPair sockets;
    this->NoteOnce(sockets.Own(), true, true, 'a');
    this->NoteOnce(sockets.Own(), false, false, 'b');
    this->loop->Unwatch(0);
    this->loop->Unwatch(-1);
    EXPECT_EQ(RunEnd::Idle, this->loop->RunUntilIdle());
    EXPECT_EQ("", this->order);
}

TYPED_TEST(AnyEventLoop, AReadyCallMayEndAnotherWatchThatIsReadyToo)
{
    SocketPair first;
    SocketPair second;
    const auto endBoth = [&](bool, bool) {
        this->order += 'a';
        this->loop->Unwatch(first.Own());
        this->loop->Unwatch(second.Own());
    };
    this->loop->Watch(first.Own(), true, false, endBoth);
    this->loop->Watch(second.Own(), true, false, endBoth);
    first.SendFromOther("!");
    second.SendFromOther("!");
    EXPECT_EQ(RunEnd::Idle, this->loop->RunUntilIdle(10s));
    EXPECT_EQ("a", this->order);
}

TYPED_TEST(AnyEventLoop, AWatchInPlaceOfAReadyOneDoesNotHearWhatThatOneSaw)
{
    SocketPair first;
    SocketPair second;
    const auto takeFromBoth = [&](bool, bool) {
        this->order += static_cast<char>('a' + first.Take().size() + second.Take().size());
        this->loop->Watch(first.Own(), true, false, [&](bool, bool) { this->order += 'x'; });
        this->loop->Watch(second.Own(), true, false, [&](bool, bool) { this->order += 'x'; });
    };
    this->loop->Watch(first.Own(), true, false, takeFromBoth);
    this->loop->Watch(second.Own(), true, false, takeFromBoth);
    first.SendFromOther("!");
    second.SendFromOther("!");
    this->loop->RunUntilIdle(std::chrono::milliseconds(20));
    EXPECT_EQ("c", this->order);
}

TYPED_TEST(AnyEventLoop, AReadyCallMayReplaceItself)
{
    SocketPair sockets;
    this->loop->Watch(sockets.Own(), true, false, [this, &sockets, held = std::make_shared<char>('a')](bool, bool) {
        this->NoteOnce(sockets.Own(), true, false, 'b');
        this->order += *held;
    });
    sockets.SendFromOther("!");
    this->loop->RunUntilIdle(10s);
    EXPECT_EQ("ab", this->order);
}

TYPED_TEST(AnyEventLoop, ADescriptorThatIsReusedCanBeWatchedAnew)
{
    int first = -1;
    {
        SocketPair sockets;
        first = sockets.Own();
        this->NoteOnce(first, true, false, 'x');
        this->loop->Unwatch(first);
    }
    SocketPair sockets;
    ASSERT_EQ(first, sockets.Own());
    this->NoteOnce(first, true, false, 'a');
    sockets.SendFromOther("!");
    this->loop->RunUntilIdle(10s);
    EXPECT_EQ("a", this->order);
}

TYPED_TEST(AnyEventLoop, ADescriptorIsSeenAlsoInANestedRun)
{
    SocketPair sockets;
    this->NoteOnce(sockets.Own(), true, false, 'a');
    this->Post([&] {
        sockets.SendFromOther("!");
        EXPECT_EQ(RunEnd::Done, this->loop->RunUntil([this] { return this->order == "a"; }, 10s));
    });
    this->loop->RunUntilIdle(10s);
}

// ---------------------------------------------------------------------------------------------
// The end of a loop

TYPED_TEST(AnyEventLoop, DropsWhatIsLeftWithoutCallingIt)
{
    SocketPair sockets;
    const auto held = std::make_shared<int>(0);
    this->Post([this, held] { this->order += 'a'; });
    this->After(0ms, [this, held] { this->order += 'b'; });
    this->loop->Watch(sockets.Own(), false, true, [this, held](bool, bool) { this->order += 'c'; });
    EXPECT_EQ(4, held.use_count());
    this->loop.reset();
    EXPECT_EQ(1, held.use_count());
    EXPECT_EQ("", this->order);
}

TYPED_TEST(AnyEventLoop, SurvivesThatWhatItDropsComesBackToIt)
{
    struct ComesBack {
        TypeParam* loop;
        EventLoop::Timer timer;
        ~ComesBack()
        {
            loop->CancelTimer(timer);
            loop->Unwatch(0);
            loop->Post([] { FAIL() << "a call of a loop that has ended"; });
        }
    };
    const auto timer = this->After(0ms, [] { FAIL() << "a timer of a loop that has ended"; });
    this->Post([back = std::shared_ptr<ComesBack>(new ComesBack{this->loop.get(), timer})] {});
    this->loop.reset();
}
