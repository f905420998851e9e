#include "openhost/session/RecordingPanel.h"

#include "openhost/journal/Journal.h"
#include "openhost/text/Utf.h"

#include <cstring>

namespace openhost {

HRESULT RecordingPanel::ExecuteScript(const ZALUnicodeString& script)
{
    journal::Write("script", {{"text", ToUtf8(script)}});
    return S_OK;
}

HRESULT RecordingPanel::LoadUrl(const ZALUnicodeString& url)
{
    journal::Write("load", {{"url", ToUtf8(url)}});
    return S_OK;
}

HRESULT RecordingPanel::GetAddin(const ZALString& className, ZALBaseUnknown** addin)
{
    *addin = nullptr;
    if (!addin_ || std::strcmp(addin_->IsA(), className.CastToCharPtr()) != 0)
        return E_FAIL;
    addin_->AddRef();
    *addin = addin_;
    return S_OK;
}

} // namespace openhost
