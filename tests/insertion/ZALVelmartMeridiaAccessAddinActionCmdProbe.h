// A command whose operations a test runs without its graph, and what a command keeps to itself.
#pragma once

#include "insertion/ZALVelmartMeridiaAccessAddinActionCmd.h"
#include "openhost/commands/DialogEngine.h"

/// Owns nothing: the engine has the command, and ends it with the probe.
class ZALVelmartMeridiaAccessAddinActionCmdProbe {
public:
    explicit ZALVelmartMeridiaAccessAddinActionCmdProbe(PanelAction action)
        : command_(new ZALVelmartMeridiaAccessAddinActionCmd(action, ZALOmxAny()))
    {
    }
    ZALVelmartMeridiaAccessAddinActionCmdProbe(const ZALVelmartMeridiaAccessAddinActionCmdProbe&) = delete;
    ZALVelmartMeridiaAccessAddinActionCmdProbe& operator=(const ZALVelmartMeridiaAccessAddinActionCmdProbe&) = delete;
    ~ZALVelmartMeridiaAccessAddinActionCmdProbe() { openhost::DialogEngine::Current().EndCommand(command_); }

    /// Runs the operation on `target` as the graph does when the files are there. `target` stays the caller's.
    bool InsertOrReplace(ZALPathElement* target, const ZALListValZALUnicodeString& files,
                         const ZALUnicodeString& docEnvId)
    {
        command_->_TargetPath = target;
        command_->_DownloadedFiles = files;
        command_->_DocEnvId = docEnvId;
        return command_->InsertOrReplaceAction(nullptr);
    }

    void BuildGraph() { command_->BuildCommandGraph(); }
    /// Runs the operation that the graph runs when a target has been selected.
    bool StartDownload() { return StartDownloadOf(*command_); }

    static bool StartDownloadOf(ZALVelmartMeridiaAccessAddinActionCmd& command)
    {
        return command.StartDownloadAction(nullptr);
    }
    static ZALDialogAgent& SelectionOf(ZALVelmartMeridiaAccessAddinActionCmd& command)
    {
        return *command._SelectionAgent;
    }
    static ZALDialogAgent& CancelOf(ZALVelmartMeridiaAccessAddinActionCmd& command) { return *command._CancelAgent; }

private:
    ZALVelmartMeridiaAccessAddinActionCmd* command_;
};
