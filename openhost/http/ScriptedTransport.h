// A transport without a network: what comes back is written by its user.
#pragma once

#include "openhost/http/HttpTransport.h"

#include <map>
#include <optional>
#include <string_view>

namespace openhost {

/// Accepts every request unless told otherwise. A request to an address with a reply is answered through the event
/// loop, one event for the head, each chunk and the end; any other waits until the user says what happens to it.
class ScriptedTransport final : public HttpTransport {
public:
    /// A whole reply.
    struct Reply {
        std::optional<int> code = 200; ///< without a code no head comes
        HttpHeaders headers{};
        std::vector<std::string> chunks{};
        std::uint64_t total = 0; ///< as reported after each chunk
        TransferEnd end = TransferEnd::Finished;
    };

    /// One transfer that was started. Its calls reach the listener at once, as an event of the loop would; they do
    /// nothing once the transfer has ended, was cancelled or is gone.
    class Script {
    public:
        const HttpRequestData& Request() const { return request_; }
        void Head(int code, const HttpHeaders& headers = {});
        void Bytes(std::string_view bytes);
        void Progress(std::uint64_t current, std::uint64_t total);
        void End(TransferEnd end = TransferEnd::Finished);
        /// Whether a call would still reach the listener.
        bool IsRunning() const { return listener_ && !cancelled_; }
        bool IsCancelled() const { return cancelled_; }

    private:
        friend class ScriptedTransport;
        class Handle;

        template <class Call>
        void Deliver(Call call);
        void Cancel();
        void EndCancelled();
        void Play(std::shared_ptr<const Reply> reply, std::size_t step, std::uint64_t received);

        HttpRequestData request_;
        HttpTransferListener* listener_ = nullptr; ///< null once nothing more may be called
        bool cancelled_ = false;
        bool delivering_ = false;
        std::weak_ptr<Script> self_;
    };

    /// From now on answers requests to `url` with `reply`.
    void Answer(const std::string& url, Reply reply);
    /// Refuses the next `count` requests.
    void RefuseNext(int count = 1);
    /// What Start was called with, refused requests included.
    const std::vector<HttpRequestData>& Requests() const { return requests_; }
    /// How many transfers were started.
    std::size_t Count() const { return scripts_.size(); }
    /// A started transfer by its number from 0; stays as long as the transport. Throws std::out_of_range.
    Script& At(std::size_t number) { return *scripts_.at(number); }
    /// The transfer started last. Throws std::out_of_range when there is none.
    Script& Last() { return *scripts_.at(scripts_.size() - 1); }

    std::unique_ptr<HttpTransfer> Start(HttpRequestData request, HttpTransferListener& listener) override;

private:
    std::map<std::string, std::shared_ptr<const Reply>> replies_;
    std::vector<HttpRequestData> requests_;
    std::vector<std::shared_ptr<Script>> scripts_;
    int refusals_ = 0;
};

} // namespace openhost
