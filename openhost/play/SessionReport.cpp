#include "openhost/play/SessionReport.h"

#include "openhost/cad/MeasureSolids.h"
#include "openhost/documents/ShowDocument.h"
#include "openhost/files/TemporaryFolder.h"
#include "openhost/play/EventTexts.h"
#include "openhost/play/Html.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <iterator>
#include <sstream>

namespace openhost {

namespace {

constexpr std::size_t MostPictures = 6;

/// Everything is forbidden that the page does not bring itself.
constexpr const char* Policy = "default-src 'none'; style-src 'unsafe-inline'; script-src 'unsafe-inline'; "
                               "img-src data:; base-uri 'none'; form-action 'none'";

std::string Describe(const std::filesystem::path& document)
{
    std::error_code error;
    if (!std::filesystem::exists(document, error))
        return "The file is not there.";
    try {
        std::ostringstream text;
        ShowDocument(document, MeasureSolids, text);
        return text.str();
    } catch (const CompoundFileError& failure) {
        return failure.what();
    }
}

std::string TableHead(const std::vector<std::string>& titles)
{
    std::string row;
    for (const std::string& title : titles)
        row += Element("th", title == "Size" || title == "Time" ? "number" : "", title);
    return "<table>\n<tr>" + row + "</tr>\n";
}

std::string Percent(double share)
{
    return Decimal(100 * std::clamp(share, 0.0, 1.0), 2) + "%";
}

/// As exact as somebody wants it who looks for where the time goes: "6.3 ms".
std::string ExactText(std::chrono::duration<double> duration)
{
    const double seconds = duration.count();
    return seconds >= 1 ? Decimal(seconds, 2) + " s" : Decimal(1000 * seconds, 1) + " ms";
}

std::string DateText(std::time_t time)
{
    std::tm parts{};
    std::array<char, 64> text{};
    std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M UTC", gmtime_r(&time, &parts));
    return text.data();
}

const char* ClassOf(Sentence::Kind kind)
{
    switch (kind) {
    case Sentence::Kind::Action:
        return "action";
    case Sentence::Kind::Detail:
        return "detail";
    case Sentence::Kind::Result:
        return "result";
    case Sentence::Kind::Failure:
        break;
    }
    return "failure";
}

/// The picture of `document`, or why there is none.
std::string Figure(const std::filesystem::path& document, const SessionReport::DrawPicture& draw)
{
    const std::string name = FileName(document);
    try {
        const TemporaryFolder folder;
        const std::filesystem::path file = folder.Path() / "picture.png";
        draw(document, file);
        std::ifstream input(file, std::ios::binary);
        const std::string bytes{std::istreambuf_iterator<char>(input), {}};
        return "<figure><img alt=\"" + Escaped(name) + "\" src=\"data:image/png;base64," + Base64(bytes) + "\">" +
               Element("figcaption", "", name) + "</figure>\n";
    } catch (const std::exception& error) {
        return "<figure>" + Element("figcaption", "failed", name + " could not be drawn: " + error.what()) +
               "</figure>\n";
    }
}

} // namespace

// ---------------------------------------------------------------------------------------------
// The events

void SessionReport::Receive(const nlohmann::ordered_json& event, Narration::Time time)
{
    lines_.push_back({time, event.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace)});
    files_.Receive(event);
    const std::string name = TextOf(event, "event");
    if (name == "step" || steps_.empty())
        KeepStep(event, time);
    if (name == "request")
        requests_.push_back({TextOf(event, "method"), TextOf(event, "url"), time});
    else if (name == "transfer")
        KeepTransfer(event, time);
    else if (name == "dialog")
        questions_.push_back({TextOf(event, "title"), TextOf(event, "text"), AnswerText(event.value("answer", 0))});
    else if (name == "document" && TextOf(event, "action") == "opened" && !event.value("hidden", false))
        KeepDocument(event);
    else if (name == "end")
        end_ = event;
    for (Sentence& sentence : narration_.Tell(event, time))
        steps_.back().sentences.push_back(std::move(sentence));
}

