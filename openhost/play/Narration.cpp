#include "openhost/play/Narration.h"

#include "host/dialogs.h"
#include "openhost/play/EventTexts.h"
#include "openhost/text/OneLine.h"

#include <cstdint>

namespace openhost {

namespace {

using Kind = Sentence::Kind;
using Words = std::map<std::string, std::string>;

constexpr std::size_t LongestText = 100; ///< characters of a name or an address
constexpr std::size_t MostQuestionLines = 8;

std::string WordsFor(const Words& words, const std::string& name, const std::string& otherwise)
{
    const auto found = words.find(name);
    return found != words.end() ? found->second : otherwise;
}

const nlohmann::ordered_json& Member(const nlohmann::ordered_json& value, const char* key)
{
    static const nlohmann::ordered_json none;
    if (!value.is_object())
        return none;
    const auto member = value.find(key);
    return member != value.end() ? *member : none;
}

/// What a user calls the item of a message: its name, otherwise what comes closest to one.
std::string NameOf(const nlohmann::ordered_json& item)
{
    const nlohmann::ordered_json& attributes = Member(item, "attributes");
    for (const nlohmann::ordered_json* name :
         {&Member(attributes, "name"), &Member(attributes, "fileName"), &Member(item, "id"),
          &Member(Member(attributes, "downloadUrls"), "ZALOR_RAW"), &Member(item, "downloadUrl"),
          &Member(item, "download")})
        if (name->is_string() && !name->get_ref<const std::string&>().empty())
            return Shortened(InOneLine(name->get_ref<const std::string&>()), LongestText);
    return "an item";
}

std::string Address(const nlohmann::ordered_json& event)
{
    return Shortened(LineOf(event, "url"), LongestText);
}

} // namespace

std::vector<Sentence> Narration::Tell(const nlohmann::ordered_json& event, Time time)
{
    static const std::map<std::string, Teller> tellers = {
        {"step", &Narration::TellStep},
        {"message", &Narration::TellMessage},
        {"url", &Narration::TellAddress},
        {"load", &Narration::TellAddress},
        {"page", &Narration::TellPage},
        {"panel", &Narration::TellPanel},
        {"script", &Narration::TellScript},
        {"push", &Narration::TellPush},
        {"options", &Narration::TellOptions},
        {"settings", &Narration::TellSettings},
        {"window", &Narration::TellWindow},
        {"dialog", &Narration::TellDialog},
        {"request", &Narration::KeepRequest},
        {"transfer", &Narration::TellTransfer},
        {"refused", &Narration::TellRefusedEntry},
        {"document", &Narration::TellDocument},
        {"tree", &Narration::TellTree},
        {"highlight", &Narration::TellHighlight},
        {"prompt", &Narration::KeepPrompt},
        {"selection", &Narration::TellSelection},
        {"command", &Narration::TellCommand},
        {"result", &Narration::TellResult},
        {"error", &Narration::TellError},
        {"bridge", &Narration::TellBridge},
    };
    said_.clear();
    now_ = time;
    const std::string name = TextOf(event, "event");
    if (name == "extracted") {
        ++extracted_;
        return {};
    }
    const auto teller = tellers.find(name);
    if (teller == tellers.end() && name != "end")
        return {};
    TellExtracted();
    // A pick is told in the line of its prompt; a command that begins or enters a state comes between the two.
    if (name != "selection" && name != "command")
        TellPending();
    if (teller != tellers.end())
        (this->*teller->second)(event);
    return said_;
}

void Narration::TellPending()
{
    if (!prompt_.empty())
        Say(Kind::Detail, prompt_);
    prompt_.clear();
}

void Narration::TellExtracted()
{
    if (extracted_ > 1)
        Say(Kind::Detail, std::to_string(extracted_) + " files unpacked");
    extracted_ = 0;
}

void Narration::TellStep(const nlohmann::ordered_json& event)
{
    step_ = TextOf(event, "key");
    // The event of it is one of the document alone.
    if (step_ == "move")
        Say(Kind::Action, "The user moves a component");
}

// ---------------------------------------------------------------------------------------------
// The page and the panel

void Narration::TellMessage(const nlohmann::ordered_json& event)
{
    static const Words wishes = {{"velmart_download", " to be downloaded"},
                                 {"velmart_open", " to be opened"},
                                 {"velmart_insert", " to be inserted"},
                                 {"velmart_replace", " to replace a component"}};
    const auto message = nlohmann::ordered_json::parse(TextOf(event, "text"), nullptr, false);
    const std::string name = Shortened(InOneLine(message.is_object() ? TextOf(message, "event") : ""), LongestText);
    if (const auto wish = wishes.find(name); wish != wishes.end()) {
        asked_ = name;
        item_ = NameOf(Member(message, "content"));
        Say(Kind::Action, "The page asks for " + item_ + wish->second);
    } else if (name == "velmart_ready") {
        Say(Kind::Action, "The page is ready");
    } else if (name == "velmart_over") {
        Say(Kind::Action, "The page is left");
    } else {
        Say(Kind::Action, name.empty() ? "The page sends what is not a message" : "The page sends " + name);
    }
}

void Narration::TellAddress(const nlohmann::ordered_json& event)
{
    Say(Kind::Action,
        (TextOf(event, "event") == "url" ? "The panel shows " : "The panel is sent to ") + Address(event));
}

void Narration::TellPage(const nlohmann::ordered_json& event)
{
    static const Words verbs = {{"load", "loads"}, {"click", "clicks"}, {"press", "presses"}, {"enter", "fills in"}};
    const std::string action = LineOf(event, "action");
    const std::string text = LineOf(event, "text");
    Say(Kind::Action, "The user " + WordsFor(verbs, action, action) + " " +
                          Shortened(LineOf(event, "target"), LongestText) + (text.empty() ? "" : ": " + text));
}

void Narration::TellPanel(const nlohmann::ordered_json& event)
{
    // Each session has one from its start to its end.
    if (step_ == "panel")
        Say(Kind::Action, "The panel is " + LineOf(event, "action"));
}

void Narration::TellScript(const nlohmann::ordered_json& event)
{
    if (TextOf(event, "text").starts_with("OpApi.sendMessage('search'"))
        Say(Kind::Result, "The page is asked to show what is similar");
}

// ---------------------------------------------------------------------------------------------
// Windows and questions

void Narration::TellPush(const nlohmann::ordered_json& event)
{
    static const Words controls = {{"OK", "OK"},
                                   {"CANCEL", "Cancel"},
                                   {"CLOSE", "the close box"},
                                   {"VLDownloadLocationEditor", "the download folder"},
                                   {"FOLDER", "the folder"},
                                   {"VLDownloadLocationButton", "Browse"},
                                   {"VLDoNotRemindDownloadLocationCheckButton", "that it is not asked for again"}};
    const std::string control = WordsFor(controls, TextOf(event, "control"), "a control");
    if (event.contains("text"))
        Say(Kind::Action, "The user enters " + LineOf(event, "text") + " as " + control);
    else if (event.contains("state"))
        Say(Kind::Action, (event["state"] == true ? "The user checks " : "The user unchecks ") + control);
    else
        Say(Kind::Action, "The user pushes " + control);
}

void Narration::TellOptions(const nlohmann::ordered_json& event)
{
    static const Words actions = {{"open", "The user opens the page of settings"},
                                  {"refresh", "The page of settings is refreshed"},
                                  {"save", "The user saves the settings"},
                                  {"reset", "The user resets the settings"},
                                  {"restore", "The user restores the settings"}};
    Say(Kind::Action, WordsFor(actions, TextOf(event, "operation"), "The page of settings is used"));
}

void Narration::TellSettings(const nlohmann::ordered_json& event)
{
    if (TextOf(event, "action") == "failed")
        Say(Kind::Failure, "The settings cannot be saved: " + LineOf(event, "error"));
    else
        Say(Kind::Result, "The settings are saved");
}

void Narration::TellWindow(const nlohmann::ordered_json& event)
{
    static const Words windows = {{"ZALVelmartDownloadLocationDlg", "The user is asked for the download folder"},
                                  {"ZALVelmartDownloadDirectoryChooserDlg", "The user is shown the folders"}};
    const std::string sentence = WordsFor(windows, TextOf(event, "name"), "");
    if (TextOf(event, "action") == "shown" && !sentence.empty())
        Say(Kind::Detail, sentence);
}

void Narration::TellDialog(const nlohmann::ordered_json& event)
{
    const std::string text = FirstLines(LinesIn(Printable(TextOf(event, "text"))), MostQuestionLines);
    const auto style = event.value("style", 0U);
    const bool isQuestion = style == ZALDlgNotifyYesNo || style == ZALDlgNotifyWarningYesNo;
    Say(isQuestion ? Kind::Detail : Kind::Failure, text + " → " + AnswerText(event.value("answer", 0)));
}

// ---------------------------------------------------------------------------------------------
// Transfers

void Narration::KeepRequest(const nlohmann::ordered_json& event)
{
    requests_[TextOf(event, "url")] = {TextOf(event, "method"), now_};
}

void Narration::TellTransfer(const nlohmann::ordered_json& event)
{
    const std::string end = TextOf(event, "end");
    const int code = event.value("code", 0);
    const std::string error = LineOf(event, "error");
    const auto request = requests_.find(TextOf(event, "url"));
    std::string tail = request != requests_.end() ? " in " + DurationText(now_ - request->second.sent) : "";
    const bool isUpload = request != requests_.end() && request->second.method == "POST";
    if (request != requests_.end())
        requests_.erase(request);
    if (!error.empty())
        tail += ": " + error;

    if (end == "cancelled")
        Say(Kind::Detail, "The transfer of " + Address(event) + " is cancelled");
    else if (end == "finished" && code < 400)
        Say(Kind::Detail, isUpload
                              ? "Sent to " + Address(event) + tail
                              : SizeText(event.value("bytes", std::uint64_t{0})) + " from " + Address(event) + tail);
    else if (code != 0)
        Say(Kind::Failure, Address(event) + " has failed with HTTP status " + std::to_string(code) + tail);
    else
        Say(Kind::Failure, Address(event) + " has failed" + tail);
}

void Narration::TellRefusedEntry(const nlohmann::ordered_json& event)
{
    const std::string reason = LineOf(event, "reason");
    if (TextOf(event, "entry").empty())
        Say(Kind::Failure, "The archive is refused: " + reason);
    else
        Say(Kind::Failure, "Left out of the archive: " + LineOf(event, "entry") + " (" + reason + ")");
}

// ---------------------------------------------------------------------------------------------
// Documents

void Narration::TellDocument(const nlohmann::ordered_json& event)
{
    const std::string action = TextOf(event, "action");
    const std::string path = TextOf(event, "path");
    if (action == "refused") {
        Say(Kind::Failure, "Refused: " + LineOf(event, "reason"));
        return;
    }
    if (event.value("hidden", false) && action == "opened")
        hidden_.insert(path);
    const bool isHidden = event.value("hidden", false) || (action != "opened" && hidden_.contains(path));
    if (action == "undone" || action == "redone") {
        Say(Kind::Result, std::string("The last change of ") + FileNameOf(event, "path") + " is " +
                              (action == "undone" ? "undone" : "done again"));
        return;
    }
    if (isHidden || action == "activated" || !told_.insert(path + "\n" + action).second)
        return;
    const std::string name = FileNameOf(event, "path");
    if (action == "opened")
        opened_.push_back(path);
    else if (action == "changed")
        changed_.push_back(path);
    Say(Kind::Result, name + " is " + (action == "opened" && step_ == "new" ? "made" : LineOf(event, "action")));
}

void Narration::TellTree(const nlohmann::ordered_json& event)
{
    Say(Kind::Detail, FirstLines(TreeLines(event.at("root")), treeLines_));
}

void Narration::TellHighlight(const nlohmann::ordered_json& event)
{
    Say(Kind::Action, "The user selects " + LineOf(event, "element"));
}

// ---------------------------------------------------------------------------------------------
// Commands

void Narration::KeepPrompt(const nlohmann::ordered_json& event)
{
    prompt_ = LineOf(event, "text");
}

void Narration::TellSelection(const nlohmann::ordered_json& event)
{
    const std::string element = LineOf(event, "element");
    const std::string begin = prompt_.empty() ? "Picked: " : prompt_ + " → ";
    if (event.value("accepted", false)) {
        picked_ = element;
        prompt_.clear();
        Say(Kind::Detail, begin + element);
    } else {
        Say(Kind::Failure, begin + element + ", which is refused: " + LineOf(event, "reason"));
    }
}

void Narration::TellCommand(const nlohmann::ordered_json& event)
{
    const std::string action = TextOf(event, "action");
    const bool inserts = asked_ == "velmart_insert";
    if (action == "begun" && step_ == "command")
        Say(Kind::Action, "The user starts " + WordsFor({{"ZALVelmartFindSimilarCmd", "Find Similar"}},
                                                        TextOf(event, "command"), "a command"));
    else if (action == "done" && (inserts || asked_ == "velmart_replace"))
        Say(Kind::Result, inserts ? item_ + " is inserted into " + picked_ : item_ + " replaces " + picked_);
    else if (action == "cancelled")
        Say(Kind::Failure, inserts ? "Nothing is inserted" : "Nothing is replaced");
}

void Narration::TellResult(const nlohmann::ordered_json& event)
{
    // Codes of success are "S_OK", or without the highest bit.
    const std::string code = TextOf(event, "code");
    if (code.size() > 2 && code.starts_with("0x") && code[2] >= '8')
        Say(Kind::Failure, TextOf(event, "operation") == "OnJSMessage" ? "It is refused" : "It has failed");
}

void Narration::TellError(const nlohmann::ordered_json& event)
{
    Say(Kind::Failure, LineOf(event, "text"));
}

void Narration::TellBridge(const nlohmann::ordered_json& event)
{
    static const Words methods = {
        {"downloadQ7FilesFromTolva", "Another component is asked to fetch the files"},
        {"downloadFilesFromVL", "It asks for files to be fetched"},
        {"EndTransaction", "The other component is told that the files are in use"},
    };
    const auto message = nlohmann::ordered_json::parse(TextOf(event, "text"), nullptr, false);
    const std::string method = message.is_object() ? TextOf(message, "method") : "";
    const bool isSent = TextOf(event, "direction") == "sent";
    if (!method.empty())
        Say(Kind::Detail, WordsFor(methods, method, "A message goes over the bridge"));
    else if (const nlohmann::ordered_json& error = Member(message, "error"); error.is_object())
        Say(Kind::Detail,
            std::string(isSent ? "It is told of a failure: " : "It does not fetch them: ") + LineOf(error, "message"));
    else
        Say(Kind::Detail, isSent ? "It is told where they are" : "It hands the files over");
}

} // namespace openhost
