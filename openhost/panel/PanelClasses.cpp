#include "openhost/objects/MetaClassOperations.h"

#include "host/panel.h"

OPENHOST_META_CLASS(ZALIMeridiaAccessDialog, ZALBaseUnknown)
OPENHOST_META_CLASS(ZALIMeridiaAccessDialogAddin, ZALBaseUnknown)
OPENHOST_META_CLASS(ZALIMeridiaAccessSettingsUIAddin, ZALBaseUnknown)
OPENHOST_META_CLASS(ZALDlgHtmlViewJavaScriptNotification, ZALNotification)

ZALIMeridiaAccessDialog::ZALIMeridiaAccessDialog() = default;

ZALIMeridiaAccessDialog::~ZALIMeridiaAccessDialog() = default;

ZALIMeridiaAccessDialogAddin::ZALIMeridiaAccessDialogAddin() = default;

ZALIMeridiaAccessDialogAddin::~ZALIMeridiaAccessDialogAddin() = default;

ZALIMeridiaAccessSettingsUIAddin::ZALIMeridiaAccessSettingsUIAddin() = default;

ZALIMeridiaAccessSettingsUIAddin::~ZALIMeridiaAccessSettingsUIAddin() = default;

ZALDlgHtmlViewJavaScriptNotification::ZALDlgHtmlViewJavaScriptNotification(const ZALString& name, const char* data,
                                                                           std::size_t length)
    : name_(name), data_(data, length)
{
}

ZALDlgHtmlViewJavaScriptNotification::~ZALDlgHtmlViewJavaScriptNotification() = default;
