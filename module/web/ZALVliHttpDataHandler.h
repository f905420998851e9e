// Collects the body of one reply.
#pragma once

#include "host/http.h"

#include <functional>
#include <vector>

/// Receives one transfer and hands the whole body to a callback when it ends, also when it has failed: what has come is
/// then all that the callback gets, which is nothing when there was no memory for a piece. Neither status nor headers
/// are looked at.
class ZALVliHttpDataHandler : public ZALCefHttpDataHandler {
public:
    using ReplyFunction = std::function<void(const std::vector<char>& reply)>;
    using ReplyMethod = void (ZALBaseUnknown::*)(const std::vector<char>& reply);

    explicit ZALVliHttpDataHandler(const ReplyFunction& onDone);
    /// `target` is held weakly: nobody is called when it is gone at the end.
    ZALVliHttpDataHandler(ZALBaseUnknown* target, ReplyMethod method);
    ~ZALVliHttpDataHandler() override;

    void OnHeaders(ZALCefHttpRequest* request, const ZALCefHttpHeaderMap& headers) override;
    void OnData(ZALCefHttpRequest* request, const void* bytes, std::size_t size) override;
    void OnProgress(ZALCefHttpRequest* request, std::uint64_t current, std::uint64_t total) override;
    void OnComplete(ZALCefHttpRequest* request) override;

private:
    std::vector<char> replyBytes;
    ZALBaseUnknown_WR target;
    ReplyMethod targetMethod = nullptr; ///< null when `callback` is used
    ReplyFunction callback;             ///< empty when `targetMethod` is used
};
