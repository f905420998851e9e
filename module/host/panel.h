// The browser panel of the host, called the Meridia panel, and what modules add to it. All of it is used on
// the user-interface thread.
#pragma once

#include "text.h"

class ZALDialog;
class ZALDlgToolsOptionsFrame;

/// The panel.
class ZALIMeridiaAccessDialog : public ZALBaseUnknown {
public:
    ZALIMeridiaAccessDialog();
    ~ZALIMeridiaAccessDialog() override;
    /// Runs `script` in the page. Fails without a page; errors inside the script are not reported.
    virtual HRESULT ExecuteScript(const ZALUnicodeString& script) = 0;
    /// Points the panel at `url`. Fails for an address that cannot be shown.
    virtual HRESULT LoadUrl(const ZALUnicodeString& url) = 0;
    /// The panel's addin of the class `className`, with a reference added. Fails, with a null `addin`, when the panel
    /// has none.
    virtual HRESULT GetAddin(const ZALString& className, ZALBaseUnknown** addin) = 0;

    ZAL_DECLARE_META_CLASS
};

using ZALIMeridiaAccessDialog_var = ZALInterfaceHandle<ZALIMeridiaAccessDialog>;

/// Services on the panel. When the user closes the panel, ZALDlgWindCloseNotification is dispatched on
/// the event publisher, and then the panel ends with its addins.
class ZALMeridiaAccessServices {
public:
    /// The open panel; a null handle when there is none.
    static ZALIMeridiaAccessDialog_var GetCurrentMeridiaAccessDialog();
    /// The open panel, opened first when there is none; a null handle when the host cannot open one.
    static ZALIMeridiaAccessDialog_var GetOrCreateMeridiaAccessDialog();
    /// What publishes the events of the panel's window. It is there whether or not a panel is open, until the process
    /// ends; no reference is added.
    static ZALBaseUnknown* GetMeridiaDialogEventPublisher();
};

/// What a module adds to the panel. The host makes it by its class name and calls, in order: SetAccessDialog
/// once, then OnPageUrl for each page and OnJSMessage for each message of the page.
class ZALIMeridiaAccessDialogAddin : public ZALBaseUnknown {
public:
    ZALIMeridiaAccessDialogAddin();
    ~ZALIMeridiaAccessDialogAddin() override;
    /// `dialog` is the panel; it may be null.
    virtual HRESULT SetAccessDialog(ZALIMeridiaAccessDialog* dialog) = 0;
    virtual HRESULT OnPageUrl(const ZALUnicodeString& url) = 0;
    /// `message` is a JSON text.
    virtual HRESULT OnJSMessage(const ZALUnicodeString& message) = 0;

    ZAL_DECLARE_META_CLASS
};

/// What a module adds to the options of the panel: a page. The host makes it by its class name and calls CreateFrame
/// once for each time that the options open, Refresh whenever the page is to show the settings anew, and the others as
/// the user wants. Results tell how the settings took it; S_OK where there is nothing to do.
class ZALIMeridiaAccessSettingsUIAddin : public ZALBaseUnknown {
public:
    ZALIMeridiaAccessSettingsUIAddin();
    ~ZALIMeridiaAccessSettingsUIAddin() override;
    /// Shows the settings in the page, as long as it is there.
    virtual HRESULT Refresh() = 0;
    /// Back to the administrator's values.
    virtual HRESULT Reset() = 0;
    /// Back to the values kept last, which are then kept anew.
    virtual HRESULT Restore() = 0;
    /// Makes the settings lasting.
    virtual HRESULT Save() = 0;
    /// Makes the page in `parent`. It belongs to the host; its controls hold no values before Refresh.
    virtual ZALDlgToolsOptionsFrame* CreateFrame(ZALDialog* parent) = 0;

    ZAL_DECLARE_META_CLASS
};

/// A JSON text between components of the host.
class ZALDlgHtmlViewJavaScriptNotification : public ZALNotification {
public:
    /// Copies `length` bytes of `data`.
    ZALDlgHtmlViewJavaScriptNotification(const ZALString& name, const char* data, std::size_t length);
    ~ZALDlgHtmlViewJavaScriptNotification() override;
    const ZALString& GetName() const { return name_; }
    /// Bytes of the text, not zero-terminated; they belong to the notification.
    const char* GetData() const { return data_.GetData(); }
    std::size_t GetDataLength() const { return data_.GetByteLength(); }

    ZAL_DECLARE_META_CLASS

private:
    ZALString name_;
    ZALOmxUTF8String data_;
};
