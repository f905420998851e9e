#include "catalogue/service/CatalogueService.h"

#include "catalogue/service/GeneratedArchive.h"
#include "catalogue/service/ItemSearch.h"
#include "catalogue/service/LimitedServer.h"
#include "catalogue/service/PercentEncode.h"
#include "catalogue/service/Reply.h"
#include "catalogue/service/ShapeSearch.h"
#include "catalogue/service/UploadedShape.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <thread>
#include <vector>

#include <sys/socket.h>

namespace catalogue {

namespace {

using Json = nlohmann::ordered_json;

constexpr const char* Host = "127.0.0.1";
constexpr std::uint64_t MaximumItemSize = 1 << 20;
/// Most bytes of the body of a request: an upload with the headers of its form.
constexpr std::size_t MaximumRequestSize = MaximumUploadSize + (64 << 10);
constexpr const char* UploadPath = "/upload";
constexpr std::uint64_t MaximumPageSize = 4 << 20;
/// Items that a search by shape gives when its address does not say how many.
constexpr std::size_t UsualResults = 100;

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

/// The types of the files of the page, by extension.
const std::map<std::string, const char*> PageTypes = {{".html", "text/html; charset=utf-8"},
                                                      {".css", "text/css; charset=utf-8"},
                                                      {".js", "text/javascript; charset=utf-8"},
                                                      {".svg", "image/svg+xml"}};
/// The page has its own files and the service, and nothing else: no script or style within, nothing of other hosts.
constexpr const char* PagePolicy = "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self'; "
                                   "connect-src 'self'; base-uri 'none'; form-action 'none'; frame-ancestors 'none'";

/// Why the body of `request` is not read, with the code that tells it; nothing when it is. The library keeps the whole
/// body in memory and bounds only one whose length is announced.
std::optional<std::pair<int, std::string>> RefuseBody(const httplib::Request& request)
{
    if (request.method == "GET" || request.method == "HEAD")
        return std::nullopt;
    if (request.method != "POST" || request.path != UploadPath)
        return {{404, "nothing answers " + request.method + " " + request.path}};
    // Browsers say which page asks; programs say nothing.
    if (request.has_header("Origin") &&
        (request.get_header_value_count("Origin") > 1 ||
         request.get_header_value("Origin") != "http://" + request.get_header_value("Host")))
        return {{403, "an upload must not come from a page of another site"}};
    if (request.has_header("Transfer-Encoding") || !request.has_header("Content-Length"))
        return {{411, "an upload must announce its length"}};
    if (request.has_header("Content-Encoding"))
        return {{415, "an upload must not be encoded"}};
    return std::nullopt;
}

/// What the code of an error says about `request` that the library has refused.
std::string DescribeError(const httplib::Request& request, int code)
{
    switch (code) {
    case 400:
        return "the request cannot be understood";
    case 413:
        return "the upload is larger than " + std::to_string(MaximumUploadSize) + " bytes";
    default:
        return "nothing answers " + request.method + " " + request.path;
    }
}

} // namespace

class CatalogueService::Implementation {
public:
    Implementation(const std::filesystem::path& root, const Log& log, const ServiceLimits& limits);
    ~Implementation() { Stop(); }

    void Start(int port);
    void Stop();
    int GetPort() const { return port_; }
    std::string GetAddress() const { return "http://" + std::string(Host) + ":" + std::to_string(port_); }

private:
    /// What every request passes, and what its errors say.
    void AddChecks();
    void AddRoutes();
    void AnswerFirstPage(const httplib::Request& request, httplib::Response& response);
    void AnswerPage(const httplib::Request& request, httplib::Response& response);
    void AnswerItems(const httplib::Request& request, httplib::Response& response);
    void AnswerItem(const httplib::Request& request, httplib::Response& response);
    void AnswerEntry(const httplib::Request& request, httplib::Response& response);
    void AnswerPicture(const httplib::Request& request, httplib::Response& response);
    void AnswerShape(const httplib::Request& request, httplib::Response& response);
    void AnswerFile(const httplib::Request& request, httplib::Response& response);
    void AnswerArchive(const httplib::Request& request, httplib::Response& response);
    void AnswerUpload(const httplib::Request& request, httplib::Response& response);
    void AnswerSearch(const httplib::Request& request, httplib::Response& response);
    void SendPage(const std::string& name, httplib::Response& response) const;
    void SendJson(Json answer, httplib::Response& response) const;
    void FillIn(Json& value) const;

