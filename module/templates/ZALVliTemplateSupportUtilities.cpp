#include "templates/ZALVliTemplateSupportUtilities.h"

#include "host/cad.h"
#include "templates/ZALVliFilePath.h"
#include "utilities/JsonMembers.h"

#include <new>
#include <string_view>

namespace ZALVliTemplateSupportUtilities {

namespace {

/// The member `key` of `map`, when it is a string.
bool GetText(const ZALOmxAny& map, const ZALOmxKeyString& key, ZALUnicodeString& text)
{
    const ZALOmxAny value = MemberOf(map, key);
    return IsString(value) && SUCCEEDED(value.GetString(text));
}

/// Whether `unit` may stand in the name of a document.
bool IsLegalInFileName(char16_t unit)
{
    constexpr std::u16string_view refused = u"*?:|<>\"/\\";
    return unit >= 0x20 && unit <= 0x7E && refused.find(unit) == std::u16string_view::npos;
}

ZALUnicodeString PathIfItExists(const ZALUnicodeString& path)
{
    return ZALVliFilePath(path).Exists() ? path : ZALUnicodeString();
}

} // namespace

HRESULT GetTemplatesURL(const ZALOmxAny& urls, ZALUnicodeString& partURL, ZALUnicodeString& productURL,
                        PreferredSaveMethod& method)
try {
    GetText(urls, "zalpartTemplate", partURL);
    GetText(urls, "zalproductTemplate", productURL);

    method = SaveMethodNone;
    ZALUnicodeString text;
    if (!GetText(urls, "preferredSaveMethod", text))
        return S_OK;
    if (text.Compare("save as") > ZALTextsDiffer)
        method = SaveMethodSaveAs;
    else if (text.Compare("new from") > ZALTextsDiffer)
        method = SaveMethodNewFrom;
    return S_OK;
} catch (const std::bad_alloc&) {
    // What could not be read counts as absent.
    method = SaveMethodNone;
    return S_OK;
}

HRESULT StoreTemplatePathes(const ZALUnicodeString& partPath, const ZALUnicodeString& productPath)
try {
    StoredPartTemplatePath = partPath;
    StoredProductTemplatePath = productPath;
    return S_OK;
} catch (const std::bad_alloc&) {
    // Both are fetched again rather than one used with another's companion.
    StoredPartTemplatePath = ZALUnicodeString();
    StoredProductTemplatePath = ZALUnicodeString();
    return S_OK;
}

HRESULT GetStoredTemplatePathes(ZALUnicodeString& partPath, ZALUnicodeString& productPath)
try {
    partPath = PathIfItExists(StoredPartTemplatePath);
    productPath = PathIfItExists(StoredProductTemplatePath);
    return S_OK;
} catch (const std::bad_alloc&) {
    partPath = ZALUnicodeString();
    productPath = ZALUnicodeString();
    return S_OK;
}

ZALUnicodeString SanitizeQ7FileName(const ZALUnicodeString& name)
try {
    ZALUnicodeString sanitized;
    if (name.GetLengthInChar() == 0)
        return sanitized;
    std::vector<char16_t> units(static_cast<std::size_t>(name.GetLengthInChar()));
    int count = 0;
    if (FAILED(name.ConvertToUCChar(units.data(), count)))
        return sanitized;

    for (char16_t& unit : units)
        if (!IsLegalInFileName(unit))
            unit = u'_';
    sanitized.BuildFromUCChar(units.data(), count);
    return sanitized;
} catch (const std::bad_alloc&) {
    return ZALUnicodeString();
}

HRESULT CheckIfQ7FileExists(const ZALUnicodeString& folder, const ZALUnicodeString& fileName, unsigned char& found,
                            ZALUnicodeString& fullPath)
try {
    found = 0;
    ZALVliFilePath path(folder);
    path.AppendPath(fileName);

    if (path.IsPartFile() || path.IsProductFile()) {
        if (path.Exists()) {
            fullPath = path.GetPath();
            found = 1;
        }
        return S_OK;
    }

    // A part wins over a product of the same name.
    for (const char* extension : {ZALPartExtension, ZALProductExtension}) {
        ZALVliFilePath candidate(path);
        candidate.AppendExtension(extension);
        if (!candidate.Exists())
            continue;
        fullPath = candidate.GetPath();
        found = 1;
        return S_OK;
    }
    return S_OK;
} catch (const std::bad_alloc&) {
    // Not found: there is no path to tell.
    return S_OK;
}

} // namespace ZALVliTemplateSupportUtilities
