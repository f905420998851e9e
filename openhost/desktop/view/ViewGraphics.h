// A window of the system in which Open CASCADE draws, its camera, and the cube in its corner.
#pragma once

#include "openhost/desktop/view/SceneDrawing.h"

#include <AIS_InteractiveContext.hxx>
#include <AIS_ViewCube.hxx>
#include <V3d_View.hxx>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace openhost {

enum class StandardView { Isometric, Front, Back, Left, Right, Top, Bottom };

/// A point of the window, from its upper left corner, in pixels.
struct Pixel {
    double x = 0;
    double y = 0;
};

/// Rows from above, four bytes a pixel: red, green, blue, nothing.
struct ViewPicture {
    int width = 0;
    int height = 0;
    std::vector<unsigned char> bytes;
};

/// Labels of the cube, in the order of StandardView from Front on.
using CubeLabels = std::array<std::string, 6>;

class ViewGraphics {
public:
    /// Draws `scene` into the X window `window`; `density` is that of its pixels, 1 on usual screens. Throws
    /// std::runtime_error, with the reason for the user, where there is no OpenGL.
    ViewGraphics(unsigned long window, double density, const ViewScene& scene, const CubeLabels& labels);
    ViewGraphics(const ViewGraphics&) = delete;
    ViewGraphics& operator=(const ViewGraphics&) = delete;
    ~ViewGraphics();

    SceneDrawing& Drawing() { return *drawing_; }

    void Redraw();
    /// Draws what is over the scene only: the marked item and the cube.
    void RedrawMarks();
    void SetDark(bool isDark);
    void SetLabels(const CubeLabels& labels);
    /// The window has another size.
    void Resize();
    /// What is in the window, without what is over it.
    ViewPicture TakePicture();

    /// The camera of `other`, which ends.
    void TakeCamera(const ViewGraphics& other);
    void SetPerspective(bool isPerspective);
    bool IsPerspective() const;
    /// Turns around `pivot`: by `right` and `down`, in radians, of what the user sees.
    void Orbit(const Vector& pivot, double right, double down);
    /// Moves what is at one pixel to another.
    void Pan(const Pixel& from, const Pixel& to);
    /// Makes everything `factor` times as large; what is at `pixel` stays.
    void Zoom(const Pixel& pixel, double factor);
    /// Shows all of `box`.
    void Fit(const Box& box);
    void Look(StandardView view);
    void ChooseDetails();
    Ray RayThrough(const Pixel& pixel) const;
    double Width() const;
    double Height() const;

    /// Marks what of the cube is under the pointer. Whether something is.
    bool PointAtCube(const Pixel& pixel);
    /// Turns the camera to where the cube is clicked. Whether it is.
    bool ClickCube(const Pixel& pixel);

private:
    Vector Unproject(const Pixel& pixel, double depth) const;
    double DepthOfCenter() const;

    const ViewScene& scene_;
    opencascade::handle<V3d_Viewer> viewer_;
    opencascade::handle<V3d_View> view_;
    opencascade::handle<AIS_InteractiveContext> context_;
    opencascade::handle<AIS_ViewCube> cube_;
    std::unique_ptr<SceneDrawing> drawing_;
};

} // namespace openhost
