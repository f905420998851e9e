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
#include <map>
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
    return *Whole().documents.at(FindItem(id).root).geometry->facts;
}

int LevelsBelow(const std::string& name)
{
    int levels = 0;
    for (const std::string& link : Whole().documents.at(name).links)
        levels = std::max(levels, LevelsBelow(link));
    return levels + 1;
}

/// Each part under the product `name`, with its placement in it.
std::multimap<std::string, openhost::Placement> PartsOf(const std::string& name)
{
    const openhost::CadDocument& document = Whole().documents.at(name);
    std::multimap<std::string, openhost::Placement> parts;
    if (document.geometry)
        parts.emplace(name, openhost::IdentityPlacement);
    for (const openhost::ChildInstance& child : document.children)
        for (const auto& [part, placement] : PartsOf(document.links[child.link]))
            parts.emplace(part, openhost::Within(child.placement, placement));
    return parts;
}

std::vector<openhost::Placement> PlacementsOf(const std::string& part, const std::string& root)
{
    const auto parts = PartsOf(root);
    std::vector<openhost::Placement> placements;
    for (auto [at, end] = parts.equal_range(part); at != end; ++at)
        placements.push_back(at->second);
    return placements;
}

using Point3 = std::array<double, 3>;
constexpr double Close = 1e-4;

} // namespace

TEST(CatalogueItems, AtLeastTwelvePartsAndThreeAssembliesAreOffered)
{
    int parts = 0;
    int assemblies = 0;
    for (const Item& item : Whole().items)
        ++(item.root.ends_with(".ZALPart") ? parts : assemblies);
    EXPECT_GE(parts, 12);
    EXPECT_EQ(3, assemblies);
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
        EXPECT_NEAR(facts.volume, document.geometry->facts->volume, 1e-6 * facts.volume) << name;
        EXPECT_EQ(facts.solids, name == "ISO15_6204.ZALPart" ? 10U : 1U) << name;
    }
}

TEST(CatalogueItems, PartsHaveTheSizesOfTheirStandard)
{
    struct Row {
        const char* id;
        std::size_t axis;
        double extent;
    };
    const Row rows[] = {{"hexagon-bolt-m6x30", 1, 10},  {"hexagon-bolt-m8x40", 1, 13}, {"hexagon-bolt-m10x50", 1, 16},
                        {"hexagon-screw-m6x16", 1, 10}, {"hexagon-nut-m6", 2, 5.2},    {"hexagon-nut-m6", 1, 10},
                        {"hexagon-nut-m8", 2, 6.8},     {"hexagon-nut-m8", 1, 13},     {"hexagon-nut-m10", 2, 8.4},
                        {"hexagon-nut-m10", 1, 16},     {"ball-bearing-6204", 0, 47},  {"ball-bearing-6204", 2, 14},
                        {"spur-gear-m2-z36", 0, 76},    {"spur-gear-m2-z18", 0, 40},   {"stepped-shaft-20", 0, 26},
                        {"stepped-shaft-20", 1, 26},    {"stepped-shaft-20", 2, 154},  {"angle-bracket-40", 0, 40},
                        {"angle-bracket-40", 1, 38},    {"angle-bracket-40", 2, 40},   {"profile-40x40-400", 0, 40},
                        {"profile-40x40-400", 1, 40},   {"profile-40x40-400", 2, 400}, {"bearing-housing-47", 0, 130},
                        {"bearing-housing-47", 1, 50},  {"bearing-housing-47", 2, 88}, {"slot-nut-m6", 0, 15},
                        {"slot-nut-m6", 1, 16},         {"slot-nut-m6", 2, 8}};
    for (const auto& [id, axis, extent] : rows)
        EXPECT_NEAR(extent, FactsOf(id).box.Extent(axis), Close) << id << " " << axis;
}

TEST(CatalogueItems, BoltsStandOnTheirHeads)
{
    struct Row {
        const char* id;
        double headHeight, length;
    };
    for (const auto& [id, headHeight, length] :
         {Row{"hexagon-bolt-m6x30", 4, 30}, Row{"hexagon-bolt-m8x40", 5.3, 40}, Row{"hexagon-bolt-m10x50", 6.4, 50},
          Row{"hexagon-screw-m6x16", 4, 16}}) {
        EXPECT_NEAR(-headHeight, FactsOf(id).box.lowest[2], Close) << id;
        EXPECT_NEAR(length, FactsOf(id).box.highest[2], Close) << id;
    }
}

