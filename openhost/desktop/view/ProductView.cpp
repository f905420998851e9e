#include "openhost/desktop/view/ProductView.h"

#include <QActionGroup>
#include <QApplication>
#include <QContextMenuEvent>
#include <QFocusEvent>
#include <QKeyEvent>
#include <QLabel>
#include <QMouseEvent>
#include <QPainter>
#include <QStackedLayout>
#include <QTimer>
#include <QToolTip>
#include <QWheelEvent>
#include <QWindow>

// After the headers of Qt: those of X define what is a name there.
#include "openhost/desktop/view/ViewGraphics.h"

#include <Standard_Failure.hxx>

#include <chrono>
#include <cmath>
#include <numbers>
#include <utility>

namespace openhost {

namespace {

using namespace std::chrono_literals;

/// How long the camera has not moved when all detail is drawn.
constexpr auto RestTime = 200ms;
/// How long the window's thread draws anew without looking after anything else.
constexpr auto WorkTime = 20ms;
/// The least time between two frames while more and more is there to be seen, also in times that a frame takes.
constexpr std::chrono::nanoseconds ProgressTime = 150ms;
constexpr int ProgressFrames = 4;
/// From how many pixels on a press and a release are no click.
constexpr double DragDistance = 4;
/// How far a drag over one pixel turns, in radians, and how far an arrow key does.
constexpr double TurnOfPixel = 0.008;
constexpr double TurnOfKey = std::numbers::pi / 12;
/// How far an arrow key shifts, as a part of the window.
constexpr double ShiftOfKey = 0.1;
/// How much larger a step of the wheel makes everything, and a key.
constexpr double ZoomOfWheel = 1.2;
constexpr double ZoomOfKey = 1.25;
/// Width of the frame that shows the focus.
constexpr int FrameWidth = 1;

/// A window of the system that Qt does not paint into.
class Canvas final : public QWidget {
public:
    explicit Canvas(QWidget* parent) : QWidget(parent)
    {
        setAttribute(Qt::WA_NativeWindow);
        setAttribute(Qt::WA_DontCreateNativeAncestors);
        setAttribute(Qt::WA_PaintOnScreen);
        setAttribute(Qt::WA_OpaquePaintEvent);
        setAttribute(Qt::WA_NoSystemBackground);
        setMouseTracking(true);
        setFocusPolicy(Qt::StrongFocus);
    }
    QPaintEngine* paintEngine() const override { return nullptr; }
};

} // namespace

class ProductView::Implementation {
public:
    explicit Implementation(ProductView& view);

    void SetInstances(std::vector<Instance> instances);
    void SetMesh(const MeshKey& key, std::shared_ptr<const ShownMesh> mesh);
    void SetPickable(ReasonAgainstPicking against);
    void Changed(const ViewScene::Numbers& numbers);
    bool IsComplete() const;
    void CameraMoved();
    void Fit(bool selectedOnly);
    void FitCamera(bool selectedOnly);
    void MoreToShow();
    void Hover(std::optional<std::size_t> number);
    void Finish();
    bool FilterEvent(QEvent& event);
    void AdaptToPalette();
    /// Texts in the language in use.
    void Retranslate();

    ProductView& view;
    QWidget* canvas;
    QLabel* problem;
    QStackedLayout* layout;
    QString reason; ///< why there are no graphics
    ViewScene scene;
    std::unique_ptr<ViewGraphics> graphics; ///< none before the view is shown, and where there is no OpenGL

private:
    void AddActions();
    /// `text` is English.
    QAction* Add(const char* name, const char* text, const QList<QKeySequence>& keys, std::function<void()> call);
    void AddSeparator();
    void Look(StandardView standard);
    void MarkHovered();
    void Start();
    static CubeLabels Labels();
    void Stop(const QString& why);
    /// Does `call`, and goes on without graphics when that fails.
    template <class Call>
    void Guard(const Call& call)
    {
        try {
            call();
        } catch (const Standard_Failure& failure) {
            Stop(QString::fromUtf8(failure.GetMessageString()));
        } catch (const std::exception& error) {
            Stop(QString::fromUtf8(error.what()));
        }
    }
    void Work();
    void Redraw();
    void RedrawSoon() { redraw_.start(0); }
    void ZoomBy(double factor);
    std::optional<std::size_t> At(const Pixel& pixel) const;
    std::optional<InstanceId> IdOf(std::optional<std::size_t> number) const;
    Pixel ToPixel(const QPointF& position) const;
    Vector Pivot() const;

