// The options of the host, with the module's page among them.
#pragma once

#include "openhost/objects/Owned.h"

#include "host/panel.h"

namespace openhost {

/// A window named WindowName, in which the module's page stands. Its buttons are OK, which makes the settings lasting,
/// CANCEL, which goes back to those of before, as the close box does, and RESET, which goes back to the
/// administrator's; OK and CANCEL end it.
class OptionsPage {
public:
    static constexpr const char* WindowName = "Options";
    static constexpr const char* ResetName = "RESET";

    OptionsPage() = default;
    OptionsPage(const OptionsPage&) = delete;
    OptionsPage& operator=(const OptionsPage&) = delete;
    ~OptionsPage();

    bool IsOpen() const { return static_cast<bool>(addin_); }
    /// Makes the module's addin by its name, and the page in a shown window. False when the module gives no page.
    /// Throws std::runtime_error when the page is open already, and when the module has no such addin.
    bool Open();
    /// The addin of the open page. Throws std::runtime_error when none is open.
    ZALIMeridiaAccessSettingsUIAddin& Addin() const;
    /// Ends the window. Nothing when it is not open.
    void Close();

private:
    class Window;

    ZALInterfaceHandle<ZALIMeridiaAccessSettingsUIAddin> addin_;
    Owned<ZALBaseUnknown> window_; ///< a Window
};

} // namespace openhost
