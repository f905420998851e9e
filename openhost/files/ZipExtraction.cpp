#include "ZipExtraction.h"

#include <stdexcept>

namespace openhost {

void ExtractZipEntry(ZipReader& archive, std::size_t entry, ZipOutput& output, std::string_view path)
{
    std::vector<std::string> components = ComponentsBelow(path);
    archive.Start(entry);

    if (path.ends_with('/') || path.ends_with('\\')) {
        output.MakeFolder(components);
        return;
    }
    output.AddFile(std::move(components), [&] {
        for (ZipReader::Piece piece = {{}, false}; !piece.isLast;) {
            piece = archive.Next();
            output.Write(piece.bytes);
        }
    });
}

} // namespace openhost
