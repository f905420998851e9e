// Turns the transfer of one file into a file in the temporary folder.
#pragma once

#include "host/files.h"
#include "host/http.h"

/// Receives one transfer on the user-interface thread. Its owner is held weakly: when it is gone the file is
/// still finished, and nobody is called.
class ZALVelmartDownloadDataHandler : public ZALCefHttpDataHandler {
public:
    /// Takes the path of the temporary file, which is empty when no data came, or when memory had no room for some of
    /// it and the file would have a gap.
    using CompleteMethod = void (ZALBaseUnknown::*)(const ZALUnicodeString& path);
    /// Takes a percentage.
    using ProgressMethod = void (ZALBaseUnknown::*)(std::int32_t percent);

    /// Size of the write buffer in bytes.
    static constexpr std::size_t BufferSize = 1048576;

    /// `complete` is a method of `owner` and may be null.
    ZALVelmartDownloadDataHandler(ZALBaseUnknown* owner, CompleteMethod complete);
    ~ZALVelmartDownloadDataHandler() override;

    void OnHeaders(ZALCefHttpRequest* request, const ZALCefHttpHeaderMap& headers) override;
    void OnData(ZALCefHttpRequest* request, const void* bytes, std::size_t size) override;
    void OnProgress(ZALCefHttpRequest* request, std::uint64_t current, std::uint64_t total) override;
    void OnComplete(ZALCefHttpRequest* request) override;

    /// `progress` is a method of the owner. It is called when the percentage has grown by more than 10.
    void SetProgressCallback(ProgressMethod progress) { ProgressCallback = progress; }

private:
    void OpenFile(ZALCefHttpRequest* request);
    void FinishFile();
    void WriteBuffer();
    void Write(const char* bytes, std::size_t size);

    ZALFileHandle File = 0;
    ZALUnicodeString FilePath;
    std::vector<char> Buffer;
    std::int32_t LastPercent = 0;
    ZALUnicodeString ContentType;
    ZALUnicodeString FileName;
    ZALBaseUnknown_WR Owner;
    CompleteMethod CompleteCallback;
    ProgressMethod ProgressCallback = nullptr;
    bool HasGap = false; ///< whether bytes are lost; nothing is written after them
};
