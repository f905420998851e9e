// The 3D view on an X display that nobody sees, used by mouse and keys.

#include "openhost/desktop/view/ProductView.h"

#include "tests/openhost/desktop/view/TestMeshes.h"
#include "tests/openhost/desktop/view/VirtualDisplay.h"

#include <QApplication>
#include <QLabel>
#include <QMainWindow>
#include <QTest>
#include <QToolTip>
#include <QWheelEvent>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace openhost::testing {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// The part of a picture without the cube.
QImage WithoutCube(const QImage& picture)
{
    return picture.copy(0, 0, picture.width() - 140, picture.height());
}

/// Around the pixels in which two pictures differ.
QRect Difference(const QImage& a, const QImage& b)
{
    QRect difference;
    for (int y = 0; y < a.height(); ++y)
        for (int x = 0; x < a.width(); ++x)
            if (a.pixel(x, y) != b.pixel(x, y))
                difference |= QRect(x, y, 1, 1);
    return difference;
}

class View : public ::testing::Test {
protected:
    View()
    {
        window_.resize(800, 500);
        view_ = new ProductView;
        window_.setCentralWidget(view_);
        QObject::connect(view_, &ProductView::Picked,
                         [this](std::optional<InstanceId> id) { picked_.push_back(id.value_or(0)); });
        QObject::connect(view_, &ProductView::Hovered,
                         [this](std::optional<InstanceId> id) { hovered_.push_back(id.value_or(0)); });
        window_.show();
        window_.activateWindow();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(&window_));
        view_->setFocus();
        canvas_ = view_->focusProxy();
        EXPECT_TRUE(Until([this] { return canvas_->hasFocus(); }));
        EXPECT_EQ("", view_->Problem().toStdString());
    }

    /// Boxes of 20 mm in a row along x, every 40 mm, with the identifiers 1, 2 and 3, seen from the front.
    void ShowRow()
    {
        view_->SetInstances({{1, "box", At(-40, 0, 0)}, {2, "box", At(0, 0, 0)}, {3, "box", At(40, 0, 0)}});
        view_->SetMesh("box", Shown(BoxMesh(20, 20, 20)));
        view_->Action("ViewFront")->trigger();
        Settle();
    }
    void Settle() const
    {
        ASSERT_TRUE(Until([this] { return view_->IsComplete(); }));
    }
    /// The middle of a box of the row.
    QPoint PlaceOf(int id) const
    {
        const double millimetre = canvas_->width() * 0.94 / 100;
        return {static_cast<int>(canvas_->width() / 2.0 + (id - 2) * 40 * millimetre), canvas_->height() / 2};
    }
    void Click(const QPoint& place) { QTest::mouseClick(canvas_, Qt::LeftButton, {}, place); }
    void PointAt(const QPoint& place)
    {
        QMouseEvent move(QEvent::MouseMove, place, canvas_->mapToGlobal(place), Qt::NoButton, Qt::NoButton, {});
        QCoreApplication::sendEvent(canvas_, &move);
    }
    void Drag(Qt::MouseButton button, Qt::KeyboardModifiers modifiers, const QPoint& way)
    {
        const QPoint start = canvas_->rect().center();
        QTest::mousePress(canvas_, button, modifiers, start);
        QMouseEvent move(QEvent::MouseMove, start + way, canvas_->mapToGlobal(start + way), Qt::NoButton, button,
                         modifiers);
        QCoreApplication::sendEvent(canvas_, &move);
        QTest::mouseRelease(canvas_, button, modifiers, start + way);
    }
    QImage Picture() { return view_->Snapshot(); }
    QImage Empty()
    {
        const std::unordered_set<InstanceId> hidden = view_->Hidden();
        view_->Isolate({});
        const QImage picture = Picture();
        view_->SetHidden(hidden);
        return picture;
    }

    VirtualDisplay display_;
    int count_ = 1;
    char name_[5] = "test";
    char* arguments_[2] = {name_, nullptr};
    QApplication application_{count_, arguments_};
    QMainWindow window_;
    ProductView* view_ = nullptr;
    QWidget* canvas_ = nullptr;
    std::vector<InstanceId> picked_; ///< 0 for none
    std::vector<InstanceId> hovered_;
};

// ---------------------------------------------------------------------------------------------
// What is shown

TEST_F(View, AllIsShownAndFillsTheView)
{
    ShowRow();
    const QRect shown = Difference(Picture(), Empty());
    EXPECT_LT(0, shown.left());
    EXPECT_GT(canvas_->width() - 1, shown.right());
    EXPECT_LT(canvas_->width() * 0.8, shown.width());
    EXPECT_NEAR(canvas_->width() / 2.0, shown.center().x(), 3);
    EXPECT_NEAR(canvas_->height() / 2.0, shown.center().y(), 3);
}

