#include "openhost/text/JsonOptions.h"

#include "JsonValues.h"
#include "Utf.h"

using nlohmann::ordered_json;

namespace {

/// Whether `value` is a number without fraction and exponent that fits 64 bits signed.
bool IsInteger(const ordered_json& value)
{
    if (value.is_number_unsigned())
        return value.get<std::uint64_t>() <= static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    return value.is_number_integer();
}

int kindBits = 0;

int TagOf(const ordered_json& value)
{
    if (value.is_boolean())
        return ZALOmxKindBoolean;
    if (value.is_number())
        return IsInteger(value) ? ZALOmxKindInteger : ZALOmxKindDouble;
    if (value.is_string())
        return ZALOmxKindString;
    if (value.is_array())
        return ZALOmxKindList;
    if (value.is_object())
        return ZALOmxKindMap;
    return ZALOmxKindNull;
}

} // namespace

void openhost::SetKindBits(int bits)
{
    kindBits = bits;
}

int ZALOmxAny::GetKind() const
{
    return TagOf(ZALOmxAnyAccess::Unwrap(*this)) | kindBits;
}

HRESULT ZALOmxAny::GetString(ZALOmxUTF8String& value) const
{
    const auto* text = ZALOmxAnyAccess::Unwrap(*this).get_ptr<const std::string*>();
    if (!text)
        return E_FAIL;

    value = ZALOmxUTF8String(text->data(), text->size());
    return S_OK;
}

HRESULT ZALOmxAny::GetString(ZALUnicodeString& value) const
{
    const auto* text = ZALOmxAnyAccess::Unwrap(*this).get_ptr<const std::string*>();
    if (!text)
        return E_FAIL;

    value = openhost::FromUtf8(*text);
    return S_OK;
}

HRESULT ZALOmxAny::GetInteger(std::int64_t& value) const
{
    const ordered_json& number = ZALOmxAnyAccess::Unwrap(*this);
    if (!IsInteger(number))
        return E_FAIL;

    value = number.get<std::int64_t>();
    return S_OK;
}

ZALUnicodeString ZALOmxAny::ConvertToUnicodeString() const
{
    const ordered_json& value = ZALOmxAnyAccess::Unwrap(*this);
    const auto* text = value.get_ptr<const std::string*>();
    return openhost::FromUtf8(text ? *text : openhost::ToJsonText(value));
}

HRESULT ZALOmxAny::MapGetValue(const ZALOmxKeyString& key, ZALOmxAny& value) const
{
    const auto* members = ZALOmxAnyAccess::Unwrap(*this).get_ptr<const ordered_json::object_t*>();
    if (!members)
        return E_FAIL;

    for (const auto& [name, member] : *members) {
        if (name == openhost::View(key)) {
            value = ZALOmxAnyAccess::Share(*this, member);
            return S_OK;
        }
    }
    return E_FAIL;
}

int ZALOmxAny::MapSize() const
{
    const ordered_json& value = ZALOmxAnyAccess::Unwrap(*this);
    return value.is_object() ? static_cast<int>(value.size()) : 0;
}

HRESULT ZALOmxAny::MapGetAt(int index, ZALOmxKeyString& key, ZALOmxAny& value) const
{
    if (index < 0 || index >= MapSize())
        return E_FAIL;

    const auto& members = ZALOmxAnyAccess::Unwrap(*this).get_ref<const ordered_json::object_t&>();
    const auto& [name, member] = *(members.begin() + index);
    // `value` may be this map, so the key is copied before it goes.
    key = ZALOmxKeyString(name.data(), name.size());
    value = ZALOmxAnyAccess::Share(*this, member);
    return S_OK;
}

int ZALOmxAny::ListSize() const
{
    const ordered_json& value = ZALOmxAnyAccess::Unwrap(*this);
    return value.is_array() ? static_cast<int>(value.size()) : 0;
}

HRESULT ZALOmxAny::ListGetAt(int index, ZALOmxAny& value) const
{
    if (index < 1 || index > ListSize())
        return E_FAIL;

    const auto& items = ZALOmxAnyAccess::Unwrap(*this).get_ref<const ordered_json::array_t&>();
    value = ZALOmxAnyAccess::Share(*this, items[static_cast<std::size_t>(index - 1)]);
    return S_OK;
}
