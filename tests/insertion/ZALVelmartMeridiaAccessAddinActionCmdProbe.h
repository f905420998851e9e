// A command whose operation a test runs without its graph.
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

private:
    ZALVelmartMeridiaAccessAddinActionCmd* command_;
};
