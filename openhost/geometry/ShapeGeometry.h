// Shapes of Open CASCADE as the geometry of documents.
#pragma once

#include "openhost/documents/CadDocument.h"

class TopoDS_Shape;

namespace openhost {

/// Says why a shape cannot be written or bytes are no shape.
class GeometryError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Volume, area, bounding box and counts of `shape`. The box lies on the faces, without a margin; of sheets beside
/// solids the volume counts nothing.
GeometryFacts MeasureShape(const TopoDS_Shape& shape);
/// Throws unless `shape` is valid and holds a solid.
void CheckSolids(const TopoDS_Shape& shape);
/// The boundary representation of `shape`, whatever it is.
std::string EncodeBoundary(const TopoDS_Shape& shape);
/// The measured geometry of a document with `shape`, which must be valid and hold a solid.
DocumentGeometry EncodeShape(const TopoDS_Shape& shape);
/// The shape in `geometry`, without triangles. Throws for bytes that hold none, or one with a face or an edge without
/// form.
TopoDS_Shape DecodeShape(const DocumentGeometry& geometry);

} // namespace openhost
