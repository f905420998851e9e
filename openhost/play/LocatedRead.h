// Typed reading of located JSON values. Each operation throws LocatedError for a value of another type.
#pragma once

#include "openhost/play/LocatedJson.h"

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <map>
#include <string>

namespace openhost {

/// Readers of the members of a map, by name.
using MemberReaders = std::map<std::string, std::function<void(const LocatedJson&)>>;

/// Hands each member of the map `value`, called `what` in messages, to its reader. A member without one is an error.
void ReadMembers(const LocatedJson& value, const std::string& what, const MemberReaders& readers);
/// Throws when the map `value` lacks the member `name`.
void RequireMember(const LocatedJson& value, const std::string& what, const std::string& name);

/// `name` is what messages call the value.
const std::string& ReadText(const LocatedJson& value, const std::string& name);
/// A text that is not empty.
const std::string& ReadName(const LocatedJson& value, const std::string& name);
bool ReadBoolean(const LocatedJson& value, const std::string& name);
std::int64_t ReadInteger(const LocatedJson& value, const std::string& name, std::int64_t least, std::int64_t most);
double ReadNumber(const LocatedJson& value, const std::string& name, double least, double most);

} // namespace openhost
