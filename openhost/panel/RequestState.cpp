#include "openhost/panel/RequestState.h"

#include "openhost/text/OneLine.h"

#include <algorithm>
#include <cstdlib>

namespace openhost {

namespace {

using Json = nlohmann::ordered_json;

constexpr const char* CommandClass = "ZALVelmartMeridiaAccessAddinActionCmd";
constexpr const char* CompleteClass = "ZALVelmartFileDownloadCompleteNotification";
constexpr const char* ProgressWindow = "ZALVelmartDownloadProgressDlg";
constexpr const char* FolderWindow = "ZALVelmartDownloadLocationDlg";
constexpr const char* DownloadError = "FileDownloadErrorNotify";
constexpr const char* CommandError = "FileOpenInsertReplaceErrorNotify";

/// An archive may have a million files.
constexpr std::size_t MostPaths = 1000;
constexpr std::size_t MostNames = 20;
constexpr std::size_t LongestText = 2000;
constexpr std::size_t LongestId = 200;

std::string TextOf(const Json& value, const char* key)
{
    if (!value.is_object())
        return {};
    const auto member = value.find(key);
    return member != value.end() && member->is_string() ? member->get<std::string>() : std::string();
}

std::string Shown(const std::string& text)
{
    return Printable(text.substr(0, LongestText));
}

/// The innermost folder that holds all of `paths`.
std::filesystem::path CommonFolder(const std::vector<std::filesystem::path>& paths)
{
    std::filesystem::path folder = paths.front().parent_path();
    for (const std::filesystem::path& path : paths)
        while (folder.has_relative_path() &&
               std::mismatch(folder.begin(), folder.end(), path.begin(), path.end()).first != folder.end())
            folder = folder.parent_path();
    return folder;
}

/// The home folder as "~": the name of the user is not the page's business.
std::string ShownFolder(const std::filesystem::path& folder)
{
    const char* home = std::getenv("HOME");
    std::string path = folder.string();
    const std::string start = home ? home : "";
    if (start.size() > 1 && path.starts_with(start) && (path.size() == start.size() || path[start.size()] == '/'))
        return "~" + path.substr(start.size());
    return path;
}

} // namespace

void RequestState::Files::Add(const std::string& path)
{
    if (paths.size() < MostPaths) {
        if (std::ranges::find(paths, std::filesystem::path(path)) != paths.end())
            return;
        paths.emplace_back(path);
    }
    ++count;
}

void RequestState::Files::Move(const std::string& from, const std::string& to)
{
    std::ranges::replace(paths, std::filesystem::path(from), std::filesystem::path(to));
}

// ---------------------------------------------------------------------------------------------
// Which request

template <class Condition>
RequestState::Request* RequestState::Oldest(Condition condition)
{
    const auto found = std::ranges::find_if(requests_, condition);
    return found != requests_.end() ? &*found : nullptr;
}

template <class Condition>
RequestState::Request* RequestState::Newest(Condition condition)
{
    const auto found = std::find_if(requests_.rbegin(), requests_.rend(), condition);
    return found != requests_.rend() ? &*found : nullptr;
}

RequestState::Request* RequestState::Find(std::size_t message)
{
    return Oldest([&](const Request& request) { return request.message == message; });
}

RequestState::Request* RequestState::Downloading()
{
    return downloads_.empty() ? nullptr : Find(downloads_.front());
}

RequestState::Request* RequestState::Acting(bool isCommand)
{
    return Oldest(
        [&](const Request& request) { return request.phase == Phase::Acting && request.IsCommand() == isCommand; });
}

RequestState::Request* RequestState::EndingCommand()
{
    if (Request* acting = Acting(true))
        return acting;
    const auto hasBegun = [](const Request& request) { return request.IsCommand() && request.phase != Phase::Asked; };
    if (Request* failed = Oldest([&](const Request& request) { return hasBegun(request) && !request.text.empty(); }))
        return failed;
    return Newest(hasBegun);
}

// ---------------------------------------------------------------------------------------------
// The messages

std::size_t RequestState::Begin(const std::string& message, const std::string& document)
{
    const std::size_t number = ++messages_;
    called_.push_back(number);
    const Json parsed = Json::parse(message, nullptr, false);
    const std::string event = TextOf(parsed, "event");
    const bool isDownload = event == "velmart_download" || event == "velmart_open";
    if (!isDownload && event != "velmart_insert" && event != "velmart_replace")
        return number;

    Request& request = requests_.emplace_back();
    request.message = number;
    request.document = document;
    request.event = event;
    if (parsed.contains("content"))
        request.id = TextOf(parsed["content"], "id");
    if (request.id.size() > LongestId)
        request.id.clear();
    Say(request, "started");
    // The end of a download may come before the module returns.
    if (isDownload)
        BeginDownload(request);
    return number;
}

void RequestState::Returned(std::size_t message, bool taken)
{
    std::erase(called_, message);
    Request* request = Find(message);
    if (request && !taken)
        End(*request);
}

void RequestState::BeginDownload(Request& request)
{
    request.phase = Phase::Downloading;
    downloads_.push_back(request.message);
}

// ---------------------------------------------------------------------------------------------
// The events

void RequestState::Receive(const Json& event)
{
    if (requests_.empty())
        return;
    const std::string name = TextOf(event, "event");
    Request* downloading = Downloading();
    if (name == "request" || name == "transfer")
        ReceiveTransfer(event);
    else if (name == "progress" && downloading && TextOf(event, "dialog") == ProgressWindow)
        SayRunning(*downloading, std::clamp(event.value("position", 0), 0, 100) / 100.0);
    else if (name == "window" && downloading && TextOf(event, "name") == FolderWindow &&
             TextOf(event, "action") == "shown")
        SayWaiting(*downloading, "");
    else if (name == "extracted" && downloading)
        downloading->files.Add(TextOf(event, "path"));
    else if (name == "moved" && downloading)
        downloading->files.Move(TextOf(event, "from"), TextOf(event, "to"));
    else if (name == "document")
        ReceiveDocument(event);
    else if (name == "notification")
        ReceiveNotification(TextOf(event, "class"));
    else if (name == "dialog")
        ReceiveQuestion(event);
    else if (name == "command" && TextOf(event, "command") == CommandClass)
        ReceiveCommand(TextOf(event, "action"));
    else if (name == "prompt" && TextOf(event, "command") == CommandClass) {
        if (Request* waiting = Newest([](const Request& request) { return request.phase == Phase::Waiting; }))
            SayWaiting(*waiting, TextOf(event, "text"));
    } else if (name == "selection" && TextOf(event, "command") == CommandClass && event.value("accepted", false)) {
        if (Request* picked = Newest([](const Request& request) { return request.phase == Phase::Waiting; })) {
            BeginDownload(*picked);
            SayRunning(*picked, nullptr);
        }
    }
}

void RequestState::ReceiveTransfer(const Json& event)
{
    const std::string url = TextOf(event, "url");
    if (TextOf(event, "event") == "transfer") {
        Request* request = Downloading();
        if (!request || !request->addresses.contains(url))
            return;
        const int code = event.value("code", 0);
        request->isCancelled |= TextOf(event, "end") == "cancelled";
        request->problem = code >= 400 ? "HTTP " + std::to_string(code) : TextOf(event, "error");
        return;
    }

    if (TextOf(event, "method") != "GET" || downloads_.empty())
        return;
    // A download that begins takes the downloader from one that has been left without an end.
    if (const Request* newest = Find(downloads_.back()); newest && newest->addresses.empty())
        while (downloads_.size() > 1)
            End(*Downloading());
    Request& request = *Downloading();
    request.addresses.insert(url);
    if (TextOf(request.told, "state") != "running")
        SayRunning(request, nullptr);
}

void RequestState::ReceiveDocument(const Json& event)
{
    const std::string action = TextOf(event, "action");
    Request* downloading = Downloading();
    if (event.value("hidden", false)) {
        if (action == "opened" && downloading && !downloading->isRebuilt) {
            downloading->isRebuilt = true;
            downloading->files = {};
        }
    } else if (action == "saved") {
        if (downloading && downloading->isRebuilt)
            downloading->files.Add(TextOf(event, "path"));
    } else if (action == "opened" || action == "activated") {
        if (Request* request = Acting(false))
            request->hasSucceeded = true;
    } else if (action == "changed") {
        if (Request* request = Acting(true))
            request->hasSucceeded = true;
    }
}

void RequestState::ReceiveNotification(const std::string& className)
{
    Request* request = Downloading();
    if (!request)
        return;
    if (className == CompleteClass) {
        request->phase = Phase::Acting;
        downloads_.erase(downloads_.begin());
    } else if (className == std::string(FolderWindow) + "::OKNotif") {
        SayRunning(*request, nullptr);
    } else if (className == std::string(FolderWindow) + "::CANCELNotif") {
        request->isCancelled = true;
    }
}

void RequestState::ReceiveQuestion(const Json& event)
{
    const std::string name = TextOf(event, "name");
    if (name != DownloadError && name != CommandError)
        return;
    const bool isCommand = name == CommandError;
    Request* request = called_.empty() ? nullptr : Find(called_.back());
    if (!request || request->IsCommand() != isCommand)
        request = isCommand ? EndingCommand() : Acting(false);
    if (request)
        request->text = TextOf(event, "text");
}

void RequestState::ReceiveCommand(const std::string& action)
{
    if (action == "begun") {
        if (Request* request =
                Oldest([](const Request& asked) { return asked.IsCommand() && asked.phase == Phase::Asked; }))
            request->phase = Phase::Waiting;
    } else if (action == "done" || action == "cancelled" || action == "ended") {
        if (Request* request = EndingCommand()) {
            request->isCancelled |= action == "ended" || request->phase == Phase::Waiting;
            End(*request);
        }
    }
}

bool RequestState::IsSettling() const
{
    return std::ranges::any_of(
        requests_, [](const Request& request) { return request.phase == Phase::Acting && !request.IsCommand(); });
}

void RequestState::Settle()
{
    while (Request* request = Acting(false))
        End(*request);
}

// ---------------------------------------------------------------------------------------------
// What is told

void RequestState::Say(Request& request, const char* state, const Json& more)
{
    Json detail{{"event", request.event}};
    if (!request.id.empty())
        detail["id"] = request.id;
    detail["state"] = state;
    detail.update(more);
    if (detail == request.told)
        return;
    request.told = detail;
    tell_(request.document, detail);
}

void RequestState::SayRunning(Request& request, const Json& share)
{
    Say(request, "running", {{"share", share}});
}

void RequestState::SayWaiting(Request& request, const std::string& prompt)
{
    Say(request, "waiting", {{"prompt", prompt}});
}

void RequestState::End(Request& request)
{
    // A plain download that has gone well ends in silence.
    if (request.event == "velmart_download" && request.phase == Phase::Acting)
        request.hasSucceeded = request.text.empty() && !request.isCancelled;
    const std::string text = Shown(request.text);

    if (request.hasSucceeded) {
        Json more{{"files", Json::array()}, {"count", request.files.count}};
        if (!request.files.paths.empty()) {
            const std::filesystem::path folder = CommonFolder(request.files.paths);
            for (std::size_t i = 0; i < std::min(MostNames, request.files.paths.size()); ++i)
                more["files"].push_back(request.files.paths[i].lexically_relative(folder).generic_string());
            more["folder"] = ShownFolder(folder);
        }
        if (!text.empty())
            more["note"] = text;
        Say(request, "done", more);
    } else if (request.isCancelled) {
        Say(request, "cancelled");
    } else {
        Json more{{"reason", text}};
        if (!request.problem.empty())
            more["cause"] = Shown(request.problem);
        Say(request, "failed", more);
    }
    const std::size_t message = request.message;
    std::erase(downloads_, message);
    requests_.remove_if([&](const Request& ended) { return ended.message == message; });
}

} // namespace openhost
