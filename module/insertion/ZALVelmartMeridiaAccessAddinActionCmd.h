// Inserts an item under a product that the user selects, or replaces a selected component by it.
#pragma once

#include "host/cad.h"
#include "host/dialog_engine.h"
#include "host/json.h"
#include "insertion/PanelAction.h"

class ZALVelmartFileDownloader;

/// Takes the user's target first, and only then downloads the item; inserts or replaces when the files are there.
/// Belongs to the host's dialog engine from its construction on, which runs it and releases it. Ended by the host while
/// a download runs, it leaves the download alone, and the files are not inserted.
///
/// Sources: the graph and the download in ZALVelmartMeridiaAccessAddinActionCmd.cpp, what is done to the workspace in
/// ZALVelmartMeridiaAccessAddinActionCmdOperation.cpp.
class ZALVelmartMeridiaAccessAddinActionCmd : public ZALStateCommand {
public:
    /// `action` is ActionInsert or ActionReplace, `content` the request for the downloader.
    ZALVelmartMeridiaAccessAddinActionCmd(const PanelAction& action, const ZALOmxAny& content);
    ~ZALVelmartMeridiaAccessAddinActionCmd() override;

    HRESULT Activate(ZALBaseUnknown* publisher, ZALNotification* notification) override;
    HRESULT Cancel(ZALBaseUnknown* publisher, ZALNotification* notification) override;
    ZALString GetResourceFilename(int level) const override;
    ZALString GetResourceClass(int level) const override;
    int IsOtherResourceFile(int level) const override;
    void BuildCommandGraph() override;

private:
    friend class ZALVelmartMeridiaAccessAddinActionCmdProbe;

    bool CheckSelection(ZALDialogAgent* agent, void* data);
    bool StartDownloadAction(void* data);
    bool InsertOrReplaceAction(void* data);
    void OnFileDownloadCompleteCB(ZALBaseUnknown* publisher, ZALNotification* notification, void* data);

    HRESULT StartDownload();
    /// Tells the user with the text of `key`, as far as there is memory for it, and gives up.
    void GiveUp(const char* key);
    /// Lets the command end with nothing inserted.
    void GiveUp();

    // In this order: the fields end in its reverse, as the destructor needs it.
    ZALVelmartFileDownloader* _Downloader = nullptr; ///< the singleton, fetched at the first download; not owned
    ZALOmxAny _Content;
    ZALInterfaceHandle<ZALPathElementAgent> _SelectionAgent;
    ZALInterfaceHandle<ZALDialogAgent> _CancelAgent; ///< valued when the command is to give up
    ZALInterfaceHandle<ZALDialogAgent> _ActionAgent; ///< valued when the files are there
    ZALPathElement* _TargetPath = nullptr;           ///< belongs to the selection agent
    ZALListValZALUnicodeString _DownloadedFiles;
    PanelAction _Action;
    ZALUnicodeString _DocEnvId = "File"; ///< replaced by that of the notification
};
