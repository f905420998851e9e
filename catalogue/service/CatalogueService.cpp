#include "catalogue/service/CatalogueService.h"

#include "catalogue/service/GeneratedArchive.h"
#include "catalogue/service/PercentEncode.h"
#include "catalogue/service/Reply.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <set>
#include <thread>
#include <vector>

#include <sys/socket.h>

namespace catalogue {

namespace {

using Json = nlohmann::ordered_json;

constexpr const char* Host = "127.0.0.1";
constexpr std::size_t Threads = 16;
constexpr std::uint64_t MaximumItemSize = 1 << 20;
/// Seconds without a byte taken after which a reply is given up; long enough for a client in a debugger.
constexpr time_t WriteTimeout = 60;
constexpr time_t KeepAliveTimeout = 1;

/// Whether `host`, the value of a Host header, names this machine's loopback, with any port.
bool IsLoopbackHost(const std::string& host)
{
    for (const std::string name : {"127.0.0.1", "localhost", "[::1]"}) {
        if (host.compare(0, name.size(), name) != 0)
            continue;
        const std::string rest = host.substr(name.size());
        if (rest.empty())
            return true;
        return rest.size() > 1 && rest[0] == ':' && rest.find_first_not_of("0123456789", 1) == std::string::npos;
    }
    return false;
}

/// Whether `name` is the plain name of a visible file.
bool IsPlainName(const std::string& name)
{
    return !name.empty() && name[0] != '.' && name.find_first_of(std::string("/\\\0", 3)) == std::string::npos;
}

bool IsArchive(const std::filesystem::path& name)
{
    return name.extension() == ".zip";
}

void ReplaceAll(std::string& text, const std::string& old, const std::string& replacement)
{
    for (std::size_t at = text.find(old); at != std::string::npos; at = text.find(old, at + replacement.size()))
        text.replace(at, old.size(), replacement);
}

std::string EscapeHtml(std::string text)
{
    ReplaceAll(text, "&", "&amp;");
    ReplaceAll(text, "<", "&lt;");
    ReplaceAll(text, "\"", "&quot;");
    return text;
}

/// Names of the visible files in `folder`, in order.
std::set<std::string> ListFiles(const std::filesystem::path& folder)
{
    std::set<std::string> names;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error))
        if (IsPlainName(entry->path().filename().string()) && !entry->is_directory(error))
            names.insert(entry->path().filename().string());
    return names;
}

} // namespace

class CatalogueService::Implementation {
public:
    Implementation(const std::filesystem::path& root, Log log);
    ~Implementation() { Stop(); }

    void Start(int port);
    void Stop();
    int GetPort() const { return port_; }
    std::string GetAddress() const { return "http://" + std::string(Host) + ":" + std::to_string(port_); }

private:
    void AddRoutes();
    void AnswerIndex(httplib::Response& response) const;
    void AnswerJson(const std::filesystem::path& path, httplib::Response& response) const;
    void AnswerPicture(const httplib::Request& request, httplib::Response& response);
    void AnswerFile(const httplib::Request& request, httplib::Response& response);
    void AnswerArchive(const httplib::Request& request, httplib::Response& response);
    void FillIn(Json& value) const;

    std::filesystem::path root_;
    httplib::Server server_;
    StopSignal stop_;
    ArchiveCache archives_;
    std::thread thread_;
    int port_ = 0;
};

CatalogueService::Implementation::Implementation(const std::filesystem::path& root, Log log)
    : root_(std::filesystem::absolute(root).lexically_normal())
{
    if (!std::filesystem::is_directory(root_))
        throw std::runtime_error("no folder: " + root.string());

    server_.set_address_family(AF_INET);
    // The library's own choice would let a second service take the same port unnoticed.
    server_.set_socket_options([](socket_t socket) {
        const int yes = 1;
        ::setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof(yes));
    });
    server_.set_tcp_nodelay(true);
    server_.set_write_timeout(WriteTimeout);
    server_.set_keep_alive_timeout(KeepAliveTimeout);
    server_.new_task_queue = [] { return new httplib::ThreadPool(Threads); };
    if (log)
        server_.set_logger([log](const httplib::Request& request, const httplib::Response& response) {
            log(request.method + " " + request.target + " " + std::to_string(response.status));
        });
    AddRoutes();
}

