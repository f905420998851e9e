#include "utilities/ZALVelmartIntegrationUtilities.h"

#include "host/files.h"
#include "host/system.h"

#include <memory>
#include <new>

namespace ZALVelmartIntegrationUtilities {

HRESULT GetJSScript(const ZALUnicodeString& relativePath, ZALUnicodeString& script)
{
    ZALUnicodeString path;
    if (FAILED(ZALGetFilePathFromOfficialVariable(relativePath, "ZALInstallPath", path)))
        return E_FAIL;

    ZALFileHandle handle = 0;
    if (FAILED(ZALFOpen(path, "rb", handle)))
        return E_FAIL;

    std::uint32_t size = 0;
    if (FAILED(ZALFSize(handle, size))) {
        ZALFClose(handle);
        return E_FAIL;
    }

    std::unique_ptr<char[]> buffer(new (std::nothrow) char[std::size_t{size} + 1]);
    std::uint32_t count = 0;
    if (!buffer || FAILED(ZALFRead(handle, buffer.get(), size, count))) {
        ZALFClose(handle);
        return E_FAIL;
    }

    // A short read leaves the text of before, which then counts as the script. That is meant.
    if (count < size) {
        ZALFClose(handle);
        return script.GetLengthInChar() == 0 ? E_FAIL : S_OK;
    }

    buffer[size] = '\0';
    int built = 0;
    if (ZALCodePage::IsUTF8(buffer.get(), size))
        built = script.BuildFromUTF8(buffer.get(), size);
    else
        script = buffer.get();
    buffer.reset();
    if (built != 0) {
        ZALFClose(handle);
        return E_FAIL;
    }

    if (FAILED(ZALFClose(handle)))
        return E_FAIL;

    return script.GetLengthInChar() == 0 ? E_FAIL : S_OK;
}

HRESULT GetOpiAPIHandlersScript(Context context, ZALUnicodeString& script)
{
    static ZALUnicodeString cachedScript; // with its placeholder, so that it serves every context
    if (cachedScript.GetLengthInChar() == 0 &&
        FAILED(GetJSScript("webapps\\ZALVelmartIntegrationJS\\OpApiHandlers.js", cachedScript)))
        return E_FAIL;

    script = cachedScript;

    if (context == SidePanel)
        script.ReplaceSubString("%USAGE_CONTEXT%", "SidePanel");
    else if (context == DocChooser)
        script.ReplaceSubString("%USAGE_CONTEXT%", "DocChooser");

    return S_OK;
}

} // namespace ZALVelmartIntegrationUtilities
