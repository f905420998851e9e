// What the user's actions run in the dialogs, without the host's dispatch around it.
#pragma once

#include "dialogs/ZALVelmartDownloadLocationDlg.h"
#include "dialogs/ZALVelmartDownloadProgressDlg.h"
#include "dialogs/ZALVelmartFindSimilarUploadProgressDlg.h"
#include "dialogs/ZALVelmartToolsOptionFrame.h"

class DialogProbe {
public:
    template <class Dialog>
    static void OK(Dialog& dialog)
    {
        dialog.OnOK(nullptr, nullptr, nullptr);
    }
    template <class Dialog>
    static void Cancel(Dialog& dialog)
    {
        dialog.OnCancel(nullptr, nullptr, nullptr);
    }
    template <class Dialog>
    static void Close(Dialog& dialog)
    {
        dialog.OnClose(nullptr, nullptr, nullptr);
    }
    template <class Dialog>
    static void Browse(Dialog& dialog)
    {
        dialog.OnBrowse(nullptr, nullptr, nullptr);
    }
    template <class Dialog>
    static void ChooserOK(Dialog& dialog)
    {
        dialog.OnDirectoryChooserOK(nullptr, nullptr, nullptr);
    }
    template <class Dialog>
    static void ChooserCancel(Dialog& dialog)
    {
        dialog.OnDirectoryChooserCancel(nullptr, nullptr, nullptr);
    }
    static void EditorModify(ZALVelmartToolsOptionFrame& page) { page.OnEditorModify(nullptr, nullptr, nullptr); }
    static void CheckModify(ZALVelmartToolsOptionFrame& page) { page.OnCheckModify(nullptr, nullptr, nullptr); }

    /// A dialog or a page whose controls have not been made.
    static ZALVelmartDownloadLocationDlg* MakeBare(ZALDialog* parent)
    {
        return new ZALVelmartDownloadLocationDlg(parent);
    }
    static ZALVelmartDownloadProgressDlg* MakeBareProgress(ZALDialog* parent)
    {
        return new ZALVelmartDownloadProgressDlg(parent);
    }
};
