#include "openhost/cad/DocumentPaths.h"

#include "openhost/cad/CadWorkspaceError.h"
#include "openhost/documents/DocumentStream.h"
#include "openhost/documents/LinkTable.h"

#include <system_error>

namespace openhost {

std::filesystem::path CanonicalPath(const std::filesystem::path& path)
{
    if (path.empty())
        throw CadWorkspaceError("an empty path names no document");
    std::error_code error;
    std::filesystem::path canonical = std::filesystem::weakly_canonical(std::filesystem::absolute(path), error);
    return error ? std::filesystem::absolute(path).lexically_normal() : canonical;
}

std::filesystem::path LinkTarget(const std::filesystem::path& folder, const std::string& link)
{
    std::filesystem::path target = ResolveLink(folder, link);
    // Most lie beside the document, where one look is enough.
    std::error_code error;
    if (target.parent_path() == folder &&
        std::filesystem::symlink_status(target, error).type() == std::filesystem::file_type::regular)
        return target;
    return CanonicalPath(target);
}

std::string LinkTo(const std::filesystem::path& folder, const std::filesystem::path& target)
{
    std::string link = (target.parent_path() == folder ? target.filename() : target).string();
    if (LinkTarget(folder, link) != target)
        throw CadWorkspaceError(link + ": a link of the product would lead to another file of that name");
    try {
        EncodeLinkTable({link});
    } catch (const DocumentStreamError& error) {
        throw CadWorkspaceError("no link can lead to the file: " + std::string(error.what()));
    }
    return link;
}

} // namespace openhost
