#include "catalogue/store/ItemStore.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <stdexcept>
#include <unordered_map>

namespace catalogue {

namespace {

using Json = nlohmann::ordered_json;
using Words = std::vector<std::vector<std::string>>;

constexpr std::int64_t Version = 1;
/// Of more items the closest ones are not looked for: each takes a microsecond.
constexpr std::size_t MostRanked = 5000;

constexpr const char* Schema = R"(
CREATE TABLE items (number INTEGER PRIMARY KEY, id TEXT NOT NULL UNIQUE, category TEXT NOT NULL, material TEXT NOT NULL,
                    size REAL NOT NULL, entry TEXT NOT NULL, shape TEXT NOT NULL);
CREATE VIRTUAL TABLE words USING fts5(title, category, description, sizes, id, content='', prefix='1 2 3',
                                      tokenize='unicode61 remove_diacritics 2');
CREATE VIRTUAL TABLE terms USING fts5vocab(words, row);
PRAGMA user_version = 1;
)";

std::string TextOf(const Json& entry, const char* name)
{
    const auto member = entry.find(name);
    return member != entry.end() && member->is_string() ? member->get<std::string>() : std::string();
}

/// The longest edge of the box; 0 when it is not known.
double SizeOf(const Json& entry)
{
    const auto box = entry.find("boundingBox");
    if (box == entry.end() || !box->is_object())
        return 0;
    const auto corner = [&](const char* name) {
        const Json point = box->value(name, Json());
        std::vector<double> numbers;
        if (point.is_array())
            for (const Json& number : point)
                numbers.push_back(number.is_number() ? number.get<double>() : 0);
        numbers.resize(3);
        return numbers;
    };
    const std::vector<double> lowest = corner("lowest");
    const std::vector<double> highest = corner("highest");
    double size = 0;
    for (std::size_t axis = 0; axis < 3; ++axis)
        size = std::max(size, highest[axis] - lowest[axis]);
    return std::isfinite(size) ? size : 0;
}

/// In which of SizeRanges; their number when the size is not known.
std::size_t RangeOf(double size)
{
    if (!(size > 0))
        return SizeRanges.size();
    const auto next = std::upper_bound(SizeRanges.begin() + 1, SizeRanges.end(), size);
    return static_cast<std::size_t>(next - SizeRanges.begin()) - 1;
}

bool IsDigit(char character)
{
    return character >= '0' && character <= '9';
}

bool IsWordCharacter(char character)
{
    return IsDigit(character) || (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
           static_cast<unsigned char>(character) >= 0x80;
}

/// The ends of words like "M8x40" that somebody may look for: "8x40 x40 40".
std::string EndsOf(std::string_view text)
{
    std::string ends;
    for (std::size_t at = 1; at < text.size(); ++at) {
        if (!IsWordCharacter(text[at - 1]) || !IsWordCharacter(text[at]) || IsDigit(text[at - 1]) == IsDigit(text[at]))
            continue;
        const auto end = std::find_if_not(text.begin() + static_cast<std::ptrdiff_t>(at), text.end(), IsWordCharacter);
        ends.append(text.begin() + static_cast<std::ptrdiff_t>(at), end) += ' ';
    }
    return ends;
}

/// Such as "d 8 d8 l 40.25 l40.25".
std::string DimensionWords(const Json& entry)
{
    std::string words;
    const auto dimensions = entry.find("dimensions");
    if (dimensions == entry.end() || !dimensions->is_object())
        return words;
    for (const auto& [name, value] : dimensions->items()) {
        if (!value.is_number())
            continue;
        std::array<char, 32> digits{};
        const auto end = std::to_chars(digits.begin(), digits.end(), value.get<double>()).ptr;
        const std::string number(digits.begin(), end);
        words.append(name).append(" ").append(number).append(" ").append(name).append(number).append(" ");
    }
    return words;
}

/// By column of the table of words.
std::array<std::string, 5> WordsOf(const Json& entry)
{
    const std::string title = TextOf(entry, "title");
    const std::string id = TextOf(entry, "id");
    return {title, TextOf(entry, "category"), TextOf(entry, "description"), DimensionWords(entry) + EndsOf(title), id};
}

/// What the table of words understands, or nothing when nothing is asked for.
std::string ExpressionOf(const Words& words)
{
    std::string all;
    for (const std::vector<std::string>& alternatives : words) {
        std::string any;
        for (const std::string& alternative : alternatives) {
            if (std::ranges::none_of(alternative, IsWordCharacter))
                continue;
            std::string quoted;
            for (const char character : alternative) {
                const bool isControl = static_cast<unsigned char>(character) < 0x20;
                quoted += isControl || character == '"' ? ' ' : character;
            }
            any.append(any.empty() ? "\"" : " OR \"").append(quoted).append("\"*");
        }
        if (!any.empty())
            all.append(all.empty() ? "(" : " AND (").append(any).append(")");
    }
    return all;
}

void Check(const ItemQuery& query)
{
    std::size_t size = 0;
    for (const std::vector<std::string>& alternatives : query.words) {
        if (alternatives.size() > MaximumSearchAlternatives)
            throw std::invalid_argument("a word has too many alternatives");
        for (const std::string& alternative : alternatives)
            size += alternative.size();
    }
    if (query.words.size() > MaximumSearchWords || size > MaximumSearchText)
        throw std::invalid_argument("the search has too many words");
    if (query.count > MaximumPageItems)
        throw std::invalid_argument("a page has at most " + std::to_string(MaximumPageItems) + " items");
    if (query.size && *query.size >= SizeRanges.size())
        throw std::invalid_argument("there is no such range of sizes");
}

/// Gives each name a position, in the order of their coming.
class Names {
public:
    explicit Names(std::vector<std::string>& names) : names_(names) {}
    std::uint32_t PositionOf(std::string_view name)
    {
        const auto [known, isNew] = known_.try_emplace(std::string(name), static_cast<std::uint32_t>(names_.size()));
        if (isNew)
            names_.emplace_back(name);
        return known->second;
    }

private:
    std::vector<std::string>& names_;
    std::unordered_map<std::string, std::uint32_t> known_;
};

std::vector<Choice> ChoicesOf(const std::vector<std::string>& names, const std::vector<std::size_t>& counts)
{
    std::vector<Choice> choices;
    for (std::size_t position = 0; position < names.size(); ++position)
        if (counts[position] > 0 && !names[position].empty())
            choices.push_back({names[position], counts[position]});
    return choices;
}

} // namespace

// ---------------------------------------------------------------------------------------------
// Reading

ItemStore::ItemStore(const std::filesystem::path& path) : database_(path, Database::Mode::Read)
{
    Statement version(database_, "PRAGMA user_version");
    if (!version.Step() || version.Number(0) != Version)
        throw DatabaseError(path.string() + ": no items of a catalogue, or of another version");
    Names categories(categories_);
    Names materials(materials_);
    Statement items(database_, "SELECT number, category, material, size FROM items ORDER BY number");
    while (items.Step())
        marks_.push_back({items.Number(0), categories.PositionOf(items.Text(1)), materials.PositionOf(items.Text(2)),
                          RangeOf(items.Real(3))});
}

ItemStore::Numbers ItemStore::Match(const std::string& expression, bool isRanked) const
{
    // Weights of title, category, description, sizes and id.
    Statement match(database_, std::string("SELECT rowid FROM words WHERE words MATCH ?") +
                                   (isRanked ? " ORDER BY bm25(words, 10, 4, 1, 2, 2), rowid" : ""));
    match.Bind(expression);
    Numbers numbers;
    while (match.Step())
        numbers.push_back(match.Number(0));
    return numbers;
}

ItemStore::Numbers ItemStore::Search(const Words& words) const
{
    const std::string expression = ExpressionOf(words);
    Numbers numbers = Match(expression, false);
    if (numbers.size() <= MostRanked)
        return numbers.empty() ? numbers : Match(expression, true);
    Numbers sorted = Match("{title} : (" + expression + ")", false);
    const auto inTitle = static_cast<std::ptrdiff_t>(sorted.size());
    sorted.reserve(numbers.size());
    std::set_difference(numbers.begin(), numbers.end(), sorted.begin(), sorted.begin() + inTitle,
                        std::back_inserter(sorted));
    return sorted;
}

Words ItemStore::Correct(const Words& words, std::vector<std::string>& meant) const
{
    if (!vocabulary_) {
        vocabulary_.emplace();
        Statement terms(database_, "SELECT term, doc FROM terms");
        while (terms.Step())
            vocabulary_->Add(terms.Text(0), static_cast<std::size_t>(terms.Number(1)));
    }
    Words corrected = words;
    bool isOther = false;
    for (std::vector<std::string>& alternatives : corrected) {
        const std::string expression = ExpressionOf({alternatives});
        Statement any(database_, "SELECT rowid FROM words WHERE words MATCH ? LIMIT 1");
        if (expression.empty() || any.Bind(expression).Step())
            continue;
        std::string typed = alternatives.front();
        for (char& character : typed)
            if (character >= 'A' && character <= 'Z')
                character = static_cast<char>(character - 'A' + 'a');
        if (const auto word = vocabulary_->Correct(typed)) {
            alternatives = {*word};
            isOther = true;
        }
    }
    if (isOther)
        for (const std::vector<std::string>& alternatives : corrected)
            if (!alternatives.empty())
                meant.push_back(alternatives.front());
    return corrected;
}

ItemPage ItemStore::Find(const ItemQuery& query) const
{
    Check(query);
    ItemPage page;
    std::vector<const Mark*> found;
    if (ExpressionOf(query.words).empty()) {
        found.reserve(marks_.size());
        for (const Mark& mark : marks_)
            found.push_back(&mark);
    } else {
        const std::lock_guard lock(mutex_);
        Numbers numbers = Search(query.words);
        if (numbers.empty()) {
            const Words corrected = Correct(query.words, page.meant);
            if (!page.meant.empty())
                numbers = Search(corrected);
            if (numbers.empty())
                page.meant.clear();
        }
        found.reserve(numbers.size());
        for (const std::int64_t number : numbers) {
            const auto mark = std::ranges::lower_bound(marks_, number, {}, &Mark::number);
            if (mark != marks_.end() && mark->number == number)
                found.push_back(&*mark);
        }
    }

    std::vector<std::size_t> categories(categories_.size());
    std::vector<std::size_t> materials(materials_.size());
    Numbers shown;
    for (const Mark* mark : found) {
        const bool isOfCategory = query.category.empty() || categories_[mark->category] == query.category;
        const bool isOfMaterial = query.material.empty() || materials_[mark->material] == query.material;
        const bool isOfSize = !query.size || mark->size == *query.size;
        categories[mark->category] += isOfMaterial && isOfSize;
        materials[mark->material] += isOfCategory && isOfSize;
        if (mark->size < SizeRanges.size())
            page.sizes[mark->size] += isOfCategory && isOfMaterial;
        if (!isOfCategory || !isOfMaterial || !isOfSize)
            continue;
        if (page.total >= query.first && shown.size() < query.count)
            shown.push_back(mark->number);
        ++page.total;
    }
    page.categories = ChoicesOf(categories_, categories);
    page.materials = ChoicesOf(materials_, materials);
    page.items = Entries(shown);
    return page;
}

std::vector<Json> ItemStore::Entries(const std::vector<std::int64_t>& numbers) const
{
    const std::lock_guard lock(mutex_);
    std::vector<Json> entries;
    for (const std::int64_t number : numbers) {
        Statement item(database_, "SELECT entry FROM items WHERE number = ?");
        entries.push_back(item.Bind(number).Step() ? Json::parse(item.Text(0), nullptr, false) : Json());
    }
    return entries;
}

std::optional<Json> ItemStore::Entry(const std::string& id) const
{
    const std::lock_guard lock(mutex_);
    Statement item(database_, "SELECT entry, shape FROM items WHERE id = ?");
    if (!item.Bind(id).Step())
        return std::nullopt;
    Json entry = Json::parse(item.Text(0), nullptr, false);
    if (!item.Text(1).empty() && entry.is_object())
        entry["shape"] = item.Text(1);
    return entry;
}

void ItemStore::ForEachShape(const std::function<void(std::int64_t number, std::string_view shape)>& take) const
{
    const std::lock_guard lock(mutex_);
    Statement shapes(database_, "SELECT number, shape FROM items WHERE shape <> '' ORDER BY number");
    while (shapes.Step())
        take(shapes.Number(0), shapes.Text(1));
}

// ---------------------------------------------------------------------------------------------
// Writing

ItemStoreWriter::ItemStoreWriter(const std::filesystem::path& path) : database_(path, Database::Mode::Write)
{
    std::int64_t version = 0;
    {
        Statement read(database_, "PRAGMA user_version");
        read.Step();
        version = read.Number(0);
    }
    if (version == 0)
        DoAtOnce([this] { database_.Run(Schema); });
    else if (version != Version)
        throw DatabaseError(path.string() + ": items of another version");
}

void ItemStoreWriter::Put(const Json& entry, std::optional<std::int64_t> number)
{
    const std::string id = entry.is_object() ? TextOf(entry, "id") : std::string();
    if (id.empty())
        throw std::invalid_argument("an item needs an identifier");
    Statement known(database_, "SELECT number, entry FROM items WHERE id = ?");
    if (known.Bind(id).Step()) {
        number = known.Number(0);
        Remove(id);
    }
    Json stored = entry;
    const std::string shape = TextOf(entry, "shape");
    stored.erase("shape");
    Statement items(database_, "INSERT INTO items VALUES (?, ?, ?, ?, ?, ?, ?)");
    const std::int64_t row = number ? *number : NextNumber();
    items.Bind(row)
        .Bind(id)
        .Bind(TextOf(entry, "category"))
        .Bind(TextOf(entry, "material"))
        .Bind(SizeOf(entry))
        .Bind(stored.dump())
        .Bind(shape)
        .Run();
    Statement words(database_, "INSERT INTO words (rowid, title, category, description, sizes, id) "
                               "VALUES (?, ?, ?, ?, ?, ?)");
    words.Bind(row);
    for (const std::string& text : WordsOf(stored))
        words.Bind(text);
    words.Run();
}

std::int64_t ItemStoreWriter::NextNumber() const
{
    Statement last(database_, "SELECT coalesce(max(number), 0) + 1 FROM items");
    last.Step();
    return last.Number(0);
}

void ItemStoreWriter::Remove(const std::string& id)
{
    std::int64_t number = 0;
    Json entry;
    {
        Statement known(database_, "SELECT number, entry FROM items WHERE id = ?");
        if (!known.Bind(id).Step())
            return;
        number = known.Number(0);
        entry = Json::parse(known.Text(1), nullptr, false);
    }
    // The table of words has to be told what it forgets.
    Statement words(database_, "INSERT INTO words (words, rowid, title, category, description, sizes, id) "
                               "VALUES ('delete', ?, ?, ?, ?, ?, ?)");
    words.Bind(number);
    for (const std::string& text : WordsOf(entry))
        words.Bind(text);
    words.Run();
    Statement(database_, "DELETE FROM items WHERE id = ?").Bind(id).Run();
}

} // namespace catalogue