    void Press(const QMouseEvent& event);
    void Move(const QMouseEvent& event);
    void Release(const QMouseEvent& event);
    void Click(const QMouseEvent& event);
    bool Key(const QKeyEvent& event);
    bool HandleEvent(QEvent& event);

    QTimer work_;
    QTimer rest_;
    QTimer redraw_;
    std::chrono::steady_clock::time_point drawn_; ///< the last frame
    std::chrono::nanoseconds frameTime_{};        ///< how long that took
    bool isUrgent_ = false;                       ///< the user waits for the next frame
    bool isFitDue_ = false;
    bool areDetailsOld_ = true;
    std::chrono::steady_clock::time_point nextChoice_; ///< of details, while more is there to be seen
    bool isCameraUsers_ = false;                       ///< the user has moved it
    bool isPerspective_ = false;
    std::vector<std::pair<QAction*, const char*>> texts_; ///< each action with its text in English
    DrawStyle style_ = DrawStyle::ShadedWithEdges;

    std::optional<std::size_t> hovered_;
    bool isDragged_ = false;
    QPointF pressed_;
    QPointF last_;
    Vector pivot_{};
    Qt::MouseButton button_ = Qt::NoButton;
};

// ---------------------------------------------------------------------------------------------
// The window, and what is drawn into it

ProductView::Implementation::Implementation(ProductView& owner)
    : view(owner), canvas(new Canvas(&owner)), problem(new QLabel(&owner)), layout(new QStackedLayout(&owner))
{
    layout->setContentsMargins(FrameWidth, FrameWidth, FrameWidth, FrameWidth);
    layout->addWidget(canvas);
    layout->addWidget(problem);
    problem->setWordWrap(true);
    problem->setAlignment(Qt::AlignCenter);
    problem->setMargin(12);
    problem->setTextFormat(Qt::PlainText);
    problem->setObjectName("ViewProblem");
    canvas->installEventFilter(&owner);
    owner.setFocusProxy(canvas);

    for (QTimer* timer : {&work_, &rest_, &redraw_})
        timer->setSingleShot(true);
    QObject::connect(&work_, &QTimer::timeout, &owner, [this] { Guard([this] { Work(); }); });
    QObject::connect(&redraw_, &QTimer::timeout, &owner, [this] { Guard([this] { Redraw(); }); });
    QObject::connect(&rest_, &QTimer::timeout, &owner, [this] {
        areDetailsOld_ = true;
        isUrgent_ = true;
        if (graphics) {
            graphics->Resize(); // the system may have been late with it
            graphics->Drawing().SetMoving(false);
        }
        work_.start(0);
    });
    AddActions();
    Retranslate();
    if (QGuiApplication::platformName() != "xcb")
        Stop(tr("It needs an X display."));
}

CubeLabels ProductView::Implementation::Labels()
{
    return {tr("FRONT").toStdString(), tr("BACK").toStdString(), tr("LEFT").toStdString(),
            tr("RIGHT").toStdString(), tr("TOP").toStdString(),  tr("BOTTOM").toStdString()};
}

void ProductView::Implementation::Retranslate()
{
    for (QWidget* widget : {static_cast<QWidget*>(&view), static_cast<QWidget*>(canvas)})
        widget->setAccessibleName(tr("3D view of the product"));
    canvas->setAccessibleDescription(tr("Arrow keys turn, with Shift they move; plus and minus zoom, F fits."));
    for (const auto& [action, text] : texts_)
        action->setText(tr(text));
    if (!graphics)
        return;
    graphics->SetLabels(Labels());
    areDetailsOld_ = true;
    isUrgent_ = true;
    work_.start(0);
}

void ProductView::Implementation::Start()
{
    if (graphics || !reason.isEmpty())
        return;
    try {
        graphics = std::make_unique<ViewGraphics>(canvas->winId(), canvas->devicePixelRatioF(), scene, Labels());
    } catch (const std::exception& error) {
        Stop(tr("OpenGL does not work on this display (%1).").arg(QString::fromStdString(error.what())));
        return;
    }
    graphics->SetPerspective(isPerspective_);
    graphics->Drawing().SetStyle(style_);
    AdaptToPalette();
    isFitDue_ = !isCameraUsers_;
    areDetailsOld_ = true;
    work_.start(0);
}

void ProductView::Implementation::Stop(const QString& why)
{
    graphics.reset();
    reason = why;
    problem->setText(tr("The 3D view cannot be shown: %1").arg(why));
    layout->setCurrentWidget(problem);
}

void ProductView::Implementation::Work()
{
    if (!graphics)
        return;
    if (std::exchange(isFitDue_, false))
        FitCamera(false);
    // The window looks after what else there is between one of these and the next.
    const auto now = std::chrono::steady_clock::now();
    if (areDetailsOld_ && (isUrgent_ || now >= nextChoice_)) {
        areDetailsOld_ = false;
        graphics->ChooseDetails();
        const auto end = std::chrono::steady_clock::now();
        nextChoice_ = end + std::max<std::chrono::nanoseconds>(ProgressTime, ProgressFrames * (end - now));
        work_.start(0);
        return;
    }
    graphics->Drawing().Work(now + WorkTime);
    if (graphics->Drawing().IsFrameDue()) {
        RedrawSoon();
        return;
    }
    const bool isMore = graphics->Drawing().HasWork();
    if (isMore)
        work_.start(0);
    const std::chrono::nanoseconds wait = std::max(ProgressTime, ProgressFrames * frameTime_) - (now - drawn_);
    if (isUrgent_ ? !isMore : wait <= 0ns)
        RedrawSoon();
    else if (!isMore && !redraw_.isActive())
        redraw_.start(std::chrono::ceil<std::chrono::milliseconds>(wait));
}

void ProductView::Implementation::Redraw()
{
    if (!graphics || !canvas->isVisible())
        return;
    redraw_.stop();
    isUrgent_ = false;
    const auto start = std::chrono::steady_clock::now();
    graphics->Redraw();
    drawn_ = std::chrono::steady_clock::now();
    frameTime_ = drawn_ - start;
    if (graphics->Drawing().HasWork())
        work_.start(0);
}

void ProductView::Implementation::Finish()
{
    Start();
    if (!graphics)
        return;
    rest_.stop();
    if (std::exchange(isFitDue_, false))
        FitCamera(false);
    graphics->Drawing().SetMoving(false);
    areDetailsOld_ = false;
    graphics->ChooseDetails();
    graphics->Drawing().Work({});
}

void ProductView::Implementation::SetInstances(std::vector<Instance> instances)
{
    Hover({});
    const bool wasEmpty = !scene.ShownBox();
    scene.SetInstances(std::move(instances));
    if (wasEmpty)
        isCameraUsers_ = false;
    if (!graphics)
        return;
    graphics->Drawing().Reset();
    isFitDue_ = isFitDue_ || !isCameraUsers_;
    MoreToShow();
}

void ProductView::Implementation::SetMesh(const MeshKey& key, std::shared_ptr<const ShownMesh> mesh)
{
    Hover({});
    if (!scene.ShownBox())
        isCameraUsers_ = false;
    const ViewScene::Numbers numbers = scene.SetMesh(key, std::move(mesh));
    if (!graphics || numbers.empty())
        return;
    graphics->Drawing().ChangeMesh(numbers);
    isFitDue_ = isFitDue_ || !isCameraUsers_;
    MoreToShow();
}

void ProductView::Implementation::MoreToShow()
{
    // More will come: until then, what is drawn each time takes no longer than while the camera moves.
    graphics->Drawing().SetMoving(true);
    rest_.start(RestTime);
    areDetailsOld_ = true;
    work_.start(0);
}

void ProductView::Implementation::SetPickable(ReasonAgainstPicking against)
{
    Hover({});
    QToolTip::hideText();
    if (against)
        scene.SetPickRule([against = std::move(against)](InstanceId id) { return against(id).toStdString(); });
    else
        scene.SetPickRule({});
    if (!graphics)
        return;
    graphics->Drawing().ChangeAll();
    isUrgent_ = true;
    work_.start(0);
}

bool ProductView::Implementation::IsComplete() const
{
    return graphics && !areDetailsOld_ && !rest_.isActive() && graphics->Drawing().IsComplete();
}

void ProductView::Implementation::Changed(const ViewScene::Numbers& numbers)
{
    if (!graphics || numbers.empty())
        return;
    graphics->Drawing().Change(numbers);
    MarkHovered();
    areDetailsOld_ = true;
    isUrgent_ = true;
    work_.start(0);
}

void ProductView::Implementation::AdaptToPalette()
{
    if (!graphics)
        return;
    graphics->SetDark(view.palette().color(QPalette::Window).lightness() < 128);
    work_.start(0);
}

// ---------------------------------------------------------------------------------------------
// The camera

void ProductView::Implementation::CameraMoved()
{
    isCameraUsers_ = true;
    if (!graphics)
        return;
    graphics->Drawing().SetMoving(true);
    rest_.start(RestTime);
    RedrawSoon();
}

void ProductView::Implementation::FitCamera(bool selectedOnly)
{
    if (const std::optional<Box> box = scene.ShownBox(selectedOnly))
        graphics->Fit(*box);
}

void ProductView::Implementation::Fit(bool selectedOnly)
{
    if (!graphics)
        return;
    FitCamera(selectedOnly);
    rest_.start(RestTime);
    RedrawSoon();
}

void ProductView::Implementation::Look(StandardView standard)
{
    if (!graphics)
        return;
    graphics->Look(standard);
    CameraMoved();
    Fit(false);
}

void ProductView::Implementation::ZoomBy(double factor)
{
    if (!graphics)
        return;
    graphics->Zoom({graphics->Width() / 2, graphics->Height() / 2}, factor);
    CameraMoved();
}

Vector ProductView::Implementation::Pivot() const
{
    std::optional<Box> box = scene.ShownBox(true);
    if (!box)
        box = scene.ShownBox();
    return box ? Vector{box->Middle(0), box->Middle(1), box->Middle(2)} : Vector{};
}

// ---------------------------------------------------------------------------------------------
// Actions

QAction* ProductView::Implementation::Add(const char* name, const char* text, const QList<QKeySequence>& keys,
                                          std::function<void()> call)
{
    auto* action = new QAction(tr(text), &view);
    texts_.emplace_back(action, text);
    action->setObjectName(name);
    action->setShortcuts(keys);
    // Single keys, which mean something else elsewhere.
    action->setShortcutContext(Qt::WidgetShortcut);
    if (call)
        QObject::connect(action, &QAction::triggered, &view, std::move(call));
    canvas->addAction(action);
    return action;
}

void ProductView::Implementation::AddSeparator()
{
    auto* separator = new QAction(&view);
    separator->setSeparator(true);
    canvas->addAction(separator);
}

void ProductView::Implementation::AddActions()
{
    const auto fitter = [this](bool selectedOnly) { return [this, selectedOnly] { Fit(selectedOnly); }; };
    Add("ViewFit", QT_TR_NOOP("&Fit All"), {Qt::Key_F}, fitter(false));
    Add("ViewFitSelected", QT_TR_NOOP("Fit &Selection"), {Qt::SHIFT | Qt::Key_F}, fitter(true));
    AddSeparator();
    const auto looker = [this](StandardView standard) { return [this, standard] { Look(standard); }; };
    Add("ViewIsometric", QT_TR_NOOP("&Isometric"), {Qt::Key_0}, looker(StandardView::Isometric));
    Add("ViewFront", QT_TR_NOOP("F&ront"), {Qt::Key_1}, looker(StandardView::Front));
    Add("ViewBack", QT_TR_NOOP("&Back"), {Qt::Key_2}, looker(StandardView::Back));
    Add("ViewLeft", QT_TR_NOOP("&Left"), {Qt::Key_3}, looker(StandardView::Left));
    Add("ViewRight", QT_TR_NOOP("Ri&ght"), {Qt::Key_4}, looker(StandardView::Right));
    Add("ViewTop", QT_TR_NOOP("&Top"), {Qt::Key_5}, looker(StandardView::Top));
    Add("ViewBottom", QT_TR_NOOP("B&ottom"), {Qt::Key_6}, looker(StandardView::Bottom));
    AddSeparator();
    Add("ViewZoomIn", QT_TR_NOOP("Zoom I&n"), {Qt::Key_Plus, Qt::Key_Equal}, [this] { ZoomBy(ZoomOfKey); });
    Add("ViewZoomOut", QT_TR_NOOP("Zoom O&ut"), {Qt::Key_Minus}, [this] { ZoomBy(1 / ZoomOfKey); });
    AddSeparator();
    auto* styles = new QActionGroup(&view);
    const auto addStyle = [&](const char* name, const char* text, DrawStyle style) {
        QAction* action = Add(name, text, {}, [this, style] {
            style_ = style;
            if (!graphics)
                return;
            graphics->Drawing().SetStyle(style);
            areDetailsOld_ = true;
            isUrgent_ = true;
            work_.start(0);
        });
        action->setCheckable(true);
        action->setChecked(style == style_);
        styles->addAction(action);
    };
    addStyle("ViewShadedWithEdges", QT_TR_NOOP("Shaded with &Edges"), DrawStyle::ShadedWithEdges);
    addStyle("ViewShaded", QT_TR_NOOP("Sh&aded"), DrawStyle::Shaded);
    addStyle("ViewWireframe", QT_TR_NOOP("&Wireframe"), DrawStyle::Wireframe);
    QAction* perspective = Add("ViewPerspective", QT_TR_NOOP("&Perspective"), {Qt::Key_P}, {});
    perspective->setCheckable(true);
    QObject::connect(perspective, &QAction::toggled, &view, [this](bool isOn) {
        isPerspective_ = isOn;
        if (!graphics)
            return;
        graphics->SetPerspective(isOn);
        rest_.start(0);
        RedrawSoon();
    });
    AddSeparator();
    const auto hider = [this](auto hide) {
        return [this, hide] {
            hide();
            Q_EMIT view.HiddenChanged();
        };
    };
    Add("ViewHide", QT_TR_NOOP("&Hide Selection"), {Qt::Key_H}, hider([this] { view.Hide(scene.Selected()); }));
    Add("ViewIsolate", QT_TR_NOOP("Show &Only Selection"), {Qt::Key_I}, hider([this] {
            if (!scene.Selected().empty())
                view.Isolate(scene.Selected());
        }));
    Add("ViewShowAll", QT_TR_NOOP("Show A&ll"), {Qt::SHIFT | Qt::Key_H}, hider([this] { view.ShowAll(); }));
}

// ---------------------------------------------------------------------------------------------
// Mouse and keys

Pixel ProductView::Implementation::ToPixel(const QPointF& position) const
{
    const double density = canvas->devicePixelRatioF();
    return {position.x() * density, position.y() * density};
}

std::optional<std::size_t> ProductView::Implementation::At(const Pixel& pixel) const
{
    return graphics ? scene.Pick(graphics->RayThrough(pixel)) : std::nullopt;
}

std::optional<InstanceId> ProductView::Implementation::IdOf(std::optional<std::size_t> number) const
{
    return number ? std::optional(scene.Items()[*number].instance.id) : std::nullopt;
}

void ProductView::Implementation::Hover(std::optional<std::size_t> number)
{
    if (hovered_ == number)
        return;
    hovered_ = number;
    MarkHovered();
    if (graphics)
        graphics->RedrawMarks();
    Q_EMIT view.Hovered(IdOf(number));
}

void ProductView::Implementation::MarkHovered()
{
    if (graphics)
        graphics->Drawing().Hover(hovered_, !hovered_ || scene.ReasonAgainstPicking(*hovered_).empty());
}

void ProductView::Implementation::Press(const QMouseEvent& event)
{
    if (button_ != Qt::NoButton)
        return;
    button_ = event.button();
    isDragged_ = false;
    pressed_ = last_ = event.position();
    pivot_ = Pivot();
}

void ProductView::Implementation::Move(const QMouseEvent& event)
{
    const QPointF position = event.position();
    if (button_ == Qt::NoButton) {
        const Pixel pixel = ToPixel(position);
        const std::optional<std::size_t> number = graphics->PointAtCube(pixel) ? std::nullopt : At(pixel);
        Hover(number);
        const QString text = number ? QString::fromStdString(scene.ReasonAgainstPicking(*number)) : QString();
        if (text.isEmpty())
            QToolTip::hideText();
        else
            QToolTip::showText(event.globalPosition().toPoint(), text, canvas);
        return;
    }
    if (!isDragged_) {
        const QPointF way = position - pressed_;
        if (std::hypot(way.x(), way.y()) < DragDistance)
            return;
        isDragged_ = true;
        Hover({});
    }
    const bool isPan = button_ == Qt::RightButton || event.modifiers().testFlag(Qt::ShiftModifier);
    if (isPan)
        graphics->Pan(ToPixel(last_), ToPixel(position));
    else
        graphics->Orbit(pivot_, (position.x() - last_.x()) * TurnOfPixel, (position.y() - last_.y()) * TurnOfPixel);
    last_ = position;
    CameraMoved();
}

void ProductView::Implementation::Release(const QMouseEvent& event)
{
    if (event.button() != button_)
        return;
    button_ = Qt::NoButton;
    if (!isDragged_)
        Click(event);
}

void ProductView::Implementation::Click(const QMouseEvent& event)
{
    const Pixel pixel = ToPixel(event.position());
    if (event.button() == Qt::RightButton) {
        Q_EMIT view.MenuRequested(event.globalPosition().toPoint(), IdOf(At(pixel)));
        return;
    }
    if (event.button() != Qt::LeftButton)
        return;
    if (graphics->ClickCube(pixel)) {
        CameraMoved();
        Fit(false);
        return;
    }
    const std::optional<std::size_t> number = At(pixel);
    if (!number || scene.ReasonAgainstPicking(*number).empty())
        Q_EMIT view.Picked(IdOf(number), event.modifiers());
}

bool ProductView::Implementation::Key(const QKeyEvent& event)
{
    const bool isShift = event.modifiers().testFlag(Qt::ShiftModifier);
    double right = 0;
    double down = 0;
    switch (event.key()) {
    case Qt::Key_Left:
        right = -1;
        break;
    case Qt::Key_Right:
        right = 1;
        break;
    case Qt::Key_Up:
        down = -1;
        break;
    case Qt::Key_Down:
        down = 1;
        break;
    case Qt::Key_Menu:
        Q_EMIT view.MenuRequested(canvas->mapToGlobal(canvas->rect().center()), {});
        return true;
    default:
        return false;
    }
    if (isShift) {
        const Pixel middle{graphics->Width() / 2, graphics->Height() / 2};
        graphics->Pan(middle, {middle.x + right * ShiftOfKey * graphics->Width(),
                               middle.y + down * ShiftOfKey * graphics->Height()});
    } else {
        graphics->Orbit(Pivot(), right * TurnOfKey, down * TurnOfKey);
    }
    CameraMoved();
    return true;
}

bool ProductView::Implementation::FilterEvent(QEvent& event)
{
    bool isDone = false;
    Guard([&] { isDone = HandleEvent(event); });
    return isDone;
}

bool ProductView::Implementation::HandleEvent(QEvent& event)
{
    switch (event.type()) {
    case QEvent::WinIdChange:
        // Another window of the system: in another dock, for example. What is drawn into goes with the old one.
        if (graphics) {
            const std::unique_ptr<ViewGraphics> before = std::move(graphics);
            if (canvas->internalWinId() != 0) {
                Start();
                if (graphics)
                    graphics->TakeCamera(*before);
            }
        }
        return false;
    case QEvent::Paint:
        Start();
        if (graphics)
            graphics->Resize();
        Redraw();
        return true;
    case QEvent::FocusIn:
    case QEvent::FocusOut:
        view.update();
        return false;
    default:
        break;
    }
    if (!graphics)
        return false;

    switch (event.type()) {
    case QEvent::Resize:
        graphics->Resize();
        rest_.start(RestTime);
        RedrawSoon();
        return false;
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonDblClick:
        Press(static_cast<QMouseEvent&>(event));
        return true;
    case QEvent::MouseMove:
        Move(static_cast<QMouseEvent&>(event));
        return true;
    case QEvent::MouseButtonRelease:
        Release(static_cast<QMouseEvent&>(event));
        return true;
    case QEvent::Wheel: {
        const auto& wheel = static_cast<QWheelEvent&>(event);
        graphics->Zoom(ToPixel(wheel.position()), std::pow(ZoomOfWheel, wheel.angleDelta().y() / 120.0));
        CameraMoved();
        return true;
    }
    case QEvent::Leave:
        graphics->PointAtCube({-1, -1});
        Hover({});
        return false;
    case QEvent::KeyPress:
        return Key(static_cast<QKeyEvent&>(event));
    case QEvent::ContextMenu:
        return true; // asked for at the release, as a drag of the right button moves
    default:
        return false;
    }
}

// ---------------------------------------------------------------------------------------------
// What the view offers

ProductView::ProductView(QWidget* parent) : QWidget(parent)
{
    // The windows beside that of the view stay as they are.
    QCoreApplication::setAttribute(Qt::AA_DontCreateNativeWidgetSiblings);
    implementation_ = std::make_unique<Implementation>(*this);
}

ProductView::~ProductView()
{
    implementation_->canvas->removeEventFilter(this);
}

void ProductView::SetInstances(std::vector<Instance> instances)
{
    implementation_->SetInstances(std::move(instances));
}

void ProductView::SetMesh(const MeshKey& key, std::shared_ptr<const ShownMesh> mesh)
{
    implementation_->SetMesh(key, std::move(mesh));
}

void ProductView::Select(std::unordered_set<InstanceId> ids)
{
    implementation_->Changed(implementation_->scene.Select(std::move(ids)));
}

void ProductView::SetHidden(std::unordered_set<InstanceId> ids)
{
    implementation_->Hover({});
    implementation_->Changed(implementation_->scene.SetHidden(std::move(ids)));
}

void ProductView::Hide(const std::unordered_set<InstanceId>& ids)
{
    std::unordered_set<InstanceId> hidden = Hidden();
    hidden.insert(ids.begin(), ids.end());
    SetHidden(std::move(hidden));
}

void ProductView::Show(const std::unordered_set<InstanceId>& ids)
{
    std::unordered_set<InstanceId> hidden = Hidden();
    for (const InstanceId id : ids)
        hidden.erase(id);
    SetHidden(std::move(hidden));
}

void ProductView::Isolate(const std::unordered_set<InstanceId>& ids)
{
    std::unordered_set<InstanceId> hidden;
    for (const ViewScene::Item& item : implementation_->scene.Items())
        if (!ids.contains(item.instance.id))
            hidden.insert(item.instance.id);
    SetHidden(std::move(hidden));
}

void ProductView::ShowAll()
{
    SetHidden({});
}

const std::unordered_set<InstanceId>& ProductView::Selected() const
{
    return implementation_->scene.Selected();
}

const std::unordered_set<InstanceId>& ProductView::Hidden() const
{
    return implementation_->scene.Hidden();
}

void ProductView::SetPickable(ReasonAgainstPicking reason)
{
    implementation_->SetPickable(std::move(reason));
}

void ProductView::FitAll()
{
    implementation_->Fit(false);
}

void ProductView::FitSelected()
{
    implementation_->Fit(true);
}

QList<QAction*> ProductView::Actions() const
{
    return implementation_->canvas->actions();
}

QAction* ProductView::Action(const QString& name) const
{
    return findChild<QAction*>(name);
}

QString ProductView::Problem() const
{
    return implementation_->reason;
}

bool ProductView::IsComplete() const
{
    return implementation_->IsComplete();
}

QImage ProductView::Snapshot()
{
    implementation_->Finish();
    if (!implementation_->graphics)
        return {};
    const ViewPicture picture = implementation_->graphics->TakePicture();
    return QImage(picture.bytes.data(), picture.width, picture.height, QImage::Format_RGBX8888).copy();
}

bool ProductView::SavePicture(const QString& path)
{
    const QImage picture = Snapshot();
    return !picture.isNull() && picture.save(path);
}

bool ProductView::eventFilter(QObject* object, QEvent* event)
{
    if (implementation_ && object == implementation_->canvas && implementation_->FilterEvent(*event))
        return true;
    return QWidget::eventFilter(object, event);
}

void ProductView::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::PaletteChange && implementation_)
        implementation_->AdaptToPalette();
    if (event->type() == QEvent::LanguageChange && implementation_)
        implementation_->Retranslate();
    QWidget::changeEvent(event);
}

void ProductView::paintEvent(QPaintEvent*)
{
    const bool hasFocus = implementation_->canvas->hasFocus();
    QPainter(this).fillRect(rect(), palette().color(hasFocus ? QPalette::Highlight : QPalette::Mid));
}

} // namespace openhost
