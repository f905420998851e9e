// A browser panel without a page.
#pragma once

#include "host/panel.h"

namespace openhost {

/// Writes what the module asks of the panel into the journal: "script" for a script to run, "load" for an address
/// to show.
class RecordingPanel : public ZALIMeridiaAccessDialog {
public:
    HRESULT ExecuteScript(const ZALUnicodeString& script) override;
    HRESULT LoadUrl(const ZALUnicodeString& url) override;
    HRESULT GetAddin(const ZALString& className, ZALBaseUnknown** addin) override;

    /// The addin that GetAddin finds under its class name; null for none. No reference is added.
    void SetAddin(ZALBaseUnknown* addin) { addin_ = addin; }

private:
    ZALBaseUnknown* addin_ = nullptr;
};

} // namespace openhost
