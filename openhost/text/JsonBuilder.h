// Builds a JSON value from the events of the parser.
#pragma once

#include "host/json.h"

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

namespace openhost {

/// Takes events in the order of the text. An operation that returns false ends the parsing.
class JsonBuilder : public nlohmann::json_sax<nlohmann::ordered_json> {
public:
    using Json = nlohmann::ordered_json;

    /// The whole value, once the parser has reported no error.
    Json TakeResult() { return std::move(result_); }

    bool null() override { return Add(nullptr); }
    bool boolean(bool value) override { return Add(value); }
    bool number_integer(number_integer_t value) override { return Add(value); }
    bool number_unsigned(number_unsigned_t value) override { return Add(value); }
    bool number_float(number_float_t value, const string_t&) override { return Add(value); }
    bool string(string_t& value) override { return Add(std::move(value)); }
    bool binary(binary_t&) override { return false; }
    bool start_object(std::size_t) override { return Open(true); }
    bool key(string_t& name) override;
    bool end_object() override;
    bool start_array(std::size_t) override { return Open(false); }
    bool end_array() override;
    bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception&) override { return false; }

private:
    using Member = std::pair<std::string, Json>;
    struct Level {
        bool isMap;
        std::vector<Member> members; ///< of a map; the value of the last one may still be to come
        Json::array_t items;         ///< of a list
    };

    bool Add(Json value);
    bool Open(bool isMap);
    bool Close(Json container);
    static void MergeDuplicates(std::vector<Member>& members);

    std::vector<Level> levels_;
    Json result_;
};

} // namespace openhost
