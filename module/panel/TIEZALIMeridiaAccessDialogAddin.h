// The adapter through which the host reaches the addin.
#pragma once

#include "panel/ZALVelmartMeridiaAccessAddin.h"

/// Forwards the three operations of the interface. It holds a reference on the addin and no logic.
class TIEZALIMeridiaAccessDialogAddin : public ZALIMeridiaAccessDialogAddin {
public:
    explicit TIEZALIMeridiaAccessDialogAddin(ZALVelmartMeridiaAccessAddin* addin);
    ~TIEZALIMeridiaAccessDialogAddin() override;

    HRESULT SetAccessDialog(ZALIMeridiaAccessDialog* dialog) override { return addin_->SetAccessDialog(dialog); }
    HRESULT OnPageUrl(const ZALUnicodeString& url) override { return addin_->OnPageUrl(url); }
    HRESULT OnJSMessage(const ZALUnicodeString& message) override { return addin_->OnJSMessage(message); }

    ZALBaseUnknown* GetImpl(int level) override;
    /// Null without memory for the record, until the next call.
    static ZALMetaClass* MetaObject();
    ZALMetaClass* GetMetaObject() const override;

private:
    ZALInterfaceHandle<ZALVelmartMeridiaAccessAddin> addin_;
};

/// The adapter of `implementation`, which is an addin: the linked one, or a new one. The caller owns a reference.
/// Null for another object, and without memory.
extern "C" ZALBaseUnknown*
CreateTIEZALIMeridiaAccessDialogAddinZALVelmartMeridiaAccessAddin(ZALBaseUnknown* implementation);
