#include "openhost/play/SessionAccount.h"

#include "openhost/documents/CadDocument.h"
#include "openhost/documents/ShowDocument.h"
#include "openhost/play/EventTexts.h"
#include "openhost/text/OneLine.h"

#include <algorithm>
#include <iomanip>
#include <map>

namespace openhost {

namespace {

constexpr std::size_t MostLines = 12;   ///< of a tree, or of files of one folder
constexpr std::size_t ColumnWidth = 48; ///< of files

// Sequences of a terminal.
constexpr const char* Green = "\x1B[32m";
constexpr const char* Red = "\x1B[31m";
constexpr const char* Dim = "\x1B[2m";
constexpr const char* Plain = "\x1B[0m";

std::string FileLine(const std::filesystem::path& file)
{
    std::error_code error;
    const std::string size = SizeText(std::filesystem::file_size(file, error));
    return std::string(size.size() < 10 ? 10 - size.size() : 0, ' ') + size + "  " + FileName(file);
}

/// The first of `items` in two columns, and how many there are more.
std::string InColumns(const std::vector<std::string>& items)
{
    const std::size_t shown = std::min(items.size(), 2 * MostLines);
    const std::size_t rows = (shown + 1) / 2;
    std::string text;
    for (std::size_t row = 0; row < rows; ++row) {
        text += items[row];
        if (row + rows < shown)
            text += std::string(items[row].size() < ColumnWidth ? ColumnWidth - items[row].size() : 2, ' ') +
                    items[row + rows];
        text += "\n";
    }
    if (items.size() > shown)
        text += "  … and " + std::to_string(items.size() - shown) + " more\n";
    return text;
}

} // namespace

void SessionAccount::Receive(const nlohmann::ordered_json& event, Narration::Time time)
{
    files_.Receive(event);
    for (const Sentence& sentence : narration_.Tell(event, time))
        Tell(sentence);
    const std::string name = TextOf(event, "event");
    if (name == "tree")
        shownTrees_.insert(TextOf(event, "path"));
    else if (name == "extracted" || TextOf(event, "action") == "changed")
        shownTrees_.clear();
    else if (name == "end")
        end_ = event;
}

void SessionAccount::Finish()
{
    const std::vector<std::filesystem::path> files = files_.Existing();
    TellTrees(files);
    TellFiles(files);
    TellEnd();
}

std::string SessionAccount::Coloured(const char* colour, const std::string& text) const
{
    return coloured_ ? colour + text + Plain : text;
}

void SessionAccount::Tell(const Sentence& sentence)
{
    if (sentence.kind == Sentence::Kind::Action) {
        output_ << Indented(sentence.text, 2) << "\n";
        return;
    }
    const char* colour = sentence.kind == Sentence::Kind::Failure  ? Red
                         : sentence.kind == Sentence::Kind::Result ? Green
                                                                   : Dim;
    output_ << "  " << Coloured(colour, Indented(sentence.text, 2)) << "\n";
}

bool SessionAccount::WantsTree(const std::string& document) const
{
    const auto has = [&document](const std::vector<std::string>& paths) {
        return std::ranges::find(paths, document) != paths.end();
    };
    const bool isOfInterest = narration_.Opened().empty() || has(narration_.Changed());
    // The file of a document that is not saved has its old tree.
    return isOfInterest && !shownTrees_.contains(document) &&
           !has(end_.value("unsavedDocuments", std::vector<std::string>()));
}

void SessionAccount::TellTrees(const std::vector<std::filesystem::path>& files)
{
    for (const std::filesystem::path& document : RootDocuments(files)) {
        if (!IsProduct(document) || !WantsTree(document.string()))
            continue;
        try {
            output_ << "\n" << FirstLines(ShortTree(document), MostLines) << "\n";
        } catch (const CompoundFileError& error) {
            output_ << "\n" << Coloured(Red, InOneLine(error.what())) << "\n";
        }
    }
}

void SessionAccount::TellFiles(const std::vector<std::filesystem::path>& files)
{
    std::map<std::filesystem::path, std::vector<std::filesystem::path>> folders;
    for (const std::filesystem::path& file : files)
        folders[file.parent_path()].push_back(file);
    for (const auto& [folder, inside] : folders) {
        output_ << "\nFiles in " << InOneLine(folder.string()) << "\n";
        std::vector<std::string> lines;
        for (const std::filesystem::path& file : inside)
            lines.push_back(FileLine(file));
        output_ << InColumns(lines);
    }
}

void SessionAccount::TellEnd()
{
    output_ << "\n";
    std::string changed;
    for (const std::string& document : narration_.Changed())
        changed += (changed.empty() ? "" : ", ") + FileName(document);
    if (!changed.empty())
        output_ << "Changed: " << changed << "\n";
    if (const std::string undone = UndoneOf(end_); !undone.empty())
        output_ << Coloured(Red, "Left undone: " + undone) << "\n";
    output_ << Coloured(end_.value("status", 1) == 0 ? Green : Red, OutcomeOf(end_)) << "\n";
}

} // namespace openhost
