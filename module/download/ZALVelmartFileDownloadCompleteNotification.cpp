#include "download/ZALVelmartFileDownloadCompleteNotification.h"

VL_DEFINE_META_CLASS(ZALVelmartFileDownloadCompleteNotification, ZALNotification)

using Notification = ZALVelmartFileDownloadCompleteNotification;

Notification::ZALVelmartFileDownloadCompleteNotification(const ZALListValZALUnicodeString& files,
                                                         const ZALUnicodeString& docEnvId, Status status)
    : ZALNotification(0), _DownloadedFiles(files), _Status(status), _DocEnvId(docEnvId)
{
}

Notification::ZALVelmartFileDownloadCompleteNotification(const ZALListValZALUnicodeString& files, Status status,
                                                         const ZALListValZALUnicodeString& warnings)
    : ZALNotification(0), _DownloadedFiles(files), _Status(status), _DocEnvId("File"), _Warnings(warnings)
{
}

Notification::ZALVelmartFileDownloadCompleteNotification(const ZALListValZALUnicodeString& files, Status status)
    : ZALNotification(0), _DownloadedFiles(files), _Status(status), _DocEnvId("File")
{
}

Notification::ZALVelmartFileDownloadCompleteNotification(Status status) : ZALNotification(0), _Status(status) {}

Notification::ZALVelmartFileDownloadCompleteNotification(Status status, const ZALUnicodeString& errorMessage)
    : ZALNotification(0), _Status(status), _ErrorMessage(errorMessage)
{
}

Notification::ZALVelmartFileDownloadCompleteNotification(const ZALVelmartFileDownloadCompleteNotification& other)
    : ZALNotification(0), _DownloadedFiles(other._DownloadedFiles), _Status(other._Status), _DocEnvId(other._DocEnvId),
      _ErrorMessage(other._ErrorMessage), _Warnings(other._Warnings)
{
}

Notification& Notification::operator=(const ZALVelmartFileDownloadCompleteNotification& other)
{
    _DownloadedFiles = other._DownloadedFiles;
    _Status = other._Status;
    _DocEnvId = other._DocEnvId;
    _ErrorMessage = other._ErrorMessage;
    _Warnings = other._Warnings;
    return *this;
}

Notification::~ZALVelmartFileDownloadCompleteNotification() = default;

ZALUnicodeString Notification::GetConcatenedWarningsMessageNLS() const
{
    ZALUnicodeString text;
    for (int index = 1; index <= _Warnings.Size(); ++index) {
        if (index > 1)
            text += "\n";
        text += _Warnings[index];
    }
    return text;
}
