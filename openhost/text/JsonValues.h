// What is inside the JSON values of the host.
#pragma once

#include "host/json.h"

#include <nlohmann/json.hpp>

/// The way from a value of the library to a value of the host and back.
struct ZALOmxAnyAccess {
    /// Shares `value`, which nobody changes any more.
    static ZALOmxAny Wrap(nlohmann::ordered_json value);
    /// Valid as long as `any` or a copy of it lives.
    static const nlohmann::ordered_json& Unwrap(const ZALOmxAny& any);
    /// `part` is a value inside `whole`, and keeps all of it alive.
    static ZALOmxAny Share(const ZALOmxAny& whole, const nlohmann::ordered_json& part);
};

namespace openhost {

/// Text of `value` without white space; bytes that are no UTF-8 become U+FFFD.
std::string ToJsonText(const nlohmann::ordered_json& value);

} // namespace openhost