void SessionReport::KeepStep(const nlohmann::ordered_json& event, Narration::Time time)
{
    if (event.contains("number"))
        steps_.push_back({event["number"].dump(), TextOf(event, "key"), time, {}});
    else
        steps_.push_back({"", "start", time, {}});
}

void SessionReport::KeepTransfer(const nlohmann::ordered_json& event, Narration::Time time)
{
    const auto request = std::ranges::find_if(requests_, [url = TextOf(event, "url")](const Request& candidate) {
        return candidate.url == url && candidate.status.empty();
    });
    if (request == requests_.end())
        return;
    const int code = event.value("code", 0);
    const std::string end = TextOf(event, "end");
    const std::string error = TextOf(event, "error");
    request->status = (code != 0 ? std::to_string(code) + " " : "") + end + (error.empty() ? "" : ": " + error);
    request->failed = end != "finished" || code >= 400;
    request->bytes = event.value("bytes", std::uint64_t{0});
    request->ended = time;
}

void SessionReport::KeepDocument(const nlohmann::ordered_json& event)
{
    const std::filesystem::path path = TextOf(event, "path");
    if (std::ranges::find(documents_, path, &OpenedDocument::path) == documents_.end())
        documents_.push_back({path, Describe(path)});
}

std::chrono::duration<double> SessionReport::Since(Narration::Time time) const
{
    return time - lines_.front().time;
}

// ---------------------------------------------------------------------------------------------
// The page

std::string SessionReport::Page(const DrawPicture& draw) const
{
    struct Section {
        const char* id;
        const char* heading;
        std::string content; ///< empty when there is nothing to show
    };
    const std::vector<Section> sections = {
        {"result", "What is there", Result(draw)}, {"steps", "Steps", Steps()},
        {"requests", "Requests", Requests()},      {"questions", "Questions", Questions()},
        {"documents", "Documents", Documents()},   {"journal", "Journal", Journal()}};
    std::string links;
    std::string body;
    for (const auto& [id, heading, content] : sections)
        if (!content.empty()) {
            links += std::string("<a href=\"#") + id + "\">" + heading + "</a>\n";
            body += std::string("<section id=\"") + id + "\">\n<h2>" + heading + "</h2>\n" + content + "</section>\n";
        }
    return "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
           "<meta http-equiv=\"Content-Security-Policy\" content=\"" +
           std::string(Policy) + "\">\n<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n" +
           Element("title", "", name_ + ": " + OutcomeOf(end_)) + "\n<style>" + ReportStyle +
           "</style>\n</head>\n<body>\n<header>\n" + Head() + "<nav>\n" + links + "</nav>\n</header>\n" + body +
           "<script>" + ReportScript + "</script>\n</body>\n</html>\n";
}

std::string SessionReport::Head() const
{
    const bool isDone = end_.value("status", 1) == 0;
    std::string head = Element("h1", "", name_) + "\n" +
                       Element("p", isDone ? "outcome done" : "outcome failed", OutcomeOf(end_)) + "\n";
    if (const std::string undone = UndoneOf(end_); !undone.empty())
        head += Element("p", "failed", "Left undone: " + undone) + "\n";
    const auto steps = std::ranges::count_if(steps_, [](const Step& step) { return !step.number.empty(); });
    return head +
           Element("p", "dim",
                   std::to_string(steps) + (steps == 1 ? " step in " : " steps in ") +
                       ExactText(Since(lines_.back().time)) + ", played " + DateText(played_)) +
           "\n";
}

std::string SessionReport::Result(const DrawPicture& draw) const
{
    const std::vector<std::filesystem::path> files = files_.Existing();
    if (files.empty())
        return "";
    std::string text = "<div class=\"pictures\">\n";
    const std::vector<std::filesystem::path> roots = RootDocuments(files);
    for (std::size_t i = 0; i < roots.size() && i < MostPictures; ++i)
        text += Figure(roots[i], draw);
    text += "</div>\n";
    if (roots.size() > MostPictures)
        text += Element("p", "dim", "… and " + std::to_string(roots.size() - MostPictures) + " more documents") + "\n";

    std::filesystem::path folder;
    for (const std::filesystem::path& file : files) {
        if (file.parent_path() != folder) {
            text += (folder.empty() ? "" : "</table>\n") +
                    Element("h3", "", "Files in " + file.parent_path().string()) + "\n" + TableHead({"File", "Size"});
            folder = file.parent_path();
        }
        std::error_code error;
        text += "<tr>" + Element("td", "address", file.filename().string()) +
                Element("td", "number", SizeText(std::filesystem::file_size(file, error))) + "</tr>\n";
    }
    return text + "</table>\n";
}

