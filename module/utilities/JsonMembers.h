// Members of JSON maps.
#pragma once

#include "host/json.h"

/// The member `key` of `map`; a null value when it is missing, also in what is not a map.
inline ZALOmxAny MemberOf(const ZALOmxAny& map, const ZALOmxKeyString& key)
{
    ZALOmxAny value;
    map.MapGetValue(key, value);
    return value;
}

/// Whether `value` is a string, whatever bits of its own the host has in the kind.
inline bool IsString(const ZALOmxAny& value)
{
    return (value.GetKind() & ZALOmxKindMask) == ZALOmxKindString;
}
