// What becomes of the requests of the page.
#pragma once

#include <nlohmann/json.hpp>

#include <cstddef>
#include <filesystem>
#include <functional>
#include <list>
#include <set>
#include <string>
#include <vector>

namespace openhost {

/// Follows each request of the page to its end: an item to be downloaded, opened, inserted or put in the place of a
/// component. The module says nothing of it: what is known comes from the events of the journal.
///
/// The module has one downloader, so that the files, transfers and windows of a download belong to the request that
/// began to download first. docs/reference.md tells what is said of a request, as "velmart:progress".
class RequestState {
public:
    /// Hears something new of a request that `document` has sent.
    using Tell = std::function<void(const std::string& document, const nlohmann::ordered_json& detail)>;

    explicit RequestState(Tell tell) : tell_(std::move(tell)) {}

    /// `document` has sent `message`, which is about to be handed to the module. A number for Returned.
    std::size_t Begin(const std::string& message, const std::string& document);
    /// The module has taken the message, or has not.
    void Returned(std::size_t message, bool taken);
    /// Takes an event of the journal.
    void Receive(const nlohmann::ordered_json& event);

    /// Whether every request has ended.
    bool IsEmpty() const { return requests_.empty(); }
    /// Whether a download is over and what follows from it is still under way.
    bool IsSettling() const;
    /// To be called while IsSettling, once the module has returned to the event loop and no question is open: nothing
    /// more follows from downloads that are over.
    void Settle();

private:
    enum class Phase { Asked, Waiting, Downloading, Acting };

    /// Files on their way to the user's folder.
    struct Files {
        std::vector<std::filesystem::path> paths; ///< the first of them
        std::size_t count = 0;

        void Add(const std::string& path);
        void Move(const std::string& from, const std::string& to);
    };

    struct Request {
        std::size_t message = 0;
        std::string document;
        std::string event;
        std::string id; ///< of the item; empty for none
        Phase phase = Phase::Asked;
        Files files;
        bool isRebuilt = false; ///< its files are made from templates
        std::set<std::string> addresses;
        bool isCancelled = false;
        bool hasSucceeded = false;
        std::string problem; ///< of a transfer, in words
        std::string text;    ///< of the error or the warning that the user was shown last
        nlohmann::ordered_json told;

        /// Whether it is carried out by a command that asks for an element first.
        bool IsCommand() const { return event == "velmart_insert" || event == "velmart_replace"; }
    };

    void ReceiveTransfer(const nlohmann::ordered_json& event);
    void ReceiveDocument(const nlohmann::ordered_json& event);
    void ReceiveNotification(const std::string& className);
    void ReceiveQuestion(const nlohmann::ordered_json& event);
    void ReceiveCommand(const std::string& action);

    template <class Condition>
    Request* Oldest(Condition condition);
    template <class Condition>
    Request* Newest(Condition condition);
    Request* Find(std::size_t message);
    /// The request whose files come, or null.
    Request* Downloading();
    /// The request whose download is over, or null.
    Request* Acting(bool isCommand);
    /// The command that has ended, or null.
    Request* EndingCommand();
    void BeginDownload(Request& request);

    void Say(Request& request, const char* state,
             const nlohmann::ordered_json& more = nlohmann::ordered_json::object());
    void SayRunning(Request& request, const nlohmann::ordered_json& share);
    void SayWaiting(Request& request, const std::string& prompt);
    void End(Request& request);

    Tell tell_;
    std::size_t messages_ = 0;
    std::list<Request> requests_;        ///< that have not ended, in their order
    std::vector<std::size_t> called_;    ///< messages that the module has not returned from, the innermost last
    std::vector<std::size_t> downloads_; ///< requests with a download under way, in the order of its begin
};

} // namespace openhost
