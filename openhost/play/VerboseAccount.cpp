#include "openhost/play/VerboseAccount.h"

#include "openhost/cad/MeasureSolids.h"
#include "openhost/documents/CadDocument.h"
#include "openhost/documents/ShowDocument.h"
#include "openhost/files/Md5.h"
#include "openhost/play/EventTexts.h"
#include "openhost/text/OneLine.h"

#include <cstdint>
#include <iomanip>
#include <map>

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

/// `value` with no text that a terminal would obey.
nlohmann::ordered_json PrintableValue(nlohmann::ordered_json value)
{
    if (value.is_string())
        return Printable(value.get_ref<const std::string&>());
    for (nlohmann::ordered_json& item : value)
        if (item.is_structured() || item.is_string())
            item = PrintableValue(std::move(item));
    return value;
}

/// `value` as JSON on several lines. Texts from outside may be no UTF-8.
std::string Dump(const nlohmann::ordered_json& value)
{
    return Printable(value.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace));
}

} // namespace

void VerboseAccount::Receive(const nlohmann::ordered_json& received)
{
    static const std::map<std::string, Teller> tellers = {
        {"message", &VerboseAccount::TellMessage},
        {"push", &VerboseAccount::TellPush},
        {"request", &VerboseAccount::TellRequest},
        {"progress", &VerboseAccount::TellProgress},
        {"transfer", &VerboseAccount::TellTransfer},
        {"dialog", &VerboseAccount::TellDialog},
        {"bridge", &VerboseAccount::TellBridge},
        {"script", &VerboseAccount::TellScript},
        {"refused", &VerboseAccount::TellRefused},
        {"document", &VerboseAccount::TellDocument},
        {"tree", &VerboseAccount::TellTree},
        {"prompt", &VerboseAccount::TellPrompt},
        {"selection", &VerboseAccount::TellSelection},
        {"result", &VerboseAccount::TellResult},
        {"end", &VerboseAccount::TellEnd},
    };
    files_.Receive(received);
    const std::string name = TextOf(received, "event");
    const auto teller = tellers.find(name);
    const auto plain = PlainEvents.find(name);
    if (teller == tellers.end() && plain == PlainEvents.end())
        return;
    const nlohmann::ordered_json event = PrintableValue(received);
    if (name != "progress")
        EndProgress();
    // A program that builds a product changes it many times in a row.
    if (TextOf(event, "action") == "changed" && event == told_)
        return;
    if (plain != PlainEvents.end())
        Line(plain->second.subject) << TextOf(event, plain->second.member) << "\n";
    else
        (this->*teller->second)(event);
    told_ = event;
}

void VerboseAccount::Finish()
{
    EndProgress();
    const std::vector<std::filesystem::path> files = files_.Existing();
    TellFiles(files);
    TellTrees(files);
}

std::ostream& VerboseAccount::Line(const std::string& subject)
{
    return output_ << std::left << std::setw(SubjectWidth) << subject;
}

void VerboseAccount::TellMessage(const nlohmann::ordered_json& event)
{
    const std::string text = TextOf(event, "text");
    const nlohmann::ordered_json message = nlohmann::ordered_json::parse(text, nullptr, false);
    if (message.is_discarded() || !message.is_object()) {
        Line("Message") << text << "\n";
        return;
    }
    Line("Message") << LineOf(message, "event") << "\n";
    if (const auto content = message.find("content"); content != message.end())
        Line("") << Indented(Dump(*content), SubjectWidth) << "\n";
}

void VerboseAccount::TellScript(const nlohmann::ordered_json& event)
{
    const std::string text = TextOf(event, "text");
    const std::string first = text.substr(0, text.find('\n'));
    Line("Script") << first << (first.size() < text.size() ? " ..." : "") << "\n";
}

void VerboseAccount::TellPush(const nlohmann::ordered_json& event)
{
    Line("User") << TextOf(event, "control") << " of " << TextOf(event, "dialog");
    if (event.contains("text"))
        output_ << ": \"" << TextOf(event, "text") << "\"";
    else if (event.contains("state"))
        output_ << (event["state"] == true ? ": checked" : ": not checked");
    output_ << "\n";
}

