// The module's page among the host's options.
#pragma once

#include "host/panel.h"

namespace openhost {

/// The page stands in a window of its own, named WindowName, for the rest of the session.
class OptionsPage {
public:
    static constexpr const char* WindowName = "Options";

    /// Makes the module's addin by its name, and the page in a shown window. False when the module gives no page.
    /// Throws StepFailure when the page is open already, and when the module has no such addin.
    bool Open();
    /// The addin of the open page. Throws StepFailure when none is open.
    ZALIMeridiaAccessSettingsUIAddin& Addin() const;

private:
    ZALInterfaceHandle<ZALIMeridiaAccessSettingsUIAddin> addin_;
};

} // namespace openhost
