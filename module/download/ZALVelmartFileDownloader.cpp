// The singleton, the choice of route, and the folder.

#include "download/ZALVelmartFileDownloader.h"

#include "dialogs/ZALVelmartDownloadLocationDlg.h"
#include "dialogs/ZALVelmartDownloadProgressDlg.h"
#include "download/ZALVelmartFileDownloadCompleteNotification.h"
#include "events/ZALVelmartIntegrationEventPublisher.h"
#include "host/frame.h"
#include "host/settings.h"
#include "host/system.h"
#include "traces/ZALVelmartIntegrationDebug.h"
#include "utilities/JsonMembers.h"

#include <cstdlib>
#include <mutex>
#include <new>
#include <utility>

VL_DEFINE_META_CLASS(ZALVelmartFileDownloader, ZALCommand)

bool ZALVelmartFileDownloader::TemplateSupportEnabled = false;

using Notification = ZALVelmartFileDownloadCompleteNotification;

namespace {

/// The settings object, or null.
ZALInterfaceHandle<ZALIVelmartIntegrationSettingAtt> CreateSettings()
{
    ZALIVelmartIntegrationSettingAtt* settings = nullptr;
    if (FAILED(CreateZALIVelmartIntegrationSettingAtt(&settings)))
        return {};
    return ZALInterfaceHandle<ZALIVelmartIntegrationSettingAtt>::Take(settings);
}

} // namespace

// ---------------------------------------------------------------------------------------------
// Life

ZALVelmartFileDownloader::ZALVelmartFileDownloader() : ZALCommand("ZALVelmartFileDownloader", ZALCommandModeUndefined)
{
}

ZALVelmartFileDownloader::~ZALVelmartFileDownloader()
{
    HttpRequest = {};
    DataHandler = {};
    // The dialog belongs to the host and is not ended here.
    ProgressDlg = {};
    FullDownload = {};
}

ZALVelmartFileDownloader* ZALVelmartFileDownloader::GetInstance()
try {
    static ZALVelmartFileDownloader* const instance = [] {
        auto* created = new ZALVelmartFileDownloader;
        std::atexit([] { GetInstance()->Release(); });
        return created;
    }();
    return instance;
} catch (const std::bad_alloc&) {
    return nullptr;
}

// ---------------------------------------------------------------------------------------------
// Choice of the route

HRESULT ZALVelmartFileDownloader::StartDownload(const ZALOmxAny& request)
try {
    DownloadRequest = request;

    const ZALOmxAny attributes = MemberOf(DownloadRequest, "attributes");
    ZALUnicodeString behaviour;
    const bool openInSource =
        SUCCEEDED(MemberOf(MemberOf(attributes, "catalog"), "configOpeningBehaviour").GetString(behaviour)) &&
        behaviour.Compare("openInSource") != ZALTextsDiffer;
    if (!openInSource) {
        if (ZALVelmartIntegrationEventPublisher::HasJSMessageListeners())
            return StartDownloadFromTolva(DownloadRequest);
        return StartDefaultDownload(DownloadRequest);
    }

    ZALUnicodeString sourceUrl;
    if (FAILED(MemberOf(attributes, "sourceUrl").GetString(sourceUrl))) {
        VL_TRACE("ZALVelmartFileDownloader::StartDownload - OpenInSource - ERROR - unable to retrieve infos");
        return E_FAIL;
    }

    VL_TRACE("ZALVelmartFileDownloader::StartDownload - OpenInSource with sourceUrl: " << sourceUrl);
    ZALUnicodeString scheme;
    const int colon = sourceUrl.SearchSubString(":");
    if (colon > 0)
        scheme = sourceUrl.GetSubString(0, colon);
    // Identical, on purpose: a scheme in capitals is refused.
    if (scheme.Compare("file") != ZALTextsIdentical) {
        VL_TRACE("ZALVelmartFileDownloader::StartDownload - OpenInSource - ERROR - bad file url");
        return E_FAIL;
    }

    const ZALUnicodeString path = ConvertFileURLToPath(sourceUrl);
    VL_TRACE("ZALVelmartFileDownloader::StartDownload - OpenInSource path: " << path);

    ZALListValZALUnicodeString files;
    files.Append(path);
    Tell(Notification(files, Notification::DownloadSucceeded));
    return S_OK;
} catch (const std::bad_alloc&) {
    return E_FAIL;
}

HRESULT ZALVelmartFileDownloader::SetTemplatesURLs(const ZALOmxAny& urls)
try {
    TemplatesURLs = urls;
    return S_OK;
} catch (const std::bad_alloc&) {
    return S_OK;
}

void ZALVelmartFileDownloader::SettleTemplateSupport()
{
    // Whether a variable exists counts, not its value.
    ZALUnicodeString value;
    TemplateSupportEnabled = SUCCEEDED(ZALGetEnv("ZAL_VELMART_UNICITY_AND_TEMPLATE_SUPPORT", value)) ||
                             SUCCEEDED(ZALGetEnv("ZAL_VELMART_UNICITY_AND_TEMPLATE_SUPPORT_SWATCH_ONLY", value));
}

