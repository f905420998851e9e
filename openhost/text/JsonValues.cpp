#include "JsonValues.h"

using nlohmann::ordered_json;

ZALOmxAny ZALOmxAnyAccess::Wrap(ordered_json value)
{
    ZALOmxAny any;
    any.value_ = std::make_shared<const ordered_json>(std::move(value));
    return any;
}

const ordered_json& ZALOmxAnyAccess::Unwrap(const ZALOmxAny& any)
{
    static const ordered_json null;
    return any.value_ ? *static_cast<const ordered_json*>(any.value_.get()) : null;
}

ZALOmxAny ZALOmxAnyAccess::Share(const ZALOmxAny& whole, const ordered_json& part)
{
    ZALOmxAny any;
    any.value_ = std::shared_ptr<const void>(whole.value_, &part);
    return any;
}

namespace openhost {

std::string ToJsonText(const ordered_json& value)
{
    return value.dump(-1, ' ', false, ordered_json::error_handler_t::replace);
}

} // namespace openhost
