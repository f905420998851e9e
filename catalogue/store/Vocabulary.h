// The words that items have, to tell what a mistyped one was meant to be.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace catalogue {

class Vocabulary {
public:
    /// `word` stands in `items` items. Words come in alphabetical order.
    void Add(std::string_view word, std::size_t items);

    /// The word that `typed` was most likely meant to be: fewest letters are wrong, missing, too many or in the wrong
    /// order, at most one up to five letters and two in longer words; among such the word that most items have. A word
    /// that goes on after those letters counts as well. Nothing for words with a digit: a wrong size is another size.
    std::optional<std::string> Correct(std::string_view typed) const;

private:
    struct Word {
        std::string text;
        std::size_t items;
    };
    std::vector<Word> words_;
};

/// How many letters of `typed` are wrong, missing, too many or exchanged with their neighbour, compared to the
/// beginning of `word` that fits best; more than `most` counts as `most` + 1. Letters are bytes.
std::size_t TypingErrors(std::string_view typed, std::string_view word, std::size_t most);

} // namespace catalogue
