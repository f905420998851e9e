#include "web/ZALVliHttpUtils.h"

#include "web/ZALVliHttpDataHandler.h"

namespace ZALVliHttpUtils {

namespace {

HRESULT Send(ZALCefHttpRequest* request, ZALVliHttpDataHandler* handler)
{
    const HRESULT result = request->Send(handler) ? S_OK : E_FAIL;
    handler->Release();
    return result;
}

} // namespace

ZALUnicodeString EncodeURLParam(const ZALUnicodeString& value)
{
    static constexpr const char* digits = "0123456789ABCDEF";
    ZALUnicodeString encoded;

    for (int index = 0; index < value.GetLengthInChar(); ++index) {
        const ZALUnicodeChar character = value[index];

        if (character.IsAlnum() || character == u'-' || character == u'_' || character == u'.' || character == u'~') {
            encoded.Append(character);
            continue;
        }

        const auto narrow = static_cast<unsigned char>(static_cast<char>(character));
        encoded.Append(u'%');
        encoded.Append(ZALUnicodeChar(static_cast<char16_t>(digits[narrow >> 4])));
        encoded.Append(ZALUnicodeChar(static_cast<char16_t>(digits[narrow & 0xF])));
    }

    return encoded;
}

HRESULT SendRequest(ZALCefHttpRequest* request, const std::function<void(const std::vector<char>& reply)>& onDone)
{
    if (!request || !onDone)
        return E_FAIL;

    return Send(request, new ZALVliHttpDataHandler(onDone));
}

HRESULT SendRequest(ZALCefHttpRequest* request, ZALBaseUnknown* target,
                    void (ZALBaseUnknown::*method)(const std::vector<char>& reply))
{
    if (!request || !target || !method)
        return E_FAIL;

    return Send(request, new ZALVliHttpDataHandler(target, method));
}

} // namespace ZALVliHttpUtils
