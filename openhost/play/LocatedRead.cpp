#include "openhost/play/LocatedRead.h"

#include <sstream>

namespace openhost {

namespace {

std::string Quote(const std::string& name)
{
    return "\"" + name + "\"";
}

[[noreturn]] void FailType(const LocatedJson& value, const std::string& name, const std::string& wanted)
{
    throw LocatedError(value.line, Quote(name) + " must be " + wanted + ", not " + value.KindName());
}

} // namespace

void ReadMembers(const LocatedJson& value, const std::string& what, const MemberReaders& readers)
{
    if (!value.value.is_object())
        throw LocatedError(value.line, what + " must be a map, not " + value.KindName());
    for (const auto& [name, member] : value.members) {
        const auto reader = readers.find(name);
        if (reader == readers.end())
            throw LocatedError(member.line, what + " has the unknown key " + Quote(name));
        reader->second(member, name);
    }
}

void RequireMembers(const LocatedJson& value, const std::string& what, std::initializer_list<const char*> names)
{
    for (const char* name : names)
        if (!value.Find(name))
            throw LocatedError(value.line, what + " needs the key " + Quote(name));
}

const std::string& ReadText(const LocatedJson& value, const std::string& name)
{
    if (!value.value.is_string())
        FailType(value, name, "a text");
    return value.value.get_ref<const std::string&>();
}

const std::string& ReadName(const LocatedJson& value, const std::string& name)
{
    const std::string& text = ReadText(value, name);
    if (text.empty())
        throw LocatedError(value.line, Quote(name) + " must not be empty");
    return text;
}

bool ReadBoolean(const LocatedJson& value, const std::string& name)
{
    if (!value.value.is_boolean())
        FailType(value, name, "true or false");
    return value.value.get<bool>();
}

std::int64_t ReadInteger(const LocatedJson& value, const std::string& name, std::int64_t least, std::int64_t most)
{
    const std::string wanted = "a whole number from " + std::to_string(least) + " to " + std::to_string(most);
    if (!value.value.is_number())
        FailType(value, name, wanted);
    const double number = value.value.get<double>();
    if (!value.value.is_number_integer() || number < static_cast<double>(least) || number > static_cast<double>(most))
        throw LocatedError(value.line, Quote(name) + " must be " + wanted);
    return value.value.get<std::int64_t>();
}

const std::vector<LocatedJson>& ReadList(const LocatedJson& value, const std::string& name)
{
    if (!value.value.is_array())
        FailType(value, name, "a list");
    return value.items;
}

double ReadNumber(const LocatedJson& value, const std::string& name, double least, double most)
{
    std::ostringstream wanted;
    wanted << "a number from " << least << " to " << most;
    if (!value.value.is_number())
        FailType(value, name, wanted.str());
    const double number = value.value.get<double>();
    if (!(number >= least && number <= most))
        throw LocatedError(value.line, Quote(name) + " must be " + wanted.str());
    return number;
}

} // namespace openhost