TEST_F(View, AMeshThatComesLaterIsShownThen)
{
    view_->SetInstances({{1, "box", IdentityPlacement}});
    const QImage before = Picture();
    EXPECT_EQ(before, Empty());
    view_->SetMesh("box", Shown(BoxMesh(20, 20, 20)));
    EXPECT_NE(before, Picture());
    view_->SetMesh("box", nullptr);
    EXPECT_EQ(WithoutCube(before), WithoutCube(Picture()));
}

TEST_F(View, FacesHaveTheirColorsUntilTheyAreSelected)
{
    LvrMesh mesh = BoxMesh(20, 20, 20);
    mesh.colors.assign(mesh.triangles.size(), {255, 0, 0, 255});
    view_->SetInstances({{1, "box", IdentityPlacement}});
    view_->SetMesh("box", Shown(mesh));
    view_->Action("ViewFront")->trigger();
    Settle();
    const auto middle = [this] { return QColor(Picture().pixel(canvas_->rect().center())); };
    EXPECT_LT(2 * (middle().green() + middle().blue()), middle().red());
    view_->Select({1});
    EXPECT_LT(0, middle().green()) << "that of what is selected";
}

TEST_F(View, TheCameraFollowsUntilTheUserHasMovedIt)
{
    view_->SetInstances({{1, "small", IdentityPlacement}, {2, "large", IdentityPlacement}, {3, "huge", At(0, 0, 0)}});
    view_->SetMesh("small", Shown(BoxMesh(20, 20, 20)));
    view_->SetHidden({2, 3});
    const QImage small = Picture();
    view_->SetHidden({});
    view_->SetMesh("large", Shown(BoxMesh(100, 100, 100)));
    Picture();
    view_->SetHidden({2, 3});
    EXPECT_NE(small, Picture()) << "it is seen from further away";

    view_->SetHidden({});
    QTest::keyClick(canvas_, Qt::Key_Right);
    view_->SetHidden({2, 3});
    const QImage turned = Picture();
    view_->SetHidden({});
    view_->SetMesh("huge", Shown(BoxMesh(1000, 1000, 1000)));
    Picture();
    view_->SetHidden({2, 3});
    EXPECT_EQ(turned, Picture());
    view_->SetInstances({{1, "small", IdentityPlacement}});
    view_->SetMesh("small", Shown(BoxMesh(20, 20, 20)));
    EXPECT_EQ(turned, Picture()) << "other instances leave the camera alone";
}

TEST_F(View, StandardViewsAreAllDifferent)
{
    view_->SetInstances(
        {{1, "box", At(0, 0, 0)}, {2, "box", At(50, 0, 0)}, {3, "box", At(0, 80, 0)}, {4, "box", At(0, 0, 110)}});
    view_->SetMesh("box", Shown(BoxMesh(20, 20, 20)));
    std::vector<QImage> pictures;
    for (const char* name :
         {"ViewIsometric", "ViewFront", "ViewBack", "ViewLeft", "ViewRight", "ViewTop", "ViewBottom"}) {
        view_->Action(name)->trigger();
        pictures.push_back(WithoutCube(Picture()));
        for (std::size_t other = 0; other + 1 < pictures.size(); ++other)
            EXPECT_NE(pictures[other], pictures.back()) << name << " and " << other;
    }
}

TEST_F(View, StylesAndPerspectiveAreAllDifferent)
{
    ShowRow();
    view_->Action("ViewIsometric")->trigger();
    std::vector<QImage> pictures = {Picture()};
    for (const char* name : {"ViewShaded", "ViewWireframe", "ViewPerspective"}) {
        view_->Action(name)->trigger();
        pictures.push_back(Picture());
        for (std::size_t other = 0; other + 1 < pictures.size(); ++other)
            EXPECT_NE(pictures[other], pictures.back()) << name << " and " << other;
    }
    view_->Action("ViewShadedWithEdges")->trigger();
    view_->Action("ViewPerspective")->trigger();
    EXPECT_EQ(pictures.front(), Picture());
}

TEST_F(View, TheBackgroundFollowsThePalette)
{
    const QColor light = Picture().pixelColor(10, 10);
    QPalette dark;
    dark.setColor(QPalette::Window, Qt::black);
    view_->setPalette(dark);
    EXPECT_GT(light.lightness() - 80, Picture().pixelColor(10, 10).lightness());
}

TEST_F(View, ManyInstancesAreAllShown)
{
    std::vector<Instance> instances;
    for (int number = 0; number < 400; ++number)
        instances.push_back({static_cast<InstanceId>(number + 1), std::to_string(number % 30),
                             At(30.0 * (number % 20), 0, 30.0 * (number / 20))});
    view_->SetInstances(instances);
    view_->Action("ViewFront")->trigger();
    for (int key = 0; key < 30; ++key)
        view_->SetMesh(std::to_string(key), Shown(CylinderMesh(10, 20, 4 + static_cast<std::uint32_t>(key % 5))));
    Settle();
    const QImage all = Picture();
    view_->Hide({190});
    const QRect one = Difference(all, Picture());
    EXPECT_FALSE(one.isEmpty());
    EXPECT_GT(40, one.width());
    EXPECT_GT(40, one.height());
}

