// The links of documents from outside (openhost/files/Origin.h). They stay within the folder of their document: others
// would show, and send on, what whoever made the document has no business with.
#pragma once

#include <filesystem>
#include <string>

namespace openhost {

/// Whether `link` of a document in `folder` leads to what stands neither in that folder nor below it.
bool LeadsOut(const std::filesystem::path& folder, const std::string& link);

/// What is kept of such a link: the file name.
std::string LinkName(const std::string& link);

} // namespace openhost
