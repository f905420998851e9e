// All transfers of a run, for the user.
#pragma once

#include "openhost/http/HttpTransport.h"

#include <chrono>
#include <deque>
#include <functional>
#include <optional>

namespace openhost {

/// A transport that notes what another one transfers. Its transfers may outlive it.
class TransferList final : public HttpTransport {
public:
    using Clock = std::chrono::steady_clock;

    struct Entry {
        std::uint64_t number; ///< from 1, not used twice
        std::string method;
        std::string url;
        std::string name;        ///< the last part of the address
        std::uint64_t bytes = 0; ///< of the body that have come
        std::uint64_t total = 0; ///< 0 when it is not announced
        Clock::time_point started;
        std::optional<Clock::time_point> ended;
        int code = 0;                          ///< of the reply; 0 before it
        TransferEnd end = TransferEnd::Failed; ///< once it has ended
        std::string error;                     ///< in words; empty for none

        bool IsRunning() const { return !ended; }
        /// Bytes a second since the start.
        double Speed() const;
        /// Nothing when it cannot be told.
        std::optional<std::chrono::seconds> TimeLeft() const;
    };

    /// Most entries that are kept. The oldest that has ended goes first.
    static constexpr std::size_t MaximumEntries = 200;

    explicit TransferList(std::unique_ptr<HttpTransport> transport);
    TransferList(const TransferList&) = delete;
    TransferList& operator=(const TransferList&) = delete;
    ~TransferList() override;

    std::unique_ptr<HttpTransfer> Start(HttpRequestData request, HttpTransferListener& listener) override;

    /// The oldest first.
    const std::deque<Entry>& Entries() const;
    std::size_t RunningTransfers() const;
    /// Cancels the transfer `number`, as if its owner had. One that has ended is ignored.
    void Cancel(std::uint64_t number);
    /// Drops those that have ended.
    void Clear();
    /// `changed` is called, from within transfers, whenever an entry has changed. An empty function ends that.
    void OnChange(std::function<void()> changed);

private:
    class Watched;
    struct State;

    std::unique_ptr<HttpTransport> transport_;
    std::shared_ptr<State> state_; ///< transfers hold it
};

} // namespace openhost
