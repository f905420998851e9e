// A reply of the service to an upload, from the transfer to the page. What of it reaches the page is one search at
// most, as a script or as an address, and never the channel to the host.

#include "findsimilar/ZALVelmartFindSimilarCmd.h"
#include "fuzz/RenewedHost.h"
#include "openhost/commands/StartedCommands.h"
#include "openhost/panel/Panel.h"
#include "openhost/text/Utf.h"

#include <cstdlib>
#include <fstream>
#include <string_view>

/// Calls what the command keeps to itself.
class ZALVelmartFindSimilarCmdProbe {
public:
    /// The command ends itself once its upload is answered.
    static bool Upload(const ZALUnicodeString& file)
    {
        auto* command = new ZALVelmartFindSimilarCmd(ZALCommandModeUndefined);
        return SUCCEEDED(command->UploadFileInVelmart(file, "http://127.0.0.1/upload", "name"));
    }
};

namespace {

void Require(bool condition)
{
    if (!condition)
        std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    openhost::testing::ScriptedHost& host = openhost::testing::RenewedHost();
    const std::filesystem::path zip = host.Temp() / "upload.zip";
    std::ofstream(zip) << "zip";

    openhost::Panel::Open();
    openhost::RecordedPage& page = *openhost::RecordedPage::Current();
    // A page that is not ready is searched by its address.
    if (size % 2 == 0)
        page.ReportMessage(R"({"event":"velmart_ready","content":{}})");

    Require(ZALVelmartFindSimilarCmdProbe::Upload(openhost::FromUtf8(zip.string())));
    const std::string_view reply(reinterpret_cast<const char*>(bytes), size);
    openhost::ScriptedTransport::Script& transfer = host.Transport().Last();
    transfer.Head(200);
    transfer.Bytes(reply.substr(0, size / 2));
    transfer.Bytes(reply.substr(size / 2));
    transfer.End();
    host.Loop().RunUntilIdle();

    Require(page.Scripts().size() + page.Urls().size() <= 1);
    for (const std::string& script : page.Scripts())
        Require(script.starts_with("OpApi.sendMessage('search', {query: '") && script.ends_with("'});"));
    Require(page.Handlers().empty());

    openhost::Panel::End();
    host.Loop().RunUntilIdle();
    return 0;
}
