// Paths of the host on their way to the system.
#pragma once

#include "host/files.h"

#include <string>

namespace openhost {

/// Whether `unit` separates the components of a path.
constexpr bool IsSeparator(char16_t unit)
{
    return unit == u'/' || unit == u'\\';
}

/// `path` for a call of the system: UTF-8, separated by "/". Empty, which every such call refuses, for a path
/// that holds a zero character.
std::string SystemPath(const ZALUnicodeString& path);

/// Whether one of the components of `path` is "..".
bool HasParentComponent(const ZALUnicodeString& path);

} // namespace openhost
