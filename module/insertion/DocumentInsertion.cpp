#include "insertion/DocumentInsertion.h"

#include "events/ZALVelmartIntegrationEventPublisher.h"
#include "host/cad.h"
#include "host/frame.h"
#include "insertion/PanelAction.h"

namespace {

const char* const MessageCatalog = "ZALVelmartMeridiaAccessAddinActionCmd";

} // namespace

HRESULT CheckInsertReplaceContext(std::int32_t action)
{
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
}

HRESULT OpenDownloadedDocument(const ZALListValZALUnicodeString& paths, const ZALUnicodeString& docEnvId)
{
    if (paths.Size() == 0)
        return E_FAIL;

    ZALApplicationFrame* frame = ZALApplicationFrame::GetFrame();
    if (!frame)
        return E_FAIL;
    frame->SetBusyCursor();

    const ZALIAApplication_var application(frame);
    if (!application)
        return E_FAIL;

    ZALIADocuments* collection = nullptr;
    application->GetDocuments(&collection);
    const auto documents = ZALInterfaceHandle<ZALIADocuments>::Take(collection);
    if (!documents)
        return E_FAIL;

    ZALBSTR path = ConvertToBSTR(paths[1]);
    frame->SetBusyCursor();

    ZALIADocument* opened = nullptr;
    const HRESULT result = documents->Open(path, &opened);
    const auto document = ZALInterfaceHandle<ZALIADocument>::Take(opened);
    ZALFreeString(path);

    // Also for a document that was not opened, which is meant.
    ZALVelmartIntegrationEventPublisher::SendEndTransactionEvent(paths, docEnvId);

    return result;
}

HRESULT CheckPartNumberConflict(ZALBaseUnknown* target, const ZALUnicodeString& path)
{
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
}

void NotifyCommandError(const ZALString& key)
{
    ShowCommandErrorText(ZALMsgCatalog::BuildMessage(MessageCatalog, key, nullptr, 0, "Transaction has failed"));
}

void ShowCommandErrorText(const ZALUnicodeString& text)
{
    if (text.GetLengthInChar() == 0)
        return;

    ZALApplicationFrame* frame = ZALApplicationFrame::GetFrame();
    auto* dialog = new ZALDlgNotify(frame ? frame->GetMainWindow() : nullptr, "FileOpenInsertReplaceErrorNotify",
                                    ZALDlgNotifyError);

    dialog->DisplayBlocked(text, ZALUnicodeString());

    dialog->RequestDelayedDestruction();
}
