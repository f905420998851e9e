#include "insertion/ZALVelmartMeridiaAccessAddinActionCmd.h"

#include "download/ZALVelmartFileDownloadCompleteNotification.h"
#include "download/ZALVelmartFileDownloader.h"
#include "insertion/DocumentInsertion.h"

#include <new>

namespace {

const char* const CommandName = "ZALVelmartMeridiaAccessAddinActionCmd";

/// Modes of the two agents that only the code values.
constexpr int NoBehavior = 0;
constexpr int AgentMode = 3;

} // namespace

ZALVelmartMeridiaAccessAddinActionCmd::ZALVelmartMeridiaAccessAddinActionCmd(const PanelAction& action,
                                                                             const ZALOmxAny& content)
    : ZALStateCommand(CommandName, 0, 0), _Content(content), _Action(action)
{
}

// The fields end in the reverse of their order, which is required: _DocEnvId and _DownloadedFiles, then _ActionAgent,
// _CancelAgent and _SelectionAgent, then _Content.
ZALVelmartMeridiaAccessAddinActionCmd::~ZALVelmartMeridiaAccessAddinActionCmd()
{
    _TargetPath = nullptr;
    RemoveSubscriberCallbacks(_Downloader);
    _Downloader = nullptr;
}

HRESULT ZALVelmartMeridiaAccessAddinActionCmd::Activate(ZALBaseUnknown* publisher, ZALNotification* notification)
try {
    return ZALCommand::Activate(publisher, notification);
} catch (const std::bad_alloc&) {
    return E_FAIL;
}

HRESULT ZALVelmartMeridiaAccessAddinActionCmd::Cancel(ZALBaseUnknown* publisher, ZALNotification* notification)
try {
    return ZALCommand::Cancel(publisher, notification);
} catch (const std::bad_alloc&) {
    return E_FAIL;
}

// ---------------------------------------------------------------------------------------------
// Resources

ZALString ZALVelmartMeridiaAccessAddinActionCmd::GetResourceFilename(int level) const
try {
    return level > 0 ? ZALStateCommand::GetResourceFilename(level - 1) : ZALString(CommandName);
} catch (const std::bad_alloc&) {
    return {};
}

ZALString ZALVelmartMeridiaAccessAddinActionCmd::GetResourceClass(int level) const
try {
    return level > 0 ? ZALStateCommand::GetResourceClass(level - 1) : ZALString(CommandName);
} catch (const std::bad_alloc&) {
    return {};
}

int ZALVelmartMeridiaAccessAddinActionCmd::IsOtherResourceFile(int level) const
try {
    return level > 0 ? ZALStateCommand::IsOtherResourceFile(level - 1) : 0;
} catch (const std::bad_alloc&) {
    return 0;
}

// ---------------------------------------------------------------------------------------------
// The graph

void ZALVelmartMeridiaAccessAddinActionCmd::BuildCommandGraph()
try {
    using Command = ZALVelmartMeridiaAccessAddinActionCmd;

    _SelectionAgent = ZALInterfaceHandle<ZALPathElementAgent>::Take(new ZALPathElementAgent("Selection"));
    _SelectionAgent->SetBehavior(ZALAgentTakesOneElement);
    _SelectionAgent->SetElementType(ZALIProduct::ClassName());
    _SelectionAgent->SetFilter(Filter(&Command::CheckSelection, nullptr));
    _ActionAgent = ZALInterfaceHandle<ZALDialogAgent>::Take(new ZALDialogAgent("ActionAgent", NoBehavior, AgentMode));
    _CancelAgent = ZALInterfaceHandle<ZALDialogAgent>::Take(new ZALDialogAgent("CancelAgent", NoBehavior, AgentMode));

    ZALDialogState* initialState = GetInitialState("InitialState");
    if (_Action == ActionInsert)
        initialState->SetResourceID("InitialStateInsert");
    else if (_Action == ActionReplace)
        initialState->SetResourceID("InitialStateReplace");
    initialState->AddDialogAgent(_SelectionAgent.Get());
    initialState->AddDialogAgent(_CancelAgent.Get());

    ZALDialogState* downloadState = AddDialogState("DownloadState");
    downloadState->AddDialogAgent(_ActionAgent.Get());
    downloadState->AddDialogAgent(_CancelAgent.Get());

    AddTransition(initialState, downloadState, IsOutputSetCondition(_SelectionAgent.Get()),
                  Action(&Command::StartDownloadAction, nullptr, nullptr, nullptr));
    AddTransition(initialState, GetCancelState(), IsOutputSetCondition(_CancelAgent.Get()), nullptr);
    AddTransition(downloadState, GetCancelState(), IsOutputSetCondition(_CancelAgent.Get()), nullptr);
    AddTransition(downloadState, nullptr, IsOutputSetCondition(_ActionAgent.Get()),
                  Action(&Command::InsertOrReplaceAction, nullptr, nullptr, nullptr));
} catch (const std::bad_alloc&) {
    // Half a graph is not to run: the host cancels a command whose initial state has no agent.
    _ActionAgent = {};
    _CancelAgent = {};
    _SelectionAgent = {};
}

