#include "JsonValues.h"

using nlohmann::ordered_json;

namespace {

/// Takes everything out of `value`, from the innermost level on. What is empty needs no memory for its end.
void Empty(ordered_json& value)
{
    if (value.is_object()) {
        auto& members = value.get_ref<ordered_json::object_t&>();
        for (auto& [key, member] : members)
            Empty(member);
        members.clear();
    } else if (value.is_array()) {
        auto& items = value.get_ref<ordered_json::array_t&>();
        for (ordered_json& item : items)
            Empty(item);
        items.clear();
    }
}

/// A value whose end needs no memory. The library's own does, and cannot fail.
struct Kept {
    explicit Kept(ordered_json content) : value(std::move(content)) {}
    Kept(const Kept&) = delete;
    Kept& operator=(const Kept&) = delete;
    ~Kept() { Empty(value); }
    ordered_json value;
};

} // namespace

ZALOmxAny ZALOmxAnyAccess::Wrap(ordered_json value)
{
    ZALOmxAny any;
    const auto kept = std::make_shared<const Kept>(std::move(value));
    any.value_ = std::shared_ptr<const void>(kept, &kept->value);
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
