#include "openhost/geometry/TessellatingLvrWriter.h"

#include "openhost/cad/ProductRep.h"
#include "openhost/files/Paths.h"
#include "openhost/geometry/RunApart.h"
#include "openhost/geometry/ShapeGeometry.h"
#include "openhost/geometry/Tessellation.h"
#include "openhost/journal/Journal.h"
#include "openhost/text/Utf.h"

#include <TopoDS_Shape.hxx>

#include <algorithm>
#include <map>
#include <stdexcept>
#include <string_view>
#include <vector>

namespace openhost {

namespace {

constexpr int Written = 0;
constexpr int NotWritten = 1;

void Tell(const std::string& reason)
{
    journal::Write("document", {{"action", "refused"}, {"operation", "ZALWriteLvr"}, {"reason", reason}});
}

/// The triangles of the part in `file`; none, and a line in `reasons`, when it has no geometry that can be shown.
LvrMesh TessellatePart(const std::filesystem::path& file, std::vector<std::string>& reasons)
{
    try {
        const CadDocument document = ReadDocument(file);
        if (!document.geometry)
            throw GeometryError("the document has no geometry");
        return TessellateShape(DecodeShape(*document.geometry));
    } catch (const CompoundFileError& error) {
        reasons.push_back(error.what());
    } catch (const GeometryError& error) {
        reasons.push_back(file.string() + ": " + error.what());
    }
    return {};
}

/// The light file of `parts`, behind a line for each part that is left out and an empty line.
std::string TessellateParts(const std::vector<ShownPart>& parts)
{
    std::vector<std::string> reasons;
    std::map<std::filesystem::path, LvrMesh> meshes;
    LvrMesh whole;
    for (const ShownPart& part : parts) {
        const auto [entry, isNew] = meshes.try_emplace(part.file);
        if (isNew)
            entry->second = TessellatePart(part.file, reasons);
        AddPlaced(whole, entry->second, part.placement);
    }
    std::string answer;
    for (std::string& reason : reasons) {
        std::ranges::replace(reason, '\n', ' ');
        answer += reason + "\n";
    }
    return answer + "\n" + (whole.triangles.empty() ? "" : EncodeLvr(whole));
}

/// Takes the first line from `text`.
std::string TakeLine(std::string_view& text)
{
    const std::size_t end = std::min(text.find('\n'), text.size());
    std::string line(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
    return line;
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
        const std::string answer = RunApart([product] { return TessellateParts(product->Parts()); });
        std::string_view rest = answer;
        for (std::string reason = TakeLine(rest); !reason.empty(); reason = TakeLine(rest))
            Tell(reason);
        WriteLvr(SystemPath(file), ReadLvrBytes(rest));
        return Written;
    } catch (const std::exception& error) {
        Tell(error.what());
        return NotWritten;
    }
}

} // namespace openhost