bool ZALVelmartMeridiaAccessAddinActionCmd::CheckSelection(ZALDialogAgent*, void*)
try {
    if (!_SelectionAgent)
        return true;

    ZALBaseUnknown* element = _SelectionAgent->GetElementValue();

    const ZALInterfaceHandle<ZALIPrdGhost> ghost(element);
    if (ghost && !ghost->IsLoaded())
        return false;

    const ZALIProduct_var product(element);

    if (_Action == ActionInsert && product) {
        if (ZALPrdIsAProductFromZALPart(product.Get()))
            return false;
        if (!ZALIProduct_var::Take(product->GetReferenceProduct()))
            return false;
    }

    // Keeps the root of a document from being replaced.
    if (_Action == ActionReplace && product && !ZALIProduct_var::Take(product->GetFatherProduct()))
        return false;

    // Without ZALIProduct there is nothing to object to: the element type of the agent has let it through.
    return true;
} catch (const std::bad_alloc&) {
    return false;
}

// ---------------------------------------------------------------------------------------------
// The download

bool ZALVelmartMeridiaAccessAddinActionCmd::StartDownloadAction(void*)
{
    if (!_SelectionAgent)
        return true;

    _TargetPath = _SelectionAgent->GetValue();

    if (FAILED(StartDownload()))
        GiveUp("DownloadFailed");

    _SelectionAgent->InitializeAcquisition();
    return true;
}

/// S_OK without a downloader: no notification can come then, and the command waits.
HRESULT ZALVelmartMeridiaAccessAddinActionCmd::StartDownload()
try {
    if (!_Downloader) {
        ZALVelmartFileDownloader* downloader = ZALVelmartFileDownloader::GetInstance();
        AddCallback(downloader, ZALVelmartFileDownloadCompleteNotification::ClassName(),
                    &ZALVelmartMeridiaAccessAddinActionCmd::OnFileDownloadCompleteCB, nullptr);
        // Kept only with a subscription, without which the end of the download would not be heard.
        _Downloader = downloader;
    }
    return _Downloader ? _Downloader->StartDownload(_Content) : S_OK;
} catch (const std::bad_alloc&) {
    return E_FAIL;
}

void ZALVelmartMeridiaAccessAddinActionCmd::OnFileDownloadCompleteCB(ZALBaseUnknown*, ZALNotification* notification,
                                                                     void*)
{
    const auto* complete = ZALSysDynamicCast<ZALVelmartFileDownloadCompleteNotification>(notification);
    if (!complete)
        return;

    const ZALVelmartFileDownloadCompleteNotification::Status status = complete->GetStatus();
    try {
        _DownloadedFiles = complete->GetDownloadedFilesPathes();
        _DocEnvId = complete->GetDocEnvId();
    } catch (const std::bad_alloc&) {
        // Without memory to keep the files there are none.
        _DownloadedFiles.RemoveAll();
    }

    if (status == ZALVelmartFileDownloadCompleteNotification::DownloadCanceled) {
        GiveUp("DownloadCanceled");
        return;
    }

    // Warnings are not shown here, on purpose.
    if (status != ZALVelmartFileDownloadCompleteNotification::DownloadFailed && _DownloadedFiles.Size() > 0) {
        try {
            if (_ActionAgent)
                _ActionAgent->Accept(nullptr, 0);
        } catch (const std::bad_alloc&) {
            GiveUp();
        }
        return;
    }

    const ZALUnicodeString& error = complete->GetErrorMessageNLS();
    if (error.GetLengthInChar() >= 1) {
        ShowCommandErrorText(error);
        GiveUp();
    } else {
        GiveUp("DownloadFailed");
    }
}

void ZALVelmartMeridiaAccessAddinActionCmd::GiveUp(const char* key)
{
    try {
        NotifyCommandError(key);
    } catch (const std::bad_alloc&) {
        // Nothing can be shown. The command ends all the same.
    }
    GiveUp();
}

void ZALVelmartMeridiaAccessAddinActionCmd::GiveUp()
try {
    if (_CancelAgent)
        _CancelAgent->Accept(nullptr, 0);
} catch (const std::bad_alloc&) {
    // The engine has the value, or can do nothing.
}
