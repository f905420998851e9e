// Texts of the journal's events, sizes and times in words.
#pragma once

#include <nlohmann/json.hpp>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace openhost {

/// The text member `key` of `event` as it stands; empty when there is none.
std::string TextOf(const nlohmann::ordered_json& event, const char* key);
/// The same in one line, without control characters.
std::string LineOf(const nlohmann::ordered_json& event, const char* key);
/// Name of the file `path`, and of that of the member `key`, in one line.
std::string FileName(const std::filesystem::path& path);
std::string FileNameOf(const nlohmann::ordered_json& event, const char* key);

/// The lines of the tree whose root is `product`, the member "root" of an event "tree".
std::vector<std::string> TreeLines(const nlohmann::ordered_json& product);

/// How a session has ended, and what it has left undone (empty for nothing), of its event "end".
std::string OutcomeOf(const nlohmann::ordered_json& end);
std::string UndoneOf(const nlohmann::ordered_json& end);

/// The first `most` of `lines` one below the other, then how many there are more.
std::string FirstLines(const std::vector<std::string>& lines, std::size_t most);
std::vector<std::string> LinesIn(const std::string& text);
/// `text`, of whose characters those from the number `most` on become "…".
std::string Shortened(const std::string& text, std::size_t most);
/// `text` with its further lines moved to the right by `blanks`.
std::string Indented(const std::string& text, std::size_t blanks);

/// With a point, whatever the language of the user is.
std::string Decimal(double number, int places);
/// 1234567 as "1,234,567".
std::string Grouped(std::uintmax_t number);
/// "557 bytes", "12.3 KB", "4.5 MB".
std::string SizeText(std::uintmax_t bytes);
/// "0.04 s", "under 0.01 s".
std::string DurationText(std::chrono::duration<double> duration);
/// The answer to a question: "Yes", "closed".
std::string AnswerText(int answer);

} // namespace openhost
