#include "insertion/DocumentInsertion.h"

#include "host/frame.h"

namespace {

const char* const MessageCatalog = "ZALVelmartMeridiaAccessAddinActionCmd";

constexpr std::int32_t Insert = 3;
constexpr std::int32_t Replace = 4;

} // namespace

HRESULT CheckInsertReplaceContext(std::int32_t action)
{
    if (action != Insert && action != Replace)
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

HRESULT StartInsertReplaceCommand(std::int32_t, const ZALOmxAny&)
{
    return E_FAIL;
}

HRESULT OpenDownloadedDocument(const ZALListValZALUnicodeString& paths, const ZALUnicodeString&)
{
    if (paths.Size() == 0)
        return E_FAIL;

    if (ZALApplicationFrame* frame = ZALApplicationFrame::GetFrame())
        frame->SetBusyCursor();

    return E_FAIL;
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
