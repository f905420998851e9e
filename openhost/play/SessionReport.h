// A session as one page of HTML, for whoever wants to see or keep what has happened.
#pragma once

#include "openhost/play/Narration.h"
#include "openhost/play/ResultFiles.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <ctime>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace openhost {

/// Keeps the events of a journal, and makes a page of them that needs nothing but itself: the steps on a time line,
/// requests, questions, files with pictures, documents before and after, and the journal, in which lines can be
/// searched. Nothing of what it shows comes to run or is loaded from elsewhere.
class SessionReport {
public:
    /// Draws `document` as the PNG file `picture`. Throws what tells why that is impossible.
    using DrawPicture =
        std::function<void(const std::filesystem::path& document, const std::filesystem::path& picture)>;

    /// Of the session called `name`, which was played at `played`.
    SessionReport(std::string name, std::time_t played) : name_(std::move(name)), played_(played) {}

    /// `time` is when the event has come. What a document is at first is read when it is opened.
    void Receive(const nlohmann::ordered_json& event, Narration::Time time);
    /// The page, after the event "end". The folders of the files must still be there.
    std::string Page(const DrawPicture& draw) const;

private:
    struct Line {
        Narration::Time time;
        std::string text;
    };
    /// What happens from a step to the next one.
    struct Step {
        std::string number; ///< empty before the first one
        std::string key;
        Narration::Time begin;
        std::vector<Sentence> sentences;
    };
    struct Request {
        std::string method;
        std::string url;
        Narration::Time sent;
        std::string status{}; ///< empty until it has ended
        bool failed = false;
        std::uint64_t bytes = 0;
        Narration::Time ended{};
    };
    struct Question {
        std::string title;
        std::string text;
        std::string answer;
    };
    struct OpenedDocument {
        std::filesystem::path path;
        std::string before;
    };

    void KeepStep(const nlohmann::ordered_json& event, Narration::Time time);
    void KeepTransfer(const nlohmann::ordered_json& event, Narration::Time time);
    void KeepDocument(const nlohmann::ordered_json& event);

    std::string Head() const;
    std::string Result(const DrawPicture& draw) const;
    std::string Steps() const;
    std::string Requests() const;
    std::string Questions() const;
    std::string Documents() const;
    std::string Journal() const;
    /// From the first event to `time`.
    std::chrono::duration<double> Since(Narration::Time time) const;

    std::string name_;
    std::time_t played_;
    Narration narration_{500};
    ResultFiles files_;
    std::vector<Line> lines_;
    std::vector<Step> steps_;
    std::vector<Request> requests_;
    std::vector<Question> questions_;
    std::vector<OpenedDocument> documents_;
    nlohmann::ordered_json end_ = nlohmann::ordered_json::object(); ///< the last event
};

} // namespace openhost
