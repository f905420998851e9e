// A variable of the environment that a test sets.
#pragma once

#include <cstdlib>
#include <optional>
#include <string>

namespace openhost::testing {

/// Sets a variable, or removes it for null, as long as the object lives.
class EnvironmentVariable {
public:
    EnvironmentVariable(const char* name, const char* value) : name_(name)
    {
        if (const char* before = std::getenv(name))
            before_ = before;
        Set(value);
    }
    EnvironmentVariable(const EnvironmentVariable&) = delete;
    EnvironmentVariable& operator=(const EnvironmentVariable&) = delete;
    ~EnvironmentVariable() { Set(before_ ? before_->c_str() : nullptr); }

private:
    void Set(const char* value) const
    {
        if (value)
            setenv(name_, value, 1);
        else
            unsetenv(name_);
    }

    const char* name_;
    std::optional<std::string> before_;
};

} // namespace openhost::testing
