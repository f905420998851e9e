#include "openhost/panel/HandlersScript.h"

#include "openhost/files/BoundedFile.h"
#include "openhost/files/PathVariables.h"
#include "openhost/text/Utf.h"

#include <algorithm>
#include <stdexcept>
#include <vector>

namespace openhost {

namespace {

/// Largest file of the script; ours has a few KiB.
constexpr std::size_t MaximumFileSize = 1 << 20;

/// The script in the installation, once for each context.
std::vector<ZALUnicodeString> InstalledScripts()
{
    std::vector<ZALUnicodeString> scripts;
    try {
        const ZALUnicodeString text = FromUtf8(ReadBounded(GetPathVariable(InstallationVariable) / "webapps" /
                                                               "ZALVelmartIntegrationJS" / "OpApiHandlers.js",
                                                           MaximumFileSize));
        for (const char* context : {"SidePanel", "DocChooser"})
            scripts.emplace_back(text).ReplaceSubString("%USAGE_CONTEXT%", context);
    } catch (const std::runtime_error&) {
        // An installation without the script has none.
    }
    return scripts;
}

} // namespace

bool IsHandlersScript(const ZALUnicodeString& script)
{
    static std::vector<ZALUnicodeString> known;
    if (std::ranges::find(known, script) != known.end())
        return true;
    const std::vector<ZALUnicodeString> installed = InstalledScripts();
    if (script.GetLengthInChar() == 0 || std::ranges::find(installed, script) == installed.end())
        return false;
    known.push_back(script);
    return true;
}

} // namespace openhost
