#include "openhost/desktop/view/SceneDrawing.h"

#include "openhost/desktop/view/SeenItems.h"

#include <Graphic3d_ArrayOfSegments.hxx>
#include <Graphic3d_ArrayOfTriangles.hxx>
#include <Graphic3d_Group.hxx>
#include <Quantity_Color.hxx>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <utility>

namespace openhost {

namespace {

/// Items of a batch. One more of a changed batch is drawn anew quickly, and some hundred batches are drawn as one.
constexpr std::size_t BatchSize = 64;
/// Triangles from which on an item has a batch of its own.
constexpr std::size_t LargeMesh = 10'000;

/// How far, in pixels, what is drawn may be from the exact mesh: at rest, and while the camera moves. More, when there
/// is too much to draw.
constexpr std::array Errors = {0.7, 2.5};
constexpr double LargestError = 100;
/// How long a frame may take, in milliseconds.
constexpr std::array FrameTimes = {60.0, 35.0};
/// Size of the picture in which is looked for what is in sight.
constexpr int SightWidth = 640;
constexpr int SightHeight = 480;
/// The number of a detail before one is chosen, however many there are.
constexpr std::uint8_t Coarsest = 255;
/// Least and most triangles that are drawn, however long it takes.
constexpr double LeastTriangles = 30'000;
constexpr double MostTriangles = 2'000'000;
/// Triangles that a frame may show for the first time, which takes several times as long as the next time.
constexpr double FreshTriangles = 50'000;

/// A vertex of a face as Graphic3d_ArrayOfTriangles lays it out, and one of an edge.
struct FaceVertex {
    LvrMesh::Vector position;
    LvrMesh::Vector normal;
    Graphic3d_Vec4ub color;
};
struct EdgeVertex {
    LvrMesh::Vector position;
    Graphic3d_Vec4ub color;
};
static_assert(sizeof(FaceVertex) == 28 && sizeof(EdgeVertex) == 16);

Graphic3d_Vec4ub Color(int rgb)
{
    const auto byte = [rgb](int shift) { return static_cast<Standard_Byte>(rgb >> shift & 255); };
    return Graphic3d_Vec4ub(byte(16), byte(8), byte(0), 255);
}

std::optional<Graphic3d_Vec4ub> OwnColor(const LvrMesh::Color& color)
{
    if (color[3] == 0)
        return std::nullopt;
    return Graphic3d_Vec4ub(color[0], color[1], color[2], 255);
}

void Remove(opencascade::handle<Graphic3d_Structure>& structure)
{
    if (structure.IsNull())
        return;
    structure->Erase();
    structure->Remove();
    structure.Nullify();
}

Projection ProjectionOf(const Graphic3d_Camera& camera)
{
    const Graphic3d_Mat4d matrix = camera.ProjectionMatrix() * camera.OrientationMatrix();
    Projection projection;
    for (std::size_t row = 0; row < 4; ++row)
        for (std::size_t column = 0; column < 4; ++column)
            projection[4 * row + column] = matrix.GetValue(row, column);
    return projection;
}

void SetVisible(const opencascade::handle<Graphic3d_Structure>& structure, bool isVisible)
{
    if (!structure.IsNull() && structure->IsVisible() != isVisible)
        structure->SetVisible(isVisible);
}

} // namespace

SceneDrawing::SceneDrawing(const ViewScene& scene, opencascade::handle<Graphic3d_StructureManager> manager)
    : scene_(scene), manager_(std::move(manager))
{
    Graphic3d_MaterialAspect material(Graphic3d_NameOfMaterial_UserDefined);
    material.SetAmbientColor(Quantity_Color(0.3, 0.3, 0.3, Quantity_TOC_RGB));
    material.SetDiffuseColor(Quantity_Color(0.5, 0.5, 0.5, Quantity_TOC_RGB));
    material.SetSpecularColor(Quantity_Color(0.06, 0.06, 0.06, Quantity_TOC_RGB));
    material.SetShininess(0.3F);
    faceAspects_ = new Graphic3d_AspectFillArea3d(Aspect_IS_SOLID, Quantity_NOC_WHITE, Quantity_NOC_BLACK,
                                                  Aspect_TOL_SOLID, 1, material, material);
    faceAspects_->SetShadingModel(Graphic3d_TypeOfShadingModel_Gouraud);
    faceAspects_->SetPolygonOffsets(Aspect_POM_Fill, 1, 1); // edges lie before their faces
    closedFaceAspects_ = new Graphic3d_AspectFillArea3d(*faceAspects_);
    closedFaceAspects_->SetFaceCulling(Graphic3d_TypeOfBackfacingModel_BackCulled);
    hoverAspects_ = new Graphic3d_AspectFillArea3d(*faceAspects_);
    hoverAspects_->SetPolygonOffsets(Aspect_POM_Fill, 0.5, 0.5);
    edgeAspects_ = new Graphic3d_AspectLine3d(Quantity_NOC_BLACK, Aspect_TOL_SOLID, 1);
    Reset();
}

SceneDrawing::~SceneDrawing()
{
    Clear();
}

// ---------------------------------------------------------------------------------------------
// What is to be drawn

void SceneDrawing::Clear()
{
    Remove(hovered_);
    for (Batch& batch : batches_)
        for (Drawn& drawn : batch.drawn) {
            Remove(drawn.faces);
            Remove(drawn.edges);
        }
    batches_.clear();
}

void SceneDrawing::Reset()
{
    Clear();
    dirty_.clear();
    open_ = {};
    batchOf_.assign(scene_.Items().size(), {});
    for (std::vector<std::uint8_t>& details : details_)
        details.assign(scene_.Items().size(), Coarsest);
    for (std::size_t number = 0; number < scene_.Items().size(); ++number)
        if (scene_.Items()[number].mesh)
            PutIntoBatch(number);
    ChangeAll();
}

void SceneDrawing::PutIntoBatch(std::size_t number)
{
    const ShownMesh& mesh = *scene_.Items()[number].mesh;
    const bool isLarge = mesh.details.front().mesh.triangles.size() >= LargeMesh;
    std::optional<std::size_t> none;
    std::optional<std::size_t>& open = isLarge ? none : open_[mesh.isClosed ? 1 : 0];
    if (!open || batches_[*open].items.size() >= BatchSize) {
        open = batches_.size();
        batches_.emplace_back().isClosed = mesh.isClosed;
    }
    batchOf_[number] = *open;
    batches_[*open].items.push_back(number);
}

void SceneDrawing::MarkDirty(std::size_t batch, Pace pace)
{
    if (std::exchange(batches_[batch].drawn[pace].isDirty, true))
        return;
    if (pace == Moving) // quickly done, and seen first
        dirty_.emplace_front(batch, pace);
    else
        dirty_.emplace_back(batch, pace);
}

void SceneDrawing::Change(const ViewScene::Numbers& numbers)
{
    for (const std::size_t number : numbers)
        if (batchOf_[number])
            for (const Pace pace : {AtRest, Moving})
                MarkDirty(*batchOf_[number], pace);
}

void SceneDrawing::ChangeMesh(const ViewScene::Numbers& numbers)
{
    Change(numbers);
    for (const std::size_t number : numbers) {
        if (batchOf_[number])
            std::erase(batches_[*batchOf_[number]].items, number);
        batchOf_[number].reset();
        if (scene_.Items()[number].mesh)
            PutIntoBatch(number);
    }
    Change(numbers);
}

void SceneDrawing::ChangeAll()
{
    for (const Pace pace : {AtRest, Moving})
        for (std::size_t batch = 0; batch < batches_.size(); ++batch)
            MarkDirty(batch, pace);
}

void SceneDrawing::SetStyle(DrawStyle style)
{
    style_ = style;
    ChangeAll();
}

void SceneDrawing::SetDark(bool isDark)
{
    if (std::exchange(isDark_, isDark) != isDark)
        ChangeAll();
}

void SceneDrawing::Hover(std::optional<std::size_t> number, bool isAllowed)
{
    Remove(hovered_);
    if (!number || !scene_.IsShown(*number))
        return;
    hovered_ = BuildFaces({*number}, hoverAspects_, AtRest,
                          Color(!isAllowed                   ? 0xB08080
                                : scene_.IsSelected(*number) ? 0xFFB870
                                                             : 0x6FB1F0));
    if (hovered_.IsNull())
        return;
    hovered_->SetZLayer(Graphic3d_ZLayerId_Top);
    hovered_->Display();
}

Graphic3d_Vec4ub SceneDrawing::FaceColor(std::size_t number) const
{
    if (scene_.IsSelected(number))
        return Color(0xF28C28);
    if (scene_.HasPickRule() && !scene_.ReasonAgainstPicking(number).empty())
        return Color(isDark_ ? 0x3A3D42 : 0xD2D6DC);
    return Color(0xA9B7C6);
}

bool SceneDrawing::HasOwnColor(std::size_t number) const
{
    return !scene_.IsSelected(number) && !(scene_.HasPickRule() && !scene_.ReasonAgainstPicking(number).empty());
}

Graphic3d_Vec4ub SceneDrawing::EdgeColor(std::size_t number) const
{
    const bool isAlone = style_ == DrawStyle::Wireframe;
    if (scene_.IsSelected(number))
        return Color(isAlone ? 0xF28C28 : 0x7A3E00);
    if (scene_.HasPickRule() && !scene_.ReasonAgainstPicking(number).empty())
        return Color(isDark_ ? 0x50545A : 0xB4B9C0);
    return Color(isAlone && isDark_ ? 0xC8D2DC : 0x20262E);
}

// ---------------------------------------------------------------------------------------------
// In how much detail

bool SceneDrawing::DrawsEdges(Pace pace) const
{
    return style_ == DrawStyle::Wireframe || (style_ == DrawStyle::ShadedWithEdges && pace == AtRest);
}

double SceneDrawing::Cost(const MeshDetail& detail, Pace pace) const
{
    return (DrawsFaces() ? static_cast<double>(detail.mesh.triangles.size()) : 0) +
           (DrawsEdges(pace) ? static_cast<double>(detail.edges.size()) : 0);
}

const MeshDetail& SceneDrawing::DetailOf(std::size_t number, Pace pace) const
{
    const std::vector<MeshDetail>& details = scene_.Items()[number].mesh->details;
    return details[std::min<std::size_t>(details_[pace][number], details.size() - 1)];
}

void SceneDrawing::ChooseDetails(const Graphic3d_Camera& camera, double height)
{
    const std::vector<ViewScene::Item>& items = scene_.Items();

    // How large a pixel is at each item, in millimetres.
    const gp_Pnt eye = camera.Eye();
    const gp_Dir direction = camera.Direction();
    const double pixel = camera.ViewDimensions().Y() / height;
    std::vector<double> pixels(items.size(), pixel);
    if (!camera.IsOrthographic())
        for (std::size_t number = 0; number < items.size(); ++number) {
            const Box& box = items[number].box;
            const gp_Vec middle(eye, gp_Pnt(box.Middle(0), box.Middle(1), box.Middle(2)));
            const double depth = std::max(middle.Dot(direction) - box.Diagonal() / 2, camera.Distance() / 1000);
            pixels[number] = pixel * depth / camera.Distance();
        }

    const std::vector<bool> all(items.size(), true);
    const auto most = [this](Pace pace) {
        return std::clamp(speed_ * FrameTimes[pace], LeastTriangles, MostTriangles);
    };
    std::vector<std::uint8_t> moving = Choose(Moving, pixels, all, {}, most(Moving));
    std::vector<std::uint8_t> atRest = Choose(AtRest, pixels, all, {}, std::numeric_limits<double>::infinity());
    // When that is too much, what is not in sight need not be better than while the camera moves.
    const bool isTooMuch = costs_[AtRest] > most(AtRest);
    if (isTooMuch && isMoving_) { // nobody sees it before the camera rests
        Use(Moving, std::move(moving));
        return;
    }
    if (isTooMuch)
        atRest = Choose(AtRest, pixels, FindSeen(scene_, moving, ProjectionOf(camera), SightWidth, SightHeight), moving,
                        most(AtRest));
    Use(AtRest, std::move(atRest));
    Use(Moving, std::move(moving));
}

std::vector<std::uint8_t> SceneDrawing::Choose(Pace pace, const std::vector<double>& pixels,
                                               const std::vector<bool>& seen, const std::vector<std::uint8_t>& unseen,
                                               double most)
{
    std::vector<std::uint8_t> chosen;
    for (double error = Errors[pace]; error <= LargestError; error *= 1.6) {
        chosen.assign(pixels.size(), Coarsest);
        costs_[pace] = 0;
        for (std::size_t number = 0; number < pixels.size(); ++number) {
            if (!scene_.IsShown(number))
                continue;
            const std::vector<MeshDetail>& details = scene_.Items()[number].mesh->details;
            chosen[number] = seen[number] ? 0 : unseen[number];
            if (seen[number])
                while (chosen[number] + 1U < details.size() &&
                       details[chosen[number] + 1U].error <= error * pixels[number])
                    ++chosen[number];
            costs_[pace] += Cost(details[chosen[number]], pace);
        }
        if (costs_[pace] <= most)
            break;
    }
    return chosen;
}

void SceneDrawing::Use(Pace pace, std::vector<std::uint8_t> chosen)
{
    for (std::size_t number = 0; number < chosen.size(); ++number)
        if (scene_.IsShown(number) && chosen[number] != details_[pace][number])
            MarkDirty(*batchOf_[number], pace);
    details_[pace] = std::move(chosen);
}

void SceneDrawing::NoteFrame(std::chrono::duration<double, std::milli> time)
{
    const double cost = costs_[IsReduced() ? Moving : AtRest];
    // Of all that is shown, and none of it for the first time, which takes longer.
    if (std::exchange(fresh_, 0) > 0 || cost < LeastTriangles || HasWork())
        return;
    speed_ = (speed_ + cost / std::max(time.count(), 0.1)) / 2;
}

// ---------------------------------------------------------------------------------------------
// Drawing

void SceneDrawing::SetMoving(bool isMoving)
{
    isMoving_ = isMoving;
    ShowPaces();
}

bool SceneDrawing::IsReduced() const
{
    return isMoving_ && costs_[AtRest] > std::clamp(speed_ * FrameTimes[Moving], LeastTriangles, MostTriangles);
}

void SceneDrawing::ShowPaces()
{
    for (Batch& batch : batches_)
        ShowPace(batch);
}

void SceneDrawing::ShowPace(Batch& batch) const
{
    if (IsReduced())
        batch.shown = Moving;
    else if (!batch.drawn[AtRest].isDirty)
        batch.shown = AtRest;
    for (const Pace pace : {AtRest, Moving}) {
        SetVisible(batch.drawn[pace].faces, pace == batch.shown);
        SetVisible(batch.drawn[pace].edges, pace == batch.shown);
    }
}

bool SceneDrawing::HasWork() const
{
    // What is drawn for the camera at rest comes last; nobody sees it before.
    return !dirty_.empty() && !(dirty_.front().second == AtRest && IsReduced());
}

bool SceneDrawing::IsFrameDue() const
{
    return fresh_ > FreshTriangles;
}

void SceneDrawing::Work(std::optional<std::chrono::steady_clock::time_point> deadline)
{
    while (HasWork() && !(deadline && IsFrameDue())) {
        const auto [batch, pace] = dirty_.front();
        dirty_.pop_front();
        batches_[batch].drawn[pace].isDirty = false;
        Build(batches_[batch], pace);
        if (deadline && std::chrono::steady_clock::now() >= *deadline)
            break;
    }
    ShowPaces();
}

void SceneDrawing::Build(Batch& batch, Pace pace)
{
    Drawn& drawn = batch.drawn[pace];
    Remove(drawn.faces);
    Remove(drawn.edges);
    std::vector<std::size_t> items;
    std::ranges::copy_if(batch.items, std::back_inserter(items),
                         [this](std::size_t number) { return scene_.IsShown(number); });
    if (DrawsFaces())
        drawn.faces = BuildFaces(items, batch.isClosed ? closedFaceAspects_ : faceAspects_, pace, {});
    if (DrawsEdges(pace))
        drawn.edges = BuildEdges(items, pace);
    for (const opencascade::handle<Graphic3d_Structure>& structure : {drawn.faces, drawn.edges})
        if (!structure.IsNull())
            structure->Display();
    ShowPace(batch);
    if (batch.shown == pace)
        for (const std::size_t number : items)
            fresh_ += Cost(DetailOf(number, pace), pace);
}

opencascade::handle<Graphic3d_Structure> SceneDrawing::BuildFaces(const std::vector<std::size_t>& items,
                                                                  const opencascade::handle<Graphic3d_Aspects>& aspects,
                                                                  Pace pace,
                                                                  std::optional<Graphic3d_Vec4ub> color) const
{
    std::size_t vertices = 0;
    std::size_t triangles = 0;
    for (const std::size_t number : items) {
        const LvrMesh& mesh = DetailOf(number, pace).mesh;
        vertices += mesh.positions.size();
        triangles += mesh.triangles.size();
    }
    if (triangles == 0)
        return {};

    const opencascade::handle<Graphic3d_ArrayOfTriangles> array =
        new Graphic3d_ArrayOfTriangles(static_cast<int>(vertices), static_cast<int>(3 * triangles), true, true);
    Standard_Byte* place = array->Attributes()->ChangeData(0);
    array->Attributes()->NbElements = static_cast<int>(vertices);
    std::size_t first = 0;
    for (const std::size_t number : items) {
        const MeshDetail& detail = DetailOf(number, pace);
        const LvrMesh& mesh = detail.mesh;
        const Placement& placement = scene_.Items()[number].instance.placement;
        const bool hasOwn = !color && !detail.colors.empty() && HasOwnColor(number);
        const Graphic3d_Vec4ub common = color.value_or(FaceColor(number));
        FaceVertex vertex{{}, {}, common};
        for (std::size_t position = 0; position < mesh.positions.size(); ++position) {
            vertex.position = ToLvr(PlacePoint(placement, ToVector(mesh.positions[position])));
            vertex.normal = ToLvr(PlaceDirection(placement, ToVector(mesh.normals[position])));
            if (hasOwn)
                vertex.color = OwnColor(detail.colors[position]).value_or(common);
            std::memcpy(place, &vertex, sizeof(vertex));
            place += sizeof(vertex);
        }
        for (const LvrMesh::Triangle& triangle : mesh.triangles)
            for (const std::uint32_t corner : triangle)
                array->AddEdge(static_cast<int>(first + corner + 1));
        first += mesh.positions.size();
    }
    return NewStructure(items, aspects, array);
}

opencascade::handle<Graphic3d_Structure> SceneDrawing::BuildEdges(const std::vector<std::size_t>& items,
                                                                  Pace pace) const
{
    std::size_t edges = 0;
    for (const std::size_t number : items)
        edges += DetailOf(number, pace).edges.size();
    if (edges == 0)
        return {};

    const opencascade::handle<Graphic3d_ArrayOfSegments> array =
        new Graphic3d_ArrayOfSegments(static_cast<int>(2 * edges), 0, Graphic3d_ArrayFlags_VertexColor);
    Standard_Byte* place = array->Attributes()->ChangeData(0);
    array->Attributes()->NbElements = static_cast<int>(2 * edges);
    for (const std::size_t number : items) {
        const MeshDetail& detail = DetailOf(number, pace);
        EdgeVertex vertex{{}, EdgeColor(number)};
        for (const MeshEdge& edge : detail.edges)
            for (const std::uint32_t end : edge) {
                vertex.position =
                    ToLvr(PlacePoint(scene_.Items()[number].instance.placement, ToVector(detail.mesh.positions[end])));
                std::memcpy(place, &vertex, sizeof(vertex));
                place += sizeof(vertex);
            }
    }
    return NewStructure(items, edgeAspects_, array);
}

opencascade::handle<Graphic3d_Structure>
SceneDrawing::NewStructure(const std::vector<std::size_t>& items, const opencascade::handle<Graphic3d_Aspects>& aspects,
                           const opencascade::handle<Graphic3d_ArrayOfPrimitives>& primitives) const
{
    opencascade::handle<Graphic3d_Structure> structure = new Graphic3d_Structure(manager_);
    const opencascade::handle<Graphic3d_Group> group = structure->NewGroup();
    group->SetGroupPrimitivesAspect(aspects);
    group->AddPrimitiveArray(primitives, false);
    for (const std::size_t number : items)
        for (const Vector& corner : {scene_.Items()[number].box.lowest, scene_.Items()[number].box.highest}) {
            const LvrMesh::Vector point = ToLvr(corner);
            group->ChangeBoundingBox().Add(Graphic3d_Vec4(point[0], point[1], point[2], 1));
        }
    structure->CalculateBoundBox();
    return structure;
}

} // namespace openhost
