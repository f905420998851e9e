// An addin in a scripted host.
#pragma once

#include "tests/support/HostFixture.h"
#include "tests/support/Listener.h"
#include "tests/support/Lists.h"
#include "tests/support/Objects.h"

#include "VelmartBuildValues.h"
#include "download/ZALVelmartFileDownloadCompleteNotification.h"
#include "download/ZALVelmartFileDownloader.h"
#include "host/frame.h"
#include "openhost/commands/DialogEngine.h"
#include "openhost/journal/Journal.h"
#include "openhost/text/Utf.h"
#include "panel/ZALVelmartMeridiaAccessAddin.h"

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

/// Reads what the downloader keeps to itself.
class ZALVelmartFileDownloaderProbe {
public:
    static const ZALOmxAny& Templates() { return ZALVelmartFileDownloader::GetInstance()->TemplatesURLs; }
};

namespace openhost::testing {

using Complete = ZALVelmartFileDownloadCompleteNotification;

inline constexpr const char* CompleteClass = "ZALVelmartFileDownloadCompleteNotification";
inline constexpr const char* StatusClass = "ZALVelmartMeridiaAccessAddin::OpApiStatusChangeNotif";

/// A page of the catalogue, and one of another of its deployments.
inline const std::string CataloguePage = std::string("https://") + VelmartProductionHost + "/";
inline const std::string OtherDeploymentsPage = std::string("https://eu1") + VelmartOtherHostsFragment + "example/";
/// A page that is none of the catalogue's.
inline constexpr const char* PageElsewhere = "https://elsewhere.example/";

/// A message of the page with the content `content`, a JSON text.
inline std::string Message(const std::string& event, const std::string& content = "{}")
{
    return R"({"event":")" + event + R"(","content":)" + content + "}";
}

/// A request that the downloader answers at once with the local file `path`, without a transfer.
inline std::string LocalFile(const std::string& path)
{
    return R"({"attributes":{"catalog":{"configOpeningBehaviour":"openInSource"},"sourceUrl":"file://)" + path +
           R"("}})";
}

/// A request whose transfer runs until the test ends it.
inline constexpr const char* RemoteFile = R"({"downloadUrl":"http://127.0.0.1/item.zip"})";

/// The end of a download of "/parts/a.ZALPart".
inline Complete Downloaded(const std::vector<std::string>& warnings = {},
                           Complete::Status status = Complete::DownloadSucceeded)
{
    return Complete(List({"/parts/a.ZALPart"}), status, List(warnings));
}

/// How often somebody is subscribed to the change of the workbench.
inline std::size_t LayoutSubscriptions()
{
    return SubscribersOf(ZALFrmLayout::GetCurrentLayout(), ZALWorkbenchChanged::ClassName()).size();
}

class PanelFixture : public HostFixture {
protected:
    PanelFixture() : addin_(new ZALVelmartMeridiaAccessAddin)
    {
        journal::Redirect([this](const nlohmann::ordered_json& line) {
            if (line.contains("header"))
                headerCalls_.push_back(line["mask"].dump() + "=" + line["state"].dump());
        });
    }
    ~PanelFixture() override
    {
        ReleaseAddin();
        // The downloader lives longer than the test: no transfer may stay with it.
        for (std::size_t number = 0; number < Transport().Count(); ++number)
            Transport().At(number).End(TransferEnd::Failed);
        journal::Redirect({});
    }

    ZALVelmartMeridiaAccessAddin& Addin() { return *addin_; }
    void ReleaseAddin()
    {
        if (addin_)
            std::exchange(addin_, nullptr)->Release();
    }
    HRESULT Send(const std::string& message) { return addin_->OnJSMessage(message.c_str()); }

    ZALVelmartFileDownloader& Downloader() { return *ZALVelmartFileDownloader::GetInstance(); }
    /// How often the addin is subscribed to the end of a download.
    std::size_t Waiting() { return SubscribersOf(&Downloader(), CompleteClass).size(); }
    void EndDownload(Complete notification) { DispatchCallbacks(&Downloader(), &notification); }
    /// Ends the transfer of the last request too, so that another one can begin.
    void EndTransfer()
    {
        Transport().Last().End(TransferEnd::Failed);
        Loop().RunUntilIdle();
    }

    std::string UploadUrl()
    {
        ZALUnicodeString url;
        Addin().GetSearchByUploadUrl(url);
        return ToUtf8(url);
    }
    bool FindSimilarIsAvailable() { return IsHeaderAvailable(FindSimilarHeader, 1 | 8 | 16); }
    /// Makes Find Similar available or not by hand, and forgets that.
    void SetHeader(int state)
    {
        ZALCommandHeader* header = ZALCommandHeader::GetHeaderFromList(FindSimilarHeader, 0);
        for (const int mode : {ZALHeaderInGlobalMode, ZALHeaderInLocalMode, ZALHeaderInContextMode})
            header->SetAvailability(mode, state);
        HeaderCalls().clear();
    }
    /// Calls of SetAvailability, as "mask=state".
    Texts& HeaderCalls() { return headerCalls_; }

    Texts QuestionTexts()
    {
        Texts texts;
        for (const ScriptedSurface::Question& question : Surface().Questions())
            texts.push_back(question.text);
        return texts;
    }
    /// Installs a message catalog of the addin with `lines`.
    void InstallCatalog(const std::string& lines)
    {
        const std::filesystem::path folder = Folder() / "installation" / "resources" / "msgcatalog";
        std::filesystem::create_directories(folder);
        std::ofstream(folder / "ZALVelmartMeridiaAccessAddinActionCmd.ZALNls") << lines;
    }

private:
    ZALVelmartMeridiaAccessAddin* addin_;
    Texts headerCalls_;
};

} // namespace openhost::testing
