// Draws a scene by Open CASCADE.
#pragma once

#include "openhost/desktop/view/ViewScene.h"

#include <Graphic3d_AspectFillArea3d.hxx>
#include <Graphic3d_AspectLine3d.hxx>
#include <Graphic3d_Camera.hxx>
#include <Graphic3d_Structure.hxx>
#include <Graphic3d_StructureManager.hxx>
#include <Graphic3d_Vec4.hxx>

#include <chrono>
#include <cstdint>
#include <deque>
#include <optional>
#include <vector>

namespace openhost {

enum class DrawStyle { ShadedWithEdges, Shaded, Wireframe };

/// Items are drawn many at once, in batches of triangles and lines that stand in space already: a call for each item
/// would take longer than all of the rest. Each item is drawn in as much detail as its size on the screen is worth, and
/// all together in no more than can be drawn in time; less while the camera moves. What has changed is drawn anew in
/// pieces, by Work.
class SceneDrawing {
public:
    /// Both outlive this object.
    SceneDrawing(const ViewScene& scene, opencascade::handle<Graphic3d_StructureManager> manager);
    SceneDrawing(const SceneDrawing&) = delete;
    SceneDrawing& operator=(const SceneDrawing&) = delete;
    ~SceneDrawing();

    /// The scene has other items.
    void Reset();
    /// These items look different.
    void Change(const ViewScene::Numbers& numbers);
    /// These items have another mesh, or none any more.
    void ChangeMesh(const ViewScene::Numbers& numbers);
    /// All items look different.
    void ChangeAll();
    void SetStyle(DrawStyle style);
    DrawStyle Style() const { return style_; }
    void SetDark(bool isDark);
    /// Marks the item that the pointer is over; that is drawn by V3d_View::RedrawImmediate.
    void Hover(std::optional<std::size_t> number, bool isAllowed);

    /// Whether the camera moves.
    void SetMoving(bool isMoving);
    /// Chooses the details for `camera` in a window of `height` pixels.
    void ChooseDetails(const Graphic3d_Camera& camera, double height);
    /// Draws anew what has changed, until a frame is due or `deadline` has passed; without one all that there is.
    void Work(std::optional<std::chrono::steady_clock::time_point> deadline);
    /// Whether Work has anything to do.
    bool HasWork() const;
    /// Whether so much is new that the next frame should not show more.
    bool IsFrameDue() const;
    /// Whether all that has changed is drawn anew.
    bool IsComplete() const { return dirty_.empty(); }
    /// Learns from how long a frame has taken.
    void NoteFrame(std::chrono::duration<double, std::milli> time);

private:
    enum Pace { AtRest, Moving, PaceCount };

    /// What is drawn of one batch at one pace.
    struct Drawn {
        opencascade::handle<Graphic3d_Structure> faces;
        opencascade::handle<Graphic3d_Structure> edges;
        bool isDirty = false;
    };
    struct Batch {
        bool isClosed = false; ///< all of its items are
        std::vector<std::size_t> items;
        std::array<Drawn, PaceCount> drawn;
        Pace shown = Moving;
    };

    void Clear();
    void PutIntoBatch(std::size_t number);
    void MarkDirty(std::size_t batch, Pace pace);
    void Build(Batch& batch, Pace pace);
    opencascade::handle<Graphic3d_Structure> BuildFaces(const std::vector<std::size_t>& items,
                                                        const opencascade::handle<Graphic3d_Aspects>& aspects,
                                                        Pace pace, std::optional<Graphic3d_Vec4ub> color) const;
    opencascade::handle<Graphic3d_Structure> BuildEdges(const std::vector<std::size_t>& items, Pace pace) const;
    opencascade::handle<Graphic3d_Structure>
    NewStructure(const std::vector<std::size_t>& items, const opencascade::handle<Graphic3d_Aspects>& aspects,
                 const opencascade::handle<Graphic3d_ArrayOfPrimitives>& primitives) const;
    const MeshDetail& DetailOf(std::size_t number, Pace pace) const;
    Graphic3d_Vec4ub FaceColor(std::size_t number) const;
    /// Whether an item shows the colours of its faces, and not what else there is to tell of it.
    bool HasOwnColor(std::size_t number) const;
    Graphic3d_Vec4ub EdgeColor(std::size_t number) const;
    bool DrawsFaces() const { return style_ != DrawStyle::Wireframe; }
    bool DrawsEdges(Pace pace) const;
    /// The coarsest details whose error cannot be seen or, when they cost more than `most`, coarser ones. What is not
    /// seen has the detail that is named for it.
    std::vector<std::uint8_t> Choose(Pace pace, const std::vector<double>& pixels, const std::vector<bool>& seen,
                                     const std::vector<std::uint8_t>& unseen, double most);
    void Use(Pace pace, std::vector<std::uint8_t> chosen);
    double Cost(const MeshDetail& detail, Pace pace) const;
    /// Whether less detail than at rest is shown, since the camera moves and all of it takes too long.
    bool IsReduced() const;
    void ShowPaces();
    void ShowPace(Batch& batch) const;

    const ViewScene& scene_;
    opencascade::handle<Graphic3d_StructureManager> manager_;
    opencascade::handle<Graphic3d_AspectFillArea3d> faceAspects_;
    opencascade::handle<Graphic3d_AspectFillArea3d> closedFaceAspects_;
    opencascade::handle<Graphic3d_AspectFillArea3d> hoverAspects_;
    opencascade::handle<Graphic3d_AspectLine3d> edgeAspects_;
    DrawStyle style_ = DrawStyle::ShadedWithEdges;
    bool isDark_ = false;

    std::vector<Batch> batches_;
    std::vector<std::optional<std::size_t>> batchOf_; ///< by item
    std::array<std::optional<std::size_t>, 2> open_;  ///< batches that take more items; of closed ones and others
    std::array<std::vector<std::uint8_t>, PaceCount> details_; ///< by item, as many as the scene has
    std::array<double, PaceCount> costs_{};                    ///< of all that is shown, in triangles
    std::deque<std::pair<std::size_t, Pace>> dirty_;           ///< batches
    opencascade::handle<Graphic3d_Structure> hovered_;
    bool isMoving_ = false;
    double fresh_ = 0;   ///< triangles that no frame has shown yet
    double speed_ = 500; ///< triangles in a millisecond; as on a slow machine, at first
};

} // namespace openhost
