#include "download/ZALVelmartDownloadDataHandler.h"

#include "host/system.h"

#include <algorithm>
#include <limits>
#include <new>
#include <utility>

ZALVelmartDownloadDataHandler::ZALVelmartDownloadDataHandler(ZALBaseUnknown* owner, CompleteMethod complete)
    : Owner(owner), CompleteCallback(complete)
{
}

ZALVelmartDownloadDataHandler::~ZALVelmartDownloadDataHandler() = default;

void ZALVelmartDownloadDataHandler::OnHeaders(ZALCefHttpRequest*, const ZALCefHttpHeaderMap& headers)
try {
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
} catch (const std::bad_alloc&) {
    // As a reply without headers: a name in part would be another file's.
    ContentType = {};
    FileName = {};
}

void ZALVelmartDownloadDataHandler::OnData(ZALCefHttpRequest* request, const void* bytes, std::size_t size)
{
    if (!bytes || size == 0 || HasGap)
        return;

    if (File == 0)
        OpenFile(request);

    const char* begin = static_cast<const char*>(bytes);
    try {
        if (Buffer.capacity() < BufferSize)
            Buffer.reserve(BufferSize);
        Buffer.insert(Buffer.end(), begin, begin + size);
    } catch (const std::bad_alloc&) {
        if (File != 0) {
            WriteBuffer();
            Write(begin, size);
        } else {
            HasGap = true;
        }
        return;
    }

    // Without a file the bytes stay in memory; the next chunk tries to open it again.
    if (Buffer.size() >= BufferSize && File != 0)
        WriteBuffer();
}

void ZALVelmartDownloadDataHandler::OnProgress(ZALCefHttpRequest*, std::uint64_t current, std::uint64_t total)
try {
    if (total == 0)
        return;

    const double share = static_cast<double>(current) / static_cast<double>(total) * 100;
    const auto percent = static_cast<std::int32_t>(std::min(share, double{std::numeric_limits<std::int32_t>::max()}));
    if (percent - LastPercent <= 10)
        return;

    LastPercent = percent;
    if (!ProgressCallback)
        return;
    if (const auto owner = ZALBaseUnknown_var::Take(Owner.GetComponent()))
        (owner.Get()->*ProgressCallback)(percent);
} catch (const std::bad_alloc&) {
    // The next step is reported.
}

void ZALVelmartDownloadDataHandler::OnComplete(ZALCefHttpRequest*)
try {
    if (File != 0)
        FinishFile();
    if (HasGap)
        FilePath = {};

    if (!CompleteCallback)
        return;
    if (const auto owner = ZALBaseUnknown_var::Take(Owner.GetComponent()))
        (owner.Get()->*CompleteCallback)(FilePath);
} catch (const std::bad_alloc&) {
    // The owner looks after itself.
}

void ZALVelmartDownloadDataHandler::OpenFile(ZALCefHttpRequest* request)
try {
    ZALUnicodeString name = "VelmartDownloadedQ7Files.zip";
    const ZALCefHttpResponse* response = request ? request->GetResponse() : nullptr;
    if (response && response->GetState() != ZALHttpResponseSucceeded && ContentType == "application/json")
        name = "VelmartDownloadedQ7FilesError.json";
    // A content type with parameters is neither of the two.
    if (ContentType == "application/octet-stream")
        name = FileName.GetLengthInChar() > 0 ? FileName : ZALUnicodeString("VelmartDownloadedQ7Files");

    ZALUnicodeString path = ZALGetOfficialVariable("ZALTemp");
    ZALMakePath(path, name);
    FilePath = std::move(path);
    ZALFOpen(FilePath, "wb", File);
} catch (const std::bad_alloc&) {
    // As a file that cannot be opened.
}

void ZALVelmartDownloadDataHandler::FinishFile()
try {
    if (!Buffer.empty())
        WriteBuffer();
    ZALFClose(std::exchange(File, 0));
} catch (const std::bad_alloc&) {
    // The bytes are written, and the handle is not used again.
}

void ZALVelmartDownloadDataHandler::WriteBuffer()
{
    Write(Buffer.data(), Buffer.size());
    Buffer.clear();
}

void ZALVelmartDownloadDataHandler::Write(const char* bytes, std::size_t size)
try {
    std::uint32_t written = 0;
    ZALFWrite(File, bytes, static_cast<std::uint32_t>(size), written);
} catch (const std::bad_alloc&) {
    HasGap = true;
}
