#include "PathVariables.h"

#include "Paths.h"
#include "TemporaryFolder.h"

#include "host/system.h"
#include "openhost/text/Utf.h"

#include <cstdlib>
#include <map>
#include <system_error>
#include <utility>

namespace openhost {

namespace {

/// A value that was set.
struct Value {
    std::filesystem::path path;
    std::shared_ptr<TemporaryFolder> folder; ///< null, or what `path` names
};

std::map<std::string, Value>& SetVariables()
{
    static std::map<std::string, Value> variables;
    return variables;
}

} // namespace

void SetPathVariable(const std::string& name, const std::filesystem::path& value)
{
    SetVariables()[name] = {value, nullptr};
}

void SetPathVariable(const std::string& name, std::shared_ptr<TemporaryFolder> value)
{
    const std::filesystem::path path = value->Path();
    SetVariables()[name] = {path, std::move(value)};
}

void UnsetPathVariable(const std::string& name)
{
    SetVariables().erase(name);
}

std::filesystem::path GetPathVariable(const std::string& name)
{
    const auto found = SetVariables().find(name);
    if (found != SetVariables().end()) {
        if (found->second.folder)
            found->second.folder->Restore();
        return found->second.path;
    }

    // Any other name of the environment is no path variable, so that its value stays where it is.
    if (name != TemporaryFolderVariable && name != InstallationVariable)
        return {};

    const char* const environment = std::getenv(name.c_str());
    if (environment && *environment)
        return environment;
    if (name == InstallationVariable)
        return {};

    static TemporaryFolder temporary;
    temporary.Restore();
    return temporary.Path();
}

} // namespace openhost

ZALUnicodeString ZALGetOfficialVariable(const char* name)
{
    try {
        return openhost::FromUtf8(openhost::GetPathVariable(name ? name : "").string());
    } catch (const std::system_error&) {
        return {};
    }
}

HRESULT ZALGetFilePathFromOfficialVariable(const ZALUnicodeString& relativePath, const char* name,
                                           ZALUnicodeString& path)
{
    path = {};
    ZALUnicodeString found = ZALGetOfficialVariable(name);
    if (found.GetLengthInChar() == 0 || openhost::HasParentComponent(relativePath))
        return E_FAIL;
    ZALMakePath(found, relativePath);
    ZALFileStatus status;
    if (FAILED(ZALFileStat(found, status, 0)))
        return E_FAIL;
    path = found;
    return S_OK;
}
