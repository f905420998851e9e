#include "openhost/geometry/TessellatingLvrWriter.h"

#include "openhost/cad/ProductRep.h"
#include "openhost/files/Paths.h"
#include "openhost/geometry/ShapeGeometry.h"
#include "openhost/geometry/Tessellation.h"
#include "openhost/journal/Journal.h"
#include "openhost/text/Utf.h"

#include <TopoDS_Shape.hxx>

#include <map>
#include <stdexcept>

namespace openhost {

namespace {

constexpr int Written = 0;
constexpr int NotWritten = 1;

void Tell(const std::string& reason)
{
    journal::Write("document", {{"action", "refused"}, {"operation", "ZALWriteLvr"}, {"reason", reason}});
}

/// The triangles of the part in `file`; none when it has no geometry that can be shown.
LvrMesh TessellatePart(const std::filesystem::path& file)
{
    try {
        const CadDocument document = ReadDocument(file);
        if (!document.geometry)
            throw GeometryError("the document has no geometry");
        return TessellateShape(DecodeShape(*document.geometry));
    } catch (const CompoundFileError& error) {
        Tell(error.what());
    } catch (const GeometryError& error) {
        Tell(file.string() + ": " + error.what());
    }
    return {};
}

LvrMesh TessellateParts(const std::vector<ShownPart>& parts)
{
    std::map<std::filesystem::path, LvrMesh> meshes;
    LvrMesh whole;
    for (const ShownPart& part : parts) {
        const auto [entry, isNew] = meshes.try_emplace(part.file);
        if (isNew)
            entry->second = TessellatePart(part.file);
        AddPlaced(whole, entry->second, part.placement);
    }
    return whole;
}

} // namespace

int TessellatingLvrWriter::Write(const ZALRep& representation, const std::string& path)
{
    try {
        const auto* product = dynamic_cast<const ProductRep*>(&representation);
        if (!product)
            throw std::runtime_error("the representation is none of a product of the session");
        const ZALUnicodeString file = FromUtf8(path);
        if (HasParentComponent(file))
            throw std::runtime_error(path + ": the path leads upwards");
        WriteLvr(SystemPath(file), TessellateParts(product->Parts()));
        return Written;
    } catch (const std::exception& error) {
        Tell(error.what());
        return NotWritten;
    }
}

} // namespace openhost
