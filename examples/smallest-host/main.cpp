// smallest-host MODULE URL FOLDER: has the module download the item at URL into FOLDER.
//
// A host of one's own in one file. Objects, texts, JSON, files and archives are openhost's; how a file is fetched and
// how questions are answered is said here. docs/host-guide.md tells what else a host has.

#include "openhost/dialogs/DialogSurface.h"
#include "openhost/http/HttpTransport.h"
#include "openhost/loop/EventLoop.h"
#include "openhost/objects/ClassDictionary.h"
#include "openhost/objects/Owned.h"
#include "openhost/settings/SettingsStore.h"
#include "openhost/text/Utf.h"

#include "host/json.h"
#include "host/panel.h"

#include <curl/curl.h>

#include <exception>
#include <filesystem>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

namespace {

using namespace openhost;

// ---------------------------------------------------------------------------------------------
// HTTP: each transfer is done at once, but from the loop, as the module expects it

/// What of a transfer is still there when the module has let go of it.
struct Exchange {
    HttpRequestData request;
    HttpTransferListener* listener; ///< null once the transfer is gone
    bool cancelled = false;

    int code = 0;
    HttpHeaders headers;
    std::string body;
};

class EasyTransfer final : public HttpTransfer {
public:
    explicit EasyTransfer(std::shared_ptr<Exchange> exchange) : exchange_(std::move(exchange)) {}
    EasyTransfer(const EasyTransfer&) = delete;
    EasyTransfer& operator=(const EasyTransfer&) = delete;
    ~EasyTransfer() override { exchange_->listener = nullptr; }
    void Cancel() override { exchange_->cancelled = true; }

private:
    std::shared_ptr<Exchange> exchange_;
};

std::size_t TakeHeader(char* bytes, std::size_t, std::size_t size, void* data)
{
    auto& exchange = *static_cast<Exchange*>(data);
    std::string line(bytes, size);
    while (line.ends_with('\n') || line.ends_with('\r'))
        line.pop_back();
    const std::size_t colon = line.find(':');
    if (line.starts_with("HTTP/")) {
        exchange.headers.clear(); // those before belong to a redirection
    } else if (colon != std::string::npos) {
        const std::size_t value = line.find_first_not_of(" \t", colon + 1);
        exchange.headers.emplace_back(line.substr(0, colon), value == std::string::npos ? "" : line.substr(value));
    }
    return size;
}

std::size_t TakeBody(char* bytes, std::size_t, std::size_t size, void* data)
{
    static_cast<Exchange*>(data)->body.append(bytes, size);
    return size;
}

/// Fetches the whole reply. Returns what went wrong, in words; empty when nothing did.
std::string Fetch(Exchange& exchange)
{
    const std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> curl(curl_easy_init(), curl_easy_cleanup);
    if (!curl)
        return "no transfer can be made";
    curl_slist* lines = nullptr;
    for (const auto& [name, value] : exchange.request.headers)
        lines = curl_slist_append(lines, std::string(name).append(": ").append(value).c_str());
    const std::unique_ptr<curl_slist, decltype(&curl_slist_free_all)> headers(lines, curl_slist_free_all);

    curl_easy_setopt(curl.get(), CURLOPT_URL, exchange.request.url.c_str());
    curl_easy_setopt(curl.get(), CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(curl.get(), CURLOPT_HTTPHEADER, headers.get());
    curl_easy_setopt(curl.get(), CURLOPT_FOLLOWLOCATION, 1L);
    curl_easy_setopt(curl.get(), CURLOPT_MAXREDIRS, 5L);
    curl_easy_setopt(curl.get(), CURLOPT_CONNECTTIMEOUT, 20L);
    curl_easy_setopt(curl.get(), CURLOPT_HEADERFUNCTION, TakeHeader);
    curl_easy_setopt(curl.get(), CURLOPT_HEADERDATA, &exchange);
    curl_easy_setopt(curl.get(), CURLOPT_WRITEFUNCTION, TakeBody);
    curl_easy_setopt(curl.get(), CURLOPT_WRITEDATA, &exchange);

    const CURLcode result = curl_easy_perform(curl.get());
    long code = 0;
    curl_easy_getinfo(curl.get(), CURLINFO_RESPONSE_CODE, &code);
    exchange.code = static_cast<int>(code);
    return result == CURLE_OK ? "" : curl_easy_strerror(result);
}

/// Tells the module what came, in the order that it expects. It may cancel the transfer, or let go of it, in each call.
void Deliver(Exchange& exchange)
{
    const auto goesOn = [&] { return exchange.listener && !exchange.cancelled; };
    std::string error;
    if (goesOn())
        error = Fetch(exchange);
    if (goesOn() && exchange.code != 0)
        exchange.listener->OnHead(exchange.code, exchange.headers);
    if (goesOn() && !exchange.body.empty())
        exchange.listener->OnBytes(exchange.body.data(), exchange.body.size());
    if (goesOn())
        exchange.listener->OnProgress(exchange.body.size(), exchange.body.size());
    if (exchange.listener)
        exchange.listener->OnEnd(exchange.cancelled ? TransferEnd::Cancelled
                                 : error.empty()    ? TransferEnd::Finished
                                                    : TransferEnd::Failed,
                                 error);
}

class EasyTransport final : public HttpTransport {
public:
    std::unique_ptr<HttpTransfer> Start(HttpRequestData request, HttpTransferListener& listener) override
    {
        if (request.method != "GET")
            return nullptr; // nothing is uploaded here
        auto exchange = std::make_shared<Exchange>();
        exchange->request = std::move(request);
        exchange->listener = &listener;
        EventLoop::Current().Post([exchange] { Deliver(*exchange); });
        return std::make_unique<EasyTransfer>(std::move(exchange));
    }
};

// ---------------------------------------------------------------------------------------------
// Questions: they are printed, and what can be answered with Yes is

class PrintedQuestions final : public DialogSurface {
public:
    // There is no frame, so that the module shows no window.
    void Shown(ZALDialog&) override {}
    void Hidden(ZALDialog&) override {}
    void Changed(ZALDialog&) override {}
    void Ended(ZALDialog&) override {}

    int Ask(ZALDlgNotify& question, const ZALUnicodeString& text, const ZALUnicodeString&) override
    {
        const unsigned int style = question.GetStyle();
        const bool isYesNo = style == ZALDlgNotifyYesNo || style == ZALDlgNotifyWarningYesNo;
        hasFailed_ = hasFailed_ || style == ZALDlgNotifyError;
        std::cout << ToUtf8(text) << (isYesNo ? "\n-> Yes" : "") << std::endl;
        return isYesNo ? ZALDlgAnswerYes : ZALDlgAnswerOK;
    }

    bool HasFailed() const { return hasFailed_; }

private:
    bool hasFailed_ = false; ///< the module has told an error
};

// ---------------------------------------------------------------------------------------------
// The module

using Addin = Owned<ZALIMeridiaAccessDialogAddin>;

/// The module's addin of the panel, by its names in the class dictionary. Here it stands in no panel.
Addin MakeAddin()
{
    const Owned<ZALBaseUnknown> object(ClassDictionary::Instance().Create("ZALVelmartMeridiaAccessAddin"));
    ZALBaseUnknown* found = nullptr;
    if (!object || FAILED(object->QueryInterface(ZALIMeridiaAccessDialogAddin::ClassName(), &found)))
        throw std::runtime_error("the module has no addin");
    return Addin(static_cast<ZALIMeridiaAccessDialogAddin*>(found));
}

/// What the page sends: an event, and a content with one member unless `key` is empty.
ZALUnicodeString Message(const char* event, const std::string& key = "", const std::string& value = "")
{
    ZALOmxTextStream stream;
    ZALOmxJsonWriter writer(stream);
    writer.Object();
    writer.Attribute("event", event);
    writer.Attribute("content");
    writer.Object();
    if (!key.empty())
        writer.Attribute(key.c_str(), value.c_str());
    writer.End();
    writer.End();
    return ZALUnicodeString(stream.ToUTF8String());
}

/// Whether the module has downloaded `url` into `folder`.
bool Download(const std::filesystem::path& module, const std::string& url, const std::filesystem::path& folder)
{
    auto made = std::make_unique<PrintedQuestions>();
    const PrintedQuestions& questions = *made;
    HttpTransport::Install(std::make_unique<EasyTransport>());
    DialogSurface::Install(std::move(made));
    SettingsStore::Current().SetValues({true, FromUtf8(std::filesystem::absolute(folder).string())});

    bool started = false;
    {
        // In this order: what the module has made ends before the module.
        const LoadedModule loaded(module);
        const Addin addin = MakeAddin();
        addin->OnJSMessage(Message("velmart_ready"));
        started = SUCCEEDED(addin->OnJSMessage(Message("velmart_download", "downloadUrl", url)));
        EventLoop::Current().RunUntilIdle();
    }
    return started && !questions.HasFailed();
}

} // namespace

int main(int count, char** values)
{
    if (count != 4) {
        std::cerr << "usage: smallest-host MODULE URL FOLDER\n";
        return 2;
    }
    try {
        return Download(values[1], values[2], values[3]) ? 0 : 1;
    } catch (const std::exception& error) {
        std::cerr << "smallest-host: " << error.what() << "\n";
        return 1;
    }
}
