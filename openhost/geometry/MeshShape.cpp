#include "openhost/geometry/MeshShape.h"

#include "openhost/geometry/OnAllCores.h"

#include <BRepMesh_Context.hxx>
#include <BRepMesh_IncrementalMesh.hxx>
#include <BRepMesh_MeshAlgoFactory.hxx>
#include <IMeshData_Face.hxx>
#include <IMeshData_Model.hxx>
#include <IMeshTools_MeshAlgo.hxx>
#include <IMeshTools_ModelAlgo.hxx>
#include <IMeshTools_Parameters.hxx>
#include <Standard_Failure.hxx>
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
            if (!face->IsSet(IMeshData_Failure) && !face->IsSet(IMeshData_Reused))
                MeshFace(face, parameters);
        });
        return Standard_True;
    }

private:
    void MeshFace(const IMeshData::IFaceHandle& face, const IMeshTools_Parameters& parameters) const
    {
        try {
            const Handle(IMeshTools_MeshAlgo) algorithm =
                algorithms_->GetAlgo(face->GetSurface()->GetType(), parameters);
            if (!algorithm.IsNull()) {
                algorithm->Perform(face, parameters, Message_ProgressRange());
                return;
            }
        } catch (const Standard_Failure&) {
            // As told by its status.
        }
        face->SetStatus(IMeshData_Failure);
    }

    Handle(IMeshTools_MeshAlgoFactory) algorithms_ = new BRepMesh_MeshAlgoFactory;
};

} // namespace

void MeshShape(const TopoDS_Shape& shape, double deflection, double angle)
{
    const Handle(IMeshTools_Context) context = new BRepMesh_Context;
    context->SetFaceDiscret(new FacesOnAllCores);
    BRepMesh_IncrementalMesh mesh;
    mesh.ChangeParameters().Deflection = deflection;
    mesh.ChangeParameters().Angle = angle;
    mesh.SetShape(shape);
    mesh.Perform(context);
}

} // namespace openhost
