#include "openhost/play/EnvironmentChanges.h"

#include <stdexcept>

#include <stdlib.h>

namespace openhost {

namespace {

bool Apply(const std::string& name, const std::optional<std::string>& value)
{
    return (value ? ::setenv(name.c_str(), value->c_str(), 1) : ::unsetenv(name.c_str())) == 0;
}

} // namespace

EnvironmentChanges::~EnvironmentChanges()
{
    for (const auto& [name, value] : before_)
        Apply(name, value);
}

void EnvironmentChanges::Set(const std::string& name, const std::optional<std::string>& value)
{
    const char* present = ::getenv(name.c_str());
    before_.try_emplace(name, present ? std::optional<std::string>(present) : std::nullopt);
    if (!Apply(name, value))
        throw std::runtime_error("the environment variable " + name + " cannot be changed");
}

} // namespace openhost