// ---------------------------------------------------------------------------------------------
// Picking, hiding, selecting

TEST_F(View, AClickPicksTheInstanceThere)
{
    ShowRow();
    for (const int id : {1, 3, 2})
        Click(PlaceOf(id));
    Click(QPoint(canvas_->width() / 2, 20));
    EXPECT_THAT(picked_, ElementsAre(1, 3, 2, 0));
}

TEST_F(View, ADragPicksNothing)
{
    ShowRow();
    Drag(Qt::LeftButton, {}, QPoint(50, 0));
    EXPECT_THAT(picked_, IsEmpty());
}

TEST_F(View, HiddenInstancesAreNeitherShownNorPicked)
{
    ShowRow();
    view_->Hide({2});
    Click(PlaceOf(2));
    EXPECT_THAT(picked_, ElementsAre(0));
    EXPECT_EQ(Empty().pixel(PlaceOf(2)), Picture().pixel(PlaceOf(2)));
    view_->Show({2});
    Click(PlaceOf(2));
    EXPECT_THAT(picked_, ElementsAre(0, 2));
}

TEST_F(View, IsolationHidesAllOthers)
{
    ShowRow();
    view_->Isolate({3});
    EXPECT_THAT(view_->Hidden(), ::testing::UnorderedElementsAre(1, 2));
    for (const int id : {1, 2, 3})
        Click(PlaceOf(id));
    EXPECT_THAT(picked_, ElementsAre(0, 0, 3));
    view_->ShowAll();
    Click(PlaceOf(1));
    EXPECT_EQ(1U, picked_.back());
}

TEST_F(View, ActionsHideWhatIsSelectedAndTellSo)
{
    ShowRow();
    int told = 0;
    QObject::connect(view_, &ProductView::HiddenChanged, [&told] { ++told; });
    view_->Select({2});
    view_->Action("ViewIsolate")->trigger();
    EXPECT_EQ(2U, view_->Hidden().size());
    view_->Action("ViewShowAll")->trigger();
    EXPECT_THAT(view_->Hidden(), IsEmpty());
    view_->Action("ViewHide")->trigger();
    EXPECT_THAT(view_->Hidden(), ElementsAre(2));
    EXPECT_EQ(3, told);
}

TEST_F(View, WhatIsSelectedIsMarked)
{
    ShowRow();
    const QImage before = Picture();
    view_->Select({2});
    const QRect marked = Difference(before, Picture());
    EXPECT_TRUE(marked.contains(PlaceOf(2)));
    EXPECT_FALSE(marked.contains(PlaceOf(1)));
    view_->Select({});
    EXPECT_EQ(before, Picture());
}

TEST_F(View, WhatThePointerIsOverIsTold)
{
    ShowRow();
    hovered_.clear();
    for (const QPoint& place : {PlaceOf(1), PlaceOf(1) + QPoint(2, 2), PlaceOf(2), QPoint(canvas_->width() / 2, 20)})
        PointAt(place);
    EXPECT_THAT(hovered_, ElementsAre(1, 2, 0));
}

TEST_F(View, WhileACommandWaitsOnlyWhatFitsIsPicked)
{
    ShowRow();
    const QImage before = Picture();
    view_->SetPickable([](InstanceId id) { return id == 1 ? QString("Not this one") : QString(); });
    const QRect faded = Difference(before, Picture());
    EXPECT_TRUE(faded.contains(PlaceOf(1)));
    EXPECT_FALSE(faded.contains(PlaceOf(2)));
    Click(PlaceOf(1));
    Click(PlaceOf(2));
    EXPECT_THAT(picked_, ElementsAre(2));
    PointAt(PlaceOf(1));
    EXPECT_TRUE(Until([] { return QToolTip::text() == "Not this one"; }));

    view_->SetPickable({});
    EXPECT_EQ(before, Picture());
    Click(PlaceOf(1));
    EXPECT_EQ(1U, picked_.back());
}

// ---------------------------------------------------------------------------------------------
// The camera