std::string SessionReport::Steps() const
{
    std::string text = "<ol class=\"steps\">\n";
    for (std::size_t i = 0; i < steps_.size(); ++i) {
        const Step& step = steps_[i];
        const Narration::Time end = i + 1 < steps_.size() ? steps_[i + 1].begin : lines_.back().time;
        const double whole = std::max(Since(lines_.back().time).count(), 1e-9);
        const std::chrono::duration<double> took = end - step.begin;
        text += "<li><div class=\"head\">" + Element("b", "number", step.number) + Element("span", "", step.key) +
                "<div class=\"track\"><i style=\"left: " + Percent(Since(step.begin).count() / whole) +
                "; width: " + Percent(took.count() / whole) + "\"></i></div>" + Element("time", "", ExactText(took)) +
                "</div>\n<ul>\n";
        for (const Sentence& sentence : step.sentences)
            text += Element("li", ClassOf(sentence.kind), sentence.text) + "\n";
        text += "</ul></li>\n";
    }
    return text + "</ol>\n";
}

std::string SessionReport::Requests() const
{
    if (requests_.empty())
        return "";
    std::string text = TableHead({"Method", "Address", "Status", "Size", "Time"});
    for (const Request& request : requests_) {
        const bool hasEnded = !request.status.empty();
        text +=
            "<tr>" + Element("td", "", request.method) + Element("td", "address", request.url) +
            Element("td", hasEnded && !request.failed ? "done" : "failed", hasEnded ? request.status : "not ended") +
            Element("td", "number", hasEnded ? SizeText(request.bytes) : "") +
            Element("td", "number", hasEnded ? ExactText(request.ended - request.sent) : "") + "</tr>\n";
    }
    return text + "</table>\n";
}

std::string SessionReport::Questions() const
{
    if (questions_.empty())
        return "";
    std::string text = TableHead({"Title", "Text", "Answer"});
    for (const Question& question : questions_)
        text += "<tr>" + Element("td", "", question.title) + Element("td", "text", question.text) +
                Element("td", "", question.answer) + "</tr>\n";
    return text + "</table>\n";
}

std::string SessionReport::Documents() const
{
    std::string text;
    for (const OpenedDocument& document : documents_) {
        const std::string after = Describe(document.path);
        text += Element("h3", "", FileName(document.path)) + "\n";
        if (after == document.before)
            text += Element("p", "dim", "Its file is as it was when the document was opened") +
                    Element("pre", "", after) + "\n";
        else
            text += "<div class=\"pair\"><div>" + Element("p", "dim", "When it was opened") +
                    Element("pre", "", document.before) + "</div><div>" + Element("p", "dim", "At the end") +
                    Element("pre", "", after) + "</div></div>\n";
    }
    for (const std::filesystem::path& root : RootDocuments(files_.Existing()))
        if (std::ranges::find(documents_, root, &OpenedDocument::path) == documents_.end())
            text += Element("h3", "", FileName(root)) + "\n" + Element("pre", "", Describe(root)) + "\n";
    return text;
}

std::string SessionReport::Journal() const
{
    std::string text = "<input id=\"filter\" type=\"search\" placeholder=\"Filter the lines\" aria-label=\"Filter the "
                       "lines\" hidden>\n<p id=\"count\" class=\"dim\">" +
                       std::to_string(lines_.size()) + " lines</p>\n<ol id=\"lines\">\n";
    for (const Line& line : lines_) {
        text += "<li>" + Element("time", "", Decimal(Since(line.time).count(), 3)) + Element("code", "", line.text) +
                "</li>\n";
    }
    return text + "</ol>\n";
}

} // namespace openhost
