#include "insertion/ZALVelmartMeridiaAccessAddinActionCmd.h"

#include "download/ZALVelmartFileDownloadCompleteNotification.h"
#include "download/ZALVelmartFileDownloader.h"
#include "insertion/DocumentInsertion.h"

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
{
    return ZALCommand::Activate(publisher, notification);
}

HRESULT ZALVelmartMeridiaAccessAddinActionCmd::Cancel(ZALBaseUnknown* publisher, ZALNotification* notification)
{
    return ZALCommand::Cancel(publisher, notification);
}

// ---------------------------------------------------------------------------------------------
// Resources

ZALString ZALVelmartMeridiaAccessAddinActionCmd::GetResourceFilename(int level) const
{
    return level > 0 ? ZALStateCommand::GetResourceFilename(level - 1) : ZALString(CommandName);
}

ZALString ZALVelmartMeridiaAccessAddinActionCmd::GetResourceClass(int level) const
{
    return level > 0 ? ZALStateCommand::GetResourceClass(level - 1) : ZALString(CommandName);
}

int ZALVelmartMeridiaAccessAddinActionCmd::IsOtherResourceFile(int level) const
{
    return level > 0 ? ZALStateCommand::IsOtherResourceFile(level - 1) : 0;
}

// ---------------------------------------------------------------------------------------------
// The graph

void ZALVelmartMeridiaAccessAddinActionCmd::BuildCommandGraph()
{
    using Command = ZALVelmartMeridiaAccessAddinActionCmd;

    _SelectionAgent.reset(new ZALPathElementAgent("Selection"));
    _SelectionAgent->SetBehavior(ZALAgentTakesOneElement);
    _SelectionAgent->SetElementType(ZALIProduct::ClassName());
    _SelectionAgent->SetFilter(Filter(&Command::CheckSelection, nullptr));
    _ActionAgent.reset(new ZALDialogAgent("ActionAgent", NoBehavior, AgentMode));
    _CancelAgent.reset(new ZALDialogAgent("CancelAgent", NoBehavior, AgentMode));

    ZALDialogState* initialState = GetInitialState("InitialState");
    if (_Action == ActionInsert)
        initialState->SetResourceID("InitialStateInsert");
    else if (_Action == ActionReplace)
        initialState->SetResourceID("InitialStateReplace");
    initialState->AddDialogAgent(_SelectionAgent.get());
    initialState->AddDialogAgent(_CancelAgent.get());

    ZALDialogState* downloadState = AddDialogState("DownloadState");
    downloadState->AddDialogAgent(_ActionAgent.get());
    downloadState->AddDialogAgent(_CancelAgent.get());

    AddTransition(initialState, downloadState, IsOutputSetCondition(_SelectionAgent.get()),
                  Action(&Command::StartDownloadAction, nullptr, nullptr, nullptr));
    AddTransition(initialState, GetCancelState(), IsOutputSetCondition(_CancelAgent.get()), nullptr);
    AddTransition(downloadState, GetCancelState(), IsOutputSetCondition(_CancelAgent.get()), nullptr);
    AddTransition(downloadState, nullptr, IsOutputSetCondition(_ActionAgent.get()),
                  Action(&Command::InsertOrReplaceAction, nullptr, nullptr, nullptr));
}

bool ZALVelmartMeridiaAccessAddinActionCmd::CheckSelection(ZALDialogAgent*, void*)
{
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
}

// ---------------------------------------------------------------------------------------------
// The download

bool ZALVelmartMeridiaAccessAddinActionCmd::StartDownloadAction(void*)
{
    if (!_SelectionAgent)
        return true;

    _TargetPath = _SelectionAgent->GetValue();

    if (!_Downloader) {
        _Downloader = ZALVelmartFileDownloader::GetInstance();
        AddCallback(_Downloader, ZALVelmartFileDownloadCompleteNotification::ClassName(),
                    &ZALVelmartMeridiaAccessAddinActionCmd::OnFileDownloadCompleteCB, nullptr);
    }

    if (_Downloader && FAILED(_Downloader->StartDownload(_Content))) {
        NotifyCommandError("DownloadFailed");
        if (_CancelAgent)
            _CancelAgent->Accept(nullptr, 0);
    }

    _SelectionAgent->InitializeAcquisition();
    return true;
}

void ZALVelmartMeridiaAccessAddinActionCmd::OnFileDownloadCompleteCB(ZALBaseUnknown*, ZALNotification* notification,
                                                                     void*)
{
    const auto* complete = ZALSysDynamicCast<ZALVelmartFileDownloadCompleteNotification>(notification);
    if (!complete)
        return;

    const ZALVelmartFileDownloadCompleteNotification::Status status = complete->GetStatus();
    _DownloadedFiles = complete->GetDownloadedFilesPathes();
    _DocEnvId = complete->GetDocEnvId();

    if (status == ZALVelmartFileDownloadCompleteNotification::DownloadCanceled) {
        NotifyCommandError("DownloadCanceled");
        if (_CancelAgent)
            _CancelAgent->Accept(nullptr, 0);
        return;
    }

    // Warnings are not shown here, on purpose.
    if (status != ZALVelmartFileDownloadCompleteNotification::DownloadFailed && _DownloadedFiles.Size() > 0) {
        if (_ActionAgent)
            _ActionAgent->Accept(nullptr, 0);
        return;
    }

    const ZALUnicodeString error = complete->GetErrorMessageNLS();
    if (error.GetLengthInChar() >= 1)
        ShowCommandErrorText(error);
    else
        NotifyCommandError("DownloadFailed");
    if (_CancelAgent)
        _CancelAgent->Accept(nullptr, 0);
}
