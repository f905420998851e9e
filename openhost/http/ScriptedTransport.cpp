#include "openhost/http/ScriptedTransport.h"

#include "openhost/loop/EventLoop.h"

namespace openhost {

// ---------------------------------------------------------------------------------------------
// The side of the transfer's owner

class ScriptedTransport::Script::Handle final : public HttpTransfer {
public:
    explicit Handle(std::shared_ptr<Script> script) : script_(std::move(script)) {}
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
    ~Handle() override { script_->listener_ = nullptr; }
    void Cancel() override { script_->Cancel(); }

private:
    std::shared_ptr<Script> script_;
};

void ScriptedTransport::Script::Cancel()
{
    if (!IsRunning())
        return;
    if (!delivering_)
        EndCancelled();
    cancelled_ = true;
}

void ScriptedTransport::Script::EndCancelled()
{
    EventLoop::Current().Post([script = self_.lock()] {
        if (auto* listener = std::exchange(script->listener_, nullptr))
            listener->OnEnd(TransferEnd::Cancelled, {});
    });
}

// ---------------------------------------------------------------------------------------------
// The side of the script

template <class Call>
void ScriptedTransport::Script::Deliver(Call call)
{
    if (!IsRunning() || delivering_)
        return;
    const auto self = self_.lock();
    delivering_ = true;
    call(*listener_);
    delivering_ = false;
    if (cancelled_ && listener_)
        EndCancelled();
}

void ScriptedTransport::Script::Head(int code, const HttpHeaders& headers)
{
    Deliver([&](HttpTransferListener& listener) { listener.OnHead(code, headers); });
}

void ScriptedTransport::Script::Bytes(std::string_view bytes)
{
    Deliver([&](HttpTransferListener& listener) { listener.OnBytes(bytes.data(), bytes.size()); });
}

void ScriptedTransport::Script::Progress(std::uint64_t current, std::uint64_t total)
{
    Deliver([&](HttpTransferListener& listener) { listener.OnProgress(current, total); });
}

void ScriptedTransport::Script::End(TransferEnd end)
{
    if (!IsRunning() || delivering_)
        return;
    const auto self = self_.lock();
    std::exchange(listener_, nullptr)->OnEnd(end, end == TransferEnd::Failed ? "the connection was lost" : "");
}

void ScriptedTransport::Script::Play(std::shared_ptr<const Reply> reply, std::size_t step, std::uint64_t received)
{
    EventLoop::Current().Post([script = self_.lock(), reply = std::move(reply), step, received] {
        if (step == 0 && reply->code)
            script->Head(*reply->code, reply->headers);
        const std::size_t chunk = step - 1;
        auto now = received;
        if (step > 0 && chunk < reply->chunks.size()) {
            now += reply->chunks[chunk].size();
            script->Bytes(reply->chunks[chunk]);
            script->Progress(now, reply->total);
        }
        if (step > reply->chunks.size())
            script->End(reply->end);
        else if (script->IsRunning())
            script->Play(reply, step + 1, now);
    });
}

// ---------------------------------------------------------------------------------------------
// The transport

void ScriptedTransport::Answer(const std::string& url, Reply reply)
{
    replies_[url] = std::make_shared<const Reply>(std::move(reply));
}

void ScriptedTransport::RefuseNext(int count)
{
    refusals_ = count;
}

std::unique_ptr<HttpTransfer> ScriptedTransport::Start(HttpRequestData request, HttpTransferListener& listener)
{
    requests_.push_back(request);
    if (refusals_ > 0) {
        --refusals_;
        return nullptr;
    }
    auto script = std::make_shared<Script>();
    script->self_ = script;
    script->request_ = std::move(request);
    script->listener_ = &listener;
    // Ends the script again when something after it fails.
    auto handle = std::make_unique<Script::Handle>(script);
    scripts_.push_back(script);
    if (const auto reply = replies_.find(script->request_.url); reply != replies_.end())
        script->Play(reply->second, 0, 0);
    return handle;
}

} // namespace openhost
