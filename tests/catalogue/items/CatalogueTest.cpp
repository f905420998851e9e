// The items of the catalogue: parts against their dimensions, assemblies against their drawings.

#include "catalogue/items/AssemblyTable.h"
#include "catalogue/items/PartTable.h"
#include "catalogue/items/Placements.h"
#include "openhost/geometry/ShapeGeometry.h"

#include <gtest/gtest.h>

#include <BRepCheck_Analyzer.hxx>
#include <TopoDS_Shape.hxx>

#include <algorithm>
#include <cmath>
#include <functional>
#include <numbers>
#include <set>

namespace catalogue::testing {

namespace {

/// Built once a process.
const Catalogue& Whole()
{
    static const Catalogue catalogue = [] {
        Catalogue built;
        AddParts(built);
        AddAssemblies(built);
        return built;
    }();
    return catalogue;
}

const Item& FindItem(const std::string& id)
{
    const auto found =
        std::find_if(Whole().items.begin(), Whole().items.end(), [&](const Item& item) { return item.id == id; });
    if (found == Whole().items.end())
        throw std::runtime_error("no item " + id);
    return *found;
}

const openhost::GeometryFacts& FactsOf(const std::string& id)
{
    return Whole().documents.at(FindItem(id).root).geometry->facts;
}

double Extent(const std::string& id, std::size_t axis)
{
    return FactsOf(id).box.Extent(axis);
}

int LevelsBelow(const std::string& name)
{
    int levels = 0;
    for (const std::string& link : Whole().documents.at(name).links)
        levels = std::max(levels, LevelsBelow(link));
    return levels + 1;
}

using Visit = std::function<void(const std::string& name, const openhost::Placement& placement)>;

/// Calls `visit` for each part under the product `name`, with its placement in it.
void EachPart(const std::string& name, const openhost::Placement& placement, const Visit& visit)
{
    const openhost::CadDocument& document = Whole().documents.at(name);
    if (document.geometry)
        visit(name, placement);
    for (const openhost::ChildInstance& child : document.children)
        EachPart(document.links[child.link], openhost::Within(placement, child.placement), visit);
}

int CountParts(const std::string& root, const std::string& part)
{
    int count = 0;
    EachPart(root, openhost::IdentityPlacement,
             [&](const std::string& name, const openhost::Placement&) { count += name == part ? 1 : 0; });
    return count;
}

constexpr double Close = 1e-4;

} // namespace

TEST(CatalogueItems, AtLeastTwelvePartsAndThreeAssembliesAreOffered)
{
    int parts = 0;
    int assemblies = 0;
    for (const Item& item : Whole().items)
        ++(item.root.ends_with(".ZALPart") ? parts : assemblies);
    EXPECT_GE(parts, 12);
    EXPECT_EQ(assemblies, 3);
}

TEST(CatalogueItems, IdentifiersTitlesAndDocumentsAreUnique)
{
    std::set<std::string> seen;
    for (const Item& item : Whole().items) {
        EXPECT_TRUE(seen.insert(item.id).second) << item.id;
        EXPECT_TRUE(seen.insert(item.title).second) << item.title;
        EXPECT_TRUE(seen.insert(item.root).second) << item.root;
    }
}

TEST(CatalogueItems, EveryPartReadsBackAsAValidShapeOfItsFacts)
{
    for (const auto& [name, document] : Whole().documents) {
        if (document.kind == openhost::DocumentKind::Product)
            continue;
        const openhost::CadDocument read = openhost::ParseDocument(openhost::BuildDocument(document), name);
        const TopoDS_Shape shape = openhost::DecodeShape(*read.geometry);
        EXPECT_TRUE(BRepCheck_Analyzer(shape).IsValid()) << name;
        const openhost::GeometryFacts facts = openhost::MeasureShape(shape);
        EXPECT_NEAR(facts.volume, document.geometry->facts.volume, 1e-6 * facts.volume) << name;
        EXPECT_EQ(facts.solids, name == "ISO15_6204.ZALPart" ? 10U : 1U) << name;
    }
}

TEST(CatalogueItems, BoltsHaveTheSizesOfTheirStandard)
{
    struct Row {
        const char* id;
        double headHeight, length, acrossFlats;
    };
    for (const auto& [id, headHeight, length, acrossFlats] :
         {Row{"hexagon-bolt-m6x30", 4, 30, 10}, Row{"hexagon-bolt-m8x40", 5.3, 40, 13},
          Row{"hexagon-bolt-m10x50", 6.4, 50, 16}, Row{"hexagon-screw-m6x16", 4, 16, 10}}) {
        EXPECT_NEAR(FactsOf(id).box.lowest[2], -headHeight, Close) << id;
        EXPECT_NEAR(FactsOf(id).box.highest[2], length, Close) << id;
        EXPECT_NEAR(Extent(id, 1), acrossFlats, Close) << id;
    }
}

TEST(CatalogueItems, BoltIsHeavierThanItsShankAndLighterThanItsPrisms)
{
    const double shank = std::numbers::pi / 4 * 8 * 8 * 40;
    const double head = std::sqrt(3.0) / 2 * 13 * 13 * 5.3;
    EXPECT_LT(FactsOf("hexagon-bolt-m8x40").volume, shank + head);
    EXPECT_GT(FactsOf("hexagon-bolt-m8x40").volume, 0.98 * (shank + head));
}

TEST(CatalogueItems, NutsHaveTheSizesOfTheirStandard)
{
    struct Row {
        const char* id;
        double height, acrossFlats;
    };
    for (const auto& [id, height, acrossFlats] :
         {Row{"hexagon-nut-m6", 5.2, 10}, Row{"hexagon-nut-m8", 6.8, 13}, Row{"hexagon-nut-m10", 8.4, 16}}) {
        EXPECT_NEAR(Extent(id, 2), height, Close) << id;
        EXPECT_NEAR(Extent(id, 1), acrossFlats, Close) << id;
    }
}

TEST(CatalogueItems, WashersAreRingsToTheLastDigit)
{
    EXPECT_NEAR(FactsOf("washer-m6").volume, std::numbers::pi / 4 * (12 * 12 - 6.4 * 6.4) * 1.6, Close);
    EXPECT_NEAR(FactsOf("washer-m8").volume, std::numbers::pi / 4 * (16 * 16 - 8.4 * 8.4) * 1.6, Close);
    EXPECT_NEAR(FactsOf("washer-m10").volume, std::numbers::pi / 4 * (20 * 20 - 10.5 * 10.5) * 2, Close);
}

TEST(CatalogueItems, BearingHasTheSizesOfItsNumber)
{
    EXPECT_NEAR(Extent("ball-bearing-6204", 0), 47, Close);
    EXPECT_NEAR(Extent("ball-bearing-6204", 2), 14, Close);
    // Between the rings without raceways and a full ring.
    EXPECT_GT(FactsOf("ball-bearing-6204").volume, 8 * std::numbers::pi / 6 * std::pow(7.938, 3));
    EXPECT_LT(FactsOf("ball-bearing-6204").volume, std::numbers::pi / 4 * (47 * 47 - 20 * 20) * 14);
}

TEST(CatalogueItems, GearsHaveTheirTipDiameter)
{
    EXPECT_NEAR(Extent("spur-gear-m2-z36", 0), 2 * (36 + 2), Close);
    EXPECT_NEAR(Extent("spur-gear-m2-z18", 0), 2 * (18 + 2), Close);
    // Each tooth has a face at the tip, one at the root, three arcs and one straight foot on each flank.
    EXPECT_EQ(FactsOf("spur-gear-m2-z18").faces, 18 * 10 + 2 + 4U);
}

TEST(CatalogueItems, OtherPartsHaveTheirOuterSizes)
{
    struct Row {
        const char* id;
        double x, y, z;
    };
    for (const auto& [id, x, y, z] : {Row{"stepped-shaft-20", 26, 26, 154}, Row{"angle-bracket-40", 40, 38, 40},
                                      Row{"profile-40x40-400", 40, 40, 400}, Row{"bearing-housing-47", 130, 50, 88},
                                      Row{"slot-nut-m6", 15, 16, 8}}) {
        EXPECT_NEAR(Extent(id, 0), x, Close) << id;
        EXPECT_NEAR(Extent(id, 1), y, Close) << id;
        EXPECT_NEAR(Extent(id, 2), z, Close) << id;
    }
}

// ---------------------------------------------------------------------------------------------
// Assemblies

TEST(CatalogueAssemblies, EveryLinkNamesADocumentOfTheSameItem)
{
    for (const Item& item : Whole().items)
        for (const std::string& name : item.documents)
            for (const std::string& link : Whole().documents.at(name).links)
                EXPECT_EQ(std::count(item.documents.begin(), item.documents.end(), link), 1) << item.id << ": " << link;
}

TEST(CatalogueAssemblies, RootIsNotTheFirstDocumentAndNobodyPointsToIt)
{
    for (const Item& item : Whole().items) {
        if (item.documents.size() < 2)
            continue;
        EXPECT_NE(item.documents.front(), item.root) << item.id;
        EXPECT_EQ(std::count(item.documents.begin(), item.documents.end(), item.root), 1) << item.id;
        for (const std::string& name : item.documents) {
            const auto& links = Whole().documents.at(name).links;
            EXPECT_EQ(std::count(links.begin(), links.end(), item.root), 0) << item.id;
        }
    }
}

TEST(CatalogueAssemblies, EveryProductButTheRootIsPointedTo)
{
    for (const Item& item : Whole().items) {
        std::set<std::string> pointed;
        for (const std::string& name : item.documents)
            for (const std::string& link : Whole().documents.at(name).links)
                pointed.insert(link);
        for (const std::string& name : item.documents)
            EXPECT_EQ(pointed.contains(name), name != item.root) << item.id << ": " << name;
    }
}

TEST(CatalogueAssemblies, LevelsAreSeveral)
{
    EXPECT_EQ(LevelsBelow(FindItem("bolted-joint-m8").root), 2);
    EXPECT_EQ(LevelsBelow(FindItem("bearing-unit-20").root), 3);
    EXPECT_EQ(LevelsBelow(FindItem("profile-frame-480").root), 5);
}

TEST(CatalogueAssemblies, PartsAreRepeated)
{
    EXPECT_EQ(CountParts("BOLTED_JOINT_M8.ZALProduct", "ISO7089_M8.ZALPart"), 2);
    EXPECT_EQ(CountParts("BEARING_UNIT_20.ZALProduct", "ISO7089_M8.ZALPart"), 8);
    EXPECT_EQ(CountParts("FRAME_480x480x400.ZALProduct", "PROFILE_40x40_400.ZALPart"), 12);
    EXPECT_EQ(CountParts("FRAME_480x480x400.ZALProduct", "BRACKET_40.ZALPart"), 16);
    EXPECT_EQ(CountParts("FRAME_480x480x400.ZALProduct", "ISO4017_M6x16.ZALPart"), 32);
}

TEST(CatalogueAssemblies, InstancesAreNamedAfterTheirDocumentAndNumbered)
{
    std::vector<std::string> names;
    for (const openhost::ChildInstance& child : Whole().documents.at("BOLTED_JOINT_M8.ZALProduct").children)
        names.push_back(child.name);
    EXPECT_EQ(names, (std::vector<std::string>{"ISO4014_M8x40.1", "ISO7089_M8.1", "ISO7089_M8.2", "ISO4032_M8.1"}));
}

TEST(CatalogueAssemblies, NutOfTheJointEndsBeforeTheBolt)
{
    const auto& children = Whole().documents.at("BOLTED_JOINT_M8.ZALProduct").children;
    EXPECT_EQ(children[2].placement[11], 27.6);
    EXPECT_EQ(children[3].placement[11], 29.2);
    EXPECT_LT(29.2 + 6.8, 40);
}

TEST(CatalogueAssemblies, BearingSitsOnTheShaftsSeatInTheHousingsSeat)
{
    EachPart("BEARING_UNIT_20.ZALProduct", openhost::IdentityPlacement,
             [](const std::string& name, const openhost::Placement& placement) {
                 if (name == "ISO15_6204.ZALPart") {
                     EXPECT_EQ(openhost::PlacePoint(placement, {0, 0, 0}), (openhost::Vector{0, 1, 50}));
                     EXPECT_EQ(openhost::PlacePoint(placement, {0, 0, 14}), (openhost::Vector{0, 15, 50}));
                 }
                 if (name == "SHAFT_20x154.ZALPart") {
                     EXPECT_EQ(openhost::PlacePoint(placement, {0, 0, 30}), (openhost::Vector{0, 1, 50}));
                 }
             });
}

TEST(CatalogueAssemblies, BoltHeadsOfTheUnitStandOnTheirWashersAboveTheBase)
{
    std::set<openhost::Vector> heads;
    EachPart("BEARING_UNIT_20.ZALProduct", openhost::IdentityPlacement,
             [&](const std::string& name, const openhost::Placement& placement) {
                 if (name == "ISO4014_M8x40.ZALPart") {
                     heads.insert(openhost::PlacePoint(placement, {0, 0, 0}));
                     EXPECT_LT(openhost::PlacePoint(placement, {0, 0, 40})[2], 0) << "the tip is below the base";
                 }
             });
    EXPECT_EQ(heads, (std::set<openhost::Vector>{{-52, -15, 17.6}, {-52, 15, 17.6}, {52, -15, 17.6}, {52, 15, 17.6}}));
}

TEST(CatalogueAssemblies, FrameFillsItsBoxAndEveryPartStandsInIt)
{
    EachPart("FRAME_480x480x400.ZALProduct", openhost::IdentityPlacement,
             [](const std::string& name, const openhost::Placement& placement) {
                 const openhost::GeometryFacts& facts = Whole().documents.at(name).geometry->facts;
                 for (const auto& corner : {facts.box.lowest, facts.box.highest}) {
                     const auto at = openhost::PlacePoint(placement, corner);
                     for (std::size_t axis = 0; axis < 3; ++axis) {
                         EXPECT_GE(at[axis], (axis == 2 ? 0 : -20) - 1e-3) << name;
                         EXPECT_LE(at[axis], (axis == 2 ? 400 : 460) + 1e-3) << name;
                     }
                 }
             });
}

TEST(CatalogueAssemblies, EverySlotNutOfTheFrameSitsBehindTheLipsOfAProfile)
{
    std::vector<openhost::Placement> profiles;
    EachPart("FRAME_480x480x400.ZALProduct", openhost::IdentityPlacement,
             [&](const std::string& name, const openhost::Placement& placement) {
                 if (name == "PROFILE_40x40_400.ZALPart")
                     profiles.push_back(placement);
             });
    EachPart("FRAME_480x480x400.ZALProduct", openhost::IdentityPlacement,
             [&](const std::string& name, const openhost::Placement& placement) {
                 if (name != "SLOTNUT_8_M6.ZALPart")
                     return;
                 // The nut's origin is on a profile's face, in the middle of a side: 20 from its axis.
                 const auto origin = openhost::PlacePoint(placement, {0, 0, 0});
                 const auto inside = openhost::PlacePoint(placement, {0, 0, 20});
                 const auto fits = [&](const openhost::Placement& profile) {
                     openhost::Vector local{};
                     openhost::Vector localInside{};
                     for (std::size_t axis = 0; axis < 3; ++axis)
                         for (std::size_t k = 0; k < 3; ++k) {
                             local[axis] += profile[4 * k + axis] * (origin[k] - profile[4 * k + 3]);
                             localInside[axis] += profile[4 * k + axis] * (inside[k] - profile[4 * k + 3]);
                         }
                     const double distance = std::hypot(local[0], local[1]);
                     return std::abs(distance - 20) < 1e-9 && local[2] > 0 && local[2] < 400 &&
                            std::hypot(localInside[0], localInside[1]) < 1e-9;
                 };
                 EXPECT_TRUE(std::any_of(profiles.begin(), profiles.end(), fits))
                     << origin[0] << ' ' << origin[1] << ' ' << origin[2];
             });
}

} // namespace catalogue::testing
