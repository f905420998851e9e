#include "ZipExtraction.h"

#include "ZipOutput.h"

namespace openhost {

void ExtractZipEntry(ZipReader& archive, std::size_t entry, const std::string& folder, std::string_view path)
{
    ZipOutput output(folder, ComponentsBelow(path));
    archive.Start(entry);

    if (path.ends_with('/') || path.ends_with('\\')) {
        output.MakeFolder();
        return;
    }

    // What fits in one piece is verified before anything is touched, and a new file needs no second name then.
    ZipReader::Piece piece = archive.Next();
    if (piece.isLast && output.Create(piece.bytes))
        return;

    output.Write(piece.bytes);
    while (!piece.isLast) {
        piece = archive.Next();
        output.Write(piece.bytes);
    }
    output.Replace();
}

} // namespace openhost
