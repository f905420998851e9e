// Shaded pictures of documents, without a display.
#pragma once

#include "openhost/picture/Picture.h"

#include <filesystem>
#include <functional>
#include <string>

namespace openhost {

class DocumentSource;

/// The document `path` with everything under it, isometric from the front, right and above (the front looks along -y,
/// up is z), fitted into the picture with a margin; each part document has a colour of its own. A missing document is
/// left out; `warn` gets a line about each. A document without geometry gives the background alone.
///
/// Throws PictureError for what cannot be drawn, and otherwise what ReadDocumentTree throws.
Picture RenderDocument(const std::filesystem::path& path, PictureSize size,
                       const std::function<void(const std::string& line)>& warn);
/// The document `root` of `source`.
Picture RenderDocument(DocumentSource& source, const std::string& root, PictureSize size,
                       const std::function<void(const std::string& line)>& warn);

/// Writes the picture of the document `path` to the file `output` as PNG: whole or not at all.
void DrawDocument(const std::filesystem::path& path, const std::filesystem::path& output, PictureSize size,
                  const std::function<void(const std::string& line)>& warn);

} // namespace openhost
