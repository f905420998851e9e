#include "openhost/play/EventTexts.h"

#include "openhost/documents/TreeLines.h"
#include "openhost/journal/Events.h"
#include "openhost/text/OneLine.h"

#include <array>
#include <charconv>
#include <sstream>

namespace openhost {

namespace {

/// What a line of a tree tells of `product` after its name.
std::string Description(const nlohmann::ordered_json& product)
{
    std::ostringstream text;
    if (product.contains("problem"))
        text << "  [" << LineOf(product, "link") << "]  (" << LineOf(product, "problem") << ")";
    else
        text << "  [" << FileNameOf(product, "file") << "]";
    if (const auto at = product.find("at"); at != product.end())
        text << "  at (" << at->at(0).get<double>() << ", " << at->at(1).get<double>() << ", "
             << at->at(2).get<double>() << ")";
    return text.str();
}

void AddChildren(const nlohmann::ordered_json& product, const std::string& indent, std::vector<std::string>& lines)
{
    const bool more = product.value("more", false);
    if (const auto children = product.find("children"); children != product.end())
        for (const nlohmann::ordered_json& child : *children) {
            const TreeBranch& branch = !more && &child == &children->back() ? LastBranch : MiddleBranch;
            lines.push_back(indent + branch.child + LineOf(child, "name") + Description(child));
            AddChildren(child, indent + branch.below, lines);
        }
    if (more)
        lines.push_back(indent + LastBranch.child + "… and more");
}

bool ContinuesCharacter(char unit)
{
    return (static_cast<unsigned char>(unit) & 0xC0) == 0x80;
}

} // namespace

std::string TextOf(const nlohmann::ordered_json& event, const char* key)
{
    const auto member = event.find(key);
    return member != event.end() && member->is_string() ? member->get<std::string>() : std::string();
}

std::string LineOf(const nlohmann::ordered_json& event, const char* key)
{
    return InOneLine(TextOf(event, key));
}

std::string FileName(const std::filesystem::path& path)
{
    return InOneLine(path.filename().string());
}

std::string FileNameOf(const nlohmann::ordered_json& event, const char* key)
{
    return FileName(TextOf(event, key));
}

std::vector<std::string> TreeLines(const nlohmann::ordered_json& product)
{
    std::vector<std::string> lines{LineOf(product, "name") + Description(product)};
    AddChildren(product, "", lines);
    return lines;
}

std::string OutcomeOf(const nlohmann::ordered_json& end)
{
    if (end.value("status", 0) == 0)
        return "every step is done";
    return (end.contains("step") ? "step " + end["step"].dump() + " has failed: " : "the session cannot begin: ") +
           LineOf(end, "reason");
}

std::string UndoneOf(const nlohmann::ordered_json& end)
{
    const auto numberOf = [&end](const char* key) {
        return end.contains(key) ? std::optional(end[key].get<std::size_t>()) : std::nullopt;
    };
    const auto namesOf = [&end](const char* key) { return end.value(key, std::vector<std::string>()); };
    return InOneLine(journal::End{.status = 0,
                                  .unusedAnswers = numberOf("unusedAnswers"),
                                  .unusedReplies = numberOf("unusedReplies"),
                                  .unsavedDocuments = namesOf("unsavedDocuments"),
                                  .closedQuestions = namesOf("closedQuestions"),
                                  .openWindows = namesOf("openWindows")}
                         .Undone());
}

std::string FirstLines(const std::vector<std::string>& lines, std::size_t most)
{
    std::string text;
    for (std::size_t i = 0; i < lines.size() && i < most; ++i)
        text += (i == 0 ? "" : "\n") + lines[i];
    if (lines.size() > most)
        text += "\n… and " + std::to_string(lines.size() - most) + " more";
    return text;
}

std::vector<std::string> LinesIn(const std::string& text)
{
    std::vector<std::string> lines;
    std::istringstream input(text);
    for (std::string line; std::getline(input, line);)
        lines.push_back(line);
    return lines;
}

std::string Shortened(const std::string& text, std::size_t most)
{
    std::size_t characters = 0;
    for (std::size_t i = 0; i < text.size(); ++i)
        if (!ContinuesCharacter(text[i]) && ++characters > most)
            return text.substr(0, i) + "…";
    return text;
}

std::string Indented(const std::string& text, std::size_t blanks)
{
    std::string result;
    for (const char unit : text) {
        result += unit;
        if (unit == '\n')
            result.append(blanks, ' ');
    }
    return result;
}

std::string Decimal(double number, int places)
{
    std::array<char, 64> text{};
    std::to_chars(text.data(), text.data() + text.size() - 1, number, std::chars_format::fixed, places);
    return text.data();
}

std::string Grouped(std::uintmax_t number)
{
    std::string digits = std::to_string(number);
    for (std::size_t position = digits.size(); position > 3;) {
        position -= 3;
        digits.insert(position, 1, ',');
    }
    return digits;
}

std::string SizeText(std::uintmax_t bytes)
{
    const auto number = static_cast<double>(bytes);
    if (bytes < 1'000)
        return std::to_string(bytes) + (bytes == 1 ? " byte" : " bytes");
    return number < 999'950 ? Decimal(number / 1e3, 1) + " KB" : Decimal(number / 1e6, 1) + " MB";
}

std::string DurationText(std::chrono::duration<double> duration)
{
    const double seconds = duration.count();
    return seconds < 0.01 ? "under 0.01 s" : Decimal(seconds, seconds < 10 ? 2 : 1) + " s";
}

std::string AnswerText(int answer)
{
    constexpr std::array<const char*, 5> words = {"closed", "OK", "Cancel", "Yes", "No"};
    const auto index = static_cast<std::size_t>(answer);
    return index < words.size() ? words[index] : "button " + std::to_string(answer);
}

} // namespace openhost
