#include "insertion/DocumentInsertion.h"

#include "dialogs/Question.h"
#include "events/ZALVelmartIntegrationEventPublisher.h"
#include "host/cad.h"
#include "host/frame.h"
#include "insertion/AutomationValues.h"
#include "insertion/PanelAction.h"

#include <new>

namespace {

const char* const MessageCatalog = "ZALVelmartMeridiaAccessAddinActionCmd";

/// Opens the file `path` with the wait cursor of `frame`. What it gives in `opened` carries a reference.
HRESULT Open(ZALApplicationFrame& frame, ZALIADocuments& documents, const ZALUnicodeString& path,
             ZALIADocument** opened)
try {
    AutomationText file;
    file.Set(path);
    frame.SetBusyCursor();
    return documents.Open(file.Get(), opened);
} catch (const std::bad_alloc&) {
    return E_FAIL;
}

} // namespace

HRESULT CheckInsertReplaceContext(std::int32_t action)
try {
    if (action != ActionInsert && action != ActionReplace)
        return S_OK;

    ZALString workshop;
    ZALApplicationFrame* frame = ZALApplicationFrame::GetFrame();
    if (ZALFrmEditor::GetCurrentEditor() && frame)
        workshop = frame->GetCurrentWorkshop();

    if (workshop == "PRDWorkshop")
        return S_OK;

    NotifyCommandError("InvalidContextForInsertReplace");
    return E_FAIL;
} catch (const std::bad_alloc&) {
    return E_FAIL;
}

HRESULT OpenDownloadedDocument(const ZALListValZALUnicodeString& paths, const ZALUnicodeString& docEnvId)
try {
    if (paths.Size() == 0)
        return E_FAIL;

    ZALApplicationFrame* frame = ZALApplicationFrame::GetFrame();
    if (!frame)
        return E_FAIL;
    frame->SetBusyCursor();

    // Before the application, because it is released after it.
    ZALInterfaceHandle<ZALIADocuments> documents;

    const ZALIAApplication_var application(frame);
    if (!application)
        return E_FAIL;

    ZALIADocuments* collection = nullptr;
    application->GetDocuments(&collection);
    documents = ZALInterfaceHandle<ZALIADocuments>::Take(collection);
    if (!documents)
        return E_FAIL;

    ZALIADocument* opened = nullptr;
    const HRESULT result = Open(*frame, *documents.Get(), paths[1], &opened);
    const auto document = ZALInterfaceHandle<ZALIADocument>::Take(opened);

    // Also for a document that was not opened: the files are the user's all the same.
    ZALVelmartIntegrationEventPublisher::SendEndTransactionEvent(paths, docEnvId);

    return result;
} catch (const std::bad_alloc&) {
    return E_FAIL;
}

HRESULT CheckPartNumberConflict(ZALBaseUnknown* target, const ZALUnicodeString& path)
try {
    ZALDocument* found = nullptr;
    const HRESULT result = ZALDocumentServices::GetDocumentInSession(path, &found);
    const auto document = ZALInterfaceHandle<ZALDocument>::Take(found);
    if (FAILED(result) || !document)
        return E_FAIL;

    const ZALIProduct_var root = PrdGiveDocRootProduct(document.Get());
    if (!root)
        return E_FAIL;

    ZALUnicodeString partNumber;
    root->GetPartNumber(partNumber);

    const ZALINameServerAccess_var access(target);
    if (!access)
        return E_FAIL;

    const auto nameServer = ZALInterfaceHandle<ZALNameServer>::Take(access->GetNameServer());
    if (!nameServer)
        return E_FAIL;

    const auto entries = ZALInterfaceHandle<ZALNameServerEntries>::Take(nameServer->GetEntries());
    if (!entries)
        return S_FALSE;

    for (int index = 1; index <= entries->GetCount(); ++index) {
        const auto entry = ZALInterfaceHandle<ZALNameServerEntry>::Take(entries->GetItem(index));
        if (!entry)
            continue;
        ZALUnicodeString name;
        entry->GetName(name);
        if (partNumber.Compare(name) != ZALTextsIdentical)
            continue;

        ShowCommandErrorText(ZALMsgCatalog::BuildMessage(MessageCatalog, "PartNumberConflict", &partNumber, 1,
                                                         "Part Number conflict detected"));
        break;
    }
    return S_OK;
} catch (const std::bad_alloc&) {
    return E_FAIL;
}

void NotifyCommandError(const ZALString& key)
try {
    ShowCommandErrorText(ZALMsgCatalog::BuildMessage(MessageCatalog, key, nullptr, 0, "Transaction has failed"));
} catch (const std::bad_alloc&) {
    // Nothing can be shown.
}

void ShowCommandErrorText(const ZALUnicodeString& text)
{
    ShowErrorBox("FileOpenInsertReplaceErrorNotify", text);
}
