// What the command does to the session once target and files are there.

#include "insertion/ZALVelmartMeridiaAccessAddinActionCmd.h"

#include "events/ZALVelmartIntegrationEventPublisher.h"
#include "host/frame.h"
#include "insertion/DocumentInsertion.h"

namespace {

const char* const MessageCatalog = "ZALVelmartMeridiaAccessAddinActionCmd";

/// Adds the file `path` below `target`, whose components are `components`.
HRESULT Insert(ZALBaseUnknown* target, const ZALIAProducts_var& components, const ZALUnicodeString& path)
{
    ZALListValZALUnicodeString files;
    files.Append(path);
    ZALVariant array;
    BuildSafeArrayVariant(files, array);
    ZALBSTR method = ConvertToBSTR("*");

    const HRESULT result = components->AddComponentsFromFiles(array, method);

    if (FAILED(result))
        NotifyCommandError("InsertFailed");

    ZALFreeString(method);
    FreeVariantSafeArray(array);

    if (SUCCEEDED(result))
        CheckPartNumberConflict(target, path);
    return result;
}

/// Asks whether all instances are to be replaced. Any answer but No means all of them.
ZALVariantBool AskForAllInstances(ZALDialog* parent)
{
    auto* dialog = new ZALDlgNotify(parent, "ReplaceAllPopUp", ZALDlgNotifyYesNo);

    const ZALUnicodeString title =
        ZALMsgCatalog::BuildMessage(MessageCatalog, "ReplaceAllPopUp.Title", nullptr, 0, ZALUnicodeString());
    const ZALUnicodeString text =
        ZALMsgCatalog::BuildMessage(MessageCatalog, "ReplaceAllPopUp.Message", nullptr, 0, ZALUnicodeString());

    const int answer = dialog->DisplayBlocked(text, title);
    dialog->RequestDelayedDestruction();

    return answer == ZALDlgAnswerNo ? ZALVariantFalse : ZALVariantTrue;
}

/// What a replacement asks the session for. Held until the end of the transaction has been told.
struct Replacement {
    ZALIProduct_var product;
    ZALIProduct_var father;
    ZALIAProducts_var components; ///< of the father
    ZALIAProduct_var replaced;
    ZALIAProduct_var inserted;
};

/// Puts the file `path` in the place of `target`.
HRESULT Replace(ZALBaseUnknown* target, const ZALUnicodeString& path, Replacement& held)
{
    held.product = ZALIProduct_var(target);
    if (!held.product)
        return E_FAIL;

    held.father = ZALIProduct_var::Take(held.product->GetFatherProduct());
    held.components = ZALIAProducts_var(held.father);
    if (!held.components) {
        NotifyCommandError("ReplaceFailed");
        return E_FAIL;
    }

    ZALVariantBool allInstances = ZALVariantTrue;
    ZALApplicationFrame* frame = ZALApplicationFrame::GetFrame();
    if (ZALDialog* parent = frame ? frame->GetApplicationDocument() : nullptr)
        allInstances = AskForAllInstances(parent);

    ZALBSTR file = ConvertToBSTR(path);
    held.replaced = ZALIAProduct_var(held.product);

    ZALIAProduct* inserted = nullptr;
    const HRESULT result = held.components->ReplaceComponent(held.replaced.Get(), file, allInstances, &inserted);
    held.inserted = ZALIAProduct_var::Take(inserted);

    if (FAILED(result))
        NotifyCommandError("ReplaceFailed");

    ZALFreeString(file);

    if (SUCCEEDED(result))
        CheckPartNumberConflict(held.father->GetImpl(0), path);
    return result;
}

} // namespace

bool ZALVelmartMeridiaAccessAddinActionCmd::InsertOrReplaceAction(void*)
{
    if (!_TargetPath)
        return true;

    _TargetPath->InitToLeafElement();
    ZALBaseUnknown* target = _TargetPath->GetNextFatherObject();

    const ZALIAProducts_var components(target);
    if (!components)
        return true;

    if (_DownloadedFiles.Size() == 0)
        return true;
    const ZALUnicodeString path = _DownloadedFiles[1];

    if (ZALApplicationFrame* frame = ZALApplicationFrame::GetFrame())
        frame->SetBusyCursor();
    HRESULT result = E_FAIL;

    if (_Action == ActionInsert)
        result = Insert(target, components, path);

    Replacement held;
    if (_Action == ActionReplace)
        result = Replace(target, path, held);

    if (SUCCEEDED(result)) {
        ZALListValZALUnicodeString paths;
        paths.Append(path);
        ZALVelmartIntegrationEventPublisher::SendEndTransactionEvent(paths, _DocEnvId);
    }
    return true;
}