    std::filesystem::path root_;
    LimitedServer server_;
    StopSignal stop_;
    ArchiveCache archives_;
    std::unique_ptr<ItemStore> items_;
    std::unique_ptr<ShapeSearch> shapes_;
    std::thread thread_;
    int port_ = 0;
};

CatalogueService::Implementation::Implementation(const std::filesystem::path& root, const Log& log,
                                                 const ServiceLimits& limits)
    : root_(std::filesystem::absolute(root).lexically_normal()), server_(limits)
{
    if (!std::filesystem::is_directory(root_))
        throw std::runtime_error("no folder: " + root.string());
    items_ = std::make_unique<ItemStore>(root_ / StoreName);
    shapes_ = std::make_unique<ShapeSearch>(*items_);

    server_.set_address_family(AF_INET);
    // The library's own choice would let a second service take the same port unnoticed.
    server_.set_socket_options([](socket_t socket) {
        const int yes = 1;
        ::setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof(yes));
    });
    server_.set_tcp_nodelay(true);
    server_.set_payload_max_length(MaximumRequestSize);
    if (log)
        server_.set_logger([log](const httplib::Request& request, const httplib::Response& response) {
            log(request.method + " " + request.target + " " + std::to_string(response.status));
        });
    AddChecks();
    AddRoutes();
}

