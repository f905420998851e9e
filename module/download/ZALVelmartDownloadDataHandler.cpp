#include "download/ZALVelmartDownloadDataHandler.h"

#include "host/system.h"

#include <algorithm>
#include <limits>

ZALVelmartDownloadDataHandler::ZALVelmartDownloadDataHandler(ZALBaseUnknown* owner, CompleteMethod complete)
    : Owner(owner), CompleteCallback(complete)
{
}

ZALVelmartDownloadDataHandler::~ZALVelmartDownloadDataHandler() = default;

void ZALVelmartDownloadDataHandler::OnHeaders(ZALCefHttpRequest*, const ZALCefHttpHeaderMap& headers)
{
    ZALHttpRawHeaderMap map;
    headers.GetRawMap(map);

    for (const auto& [name, value] : map) {
        if (name.Compare("content-type") != ZALTextsDiffer) {
            ContentType = value;
            break;
        }
    }

    for (const auto& [name, value] : map) {
        if (name.Compare("content-disposition") == ZALTextsDiffer)
            continue;
        ZALToken parameters(value);
        ZALUnicodeString token = parameters.GetNextToken(";");
        token.Strip(ZALStripBoth, u' ');
        if (token.Compare("attachment") == ZALTextsDiffer)
            break;
        while (token.GetLengthInChar() > 0) {
            const ZALUnicodeString key = "filename=";
            // Position 0 only: the extended form `filename*=` is not recognised.
            if (token.SearchSubString(key) == 0) {
                FileName = token.GetSubString(key.GetLengthInChar(), token.GetLengthInChar());
                FileName.Strip(ZALStripBoth, u'"');
                break;
            }
            token = parameters.GetNextToken(";");
            token.Strip(ZALStripBoth, u' ');
        }
        break;
    }
}

void ZALVelmartDownloadDataHandler::OnData(ZALCefHttpRequest* request, const void* bytes, std::size_t size)
{
    if (!bytes || size == 0)
        return;

    if (File == 0)
        OpenFile(request);

    if (Buffer.capacity() < BufferSize)
        Buffer.reserve(BufferSize);

    const char* begin = static_cast<const char*>(bytes);
    Buffer.insert(Buffer.end(), begin, begin + size);

    // Without a file the bytes stay in memory; the next chunk tries to open it again.
    if (Buffer.size() >= BufferSize && File != 0)
        WriteBuffer();
}

void ZALVelmartDownloadDataHandler::OnProgress(ZALCefHttpRequest*, std::uint64_t current, std::uint64_t total)
{
    if (total == 0)
        return;

    const double share = static_cast<double>(current) / static_cast<double>(total) * 100;
    const auto percent = static_cast<std::int32_t>(std::min(share, double{std::numeric_limits<std::int32_t>::max()}));
    if (percent - LastPercent <= 10)
        return;

    LastPercent = percent;
    if (!ProgressCallback)
        return;
    if (ZALBaseUnknown* owner = Owner.GetComponent()) {
        (owner->*ProgressCallback)(percent);
        owner->Release();
    }
}

void ZALVelmartDownloadDataHandler::OnComplete(ZALCefHttpRequest*)
{
    if (File != 0) {
        if (!Buffer.empty())
            WriteBuffer();
        ZALFClose(File);
        File = 0;
    }

    if (!CompleteCallback)
        return;
    if (ZALBaseUnknown* owner = Owner.GetComponent()) {
        (owner->*CompleteCallback)(FilePath);
        owner->Release();
    }
}

void ZALVelmartDownloadDataHandler::OpenFile(ZALCefHttpRequest* request)
{
    ZALUnicodeString name = "VelmartDownloadedQ7Files.zip";
    const ZALCefHttpResponse* response = request ? request->GetResponse() : nullptr;
    if (response && response->GetState() != ZALHttpResponseSucceeded && ContentType == "application/json")
        name = "VelmartDownloadedQ7FilesError.json";
    // A content type with parameters is neither of the two.
    if (ContentType == "application/octet-stream")
        name = FileName.GetLengthInChar() > 0 ? FileName : ZALUnicodeString("VelmartDownloadedQ7Files");

    FilePath = ZALGetOfficialVariable("ZALTemp");
    ZALMakePath(FilePath, name);
    ZALFOpen(FilePath, "wb", File);
}

void ZALVelmartDownloadDataHandler::WriteBuffer()
{
    std::uint32_t written = 0;
    ZALFWrite(File, Buffer.data(), static_cast<std::uint32_t>(Buffer.size()), written);
    Buffer.clear();
}
