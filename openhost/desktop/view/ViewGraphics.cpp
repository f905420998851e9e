#include "openhost/desktop/view/ViewGraphics.h"

#include <Aspect_DisplayConnection.hxx>
#include <Bnd_Box.hxx>
#include <Image_PixMap.hxx>
#include <Message.hxx>
#include <Message_Messenger.hxx>
#include <OpenGl_GraphicDriver.hxx>
#include <Standard_Failure.hxx>
#include <V3d_AmbientLight.hxx>
#include <V3d_DirectionalLight.hxx>
#include <V3d_ImageDumpOptions.hxx>
#include <V3d_Viewer.hxx>
#include <Xw_Window.hxx>
#include <gp_Ax1.hxx>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <stdexcept>

#include <malloc.h>

namespace openhost {

namespace {

/// In pixels of a usual screen.
constexpr int CubeSize = 46;
constexpr int CubeOffset = 78;
/// How much of the window stays free around what is fitted.
constexpr double FitMargin = 0.06;
/// Bytes of memory that is free and that the process keeps. Without a graphics card each frame takes and frees some ten
/// MiB, and getting them from the system anew takes a fifth of its time.
constexpr int KeptMemory = 64 << 20;
/// Angle of a camera in perspective, in degrees.
constexpr double FieldOfView = 35;
/// The smallest and the largest height that the window shows, in millimetres.
constexpr double LeastHeight = 1e-3;
constexpr double MostHeight = 1e10;

Quantity_Color Color(double red, double green, double blue)
{
    return {red, green, blue, Quantity_TOC_sRGB};
}

Vector ToVector(const gp_Pnt& point)
{
    return {point.X(), point.Y(), point.Z()};
}

gp_Pnt ToPoint(const Vector& vector)
{
    return {vector[0], vector[1], vector[2]};
}

V3d_TypeOfOrientation ToOrientation(StandardView view)
{
    switch (view) {
    case StandardView::Isometric:
        return V3d_TypeOfOrientation_Zup_AxoRight;
    case StandardView::Front:
        return V3d_TypeOfOrientation_Zup_Front;
    case StandardView::Back:
        return V3d_TypeOfOrientation_Zup_Back;
    case StandardView::Left:
        return V3d_TypeOfOrientation_Zup_Left;
    case StandardView::Right:
        return V3d_TypeOfOrientation_Zup_Right;
    case StandardView::Top:
        return V3d_TypeOfOrientation_Zup_Top;
    case StandardView::Bottom:
        return V3d_TypeOfOrientation_Zup_Bottom;
    }
    return V3d_TypeOfOrientation_Zup_AxoRight;
}

/// One from everywhere, and one from above the left shoulder of the user, so that no two sides of a box look the same.
void AddLights(V3d_Viewer& viewer)
{
    const opencascade::handle<V3d_AmbientLight> everywhere = new V3d_AmbientLight(Quantity_NOC_WHITE);
    const opencascade::handle<V3d_DirectionalLight> shoulder =
        new V3d_DirectionalLight(gp_Dir(0.35, -0.55, -1), Quantity_NOC_WHITE, true);
    for (const opencascade::handle<V3d_Light>& light :
         {opencascade::handle<V3d_Light>(everywhere), opencascade::handle<V3d_Light>(shoulder)}) {
        viewer.AddLight(light);
        viewer.SetLightOn(light);
    }
}

void LabelCube(AIS_ViewCube& cube, const CubeLabels& labels)
{
    for (std::size_t label = 0; label < labels.size(); ++label)
        cube.SetBoxSideLabel(ToOrientation(static_cast<StandardView>(label + 1)), labels[label].c_str());
}

opencascade::handle<AIS_ViewCube> MakeCube(double density, const CubeLabels& labels)
{
    opencascade::handle<AIS_ViewCube> cube = new AIS_ViewCube;
    const auto pixels = [density](int size) { return static_cast<int>(std::lround(size * density)); };
    cube->SetSize(pixels(CubeSize));
    cube->SetBoxFacetExtension(pixels(CubeSize) * 0.14);
    cube->SetFontHeight(pixels(CubeSize) * 0.2);
    cube->SetDrawAxes(false);
    cube->SetBoxColor(Color(0.62, 0.66, 0.71));
    cube->SetTextColor(Color(0.05, 0.06, 0.08));
    LabelCube(*cube, labels);
    cube->SetTransformPersistence(new Graphic3d_TransformPers(Graphic3d_TMF_TriedronPers, Aspect_TOTP_RIGHT_UPPER,
                                                              Graphic3d_Vec2i(pixels(CubeOffset), pixels(CubeOffset))));
    return cube;
}

} // namespace

ViewGraphics::ViewGraphics(unsigned long window, double density, const ViewScene& scene, const CubeLabels& labels)
    : scene_(scene)
{
    mallopt(M_TRIM_THRESHOLD, KeptMemory);
    mallopt(M_MMAP_THRESHOLD, KeptMemory / 2);
    // The kernel tells on standard output what it thinks of OpenGL, where a journal may go.
    Message::DefaultMessenger()->ChangePrinters().Clear();
    try {
        const opencascade::handle<Aspect_DisplayConnection> display = new Aspect_DisplayConnection;
        const opencascade::handle<OpenGl_GraphicDriver> driver = new OpenGl_GraphicDriver(display, false);
        // Without a graphics card each of these would take as long as the rest of a frame.
        driver->ChangeOptions().sRGBDisable = true;
        driver->ChangeOptions().useSystemBuffer = true;
        if (!driver->InitContext())
            throw std::runtime_error("the display has no OpenGL");
        viewer_ = new V3d_Viewer(driver);
        AddLights(*viewer_);
        viewer_->SetDefaultShadingModel(Graphic3d_TypeOfShadingModel_Gouraud);
        view_ = viewer_->CreateView();
        view_->SetImmediateUpdate(false);
        view_->SetWindow(new Xw_Window(display, window));
        view_->ChangeRenderingParams().Resolution = static_cast<unsigned int>(std::lround(96 * density));
        view_->Camera()->SetFOVy(FieldOfView);

        context_ = new AIS_InteractiveContext(viewer_);
        context_->SetAutoActivateSelection(true);
        cube_ = MakeCube(density, labels);
        context_->Display(cube_, 0, 0, false);
        drawing_ = std::make_unique<SceneDrawing>(scene_, viewer_->StructureManager());
        Look(StandardView::Isometric);
        SetDark(false);
    } catch (const Standard_Failure& failure) {
        throw std::runtime_error(failure.GetMessageString());
    }
}

ViewGraphics::~ViewGraphics()
{
    drawing_.reset();
    context_->RemoveAll(false);
    view_->Remove();
}

void ViewGraphics::Redraw()
{
    const auto start = std::chrono::steady_clock::now();
    view_->Redraw();
    drawing_->NoteFrame(std::chrono::steady_clock::now() - start);
}

void ViewGraphics::RedrawMarks()
{
    view_->RedrawImmediate();
}

void ViewGraphics::SetDark(bool isDark)
{
    if (isDark)
        view_->SetBgGradientColors(Color(0.23, 0.25, 0.28), Color(0.11, 0.12, 0.14), Aspect_GFM_VER);
    else
        view_->SetBgGradientColors(Color(0.96, 0.97, 0.98), Color(0.80, 0.84, 0.89), Aspect_GFM_VER);
    drawing_->SetDark(isDark);
}

void ViewGraphics::SetLabels(const CubeLabels& labels)
{
    LabelCube(*cube_, labels);
    context_->Redisplay(cube_, false);
}

void ViewGraphics::Resize()
{
    view_->MustBeResized();
}

ViewPicture ViewGraphics::TakePicture()
{
    V3d_ImageDumpOptions options;
    options.Width = static_cast<int>(Width());
    options.Height = static_cast<int>(Height());
    options.BufferType = Graphic3d_BT_RGBA;
    Image_PixMap map;
    ViewPicture picture;
    if (!view_->ToPixMap(map, options) || map.IsEmpty() || map.SizePixelBytes() != 4)
        return picture;
    picture.width = static_cast<int>(map.Width());
    picture.height = static_cast<int>(map.Height());
    for (std::size_t row = 0; row < map.Height(); ++row) {
        const Standard_Byte* bytes = map.Row(row);
        picture.bytes.insert(picture.bytes.end(), bytes, bytes + 4 * map.Width());
    }
    return picture;
}

// ---------------------------------------------------------------------------------------------
// The camera

double ViewGraphics::Width() const
{
    int width = 0;
    int height = 0;
    view_->Window()->Size(width, height);
    return std::max(width, 1);
}

double ViewGraphics::Height() const
{
    int width = 0;
    int height = 0;
    view_->Window()->Size(width, height);
    return std::max(height, 1);
}

void ViewGraphics::TakeCamera(const ViewGraphics& other)
{
    const double aspect = view_->Camera()->Aspect();
    view_->Camera()->Copy(other.view_->Camera());
    view_->Camera()->SetAspect(aspect);
}

void ViewGraphics::SetPerspective(bool isPerspective)
{
    view_->Camera()->SetProjectionType(isPerspective ? Graphic3d_Camera::Projection_Perspective
                                                     : Graphic3d_Camera::Projection_Orthographic);
}

bool ViewGraphics::IsPerspective() const
{
    return !view_->Camera()->IsOrthographic();
}

void ViewGraphics::Orbit(const Vector& pivot, double right, double down)
{
    const opencascade::handle<Graphic3d_Camera>& camera = view_->Camera();
    gp_Trsf turn;
    turn.SetRotation(gp_Ax1(ToPoint(pivot), camera->OrthogonalizedUp()), -right);
    camera->Transform(turn);
    turn.SetRotation(gp_Ax1(ToPoint(pivot), camera->SideRight()), -down);
    camera->Transform(turn);
}

void ViewGraphics::Pan(const Pixel& from, const Pixel& to)
{
    const double depth = DepthOfCenter();
    gp_Trsf shift;
    shift.SetTranslation(gp_Vec(ToPoint(Unproject(to, depth)), ToPoint(Unproject(from, depth))));
    view_->Camera()->Transform(shift);
}

void ViewGraphics::Zoom(const Pixel& pixel, double factor)
{
    const opencascade::handle<Graphic3d_Camera>& camera = view_->Camera();
    const Vector before = Unproject(pixel, DepthOfCenter());
    camera->SetScale(std::clamp(camera->Scale() / factor, LeastHeight, MostHeight));
    gp_Trsf shift;
    shift.SetTranslation(gp_Vec(ToPoint(Unproject(pixel, DepthOfCenter())), ToPoint(before)));
    camera->Transform(shift);
}

void ViewGraphics::Fit(const Box& box)
{
    Bnd_Box bounds(ToPoint(box.lowest), ToPoint(box.highest));
    bounds.Enlarge(std::max(box.Diagonal() * 1e-3, LeastHeight));
    view_->FitAll(bounds, FitMargin, false);
}

void ViewGraphics::Look(StandardView view)
{
    view_->SetProj(ToOrientation(view));
}

void ViewGraphics::ChooseDetails()
{
    drawing_->ChooseDetails(*view_->Camera(), Height());
}

double ViewGraphics::DepthOfCenter() const
{
    return view_->Camera()->Project(view_->Camera()->Center()).Z();
}

Vector ViewGraphics::Unproject(const Pixel& pixel, double depth) const
{
    const gp_Pnt inWindow(2 * (pixel.x + 0.5) / Width() - 1, 1 - 2 * (pixel.y + 0.5) / Height(), depth);
    return ToVector(view_->Camera()->UnProject(inWindow));
}

Ray ViewGraphics::RayThrough(const Pixel& pixel) const
{
    const opencascade::handle<Graphic3d_Camera>& camera = view_->Camera();
    const Vector onPlane = Unproject(pixel, DepthOfCenter());
    if (!camera->IsOrthographic()) {
        const Vector eye = ToVector(camera->Eye());
        return {eye, Difference(onPlane, eye)};
    }
    // The camera has no place then: all that is before its plane is seen as well.
    const gp_Dir direction = camera->Direction();
    const std::optional<Box> box = scene_.ShownBox();
    const double back =
        box ? Length(Difference({box->Middle(0), box->Middle(1), box->Middle(2)}, onPlane)) + box->Diagonal() : 0;
    return {ToVector(ToPoint(onPlane).Translated(gp_Vec(direction) * -back)),
            {direction.X(), direction.Y(), direction.Z()}};
}

// ---------------------------------------------------------------------------------------------
// The cube

bool ViewGraphics::PointAtCube(const Pixel& pixel)
{
    context_->MoveTo(static_cast<int>(pixel.x), static_cast<int>(pixel.y), view_, true);
    return context_->HasDetected();
}

bool ViewGraphics::ClickCube(const Pixel& pixel)
{
    if (!PointAtCube(pixel))
        return false;
    const opencascade::handle<AIS_ViewCubeOwner> owner =
        opencascade::handle<AIS_ViewCubeOwner>::DownCast(context_->DetectedOwner());
    if (owner.IsNull())
        return false;
    view_->SetProj(owner->MainOrientation());
    return true;
}

} // namespace openhost
