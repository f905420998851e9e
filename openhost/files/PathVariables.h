// The path variables of the host, which ZALGetOfficialVariable reads. Used on the user-interface thread.
//
// The value of a variable, in this order: what was set here; the environment variable of the same name;
// for "ZALTemp" a private folder, made at first use and removed when the process ends.
#pragma once

#include <filesystem>
#include <memory>
#include <string>

namespace openhost {

class TemporaryFolder;

/// Name of the folder of temporary files.
inline constexpr const char* TemporaryFolderVariable = "ZALTemp";
/// Name of the root of the installation.
inline constexpr const char* InstallationVariable = "ZALInstallPath";

/// Sets the variable `name`, of which there may be others than those above, until the process ends.
void SetPathVariable(const std::string& name, const std::filesystem::path& value);
/// The same for a folder that is made again whenever it is asked for and somebody has removed it.
void SetPathVariable(const std::string& name, std::shared_ptr<TemporaryFolder> value);
/// Takes back what was set.
void UnsetPathVariable(const std::string& name);
/// Empty for an unknown name. Throws std::system_error when a temporary folder cannot be made.
std::filesystem::path GetPathVariable(const std::string& name);

} // namespace openhost
