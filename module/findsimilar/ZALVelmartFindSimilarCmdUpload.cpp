// The upload, and the search that its reply asks for.

#include "dialogs/ZALVelmartFindSimilarUploadProgressDlg.h"
#include "findsimilar/ZALVelmartFindSimilarCmd.h"
#include "host/json.h"
#include "objects/Hold.h"
#include "traces/ZALVelmartIntegrationDebug.h"
#include "utilities/JsonMembers.h"
#include "web/FormData.h"
#include "web/ZALVliHttpUtils.h"

#include <new>
#include <string>
#include <string_view>

namespace {

/// An upload that lasts longer shows its progress. In milliseconds.
constexpr unsigned int ProgressDelay = 1000;

/// `partName` as the name of a file.
ZALUnicodeString UploadNameOf(const ZALUnicodeString& partName)
{
    std::string bytes(4 * static_cast<std::size_t>(partName.GetLengthInChar()) + 1, '\0');
    std::size_t length = 0;
    partName.ConvertToUTF8(bytes.data(), length);
    bytes.resize(length);

    for (char& byte : bytes)
        if (std::string_view("\\/:?\"<>|").find(byte) != std::string_view::npos)
            byte = ' ';
    bytes += ".zip";

    // Read in the host's narrow encoding, not as UTF-8: the service knows the names in this form.
    return ZALUnicodeString(bytes.c_str());
}

} // namespace

HRESULT ZALVelmartFindSimilarCmd::UploadFileInVelmart(const ZALUnicodeString& filePath,
                                                      const ZALUnicodeString& uploadURL, const ZALUnicodeString& name)
try {
    if (filePath.GetLengthInChar() == 0 || uploadURL.GetLengthInChar() == 0)
        return E_INVALIDARG;

    if (uploadRequest) {
        NotifyErrorMessage("FindSimilarAlreadyRunning");
        return E_FAIL;
    }

    ZALVliHttpUtils::FormData form;
    form.AddZipFile("file", filePath, UploadNameOf(name));

    std::string body;
    if (FAILED(form.GenContent(body))) {
        NotifyErrorMessage("LVRUploadFailure");
        return E_FAIL;
    }

    uploadRequest = ZALInterfaceHandle<ZALCefHttpRequest>::Take(new ZALCefHttpRequest("POST", uploadURL));

    ZALUnicodeString size;
    size.BuildFromNum(body.size(), "%I64u");
    ZALCefHttpHeaderMap& headers = uploadRequest->GetHeaderMap();
    headers.AddValue("Accept", "application/json, text/javascript, */*; q=0.01");
    headers.AddValue("X-Requested-With", "XMLHttpRequest");
    headers.AddValue("Content-Length", size);
    headers.AddValue("Content-Type", ZALVliHttpUtils::FormData::GetContentTypeHeaderValue());

    uploadRequest->GetBody().SetContents(body.data(), body.size());

    if (VL_TRACE_IS_ON) {
        VL_TRACE("ZALVelmartFindSimilarCmd::UploadFileInVelmart, Post : " << filePath << " on " << uploadURL);
        VL_TRACE("ZALVelmartFindSimilarCmd::UploadFileInVelmart, PostSize : " << size);
        ZALVelmartIntegrationDebug::Chrono::Start();
    }

    const HRESULT sent = ZALVliHttpUtils::SendRequest(uploadRequest.Get(), this,
                                                      static_cast<void (ZALBaseUnknown::*)(const std::vector<char>&)>(
                                                          &ZALVelmartFindSimilarCmd::OnUploadRequestComplete));
    if (FAILED(sent)) {
        NotifyErrorMessage("LVRUploadFailure");
        uploadRequest = {};
        EndProgressDialog();
        return E_FAIL;
    }

    if (ZALApplication* application = ZALApplication::MainApplication())
        application->AddTimeOut(ProgressDelay, this, nullptr, &ZALVelmartFindSimilarCmd::ShowUploadProgress);
    return S_OK;
} catch (const std::bad_alloc&) {
    // Ends it when it has been sent already.
    uploadRequest = {};
    return E_FAIL;
}

void ZALVelmartFindSimilarCmd::ShowUploadProgress(ZALBaseUnknown* client, void*)
try {
    auto* command = ZALSysDynamicCast<ZALCommand>(client);
    if (!command)
        return;

    static_cast<ZALVelmartFindSimilarCmd*>(command)->progressDialog =
        Hold(ZALVelmartFindSimilarUploadProgressDlg::Create());
} catch (const std::bad_alloc&) {
    // The upload goes on without it.
}

void ZALVelmartFindSimilarCmd::RemoveProgressTimeOut()
{
    if (ZALApplication* application = ZALApplication::MainApplication())
        application->RemoveTimeOut(ProgressDelay, this, nullptr, &ZALVelmartFindSimilarCmd::ShowUploadProgress);
}

void ZALVelmartFindSimilarCmd::EndProgressDialog()
{
    if (!progressDialog)
        return;
    progressDialog->RequestDelayedDestruction();
    progressDialog = {};
}

// ---------------------------------------------------------------------------------------------
// The reply

void ZALVelmartFindSimilarCmd::OnUploadRequestComplete(const std::vector<char>& reply)
try {
    uploadRequest = {};

    RemoveProgressTimeOut();

    EndProgressDialog();

    SearchFor(reply);

    RequestDelayedDestruction();
} catch (const std::bad_alloc&) {
    RequestDelayedDestruction();
}

void ZALVelmartFindSimilarCmd::SearchFor(const std::vector<char>& reply)
{
    const ZALOmxUTF8String text(reply.data(), reply.size());

    VL_TRACE("ZALVelmartFindSimilarCmd::OnUploadRequestComplete in "
             << ZALVelmartIntegrationDebug::Chrono::GetElapsedAsString());
    VL_TRACE("ZALVelmartFindSimilarCmd::OnUploadRequestComplete response : " << text);

    // The HTTP status does not count: what is no answer of the service does not parse or lacks the keys.
    ZALOmxAny parsed;
    if (FAILED(ZALOmxJson().parse(text, parsed))) {
        NotifyErrorMessage("LVRUploadFailure");
        return;
    }

    ZALOmxAny queryValue;
    if (FAILED(MemberOf(parsed, "data").MapGetValue("query", queryValue))) {
        NotifyErrorMessage("LVRUploadFailure");
        return;
    }

    const ZALUnicodeString query = queryValue.ConvertToUnicodeString();

    const ZALIMeridiaAccessDialog_var panel = ZALMeridiaAccessServices::GetCurrentMeridiaAccessDialog();
    if (!panel) {
        NotifyErrorMessage("UnableToRetrieveMeridiaAccessDialog");
        return;
    }

    // A panel without the addin is no case for a message: the search was given up with it.
    const Addin addin = GetAddinOf(panel);
    if (addin && FAILED(addin->SearchByUpload(velmartURL, query)))
        NotifyErrorMessage("SearchResultFailure");
}
