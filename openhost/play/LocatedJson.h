// JSON values that know the line they stand on, so that an error can name it.
#pragma once

#include <nlohmann/json.hpp>

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace openhost {

/// What is wrong, and on which line of the text, counted from 1.
class LocatedError : public std::runtime_error {
public:
    LocatedError(int line, const std::string& reason) : std::runtime_error(reason), line_(line) {}
    int Line() const { return line_; }

private:
    int line_;
};

struct LocatedMember;

/// A value of a JSON text.
struct LocatedJson {
    /// Deepest nesting of lists and maps.
    static constexpr std::size_t MaximumDepth = 200;

    /// Reads a whole text. Throws LocatedError for a text that is no JSON, no valid UTF-8, nested too deeply, or
    /// has two members of one name in a map.
    static LocatedJson Parse(std::string_view text);

    /// The member `name` of a map, or null.
    const LocatedJson* Find(std::string_view name) const;
    /// The value with all that it holds.
    nlohmann::ordered_json ToJson() const;
    /// What kind of value it is, for messages: "a text", "a list" and so on.
    const char* KindName() const;

    int line = 1;                       ///< where the value begins; for a member, where its name stands
    nlohmann::ordered_json value;       ///< of lists and maps, only which of them it is
    std::vector<LocatedMember> members; ///< of a map, in the order of the text
    std::vector<LocatedJson> items;     ///< of a list
};

/// A member of a map.
struct LocatedMember {
    std::string name;
    LocatedJson value;
};

} // namespace openhost
