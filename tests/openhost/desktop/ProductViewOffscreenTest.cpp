// The 3D view where there is no OpenGL.

#include "openhost/desktop/view/ProductView.h"
#include "tests/openhost/desktop/BrowserFixture.h"

#include <QLabel>

namespace openhost::testing {

namespace {

TEST(ProductViewOffscreen, ShowsTheReasonAndGoesOn)
{
    ProductView view;
    view.show();
    auto* problem = view.findChild<QLabel*>("ViewProblem");
    ASSERT_TRUE(problem);
    EXPECT_TRUE(problem->isVisible());
    EXPECT_TRUE(problem->text().contains("X display")) << problem->text().toStdString();
    EXPECT_NE("", view.Problem().toStdString());

    view.SetInstances({{1, "part", IdentityPlacement}, {2, "part", IdentityPlacement}});
    view.SetMesh("part", nullptr);
    view.Select({1});
    view.Isolate(view.Selected());
    EXPECT_EQ(1U, view.Hidden().count(2));
    view.SetPickable([](InstanceId) { return QString("No"); });
    for (QAction* action : view.Actions())
        action->trigger();
    EXPECT_TRUE(view.Snapshot().isNull());
    EXPECT_FALSE(view.SavePicture("nowhere.png"));
}

} // namespace

} // namespace openhost::testing
