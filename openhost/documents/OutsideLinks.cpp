#include "openhost/documents/OutsideLinks.h"

#include "openhost/documents/LinkTable.h"

#include <algorithm>
#include <system_error>

namespace openhost {

bool LeadsOut(const std::filesystem::path& folder, const std::string& link)
{
    std::error_code error;
    const std::filesystem::path target = std::filesystem::weakly_canonical(ResolveLink(folder, link), error);
    const std::filesystem::path above = error ? folder : std::filesystem::weakly_canonical(folder, error);
    if (error)
        return true;
    const auto [end, other] = std::ranges::mismatch(above, target);
    return end != above.end();
}

std::string LinkName(const std::string& link)
{
    const std::string name = link.substr(link.find_last_of("/\\") + 1);
    return name.empty() || name == ".." ? "unnamed" : name;
}

} // namespace openhost