void CatalogueService::Implementation::AddRoutes()
{
    using HandlerResponse = httplib::Server::HandlerResponse;

    server_.set_pre_routing_handler([](const httplib::Request& request, httplib::Response& response) {
        if (IsLoopbackHost(request.get_header_value("Host")))
            return HandlerResponse::Unhandled;
        WriteError(response, 403, "the Host header must name the loopback of this machine");
        return HandlerResponse::Handled;
    });
    server_.set_exception_handler([](const httplib::Request&, httplib::Response& response, std::exception_ptr error) {
        try {
            std::rethrow_exception(error);
        } catch (const ParameterError& problem) {
            WriteError(response, 400, problem.what());
        } catch (const std::exception& problem) {
            WriteError(response, 500, problem.what());
        }
    });
    const httplib::Server::HandlerWithResponse describeError = [](const httplib::Request& request,
                                                                  httplib::Response& response) {
        if (!response.body.empty() || response.content_provider_ || response.has_header("Content-Type"))
            return HandlerResponse::Unhandled;
        WriteError(response, response.status, "nothing answers " + request.method + " " + request.path);
        return HandlerResponse::Handled;
    };
    server_.set_error_handler(describeError);

    server_.Get("/", [this](const httplib::Request&, httplib::Response& response) { AnswerIndex(response); });
    server_.Get("/items", [this](const httplib::Request&, httplib::Response& response) {
        AnswerJson(root_ / "index.json", response);
    });
    server_.Get("/items/([^/]+)", [this](const httplib::Request& request, httplib::Response& response) {
        const std::string id = request.matches[1];
        if (IsPlainName(id))
            AnswerJson(root_ / "items" / (id + ".json"), response);
        else
            WriteError(response, 404, "no such item");
    });
    server_.Get("/items/([^/]+)/picture", [this](const httplib::Request& request, httplib::Response& response) {
        AnswerPicture(request, response);
    });
    server_.Get("/files/(templates/)?([^/]+)", [this](const httplib::Request& request, httplib::Response& response) {
        AnswerFile(request, response);
    });
    server_.Get("/archive", [this](const httplib::Request& request, httplib::Response& response) {
        AnswerArchive(request, response);
    });
}

void CatalogueService::Implementation::Start(int port)
{
    port_ = port == 0 ? server_.bind_to_any_port(Host) : port;
    if (port_ <= 0 || (port != 0 && !server_.bind_to_port(Host, port))) {
        port_ = 0;
        throw std::runtime_error("cannot listen on port " + std::to_string(port) + " of " + Host);
    }
    thread_ = std::thread([this] { server_.listen_after_bind(); });
    // The server ignores a stop that comes before its loop.
    while (!server_.is_running())
        std::this_thread::yield();
}

void CatalogueService::Implementation::Stop()
{
    if (!thread_.joinable())
        return;
    stop_.Raise();
    server_.stop();
    thread_.join();
}

void CatalogueService::Implementation::AnswerIndex(httplib::Response& response) const
{
    std::string page =
        "<!DOCTYPE html>\n<html lang=\"en\">\n<meta charset=\"utf-8\">\n<title>Velmart catalogue</title>\n"
        "<h1>Velmart catalogue</h1>\n<h2><a href=\"/items\">Items</a></h2>\n<ul>\n";
    for (const std::string& name : ListFiles(root_ / "items")) {
        const std::string id = std::filesystem::path(name).stem().string();
        page += "<li><a href=\"/items/" + PercentEncode(id) + "\">" + EscapeHtml(id) + "</a></li>\n";
    }
    page += "</ul>\n<h2>Files</h2>\n<ul>\n";
    for (const std::string& name : ListFiles(root_ / "files"))
        page += "<li><a href=\"/files/" + PercentEncode(name) + "\">" + EscapeHtml(name) + "</a></li>\n";
    page += "</ul>\n<h2>Templates</h2>\n<ul>\n";
    for (const std::string& name : ListFiles(root_ / "files" / "templates"))
        page += "<li><a href=\"/files/templates/" + PercentEncode(name) + "\">" + EscapeHtml(name) + "</a></li>\n";
    page += "</ul>\n</html>\n";
    response.set_content(page, "text/html; charset=utf-8");
}

