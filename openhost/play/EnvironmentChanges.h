// Environment variables for a time.
#pragma once

#include <map>
#include <optional>
#include <string>

namespace openhost {

/// Changes environment variables, and restores those of before at its end. No other thread may look at the
/// environment meanwhile.
class EnvironmentChanges {
public:
    EnvironmentChanges() = default;
    EnvironmentChanges(const EnvironmentChanges&) = delete;
    EnvironmentChanges& operator=(const EnvironmentChanges&) = delete;
    ~EnvironmentChanges();

    /// Sets the variable `name`; nothing removes it. Throws std::runtime_error for what the system refuses.
    void Set(const std::string& name, const std::optional<std::string>& value);

private:
    std::map<std::string, std::optional<std::string>> before_;
};

} // namespace openhost
