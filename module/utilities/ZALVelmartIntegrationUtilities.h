// What other modules use too: scripts of the installation for the page in the panel, and a hash of files.
#pragma once

#include "host/text.h"

namespace ZALVelmartIntegrationUtilities {

/// The place in which the page is used.
enum Context : std::int32_t {
    SidePanel = 0,
    DocChooser = 1,
};

/// Reads the file `relativePath` of the installation: UTF-8, or the host's narrow encoding for other bytes. E_FAIL for
/// a file that is missing, cannot be read or is empty, and without memory.
HRESULT GetJSScript(const ZALUnicodeString& relativePath, ZALUnicodeString& script);
/// The script that connects the page's programming interface to the host, made for `context`. Its file is read once;
/// E_FAIL as long as that has not succeeded, and without memory.
HRESULT GetOpiAPIHandlersScript(Context context, ZALUnicodeString& script);

/// MD5 of the content of the file `filePath` as 32 small hexadecimal digits. Empty on any failure, for a file that is
/// empty, and for one of 4 GiB or more.
ZALUnicodeString GetFileStreamMD5Hash(const ZALUnicodeString& filePath);

} // namespace ZALVelmartIntegrationUtilities
