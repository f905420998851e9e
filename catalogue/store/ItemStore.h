// The items of a catalogue in a database: entries, an index of their words, and what they are filtered by.
#pragma once

#include "catalogue/store/Database.h"
#include "catalogue/store/Vocabulary.h"

#include <nlohmann/json.hpp>

#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <limits>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace catalogue {

/// The file of the items in the folder of a catalogue.
inline constexpr const char* StoreName = "items.sqlite";

/// Most words of a search, most alternatives of one, and most characters of all.
inline constexpr std::size_t MaximumSearchWords = 20;
inline constexpr std::size_t MaximumSearchAlternatives = 50;
inline constexpr std::size_t MaximumSearchText = 4000;
/// Most items of a page.
inline constexpr std::size_t MaximumPageItems = 200;

/// Ranges of the longest edge of an item's box, in millimetres: each ends where the next one begins.
inline constexpr std::array<double, 6> SizeRanges = {0, 10, 30, 100, 300, 1000};

/// Which items are wanted. Empty texts ask for nothing.
struct ItemQuery {
    /// An item has one of the alternatives of each word, at the beginning of a word of its own. An alternative of
    /// several words stands in the item as it is.
    std::vector<std::vector<std::string>> words;
    std::string category;
    std::string material;
    std::optional<std::size_t> size; ///< position in SizeRanges
    std::size_t first = 0;           ///< how many are passed over
    std::size_t count = 50;
};

/// How many items a choice would leave.
struct Choice {
    std::string name;
    std::size_t count = 0;
    bool operator==(const Choice&) const = default;
};

/// A page of the items that were asked for.
struct ItemPage {
    std::size_t total = 0; ///< items on all pages
    /// Entries, closest first. A word in the title counts for most. Of more than 5,000 items those with all the words
    /// in their titles come first, and otherwise they stand as in the catalogue.
    std::vector<nlohmann::ordered_json> items;
    /// Each with the other conditions of the query: by name, or in the order of SizeRanges.
    std::vector<Choice> categories;
    std::vector<Choice> materials;
    std::array<std::size_t, SizeRanges.size()> sizes{};
    /// What was searched when words that no item has were taken for others; empty otherwise.
    std::vector<std::string> meant;
};

/// Reads the items. Any thread; one search at a time.
class ItemStore {
public:
    /// Throws DatabaseError for a file that is missing, or is no store of this version.
    explicit ItemStore(const std::filesystem::path& path);

    std::size_t Size() const { return marks_.size(); }
    /// Throws std::invalid_argument for a query past the limits.
    ItemPage Find(const ItemQuery& query) const;
    /// The entry of the item `id` with its member "shape", when it has one; nothing when there is no such item.
    std::optional<nlohmann::ordered_json> Entry(const std::string& id) const;
    /// The entries, without shapes, of the items with these numbers; of one that is not there null.
    std::vector<nlohmann::ordered_json> Entries(const std::vector<std::int64_t>& numbers) const;
    /// Hands on the number and the shape, as text, of each item that has one.
    void ForEachShape(const std::function<void(std::int64_t number, std::string_view shape)>& take) const;

private:
    /// What an item is filtered by.
    struct Mark {
        std::int64_t number;
        std::uint32_t category;
        std::uint32_t material;
        std::size_t size; ///< position in SizeRanges, or their number
    };
    using Numbers = std::vector<std::int64_t>;

    Numbers Match(const std::string& expression, bool isRanked) const;
    Numbers Search(const std::vector<std::vector<std::string>>& words) const;
    std::vector<std::vector<std::string>> Correct(const std::vector<std::vector<std::string>>& words,
                                                  std::vector<std::string>& meant) const;

    Database database_;
    mutable std::mutex mutex_; ///< of the database and the vocabulary
    mutable std::optional<Vocabulary> vocabulary_;
    std::vector<Mark> marks_; ///< by number
    std::vector<std::string> categories_;
    std::vector<std::string> materials_;
};

/// Makes a store, or changes one.
class ItemStoreWriter {
public:
    explicit ItemStoreWriter(const std::filesystem::path& path);

    /// Puts the item with the entry `entry`, an object, in the place of the one with its "id", or as the `number`-th,
    /// which no other one is, or behind all others. The words of "title", "category", "description", "dimensions" and
    /// "id" can be found; "category", "material" and "boundingBox" are what it is filtered by; "shape" is what it is
    /// found by.
    void Put(const nlohmann::ordered_json& entry, std::optional<std::int64_t> number = {});
    void Remove(const std::string& id);
    /// One after that of the last item.
    std::int64_t NextNumber() const;
    /// Does `work`: all of it, or nothing when it throws.
    void DoAtOnce(const std::function<void()>& work) { database_.DoAtOnce(work); }
    /// For tables beside those of the items.
    const Database& Connection() const { return database_; }

private:
    Database database_;
};

} // namespace catalogue
