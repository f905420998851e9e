// What tests of the download engine share.
#pragma once

#include "download/ZALVelmartFileDownloadCompleteNotification.h"
#include "tests/download/ZALVelmartFileDownloaderProbe.h"
#include "tests/support/Files.h"
#include "tests/support/HostFixture.h"
#include "tests/support/Lists.h"
#include "tests/support/ZipBytes.h"

#include <filesystem>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

namespace openhost::testing {

using Notification = ZALVelmartFileDownloadCompleteNotification;

/// A value from its JSON text.
ZALOmxAny Json(const std::string& text);

/// A text of a table of cases. Tests are listed by what their parameter prints.
struct NamedText {
    const char* name;
    std::string text;

    friend std::ostream& operator<<(std::ostream& stream, const NamedText& named) { return stream << named.name; }
};

/// What a receiver was told.
struct Completion {
    Notification::Status status;
    std::vector<std::string> files;
    std::string environment;
    std::string error;
    std::vector<std::string> warnings;

    friend bool operator==(const Completion&, const Completion&) = default;
};

/// For the messages of failed comparisons.
void PrintTo(const Completion& completion, std::ostream* stream);

/// A completion as failures and cancels have it: a status and nothing else.
inline Completion Bare(Notification::Status status)
{
    return {status, {}, "", "", {}};
}
/// The completion of an extraction, by full paths.
inline Completion WithFiles(Notification::Status status, const std::vector<std::string>& files)
{
    return {status, files, "File", "", {}};
}

inline Completion Failed()
{
    return Bare(Notification::DownloadFailed);
}
inline Completion Cancelled()
{
    return Bare(Notification::DownloadCanceled);
}

/// All that a notification holds.
Completion Fields(const Notification& notification);

/// The headers of a file as it is, which the server gives the name `name`.
inline HttpHeaders FileNamed(const std::string& name)
{
    return {{"content-type", "application/octet-stream"}, {"content-disposition", "attachment; filename=" + name}};
}

/// Subscribes to completions and keeps them.
class CompletionReceiver : public ZALEventSubscriber {
public:
    explicit CompletionReceiver(ZALBaseUnknown* publisher);
    void OnComplete(ZALBaseUnknown* publisher, ZALNotification* notification, void* data);

    std::vector<Completion> Received;
    std::function<void()> OnReceipt; ///< called after each completion
};

/// Counts completions, and needs no memory for that.
class CompletionCounter : public ZALEventSubscriber {
public:
    explicit CompletionCounter(ZALBaseUnknown* publisher);
    void OnComplete(ZALBaseUnknown* publisher, ZALNotification* notification, void* data);

    int Succeeded = 0;
    int Failed = 0;
    int Files = 0; ///< of the last one that succeeded
};

/// A downloader of its own with a receiver, on the plain route unless a test says otherwise.
class DownloadFixture : public HostFixture {
protected:
    static constexpr const char* Url = "https://velmart.example/item.zip";
    static constexpr const char* ProgressWindow = "ZALVelmartDownloadProgressDlg";

    DownloadFixture();
    ~DownloadFixture() override;

    ZALVelmartFileDownloader& Downloader() { return Probe.Downloader(); }
    HRESULT Start(const std::string& request) { return Downloader().StartDownload(Json(request)); }
    /// Starts a transfer of Url.
    ScriptedTransport::Script& StartTransfer();
    /// Runs a whole transfer of Url that ends well.
    void Transfer(const std::string& body, int code = 200, const HttpHeaders& headers = {});

    /// Lets the service answer requests to `url` with a file as it is, an archive, or no reply at all.
    void ServeFile(const std::string& url, const std::string& fileName, const std::string& content = "content");
    void ServeArchive(const std::string& url, const ZipBytes& archive);
    void ServeEnd(const std::string& url, TransferEnd end = TransferEnd::Failed);
    /// The addresses that were asked for, in order.
    std::vector<std::string> Requested();
    ZALDlgProgress* Bar() { return dynamic_cast<ZALDlgProgress*>(Surface().Find(ProgressWindow, "VLProgressBar")); }

    /// The temporary file of a reply without headers.
    std::filesystem::path TemporaryFile() const { return Temp() / "VelmartDownloadedQ7Files.zip"; }
    /// Writes the archive as a transfer would have left it, and gives its path.
    ZALUnicodeString Archive(const ZipBytes& archive) const;
    ZALUnicodeString PartsFolder() const { return ZALUnicodeString(Parts().c_str()); }
    /// The full path that the module makes of an archive entry, given with "\".
    std::string InParts(const std::string& entry) const { return Parts().string() + "/" + entry; }
    /// The completion of a download of `entries` into the user's folder.
    Completion Succeeded(const std::vector<std::string>& entries, const std::vector<std::string>& warnings = {}) const;

    ZALVelmartFileDownloaderProbe Probe;
    CompletionReceiver Receiver{&Probe.Downloader()};
};

} // namespace openhost::testing
