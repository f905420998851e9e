#include "web/ZALVliHttpDataHandler.h"

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

void ZALVliHttpDataHandler::OnData(ZALCefHttpRequest*, const void* bytes, std::size_t size)
{
    const char* data = static_cast<const char*>(bytes);
    replyBytes.insert(replyBytes.end(), data, data + size);
}

void ZALVliHttpDataHandler::OnProgress(ZALCefHttpRequest*, std::uint64_t, std::uint64_t) {}

void ZALVliHttpDataHandler::OnComplete(ZALCefHttpRequest*)
{
    if (targetMethod) {
        if (const ZALBaseUnknown_var object = ZALBaseUnknown_var::Take(target.GetComponent()))
            (object.Get()->*targetMethod)(replyBytes);
    } else if (callback) {
        callback(replyBytes);
        callback = nullptr;
    }

    replyBytes.clear();
}