void CatalogueService::Implementation::AddChecks()
{
    using HandlerResponse = httplib::Server::HandlerResponse;

    server_.set_pre_routing_handler([](const httplib::Request& request, httplib::Response& response) {
        if (!IsLoopbackHost(request.get_header_value("Host"))) {
            WriteError(response, 403, "the Host header must name the loopback of this machine");
            return HandlerResponse::Handled;
        }
        if (const auto refusal = RefuseBody(request)) {
            WriteError(response, refusal->first, refusal->second);
            return HandlerResponse::Handled;
        }
        return HandlerResponse::Unhandled;
    });
    server_.set_exception_handler(
        [](const httplib::Request&, httplib::Response& response, const std::exception_ptr& error) {
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
        WriteError(response, response.status, DescribeError(request, response.status));
        return HandlerResponse::Handled;
    };
    server_.set_error_handler(describeError);
}

void CatalogueService::Implementation::AddRoutes()
{
    using Answer = void (Implementation::*)(const httplib::Request&, httplib::Response&);
    const auto handler = [this](Answer answer) {
        return [this, answer](const httplib::Request& request, httplib::Response& response) {
            (this->*answer)(request, response);
        };
    };
    server_.Get("/", handler(&Implementation::AnswerFirstPage));
    server_.Get("/categories", handler(&Implementation::AnswerFirstPage));
    server_.Get("/page/([^/]+)", handler(&Implementation::AnswerPage));
    server_.Get("/items", handler(&Implementation::AnswerItems));
    server_.Get("/items/([^/]+)", handler(&Implementation::AnswerItem));
    server_.Get("/items/([^/]+)/entry", handler(&Implementation::AnswerEntry));
    server_.Get("/items/([^/]+)/picture", handler(&Implementation::AnswerPicture));
    server_.Get("/items/([^/]+)/shape", handler(&Implementation::AnswerShape));
    server_.Get("/files/(templates/)?([^/]+)", handler(&Implementation::AnswerFile));
    server_.Get("/archive", handler(&Implementation::AnswerArchive));
    server_.Post(UploadPath, handler(&Implementation::AnswerUpload));
    server_.Get("/search", handler(&Implementation::AnswerSearch));
}

void CatalogueService::Implementation::AnswerFirstPage(const httplib::Request&, httplib::Response& response)
{
    SendPage("index.html", response);
}

void CatalogueService::Implementation::AnswerPage(const httplib::Request& request, httplib::Response& response)
{
    SendPage(request.matches[1], response);
}

void CatalogueService::Implementation::AnswerItems(const httplib::Request& request, httplib::Response& response)
{
    try {
        SendJson(ToJson(items_->Find(ReadItemQuery(request.params))), response);
    } catch (const std::invalid_argument& error) {
        WriteError(response, 400, error.what());
    }
}

void CatalogueService::Implementation::AnswerEntry(const httplib::Request& request, httplib::Response& response)
{
    if (std::optional<Json> entry = items_->Entry(request.matches[1]))
        SendJson(std::move(*entry), response);
    else
        WriteError(response, 404, "no such item");
}

void CatalogueService::Implementation::AnswerItem(const httplib::Request& request, httplib::Response& response)
{
    const std::string id = request.matches[1];
    std::shared_ptr<Body> body;
    if (IsPlainName(id))
        body = Body::FromFile(root_ / "items" / (id + ".json"));
    if (!body)
        return WriteError(response, 404, "no such item");
    if (body->Size() > MaximumItemSize)
        return WriteError(response, 500, "the description of the item is too long");
    Json description = Json::parse(body->ReadAll(), nullptr, false);
    if (description.is_discarded())
        return WriteError(response, 500, "the description of the item is not JSON");
    SendJson(std::move(description), response);
}

void CatalogueService::Implementation::Start(int port)
{
    port_ = port == 0 ? server_.bind_to_any_port(Host) : port;
    if (port_ <= 0 || (port != 0 && !server_.bind_to_port(Host, port))) {
        port_ = 0;
        throw std::runtime_error("cannot listen on port " + std::to_string(port) + " of " + Host);
    }
    server_.LengthenQueue();
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
    server_.EndWaits();
    server_.stop();
    thread_.join();
}

void CatalogueService::Implementation::SendPage(const std::string& name, httplib::Response& response) const
{
    const auto type = PageTypes.find(std::filesystem::path(name).extension().string());
    std::shared_ptr<Body> body;
    if (IsPlainName(name) && type != PageTypes.end())
        body = Body::FromFile(root_ / "page" / name);
    if (!body || body->Size() > MaximumPageSize)
        return WriteError(response, 404, "no such page");

    response.set_header("Content-Security-Policy", PagePolicy);
    response.set_header("X-Content-Type-Options", "nosniff");
    response.set_header("Referrer-Policy", "no-referrer");
    response.set_header("Cache-Control", "no-cache");
    response.set_content(body->ReadAll(), type->second);
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

void CatalogueService::Implementation::SendJson(Json answer, httplib::Response& response) const
{
    FillIn(answer);
    response.set_content(answer.dump(2) + "\n", "application/json");
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

void CatalogueService::Implementation::AnswerShape(const httplib::Request& request, httplib::Response& response)
{
    const ReplyOptions options = ReplyOptions::Parse(request.params);
    const std::string id = request.matches[1];
    Download download;
    if (IsPlainName(id))
        download.body = Body::FromFile(root_ / "shapes" / (id + ".lvr"));
    if (!download.body)
        return WriteError(response, 404, "no such shape");
    download.fileName = id + ".lvr";
    download.contentType = "application/octet-stream";
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

void CatalogueService::Implementation::AnswerUpload(const httplib::Request& request, httplib::Response& response)
{
    if (request.files.count("file") != 1)
        return WriteError(response, 400, "the upload must be a form with one field \"file\"");
    try {
        const std::string query = shapes_->Accept(request.files.find("file")->second.content);
        response.set_content(Json{{"data", {{"query", query}}}}.dump() + "\n", "application/json");
    } catch (const UploadError& error) {
        WriteError(response, 400, error.what());
    } catch (const openhost::LvrError& error) {
        WriteError(response, 400, error.what());
    } catch (const ShapeError& error) {
        WriteError(response, 400, error.what());
    }
}

void CatalogueService::Implementation::AnswerSearch(const httplib::Request& request, httplib::Response& response)
{
    const std::map<std::string, std::string> parameters = TakeOnce(request.params);
    const auto query = parameters.find("query");
    const auto count = parameters.find("count");
    if (query == parameters.end() || parameters.size() != (count == parameters.end() ? 1U : 2U))
        return WriteError(response, 400, "a search needs a parameter \"query\", and may have \"count\"");
    const std::size_t most =
        count == parameters.end() ? UsualResults : ParseNumber("count", count->second, 1, ShapeSearch::MaximumResults);
    try {
        SendJson(shapes_->Search(query->second, most), response);
    } catch (const ShapeError& error) {
        WriteError(response, 400, error.what());
    }
}

CatalogueService::CatalogueService(const std::filesystem::path& root, const Log& log, const ServiceLimits& limits)
    : implementation_(std::make_unique<Implementation>(root, log, limits))
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
