// A download that another component takes over. Each line of the input is one message of the component: it is sent
// inside the call when the module says something, otherwise between two events. What comes of it may only be files in
// the folder of temporary files and in the user's folder.

#include "download/ZALVelmartFileDownloader.h"
#include "events/ZALVelmartIntegrationEventPublisher.h"
#include "events/ZALVelmartIntegrationEventSubscriber.h"
#include "fuzz/RenewedHost.h"
#include "host/panel.h"
#include "openhost/dialogs/DialogNode.h"
#include "tests/support/Listener.h"
#include "tests/support/ZipBytes.h"

#include <nlohmann/json.hpp>

#include <cstdlib>
#include <deque>
#include <optional>
#include <string>
#include <string_view>

namespace {

using openhost::testing::Listener;
using openhost::testing::ScriptedHost;

/// `message` with the folder that it names below the user's one, so that no other file of this machine is in reach.
/// Nothing when that is not certain.
std::optional<std::string> Confine(const std::string& message, const ScriptedHost& host)
{
    nlohmann::ordered_json value = nlohmann::ordered_json::parse(message, nullptr, false);
    if (value.is_discarded()) {
        ZALOmxAny other;
        if (SUCCEEDED(ZALOmxJson().parse(ZALOmxUTF8String(message.data(), message.size()), other)))
            return std::nullopt;
        return message;
    }
    if (value.is_object() && value.contains("params") && value["params"].is_object()) {
        auto& params = value["params"];
        if (params.contains("downloadDestPath") && params["downloadDestPath"].is_string())
            params["downloadDestPath"] = host.Parts().string() + "/" + params["downloadDestPath"].get<std::string>();
    }
    return value.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
}

/// Ends every transfer that runs, in turn with an archive, with a raw file and in failure.
void EndTransfers(ScriptedHost& host)
{
    static const std::string archive =
        openhost::testing::ZipBytes().Add("a.ZALPart", "a").Add("b.ZALProduct", "b").Bytes();
    for (std::size_t number = 0; number < host.Transport().Count(); ++number) {
        openhost::ScriptedTransport::Script& script = host.Transport().At(number);
        if (!script.IsRunning())
            continue;
        if (number % 3 == 0) {
            script.Head(200);
            script.Bytes(archive);
        } else if (number % 3 == 1) {
            script.Head(200, {{"content-type", "application/octet-stream"},
                              {"content-disposition", "attachment; filename=raw.ZALPart"}});
            script.Bytes("raw");
        }
        script.End(number % 3 == 2 ? openhost::TransferEnd::Failed : openhost::TransferEnd::Finished);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    ScriptedHost& host = openhost::testing::RenewedHost();

    std::deque<std::string> lines;
    const std::string_view input(reinterpret_cast<const char*>(bytes), size);
    for (std::size_t begin = 0; begin <= input.size() && lines.size() < 16;) {
        const std::size_t end = std::min(input.find('\n', begin), input.size());
        lines.emplace_back(input.substr(begin, end - begin));
        begin = end + 1;
    }
    const std::size_t limit = lines.size() + 1;

    const auto sendNext = [&] {
        if (lines.empty())
            return;
        const std::optional<std::string> message = Confine(lines.front(), host);
        lines.pop_front();
        if (!message)
            return;
        ZALDlgHtmlViewJavaScriptNotification notification("", message->data(), message->size());
        DispatchCallbacks(ZALVelmartIntegrationEventSubscriber::GetUniqueSubscriber(), &notification);
    };
    std::size_t messages = 0;
    Listener component([&](ZALBaseUnknown*, ZALNotification*, void*) {
        ++messages;
        sendNext();
    });
    component.Subscribe(ZALVelmartIntegrationEventPublisher::GetPrtOnUniqueInstance(),
                        ZALDlgHtmlViewJavaScriptNotification::ClassName());

    ZALOmxAny request;
    ZALOmxJson().parse(R"({"id": 5, "attributes": {"a": [1, 2.5]}, "downloadUrl": "https://velmart.example/item.zip"})",
                       request);
    ZALVelmartFileDownloader::GetInstance()->StartDownload(request);
    while (!lines.empty()) {
        sendNext();
        EndTransfers(host);
        host.Loop().RunUntilIdle();
    }
    EndTransfers(host);
    host.Loop().RunUntilIdle();
    openhost::EndAllDialogs();

    // The first request, and one reply to each message at most.
    if (messages > limit)
        std::abort();

    namespace fs = std::filesystem;
    if (std::distance(fs::directory_iterator(host.Folder()), {}) != 2)
        std::abort();
    for (const fs::path& folder : {host.Temp(), host.Parts()})
        for (const fs::directory_entry& entry : fs::directory_iterator(folder))
            fs::remove_all(entry.path());
    return 0;
}
