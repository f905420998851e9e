#include "openhost/dialogs/DialogNode.h"
#include "openhost/dialogs/DialogSurface.h"

ZALDlgFileBox::ZALDlgFileBox(ZALDialog* parent, const ZALString& name, unsigned int style)
    : ZALDlgDialog(parent, name, style)
{
    ZALDialogNode::Of(*this).kind = ZALDialogNode::Kind::FileBox;
}

ZALDlgFileBox::~ZALDlgFileBox() = default;

void ZALDlgFileBox::SetStartFolder(const ZALUnicodeString& folder)
{
    ZALDialogNode& node = ZALDialogNode::Of(*this);
    node.startFolder = folder;
    node.text = folder;
    if (!node.ended)
        openhost::DialogSurface::Current().Changed(*this);
}

ZALUnicodeString ZALDlgFileBox::GetChosenFolder() const
{
    return ZALDialogNode::Of(*this).text;
}

HRESULT ZALFileMenuMethods::CreateCurrentDocEnvDialogBox(ZALDialog* parent, const ZALString& name, unsigned int style,
                                                         ZALDlgFileBox*& box, void*)
{
    if (style != ZALDlgFolderChooser)
        return E_INVALIDARG;
    if (!openhost::DialogSurface::Current().OffersFileBoxes())
        return E_FAIL;
    box = new ZALDlgFileBox(parent, name, style);
    box->AddRef();
    return S_OK;
}
