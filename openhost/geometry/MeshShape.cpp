#include "openhost/geometry/MeshShape.h"

#include "openhost/geometry/OnAllCores.h"

#include <BRepMesh_Context.hxx>
#include <BRepMesh_DelabellaMeshAlgoFactory.hxx>
#include <BRepMesh_IncrementalMesh.hxx>
#include <BRepMesh_MeshAlgoFactory.hxx>
#include <BRep_Tool.hxx>
#include <GeomAbs_SurfaceType.hxx>
#include <IMeshData_Face.hxx>
#include <IMeshData_Model.hxx>
#include <IMeshTools_Context.hxx>
#include <IMeshTools_MeshAlgo.hxx>
#include <IMeshTools_ModelAlgo.hxx>
#include <IMeshTools_Parameters.hxx>
#include <Poly_Triangulation.hxx>
#include <Standard_Failure.hxx>
#include <TopLoc_Location.hxx>
#include <TopoDS_Face.hxx>
#include <TopoDS_Shape.hxx>

namespace openhost {

namespace {

/// The step of the kernel's mesher that gives faces their triangles, once their edges have points. The kernel's own
/// threads for it may wait for ever once memory has run out in one.
class FacesOnAllCores : public IMeshTools_ModelAlgo {
protected:
    Standard_Boolean performInternal(const Handle(IMeshData_Model) & model, const IMeshTools_Parameters& parameters,
                                     const Message_ProgressRange&) override
    {
        OnAllCores(static_cast<std::size_t>(model->FacesNb()), [&](std::size_t number) {
            const IMeshData::IFaceHandle& face = model->GetFace(static_cast<int>(number));
            if (face->IsSet(IMeshData_Failure) || face->IsSet(IMeshData_Reused))
                return;
            const bool isMeshed =
                (IsForDelabella(*face) && MeshByDelabella(face, parameters)) || MeshFace(face, watson_, parameters);
            if (!isMeshed)
                face->SetStatus(IMeshData_Failure);
        });
        return Standard_True;
    }

private:
    /// Delabella's algorithm takes half of the time of Watson's, and less, but its triangles on cones and spheres may
    /// be further from the surface than they should be. On tori it is the other way round.
    static bool IsForDelabella(const IMeshData_Face& face)
    {
        const GeomAbs_SurfaceType surface = face.GetSurface()->GetType();
        return surface != GeomAbs_Cone && surface != GeomAbs_Sphere;
    }

    /// Delabella's algorithm refuses a face in the same way when memory runs out. A second try tells them apart, so
    /// that the triangles do not depend on a moment without memory.
    bool MeshByDelabella(const IMeshData::IFaceHandle& face, const IMeshTools_Parameters& parameters) const
    {
        return MeshFace(face, delabella_, parameters) || MeshFace(face, delabella_, parameters);
    }

    static bool MeshFace(const IMeshData::IFaceHandle& face, const Handle(IMeshTools_MeshAlgoFactory) & algorithms,
                         const IMeshTools_Parameters& parameters)
    try {
        const Handle(IMeshTools_MeshAlgo) algorithm = algorithms->GetAlgo(face->GetSurface()->GetType(), parameters);
        if (algorithm.IsNull())
            return false;
        algorithm->Perform(face, parameters, Message_ProgressRange());
        TopLoc_Location location;
        return !BRep_Tool::Triangulation(face->GetFace(), location).IsNull();
    } catch (const Standard_Failure&) {
        return false;
    }

    Handle(IMeshTools_MeshAlgoFactory) delabella_ = new BRepMesh_DelabellaMeshAlgoFactory;
    Handle(IMeshTools_MeshAlgoFactory) watson_ = new BRepMesh_MeshAlgoFactory;
};

void Mesh(const TopoDS_Shape& shape, double deflection, double angle, const Handle(IMeshTools_Context) & context)
{
    context->SetFaceDiscret(new FacesOnAllCores);
    BRepMesh_IncrementalMesh mesh;
    mesh.ChangeParameters().Deflection = deflection;
    mesh.ChangeParameters().Angle = angle;
    mesh.SetShape(shape);
    mesh.Perform(context);
}

} // namespace

void MeshFaces(const TopoDS_Shape& shape, double deflection, double angle)
{
    const Handle(IMeshTools_Context) context = new BRepMesh_Context;
    context->SetPostProcessor({}); // gives edges their points; a tenth of the work
    Mesh(shape, deflection, angle, context);
}

void MeshFacesAndEdges(const TopoDS_Shape& shape, double deflection, double angle)
{
    Mesh(shape, deflection, angle, new BRepMesh_Context);
}

} // namespace openhost
