#include "openhost/play/SessionAccount.h"

#include "openhost/documents/CadDocument.h"
#include "openhost/documents/ShowDocument.h"
#include "openhost/documents/TreeLines.h"
#include "openhost/files/Md5.h"

#include <algorithm>
#include <iomanip>
#include <set>
#include <sstream>

namespace openhost {

namespace {

constexpr int SubjectWidth = 14;

/// Events of which one member is told, under a subject.
struct PlainEvent {
    const char* subject;
    const char* member;
};
const std::map<std::string, PlainEvent> PlainEvents = {
    {"url", {"Page", "url"}},
    {"load", {"Load", "url"}},
    {"panel", {"Panel", "action"}},
    {"options", {"Options", "operation"}},
    {"notification", {"Notification", "class"}},
};
const std::string ProductExtension = ".ZALProduct";

std::string Text(const nlohmann::ordered_json& event, const char* key)
{
    const auto member = event.find(key);
    return member != event.end() && member->is_string() ? member->get<std::string>() : std::string();
}

/// `text` with its further lines indented below the first one.
std::string Indented(const std::string& text)
{
    std::string result;
    for (const char unit : text) {
        result += unit;
        if (unit == '\n')
            result.append(SubjectWidth, ' ');
    }
    return result;
}

/// The text member `key` of `event` without line ends and tabs, which names from documents may hold.
std::string InOneLine(const nlohmann::ordered_json& event, const char* key)
{
    std::string text = Text(event, key);
    std::ranges::replace_if(
        text, [](char unit) { return unit == '\n' || unit == '\t'; }, ' ');
    return text;
}

/// What a line of a tree tells of `product` after its name.
std::string Description(const nlohmann::ordered_json& product)
{
    std::ostringstream text;
    if (product.contains("problem"))
        text << "  [" << InOneLine(product, "link") << "]  (" << InOneLine(product, "problem") << ")";
    else
        text << "  [" << std::filesystem::path(InOneLine(product, "file")).filename().string() << "]";
    if (const auto at = product.find("at"); at != product.end())
        text << "  at (" << at->at(0).get<double>() << ", " << at->at(1).get<double>() << ", "
             << at->at(2).get<double>() << ")";
    return text.str();
}

/// `path` without links, so that a file that is named in two ways counts once.
std::filesystem::path Resolved(const std::filesystem::path& path)
{
    std::error_code error;
    const std::filesystem::path resolved = std::filesystem::weakly_canonical(path, error);
    return error ? path : resolved;
}

/// 1234567 as "1,234,567".
std::string Grouped(std::uintmax_t number)
{
    std::string digits = std::to_string(number);
    for (std::size_t position = digits.size(); position > 3;) {
        position -= 3;
        digits.insert(position, ",");
    }
    return digits;
}

} // namespace

void SessionAccount::Receive(const nlohmann::ordered_json& event)
{
    static const std::map<std::string, Teller> tellers = {
        {"message", &SessionAccount::TellMessage},
        {"push", &SessionAccount::TellPush},
        {"request", &SessionAccount::TellRequest},
        {"progress", &SessionAccount::TellProgress},
        {"transfer", &SessionAccount::TellTransfer},
        {"dialog", &SessionAccount::TellDialog},
        {"bridge", &SessionAccount::TellBridge},
        {"script", &SessionAccount::TellScript},
        {"extracted", &SessionAccount::KeepExtracted},
        {"moved", &SessionAccount::KeepMoved},
        {"refused", &SessionAccount::TellRefused},
        {"document", &SessionAccount::TellDocument},
        {"tree", &SessionAccount::TellTree},
        {"prompt", &SessionAccount::TellPrompt},
        {"selection", &SessionAccount::TellSelection},
        {"result", &SessionAccount::TellResult},
        {"end", &SessionAccount::TellEnd},
    };
    const std::string name = Text(event, "event");
    const auto teller = tellers.find(name);
    const auto plain = PlainEvents.find(name);
    if (teller == tellers.end() && plain == PlainEvents.end())
        return;
    if (name != "progress")
        EndProgress();
    // A program that builds a product changes it many times in a row.
    if (name == "document" && event == told_)
        return;
    if (plain != PlainEvents.end())
        Line(plain->second.subject) << Text(event, plain->second.member) << "\n";
    else
        (this->*teller->second)(event);
    told_ = event;
}

void SessionAccount::Finish()
{
    EndProgress();
    // What was fetched for a while only, such as the sources of what has been rebuilt, is no result of the session.
    std::erase_if(files_, [](const std::filesystem::path& file) {
        std::error_code error;
        return !std::filesystem::is_regular_file(file, error);
    });
    TellFiles();
    TellTrees();
}

std::ostream& SessionAccount::Line(const std::string& subject)
{
    return output_ << std::left << std::setw(SubjectWidth) << subject;
}

void SessionAccount::TellMessage(const nlohmann::ordered_json& event)
{
    const std::string text = Text(event, "text");
    const nlohmann::ordered_json message = nlohmann::ordered_json::parse(text, nullptr, false);
    if (message.is_discarded() || !message.is_object()) {
        Line("Message") << text << "\n";
        return;
    }
    Line("Message") << Text(message, "event") << "\n";
    if (const auto content = message.find("content"); content != message.end())
        Line("") << Indented(content->dump(2)) << "\n";
}

void SessionAccount::TellScript(const nlohmann::ordered_json& event)
{
    const std::string text = Text(event, "text");
    const std::string first = text.substr(0, text.find('\n'));
    Line("Script") << first << (first.size() < text.size() ? " ..." : "") << "\n";
}

void SessionAccount::TellPush(const nlohmann::ordered_json& event)
{
    Line("User") << Text(event, "control") << " of " << Text(event, "dialog");
    if (event.contains("text"))
        output_ << ": \"" << Text(event, "text") << "\"";
    else if (event.contains("state"))
        output_ << (event["state"] == true ? ": checked" : ": not checked");
    output_ << "\n";
}

void SessionAccount::TellRequest(const nlohmann::ordered_json& event)
{
    Line("Request") << Text(event, "method") << " " << Text(event, "url") << "\n";
    for (const auto& [name, value] : event.at("headers").items())
        Line("") << name << ": " << (value.is_string() ? value.get<std::string>() : value.dump()) << "\n";
}

void SessionAccount::TellProgress(const nlohmann::ordered_json& event)
{
    if (!progressOpen_)
        Line("Progress");
    progressOpen_ = true;
    output_ << event.at("position").dump() << " % ";
}

void SessionAccount::TellTransfer(const nlohmann::ordered_json& event)
{
    Line("Transfer") << Text(event, "end") << ", HTTP code " << event.value("code", 0) << ", "
                     << Grouped(event.value("bytes", std::uint64_t{0})) << " bytes";
    if (const std::string error = Text(event, "error"); !error.empty())
        output_ << " (" << error << ")";
    output_ << "\n";
}

void SessionAccount::TellDialog(const nlohmann::ordered_json& event)
{
    Line("Dialog") << Text(event, "name");
    if (const std::string title = Text(event, "title"); !title.empty())
        output_ << ", \"" << title << "\"";
    output_ << ", answer " << event.value("answer", 0) << "\n";
    Line("") << Indented(Text(event, "text")) << "\n";
}

void SessionAccount::TellRefused(const nlohmann::ordered_json& event)
{
    Line("Refused") << Text(event, "entry") << " (" << Text(event, "reason") << ")\n";
}

void SessionAccount::TellDocument(const nlohmann::ordered_json& event)
{
    const std::string action = Text(event, "action");
    if (action == "refused")
        Line("Document") << "refused, " << Text(event, "operation") << ": " << InOneLine(event, "reason") << "\n";
    else
        Line("Document") << action << " " << InOneLine(event, "path") << "\n";
    if (action == "saved")
        Keep(Text(event, "path"));
}

void SessionAccount::TellTree(const nlohmann::ordered_json& event)
{
    const nlohmann::ordered_json& root = event.at("root");
    Line("Tree") << InOneLine(root, "name") << Description(root) << "\n";
    TellChildren(root, "");
}

void SessionAccount::TellChildren(const nlohmann::ordered_json& product, const std::string& indent)
{
    const bool more = product.value("more", false);
    if (const auto children = product.find("children"); children != product.end())
        for (const nlohmann::ordered_json& child : *children) {
            const TreeBranch& branch = !more && &child == &children->back() ? LastBranch : MiddleBranch;
            Line("") << indent << branch.child << InOneLine(child, "name") << Description(child) << "\n";
            TellChildren(child, indent + branch.below);
        }
    if (more)
        Line("") << indent << LastBranch.child << "… and more\n";
}

void SessionAccount::TellPrompt(const nlohmann::ordered_json& event)
{
    Line("Prompt") << InOneLine(event, "text") << " (" << Text(event, "command") << ")\n";
}

void SessionAccount::TellSelection(const nlohmann::ordered_json& event)
{
    Line("Selection") << InOneLine(event, "element");
    if (event.value("accepted", false))
        output_ << ", accepted\n";
    else
        output_ << ", refused (" << InOneLine(event, "reason") << ")\n";
}

void SessionAccount::TellResult(const nlohmann::ordered_json& event)
{
    Line("Result") << Text(event, "operation") << " " << Text(event, "code") << "\n";
}

void SessionAccount::TellBridge(const nlohmann::ordered_json& event)
{
    Line("Bridge") << "the module " << (Text(event, "direction") == "sent" ? "sends " : "receives ")
                   << Text(event, "text") << "\n";
}

void SessionAccount::TellEnd(const nlohmann::ordered_json& event)
{
    if (event.value("status", 0) == 0)
        Line("End") << "every step is done\n";
    else
        Line("End") << (event.contains("step") ? "step " + event["step"].dump() + " has failed: "
                                               : "the session cannot begin: ")
                    << Text(event, "reason") << "\n";
}

void SessionAccount::KeepExtracted(const nlohmann::ordered_json& event)
{
    Keep(Text(event, "path"));
}

void SessionAccount::KeepMoved(const nlohmann::ordered_json& event)
{
    std::erase(files_, Resolved(Text(event, "from")));
    Keep(Text(event, "to"));
}

void SessionAccount::Keep(const std::filesystem::path& path)
{
    const std::filesystem::path file = Resolved(path);
    if (std::ranges::find(files_, file) == files_.end())
        files_.push_back(file);
}

void SessionAccount::EndProgress()
{
    if (progressOpen_)
        output_ << "\n";
    progressOpen_ = false;
}

void SessionAccount::TellFiles()
{
    if (files_.empty())
        return;
    output_ << "\nFiles in " << files_.front().parent_path().string() << "\n";
    for (const std::filesystem::path& file : files_) {
        output_ << std::right << std::setw(12) << Grouped(std::filesystem::file_size(file)) << " bytes  "
                << Md5OfFile(file) << "  " << std::filesystem::relative(file, files_.front().parent_path()).string()
                << "\n";
    }
}

void SessionAccount::TellTrees()
{
    std::set<std::string> children;
    std::vector<std::filesystem::path> products;
    for (const std::filesystem::path& file : files_) {
        if (file.extension() != ProductExtension)
            continue;
        try {
            for (const std::string& link : ReadDocument(file).links)
                children.insert(link);
            products.push_back(file);
        } catch (const CompoundFileError& error) {
            output_ << "\n" << error.what() << "\n";
        }
    }
    for (const std::filesystem::path& product : products) {
        if (children.contains(product.filename().string()))
            continue;
        output_ << "\n";
        ShowDocument(product, output_);
    }
}

} // namespace openhost
