#include "openhost/play/LocatedJson.h"

#include <cstddef>
#include <iterator>
#include <unordered_set>
#include <utility>

namespace openhost {

namespace {

using Json = nlohmann::ordered_json;

/// Steps through a text and counts its lines.
class CountingIterator {
public:
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char*;
    using reference = const char&;

    CountingIterator(const char* position, int* line) : position_(position), line_(line) {}

    reference operator*() const { return *position_; }
    CountingIterator& operator++()
    {
        // A line break belongs to the line that it ends: the parser reads one character after a number.
        if (lineEnded_)
            ++*line_;
        lineEnded_ = *position_ == '\n';
        ++position_;
        return *this;
    }
    bool operator==(const CountingIterator& other) const { return position_ == other.position_; }
    bool operator!=(const CountingIterator& other) const { return position_ != other.position_; }

private:
    const char* position_;
    int* line_;
    bool lineEnded_ = false;
};

/// Builds the values while the parser goes through the text.
class Builder : public nlohmann::json_sax<Json> {
public:
    Builder(LocatedJson& root, const int& line) : root_(root), line_(line) {}

    bool null() override { return Add(nullptr); }
    bool boolean(bool value) override { return Add(value); }
    bool number_integer(number_integer_t value) override { return Add(value); }
    bool number_unsigned(number_unsigned_t value) override { return Add(value); }
    bool number_float(number_float_t value, const string_t&) override { return Add(value); }
    bool string(string_t& value) override { return Add(std::move(value)); }
    bool binary(binary_t&) override { return false; }
    bool start_object(std::size_t) override { return Open(Json::object()); }
    bool end_object() override { return Close(); }
    bool start_array(std::size_t) override { return Open(Json::array()); }
    bool end_array() override { return Close(); }

    bool key(string_t& name) override
    {
        if (!open_.back().names.insert(name).second)
            throw LocatedError(line_, "the key \"" + name + "\" stands here twice");
        auto& members = open_.back().value->members;
        members.push_back({std::move(name), LocatedJson{}});
        members.back().value.line = line_;
        return true;
    }

    bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception& error) override
    {
        // The library begins with the number of the error and, for most, with the position.
        std::string text = error.what();
        text.erase(0, text.find("] ") + 2);
        if (const std::size_t column = text.find("column "); column != std::string::npos)
            text.erase(0, text.find(": ", column) + 2);
        throw LocatedError(line_, text);
    }

private:
    bool Add(Json value)
    {
        Place(std::move(value));
        return true;
    }

    bool Open(Json kind)
    {
        if (open_.size() == LocatedJson::MaximumDepth)
            throw LocatedError(line_, "lists and maps are nested too deeply");
        open_.push_back({&Place(std::move(kind)), {}});
        return true;
    }

    bool Close()
    {
        open_.pop_back();
        return true;
    }

    /// Puts a value where it belongs: at the root, after its name, or at the end of a list.
    LocatedJson& Place(Json value)
    {
        LocatedJson* place = &root_;
        if (open_.empty()) {
            place->line = line_;
        } else if (open_.back().value->value.is_object()) {
            place = &open_.back().value->members.back().value;
        } else {
            place = &open_.back().value->items.emplace_back();
            place->line = line_;
        }
        place->value = std::move(value);
        return *place;
    }

    LocatedJson& root_;
    const int& line_;
    /// A list or a map whose end has not come. It stays where it is: only the innermost one grows.
    struct OpenValue {
        LocatedJson* value;
        std::unordered_set<std::string> names;
    };
    std::vector<OpenValue> open_;
};

} // namespace

LocatedJson LocatedJson::Parse(std::string_view text)
{
    LocatedJson root;
    int line = 1;
    Builder builder(root, line);
    Json::sax_parse(CountingIterator(text.data(), &line), CountingIterator(text.data() + text.size(), &line), &builder);
    return root;
}

const LocatedJson* LocatedJson::Find(std::string_view name) const
{
    for (const auto& [key, member] : members)
        if (key == name)
            return &member;
    return nullptr;
}

Json LocatedJson::ToJson() const
{
    Json json = value;
    for (const auto& [name, member] : members)
        json[name] = member.ToJson();
    for (const LocatedJson& item : items)
        json.push_back(item.ToJson());
    return json;
}

const char* LocatedJson::KindName() const
{
    switch (value.type()) {
    case Json::value_t::null:
        return "null";
    case Json::value_t::boolean:
        return "true or false";
    case Json::value_t::string:
        return "a text";
    case Json::value_t::array:
        return "a list";
    case Json::value_t::object:
        return "a map";
    default:
        return "a number";
    }
}

} // namespace openhost
