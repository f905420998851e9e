// The link table of a document: which other documents it refers to. Read on its own, since the root search
// over an archive needs nothing else of its documents.
#pragma once

#include "openhost/documents/CompoundFile.h"

#include <filesystem>
#include <string>
#include <vector>

namespace openhost {

/// Storage of a compound file that holds a document.
inline constexpr const char* DocumentStorageName = "ZALOR1";

/// File names of the documents referred to, without folders as a rule, each once. A child of a product names
/// its document by the position in this list.
using LinkTable = std::vector<std::string>;

/// The link table in the storage `document`. Throws CompoundFileError when there is none or it is damaged.
LinkTable ReadLinkTable(const CompoundStorage& document);

/// The file that `link` of a document in `folder` leads to: the one of that name beside the document, otherwise the
/// link as it is written. Both separators count.
std::filesystem::path ResolveLink(const std::filesystem::path& folder, const std::string& link);

/// The stream of the link table. Throws DocumentStreamError for a name that is empty, doubled or no text.
std::string EncodeLinkTable(const LinkTable& links);
/// Throws DocumentStreamError for what EncodeLinkTable would not write.
LinkTable DecodeLinkTable(std::string_view stream);

/// Name of its stream.
inline constexpr const char* LinkTableStreamName = "Links";

} // namespace openhost
