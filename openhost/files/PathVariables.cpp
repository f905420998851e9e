#include "PathVariables.h"

#include "Paths.h"
#include "TemporaryFolder.h"

#include "host/system.h"
#include "openhost/text/Utf.h"

#include <cstdlib>
#include <map>
#include <system_error>

namespace openhost {

namespace {

std::map<std::string, std::filesystem::path>& SetVariables()
{
    static std::map<std::string, std::filesystem::path> variables;
    return variables;
}

} // namespace

void SetPathVariable(const std::string& name, const std::filesystem::path& value)
{
    SetVariables()[name] = value;
}

void UnsetPathVariable(const std::string& name)
{
    SetVariables().erase(name);
}

std::filesystem::path GetPathVariable(const std::string& name)
{
    const auto found = SetVariables().find(name);
    if (found != SetVariables().end())
        return found->second;

    // Any other name of the environment is no path variable, so that its value stays where it is.
    if (name != TemporaryFolderVariable && name != InstallationVariable)
        return {};

    const char* const environment = std::getenv(name.c_str());
    if (environment && *environment)
        return environment;
    if (name == InstallationVariable)
        return {};

    static const TemporaryFolder temporary;
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
