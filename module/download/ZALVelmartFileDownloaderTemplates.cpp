// The template route: the item and the templates that are not at hand are fetched, then the item is rebuilt on them.

#include "download/ZALVelmartFileDownloadCompleteNotification.h"
#include "download/ZALVelmartFileDownloader.h"
#include "host/dialogs.h"
#include "host/frame.h"
#include "host/settings.h"
#include "host/system.h"
#include "templates/ZALVliApplyTemplatesOpe.h"
#include "traces/ZALVelmartIntegrationDebug.h"

#include <new>

using namespace ZALVliTemplateSupportUtilities;

HRESULT ZALVelmartFileDownloader::StartDownloadAndApplyTemplates(const ZALOmxAny& request,
                                                                 const ZALUnicodeString& folder)
try {
    ZALOmxAny attributes;
    ZALOmxAny fileNameMember;
    ZALUnicodeString fileName;
    if (SUCCEEDED(request.MapGetValue("attributes", attributes)) &&
        SUCCEEDED(attributes.MapGetValue("fileName", fileNameMember)))
        fileNameMember.GetString(fileName);
    const ZALUnicodeString rootFileName = SanitizeQ7FileName(fileName);

    unsigned char found = 0;
    ZALUnicodeString existingPath;
    CheckIfQ7FileExists(folder, rootFileName, found, existingPath);
    if (found) {
        VL_TRACE("ZALVelmartFileDownloader::StartDownloadAndApplyTemplates - File with same name has been found and "
                 "will be reused: "
                 << existingPath);
        ZALListValZALUnicodeString files;
        files.Append(existingPath);
        ZALListValZALUnicodeString warnings;
        warnings.Append(ZALMsgCatalog::BuildMessage("ZALVelmartFileDownloader", "WarnFileSameNameReused", nullptr, 0,
                                                    ZALUnicodeString()));
        ZALVelmartFileDownloadCompleteNotification notification(
            files, ZALVelmartFileDownloadCompleteNotification::DownloadSucceeded, warnings);
        DispatchCallbacks(this, &notification);
        return S_OK;
    }

    ZALUnicodeString url;
    if (FAILED(GetDownloadURL(request, url)))
        return E_FAIL;

    ZALUnicodeString partURL;
    ZALUnicodeString productURL;
    PreferredSaveMethod method = SaveMethodNone;
    GetTemplatesURL(TemplatesURLs, partURL, productURL, method);

    ZALUnicodeString storedPart;
    ZALUnicodeString storedProduct;
    GetStoredTemplatePathes(storedPart, storedProduct);

    const ZALUnicodeString root = ZALGetOfficialVariable("ZALTemp");
    ZALUnicodeString templateFolder = root;
    ZALMakePath(templateFolder, "VelmartTemplates");
    ZALCreateDirectory(templateFolder);

    std::vector<ZALVLIFullDownload::DownloadItem> items;
    items.push_back({root, url, "VLFiles"});
    if (storedPart.GetLengthInChar() == 0 && partURL.GetLengthInChar() > 0)
        items.push_back({templateFolder, partURL, "PartTemplate"});
    if (storedProduct.GetLengthInChar() == 0 && productURL.GetLengthInChar() > 0)
        items.push_back({templateFolder, productURL, "ProductTemplate"});

    FullDownload = ZALInterfaceHandle<ZALVLIFullDownload>::Take(new ZALVLIFullDownload(std::move(items)));

    FullDownload->Start([downloader = ZALBaseUnknown_WR(this), method, rootFileName, folder, storedPart,
                         storedProduct](ZALVLIFullDownload::Status status,
                                        const std::vector<ZALVLIFullDownload::DownloadResult>& results) {
        if (const auto held = Held(downloader))
            held->OnTemplateDownloadComplete(method, rootFileName, folder, storedPart, storedProduct, status, results);
    });
    return S_OK;
} catch (const std::bad_alloc&) {
    NotifyDownloadError("");
    return S_OK;
}

// The announced method has no effect on this route: this is meant.
void ZALVelmartFileDownloader::OnTemplateDownloadComplete(
    PreferredSaveMethod, const ZALUnicodeString& rootFileName, const ZALUnicodeString& folder,
    const ZALUnicodeString& storedPart, const ZALUnicodeString& storedProduct, ZALVLIFullDownload::Status status,
    const std::vector<ZALVLIFullDownload::DownloadResult>& results)
try {
    if (status != ZALVelmartFileDownloadCompleteNotification::DownloadSucceeded) {
        // And on with what there is, so that a second notification follows: this is meant.
        NotifyDownloadError("");
    }

    ZALUnicodeString partTemplate = storedPart;
    ZALUnicodeString productTemplate = storedProduct;
    ZALListValZALUnicodeString sources;
    for (const ZALVLIFullDownload::DownloadResult& result : results) {
        if (result.Key.Test("VLFiles"))
            for (const ZALUnicodeString& path : result.Pathes)
                sources.Append(path);
        else if (result.Key.Test("PartTemplate") && result.Pathes.size() == 1)
            partTemplate = result.Pathes.front();
        else if (result.Key.Test("ProductTemplate") && result.Pathes.size() == 1)
            productTemplate = result.Pathes.front();
    }

    StoreTemplatePathes(partTemplate, productTemplate);

    if (ZALApplicationFrame* frame = ZALApplicationFrame::GetFrame())
        frame->SetBusyCursor();

    ZALVliApplyTemplatesOpe operation;
    operation.SetTemplatesPathes(partTemplate, productTemplate);
    operation.SetDestinationPath(folder, rootFileName);
    operation.SetSourceFilesPathes(sources);
    const HRESULT result = operation.Run();
    operation.DeleteSourcesFiles();

    if (FAILED(result)) {
        NotifyDownloadError(operation.GetErrorMessage());
        return;
    }

    ZALVelmartFileDownloadCompleteNotification notification(
        operation.GetResultFilePathes(), ZALVelmartFileDownloadCompleteNotification::DownloadSucceeded,
        operation.GetWarningMessages());
    DispatchCallbacks(this, &notification);
} catch (const std::bad_alloc&) {
    NotifyLackOfMemory();
}

void ZALVelmartFileDownloader::OnDownloadLocationForTemplateDlgOK(ZALBaseUnknown*, ZALNotification*, void*)
try {
    ZALIVelmartIntegrationSettingAtt* created = nullptr;
    const HRESULT result = CreateZALIVelmartIntegrationSettingAtt(&created);
    const auto settings = ZALInterfaceHandle<ZALIVelmartIntegrationSettingAtt>::Take(created);
    ZALUnicodeString folder;
    if (SUCCEEDED(result) && settings)
        settings->GetDownloadLocation(folder);

    if (folder.GetLengthInChar() == 0) {
        NotifyDownloadError("");
        return;
    }

    // A run that cannot start ends in silence: this is meant.
    StartDownloadAndApplyTemplates(DownloadRequest, folder);
} catch (const std::bad_alloc&) {
    NotifyLackOfMemory();
}
