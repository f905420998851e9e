#include "catalogue/store/Vocabulary.h"

#include <algorithm>
#include <array>
#include <numeric>

namespace catalogue {

namespace {

/// Longer words are not looked at.
constexpr std::size_t LongestWord = 40;
constexpr std::size_t ShortestWord = 3;
/// Words with more letters may have two errors.
constexpr std::size_t ShortWord = 5;

bool HasDigit(std::string_view word)
{
    return std::ranges::any_of(word, [](char letter) { return letter >= '0' && letter <= '9'; });
}

} // namespace

// After Damerau and Levenshtein, with exchanged neighbours alone.
std::size_t TypingErrors(std::string_view typed, std::string_view word, std::size_t most)
{
    if (typed.size() > LongestWord || typed.size() > word.size() + most)
        return most + 1;
    word = word.substr(0, typed.size() + most);
    using Row = std::array<std::size_t, 2 * LongestWord>;
    Row before{};
    Row last{};
    Row row{};
    std::iota(last.begin(), last.begin() + static_cast<std::ptrdiff_t>(word.size()) + 1, std::size_t{0});
    for (std::size_t i = 1; i <= typed.size(); ++i) {
        row[0] = i;
        std::size_t least = i;
        for (std::size_t j = 1; j <= word.size(); ++j) {
            const std::size_t differs = typed[i - 1] == word[j - 1] ? 0 : 1;
            row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + differs});
            if (i > 1 && j > 1 && typed[i - 1] == word[j - 2] && typed[i - 2] == word[j - 1])
                row[j] = std::min(row[j], before[j - 2] + 1);
            least = std::min(least, row[j]);
        }
        if (least > most)
            return most + 1;
        before = last;
        last = row;
    }
    // Whatever of the word comes after what was typed has not been typed yet.
    const auto end = last.begin() + static_cast<std::ptrdiff_t>(word.size()) + 1;
    return std::min(*std::min_element(last.begin(), end), most + 1);
}

void Vocabulary::Add(std::string_view word, std::size_t items)
{
    if (!HasDigit(word))
        words_.push_back({std::string(word), items});
}

std::optional<std::string> Vocabulary::Correct(std::string_view typed) const
{
    if (typed.size() < ShortestWord || HasDigit(typed))
        return std::nullopt;
    std::size_t fewest = typed.size() > ShortWord ? 2 : 1;
    const Word* best = nullptr;
    for (const Word& word : words_) {
        if (word.text.size() < ShortestWord)
            continue;
        const std::size_t errors = TypingErrors(typed, word.text, fewest);
        // Whoever searches for the beginning of a word finds the whole word as well.
        if (errors > fewest ||
            (best && errors == fewest && (word.items <= best->items || word.text.starts_with(best->text))))
            continue;
        best = &word;
        fewest = errors;
    }
    return best ? std::optional(best->text) : std::nullopt;
}

} // namespace catalogue
