#include "download/ZALVelmartFileDownloadCompleteNotification.h"

#include <new>

VL_DEFINE_META_CLASS(ZALVelmartFileDownloadCompleteNotification, ZALNotification)

using Notification = ZALVelmartFileDownloadCompleteNotification;

template <class Copy>
void Notification::FillOrFail(Copy copy)
try {
    copy();
} catch (const std::bad_alloc&) {
    _DownloadedFiles.RemoveAll();
    _Status = DownloadFailed;
    _DocEnvId = {};
    _ErrorMessage = {};
    _Warnings.RemoveAll();
}

Notification::ZALVelmartFileDownloadCompleteNotification(const ZALListValZALUnicodeString& files,
                                                         const ZALUnicodeString& docEnvId, Status status)
    : ZALNotification(0), _Status(status)
{
    FillOrFail([&] {
        _DownloadedFiles = files;
        _DocEnvId = docEnvId;
    });
}

Notification::ZALVelmartFileDownloadCompleteNotification(const ZALListValZALUnicodeString& files, Status status,
                                                         const ZALListValZALUnicodeString& warnings)
    : ZALNotification(0), _Status(status)
{
    FillOrFail([&] {
        _DownloadedFiles = files;
        _DocEnvId = "File";
        _Warnings = warnings;
    });
}

Notification::ZALVelmartFileDownloadCompleteNotification(const ZALListValZALUnicodeString& files, Status status)
    : ZALNotification(0), _Status(status)
{
    FillOrFail([&] {
        _DownloadedFiles = files;
        _DocEnvId = "File";
    });
}

Notification::ZALVelmartFileDownloadCompleteNotification(Status status) : ZALNotification(0), _Status(status) {}

Notification::ZALVelmartFileDownloadCompleteNotification(Status status, const ZALUnicodeString& errorMessage)
    : ZALNotification(0), _Status(status)
{
    FillOrFail([&] { _ErrorMessage = errorMessage; });
}

Notification::ZALVelmartFileDownloadCompleteNotification(const ZALVelmartFileDownloadCompleteNotification& other)
    : ZALNotification(0), _Status(other._Status)
{
    *this = other;
}

Notification& Notification::operator=(const ZALVelmartFileDownloadCompleteNotification& other)
{
    FillOrFail([&] {
        _DownloadedFiles = other._DownloadedFiles;
        _Status = other._Status;
        _DocEnvId = other._DocEnvId;
        _ErrorMessage = other._ErrorMessage;
        _Warnings = other._Warnings;
    });
    return *this;
}

Notification::~ZALVelmartFileDownloadCompleteNotification() = default;

ZALUnicodeString Notification::GetConcatenedWarningsMessageNLS() const
try {
    ZALUnicodeString text;
    for (int index = 1; index <= _Warnings.Size(); ++index) {
        if (index > 1)
            text += "\n";
        text += _Warnings[index];
    }
    return text;
} catch (const std::bad_alloc&) {
    return {};
}
