#include "openhost/cad/Automation.h"

#include <algorithm>
#include <memory>

struct ZALVariantArray {
    std::vector<ZALUnicodeString> texts;
};

namespace openhost {

namespace {
int livingTexts = 0;
int livingArrays = 0;
} // namespace

int LivingTexts()
{
    return livingTexts;
}

int LivingArrays()
{
    return livingArrays;
}

ZALUnicodeString FromBSTR(ZALBSTR text)
{
    return text ? ZALUnicodeString(text) : ZALUnicodeString();
}

std::vector<ZALUnicodeString> TextsOf(const ZALVariant& variant)
{
    return variant.array ? variant.array->texts : std::vector<ZALUnicodeString>();
}

} // namespace openhost

// ---------------------------------------------------------------------------------------------
// The host view

ZALBSTR ConvertToBSTR(const ZALUnicodeString& text)
{
    const auto length = static_cast<std::size_t>(text.GetLengthInChar());
    auto* copy = new char16_t[length + 1];
    std::copy_n(text.CastToUTF16Ptr(), length + 1, copy);
    ++openhost::livingTexts;
    return copy;
}

void ZALFreeString(ZALBSTR text)
{
    if (!text)
        return;
    delete[] text;
    --openhost::livingTexts;
}

HRESULT BuildSafeArrayVariant(const ZALListValZALUnicodeString& texts, ZALVariant& variant)
{
    auto array = std::make_unique<ZALVariantArray>();
    for (int index = 1; index <= texts.Size(); ++index)
        array->texts.push_back(texts[index]);
    variant.array = array.release();
    ++openhost::livingArrays;
    return S_OK;
}

void FreeVariantSafeArray(ZALVariant& variant)
{
    if (!variant.array)
        return;
    delete variant.array;
    variant.array = nullptr;
    --openhost::livingArrays;
}