TEST(CatalogueItems, BearingIsBetweenTheBallsAloneAndAFullRing)
{
    EXPECT_GT(FactsOf("ball-bearing-6204").volume, 8 * std::numbers::pi / 6 * std::pow(7.938, 3));
    EXPECT_LT(FactsOf("ball-bearing-6204").volume, std::numbers::pi / 4 * (47 * 47 - 20 * 20) * 14);
}

TEST(CatalogueItems, GearsHaveTheFacesOfTheirTeeth)
{
    // Each tooth has a face at the tip, one at the root, three arcs and one straight foot on each flank.
    EXPECT_EQ(18 * 10 + 2 + 4U, FactsOf("spur-gear-m2-z18").faces);
}

TEST(CatalogueItems, BoltIsHeavierThanItsShankAndLighterThanItsPrisms)
{
    const double shank = std::numbers::pi / 4 * 8 * 8 * 40;
    const double head = std::sqrt(3.0) / 2 * 13 * 13 * 5.3;
    EXPECT_LT(FactsOf("hexagon-bolt-m8x40").volume, shank + head);
    EXPECT_GT(FactsOf("hexagon-bolt-m8x40").volume, 0.98 * (shank + head));
}

TEST(CatalogueItems, WashersAreRingsToTheLastDigit)
{
    EXPECT_NEAR(FactsOf("washer-m6").volume, std::numbers::pi / 4 * (12 * 12 - 6.4 * 6.4) * 1.6, Close);
    EXPECT_NEAR(FactsOf("washer-m8").volume, std::numbers::pi / 4 * (16 * 16 - 8.4 * 8.4) * 1.6, Close);
    EXPECT_NEAR(FactsOf("washer-m10").volume, std::numbers::pi / 4 * (20 * 20 - 10.5 * 10.5) * 2, Close);
}

// ---------------------------------------------------------------------------------------------
// Assemblies

TEST(CatalogueAssemblies, LinksLeadToAllDocumentsOfTheItemButItsRoot)
{
    for (const Item& item : Whole().items) {
        std::set<std::string> pointed{item.root};
        for (const std::string& name : item.documents)
            for (const std::string& link : Whole().documents.at(name).links) {
                EXPECT_NE(item.root, link) << item.id;
                pointed.insert(link);
            }
        const std::set<std::string> documents(item.documents.begin(), item.documents.end());
        EXPECT_EQ(documents, pointed) << item.id;
        EXPECT_EQ(item.documents.size(), documents.size()) << item.id << " has a document twice";
        EXPECT_EQ(item.documents.size() == 1, item.documents.front() == item.root) << item.id;
    }
}

TEST(CatalogueAssemblies, LevelsAreSeveral)
{
    EXPECT_EQ(2, LevelsBelow(FindItem("bolted-joint-m8").root));
    EXPECT_EQ(3, LevelsBelow(FindItem("bearing-unit-20").root));
    EXPECT_EQ(5, LevelsBelow(FindItem("profile-frame-480").root));
}

TEST(CatalogueAssemblies, PartsAreRepeated)
{
    const std::string frame = "FRAME_480x480x400.ZALProduct";
    EXPECT_EQ(2U, PlacementsOf("ISO7089_M8.ZALPart", "BOLTED_JOINT_M8.ZALProduct").size());
    EXPECT_EQ(8U, PlacementsOf("ISO7089_M8.ZALPart", "BEARING_UNIT_20.ZALProduct").size());
    EXPECT_EQ(12U, PlacementsOf("PROFILE_40x40_400.ZALPart", frame).size());
    EXPECT_EQ(16U, PlacementsOf("BRACKET_40.ZALPart", frame).size());
    EXPECT_EQ(32U, PlacementsOf("ISO4017_M6x16.ZALPart", frame).size());
}

TEST(CatalogueAssemblies, InstancesAreNamedAfterTheirDocumentAndNumbered)
{
    std::vector<std::string> names;
    for (const openhost::ChildInstance& child : Whole().documents.at("BOLTED_JOINT_M8.ZALProduct").children)
        names.push_back(child.name);
    EXPECT_EQ((std::vector<std::string>{"ISO4014_M8x40.1", "ISO7089_M8.1", "ISO7089_M8.2", "ISO4032_M8.1"}), names);
}

