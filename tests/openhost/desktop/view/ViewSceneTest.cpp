// What the view knows of its instances.

#include "openhost/desktop/view/ViewScene.h"
#include "openhost/desktop/view/SeenItems.h"
#include "tests/openhost/desktop/view/TestMeshes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace openhost::testing {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// Boxes of 10 mm in a row along x, with the identifiers 11, 12 and 13, every 20 mm.
class Scene : public ::testing::Test {
protected:
    Scene()
    {
        scene_.SetInstances({{11, "box", At(0, 0, 0)}, {12, "box", At(20, 0, 0)}, {13, "box", At(40, 0, 0)}});
        scene_.SetMesh("box", Shown(BoxMesh(10, 10, 10)));
    }
    /// What is on the ray from `x` on, along x.
    std::optional<InstanceId> PickFrom(double x, double y = 0) const
    {
        const std::optional<std::size_t> number = scene_.Pick({{x, y, 0}, {0.5, 0, 0}});
        return number ? std::optional(scene_.Items()[*number].instance.id) : std::nullopt;
    }

    ViewScene scene_;
};

TEST_F(Scene, TheFirstInstanceOnARayIsPicked)
{
    EXPECT_EQ(11U, PickFrom(-100));
    EXPECT_EQ(12U, PickFrom(10));
    EXPECT_EQ(12U, PickFrom(20)) << "from inside its other side is seen";
    EXPECT_EQ(std::nullopt, PickFrom(100));
    EXPECT_EQ(std::nullopt, PickFrom(-100, 6));
}

TEST_F(Scene, HiddenInstancesAreNotPicked)
{
    EXPECT_THAT(scene_.SetHidden({11, 99}), ElementsAre(0));
    EXPECT_EQ(12U, PickFrom(-100));
    EXPECT_THAT(scene_.SetHidden({}), ElementsAre(0));
    EXPECT_EQ(11U, PickFrom(-100));
}

TEST_F(Scene, ATurnedInstanceIsPickedWhereItIs)
{
    scene_.SetInstances({{1, "plate", {0, -1, 0, 0, 1, 0, 0, 0, 0, 0, 1, 0}}});
    scene_.SetMesh("plate", Shown(BoxMesh(100, 2, 2)));
    EXPECT_EQ(1U, PickFrom(-10, 40));
    EXPECT_EQ(std::nullopt, PickFrom(-10, 60));
}

TEST_F(Scene, OnlyWhatHasAMeshIsShown)
{
    scene_.SetInstances({{1, "box", At(0, 0, 0)}, {2, "later", At(1000, 0, 0)}});
    EXPECT_EQ(10.0, scene_.ShownBox()->Extent(0));
    EXPECT_THAT(scene_.SetMesh("later", Shown(BoxMesh(10, 10, 10))), ElementsAre(1));
    EXPECT_EQ(1010.0, scene_.ShownBox()->Extent(0));
    EXPECT_THAT(scene_.SetMesh("later", nullptr), ElementsAre(1));
    EXPECT_EQ(10.0, scene_.ShownBox()->Extent(0));
}

TEST_F(Scene, WhatIsHiddenAndSelectedStaysSoByItsIdentifier)
{
    scene_.SetHidden({12});
    scene_.Select({13});
    scene_.SetInstances({{13, "box", At(0, 0, 0)}, {12, "box", At(20, 0, 0)}});
    EXPECT_TRUE(scene_.IsSelected(0));
    EXPECT_TRUE(scene_.IsShown(0));
    EXPECT_FALSE(scene_.IsShown(1));
}

TEST_F(Scene, MeshesOfNoInstanceAreForgotten)
{
    scene_.SetInstances({});
    EXPECT_EQ(std::nullopt, scene_.ShownBox());
    scene_.SetInstances({{1, "box", At(0, 0, 0)}});
    EXPECT_FALSE(scene_.IsShown(0));
}

TEST_F(Scene, WhatIsNotPlacedRigidlyIsLeftOut)
{
    scene_.SetInstances({{1, "box", {2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 2, 0}},
                         {2, "box", At(std::numeric_limits<double>::quiet_NaN(), 0, 0)},
                         {3, "box", At(0, 0, 0)}});
    ASSERT_EQ(1U, scene_.Items().size());
    EXPECT_EQ(3U, scene_.Items().front().instance.id);
}

TEST_F(Scene, SelectingTellsWhatLooksDifferent)
{
    EXPECT_THAT(scene_.Select({11, 12}), ElementsAre(0, 1));
    EXPECT_THAT(scene_.Select({12, 13}), ElementsAre(0, 2));
    EXPECT_THAT(scene_.Select({12, 13}), IsEmpty());
}

TEST_F(Scene, WhatStandsInFrontHidesWhatIsBehind)
{
    // Seen along x, without perspective: 100 mm wide and high, 1000 mm deep.
    const Projection along = {0, 0.02, 0, 0, 0, 0, 0.02, 0, 0.002, 0, 0, 0, 0, 0, 0, 1};
    EXPECT_THAT(FindSeen(scene_, {0, 0, 0}, along, 200, 200), ElementsAre(true, false, false));
    scene_.SetHidden({11});
    EXPECT_THAT(FindSeen(scene_, {0, 0, 0}, along, 200, 200), ElementsAre(false, true, false));
    scene_.SetHidden({});
    scene_.SetInstances({{11, "box", At(0, 0, 0)}, {12, "box", At(20, 6, 0)}, {13, "box", At(40, 0, 200)}});
    EXPECT_THAT(FindSeen(scene_, {0, 9, 0}, along, 200, 200), ElementsAre(true, true, false)) << "out of the picture";
}

TEST_F(Scene, WhatReachesBehindTheEyeCountsAsSeen)
{
    // The eye is in the middle of the first box, and looks along x.
    const Projection perspective = {0, 1, 0, 0, 0, 0, 1, 0, 0.01, 0, 0, -0.5, 1, 0, 0, 0};
    EXPECT_THAT(FindSeen(scene_, {0, 0, 0}, perspective, 200, 200), ElementsAre(true, true, false));
}

} // namespace

} // namespace openhost::testing
