#include "openhost/text/JsonOptions.h"

#include "JsonBuilder.h"
#include "JsonValues.h"
#include "Utf.h"

#include <utility>

namespace {
const ZALOmxJson* asked = nullptr; ///< for consistent numbers, and has not parsed since
int consistentParses = 0;
} // namespace

int openhost::ConsistentParses()
{
    return consistentParses;
}

void ZALOmxJson::ActivateConsistentDoubleUnstream()
{
    // Nothing else depends on it here: the parser never reads a number by the locale or turns a double into an integer.
    asked = this;
}

HRESULT ZALOmxJson::parse(const ZALOmxUTF8String& text, ZALOmxAny& value)
{
    if (std::exchange(asked, nullptr) == this)
        ++consistentParses;
    const std::string_view bytes = openhost::View(text);
    // The library takes a zero byte for the end of the text, and would not look at what stands after it.
    if (bytes.find('\0') != std::string_view::npos)
        return E_FAIL;

    openhost::JsonBuilder builder;
    if (!nlohmann::ordered_json::sax_parse(bytes, &builder))
        return E_FAIL;

    value = ZALOmxAnyAccess::Wrap(builder.TakeResult());
    return S_OK;
}
