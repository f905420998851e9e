// Typed reading of located JSON values. Each operation throws LocatedError for a value of another type.
#pragma once

#include "openhost/play/LocatedJson.h"

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <map>
#include <string>
#include <vector>

namespace openhost {

/// Takes a member of a map; `name` is its name.
using MemberReader = std::function<void(const LocatedJson& value, const std::string& name)>;
using MemberReaders = std::map<std::string, MemberReader>;

/// Hands each member of the map `value`, called `what` in messages, to its reader. A member without one is an error.
void ReadMembers(const LocatedJson& value, const std::string& what, const MemberReaders& readers);
/// Throws when the map `value` lacks one of the members `names`.
void RequireMembers(const LocatedJson& value, const std::string& what, std::initializer_list<const char*> names);

/// Puts what `read`, such as one of the operations below, makes of a member into `target`.
template <class Target, class Read>
MemberReader Into(Target& target, Read read)
{
    return [&target, read](const LocatedJson& value, const std::string& name) { target = read(value, name); };
}

/// `name` is what messages call the value.
const std::string& ReadText(const LocatedJson& value, const std::string& name);
/// A text that is not empty.
const std::string& ReadName(const LocatedJson& value, const std::string& name);
bool ReadBoolean(const LocatedJson& value, const std::string& name);
std::int64_t ReadInteger(const LocatedJson& value, const std::string& name, std::int64_t least, std::int64_t most);
/// The items of a list.
const std::vector<LocatedJson>& ReadList(const LocatedJson& value, const std::string& name);
double ReadNumber(const LocatedJson& value, const std::string& name, double least, double most);

} // namespace openhost
