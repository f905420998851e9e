// A hash by which other modules compare files.
#pragma once

#include "host/text.h"

namespace ZALVelmartIntegrationUtilities {

/// MD5 of the content of the file `filePath` as 32 small hexadecimal digits. Empty on any failure, for a file that is
/// empty, and for one of 4 GiB or more.
ZALUnicodeString GetFileStreamMD5Hash(const ZALUnicodeString& filePath);

} // namespace ZALVelmartIntegrationUtilities
