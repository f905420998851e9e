// How a download ended.
#pragma once

#include "host/text.h"
#include "objects/MetaClassOperations.h"

/// Dispatched by the downloader on itself, from its own stack, once a download has ended on whatever route.
/// Receivers copy what they need: the object ends with the dispatch. One that memory has no room for tells a failed
/// download, and nothing else.
class ZALVelmartFileDownloadCompleteNotification : public ZALNotification {
    VL_DECLARE_META_CLASS
public:
    enum Status : std::int32_t {
        DownloadSucceeded = 1, ///< the files are there
        DownloadFailed = 2,    ///< download or extraction failed; the list may hold what was extracted
        DownloadCanceled = 3,  ///< the user cancelled the transfer or the location dialog
    };

    ZALVelmartFileDownloadCompleteNotification(const ZALListValZALUnicodeString& files,
                                               const ZALUnicodeString& docEnvId, Status status);
    /// The document environment is "File" here and in the next one.
    ZALVelmartFileDownloadCompleteNotification(const ZALListValZALUnicodeString& files, Status status,
                                               const ZALListValZALUnicodeString& warnings);
    ZALVelmartFileDownloadCompleteNotification(const ZALListValZALUnicodeString& files, Status status);
    /// The document environment is empty here and in the next one.
    explicit ZALVelmartFileDownloadCompleteNotification(Status status);
    ZALVelmartFileDownloadCompleteNotification(Status status, const ZALUnicodeString& errorMessage);
    ZALVelmartFileDownloadCompleteNotification(const ZALVelmartFileDownloadCompleteNotification& other);
    ZALVelmartFileDownloadCompleteNotification& operator=(const ZALVelmartFileDownloadCompleteNotification& other);
    ~ZALVelmartFileDownloadCompleteNotification() override;

    Status GetStatus() const { return _Status; }
    /// Full paths; the root document comes first when the list came from an archive with products.
    const ZALListValZALUnicodeString& GetDownloadedFilesPathes() const { return _DownloadedFiles; }
    /// The environment in which the receiver opens the files: "File", or what the bridge named.
    const ZALUnicodeString& GetDocEnvId() const { return _DocEnvId; }
    /// A text for the user; empty unless the route has one of its own.
    const ZALUnicodeString& GetErrorMessageNLS() const { return _ErrorMessage; }
    /// Remarks for the user, one per entry.
    const ZALListValZALUnicodeString& GetWarningsMessageNLS() const { return _Warnings; }
    /// The warnings in their order, a line feed between two of them.
    ZALUnicodeString GetConcatenedWarningsMessageNLS() const;

private:
    template <class Copy>
    void FillOrFail(Copy copy);

    ZALListValZALUnicodeString _DownloadedFiles;
    Status _Status;
    ZALUnicodeString _DocEnvId;
    ZALUnicodeString _ErrorMessage;
    ZALListValZALUnicodeString _Warnings;
};
