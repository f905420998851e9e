// What the command does to the workspace once target and files are there.

#include "insertion/ZALVelmartMeridiaAccessAddinActionCmd.h"

#include "dialogs/Question.h"
#include "events/ZALVelmartIntegrationEventPublisher.h"
#include "host/frame.h"
#include "insertion/AutomationValues.h"
#include "insertion/DocumentInsertion.h"

#include <new>

namespace {

const char* const MessageCatalog = "ZALVelmartMeridiaAccessAddinActionCmd";

/// Adds the file `path` below `target`, whose components are `components`. Without memory for that it is refused.
HRESULT Insert(ZALBaseUnknown* target, const ZALIAProducts_var& components, const ZALUnicodeString& path)
{
    HRESULT result = E_FAIL;
    {
        // Freed after the message of a refusal, the method first.
        AutomationTexts array;
        AutomationText method;
        try {
            ZALListValZALUnicodeString files;
            files.Append(path);
            array.Set(files);
            method.Set("*");
            result = components->AddComponentsFromFiles(array.Get(), method.Get());
        } catch (const std::bad_alloc&) {
            result = E_FAIL;
        }
        if (FAILED(result))
            NotifyCommandError("InsertFailed");
    }

    if (SUCCEEDED(result))
        CheckPartNumberConflict(target, path);
    return result;
}

/// Asks whether all instances are to be replaced. Any answer but No means all of them, and so does a question that
/// cannot be asked.
ZALVariantBool AskForAllInstances(ZALDialog* parent)
try {
    Question question(parent, "ReplaceAllPopUp", ZALDlgNotifyYesNo);

    const ZALUnicodeString title =
        ZALMsgCatalog::BuildMessage(MessageCatalog, "ReplaceAllPopUp.Title", nullptr, 0, ZALUnicodeString());
    const ZALUnicodeString text =
        ZALMsgCatalog::BuildMessage(MessageCatalog, "ReplaceAllPopUp.Message", nullptr, 0, ZALUnicodeString());

    return question.Ask(text, title) == ZALDlgAnswerNo ? ZALVariantFalse : ZALVariantTrue;
} catch (const std::bad_alloc&) {
    return ZALVariantTrue;
}

/// What a replacement asks the workspace for. Held until the end of the transaction has been told.
struct Replacement {
    ZALIProduct_var product;
    ZALIProduct_var father;
    ZALIAProducts_var components; ///< of the father
    ZALIAProduct_var replaced;
    ZALIAProduct_var inserted;
};

/// Puts the file `path` in the place of `target`. Without memory for that it is refused.
HRESULT Replace(ZALBaseUnknown* target, const ZALUnicodeString& path, Replacement& held)
{
    HRESULT result = E_FAIL;
    {
        AutomationText file; // freed after the message of a refusal
        try {
            held.product = ZALIProduct_var(target);
            if (!held.product)
                return E_FAIL;
            held.father = ZALIProduct_var::Take(held.product->GetFatherProduct());
            held.components = ZALIAProducts_var(held.father);
            if (held.components) {
                ZALVariantBool allInstances = ZALVariantTrue;
                ZALApplicationFrame* frame = ZALApplicationFrame::GetFrame();
                if (ZALDialog* parent = frame ? frame->GetApplicationDocument() : nullptr)
                    allInstances = AskForAllInstances(parent);

                file.Set(path);
                held.replaced = ZALIAProduct_var(held.product);

                ZALIAProduct* inserted = nullptr;
                result = held.components->ReplaceComponent(held.replaced.Get(), file.Get(), allInstances, &inserted);
                held.inserted = ZALIAProduct_var::Take(inserted);
            }
        } catch (const std::bad_alloc&) {
            result = E_FAIL;
        }
        if (FAILED(result))
            NotifyCommandError("ReplaceFailed");
    }

    if (SUCCEEDED(result))
        CheckPartNumberConflict(held.father->GetImpl(0), path);
    return result;
}

} // namespace

bool ZALVelmartMeridiaAccessAddinActionCmd::InsertOrReplaceAction(void*)
{
    // The command ends whatever happens.
    if (!_TargetPath)
        return true;

    bool hasBegun = false; // from then on a failure is told where it happens
    try {
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
        hasBegun = true;

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
    } catch (const std::bad_alloc&) {
        if (!hasBegun)
            NotifyCommandError(_Action == ActionReplace ? "ReplaceFailed" : "InsertFailed");
    }
    return true;
}