TEST_F(View, MouseAndKeysMoveTheCamera)
{
    ShowRow();
    QImage before = Picture();
    const auto expectMove = [&](const char* what) {
        const QImage after = Picture();
        EXPECT_NE(before, after) << what;
        before = after;
    };
    Drag(Qt::LeftButton, {}, {40, 25});
    expectMove("left drag");
    Drag(Qt::MiddleButton, {}, {40, 25});
    expectMove("middle drag");
    Drag(Qt::LeftButton, Qt::ShiftModifier, {30, 10});
    expectMove("drag with Shift");
    Drag(Qt::RightButton, {}, {30, 10});
    expectMove("right drag");
    for (const Qt::Key key : {Qt::Key_Left, Qt::Key_Up, Qt::Key_Right, Qt::Key_Down}) {
        QTest::keyClick(canvas_, key);
        expectMove("arrow");
        QTest::keyClick(canvas_, key, Qt::ShiftModifier);
        expectMove("arrow with Shift");
    }
    for (const Qt::Key key : {Qt::Key_Plus, Qt::Key_Minus, Qt::Key_F, Qt::Key_5, Qt::Key_0}) {
        QTest::keyClick(canvas_, key);
        expectMove("key");
    }
}

TEST_F(View, TheWheelZoomsAroundThePointer)
{
    ShowRow();
    const QPointF place = PlaceOf(3);
    const QRgb color = Picture().pixel(place.toPoint());
    for (int step = 0; step < 6; ++step) {
        QWheelEvent wheel(place, canvas_->mapToGlobal(place), {}, {0, 120}, {}, {}, Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(canvas_, &wheel);
    }
    Settle();
    EXPECT_EQ(color, Picture().pixel(place.toPoint()));
    Click(place.toPoint());
    Click(PlaceOf(1));
    EXPECT_THAT(picked_, ElementsAre(3, 0));
}

TEST_F(View, ZoomingHasAnEnd)
{
    ShowRow();
    for (const char* name : {"ViewZoomIn", "ViewZoomOut"})
        for (int step = 0; step < 500; ++step)
            view_->Action(name)->trigger();
    view_->FitAll();
    Click(PlaceOf(3));
    EXPECT_THAT(picked_, ElementsAre(3));
}

TEST_F(View, AClickOnTheCubeTurnsTheCamera)
{
    ShowRow();
    view_->Action("ViewIsometric")->trigger();
    Settle();
    const QImage before = WithoutCube(Picture());
    Click(QPoint(canvas_->width() - 78, 60));
    EXPECT_NE(before, WithoutCube(Picture()));
    EXPECT_THAT(picked_, IsEmpty());
}

TEST_F(View, ARightClickAsksForAMenu)
{
    ShowRow();
    std::vector<InstanceId> asked;
    QObject::connect(view_, &ProductView::MenuRequested,
                     [&](const QPoint&, std::optional<InstanceId> id) { asked.push_back(id.value_or(0)); });
    QTest::mouseClick(canvas_, Qt::RightButton, {}, PlaceOf(1));
    QTest::keyClick(canvas_, Qt::Key_Menu);
    Drag(Qt::RightButton, {}, {30, 10});
    EXPECT_THAT(asked, ElementsAre(1, 0));
}

// ---------------------------------------------------------------------------------------------
// The widget

TEST_F(View, ActionsHaveTextsAndKeysOfTheirOwn)
{
    QStringList texts;
    QStringList keys;
    for (const QAction* action : view_->Actions()) {
        if (action->isSeparator())
            continue;
        EXPECT_EQ(action, view_->Action(action->objectName()));
        texts += action->text();
        for (const QKeySequence& key : action->shortcuts())
            keys += key.toString();
    }
    EXPECT_EQ(18, texts.size());
    EXPECT_EQ(0, texts.removeDuplicates());
    EXPECT_EQ(0, keys.removeDuplicates());
    EXPECT_NE("", view_->accessibleName().toStdString());
}

TEST_F(View, ItGoesOnWhenResizedHiddenAndInAnotherWindow)
{
    ShowRow();
    window_.resize(600, 400);
    ASSERT_TRUE(Until([this] { return Picture().width() == canvas_->width(); }));
    view_->hide();
    view_->SetHidden({1});
    view_->show();
    QMainWindow other;
    other.resize(500, 300);
    other.setCentralWidget(view_);
    other.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&other));
    ASSERT_TRUE(Until([this] { return Picture().width() == canvas_->width(); }));
    view_->FitAll();
    EXPECT_FALSE(Difference(Picture(), Empty()).isEmpty());
    view_->setParent(nullptr);
    view_->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(view_));
    EXPECT_EQ("", view_->Problem().toStdString());
    Settle();
    delete view_;
}

TEST_F(View, ItMayEndWhileThereIsMuchToDo)
{
    for (int key = 0; key < 100; ++key)
        view_->SetMesh(std::to_string(key), Shown(BoxMesh(10, 20, 30)));
    view_->SetInstances(std::vector<Instance>(1000, {1, "1", IdentityPlacement}));
    QTest::mousePress(canvas_, Qt::LeftButton, {}, QPoint(10, 10));
    delete view_;
    QCoreApplication::processEvents();
}

} // namespace

} // namespace openhost::testing
