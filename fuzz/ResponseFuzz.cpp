// A reply: header lines, an empty line, and the first bytes of the body. What comes of it may only be a file in the
// folder of temporary files.

#include "download/ZALVelmartDownloadDataHandler.h"
#include "fuzz/RenewedHost.h"
#include "openhost/text/Utf.h"

#include <cstdlib>
#include <string_view>

namespace {

/// Keeps the path of the file.
class Owner : public ZALBaseUnknown {
public:
    void OnComplete(const ZALUnicodeString& path) { Path = path; }
    ZALUnicodeString Path;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    openhost::testing::ScriptedHost& host = openhost::testing::RenewedHost();

    std::string_view reply(reinterpret_cast<const char*>(bytes), size);
    ZALCefHttpHeaderMap headers;
    for (std::size_t end = reply.find('\n'); end != std::string_view::npos && end > 0; end = reply.find('\n')) {
        const std::string_view line = reply.substr(0, end);
        reply.remove_prefix(end + 1);
        const std::size_t colon = line.find(':');
        if (colon != std::string_view::npos)
            headers.AddValue(openhost::FromUtf8(line.substr(0, colon)), openhost::FromUtf8(line.substr(colon + 1)));
    }

    Owner owner;
    auto* handler = new ZALVelmartDownloadDataHandler(
        &owner, static_cast<ZALVelmartDownloadDataHandler::CompleteMethod>(&Owner::OnComplete));
    handler->OnHeaders(nullptr, headers);
    handler->OnData(nullptr, reply.data(), reply.size());
    handler->OnProgress(nullptr, reply.size(), size);
    handler->OnComplete(nullptr);
    handler->Release();

    // The folder of the workspace holds the folder of temporary files and the user's folder, which stays empty.
    namespace fs = std::filesystem;
    if (std::distance(fs::directory_iterator(host.Folder()), {}) != 2 || !fs::is_empty(host.Parts()))
        std::abort();
    for (const fs::directory_entry& entry : fs::directory_iterator(host.Temp()))
        fs::remove_all(entry.path());
    return 0;
}
