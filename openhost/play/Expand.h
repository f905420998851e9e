// Placeholders in the texts of a session: "${NAME}" stands for a value, "$${" for "${" itself.
#pragma once

#include <nlohmann/json.hpp>

#include <functional>
#include <string>

namespace openhost {

/// `text` with each placeholder replaced by what `find` gives for its name. What comes in is not looked at again.
/// Throws std::invalid_argument for a placeholder that has no end.
std::string Expand(const std::string& text, const std::function<std::string(const std::string& name)>& find);

/// `value` with the placeholders in all of its texts replaced; names of members stay as they are.
nlohmann::ordered_json ExpandAll(nlohmann::ordered_json value,
                                 const std::function<std::string(const std::string& name)>& find);

} // namespace openhost
