// What the command does to the session once target and files are there.

#include "insertion/ZALVelmartMeridiaAccessAddinActionCmd.h"

#include "events/ZALVelmartIntegrationEventPublisher.h"
#include "host/frame.h"
#include "insertion/DocumentInsertion.h"

#include <memory>

namespace {

const char* const MessageCatalog = "ZALVelmartMeridiaAccessAddinActionCmd";

struct ReleaseObject {
    void operator()(ZALBaseUnknown* object) const { object->Release(); }
};

/// Releases what a query or a creator gave.
template <class T>
using Owned = std::unique_ptr<T, ReleaseObject>;

template <class T>
Owned<T> Query(ZALBaseUnknown* object)
{
    ZALBaseUnknown* found = nullptr;
    if (object)
        object->QueryInterface(T::ClassName(), &found);
    return Owned<T>(static_cast<T*>(found));
}

/// Adds the file `path` below `target`, whose components are `components`.
HRESULT Insert(ZALBaseUnknown* target, ZALIAProducts& components, const ZALUnicodeString& path)
{
    ZALListValZALUnicodeString files;
    files.Append(path);
    ZALVariant array;
    BuildSafeArrayVariant(files, array);
    ZALBSTR method = ConvertToBSTR("*");

    const HRESULT result = components.AddComponentsFromFiles(array, method);

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

/// Puts the file `path` in the place of `target`.
HRESULT Replace(ZALBaseUnknown* target, const ZALUnicodeString& path)
{
    const Owned<ZALIProduct> product = Query<ZALIProduct>(target);
    if (!product)
        return E_FAIL;

    const Owned<ZALIProduct> father(product->GetFatherProduct());
    const Owned<ZALIAProducts> components = Query<ZALIAProducts>(father.get());
    if (!components) {
        NotifyCommandError("ReplaceFailed");
        return E_FAIL;
    }

    ZALVariantBool allInstances = ZALVariantTrue;
    ZALApplicationFrame* frame = ZALApplicationFrame::GetFrame();
    if (ZALDialog* parent = frame ? frame->GetApplicationDocument() : nullptr)
        allInstances = AskForAllInstances(parent);

    ZALBSTR file = ConvertToBSTR(path);
    const Owned<ZALIAProduct> component = Query<ZALIAProduct>(product.get());

    ZALIAProduct* inserted = nullptr;
    const HRESULT result = components->ReplaceComponent(component.get(), file, allInstances, &inserted);
    const Owned<ZALIAProduct> replacement(inserted);

    if (FAILED(result))
        NotifyCommandError("ReplaceFailed");

    ZALFreeString(file);

    if (SUCCEEDED(result))
        CheckPartNumberConflict(father->GetImpl(0), path);
    return result;
}

} // namespace

bool ZALVelmartMeridiaAccessAddinActionCmd::InsertOrReplaceAction(void*)
{
    if (!_TargetPath)
        return true;

    _TargetPath->InitToLeafElement();
    ZALBaseUnknown* target = _TargetPath->GetNextFatherObject();

    const Owned<ZALIAProducts> components = Query<ZALIAProducts>(target);
    if (!components)
        return true;

    if (_DownloadedFiles.Size() == 0)
        return true;
    const ZALUnicodeString path = _DownloadedFiles[1];

    if (ZALApplicationFrame* frame = ZALApplicationFrame::GetFrame())
        frame->SetBusyCursor();
    HRESULT result = E_FAIL;

    if (_Action == ActionInsert)
        result = Insert(target, *components, path);

    if (_Action == ActionReplace)
        result = Replace(target, path);

    if (SUCCEEDED(result)) {
        ZALListValZALUnicodeString paths;
        paths.Append(path);
        ZALVelmartIntegrationEventPublisher::SendEndTransactionEvent(paths, _DocEnvId);
    }
    return true;
}