void CatalogueService::Implementation::FillIn(Json& value) const
{
    if (value.is_string()) {
        auto& text = value.get_ref<std::string&>();
        ReplaceAll(text, "${BASE}", GetAddress());
        ReplaceAll(text, "${FILES}", PercentEncode((root_ / "files").string(), "/"));
    }
    if (value.is_structured())
        for (Json& member : value)
            FillIn(member);
}

void CatalogueService::Implementation::AnswerJson(const std::filesystem::path& path, httplib::Response& response) const
{
    const std::shared_ptr<Body> body = Body::FromFile(path);
    if (!body)
        return WriteError(response, 404, "no such item");
    if (body->Size() > MaximumItemSize)
        return WriteError(response, 500, "the description of the item is too long");

    std::string text(static_cast<std::size_t>(body->Size()), '\0');
    text.resize(body->Read(0, text.data(), text.size()));
    Json description = Json::parse(text, nullptr, false);
    if (description.is_discarded())
        return WriteError(response, 500, "the description of the item is no JSON");
    FillIn(description);
    response.set_content(description.dump(2) + "\n", "application/json");
}

void CatalogueService::Implementation::AnswerPicture(const httplib::Request& request, httplib::Response& response)
{
    const ReplyOptions options = ReplyOptions::Parse(request.params);
    const std::string id = request.matches[1];
    Download download;
    if (IsPlainName(id))
        download.body = Body::FromFile(root_ / "pictures" / (id + ".png"));
    if (!download.body)
        return WriteError(response, 404, "no such picture");
    download.fileName = id + ".png";
    download.contentType = "image/png";
    WriteReply(options, std::move(download), request, response, stop_);
}

void CatalogueService::Implementation::AnswerFile(const httplib::Request& request, httplib::Response& response)
{
    const ReplyOptions options = ReplyOptions::Parse(request.params);
    const std::string folder = request.matches[1];
    const std::string name = request.matches[2];
    Download download;
    if (IsPlainName(name))
        download.body = Body::FromFile(root_ / "files" / folder / name);
    if (!download.body)
        return WriteError(response, 404, "no such file");
    download.fileName = name;
    download.contentType = IsArchive(name) ? "application/zip" : "application/octet-stream";
    download.attached = !IsArchive(name);
    WriteReply(options, std::move(download), request, response, stop_);
}

void CatalogueService::Implementation::AnswerArchive(const httplib::Request& request, httplib::Response& response)
{
    QueryParameters parameters = request.params;
    const ArchiveDescription description = ArchiveDescription::Take(parameters);
    const ReplyOptions options = ReplyOptions::Parse(parameters);
    Download download;
    download.body = archives_.Open(description);
    download.fileName = description.GetFileName();
    download.contentType = "application/zip";
    WriteReply(options, std::move(download), request, response, stop_);
}

CatalogueService::CatalogueService(const std::filesystem::path& root, Log log)
    : implementation_(std::make_unique<Implementation>(root, std::move(log)))
{
}

CatalogueService::~CatalogueService() = default;

void CatalogueService::Start(int port)
{
    implementation_->Start(port);
}

void CatalogueService::Stop()
{
    implementation_->Stop();
}

int CatalogueService::GetPort() const
{
    return implementation_->GetPort();
}

std::string CatalogueService::GetAddress() const
{
    return implementation_->GetAddress();
}

} // namespace catalogue
