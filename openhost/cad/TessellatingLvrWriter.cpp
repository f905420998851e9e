#include "openhost/cad/TessellatingLvrWriter.h"

#include "openhost/cad/ProductRep.h"
#include "openhost/files/Paths.h"
#include "openhost/journal/Events.h"
#include "openhost/lvr/LvrMesh.h"
#include "openhost/text/Utf.h"

#include <map>
#include <stdexcept>
#include <vector>

namespace openhost {

namespace {

constexpr int Written = 0;
constexpr int NotWritten = 1;

void Tell(const std::string& reason)
{
    journal::Write([&] { return journal::RefusedOperation{.operation = "ZALWriteLvr", .reason = reason}; });
}

/// The triangles of the part in `file`; none when it has no geometry that can be shown, which is told.
LvrMesh TessellatePart(const std::filesystem::path& file, GeometryProcess& process)
{
    const auto tell = [&](const std::exception& error) { Tell(file.string() + ": " + error.what()); };
    try {
        const CadDocument document = ReadDocument(file);
        if (!document.geometry)
            throw GeometryJobError("the document has no geometry");
        return ReadLvrBytes(process.Run(GeometryJob::Tessellate,
                                        ColoredBoundary(document.geometry->colors, document.geometry->boundary)));
    } catch (const CompoundFileError& error) {
        Tell(error.what());
    } catch (const GeometryJobTimeOut& error) {
        throw GeometryJobTimeOut(file.string() + ": " + error.what());
    } catch (const GeometryJobError& error) {
        tell(error);
    } catch (const LvrError& error) {
        tell(error);
    }
    return {};
}

LvrMesh TessellateParts(const std::vector<ShownPart>& parts, GeometryProcess& process)
{
    // No more than the whole together, as each stands in it once at least.
    std::map<std::filesystem::path, LvrMesh> meshes;
    LvrMesh whole;
    for (const ShownPart& part : parts) {
        const auto [entry, isNew] = meshes.try_emplace(part.file);
        if (isNew)
            entry->second = TessellatePart(part.file, process);
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
            throw std::runtime_error("the representation is none of a product of the workspace");
        const ZALUnicodeString file = FromUtf8(path);
        if (HasParentComponent(file))
            throw std::runtime_error(path + ": the path leads upwards");
        WriteLvr(SystemPath(file), TessellateParts(product->Parts(), *process_));
        return Written;
    } catch (const std::exception& error) {
        Tell(error.what());
        return NotWritten;
    }
}

} // namespace openhost
