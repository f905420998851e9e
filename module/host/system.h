// Services of the system that the host runs on. Used on the user-interface thread.
#pragma once

#include "text.h"

/// Reads the environment variable `name`. Fails when it is not defined; an empty value is defined.
HRESULT ZALGetEnv(const char* name, ZALUnicodeString& value);

/// Value of a path variable of the host: "ZALTemp" (folder of temporary files), "ZALInstallPath" (root of the
/// installation). Empty for an unknown name.
ZALUnicodeString ZALGetOfficialVariable(const char* name);

/// The path of `relativePath` below the folder that the path variable `name` names. Fails, with an empty `path`, for a
/// variable without a value, a `relativePath` with a ".." component, and where nothing stands.
HRESULT ZALGetFilePathFromOfficialVariable(const ZALUnicodeString& relativePath, const char* name,
                                           ZALUnicodeString& path);

/// Blocks the caller for `milliseconds`.
void ZALSleep(unsigned int milliseconds);

/// Local path of a `file` URL, percent sequences decoded as UTF-8, query and fragment left away; a path that
/// starts with a drive has no separator in front of it. The letter case of the scheme does not count. `size`
/// holds the room of `path` in code units, the closing zero included, and receives the length without it.
/// E_INVALIDARG, and an empty `path`, for a URL of another scheme, one that names another machine, one whose
/// path is empty, is no UTF-8 or holds a zero character, and one that does not fit. `flags` is 0.
HRESULT PathCreateFromUrlW(const char16_t* url, char16_t* path, std::uint32_t* size, std::uint32_t flags);
