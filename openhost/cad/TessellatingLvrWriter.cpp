#include "openhost/cad/TessellatingLvrWriter.h"

#include "openhost/cad/ProductRep.h"
#include "openhost/files/Paths.h"
#include "openhost/journal/Events.h"
#include "openhost/lvr/LvrMesh.h"
#include "openhost/text/Utf.h"

#include <deque>
#include <future>
#include <map>
#include <optional>
#include <stdexcept>
#include <utility>
#include <vector>

namespace openhost {

namespace {

constexpr int Written = 0;
constexpr int NotWritten = 1;

void Tell(const std::string& reason)
{
    journal::Write([&] { return journal::RefusedOperation{.operation = "ZALWriteLvr", .reason = reason}; });
}

/// The triangles of the part in `file`.
LvrMesh TessellatePart(const std::filesystem::path& file, GeometryProcess& process)
{
    const CadDocument document = ReadDocument(file);
    if (!document.geometry)
        throw GeometryJobError("the document has no geometry");
    return ReadLvrBytes(
        process.Run(GeometryJob::Tessellate, ColoredBoundary(document.geometry->colors, document.geometry->boundary)));
}

/// What `tessellate` gives of the part in `file`; none when it has no geometry that can be shown, which is told.
template <class Tessellate>
LvrMesh ShownTriangles(const std::filesystem::path& file, Tessellate tessellate)
{
    const auto tell = [&](const std::exception& error) { Tell(file.string() + ": " + error.what()); };
    try {
        return tessellate();
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

/// The triangles of different parts in their order, of which a few are worked on ahead.
class PartsAhead {
public:
    PartsAhead(GeometryPool& pool, std::vector<std::filesystem::path> files) : pool_(pool), files_(std::move(files)) {}
    PartsAhead(const PartsAhead&) = delete;
    PartsAhead& operator=(const PartsAhead&) = delete;
    ~PartsAhead() { pool_.Drop(this); }

    LvrMesh TakeNext()
    {
        const std::filesystem::path& file = files_[taken_++];
        if (files_.size() == 1)
            return ShownTriangles(file, [&] { return TessellatePart(file, pool_.Own()); });
        for (; begun_ < files_.size() && begun_ < taken_ + 2 * GeometryPool::MostWorkers(); ++begun_)
            ahead_.push_back(pool_.Start(
                this, [part = files_[begun_]](GeometryProcess& process) { return TessellatePart(part, process); }));
        std::future<LvrMesh> next = std::move(ahead_.front());
        ahead_.pop_front();
        return ShownTriangles(file, [&] { return next.get(); });
    }

private:
    GeometryPool& pool_;
    std::vector<std::filesystem::path> files_;
    std::size_t taken_ = 0;
    std::size_t begun_ = 0;
    std::deque<std::future<LvrMesh>> ahead_;
};

LvrMesh TessellateParts(const std::vector<ShownPart>& parts, GeometryPool& pool)
{
    // No more than the whole together, as each stands in it once at least.
    std::map<std::filesystem::path, std::optional<LvrMesh>> meshes;
    std::vector<std::filesystem::path> files;
    for (const ShownPart& part : parts)
        if (meshes.try_emplace(part.file).second)
            files.push_back(part.file);

    PartsAhead ahead(pool, std::move(files));
    LvrMesh whole;
    for (const ShownPart& part : parts) {
        std::optional<LvrMesh>& mesh = meshes.at(part.file);
        if (!mesh)
            mesh = ahead.TakeNext();
        AddPlaced(whole, *mesh, part.placement);
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
        WriteLvr(SystemPath(file), TessellateParts(product->Parts(), *pool_));
        return Written;
    } catch (const std::exception& error) {
        Tell(error.what());
        return NotWritten;
    }
}

} // namespace openhost
