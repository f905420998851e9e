#include "web/ZALVliHttpUtils.h"

#include "web/ZALVliHttpDataHandler.h"

#include <new>

namespace ZALVliHttpUtils {

using Handler = ZALInterfaceHandle<ZALVliHttpDataHandler>;

ZALUnicodeString EncodeURLParam(const ZALUnicodeString& value)
try {
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
} catch (const std::bad_alloc&) {
    return {};
}

HRESULT SendRequest(ZALCefHttpRequest* request, const std::function<void(const std::vector<char>& reply)>& onDone)
try {
    if (!request || !onDone)
        return E_FAIL;

    const auto handler = Handler::Take(new ZALVliHttpDataHandler(onDone));
    return request->Send(handler.Get()) ? S_OK : E_FAIL;
} catch (const std::bad_alloc&) {
    return E_FAIL;
}

HRESULT SendRequest(ZALCefHttpRequest* request, ZALBaseUnknown* target,
                    void (ZALBaseUnknown::*method)(const std::vector<char>& reply))
try {
    if (!request || !target || !method)
        return E_FAIL;

    const auto handler = Handler::Take(new ZALVliHttpDataHandler(target, method));
    return request->Send(handler.Get()) ? S_OK : E_FAIL;
} catch (const std::bad_alloc&) {
    return E_FAIL;
}

} // namespace ZALVliHttpUtils
