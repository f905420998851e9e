#include "web/ZALVliHttpDataHandler.h"

#include <new>

ZALVliHttpDataHandler::ZALVliHttpDataHandler(const ReplyFunction& onDone) : callback(onDone) {}

ZALVliHttpDataHandler::ZALVliHttpDataHandler(ZALBaseUnknown* object, ReplyMethod method)
    : target(object), targetMethod(method)
{
}

ZALVliHttpDataHandler::~ZALVliHttpDataHandler()
{
    targetMethod = nullptr;
}

void ZALVliHttpDataHandler::OnHeaders(ZALCefHttpRequest*, const ZALCefHttpHeaderMap&) {}

void ZALVliHttpDataHandler::OnData(ZALCefHttpRequest* request, const void* bytes, std::size_t size)
{
    try {
        const char* data = static_cast<const char*>(bytes);
        replyBytes.insert(replyBytes.end(), data, data + size);
        return;
    } catch (const std::bad_alloc&) {
        // A reply with a hole must not be taken for one, so nothing of it stays.
        std::vector<char>().swap(replyBytes);
    }

    // And no more of it is to come.
    try {
        if (request)
            request->Cancel();
    } catch (const std::bad_alloc&) {
        // The host ends the transfer by itself.
    }
}

void ZALVliHttpDataHandler::OnProgress(ZALCefHttpRequest*, std::uint64_t, std::uint64_t) {}

void ZALVliHttpDataHandler::OnComplete(ZALCefHttpRequest*)
{
    try {
        if (targetMethod) {
            if (const ZALBaseUnknown_var object = ZALBaseUnknown_var::Take(target.GetComponent()))
                (object.Get()->*targetMethod)(replyBytes);
        } else if (callback) {
            callback(replyBytes);
        }
    } catch (const std::bad_alloc&) {
        // Whoever was called has told what it could.
    }

    callback = nullptr;
    replyBytes.clear();
}
