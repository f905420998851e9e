#include "utilities/ZALVelmartIntegrationUtilities.h"

#include "host/files.h"
#include "host/system.h"

#include <memory>
#include <new>

namespace ZALVelmartIntegrationUtilities {

namespace {

/// Closes the file at its end, unless that has been done.
class OpenedFile {
public:
    explicit OpenedFile(ZALFileHandle handle) : handle_(handle) {}
    OpenedFile(const OpenedFile&) = delete;
    OpenedFile& operator=(const OpenedFile&) = delete;
    ~OpenedFile()
    {
        if (isOpen_)
            ZALFClose(handle_);
    }
    HRESULT Close()
    {
        isOpen_ = false;
        return ZALFClose(handle_);
    }

private:
    ZALFileHandle handle_;
    bool isOpen_ = true;
};

} // namespace

HRESULT GetJSScript(const ZALUnicodeString& relativePath, ZALUnicodeString& script)
try {
    ZALUnicodeString path;
    if (FAILED(ZALGetFilePathFromOfficialVariable(relativePath, "ZALInstallPath", path)))
        return E_FAIL;

    ZALFileHandle handle = 0;
    if (FAILED(ZALFOpen(path, "rb", handle)))
        return E_FAIL;
    OpenedFile file(handle);

    std::uint32_t size = 0;
    if (FAILED(ZALFSize(handle, size)))
        return E_FAIL;

    const auto buffer = std::make_unique_for_overwrite<char[]>(std::size_t{size} + 1);
    std::uint32_t count = 0;
    if (FAILED(ZALFRead(handle, buffer.get(), size, count)))
        return E_FAIL;

    // A short read leaves the text of before, which then counts as the script. The caller judges the text alone.
    if (count >= size) {
        buffer[size] = '\0';
        if (!ZALCodePage::IsUTF8(buffer.get(), size))
            script = buffer.get();
        else if (script.BuildFromUTF8(buffer.get(), size) != 0)
            return E_FAIL;

        if (FAILED(file.Close()))
            return E_FAIL;
    }

    return script.GetLengthInChar() == 0 ? E_FAIL : S_OK;
} catch (const std::bad_alloc&) {
    return E_FAIL;
}

HRESULT GetOpiAPIHandlersScript(Context context, ZALUnicodeString& script)
try {
    static ZALUnicodeString cachedScript; // with its placeholder, so that it serves every context
    if (cachedScript.GetLengthInChar() == 0 &&
        FAILED(GetJSScript("webapps\\ZALVelmartIntegrationJS\\OpApiHandlers.js", cachedScript))) {
        // A file that could not be closed has left its text, but the next call is to read it again.
        cachedScript = {};
        return E_FAIL;
    }

    script = cachedScript;

    if (context == SidePanel)
        script.ReplaceSubString("%USAGE_CONTEXT%", "SidePanel");
    else if (context == DocChooser)
        script.ReplaceSubString("%USAGE_CONTEXT%", "DocChooser");

    return S_OK;
} catch (const std::bad_alloc&) {
    return E_FAIL;
}

} // namespace ZALVelmartIntegrationUtilities
