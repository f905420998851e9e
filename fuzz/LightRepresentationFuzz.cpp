// The reader of light representations over any bytes, and the descriptor of the shape search over what it lets through.

#include "catalogue/shapes/ShapeDescriptor.h"
#include "catalogue/shapes/ShapeToken.h"
#include "openhost/lvr/LvrMesh.h"

#include <cmath>
#include <cstdlib>

namespace {

void Require(bool condition)
{
    if (!condition)
        std::abort();
}

void Describe(const openhost::LvrMesh& mesh)
{
    try {
        constexpr std::size_t points = 64; // of more a descriptor would take longer than all else
        const catalogue::ShapeDescriptor descriptor = catalogue::DescribeShape(mesh, points);
        const catalogue::ShapeDescriptor again = catalogue::DecodeShapeToken(catalogue::EncodeShapeToken(descriptor));
        const double distance = catalogue::ShapeDistance(descriptor, again);
        Require(std::isfinite(distance) && distance >= 0 && distance < 1e-2);
    } catch (const catalogue::ShapeError&) {
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    try {
        const openhost::LvrMesh mesh = openhost::ReadLvrBytes(bytes);
        Require(openhost::ReadLvrBytes(openhost::EncodeLvr(mesh)) == mesh);
        Describe(mesh);
    } catch (const openhost::LvrError&) {
    }
    return 0;
}
