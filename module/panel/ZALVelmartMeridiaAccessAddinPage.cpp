// What the addin does to the page in the panel.

#include "VelmartBuildValues.h"
#include "host/system.h"
#include "panel/ZALVelmartMeridiaAccessAddin.h"
#include "utilities/ZALVelmartIntegrationUtilities.h"
#include "web/ZALVliHttpUtils.h"

#include <new>

HRESULT ZALVelmartMeridiaAccessAddin::OnPageUrl(const ZALUnicodeString& url)
try {
    static const ZALUnicodeString checkFragment = [] {
        ZALUnicodeString value;
        ZALGetEnv("ZAL_MERIDIADIALOG_VLURL_CHECK", value);
        return value;
    }();

    const bool recognised =
        url.SearchSubString(VelmartOtherHostsFragment, 0, ZALSearchForward) >= 0 ||
        url.SearchSubString(VelmartProductionHost, 0, ZALSearchForward) >= 0 ||
        (checkFragment.GetLengthInChar() >= 1 && url.SearchSubString(checkFragment, 0, ZALSearchForward) >= 0);

    if (!recognised) {
        ChangeOpApiStatus(OpApiOver);
        ChangeFindSimilarHeaderAvailability(false);
        return S_OK;
    }

    // A recognised address leaves the status alone: only the page's own message makes it ready.
    const ZALBaseUnknown_var component = ZALBaseUnknown_var::Take(_AccessDialog.GetComponent());
    const ZALIMeridiaAccessDialog_var panel(component);
    if (!panel)
        return S_OK;

    ZALUnicodeString script;
    if (SUCCEEDED(
            ZALVelmartIntegrationUtilities::GetOpiAPIHandlersScript(ZALVelmartIntegrationUtilities::SidePanel, script)))
        panel->ExecuteScript(script);

    return S_OK;
} catch (const std::bad_alloc&) {
    return S_OK;
}

HRESULT ZALVelmartMeridiaAccessAddin::SearchByUpload(const ZALUnicodeString& url, const ZALUnicodeString& query)
try {
    const ZALBaseUnknown_var component = ZALBaseUnknown_var::Take(_AccessDialog.GetComponent());
    const ZALIMeridiaAccessDialog_var panel(component);
    if (!panel)
        return E_FAIL;

    // The query goes into the script as it stands, without escaping, since the service has made it for that.
    if (_OpApiStatus == OpApiReady)
        return panel->ExecuteScript(ZALUnicodeString("OpApi.sendMessage('search', {query: '") + query + "'});");

    const ZALUnicodeString encoded = ZALVliHttpUtils::EncodeURLParam(query);
    if (encoded.GetLengthInChar() < query.GetLengthInChar()) // without memory: no search for something else
        return E_FAIL;
    ZALUnicodeString address = url;
    address.Append("&extq=");
    address.Append(encoded);
    panel->LoadUrl(address);
    return S_OK;
} catch (const std::bad_alloc&) {
    return E_FAIL;
}
