// The template route: the item and the templates that are not at hand are fetched, then the item is rebuilt on them.

#include "download/ZALVelmartFileDownloadCompleteNotification.h"
#include "download/ZALVelmartFileDownloader.h"
#include "host/dialogs.h"
#include "host/frame.h"
#include "host/settings.h"
#include "host/system.h"
#include "templates/ZALVliApplyTemplatesOpe.h"
#include "traces/ZALVelmartIntegrationDebug.h"
#include "utilities/JsonMembers.h"

#include <new>

using namespace ZALVliTemplateSupportUtilities;
using Notification = ZALVelmartFileDownloadCompleteNotification;

namespace {

// Keys of the items that are fetched.
const char* const ItemKey = "VLFiles";
const char* const PartTemplateKey = "PartTemplate";
const char* const ProductTemplateKey = "ProductTemplate";

/// The folder of fetched templates, made when it is missing.
ZALUnicodeString TemplateFolder(const ZALUnicodeString& temporaryFolder)
{
    ZALUnicodeString folder = temporaryFolder;
    ZALMakePath(folder, "VelmartTemplates");
    ZALCreateDirectory(folder);
    return folder;
}

} // namespace

HRESULT ZALVelmartFileDownloader::StartDownloadAndApplyTemplates(const ZALOmxAny& request,
                                                                 const ZALUnicodeString& folder)
try {
    TemplateRoute route;
    route.Folder = folder;
    ZALUnicodeString fileName;
    MemberOf(MemberOf(request, "attributes"), "fileName").GetString(fileName);
    route.RootFileName = SanitizeQ7FileName(fileName);

    unsigned char found = 0;
    ZALUnicodeString existingPath;
    CheckIfQ7FileExists(folder, route.RootFileName, found, existingPath);
    if (found) {
        TellReuse(existingPath);
        return S_OK;
    }

    ZALUnicodeString url;
    if (FAILED(GetDownloadURL(request, url)))
        return E_FAIL;

    FullDownload = ZALInterfaceHandle<ZALVLIFullDownload>::Take(new ZALVLIFullDownload(ItemsToFetch(route, url)));

    FullDownload->Start(
        [downloader = ZALBaseUnknown_WR(this), route](ZALVLIFullDownload::Status status,
                                                      const std::vector<ZALVLIFullDownload::DownloadResult>& results) {
            if (const auto held = Held(downloader))
                held->OnTemplateDownloadComplete(route, status, results);
        });
    return S_OK;
} catch (const std::bad_alloc&) {
    NotifyDownloadError("");
    return S_OK;
}

void ZALVelmartFileDownloader::TellReuse(const ZALUnicodeString& path)
{
    VL_TRACE("ZALVelmartFileDownloader::StartDownloadAndApplyTemplates - File with same name has been found and "
             "will be reused: "
             << path);
    ZALListValZALUnicodeString files;
    files.Append(path);
    ZALListValZALUnicodeString warnings;
    warnings.Append(ZALMsgCatalog::BuildMessage("ZALVelmartFileDownloader", "WarnFileSameNameReused", nullptr, 0,
                                                ZALUnicodeString()));
    Tell(Notification(files, Notification::DownloadSucceeded, warnings));
}

std::vector<ZALVLIFullDownload::DownloadItem> ZALVelmartFileDownloader::ItemsToFetch(TemplateRoute& route,
                                                                                     const ZALUnicodeString& url) const
{
    ZALUnicodeString partURL;
    ZALUnicodeString productURL;
    PreferredSaveMethod announced = SaveMethodNone; // without effect on this route
    GetTemplatesURL(TemplatesURLs, partURL, productURL, announced);

    GetStoredTemplatePathes(route.PartTemplate, route.ProductTemplate);

    const ZALUnicodeString temporaryFolder = ZALGetOfficialVariable("ZALTemp");
    const ZALUnicodeString templateFolder = TemplateFolder(temporaryFolder);

    std::vector<ZALVLIFullDownload::DownloadItem> items;
    items.push_back({temporaryFolder, url, ItemKey});
    if (route.PartTemplate.GetLengthInChar() == 0 && partURL.GetLengthInChar() > 0)
        items.push_back({templateFolder, partURL, PartTemplateKey});
    if (route.ProductTemplate.GetLengthInChar() == 0 && productURL.GetLengthInChar() > 0)
        items.push_back({templateFolder, productURL, ProductTemplateKey});
    return items;
}

void ZALVelmartFileDownloader::OnTemplateDownloadComplete(
    const TemplateRoute& route, ZALVLIFullDownload::Status status,
    const std::vector<ZALVLIFullDownload::DownloadResult>& results)
try {
    // And on with what there is, so that a second notification follows: the item may be whole without its templates.
    if (status != Notification::DownloadSucceeded)
        NotifyDownloadError("");

    ZALUnicodeString partTemplate = route.PartTemplate;
    ZALUnicodeString productTemplate = route.ProductTemplate;
    ZALListValZALUnicodeString sources;
    for (const ZALVLIFullDownload::DownloadResult& result : results) {
        if (result.Key.Test(ItemKey))
            for (const ZALUnicodeString& path : result.Pathes)
                sources.Append(path);
        else if (result.Key.Test(PartTemplateKey) && result.Pathes.size() == 1)
            partTemplate = result.Pathes.front();
        else if (result.Key.Test(ProductTemplateKey) && result.Pathes.size() == 1)
            productTemplate = result.Pathes.front();
    }

    StoreTemplatePathes(partTemplate, productTemplate);

    if (ZALApplicationFrame* frame = ZALApplicationFrame::GetFrame())
        frame->SetBusyCursor();

    // The save method stays the operation's own, whatever the page has announced.
    ZALVliApplyTemplatesOpe operation;
    operation.SetTemplatesPathes(partTemplate, productTemplate);
    operation.SetDestinationPath(route.Folder, route.RootFileName);
    operation.SetSourceFilesPathes(sources);
    const HRESULT result = operation.Run();
    operation.DeleteSourcesFiles();

    if (FAILED(result)) {
        NotifyDownloadError(operation.GetErrorMessage());
        return;
    }

    Tell(
        Notification(operation.GetResultFilePathes(), Notification::DownloadSucceeded, operation.GetWarningMessages()));
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

    // One that cannot start ends in silence, as it does when the page starts it.
    StartDownloadAndApplyTemplates(DownloadRequest, folder);
} catch (const std::bad_alloc&) {
    NotifyLackOfMemory();
}
