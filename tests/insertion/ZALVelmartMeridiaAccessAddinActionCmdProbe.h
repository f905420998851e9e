// A command whose operations a test runs without its graph, and what a command keeps to itself.
#pragma once

#include "insertion/ZALVelmartMeridiaAccessAddinActionCmd.h"
#include "openhost/commands/DialogEngine.h"

/// The engine has ended the command at once, so that it runs by the test alone. It ends with the probe, between events.
class ZALVelmartMeridiaAccessAddinActionCmdProbe {
public:
    explicit ZALVelmartMeridiaAccessAddinActionCmdProbe(PanelAction action, const ZALOmxAny& content = {})
        : command_(new ZALVelmartMeridiaAccessAddinActionCmd(action, content))
    {
        command_->AddRef();
        openhost::DialogEngine::Current().EndCommand(command_);
    }
    ZALVelmartMeridiaAccessAddinActionCmdProbe(const ZALVelmartMeridiaAccessAddinActionCmdProbe&) = delete;
    ZALVelmartMeridiaAccessAddinActionCmdProbe& operator=(const ZALVelmartMeridiaAccessAddinActionCmdProbe&) = delete;
    ~ZALVelmartMeridiaAccessAddinActionCmdProbe() { command_->Release(); }

    /// Runs the operation on `target` as the graph does when the files are there. `target` stays the caller's.
    bool InsertOrReplace(ZALPathElement* target, const ZALListValZALUnicodeString& files,
                         const ZALUnicodeString& docEnvId)
    {
        Prepare(target, files, docEnvId);
        return InsertOrReplace();
    }
    /// The same in two steps.
    void Prepare(ZALPathElement* target, const ZALListValZALUnicodeString& files, const ZALUnicodeString& docEnvId)
    {
        command_->_TargetPath = target;
        command_->_DownloadedFiles = files;
        command_->_DocEnvId = docEnvId;
    }
    bool InsertOrReplace() { return command_->InsertOrReplaceAction(nullptr); }

    void BuildGraph() { command_->BuildCommandGraph(); }
    /// Runs the operation that the graph runs when a target has been selected.
    bool StartDownload() { return StartDownloadOf(*command_); }

    /// The filter of the selection; the operation that hears of the end of a download.
    static bool CheckSelectionOf(ZALVelmartMeridiaAccessAddinActionCmd& command)
    {
        return command.CheckSelection(command._SelectionAgent.Get(), nullptr);
    }
    bool CheckSelection() { return command_->CheckSelection(nullptr, nullptr); }
    void Complete(ZALNotification& notification)
    {
        command_->OnFileDownloadCompleteCB(nullptr, &notification, nullptr);
    }

    ZALVelmartMeridiaAccessAddinActionCmd& Command() { return *command_; }
    /// Each agent, or null: of the selection, of the good end, of giving up.
    ZALPathElementAgent* Selection() { return command_->_SelectionAgent.Get(); }
    ZALDialogAgent* Good() { return command_->_ActionAgent.Get(); }
    ZALDialogAgent* Cancel() { return command_->_CancelAgent.Get(); }
    const ZALListValZALUnicodeString& Files() const { return command_->_DownloadedFiles; }
    const ZALUnicodeString& DocEnvId() const { return command_->_DocEnvId; }

    static bool StartDownloadOf(ZALVelmartMeridiaAccessAddinActionCmd& command)
    {
        return command.StartDownloadAction(nullptr);
    }
    static ZALDialogAgent& SelectionOf(ZALVelmartMeridiaAccessAddinActionCmd& command)
    {
        return *command._SelectionAgent.Get();
    }
    static ZALDialogAgent& CancelOf(ZALVelmartMeridiaAccessAddinActionCmd& command)
    {
        return *command._CancelAgent.Get();
    }

private:
    ZALVelmartMeridiaAccessAddinActionCmd* command_;
};
