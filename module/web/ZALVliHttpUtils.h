// Parameters of addresses, and requests whose reply is taken as a whole.
#pragma once

#include "host/http.h"

#include <functional>
#include <vector>

namespace ZALVliHttpUtils {

/// `value` for the query of an address. Letters and digits of any script, `-`, `_`, `.` and `~` stay; any other
/// character becomes one percent triplet of its narrow value, and not of its bytes in UTF-8, as the
/// service decodes them. Empty without memory.
ZALUnicodeString EncodeURLParam(const ZALUnicodeString& value);

/// Starts `request` and returns. `onDone` receives the body of the reply when the transfer has ended, however it did;
/// the caller keeps `request` alive until then. E_FAIL, and no call, for a null `request`, an empty `onDone`, a
/// request that the host refuses, and without memory.
HRESULT SendRequest(ZALCefHttpRequest* request, const std::function<void(const std::vector<char>& reply)>& onDone);
/// The same for a method of `target`, which is held weakly and is not called once it is gone.
HRESULT SendRequest(ZALCefHttpRequest* request, ZALBaseUnknown* target,
                    void (ZALBaseUnknown::*method)(const std::vector<char>& reply));

} // namespace ZALVliHttpUtils