TEST(CatalogueAssemblies, NutOfTheJointEndsBeforeTheBolt)
{
    const auto& children = Whole().documents.at("BOLTED_JOINT_M8.ZALProduct").children;
    EXPECT_EQ(27.6, children[2].placement[11]);
    EXPECT_EQ(29.2, children[3].placement[11]);
    EXPECT_LT(29.2 + 6.8, 40);
}

TEST(CatalogueAssemblies, BearingSitsOnTheShaftsSeatInTheHousingsSeat)
{
    for (const openhost::Placement& bearing : PlacementsOf("ISO15_6204.ZALPart", "BEARING_UNIT_20.ZALProduct")) {
        EXPECT_EQ((Point3{0, 1, 50}), openhost::PlacePoint(bearing, {0, 0, 0}));
        EXPECT_EQ((Point3{0, 15, 50}), openhost::PlacePoint(bearing, {0, 0, 14}));
    }
    for (const openhost::Placement& shaft : PlacementsOf("SHAFT_20x154.ZALPart", "BEARING_UNIT_20.ZALProduct"))
        EXPECT_EQ((Point3{0, 1, 50}), openhost::PlacePoint(shaft, {0, 0, 30}));
}

TEST(CatalogueAssemblies, BoltHeadsOfTheUnitStandOnTheirWashersAboveTheBase)
{
    std::set<Point3> heads;
    for (const openhost::Placement& bolt : PlacementsOf("ISO4014_M8x40.ZALPart", "BEARING_UNIT_20.ZALProduct")) {
        heads.insert(openhost::PlacePoint(bolt, {0, 0, 0}));
        EXPECT_LT(openhost::PlacePoint(bolt, {0, 0, 40})[2], 0) << "the tip is below the base";
    }
    EXPECT_EQ((std::set<Point3>{{-52, -15, 17.6}, {-52, 15, 17.6}, {52, -15, 17.6}, {52, 15, 17.6}}), heads);
}

TEST(CatalogueAssemblies, FrameFillsItsBoxAndEveryPartStandsInIt)
{
    for (const auto& [name, placement] : PartsOf("FRAME_480x480x400.ZALProduct")) {
        const openhost::GeometryFacts& facts = *Whole().documents.at(name).geometry->facts;
        for (const auto& corner : {facts.box.lowest, facts.box.highest}) {
            const auto at = openhost::PlacePoint(placement, corner);
            for (std::size_t axis = 0; axis < 3; ++axis) {
                EXPECT_GE(at[axis], (axis == 2 ? 0 : -20) - 1e-3) << name;
                EXPECT_LE(at[axis], (axis == 2 ? 400 : 460) + 1e-3) << name;
            }
        }
    }
}

TEST(CatalogueAssemblies, EverySlotNutOfTheFrameSitsBehindTheLipsOfAProfile)
{
    const std::string frame = "FRAME_480x480x400.ZALProduct";
    const std::vector<openhost::Placement> profiles = PlacementsOf("PROFILE_40x40_400.ZALPart", frame);
    for (const openhost::Placement& nut : PlacementsOf("SLOTNUT_8_M6.ZALPart", frame)) {
        // The nut's origin is on a profile's face, in the middle of a side: 20 from its axis.
        const Point3 origin = openhost::PlacePoint(nut, {0, 0, 0});
        const Point3 inside = openhost::PlacePoint(nut, {0, 0, 20});
        const auto fits = [&](const openhost::Placement& profile) {
            const auto local = [&](const Point3& point) {
                Point3 result{};
                for (std::size_t axis = 0; axis < 3; ++axis)
                    for (std::size_t k = 0; k < 3; ++k)
                        result[axis] += profile[4 * k + axis] * (point[k] - profile[4 * k + 3]);
                return result;
            };
            const Point3 at = local(origin);
            return std::abs(std::hypot(at[0], at[1]) - 20) < 1e-9 && at[2] > 0 && at[2] < 400 &&
                   std::hypot(local(inside)[0], local(inside)[1]) < 1e-9;
        };
        EXPECT_TRUE(std::ranges::any_of(profiles, fits)) << origin[0] << ' ' << origin[1] << ' ' << origin[2];
    }
}

} // namespace catalogue::testing
