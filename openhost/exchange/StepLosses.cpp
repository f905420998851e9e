#include "openhost/exchange/StepLosses.h"

#include <StepData_StepModel.hxx>
#include <StepData_UndefinedEntity.hxx>
#include <StepDimTol_Datum.hxx>
#include <StepDimTol_GeometricTolerance.hxx>
#include <StepKinematics_KinematicJoint.hxx>
#include <StepKinematics_KinematicPair.hxx>
#include <StepRepr_MaterialDesignation.hxx>
#include <StepShape_DimensionalLocation.hxx>
#include <StepShape_DimensionalSize.hxx>
#include <StepVisual_AnnotationOccurrence.hxx>
#include <StepVisual_CameraModel.hxx>
#include <StepVisual_TessellatedItem.hxx>

#include <array>

namespace openhost {

namespace {

struct Kind {
    Handle(Standard_Type) type;
    const char* name;
};

} // namespace

void TellLosses(const Handle(StepData_StepModel) & model, const std::function<void(const std::string&)>& warn)
{
    const std::array kinds{
        Kind{STANDARD_TYPE(StepShape_DimensionalSize), "dimensions of size"},
        Kind{STANDARD_TYPE(StepShape_DimensionalLocation), "dimensions of distance"},
        Kind{STANDARD_TYPE(StepDimTol_GeometricTolerance), "tolerances"},
        Kind{STANDARD_TYPE(StepDimTol_Datum), "datums"},
        Kind{STANDARD_TYPE(StepVisual_AnnotationOccurrence), "annotations"},
        Kind{STANDARD_TYPE(StepVisual_CameraModel), "views"},
        Kind{STANDARD_TYPE(StepVisual_TessellatedItem), "sets of triangles and lines"},
        Kind{STANDARD_TYPE(StepRepr_MaterialDesignation), "materials"},
        Kind{STANDARD_TYPE(StepKinematics_KinematicJoint), "joints"},
        Kind{STANDARD_TYPE(StepKinematics_KinematicPair), "pairs of a mechanism"},
    };
    std::array<std::size_t, kinds.size()> counts{};
    std::size_t damaged = 0;
    std::size_t unknown = 0;
    std::string unknownName;
    for (int number = 1; number <= model->NbEntities(); ++number) {
        const Handle(Standard_Transient) entity = model->Value(number);
        damaged += model->IsErrorEntity(number) ? 1 : 0;
        if (const auto other = Handle(StepData_UndefinedEntity)::DownCast(entity); !other.IsNull() && unknown++ == 0)
            unknownName = other->StepType();
        for (std::size_t kind = 0; kind < kinds.size(); ++kind)
            if (entity->IsKind(kinds[kind].type)) {
                ++counts[kind];
                break;
            }
    }
    if (damaged > 0)
        warn("entities do not say what they should, and are read as far as they do: " + std::to_string(damaged));
    for (std::size_t kind = 0; kind < kinds.size(); ++kind)
        if (counts[kind] > 0)
            warn(std::string(kinds[kind].name) + " are left out: " + std::to_string(counts[kind]));
    if (unknown > 0)
        warn("entities of unknown kinds are left out, such as " + unknownName + ": " + std::to_string(unknown));
}

} // namespace openhost