HRESULT ZALVelmartFileDownloader::StartDefaultDownload(const ZALOmxAny& request)
{
    static std::once_flag settled;
    std::call_once(settled, SettleTemplateSupport);

    if (TemplateSupportEnabled) {
        ZALUnicodeString folder;
        GetValidDestinationFolderInSettings(folder);
        if (folder.GetLengthInChar() > 0)
            return StartDownloadAndApplyTemplates(request, folder);
        AskForFolder(&ZALVelmartFileDownloader::OnDownloadLocationForTemplateDlgOK);
        return S_OK;
    }

    ZALUnicodeString url;
    if (FAILED(GetDownloadURL(request, url)))
        return E_FAIL;
    return StartDefaultDownloadURL(url);
}

HRESULT GetDownloadURL(const ZALOmxAny& request, ZALUnicodeString& url)
{
    const ZALOmxAny downloadUrls = MemberOf(MemberOf(request, "attributes"), "downloadUrls");
    if (SUCCEEDED(MemberOf(downloadUrls, "ZALOR_RAW").GetString(url)))
        return S_OK;
    if (SUCCEEDED(MemberOf(request, "downloadUrl").GetString(url)))
        return S_OK;
    return MemberOf(request, "download").GetString(url);
}

ZALUnicodeString ConvertFileURLToPath(const ZALUnicodeString& url)
{
    char16_t path[4096] = {};
    std::uint32_t size = 4096;
    PathCreateFromUrlW(url.CastToUTF16Ptr(), path, &size, 0);
    return path;
}

// ---------------------------------------------------------------------------------------------
// Choice of the folder

HRESULT ZALVelmartFileDownloader::GetValidDestinationFolderInSettings(ZALUnicodeString& folder)
{
    const auto settings = CreateSettings();
    if (!settings)
        return S_FALSE;

    bool doNotRemind = false;
    ZALUnicodeString location;
    settings->GetDoNotRemindDownloadLocation(doNotRemind);
    settings->GetDownloadLocation(location);

    ZALFileStatus status;
    if (location.GetLengthInChar() > 0 && doNotRemind && SUCCEEDED(ZALFileStat(location, status, 0)) &&
        (status.Mode & ZALFileTypeMask) == ZALFileTypeDirectory) {
        folder = location;
        return S_OK;
    }
    return S_FALSE;
}

void ZALVelmartFileDownloader::DisplayDestinationFolderChooserDlg()
{
    AskForFolder(&ZALVelmartFileDownloader::OnDownloadLocationDlgOK);
}

void ZALVelmartFileDownloader::AskForFolder(void (ZALVelmartFileDownloader::*onOK)(ZALBaseUnknown*, ZALNotification*,
                                                                                   void*))
{
    ZALVelmartDownloadLocationDlg* dialog = ZALVelmartDownloadLocationDlg::Create();
    if (!dialog) {
        // With a place to stand in, memory alone can be what is missing.
        ZALApplicationFrame* frame = ZALApplicationFrame::GetFrame();
        if (frame && frame->GetApplicationDocument())
            throw std::bad_alloc();
        return;
    }

    try {
        AddCallback(dialog, ZALVelmartDownloadLocationDlg::OKNotif::ClassName(), onOK, nullptr);
        AddCallback(dialog, ZALVelmartDownloadLocationDlg::CANCELNotif::ClassName(),
                    &ZALVelmartFileDownloader::OnDownloadLocationDlgCANCEL, nullptr);
    } catch (const std::bad_alloc&) {
        // A question whose answer nobody would hear.
        RemoveSubscriberCallbacks(dialog);
        dialog->RequestDelayedDestruction();
        throw;
    }
}

void ZALVelmartFileDownloader::OnDownloadLocationDlgOK(ZALBaseUnknown*, ZALNotification*, void*)
try {
    ZALUnicodeString folder;
    {
        const auto settings = CreateSettings();
        if (!settings) {
            EndDownload(Notification(Notification::DownloadFailed));
            return;
        }
        // Whatever the dialog has stored is used, valid or not.
        settings->GetDownloadLocation(folder);
    }

    if (ZALApplicationFrame* frame = ZALApplicationFrame::GetFrame())
        frame->SetBusyCursor();

    FinishExtraction(ZALUnicodeString(DownloadedFilePath), folder);
} catch (const std::bad_alloc&) {
    EndDownload(Notification(Notification::DownloadFailed));
}

void ZALVelmartFileDownloader::OnDownloadLocationDlgCANCEL(ZALBaseUnknown*, ZALNotification*, void*)
{
    EndDownload(Notification(Notification::DownloadCanceled));
}

// ---------------------------------------------------------------------------------------------
// The end

void ZALVelmartFileDownloader::Tell(ZALVelmartFileDownloadCompleteNotification&& notification)
{
    DispatchCallbacks(this, &notification);
}

void ZALVelmartFileDownloader::EndDownload(ZALVelmartFileDownloadCompleteNotification&& notification)
try {
    Tell(std::move(notification));
} catch (const std::bad_alloc&) {
    // Who has been told is not known here, and nobody is to be told twice.
}
