#include "openhost/http/TransferList.h"

#include <algorithm>
#include <map>

namespace openhost {

struct TransferList::State {
    std::deque<Entry> entries;
    std::map<std::uint64_t, Watched*> running;
    std::uint64_t last = 0;
    std::function<void()> changed;

    Entry* Find(std::uint64_t number)
    {
        const auto found = std::ranges::find(entries, number, &Entry::number);
        return found == entries.end() ? nullptr : &*found;
    }
    void Tell() const
    {
        // A copy: it may end itself.
        if (const auto call = changed)
            call();
    }
};

double TransferList::Entry::Speed() const
{
    const std::chrono::duration<double> time = ended.value_or(Clock::now()) - started;
    return time.count() > 0 ? static_cast<double>(bytes) / time.count() : 0;
}

std::optional<std::chrono::seconds> TransferList::Entry::TimeLeft() const
{
    const double speed = Speed();
    if (!IsRunning() || total < bytes || total == 0 || speed < 1)
        return std::nullopt;
    return std::chrono::seconds(static_cast<std::int64_t>(static_cast<double>(total - bytes) / speed) + 1);
}

namespace {

/// The last part of the path of `url`, which is not empty unless the path is.
std::string NameIn(const std::string& url)
{
    const std::string path = url.substr(0, url.find_first_of("?#"));
    const std::size_t slash = path.find_last_of('/');
    const std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
    return name.empty() ? url : name;
}

} // namespace

/// Between a transfer and its listener. Both of them may end it in any call.
class TransferList::Watched final : public HttpTransfer, private HttpTransferListener {
public:
    Watched(std::shared_ptr<State> state, std::uint64_t number, HttpTransferListener& listener)
        : state_(std::move(state)), number_(number), listener_(listener)
    {
        state_->running[number_] = this;
    }
    Watched(const Watched&) = delete;
    Watched& operator=(const Watched&) = delete;
    ~Watched() override
    {
        transfer_.reset();
        End(TransferEnd::Cancelled, {});
    }

    bool Start(HttpTransport& transport, HttpRequestData request)
    {
        transfer_ = transport.Start(std::move(request), *this);
        return transfer_ != nullptr;
    }

    void Cancel() override { transfer_->Cancel(); }

    // Each call of the listener comes last, since it may destroy this.

    void OnHead(int code, const HttpHeaders& headers) override
    {
        Change([&](Entry& entry) { entry.code = code; });
        listener_.OnHead(code, headers);
    }
    void OnBytes(const char* bytes, std::size_t size) override
    {
        Change([&](Entry& entry) { entry.bytes += size; });
        listener_.OnBytes(bytes, size);
    }
    void OnProgress(std::uint64_t current, std::uint64_t total) override
    {
        Change([&](Entry& entry) { entry.total = total; });
        listener_.OnProgress(current, total);
    }
    void OnEnd(TransferEnd end, const std::string& error) override
    {
        End(end, error);
        listener_.OnEnd(end, error);
    }

private:
    void Change(const std::function<void(Entry&)>& change)
    {
        if (Entry* entry = state_->Find(number_)) {
            change(*entry);
            state_->Tell();
        }
    }
    void End(TransferEnd end, const std::string& error)
    {
        if (state_->running.erase(number_) == 0)
            return;
        Change([&](Entry& entry) {
            entry.ended = Clock::now();
            entry.end = end;
            entry.error = error;
        });
    }

    std::shared_ptr<State> state_;
    std::uint64_t number_;
    HttpTransferListener& listener_;
    std::unique_ptr<HttpTransfer> transfer_;
};

TransferList::TransferList(std::unique_ptr<HttpTransport> transport)
    : transport_(std::move(transport)), state_(std::make_shared<State>())
{
}

TransferList::~TransferList()
{
    state_->changed = {};
}

std::unique_ptr<HttpTransfer> TransferList::Start(HttpRequestData request, HttpTransferListener& listener)
{
    const std::uint64_t number = ++state_->last;
    state_->entries.push_back({.number = number,
                               .method = request.method,
                               .url = request.url,
                               .name = NameIn(request.url),
                               .started = Clock::now(),
                               .ended = {},
                               .error = {}});
    auto watched = std::make_unique<Watched>(state_, number, listener);
    if (!watched->Start(*transport_, std::move(request))) {
        watched.reset();
        std::erase_if(state_->entries, [&](const Entry& entry) { return entry.number == number; });
        return nullptr;
    }
    if (state_->entries.size() > MaximumEntries) {
        const auto oldest =
            std::ranges::find_if(state_->entries, [](const Entry& entry) { return !entry.IsRunning(); });
        if (oldest != state_->entries.end())
            state_->entries.erase(oldest);
    }
    state_->Tell();
    return watched;
}

const std::deque<TransferList::Entry>& TransferList::Entries() const
{
    return state_->entries;
}

std::size_t TransferList::RunningTransfers() const
{
    return state_->running.size();
}

void TransferList::Cancel(std::uint64_t number)
{
    if (const auto found = state_->running.find(number); found != state_->running.end())
        found->second->Cancel();
}

void TransferList::Clear()
{
    std::erase_if(state_->entries, [](const Entry& entry) { return !entry.IsRunning(); });
    state_->Tell();
}

void TransferList::OnChange(std::function<void()> changed)
{
    state_->changed = std::move(changed);
}

} // namespace openhost