void VerboseAccount::TellRequest(const nlohmann::ordered_json& event)
{
    Line("Request") << TextOf(event, "method") << " " << TextOf(event, "url") << "\n";
    for (const auto& [name, value] : event.at("headers").items())
        Line("") << name << ": " << (value.is_string() ? value.get<std::string>() : value.dump()) << "\n";
}

void VerboseAccount::TellProgress(const nlohmann::ordered_json& event)
{
    if (!progressOpen_)
        Line("Progress");
    progressOpen_ = true;
    output_ << event.at("position").dump() << " % ";
}

void VerboseAccount::TellTransfer(const nlohmann::ordered_json& event)
{
    Line("Transfer") << TextOf(event, "end") << ", HTTP code " << event.value("code", 0) << ", "
                     << Grouped(event.value("bytes", std::uint64_t{0})) << " bytes";
    if (const std::string error = TextOf(event, "error"); !error.empty())
        output_ << " (" << error << ")";
    output_ << "\n";
}

void VerboseAccount::TellDialog(const nlohmann::ordered_json& event)
{
    Line("Dialog") << TextOf(event, "name");
    if (const std::string title = TextOf(event, "title"); !title.empty())
        output_ << ", \"" << title << "\"";
    output_ << ", answer " << event.value("answer", 0) << "\n";
    Line("") << Indented(TextOf(event, "text"), SubjectWidth) << "\n";
}

void VerboseAccount::TellRefused(const nlohmann::ordered_json& event)
{
    Line("Refused") << TextOf(event, "entry") << " (" << TextOf(event, "reason") << ")\n";
}

void VerboseAccount::TellDocument(const nlohmann::ordered_json& event)
{
    const std::string action = TextOf(event, "action");
    if (action == "refused")
        Line("Document") << "refused, " << TextOf(event, "operation") << ": " << LineOf(event, "reason") << "\n";
    else
        Line("Document") << action << " " << LineOf(event, "path") << "\n";
}

void VerboseAccount::TellTree(const nlohmann::ordered_json& event)
{
    const std::vector<std::string> lines = TreeLines(event.at("root"));
    Line("Tree") << Indented(FirstLines(lines, lines.size()), SubjectWidth) << "\n";
}

void VerboseAccount::TellPrompt(const nlohmann::ordered_json& event)
{
    Line("Prompt") << LineOf(event, "text") << " (" << TextOf(event, "command") << ")\n";
}

void VerboseAccount::TellSelection(const nlohmann::ordered_json& event)
{
    Line("Selection") << LineOf(event, "element");
    if (event.value("accepted", false))
        output_ << ", accepted\n";
    else
        output_ << ", refused (" << LineOf(event, "reason") << ")\n";
}

void VerboseAccount::TellResult(const nlohmann::ordered_json& event)
{
    Line("Result") << TextOf(event, "operation") << " " << TextOf(event, "code") << "\n";
}

void VerboseAccount::TellBridge(const nlohmann::ordered_json& event)
{
    Line("Bridge") << "the module " << (TextOf(event, "direction") == "sent" ? "sends " : "receives ")
                   << TextOf(event, "text") << "\n";
}

void VerboseAccount::TellEnd(const nlohmann::ordered_json& event)
{
    Line("End") << OutcomeOf(event) << "\n";
    if (const std::string undone = UndoneOf(event); !undone.empty())
        Line("Left undone") << undone << "\n";
}

void VerboseAccount::EndProgress()
{
    if (progressOpen_)
        output_ << "\n";
    progressOpen_ = false;
}

void VerboseAccount::TellFiles(const std::vector<std::filesystem::path>& files)
{
    if (files.empty())
        return;
    const std::filesystem::path folder = files.front().parent_path();
    output_ << "\nFiles in " << InOneLine(folder.string()) << "\n";
    for (const std::filesystem::path& file : files)
        output_ << std::right << std::setw(12) << Grouped(std::filesystem::file_size(file)) << " bytes  "
                << Md5OfFile(file) << "  " << InOneLine(std::filesystem::relative(file, folder).string()) << "\n";
}

void VerboseAccount::TellTrees(const std::vector<std::filesystem::path>& files)
{
    for (const std::filesystem::path& document : RootDocuments(files)) {
        if (!IsProduct(document))
            continue;
        output_ << "\n";
        try {
            ShowDocument(document, MeasureSolids, output_);
        } catch (const CompoundFileError& error) {
            output_ << InOneLine(error.what()) << "\n";
        }
    }
}

} // namespace openhost
